#pragma once

/// @file
/// What the two systems do differently under a safe save. raw_posix.cpp and raw_windows.cpp hold one each.

#include <string>

#include "platform/io/folders.h"

namespace kvtio {

namespace raw {

/// The attributes with which CreateFileW makes a file that others cannot open.
extern const DWORD kPrivateFile;

/// What makes MoveFileExW return only when the move is on the storage device, where SyncFolderOf does not do that.
extern const DWORD kRenameFlags;

/// Returns when the entries of the folder that holds `path` are on the storage device.
Error SyncFolderOf(LPCWSTR path);

/// The file that symbolic links lead to; the path itself when it is no link. A link whose target is missing gives the
/// path of that target.
Error FollowLinks(LPCWSTR path, Path& target);

/// What an existing target is.
struct Target {
    bool read_only = false;   ///< Its read-only attribute is set.
    bool plain = true;        ///< An ordinary file, which has content to be kept.
    bool replaceable = true;  ///< Another file may take its place: ordinary, with one name.
    FILETIME written{};       ///< When it was written last.
};
Error Examine(LPCWSTR path, Target& target);

/// Gives a file the attributes, permissions, owner (as far as allowed) and extended attributes of another.
/// Fails when the permissions cannot be made as strict as the other's.
Error CopyNature(LPCWSTR from, LPCWSTR to);

/// Whether a failure may pass within moments: another program looks at the file just now.
bool MayPass(Error error);

}  // namespace raw

}  // namespace kvtio
