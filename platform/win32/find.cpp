// Folder listings: FindFirstFileW and its companions.
//
// A listing takes the names of the folder once, sorts and keeps those that match; what each entry is, is read when it
// is handed out, so entries that vanish meanwhile are passed over.

#include <dirent.h>
#include <errno.h>
#include <sys/stat.h>

#include <algorithm>
#include <deque>
#include <memory>
#include <new>

#include "errors.h"
#include "handles.h"
#include "names.h"
#include "paths.h"
#include "status.h"
#include "winapi.h"

using kvtwin::Fail;

namespace {

struct Entry {
    std::u16string upper;
    std::u16string name;
    std::string path;
};

struct Listing : kvtwin::Object {
    std::deque<Entry> entries;
};

HANDLE FailFind(DWORD error) {
    Fail(error);
    return INVALID_HANDLE_VALUE;
}

bool IsDots(const std::u16string& name) {
    return name == u"." || name == u"..";
}

bool InOrder(const Entry& a, const Entry& b) {
    const bool a_dots = IsDots(a.name);
    const bool b_dots = IsDots(b.name);
    if (a_dots != b_dots) {
        return a_dots;
    }
    return a.upper != b.upper ? a.upper < b.upper : a.name < b.name;
}

// Hands out the next entry that still exists; false when there is none.
bool TakeNext(Listing& listing, WIN32_FIND_DATAW& data) {
    while (!listing.entries.empty()) {
        const Entry entry = std::move(listing.entries.front());
        listing.entries.pop_front();
        WIN32_FILE_ATTRIBUTE_DATA status{};
        if (kvtwin::ReadStatus(entry.path, status) != ERROR_SUCCESS) {
            continue;
        }
        data = {};
        data.dwFileAttributes = status.dwFileAttributes;
        data.ftCreationTime = status.ftCreationTime;
        data.ftLastAccessTime = status.ftLastAccessTime;
        data.ftLastWriteTime = status.ftLastWriteTime;
        data.nFileSizeHigh = status.nFileSizeHigh;
        data.nFileSizeLow = status.nFileSizeLow;
        const size_t length = std::min<size_t>(entry.name.size(), MAX_PATH - 1);
        std::copy_n(entry.name.begin(), length, data.cFileName);
        return true;
    }
    return false;
}

DWORD ListMatches(const kvtwin::Location& folder, std::u16string_view pattern, Listing& listing) {
    DIR* directory = ::opendir(folder.path.c_str());
    if (!directory) {
        const int error = errno;
        return error == ENOTDIR  ? ERROR_DIRECTORY
               : error == ENOENT ? ERROR_PATH_NOT_FOUND
                                 : kvtwin::ErrorFromErrno(error);
    }
    const std::u16string upper_pattern = kvtwin::UpperName(pattern);
    while (const dirent* found = ::readdir(directory)) {
        Entry entry;
        entry.name = kvtwin::NameFromBytes(found->d_name);
        entry.upper = kvtwin::UpperName(entry.name);
        if ((folder.root && IsDots(entry.name)) || !kvtwin::MatchesPattern(entry.upper, upper_pattern)) {
            continue;
        }
        entry.path = folder.path + (folder.path.ends_with('/') ? "" : "/") + found->d_name;
        listing.entries.push_back(std::move(entry));
    }
    ::closedir(directory);
    std::sort(listing.entries.begin(), listing.entries.end(), InOrder);
    return ERROR_SUCCESS;
}

DWORD ListOne(LPCWSTR path, Listing& listing) {
    kvtwin::Location location;
    if (const DWORD error = kvtwin::Locate(path, location)) {
        return error;
    }
    if (location.separator_at_end || location.root) {
        return ERROR_FILE_NOT_FOUND;
    }
    WIN32_FILE_ATTRIBUTE_DATA status{};
    if (const DWORD error = kvtwin::ReadStatus(location.path, status)) {
        return error;
    }
    Entry entry;
    entry.path = location.path;
    entry.name = kvtwin::NameFromBytes(std::string_view(location.path).substr(location.path.rfind('/') + 1));
    listing.entries.push_back(std::move(entry));
    return ERROR_SUCCESS;
}

DWORD List(LPCWSTR pattern, Listing& listing) {
    const kvtwin::SplitPath split = kvtwin::SplitAtName(pattern ? pattern : u"");
    if (split.name.find_first_of(u"*?") == split.name.npos) {
        return ListOne(pattern, listing);
    }
    kvtwin::Location folder;
    const std::u16string folder_path = split.folder.empty() ? u"." : std::u16string(split.folder);
    if (const DWORD error = kvtwin::Locate(folder_path.c_str(), folder)) {
        return error;
    }
    return ListMatches(folder, split.name, listing);
}

}  // namespace

HANDLE FindFirstFileW(LPCWSTR pattern, LPWIN32_FIND_DATAW data) {
    if (!data) {
        return FailFind(ERROR_INVALID_PARAMETER);
    }
    try {
        auto listing = std::make_shared<Listing>();
        if (const DWORD error = List(pattern, *listing)) {
            return FailFind(error);
        }
        if (!TakeNext(*listing, *data)) {
            return FailFind(ERROR_FILE_NOT_FOUND);
        }
        const HANDLE handle = kvtwin::AddHandle(std::move(listing));
        return handle ? handle : FailFind(ERROR_NOT_ENOUGH_MEMORY);
    } catch (const std::bad_alloc&) {
        return FailFind(ERROR_NOT_ENOUGH_MEMORY);
    }
}

BOOL FindNextFileW(HANDLE find, LPWIN32_FIND_DATAW data) {
    const auto listing = std::dynamic_pointer_cast<Listing>(kvtwin::FindHandle(find));
    if (!listing) {
        return Fail(ERROR_INVALID_HANDLE);
    }
    return data && TakeNext(*listing, *data) ? TRUE : Fail(ERROR_NO_MORE_FILES);
}

BOOL FindClose(HANDLE find) {
    if (!std::dynamic_pointer_cast<Listing>(kvtwin::FindHandle(find))) {
        return Fail(ERROR_INVALID_HANDLE);
    }
    kvtwin::RemoveHandle(find);
    return TRUE;
}
