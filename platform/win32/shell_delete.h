#pragma once

/// @file
/// Deleting what an entry names, a folder with all that is in it.

#include <string>
#include <unordered_map>

#include "folder_cursor.h"

namespace kvtwin {

/// What was copied out of a tree: so much of it may be deleted after a move between file systems. Entries go by their
/// names, since one file may have several of which some were left out.
class CopiedEntries {
public:
    /// @param below Where in the tree, "" or "/a/b".
    void Add(const std::string& below, const struct stat& status) { m_entries[below] = Stamp(status); }
    /// Whether the very entry was copied, and has not been written since.
    bool Has(const std::string& below, const struct stat& status) const {
        const auto found = m_entries.find(below);
        return found != m_entries.end() && found->second.IsOf(status);
    }
    bool IsEmpty() const { return m_entries.empty(); }

private:
    struct Stamp {
        FileIdentity identity;
        off_t size = 0;
        timespec written{};

        Stamp() = default;
        explicit Stamp(const struct stat& status) : identity(status), size(status.st_size), written(status.st_mtim) {}
        bool IsOf(const struct stat& status) const {
            return identity == FileIdentity(status) &&
                   (S_ISDIR(status.st_mode) || (size == status.st_size && written.tv_sec == status.st_mtim.tv_sec &&
                                                written.tv_nsec == status.st_mtim.tv_nsec));
        }
    };
    std::unordered_map<std::string, Stamp> m_entries;
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
