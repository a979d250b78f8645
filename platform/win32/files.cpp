// Open files: CreateFileW and the calls on its handles.
//
// A file is opened without being emptied; only when the share modes let the open stand is it emptied. Reading and
// writing go on over interruptions; a write that the system cut short is continued, so that its error shows.

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <new>
#include <utility>

#include "errors.h"
#include "handles.h"
#include "paths.h"
#include "status.h"
#include "winapi.h"

using kvtwin::ErrorFromErrno;
using kvtwin::Fail;
using kvtwin::FindFile;
using kvtwin::OpenFile;

namespace {

HANDLE FailOpen(DWORD error) {
    Fail(error);
    return INVALID_HANDLE_VALUE;
}

// Opens a file and tells whether it was created. A file that appears or vanishes meanwhile makes it look again.
int OpenOrCreate(const char* path, int flags, bool may_open, bool may_create, mode_t mode, bool& created) {
    created = false;
    for (int attempt = 0;; ++attempt) {
        if (may_open) {
            const int fd = ::open(path, flags);
            if (fd >= 0 || errno != ENOENT || !may_create) {
                return fd;
            }
        }
        // A symbolic link without target exists for an exclusive open and is missing for the other: create its target.
        const bool exclusive = !may_open || attempt < 3;
        const int fd = ::open(path, flags | O_CREAT | (exclusive ? O_EXCL : 0), mode);
        if (fd >= 0 || errno != EEXIST || !may_open || !exclusive) {
            created = fd >= 0;
            return fd;
        }
    }
}

// Folders, and files that nobody may write, are refused by Windows whoever asks.
DWORD RefusedByKind(const struct stat& status, const kvtwin::OpenFile& file, DWORD attributes, bool created) {
    if (S_ISDIR(status.st_mode) && !(attributes & FILE_FLAG_BACKUP_SEMANTICS)) {
        return ERROR_ACCESS_DENIED;
    }
    // Reading a folder is to learn what its entries are; their names alone take less right.
    struct stat itself {};
    if (S_ISDIR(status.st_mode) && file.reads && ::fstatat(file.fd, ".", &itself, 0) != 0) {
        return ErrorFromErrno(errno);
    }
    if (file.writes && !created && S_ISREG(status.st_mode) && kvtwin::IsReadOnly(status)) {
        return ERROR_ACCESS_DENIED;
    }
    return ERROR_SUCCESS;
}

void SetAccess(DWORD access, OpenFile& file) {
    file.reads = access & (GENERIC_READ | GENERIC_ALL | FILE_READ_DATA);
    file.writes = access & (GENERIC_WRITE | GENERIC_ALL | FILE_WRITE_DATA | FILE_APPEND_DATA);
    file.sets_times = access & (GENERIC_WRITE | GENERIC_ALL | FILE_WRITE_ATTRIBUTES);
    file.deletes = access & (DELETE | GENERIC_ALL);
}

DWORD Seek(const OpenFile& file, LONGLONG distance, DWORD origin, LONGLONG& position) {
    if (origin > FILE_END) {
        return ERROR_INVALID_PARAMETER;
    }
    constexpr int kWhence[] = {SEEK_SET, SEEK_CUR, SEEK_END};
    const off_t result = ::lseek(file.fd, distance, kWhence[origin]);
    if (result < 0) {
        return errno == EINVAL ? ERROR_NEGATIVE_SEEK : ErrorFromErrno(errno);
    }
    position = result;
    return ERROR_SUCCESS;
}

}  // namespace

