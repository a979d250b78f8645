// From lists of paths to entries and their targets.
//
// A wildcard stands in the last component of a source and matches as in FindFirstFileW; where an entry has exactly that
// name (which Windows does not allow, but this file system does), it alone is meant. Whatever is wrong with any path is
// found here, before the first change; what the system refuses shows only then.

#include "shell_plan.h"

#include <errno.h>
#include <limits.h>
#include <stdlib.h>

#include <algorithm>
#include <set>
#include <utility>

#include "errors.h"
#include "folder_cursor.h"
#include "names.h"
#include "paths.h"
#include "winapi.h"

namespace kvtwin {

namespace {

struct Failure {
    DWORD error;
    std::string path;
};

// The sources that one entry of the list names.
struct Group {
    std::vector<ShellSource> sources;
    bool wildcard = false;
};

struct Destination {
    Location location;
    bool exists = false;
    bool folder = false;  // links followed
};

std::vector<std::u16string> Paths(LPCWSTR list) {
    std::vector<std::u16string> paths;
    for (; list && *list; list += paths.back().size() + 1) {
        paths.emplace_back(list);
    }
    return paths;
}

DWORD PathFailure(DWORD error) {
    return error == ERROR_FILENAME_EXCED_RANGE ? static_cast<DWORD>(kShellPathTooDeep)
                                               : static_cast<DWORD>(kShellInvalidPath);
}

std::string NameOf(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

// A folder's own spelling of a caller's path is kept for names; ".." that the system resolves is no name.
bool IsName(const std::string& name) {
    return !name.empty() && name != "." && name != "..";
}

bool HasWildcard(std::u16string_view text) {
    return text.find_first_of(u"*?") != text.npos;
}

bool LeadsToFolder(int folder, const ShellSource& source) {
    struct stat followed = source.status;
    const bool known = !S_ISLNK(followed.st_mode) || kvtio::StatTarget(folder, source.name, followed) == 0;
    return known && S_ISDIR(followed.st_mode);
}

DWORD FindWildcard(const std::u16string& path, const ShellJob& job, Group& group) {
    const SplitPath split = SplitAtName(path);
    if (HasWildcard(split.folder)) {
        return kShellInvalidPath;
    }
    Location folder;
    const std::u16string folder_path = split.folder.empty() ? u"." : std::u16string(split.folder);
    if (const DWORD error = Locate(folder_path.c_str(), folder)) {
        return PathFailure(error);
    }
    group.wildcard = true;
    const bool files_only = job.Has(FOF_FILESONLY) || job.Has(FOF_NORECURSION);
    const DWORD error = FindMatches(folder.path, split.name, files_only, group.sources);
    const bool missing = error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
    return missing ? static_cast<DWORD>(kShellInvalidPath) : error;
}

bool IsFolder(const std::string& path) {
    struct stat followed {};
    return ::stat(path.c_str(), &followed) == 0 && S_ISDIR(followed.st_mode);
}

DWORD FindSource(const std::u16string& path, const ShellJob& job, Group& group) {
    Location location;
    const bool wildcard = HasWildcard(SplitAtName(path).name);
    DWORD error = Locate(path.c_str(), location);
    if (error != 0) {
        return wildcard && error == ERROR_INVALID_NAME ? FindWildcard(path, job, group) : PathFailure(error);
    }
    if (location.device) {
        return kShellInvalidPath;
    }
    if (location.root) {
        return kShellRoot;
    }
    ShellSource source{ParentOf(location.path), NameOf(location.path), {}};
    if (!IsName(source.name)) {
        return kShellInvalidPath;
    }
    if (::lstat(location.path.c_str(), &source.status) == 0) {
        if (S_ISDIR(source.status.st_mode) && job.Has(FOF_NORECURSION)) {
            return ERROR_NOT_SUPPORTED;
        }
        if (location.separator_at_end && !IsFolder(location.path)) {
            return kShellInvalidPath;
        }
        group.sources.push_back(std::move(source));
        return ERROR_SUCCESS;
    }
    if (wildcard) {
        return FindWildcard(path, job, group);
    }
    error = PathError(errno, location.path);
    return error == ERROR_PATH_NOT_FOUND ? static_cast<DWORD>(kShellInvalidPath) : error;
}

DWORD FindDestination(const std::u16string& path, Destination& destination) {
    if (HasWildcard(SplitAtName(path).name)) {
        return kShellInvalidPath;
    }
    if (const DWORD error = Locate(path.c_str(), destination.location)) {
        return PathFailure(error);
    }
    struct stat status {};
    destination.exists = ::lstat(destination.location.path.c_str(), &status) == 0;
    destination.folder = IsFolder(destination.location.path);
    return destination.location.device ? kShellInvalidPath : ERROR_SUCCESS;
}

bool IsSame(const struct stat& a, const struct stat& b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

// The nearest folder on the way to `path` that exists, `path` included.
std::string NearestExisting(std::string path, struct stat& status) {
    while (::stat(path.c_str(), &status) != 0 && path != "/") {
        path = ParentOf(path);
    }
    return path;
}

// Whether a folder lies in another, or is it.
bool IsInside(const std::string& folder, const struct stat& outer) {
    struct stat status {};
    char real[PATH_MAX];
    if (!::realpath(NearestExisting(folder, status).c_str(), real)) {
        return false;
    }
    for (std::string path = real;; path = ParentOf(path)) {
        if (::stat(path.c_str(), &status) == 0 && IsSame(status, outer)) {
            return true;
        }
        if (path == "/") {
            return false;
        }
    }
}

// Which entry of which folder, whether they exist or not: the nearest folder that does, and the path from there.
using EntryKey = std::pair<FileIdentity, std::string>;

EntryKey KeyOf(const std::string& folder, const std::string& name) {
    struct stat status {};
    const size_t length = NearestExisting(folder, status).size();
    return {FileIdentity(status), folder.substr(length) + '/' + name};
}

// The checks of one source and its target.
DWORD Check(ShellItem& item, const ShellJob& job) {
    struct stat folder {};
    struct stat existing {};
    NearestExisting(item.target_folder, folder);
    if (!S_ISDIR(folder.st_mode)) {
        return kShellInvalidPath;
    }
    const struct stat& source = item.source.status;
    const bool moves_content = !item.respelled && S_ISDIR(source.st_mode);
    if (moves_content && IsInside(item.target_folder, source)) {
        return kShellTargetInSource;
    }
    if (item.respelled || ::lstat(item.TargetPath().c_str(), &existing) != 0) {
        return ERROR_SUCCESS;
    }
    const bool renames = job.Has(FOF_RENAMEONCOLLISION);
    if (IsSame(source, existing) && !(renames && job.IsCopy())) {
        return kShellSameFile;
    }
    struct stat followed {};
    if (!renames && S_ISLNK(source.st_mode) && ::stat(item.source.Path().c_str(), &followed) == 0 &&
        IsSame(followed, existing)) {
        return kShellSameFile;  // the link would lead to itself
    }
    if (renames || S_ISDIR(source.st_mode) == S_ISDIR(existing.st_mode)) {
        return ERROR_SUCCESS;
    }
    return S_ISDIR(source.st_mode) ? kShellFolderOntoFile : kShellFileOntoFolder;
}

class Planner {
public:
    Planner(const SHFILEOPSTRUCTW& operation, const ShellJob& job) : m_operation(operation), m_job(job) {}

    ShellPlan Run() {
        try {
            Find();
            if (m_operation.wFunc == FO_DELETE) {
                for (Group& group : m_groups) {
                    for (ShellSource& source : group.sources) {
                        m_plan.items.push_back({std::move(source), {}, {}, false});
                    }
                }
            } else {
                Pair();
                RequireApart();
            }
        } catch (const Failure& failure) {
            m_plan.items.clear();
            m_plan.missing_folders.clear();
            m_plan.error = failure.error;
            m_plan.error_path = failure.path;
        }
        return std::move(m_plan);
    }

private:
    [[noreturn]] static void Fail(DWORD error, const std::string& path) { throw Failure{error, path}; }

    void Find() {
        const std::vector<std::u16string> sources = Paths(m_operation.pFrom);
        if (sources.empty()) {
            Fail(kShellInvalidPath, {});
        }
        for (const std::u16string& path : sources) {
            Group group;
            if (const DWORD error = FindSource(path, m_job, group)) {
                Fail(error, Shown(path));
            }
            m_groups.push_back(std::move(group));
        }
        if (m_operation.wFunc == FO_DELETE) {
            return;
        }
        std::vector<std::u16string> targets = Paths(m_operation.pTo);
        if (targets.empty()) {
            Fail(kShellInvalidPath, {});
        }
        if (!m_job.Has(FOF_MULTIDESTFILES)) {
            targets.resize(1);
        }
        for (const std::u16string& path : targets) {
            Destination destination;
            if (const DWORD error = FindDestination(path, destination)) {
                Fail(error, Shown(path));
            }
            m_destinations.push_back(std::move(destination));
        }
    }

    // A path as Note takes it: of the file system where it names something there.
    static std::string Shown(const std::u16string& path) {
        Location location;
        return Locate(path.c_str(), location) == 0 ? location.path : std::string();
    }

    void Pair() {
        const bool one_for_all = m_destinations.size() == 1;
        if (m_operation.wFunc == FO_RENAME && (m_groups.size() > 1 || m_groups[0].wildcard)) {
            Fail(kShellManySources, {});
        }
        if (!one_for_all && m_destinations.size() != m_groups.size()) {
            Fail(kShellManyTargets, {});
        }
        const bool many = one_for_all && m_groups.size() > 1;
        for (size_t i = 0; i < m_groups.size(); ++i) {
            const Destination& destination = m_destinations[one_for_all ? 0 : i];
            for (ShellSource& source : m_groups[i].sources) {
                Add(std::move(source), destination, many || m_groups[i].wildcard);
            }
        }
    }

    void Add(ShellSource source, const Destination& destination, bool many) {
        const Location& location = destination.location;
        const bool renames = m_operation.wFunc == FO_RENAME;
        ShellItem item{std::move(source), location.path, {}, false};
        const bool itself = location.path == item.source.Path();
        if (itself && !many && location.spelled != location.path && !m_job.IsCopy()) {
            item.respelled = true;
            item.target_folder = ParentOf(location.spelled);
            item.target_name = NameOf(location.spelled);
        } else if (!renames && (many || destination.folder || location.separator_at_end) &&
                   !(itself && S_ISDIR(item.source.status.st_mode) && !many)) {
            item.target_name = item.source.name;
            if (destination.exists && !destination.folder) {
                Fail(many ? kShellManySources : kShellFolderOntoFile, location.path);
            }
        } else {
            item.target_folder = ParentOf(location.path);
            item.target_name = NameOf(location.path);
        }
        if (!IsName(item.target_name)) {
            Fail(location.root ? kShellRoot : kShellInvalidPath, location.path);
        }
        if (renames && !IsSameFolder(item.target_folder, item.source.folder)) {
            Fail(kShellOtherFolder, item.source.Path());
        }
        DWORD error = Check(item, m_job);
        if (renames && error == 0 && !item.respelled && !m_job.Has(FOF_RENAMEONCOLLISION)) {
            struct stat existing {};
            error = ::lstat(item.TargetPath().c_str(), &existing) == 0 ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS;
        } else if (renames && (error == kShellFolderOntoFile || error == kShellFileOntoFolder)) {
            error = ERROR_ALREADY_EXISTS;
        }
        if (error != 0) {
            Fail(error, item.source.Path());
        }
        NoteMissing(item.target_folder);
        m_plan.items.push_back(std::move(item));
    }

    // Refuses items that would undo one another: a target that is another one's source, and moves to one target.
    void RequireApart() const {
        if (m_job.Has(FOF_RENAMEONCOLLISION)) {
            return;
        }
        std::set<EntryKey> sources;
        std::set<EntryKey> targets;
        for (const ShellItem& item : m_plan.items) {
            sources.insert(KeyOf(item.source.folder, item.source.name));
        }
        for (const ShellItem& item : m_plan.items) {
            const EntryKey target = KeyOf(item.target_folder, item.target_name);
            if (sources.contains(target)) {
                Fail(kShellSameFile, item.source.Path());
            }
            if (!targets.insert(target).second && m_job.IsMove()) {
                Fail(kShellManySources, item.source.Path());
            }
        }
    }

    static bool IsSameFolder(const std::string& a, const std::string& b) {
        struct stat one {};
        struct stat other {};
        return a == b || (::stat(a.c_str(), &one) == 0 && ::stat(b.c_str(), &other) == 0 && IsSame(one, other));
    }

    void NoteMissing(const std::string& folder) {
        struct stat status {};
        auto& missing = m_plan.missing_folders;
        if (::stat(folder.c_str(), &status) != 0 &&
            std::find(missing.begin(), missing.end(), folder) == missing.end()) {
            missing.push_back(folder);
        }
    }

    const SHFILEOPSTRUCTW& m_operation;
    const ShellJob& m_job;
    std::vector<Group> m_groups;
    std::vector<Destination> m_destinations;
    ShellPlan m_plan;
};

}  // namespace

DWORD FindMatches(const std::string& folder, std::u16string_view pattern, bool files_only,
                  std::vector<ShellSource>& sources) {
    kvtio::Descriptor opened;
    std::vector<std::string> names;
    if (const DWORD error = kvtio::OpenFolder(folder, opened)) {
        return error;
    }
    if (const DWORD error = kvtio::ListFolder(opened.Get(), names)) {
        return error;
    }
    const std::u16string upper = UpperName(pattern);
    std::vector<std::pair<std::u16string, ShellSource>> found;
    for (std::string& bytes : names) {
        const std::u16string name = UpperName(NameFromBytes(bytes));
        if (!MatchesPattern(name, upper)) {
            continue;
        }
        ShellSource source{folder, std::move(bytes), {}};
        const DWORD error = kvtio::StatEntry(opened.Get(), source.name, source.status);
        if (error == ERROR_FILE_NOT_FOUND) {
            continue;  // it has vanished
        }
        if (error != 0) {
            return error;
        }
        if (!(files_only && LeadsToFolder(opened.Get(), source))) {
            found.emplace_back(name, std::move(source));
        }
    }
    std::stable_sort(found.begin(), found.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    for (auto& match : found) {
        sources.push_back(std::move(match.second));
    }
    return ERROR_SUCCESS;
}

ShellPlan PlanShellOperation(const SHFILEOPSTRUCTW& operation, const ShellJob& job) {
    return Planner(operation, job).Run();
}

}  // namespace kvtwin
