// Calls of the system on entries of open folders, each behind the tests' hook.

#include "platform/io/entries.h"

#include <dirent.h>
#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/random.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <memory>

#include "platform/io/faults.h"
#include "platform/win32/errors.h"
#include "platform/win32/names.h"

namespace kvtio {

namespace {

Error Ask(Call call, [[maybe_unused]] const std::string& name) {
#ifdef KVTFILE_FAULTS
    return AskHook(call, kvtwin::NameFromBytes(name).c_str());
#else
    return AskHook(call, nullptr);
#endif
}

Error AskAboutDescriptor(Call call) {
    return AskHook(call, _T(""));
}

Error ErrorOf(bool done) {
    return done ? ERROR_SUCCESS : kvtwin::ErrorFromErrno(errno);
}

// Calls again as long as a signal interrupts.
template <typename Action>
auto Uninterrupted(Action action) {
    auto result = action();
    while (result < 0 && errno == EINTR) {
        result = action();
    }
    return result;
}

struct FolderCloser {
    void operator()(DIR* folder) const { ::closedir(folder); }
};

int RenameWithoutReplacing(int from, const char* name, int to, const char* new_name) {
    if (::renameat2(from, name, to, new_name, RENAME_NOREPLACE) == 0) {
        return 0;
    }
    if (errno != EINVAL && errno != ENOSYS) {
        return -1;
    }
    // A file system that cannot decide it in one step (or a folder into itself, which is refused below again).
    struct stat status {};
    if (::fstatat(to, new_name, &status, AT_SYMLINK_NOFOLLOW) == 0) {
        errno = EEXIST;
        return -1;
    }
    return ::renameat(from, name, to, new_name);
}

}  // namespace

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
    std::swap(m_fd, other.m_fd);
    return *this;
}

Descriptor::~Descriptor() {
    if (m_fd >= 0) {
        ::close(m_fd);
    }
}

Error Descriptor::Close() {
    const Error asked = AskAboutDescriptor(Call::Close);
    // EINTR: the descriptor is gone all the same.
    const bool closed = ::close(std::exchange(m_fd, -1)) == 0 || errno == EINTR;
    return asked ? asked : ErrorOf(closed);
}

Error OpenEntry(int folder, const std::string& name, int flags, mode_t mode, Descriptor& opened) {
    if (const Error error = Ask(Call::Open, name)) {
        return error;
    }
    opened =
        Descriptor(Uninterrupted([&] { return ::openat(folder, name.c_str(), flags | O_NOFOLLOW | O_CLOEXEC, mode); }));
    return ErrorOf(opened.Get() >= 0);
}

Error OpenFolder(const std::string& path, Descriptor& opened) {
    if (const Error error = Ask(Call::Open, path)) {
        return error;
    }
    opened = Descriptor(Uninterrupted([&] { return ::open(path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC); }));
    return ErrorOf(opened.Get() >= 0);
}

Error ReadFrom(int file, void* buffer, size_t wanted, size_t& got) {
    got = 0;
    if (const Error error = AskHook(Call::Read, _T(""), wanted)) {
        return error;
    }
    const ssize_t result = Uninterrupted([&] { return ::read(file, buffer, wanted); });
    got = result > 0 ? static_cast<size_t>(result) : 0;
    return ErrorOf(result >= 0);
}

Error WriteTo(int file, const void* bytes, size_t count) {
    for (size_t done = 0; done < count;) {
        size_t part = count - done;
        if (const Error error = AskHook(Call::Write, _T(""), part)) {
            return error;
        }
        const ssize_t result =
            Uninterrupted([&] { return ::write(file, static_cast<const char*>(bytes) + done, part); });
        if (result < 0) {
            return ErrorOf(false);
        }
        done += static_cast<size_t>(result);
    }
    return ERROR_SUCCESS;
}

Error SeekIn(int file, off_t offset, int whence, off_t& position) {
    if (const Error error = AskAboutDescriptor(Call::Seek)) {
        return error;
    }
    const off_t result = ::lseek(file, offset, whence);
    if (result >= 0) {
        position = result;
    }
    return ErrorOf(result >= 0);
}

