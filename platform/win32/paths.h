#pragma once

/// @file
/// Between Windows paths and those of the file system.

#include <string>
#include <string_view>

#include "kvtfile/export.h"
#include "wintypes.h"

namespace kvtwin {

/// The file-system path that a path of the caller names; empty (and the last error set) when it names none.
/// What does not exist is spelled as the caller spelled it.
KVTFILE_API std::string UnixPath(LPCWSTR path);

/// The Windows path of an absolute file-system path: that of the drive that reaches deepest, Z: when none does.
KVTFILE_API std::u16string WindowsPath(std::string_view path);

/// The file-system path of an absolute path, drive or POSIX, by text alone: the one that the path names if there is
/// something under it. Empty for every other path.
std::string PathAsSpelled(LPCWSTR path);

/// What a caller's path names.
struct Location {
    std::string path;               ///< Absolute, in the file system, no separator at the end but for "/".
    std::string spelled;            ///< The same, but the last component as the caller spelled it.
    bool root = false;              ///< A drive's root.
    bool separator_at_end = false;  ///< The caller's path ended in a separator (and is no root).
    bool device = false;            ///< The device nul.
};

/// Finds what a path names. @return 0, or the error that calls with this path give.
DWORD Locate(LPCWSTR path, Location& location);

/// The absolute Windows spelling of a path by text alone; what GetFullPathNameW gives.
DWORD FullPath(LPCWSTR path, std::u16string& full);

/// The part of a path before its last separator (that included), and the rest. Null is empty.
struct SplitPath {
    std::u16string_view folder;
    std::u16string_view name;
};
SplitPath SplitAtName(std::u16string_view path);

/// ERROR_PATH_NOT_FOUND when the folder that should hold `path` is missing or no folder, else ERROR_FILE_NOT_FOUND.
DWORD MissingError(const std::string& path);

/// The Win32 error of a call on `path` that failed with an errno value.
DWORD PathError(int error, const std::string& path);

/// The folder of a path without its last component; "/" at the top.
std::string ParentOf(const std::string& path);

/// Makes a folder and those above it as far as they are missing; nothing is said when that fails.
void MakeFolders(const std::string& path);

}  // namespace kvtwin
