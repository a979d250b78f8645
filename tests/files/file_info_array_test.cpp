// CFileInfoArray: orders, and the scan of a folder tree against one-by-one insertion.

#include <algorithm>
#include <random>

#include "kvtfile/FileInfo.h"
#include "tests/support/support.h"

namespace {

using kvtfile::CFileInfo;
using kvtfile::CFileInfoArray;
using kvttest::MakeFolders;
using kvttest::TestFolder;
using kvttest::WriteBytes;

using Names = std::vector<std::string>;

// The paths without the folder that was scanned.
Names Listed(const CFileInfoArray& records, const CString& folder) {
    Names names;
    for (INT_PTR i = 0; i < records.GetSize(); ++i) {
        const CString& path = records[i].GetFilePath();
        names.push_back(kvttest::Utf8(path.Left(folder.GetLength()) == folder ? path.Mid(folder.GetLength()) : path));
    }
    return names;
}

// An array that sees every record, as a derived class does.
class Watching : public CFileInfoArray {
public:
    Names seen;
    int raiseAfter = -1;
    int flag = 0;

    int AddFileInfo(CFileInfo& fi, LONGLONG sortMode) override {
        seen.push_back(kvttest::Utf8(fi.GetFilePath()));
        flag = flag || static_cast<int>(seen.size()) == raiseAfter;
        return CFileInfoArray::AddFileInfo(fi, sortMode);
    }
};

class FileInfoArray : public testing::Test {
protected:
    FileInfoArray() {
        for (const LPCWSTR sub : {_T("a"), _T("a\\deep"), _T("b"), _T("empty")}) {
            ::CreateDirectoryW(m_root + sub, nullptr);
        }
        WriteBytes(m_root + _T("top.txt"), "1");
        WriteBytes(m_root + _T("Top.xml"), "333");
        WriteBytes(m_root + _T("a\\one.txt"), "22");
        WriteBytes(m_root + _T("a\\deep\\two.TXT"), "4444");
        WriteBytes(m_root + _T("b\\three.doc"), "");
    }

