// Names of the Microsoft runtime library that the subsystems use: numbers from text, parts of a path.

#include <errno.h>
#include <locale.h>
#include <stdlib.h>
#include <unicode/uchar.h>

#include <algorithm>
#include <limits>
#include <string>
#include <string_view>

#include "winapi.h"

namespace {

// The runtime's iswspace: Unicode's white space but for the zero-width ones.
bool IsBlank(WCHAR c) {
    return (c >= 0x09 && c <= 0x0D) || c == 0x20 || c == 0x85 || u_isJavaSpaceChar(c);
}

LPCWSTR SkipBlanks(LPCWSTR text) {
    while (IsBlank(*text)) {
        ++text;
    }
    return text;
}

bool TakeSign(LPCWSTR& text) {
    const bool negative = *text == u'-';
    if (negative || *text == u'+') {
        ++text;
    }
    return negative;
}

// The number's characters as ASCII: blanks skipped, cut at the first character that no number has.
std::string NumberText(LPCWSTR text) {
    std::string number;
    for (text = SkipBlanks(text); *text > 0x20 && *text < 0x7F; ++text) {
        number += static_cast<char>(*text);
    }
    return number;
}

void CopyPart(std::u16string_view part, LPWSTR buffer, int room) {
    if (buffer) {
        const size_t length = std::min(part.size(), static_cast<size_t>(room - 1));
        std::copy_n(part.begin(), length, buffer);
        buffer[length] = u'\0';
    }
}

}  // namespace

int _wtoi(LPCWSTR text) {
    if (!text) {
        return 0;
    }
    text = SkipBlanks(text);
    const bool negative = TakeSign(text);
    LONGLONG value = 0;
    constexpr LONGLONG kLimit = std::numeric_limits<int>::max();
    for (;; ++text) {
        const int digit = u_charDigitValue(*text);
        if (digit < 0) {
            break;
        }
        value = std::min(value * 10 + digit, kLimit + 2);
    }
    if (value > kLimit + (negative ? 1 : 0)) {
        errno = ERANGE;
        value = kLimit + (negative ? 1 : 0);
    }
    return static_cast<int>(negative ? -value : value);
}

double _wtof(LPCWSTR text) {
    if (!text) {
        return 0;
    }
    std::string number = NumberText(text);
    // A decimal exponent may be marked by d as well.
    const size_t mark = number.find_first_of("xXdDeEnN");
    if (mark != number.npos && (number[mark] == 'd' || number[mark] == 'D')) {
        number[mark] = 'e';
    }
    const locale_t c_locale = ::newlocale(LC_ALL_MASK, "C", nullptr);
    if (!c_locale) {
        return 0;
    }
    const double value = ::strtod_l(number.c_str(), nullptr, c_locale);
    ::freelocale(c_locale);
    return value;
}

void _wsplitpath(LPCWSTR path, LPWSTR drive, LPWSTR folder, LPWSTR name, LPWSTR extension) {
    std::u16string_view rest = path ? path : u"";
    const size_t drive_length = rest.size() >= 2 && rest[1] == u':' ? 2 : 0;
    CopyPart(rest.substr(0, drive_length), drive, _MAX_DRIVE);
    rest.remove_prefix(drive_length);
    const size_t separator = rest.find_last_of(u"\\/");
    const size_t folder_length = separator == rest.npos ? 0 : separator + 1;
    CopyPart(rest.substr(0, folder_length), folder, _MAX_DIR);
    rest.remove_prefix(folder_length);
    const size_t dot = std::min(rest.rfind(u'.'), rest.size());
    CopyPart(rest.substr(0, dot), name, _MAX_FNAME);
    CopyPart(rest.substr(dot), extension, _MAX_EXT);
}
