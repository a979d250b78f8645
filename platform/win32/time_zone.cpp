// Between UTC and the process's local time, with the difference in force at the time itself.

#include <time.h>

#include "errors.h"
#include "status.h"
#include "winapi.h"

using kvtwin::Fail;
using kvtwin::FromTicks;
using kvtwin::TicksOf;

namespace {

constexpr LONGLONG kTicksPerSecond = 10000000;
constexpr LONGLONG kUnixEpoch = 11644473600;  // 1970-01-01 in seconds since 1601-01-01
constexpr LONGLONG kDay = 86400;

// What local time is ahead of UTC at a moment in seconds since 1601.
LONGLONG OffsetAt(LONGLONG utc) {
    const time_t moment = static_cast<time_t>(utc - kUnixEpoch);
    tm local{};
    return kvtwin::LocalTime(moment, local) ? local.tm_gmtoff : 0;
}

// The difference at a local time: that of before as long as it holds.
LONGLONG OffsetOfLocal(LONGLONG local) {
    const LONGLONG before = OffsetAt(local - kDay);
    const LONGLONG after = OffsetAt(local + kDay);
    const bool still_before = OffsetAt(local - before) == before;
    return !still_before && OffsetAt(local - after) == after ? after : before;
}

BOOL Shift(const SYSTEMTIME& time, bool to_local, SYSTEMTIME& result) {
    FILETIME stamp;
    if (!SystemTimeToFileTime(&time, &stamp)) {
        return FALSE;
    }
    const LONGLONG ticks = static_cast<LONGLONG>(TicksOf(stamp));
    const LONGLONG seconds = ticks / kTicksPerSecond;
    const LONGLONG offset = to_local ? OffsetAt(seconds) : -OffsetOfLocal(seconds);
    const LONGLONG shifted = ticks + offset * kTicksPerSecond;
    if (shifted < 0) {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    stamp = FromTicks(static_cast<ULONGLONG>(shifted));
    return FileTimeToSystemTime(&stamp, &result);
}

}  // namespace

BOOL SystemTimeToTzSpecificLocalTime(const TIME_ZONE_INFORMATION* zone, const SYSTEMTIME* utc, LPSYSTEMTIME local) {
    return !zone && utc && local ? Shift(*utc, true, *local) : Fail(ERROR_INVALID_PARAMETER);
}

BOOL TzSpecificLocalTimeToSystemTime(const TIME_ZONE_INFORMATION* zone, const SYSTEMTIME* local, LPSYSTEMTIME utc) {
    return !zone && utc && local ? Shift(*local, false, *utc) : Fail(ERROR_INVALID_PARAMETER);
}
