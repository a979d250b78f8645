// File stamps as local times: the offset in force at the stamp, the ends of the calendar, the way back.

#include "files/file_times.h"

#include <limits>

#include "tests/support/support.h"
#ifndef _WIN32
#include "platform/win32/status.h"
#endif

namespace {

using kvtfile::detail::LocalTimeOf;
using kvtfile::detail::LocalTimes;
using kvtfile::detail::StampOf;

FILETIME Stamp(ULONGLONG ticks) {
    FILETIME stamp;
    stamp.dwLowDateTime = static_cast<DWORD>(ticks);
    stamp.dwHighDateTime = static_cast<DWORD>(ticks >> 32);
    return stamp;
}

constexpr ULONGLONG SECOND = 10000000;
constexpr ULONGLONG DAY = 86400 * SECOND;

FILETIME Utc(WORD year, WORD month, WORD day, WORD hour = 12, WORD minute = 0) {
    SYSTEMTIME parts = {};
    parts.wYear = year;
    parts.wMonth = month;
    parts.wDay = day;
    parts.wHour = hour;
    parts.wMinute = minute;
    FILETIME stamp = {};
    EXPECT_TRUE(::SystemTimeToFileTime(&parts, &stamp));
    return stamp;
}

std::string Text(const COleDateTime& time) {
    return kvttest::Utf8(time.Format(_T("%Y-%m-%d %H:%M:%S")));
}

TEST(FileTimes, ManyStampsComeOutAsEachByItself) {
    LocalTimes times;
    for (ULONGLONG ticks = 0; ticks < 0x7FFFFFFFFFFFFFFF - 4000 * DAY; ticks += 3001 * DAY + 12345 * SECOND + 77) {
        const FILETIME stamp = Stamp(ticks);
        const COleDateTime one = LocalTimeOf(stamp);
        for (int again = 0; again < 2; ++again) {
            const COleDateTime many = times.Of(stamp);
            ASSERT_EQ(many.GetStatus(), one.GetStatus()) << ticks;
            ASSERT_EQ(many.m_dt, one.m_dt) << ticks;
        }
    }
}

TEST(FileTimes, StampsOutsideTheCalendarAreInvalid) {
    EXPECT_EQ(LocalTimeOf(Stamp(0x8000000000000000)).GetStatus(), COleDateTime::invalid);
    EXPECT_EQ(LocalTimeOf(Stamp(~0ULL)).GetStatus(), COleDateTime::invalid);
    EXPECT_EQ(LocalTimeOf(Utc(10000, 1, 3)).GetStatus(), COleDateTime::invalid);
    EXPECT_EQ(LocalTimes().Of(Stamp(~0ULL)).GetStatus(), COleDateTime::invalid);
    EXPECT_EQ(LocalTimeOf(Utc(9999, 12, 30)).GetStatus(), COleDateTime::valid);
    EXPECT_EQ(LocalTimeOf(Utc(1601, 1, 3)).GetYear(), 1601);
    EXPECT_EQ(LocalTimeOf(Utc(2108, 2, 3)).GetYear(), 2108);
}

TEST(FileTimes, FractionsOfASecondAreDropped) {
    const FILETIME whole = Utc(2024, 5, 6, 7, 8);
    const ULONGLONG ticks = ULONGLONG{whole.dwHighDateTime} << 32 | whole.dwLowDateTime;
    EXPECT_EQ(LocalTimeOf(Stamp(ticks + 9999999)).m_dt, LocalTimeOf(whole).m_dt);
    EXPECT_EQ(LocalTimes().Of(Stamp(ticks + 9999999)).m_dt, LocalTimeOf(whole).m_dt);
}

TEST(FileTimes, TheWayBackGivesTheStamp) {
    for (const FILETIME stamp :
         {Utc(1601, 1, 3), Utc(1969, 7, 20), Utc(2024, 1, 15), Utc(2024, 7, 15), Utc(2200, 6, 1)}) {
        FILETIME back = {};
        ASSERT_TRUE(StampOf(LocalTimeOf(stamp), back));
        EXPECT_EQ(::CompareFileTime(&stamp, &back), 0) << Text(LocalTimeOf(stamp));
    }
}

TEST(FileTimes, TimesWithoutAStampLeaveItUnchanged) {
    COleDateTime invalid;
    invalid.SetStatus(COleDateTime::invalid);
    COleDateTime null;
    null.SetStatus(COleDateTime::null);
    for (const COleDateTime& time : {invalid, null, COleDateTime(1500, 1, 1, 0, 0, 0)}) {
        FILETIME stamp = Stamp(42);
        EXPECT_FALSE(StampOf(time, stamp));
        EXPECT_EQ(stamp.dwLowDateTime, 42u);
    }
}

void ExpectTheRulesOfEachYearInNewYork() {
    // Since 2007 summer time begins on the second Sunday of March, and not on the first of April.
    const struct {
        FILETIME utc;
        const char* local;
    } rows[] = {{Utc(2005, 3, 20), "2005-03-20 07:00:00"}, {Utc(2005, 4, 20), "2005-04-20 08:00:00"},
                {Utc(2006, 3, 20), "2006-03-20 07:00:00"}, {Utc(2007, 3, 20), "2007-03-20 08:00:00"},
                {Utc(2024, 3, 20), "2024-03-20 08:00:00"}, {Utc(2007, 1, 1, 3), "2006-12-31 22:00:00"}};
    LocalTimes times;
    for (const auto& row : rows) {
        EXPECT_EQ(Text(LocalTimeOf(row.utc)), row.local);
        EXPECT_EQ(Text(times.Of(row.utc)), row.local);
        FILETIME back = {};
        ASSERT_TRUE(StampOf(LocalTimeOf(row.utc), back));
        EXPECT_EQ(::CompareFileTime(&row.utc, &back), 0) << row.local;
    }
}

#ifdef _WIN32
// The zone is the system's (under Wine the one that TZ names at the start).
TEST(FileTimes, EachYearHasItsOwnRules) {
    DYNAMIC_TIME_ZONE_INFORMATION zone;
    ::GetDynamicTimeZoneInformation(&zone);
    if (CString(zone.TimeZoneKeyName) != _T("Eastern Standard Time")) {
        GTEST_SKIP() << "knows the rules of New York alone";
    }
    ExpectTheRulesOfEachYearInNewYork();
}
#else
// The zone is asked for each time.

class Zone {
public:
    explicit Zone(const char* name) { ::setenv("TZ", name, 1); }
    ~Zone() { ::unsetenv("TZ"); }
};

TEST(FileTimes, EachYearHasItsOwnRules) {
    const Zone zone("America/New_York");
    ExpectTheRulesOfEachYearInNewYork();
}

TEST(FileTimes, EachStampHasTheOffsetOfItsOwnSeason) {
    const Zone zone("America/New_York");
    EXPECT_EQ(Text(LocalTimeOf(Utc(2024, 1, 15))), "2024-01-15 07:00:00");
    EXPECT_EQ(Text(LocalTimeOf(Utc(2024, 7, 15))), "2024-07-15 08:00:00");
    LocalTimes times;
    EXPECT_EQ(Text(times.Of(Utc(2024, 1, 15))), "2024-01-15 07:00:00");
    EXPECT_EQ(Text(times.Of(Utc(2024, 7, 15))), "2024-07-15 08:00:00");
    // The day of the change itself.
    EXPECT_EQ(Text(times.Of(Utc(2024, 3, 10, 6, 59))), "2024-03-10 01:59:00");
    EXPECT_EQ(Text(times.Of(Utc(2024, 3, 10, 7, 0))), "2024-03-10 03:00:00");
}

TEST(FileTimes, AnHourThatComesTwiceIsTheFirst) {
    const Zone zone("America/New_York");
    FILETIME stamp = {};
    ASSERT_TRUE(StampOf(COleDateTime(2024, 11, 3, 1, 30, 0), stamp));
    EXPECT_EQ(Text(LocalTimeOf(stamp)), "2024-11-03 01:30:00");
    const FILETIME first = Utc(2024, 11, 3, 5, 30);
    EXPECT_EQ(::CompareFileTime(&stamp, &first), 0);
    // One that is left out counts on from before.
    ASSERT_TRUE(StampOf(COleDateTime(2024, 3, 10, 2, 30, 0), stamp));
    EXPECT_EQ(Text(LocalTimeOf(stamp)), "2024-03-10 03:30:00");
}

TEST(FileTimes, AStampWhoseLocalTimeIsBefore1601IsInvalid) {
    const Zone zone("America/New_York");
    EXPECT_EQ(LocalTimeOf(Stamp(0)).GetStatus(), COleDateTime::invalid);
    EXPECT_EQ(LocalTimes().Of(Stamp(0)).GetStatus(), COleDateTime::invalid);
}

TEST(FileTimes, SystemStampsThatNoDateTellsAreInvalid) {
    constexpr time_t kYear = 31556952;
    constexpr time_t kLongest = std::numeric_limits<time_t>::max();
    for (const time_t seconds : {-470 * kYear, -kLongest - 1, -time_t{11644473601}, 30000 * kYear, kLongest / 10000000,
                                 kLongest - 1, kLongest}) {
        const FILETIME stamp = kvtwin::FileTimeOf({seconds, 999999999});
        EXPECT_EQ(stamp.dwLowDateTime & stamp.dwHighDateTime, 0xFFFFFFFF) << seconds;
        EXPECT_EQ(LocalTimeOf(stamp).GetStatus(), COleDateTime::invalid) << seconds;
    }
    EXPECT_EQ(kvtwin::TicksOf(kvtwin::FileTimeOf({-time_t{11644473600}, 0})), 0u);
    EXPECT_EQ(kvtwin::TicksOf(kvtwin::FileTimeOf({-1, 999999999})), 116444735999999999u);
}

TEST(FileTimes, AChangedTimeZoneHolds) {
    const FILETIME stamp = Utc(2024, 1, 15);
    {
        const Zone zone("Asia/Shanghai");
        EXPECT_EQ(Text(LocalTimeOf(stamp)), "2024-01-15 20:00:00");
    }
    const Zone zone("UTC");
    EXPECT_EQ(Text(LocalTimeOf(stamp)), "2024-01-15 12:00:00");
}
#endif

}  // namespace
