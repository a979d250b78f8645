// Open files: creation, share modes, reading, writing, pointers, times, attributes.

#include <string>

#include "tests/support/support.h"

namespace {

using kvttest::ReadBytes;
using kvttest::TestFolder;
using kvttest::WriteBytes;

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

HANDLE Open(const CString& path, DWORD access, DWORD disposition, DWORD share = kShareAll) {
    return ::CreateFileW(path, access, share, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
}

// The error of an open that must fail.
DWORD OpenError(const CString& path, DWORD access, DWORD disposition, DWORD share = kShareAll) {
    ::SetLastError(0xABCD);
    const HANDLE file = Open(path, access, disposition, share);
    if (file == INVALID_HANDLE_VALUE) {
        return ::GetLastError();
    }
    ::CloseHandle(file);
    return 0;
}

// The last error of an open that must do its work.
DWORD ErrorAfterOpen(const CString& path, DWORD disposition) {
    ::SetLastError(0xABCD);
    const HANDLE file = Open(path, GENERIC_WRITE, disposition);
    const DWORD error = ::GetLastError();
    EXPECT_NE(file, INVALID_HANDLE_VALUE);
    ::CloseHandle(file);
    return error;
}

TEST(Win32Files, MissingFileIsError2AndMissingFolder3) {
    TestFolder folder;
    EXPECT_EQ(OpenError(folder.Path(_T("none.txt")), GENERIC_READ, OPEN_EXISTING), DWORD{ERROR_FILE_NOT_FOUND});
    EXPECT_EQ(OpenError(folder.Path(_T("no\\none.txt")), GENERIC_READ, OPEN_EXISTING), DWORD{ERROR_PATH_NOT_FOUND});
    EXPECT_EQ(OpenError(folder.Path(_T("no\\none.txt")), GENERIC_WRITE, CREATE_ALWAYS), DWORD{ERROR_PATH_NOT_FOUND});
    EXPECT_EQ(OpenError(_T(""), GENERIC_READ, OPEN_EXISTING), DWORD{ERROR_PATH_NOT_FOUND});
#ifndef _WIN32
    EXPECT_EQ(OpenError(_T("Q:\\none.txt"), GENERIC_READ, OPEN_EXISTING), ERROR_PATH_NOT_FOUND);  // 2 in Wine
#endif
}

TEST(Win32Files, FileAsFolderIsError3) {
    TestFolder folder;
    WriteBytes(folder.Path(_T("file")), "x");
    EXPECT_EQ(OpenError(folder.Path(_T("file\\below")), GENERIC_READ, OPEN_EXISTING), DWORD{ERROR_PATH_NOT_FOUND});
    EXPECT_EQ(OpenError(folder.Path(_T("file\\below")), GENERIC_WRITE, CREATE_ALWAYS), DWORD{ERROR_PATH_NOT_FOUND});
}

TEST(Win32Files, FolderIsError5UnlessOpenedForItsAttributes) {
    TestFolder folder;
    EXPECT_EQ(OpenError(folder.Path(), GENERIC_READ, OPEN_EXISTING), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_EQ(OpenError(folder.Path(), GENERIC_WRITE, CREATE_ALWAYS), DWORD{ERROR_ACCESS_DENIED});
    const HANDLE handle = ::CreateFileW(folder.Path(), GENERIC_READ, kShareAll, nullptr, OPEN_EXISTING,
                                        FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    ASSERT_NE(handle, INVALID_HANDLE_VALUE);
    FILETIME write{};
    EXPECT_TRUE(::GetFileTime(handle, nullptr, nullptr, &write));
    EXPECT_NE(write.dwHighDateTime, 0u);
    EXPECT_TRUE(::CloseHandle(handle));
}

TEST(Win32Files, BadNamesAreError123) {
    TestFolder folder;
    for (const LPCWSTR name : {_T("a?b"), _T("a*b"), _T("a<b"), _T("a>b"), _T("a|b"), _T("a\"b"), _T("end\\")}) {
        EXPECT_EQ(OpenError(folder.Path(name), GENERIC_WRITE, CREATE_ALWAYS), DWORD{ERROR_INVALID_NAME})
            << kvttest::Utf8(name);
    }
    EXPECT_EQ(folder.Names().size(), 0u);
}

TEST(Win32Files, DispositionsTellWhetherTheFileExisted) {
    TestFolder folder;
    const CString path = folder.Path(_T("f"));
    EXPECT_EQ(ErrorAfterOpen(path, CREATE_ALWAYS), 0u);
    EXPECT_EQ(ErrorAfterOpen(path, CREATE_ALWAYS), DWORD{ERROR_ALREADY_EXISTS});
    EXPECT_EQ(ErrorAfterOpen(path, OPEN_ALWAYS), DWORD{ERROR_ALREADY_EXISTS});
    EXPECT_EQ(ErrorAfterOpen(folder.Path(_T("g")), OPEN_ALWAYS), 0u);
    EXPECT_EQ(OpenError(path, GENERIC_WRITE, CREATE_NEW), DWORD{ERROR_FILE_EXISTS});
    EXPECT_EQ(OpenError(path, GENERIC_WRITE, 9), DWORD{ERROR_INVALID_PARAMETER});
#ifndef _WIN32
    EXPECT_EQ(OpenError(path, GENERIC_READ, TRUNCATE_EXISTING), ERROR_INVALID_PARAMETER);  // Wine opens it
#endif
}

TEST(Win32Files, OnlyCreateAlwaysAndTruncateExistingEmptyAFile) {
    TestFolder folder;
    const CString path = folder.Path(_T("f"));
    const struct {
        DWORD disposition;
        const char* left;
    } rows[] = {{OPEN_EXISTING, "old"}, {OPEN_ALWAYS, "old"}, {CREATE_ALWAYS, ""}, {TRUNCATE_EXISTING, ""}};
    for (const auto& row : rows) {
        WriteBytes(path, "old");
        ::CloseHandle(Open(path, GENERIC_WRITE, row.disposition));
        EXPECT_EQ(ReadBytes(path), row.left) << row.disposition;
    }
}

TEST(Win32Files, NamesIgnoreCaseAndTrailingDotsAndBlanks) {
    TestFolder folder;
    WriteBytes(folder.Path(_T("Name.TXT")), "x");
    for (const LPCWSTR name : {_T("name.txt"), _T("NAME.txt"), _T("Name.TXT."), _T("name.txt. ."), _T("name.txt ")}) {
        EXPECT_EQ(ReadBytes(folder.Path(name)), "x") << kvttest::Utf8(name);
    }
    EXPECT_EQ(OpenError(folder.Path(_T("nAme.txt")), GENERIC_WRITE, CREATE_NEW), DWORD{ERROR_FILE_EXISTS});
    WriteBytes(folder.Path(_T("dotted. ")), "y");
    EXPECT_EQ(folder.Names(), (std::vector<std::string>{"dotted", "Name.TXT"}));
}

TEST(Win32Files, BothSeparatorsAndDotsAreRead) {
    TestFolder folder;
    kvttest::MakeFolders(folder.Path(_T("a\\b")));
    WriteBytes(folder.Path(_T("a\\b\\f")), "x");
    for (const LPCWSTR name :
         {_T("a/b/f"), _T("a\\.\\b\\f"), _T("a\\b\\..\\b\\f"), _T("none\\..\\a\\b\\f"), _T("a\\\\b\\f")}) {
        EXPECT_EQ(ReadBytes(folder.Path(name)), "x") << kvttest::Utf8(name);
    }
}

TEST(Win32Files, DeviceNulSwallowsWrites) {
    const HANDLE file = Open(_T("nul"), GENERIC_WRITE, OPEN_EXISTING);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    DWORD written = 0;
    EXPECT_TRUE(::WriteFile(file, "abc", 3, &written, nullptr));
    EXPECT_EQ(written, 3u);
    ::CloseHandle(file);
}

struct ShareCase {
    DWORD first_access;
    DWORD first_share;
    DWORD second_access;
    DWORD second_share;
    DWORD error;
};

class Win32Share : public testing::TestWithParam<ShareCase> {};

TEST_P(Win32Share, SecondOpenIsRefusedWhenEitherForbidsIt) {
    TestFolder folder;
    const CString path = folder.Path(_T("f"));
    WriteBytes(path, "old");
    const ShareCase& row = GetParam();
    const HANDLE first = Open(path, row.first_access, OPEN_EXISTING, row.first_share);
    ASSERT_NE(first, INVALID_HANDLE_VALUE);
    EXPECT_EQ(OpenError(path, row.second_access, OPEN_EXISTING, row.second_share), row.error);
    ::CloseHandle(first);
    EXPECT_EQ(OpenError(path, row.second_access, OPEN_EXISTING, row.second_share), 0u);
}

constexpr DWORD kRead = GENERIC_READ;
constexpr DWORD kWrite = GENERIC_WRITE;

INSTANTIATE_TEST_SUITE_P(Rows, Win32Share,
                         testing::Values(ShareCase{kRead, 0, kRead, kShareAll, ERROR_SHARING_VIOLATION},
                                         ShareCase{kRead, FILE_SHARE_READ, kRead, kShareAll, 0},
                                         ShareCase{kRead, FILE_SHARE_READ, kWrite, kShareAll, ERROR_SHARING_VIOLATION},
                                         ShareCase{kRead, FILE_SHARE_WRITE, kWrite, kShareAll, 0},
                                         ShareCase{kWrite, kShareAll, kRead, FILE_SHARE_READ, ERROR_SHARING_VIOLATION},
                                         ShareCase{kWrite, kShareAll, kRead, FILE_SHARE_READ | FILE_SHARE_WRITE, 0},
                                         ShareCase{kRead, kShareAll, kRead, 0, ERROR_SHARING_VIOLATION},
                                         ShareCase{FILE_READ_ATTRIBUTES, 0, kRead | kWrite, 0, 0},
                                         ShareCase{kRead | kWrite, 0, FILE_READ_ATTRIBUTES, 0, 0}),
                         [](const auto& row) { return "Row" + std::to_string(row.index); });

TEST(Win32Files, OpenThatIsRefusedDoesNotEmptyTheFile) {
    TestFolder folder;
    const CString path = folder.Path(_T("f"));
    WriteBytes(path, "old");
    const HANDLE first = Open(path, GENERIC_READ, OPEN_EXISTING, FILE_SHARE_READ);
    EXPECT_EQ(OpenError(path, GENERIC_WRITE, CREATE_ALWAYS), DWORD{ERROR_SHARING_VIOLATION});
    ::CloseHandle(first);
    EXPECT_EQ(ReadBytes(path), "old");
}

TEST(Win32Files, ReadAtTheEndSucceedsWithNothing) {
    TestFolder folder;
    WriteBytes(folder.Path(_T("f")), "abc");
    const HANDLE file = Open(folder.Path(_T("f")), GENERIC_READ, OPEN_EXISTING);
    char bytes[10];
    DWORD got = 99;
    EXPECT_TRUE(::ReadFile(file, bytes, 10, &got, nullptr));
    EXPECT_EQ(std::string(bytes, got), "abc");
    EXPECT_TRUE(::ReadFile(file, bytes, 10, &got, nullptr));
    EXPECT_EQ(got, 0u);
    EXPECT_EQ(::SetFilePointer(file, 100, nullptr, FILE_BEGIN), 100u);
    EXPECT_TRUE(::ReadFile(file, bytes, 10, &got, nullptr));
    EXPECT_EQ(got, 0u);
    ::CloseHandle(file);
}

TEST(Win32Files, AccessThatWasNotAskedForIsError5) {
    TestFolder folder;
    const CString path = folder.Path(_T("f"));
    WriteBytes(path, "abc");
    char bytes[4];
    DWORD count = 77;
    HANDLE file = Open(path, GENERIC_READ, OPEN_EXISTING);
    EXPECT_FALSE(::WriteFile(file, "x", 1, &count, nullptr));
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_FALSE(::FlushFileBuffers(file));
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_FALSE(::SetEndOfFile(file));
#ifndef _WIN32
    EXPECT_EQ(::GetLastError(), ERROR_ACCESS_DENIED);  // 87 in Wine
#endif
    ::CloseHandle(file);
    file = Open(path, GENERIC_WRITE, OPEN_EXISTING);
    EXPECT_FALSE(::ReadFile(file, bytes, 4, &count, nullptr));
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_ACCESS_DENIED});
    ::CloseHandle(file);
    EXPECT_EQ(ReadBytes(path), "abc");
}

TEST(Win32Files, PointerBeforeTheStartIsError131) {
    TestFolder folder;
    WriteBytes(folder.Path(_T("f")), "abc");
    const HANDLE file = Open(folder.Path(_T("f")), GENERIC_READ, OPEN_EXISTING);
    EXPECT_EQ(::SetFilePointer(file, -1, nullptr, FILE_BEGIN), INVALID_SET_FILE_POINTER);
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_NEGATIVE_SEEK});
    EXPECT_EQ(::SetFilePointer(file, -3, nullptr, FILE_END), 0u);
    EXPECT_EQ(::SetFilePointer(file, 2, nullptr, FILE_CURRENT), 2u);
    LONG high = 1;
    EXPECT_EQ(::SetFilePointer(file, 5, &high, FILE_BEGIN), 5u);
    EXPECT_EQ(high, 1);
    LARGE_INTEGER distance;
    LARGE_INTEGER position;
    distance.QuadPart = 0;
    EXPECT_TRUE(::SetFilePointerEx(file, distance, &position, FILE_CURRENT));
    EXPECT_EQ(position.QuadPart, 0x100000005);
    distance.QuadPart = -0x100000006;
    EXPECT_FALSE(::SetFilePointerEx(file, distance, &position, FILE_CURRENT));
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_NEGATIVE_SEEK});
    ::CloseHandle(file);
}

