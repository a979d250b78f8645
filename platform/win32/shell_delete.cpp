// Deletes trees from the leaves up, by descriptors: a link that takes a folder's place meanwhile is not followed.

#include "shell_delete.h"

#include "shell_copy.h"
#include "status.h"
#include "winapi.h"

namespace kvtwin {

namespace {

bool IsGone(DWORD error) {
    return error == ERROR_FILE_NOT_FOUND;
}

class Deleter {
public:
    explicit Deleter(const CopiedEntries* only) : m_only(only) {}

    Deletion Run(int folder, const std::string& name) {
        m_root = folder;
        m_result.error = Begin(folder, name);
        while (m_result.error == 0 && !m_frames.empty()) {
            m_result.error = Step();
        }
        if (m_result.error != 0) {
            m_result.below = m_below + m_at;
        }
        GiveModesBack();
        return m_result;
    }

private:
    struct Frame {
        std::string name;
        std::vector<std::string> names;
        size_t next = 0;
        mode_t taken = 0;  // the mode that it had, when it was changed
    };

    // Deletes an entry, or goes into it.
    DWORD Begin(int folder, const std::string& name) {
        struct stat status {};
        const DWORD error = kvtio::StatEntry(folder, name, status);
        if (error != 0) {
            return IsGone(error) ? 0 : error;
        }
        if (m_only && !m_only->Has(m_below + m_at, status)) {
            m_result.kept = true;
            return 0;
        }
        return S_ISDIR(status.st_mode) ? Enter(folder, name, status) : DeleteFile(folder, name, status);
    }

    DWORD DeleteFile(int folder, const std::string& name, const struct stat& status) {
        if (const DWORD error = CheckMovable(status)) {
            return error;
        }
        const DWORD error = kvtio::RemoveEntry(folder, name);
        return IsGone(error) ? 0 : error;
    }

    DWORD Enter(int folder, const std::string& name, const struct stat& status) {
        if (kvtio::IsMountPoint(folder, name)) {
            return ERROR_SHARING_VIOLATION;
        }
        if (const DWORD error = m_cursor.Down(folder, name)) {
            return IsGone(error) ? 0 : error;
        }
        Frame frame{name, {}, 0, 0};
        const mode_t mode = status.st_mode & 07777;
        // The read-only attribute of a folder protects nothing in it. Where this is refused, the deleting will be.
        if (IsReadOnly(status) && kvtio::SetModeOf(m_cursor.Folder(), mode | 0300) == 0) {
            frame.taken = mode;
        }
        if (!m_frames.empty()) {
            m_below += '/' + name;
        }
        m_at.clear();
        const DWORD error = kvtio::ListFolder(m_cursor.Folder(), frame.names);
        m_frames.push_back(std::move(frame));
        return error;
    }

    DWORD Step() {
        Frame& frame = m_frames.back();
        if (frame.next < frame.names.size()) {
            const std::string name = std::move(frame.names[frame.next++]);
            m_at = '/' + name;
            return Begin(m_cursor.Folder(), name);
        }
        return Leave();
    }

    DWORD Leave() {
        const std::string name = std::move(m_frames.back().name);
        const mode_t taken = m_frames.back().taken;
        m_frames.pop_back();
        kvtio::Descriptor left;
        if (const DWORD error = m_cursor.Up(left)) {
            return error;
        }
        if (!m_frames.empty()) {
            m_below.resize(m_below.size() - name.size() - 1);
            m_at = '/' + name;
        }
        DWORD error = kvtio::RemoveFolder(m_frames.empty() ? m_root : m_cursor.Folder(), name);
        if (error != 0 && taken != 0) {
            kvtio::SetModeOf(left.Get(), taken);
        }
        if (error == ERROR_DIR_NOT_EMPTY && m_only) {
            m_result.kept = true;
            error = 0;
        }
        return IsGone(error) ? 0 : error;
    }

    // The folders that an error has left.
    void GiveModesBack() {
        for (; !m_frames.empty(); m_frames.pop_back()) {
            kvtio::Descriptor left;
            if (m_cursor.Up(left) != 0) {
                return;
            }
            if (m_frames.back().taken != 0) {
                kvtio::SetModeOf(left.Get(), m_frames.back().taken);
            }
        }
    }

    const CopiedEntries* m_only;
    int m_root = -1;
    FolderCursor m_cursor;
    std::vector<Frame> m_frames;
    std::string m_below;  // the folder that it stands in, from the entry on
    std::string m_at;     // what it works on there
    Deletion m_result;
};

}  // namespace

Deletion DeleteTree(int folder, const std::string& name, const CopiedEntries* only) {
    return Deleter(only).Run(folder, name);
}

}  // namespace kvtwin