    const TestFolder m_folder;
    const CString m_root = m_folder.Path() + _T("\\");
};

CFileInfo Record(const CString& path, ULONGLONG size) {
    CFileInfo record;
    record.m_strFilePath = path;
    record.m_nLength = size;
    return record;
}

// ---- One by one

TEST(FileInfoOrder, EachModePutsTiesBeforeTheirEquals) {
    const struct {
        LONGLONG mode;
        Names names;
        std::vector<int> places;
    } rows[] = {
        {0, {"b1", "a2", "C2", "d1"}, {0, 1, 2, 3}}, {1, {"b1", "a2", "C2", "d1"}, {0, 1, 2, 3}},
        {2, {"d1", "b1", "C2", "a2"}, {0, 1, 1, 0}}, {3, {"C2", "a2", "d1", "b1"}, {0, 0, 0, 2}},
        {4, {"C2", "a2", "b1", "d1"}, {0, 0, 0, 3}}, {5, {"d1", "b1", "a2", "C2"}, {0, 1, 2, 0}},
        {6, {"b1", "a2", "C2", "d1"}, {0, 1, 2, 3}}, {-2, {"b1", "a2", "C2", "d1"}, {0, 1, 2, 3}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.mode);
        Watching records;
        std::vector<int> places;
        for (const auto& [path, size] : {std::pair{_T("b1"), 1}, {_T("a2"), 2}, {_T("C2"), 2}, {_T("d1"), 1}}) {
            CFileInfo record = Record(path, static_cast<ULONGLONG>(size));
            places.push_back(records.AddFileInfo(record, row.mode));
        }
        EXPECT_EQ(Listed(records, _T("")), row.names);
        EXPECT_EQ(places, row.places);
    }
}

TEST(FileInfoOrder, SizesCompareAsWhole64Bits) {
    Watching records;
    for (const ULONGLONG size : {1ULL << 40, 5ULL, 0xFFFFFFFFFFFFFFFFULL, 1ULL << 32}) {
        CFileInfo record = Record(_T("f"), size);
        records.AddFileInfo(record, 2);
    }
    EXPECT_EQ(records[0].GetLength64(), 5u);
    EXPECT_EQ(records[1].GetLength64(), 1ULL << 32);
    EXPECT_EQ(records[3].GetLength64(), 0xFFFFFFFFFFFFFFFFULL);
}

TEST_F(FileInfoArray, AddFileAddsARecordWhetherOrNotThereIsAFile) {
    CFileInfoArray records;
    EXPECT_EQ(records.AddFile(m_root + _T("top.txt"), 0), 0);
    EXPECT_EQ(records.AddFile(m_root + _T("none"), 0), 1);
    EXPECT_EQ(records.AddFile(m_root + _T("Top.xml"), 3), 0);
    EXPECT_EQ(Listed(records, m_root), (Names{"Top.xml", "top.txt", ""}));
    EXPECT_EQ(records[2].m_dwAttributes, 0xFFFFFFFFu);
}

// ---- Scans

TEST_F(FileInfoArray, FoldersComeFirstEachFollowedByItsContent) {
    CFileInfoArray records;
    volatile DWORD found = 10;
    EXPECT_EQ(records.AddDir(m_root, _T("*"), 1, 0, 1, nullptr, &found), 9);
    EXPECT_EQ(found, 19u);
    EXPECT_EQ(Listed(records, m_root), (Names{"a", "a\\deep", "a\\deep\\two.TXT", "a\\one.txt", "b", "b\\three.doc",
                                              "empty", "top.txt", "Top.xml"}));
    EXPECT_TRUE(records[0].IsDirectory());
    EXPECT_EQ(records[2].GetLength(), 4u);
}

TEST_F(FileInfoArray, WhatIsWantedOfATree) {
    const struct {
        LPCWSTR extension;
        int recurse, folders;
        Names names;
    } rows[] = {
        {_T("*"), 0, 0, {"top.txt", "Top.xml"}},
        {_T("*"), 0, 1, {"a", "b", "empty", "top.txt", "Top.xml"}},
        {_T("*"), 1, 0, {"a\\deep\\two.TXT", "a\\one.txt", "b\\three.doc", "top.txt", "Top.xml"}},
        {_T("txt"), 1, 0, {"a\\deep\\two.TXT", "a\\one.txt", "top.txt"}},
        {_T("txt"), 1, 1, {"a", "a\\deep", "a\\deep\\two.TXT", "a\\one.txt", "b", "empty", "top.txt"}},
        {_T("none"), 1, 0, {}},
        {_T("x?l"), 0, 0, {"Top.xml"}},
    };
    for (const auto& row : rows) {
        CFileInfoArray records;
        EXPECT_EQ(records.AddDir(m_root, row.extension, row.recurse, 0, row.folders, nullptr, nullptr),
                  static_cast<int>(row.names.size()));
        EXPECT_EQ(Listed(records, m_root), row.names) << kvttest::Utf8(row.extension);
    }
}

TEST_F(FileInfoArray, WhatCannotBeListedAddsNothing) {
    CFileInfoArray records;
    EXPECT_EQ(records.AddDir(m_root + _T("none\\"), _T("*"), 1, 0, 1), 0);
    EXPECT_EQ(records.AddDir(m_root + _T("top.txt\\"), _T("*"), 1, 2, 1), 0);
    EXPECT_EQ(records.AddDir(m_root + _T("empty\\"), _T("*"), 1, 2, 1), 0);
    EXPECT_EQ(records.AddDir(m_root + _T("q?\\"), _T("*"), 1, 2, 1), 0);
    EXPECT_EQ(records.GetSize(), 0);
}

TEST_F(FileInfoArray, AFolderWithoutItsSeparatorIsTheSameFolder) {
    CFileInfoArray records;
    EXPECT_EQ(records.AddDir(m_folder.Path(), _T("*"), 0, 0, 0), 2);
    EXPECT_EQ(records[0].GetFilePath(), m_root + _T("top.txt"));
}

TEST_F(FileInfoArray, ARaisedFlagEndsTheScan) {
    CFileInfoArray records;
    const volatile int raised = 1;
    volatile DWORD found = 0;
    EXPECT_EQ(records.AddDir(m_root, _T("*"), 1, 0, 1, &raised, &found), 0);
    EXPECT_EQ(records.AddDir(m_root, _T("txt"), 0, 4, 0, &raised, &found), 0);
    EXPECT_EQ(found, 0u);
    EXPECT_EQ(records.GetSize(), 0);
}

TEST_F(FileInfoArray, AFlagRaisedMeanwhileLeavesWhatWasFound) {
    CFileInfoArray whole;
    whole.AddDir(m_root, _T("*"), 1, 0, 1);
    const Names all = Listed(whole, m_root);
    for (int after = 1; after <= static_cast<int>(all.size()); ++after) {
        Watching records;
        records.raiseAfter = after;
        volatile DWORD found = 0;
        EXPECT_EQ(records.AddDir(m_root, _T("*"), 1, 0, 1, &records.flag, &found), after);
        EXPECT_EQ(found, static_cast<DWORD>(after));
        EXPECT_EQ(Listed(records, m_root), Names(all.begin(), all.begin() + after));
    }
}

TEST_F(FileInfoArray, ADerivedClassSeesEveryRecordAsItIsFound) {
    for (const LONGLONG mode : {0, 2, 3, 4, 5}) {
        Watching records;
        EXPECT_EQ(records.AddDir(m_root, _T("*"), 1, mode, 1), 9);
        ASSERT_EQ(records.seen.size(), 9u);
        EXPECT_EQ(records.seen.front(), kvttest::Utf8(m_root + _T("a")));
        EXPECT_EQ(records.seen.back(), kvttest::Utf8(m_root + _T("Top.xml")));
        CFileInfoArray plain;
        plain.AddDir(m_root, _T("*"), 1, mode, 1);
        EXPECT_EQ(Listed(records, m_root), Listed(plain, m_root)) << mode;
    }
}

// What was there before, in any order, and single records and scans of any mode in turn: always as one by one.
TEST_F(FileInfoArray, MixedScansOrderAsOneByOneInsertion) {
    for (int i = 0; i < 40; ++i) {
        CString name;
        name.Format(_T("b\\%c%d.t"), 'a' + i * 7 % 26, i * 13 % 40);
        WriteBytes(m_root + name, std::string(static_cast<size_t>(i * 5 % 7), 'x'));
    }
    const LONGLONG modes[] = {0, 2, 3, 4, 5, 1, 99};
    const LPCWSTR folders[] = {_T(""), _T("a\\"), _T("b\\")};
    std::mt19937 random(4711);
    const auto pick = [&random](size_t count) { return random() % count; };
    for (int run = 0; run < 60; ++run) {
        CFileInfoArray fast;
        Watching model;
        for (int call = 0; call < 6; ++call) {
            const LONGLONG mode = modes[pick(std::size(modes))];
            if (pick(3) == 0) {
                const CString path = m_root + (pick(2) ? _T("top.txt") : _T("a\\one.txt"));
                EXPECT_EQ(fast.AddFile(path, mode), model.AddFile(path, mode));
            } else {
                const CString folder = m_root + folders[pick(std::size(folders))];
                const int recurse = static_cast<int>(pick(2));
                const int withFolders = static_cast<int>(pick(2));
                const CString extension = pick(3) ? _T("*") : _T("t");
                EXPECT_EQ(fast.AddDir(folder, extension, recurse, mode, withFolders),
                          model.AddDir(folder, extension, recurse, mode, withFolders));
            }
            // Equal paths are told apart by a number.
            for (INT_PTR i = 0; i < fast.GetSize() && i < model.GetSize(); ++i) {
                ASSERT_EQ(fast[i].m_lParam, model[i].m_lParam) << "run " << run << " call " << call << " place " << i;
                ASSERT_EQ(fast[i].GetFilePath(), model[i].GetFilePath());
            }
            ASSERT_EQ(fast.GetSize(), model.GetSize());
            for (INT_PTR i = 0; i < fast.GetSize(); ++i) {
                fast[i].m_lParam = model[i].m_lParam = run * 100000 + call * 10000 + static_cast<int>(i);
            }
        }
    }
}

TEST_F(FileInfoArray, RecordsKeepAllFieldsInAnArchive) {
    CFileInfoArray stored;
    stored.AddDir(m_root, _T("*"), 1, 4, 1);
    stored[0].m_lParam = -5;
    stored[0].GetCRC();
    stored[0].GetChecksum();
    CMemFile file;
    {
        CArchive archive(&file, CArchive::store);
        stored.Serialize(archive);
    }
    file.SeekToBegin();
    CFileInfoArray loaded;
    {
        CArchive archive(&file, CArchive::load);
        loaded.Serialize(archive);
    }
    ASSERT_EQ(loaded.GetSize(), stored.GetSize());
    EXPECT_EQ(Listed(loaded, m_root), Listed(stored, m_root));
    for (INT_PTR i = 0; i < stored.GetSize(); ++i) {
        EXPECT_EQ(loaded[i].m_lParam, stored[i].m_lParam);
        EXPECT_EQ(loaded[i].m_nLength, stored[i].m_nLength);
        EXPECT_EQ(loaded[i].m_dwAttributes, stored[i].m_dwAttributes);
        EXPECT_EQ(loaded[i].GetLastWriteTime(), stored[i].GetLastWriteTime());
        EXPECT_EQ(loaded[i].m_dwCRC, stored[i].m_dwCRC);
        EXPECT_EQ(loaded[i].m_dwChecksumPos, stored[i].m_dwChecksumPos);
    }
}

// ---- Names and depth

TEST_F(FileInfoArray, NamesOfAllScriptsAreFoundAndOpened) {
    const CString sub = m_root + _T("names\\");
    ::CreateDirectoryW(sub, nullptr);
    for (const LPCWSTR name :
         {_T("图纸.dwg"), _T("😀 plan.txt"), _T("ümläut.txt"), _T("no extension"), _T("two..dots.txt")}) {
        WriteBytes(sub + name, "abcd");
    }
    CFileInfoArray records;
    EXPECT_EQ(records.AddDir(sub, _T("*"), 0, 4, 0), 5);
    EXPECT_EQ(Listed(records, sub), (Names{"no extension", "two..dots.txt", "ümläut.txt", "图纸.dwg", "😀 plan.txt"}));
    for (INT_PTR i = 0; i < records.GetSize(); ++i) {
        EXPECT_EQ(records[i].GetChecksum(), 0x64636261u) << kvttest::Utf8(records[i].GetFilePath());
    }
}

TEST_F(FileInfoArray, PathsOf4000CharactersAreWalkedAndRead) {
    const CString start = CString(_T("\\\\?\\")) + m_root + _T("a\\deep");
    CString path = start;
    while (path.GetLength() < 3800) {
        path += _T("\\") + CString(_T('d'), 100);
        ASSERT_TRUE(::CreateDirectoryW(path, nullptr)) << path.GetLength() << ", error " << ::GetLastError();
    }
    WriteBytes(path + _T("\\") + CString(_T('f'), 80), "abcd");
    CFileInfoArray records;
    ASSERT_EQ(records.AddDir(m_root + _T("a\\"), _T("*"), 1, 4, 0), 3);
    EXPECT_GT(records[0].GetFilePath().GetLength(), 3800);
    EXPECT_EQ(records[0].GetChecksum(), 0x64636261u);
    const CFileInfo again(records[0].GetFilePath(), 0);
    EXPECT_EQ(again.GetFilePath(), records[0].GetFilePath());
    kvttest::RemoveTree(start);
}

}  // namespace
