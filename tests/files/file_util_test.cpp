// Times of files, lists of files, copies.

#include "kvtfile/FileUtil.h"
#include "tests/support/support.h"

namespace {

using kvttest::ReadBytes;
using kvttest::TestFolder;
using kvttest::Utf8;
using kvttest::WriteBytes;

COleDateTime Invalid() {
    COleDateTime time;
    time.SetStatus(COleDateTime::invalid);
    return time;
}

COleDateTime Null() {
    COleDateTime time;
    time.SetStatus(COleDateTime::null);
    return time;
}

std::string Text(const COleDateTime& time) {
    return Utf8(time.Format(_T("%Y-%m-%d %H:%M:%S")));
}

std::vector<std::string> Texts(const CStringArray& array) {
    std::vector<std::string> texts;
    for (INT_PTR i = 0; i < array.GetSize(); ++i) {
        texts.push_back(Utf8(array[i]));
    }
    return texts;
}

using Names = std::vector<std::string>;

/// Three files of different ages.
class Aged {
public:
    Aged() {
        const struct {
            LPCWSTR name;
            COleDateTime time;
        } rows[] = {
            {_T("a.txt"), COleDateTime(2024, 1, 15, 8, 30, 59)},
            {_T("b.txt"), COleDateTime(2024, 7, 15, 23, 5, 0)},
            {_T("c.doc"), COleDateTime(2024, 7, 16, 0, 0, 0)},
        };
        for (const auto& row : rows) {
            WriteBytes(m_folder.Path(row.name), "x");
            EXPECT_EQ(kvtfile::FSetFileTime(m_folder.Path(row.name), row.time), 1);
        }
    }
    CString Path(const CString& name) const { return m_folder.Path(name); }

private:
    TestFolder m_folder;
};

TEST(FileTime, WhatWasSetIsRead) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.txt"));
    WriteBytes(path, "x");
    for (const COleDateTime& time : {COleDateTime(2024, 2, 29, 23, 59, 59), COleDateTime(2024, 7, 1, 12, 0, 0),
                                     COleDateTime(1999, 12, 31, 1, 2, 3), COleDateTime(2110, 1, 2, 3, 4, 5)}) {
        ASSERT_EQ(kvtfile::FSetFileTime(path, time), 1);
        COleDateTime read;
        ASSERT_EQ(kvtfile::FGetFileTime(path, read), 1);
        EXPECT_EQ(Text(read), Text(time));
    }
    EXPECT_EQ(ReadBytes(path), "x");
}

TEST(FileTime, AllStampsAreSet) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.txt"));
    WriteBytes(path, "x");
    ASSERT_EQ(kvtfile::FSetFileTime(path, COleDateTime(2001, 2, 3, 4, 5, 6)), 1);
    WIN32_FILE_ATTRIBUTE_DATA data;
    ASSERT_TRUE(::GetFileAttributesExW(path, GetFileExInfoStandard, &data));
    EXPECT_EQ(::CompareFileTime(&data.ftLastAccessTime, &data.ftLastWriteTime), 0);
    EXPECT_EQ(::CompareFileTime(&data.ftCreationTime, &data.ftLastWriteTime), 0);
}

TEST(FileTime, AReadOnlyFilesTimeIsRead) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.txt"));
    WriteBytes(path, "x");
    kvttest::SetFileSeconds(path, 1700000000);
    COleDateTime before;
    ASSERT_EQ(kvtfile::FGetFileTime(path, before), 1);
    ASSERT_TRUE(::SetFileAttributesW(path, FILE_ATTRIBUTE_READONLY));
    COleDateTime time;
    EXPECT_EQ(kvtfile::FGetFileTime(path, time), 1);
    EXPECT_EQ(Text(time), Text(before));
}

TEST(FileTime, AReadOnlyFilesTimeIsSet) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.txt"));
    WriteBytes(path, "x");
    ASSERT_TRUE(::SetFileAttributesW(path, FILE_ATTRIBUTE_READONLY));
    // Wine does not open a read-only file for this as an ordinary user.
    const HANDLE file = ::CreateFileW(path, FILE_WRITE_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                      OPEN_EXISTING, 0, nullptr);
    const bool opened = file != INVALID_HANDLE_VALUE;
    if (opened) {
        ::CloseHandle(file);
    }
    EXPECT_EQ(kvtfile::FSetFileTime(path, COleDateTime(2001, 2, 3, 4, 5, 6)), opened ? 1 : 0);
    COleDateTime time;
    EXPECT_EQ(kvtfile::FGetFileTime(path, time), 1);
    EXPECT_EQ(Text(time) == "2001-02-03 04:05:06", opened);
}

