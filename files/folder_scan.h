#pragma once

/// @file
/// The walk over a folder tree behind CFileInfoArray::AddDir.

#include <atomic>
#include <functional>
#include <optional>
#include <set>
#include <vector>

#include "files/file_times.h"
#include "kvtfile/FileInfo.h"
#include "platform/io/folders.h"

namespace kvtfile::detail {

/// What is wanted of a tree.
struct ScanWish {
    CString extension;
    bool recurse = false;
    bool includeFolders = false;
    const volatile int* abort = nullptr;
    volatile DWORD* found = nullptr;
};

/// One walk. The folders on the way down stand in a list of its own, so that no depth exhausts the stack, and at most
/// one listing is open at a time.
class FolderScan {
public:
    /// @param add Takes each record as it is found.
    FolderScan(const ScanWish& wish, std::function<void(CFileInfo&)> add);

    /// @param folder Ended by a separator.
    void Run(const CString& folder);

    /// Records handed to `add`.
    int Found() const { return m_found; }

private:
    /// A folder on the way down: its sub-folders, and how many of them are done.
    struct Level {
        CString path;
        std::vector<CFileInfo> folders;
        size_t next = 0;
        std::optional<kvtio::Identity> identity;  // known once a link was met below
    };

    void Enter(const CString& folder);
    void TakeFiles(const CString& folder);
    bool MayEnter(const CFileInfo& sub);
    bool LeadsUp(const kvtio::Identity& target);
    bool Aborted();
    void Give(CFileInfo& record);
    template <typename Take>
    void ForEachEntry(const CString& pattern, FINDEX_SEARCH_OPS search, Take take);

    const ScanWish& m_wish;
    std::function<void(CFileInfo&)> m_add;
    LocalTimes m_times;
    const CFileInfo m_blank;
    std::vector<Level> m_levels;
    std::set<kvtio::Identity> m_linked;  // folders that were entered through a link
    int m_found = 0;
    bool m_aborted = false;
};

}  // namespace kvtfile::detail
