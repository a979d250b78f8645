// Making, removing, moving and copying files and folders by name.
//
// Invariants: nothing that exists is replaced unless the caller asked for it, decided by the kernel in one step where
// it can; a copy or move that fails leaves no new file behind and the source untouched.

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>
#include <new>

#include "errors.h"
#include "handles.h"
#include "paths.h"
#include "status.h"
#include "winapi.h"

using kvtwin::ErrorFromErrno;
using kvtwin::Fail;
using kvtwin::Location;
using kvtwin::PathError;

namespace {

// What a name stands for: the entry itself, links not followed.
DWORD LocateEntry(LPCWSTR path, Location& location, struct stat& status) {
    if (const DWORD error = kvtwin::Locate(path, location)) {
        return error;
    }
    return ::lstat(location.path.c_str(), &status) == 0 ? ERROR_SUCCESS : PathError(errno, location.path);
}

bool IsFolder(const std::string& path, const struct stat& status) {
    struct stat target {};
    return S_ISDIR(status.st_mode) ||
           (S_ISLNK(status.st_mode) && ::stat(path.c_str(), &target) == 0 && S_ISDIR(target.st_mode));
}

DWORD SyncFolder(const std::string& path) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) {
        return ErrorFromErrno(errno);
    }
    const DWORD error = ::fsync(fd) != 0 && errno != EINVAL ? ErrorFromErrno(errno) : ERROR_SUCCESS;
    ::close(fd);
    return error;
}

// Renames where no target may exist; atomically, unless the file system cannot.
int RenameToNew(const std::string& from, const std::string& to) {
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) {
        return 0;
    }
    if (errno != EINVAL && errno != ENOSYS) {
        return errno;
    }
    struct stat status {};
    if (::lstat(to.c_str(), &status) == 0) {
        return EEXIST;
    }
    return ::rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

// Whether a move may put something in the place of what `to` names.
DWORD CheckReplaceable(const std::string& to, const struct stat& status) {
    if (IsFolder(to, status) || (S_ISREG(status.st_mode) && kvtwin::IsReadOnly(status))) {
        return ERROR_ACCESS_DENIED;
    }
    return kvtwin::CheckDeletable(status.st_dev, status.st_ino);
}

DWORD CopyContent(HANDLE source, HANDLE target) {
    constexpr DWORD kPart = 1 << 18;
    const std::unique_ptr<char[]> buffer(new (std::nothrow) char[kPart]);
    if (!buffer) {
        return ERROR_NOT_ENOUGH_MEMORY;
    }
    for (;;) {
        DWORD got = 0;
        DWORD written = 0;
        if (!::ReadFile(source, buffer.get(), kPart, &got, nullptr)) {
            return ::GetLastError();
        }
        if (got == 0) {
            return ERROR_SUCCESS;
        }
        if (!::WriteFile(target, buffer.get(), got, &written, nullptr)) {
            return ::GetLastError();
        }
    }
}

}  // namespace

BOOL CreateDirectoryW(LPCWSTR path, LPSECURITY_ATTRIBUTES) {
    Location location;
    if (const DWORD error = kvtwin::Locate(path, location)) {
        return Fail(error);
    }
    if (location.root) {
        struct stat status {};
        return Fail(::stat(location.path.c_str(), &status) == 0 ? ERROR_ACCESS_DENIED : ERROR_PATH_NOT_FOUND);
    }
    if (::mkdir(location.path.c_str(), 0777) != 0) {
        return Fail(errno == ENOENT ? ERROR_PATH_NOT_FOUND : ErrorFromErrno(errno));
    }
    return TRUE;
}

BOOL RemoveDirectoryW(LPCWSTR path) {
    Location location;
    struct stat status {};
    if (const DWORD error = LocateEntry(path, location, status)) {
        return Fail(error);
    }
    if (!IsFolder(location.path, status)) {
        return Fail(ERROR_DIRECTORY);
    }
    if (location.root) {
        return Fail(ERROR_ACCESS_DENIED);
    }
    const bool link = S_ISLNK(status.st_mode);
    if ((link ? ::unlink(location.path.c_str()) : ::rmdir(location.path.c_str())) != 0) {
        return Fail(errno == EEXIST ? ERROR_DIR_NOT_EMPTY : PathError(errno, location.path));
    }
    return TRUE;
}

BOOL DeleteFileW(LPCWSTR path) {
    Location location;
    struct stat status {};
    if (const DWORD error = LocateEntry(path, location, status)) {
        return Fail(error);
    }
    if (location.separator_at_end) {
        return Fail(ERROR_INVALID_NAME);
    }
    if (IsFolder(location.path, status) || (S_ISREG(status.st_mode) && kvtwin::IsReadOnly(status))) {
        return Fail(ERROR_ACCESS_DENIED);
    }
    if (const DWORD error = kvtwin::CheckDeletable(status.st_dev, status.st_ino)) {
        return Fail(error);
    }
    return ::unlink(location.path.c_str()) == 0 ? TRUE : Fail(PathError(errno, location.path));
}