TEST(FileTime, AFoldersTimeIsSetButNotRead) {
    const TestFolder folder;
    const CString path = folder.Path(_T("sub"));
    kvttest::MakeFolders(path);
    EXPECT_EQ(kvtfile::FSetFileTime(path, COleDateTime(2001, 2, 3, 4, 5, 6)), 1);
    CStringArray names;
    CStringArray times;
    EXPECT_EQ(kvtfile::FindFile(names, path, times, nullptr), 1);
    EXPECT_EQ(Texts(times), Names{"2001-02-03 04:05"});
    COleDateTime time(2024, 5, 6, 7, 8, 9);
    EXPECT_EQ(kvtfile::FGetFileTime(path, time), 0) << "no file";
    EXPECT_EQ(Text(time), "2024-05-06 07:08:09");
}

TEST(FileTime, ATimeThatTheFileSystemCannotKeepIsAFailure) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.txt"));
    WriteBytes(path, "x");
    const COleDateTime now(2024, 5, 6, 7, 8, 9);
    const COleDateTime latest(9998, 12, 31, 23, 59, 59);
    ASSERT_EQ(kvtfile::FSetFileTime(path, now), 1);
    const int set = kvtfile::FSetFileTime(path, latest);
    COleDateTime kept;
    ASSERT_EQ(kvtfile::FGetFileTime(path, kept), 1);
    EXPECT_EQ(Text(kept), Text(set ? latest : now));
}

TEST(FileTime, FailuresLeaveTheTimeAlone) {
    const TestFolder folder;
    COleDateTime time(2024, 5, 6, 7, 8, 9);
    EXPECT_EQ(kvtfile::FGetFileTime(folder.Path(_T("no")), time), 0);
    EXPECT_EQ(kvtfile::FGetFileTime(_T(""), time), 0);
    EXPECT_EQ(kvtfile::FSetFileTime(folder.Path(_T("no")), time), 0);
    EXPECT_EQ(kvtfile::FSetFileTime(_T(""), time), 0);
    EXPECT_EQ(Text(time), "2024-05-06 07:08:09");
}

TEST(FileTime, AFileThatIsOpenForWritingIsAFailure) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.txt"));
    CFile writer(path, CFile::modeCreate | CFile::modeWrite | CFile::shareDenyNone);
    COleDateTime time;
    EXPECT_EQ(kvtfile::FGetFileTime(path, time), 0);
}

TEST(FileTime, TimesThatNoStampHoldsAreRefused) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.txt"));
    WriteBytes(path, "x");
    kvttest::SetFileSeconds(path, 1700000000);
    COleDateTime before;
    ASSERT_EQ(kvtfile::FGetFileTime(path, before), 1);
    EXPECT_EQ(kvtfile::FSetFileTime(path, Invalid()), 0);
    EXPECT_EQ(kvtfile::FSetFileTime(path, Null()), 0);
    EXPECT_EQ(kvtfile::FSetFileTime(path, COleDateTime(1500, 1, 1, 0, 0, 0)), 0);
    COleDateTime after;
    ASSERT_EQ(kvtfile::FGetFileTime(path, after), 1);
    EXPECT_EQ(Text(after), Text(before));
}

#ifndef _WIN32
// Wine reads the time zone at the start of the process.
TEST(FileTime, EachStampHasTheOffsetOfItsOwnSeason) {
    ::setenv("TZ", "America/New_York", 1);
    const TestFolder folder;
    const CString path = folder.Path(_T("a.txt"));
    WriteBytes(path, "x");
    COleDateTime time;
    kvttest::SetFileSeconds(path, 1705320000);  // 2024-01-15 12:00 UTC
    EXPECT_EQ(kvtfile::FGetFileTime(path, time), 1);
    EXPECT_EQ(Text(time), "2024-01-15 07:00:00");
    kvttest::SetFileSeconds(path, 1721044800);  // 2024-07-15 12:00 UTC
    EXPECT_EQ(kvtfile::FGetFileTime(path, time), 1);
    EXPECT_EQ(Text(time), "2024-07-15 08:00:00");
    CStringArray names;
    CStringArray times;
    EXPECT_EQ(kvtfile::FindFile(names, path, times, nullptr), 1);
    EXPECT_EQ(Texts(times), Names{"2024-07-15 08:00"});
    ::unsetenv("TZ");
}
#endif

