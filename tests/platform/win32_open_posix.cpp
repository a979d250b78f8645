// ShellExecuteW: files handed to the desktop's opener, and what comes of a desktop without one.

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "kvtfile/LogFile.h"
#include "platform/win32/paths.h"
#include "tests/support/support.h"

namespace {

using kvttest::TestFolder;

/// A desktop whose opener tells through a pipe what it was asked to open; without one, no program is found at all.
class Desktop {
public:
    explicit Desktop(bool opener) : m_path(::getenv("PATH")) {
        const std::string folder = kvtwin::UnixPath(m_folder.Path());
        m_pipe = folder + "/pipe";
        EXPECT_EQ(::mkfifo(m_pipe.c_str(), 0600), 0);
        if (opener) {
            kvttest::WriteBytes(m_folder.Path(_T("xdg-open")), "#!/bin/sh\nprintf %s \"$1\" >'" + m_pipe + "'\n");
            EXPECT_EQ(::chmod((folder + "/xdg-open").c_str(), 0755), 0);
        }
        ::setenv("PATH", folder.c_str(), 1);
    }
    ~Desktop() { ::setenv("PATH", m_path.c_str(), 1); }
    Desktop(const Desktop&) = delete;
    Desktop& operator=(const Desktop&) = delete;

    /// Waits for the opener, and for its end.
    std::string Opened() const {
        const int fd = ::open(m_pipe.c_str(), O_RDONLY | O_CLOEXEC);
        std::string text;
        char part[4096];
        for (ssize_t got = 0; (got = ::read(fd, part, sizeof part)) > 0;) {
            text.append(part, static_cast<size_t>(got));
        }
        ::close(fd);
        return text;
    }

private:
    TestFolder m_folder;
    std::string m_path;
    std::string m_pipe;
};

INT_PTR Open(LPCWSTR verb, LPCWSTR file) {
    return reinterpret_cast<INT_PTR>(::ShellExecuteW(nullptr, verb, file, nullptr, nullptr, SW_SHOW));
}

TEST(Win32Open, AFileIsHandedToTheDesktopUnderItsRealPath) {
    const TestFolder folder;
    const CString path = folder.Path(_T("it's a $file; 中文.log"));
    kvttest::WriteBytes(path, "x");
    const Desktop desktop(true);
    EXPECT_GT(Open(_T("open"), path), 32);
    EXPECT_EQ(desktop.Opened(), kvtwin::UnixPath(path));
    EXPECT_GT(Open(nullptr, _T("https://localhost/a?b=c")), 32);
    EXPECT_EQ(desktop.Opened(), "https://localhost/a?b=c");
}

TEST(Win32Open, WithoutAnOpenerItFailsClearly) {
    const TestFolder folder;
    kvttest::WriteBytes(folder.Path(_T("a.log")), "x");
    const Desktop desktop(false);
    EXPECT_EQ(Open(_T("open"), folder.Path(_T("a.log"))), 31);
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_NO_ASSOCIATION});
}

TEST(Win32Open, MissingFilesAndOtherVerbsAreRefused) {
    const TestFolder folder;
    const Desktop desktop(true);
    EXPECT_EQ(Open(_T("open"), folder.Path(_T("no.log"))), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(Open(_T("open"), folder.Path(_T("no\\a.log"))), ERROR_PATH_NOT_FOUND);
    EXPECT_LE(Open(_T("print"), folder.Path()), 32);
    EXPECT_LE(Open(_T("open"), nullptr), 32);
}

TEST(Win32Open, TheLogIsShownByTheDesktop) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.log"));
    const Desktop desktop(true);
    kvtfile::LOG::SetLogFile(path);
    kvtfile::LOG::Out(_T("x"));
    EXPECT_EQ(kvtfile::LOG::ViewLogFile(), 1);
    EXPECT_EQ(desktop.Opened(), kvtwin::UnixPath(path));
    kvtfile::LOG::SetLogFile(nullptr);
}

}  // namespace