TEST(Win32Files, SetEndOfFileCutsAndExtendsWithZeros) {
    TestFolder folder;
    const CString path = folder.Path(_T("f"));
    WriteBytes(path, "abcdef");
    const HANDLE file = Open(path, GENERIC_READ | GENERIC_WRITE, OPEN_EXISTING);
    ::SetFilePointer(file, 2, nullptr, FILE_BEGIN);
    EXPECT_TRUE(::SetEndOfFile(file));
    ::SetFilePointer(file, 4, nullptr, FILE_BEGIN);
    EXPECT_TRUE(::SetEndOfFile(file));
    DWORD high = 9;
    EXPECT_EQ(::GetFileSize(file, &high), 4u);
    EXPECT_EQ(high, 0u);
    EXPECT_TRUE(::FlushFileBuffers(file));
    ::CloseHandle(file);
    EXPECT_EQ(ReadBytes(path), std::string("ab\0\0", 4));
}

TEST(Win32Files, ClosedAndInvalidHandlesAreError6) {
    TestFolder folder;
    const HANDLE file = Open(folder.Path(_T("f")), GENERIC_WRITE, CREATE_ALWAYS);
    EXPECT_TRUE(::CloseHandle(file));
    for (const HANDLE handle :
         {file, INVALID_HANDLE_VALUE, HANDLE{nullptr}, reinterpret_cast<HANDLE>(UINT_PTR{0x7FFFFFF})}) {
        ::SetLastError(0);
        LARGE_INTEGER size;
        EXPECT_FALSE(::GetFileSizeEx(handle, &size));
        EXPECT_EQ(::GetLastError(), DWORD{ERROR_INVALID_HANDLE});
    }
    EXPECT_FALSE(::CloseHandle(file));
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_INVALID_HANDLE});
}

