// LOG: the form of messages, formats that are wrong, and writers in many threads.

#include "kvtfile/LogFile.h"

#include <atomic>
#include <set>
#include <thread>

#include "tests/support/support.h"

namespace {

using kvtfile::LOG;
using kvttest::ReadBytes;
using kvttest::TestFolder;
using kvttest::Utf8;
using kvttest::WriteBytes;

/// A message's text behind its stamp, which is checked.
std::string BehindStamp(const std::string& message) {
    const std::string form = "[dd-dd dd:dd:dd_ddd]";
    if (message.size() < form.size()) {
        ADD_FAILURE() << "too short: " << message;
        return {};
    }
    for (size_t i = 0; i < form.size(); ++i) {
        const char c = message[i];
        const bool fits = form[i] == 'd' ? c == ' ' || (c >= '0' && c <= '9') : c == form[i];
        EXPECT_TRUE(fits) << "place " << i << " of " << message;
    }
    return message.substr(form.size());
}

std::string BehindStamp(const CString& message) {
    return BehindStamp(Utf8(message));
}

// Each test runs with what it sets itself; a prefix cannot be taken back.
class Log : public testing::Test {
protected:
    ~Log() override {
        LOG::SetLogFile(nullptr);
        LOG::s_strLogPrefix.Empty();
    }
    CString Path(const CString& name = _T("a.log")) const { return m_folder.Path(name); }
    std::string Bytes() const { return ReadBytes(Path()); }

private:
    TestFolder m_folder;
};

TEST_F(Log, WithoutAPathNothingIsWrittenAndTheResultIsOne) {
    EXPECT_EQ(LOG::Out(_T("x")), 1);
    EXPECT_EQ(LOG::Out0(_T("tag"), _T("x")), 1);
    EXPECT_EQ(LOG::GetLogFile(), _T(""));
}

TEST_F(Log, TheMessageHasItsLineFeedInFront) {
    EXPECT_EQ(LOG::SetLogFile(Path()), 1);
    EXPECT_EQ(LOG::GetLogFile(), Path());
    EXPECT_EQ(LOG::Out(_T("one %d %s"), 7, _T("中文")), 1);
    EXPECT_EQ(LOG::Out0(_T("Init"), _T("two")), 1);
    const std::string bytes = Bytes();
    ASSERT_EQ(bytes.substr(0, 2), "\r\n");
    const size_t second = bytes.find("\r\n", 2);
    ASSERT_NE(second, std::string::npos);
    EXPECT_EQ(BehindStamp(bytes.substr(2, second - 2)), "one 7 \xD6\xD0\xCE\xC4");
    EXPECT_EQ(BehindStamp(bytes.substr(second + 2)), "[Init]two") << "and none behind";
}

TEST_F(Log, WhatTheFileHeldStays) {
    WriteBytes(Path(), "old");
    LOG::SetLogFile(Path());
    LOG::Out(_T("new"));
    const std::string bytes = Bytes();
    EXPECT_EQ(bytes.substr(0, 5), "old\r\n");
    EXPECT_EQ(BehindStamp(bytes.substr(5)), "new");
}

TEST_F(Log, TextsAreBuiltWithoutWriting) {
    LOG::SetLogFile(Path());
    EXPECT_EQ(BehindStamp(LOG::sOut(_T("%s-%5.2f"), _T("x"), 1.5)), "x- 1.50");
    EXPECT_EQ(BehindStamp(LOG::sOut0(_T("tag"), _T("%I64d"), 1LL << 40)), "[tag]1099511627776");
    EXPECT_EQ(BehindStamp(LOG::sOut0(_T(""), _T("x"))), "x");
    EXPECT_EQ(BehindStamp(LOG::sOut0(nullptr, _T("x"))), "x");
    EXPECT_FALSE(kvttest::Exists(Path()));
}

TEST_F(Log, ThePrefixStandsBeforeTheStamp) {
    EXPECT_EQ(LOG::SetPrefix(_T("App")), 1);
    EXPECT_EQ(LOG::SetPrefix(nullptr), 1);
    EXPECT_EQ(LOG::SetPrefix(_T("")), 1);
    const std::string text = Utf8(LOG::sOut0(_T("Init"), _T("text")));
    EXPECT_EQ(text.substr(0, 5), "[App]");
    EXPECT_EQ(BehindStamp(text.substr(5)), "[Init]text");
}

TEST_F(Log, TheStampIsTheLocalTime) {
    SYSTEMTIME before;
    ::GetLocalTime(&before);
    const std::string text = Utf8(LOG::sOut(_T("")));
    SYSTEMTIME after;
    ::GetLocalTime(&after);
    if (before.wMinute == after.wMinute) {
        char expected[32];
        std::snprintf(expected, sizeof expected, "[%2d-%2d %2d:%2d:", before.wMonth, before.wDay, before.wHour,
                      before.wMinute);
        EXPECT_EQ(text.substr(0, 13), expected);
    }
}

TEST_F(Log, AWrongFormatIsPrintedAsItStands) {
    EXPECT_EQ(BehindStamp(LOG::sOut(_T("100%q"))), "100%q");
    EXPECT_EQ(BehindStamp(LOG::sOut(_T("%n"))), "%n");
    EXPECT_EQ(BehindStamp(LOG::sOut(_T("%99999999999d"))), "%99999999999d");
    EXPECT_EQ(BehindStamp(LOG::sOut(_T("50%"))), "50");
    EXPECT_EQ(BehindStamp(LOG::sOut(_T("%%"))), "%");
    EXPECT_EQ(BehindStamp(LOG::sOut(nullptr)), "");
    EXPECT_EQ(BehindStamp(LOG::sOut(_T("%s"), static_cast<LPCWSTR>(nullptr))), "(null)");
}

TEST_F(Log, LongMessagesAreWhole) {
    const CString text(_T('x'), 1000000);
    LOG::SetLogFile(Path());
    LOG::Out(_T("%s"), text.GetString());
    EXPECT_EQ(BehindStamp(Bytes().substr(2)), std::string(1000000, 'x'));
}

TEST_F(Log, AMessageMayHoldLinesAndCharactersThatTheCodePageLacks) {
    LOG::SetLogFile(Path());
    LOG::Out(_T("a\nb😀"));
    EXPECT_EQ(BehindStamp(Bytes().substr(2)), "a\r\nb?");
}

TEST_F(Log, ALogThatCannotBeOpenedIsPassedOver) {
    LOG::SetLogFile(Path(_T("no\\a.log")));
    EXPECT_EQ(LOG::Out(_T("x")), 1);
    EXPECT_FALSE(kvttest::Exists(Path(_T("no"))));
    LOG::SetLogFile(Path() + _T("\\"));
    EXPECT_EQ(LOG::Out(_T("x")), 1);
    LOG::SetLogFile(Path());
    EXPECT_EQ(LOG::Out(_T("x")), 1);
    EXPECT_EQ(BehindStamp(Bytes().substr(2)), "x");
}

TEST_F(Log, TheFileIsClosedBetweenMessages) {
    LOG::SetLogFile(Path());
    LOG::Out(_T("one"));
    ASSERT_TRUE(::MoveFileW(Path(), Path(_T("old.log"))));
    LOG::Out(_T("two"));
    EXPECT_EQ(BehindStamp(ReadBytes(Path(_T("old.log"))).substr(2)), "one");
    EXPECT_EQ(BehindStamp(Bytes().substr(2)), "two");
}

TEST_F(Log, APathMayChangeAtAnyTime) {
    LOG::SetLogFile(Path());
    LOG::Out(_T("one"));
    LOG::SetLogFile(Path(_T("b.log")));
    LOG::Out(_T("two"));
    EXPECT_EQ(BehindStamp(Bytes().substr(2)), "one");
    EXPECT_EQ(BehindStamp(ReadBytes(Path(_T("b.log"))).substr(2)), "two");
}

TEST_F(Log, APathFindsItsFileWithoutRegardToCase) {
    WriteBytes(Path(_T("Case.log")), "old");
    LOG::SetLogFile(Path(_T("case.LOG")));
    LOG::Out(_T("new"));
    const std::string bytes = ReadBytes(Path(_T("Case.log")));
    EXPECT_EQ(bytes.substr(0, 5), "old\r\n");
}

TEST_F(Log, AFileThatIsOpenWithoutSharingIsPassedOver) {
    LOG::SetLogFile(Path());
    {
        CFile other(Path(), CFile::modeCreate | CFile::modeWrite | CFile::shareDenyWrite);
        EXPECT_EQ(LOG::Out(_T("lost")), 1);
    }
    LOG::Out(_T("kept"));
    EXPECT_EQ(BehindStamp(Bytes().substr(2)), "kept");
}

TEST_F(Log, ReadersDoNotStandInTheWay) {
    LOG::SetLogFile(Path());
    LOG::Out(_T("one"));
    CFile reader(Path(), CFile::modeRead | CFile::shareDenyNone);
    LOG::Out(_T("two"));
    EXPECT_EQ(BehindStamp(Bytes().substr(2 + 20 + 3 + 2)), "two");
}

TEST_F(Log, NoMessageOfManyThreadsIsLostSplitOrMixed) {
    constexpr int kThreads = 8;
    constexpr int kMessages = 400;
    LOG::SetLogFile(Path());
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([thread] {
            for (int i = 0; i < kMessages; ++i) {
                LOG::Out0(_T("T"), _T("%d/%d."), thread, i);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    const std::string bytes = Bytes();
    std::set<std::string> messages;
    for (size_t at = 0; at < bytes.size();) {
        ASSERT_EQ(bytes.substr(at, 2), "\r\n");
        const size_t end = std::min(bytes.find("\r\n", at + 2), bytes.size());
        messages.insert(BehindStamp(bytes.substr(at + 2, end - at - 2)));
        at = end;
    }
    EXPECT_EQ(messages.size(), size_t{kThreads} * kMessages);
    for (int thread = 0; thread < kThreads; ++thread) {
        for (int i = 0; i < kMessages; ++i) {
            ASSERT_EQ(messages.count("[T]" + std::to_string(thread) + "/" + std::to_string(i) + "."), 1u);
        }
    }
}

TEST_F(Log, SettingsMayChangeWhileOthersLog) {
    std::atomic<bool> stop{false};
    std::thread writer([&] {
        while (!stop) {
            LOG::Out(_T("x"));
        }
    });
    for (int i = 0; i < 200; ++i) {
        LOG::SetLogFile(i % 2 ? Path() : Path(_T("b.log")));
        LOG::SetPrefix(i % 2 ? _T("A") : _T("B"));
    }
    stop = true;
    writer.join();
    LOG::Out(_T("last"));
    EXPECT_NE(Bytes().find("]last"), std::string::npos);
}

TEST_F(Log, ViewingNeedsAPath) {
    EXPECT_EQ(LOG::ViewLogFile(), 0);
}

}  // namespace
