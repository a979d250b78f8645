// Local time off Windows: the zone's history is the C library's business.

#include "platform/io/local_time.h"

namespace kvtio {

bool LocalTimeOf(const SYSTEMTIME& utc, SYSTEMTIME& local) {
    return ::SystemTimeToTzSpecificLocalTime(nullptr, &utc, &local) != 0;
}

bool UtcOf(const SYSTEMTIME& local, SYSTEMTIME& utc) {
    return ::TzSpecificLocalTimeToSystemTime(nullptr, &local, &utc) != 0;
}

}  // namespace kvtio
