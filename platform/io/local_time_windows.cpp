// Local time on Windows. Without a zone the system's calls take this year's rules for every year, so that they are
// given the zone as it was in the year in question: the local one, in which the clocks change.

#include "platform/io/local_time.h"

namespace kvtio {

namespace {

// A zone whose history the system does not keep is as it is today.
const TIME_ZONE_INFORMATION* ZoneOf(WORD year, TIME_ZONE_INFORMATION& zone) {
    return ::GetTimeZoneInformationForYear(year, nullptr, &zone) ? &zone : nullptr;
}

}  // namespace

bool LocalTimeOf(const SYSTEMTIME& utc, SYSTEMTIME& local) {
    TIME_ZONE_INFORMATION zone;
    if (!::SystemTimeToTzSpecificLocalTime(ZoneOf(utc.wYear, zone), &utc, &local)) {
        return false;
    }
    return local.wYear == utc.wYear || ::SystemTimeToTzSpecificLocalTime(ZoneOf(local.wYear, zone), &utc, &local) != 0;
}

bool UtcOf(const SYSTEMTIME& local, SYSTEMTIME& utc) {
    TIME_ZONE_INFORMATION zone;
    return ::TzSpecificLocalTimeToSystemTime(ZoneOf(local.wYear, zone), &local, &utc) != 0;
}

}  // namespace kvtio
