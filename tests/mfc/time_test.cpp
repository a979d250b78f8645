// COleDateTime and CTime: values, ranges and parts.
#include "tests/support/support.h"

namespace {

TEST(OleDateTime, CountsDaysFromTheEndOf1899) {
    EXPECT_EQ(COleDateTime().m_dt, 0.0);
    EXPECT_EQ(COleDateTime().GetStatus(), COleDateTime::valid);
    const COleDateTime date(2024, 5, 6, 7, 8, 9);
    EXPECT_EQ(date.GetStatus(), COleDateTime::valid);
    EXPECT_NEAR(date.m_dt, 45418.297326388893, 1e-9);
    EXPECT_EQ(COleDateTime(1899, 12, 30, 0, 0, 0).m_dt, 0.0);
    EXPECT_EQ(COleDateTime(1899, 12, 29, 6, 0, 0).m_dt, -1.25);
    EXPECT_EQ(COleDateTime(9999, 12, 31, 0, 0, 0).m_dt, 2958465.0);
    EXPECT_EQ(COleDateTime(100, 1, 1, 0, 0, 0).m_dt, -657434.0);
}

TEST(OleDateTime, PartsAreThoseOfTheCalendar) {
    const COleDateTime date(2024, 2, 29, 23, 59, 58);
    EXPECT_EQ(date.GetYear(), 2024);
    EXPECT_EQ(date.GetMonth(), 2);
    EXPECT_EQ(date.GetDay(), 29);
    EXPECT_EQ(date.GetHour(), 23);
    EXPECT_EQ(date.GetMinute(), 59);
    EXPECT_EQ(date.GetSecond(), 58);
    EXPECT_EQ(date.GetDayOfWeek(), 5);
    const COleDateTime negative(-1.25);
    EXPECT_EQ(negative.GetDay(), 29);
    EXPECT_EQ(negative.GetHour(), 6);
}

TEST(OleDateTime, DatesThatDoNotExistAreInvalid) {
    const int rows[][6] = {{2024, 2, 30, 0, 0, 0}, {2023, 2, 29, 0, 0, 0}, {2024, 13, 1, 0, 0, 0},
                           {2024, 0, 1, 0, 0, 0},  {2024, 1, 0, 0, 0, 0},  {2024, 1, 1, 24, 0, 0},
                           {2024, 1, 1, 0, 60, 0}, {2024, 1, 1, 0, 0, 60}, {10000, 1, 1, 0, 0, 0},
                           {99, 1, 1, 0, 0, 0},    {2024, 1, 1, -1, 0, 0}};
    for (const auto& row : rows) {
        const COleDateTime date(row[0], row[1], row[2], row[3], row[4], row[5]);
        EXPECT_EQ(date.GetStatus(), COleDateTime::invalid) << row[0] << ' ' << row[1] << ' ' << row[2];
        EXPECT_EQ(date.GetYear(), -1);
        EXPECT_EQ(date.GetSecond(), -1);
    }
    EXPECT_EQ(COleDateTime(2958466.0).GetStatus(), COleDateTime::invalid);
    EXPECT_EQ(COleDateTime(-657435.0).GetStatus(), COleDateTime::invalid);
}

TEST(OleDateTime, StatusDecidesEquality) {
    COleDateTime a(45418.0);
    COleDateTime b(45418.0);
    EXPECT_TRUE(a == b);
    b.SetStatus(COleDateTime::null);
    EXPECT_FALSE(a == b);
    EXPECT_TRUE(a != b);
    EXPECT_TRUE(COleDateTime(-1.25) < COleDateTime(-1.75)) << "the time of day counts forward";
    EXPECT_TRUE(COleDateTime(-2.0) < COleDateTime(-1.25));
    EXPECT_TRUE(COleDateTime(1.0) >= COleDateTime(1.0));
}

TEST(OleDateTime, FormatsLikeTheRuntimeLibrary) {
    COleDateTime date(2024, 5, 6, 7, 8, 9);
    EXPECT_EQ(date.Format(_T("%Y-%m-%d %H:%M:%S")), _T("2024-05-06 07:08:09"));
    EXPECT_EQ(date.Format(_T("%j 年")), _T("127 年"));
    EXPECT_EQ(date.Format(_T("")), _T(""));
    date.SetStatus(COleDateTime::null);
    EXPECT_EQ(date.Format(_T("%Y")), _T(""));
    date.SetStatus(COleDateTime::invalid);
    EXPECT_EQ(date.Format(_T("%Y")), _T("Invalid DateTime"));
}

TEST(OleDateTime, SpansAddAcrossTheOrigin) {
    const COleDateTime date = COleDateTime(1899, 12, 30, 12, 0, 0) - COleDateTimeSpan(1, 0, 0, 0);
    EXPECT_EQ(date.GetDay(), 29);
    EXPECT_EQ(date.GetHour(), 12);
    EXPECT_NEAR((COleDateTime(1900, 1, 1, 0, 0, 0) - date).GetTotalHours(), 60.0, 1e-6);
    EXPECT_EQ((date + COleDateTimeSpan(1e9)).GetStatus(), COleDateTime::invalid);
}

TEST(Time, FileTimesLoseTheirFraction) {
    FILETIME time;
    const ULONGLONG ticks = (1700000000ULL + 11644473600ULL) * 10000000ULL + 9999999;
    time.dwLowDateTime = static_cast<DWORD>(ticks);
    time.dwHighDateTime = static_cast<DWORD>(ticks >> 32);
    EXPECT_EQ(CTime(time).GetTime(), 1700000000);
    EXPECT_TRUE(CTime(1) < CTime(2));
    EXPECT_TRUE(CTime(1) == CTime(1));
    EXPECT_GT(CTime::GetCurrentTime().GetTime(), 1700000000);
    const COleDateTime date(time);
    EXPECT_EQ(date.GetYear(), 2023);
    EXPECT_EQ(date.GetSecond(), 20);
}

}  // namespace
