// Folder listings: FindFirstFileW and its companions.
//
// A listing takes the names of the folder once, sorts and keeps those that match; what each entry is, is read when it
// is handed out, relative to the open folder, so entries that vanish meanwhile are passed over. A million entries are
// no rarity: an entry costs one look at its file, and no more than its names in memory.

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <new>
#include <vector>

#include "errors.h"
#include "handles.h"
#include "names.h"
#include "paths.h"
#include "status.h"
#include "winapi.h"

using kvtwin::Fail;

namespace {

// An entry's names stand in its listing's stores.
struct Entry {
    uint64_t key;   // the first four units in upper case, which decide most comparisons; 0 for the dots
    size_t name;    // where its UTF-16 begins, as spelled and in upper case
    size_t length;  // in units
    size_t bytes;   // where its bytes begin, ended by a NUL
};

struct Listing : kvtwin::Object {
    ~Listing() override {
        if (folder >= 0) {
            ::close(folder);
        }
    }

    std::u16string_view Name(const Entry& entry) const { return {names.data() + entry.name, entry.length}; }
    std::u16string_view Upper(const Entry& entry) const { return {uppers.data() + entry.name, entry.length}; }

    int folder = AT_FDCWD;
    bool folders_only = false;
    bool marked = true;  // attributes may be kept beside the entries
    std::string path;    // what stands before an entry's bytes in its path
    std::u16string names;
    std::u16string uppers;
    std::string bytes;
    std::vector<Entry> entries;
    size_t next = 0;
    bool closed = false;  // the folder tells names, and nothing of what they are
};

HANDLE FailFind(DWORD error) {
    Fail(error);
    return INVALID_HANDLE_VALUE;
}

bool IsDots(std::u16string_view name) {
    return name == u"." || name == u"..";
}

// ---- Handing out ------------------------------------------------------------------------------------------------

DWORD AttributesOf(const Listing& listing, const char* bytes, const struct stat& status, bool link) {
    return listing.marked ? kvtwin::AttributesOf(listing.path + bytes, status, link)
                          : kvtwin::KindOf(status, link) | kvtwin::HiddenByName(bytes);
}

bool ReadEntry(Listing& listing, const Entry& entry, WIN32_FIND_DATAW& data) {
    const char* const bytes = listing.bytes.data() + entry.bytes;
    struct stat status {};
    if (::fstatat(listing.folder, bytes, &status, AT_SYMLINK_NOFOLLOW) != 0) {
        listing.closed = listing.closed || errno == EACCES;
        return false;
    }
    const bool link = S_ISLNK(status.st_mode);
    if (link && ::fstatat(listing.folder, bytes, &status, 0) != 0) {
        return false;
    }
    if (listing.folders_only && !S_ISDIR(status.st_mode)) {
        return false;
    }
    WIN32_FILE_ATTRIBUTE_DATA found{};
    kvtwin::FillStatus(status, AttributesOf(listing, bytes, status, link), found);
    data = {};
    data.dwFileAttributes = found.dwFileAttributes;
    data.ftCreationTime = found.ftCreationTime;
    data.ftLastAccessTime = found.ftLastAccessTime;
    data.ftLastWriteTime = found.ftLastWriteTime;
    data.nFileSizeHigh = found.nFileSizeHigh;
    data.nFileSizeLow = found.nFileSizeLow;
    std::copy_n(listing.names.begin() + static_cast<ptrdiff_t>(entry.name),
                std::min<size_t>(entry.length, MAX_PATH - 1), data.cFileName);
    return true;
}

// Hands out the next entry that still exists; false when there is none.
bool TakeNext(Listing& listing, WIN32_FIND_DATAW& data) {
    while (listing.next < listing.entries.size()) {
        if (ReadEntry(listing, listing.entries[listing.next++], data)) {
            return true;
        }
    }
    return false;
}

// ---- Taking the names -------------------------------------------------------------------------------------------

// A pattern, prepared for many names.
class Pattern {
public:
    explicit Pattern(std::u16string_view pattern) : m_upper(kvtwin::UpperName(pattern)) {
        const bool one_star = m_upper.starts_with(u'*') && m_upper.find_first_of(u"*?", 1) == m_upper.npos;
        m_all = m_upper == u"*" || m_upper == u"*.*";
        m_ending = one_star && !m_upper.ends_with(u'.');
    }

