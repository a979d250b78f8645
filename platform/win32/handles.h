#pragma once

/// @file
/// The process's table of open handles: files and folder listings.

#include <sys/types.h>

#include <memory>
#include <string>

#include "wintypes.h"

namespace kvtwin {

/// What a handle stands for.
struct Object {
    virtual ~Object() = default;
};

/// An open file. Identity, access and share mode are what other opens are checked against.
struct OpenFile : Object {
    OpenFile() = default;
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
    ~OpenFile() override;

    int fd = -1;
    bool reads = false;
    bool writes = false;
    bool sets_times = false;
    bool deletes = false;
    DWORD share = 0;
    dev_t device = 0;
    ino_t inode = 0;
};

/// Enters an object; null when there is no memory.
HANDLE AddHandle(std::shared_ptr<Object> object);

/// Enters a file unless its share mode and those of the files that are open already forbid it
/// (ERROR_SHARING_VIOLATION).
DWORD AddFile(std::shared_ptr<OpenFile> file, HANDLE& handle);

/// ERROR_SHARING_VIOLATION when a file is open without FILE_SHARE_DELETE, else 0.
DWORD CheckDeletable(dev_t device, ino_t inode);

/// The same for a file that is open without FILE_SHARE_WRITE.
DWORD CheckWritable(dev_t device, ino_t inode);

/// Whether there is any file open without FILE_SHARE_WRITE.
bool HasFileWithoutSharing();

/// The object of a handle; null when it is not open.
std::shared_ptr<Object> FindHandle(HANDLE handle);

/// As FindHandle, for a handle of one kind; the last error is 6 when null.
std::shared_ptr<OpenFile> FindFile(HANDLE handle);

/// From now on the table is held for the length of a fork, so that the child finds it whole and free. What is locked
/// before the table has to be made safe for forks after this call.
void KeepHandlesThroughForks();
void LockHandles();
void UnlockHandles();

/// Takes a handle out of the table and gives its object; null when it is not open.
std::shared_ptr<Object> RemoveHandle(HANDLE handle);

}  // namespace kvtwin
