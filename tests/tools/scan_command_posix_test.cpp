// kvtfile scan where folders may be closed, names may be no text, and a terminal asks for the end.

#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>

#include "platform/win32/paths.h"
#include "tests/tools/command_fixture.h"
#include "tools/kvtfile/progress.h"

namespace {

namespace fs = std::filesystem;
using kvttest::CommandTest;
using kvttest::Json;
using kvttest::ProcessResult;

class ScanCommandPosix : public CommandTest {
protected:
    fs::path Tree() const { return kvtwin::UnixPath(Folder().Path()); }
};

TEST_F(ScanCommandPosix, UnreadableFoldersAreCountedAndNamed) {
    if (::geteuid() == 0) {
        GTEST_SKIP() << "root may read everything";
    }
    fs::create_directories(Tree() / "closed");
    fs::create_directories(Tree() / "open");
    Write(_T("open\\f"), "");
    ::chmod((Tree() / "closed").c_str(), 0);
    const ProcessResult result = Run({"scan", ".", "-r", "--csv"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_NE(result.out.find("open\\f,0,"), std::string::npos);
    EXPECT_EQ(result.err,
              "kvtfile: closed: cannot be read\n"
              "kvtfile: 1 folder or file could not be read; the rest is complete\n"
              "  Look at the path and at its rights.\n");
    ::chmod((Tree() / "closed").c_str(), 0700);
}

TEST_F(ScanCommandPosix, NamesThatAreNoTextAreShown) {
    ::close(::open((Tree() / "bad\xFFname").c_str(), O_CREAT | O_WRONLY, 0600));
    const ProcessResult result = Run({"scan", ".", "--json", "--crc"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(Json::parse(result.out)["entries"][0]["path"], "bad\xEF\xBF\xBDname");
}

// The command on a terminal of its own; Ctrl-C is typed as soon as the progress line shows.
TEST_F(ScanCommandPosix, CtrlCOnATerminalEndsTheScanWithWhatWasFound) {
    // A sparse file takes long enough to be read.
    Write(_T("small"), "abcd");
    Write(_T("tiny"), "");
    fs::resize_file(Tree() / "tiny", 40ULL << 30);
    const int terminal = ::posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_GE(terminal, 0);
    ASSERT_EQ(::grantpt(terminal), 0);
    ASSERT_EQ(::unlockpt(terminal), 0);
    const std::string name = ::ptsname(terminal);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        ::setsid();
        const int side = ::open(name.c_str(), O_RDWR);
        ::ioctl(side, TIOCSCTTY, 0);
        for (const int stream : {0, 1, 2}) {
            ::dup2(side, stream);
        }
        ::execl(KVTFILE_COMMAND, KVTFILE_COMMAND, "scan", ".", "--crc", nullptr);
        ::_exit(127);
    }
    std::string screen;
    char part[4096];
    bool typed = false;
    for (ssize_t got = 0; (got = ::read(terminal, part, sizeof part)) > 0;) {
        screen.append(part, static_cast<size_t>(got));
        if (!typed && screen.find("left") != std::string::npos) {
            typed = ::write(terminal, "\x03", 1) == 1;
        }
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    ::close(terminal);
    EXPECT_TRUE(typed) << screen;
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 1) << status;
    EXPECT_NE(screen.find("reading  ["), std::string::npos) << screen;
    EXPECT_NE(screen.find("  small\r\n"), std::string::npos) << screen;
    EXPECT_NE(screen.find("cancelled; 2 entries found so far"), std::string::npos) << screen;
}

TEST(ScanProgress, TheLineTellsRateAndRemainingTimeAndFits) {
    kvtcommand::Progress progress;
    progress.found = 1234567;
    EXPECT_EQ(kvtcommand::ProgressLine(progress, 10, 80), "scanning  1,234,567 found  123,456/s  0:10");
    progress.counting = false;
    progress.bytesInAll = 4ULL << 30;
    progress.bytesDone = 1ULL << 30;
    EXPECT_EQ(kvtcommand::ProgressLine(progress, 2, 80),
              "reading  [####..............]   25%  1.0 GiB of 4.0 GiB  512.0 MiB/s  0:06 left");
    EXPECT_EQ(kvtcommand::ProgressLine(progress, 2, 60), "reading     25%  1.0 GiB of 4.0 GiB  512.0 MiB/s  0:06 left");
    for (int columns = 0; columns < 200; ++columns) {
        EXPECT_LT(kvtcommand::ProgressLine(progress, 2, columns).size(), static_cast<size_t>(std::max(columns, 1)));
    }
    progress.bytesDone = 0;
    EXPECT_NE(kvtcommand::ProgressLine(progress, 0, 100).find("  0%  0 B of 4.0 GiB"), std::string::npos);
    progress.bytesDone = 5ULL << 30;
    EXPECT_NE(kvtcommand::ProgressLine(progress, 4000, 100).find("100%"), std::string::npos);
}

}  // namespace