TEST(Win32Files, TimesKeepTheirHundredNanoseconds) {
    TestFolder folder;
    const CString path = folder.Path(_T("f"));
    const HANDLE file = Open(path, GENERIC_READ | GENERIC_WRITE, CREATE_ALWAYS);
    const FILETIME set{0x89ABCDE7, 0x01D00000};
    EXPECT_TRUE(::SetFileTime(file, nullptr, nullptr, &set));
    FILETIME got{};
    EXPECT_TRUE(::GetFileTime(file, nullptr, nullptr, &got));
    EXPECT_EQ(::CompareFileTime(&got, &set), 0);
    ::CloseHandle(file);
    WIN32_FILE_ATTRIBUTE_DATA data;
    EXPECT_TRUE(::GetFileAttributesExW(path, GetFileExInfoStandard, &data));
    EXPECT_EQ(::CompareFileTime(&data.ftLastWriteTime, &set), 0);
}

TEST(Win32Files, AttributesOfFilesAndFolders) {
    TestFolder folder;
    const CString path = folder.Path(_T("f"));
    WriteBytes(path, "abc");
    EXPECT_EQ(::GetFileAttributesW(path), DWORD{FILE_ATTRIBUTE_ARCHIVE});
    EXPECT_EQ(::GetFileAttributesW(folder.Path()), DWORD{FILE_ATTRIBUTE_DIRECTORY});
    EXPECT_EQ(::GetFileAttributesW(folder.Path() + _T("\\")), DWORD{FILE_ATTRIBUTE_DIRECTORY});
    WIN32_FILE_ATTRIBUTE_DATA data;
    EXPECT_TRUE(::GetFileAttributesExW(path, GetFileExInfoStandard, &data));
    EXPECT_EQ(data.nFileSizeLow, 3u);
    EXPECT_EQ(data.nFileSizeHigh, 0u);
    EXPECT_EQ(::GetFileAttributesW(folder.Path(_T("none"))), INVALID_FILE_ATTRIBUTES);
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_FILE_NOT_FOUND});
    EXPECT_EQ(::GetFileAttributesW(folder.Path(_T("no\\none"))), INVALID_FILE_ATTRIBUTES);
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_PATH_NOT_FOUND});
}

