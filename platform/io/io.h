#pragma once

/// @file
/// The one place through which the library opens, reads, writes, renames and removes files, on every target.
///
/// All file input and output passes here so that a test can make any single call fail, write short, or end the
/// process (SetFaultHook, only in the build with KVTFILE_FAULTS; the shipped build has nothing of it).
/// Failures are Win32 error numbers; each failing call also sets the last error.
#include <cstddef>
#include <cstdint>

#ifdef _WIN32
#include <windows.h>

#include <tchar.h>
#else
#include "../win32/winapi.h"
#endif

namespace kvtio {

/// A Win32 error number; ERROR_SUCCESS (0) when the call did its work.
using Error = DWORD;

enum class Access { Read, Write, ReadWrite };

enum class Disposition {
    OpenExisting,  ///< The file must exist.
    CreateNew,     ///< The file must not exist.
    CreateAlways,  ///< An existing file is emptied.
    OpenAlways     ///< An existing file is kept, a missing one created.
};

/// Others may read, write, rename and delete the file while it is open.
constexpr DWORD ShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

/// One open file. Movable, not copyable; the destructor closes. Used by one thread at a time.
/// Paths are Windows-style (off Windows also "/a/b"). Every call on a file that is not open fails with error 6.
class File {
public:
    File() = default;
    File(File&& other) noexcept;
    File& operator=(File&& other) noexcept;
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    ~File();

    /// Opens a file; one that is open already is closed first. On failure nothing is open.
    /// Errors are those of CreateFileW: 2, 3, 5, 32, 80, 123, 206, ...
    Error Open(LPCWSTR path, Access access, Disposition disposition, DWORD share = ShareAll);

    /// Creates a file that only this user, and nobody else while it is open, can open.
    /// Errors: 80 it exists, and those of Open.
    Error OpenPrivate(LPCWSTR path);

    /// Opens an existing file to be read from start to end, whatever the length of its path; others may read it too.
    Error OpenForScan(LPCWSTR path);

    /// Reads until `wanted` bytes or the end of the file; `got` tells how many, also on failure.
    Error Read(void* buffer, size_t wanted, size_t& got);

    /// Writes all bytes. On failure some of them may be in the file.
    Error Write(const void* bytes, size_t count);

    /// Moves the file pointer. @param origin FILE_BEGIN, FILE_CURRENT or FILE_END. @param position The new position
    /// from the start; unchanged on failure (131: before the start).
    Error Seek(int64_t offset, DWORD origin, uint64_t& position);

    /// Size in bytes; unchanged on failure.
    Error Size(uint64_t& size) const;

    /// Cuts or extends (with zeros) the file; the file pointer stays where it was.
    Error SetSize(uint64_t size);

    /// Returns when the content is on the storage device.
    Error Sync();

    /// Closes the file; it is closed even when this fails.
    Error Close();

    bool IsOpen() const { return m_handle != INVALID_HANDLE_VALUE; }

    /// The system's handle, for times and the like; it stays this object's.
    HANDLE Handle() const { return m_handle; }

private:
    Error Open(LPCWSTR path, Access access, Disposition disposition, DWORD share, DWORD attributes);

    HANDLE m_handle = INVALID_HANDLE_VALUE;
};

/// Renames a file. @param replace Take the place of an existing file, in one step; else that is error 183.
Error Rename(LPCWSTR from, LPCWSTR to, bool replace);

/// Deletes a file.
Error Remove(LPCWSTR path);

/// Returns when the folder that holds `path` has its entries on the storage device. Success at once where the system
/// keeps them safe by itself.
Error SyncFolderOf(LPCWSTR path);

#ifdef KVTFILE_FAULTS

/// What a call of this file is about to do. Attributes stands for reading or giving a file its attributes, owner and
/// permissions.
enum class Call { Open, Read, Write, Seek, Size, SetSize, Sync, Close, Rename, Remove, SyncFolder, Attributes };

/// Asked before each call of the system.
/// @param path The path that the caller gave.
/// @param count Bytes to be read or written (0 for other calls); lowering it makes the system do less than asked.
/// @return 0: go on. Any other error is returned in place of doing the call; a Close closes all the same.
using FaultHook = Error (*)(Call call, LPCWSTR path, size_t& count);

/// Sets the hook of the whole process (null: none) and returns the previous one.
FaultHook SetFaultHook(FaultHook hook);

#endif

}  // namespace kvtio
