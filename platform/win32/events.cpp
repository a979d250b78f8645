// Named events that serve as locks: CreateEventW, OpenEventW, SetEvent, WaitForSingleObject.
//
// An event is a lock file that all users share and that is never unlinked, /tmp/kvtfile-NAME.lock. Each handle has the
// file open by itself and holds an flock on it while the event is taken: the system gives that back when the process
// ends. Threads that share a handle are kept apart by the handle's own state. A forked child gets handles that hold
// nothing. Should something else have removed the file, a handle goes over to the new one within a second of use.

#include <errno.h>
#include <fcntl.h>
#include <pthread.h>
#include <stdlib.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <condition_variable>
#include <memory>
#include <mutex>
#include <new>
#include <string>

#include "errors.h"
#include "handles.h"
#include "names.h"
#include "winapi.h"

namespace {

using kvtwin::ErrorFromErrno;
using kvtwin::Fail;

constexpr const char* kFolder = "/tmp/";  // not that of $TMPDIR, which differs from user to user
constexpr size_t kLongestName = 200;
constexpr int kTries = 100;

// ---- The lock file ----------------------------------------------------------------------------------------------

// Whoever owns the file, reading it is enough for a lock. A link is not followed: it may lead anywhere.
int OpenExisting(const std::string& path) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NOCTTY | O_NONBLOCK);
    struct stat status {};
    if (fd >= 0 && (::fstat(fd, &status) != 0 || !S_ISREG(status.st_mode))) {
        ::close(fd);
        errno = EACCES;
        return -1;
    }
    return fd;
}

// Makes the file readable for all, whatever the umask, before it has its name. False with EEXIST: somebody was faster.
bool Make(const std::string& path) {
    std::string fresh = path + ".XXXXXX";
    const int fd = ::mkostemp(fresh.data(), O_CLOEXEC);
    if (fd < 0) {
        return false;
    }
    const bool made = ::fchmod(fd, 0644) == 0 && ::link(fresh.c_str(), path.c_str()) == 0;
    const int error = errno;
    ::unlink(fresh.c_str());
    ::close(fd);
    errno = error;
    return made;
}

int OpenOrMake(const std::string& path, bool& made) {
    made = false;
    for (int i = 0; i < kTries; ++i) {
        const int fd = OpenExisting(path);
        if (fd >= 0 || errno != ENOENT) {
            return fd;
        }
        made = Make(path);
        if (!made && errno != EEXIST) {
            return -1;
        }
    }
    return -1;
}

DWORD PathOf(LPCWSTR name, std::string& path) {
    const std::u16string_view text = name ? name : u"";
    if (text.empty()) {
        return ERROR_INVALID_PARAMETER;
    }
    if (text.find(u'\\') != text.npos) {
        return ERROR_PATH_NOT_FOUND;
    }
    const std::string bytes = kvtwin::NameToBytes(text);
    if (bytes.find('/') != bytes.npos) {
        return ERROR_INVALID_NAME;
    }
    if (bytes.size() > kLongestName) {
        return ERROR_FILENAME_EXCED_RANGE;
    }
    path = std::string(kFolder) + "kvtfile-" + bytes + ".lock";
    return ERROR_SUCCESS;
}

// ---- Open events ------------------------------------------------------------------------------------------------

class Event : public kvtwin::Object {
public:
    Event(std::string path, int fd);
    ~Event() override;
    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;

    DWORD Take(bool waits);
    void GiveBack();

    /// In a forked child: what the parent's thread holds is the parent's.
    void BeginAnew();

    Event* next = nullptr;

private:
    struct Threads {
        std::mutex mutex;
        std::condition_variable free;
        bool taken = false;
    };

    DWORD Lock(bool waits);
    bool HasTheName();

    const std::string m_path;
    int m_fd;
    time_t m_checked = 0;
    alignas(Threads) unsigned char m_room[sizeof(Threads)];
    Threads* m_threads;
};

constinit std::mutex g_mutex;
constinit Event* g_first = nullptr;
constinit bool g_fork_known = false;

void BeforeFork() {
    g_mutex.lock();
}

void AfterForkInParent() {
    g_mutex.unlock();
}

void AfterForkInChild() {
    for (Event* event = g_first; event; event = event->next) {
        event->BeginAnew();
    }
    g_mutex.unlock();
}

Event::Event(std::string path, int fd) : m_path(std::move(path)), m_fd(fd), m_threads(new (m_room) Threads) {
    const std::lock_guard lock(g_mutex);
    if (!g_fork_known) {
        g_fork_known = ::pthread_atfork(BeforeFork, AfterForkInParent, AfterForkInChild) == 0;
    }
    next = g_first;
    g_first = this;
}

