#pragma once

// Character classes and the name-matching rule shared by the reading and the editing side.

#include "kvtfile/types.h"

namespace kvtfile::chars {

inline bool IsBlank(WCHAR c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

inline bool IsAsciiLetter(WCHAR c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

/// Where the name in a start or end tag ends.
inline bool EndsTagName(WCHAR c) {
    return IsBlank(c) || c == '/' || c == '>' || c == 0;
}

/// One of " =/[]" or the end: where a searched name may end. What follows is not looked at.
inline bool EndsSearchedName(WCHAR c) {
    return c == 0 || c == ' ' || c == '=' || c == '/' || c == '[' || c == ']';
}

/// Whether the first `length` characters of both are the same, or, ignoring case, differ only in the case of ASCII
/// letters with no character outside ASCII before them.
inline bool SameName(const WCHAR* a, const WCHAR* b, int length, bool ignoreCase) {
    bool exact = !ignoreCase;
    for (int i = 0; i < length; ++i) {
        if (a[i] == b[i]) {
            exact = exact || a[i] >= 0x80;
        } else if (exact || !IsAsciiLetter(a[i]) || (a[i] ^ b[i]) != 0x20) {
            return false;
        }
    }
    return true;
}

}  // namespace kvtfile::chars
