// SHFileOperationW as callers find it on every target. What Wine lacks is tested off Windows, in win32_shell_*.cpp.

#include "tests/platform/shell_support.h"

namespace kvttest {
namespace {

using Names = std::vector<std::string>;

std::vector<std::string> NamesIn(const CString& path) {
    Names names;
    WIN32_FIND_DATAW data{};
    const HANDLE find = ::FindFirstFileW(path + _T("\\*"), &data);
    if (find == INVALID_HANDLE_VALUE) {
        return {"error " + std::to_string(::GetLastError())};
    }
    do {
        const std::string name = Utf8(CString(data.cFileName));
        if (name != "." && name != "..") {
            names.push_back(name);
        }
    } while (::FindNextFileW(find, &data));
    ::FindClose(find);
    return names;
}

TEST(Win32Shell, ACopyGetsANewNameOrGoesIntoAFolder) {
    const TestFolder folder;
    WriteBytes(folder.Path(_T("a.txt")), "a");
    MakeFolders(folder.Path(_T("d")));
    EXPECT_TRUE(Shell(FO_COPY, {folder.Path(_T("a.txt"))}, {folder.Path(_T("b.txt"))}).Done());
    EXPECT_TRUE(Shell(FO_COPY, {folder.Path(_T("a.txt"))}, {folder.Path(_T("d"))}).Done());
    EXPECT_TRUE(Shell(FO_COPY, {folder.Path(_T("a.txt"))}, {folder.Path(_T("x\\y\\c.txt"))}).Done());
    EXPECT_EQ(ReadBytes(folder.Path(_T("a.txt"))), "a");
    EXPECT_EQ(ReadBytes(folder.Path(_T("b.txt"))), "a");
    EXPECT_EQ(ReadBytes(folder.Path(_T("d\\a.txt"))), "a");
    EXPECT_EQ(ReadBytes(folder.Path(_T("x\\y\\c.txt"))), "a");
}

TEST(Win32Shell, ACopyReplacesWhenItIsNotToAsk) {
    const TestFolder folder;
    MakeFolders(folder.Path(_T("d")));
    WriteBytes(folder.Path(_T("a.txt")), "new");
    WriteBytes(folder.Path(_T("b.txt")), "old, and longer");
    WriteBytes(folder.Path(_T("d\\a.txt")), "old");
    EXPECT_TRUE(Shell(FO_COPY, {folder.Path(_T("a.txt"))}, {folder.Path(_T("b.txt"))}).Done());
    EXPECT_TRUE(Shell(FO_COPY, {folder.Path(_T("a.txt"))}, {folder.Path(_T("d"))}).Done());
    EXPECT_EQ(ReadBytes(folder.Path(_T("b.txt"))), "new");
    EXPECT_EQ(ReadBytes(folder.Path(_T("d\\a.txt"))), "new");
    EXPECT_EQ(NamesIn(folder.Path(_T("d"))), (Names{"a.txt"}));
}

TEST(Win32Shell, AFolderIsCopiedWithAllThatIsInIt) {
    const TestFolder folder;
    MakeFolders(folder.Path(_T("s\\one\\two")));
    MakeFolders(folder.Path(_T("s\\empty")));
    MakeFolders(folder.Path(_T("d")));
    WriteBytes(folder.Path(_T("s\\a.txt")), "a");
    WriteBytes(folder.Path(_T("s\\one\\two\\b.txt")), "b");
    EXPECT_TRUE(Shell(FO_COPY, {folder.Path(_T("s"))}, {folder.Path(_T("d"))}).Done());
    EXPECT_TRUE(Shell(FO_COPY, {folder.Path(_T("s"))}, {folder.Path(_T("t"))}).Done());
    for (const CString& copy : {folder.Path(_T("d\\s")), folder.Path(_T("t"))}) {
        EXPECT_EQ(NamesIn(copy), (Names{"a.txt", "empty", "one"}));
        EXPECT_EQ(ReadBytes(copy + _T("\\a.txt")), "a");
        EXPECT_EQ(ReadBytes(copy + _T("\\one\\two\\b.txt")), "b");
        EXPECT_TRUE(NamesIn(copy + _T("\\empty")).empty());
    }
    EXPECT_EQ(folder.Names(), (Names{"d", "s", "t"}));
}

TEST(Win32Shell, AFolderGoesIntoOneOfItsNameByMerging) {
    const TestFolder folder;
    MakeFolders(folder.Path(_T("s\\in")));
    MakeFolders(folder.Path(_T("d\\s\\in")));
    WriteBytes(folder.Path(_T("s\\a.txt")), "new");
    WriteBytes(folder.Path(_T("s\\in\\b.txt")), "b");
    WriteBytes(folder.Path(_T("d\\s\\a.txt")), "old");
    WriteBytes(folder.Path(_T("d\\s\\in\\kept.txt")), "kept");
    EXPECT_TRUE(Shell(FO_COPY, {folder.Path(_T("s"))}, {folder.Path(_T("d"))}).Done());
    EXPECT_EQ(ReadBytes(folder.Path(_T("d\\s\\a.txt"))), "new");
    EXPECT_EQ(NamesIn(folder.Path(_T("d\\s\\in"))), (Names{"b.txt", "kept.txt"}));
}

TEST(Win32Shell, SeveralSourcesGoIntoOneFolderWhichIsMade) {
    const TestFolder folder;
    WriteBytes(folder.Path(_T("a.txt")), "a");
    WriteBytes(folder.Path(_T("b.txt")), "b");
    const std::vector<CString> both = {folder.Path(_T("a.txt")), folder.Path(_T("b.txt"))};
    EXPECT_TRUE(Shell(FO_COPY, both, {folder.Path(_T("new"))}).Done());
    EXPECT_EQ(NamesIn(folder.Path(_T("new"))), (Names{"a.txt", "b.txt"}));
    EXPECT_TRUE(Shell(FO_COPY, both, {folder.Path(_T("new"))}, kShellQuiet | FOF_MULTIDESTFILES).Done());
    // Without the flag the first destination is for all.
    EXPECT_TRUE(Shell(FO_COPY, both, {folder.Path(_T("new")), folder.Path(_T("other"))}).Done());
    EXPECT_FALSE(Exists(folder.Path(_T("other"))));
}

TEST(Win32Shell, SeveralSourcesDoNotBecomeOneFile) {
    const TestFolder folder;
    WriteBytes(folder.Path(_T("a.txt")), "a");
    WriteBytes(folder.Path(_T("b.txt")), "b");
    WriteBytes(folder.Path(_T("c.txt")), "c");
    EXPECT_FALSE(
        Shell(FO_COPY, {folder.Path(_T("a.txt")), folder.Path(_T("b.txt"))}, {folder.Path(_T("c.txt"))}).Done());
    EXPECT_EQ(ReadBytes(folder.Path(_T("c.txt"))), "c");
}

TEST(Win32Shell, SeveralDestinationsTakeASourceEach) {
    const TestFolder folder;
    WriteBytes(folder.Path(_T("a.txt")), "a");
    WriteBytes(folder.Path(_T("b.txt")), "b");
    const std::vector<CString> both = {folder.Path(_T("a.txt")), folder.Path(_T("b.txt"))};
    const FILEOP_FLAGS each = kShellQuiet | FOF_MULTIDESTFILES;
    EXPECT_TRUE(Shell(FO_COPY, both, {folder.Path(_T("x.txt")), folder.Path(_T("y.txt"))}, each).Done());
    EXPECT_EQ(ReadBytes(folder.Path(_T("x.txt"))), "a");
    EXPECT_EQ(ReadBytes(folder.Path(_T("y.txt"))), "b");
    EXPECT_FALSE(Shell(FO_COPY, both, {folder.Path(_T("1")), folder.Path(_T("2")), folder.Path(_T("3"))}, each).Done());
}

TEST(Win32Shell, WildcardsMatchNamesInTheLastComponent) {
    const TestFolder folder;
    MakeFolders(folder.Path(_T("s\\dir.txt")));
    WriteBytes(folder.Path(_T("s\\a.txt")), "a");
    WriteBytes(folder.Path(_T("s\\B.TXT")), "b");
    WriteBytes(folder.Path(_T("s\\c.dat")), "c");
    EXPECT_TRUE(Shell(FO_COPY, {folder.Path(_T("s\\*.txt"))}, {folder.Path(_T("all"))}).Done());
    EXPECT_EQ(NamesIn(folder.Path(_T("all"))), (Names{"a.txt", "B.TXT", "dir.txt"}));
    EXPECT_TRUE(
        Shell(FO_COPY, {folder.Path(_T("s\\*.txt"))}, {folder.Path(_T("files"))}, kShellQuiet | FOF_FILESONLY).Done());
    EXPECT_EQ(NamesIn(folder.Path(_T("files"))), (Names{"a.txt", "B.TXT"}));
    MakeFolders(folder.Path(_T("none")));
    EXPECT_TRUE(Shell(FO_COPY, {folder.Path(_T("s\\*.zip"))}, {folder.Path(_T("none"))}).Done());
    EXPECT_TRUE(NamesIn(folder.Path(_T("none"))).empty());
}

TEST(Win32Shell, AMissingSourceLeavesEverythingAsItWas) {
    const TestFolder folder;
    MakeFolders(folder.Path(_T("d")));
    WriteBytes(folder.Path(_T("a.txt")), "a");
    EXPECT_NE(Shell(FO_COPY, {folder.Path(_T("a.txt")), folder.Path(_T("none.txt"))}, {folder.Path(_T("d"))}).code, 0);
    EXPECT_TRUE(NamesIn(folder.Path(_T("d"))).empty());
    EXPECT_NE(Shell(FO_DELETE, {folder.Path(_T("none.txt")), folder.Path(_T("a.txt"))}, {}).code, 0);
    EXPECT_NE(Shell(FO_DELETE, {folder.Path(_T("none\\none.txt"))}, {}).code, 0);
    EXPECT_EQ(folder.Names(), (Names{"a.txt", "d"}));
}

TEST(Win32Shell, AFileIsNotCopiedOntoItself) {
    const TestFolder folder;
    WriteBytes(folder.Path(_T("a.txt")), "a");
    EXPECT_EQ(Shell(FO_COPY, {folder.Path(_T("a.txt"))}, {folder.Path(_T("a.txt"))}).code, 0x71);
    EXPECT_EQ(ReadBytes(folder.Path(_T("a.txt"))), "a");
}

TEST(Win32Shell, AMoveTakesFilesAndFoldersAlong) {
    const TestFolder folder;
    MakeFolders(folder.Path(_T("s\\in")));
    MakeFolders(folder.Path(_T("d")));
    WriteBytes(folder.Path(_T("s\\in\\b.txt")), "b");
    WriteBytes(folder.Path(_T("a.txt")), "a");
    WriteBytes(folder.Path(_T("c.txt")), "c");
    EXPECT_TRUE(Shell(FO_MOVE, {folder.Path(_T("a.txt"))}, {folder.Path(_T("n.txt"))}).Done());
    EXPECT_TRUE(Shell(FO_MOVE, {folder.Path(_T("s")), folder.Path(_T("c.txt"))}, {folder.Path(_T("d"))}).Done());
    EXPECT_EQ(folder.Names(), (Names{"d", "n.txt"}));
    EXPECT_EQ(ReadBytes(folder.Path(_T("n.txt"))), "a");
    EXPECT_EQ(ReadBytes(folder.Path(_T("d\\c.txt"))), "c");
    EXPECT_EQ(ReadBytes(folder.Path(_T("d\\s\\in\\b.txt"))), "b");
}

TEST(Win32Shell, ADeletionTakesEverythingInAFolder) {
    const TestFolder folder;
    MakeFolders(folder.Path(_T("d\\e\\f")));
    WriteBytes(folder.Path(_T("d\\e\\a.txt")), "a");
    WriteBytes(folder.Path(_T("b.txt")), "b");
    WriteBytes(folder.Path(_T("c1.tmp")), "c");
    WriteBytes(folder.Path(_T("c2.tmp")), "c");
    MakeFolders(folder.Path(_T("c3.tmp")));
    EXPECT_TRUE(Shell(FO_DELETE, {folder.Path(_T("d")), folder.Path(_T("b.txt"))}, {}).Done());
    EXPECT_TRUE(Shell(FO_DELETE, {folder.Path(_T("*.tmp"))}, {}, kShellQuiet | FOF_FILESONLY).Done());
    EXPECT_EQ(folder.Names(), (Names{"c3.tmp"}));
    EXPECT_TRUE(Shell(FO_DELETE, {folder.Path(_T("*.tmp"))}, {}).Done());
    EXPECT_TRUE(Shell(FO_DELETE, {folder.Path(_T("*.tmp"))}, {}).Done());
    EXPECT_TRUE(folder.Names().empty());
}

TEST(Win32Shell, AnOpenFileIsNotDeleted) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.txt"));
    WriteBytes(path, "a");
    const HANDLE file = ::CreateFileW(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    EXPECT_NE(Shell(FO_DELETE, {path}, {}).code, 0);
    EXPECT_TRUE(Exists(path));
    ::CloseHandle(file);
    EXPECT_TRUE(Shell(FO_DELETE, {path}, {}).Done());
}

TEST(Win32Shell, RenamingChangesTheName) {
    const TestFolder folder;
    MakeFolders(folder.Path(_T("d\\in")));
    WriteBytes(folder.Path(_T("a.txt")), "a");
    WriteBytes(folder.Path(_T("taken.txt")), "t");
    EXPECT_TRUE(Shell(FO_RENAME, {folder.Path(_T("a.txt"))}, {folder.Path(_T("b.txt"))}).Done());
    EXPECT_TRUE(Shell(FO_RENAME, {folder.Path(_T("d"))}, {folder.Path(_T("e"))}).Done());
    EXPECT_EQ(folder.Names(), (Names{"b.txt", "e", "taken.txt"}));
    EXPECT_NE(Shell(FO_RENAME, {folder.Path(_T("b.txt"))}, {folder.Path(_T("taken.txt"))}).code, 0);
    EXPECT_NE(Shell(FO_RENAME, {folder.Path(_T("none.txt"))}, {folder.Path(_T("n.txt"))}).code, 0);
    EXPECT_NE(Shell(FO_RENAME, {folder.Path(_T("*.txt"))}, {folder.Path(_T("n.txt"))}).code, 0);
    EXPECT_NE(Shell(FO_RENAME, {folder.Path(_T("b.txt")), folder.Path(_T("e"))}, {folder.Path(_T("n.txt"))}).code, 0);
    EXPECT_EQ(folder.Names(), (Names{"b.txt", "e", "taken.txt"}));
    EXPECT_EQ(ReadBytes(folder.Path(_T("taken.txt"))), "t");
}

TEST(Win32Shell, WhatIsNoOperationIsRefused) {
    const TestFolder folder;
    WriteBytes(folder.Path(_T("a.txt")), "a");
    EXPECT_EQ(Shell(0, {folder.Path(_T("a.txt"))}, {folder.Path(_T("b.txt"))}).code, 87);
    EXPECT_EQ(Shell(5, {folder.Path(_T("a.txt"))}, {folder.Path(_T("b.txt"))}).code, 87);
    EXPECT_NE(Shell(FO_DELETE, {}, {}).code, 0);
    EXPECT_EQ(folder.Names(), (Names{"a.txt"}));
}

TEST(Win32Shell, WideNamesAndForwardSlashesAreTaken) {
    const TestFolder folder;
    const CString name = Wide("图纸 📐.dwg");
    WriteBytes(folder.Path(name), "x");
    CString forward = folder.Path(_T("sub")) + _T("/") + name;
    forward.Replace(_T("\\"), _T("/"));
    EXPECT_TRUE(Shell(FO_COPY, {folder.Path(name)}, {forward}).Done());
    EXPECT_EQ(ReadBytes(folder.Path(_T("sub\\") + name)), "x");
}

TEST(Win32Shell, TimesAndTheReadOnlyAttributeAreKept) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.txt"));
    WriteBytes(path, "a");
    SetFileSeconds(path, 1000000000);
    ::SetFileAttributesW(path, FILE_ATTRIBUTE_READONLY);
    EXPECT_TRUE(Shell(FO_COPY, {path}, {folder.Path(_T("b.txt"))}).Done());
    WIN32_FILE_ATTRIBUTE_DATA one{};
    WIN32_FILE_ATTRIBUTE_DATA other{};
    ASSERT_TRUE(::GetFileAttributesExW(path, GetFileExInfoStandard, &one));
    ASSERT_TRUE(::GetFileAttributesExW(folder.Path(_T("b.txt")), GetFileExInfoStandard, &other));
    EXPECT_EQ(::CompareFileTime(&one.ftLastWriteTime, &other.ftLastWriteTime), 0);
    EXPECT_NE(other.dwFileAttributes & FILE_ATTRIBUTE_READONLY, 0u);
}

}  // namespace
}  // namespace kvttest
