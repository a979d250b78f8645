#pragma once

/// @file
/// The hook before each system call of this folder. In the shipped build it is nothing: the functions are empty and
/// disappear.

#include "platform/io/io.h"

namespace kvtio {

#ifdef KVTFILE_FAULTS

/// Asks the hook. @return What it wants the call to fail with, else 0.
Error AskHook(Call call, LPCWSTR path, size_t& count);

/// Keeps, finds and drops the path under which a handle was opened.
void RememberPath(HANDLE handle, LPCWSTR path);
const WCHAR* RememberedPath(HANDLE handle);
void ForgetPath(HANDLE handle);

#else

enum class Call { Open, Read, Write, Seek, Size, SetSize, Sync, Close, Rename, Remove, SyncFolder, Attributes };

inline Error AskHook(Call, LPCWSTR, size_t&) {
    return ERROR_SUCCESS;
}
inline void RememberPath(HANDLE, LPCWSTR) {}
inline const WCHAR* RememberedPath(HANDLE) {
    return nullptr;
}
inline void ForgetPath(HANDLE) {}

#endif

/// Asks the hook about a call without a count.
inline Error AskHook(Call call, LPCWSTR path) {
    size_t none = 0;
    return AskHook(call, path, none);
}

/// Sets an error as the last error and returns it; 0 is not set.
inline Error Report(Error error) {
    if (error != ERROR_SUCCESS) {
        ::SetLastError(error);
    }
    return error;
}

/// The error of a Win32 call that returned `done`.
inline Error ErrorUnless(BOOL done) {
    return done ? ERROR_SUCCESS : ::GetLastError();
}

}  // namespace kvtio
