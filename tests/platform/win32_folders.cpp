// Making, removing, moving and copying; the folders that the system names; full paths and temporary names.

#include <string>
#include <thread>
#include <vector>

#include "tests/support/support.h"

namespace {

using kvttest::Exists;
using kvttest::ReadBytes;
using kvttest::TestFolder;
using kvttest::WriteBytes;

// The last error of a call that must fail; 0 when it did its work.
template <typename Call>
DWORD ErrorOf(Call call) {
    ::SetLastError(0xABCD);
    return call() ? 0 : ::GetLastError();
}

DWORD CreateError(const CString& path) {
    return ErrorOf([&] { return ::CreateDirectoryW(path, nullptr); });
}
DWORD RemoveError(const CString& path) {
    return ErrorOf([&] { return ::RemoveDirectoryW(path); });
}
DWORD DeleteError(const CString& path) {
    return ErrorOf([&] { return ::DeleteFileW(path); });
}
DWORD MoveError(const CString& from, const CString& to) {
    return ErrorOf([&] { return ::MoveFileW(from, to); });
}
DWORD ReplaceError(const CString& from, const CString& to) {
    return ErrorOf([&] { return ::MoveFileExW(from, to, MOVEFILE_REPLACE_EXISTING); });
}
DWORD CopyError(const CString& from, const CString& to, BOOL fail_if_exists) {
    return ErrorOf([&] { return ::CopyFileW(from, to, fail_if_exists); });
}

TEST(Win32Folders, CreateErrors) {
    TestFolder folder;
    WriteBytes(folder.Path(_T("file")), "");
    EXPECT_EQ(CreateError(folder.Path(_T("Sub"))), 0u);
    EXPECT_EQ(CreateError(folder.Path(_T("sub"))), DWORD{ERROR_ALREADY_EXISTS});
    EXPECT_EQ(CreateError(folder.Path(_T("Sub\\"))), DWORD{ERROR_ALREADY_EXISTS});
    EXPECT_EQ(CreateError(folder.Path(_T("FILE"))), DWORD{ERROR_ALREADY_EXISTS});
    EXPECT_EQ(CreateError(folder.Path(_T("no\\sub"))), DWORD{ERROR_PATH_NOT_FOUND});
    EXPECT_EQ(CreateError(folder.Path(_T("file\\sub"))), DWORD{ERROR_PATH_NOT_FOUND});
    EXPECT_EQ(CreateError(folder.Path(_T("a?b"))), DWORD{ERROR_INVALID_NAME});
    EXPECT_EQ(CreateError(_T("")), DWORD{ERROR_PATH_NOT_FOUND});
    EXPECT_EQ(CreateError(folder.Path(_T("con"))), DWORD{ERROR_INVALID_HANDLE});
    EXPECT_EQ(CreateError(folder.Path(_T("tail. "))), 0u);
    EXPECT_EQ(CreateError(folder.Path() + _T("/slash")), 0u);
    EXPECT_EQ(folder.Names(), (std::vector<std::string>{"file", "slash", "Sub", "tail"}));
#ifndef _WIN32
    // Wine answers 183, 2 and 2.
    EXPECT_EQ(CreateError(_T("C:\\")), ERROR_ACCESS_DENIED);
    EXPECT_EQ(CreateError(_T("Q:\\x")), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(CreateError(folder.Path(CString(_T('n'), 256))), ERROR_FILENAME_EXCED_RANGE);
#endif
}

TEST(Win32Folders, RemoveErrors) {
    TestFolder folder;
    ::CreateDirectoryW(folder.Path(_T("full")), nullptr);
    WriteBytes(folder.Path(_T("full\\file")), "x");
    EXPECT_EQ(RemoveError(folder.Path(_T("full"))), DWORD{ERROR_DIR_NOT_EMPTY});
    EXPECT_EQ(RemoveError(folder.Path(_T("full\\file"))), DWORD{ERROR_DIRECTORY});
    EXPECT_EQ(RemoveError(folder.Path(_T("none"))), DWORD{ERROR_FILE_NOT_FOUND});
    EXPECT_EQ(RemoveError(folder.Path(_T("no\\none"))), DWORD{ERROR_PATH_NOT_FOUND});
    EXPECT_EQ(DeleteError(folder.Path(_T("FULL\\FILE"))), 0u);
    EXPECT_EQ(RemoveError(folder.Path(_T("FULL\\"))), 0u);
    EXPECT_EQ(folder.Names().size(), 0u);
}

TEST(Win32Folders, DeleteErrors) {
    TestFolder folder;
    const CString path = folder.Path(_T("f"));
    EXPECT_EQ(DeleteError(path), DWORD{ERROR_FILE_NOT_FOUND});
    EXPECT_EQ(DeleteError(folder.Path(_T("no\\f"))), DWORD{ERROR_PATH_NOT_FOUND});
    EXPECT_EQ(DeleteError(folder.Path()), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_EQ(DeleteError(_T("")), DWORD{ERROR_PATH_NOT_FOUND});
    WriteBytes(path, "x");
    const HANDLE file =
        ::CreateFileW(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr);
    EXPECT_EQ(DeleteError(path), DWORD{ERROR_SHARING_VIOLATION});
    ::CloseHandle(file);
    EXPECT_EQ(DeleteError(path), 0u);
    EXPECT_FALSE(Exists(path));
}

TEST(Win32Folders, MoveRenamesFilesAndFolders) {
    TestFolder folder;
    WriteBytes(folder.Path(_T("a")), "A");
    WriteBytes(folder.Path(_T("b")), "B");
    ::CreateDirectoryW(folder.Path(_T("dir")), nullptr);
    EXPECT_EQ(MoveError(folder.Path(_T("a")), folder.Path(_T("b"))), DWORD{ERROR_ALREADY_EXISTS});
    EXPECT_EQ(MoveError(folder.Path(_T("none")), folder.Path(_T("c"))), DWORD{ERROR_FILE_NOT_FOUND});
    EXPECT_EQ(MoveError(folder.Path(_T("a")), folder.Path(_T("no\\c"))), DWORD{ERROR_PATH_NOT_FOUND});
    EXPECT_EQ(MoveError(folder.Path(_T("a")), folder.Path(_T("dir\\c"))), 0u);
    EXPECT_EQ(ReadBytes(folder.Path(_T("dir\\c"))), "A");
    EXPECT_EQ(MoveError(folder.Path(_T("dir")), folder.Path(_T("renamed"))), 0u);
    EXPECT_EQ(ReadBytes(folder.Path(_T("renamed\\c"))), "A");
    EXPECT_EQ(folder.Names(), (std::vector<std::string>{"b", "renamed"}));
}

TEST(Win32Folders, MoveOntoItselfChangesTheSpelling) {
    TestFolder folder;
    WriteBytes(folder.Path(_T("name")), "x");
    EXPECT_EQ(MoveError(folder.Path(_T("name")), folder.Path(_T("NAME"))), 0u);
#ifdef _WIN32
    EXPECT_EQ(folder.Names().size(), 1u);  // Wine keeps the old spelling
#else
    EXPECT_EQ(folder.Names(), (std::vector<std::string>{"NAME"}));
#endif
    EXPECT_EQ(MoveError(folder.Path(_T("NAME")), folder.Path(_T("NAME"))), 0u);
    EXPECT_EQ(ReadBytes(folder.Path(_T("name"))), "x");
}

TEST(Win32Folders, MoveReplacesFilesButNotFoldersOrReadOnlyFiles) {
    TestFolder folder;
    WriteBytes(folder.Path(_T("a")), "A");
    WriteBytes(folder.Path(_T("b")), "B");
    ::CreateDirectoryW(folder.Path(_T("dir")), nullptr);
    EXPECT_EQ(ReplaceError(folder.Path(_T("a")), folder.Path(_T("dir"))), DWORD{ERROR_ACCESS_DENIED});
#ifndef _WIN32
    // Wine replaces read-only files.
    ::SetFileAttributesW(folder.Path(_T("b")), FILE_ATTRIBUTE_READONLY);
    EXPECT_EQ(ReplaceError(folder.Path(_T("a")), folder.Path(_T("b"))), ERROR_ACCESS_DENIED);
    ::SetFileAttributesW(folder.Path(_T("b")), FILE_ATTRIBUTE_NORMAL);
#endif
    EXPECT_EQ(ReadBytes(folder.Path(_T("b"))), "B");
    EXPECT_EQ(ReplaceError(folder.Path(_T("a")), folder.Path(_T("b"))), 0u);
    EXPECT_EQ(ReadBytes(folder.Path(_T("b"))), "A");
    EXPECT_FALSE(Exists(folder.Path(_T("a"))));
}

TEST(Win32Folders, MoveOfAFileThatIsOpenWithoutDeleteSharingIsError32) {
    TestFolder folder;
    const CString path = folder.Path(_T("a"));
    WriteBytes(path, "A");
    const HANDLE file = ::CreateFileW(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    EXPECT_EQ(MoveError(path, folder.Path(_T("b"))), DWORD{ERROR_SHARING_VIOLATION});
    ::CloseHandle(file);
    EXPECT_EQ(MoveError(path, folder.Path(_T("b"))), 0u);
}

TEST(Win32Folders, CopyErrors) {
    TestFolder folder;
    WriteBytes(folder.Path(_T("a")), "A");
    WriteBytes(folder.Path(_T("b")), "B");
    ::CreateDirectoryW(folder.Path(_T("dir")), nullptr);
    EXPECT_EQ(CopyError(folder.Path(_T("a")), folder.Path(_T("b")), TRUE), DWORD{ERROR_FILE_EXISTS});
    EXPECT_EQ(CopyError(folder.Path(_T("none")), folder.Path(_T("c")), FALSE), DWORD{ERROR_FILE_NOT_FOUND});
    EXPECT_EQ(CopyError(folder.Path(_T("a")), folder.Path(_T("no\\c")), FALSE), DWORD{ERROR_PATH_NOT_FOUND});
    EXPECT_EQ(CopyError(folder.Path(_T("a")), folder.Path(_T("dir")), FALSE), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_EQ(CopyError(folder.Path(_T("a")), folder.Path(_T("A")), FALSE), DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_EQ(ReadBytes(folder.Path(_T("a"))), "A");
    EXPECT_EQ(ReadBytes(folder.Path(_T("b"))), "B");
    const HANDLE file = ::CreateFileW(folder.Path(_T("a")), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    EXPECT_EQ(CopyError(folder.Path(_T("a")), folder.Path(_T("c")), FALSE), DWORD{ERROR_SHARING_VIOLATION});
    ::CloseHandle(file);
    EXPECT_FALSE(Exists(folder.Path(_T("c"))));
}

TEST(Win32Folders, CopyKeepsTimeAndAttributesOfTheSource) {
    TestFolder folder;
    const CString from = folder.Path(_T("a"));
    const CString to = folder.Path(_T("b"));
    WriteBytes(from, std::string(300000, 'x'));
    kvttest::SetFileSeconds(from, 1000000000);
#ifdef _WIN32
    // Wine cannot store hidden and system with read-only for an ordinary user.
    constexpr DWORD kAttributes = FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_READONLY;
#else
    constexpr DWORD kAttributes =
        FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM;
#endif
    ::SetFileAttributesW(from, kAttributes);
    EXPECT_EQ(CopyError(from, to, TRUE), 0u);
    WIN32_FILE_ATTRIBUTE_DATA a;
    WIN32_FILE_ATTRIBUTE_DATA b;
    ASSERT_TRUE(::GetFileAttributesExW(from, GetFileExInfoStandard, &a));
    ASSERT_TRUE(::GetFileAttributesExW(to, GetFileExInfoStandard, &b));
    EXPECT_EQ(::CompareFileTime(&a.ftLastWriteTime, &b.ftLastWriteTime), 0);
    EXPECT_EQ(b.dwFileAttributes, kAttributes);
    EXPECT_EQ(b.nFileSizeLow, 300000u);
}

// ---- Names that the system gives ----

struct SystemFolderCase {
    UINT (*call)(LPWSTR, UINT);
    LPCWSTR path;
};

UINT SystemFolder(LPWSTR buffer, UINT size) {
    return ::GetSystemDirectoryW(buffer, size);
}
UINT WindowsFolder(LPWSTR buffer, UINT size) {
    return ::GetWindowsDirectoryW(buffer, size);
}

class Win32SystemFolder : public testing::TestWithParam<SystemFolderCase> {};

TEST_P(Win32SystemFolder, LengthLeavesOutTheNulAndShortBuffersGetTheSizeNeeded) {
    const CString path = GetParam().path;
    const UINT length = static_cast<UINT>(path.GetLength());
    WCHAR buffer[100] = {_T('#')};
    EXPECT_EQ(GetParam().call(buffer, length), length + 1);
    EXPECT_EQ(GetParam().call(nullptr, 0), length + 1);
    EXPECT_EQ(GetParam().call(buffer, length + 1), length);
    EXPECT_EQ(CString(buffer), path);
    EXPECT_TRUE(Exists(path));
}

INSTANTIATE_TEST_SUITE_P(Rows, Win32SystemFolder,
                         testing::Values(SystemFolderCase{SystemFolder, _T("C:\\windows\\system32")},
                                         SystemFolderCase{WindowsFolder, _T("C:\\windows")}));

TEST(Win32Folders, TemporaryFolderEndsInABackslashAndExists) {
    WCHAR path[MAX_PATH + 1] = {};
    const DWORD length = ::GetTempPathW(MAX_PATH + 1, path);
    ASSERT_GT(length, 3u);
    EXPECT_EQ(CString(path).GetLength(), static_cast<int>(length));
    EXPECT_EQ(path[length - 1], _T('\\'));
    EXPECT_EQ(path[1], _T(':'));
    EXPECT_TRUE(Exists(path));
    EXPECT_EQ(::GetTempPathW(length, path), length + 1);
}

TEST(Win32Folders, TemporaryNamesAreMadeOfFolderPrefixNumberAndTmp) {
    TestFolder folder;
    WCHAR name[MAX_PATH] = {};
    EXPECT_EQ(::GetTempFileNameW(folder.Path(), _T("prefix"), 0xABC, name), 0xABCu);
    EXPECT_EQ(CString(name).CompareNoCase(folder.Path(_T("preABC.tmp"))), 0);
    EXPECT_FALSE(Exists(name));
    const UINT number = ::GetTempFileNameW(folder.Path(), _T("k"), 0, name);
    EXPECT_NE(number, 0u);
    EXPECT_TRUE(Exists(name));
    WCHAR other[MAX_PATH] = {};
    EXPECT_NE(::GetTempFileNameW(folder.Path(), _T("k"), 0, other), 0u);
    EXPECT_NE(CString(name), CString(other));
    EXPECT_EQ(::GetTempFileNameW(folder.Path(_T("none")), _T("k"), 0, other), 0u);
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_DIRECTORY});
}

TEST(Win32Folders, CurrentFolderIsUsedForRelativePaths) {
    TestFolder folder;
    WCHAR before[MAX_PATH + 1] = {};
    ASSERT_GT(::GetCurrentDirectoryW(MAX_PATH + 1, before), 0u);
    kvttest::MakeFolders(folder.Path(_T("sub")));
    ASSERT_TRUE(::SetCurrentDirectoryW(folder.Path()));
    WCHAR now[MAX_PATH + 1] = {};
    const DWORD length = ::GetCurrentDirectoryW(MAX_PATH + 1, now);
    EXPECT_EQ(CString(now).CompareNoCase(folder.Path()), 0) << kvttest::Utf8(now);
    EXPECT_EQ(::GetCurrentDirectoryW(length, now), length + 1);
    WriteBytes(_T("relative"), "x");
    WriteBytes(_T("sub\\..\\sub/inner"), "y");
    EXPECT_EQ(ReadBytes(folder.Path(_T("relative"))), "x");
    EXPECT_EQ(ReadBytes(folder.Path(_T("sub\\inner"))), "y");
    EXPECT_EQ(ErrorOf([&] { return ::SetCurrentDirectoryW(folder.Path(_T("none"))); }), DWORD{ERROR_FILE_NOT_FOUND});
    EXPECT_EQ(ErrorOf([&] { return ::SetCurrentDirectoryW(folder.Path(_T("relative"))); }), DWORD{ERROR_DIRECTORY});
    EXPECT_TRUE(::SetCurrentDirectoryW(before));
}

struct FullPathCase {
    LPCWSTR path;
    LPCWSTR full;
    int name_at;  // -1: none
};

class Win32FullPath : public testing::TestWithParam<FullPathCase> {};

TEST_P(Win32FullPath, IsResolvedByTextAlone) {
    WCHAR buffer[300] = {};
    LPWSTR name = nullptr;
    const DWORD length = ::GetFullPathNameW(GetParam().path, 300, buffer, &name);
    EXPECT_EQ(CString(buffer), CString(GetParam().full));
    EXPECT_EQ(length, static_cast<DWORD>(CString(GetParam().full).GetLength()));
    EXPECT_EQ(name ? static_cast<int>(name - buffer) : -1, GetParam().name_at);
    EXPECT_EQ(::GetFullPathNameW(GetParam().path, length, buffer, nullptr), length + 1);
}

INSTANTIATE_TEST_SUITE_P(Rows, Win32FullPath,
                         testing::Values(FullPathCase{_T("C:\\a\\b"), _T("C:\\a\\b"), 5},
                                         FullPathCase{_T("C:/a/./b/../c.txt"), _T("C:\\a\\c.txt"), 5},
                                         FullPathCase{_T("C:\\a\\\\b"), _T("C:\\a\\b"), 5},
                                         FullPathCase{_T("C:\\..\\..\\x"), _T("C:\\x"), 3},
                                         FullPathCase{_T("C:\\a\\b\\"), _T("C:\\a\\b\\"), -1},
                                         FullPathCase{_T("C:\\"), _T("C:\\"), -1},
                                         FullPathCase{_T("C:\\a\\.."), _T("C:\\"), -1},
                                         FullPathCase{_T("C:\\a. "), _T("C:\\a"), 3},
                                         FullPathCase{_T("C:\\No\\Such\\Folder"), _T("C:\\No\\Such\\Folder"), 11}),
                         [](const auto& row) { return "Row" + std::to_string(row.index); });

TEST(Win32Folders, ComputerNameIsUpperCaseAndAtMostFifteenCharacters) {
    WCHAR name[MAX_COMPUTERNAME_LENGTH + 1] = {};
    DWORD size = MAX_COMPUTERNAME_LENGTH + 1;
    ASSERT_TRUE(::GetComputerNameW(name, &size));
    EXPECT_EQ(CString(name).GetLength(), static_cast<int>(size));
    EXPECT_GT(size, 0u);
    CString upper = name;
    upper.MakeUpper();
    EXPECT_EQ(upper, CString(name));
    DWORD small = 1;
    EXPECT_FALSE(::GetComputerNameW(name, &small));
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_BUFFER_OVERFLOW});
    EXPECT_EQ(small, size + 1);
}

TEST(Win32Folders, FilesOfManyThreadsDoNotMeet) {
    TestFolder folder;
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&folder, i] {
            CString name;
            name.Format(_T("t%d"), i);
            const CString path = folder.Path(name);
            for (int round = 0; round < 50; ++round) {
                WriteBytes(path, std::to_string(round));
                ASSERT_EQ(ReadBytes(path), std::to_string(round));
                ASSERT_TRUE(::DeleteFileW(path));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(folder.Names().size(), 0u);
}

}  // namespace
