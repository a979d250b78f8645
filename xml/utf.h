#pragma once

// UTF-8 and UTF-16, converted, counted and checked with the processor's vector instructions.
//
// A bad part of the input becomes one U+FFFD: in UTF-8 the longest start of a sequence that could still have become a
// character, or else one byte; in UTF-16 each half of a surrogate pair that stands alone. All functions are linear,
// read nothing outside the input and write nothing outside the stated room.

#include <cstddef>

#include "kvtfile/types.h"

namespace kvtfile::utf {

/// Decodes the character at `p` (before `end`) and moves past it; -1 and past the bad part when there is none.
int Decode8(const char*& p, const char* end);
int Decode16(const WCHAR*& p, const WCHAR* end);

/// Writes a character in at most 4 bytes, or 2 units, and moves `out` past it. A code point above U+10FFFF, and in
/// UTF-8 a surrogate, is written as U+FFFD.
void Encode8(int codePoint, char*& out);
void Encode16(int codePoint, WCHAR*& out);

/// Units that UTF-8 takes up in UTF-16.
std::size_t Length16(const char* in, std::size_t count);
/// Converts into room for `Length16` units; returns their number.
std::size_t To16(const char* in, std::size_t count, WCHAR* out);

/// Bytes that UTF-16 takes up in UTF-8: at most 3 a unit.
std::size_t Length8(const WCHAR* in, std::size_t count);
/// Converts into room for `Length8` bytes; returns their number. `replaced` receives the number of lone surrogates,
/// which become U+FFFD.
std::size_t To8(const WCHAR* in, std::size_t count, char* out, std::size_t& replaced);

/// Whether all of the input is valid UTF-8. `sequences` receives the number of characters beyond ASCII up to the first
/// bad part.
bool IsValid8(const char* in, std::size_t count, std::size_t& sequences);

/// Exchanges the two bytes of every unit.
void SwapBytes(WCHAR* units, std::size_t count);

}  // namespace kvtfile::utf
