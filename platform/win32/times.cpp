// Calendar arithmetic: FILETIME, SYSTEMTIME and DATE.
//
// All conversions count days since 1601-01-01 in the Gregorian calendar, for any year; nothing here depends on the C
// library's calendar but for the time zone's present difference from UTC.

#include <stdlib.h>
#include <time.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "errors.h"
#include "platform/fork_mutex.h"
#include "status.h"
#include "winapi.h"

using kvtwin::Fail;
using kvtwin::FromTicks;
using kvtwin::TicksOf;

namespace {

constexpr LONGLONG kTicksPerSecond = 10000000;
constexpr LONGLONG kTicksPerDay = 86400 * kTicksPerSecond;
constexpr LONGLONG kDateEpoch = 109205;     // 1899-12-30 in days since 1601-01-01
constexpr double kFirstDate = -657434;      // 100-01-01
constexpr double kAfterLastDate = 2958466;  // 10000-01-01

// Days since 1601-01-01 of the first of a month (1 to 12). Years count from March, so that a leap day ends one.
constexpr LONGLONG DaysBeforeMonth(LONGLONG year, int month) {
    const LONGLONG y = month <= 2 ? year - 1 : year;
    const LONGLONG era = (y >= 0 ? y : y - 399) / 400;
    const LONGLONG year_of_era = y - era * 400;
    const LONGLONG day_of_year = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5;
    return era * 146097 + year_of_era * 365 + year_of_era / 4 - year_of_era / 100 + day_of_year - 584694;
}
static_assert(DaysBeforeMonth(1601, 1) == 0);
static_assert(DaysBeforeMonth(1899, 12) + 29 == kDateEpoch);

struct Day {
    int year;
    int month;
    int day;
};

constexpr Day DayOf(LONGLONG days) {
    const LONGLONG z = days + 584694;
    const LONGLONG era = (z >= 0 ? z : z - 146096) / 146097;
    const LONGLONG day_of_era = z - era * 146097;
    const LONGLONG year_of_era = (day_of_era - day_of_era / 1460 + day_of_era / 36524 - day_of_era / 146096) / 365;
    const LONGLONG day_of_year = day_of_era - (365 * year_of_era + year_of_era / 4 - year_of_era / 100);
    const LONGLONG m = (5 * day_of_year + 2) / 153;
    const int month = static_cast<int>(m < 10 ? m + 3 : m - 9);
    return {static_cast<int>(year_of_era + era * 400 + (month <= 2 ? 1 : 0)), month,
            static_cast<int>(day_of_year - (153 * m + 2) / 5 + 1)};
}

constexpr int DaysInMonth(int year, int month) {
    return static_cast<int>((month == 12 ? DaysBeforeMonth(year + 1, 1) : DaysBeforeMonth(year, month + 1)) -
                            DaysBeforeMonth(year, month));
}

void SetDay(LONGLONG days, SYSTEMTIME& time) {
    const Day day = DayOf(days);
    time.wYear = static_cast<WORD>(day.year);
    time.wMonth = static_cast<WORD>(day.month);
    time.wDay = static_cast<WORD>(day.day);
    time.wDayOfWeek = static_cast<WORD>(((days % 7) + 8) % 7);  // 1601-01-01 was a Monday
}

ULONGLONG Now() {
    timespec now{};
    ::clock_gettime(CLOCK_REALTIME, &now);
    return TicksOf(kvtwin::FileTimeOf(now));
}

// What the C library was asked last: its answer holds for the second, while TZ stays the same.
struct KnownBias {
    time_t second;
    LONGLONG ticks;
    char zone[64];

