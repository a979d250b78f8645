// File stamps as local times, through the system's time zone rules.

#include "files/file_times.h"

#include "platform/io/local_time.h"

namespace kvtfile::detail {

namespace {

constexpr ULONGLONG TICKS_PER_DAY = 864000000000;

ULONGLONG TicksOf(const FILETIME& stamp) {
    return ULONGLONG{stamp.dwHighDateTime} << 32 | stamp.dwLowDateTime;
}

FILETIME FromTicks(ULONGLONG ticks) {
    FILETIME stamp;
    stamp.dwLowDateTime = static_cast<DWORD>(ticks);
    stamp.dwHighDateTime = static_cast<DWORD>(ticks >> 32);
    return stamp;
}

COleDateTime Invalid() {
    COleDateTime time;
    time.SetStatus(COleDateTime::invalid);
    return time;
}

bool ToLocal(const FILETIME& stamp, SYSTEMTIME& local) {
    SYSTEMTIME utc;
    return ::FileTimeToSystemTime(&stamp, &utc) && kvtio::LocalTimeOf(utc, local);
}

// How far local time is ahead at a stamp, in ticks; false when there is no local time then.
bool OffsetAt(ULONGLONG ticks, LONGLONG& offset) {
    SYSTEMTIME local;
    FILETIME shifted;
    if (!ToLocal(FromTicks(ticks), local) || !::SystemTimeToFileTime(&local, &shifted)) {
        return false;
    }
    offset = static_cast<LONGLONG>(TicksOf(shifted) - ticks);
    return true;
}

}  // namespace

COleDateTime LocalTimeOf(const FILETIME& stamp) {
    SYSTEMTIME local;
    return ToLocal(stamp, local) ? COleDateTime(local) : Invalid();
}

bool StampOf(const COleDateTime& local, FILETIME& stamp) {
    SYSTEMTIME parts;
    SYSTEMTIME utc;
    return local.GetAsSystemTime(parts) && kvtio::UtcOf(parts, utc) && ::SystemTimeToFileTime(&utc, &stamp);
}

LocalTimes::Day& LocalTimes::Find(ULONGLONG number) {
    Day& day = m_days[number % m_days.size()];
    if (day.number != number) {
        // No zone changes its clocks twice within a day.
        LONGLONG atEnd = 0;
        const ULONGLONG start = number * TICKS_PER_DAY;
        day.number = number;
        day.constant = OffsetAt(start, day.offset) && OffsetAt(start + TICKS_PER_DAY, atEnd) && day.offset == atEnd;
    }
    return day;
}

COleDateTime LocalTimes::Of(const FILETIME& stamp) {
    const ULONGLONG ticks = TicksOf(stamp);
    if (!m_time || ticks != m_ticks) {
        m_time = Convert(ticks);
        m_ticks = ticks;
    }
    return *m_time;
}

COleDateTime LocalTimes::Convert(ULONGLONG ticks) {
    const Day& day = Find(ticks / TICKS_PER_DAY);
    if (!day.constant) {
        return LocalTimeOf(FromTicks(ticks));
    }
    const FILETIME shifted = FromTicks(ticks + static_cast<ULONGLONG>(day.offset));
    SYSTEMTIME local;
    return ::FileTimeToSystemTime(&shifted, &local) ? COleDateTime(local) : Invalid();
}

}  // namespace kvtfile::detail
