#pragma once

/// @file
/// Copying or moving one entry, a file or a whole tree, to its place.

#include <string>
#include <vector>

#include "folder_cursor.h"
#include "shell_copy.h"
#include "shell_delete.h"
#include "shell_job.h"
#include "shell_plan.h"

namespace kvtwin {

/// Brings one source to its target. Errors and refused questions are noted in the job; what was not moved then is where
/// it was.
class Transfer {
public:
    explicit Transfer(ShellJob& job) : m_job(job), m_copier(job) {}

    /// @param several The source is one of several.
    void Run(const EntryPlace& from, const ShellItem& item, const EntryPlace& to, bool several);

private:
    struct Frame {
        std::string name;
        struct stat status {};
        bool made = false;  // the target folder is new and gets the source's nature
        std::vector<std::string> names;
        size_t next = 0;
    };

    DWORD RunAsNamed();
    DWORD RunKeepingTaken();
    DWORD CopyAside(std::string& temporary);
    DWORD PlaceAside(const std::string& temporary);
    void DropAside(const std::string& temporary);
    DWORD FinishMove();

    DWORD Entry(const EntryPlace& from, const struct stat& status, const EntryPlace& to, bool& merge);
    DWORD MakeCopy(const EntryPlace& from, const struct stat& status, const EntryPlace& to, bool replace);
    bool MayReplace(const EntryPlace& to, const struct stat& existing, DWORD& error);

    DWORD FillFolder(const EntryPlace& to, bool made);
    DWORD EnterFolder(const std::string& name, const struct stat& status, bool made);
    DWORD Step();
    DWORD LeaveFolder();
    void LeaveUnfinished();
    DWORD SyncMounted(int folder, dev_t device);

    ShellJob& m_job;
    EntryCopier m_copier;
    CopiedEntries m_copied;
    bool m_several = false;
    bool m_numbers = false;  // a name that is taken gets a number

    // The run.
    EntryPlace m_from;
    struct stat m_status {};
    EntryPlace m_to;
    bool m_copied_content = false;
    bool m_aside = false;  // what is filled has a temporary name

    // The way through a tree.
    FolderCursor m_source;
    FolderCursor m_target;
    FileIdentity m_target_root;
    std::vector<Frame> m_frames;
    std::string m_below;  // "/a/b" in both trees
};

}  // namespace kvtwin
