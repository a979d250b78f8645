#pragma once

/// @file
/// What a shell operation is about: its lists of paths resolved to entries, and checked before anything changes.

#include <string>
#include <string_view>
#include <vector>

#include <sys/stat.h>

#include "shell_job.h"

namespace kvtwin {

/// An entry that is to be copied, moved, deleted or renamed.
struct ShellSource {
    std::string folder;
    std::string name;
    struct stat status {};

    std::string Path() const { return folder == "/" ? "/" + name : folder + "/" + name; }
};

/// A source and the place that it is to have.
struct ShellItem {
    ShellSource source;
    std::string target_folder;
    std::string target_name;
    bool respelled = false;  ///< the same entry, its name in other letter case

    std::string TargetPath() const {
        return target_folder == "/" ? "/" + target_name : target_folder + "/" + target_name;
    }
};

struct ShellPlan {
    std::vector<ShellItem> items;
    std::vector<std::string> missing_folders;  ///< of targets, to be made
    DWORD error = 0;                           ///< why nothing is to be done
    std::string error_path;
};

/// The entries of a folder whose names match, in the order of their names without regard to case.
/// @param files_only Leave out folders, and links to them.
/// @return 0, or the error of the folder or of an entry that cannot be looked at.
DWORD FindMatches(const std::string& folder, std::u16string_view pattern, bool files_only,
                  std::vector<ShellSource>& sources);

/// Resolves the lists by the rules of the operation. Nothing is changed; every source is looked up.
ShellPlan PlanShellOperation(const SHFILEOPSTRUCTW& operation, const ShellJob& job);

}  // namespace kvtwin
