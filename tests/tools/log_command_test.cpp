// kvtfile log write, follow.

#include <thread>

#include "tests/tools/command_fixture.h"

namespace kvttest {
namespace {

class LogCommand : public CommandTest {
protected:
    static constexpr size_t kStamp = 20;  // "[ 5- 5 14: 3: 7_ 42]"
};

TEST_F(LogCommand, WriteAppendsAMessage) {
    Expect({"log", "write", "a.log", "中文 100%d"}, 0, "");
    Expect({"log", "write", "a.log", "two", "--tag", "Init", "--prefix", "App"}, 0, "");
    const std::string bytes = Read(_T("a.log"));
    const std::string first = "\xD6\xD0\xCE\xC4 100%d";
    EXPECT_EQ(bytes.substr(0, 3), "\r\n[");
    EXPECT_EQ(bytes.substr(2 + kStamp, first.size()), first);
    const std::string second = bytes.substr(2 + kStamp + first.size());
    EXPECT_EQ(second.substr(0, 8), "\r\n[App][");
    EXPECT_EQ(second.substr(7 + kStamp), "[Init]two");
}

TEST_F(LogCommand, WriteAppendsALine) {
    Write(_T("a.log"), "old\r\n");
    Expect({"log", "write", "a.log", "one", "--line"}, 0, "");
    EXPECT_EQ(Read(_T("a.log")), "old\r\none\r\n");
    Expect({"log", "write", "a.log", "two", "--time"}, 0, "");
    const std::string line = Read(_T("a.log")).substr(10);
    EXPECT_EQ(line.size(), 19u + 2 + 5);
    EXPECT_EQ(line.substr(19), "  two\r\n");
}

TEST_F(LogCommand, ALogThatCannotBeWrittenIsTold) {
    const std::string advice = "  The file is as it was. Look at its rights and at the room left.\n";
    for (const char* form : {"--prefix=x", "--line", "--time"}) {
        Expect({"log", "write", "no/a.log", "x", form}, 3, "",
               "kvtfile: no/a.log: " + Utf8(SystemText(ERROR_PATH_NOT_FOUND)) + "\n" + advice);
    }
    EXPECT_EQ(Run({"log", "write", "a.log", "x", "--line", "--tag", "t"}).exitCode, 2);
    EXPECT_EQ(Run({"log", "write", "a.log"}).exitCode, 2);
    EXPECT_TRUE(Folder().Names().empty());
}

TEST_F(LogCommand, ProcessesThatWriteToOneLogTakeTurns) {
    constexpr int kProcesses = 4;
    constexpr int kMessages = 4;
    std::vector<std::thread> threads;
    for (int process = 0; process < kProcesses; ++process) {
        threads.emplace_back([&, process] {
            for (int i = 0; i < kMessages; ++i) {
                const std::string text = std::to_string(process) + "/" + std::to_string(i) + ".";
                EXPECT_EQ(RunProcess(KVTFILE_COMMAND, {"log", "write", "a.log", text}).exitCode, 0);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    const std::string bytes = Read(_T("a.log"));
    EXPECT_EQ(bytes.size(), size_t{kProcesses} * kMessages * (2 + kStamp + 4));
    for (int process = 0; process < kProcesses; ++process) {
        for (int i = 0; i < kMessages; ++i) {
            EXPECT_NE(bytes.find("]" + std::to_string(process) + "/" + std::to_string(i) + "."), std::string::npos);
        }
    }
}

TEST_F(LogCommand, ProcessesThatWriteLinesToOneLogTakeTurnsToo) {
    constexpr int kProcesses = 4;
    constexpr int kLines = 4;
    std::vector<std::thread> threads;
    for (int process = 0; process < kProcesses; ++process) {
        threads.emplace_back([&, process] {
            for (int i = 0; i < kLines; ++i) {
                const std::string text = std::to_string(process) + "/" + std::to_string(i) + ".";
                EXPECT_EQ(RunProcess(KVTFILE_COMMAND, {"log", "write", "a.log", text, "--line"}).exitCode, 0);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    const std::string bytes = Read(_T("a.log"));
    EXPECT_EQ(bytes.size(), size_t{kProcesses} * kLines * 6);
    for (int process = 0; process < kProcesses; ++process) {
        for (int i = 0; i < kLines; ++i) {
            EXPECT_NE(bytes.find(std::to_string(process) + "/" + std::to_string(i) + ".\r\n"), std::string::npos);
        }
    }
}

TEST_F(LogCommand, FollowShowsWhatIsThere) {
    std::string bytes;
    for (int i = 1; i <= 12; ++i) {
        bytes += "line " + std::to_string(i) + "\r\n";
    }
    Write(_T("a.log"), bytes + "\xD6\xD0\xCE\xC4");
    Expect({"log", "follow", "a.log", "--once", "--last", "2"}, 0, "line 12\n中文\n");
    Expect({"log", "follow", "a.log", "--once", "--last", "0"}, 0, "");
    Expect({"log", "follow", "a.log", "--once"}, 0,
           "line 4\nline 5\nline 6\nline 7\nline 8\nline 9\nline 10\nline 11\nline 12\n中文\n");
    Expect({"log", "follow", "a.log", "--all", "--lines", "2"}, 0, "line 1\nline 2\n");
    Expect({"log", "follow", "a.log", "--once", "--last", "2", "--json"}, 0,
           "{\"line\":\"line 12\"}\n{\"line\":\"中文\"}\n");
}

TEST_F(LogCommand, FollowWaitsForWhatComes) {
    Write(_T("a.log"), "old\r\n");
    ProcessResult result;
    std::thread follower([&] { result = Run({"log", "follow", "a.log", "--all", "--lines", "4"}); });
    for (const char* text : {"one", "two", "three"}) {
        Expect({"log", "write", "a.log", text, "--line"}, 0, "");
    }
    follower.join();
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, "old\none\ntwo\nthree\n");
    EXPECT_EQ(result.err, "");
}

TEST_F(LogCommand, FollowShowsEachMessageAsOneLine) {
    Write(_T("a.log"), "");
    ProcessResult result;
    std::thread follower([&] { result = Run({"log", "follow", "a.log", "--all", "--lines", "3"}); });
    for (const char* text : {"one", "two", "three"}) {
        Expect({"log", "write", "a.log", text}, 0, "");
    }
    follower.join();
    EXPECT_EQ(result.exitCode, 0);
    std::vector<std::string> texts;
    for (size_t at = 0; at < result.out.size();) {
        const size_t end = result.out.find('\n', at);
        ASSERT_GT(end - at, kStamp) << result.out;
        texts.push_back(result.out.substr(at + kStamp, end - at - kStamp));
        at = end + 1;
    }
    EXPECT_EQ(texts, (std::vector<std::string>{"one", "two", "three"}));
}

TEST_F(LogCommand, WriteFindsItsMessageWhateverItHolds) {
    Expect({"log", "write", "a.log", ""}, 0, "");
    Expect({"log", "write", "a.log", "two\nlines 😀 é 中"}, 0, "");
    Expect({"log", "write", "a.log", "x", "--tag", "中 😀"}, 0, "");
    const std::string bytes = Read(_T("a.log"));
    EXPECT_NE(bytes.find("]two\r\nlines ? \xA8\xA6 \xD6\xD0\r\n"), std::string::npos);
    EXPECT_NE(bytes.find("][\xD6\xD0 ?]x"), std::string::npos);
}

TEST_F(LogCommand, FollowOfAMissingFileIsAFileError) {
    Expect({"log", "follow", "no.log"}, 3, "",
           "kvtfile: no.log: " + Utf8(SystemText(ERROR_FILE_NOT_FOUND)) + "\n  Look at the path and at its rights.\n");
}

}  // namespace
}  // namespace kvttest