Error SetSizeOf(int file, off_t size) {
    const Error error = AskAboutDescriptor(Call::SetSize);
    return error ? error : ErrorOf(Uninterrupted([&] { return ::ftruncate(file, size); }) == 0);
}

Error SyncOf(int file) {
    const Error error = AskAboutDescriptor(Call::Sync);
    // EINVAL: a file system that keeps nothing back.
    return error ? error : ErrorOf(Uninterrupted([&] { return ::fsync(file); }) == 0 || errno == EINVAL);
}

Error SyncFileSystemOf(int file) {
    const Error error = AskAboutDescriptor(Call::Sync);
    return error ? error : ErrorOf(::syncfs(file) == 0);
}

Error StatOf(int file, struct stat& status) {
    const Error error = AskAboutDescriptor(Call::Attributes);
    return error ? error : ErrorOf(::fstat(file, &status) == 0);
}

Error StatEntry(int folder, const std::string& name, struct stat& status) {
    const Error error = Ask(Call::Attributes, name);
    return error ? error : ErrorOf(::fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0);
}

Error StatTarget(int folder, const std::string& name, struct stat& status) {
    const Error error = Ask(Call::Attributes, name);
    return error ? error : ErrorOf(::fstatat(folder, name.c_str(), &status, 0) == 0);
}

bool IsMountPoint(int folder, const std::string& name) {
    struct statx status {};
    if (::statx(folder, name.c_str(), AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT, STATX_TYPE, &status) == 0 &&
        (status.stx_attributes_mask & STATX_ATTR_MOUNT_ROOT) != 0) {
        return (status.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0;
    }
    // Older systems do not say. A part of the same file system with a number of its own counts as one too then.
    struct stat above {};
    struct stat entry {};
    return ::fstatat(folder, "", &above, AT_EMPTY_PATH) == 0 &&
           ::fstatat(folder, name.c_str(), &entry, AT_SYMLINK_NOFOLLOW) == 0 && above.st_dev != entry.st_dev;
}

Error ListFolder(int folder, std::vector<std::string>& names) {
    if (const Error error = AskAboutDescriptor(Call::Read)) {
        return error;
    }
    const int own = ::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    DIR* const opened = own >= 0 ? ::fdopendir(own) : nullptr;
    if (!opened) {
        const Error error = ErrorOf(false);
        if (own >= 0) {
            ::close(own);
        }
        return error;
    }
    const std::unique_ptr<DIR, FolderCloser> listing(opened);
    names.clear();
    for (;;) {
        errno = 0;
        const dirent* entry = ::readdir(listing.get());
        if (!entry) {
            std::sort(names.begin(), names.end());
            return ErrorOf(errno == 0);
        }
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") {
            names.emplace_back(name);
        }
    }
}

Error MakeFolder(int folder, const std::string& name, mode_t mode) {
    const Error error = Ask(Call::Open, name);
    return error ? error : ErrorOf(::mkdirat(folder, name.c_str(), mode) == 0);
}

Error MakeLink(int folder, const std::string& name, const std::string& text) {
    const Error error = Ask(Call::Open, name);
    return error ? error : ErrorOf(::symlinkat(text.c_str(), folder, name.c_str()) == 0);
}

Error ReadLink(int folder, const std::string& name, std::string& text) {
    if (const Error error = Ask(Call::Read, name)) {
        return error;
    }
    text.resize(PATH_MAX);
    const ssize_t size = ::readlinkat(folder, name.c_str(), text.data(), text.size());
    if (size < 0) {
        return ErrorOf(false);
    }
    text.resize(static_cast<size_t>(size));
    return size == PATH_MAX ? ERROR_FILENAME_EXCED_RANGE : ERROR_SUCCESS;
}

Error RenameEntry(int from, const std::string& name, int to, const std::string& new_name, bool replace) {
    if (const Error error = Ask(Call::Rename, name)) {
        return error;
    }
    return ErrorOf((replace ? ::renameat(from, name.c_str(), to, new_name.c_str())
                            : RenameWithoutReplacing(from, name.c_str(), to, new_name.c_str())) == 0);
}