    bool Matches(std::u16string_view upper_name) const {
        return m_all || (m_ending ? upper_name.ends_with(std::u16string_view(m_upper).substr(1))
                                  : kvtwin::MatchesPattern(upper_name, m_upper));
    }

private:
    std::u16string m_upper;
    bool m_all;     // every name
    bool m_ending;  // every name that ends in what follows the star
};

uint64_t KeyOf(std::u16string_view upper) {
    uint64_t key = 0;
    for (size_t i = 0; i < 4; ++i) {
        key = key << 16 | (i < upper.size() ? upper[i] : 0u);
    }
    return key;
}

void AddEntry(Listing& listing, const char* bytes, std::u16string_view name, std::u16string_view upper) {
    listing.entries.push_back(
        {IsDots(name) ? 0 : KeyOf(upper), listing.names.size(), name.size(), listing.bytes.size()});
    listing.names += name;
    listing.uppers += upper;
    listing.bytes.append(bytes).push_back('\0');
}

void Sort(Listing& listing) {
    std::sort(listing.entries.begin(), listing.entries.end(), [&listing](const Entry& a, const Entry& b) {
        if (a.key != b.key) {
            return a.key < b.key;
        }
        const int order = listing.Upper(a).compare(listing.Upper(b));
        return order != 0 ? order < 0 : listing.Name(a) < listing.Name(b);
    });
}

// Whether an entry may be a folder, as far as the folder itself tells.
bool MayBeFolder(const dirent& entry) {
    return entry.d_type == DT_DIR || entry.d_type == DT_LNK || entry.d_type == DT_UNKNOWN;
}

struct DirectoryCloser {
    void operator()(DIR* folder) const { ::closedir(folder); }
};

DWORD ListMatches(const kvtwin::Location& folder, std::u16string_view text, Listing& listing) {
    const std::unique_ptr<DIR, DirectoryCloser> directory(::opendir(folder.path.c_str()));
    if (!directory) {
        const int error = errno;
        return error == ENOTDIR  ? ERROR_DIRECTORY
               : error == ENOENT ? ERROR_PATH_NOT_FOUND
                                 : kvtwin::ErrorFromErrno(error);
    }
    listing.folder = ::fcntl(::dirfd(directory.get()), F_DUPFD_CLOEXEC, 0);
    if (listing.folder < 0) {
        return kvtwin::ErrorFromErrno(errno);
    }
    listing.marked = kvtwin::IsMarked(listing.folder);
    listing.path = folder.path + (folder.path.ends_with('/') ? "" : "/");
    const Pattern pattern(text);
    while (const dirent* found = ::readdir(directory.get())) {
        if (listing.folders_only && !MayBeFolder(*found)) {
            continue;
        }
        const std::u16string name = kvtwin::NameFromBytes(found->d_name);
        const std::u16string upper = kvtwin::UpperName(name);
        if (!(folder.root && IsDots(name)) && pattern.Matches(upper)) {
            AddEntry(listing, found->d_name, name, upper);
        }
    }
    Sort(listing);
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
    const std::u16string name =
        kvtwin::NameFromBytes(std::string_view(location.path).substr(location.path.rfind('/') + 1));
    AddEntry(listing, location.path.c_str(), name, kvtwin::UpperName(name));
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
    return FindFirstFileExW(pattern, FindExInfoStandard, data, FindExSearchNameMatch, nullptr, 0);
}

HANDLE FindFirstFileExW(LPCWSTR pattern, FINDEX_INFO_LEVELS level, LPVOID data, FINDEX_SEARCH_OPS search, LPVOID filter,
                        DWORD flags) {
    const bool known_level = level == FindExInfoStandard || level == FindExInfoBasic;
    const bool known_search = search == FindExSearchNameMatch || search == FindExSearchLimitToDirectories;
    if (!data || !known_level || !known_search || filter || (flags & ~FIND_FIRST_EX_LARGE_FETCH)) {
        return FailFind(ERROR_INVALID_PARAMETER);
    }
    try {
        auto listing = std::make_shared<Listing>();
        listing->folders_only = search == FindExSearchLimitToDirectories;
        if (const DWORD error = List(pattern, *listing)) {
            return FailFind(error);
        }
        if (!TakeNext(*listing, *static_cast<LPWIN32_FIND_DATAW>(data))) {
            return FailFind(listing->closed ? ERROR_ACCESS_DENIED : ERROR_FILE_NOT_FOUND);
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
