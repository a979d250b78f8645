// The last error of each thread, and the system's texts of error numbers.
//
// The last error is a plain thread-local number: it has no destructor, so a thread or a process may end, and the
// library be unloaded, at any time.

#include "errors.h"

#include <errno.h>

#include <algorithm>
#include <string_view>

#include "system_messages.h"
#include "winapi.h"

namespace {

constinit thread_local DWORD g_last_error = ERROR_SUCCESS;

struct ErrnoRow {
    int number;
    DWORD error;
};

constexpr ErrnoRow kErrnoRows[] = {
    {ENOENT, ERROR_FILE_NOT_FOUND},
    {ENOTDIR, ERROR_PATH_NOT_FOUND},
    {EACCES, ERROR_ACCESS_DENIED},
    {EPERM, ERROR_ACCESS_DENIED},
    {EISDIR, ERROR_ACCESS_DENIED},
    {EROFS, ERROR_WRITE_PROTECT},
    {EEXIST, ERROR_ALREADY_EXISTS},
    {ENOTEMPTY, ERROR_DIR_NOT_EMPTY},
    {ENAMETOOLONG, ERROR_FILENAME_EXCED_RANGE},
    {EMFILE, ERROR_TOO_MANY_OPEN_FILES},
    {ENFILE, ERROR_TOO_MANY_OPEN_FILES},
    {ENOSPC, ERROR_DISK_FULL},
    {EDQUOT, ERROR_DISK_FULL},
    {EFBIG, ERROR_FILE_TOO_LARGE},
    {EINVAL, ERROR_INVALID_PARAMETER},
    {EBADF, ERROR_INVALID_HANDLE},
    {ETXTBSY, ERROR_SHARING_VIOLATION},
    {EBUSY, ERROR_SHARING_VIOLATION},
    {EAGAIN, ERROR_LOCK_VIOLATION},
    {ENOMEM, ERROR_NOT_ENOUGH_MEMORY},
    {EIO, ERROR_IO_DEVICE},
    {ENXIO, ERROR_NOT_READY},
    {ENODEV, ERROR_NOT_READY},
    {ESPIPE, ERROR_SEEK},
    {EPIPE, ERROR_BROKEN_PIPE},
    {EXDEV, ERROR_NOT_SAME_DEVICE},
    {ELOOP, ERROR_CANT_RESOLVE_FILENAME},
    {EMLINK, ERROR_TOO_MANY_LINKS},
    {EOVERFLOW, ERROR_FILE_TOO_LARGE},
    {ENOTSUP, ERROR_NOT_SUPPORTED},
    {ENOSYS, ERROR_CALL_NOT_IMPLEMENTED},
};

}  // namespace

namespace kvtwin {

BOOL Fail(DWORD error) {
    g_last_error = error;
    return FALSE;
}

DWORD ErrorFromErrno(int error) {
    for (const ErrnoRow& row : kErrnoRows) {
        if (row.number == error) {
            return row.error;
        }
    }
    return ERROR_GEN_FAILURE;
}

}  // namespace kvtwin

using kvtwin::Fail;

DWORD GetLastError() {
    return g_last_error;
}

void SetLastError(DWORD error) {
    g_last_error = error;
}

DWORD FormatMessageW(DWORD flags, LPCVOID, DWORD message, DWORD, LPWSTR buffer, DWORD size, void*) {
    if (flags != (FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS) || !buffer) {
        return static_cast<DWORD>(Fail(ERROR_INVALID_PARAMETER));
    }
    const std::u16string_view text = kvtwin::SystemMessage(message);
    if (text.empty()) {
        return static_cast<DWORD>(Fail(ERROR_MR_MID_NOT_FOUND));
    }
    constexpr std::u16string_view kLineEnd = u"\r\n";
    const size_t length = text.size() + kLineEnd.size();
    if (length >= size) {
        return static_cast<DWORD>(Fail(ERROR_INSUFFICIENT_BUFFER));
    }
    WCHAR* end = std::copy(text.begin(), text.end(), buffer);
    end = std::copy(kLineEnd.begin(), kLineEnd.end(), end);
    *end = u'\0';
    return static_cast<DWORD>(length);
}
