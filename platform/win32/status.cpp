// Attributes and times of files.
//
// The read-only attribute is the lack of every write permission bit. HIDDEN and SYSTEM stand as a hexadecimal number in
// the extended attribute user.DOSATTRIB, as other Windows file servers keep them; without it a leading dot means
// hidden. The folder of a file that has them carries a mark of its own, which listings go by.

#include "status.h"

#include <errno.h>
#include <sys/xattr.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "errors.h"
#include "paths.h"
#include "winapi.h"

namespace {

constexpr const char* kDosAttributes = "user.DOSATTRIB";
constexpr const char* kFolderMark = "user.kvtfile.DOSATTRIB";  // some entry has the above
constexpr DWORD kKept = FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM;
constexpr LONGLONG kUnixEpoch = 11644473600;  // 1970-01-01 in seconds since 1601-01-01
constexpr LONGLONG kTicksPerSecond = 10000000;
constexpr LONGLONG kLastSecond = std::numeric_limits<LONGLONG>::max() / kTicksPerSecond;  // the calendar's end

DWORD HiddenAndSystem(const std::string& path) {
    char text[32];
    const ssize_t size = ::getxattr(path.c_str(), kDosAttributes, text, sizeof text - 1);
    if (size > 0) {
        text[size] = '\0';
        return static_cast<DWORD>(std::strtoul(text, nullptr, 16)) & kKept;
    }
    return kvtwin::HiddenByName(std::string_view(path).substr(path.rfind('/') + 1));
}

// The write bits that the process's umask allows; read without changing it.
mode_t WritableBits() {
    mode_t mask = 022;
    if (FILE* status = std::fopen("/proc/self/status", "re")) {
        char line[256];
        while (std::fgets(line, sizeof line, status)) {
            unsigned value = 0;
            if (std::sscanf(line, "Umask: %o", &value) == 1) {
                mask = static_cast<mode_t>(value);
                break;
            }
        }
        std::fclose(status);
    }
    return 0222 & ~mask;
}

}  // namespace

namespace kvtwin {

DWORD HiddenByName(std::string_view name) {
    return name.starts_with('.') && name != "." && name != ".." ? FILE_ATTRIBUTE_HIDDEN : 0;
}

DWORD AttributesOf(const std::string& path, const struct stat& status, bool link) {
    return KindOf(status, link) | HiddenAndSystem(path);
}

DWORD KindOf(const struct stat& status, bool link) {
    DWORD attributes = S_ISDIR(status.st_mode) ? FILE_ATTRIBUTE_DIRECTORY : FILE_ATTRIBUTE_ARCHIVE;
    if (IsReadOnly(status)) {
        attributes |= FILE_ATTRIBUTE_READONLY;
    }
    if (link && S_ISDIR(status.st_mode)) {
        attributes |= FILE_ATTRIBUTE_REPARSE_POINT;
    }
    return attributes;
}

DWORD ReadStatus(const std::string& path, WIN32_FILE_ATTRIBUTE_DATA& data) {
    struct stat link {};
    struct stat status {};
    if (::lstat(path.c_str(), &link) != 0 || ::stat(path.c_str(), &status) != 0) {
        return PathError(errno, path);
    }
    FillStatus(status, AttributesOf(path, status, S_ISLNK(link.st_mode)), data);
    return ERROR_SUCCESS;
}

void FillStatus(const struct stat& status, DWORD attributes, WIN32_FILE_ATTRIBUTE_DATA& data) {
    data.dwFileAttributes = attributes;
    data.ftCreationTime = data.ftLastWriteTime = FileTimeOf(status.st_mtim);
    data.ftLastAccessTime = FileTimeOf(status.st_atim);
    const ULONGLONG size = S_ISDIR(status.st_mode) ? 0 : static_cast<ULONGLONG>(status.st_size);
    data.nFileSizeHigh = static_cast<DWORD>(size >> 32);
    data.nFileSizeLow = static_cast<DWORD>(size);
}

bool StoreDosAttributes(const std::string& path, DWORD attributes) {
    if (HiddenAndSystem(path) == (attributes & kKept)) {
        return true;
    }
    char text[16];
    const int size = std::snprintf(text, sizeof text, "0x%x", attributes & kKept);
    if (::setxattr(path.c_str(), kDosAttributes, text, static_cast<size_t>(size), 0) != 0) {
        return false;
    }
    MarkFolderOf(path);
    return true;
}

void MarkFolderOf(const std::string& path) {
    if (::getxattr(path.c_str(), kDosAttributes, nullptr, 0) >= 0) {
        ::setxattr(ParentOf(path).c_str(), kFolderMark, "1", 1, 0);
    }
}

bool IsMarked(int folder) {
    return ::fgetxattr(folder, kFolderMark, nullptr, 0) >= 0;
}

FILETIME FileTimeOf(const timespec& time) {
    if (time.tv_sec < -kUnixEpoch || time.tv_sec >= kLastSecond - kUnixEpoch) {
        return FromTicks(~0ULL);
    }
    const LONGLONG seconds = static_cast<LONGLONG>(time.tv_sec) + kUnixEpoch;
    return FromTicks(static_cast<ULONGLONG>(seconds * kTicksPerSecond + time.tv_nsec / 100));
}

timespec TimeSpecOf(const FILETIME& time) {
    const ULONGLONG ticks = TicksOf(time);
    timespec result{};
    result.tv_sec = static_cast<time_t>(static_cast<LONGLONG>(ticks / kTicksPerSecond) - kUnixEpoch);
    result.tv_nsec = static_cast<long>(ticks % kTicksPerSecond * 100);
    return result;
}

}  // namespace kvtwin

