#pragma once

// Makes one allocation of operator new fail, so that what a full memory does can be tested at every place, and tells
// how much is asked for at once.

#include <cstddef>

namespace kvttest {

/// The allocation after the next `after` ones of this thread fails, once; a negative number: none does.
void FailAllocation(int after);

/// Whether the allocation that was to fail has been asked for.
bool AllocationFailed();

/// The largest allocation of this thread since the last call, in bytes.
std::size_t LargestAllocation();

}  // namespace kvttest
