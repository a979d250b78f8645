// Down and up through folders. The nearest folders above stay open; a farther one is found again through "..", and
// taken only when it is still the same.

#include "folder_cursor.h"

#include <fcntl.h>

#include "wintypes.h"

namespace kvtwin {

DWORD FolderCursor::Down(int folder, const std::string& name) {
    Level level;
    struct stat status {};
    if (const DWORD error = kvtio::OpenEntry(folder, name, O_RDONLY | O_DIRECTORY, 0, level.folder)) {
        return error;
    }
    if (const DWORD error = kvtio::StatOf(level.folder.Get(), status)) {
        return error;
    }
    level.identity = FileIdentity(status);
    m_levels.push_back(std::move(level));
    if (m_levels.size() > kKeptOpen) {
        m_levels[m_levels.size() - kKeptOpen - 1].folder = kvtio::Descriptor();
    }
    return ERROR_SUCCESS;
}

DWORD FolderCursor::Up(kvtio::Descriptor& left) {
    left = std::move(m_levels.back().folder);
    m_levels.pop_back();
    if (m_levels.empty() || Folder() >= 0) {
        return ERROR_SUCCESS;
    }
    kvtio::Descriptor above;
    struct stat status {};
    if (const DWORD error = kvtio::OpenEntry(left.Get(), "..", O_RDONLY | O_DIRECTORY, 0, above)) {
        return error;
    }
    if (const DWORD error = kvtio::StatOf(above.Get(), status)) {
        return error;
    }
    if (!(FileIdentity(status) == Identity())) {
        return ERROR_PATH_NOT_FOUND;
    }
    m_levels.back().folder = std::move(above);
    return ERROR_SUCCESS;
}

}  // namespace kvtwin