using kvtwin::Fail;

DWORD GetFileAttributesW(LPCWSTR path) {
    WIN32_FILE_ATTRIBUTE_DATA data;
    return GetFileAttributesExW(path, GetFileExInfoStandard, &data) ? data.dwFileAttributes : INVALID_FILE_ATTRIBUTES;
}

BOOL GetFileAttributesExW(LPCWSTR path, GET_FILEEX_INFO_LEVELS level, LPVOID data) {
    if (level != GetFileExInfoStandard || !data) {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    kvtwin::Location location;
    if (const DWORD error = kvtwin::Locate(path, location)) {
        return Fail(error);
    }
    WIN32_FILE_ATTRIBUTE_DATA found{};
    if (const DWORD error = kvtwin::ReadStatus(location.path, found)) {
        return Fail(error);
    }
    if (location.separator_at_end && !(found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)) {
        return Fail(ERROR_INVALID_NAME);
    }
    *static_cast<WIN32_FILE_ATTRIBUTE_DATA*>(data) = found;
    return TRUE;
}

BOOL SetFileAttributesW(LPCWSTR path, DWORD attributes) {
    kvtwin::Location location;
    if (const DWORD error = kvtwin::Locate(path, location)) {
        return Fail(error);
    }
    struct stat status {};
    if (::stat(location.path.c_str(), &status) != 0) {
        return Fail(kvtwin::PathError(errno, location.path));
    }
    const bool read_only = attributes & FILE_ATTRIBUTE_READONLY;
    const mode_t old_mode = status.st_mode & 07777;
    // Write access is given before the attributes are stored and taken after: storing them needs it.
    if (!read_only && kvtwin::IsReadOnly(status) && !S_ISDIR(status.st_mode) &&
        ::chmod(location.path.c_str(), old_mode | WritableBits() | 0200) != 0) {
        return Fail(kvtwin::ErrorFromErrno(errno));
    }
    if (!kvtwin::StoreDosAttributes(location.path, attributes)) {
        const int error = errno;
        if (!read_only) {
            ::chmod(location.path.c_str(), old_mode);
        }
        return Fail(kvtwin::ErrorFromErrno(error));
    }
    if (read_only && !S_ISDIR(status.st_mode) && ::chmod(location.path.c_str(), old_mode & ~mode_t{0222}) != 0) {
        return Fail(kvtwin::ErrorFromErrno(errno));
    }
    return TRUE;
}