TEST(Win32Files, ReadOnlyHiddenAndSystemCanBeSetAndCleared) {
    TestFolder folder;
    const CString path = folder.Path(_T("f"));
    WriteBytes(path, "abc");
#ifdef _WIN32
    // Wine takes the right to write away before it stores the other two, which an ordinary user then cannot any more.
    constexpr DWORD kAll = FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM;
#else
    constexpr DWORD kAll = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM;
#endif
    for (const DWORD attributes : {DWORD{FILE_ATTRIBUTE_READONLY}, DWORD{FILE_ATTRIBUTE_HIDDEN}, kAll, DWORD{0}}) {
        EXPECT_TRUE(::SetFileAttributesW(path, attributes | FILE_ATTRIBUTE_ARCHIVE)) << ::GetLastError();
        EXPECT_EQ(::GetFileAttributesW(path), attributes | FILE_ATTRIBUTE_ARCHIVE);
    }
}

TEST(Win32Files, ReadOnlyFileIsNotDeleted) {
    TestFolder folder;
    const CString path = folder.Path(_T("f"));
    WriteBytes(path, "abc");
    ::SetFileAttributesW(path, FILE_ATTRIBUTE_READONLY);
    EXPECT_FALSE(::DeleteFileW(path));
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_EQ(ReadBytes(path), "abc");
}