HANDLE CreateFileW(LPCWSTR path, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES, DWORD disposition, DWORD attributes,
                   HANDLE) {
    const bool may_create = disposition == CREATE_NEW || disposition == CREATE_ALWAYS || disposition == OPEN_ALWAYS;
    const bool may_open = disposition != CREATE_NEW;
    const bool empties = disposition == CREATE_ALWAYS || disposition == TRUNCATE_EXISTING;
    if (disposition < CREATE_NEW || disposition > TRUNCATE_EXISTING) {
        return FailOpen(ERROR_INVALID_PARAMETER);
    }
    kvtwin::Location location;
    if (const DWORD error = kvtwin::Locate(path, location)) {
        return FailOpen(error);
    }
    if (location.separator_at_end && !(attributes & FILE_FLAG_BACKUP_SEMANTICS)) {
        return FailOpen(ERROR_INVALID_NAME);
    }
    std::shared_ptr<OpenFile> file;
    try {
        file = std::make_shared<OpenFile>();
    } catch (const std::bad_alloc&) {
        return FailOpen(ERROR_NOT_ENOUGH_MEMORY);
    }
    SetAccess(access, *file);
    file->share = share;
    if (disposition == TRUNCATE_EXISTING && !file->writes) {
        return FailOpen(ERROR_INVALID_PARAMETER);
    }
    // Emptying needs a descriptor that may write, whatever the handle may do later.
    const bool write_descriptor = file->writes || disposition == CREATE_ALWAYS;
    const int mode_flags = write_descriptor ? (file->reads ? O_RDWR : O_WRONLY) : O_RDONLY;
    const mode_t access_bits = attributes & FILE_ATTRIBUTE_TEMPORARY ? 0600 : 0666;
    const mode_t mode = attributes & FILE_ATTRIBUTE_READONLY ? access_bits & 0444 : access_bits;
    bool created = false;
    // O_NONBLOCK: opening a pipe must not wait for its other end.
    file->fd = OpenOrCreate(location.path.c_str(), mode_flags | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, may_open, may_create,
                            mode, created);
    struct stat status {};
    if (file->fd < 0 || ::fstat(file->fd, &status) != 0) {
        return FailOpen(errno == EEXIST ? ERROR_FILE_EXISTS : kvtwin::PathError(errno, location.path));
    }
    if (const DWORD error = RefusedByKind(status, *file, attributes, created)) {
        return FailOpen(error);
    }
    ::fcntl(file->fd, F_SETFL, ::fcntl(file->fd, F_GETFL) & ~O_NONBLOCK);
    file->device = status.st_dev;
    file->inode = status.st_ino;
    const int fd = file->fd;
    HANDLE handle = nullptr;
    if (const DWORD error = kvtwin::AddFile(std::move(file), handle)) {
        return FailOpen(error);
    }
    if (empties && !created && S_ISREG(status.st_mode) && ::ftruncate(fd, 0) != 0) {
        const DWORD error = ErrorFromErrno(errno);
        CloseHandle(handle);
        return FailOpen(error);
    }
    if (created && (attributes & (FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM))) {
        kvtwin::StoreDosAttributes(location.path, attributes);
    }
    if (may_create && may_open) {
        SetLastError(created ? ERROR_SUCCESS : ERROR_ALREADY_EXISTS);
    }
    return handle;
}

BOOL ReadFile(HANDLE handle, LPVOID buffer, DWORD wanted, LPDWORD got, LPOVERLAPPED) {
    if (got) {
        *got = 0;
    }
    const auto file = FindFile(handle);
    if (!file) {
        return FALSE;
    }
    if (!file->reads) {
        return Fail(ERROR_ACCESS_DENIED);
    }
    ssize_t result;
    do {
        result = ::read(file->fd, buffer, std::min<size_t>(wanted, std::numeric_limits<int>::max() & ~4095));
    } while (result < 0 && errno == EINTR);
    if (result < 0) {
        return Fail(ErrorFromErrno(errno));
    }
    if (got) {
        *got = static_cast<DWORD>(result);
    }
    return TRUE;
}

BOOL WriteFile(HANDLE handle, LPCVOID bytes, DWORD count, LPDWORD written, LPOVERLAPPED) {
    DWORD ignored = 0;
    DWORD& done = written ? *written : ignored;
    done = 0;
    const auto file = FindFile(handle);
    if (!file) {
        return FALSE;
    }
    if (!file->writes) {
        return Fail(ERROR_ACCESS_DENIED);
    }
    while (done < count) {
        const ssize_t result = ::write(file->fd, static_cast<const char*>(bytes) + done, count - done);
        if (result < 0 && errno != EINTR) {
            return Fail(ErrorFromErrno(errno));
        }
        done += static_cast<DWORD>(std::max<ssize_t>(result, 0));
    }
    return TRUE;
}

DWORD SetFilePointer(HANDLE handle, LONG distance, LONG* distanceHigh, DWORD origin) {
    const auto file = FindFile(handle);
    if (!file) {
        return INVALID_SET_FILE_POINTER;
    }
    const LONGLONG whole = distanceHigh
                               ? static_cast<LONGLONG>(static_cast<ULONGLONG>(static_cast<ULONG>(*distanceHigh)) << 32 |
                                                       static_cast<ULONG>(distance))
                               : distance;
    LONGLONG before = 0;
    LONGLONG position = 0;
    DWORD error = Seek(*file, 0, FILE_CURRENT, before);
    if (!error) {
        error = Seek(*file, whole, origin, position);
    }
    if (!error && !distanceHigh && position > std::numeric_limits<DWORD>::max()) {
        Seek(*file, before, FILE_BEGIN, position);
        error = ERROR_INVALID_PARAMETER;
    }
    if (error) {
        Fail(error);
        return INVALID_SET_FILE_POINTER;
    }
    if (distanceHigh) {
        *distanceHigh = static_cast<LONG>(position >> 32);
    }
    SetLastError(ERROR_SUCCESS);
    return static_cast<DWORD>(position);
}

