#pragma once

/// @file
/// The file calls of the library, one set on every platform: everything that opens, reads, writes, syncs, renames or
/// removes a file goes through here, so that a test can make any of them fail.

#include <cstddef>
#include <cstdint>

#include "kvtfile/types.h"

namespace kvtio {

/// A Win32 error code; ERROR_SUCCESS when the call did its work. A failing call also sets it as the last error.
using Error = DWORD;

}  // namespace kvtio
