// Safe saves and what POSIX file systems add: permissions, owners, links, extended attributes, folders without right.

#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "platform/io/safe_save.h"
#include "platform/win32/paths.h"
#include "tests/platform/io_faults_support.h"
#include "tests/support/support.h"

namespace {

namespace fs = std::filesystem;

using kvtio::SafeSave;
using kvttest::ReadBytes;
using kvttest::TestFolder;
using kvttest::WriteBytes;
using kvtwin::UnixPath;

using Mode = SafeSave::Mode;
using Names = std::vector<std::string>;

kvtio::Error Save(const CString& path, Mode mode, const std::string& bytes) {
    SafeSave save;
    kvtio::Error error = save.Open(path, mode);
    if (!error && !(error = save.Write(bytes.data(), bytes.size()))) {
        error = save.Commit();
    }
    return error;
}

struct stat Status(const CString& path) {
    struct stat status {};
    EXPECT_EQ(::stat(UnixPath(path).c_str(), &status), 0);
    return status;
}

TEST(IoSafeSavePosix, PermissionsAreKept) {
    TestFolder folder;
    const CString path = folder.Path(_T("f"));
    for (const mode_t mode : {0600u, 0640u, 0644u, 0666u, 0755u, 0200u, 0604u}) {
        WriteBytes(path, "old");
        ASSERT_EQ(::chmod(UnixPath(path).c_str(), mode), 0);
        EXPECT_EQ(Save(path, Mode::Replace, "new"), 0u);
        EXPECT_EQ(Status(path).st_mode & 07777, mode);
        ::unlink(UnixPath(path).c_str());
    }
}

TEST(IoSafeSavePosix, NewFilesGetThePermissionsOfAnyNewFile) {
    TestFolder folder;
    const mode_t mask = ::umask(027);
    EXPECT_EQ(Save(folder.Path(_T("f")), Mode::Replace, "new"), 0u);
    ::umask(mask);
    EXPECT_EQ(Status(folder.Path(_T("f"))).st_mode & 07777, 0640u);
}

TEST(IoSafeSavePosix, ContentIsPrivateWhileItIsCollected) {
    TestFolder folder;
    const CString path = folder.Path(_T("f"));
    WriteBytes(path, "old");
    ::chmod(UnixPath(path).c_str(), 0600);
    SafeSave save;
    ASSERT_EQ(save.Open(path, Mode::Append), 0u);
    int others = 0;
    for (const auto& entry : fs::directory_iterator(UnixPath(folder.Path()))) {
        struct stat status {};
        ASSERT_EQ(::stat(entry.path().c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0077, 0u) << entry.path();
        ++others;
    }
    EXPECT_EQ(others, 2);
}

TEST(IoSafeSavePosix, ExtendedAttributesAreKept) {
    TestFolder folder;
    const CString path = folder.Path(_T("f"));
    WriteBytes(path, "old");
    if (::setxattr(UnixPath(path).c_str(), "user.kvt", "value", 5, 0) != 0) {
        GTEST_SKIP() << "this file system keeps no extended attributes";
    }
    EXPECT_EQ(Save(path, Mode::Replace, "new"), 0u);
    char value[10];
    EXPECT_EQ(::getxattr(UnixPath(path).c_str(), "user.kvt", value, sizeof value), 5);
}

TEST(IoSafeSavePosix, ReplacedFileIsANewOne) {
    TestFolder folder;
    const CString path = folder.Path(_T("f"));
    WriteBytes(path, "old");
    const int old = ::open(UnixPath(path).c_str(), O_RDONLY);
    EXPECT_EQ(Save(path, Mode::Replace, "new"), 0u);
    // Who reads the old file meanwhile reads it to its end.
    char bytes[10];
    EXPECT_EQ(std::string(bytes, static_cast<size_t>(::read(old, bytes, 10))), "old");
    ::close(old);
}

TEST(IoSafeSavePosix, SymbolicLinksStayAndTheirTargetIsReplaced) {
    TestFolder folder;
    const std::string place = UnixPath(folder.Path());
    kvttest::MakeFolders(folder.Path(_T("data")));
    WriteBytes(folder.Path(_T("data\\real")), "old");
    fs::create_symlink("data/real", place + "/first");
    fs::create_symlink(place + "/first", place + "/second");
    EXPECT_EQ(Save(folder.Path(_T("second")), Mode::Append, "new"), 0u);
    EXPECT_TRUE(fs::is_symlink(place + "/first"));
    EXPECT_TRUE(fs::is_symlink(place + "/second"));
    EXPECT_EQ(ReadBytes(folder.Path(_T("data\\real"))), "oldnew");
    EXPECT_EQ(folder.Names(), (Names{"data", "first", "second"}));
}

TEST(IoSafeSavePosix, LinkWithoutTargetGetsOne) {
    TestFolder folder;
    const std::string place = UnixPath(folder.Path());
    fs::create_symlink("later", place + "/link");
    EXPECT_EQ(Save(folder.Path(_T("link")), Mode::Replace, "new"), 0u);
    EXPECT_TRUE(fs::is_symlink(place + "/link"));
    EXPECT_EQ(ReadBytes(folder.Path(_T("later"))), "new");
    fs::create_symlink("no/folder", place + "/lost");
    EXPECT_EQ(Save(folder.Path(_T("lost")), Mode::Replace, "new"), ERROR_PATH_NOT_FOUND);
    fs::create_symlink("loop", place + "/loop");
    EXPECT_EQ(Save(folder.Path(_T("loop")), Mode::Replace, "new"), ERROR_CANT_RESOLVE_FILENAME);
    fs::remove(place + "/lost");
    fs::remove(place + "/loop");
}

TEST(IoSafeSavePosix, FilesWithSeveralNamesAreWrittenInPlace) {
    TestFolder folder;
    for (const Mode mode : {Mode::Replace, Mode::Append}) {
        WriteBytes(folder.Path(_T("a")), "old content");
        fs::create_hard_link(UnixPath(folder.Path(_T("a"))), UnixPath(folder.Path()) + "/b");
        const ino_t inode = Status(folder.Path(_T("a"))).st_ino;
        EXPECT_EQ(Save(folder.Path(_T("a")), mode, "new"), 0u);
        EXPECT_EQ(Status(folder.Path(_T("a"))).st_ino, inode);
        EXPECT_EQ(ReadBytes(folder.Path(_T("b"))), mode == Mode::Append ? "old contentnew" : "new");
        EXPECT_EQ(folder.Names(), (Names{"a", "b"}));
        EXPECT_TRUE(::DeleteFileW(folder.Path(_T("b"))));
    }
}

TEST(IoSafeSavePosix, InPlaceFailuresGiveTheOldBytesBack) {
    TestFolder folder;
    WriteBytes(folder.Path(_T("a")), std::string(300000, 'o'));
    fs::create_hard_link(UnixPath(folder.Path(_T("a"))), UnixPath(folder.Path()) + "/b");
    for (const Mode mode : {Mode::Replace, Mode::Append}) {
        for (int n = 1; n < 12; ++n) {
            kvttest::Faults faults;
            faults.FailNth(kvtio::Call::Write, n, ERROR_DISK_FULL);
            const kvtio::Error error = Save(folder.Path(_T("a")), mode, std::string(300001, 'n'));
            if (error == 0) {
                break;
            }
            EXPECT_EQ(error, ERROR_DISK_FULL);
            EXPECT_TRUE(ReadBytes(folder.Path(_T("b"))) == std::string(300000, 'o')) << n;
        }
        WriteBytes(folder.Path(_T("a")), std::string(300000, 'o'));
    }
}

TEST(IoSafeSavePosix, DevicesAreWrittenInPlace) {
    EXPECT_EQ(Save(_T("/dev/null"), Mode::Replace, "new"), 0u);
    EXPECT_EQ(Save(_T("/dev/null"), Mode::Append, "new"), 0u);
    EXPECT_EQ(Save(_T("/dev/full"), Mode::Replace, "new"), ERROR_DISK_FULL);
    EXPECT_TRUE(fs::is_character_file("/dev/null"));
}

TEST(IoSafeSavePosix, FileInAFolderWithoutRightIsWrittenInPlace) {
    if (::geteuid() == 0) {
        GTEST_SKIP() << "root may do everything";
    }
    TestFolder folder;
    kvttest::MakeFolders(folder.Path(_T("locked")));
    const CString path = folder.Path(_T("locked\\f"));
    WriteBytes(path, "old");
    ::chmod(UnixPath(folder.Path(_T("locked"))).c_str(), 0500);
    EXPECT_EQ(Save(path, Mode::Append, "new"), 0u);
    EXPECT_EQ(ReadBytes(path), "oldnew");
    EXPECT_EQ(Save(path, Mode::Replace, "other"), 0u);
    EXPECT_EQ(ReadBytes(path), "other");
    EXPECT_EQ(Save(folder.Path(_T("locked\\g")), Mode::Replace, "x"), ERROR_ACCESS_DENIED);
    ::chmod(UnixPath(path).c_str(), 0400);
    EXPECT_EQ(Save(path, Mode::Replace, "x"), ERROR_ACCESS_DENIED);
    ::chmod(UnixPath(folder.Path(_T("locked"))).c_str(), 0700);
}

// A real limit of the system, not a simulated one: in a child, so that the limit binds nobody else.
TEST(IoSafeSavePosix, LimitOfTheFileSizeLeavesTheOldFileWhole) {
    TestFolder folder;
    const CString path = folder.Path(_T("f"));
    WriteBytes(path, "old");
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        ::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{1000, 1000};
        ::setrlimit(RLIMIT_FSIZE, &limit);
        ::_exit(Save(path, Mode::Replace, std::string(5000, 'n')) == ERROR_FILE_TOO_LARGE ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(ReadBytes(path), "old");
    EXPECT_EQ(folder.Names(), (Names{"f"}));
}

}  // namespace
