// The last error and the system's messages.

#include <atomic>
#include <thread>

#include "tests/support/support.h"

namespace {

constexpr DWORD kFlags = FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS;

TEST(Win32Messages, LastErrorBelongsToTheThread) {
    std::atomic<int> step{0};
    DWORD start = 1;
    DWORD own = 0;
    std::thread other([&] {
        start = ::GetLastError();
        while (step != 1) {
        }
        ::SetLastError(5);
        step = 2;
        while (step != 3) {
        }
        own = ::GetLastError();
    });
    ::SetLastError(123);
    step = 1;
    while (step != 2) {
    }
    const DWORD mine = ::GetLastError();
    ::SetLastError(77);
    step = 3;
    other.join();
    EXPECT_EQ(start, 0u);
    EXPECT_EQ(own, 5u);
    EXPECT_EQ(mine, 123u);
}

TEST(Win32Messages, TextEndsInCrLfAndLengthLeavesOutTheNul) {
    WCHAR text[200];
    std::fill(std::begin(text), std::end(text), WCHAR{_T('#')});
    const DWORD length = ::FormatMessageW(kFlags, nullptr, ERROR_FILE_NOT_FOUND, 0, text, 200, nullptr);
    ASSERT_GT(length, 2u);
    EXPECT_EQ(text[length], _T('\0'));
    EXPECT_EQ(text[length - 1], _T('\n'));
    EXPECT_EQ(text[length - 2], _T('\r'));
    EXPECT_EQ(text[length + 1], _T('#'));
}

TEST(Win32Messages, BufferThatIsTooSmallIsError122) {
    WCHAR text[200];
    const DWORD length = ::FormatMessageW(kFlags, nullptr, ERROR_ACCESS_DENIED, 0, text, 200, nullptr);
    ASSERT_GT(length, 0u);
    WCHAR exact[200];
    EXPECT_EQ(::FormatMessageW(kFlags, nullptr, ERROR_ACCESS_DENIED, 0, exact, length + 1, nullptr), length);
    EXPECT_EQ(::FormatMessageW(kFlags, nullptr, ERROR_ACCESS_DENIED, 0, exact, length, nullptr), 0u);
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_INSUFFICIENT_BUFFER});
}

TEST(Win32Messages, NumberWithoutTextIsError317) {
    WCHAR text[200];
    EXPECT_EQ(::FormatMessageW(kFlags, nullptr, 0x2FFF1234, 0, text, 200, nullptr), 0u);
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_MR_MID_NOT_FOUND});
}

#ifndef _WIN32

struct MessageCase {
    DWORD error;
    LPCWSTR text;
};

class Win32MessageText : public testing::TestWithParam<MessageCase> {};

TEST_P(Win32MessageText, IsTheTextThatUsersSeeOnWindows) {
    WCHAR text[100];
    ASSERT_GT(::FormatMessageW(kFlags, nullptr, GetParam().error, 0, text, 100, nullptr), 0u);
    EXPECT_EQ(CString(text), CString(GetParam().text) + _T("\r\n"));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, Win32MessageText,
    testing::Values(MessageCase{0, _T("The operation completed successfully.")},
                    MessageCase{2, _T("The system cannot find the file specified.")},
                    MessageCase{3, _T("The system cannot find the path specified.")},
                    MessageCase{5, _T("Access is denied.")}, MessageCase{6, _T("The handle is invalid.")},
                    MessageCase{32,
                                _T("The process cannot access the file because it is being used by another process.")},
                    MessageCase{80, _T("The file exists.")}, MessageCase{87, _T("The parameter is incorrect.")},
                    MessageCase{112, _T("There is not enough space on the disk.")},
                    MessageCase{123, _T("The filename, directory name, or volume label syntax is incorrect.")},
                    MessageCase{145, _T("The directory is not empty.")},
                    MessageCase{183, _T("Cannot create a file when that file already exists.")},
                    MessageCase{206, _T("The filename or extension is too long.")},
                    MessageCase{234, _T("More data is available.")},
                    MessageCase{259, _T("No more data is available.")}),
    [](const auto& row) { return "Error" + std::to_string(row.param.error); });

#endif

}  // namespace
