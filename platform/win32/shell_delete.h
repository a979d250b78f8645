#pragma once

/// @file
/// Deleting what an entry names, a folder with all that is in it.

#include <map>
#include <string>

#include "folder_cursor.h"

namespace kvtwin {

/// What was copied out of a tree: so much of it may be deleted after a move between file systems.
class CopiedEntries {
public:
    void Add(const struct stat& status) { m_entries[FileIdentity(status)] = Stamp(status); }
    /// Whether the very entry was copied, and has not been written since.
    bool Has(const struct stat& status) const {
        const auto found = m_entries.find(FileIdentity(status));
        return found != m_entries.end() && (S_ISDIR(status.st_mode) || found->second == Stamp(status));
    }
    bool IsEmpty() const { return m_entries.empty(); }

private:
    struct Stamp {
        off_t size = 0;
        timespec written{};

        Stamp() = default;
        explicit Stamp(const struct stat& status) : size(status.st_size), written(status.st_mtim) {}
        friend bool operator==(const Stamp& a, const Stamp& b) {
            return a.size == b.size && a.written.tv_sec == b.written.tv_sec && a.written.tv_nsec == b.written.tv_nsec;
        }
    };
    std::map<FileIdentity, Stamp> m_entries;
};

struct Deletion {
    DWORD error = 0;    ///< what ended it
    std::string below;  ///< where in the tree, "" or "/a/b"
    bool kept = false;  ///< something was not among what may be deleted
};

/// Deletes an entry for good. What vanishes meanwhile is taken as deleted; links are deleted themselves; folders where
/// another file system is mounted are refused.
/// @param only Null, or what may be deleted; the rest, and the folders above it, stay.
Deletion DeleteTree(int folder, const std::string& name, const CopiedEntries* only = nullptr);

}  // namespace kvtwin
