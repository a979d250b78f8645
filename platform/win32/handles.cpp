// The table of open handles.
//
// A handle is its slot's number times four, as small numbers that can never be taken for an address, 0 or -1. The table
// lives on the heap while a handle is open and is gone with the last one, so nothing is left to be destroyed when the
// library is unloaded, and handles may be used while the process ends.

#include "handles.h"

#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <mutex>
#include <new>
#include <vector>

#include "errors.h"

namespace {

using Slots = std::vector<std::shared_ptr<kvtwin::Object>>;

constinit std::mutex g_mutex;
constinit Slots* g_slots = nullptr;
constinit size_t g_used = 0;
constinit bool g_fork_known = false;

constexpr UINT_PTR kStep = 4;

HANDLE HandleOf(size_t slot) {
    return reinterpret_cast<HANDLE>((slot + 1) * kStep);
}

std::shared_ptr<kvtwin::Object>* SlotOf(HANDLE handle) {
    const UINT_PTR number = reinterpret_cast<UINT_PTR>(handle);
    if (!g_slots || number == 0 || number % kStep != 0 || number / kStep > g_slots->size()) {
        return nullptr;
    }
    auto& slot = (*g_slots)[number / kStep - 1];
    return slot ? &slot : nullptr;
}

void KeepThroughForks() {
    if (!g_fork_known) {
        g_fork_known = ::pthread_atfork(kvtwin::LockHandles, kvtwin::UnlockHandles, kvtwin::UnlockHandles) == 0;
    }
}

HANDLE AddLocked(std::shared_ptr<kvtwin::Object> object) {
    try {
        KeepThroughForks();
        if (!g_slots) {
            g_slots = new Slots;
        }
        size_t free = 0;
        if (g_used == g_slots->size()) {
            free = g_used;
            g_slots->push_back(std::move(object));
        } else {
            while ((*g_slots)[free]) {
                ++free;
            }
            (*g_slots)[free] = std::move(object);
        }
        ++g_used;
        return HandleOf(free);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

bool Conflicts(const kvtwin::OpenFile& one, const kvtwin::OpenFile& other) {
    return (one.reads && !(other.share & FILE_SHARE_READ)) || (one.writes && !(other.share & FILE_SHARE_WRITE)) ||
           (one.deletes && !(other.share & FILE_SHARE_DELETE));
}

// Whether a handle takes part in sharing at all: one for attributes only disturbs nobody.
bool Shares(const kvtwin::OpenFile& file) {
    return file.reads || file.writes || file.deletes;
}

// ERROR_SHARING_VIOLATION when a file is open without that share mode, else 0.
DWORD CheckShared(dev_t device, ino_t inode, DWORD mode) {
    const std::lock_guard lock(g_mutex);
    if (g_slots) {
        for (const auto& object : *g_slots) {
            const auto* other = dynamic_cast<const kvtwin::OpenFile*>(object.get());
            if (other && other->inode == inode && other->device == device && Shares(*other) && !(other->share & mode)) {
                return ERROR_SHARING_VIOLATION;
            }
        }
    }
    return ERROR_SUCCESS;
}

}  // namespace

namespace kvtwin {

OpenFile::~OpenFile() {
    if (fd >= 0) {
        ::close(fd);
    }
}

HANDLE AddHandle(std::shared_ptr<Object> object) {
    const std::lock_guard lock(g_mutex);
    return AddLocked(std::move(object));
}

DWORD AddFile(std::shared_ptr<OpenFile> file, HANDLE& handle) {
    const std::lock_guard lock(g_mutex);
    if (g_slots && Shares(*file)) {
        for (const auto& object : *g_slots) {
            const auto* other = dynamic_cast<const OpenFile*>(object.get());
            if (other && other->inode == file->inode && other->device == file->device && Shares(*other) &&
                (Conflicts(*file, *other) || Conflicts(*other, *file))) {
                return ERROR_SHARING_VIOLATION;
            }
        }
    }
    handle = AddLocked(std::move(file));
    return handle ? ERROR_SUCCESS : ERROR_NOT_ENOUGH_MEMORY;
}

DWORD CheckDeletable(dev_t device, ino_t inode) {
    return CheckShared(device, inode, FILE_SHARE_DELETE);
}

DWORD CheckWritable(dev_t device, ino_t inode) {
    return CheckShared(device, inode, FILE_SHARE_WRITE);
}

bool HasFileWithoutSharing() {
    const std::lock_guard lock(g_mutex);
    return g_slots && std::any_of(g_slots->begin(), g_slots->end(), [](const auto& object) {
               const auto* file = dynamic_cast<const OpenFile*>(object.get());
               return file && Shares(*file) && !(file->share & FILE_SHARE_WRITE);
           });
}

std::shared_ptr<Object> FindHandle(HANDLE handle) {
    const std::lock_guard lock(g_mutex);
    const auto* slot = SlotOf(handle);
    return slot ? *slot : nullptr;
}

std::shared_ptr<OpenFile> FindFile(HANDLE handle) {
    auto file = std::dynamic_pointer_cast<OpenFile>(FindHandle(handle));
    if (!file) {
        Fail(ERROR_INVALID_HANDLE);
    }
    return file;
}

void LockHandles() {
    g_mutex.lock();
}

void UnlockHandles() {
    g_mutex.unlock();
}

void KeepHandlesThroughForks() {
    const std::lock_guard lock(g_mutex);
    KeepThroughForks();
}

std::shared_ptr<Object> RemoveHandle(HANDLE handle) {
    const std::lock_guard lock(g_mutex);
    auto* slot = SlotOf(handle);
    if (!slot) {
        return nullptr;
    }
    std::shared_ptr<Object> object = std::move(*slot);
    slot->reset();
    if (--g_used == 0) {
        delete g_slots;
        g_slots = nullptr;
    }
    return object;
}

}  // namespace kvtwin
