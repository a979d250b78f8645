// What only the POSIX side of named events does: the lock file, holders that die, forks.

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <thread>

#include "tests/support/support.h"

namespace {

CString Name() {
    CString name;
    name.Format(_T("KvtTestPosix%u"), static_cast<unsigned>(::GetCurrentProcessId()));
    return name;
}

std::string FileOf(const CString& name) {
    return "/tmp/kvtfile-" + kvttest::Utf8(name) + ".lock";
}

/// An event of this process's own, whose file goes at the end.
class OwnEvent {
public:
    OwnEvent() : m_handle(::CreateEventW(nullptr, FALSE, TRUE, Name())) { EXPECT_TRUE(m_handle) << ::GetLastError(); }
    ~OwnEvent() {
        ::CloseHandle(m_handle);
        ::unlink(FileOf(Name()).c_str());
    }
    operator HANDLE() const { return m_handle; }

    void OpenAnew() {
        ::CloseHandle(m_handle);
        m_handle = ::CreateEventW(nullptr, FALSE, TRUE, Name());
    }

private:
    HANDLE m_handle;
};

int ExitCode(pid_t child) {
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(Win32EventsPosix, WhatIsNotSupportedIsRefused) {
    EXPECT_EQ(::CreateEventW(nullptr, TRUE, TRUE, Name()), nullptr);
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_NOT_SUPPORTED});
    EXPECT_EQ(::CreateEventW(nullptr, FALSE, FALSE, Name()), nullptr);
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_NOT_SUPPORTED});
    EXPECT_EQ(::CreateEventW(nullptr, FALSE, TRUE, nullptr), nullptr);
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
    EXPECT_EQ(::CreateEventW(nullptr, FALSE, TRUE, _T("a/b")), nullptr);
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_INVALID_NAME});
    EXPECT_EQ(::CreateEventW(nullptr, FALSE, TRUE, CString(_T('a'), 201)), nullptr);
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_FILENAME_EXCED_RANGE});
    const OwnEvent event;
    EXPECT_EQ(::WaitForSingleObject(event, 100), DWORD{WAIT_FAILED});
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_NOT_SUPPORTED});
}

TEST(Win32EventsPosix, EverybodyMayReadTheLockFileWhateverTheUmask) {
    const mode_t before = ::umask(077);
    const OwnEvent event;
    ::umask(before);
    struct stat status {};
    ASSERT_EQ(::stat(FileOf(Name()).c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0644u);
}

TEST(Win32EventsPosix, ALinkInTheFilesPlaceIsNotFollowed) {
    const std::string file = FileOf(Name());
    const std::string target = file + ".target";
    ASSERT_EQ(::symlink(target.c_str(), file.c_str()), 0);
    EXPECT_EQ(::CreateEventW(nullptr, FALSE, TRUE, Name()), nullptr);
    EXPECT_NE(::access(target.c_str(), F_OK), 0);
    ::unlink(file.c_str());
    ASSERT_EQ(::mkfifo(file.c_str(), 0666), 0);
    EXPECT_EQ(::CreateEventW(nullptr, FALSE, TRUE, Name()), nullptr);
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_ACCESS_DENIED});
    ::unlink(file.c_str());
}

TEST(Win32EventsPosix, AHolderThatIsKilledGivesTheEventBack) {
    const OwnEvent event;
    int pipes[2];
    ASSERT_EQ(::pipe(pipes), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        const char done = ::WaitForSingleObject(event, INFINITE) == WAIT_OBJECT_0 ? 'y' : 'n';
        ::_exit(::write(pipes[1], &done, 1) == 1 && ::pause() == 0 ? 0 : 1);
    }
    char done = 0;
    ASSERT_EQ(::read(pipes[0], &done, 1), 1);
    EXPECT_EQ(done, 'y');
    EXPECT_EQ(::WaitForSingleObject(event, 0), DWORD{WAIT_TIMEOUT});
    ::kill(child, SIGKILL);
    ExitCode(child);
    EXPECT_EQ(::WaitForSingleObject(event, INFINITE), DWORD{WAIT_OBJECT_0});
    EXPECT_TRUE(::SetEvent(event));
    ::close(pipes[0]);
    ::close(pipes[1]);
}

TEST(Win32EventsPosix, AForkedChildHoldsNothing) {
    const OwnEvent event;
    ASSERT_EQ(::WaitForSingleObject(event, INFINITE), DWORD{WAIT_OBJECT_0});
    const pid_t child = ::fork();
    if (child == 0) {
        const bool taken = ::WaitForSingleObject(event, 0) == WAIT_TIMEOUT;
        ::SetEvent(event);
        ::_exit(taken && ::WaitForSingleObject(event, 0) == WAIT_TIMEOUT ? 0 : 1);
    }
    EXPECT_EQ(ExitCode(child), 0);
    EXPECT_TRUE(::SetEvent(event));
}

TEST(Win32EventsPosix, AChildThatLivesOnDoesNotKeepWhatItsParentHeld) {
    OwnEvent event;
    ASSERT_EQ(::WaitForSingleObject(event, INFINITE), DWORD{WAIT_OBJECT_0});
    int pipes[2];
    ASSERT_EQ(::pipe(pipes), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        ::close(pipes[1]);
        char end = 0;
        ::_exit(static_cast<int>(::read(pipes[0], &end, 1)));
    }
    event.OpenAnew();
    EXPECT_EQ(::WaitForSingleObject(event, 0), DWORD{WAIT_OBJECT_0});
    ::close(pipes[0]);
    ::close(pipes[1]);
    EXPECT_EQ(ExitCode(child), 0);
}

}  // namespace
