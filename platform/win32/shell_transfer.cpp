// Copies and moves. A move renames; where the target is on another file system, or a folder that is there already takes
// in another, it copies, makes the copies durable, and deletes what was copied, and nothing else.
//
// Invariants: a file that is to be replaced is there, whole, until the new one takes its place in one step. A new
// folder appears under its name when it is whole, unless it comes into a folder that was there already. Nothing of the
// source is deleted before all of the copy is on the storage device.

#include "shell_transfer.h"

#include "paths.h"
#include "shell_names.h"
#include "status.h"
#include "winapi.h"

namespace kvtwin {

namespace {

DWORD FindExisting(const EntryPlace& place, struct stat& status, bool& exists) {
    const DWORD error = kvtio::StatEntry(place.folder, place.name, status);
    exists = error == 0;
    return error == ERROR_FILE_NOT_FOUND ? 0 : error;
}

// Listings are to see the attributes that an entry has brought to its new place.
void MarkPlaced(const EntryPlace& placed) {
    MarkFolderOf(ParentOf(placed.path) + '/' + placed.name);
}

// Whether an entry is a link to what exists at its target: in that place it would lead to itself.
bool LeadsTo(const EntryPlace& from, const struct stat& status, const struct stat& existing) {
    struct stat followed {};
    return S_ISLNK(status.st_mode) && kvtio::StatTarget(from.folder, from.name, followed) == 0 &&
           FileIdentity(followed) == FileIdentity(existing);
}

bool IsSpecial(const struct stat& status) {
    return !S_ISREG(status.st_mode) && !S_ISLNK(status.st_mode) && !S_ISDIR(status.st_mode);
}

}  // namespace

void Transfer::Run(const EntryPlace& from, const ShellItem& item, const EntryPlace& to, bool several) {
    m_from = from;
    m_status = item.source.status;
    m_to = to;
    m_several = several || S_ISDIR(m_status.st_mode);
    m_numbers = m_job.Has(FOF_RENAMEONCOLLISION) && !item.respelled;
    const bool keeps_taken = m_numbers || item.respelled || m_job.IsRename();
    const DWORD error = keeps_taken ? RunKeepingTaken() : RunAsNamed();
    if (error != 0 && error != ERROR_CANCELLED) {
        m_job.Note(error, m_from.path + m_below);
    }
}

DWORD Transfer::RunAsNamed() {
    bool merge = false;
    if (const DWORD error = Entry(m_from, m_status, m_to, merge)) {
        return error;
    }
    if (merge) {
        struct stat existing {};
        bool exists = false;
        DWORD error = FindExisting(m_to, existing, exists);
        if (error == 0 && exists) {
            error = FillFolder(m_to, false);
        } else if (error == 0) {
            std::string temporary;
            error = CopyAside(temporary);
            if (error == 0 && !temporary.empty()) {
                error = kvtio::RenameEntry(m_to.folder, temporary, m_to.folder, m_to.name, false);
                if (error != 0) {
                    DropAside(temporary);
                } else {
                    MarkPlaced(m_to);
                }
            }
        }
        if (error != 0) {
            return error;
        }
    }
    return FinishMove();
}

// Takes the name if it is free, else the first with a number that is, decided by the file system in that moment.
DWORD Transfer::PlaceAside(const std::string& temporary) {
    const CollisionStyle style = m_job.IsCopy() ? CollisionStyle::Copy : CollisionStyle::Other;
    const bool folder = S_ISDIR(m_status.st_mode);
    const EntryPlace what = temporary.empty() ? m_from : EntryPlace{m_to.folder, temporary, m_to.path};
    EntryPlace to = m_to;
    const unsigned most = m_numbers ? 100000 : 0;
    DWORD error = RenamePlace(what, m_status, to, false);
    for (unsigned n = 1; error == ERROR_ALREADY_EXISTS && n < most; ++n) {
        to.name = CollisionName(m_to.name, folder, style, n);
        error = RenamePlace(what, m_status, to, false);
    }
    if (error == 0) {
        MarkPlaced(to);
    }
    return error;
}

// What has the name already stays.
DWORD Transfer::RunKeepingTaken() {
    if (!m_job.IsCopy()) {
        if (const DWORD error = CheckMovable(m_status)) {
            return error;
        }
        // A rename too can end so: a folder of an overlay's lower layer has to be copied.
        const DWORD error = PlaceAside(std::string());
        if (error != ERROR_NOT_SAME_DEVICE) {
            return error;
        }
    }
    std::string temporary;
    if (const DWORD error = CopyAside(temporary)) {
        return error;
    }
    if (const DWORD error = PlaceAside(temporary)) {
        DropAside(temporary);
        return error;
    }
    return FinishMove();
}

// Makes a whole copy of the source under a temporary name in the target's folder.
DWORD Transfer::CopyAside(std::string& temporary) {
    if (!S_ISDIR(m_status.st_mode)) {
        struct stat seen {};
        const DWORD error = m_copier.Copy(m_from, m_status, m_to.folder, m_job.IsMove(), temporary, seen);
        if (error == 0) {
            m_copied.Add(m_below, seen);
            m_copied_content = true;
        }
        return error;
    }
    temporary = kvtio::TemporaryName();
    if (const DWORD error = kvtio::MakeFolder(m_to.folder, temporary, 0700)) {
        temporary.clear();
        return error;
    }
    m_aside = true;
    const DWORD error = FillFolder({m_to.folder, temporary, m_to.path}, true);
    m_aside = false;
    if (error != 0) {
        DropAside(temporary);
        temporary.clear();
    }
    return error;
}

void Transfer::DropAside(const std::string& temporary) {
    DeleteTree(m_to.folder, temporary);
}

// Deletes what was copied by a move, once it is safe.
DWORD Transfer::FinishMove() {
    if (!m_job.IsMove() || m_copied.IsEmpty()) {
        return ERROR_SUCCESS;
    }
    if (m_copied_content) {
        kvtio::Descriptor folder;
        if (const DWORD error = kvtio::OpenEntry(m_to.folder, ".", O_RDONLY | O_DIRECTORY, 0, folder)) {
            return error;
        }
        const bool tree = S_ISDIR(m_status.st_mode);
        if (const DWORD error = tree ? kvtio::SyncFileSystemOf(folder.Get()) : kvtio::SyncOf(folder.Get())) {
            return error;
        }
    }
    m_below.clear();
    const Deletion deletion = DeleteTree(m_from.folder, m_from.name, &m_copied);
    m_below = deletion.below;
    if (deletion.error == 0 && deletion.kept && !m_job.Aborted()) {
        return ERROR_DIR_NOT_EMPTY;  // something came into the source, or was written, after it was copied
    }
    return deletion.error;
}

// ---- One entry --------------------------------------------------------------------------------------------------

// Brings an entry to its place, or says that it is a folder which has to be gone through.
DWORD Transfer::Entry(const EntryPlace& from, const struct stat& status, const EntryPlace& to, bool& merge) {
    merge = false;
    struct stat existing {};
    bool exists = false;
    DWORD error = FindExisting(to, existing, exists);
    if (error == 0 && m_job.IsMove()) {
        error = CheckMovable(status);
    }
    if (error != 0) {
        return error;
    }
    const bool folder = S_ISDIR(status.st_mode);
    if (exists) {
        if (FileIdentity(status) == FileIdentity(existing) || LeadsTo(from, status, existing)) {
            return kShellSameFile;
        }
        if (folder != S_ISDIR(existing.st_mode)) {
            return folder ? kShellFolderOntoFile : kShellFileOntoFolder;
        }
        if (!folder && !MayReplace(to, existing, error)) {
            return error ? error : ERROR_CANCELLED;
        }
    }
    // What is made aside is dropped when it does not become whole: it may hold copies alone.
    if (m_job.IsMove() && !m_aside && !(folder && exists)) {
        error = RenamePlace(from, status, to, exists);
        if (error == 0) {
            MarkPlaced(to);
        }
        if (error != ERROR_NOT_SAME_DEVICE) {
            return error;
        }
    }
    if (folder) {
        merge = true;
        return ERROR_SUCCESS;
    }
    return MakeCopy(from, status, to, exists);
}

bool Transfer::MayReplace(const EntryPlace& to, const struct stat& existing, DWORD& error) {
    error = CheckMovable(existing);
    return error == 0 && m_job.Confirm(WithPath(u"", to.path, u"\nexists already. Replace it?"), m_several);
}

DWORD Transfer::MakeCopy(const EntryPlace& from, const struct stat& status, const EntryPlace& to, bool replace) {
    std::string temporary;
    struct stat seen {};
    // What replaces something, and a file that is moved alone, is made durable at once; a tree all together.
    const bool durable = replace || (m_job.IsMove() && m_frames.empty());
    DWORD error = m_copier.Copy(from, status, to.folder, durable, temporary, seen);
    if (error == 0 && (error = kvtio::RenameEntry(to.folder, temporary, to.folder, to.name, replace)) != 0) {
        kvtio::RemoveEntry(to.folder, temporary);
    }
    if (error == 0) {
        MarkPlaced(to);
        m_copied.Add(m_below, seen);
        m_copied_content = true;
    }
    return error;
}

// ---- Trees ------------------------------------------------------------------------------------------------------

// Goes through the source folder and brings all that is in it into a folder that exists.
DWORD Transfer::FillFolder(const EntryPlace& to, bool made) {
    DWORD error = m_source.Down(m_from.folder, m_from.name);
    if (error == 0) {
        error = m_target.Down(to.folder, to.name);
    }
    if (error != 0) {
        return error;
    }
    m_target_root = m_target.Identity();
    Frame frame;
    frame.status = m_status;
    frame.made = made;
    error = kvtio::ListFolder(m_source.Folder(), frame.names);
    m_frames.push_back(std::move(frame));
    while (error == 0 && !m_frames.empty()) {
        error = m_job.IsCancelled() ? ERROR_CANCELLED : Step();
    }
    if (error != 0 && !m_aside) {
        LeaveUnfinished();
    }
    return error;
}

DWORD Transfer::EnterFolder(const std::string& name, const struct stat& status, bool made) {
    DWORD error = m_source.Down(name);
    if (error == 0 && m_source.Identity() == m_target_root) {
        error = kShellTargetInSource;  // reached through a mount that shows it once more
    }
    if (error == 0) {
        error = m_target.Down(name);
    }
    if (error != 0) {
        return error;
    }
    Frame frame;
    frame.name = name;
    frame.status = status;
    frame.made = made;
    error = kvtio::ListFolder(m_source.Folder(), frame.names);
    m_frames.push_back(std::move(frame));
    return error;
}

DWORD Transfer::Step() {
    Frame& frame = m_frames.back();
    if (frame.next == frame.names.size()) {
        return LeaveFolder();
    }
    const std::string name = std::move(frame.names[frame.next++]);
    const size_t below = m_below.size();
    m_below += '/' + name;
    const EntryPlace from{m_source.Folder(), name, m_from.path + m_below};
    const EntryPlace to{m_target.Folder(), name, m_to.path + m_below};
    struct stat status {};
    bool merge = false;
    DWORD error = kvtio::StatEntry(from.folder, name, status);
    if (error == ERROR_FILE_NOT_FOUND) {
        error = ERROR_CANCELLED;  // it has vanished: nothing is left to be done
    } else if (error == 0) {
        error = Entry(from, status, to, merge);
    }
    if (error == 0 && merge) {
        struct stat existing {};
        bool exists = false;
        error = FindExisting(to, existing, exists);
        if (error == 0 && !exists) {
            error = kvtio::MakeFolder(to.folder, name, 0700);
        }
        if (error == 0) {
            error = EnterFolder(name, status, !exists);
        }
        return error;  // m_below stays until the folder is left
    }
    if (error == ERROR_NOT_SUPPORTED && IsSpecial(status)) {
        m_job.Note(error, from.path);
        error = ERROR_CANCELLED;
    }
    if (error == ERROR_CANCELLED) {
        error = ERROR_SUCCESS;  // left out; the job knows of it
    }
    if (error == 0) {
        m_below.resize(below);
    }
    return error;
}

// Folders that are new in one that was there stay when an error ends the way through them: users are to reach what has
// come into them.
void Transfer::LeaveUnfinished() {
    for (; !m_frames.empty(); m_frames.pop_back()) {
        kvtio::Descriptor target;
        if (m_target.Depth() != m_frames.size() || m_target.Up(target) != 0) {
            return;
        }
        if (m_frames.back().made) {
            m_copier.GiveRights(target.Get(), m_frames.back().status);
        }
    }
}

// Makes durable what came into another file system than that of the target's folder, which is done at the end.
DWORD Transfer::SyncMounted(int folder, dev_t device) {
    struct stat above {};
    if (m_frames.empty()) {
        if (const DWORD error = kvtio::StatOf(m_to.folder, above)) {
            return error;
        }
    }
    const bool mounted = device != (m_frames.empty() ? above.st_dev : m_target.Identity().device);
    return mounted && m_copied_content ? kvtio::SyncFileSystemOf(folder) : ERROR_SUCCESS;
}

DWORD Transfer::LeaveFolder() {
    const Frame frame = std::move(m_frames.back());
    m_frames.pop_back();
    kvtio::Descriptor source;
    kvtio::Descriptor target;
    const dev_t device = m_target.Identity().device;
    DWORD error = m_source.Up(source);
    if (error == 0) {
        error = m_target.Up(target);
    }
    if (error == 0 && m_job.IsMove() && !frame.made) {
        error = SyncMounted(target.Get(), device);
    }
    if (error == 0 && frame.made) {
        error = m_copier.GiveNature(source.Get(), target.Get(), frame.status, m_from.path + m_below);
    }
    if (error == 0) {
        m_copied.Add(m_below, frame.status);
        m_copied_content = m_copied_content || frame.made;
        if (!m_frames.empty()) {
            m_below.resize(m_below.size() - frame.name.size() - 1);
        }
    }
    return error;
}

}  // namespace kvtwin
