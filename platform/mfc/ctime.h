// CTime and COleDateTime: points in time in whole seconds, and calendar dates and times of day.
#pragma once

#include "cstring.h"

#include <ctime>

namespace kvtmfc {

class CArchive;

/// Seconds since 1970-01-01 UTC, without leap seconds.
class KVTFILE_API CTime {
public:
    constexpr CTime() noexcept = default;
    constexpr explicit CTime(LONGLONG seconds) noexcept : m_time(seconds) {}
    /// Fractions of a second are dropped.
    explicit CTime(const FILETIME& time) noexcept;

    constexpr LONGLONG GetTime() const noexcept { return m_time; }
    static CTime GetCurrentTime();

    constexpr bool operator==(CTime other) const noexcept { return m_time == other.m_time; }
    constexpr bool operator!=(CTime other) const noexcept { return m_time != other.m_time; }
    constexpr bool operator<(CTime other) const noexcept { return m_time < other.m_time; }
    constexpr bool operator>(CTime other) const noexcept { return m_time > other.m_time; }
    constexpr bool operator<=(CTime other) const noexcept { return m_time <= other.m_time; }
    constexpr bool operator>=(CTime other) const noexcept { return m_time >= other.m_time; }

private:
    LONGLONG m_time = 0;
};

KVTFILE_API CArchive& operator<<(CArchive& ar, CTime time);
KVTFILE_API CArchive& operator>>(CArchive& ar, CTime& time);

/// A length of time in days.
class KVTFILE_API COleDateTimeSpan {
public:
    enum DateTimeSpanStatus { valid = 0, invalid = 1, null = 2 };

    COleDateTimeSpan() = default;
    explicit COleDateTimeSpan(double days) : m_span(days) {}
    COleDateTimeSpan(LONG days, int hours, int minutes, int seconds)
        : m_span(days + hours / 24.0 + minutes / 1440.0 + seconds / 86400.0) {}

    DateTimeSpanStatus GetStatus() const { return m_status; }
    void SetStatus(DateTimeSpanStatus status) { m_status = status; }
    double GetTotalDays() const { return m_span; }
    double GetTotalHours() const { return m_span * 24; }
    double GetTotalMinutes() const { return m_span * 1440; }
    double GetTotalSeconds() const { return m_span * 86400; }

    double m_span = 0;
    DateTimeSpanStatus m_status = valid;
};

/// A calendar date and time of day, in whole seconds, from the year 100 to 9999; or invalid, or null (no value).
///
/// `m_dt` counts days from 1899-12-30; the fraction is the time of day and counts forward even where the day is
/// negative.
class KVTFILE_API COleDateTime {
public:
    enum DateTimeStatus { error = -1, valid = 0, invalid = 1, null = 2 };

    /// 0.0 and valid.
    COleDateTime() = default;
    COleDateTime(DATE date) : m_dt(date) { CheckRange(); }
    /// Local time.
    explicit COleDateTime(LONGLONG secondsSince1970);
    explicit COleDateTime(const SYSTEMTIME& time);
    /// Local time by today's distance from UTC, whatever the season of the stamp.
    explicit COleDateTime(const FILETIME& time);
    /// Invalid when there is no such date or time of day.
    COleDateTime(int year, int month, int day, int hour, int minute, int second);

    /// The local time now, in whole seconds.
    static COleDateTime GetCurrentTime();

    DateTimeStatus GetStatus() const { return m_status; }
    void SetStatus(DateTimeStatus status) { m_status = status; }
    /// 0, or 1 (and invalid) when there is no such date or time of day.
    int SetDateTime(int year, int month, int day, int hour, int minute, int second);
    int SetDate(int year, int month, int day) { return SetDateTime(year, month, day, 0, 0, 0); }
    int SetTime(int hour, int minute, int second) { return SetDateTime(1899, 12, 30, hour, minute, second); }

    /// The parts; -1 when the value is not valid. GetDayOfWeek: 1 is Sunday.
    int GetYear() const;
    int GetMonth() const;
    int GetDay() const;
    int GetHour() const;
    int GetMinute() const;
    int GetSecond() const;
    int GetDayOfWeek() const;
    /// False when the value is not valid; `time` is then unchanged.
    bool GetAsSystemTime(SYSTEMTIME& time) const;

    /// The codes of strftime in the C locale. Null: "". Invalid: "Invalid DateTime".
    CString Format(LPCWSTR format) const;

    /// Equal: same status and same value.
    bool operator==(const COleDateTime& other) const;
    bool operator!=(const COleDateTime& other) const { return !(*this == other); }
    /// By value; the result means nothing unless both are valid.
    bool operator<(const COleDateTime& other) const { return Linear() < other.Linear(); }
    bool operator>(const COleDateTime& other) const { return other < *this; }
    bool operator<=(const COleDateTime& other) const { return !(other < *this); }
    bool operator>=(const COleDateTime& other) const { return !(*this < other); }

    COleDateTime operator+(const COleDateTimeSpan& span) const;
    COleDateTime operator-(const COleDateTimeSpan& span) const;
    COleDateTimeSpan operator-(const COleDateTime& other) const;
    operator DATE() const { return m_dt; }

    DATE m_dt = 0;
    DateTimeStatus m_status = valid;

private:
    void CheckRange();
    void SetSystemTime(const SYSTEMTIME& time);
    /// Days on one rising scale.
    double Linear() const;
    static COleDateTime FromLinear(double days);
};

KVTFILE_API CArchive& operator<<(CArchive& ar, const COleDateTime& time);
KVTFILE_API CArchive& operator>>(CArchive& ar, COleDateTime& time);

}  // namespace kvtmfc
