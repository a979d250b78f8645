#pragma once

// Makes one allocation of operator new fail, so that what a full memory does can be tested at every place.

namespace kvttest {

/// The allocation after the next `after` ones of this thread fails, once; a negative number: none does.
void FailAllocation(int after);

/// Whether the allocation that was to fail has been asked for.
bool AllocationFailed();

}  // namespace kvttest
