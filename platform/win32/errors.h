#pragma once

/// @file
/// How the Win32 calls of this folder report failure.

#include "wintypes.h"

namespace kvtwin {

/// Sets the last error; the result is FALSE, so that a call can end with it.
BOOL Fail(DWORD error);

/// The Win32 number of an errno value. ENOENT is ERROR_FILE_NOT_FOUND; see MissingError for paths.
DWORD ErrorFromErrno(int error);

}  // namespace kvtwin
