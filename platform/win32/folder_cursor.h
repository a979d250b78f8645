#pragma once

/// @file
/// A way through a tree of folders by descriptors, of any depth.

#include <sys/types.h>

#include <string>
#include <vector>

#include "platform/io/entries.h"

namespace kvtwin {

/// What tells one file from every other while it exists.
struct FileIdentity {
    dev_t device = 0;
    ino_t inode = 0;

    FileIdentity() = default;
    explicit FileIdentity(const struct stat& status) : device(status.st_dev), inode(status.st_ino) {}
    friend bool operator==(const FileIdentity& a, const FileIdentity& b) {
        return a.device == b.device && a.inode == b.inode;
    }
    friend bool operator<(const FileIdentity& a, const FileIdentity& b) {
        return a.inode != b.inode ? a.inode < b.inode : a.device < b.device;
    }
};

/// Stands in one folder of a tree, goes down into a folder of it and up again. However deep it stands, few descriptors
/// are open; a folder that somebody has moved meanwhile ends the way.
class FolderCursor {
public:
    /// Goes into a folder; the first time one of `folder`, later one of the folder that it stands in.
    DWORD Down(int folder, const std::string& name);
    DWORD Down(const std::string& name) { return Down(Folder(), name); }

    /// Goes back. @param left Receives the folder that was left, still open.
    DWORD Up(kvtio::Descriptor& left);

    int Folder() const { return m_levels.back().folder.Get(); }
    const FileIdentity& Identity() const { return m_levels.back().identity; }
    size_t Depth() const { return m_levels.size(); }

private:
    struct Level {
        kvtio::Descriptor folder;
        FileIdentity identity;
    };
    static constexpr size_t kKeptOpen = 32;
    std::vector<Level> m_levels;
};

}  // namespace kvtwin
