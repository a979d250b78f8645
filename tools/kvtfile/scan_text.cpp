// Paths and times of a listing. What is written is read back: nothing may look like something else.

#include "tools/kvtfile/scan_text.h"

#include <cstdio>
#include <cstdlib>
#include <optional>

#include "platform/io/local_time.h"
#include "tools/kvtfile/report.h"

namespace kvtcommand {

namespace {

constexpr size_t kLocalLength = 19;  // "2026-11-21 18:30:00"
constexpr LONGLONG kTicksPerSecond = 10000000;

bool IsHigh(WCHAR unit) {
    return (unit & 0xFC00) == 0xD800;
}

bool IsLow(WCHAR unit) {
    return (unit & 0xFC00) == 0xDC00;
}

template <typename... Arguments>
std::string Formatted(const char* format, Arguments... arguments) {
    char text[64];
    std::snprintf(text, sizeof text, format, arguments...);
    return text;
}

// U+DC5C and U+DC80-DCFF stand for a byte of a name.
std::string Escaped(WCHAR surrogate) {
    const unsigned unit = surrogate;
    const bool isByte = unit == 0xDC5C || (unit >= 0xDC80 && unit <= 0xDCFF);
    return isByte ? Formatted("\\\\x%02X", unit & 0xFF) : Formatted("\\\\u%04X", unit);
}

// Seconds since 1601.
std::optional<LONGLONG> SecondsOf(const SYSTEMTIME& time) {
    FILETIME stamp;
    if (!::SystemTimeToFileTime(&time, &stamp)) {
        return std::nullopt;
    }
    return static_cast<LONGLONG>(ULONGLONG{stamp.dwHighDateTime} << 32 | stamp.dwLowDateTime) / kTicksPerSecond;
}

// The moment that a stamp's text means, in seconds since 1601.
std::optional<LONGLONG> MomentOf(const std::string& stamp) {
    unsigned year, month, day, hour, minute, second, aheadHours, aheadMinutes;
    unsigned aheadSeconds = 0;
    char sign;
    if (std::sscanf(stamp.c_str(), "%4u-%2u-%2u %2u:%2u:%2u%c%2u:%2u:%2u", &year, &month, &day, &hour, &minute, &second,
                    &sign, &aheadHours, &aheadMinutes, &aheadSeconds) < 9 ||
        (sign != '+' && sign != '-')) {
        return std::nullopt;
    }
    SYSTEMTIME local = {};
    local.wYear = static_cast<WORD>(year);
    local.wMonth = static_cast<WORD>(month);
    local.wDay = static_cast<WORD>(day);
    local.wHour = static_cast<WORD>(hour);
    local.wMinute = static_cast<WORD>(minute);
    local.wSecond = static_cast<WORD>(second);
    const std::optional<LONGLONG> seconds = SecondsOf(local);
    const LONGLONG ahead = (LONGLONG{aheadHours} * 60 + aheadMinutes) * 60 + aheadSeconds;
    return seconds ? std::optional(*seconds - (sign == '-' ? -ahead : ahead)) : std::nullopt;
}

}  // namespace

std::string PathText(const CString& path) {
    std::string text;
    int start = 0;
    for (int i = 0; i < path.GetLength(); ++i) {
        if (IsHigh(path[i]) && i + 1 < path.GetLength() && IsLow(path[i + 1])) {
            ++i;
        } else if (IsHigh(path[i]) || IsLow(path[i])) {
            text += Utf8(path.Mid(start, i - start)) + Escaped(path[i]);
            start = i + 1;
        }
    }
    return text + Utf8(path.Mid(start));
}

std::string Shown(std::string_view path) {
    std::string text;
    for (const char c : path) {
        const auto byte = static_cast<unsigned char>(c);
        text += byte < 0x20 || byte == 0x7F ? Formatted("\\\\x%02X", byte) : std::string(1, c);
    }
    return text;
}

std::string StampText(const COleDateTime& time) {
    SYSTEMTIME local;
    SYSTEMTIME utc;
    if (time.GetStatus() != COleDateTime::valid || !time.GetAsSystemTime(local)) {
        return {};
    }
    std::string text = Formatted("%04d-%02d-%02d %02d:%02d:%02d", local.wYear, local.wMonth, local.wDay, local.wHour,
                                 local.wMinute, local.wSecond);
    const std::optional<LONGLONG> here = SecondsOf(local);
    const std::optional<LONGLONG> there = kvtio::UtcOf(local, utc) ? SecondsOf(utc) : std::nullopt;
    if (here && there) {
        const LONGLONG ahead = *here - *there;
        const int seconds = static_cast<int>(std::llabs(ahead));
        text += Formatted("%c%02d:%02d", ahead < 0 ? '-' : '+', seconds / 3600, seconds / 60 % 60);
        text += seconds % 60 != 0 ? Formatted(":%02d", seconds % 60) : "";
    }
    return text;
}

std::string_view LocalPart(std::string_view stamp) {
    return stamp.substr(0, kLocalLength);
}

bool SameMoment(const std::string& a, const std::string& b) {
    if (a == b) {
        return true;
    }
    const std::optional<LONGLONG> first = MomentOf(a);
    return first && first == MomentOf(b);
}

}  // namespace kvtcommand