BOOL MoveFileW(LPCWSTR from, LPCWSTR to) {
    return MoveFileExW(from, to, MOVEFILE_COPY_ALLOWED);
}

BOOL MoveFileExW(LPCWSTR from, LPCWSTR to, DWORD flags) {
    if (flags & ~(MOVEFILE_REPLACE_EXISTING | MOVEFILE_COPY_ALLOWED | MOVEFILE_WRITE_THROUGH)) {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    Location source;
    Location target;
    struct stat status {};
    struct stat existing {};
    if (const DWORD error = LocateEntry(from, source, status)) {
        return Fail(error);
    }
    if (const DWORD error = kvtwin::Locate(to, target)) {
        return Fail(error);
    }
    if (source.root || target.root) {
        return Fail(ERROR_ACCESS_DENIED);
    }
    if (const DWORD error = kvtwin::CheckDeletable(status.st_dev, status.st_ino)) {
        return Fail(error);
    }
    const bool exists = ::lstat(target.path.c_str(), &existing) == 0;
    const bool same = target.path == source.path;
    if (exists && !same && !(flags & MOVEFILE_REPLACE_EXISTING)) {
        return Fail(ERROR_ALREADY_EXISTS);
    }
    if (exists && !same) {
        if (const DWORD error = CheckReplaceable(target.path, existing)) {
            return Fail(error);
        }
    }
    // Onto itself only the spelling changes, which may stand for the same entry once more.
    const std::string& name = same ? target.spelled : target.path;
    int error = 0;
    if ((flags & MOVEFILE_REPLACE_EXISTING) || name == source.path) {
        error = ::rename(source.path.c_str(), name.c_str()) == 0 ? 0 : errno;
    } else {
        error = RenameToNew(source.path, name);
    }
    if (error == EXDEV && (flags & MOVEFILE_COPY_ALLOWED) && S_ISREG(status.st_mode)) {
        return CopyFileW(from, to, !(flags & MOVEFILE_REPLACE_EXISTING)) && DeleteFileW(from);
    }
    if (error != 0) {
        // EINVAL: a folder into itself.
        return Fail(error == ENOENT   ? ERROR_PATH_NOT_FOUND
                    : error == EINVAL ? ERROR_SHARING_VIOLATION
                                      : ErrorFromErrno(error));
    }
    kvtwin::MarkFolderOf(name);
    if (flags & MOVEFILE_WRITE_THROUGH) {
        if (const DWORD failed = SyncFolder(kvtwin::ParentOf(name))) {
            return Fail(failed);
        }
    }
    return TRUE;
}

BOOL CopyFileW(LPCWSTR from, LPCWSTR to, BOOL failIfExists) {
    const HANDLE source = ::CreateFileW(from, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    if (source == INVALID_HANDLE_VALUE) {
        return FALSE;
    }
    const auto finish = [source](DWORD error) {
        ::CloseHandle(source);
        return error ? Fail(error) : TRUE;
    };
    const HANDLE target = ::CreateFileW(to, GENERIC_WRITE, 0, nullptr, failIfExists ? CREATE_NEW : CREATE_ALWAYS,
                                        FILE_ATTRIBUTE_NORMAL, nullptr);
    if (target == INVALID_HANDLE_VALUE) {
        return finish(::GetLastError());
    }
    const bool created = failIfExists || ::GetLastError() != ERROR_ALREADY_EXISTS;
    DWORD error = CopyContent(source, target);
    const auto source_file = kvtwin::FindFile(source);
    const auto target_file = kvtwin::FindFile(target);
    struct stat status {};
    if (!error && source_file && target_file && ::fstat(source_file->fd, &status) == 0) {
        const timespec times[2] = {{0, UTIME_OMIT}, status.st_mtim};
        ::futimens(target_file->fd, times);
        if (created) {
            Location source_at;
            Location target_at;
            if (!kvtwin::Locate(from, source_at) && !kvtwin::Locate(to, target_at)) {
                kvtwin::StoreDosAttributes(target_at.path, kvtwin::AttributesOf(source_at.path, status, false));
            }
            ::fchmod(target_file->fd, status.st_mode & 0777);
        }
    }
    if (!::CloseHandle(target) && !error) {
        error = ::GetLastError();
    }
    if (error && created) {
        ::DeleteFileW(to);
    }
    return finish(error);
}
