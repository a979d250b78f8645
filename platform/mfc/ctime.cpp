// CTime and COleDateTime. The calendar is the platform's (SystemTimeToVariantTime and its kin), so that dates agree
// with those of automation.
#include "platform/mfc/ctime.h"

#include <cmath>
#include <string>

#include "kvtfile/types.h"
#include "platform/mfc/carchive.h"

namespace kvtmfc {

namespace {

constexpr LONGLONG ticksPerSecond = 10000000;
constexpr LONGLONG secondsFrom1601To1970 = 11644473600;
constexpr DATE firstDate = -657434;  // 0100-01-01
constexpr DATE afterLastDate = 2958466;
constexpr int noPart = COleDateTime::error;

FILETIME FileTimeOf(LONGLONG seconds) {
    const ULONGLONG ticks = static_cast<ULONGLONG>((seconds + secondsFrom1601To1970) * ticksPerSecond);
    FILETIME time;
    time.dwLowDateTime = static_cast<DWORD>(ticks);
    time.dwHighDateTime = static_cast<DWORD>(ticks >> 32);
    return time;
}

}  // namespace

// --- CTime ---

CTime::CTime(const FILETIME& time) noexcept {
    const ULONGLONG ticks = (ULONGLONG{time.dwHighDateTime} << 32) | time.dwLowDateTime;
    m_time = static_cast<LONGLONG>(ticks / ticksPerSecond) - secondsFrom1601To1970;
}

CTime CTime::GetCurrentTime() {
    FILETIME now;
    ::GetSystemTimeAsFileTime(&now);
    return CTime(now);
}

CArchive& operator<<(CArchive& ar, CTime time) {
    return ar << time.GetTime();
}

CArchive& operator>>(CArchive& ar, CTime& time) {
    LONGLONG seconds = 0;
    ar >> seconds;
    time = CTime(seconds);
    return ar;
}

// --- COleDateTime ---

COleDateTime::COleDateTime(const SYSTEMTIME& time) {
    SetSystemTime(time);
}

COleDateTime::COleDateTime(const FILETIME& time) {
    FILETIME local;
    SYSTEMTIME parts;
    if (::FileTimeToLocalFileTime(&time, &local) && ::FileTimeToSystemTime(&local, &parts)) {
        SetSystemTime(parts);
    } else {
        m_status = invalid;
    }
}

COleDateTime::COleDateTime(LONGLONG secondsSince1970) : COleDateTime(FileTimeOf(secondsSince1970)) {}

COleDateTime::COleDateTime(int year, int month, int day, int hour, int minute, int second) {
    SetDateTime(year, month, day, hour, minute, second);
}

COleDateTime COleDateTime::GetCurrentTime() {
    SYSTEMTIME now;
    ::GetLocalTime(&now);
    return COleDateTime(now);
}

void COleDateTime::CheckRange() {
    m_status = m_dt >= firstDate && m_dt < afterLastDate ? valid : invalid;
}

void COleDateTime::SetSystemTime(const SYSTEMTIME& time) {
    SYSTEMTIME parts = time;
    parts.wMilliseconds = 0;
    double date = 0;
    const bool known = ::SystemTimeToVariantTime(&parts, &date) != 0;
    m_dt = known ? date : 0;
    m_status = known ? valid : invalid;
}

int COleDateTime::SetDateTime(int year, int month, int day, int hour, int minute, int second) {
    const bool inRange = year >= 100 && year <= 9999 && month >= 1 && month <= 12 && day >= 1 && day <= 31 &&
                         hour >= 0 && hour <= 23 && minute >= 0 && minute <= 59 && second >= 0 && second <= 59;
    if (inRange) {
        SYSTEMTIME parts = {};
        parts.wYear = static_cast<WORD>(year);
        parts.wMonth = static_cast<WORD>(month);
        parts.wDay = static_cast<WORD>(day);
        parts.wHour = static_cast<WORD>(hour);
        parts.wMinute = static_cast<WORD>(minute);
        parts.wSecond = static_cast<WORD>(second);
        SetSystemTime(parts);
        // The calendar carries a day that the month lacks into the next month.
        if (m_status == valid && GetDay() == day) {
            return 0;
        }
    }
    m_dt = 0;
    m_status = invalid;
    return 1;
}

bool COleDateTime::GetAsSystemTime(SYSTEMTIME& time) const {
    SYSTEMTIME parts;
    if (m_status != valid || !::VariantTimeToSystemTime(m_dt, &parts)) {
        return false;
    }
    time = parts;
    return true;
}

int COleDateTime::GetYear() const {
    SYSTEMTIME parts;
    return GetAsSystemTime(parts) ? parts.wYear : noPart;
}

int COleDateTime::GetMonth() const {
    SYSTEMTIME parts;
    return GetAsSystemTime(parts) ? parts.wMonth : noPart;
}

int COleDateTime::GetDay() const {
    SYSTEMTIME parts;
    return GetAsSystemTime(parts) ? parts.wDay : noPart;
}

int COleDateTime::GetHour() const {
    SYSTEMTIME parts;
    return GetAsSystemTime(parts) ? parts.wHour : noPart;
}

int COleDateTime::GetMinute() const {
    SYSTEMTIME parts;
    return GetAsSystemTime(parts) ? parts.wMinute : noPart;
}

int COleDateTime::GetSecond() const {
    SYSTEMTIME parts;
    return GetAsSystemTime(parts) ? parts.wSecond : noPart;
}

int COleDateTime::GetDayOfWeek() const {
    SYSTEMTIME parts;
    return GetAsSystemTime(parts) ? parts.wDayOfWeek + 1 : noPart;
}

CString COleDateTime::Format(LPCWSTR format) const {
    if (m_status == null) {
        return CString();
    }
    SYSTEMTIME parts;
    if (!format || !GetAsSystemTime(parts)) {
        return _T("Invalid DateTime");
    }
    std::tm time = {};
    time.tm_year = parts.wYear - 1900;
    time.tm_mon = parts.wMonth - 1;
    time.tm_mday = parts.wDay;
    time.tm_hour = parts.wHour;
    time.tm_min = parts.wMinute;
    time.tm_sec = parts.wSecond;
    time.tm_wday = parts.wDayOfWeek;
    time.tm_yday = static_cast<int>(std::floor(Linear())) -
                   static_cast<int>(std::floor(COleDateTime(parts.wYear, 1, 1, 0, 0, 0).Linear()));
    time.tm_isdst = -1;
    // The closing blank makes an empty result tell itself from a buffer that is too small.
    const std::string code = CString(format).ToUtf8() + ' ';
    std::string text(256, '\0');
    size_t length = 0;
    while ((length = std::strftime(text.data(), text.size(), code.c_str(), &time)) == 0) {
        text.resize(text.size() * 2);
    }
    return CString::FromUtf8(std::string_view(text.data(), length - 1));
}

double COleDateTime::Linear() const {
    return m_dt >= 0 ? m_dt : std::ceil(m_dt) + (std::ceil(m_dt) - m_dt);
}

COleDateTime COleDateTime::FromLinear(double days) {
    const double day = std::floor(days);
    return COleDateTime(day >= 0 ? days : day - (days - day));
}

bool COleDateTime::operator==(const COleDateTime& other) const {
    return m_status == other.m_status && Linear() == other.Linear();
}

COleDateTime COleDateTime::operator+(const COleDateTimeSpan& span) const {
    if (m_status == valid && span.GetStatus() == COleDateTimeSpan::valid) {
        return FromLinear(Linear() + span.m_span);
    }
    COleDateTime result;
    result.SetStatus(m_status == invalid || span.GetStatus() == COleDateTimeSpan::invalid ? invalid : null);
    return result;
}

COleDateTime COleDateTime::operator-(const COleDateTimeSpan& span) const {
    COleDateTimeSpan negative(-span.m_span);
    negative.SetStatus(span.GetStatus());
    return *this + negative;
}

COleDateTimeSpan COleDateTime::operator-(const COleDateTime& other) const {
    COleDateTimeSpan span;
    if (m_status == valid && other.m_status == valid) {
        span.m_span = Linear() - other.Linear();
    } else {
        span.SetStatus(m_status == invalid || other.m_status == invalid ? COleDateTimeSpan::invalid
                                                                        : COleDateTimeSpan::null);
    }
    return span;
}

CArchive& operator<<(CArchive& ar, const COleDateTime& time) {
    return ar << static_cast<int>(time.m_status) << time.m_dt;
}

CArchive& operator>>(CArchive& ar, COleDateTime& time) {
    int status = 0;
    ar >> status >> time.m_dt;
    time.m_status = static_cast<COleDateTime::DateTimeStatus>(status);
    return ar;
}

}  // namespace kvtmfc
