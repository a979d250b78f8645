#pragma once

/// @file
/// Copies of single entries (files and symbolic links), made beside their place under a name of their own.

#include <memory>
#include <string>

#include "platform/io/entries.h"
#include "shell_job.h"

namespace kvtwin {

/// An entry of an open folder.
struct EntryPlace {
    int folder = -1;
    std::string name;
    std::string path;  ///< as messages name it
};

/// ERROR_SHARING_VIOLATION for a file that is open without FILE_SHARE_DELETE, else 0.
DWORD CheckMovable(const struct stat& status);

/// Renames in one step, a folder that nobody may write too: its entry ".." changes with the folder above.
/// @param replace Take the place of what is there; else that is ERROR_ALREADY_EXISTS.
DWORD RenamePlace(const EntryPlace& from, const struct stat& status, const EntryPlace& to, bool replace);

class EntryCopier {
public:
    explicit EntryCopier(ShellJob& job) : m_job(job) {}

    /// Makes a copy with content, permissions, times and extended attributes of a file, or a link with the same text.
    /// A move keeps the owner too as far as allowed. What cannot be kept is asked about.
    /// @param durable The content is on the storage device when this returns.
    /// @param temporary Receives the name of the copy, which the caller puts in place or removes; empty when there is
    ///        none (an error; ERROR_CANCELLED: an answer was No).
    /// @param seen What the copied entry is, when it was whole.
    DWORD Copy(const EntryPlace& from, const struct stat& status, int to, bool durable, std::string& temporary,
               struct stat& seen);

    /// Gives a folder what Copy gives a file.
    DWORD GiveNature(int from, int to, const struct stat& status, const std::string& path);

    /// The part of it that needs no look at the source: owner, permissions and times.
    DWORD GiveRights(int to, const struct stat& status, const std::string& access_list = std::string());

private:
    DWORD CopyFile(const EntryPlace& from, const struct stat& status, int to, bool durable,
                   const std::string& temporary, struct stat& seen);
    DWORD CopyLink(const EntryPlace& from, const struct stat& status, int to, const std::string& temporary);
    DWORD CopyContent(int from, int to, const struct stat& status);
    DWORD CopyUntil(int from, int to, off_t count, off_t& copied);
    DWORD CopyAttributes(int from, int to, const std::string& path, std::string& access_list);

    ShellJob& m_job;
    std::unique_ptr<char[]> m_buffer;
};

}  // namespace kvtwin
