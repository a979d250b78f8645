// The head of a log message: prefix, stamp and tag in brackets.

#include "files/log_head.h"

#include <algorithm>

namespace kvtfile::detail {

namespace {

constexpr int ROOM = 160;

// A number of up to five digits, padded with blanks.
WCHAR* PutNumber(WCHAR* to, unsigned number, int width) {
    WCHAR digits[5];
    int count = 0;
    do {
        digits[count++] = static_cast<WCHAR>('0' + number % 10);
        number /= 10;
    } while (number != 0);
    to = std::fill_n(to, std::max(width - count, 0), WCHAR{' '});
    return std::reverse_copy(digits, digits + count, to);
}

void AddStamp(CString& text, const SYSTEMTIME& now) {
    const struct {
        char sign;
        WORD number;
        int width;
    } parts[] = {{'[', now.wMonth, 2},  {'-', now.wDay, 2},    {' ', now.wHour, 2},
                 {':', now.wMinute, 2}, {':', now.wSecond, 2}, {'_', now.wMilliseconds, 3}};
    WCHAR stamp[40];
    WCHAR* to = stamp;
    for (const auto& part : parts) {
        *to++ = static_cast<WCHAR>(part.sign);
        to = PutNumber(to, part.number, part.width);
    }
    *to++ = ']';
    text.Append(stamp, static_cast<int>(to - stamp));
}

void AddBracketed(CString& text, LPCWSTR part) {
    text += _T('[');
    text += part;
    text += _T(']');
}

}  // namespace

CString LogHead(const CString& prefix, const SYSTEMTIME& now, LPCWSTR tag) {
    CString text;
    text.Preallocate(ROOM);
    if (!prefix.IsEmpty()) {
        AddBracketed(text, prefix);
    }
    AddStamp(text, now);
    if (tag && *tag) {
        AddBracketed(text, tag);
    }
    return text;
}

}  // namespace kvtfile::detail