Error RemoveEntry(int folder, const std::string& name) {
    const Error error = Ask(Call::Remove, name);
    return error ? error : ErrorOf(::unlinkat(folder, name.c_str(), 0) == 0);
}

Error RemoveFolder(int folder, const std::string& name) {
    if (const Error error = Ask(Call::Remove, name)) {
        return error;
    }
    if (::unlinkat(folder, name.c_str(), AT_REMOVEDIR) == 0) {
        return ERROR_SUCCESS;
    }
    return errno == EEXIST ? ERROR_DIR_NOT_EMPTY : ErrorOf(false);
}

Error SetModeOf(int file, mode_t mode) {
    const Error error = AskAboutDescriptor(Call::Attributes);
    return error ? error : ErrorOf(::fchmod(file, mode) == 0);
}

Error SetOwnerOf(int file, uid_t user, gid_t group) {
    const Error error = AskAboutDescriptor(Call::Attributes);
    return error ? error : ErrorOf(::fchown(file, user, group) == 0);
}

Error SetTimesOf(int file, const struct stat& times) {
    const Error error = AskAboutDescriptor(Call::Attributes);
    const timespec both[2] = {times.st_atim, times.st_mtim};
    return error ? error : ErrorOf(::futimens(file, both) == 0);
}

Error SetOwnerOfEntry(int folder, const std::string& name, uid_t user, gid_t group) {
    const Error error = Ask(Call::Attributes, name);
    return error ? error : ErrorOf(::fchownat(folder, name.c_str(), user, group, AT_SYMLINK_NOFOLLOW) == 0);
}

Error SetTimesOfEntry(int folder, const std::string& name, const struct stat& times) {
    const Error error = Ask(Call::Attributes, name);
    const timespec both[2] = {times.st_atim, times.st_mtim};
    return error ? error : ErrorOf(::utimensat(folder, name.c_str(), both, AT_SYMLINK_NOFOLLOW) == 0);
}

Error ListAttributes(int file, std::vector<std::string>& names) {
    names.clear();
    if (const Error error = AskAboutDescriptor(Call::Attributes)) {
        return error;
    }
    std::string list(size_t{1} << 16, '\0');  // the system's own limit
    const ssize_t size = ::flistxattr(file, list.data(), list.size());
    if (size < 0) {
        return errno == ENOTSUP ? ERROR_SUCCESS : ErrorOf(false);
    }
    for (size_t at = 0; at < static_cast<size_t>(size); at += names.back().size() + 1) {
        names.emplace_back(list.c_str() + at);
    }
    return ERROR_SUCCESS;
}

Error ReadAttribute(int file, const std::string& name, std::string& value) {
    if (const Error error = AskAboutDescriptor(Call::Attributes)) {
        return error;
    }
    value.resize(size_t{1} << 16);  // the system's own limit
    const ssize_t size = ::fgetxattr(file, name.c_str(), value.data(), value.size());
    value.resize(size > 0 ? static_cast<size_t>(size) : 0);
    return ErrorOf(size >= 0);
}

Error WriteAttribute(int file, const std::string& name, const std::string& value) {
    const Error error = AskAboutDescriptor(Call::Attributes);
    return error ? error : ErrorOf(::fsetxattr(file, name.c_str(), value.data(), value.size(), 0) == 0);
}

std::string TemporaryName() {
    unsigned char bytes[10] = {};
    if (::getrandom(bytes, sizeof bytes, 0) != static_cast<ssize_t>(sizeof bytes)) {
        timespec now{};
        ::clock_gettime(CLOCK_MONOTONIC, &now);
        std::memcpy(bytes, &now.tv_nsec, sizeof now.tv_nsec);
    }
    std::string name = "~";
    for (const unsigned char byte : bytes) {
        name += "0123456789abcdefghijklmnopqrstuv"[byte & 31];
    }
    return name + ".tmp";
}

}  // namespace kvtio
