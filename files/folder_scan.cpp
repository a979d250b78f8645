// The walk over a folder tree: of each folder first the sub-folders, each followed by its content, then the files.

#include "files/folder_scan.h"

#include <algorithm>
#include <utility>

#include "files/file_info_fill.h"

namespace kvtfile::detail {

namespace {

class FindCloser {
public:
    explicit FindCloser(HANDLE find) : m_find(find) {}
    ~FindCloser() { ::FindClose(m_find); }
    FindCloser(const FindCloser&) = delete;
    FindCloser& operator=(const FindCloser&) = delete;

private:
    HANDLE m_find;
};

bool IsDots(LPCWSTR name) {
    return name[0] == _T('.') && (name[1] == 0 || (name[1] == _T('.') && name[2] == 0));
}

}  // namespace

FolderScan::FolderScan(const ScanWish& wish, std::function<void(CFileInfo&)> add)
    : m_wish(wish), m_add(std::move(add)) {}

void FolderScan::Run(const CString& folder) {
    Enter(folder);
    while (!m_levels.empty()) {
        Level& level = m_levels.back();
        if (level.next == level.folders.size() || Aborted()) {
            const CString path = level.path;
            m_levels.pop_back();
            if (!Aborted()) {
                TakeFiles(path);
            }
            continue;
        }
        CFileInfo& sub = level.folders[level.next++];
        const CString path = sub.m_strFilePath + _T("\\");
        const bool enter = m_wish.recurse && MayEnter(sub);
        if (m_wish.includeFolders) {
            Give(sub);
        }
        if (enter) {
            Enter(path);
        }
    }
}

// Sub-folders are taken down before any of them is walked: one listing is open at a time.
void FolderScan::Enter(const CString& folder) {
    Level level;
    level.path = folder;
    if (m_wish.recurse || m_wish.includeFolders) {
        ForEachEntry(folder + _T("*"), FindExSearchLimitToDirectories, [&](const WIN32_FIND_DATAW& found) {
            if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) && !IsDots(found.cFileName)) {
                level.folders.push_back(m_blank);
                Fill(level.folders.back(), found, folder, m_times);
            }
        });
    }
    m_levels.push_back(std::move(level));
}

void FolderScan::TakeFiles(const CString& folder) {
    CFileInfo record;
    ForEachEntry(folder + _T("*.") + m_wish.extension, FindExSearchNameMatch, [&](const WIN32_FIND_DATAW& found) {
        if (!(found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)) {
            record = m_blank;
            Fill(record, found, folder, m_times);
            Give(record);
        }
    });
}

template <typename Take>
void FolderScan::ForEachEntry(const CString& pattern, FINDEX_SEARCH_OPS search, Take take) {
    WIN32_FIND_DATAW found;
    const HANDLE find = ::FindFirstFileExW(kvtio::LongForm(pattern).c_str(), FindExInfoBasic, &found, search, nullptr,
                                           FIND_FIRST_EX_LARGE_FETCH);
    if (find == INVALID_HANDLE_VALUE) {
        return;
    }
    const FindCloser closer(find);
    do {
        take(found);
    } while (!Aborted() && ::FindNextFileW(find, &found));
}

// A folder is entered through one link only, and through none that leads up: folders that are linked with each other
// would otherwise be walked along every way there is from one to the next. Without links nobody asks.
bool FolderScan::MayEnter(const CFileInfo& sub) {
    kvtio::Identity target;
    return !(sub.m_dwAttributes & FILE_ATTRIBUTE_REPARSE_POINT) ||
           !kvtio::IdentityOf(sub.m_strFilePath + _T("\\"), target) ||
           (!LeadsUp(target) && m_linked.insert(target).second);
}

// Whether a link's target is a folder that the walk stands in.
bool FolderScan::LeadsUp(const kvtio::Identity& target) {
    return std::any_of(m_levels.begin(), m_levels.end(), [&target](Level& level) {
        kvtio::Identity own;
        if (!level.identity && kvtio::IdentityOf(level.path, own)) {
            level.identity = own;
        }
        return level.identity == target;
    });
}

bool FolderScan::Aborted() {
    m_aborted = m_aborted || (m_wish.abort && *m_wish.abort != 0);
    return m_aborted;
}

void FolderScan::Give(CFileInfo& record) {
    m_add(record);
    ++m_found;
    if (m_wish.found) {
        std::atomic_ref<DWORD>(const_cast<DWORD&>(*m_wish.found)).fetch_add(1);
    }
}

}  // namespace kvtfile::detail
