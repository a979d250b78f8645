#pragma once

/// @file
/// The part of the file seam that works on entries of open folders, for POSIX alone: what walks through trees uses it,
/// so that a folder which somebody exchanges for a symbolic link meanwhile leads nowhere else.
///
/// As everything here, each call asks the tests' hook first: making an entry counts as Open, listing as Read, reading
/// or giving status, times, rights and extended attributes as Attributes. The path that the hook is told is the entry's
/// name, empty for calls on a descriptor. Symbolic links are not followed. The last error is left alone.

#include <fcntl.h>
#include <sys/stat.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/io/io.h"

namespace kvtio {

/// A descriptor that is closed at the end.
class Descriptor {
public:
    explicit Descriptor(int fd = -1) : m_fd(fd) {}
    Descriptor(Descriptor&& other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept;
    ~Descriptor();

    int Get() const { return m_fd; }
    /// Closes, and tells what the system finds only then.
    Error Close();

private:
    int m_fd;
};

/// Opens an entry. @param flags O_ flags beside O_NOFOLLOW and O_CLOEXEC.
Error OpenEntry(int folder, const std::string& name, int flags, mode_t mode, Descriptor& opened);
/// Opens a folder by its path, links on the way followed, only to reach its entries.
Error OpenFolder(const std::string& path, Descriptor& opened);

/// Reads up to `wanted` bytes; `got` is 0 at the end.
Error ReadFrom(int file, void* buffer, size_t wanted, size_t& got);
Error WriteTo(int file, const void* bytes, size_t count);
Error SeekIn(int file, off_t offset, int whence, off_t& position);
Error SetSizeOf(int file, off_t size);
/// Returns when a file, or a folder's list of entries, is on the storage device.
Error SyncOf(int file);
/// The same for all of a file system.
Error SyncFileSystemOf(int file);

Error StatOf(int file, struct stat& status);
Error StatEntry(int folder, const std::string& name, struct stat& status);
/// What a link leads to in the end; the one call that follows it.
Error StatTarget(int folder, const std::string& name, struct stat& status);
/// Whether a folder is where another file system is mounted.
bool IsMountPoint(int folder, const std::string& name);

/// The names in a folder, in byte order, without "." and "..".
Error ListFolder(int folder, std::vector<std::string>& names);

Error MakeFolder(int folder, const std::string& name, mode_t mode);
Error MakeLink(int folder, const std::string& name, const std::string& text);
Error ReadLink(int folder, const std::string& name, std::string& text);
/// Renames in one step. @param replace Take the place of an entry that exists; else that is ERROR_ALREADY_EXISTS.
Error RenameEntry(int from, const std::string& name, int to, const std::string& new_name, bool replace);
Error RemoveEntry(int folder, const std::string& name);
Error RemoveFolder(int folder, const std::string& name);

Error SetModeOf(int file, mode_t mode);
Error SetOwnerOf(int file, uid_t user, gid_t group);
Error SetTimesOf(int file, const struct stat& times);
Error SetOwnerOfEntry(int folder, const std::string& name, uid_t user, gid_t group);
Error SetTimesOfEntry(int folder, const std::string& name, const struct stat& times);
Error ListAttributes(int file, std::vector<std::string>& names);
Error ReadAttribute(int file, const std::string& name, std::string& value);
Error WriteAttribute(int file, const std::string& name, const std::string& value);

/// A name that hardly any other entry has, for what is to take another name when it is whole.
std::string TemporaryName();

}  // namespace kvtio