TEST(FindFile, NamesOfAllThatMatchAreAppended) {
    const TestFolder folder;
    WriteBytes(folder.Path(_T("b.txt")), "x");
    WriteBytes(folder.Path(_T("a.txt")), "x");
    WriteBytes(folder.Path(_T("c.doc")), "x");
    kvttest::MakeFolders(folder.Path(_T("sub.txt")));
    CStringArray names;
    names.Add(_T("before"));
    EXPECT_EQ(kvtfile::FindFile(names, folder.Path(_T("*.txt"))), 1);
    EXPECT_EQ(Texts(names), (Names{"before", "a.txt", "b.txt", "sub.txt"}));
    names.RemoveAll();
    EXPECT_EQ(kvtfile::FindFile(names, folder.Path(_T("*"))), 1);
    EXPECT_EQ(Texts(names), (Names{".", "..", "a.txt", "b.txt", "c.doc", "sub.txt"}));
    names.RemoveAll();
    EXPECT_EQ(kvtfile::FindFile(names, folder.Path(_T("c.doc"))), 1);
    EXPECT_EQ(Texts(names), Names{"c.doc"});
}

TEST(FindFile, NothingFoundIsZero) {
    const TestFolder folder;
    CStringArray names;
    CStringArray times;
    EXPECT_EQ(kvtfile::FindFile(names, folder.Path(_T("*.txt"))), 0);
    EXPECT_EQ(kvtfile::FindFile(names, folder.Path(_T("no\\*"))), 0);
    EXPECT_EQ(kvtfile::FindFile(names, nullptr), 0);
    EXPECT_EQ(kvtfile::FindFile(names, nullptr, times, nullptr), 0);
    EXPECT_EQ(kvtfile::FindFile(names, folder.Path(_T("*.txt")), times, nullptr), 0);
    EXPECT_EQ(names.GetSize(), 0);
    EXPECT_EQ(times.GetSize(), 0);
}

TEST(FindFile, TimesStandBesideTheNames) {
    const Aged files;
    CStringArray names;
    CStringArray times;
    EXPECT_EQ(kvtfile::FindFile(names, files.Path(_T("*.*t*")), times, nullptr), 1);
    EXPECT_EQ(Texts(names), (Names{"a.txt", "b.txt"}));
    EXPECT_EQ(Texts(times), (Names{"2024-01-15 08:30", "2024-07-15 23:05"}));
}

TEST(FindFile, OnlyStrictlyLaterEntriesAreKept) {
    const Aged files;
    const struct {
        COleDateTime after;
        Names names;
    } rows[] = {
        {COleDateTime(2024, 1, 15, 8, 30, 58), {"a.txt", "b.txt"}},
        {COleDateTime(2024, 1, 15, 8, 30, 59), {"b.txt"}},
        {COleDateTime(2024, 7, 15, 23, 5, 0), {}},
        {Invalid(), {}},
        {Null(), {}},
    };
    for (const auto& row : rows) {
        CStringArray names;
        CStringArray times;
        COleDateTime after = row.after;
        EXPECT_EQ(kvtfile::FindFile(names, files.Path(_T("*.txt")), times, &after), 1);
        EXPECT_EQ(Texts(names), row.names) << Text(row.after);
        EXPECT_EQ(times.GetSize(), names.GetSize());
    }
}

TEST(CopyFileArr, FilesAreCopiedOverThoseOfTheSameName) {
    const TestFolder folder;
    kvttest::MakeFolders(folder.Path(_T("to")));
    WriteBytes(folder.Path(_T("a.txt")), "new a");
    WriteBytes(folder.Path(_T("b.txt")), "new b");
    WriteBytes(folder.Path(_T("to\\b.txt")), "old, and longer");
    CStringArray files;
    files.Add(folder.Path(_T("a.txt")));
    files.Add(folder.Path(_T("missing.txt")));
    files.Add(folder.Path(_T("b.txt")));
    kvtfile::CopyFileArr(files, folder.Path(_T("to\\")));
    EXPECT_EQ(ReadBytes(folder.Path(_T("to\\a.txt"))), "new a");
    EXPECT_EQ(ReadBytes(folder.Path(_T("to\\b.txt"))), "new b");
    EXPECT_FALSE(kvttest::Exists(folder.Path(_T("to\\missing.txt"))));
}