BOOL SetFilePointerEx(HANDLE handle, LARGE_INTEGER distance, LARGE_INTEGER* position, DWORD origin) {
    const auto file = FindFile(handle);
    if (!file) {
        return FALSE;
    }
    LONGLONG result = 0;
    if (const DWORD error = Seek(*file, distance.QuadPart, origin, result)) {
        return Fail(error);
    }
    if (position) {
        position->QuadPart = result;
    }
    return TRUE;
}

DWORD GetFileSize(HANDLE handle, LPDWORD sizeHigh) {
    LARGE_INTEGER size;
    if (!GetFileSizeEx(handle, &size)) {
        return INVALID_FILE_SIZE;
    }
    if (sizeHigh) {
        *sizeHigh = static_cast<DWORD>(size.QuadPart >> 32);
    }
    SetLastError(ERROR_SUCCESS);
    return static_cast<DWORD>(size.QuadPart);
}

BOOL GetFileSizeEx(HANDLE handle, LARGE_INTEGER* size) {
    const auto file = FindFile(handle);
    if (!file) {
        return FALSE;
    }
    struct stat status {};
    if (::fstat(file->fd, &status) != 0) {
        return Fail(ErrorFromErrno(errno));
    }
    size->QuadPart = status.st_size;
    return TRUE;
}

BOOL SetEndOfFile(HANDLE handle) {
    const auto file = FindFile(handle);
    if (!file) {
        return FALSE;
    }
    if (!file->writes) {
        return Fail(ERROR_ACCESS_DENIED);
    }
    const off_t position = ::lseek(file->fd, 0, SEEK_CUR);
    if (position < 0 || ::ftruncate(file->fd, position) != 0) {
        return Fail(ErrorFromErrno(errno));
    }
    return TRUE;
}

BOOL FlushFileBuffers(HANDLE handle) {
    const auto file = FindFile(handle);
    if (!file) {
        return FALSE;
    }
    if (!file->writes) {
        return Fail(ERROR_ACCESS_DENIED);
    }
    // EINVAL: a device or pipe, which keeps nothing back.
    if (::fsync(file->fd) != 0 && errno != EINVAL) {
        return Fail(ErrorFromErrno(errno));
    }
    return TRUE;
}

BOOL CloseHandle(HANDLE handle) {
    const auto object = kvtwin::RemoveHandle(handle);
    if (!object) {
        return Fail(ERROR_INVALID_HANDLE);
    }
    if (auto* file = dynamic_cast<OpenFile*>(object.get())) {
        const int fd = std::exchange(file->fd, -1);
        // EINTR: the descriptor is gone all the same.
        if (::close(fd) != 0 && errno != EINTR) {
            return Fail(ErrorFromErrno(errno));
        }
    }
    return TRUE;
}

BOOL GetFileTime(HANDLE handle, LPFILETIME creation, LPFILETIME access, LPFILETIME write) {
    const auto file = FindFile(handle);
    if (!file) {
        return FALSE;
    }
    struct stat status {};
    if (::fstat(file->fd, &status) != 0) {
        return Fail(ErrorFromErrno(errno));
    }
    const FILETIME written = kvtwin::FileTimeOf(status.st_mtim);
    if (creation) {
        *creation = written;
    }
    if (access) {
        *access = kvtwin::FileTimeOf(status.st_atim);
    }
    if (write) {
        *write = written;
    }
    return TRUE;
}

BOOL SetFileTime(HANDLE handle, const FILETIME*, const FILETIME* access, const FILETIME* write) {
    const auto file = FindFile(handle);
    if (!file) {
        return FALSE;
    }
    if (!file->sets_times) {
        return Fail(ERROR_ACCESS_DENIED);
    }
    timespec times[2] = {{0, UTIME_OMIT}, {0, UTIME_OMIT}};
    if (access && kvtwin::TicksOf(*access) != 0) {
        times[0] = kvtwin::TimeSpecOf(*access);
    }
    if (write && kvtwin::TicksOf(*write) != 0) {
        times[1] = kvtwin::TimeSpecOf(*write);
    }
    if (::futimens(file->fd, times) != 0) {
        return Fail(ErrorFromErrno(errno));
    }
    return TRUE;
}
