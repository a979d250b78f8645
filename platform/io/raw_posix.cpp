// The POSIX side of safe saves: links, permissions, extended attributes, folder sync.

#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <string>
#include <string_view>
#include <vector>

#include "platform/io/raw.h"
#include "platform/win32/errors.h"
#include "platform/win32/paths.h"
#include "platform/win32/status.h"

namespace kvtio::raw {

namespace {

using kvtwin::ErrorFromErrno;

constexpr const char* kAccessList = "system.posix_acl_access";

// A value of an extended attribute; empty and `errno` set when it cannot be read.
std::vector<char> ReadAttribute(const std::string& path, const char* name) {
    const ssize_t size = ::getxattr(path.c_str(), name, nullptr, 0);
    std::vector<char> value(size > 0 ? static_cast<size_t>(size) : 0);
    if (size > 0 && ::getxattr(path.c_str(), name, value.data(), value.size()) != size) {
        value.clear();
    }
    return value;
}

// Copies what programs keep beside the content. What the system or the rights refuse is left out, the access list not.
Error CopyExtendedAttributes(const std::string& from, const std::string& to) {
    const ssize_t size = ::listxattr(from.c_str(), nullptr, 0);
    std::vector<char> names(size > 0 ? static_cast<size_t>(size) : 0);
    if (size <= 0 || ::listxattr(from.c_str(), names.data(), names.size()) != size) {
        return ERROR_SUCCESS;
    }
    for (const char* name = names.data(); name < names.data() + names.size(); name += ::strlen(name) + 1) {
        const std::vector<char> value = ReadAttribute(from, name);
        const bool failed = ::setxattr(to.c_str(), name, value.data(), value.size(), 0) != 0;
        if (failed && std::string_view(name) == kAccessList) {
            return ErrorFromErrno(errno);
        }
    }
    return ERROR_SUCCESS;
}

}  // namespace

const DWORD kPrivateFile = FILE_ATTRIBUTE_TEMPORARY;
const DWORD kRenameFlags = 0;

Error SyncFolderOf(LPCWSTR path) {
    const std::string unix_path = kvtwin::UnixPath(path);
    if (unix_path.empty()) {
        return ::GetLastError();
    }
    const int fd = ::open(kvtwin::ParentOf(unix_path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) {
        // A folder that may be written but not read cannot be opened for this.
        return errno == EACCES ? ERROR_SUCCESS : ErrorFromErrno(errno);
    }
    // EINVAL: a file system that keeps nothing back.
    const Error error = ::fsync(fd) != 0 && errno != EINVAL ? ErrorFromErrno(errno) : ERROR_SUCCESS;
    ::close(fd);
    return error;
}

Error FollowLinks(LPCWSTR path, Path& target) {
    std::string file = kvtwin::UnixPath(path);
    if (file.empty()) {
        return ::GetLastError();
    }
    constexpr int kMostLinks = 40;
    bool followed = false;
    for (int i = 0; i < kMostLinks; ++i) {
        char text[PATH_MAX];
        const ssize_t size = ::readlink(file.c_str(), text, sizeof text);
        if (size < 0 || size == static_cast<ssize_t>(sizeof text)) {
            target = followed ? kvtwin::WindowsPath(file) : path;
            return ERROR_SUCCESS;
        }
        const std::string link(text, static_cast<size_t>(size));
        file = link.starts_with('/') ? link : kvtwin::ParentOf(file) + '/' + link;
        // ".." behind a linked folder is not what the text says: the system resolves the folder.
        char folder[PATH_MAX];
        if (::realpath(kvtwin::ParentOf(file).c_str(), folder)) {
            const std::string name = file.substr(file.rfind('/') + 1);
            file = std::string(folder) + (folder[1] == '\0' ? "" : "/") + name;
        }
        followed = true;
    }
    return ERROR_CANT_RESOLVE_FILENAME;
}

Error Examine(LPCWSTR path, Target& target) {
    const std::string file = kvtwin::UnixPath(path);
    struct stat status {};
    if (file.empty()) {
        return ::GetLastError();
    }
    if (::stat(file.c_str(), &status) != 0) {
        return kvtwin::PathError(errno, file);
    }
    target.plain = S_ISREG(status.st_mode);
    target.read_only = target.plain && kvtwin::IsReadOnly(status);
    target.replaceable = target.plain && status.st_nlink == 1;
    target.written = kvtwin::FileTimeOf(status.st_mtim);
    return ERROR_SUCCESS;
}

Error CopyNature(LPCWSTR from, LPCWSTR to) {
    const std::string old_file = kvtwin::UnixPath(from);
    const std::string new_file = kvtwin::UnixPath(to);
    struct stat old_status {};
    struct stat new_status {};
    if (old_file.empty() || new_file.empty()) {
        return ::GetLastError();
    }
    if (::stat(old_file.c_str(), &old_status) != 0 || ::stat(new_file.c_str(), &new_status) != 0) {
        return ErrorFromErrno(errno);
    }
    mode_t mode = old_status.st_mode & 07777;
    if (old_status.st_uid != new_status.st_uid &&
        ::chown(new_file.c_str(), old_status.st_uid, static_cast<gid_t>(-1)) != 0) {
        mode &= ~mode_t{S_ISUID};
    }
    if (old_status.st_gid != new_status.st_gid &&
        ::chown(new_file.c_str(), static_cast<uid_t>(-1), old_status.st_gid) != 0) {
        // Another group gets no more than everybody had.
        mode &= ~mode_t{S_ISGID};
        mode &= ~mode_t{070} | (mode & 07) << 3;
    }
    // Before the access list, whose mask the permissions would change.
    if (::chmod(new_file.c_str(), mode) != 0) {
        return ErrorFromErrno(errno);
    }
    return CopyExtendedAttributes(old_file, new_file);
}

// Share modes bind only this process: whoever holds the file will not let go while it waits.
bool MayPass(Error) {
    return false;
}

}  // namespace kvtio::raw
