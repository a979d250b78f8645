// LOG in many processes: nothing lost, split or mixed; writers that are killed; forks; other users of the log file.

#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <thread>

#include "kvtfile/LogFile.h"
#include "platform/win32/paths.h"
#include "tests/support/support.h"

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KVTTEST_ADDRESS_SANITIZER
#endif
#endif
#if defined(__SANITIZE_ADDRESS__)
#define KVTTEST_ADDRESS_SANITIZER
#endif

namespace {

using kvtfile::LOG;
using kvttest::ReadBytes;
using kvttest::TestFolder;

int ExitCode(pid_t child) {
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

template <typename Work>
pid_t InChild(Work work) {
    const pid_t child = ::fork();
    if (child == 0) {
        ::alarm(120);
        work();
        ::_exit(0);
    }
    return child;
}

constexpr int kProcesses = 8;
constexpr int kLines = 12500;
constexpr size_t kStamp = 20;

TEST(LogProcesses, OfAHundredThousandLinesNoneIsLostSplitOrMixed) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.log"));
    std::vector<pid_t> children;
    for (int process = 0; process < kProcesses; ++process) {
        children.push_back(InChild([&] {
            LOG::SetLogFile(path);
            for (int i = 0; i < kLines; ++i) {
                // Of different lengths, so that lines written over one another would show.
                LOG::Out(_T("%d %d %s."), process, i, CString(_T('x'), i % 97).GetString());
            }
        }));
    }
    for (const pid_t child : children) {
        EXPECT_EQ(ExitCode(child), 0);
    }
    const std::string bytes = ReadBytes(path);
    std::vector<int> next(kProcesses, 0);
    size_t lines = 0;
    for (size_t at = 0; at < bytes.size(); ++lines) {
        ASSERT_EQ(bytes.compare(at, 2, "\r\n"), 0) << "at " << at;
        const size_t end = std::min(bytes.find('\r', at + 2), bytes.size());
        const std::string line = bytes.substr(at + 2 + kStamp, end - at - 2 - kStamp);
        const int process = line.empty() ? -1 : line[0] - '0';
        ASSERT_TRUE(process >= 0 && process < kProcesses) << line;
        // Each process's own lines come in their order.
        const int i = next[static_cast<size_t>(process)]++;
        const std::string text(static_cast<size_t>(i % 97), 'x');
        ASSERT_EQ(line, std::to_string(process) + " " + std::to_string(i) + " " + text + ".");
        at = end;
    }
    EXPECT_EQ(lines, size_t{kProcesses} * kLines);
}

TEST(LogProcesses, AWriterThatIsKilledWhileItHoldsTheLockDoesNotStopTheOthers) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.log"));
    int pipes[2];
    ASSERT_EQ(::pipe(pipes), 0);
    const pid_t child = InChild([&] {
        LOG::SetLogFile(path);
        LOG::Out(_T("first"));
        ::WaitForSingleObject(LOG::s_hWriteEvent, INFINITE);
        if (::write(pipes[1], "h", 1) == 1) {
            ::pause();
        }
    });
    char held = 0;
    ASSERT_EQ(::read(pipes[0], &held, 1), 1);
    std::atomic<bool> written{false};
    LOG::SetLogFile(path);
    std::thread writer([&] {
        LOG::Out(_T("second"));
        written = true;
    });
    const HANDLE event = ::OpenEventW(EVENT_MODIFY_STATE, FALSE, _T("VekLogWrite"));
    EXPECT_EQ(::WaitForSingleObject(event, 0), DWORD{WAIT_TIMEOUT});
    EXPECT_FALSE(written);
    ::kill(child, SIGKILL);
    ExitCode(child);
    writer.join();
    EXPECT_TRUE(written);
    EXPECT_NE(ReadBytes(path).find("]second"), std::string::npos);
    ::CloseHandle(event);
    ::close(pipes[0]);
    ::close(pipes[1]);
    LOG::SetLogFile(nullptr);
}

TEST(LogProcesses, WritersWaitForALockOnTheLogFileItself) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.log"));
    kvttest::WriteBytes(path, "");
    const int other = ::open(kvtwin::UnixPath(path).c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(::flock(other, LOCK_EX), 0);
    std::atomic<bool> written{false};
    LOG::SetLogFile(path);
    std::thread writer([&] {
        LOG::Out(_T("text"));
        written = true;
    });
    // The writer holds the event as soon as it waits for the file.
    const HANDLE event = ::CreateEventW(nullptr, FALSE, TRUE, _T("VekLogWrite"));
    while (::WaitForSingleObject(event, 0) == WAIT_OBJECT_0) {
        ::SetEvent(event);
        std::this_thread::yield();
    }
    EXPECT_FALSE(written);
    EXPECT_EQ(ReadBytes(path), "");
    ::flock(other, LOCK_UN);
    writer.join();
    EXPECT_NE(ReadBytes(path).find("]text"), std::string::npos);
    ::close(other);
    ::CloseHandle(event);
    LOG::SetLogFile(nullptr);
}

#ifndef KVTTEST_ADDRESS_SANITIZER
// The sanitizer's allocator is not safe in the child of a process with threads.
TEST(LogProcesses, AChildThatIsForkedWhileThreadsLogMayLog) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.log"));
    LOG::SetLogFile(path);
    LOG::Out(_T("first"));
    std::atomic<bool> stop{false};
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&] {
            while (!stop) {
                LOG::Out(_T("thread"));
            }
        });
    }
    for (int i = 0; i < 50; ++i) {
        EXPECT_EQ(ExitCode(InChild([&] {
                      ::alarm(20);
                      LOG::Out(_T("child %d."), i);
                  })),
                  0);
    }
    stop = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    const std::string bytes = ReadBytes(path);
    for (int i = 0; i < 50; ++i) {
        EXPECT_NE(bytes.find("]child " + std::to_string(i) + "."), std::string::npos);
    }
    LOG::SetLogFile(nullptr);
}

TEST(LogProcesses, AChildThatIsForkedWhileThreadsChangeSettingsMayDoSoToo) {
    std::atomic<bool> stop{false};
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&] {
            while (!stop) {
                LOG::SetPrefix(_T("thread"));
                LOG::GetLogFile();
            }
        });
    }
    for (int i = 0; i < 200; ++i) {
        ASSERT_EQ(ExitCode(InChild([&] {
                      ::alarm(20);
                      LOG::SetPrefix(_T("child"));
                      LOG::GetLogFile();
                  })),
                  0)
            << "child " << i;
    }
    stop = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    LOG::s_strLogPrefix.Empty();
}

TEST(LogProcesses, AChildThatIsForkedWhileThreadsAskForTheTimeMayDoSoToo) {
    std::atomic<bool> stop{false};
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&] {
            const SYSTEMTIME noon = {2024, 7, 0, 1, 12, 0, 0, 0};
            SYSTEMTIME utc;
            while (!stop) {
                ::TzSpecificLocalTimeToSystemTime(nullptr, &noon, &utc);
            }
        });
    }
    for (int i = 0; i < 200; ++i) {
        ASSERT_EQ(ExitCode(InChild([&] {
                      ::alarm(20);
                      LOG::sOut(_T("text"));
                      SYSTEMTIME utc;
                      const SYSTEMTIME noon = {2024, 7, 0, 1, 12, 0, 0, 0};
                      ::TzSpecificLocalTimeToSystemTime(nullptr, &noon, &utc);
                  })),
                  0)
            << "child " << i;
    }
    stop = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
}
#endif

}  // namespace
