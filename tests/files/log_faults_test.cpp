// Logs on a disk that is full or fails, and the exact head of a message.

#include "files/log_head.h"
#include "kvtfile/LogFile.h"
#include "platform/io/io.h"
#include "tests/support/support.h"

namespace {

using kvtfile::CFLogFile;
using kvtfile::LOG;
using kvttest::ReadBytes;
using kvttest::TestFolder;
using kvttest::WriteBytes;

SYSTEMTIME Moment() {
    SYSTEMTIME time = {};
    time.wYear = 2024;
    time.wMonth = 5;
    time.wDay = 5;
    time.wHour = 14;
    time.wMinute = 3;
    time.wSecond = 7;
    time.wMilliseconds = 42;
    return time;
}

TEST(LogHead, NumbersArePaddedWithBlanks) {
    using kvtfile::detail::LogHead;
    EXPECT_EQ(LogHead(_T("App"), Moment(), _T("Init")), _T("[App][ 5- 5 14: 3: 7_ 42][Init]"));
    EXPECT_EQ(LogHead(_T(""), Moment(), nullptr), _T("[ 5- 5 14: 3: 7_ 42]"));
    EXPECT_EQ(LogHead(_T(""), Moment(), _T("")), _T("[ 5- 5 14: 3: 7_ 42]"));
    EXPECT_EQ(LogHead(_T("中"), SYSTEMTIME{2024, 12, 0, 31, 23, 59, 58, 999}, _T("t")),
              _T("[中][12-31 23:59:58_999][t]"));
    EXPECT_EQ(LogHead(_T(""), SYSTEMTIME{2024, 1, 0, 1, 0, 0, 0, 0}, nullptr), _T("[ 1- 1  0: 0: 0_  0]"));
}

size_t g_room = 0;

/// A disk with so much room: what goes beyond is written short, then fails.
kvtio::Error LittleRoom(kvtio::Call call, LPCWSTR, size_t& count) {
    if (call != kvtio::Call::Write) {
        return ERROR_SUCCESS;
    }
    if (g_room == 0) {
        return ERROR_DISK_FULL;
    }
    count = std::min(count, g_room);
    g_room -= count;
    return ERROR_SUCCESS;
}

class LittleDisk {
public:
    explicit LittleDisk(size_t room) {
        g_room = room;
        m_previous = kvtio::SetFaultHook(LittleRoom);
    }
    ~LittleDisk() { kvtio::SetFaultHook(m_previous); }
    LittleDisk(const LittleDisk&) = delete;
    LittleDisk& operator=(const LittleDisk&) = delete;

private:
    kvtio::FaultHook m_previous;
};

TEST(LogFaults, AMessageThatDoesNotFitLeavesNothingOfItself) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.log"));
    LOG::SetLogFile(path);
    for (size_t room = 0; room < 26; ++room) {
        WriteBytes(path, "old");
        {
            const LittleDisk disk(room);
            EXPECT_EQ(LOG::Out(_T("text")), 1);
        }
        ASSERT_EQ(ReadBytes(path), "old") << room;
    }
    {
        const LittleDisk disk(26);
        LOG::Out(_T("text"));
    }
    EXPECT_EQ(ReadBytes(path).size(), 3u + 26u) << "all of it fits";
    LOG::SetLogFile(nullptr);
}

TEST(LogFaults, ALineThatDoesNotFitLeavesNothingOfItself) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.log"));
    for (size_t room = 0; room < 6; ++room) {
        WriteBytes(path, "old");
        {
            CFLogFile log(path);
            EXPECT_EQ(log.OpenFile(_T("")), 1);
            const LittleDisk disk(room);
            EXPECT_EQ(log.WriteString(_T("text")), 0) << room;
            EXPECT_EQ(ReadBytes(path), "old") << room;
        }
        EXPECT_EQ(ReadBytes(path), "old\r\n") << "the line feed of closing";
    }
}

TEST(LogFaults, ALongLineThatDoesNotFitLeavesNothingOfItself) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.log"));
    WriteBytes(path, "old");
    CFLogFile log(path);
    ASSERT_EQ(log.OpenFile(_T("")), 1);
    for (const size_t room : {size_t{0}, size_t{1}, size_t{69999}, size_t{70001}}) {
        {
            const LittleDisk disk(room);
            EXPECT_EQ(log.WriteString(CString(_T('x'), 70000)), 0) << room;
        }
        EXPECT_EQ(ReadBytes(path), "old") << room;
    }
    EXPECT_EQ(log.WriteString(_T("text")), 1);
    EXPECT_EQ(ReadBytes(path), "oldtext\r\n");
}

TEST(LogFaults, ClosingOnAFullDiskIsTold) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.log"));
    CFLogFile log(path);
    EXPECT_EQ(log.WriteString(_T("text")), 1);
    {
        const LittleDisk disk(0);
        EXPECT_EQ(log.CloseFile(), 0);
    }
    EXPECT_EQ(ReadBytes(path), "text\r\n");
    EXPECT_EQ(log.WriteString(_T("more")), 1);
    EXPECT_EQ(ReadBytes(path), "text\r\nmore\r\n");
}

kvtio::Error RefuseOpen(kvtio::Call call, LPCWSTR, size_t&) {
    return call == kvtio::Call::Open ? DWORD{ERROR_ACCESS_DENIED} : DWORD{ERROR_SUCCESS};
}

TEST(LogFaults, AFileThatCannotBeOpenedIsZero) {
    const TestFolder folder;
    CFLogFile log(folder.Path(_T("a.log")));
    const kvtio::FaultHook previous = kvtio::SetFaultHook(RefuseOpen);
    const int written = log.WriteString(_T("text"));
    kvtio::SetFaultHook(previous);
    EXPECT_EQ(written, 0);
    EXPECT_EQ(log.WriteString(_T("text")), 1);
}

}  // namespace
