#pragma once

/// @file
/// Entries as the shell sees them: a link is an entry of its own, wherever it leads.

#include <string>
#include <vector>

#include "kvtfile/export.h"
#include "platform/io/io.h"

namespace kvtshell {

using EntryName = std::basic_string<WCHAR>;

/// Whether a path names an entry; a link that leads nowhere is one. @return 0, or the error.
KVTFILE_API DWORD FindEntry(LPCWSTR path);

/// The names in a folder that match a pattern, "." and ".." left out, sorted without regard to case.
/// @param folder Null or empty: the current one.
/// @param files_only Leave out folders, and links to them.
/// @return 0, or why the folder cannot be read: then `names` is empty.
KVTFILE_API DWORD MatchingEntries(LPCWSTR folder, LPCWSTR pattern, bool files_only, std::vector<EntryName>& names);

}  // namespace kvtshell
