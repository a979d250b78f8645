// Entries off Windows: looked up and matched as a shell operation does it.

#include <sys/stat.h>

#include <cerrno>

#include "entries.h"
#include "platform/win32/names.h"
#include "platform/win32/paths.h"
#include "platform/win32/shell_plan.h"

namespace kvtshell {

DWORD FindEntry(LPCWSTR path) {
    kvtwin::Location location;
    if (const DWORD error = kvtwin::Locate(path, location)) {
        return error;
    }
    struct stat status {};
    return ::lstat(location.path.c_str(), &status) == 0 ? ERROR_SUCCESS : kvtwin::PathError(errno, location.path);
}

DWORD MatchingEntries(LPCWSTR folder, LPCWSTR pattern, bool files_only, std::vector<EntryName>& names) {
    names.clear();
    kvtwin::Location location;
    if (const DWORD error = kvtwin::Locate(folder && *folder ? folder : u".", location)) {
        return error;
    }
    std::vector<kvtwin::ShellSource> sources;
    if (const DWORD error = kvtwin::FindMatches(location.path, pattern, files_only, sources)) {
        return error;
    }
    for (const kvtwin::ShellSource& source : sources) {
        names.push_back(kvtwin::NameFromBytes(source.name));
    }
    return ERROR_SUCCESS;
}

}  // namespace kvtshell
