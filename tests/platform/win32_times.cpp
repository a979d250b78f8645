// FILETIME, SYSTEMTIME and DATE.

#include <cmath>
#include <string>

#include "tests/support/support.h"

namespace {

SYSTEMTIME Time(WORD year, WORD month, WORD day, WORD hour = 0, WORD minute = 0, WORD second = 0, WORD milli = 0) {
    return {year, month, 0, day, hour, minute, second, milli};
}

std::string Text(const SYSTEMTIME& time) {
    char text[80];
    std::snprintf(text, sizeof text, "%d-%02d-%02d %02d:%02d:%02d.%03d/%d", time.wYear, time.wMonth, time.wDay,
                  time.wHour, time.wMinute, time.wSecond, time.wMilliseconds, time.wDayOfWeek);
    return text;
}

ULONGLONG Ticks(const FILETIME& time) {
    return static_cast<ULONGLONG>(time.dwHighDateTime) << 32 | time.dwLowDateTime;
}

FILETIME FromTicks(ULONGLONG ticks) {
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

TEST(Win32Times, FileTimeToSystemTimeRows) {
    const struct {
        ULONGLONG ticks;
        const char* text;
    } rows[] = {
        {0, "1601-01-01 00:00:00.000/1"},
        {9999, "1601-01-01 00:00:00.000/1"},
        {10000, "1601-01-01 00:00:00.001/1"},
        {116444736000000000, "1970-01-01 00:00:00.000/4"},
        {133594528891230000, "2024-05-06 07:08:09.123/1"},
        {125963423999999999, "2000-02-29 23:59:59.999/2"},
        {125963424000000000, "2000-03-01 00:00:00.000/3"},
        {0x7FFFFFFFFFFFFFFF, "30828-09-14 02:48:05.477/4"},
    };
    for (const auto& row : rows) {
        const FILETIME time = FromTicks(row.ticks);
        SYSTEMTIME result{};
        EXPECT_TRUE(::FileTimeToSystemTime(&time, &result));
        EXPECT_EQ(Text(result), row.text);
    }
    const FILETIME negative = FromTicks(0x8000000000000000);
    SYSTEMTIME result{};
    EXPECT_FALSE(::FileTimeToSystemTime(&negative, &result));
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
}

TEST(Win32Times, SystemTimeToFileTimeRefusesWhatIsNoDate) {
    const SYSTEMTIME good = Time(2024, 2, 29, 23, 59, 59, 999);
    FILETIME time{};
    ASSERT_TRUE(::SystemTimeToFileTime(&good, &time));
    SYSTEMTIME back{};
    ASSERT_TRUE(::FileTimeToSystemTime(&time, &back));
    EXPECT_EQ(Text(back), "2024-02-29 23:59:59.999/4");
    for (const SYSTEMTIME& bad :
         {Time(2023, 2, 30), Time(2024, 0, 1), Time(2024, 13, 1), Time(2024, 1, 0), Time(2024, 4, 31), Time(1600, 1, 1),
          Time(2024, 1, 1, 24), Time(2024, 1, 1, 0, 60), Time(2024, 1, 1, 0, 0, 60), Time(2024, 1, 1, 0, 0, 0, 1000)}) {
        EXPECT_FALSE(::SystemTimeToFileTime(&bad, &time)) << Text(bad);
        EXPECT_EQ(::GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
    }
#ifndef _WIN32
    // Wine takes the 29th of February in any year.
    const SYSTEMTIME no_leap_day = Time(2023, 2, 29);
    EXPECT_FALSE(::SystemTimeToFileTime(&no_leap_day, &time));
#endif
}

TEST(Win32Times, VariantTimeRows) {
    const struct {
        SYSTEMTIME time;
        double date;
    } rows[] = {
        {Time(1899, 12, 30), 0.0},
        {Time(2024, 5, 6, 7, 8, 9), 45418.297326388893},
        {Time(1899, 12, 29, 6), -1.25},
        {Time(2024, 2, 30), 45352},     // March 1
        {Time(2024, 0, 1), 45261},      // December 1 of the year before
        {Time(2024, 3, 0), 45351},      // February 29
        {Time(2024, 1, 1, 24), 45293},  // the next day
        {Time(49, 1, 1), 54424},        // 2049
        {Time(50, 1, 1), 18264},        // 1950
        {Time(2024, 5, 6, 7, 8, 9, 999), 45418.297326388893},
        {Time(9999, 12, 31), 2958465},
        {Time(100, 1, 1), -657434},
    };
    for (const auto& row : rows) {
        SYSTEMTIME time = row.time;
        double date = 1234567;
        EXPECT_TRUE(::SystemTimeToVariantTime(&time, &date)) << Text(row.time);
        EXPECT_DOUBLE_EQ(date, row.date) << Text(row.time);
    }
    for (const SYSTEMTIME& bad : {Time(2024, 13, 1), Time(10000, 1, 1)}) {
        SYSTEMTIME time = bad;
        double date = 1234567;
        EXPECT_FALSE(::SystemTimeToVariantTime(&time, &date)) << Text(bad);
    }
}

TEST(Win32Times, VariantTimeIsRoundedToTheSecond) {
    const struct {
        double date;
        const char* text;
    } rows[] = {
        {0.0, "1899-12-30 00:00:00.000/6"},
        {-1.25, "1899-12-29 06:00:00.000/5"},
        {-0.25, "1899-12-30 06:00:00.000/6"},
        {45418.297326388893, "2024-05-06 07:08:09.000/1"},
        {45418.0 + 59.6 / 86400, "2024-05-06 00:01:00.000/1"},
        {45418.0 + 59.4 / 86400, "2024-05-06 00:00:59.000/1"},
        {45418.999999, "2024-05-07 00:00:00.000/"},  // Wine keeps the day of the week before
        {2958465.5, "9999-12-31 12:00:00.000/5"},
        {-657434.0, "100-01-01 00:00:00.000/5"},
    };
    for (const auto& row : rows) {
        SYSTEMTIME time{};
        EXPECT_TRUE(::VariantTimeToSystemTime(row.date, &time)) << row.text;
        EXPECT_EQ(Text(time).substr(0, std::string(row.text).size()), row.text);
    }
    SYSTEMTIME time{};
    EXPECT_FALSE(::VariantTimeToSystemTime(2958466, &time));
    EXPECT_FALSE(::VariantTimeToSystemTime(-657435, &time));
}

TEST(Win32Times, LocalTimeIsShiftedByThePresentDifferenceWhateverTheSeason) {
    const FILETIME winter = FromTicks(133485408000000000);  // 2024-01-01
    const FILETIME summer = FromTicks(133642656000000000);  // 2024-07-01
    FILETIME local_winter{};
    FILETIME local_summer{};
    ASSERT_TRUE(::FileTimeToLocalFileTime(&winter, &local_winter));
    ASSERT_TRUE(::FileTimeToLocalFileTime(&summer, &local_summer));
    EXPECT_EQ(Ticks(local_winter) - Ticks(winter), Ticks(local_summer) - Ticks(summer));
    FILETIME back{};
    ASSERT_TRUE(::LocalFileTimeToFileTime(&local_summer, &back));
    EXPECT_EQ(Ticks(back), Ticks(summer));
}

TEST(Win32Times, NowIsTheSameInEveryForm) {
    FILETIME file{};
    SYSTEMTIME system{};
    FILETIME converted{};
    ::GetSystemTimeAsFileTime(&file);
    ::GetSystemTime(&system);
    ASSERT_TRUE(::SystemTimeToFileTime(&system, &converted));
    EXPECT_LT(std::fabs(static_cast<double>(Ticks(converted)) - static_cast<double>(Ticks(file))), 6e8);
    SYSTEMTIME local{};
    ::GetLocalTime(&local);
    FILETIME local_file{};
    FILETIME shifted{};
    ASSERT_TRUE(::SystemTimeToFileTime(&local, &local_file));
    ASSERT_TRUE(::FileTimeToLocalFileTime(&file, &shifted));
    EXPECT_LT(std::fabs(static_cast<double>(Ticks(local_file)) - static_cast<double>(Ticks(shifted))), 6e8);
}

TEST(Win32Times, CompareFileTime) {
    const FILETIME a = FromTicks(0xFFFFFFFF);
    const FILETIME b = FromTicks(0x100000000);
    EXPECT_EQ(::CompareFileTime(&a, &b), -1);
    EXPECT_EQ(::CompareFileTime(&b, &a), 1);
    EXPECT_EQ(::CompareFileTime(&a, &a), 0);
}

}  // namespace
