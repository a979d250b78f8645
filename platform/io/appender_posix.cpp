// Appending records off Windows: O_APPEND, and flock for the length of the write.
//
// The usual case, a file that is there under an absolute path as spelled, costs no look-up of folders.

#include <errno.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <utility>

#include "platform/io/appender.h"
#include "platform/io/faults.h"
#include "platform/win32/errors.h"
#include "platform/win32/handles.h"
#include "platform/win32/paths.h"

namespace kvtio {

namespace {

using kvtwin::ErrorFromErrno;

constexpr int kOpenFlags = O_WRONLY | O_APPEND | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;  // a pipe must not make it wait

/// A descriptor with its lock.
class OpenLog {
public:
    explicit OpenLog(int fd = -1) : m_fd(fd) {}
    OpenLog(OpenLog&& other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}
    OpenLog& operator=(OpenLog&& other) noexcept {
        std::swap(m_fd, other.m_fd);
        return *this;
    }
    ~OpenLog() { Close(); }

    bool IsOpen() const { return m_fd >= 0; }
    int Descriptor() const { return m_fd; }

    /// Where the file system has no locks there is none.
    void Lock() {
        while (::flock(m_fd, LOCK_EX) != 0 && errno == EINTR) {
        }
    }

    Error Close() {
        if (!IsOpen()) {
            return ERROR_SUCCESS;
        }
        // Closing alone would leave the lock with a child that was forked meanwhile.
        ::flock(m_fd, LOCK_UN);
        const int fd = std::exchange(m_fd, -1);
        return ::close(fd) != 0 && errno != EINTR ? ErrorFromErrno(errno) : ERROR_SUCCESS;
    }

private:
    int m_fd;
};

Error OpenOrCreate(LPCWSTR path, OpenLog& log) {
    kvtwin::Location location;
    if (const DWORD error = kvtwin::Locate(path, location)) {
        return error;
    }
    if (location.separator_at_end) {
        return ERROR_INVALID_NAME;
    }
    log = OpenLog(::open(location.path.c_str(), kOpenFlags | O_CREAT, 0666));
    return log.IsOpen() ? ERROR_SUCCESS : kvtwin::PathError(errno, location.path);
}

// Other handles of this process may keep writers out.
Error RefusedBySharing(int fd) {
    struct stat status {};
    if (!kvtwin::HasFileWithoutSharing() || ::fstat(fd, &status) != 0) {
        return ERROR_SUCCESS;
    }
    return kvtwin::CheckWritable(status.st_dev, status.st_ino);
}

// Takes back what was written of a record, unless somebody has written behind it.
void TakeBack(int fd, size_t written) {
    struct stat status {};
    const off_t end = ::lseek(fd, 0, SEEK_CUR);
    const off_t start = end - static_cast<off_t>(written);
    if (written != 0 && ::fstat(fd, &status) == 0 && S_ISREG(status.st_mode) && status.st_size == end &&
        ::ftruncate(fd, start) != 0) {
        return;  // the part of the record stays
    }
}

Error Write(LPCWSTR path, int fd, const char* bytes, size_t count) {
    size_t written = 0;
    while (written < count) {
        size_t part = count - written;
        Error error = AskHook(Call::Write, path, part);
        const ssize_t result = error ? -1 : ::write(fd, bytes + written, part);
        if (result < 0 && !error) {
            if (errno == EINTR) {
                continue;
            }
            error = ErrorFromErrno(errno);
        }
        if (result == 0) {
            error = ERROR_DISK_FULL;
        }
        if (error) {
            TakeBack(fd, written);
            return error;
        }
        written += static_cast<size_t>(result);
    }
    return ERROR_SUCCESS;
}

}  // namespace

Appender::Appender(LPCWSTR path) : m_path(path ? path : u""), m_unixPath(kvtwin::PathAsSpelled(m_path.c_str())) {}

Error Appender::Append(const void* bytes, size_t count) {
    if (const Error error = AskHook(Call::Open, m_path.c_str())) {
        return Report(error);
    }
    OpenLog log(m_unixPath.empty() ? -1 : ::open(m_unixPath.c_str(), kOpenFlags));
    if (!log.IsOpen()) {
        if (const Error error = OpenOrCreate(m_path.c_str(), log)) {
            return Report(error);
        }
    }
    if (const Error error = RefusedBySharing(log.Descriptor())) {
        return Report(error);
    }
    log.Lock();
    const Error error = Write(m_path.c_str(), log.Descriptor(), static_cast<const char*>(bytes), count);
    const Error fault = AskHook(Call::Close, m_path.c_str());
    const Error closing = log.Close();
    return Report(error ? error : fault ? fault : closing);
}

}  // namespace kvtio
