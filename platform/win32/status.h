#pragma once

/// @file
/// Attributes and times of files as Windows shows them.

#include <sys/stat.h>
#include <time.h>

#include <string>
#include <string_view>

#include "wintypes.h"

namespace kvtwin {

/// Attributes of a file or folder. @param status What stat says, links followed. @param link `path` is a symbolic link.
DWORD AttributesOf(const std::string& path, const struct stat& status, bool link);
/// The part of them that stat tells.
DWORD KindOf(const struct stat& status, bool link);
/// The part of them that the name alone tells: hidden, with a leading dot.
DWORD HiddenByName(std::string_view name);

/// Reads all there is to know. @return 0, or the error of the path (a symbolic link without target is missing).
DWORD ReadStatus(const std::string& path, WIN32_FILE_ATTRIBUTE_DATA& data);

/// Whether nobody may write the file: the read-only attribute.
inline bool IsReadOnly(const struct stat& status) {
    return (status.st_mode & 0222) == 0;
}

/// Attributes, times and size from what stat says, links followed.
void FillStatus(const struct stat& status, DWORD attributes, WIN32_FILE_ATTRIBUTE_DATA& data);

/// HIDDEN and SYSTEM as kept beside the file, and its folder marked. @return false: the file system keeps none.
bool StoreDosAttributes(const std::string& path, DWORD attributes);

/// Marks the folder of a file that keeps attributes beside it. Listings look for such attributes in marked folders
/// alone: to ask for each file costs as much again as all that is known of it.
void MarkFolderOf(const std::string& path);
/// Whether the open folder is marked.
bool IsMarked(int folder);

/// All ones, which is no date, for a time before 1601 or beyond what a date can tell.
FILETIME FileTimeOf(const timespec& time);
timespec TimeSpecOf(const FILETIME& time);

/// The C library's local time in the zone that TZ names now. @return false: it has none for the moment.
bool LocalTime(time_t moment, tm& local);

constexpr ULONGLONG TicksOf(const FILETIME& time) {
    return static_cast<ULONGLONG>(time.dwHighDateTime) << 32 | time.dwLowDateTime;
}
constexpr FILETIME FromTicks(ULONGLONG ticks) {
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

}  // namespace kvtwin