Event::~Event() {
    {
        const std::lock_guard lock(g_mutex);
        Event** at = &g_first;
        while (*at != this) {
            at = &(*at)->next;
        }
        *at = next;
    }
    if (m_fd >= 0) {
        ::flock(m_fd, LOCK_UN);
        ::close(m_fd);
    }
    m_threads->~Threads();
}

void Event::BeginAnew() {
    if (m_fd >= 0) {
        ::close(m_fd);
    }
    m_fd = OpenExisting(m_path);
    // The old ones may be locked by a thread that the child does not have.
    m_threads = new (m_room) Threads;
}

// Whether the file that is open still is the one of that name; looked at once a second.
bool Event::HasTheName() {
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    if (now.tv_sec == m_checked) {
        return true;
    }
    m_checked = now.tv_sec;
    struct stat status {};
    return ::fstat(m_fd, &status) == 0 && status.st_nlink != 0;
}

DWORD Event::Lock(bool waits) {
    for (;;) {
        while (::flock(m_fd, LOCK_EX | (waits ? 0 : LOCK_NB)) != 0) {
            if (errno == EWOULDBLOCK) {
                return WAIT_TIMEOUT;
            }
            if (errno != EINTR) {
                Fail(ErrorFromErrno(errno));
                return WAIT_FAILED;
            }
        }
        if (HasTheName()) {
            return WAIT_OBJECT_0;
        }
        bool made = false;
        const int fresh = OpenOrMake(m_path, made);
        if (fresh < 0) {
            return WAIT_OBJECT_0;  // the old file still keeps those apart who have it open
        }
        ::close(m_fd);
        m_fd = fresh;
    }
}

DWORD Event::Take(bool waits) {
    {
        std::unique_lock lock(m_threads->mutex);
        if (m_threads->taken && !waits) {
            return WAIT_TIMEOUT;
        }
        m_threads->free.wait(lock, [this] { return !m_threads->taken; });
        m_threads->taken = true;
    }
    const DWORD result = Lock(waits);
    if (result != WAIT_OBJECT_0) {
        const std::lock_guard lock(m_threads->mutex);
        m_threads->taken = false;
        m_threads->free.notify_one();
    }
    return result;
}

void Event::GiveBack() {
    const std::lock_guard lock(m_threads->mutex);
    if (m_threads->taken) {
        ::flock(m_fd, LOCK_UN);
        m_threads->taken = false;
        m_threads->free.notify_one();
    }
}

HANDLE AddEvent(std::string path, int fd) {
    try {
        if (const HANDLE handle = kvtwin::AddHandle(std::make_shared<Event>(std::move(path), fd))) {
            return handle;
        }
    } catch (const std::bad_alloc&) {
        ::close(fd);
    }
    Fail(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
}

std::shared_ptr<Event> FindEvent(HANDLE handle) {
    auto event = std::dynamic_pointer_cast<Event>(kvtwin::FindHandle(handle));
    if (!event) {
        Fail(ERROR_INVALID_HANDLE);
    }
    return event;
}

}  // namespace

HANDLE CreateEventW(LPSECURITY_ATTRIBUTES, BOOL manualReset, BOOL signalled, LPCWSTR name) {
    std::string path;
    if (const DWORD error = PathOf(name, path)) {
        Fail(error);
        return nullptr;
    }
    if (manualReset || !signalled) {
        Fail(ERROR_NOT_SUPPORTED);
        return nullptr;
    }
    bool made = false;
    const int fd = OpenOrMake(path, made);
    if (fd < 0) {
        Fail(ErrorFromErrno(errno));
        return nullptr;
    }
    const HANDLE handle = AddEvent(std::move(path), fd);
    if (handle) {
        SetLastError(made ? ERROR_SUCCESS : ERROR_ALREADY_EXISTS);
    }
    return handle;
}

HANDLE OpenEventW(DWORD, BOOL, LPCWSTR name) {
    std::string path;
    if (const DWORD error = PathOf(name, path)) {
        Fail(error);
        return nullptr;
    }
    const int fd = OpenExisting(path);
    if (fd < 0) {
        Fail(ErrorFromErrno(errno));
        return nullptr;
    }
    return AddEvent(std::move(path), fd);
}

BOOL SetEvent(HANDLE handle) {
    const auto event = FindEvent(handle);
    if (!event) {
        return FALSE;
    }
    event->GiveBack();
    return TRUE;
}

DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds) {
    const auto event = FindEvent(handle);
    if (!event) {
        return WAIT_FAILED;
    }
    if (milliseconds != 0 && milliseconds != INFINITE) {
        Fail(ERROR_NOT_SUPPORTED);
        return WAIT_FAILED;
    }
    return event->Take(milliseconds != 0);
}
