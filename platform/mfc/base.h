// What every header of this folder stands on: the Win32 types of the target, the export mark, and the functions that
// throw the exceptions of this folder.
#pragma once

#include "kvtfile/export.h"

#ifdef _WIN32
#ifndef UNICODE
#define UNICODE
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef STRICT
#define STRICT
#endif
#include <tchar.h>
#include <windows.h>
// DATE, which a lean windows.h leaves out.
#include <wtypes.h>
// Names of members in this folder that windows.h turns into other names.
#undef FindFirstFile
#undef FindNextFile
#undef GetFileTitle
#undef GetCurrentTime
#else
#include "../win32/wintypes.h"
#endif

namespace kvtmfc {

/// Throws a `CMemoryException*`: memory is exhausted or a length is beyond what the type can hold.
[[noreturn]] KVTFILE_API void AfxThrowMemoryException();
/// Throws a `CInvalidArgException*`: an index, pointer, format or other argument that the operation does not take.
[[noreturn]] KVTFILE_API void AfxThrowInvalidArgException();
/// Throws a `CNotSupportedException*`: the object does not offer the operation.
[[noreturn]] KVTFILE_API void AfxThrowNotSupportedException();

}  // namespace kvtmfc
