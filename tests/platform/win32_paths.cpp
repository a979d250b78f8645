// Windows paths over the file system: the prefix, drives, case, names that Windows would refuse.

#include "platform/win32/paths.h"

#include <limits.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "tests/support/support.h"

namespace {

namespace fs = std::filesystem;

using kvttest::TestFolder;
using kvttest::Wide;
using kvtwin::UnixPath;
using kvtwin::WindowsPath;

std::string Prefix() {
    return ::getenv("KVTFILE_PREFIX");
}

TEST(Win32Paths, DrivesAreFoldersOfThePrefixAndZIsTheRoot) {
    EXPECT_EQ(UnixPath(u"C:\\windows\\system32"), Prefix() + "/drive_c/windows/system32");
    EXPECT_EQ(UnixPath(u"c:/a/b"), Prefix() + "/drive_c/a/b");
    EXPECT_EQ(UnixPath(u"D:\\a"), Prefix() + "/drive_d/a");
    EXPECT_EQ(UnixPath(u"C:\\"), Prefix() + "/drive_c");
    EXPECT_EQ(UnixPath(u"Z:\\"), "/");
    EXPECT_EQ(UnixPath(u"Z:\\usr"), "/usr");
    EXPECT_EQ(UnixPath(u"/usr/none/x"), "/usr/none/x");
    EXPECT_EQ(UnixPath(u"\\\\?\\C:\\a"), Prefix() + "/drive_c/a");
}

TEST(Win32Paths, DriveCIsMadeWithItsFoldersAtFirstUse) {
    EXPECT_FALSE(UnixPath(u"C:\\x").empty());
    EXPECT_TRUE(fs::is_directory(Prefix() + "/drive_c/windows/system32"));
    EXPECT_FALSE(fs::exists(Prefix() + "/drive_d"));
}

TEST(Win32Paths, PathsGivenOutNameTheDeepestDrive) {
    UnixPath(u"C:\\");  // makes drive C
    EXPECT_EQ(WindowsPath(Prefix() + "/drive_c/a/b"), u"C:\\a\\b");
    EXPECT_EQ(WindowsPath(Prefix() + "/drive_c"), u"C:\\");
    EXPECT_EQ(WindowsPath(Prefix() + "/drive_cc/a"), WindowsPath(Prefix()) + u"\\drive_cc\\a");
    EXPECT_EQ(WindowsPath("/usr/lib"), u"Z:\\usr\\lib");
    EXPECT_EQ(WindowsPath("/"), u"Z:\\");
    TestFolder folder;
    const std::string place = UnixPath(folder.Path());
    fs::create_directory(place + "/deep");
    fs::create_directory_symlink(place + "/deep", Prefix() + "/drive_e");
    EXPECT_EQ(WindowsPath(place + "/deep/x"), u"E:\\x");
    EXPECT_EQ(UnixPath(u"E:\\x"), Prefix() + "/drive_e/x");
    fs::remove(Prefix() + "/drive_e");
}

TEST(Win32Paths, PathsGoBothWays) {
    TestFolder folder;
    for (const char* name :
         {"plain", "with blank", "\xE4\xB8\xAD", "\xFF\xFE", "a:b", "q?x", "back\\slash", "dot.", "con", "x|y"}) {
        const std::string path = UnixPath(folder.Path()) + "/" + name;
        std::ofstream(path) << name;
        EXPECT_EQ(UnixPath(WindowsPath(path).c_str()), path);
        EXPECT_EQ(kvttest::ReadBytes(WindowsPath(path).c_str()), name);
    }
}

TEST(Win32Paths, EveryNameOfAListingCanBeOpened) {
    TestFolder folder;
    const std::string place = UnixPath(folder.Path());
    for (const char* name :
         {"a:b", "q?x", "st*r", "back\\slash", "dot.", "blank ", "con", "\xFF", "\xED\xA0\x80", "a\nb"}) {
        std::ofstream(place + "/" + name) << name;
    }
    WIN32_FIND_DATAW data;
    const HANDLE find = ::FindFirstFileW(folder.Path(_T("*")), &data);
    ASSERT_NE(find, INVALID_HANDLE_VALUE);
    int files = 0;
    do {
        if (!(data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)) {
            ++files;
            EXPECT_EQ(kvttest::ReadBytes(folder.Path(data.cFileName)),
                      fs::path(UnixPath(folder.Path(data.cFileName))).filename().string());
        }
    } while (::FindNextFileW(find, &data));
    ::FindClose(find);
    EXPECT_EQ(files, 10);
    for (const auto& entry : fs::directory_iterator(place)) {
        fs::remove(entry);
    }
}

TEST(Win32Paths, ExactSpellingGoesBeforeAnyOtherCase) {
    TestFolder folder;
    const std::string place = UnixPath(folder.Path());
    std::ofstream(place + "/Case.txt") << "mixed";
    std::ofstream(place + "/CASE.TXT") << "upper";
    EXPECT_EQ(kvttest::ReadBytes(folder.Path(_T("Case.txt"))), "mixed");
    EXPECT_EQ(kvttest::ReadBytes(folder.Path(_T("CASE.TXT"))), "upper");
    EXPECT_EQ(kvttest::ReadBytes(folder.Path(_T("case.txt"))), "upper");
    EXPECT_EQ(UnixPath(folder.Path(_T("new.txt"))), place + "/new.txt");
}

TEST(Win32Paths, FoldersOnTheWayIgnoreCaseToo) {
    TestFolder folder;
    kvttest::MakeFolders(folder.Path(_T("Sub\\Deeper")));
    kvttest::WriteBytes(folder.Path(_T("SUB\\DEEPER\\File")), "x");
    EXPECT_EQ(UnixPath(folder.Path(_T("sub\\deeper\\file"))), UnixPath(folder.Path()) + "/Sub/Deeper/File");
    const std::string unix_path = UnixPath(folder.Path());
    EXPECT_EQ(UnixPath(Wide(unix_path + "/sub/deeper/FILE")), unix_path + "/Sub/Deeper/File");
}

TEST(Win32Paths, PosixPathsAreTakenAsTheyStand) {
    TestFolder folder;
    const std::string place = UnixPath(folder.Path());
    EXPECT_EQ(UnixPath(Wide(place + "/a:b?.")), place + "/a:b?.");
    EXPECT_EQ(UnixPath(Wide(place + "\\sub\\f")), place + "/sub/f");
    kvttest::WriteBytes(Wide(place + "/st*r"), "x");
    EXPECT_TRUE(fs::exists(place + "/st*r"));
    fs::remove(place + "/st*r");
}

TEST(Win32Paths, ParentsAreResolvedByTextInWindowsPaths) {
    EXPECT_EQ(UnixPath(u"C:\\none\\..\\a"), Prefix() + "/drive_c/a");
    EXPECT_EQ(UnixPath(u"C:\\..\\..\\a"), Prefix() + "/drive_c/a");
    EXPECT_EQ(UnixPath(u"Z:\\..\\usr\\.\\lib\\.."), "/usr");
}

TEST(Win32Paths, RefusedPaths) {
    const struct {
        const char16_t* path;
        DWORD error;
    } rows[] = {
        {u"", ERROR_PATH_NOT_FOUND},
        {nullptr, ERROR_PATH_NOT_FOUND},
        {u"C:\\a*b", ERROR_INVALID_NAME},
        {u"C:\\a\x01"
         u"b",
         ERROR_INVALID_NAME},
        {u"C:\\a:b", ERROR_INVALID_NAME},
        {u"\\\\server\\share\\f", ERROR_BAD_NETPATH},
        {u"C:\\con", ERROR_INVALID_HANDLE},
        {u"C:\\x\\aux.txt", ERROR_INVALID_HANDLE},
    };
    for (const auto& row : rows) {
        ::SetLastError(0);
        EXPECT_EQ(UnixPath(row.path), "");
        EXPECT_EQ(::GetLastError(), row.error);
    }
    const std::u16string long_name = u"C:\\" + std::u16string(256, u'n');
    EXPECT_EQ(UnixPath(long_name.c_str()), "");
    EXPECT_EQ(::GetLastError(), ERROR_FILENAME_EXCED_RANGE);
    const std::u16string long_path = u"C:\\" + std::u16string(40000, u'n');
    EXPECT_EQ(UnixPath(long_path.c_str()), "");
    EXPECT_EQ(::GetLastError(), ERROR_FILENAME_EXCED_RANGE);
}

TEST(Win32Paths, RelativePathsStartAtTheCurrentFolderAndItsDrive) {
    char before[PATH_MAX];
    ASSERT_NE(::getcwd(before, sizeof before), nullptr);
    TestFolder folder;
    const std::string place = UnixPath(folder.Path());
    ASSERT_EQ(::chdir(place.c_str()), 0);
    char real[PATH_MAX];
    ASSERT_NE(::getcwd(real, sizeof real), nullptr);
    EXPECT_EQ(UnixPath(u"f"), std::string(real) + "/f");
    EXPECT_EQ(UnixPath(u"..\\f"), fs::path(real).parent_path().string() + "/f");
    EXPECT_EQ(UnixPath(u"C:f"), std::string(real) + "/f");
    EXPECT_EQ(fs::canonical(UnixPath(u"\\windows")), fs::canonical(UnixPath(u"C:\\windows")));
    EXPECT_EQ(UnixPath(u"D:f"), Prefix() + "/drive_d/f");
    ASSERT_EQ(::chdir("/"), 0);
    EXPECT_EQ(UnixPath(u"usr"), "/usr");
    EXPECT_EQ(UnixPath(u"\\usr"), "/usr");
    ASSERT_EQ(::chdir(before), 0);
}

TEST(Win32Paths, LinksToFoldersAreReparsePointsAndDanglingOnesAreMissing) {
    TestFolder folder;
    const std::string place = UnixPath(folder.Path());
    kvttest::MakeFolders(folder.Path(_T("target")));
    fs::create_directory_symlink(place + "/target", place + "/link");
    fs::create_symlink(place + "/none", place + "/dangling");
    EXPECT_EQ(::GetFileAttributesW(folder.Path(_T("link"))), FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT);
    EXPECT_EQ(::GetFileAttributesW(folder.Path(_T("dangling"))), INVALID_FILE_ATTRIBUTES);
    EXPECT_EQ(::GetLastError(), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(folder.Names(), (std::vector<std::string>{"link", "target"}));
    EXPECT_TRUE(::RemoveDirectoryW(folder.Path(_T("link"))));
    EXPECT_TRUE(fs::exists(place + "/target"));
    EXPECT_TRUE(::DeleteFileW(folder.Path(_T("dangling"))));
}

TEST(Win32Paths, OpeningAPipeDoesNotWait) {
    TestFolder folder;
    ASSERT_EQ(::mkfifo((UnixPath(folder.Path()) + "/pipe").c_str(), 0600), 0);
    const HANDLE file =
        ::CreateFileW(folder.Path(_T("pipe")), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    char byte;
    DWORD got = 9;
    EXPECT_TRUE(::ReadFile(file, &byte, 1, &got, nullptr));
    EXPECT_EQ(got, 0u);
    ::CloseHandle(file);
    EXPECT_EQ(::CreateFileW(folder.Path(_T("pipe")), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr),
              INVALID_HANDLE_VALUE);
}

TEST(Win32Paths, FolderWithoutRightIsError5) {
    if (::geteuid() == 0) {
        GTEST_SKIP() << "root may do everything";
    }
    TestFolder folder;
    kvttest::MakeFolders(folder.Path(_T("locked")));
    const std::string place = UnixPath(folder.Path(_T("locked")));
    ::chmod(place.c_str(), 0500);
    EXPECT_EQ(::CreateFileW(folder.Path(_T("locked\\f")), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr),
              INVALID_HANDLE_VALUE);
    EXPECT_EQ(::GetLastError(), ERROR_ACCESS_DENIED);
    EXPECT_FALSE(::CreateDirectoryW(folder.Path(_T("locked\\d")), nullptr));
    EXPECT_EQ(::GetLastError(), ERROR_ACCESS_DENIED);
    ::chmod(place.c_str(), 0700);
}

}  // namespace