TEST(Win32Files, DotFileIsHidden) {
    TestFolder folder;
    WriteBytes(folder.Path(_T(".dot")), "");
#ifdef _WIN32
    // Wine shows it so; Windows does not.
    EXPECT_EQ(::GetFileAttributesW(folder.Path(_T(".dot"))) & ~DWORD{FILE_ATTRIBUTE_HIDDEN},
              DWORD{FILE_ATTRIBUTE_ARCHIVE});
#else
    EXPECT_EQ(::GetFileAttributesW(folder.Path(_T(".dot"))), FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_HIDDEN);
    EXPECT_TRUE(::SetFileAttributesW(folder.Path(_T(".dot")), FILE_ATTRIBUTE_NORMAL));
    EXPECT_EQ(::GetFileAttributesW(folder.Path(_T(".dot"))), FILE_ATTRIBUTE_ARCHIVE);
#endif
}

TEST(Win32Files, PathOfFortyThousandCharactersIsRefused) {
    TestFolder folder;
    CString path = folder.Path() + _T("\\");
    while (path.GetLength() < 40000) {
        path += _T("component\\");
    }
    path += _T("f");
    ::SetLastError(0);
    EXPECT_EQ(Open(path, GENERIC_WRITE, CREATE_ALWAYS), INVALID_HANDLE_VALUE);
    EXPECT_NE(::GetLastError(), 0u);
    EXPECT_EQ(::GetFileAttributesW(path), INVALID_FILE_ATTRIBUTES);
    WIN32_FIND_DATAW data;
    EXPECT_EQ(::FindFirstFileW(path + _T("*"), &data), INVALID_HANDLE_VALUE);
    EXPECT_FALSE(::CreateDirectoryW(path, nullptr));
    EXPECT_FALSE(::CopyFileW(path, path, FALSE));
    EXPECT_FALSE(::MoveFileW(path, folder.Path(_T("g"))));
    const CString long_name = folder.Path(CString(_T('n'), 40000));
    EXPECT_EQ(Open(long_name, GENERIC_WRITE, CREATE_ALWAYS), INVALID_HANDLE_VALUE);
    EXPECT_EQ(folder.Names().size(), 0u);
}

TEST(Win32Files, NamesWithLoneSurrogatesKeepThem) {
    TestFolder folder;
    const WCHAR high[] = {_T('h'), 0xD83D, _T('x'), 0};
    const WCHAR low[] = {_T('l'), 0xDE00, 0};
    for (const LPCWSTR name : {static_cast<LPCWSTR>(high), static_cast<LPCWSTR>(low)}) {
        const HANDLE file = Open(folder.Path(name), GENERIC_WRITE, CREATE_NEW);
        if (file == INVALID_HANDLE_VALUE) {
            continue;  // a file system may refuse them
        }
        ::CloseHandle(file);
        WIN32_FIND_DATAW data;
        const HANDLE find = ::FindFirstFileW(folder.Path(name), &data);
        ASSERT_NE(find, INVALID_HANDLE_VALUE);
        ::FindClose(find);
        EXPECT_EQ(CString(data.cFileName), CString(name));
        EXPECT_TRUE(::DeleteFileW(folder.Path(name)));
    }
}

}  // namespace
