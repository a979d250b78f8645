#pragma once

// Calls of the shell that windows.h leaves out.

#include "kvtfile/types.h"

#ifdef _WIN32
#include <shlwapi.h>
#endif
