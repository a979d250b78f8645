// Folders that the system knows.

#include "kvtfile/FileUtil.h"
#include "tests/support/support.h"

namespace {

using kvttest::TestFolder;

CString ProgramPath() {
    WCHAR path[4096];
    const DWORD length = ::GetModuleFileNameW(nullptr, path, 4096);
    return CString(path, static_cast<int>(length));
}

TEST(SystemFolders, AppPathIsTheFolderOfTheProgram) {
    const CString path = kvtfile::GetAppPath();
    EXPECT_EQ(path, kvtfile::GetFilePath(ProgramPath()));
    EXPECT_EQ(path.Right(1), _T("\\"));
    EXPECT_EQ(kvtfile::GetAppPath(nullptr), path);
    EXPECT_EQ(kvtfile::GetAppPath(::GetModuleHandleW(nullptr)), path);
}

TEST(SystemFolders, AppPathOfWhatIsNoModuleIsEmpty) {
    EXPECT_EQ(kvtfile::GetAppPath(reinterpret_cast<HINSTANCE>(static_cast<INT_PTR>(0x12340))), _T(""));
}

TEST(SystemFolders, FoldersOfTheSystemEndInASeparator) {
    EXPECT_EQ(kvtfile::GetWindowsPath().CompareNoCase(_T("C:\\windows\\")), 0);
    EXPECT_EQ(kvtfile::GetSystemPath().CompareNoCase(_T("C:\\windows\\system32\\")), 0);
    CString temp = _T("before");
    EXPECT_EQ(kvtfile::GetTempPathW(temp), 1);
    WCHAR expected[MAX_PATH + 1];
    ASSERT_NE(::GetTempPathW(MAX_PATH, expected), 0u);
    EXPECT_EQ(temp, expected);
    EXPECT_EQ(temp.Right(1), _T("\\"));
    EXPECT_EQ(kvtfile::FIsDirectory(temp), 1);
}

TEST(SystemFolders, CurrentFolderHasNoSeparatorAtItsEnd) {
    const CString before = kvtfile::GetCurrentDirectoryW();
    const TestFolder folder;
    ASSERT_TRUE(::SetCurrentDirectoryW(folder.Path()));
    EXPECT_EQ(kvtfile::GetCurrentDirectoryW().CompareNoCase(folder.Path()), 0);
    ASSERT_TRUE(::SetCurrentDirectoryW(_T("C:\\")));
    EXPECT_EQ(kvtfile::GetCurrentDirectoryW(), _T("C:\\"));
    EXPECT_TRUE(::SetCurrentDirectoryW(before));
}

}  // namespace
