#pragma once

/// @file
/// Between UTC and local time by the rules that the process's time zone has in the year of the time itself.

#include "kvtfile/types.h"

namespace kvtio {

/// @return False: there is no such local time (before 1601); `local` is unspecified.
bool LocalTimeOf(const SYSTEMTIME& utc, SYSTEMTIME& local);

/// The reverse. A time that the clock shows twice or passes over is taken as the system takes it.
bool UtcOf(const SYSTEMTIME& local, SYSTEMTIME& utc);

}  // namespace kvtio