TEST(CopyFileArr, TheCopyOfAReadOnlyFileMayBeWritten) {
    const TestFolder folder;
    kvttest::MakeFolders(folder.Path(_T("to")));
    const CString from = folder.Path(_T("a.txt"));
    WriteBytes(from, "x");
    ASSERT_TRUE(::SetFileAttributesW(from, FILE_ATTRIBUTE_READONLY));
    CStringArray files;
    files.Add(from);
    kvtfile::CopyFileArr(files, folder.Path(_T("to\\")));
    const DWORD attributes = ::GetFileAttributesW(folder.Path(_T("to\\a.txt")));
    EXPECT_EQ(attributes & (FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_ARCHIVE), DWORD{FILE_ATTRIBUTE_ARCHIVE});
    EXPECT_TRUE(::GetFileAttributesW(from) & FILE_ATTRIBUTE_READONLY);
}

TEST(CopyFileArr, AReadOnlyTargetStaysWhatItIsAndMayBeWrittenThen) {
    const TestFolder folder;
    kvttest::MakeFolders(folder.Path(_T("to")));
    WriteBytes(folder.Path(_T("a.txt")), "new");
    WriteBytes(folder.Path(_T("to\\a.txt")), "old");
    ASSERT_TRUE(::SetFileAttributesW(folder.Path(_T("to\\a.txt")), FILE_ATTRIBUTE_READONLY));
    CStringArray files;
    files.Add(folder.Path(_T("a.txt")));
    kvtfile::CopyFileArr(files, folder.Path(_T("to\\")));
    EXPECT_EQ(ReadBytes(folder.Path(_T("to\\a.txt"))), "old");
    EXPECT_FALSE(::GetFileAttributesW(folder.Path(_T("to\\a.txt"))) & FILE_ATTRIBUTE_READONLY);
    kvtfile::CopyFileArr(files, folder.Path(_T("to\\")));
    EXPECT_EQ(ReadBytes(folder.Path(_T("to\\a.txt"))), "new");
}

TEST(CopyFileArr, ACopyHasTheTimeOfItsSource) {
    const TestFolder folder;
    kvttest::MakeFolders(folder.Path(_T("to")));
    WriteBytes(folder.Path(_T("a.txt")), "new");
    ASSERT_EQ(kvtfile::FSetFileTime(folder.Path(_T("a.txt")), COleDateTime(2001, 2, 3, 4, 5, 6)), 1);
    CStringArray files;
    files.Add(folder.Path(_T("a.txt")));
    for (const char* over : {"nothing", "a file"}) {
        kvtfile::CopyFileArr(files, folder.Path(_T("to\\")));
        COleDateTime time;
        EXPECT_EQ(kvtfile::FGetFileTime(folder.Path(_T("to\\a.txt")), time), 1);
        EXPECT_EQ(Text(time), "2001-02-03 04:05:06") << over;
        WriteBytes(folder.Path(_T("to\\a.txt")), "old");
    }
}

TEST(CopyFileArr, LargeFilesAreCopiedWhole) {
    const TestFolder folder;
    kvttest::MakeFolders(folder.Path(_T("to")));
    CStringArray files;
    files.Add(folder.Path(_T("a.txt")));
    WriteBytes(folder.Path(_T("to\\a.txt")), "old");
    for (const size_t size : {size_t{1} << 18, (size_t{1} << 19) + 1, size_t{0}}) {
        const std::string bytes(size, 'x');
        WriteBytes(folder.Path(_T("a.txt")), bytes);
        kvtfile::CopyFileArr(files, folder.Path(_T("to\\")));
        EXPECT_TRUE(ReadBytes(folder.Path(_T("to\\a.txt"))) == bytes) << size;
    }
}

TEST(CopyFileArr, TheNameIsPutRightBehindTheFolder) {
    const TestFolder folder;
    WriteBytes(folder.Path(_T("a.txt")), "x");
    CStringArray files;
    files.Add(folder.Path(_T("a.txt")));
    kvtfile::CopyFileArr(files, folder.Path(_T("copy of ")));
    EXPECT_EQ(ReadBytes(folder.Path(_T("copy of a.txt"))), "x");
}

TEST(CopyFileArr, AFileOntoItselfStaysWhatItIs) {
    const TestFolder folder;
    WriteBytes(folder.Path(_T("a.txt")), "x");
    CStringArray files;
    kvtfile::CopyFileArr(files, folder.Path() + _T("\\"));
    files.Add(folder.Path(_T("a.txt")));
    kvtfile::CopyFileArr(files, folder.Path() + _T("\\"));
    EXPECT_EQ(ReadBytes(folder.Path(_T("a.txt"))), "x");
    EXPECT_EQ(folder.Names(), Names{"a.txt"});
}

}  // namespace
