// kvtfile scan where folders may be closed, names may be no text, and a terminal asks for the end.

#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>

#include "platform/tool_entry/terminal.h"
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

TEST_F(ScanCommandPosix, FoldersThatTellNamesAloneAreCountedToo) {
    if (::geteuid() == 0) {
        GTEST_SKIP() << "root may read everything";
    }
    fs::create_directories(Tree() / "names" / "sub");
    ::chmod((Tree() / "names").c_str(), 0444);
    const ProcessResult result = Run({"scan", ".", "-r"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(result.err.substr(0, 37), "kvtfile: names: cannot be read\nkvtfil");
    EXPECT_EQ(Run({"scan", "names"}).exitCode, 3);
    ::chmod((Tree() / "names").c_str(), 0700);
}

TEST_F(ScanCommandPosix, UnreadableFilesOf4GiBAreNotTakenForRead) {
    if (::geteuid() == 0) {
        GTEST_SKIP() << "root may read everything";
    }
    Write(_T("closed"), "");
    fs::resize_file(Tree() / "closed", 4ULL << 30);
    ::chmod((Tree() / "closed").c_str(), 0);
    const ProcessResult result = Run({"scan", ".", "--crc", "--checksum", "--json"});
    EXPECT_EQ(result.exitCode, 3);
    const Json json = Json::parse(result.out);
    EXPECT_EQ(json["unreadable"], Json::array({"closed"}));
    EXPECT_EQ(json["entries"][0]["crc"], nullptr);
    EXPECT_EQ(json["entries"][0]["checksum"], nullptr);
}

TEST_F(ScanCommandPosix, FilesOver4GiBAreReadWhole) {
    Write(_T("large"), "abcd");
    fs::resize_file(Tree() / "large", (4ULL << 30) + 5);
    const ProcessResult result = Run({"scan", ".", "--checksum", "--json"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(Json::parse(result.out)["entries"][0]["checksum"], "64636261");
}

TEST_F(ScanCommandPosix, NamesThatAreNoTextAreShownAndToldApart) {
    fs::create_directories(Tree() / "t");
    const auto make = [this](const char* name, const char* bytes) {
        const int file = ::open((Tree() / "t" / name).c_str(), O_CREAT | O_WRONLY, 0600);
        EXPECT_EQ(::write(file, bytes, std::strlen(bytes)), static_cast<ssize_t>(std::strlen(bytes)));
        ::close(file);
    };
    make("bad\xFEname", "1");
    make("bad\xFFname", "22");
    make("back\\slash", "333");
    const ProcessResult result = Run({"scan", "t", "--json", "--sort", "size"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    const Json entries = Json::parse(result.out)["entries"];
    EXPECT_EQ(entries[0]["path"], "bad\\\\xFEname");
    EXPECT_EQ(entries[1]["path"], "bad\\\\xFFname");
    EXPECT_EQ(entries[2]["path"], "back\\\\x5Cslash");
    Write(_T("before"), result.out);
    fs::remove(Tree() / "t" / "bad\xFEname");
    EXPECT_EQ(Run({"scan", "t", "--verify", "before"}).out, "removed  bad\\\\xFEname\n");
}

TEST_F(ScanCommandPosix, ControlCharactersInNamesReachNoTerminal) {
    fs::create_directories(Tree() / "t");
    ::close(::open((Tree() / "t" / "a\x1B[2J\n\x7F").c_str(), O_CREAT | O_WRONLY, 0600));
    const ProcessResult plain = Run({"scan", "t"});
    EXPECT_EQ(plain.exitCode, 0);
    EXPECT_EQ(plain.out.substr(plain.out.find(" a") + 1), "a\\\\x1B[2J\\\\x0A\\\\x7F\n");
    const ProcessResult csv = Run({"scan", "t", "--csv"});
    EXPECT_NE(csv.out.find("\n\"a\x1B[2J\n\x7F\",0,"), std::string::npos) << csv.out;
    Write(_T("before"), csv.out);
    EXPECT_EQ(Run({"scan", "t", "--verify", "before"}).exitCode, 0);
    ::close(::open((Tree() / "t" / "new\n").c_str(), O_CREAT | O_WRONLY, 0600));
    EXPECT_EQ(Run({"scan", "t", "--verify", "before"}).out, "added    new\\\\x0A\n");
}

TEST_F(ScanCommandPosix, ListingsOfOtherTimeZonesVerify) {
    fs::create_directories(Tree() / "t");
    Write(_T("t\\winter"), "1");
    Write(_T("t\\summer"), "2");
    kvttest::SetFileSeconds(File(_T("t\\winter")), 1705320000);
    kvttest::SetFileSeconds(File(_T("t\\summer")), 1721044800);
    for (const char* form : {"--json", "--csv"}) {
        ::setenv("TZ", "America/New_York", 1);
        const ProcessResult there = Run({"scan", "t", form, "--sort", "path"});
        EXPECT_NE(there.out.find("2024-01-15 07:00:00-05:00"), std::string::npos) << there.out;
        EXPECT_NE(there.out.find("2024-07-15 08:00:00-04:00"), std::string::npos) << there.out;
        Write(_T("before"), there.out);
        ::setenv("TZ", "Asia/Kolkata", 1);
        EXPECT_EQ(Run({"scan", "t", "--verify", "before"}).exitCode, 0);
        kvttest::SetFileSeconds(File(_T("t\\winter")), 1705320001);
        EXPECT_EQ(Run({"scan", "t", "--verify", "before"}).out,
                  "changed  winter: modified 2024-01-15 07:00:00-05:00 -> 2024-01-15 17:30:01+05:30\n");
        kvttest::SetFileSeconds(File(_T("t\\winter")), 1705320000);
    }
    ::unsetenv("TZ");
}

TEST(InterruptGuard, LeavesIgnoredRequestsIgnoredAndPutsEverythingBack) {
    const auto handler_of = [](int signal) {
        struct sigaction action {};
        ::sigaction(signal, nullptr, &action);
        return action.sa_handler;
    };
    const auto own = [](int) {};
    ::signal(SIGHUP, SIG_IGN);
    ::signal(SIGTERM, own);
    {
        const kvtterminal::InterruptGuard guard;
        EXPECT_EQ(handler_of(SIGHUP), SIG_IGN);
        EXPECT_NE(handler_of(SIGTERM), static_cast<sighandler_t>(own));
        ::raise(SIGHUP);
        EXPECT_EQ(*guard.Flag(), 0);
        ::raise(SIGTERM);
        EXPECT_EQ(*guard.Flag(), 1);
    }
    EXPECT_EQ(handler_of(SIGHUP), SIG_IGN);
    EXPECT_EQ(handler_of(SIGTERM), static_cast<sighandler_t>(own));
    ::signal(SIGHUP, SIG_DFL);
    ::signal(SIGTERM, SIG_DFL);
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
