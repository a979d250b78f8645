#pragma once

// Functions of the maker's utility library, provided here so that nothing else is needed to build or run. They are the
// library's own and not exported.

#include "kvtfile/types.h"

namespace pmxutil {

/// The path with a "\" at its end, added when it is missing; "\" for an empty path.
CString ConfirmBackslash(CString path);

/// The local date and time now, in whole seconds.
COleDateTime GetCurSysTime();

/// The local computer's name; empty when the system does not tell it.
CString GetLocateMachineName();

}  // namespace pmxutil
