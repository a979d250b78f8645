#pragma once

/// @file
/// File stamps as local dates and times of day: each with the offset from UTC that was in force at the stamp, as file
/// managers show them, not with today's.

#include <array>
#include <optional>

#include "kvtfile/types.h"

namespace kvtfile::detail {

/// Local date and time of a stamp, whole seconds (a fraction is dropped). Invalid when there is none: before 1601 local
/// time, or after the year 9999.
COleDateTime LocalTimeOf(const FILETIME& stamp);

/// The reverse. @return False, `stamp` unchanged: the time is not valid, or before 1601. A time that the clock shows
///     twice or passes over is taken as the system takes it.
bool StampOf(const COleDateTime& local, FILETIME& stamp);

/// LocalTimeOf for many stamps: looks the offset of a day up once, and a stamp that is the one before not at all. Used
/// by one thread; a time zone that changes meanwhile may not be seen.
class LocalTimes {
public:
    LocalTimes() = default;

    COleDateTime Of(const FILETIME& stamp);

private:
    struct Day {
        ULONGLONG number = ~0ULL;  // since 1601, UTC
        LONGLONG offset = 0;       // in force all that day, in ticks
        bool constant = false;
    };
    Day& Find(ULONGLONG number);
    COleDateTime Convert(ULONGLONG ticks);

    std::array<Day, 64> m_days;
    ULONGLONG m_ticks = 0;  // the stamp before, and what it came out as
    std::optional<COleDateTime> m_time;
};

}  // namespace kvtfile::detail