    bool Fits(time_t now, const char* name) const { return second == now && std::strcmp(zone, name) == 0; }
};
constinit thread_local KnownBias g_bias = {-1, 0, ""};

constinit kvtplatform::ForkMutex g_zone;

// What local time is ahead of UTC at this moment, in ticks.
LONGLONG PresentBias() {
    timespec moment{};
    ::clock_gettime(CLOCK_REALTIME, &moment);
    const time_t now = moment.tv_sec;
    const char* const variable = ::getenv("TZ");
    const char* const zone = variable ? variable : "(none)";
    if (!g_bias.Fits(now, zone)) {
        tm local{};
        kvtwin::LocalTime(now, local);
        g_bias.ticks = static_cast<LONGLONG>(local.tm_gmtoff) * kTicksPerSecond;
        g_bias.second = std::strlen(zone) < sizeof g_bias.zone ? now : -1;
        std::strncpy(g_bias.zone, zone, sizeof g_bias.zone - 1);
    }
    return g_bias.ticks;
}

BOOL Shift(const FILETIME& time, LONGLONG ticks, FILETIME& result) {
    const ULONGLONG old = TicksOf(time);
    const ULONGLONG shifted = old + static_cast<ULONGLONG>(ticks);
    if (ticks < 0 ? shifted > old : shifted < old) {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    result = FromTicks(shifted);
    return TRUE;
}

}  // namespace

bool kvtwin::LocalTime(time_t moment, tm& local) {
    const std::lock_guard lock(g_zone);
    ::tzset();
    return ::localtime_r(&moment, &local) != nullptr;
}

void GetSystemTimeAsFileTime(LPFILETIME time) {
    *time = FromTicks(Now());
}

void GetSystemTime(LPSYSTEMTIME time) {
    const FILETIME now = FromTicks(Now());
    FileTimeToSystemTime(&now, time);
}

void GetLocalTime(LPSYSTEMTIME time) {
    FILETIME now = FromTicks(Now());
    FileTimeToLocalFileTime(&now, &now);
    FileTimeToSystemTime(&now, time);
}

LONG CompareFileTime(const FILETIME* first, const FILETIME* second) {
    const ULONGLONG a = TicksOf(*first);
    const ULONGLONG b = TicksOf(*second);
    return a < b ? -1 : a > b ? 1 : 0;
}

BOOL FileTimeToLocalFileTime(const FILETIME* utc, LPFILETIME local) {
    return Shift(*utc, PresentBias(), *local);
}

BOOL LocalFileTimeToFileTime(const FILETIME* local, LPFILETIME utc) {
    return Shift(*local, -PresentBias(), *utc);
}

BOOL FileTimeToSystemTime(const FILETIME* time, LPSYSTEMTIME result) {
    const ULONGLONG ticks = TicksOf(*time);
    if (ticks > static_cast<ULONGLONG>(std::numeric_limits<LONGLONG>::max())) {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    SetDay(static_cast<LONGLONG>(ticks) / kTicksPerDay, *result);
    const LONGLONG milliseconds = static_cast<LONGLONG>(ticks) % kTicksPerDay / 10000;
    result->wHour = static_cast<WORD>(milliseconds / 3600000);
    result->wMinute = static_cast<WORD>(milliseconds / 60000 % 60);
    result->wSecond = static_cast<WORD>(milliseconds / 1000 % 60);
    result->wMilliseconds = static_cast<WORD>(milliseconds % 1000);
    return TRUE;
}

BOOL SystemTimeToFileTime(const SYSTEMTIME* time, LPFILETIME result) {
    const bool valid = time->wYear >= 1601 && time->wYear <= 30827 && time->wMonth >= 1 && time->wMonth <= 12 &&
                       time->wDay >= 1 && time->wDay <= DaysInMonth(time->wYear, time->wMonth) && time->wHour < 24 &&
                       time->wMinute < 60 && time->wSecond < 60 && time->wMilliseconds < 1000;
    if (!valid) {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    const LONGLONG days = DaysBeforeMonth(time->wYear, time->wMonth) + time->wDay - 1;
    const LONGLONG seconds = (time->wHour * 60LL + time->wMinute) * 60 + time->wSecond;
    *result = FromTicks(
        static_cast<ULONGLONG>(days * kTicksPerDay + seconds * kTicksPerSecond + time->wMilliseconds * 10000LL));
    return TRUE;
}

INT SystemTimeToVariantTime(SYSTEMTIME* time, double* result) {
    int year = time->wYear;
    int month = time->wMonth;
    if (month > 12 || year > 9999) {
        return FALSE;
    }
    if (year < 100) {
        year += year < 50 ? 2000 : 1900;
    }
    if (month == 0) {
        month = 12;
        --year;
    }
    const LONGLONG seconds = (time->wHour * 60LL + time->wMinute) * 60 + time->wSecond;
    const LONGLONG days = DaysBeforeMonth(year, month) + time->wDay - 1 + seconds / 86400 - kDateEpoch;
    const double part = static_cast<double>(seconds % 86400) / 86400.0;
    const double whole = static_cast<double>(days);
    if (whole < kFirstDate || whole >= kAfterLastDate) {
        return FALSE;
    }
    *result = whole < 0 ? whole - part : whole + part;
    return TRUE;
}

INT VariantTimeToSystemTime(double date, LPSYSTEMTIME result) {
    if (!(date > kFirstDate - 1 && date < kAfterLastDate)) {
        return FALSE;
    }
    double whole = 0;
    const double part = std::fabs(std::modf(date, &whole));
    LONGLONG seconds = std::llround(part * 86400.0);
    const LONGLONG days = static_cast<LONGLONG>(whole) + seconds / 86400;
    seconds %= 86400;
    if (static_cast<double>(days) >= kAfterLastDate) {
        return FALSE;
    }
    SYSTEMTIME time{};
    SetDay(days + kDateEpoch, time);
    time.wHour = static_cast<WORD>(seconds / 3600);
    time.wMinute = static_cast<WORD>(seconds / 60 % 60);
    time.wSecond = static_cast<WORD>(seconds % 60);
    *result = time;
    return TRUE;
}
