// Copies of files and links. A copy that is not whole never stands under the name that it is meant for.

#include "shell_copy.h"

#include <algorithm>
#include <limits>
#include <vector>

#include "handles.h"
#include "status.h"
#include "winapi.h"

namespace kvtwin {

namespace {

constexpr size_t kPart = size_t{1} << 18;
constexpr const char* kAccessList = "system.posix_acl_access";

// The system's answers to what a file system has no place for.
bool IsUnsupported(DWORD error) {
    return error == ERROR_NOT_SUPPORTED || error == ERROR_ACCESS_DENIED || error == ERROR_INVALID_PARAMETER;
}

bool IsSparse(const struct stat& status) {
    constexpr off_t kBlock = 512;
    return status.st_blocks < status.st_size / kBlock;
}

bool IsUnchanged(const struct stat& a, const struct stat& b) {
    return a.st_size == b.st_size && a.st_mtim.tv_sec == b.st_mtim.tv_sec && a.st_mtim.tv_nsec == b.st_mtim.tv_nsec;
}

}  // namespace

DWORD EntryCopier::Copy(const EntryPlace& from, const struct stat& status, int to, bool durable, std::string& temporary,
                        struct stat& seen) {
    temporary = kvtio::TemporaryName();
    seen = status;
    DWORD error = ERROR_NOT_SUPPORTED;  // pipes, devices and sockets are nothing that can be copied
    if (S_ISREG(status.st_mode)) {
        error = CopyFile(from, status, to, durable, temporary, seen);
    } else if (S_ISLNK(status.st_mode)) {
        error = CopyLink(from, status, to, temporary);
    }
    if (error != 0) {
        temporary.clear();
    }
    return error;
}

DWORD EntryCopier::CopyLink(const EntryPlace& from, const struct stat& status, int to, const std::string& temporary) {
    std::string text;
    if (const DWORD error = kvtio::ReadLink(from.folder, from.name, text)) {
        return error;
    }
    if (const DWORD error = kvtio::MakeLink(to, temporary, text)) {
        return error;
    }
    if (m_job.IsMove()) {
        kvtio::SetOwnerOfEntry(to, temporary, status.st_uid, status.st_gid);
    }
    const DWORD error = kvtio::SetTimesOfEntry(to, temporary, status);
    if (error != 0 && !IsUnsupported(error)) {
        kvtio::RemoveEntry(to, temporary);
        return error;
    }
    return ERROR_SUCCESS;
}

DWORD EntryCopier::CopyFile(const EntryPlace& from, const struct stat& status, int to, bool durable,
                            const std::string& temporary, struct stat& seen) {
    kvtio::Descriptor source;
    kvtio::Descriptor target;
    // O_NONBLOCK: a pipe that took the file's place meanwhile is not waited for.
    if (const DWORD error = kvtio::OpenEntry(from.folder, from.name, O_RDONLY | O_NONBLOCK | O_NOCTTY, 0, source)) {
        return error;
    }
    if (const DWORD error = kvtio::StatOf(source.Get(), seen)) {
        return error;
    }
    if (!S_ISREG(seen.st_mode) || seen.st_ino != status.st_ino || seen.st_dev != status.st_dev) {
        return ERROR_FILE_NOT_FOUND;  // exchanged between look and open
    }
    if (const DWORD error = kvtio::OpenEntry(to, temporary, O_WRONLY | O_CREAT | O_EXCL, 0600, target)) {
        return error;
    }
    DWORD error = CopyContent(source.Get(), target.Get(), seen);
    if (error == 0) {
        error = GiveNature(source.Get(), target.Get(), seen, from.path);
    }
    struct stat now {};
    if (error == 0 && m_job.IsMove() && (error = kvtio::StatOf(source.Get(), now)) == 0 && !IsUnchanged(seen, now)) {
        error = ERROR_SHARING_VIOLATION;  // somebody writes to it: a move would lose that
    }
    if (error == 0 && durable) {
        error = kvtio::SyncOf(target.Get());
    }
    const DWORD closed = target.Close();
    error = error ? error : closed;
    if (error != 0) {
        kvtio::RemoveEntry(to, temporary);
    }
    return error;
}

// Copies what can be read, up to `count` bytes.
DWORD EntryCopier::CopyUntil(int from, int to, off_t count, off_t& copied) {
    for (copied = 0; copied < count;) {
        const size_t part = static_cast<size_t>(std::min<off_t>(count - copied, kPart));
        size_t got = 0;
        if (const DWORD error = kvtio::ReadFrom(from, m_buffer.get(), part, got)) {
            return error;
        }
        if (got == 0) {
            break;
        }
        if (const DWORD error = kvtio::WriteTo(to, m_buffer.get(), got)) {
            return error;
        }
        copied += static_cast<off_t>(got);
    }
    return ERROR_SUCCESS;
}

DWORD EntryCopier::CopyContent(int from, int to, const struct stat& status) {
    if (!m_buffer) {
        m_buffer = std::make_unique_for_overwrite<char[]>(kPart);
    }
    off_t copied = 0;
    off_t data = 0;
    if (!IsSparse(status) || kvtio::SeekIn(from, 0, SEEK_DATA, data) == ERROR_INVALID_PARAMETER) {
        return CopyUntil(from, to, std::numeric_limits<off_t>::max(), copied);
    }
    // Only what is not a hole. ERROR_NOT_READY: there is no more.
    DWORD error = 0;
    off_t end = 0;
    off_t ignored = 0;
    while ((error = kvtio::SeekIn(from, end, SEEK_DATA, data)) == 0) {
        if ((error = kvtio::SeekIn(from, data, SEEK_HOLE, end)) ||
            (error = kvtio::SeekIn(from, data, SEEK_SET, ignored)) ||
            (error = kvtio::SeekIn(to, data, SEEK_SET, ignored)) || (error = CopyUntil(from, to, end - data, copied))) {
            return error;
        }
        if (copied < end - data) {
            break;  // it was cut meanwhile
        }
    }
    if (error != 0 && error != ERROR_NOT_READY) {
        return error;
    }
    struct stat now {};
    error = kvtio::StatOf(from, now);
    return error ? error : kvtio::SetSizeOf(to, std::max(now.st_size, data + copied));
}

// Copies what programs keep beside the content, but for the access list, which comes after the permissions. What the
// system keeps there for itself goes along with a move only.
DWORD EntryCopier::CopyAttributes(int from, int to, const std::string& path, std::string& access_list) {
    std::vector<std::string> names;
    if (const DWORD error = kvtio::ListAttributes(from, names)) {
        return error;
    }
    bool lost = false;
    for (const std::string& name : names) {
        const bool own = name.starts_with("user.");
        if (!own && !m_job.IsMove() && name != kAccessList) {
            continue;
        }
        std::string value;
        DWORD error = kvtio::ReadAttribute(from, name, value);
        if (error == 0 && name == kAccessList) {
            access_list = value;
            continue;
        }
        if (error == 0) {
            error = kvtio::WriteAttribute(to, name, value);
        }
        if (error != 0 && own && !IsUnsupported(error) && error != ERROR_DISK_FULL) {
            return error;
        }
        lost = lost || (error != 0 && own);
    }
    const bool goes_on = !lost || m_job.Confirm(WithPath(u"Something that is kept beside the content of\n", path,
                                                         u"\ncannot be kept at its new place. Go on without it?"),
                                                true);
    return goes_on ? ERROR_SUCCESS : ERROR_CANCELLED;
}

DWORD CheckMovable(const struct stat& status) {
    return S_ISREG(status.st_mode) ? CheckDeletable(status.st_dev, status.st_ino) : ERROR_SUCCESS;
}

DWORD RenamePlace(const EntryPlace& from, const struct stat& status, const EntryPlace& to, bool replace) {
    const auto rename = [&] { return kvtio::RenameEntry(from.folder, from.name, to.folder, to.name, replace); };
    const DWORD error = rename();
    if (error != ERROR_ACCESS_DENIED || !S_ISDIR(status.st_mode) || !IsReadOnly(status)) {
        return error;
    }
    kvtio::Descriptor folder;
    const mode_t mode = status.st_mode & 07777;
    if (kvtio::OpenEntry(from.folder, from.name, O_RDONLY | O_DIRECTORY, 0, folder) != 0 ||
        kvtio::SetModeOf(folder.Get(), mode | 0200) != 0) {
        return error;
    }
    const DWORD second = rename();
    kvtio::SetModeOf(folder.Get(), mode);
    return second;
}

// Another group gets no more than everybody has.
constexpr mode_t WithoutGroup(mode_t mode) {
    return mode & (~mode_t{070} | (mode & 07) << 3);
}

DWORD EntryCopier::GiveNature(int from, int to, const struct stat& status, const std::string& path) {
    std::string access_list;
    if (const DWORD error = CopyAttributes(from, to, path, access_list)) {
        return error;
    }
    return GiveRights(to, status, access_list);
}

DWORD EntryCopier::GiveRights(int to, const struct stat& status, const std::string& access_list) {
    struct stat made {};
    if (const DWORD error = kvtio::StatOf(to, made)) {
        return error;
    }
    mode_t mode = status.st_mode & 0777;
    if (m_job.IsMove()) {
        const bool user =
            made.st_uid == status.st_uid || kvtio::SetOwnerOf(to, status.st_uid, static_cast<gid_t>(-1)) == 0;
        const bool group =
            made.st_gid == status.st_gid || kvtio::SetOwnerOf(to, static_cast<uid_t>(-1), status.st_gid) == 0;
        if (user && group) {
            mode = status.st_mode & 07777;
        }
        if (!group) {
            mode = WithoutGroup(mode);
        }
    } else if (S_ISDIR(status.st_mode)) {
        mode |= made.st_mode & S_ISGID;  // from the folder above: what is made in it belongs to the same group
    }
    const bool lists = !access_list.empty() && !m_job.Has(FOF_NOCOPYSECURITYATTRIBS);
    if (lists) {
        mode &= ~mode_t{070};
    } else if (!access_list.empty()) {
        mode = WithoutGroup(mode);  // its bits were the most that the list gives, not the group's
    }
    DWORD error = kvtio::SetModeOf(to, mode);
    if (error == 0 && lists) {
        error = kvtio::WriteAttribute(to, kAccessList, access_list);
    }
    if (error == 0 || IsUnsupported(error)) {
        error = kvtio::SetTimesOf(to, status);
    }
    return IsUnsupported(error) ? ERROR_SUCCESS : error;
}

}  // namespace kvtwin
