#pragma once

/// @file
/// The one place that decides where the MFC and Win32 types of the interface come from:
///   - with `KVTFILE_USE_MFC`, the compiler's own MFC;
///   - otherwise on Windows, windows.h and the stand-ins of namespace `kvtmfc`;
///   - elsewhere, the library's own Win32 types and the same stand-ins.
///
/// The stand-ins are known by their MFC names inside namespace `kvtfile`, and globally too unless
/// `KVTFILE_NO_GLOBAL_MFC` is defined, so that a host SDK with a `CString` of its own can be used beside the library.

#if defined(KVTFILE_USE_MFC)

#include <afx.h>
#include <afxwin.h>

#include <afxdisp.h>
#include <afxtempl.h>
#include <shellapi.h>

#else

#if defined(_WIN32)

#ifndef UNICODE
#define UNICODE
#endif
#ifndef _UNICODE
#define _UNICODE
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef STRICT
#define STRICT
#endif
#include <windows.h>

#include <commdlg.h>
#include <shellapi.h>
#include <tchar.h>

#else

#include "platform/win32/winapi.h"
#include "platform/win32/wintypes.h"

#endif

#include "platform/mfc/mfc.h"

namespace kvtfile {
#include "platform/mfc/names.inc"
}  // namespace kvtfile

#if !defined(KVTFILE_NO_GLOBAL_MFC)
#include "platform/mfc/names.inc"
#endif

#endif

// windows.h makes macros of some names that the interface uses for its own members; functions of the system are called
// by their full names (`::GetFileTitleW`) everywhere in the library.
#undef GetCurrentTime
#undef GetFileTitle
#undef GetMessage
#undef GetObject
#undef DeleteFile
#undef CopyFile
#undef MoveFile
#undef CreateFile
#undef CreateDirectory
#undef RemoveDirectory
#undef FindFirstFile
#undef FindNextFile
#undef ReplaceFile
#undef ReplaceText
#undef FindText
#undef GetTempPath
#undef GetUserName
#undef GetComputerName
