#pragma once

/// @file
/// The desktop's trash, as the freedesktop.org Trash Specification 1.0 lays it out. The cache of folder sizes, which is
/// left to the desktop there, is not written.

#include <string>

#include "shell_copy.h"

namespace kvtwin {

/// Moves an entry into the trash of its file system: the user's own ($XDG_DATA_HOME/Trash), or for another file system
/// the one at its top, `.Trash/UID` (only where .Trash is a folder with the sticky bit) or `.Trash-UID`.
///
/// The information that a desktop restores from is written first, exclusively, and so reserves the name.
/// @return 0, or the error; the entry is then where it was. ERROR_NOT_SAME_DEVICE: there is no trash for it;
/// kShellSameFile: it is what the trash holds already.
DWORD MoveToTrash(const EntryPlace& from, const struct stat& status);

}  // namespace kvtwin
