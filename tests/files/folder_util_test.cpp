// Whether files and folders are there, and the making of folders.

#include "kvtfile/FileUtil.h"
#include "kvtfile/LogFile.h"
#include "tests/support/support.h"

namespace {

using kvttest::Exists;
using kvttest::TestFolder;
using kvttest::WriteBytes;

TEST(FolderUtil, FileExistFindsFilesFoldersAndPatterns) {
    const TestFolder folder;
    WriteBytes(folder.Path(_T("a.txt")), "x");
    EXPECT_EQ(kvtfile::FileExist(folder.Path(_T("a.txt"))), 1);
    EXPECT_EQ(kvtfile::FileExist(folder.Path(_T("A.TXT"))), 1);
    EXPECT_EQ(kvtfile::FileExist(folder.Path()), 1);
    EXPECT_EQ(kvtfile::FileExist(folder.Path(_T("*.txt"))), 1);
    EXPECT_EQ(kvtfile::FileExist(folder.Path(_T("*.doc"))), 0);
    EXPECT_EQ(kvtfile::FileExist(folder.Path(_T("b.txt"))), 0);
    EXPECT_EQ(kvtfile::FileExist(folder.Path(_T("no\\a.txt"))), 0);
    EXPECT_EQ(kvtfile::FileExist(folder.Path() + _T("\\")), 0);
    EXPECT_EQ(kvtfile::FileExist(_T("")), 0);
    EXPECT_EQ(kvtfile::FileExist(nullptr), 0);
}

TEST(FolderUtil, IsDirectoryTellsFoldersFromFiles) {
    const TestFolder folder;
    WriteBytes(folder.Path(_T("a.txt")), "x");
    EXPECT_EQ(kvtfile::FIsDirectory(folder.Path()), 1);
    EXPECT_EQ(kvtfile::FIsDirectory(folder.Path() + _T("\\")), 1);
    EXPECT_EQ(kvtfile::FIsDirectory(_T("C:\\")), 1);
    EXPECT_EQ(kvtfile::FIsDirectory(_T(".")), 1);
    EXPECT_EQ(kvtfile::FIsDirectory(folder.Path(_T("a.txt"))), 0);
    EXPECT_EQ(kvtfile::FIsDirectory(folder.Path(_T("no"))), 0);
    EXPECT_EQ(kvtfile::FIsDirectory(_T("")), 0);
}

TEST(FolderUtil, CreateMDirectoryMakesEveryMissingLevel) {
    const TestFolder folder;
    EXPECT_EQ(kvtfile::CreateMDirectory(folder.Path(_T("a\\b/c"))), 1);
    EXPECT_TRUE(Exists(folder.Path(_T("a\\b\\c"))));
    EXPECT_EQ(kvtfile::CreateMDirectory(folder.Path(_T("a\\b\\d\\"))), 1);
    EXPECT_TRUE(Exists(folder.Path(_T("a\\b\\d"))));
    EXPECT_EQ(kvtfile::CreateMDirectory(folder.Path(_T("a\\b\\d"))), 1) << "all there already";
    EXPECT_EQ(kvtfile::CreateMDirectory(folder.Path(_T("中文\\é"))), 1);
    EXPECT_TRUE(Exists(folder.Path(_T("中文\\é"))));
}

TEST(FolderUtil, CreateMDirectoryLeavesDriveRootsAlone) {
    EXPECT_EQ(kvtfile::CreateMDirectory(_T("C:\\")), 1);
    EXPECT_EQ(kvtfile::CreateMDirectory(_T("C:")), 1);
    EXPECT_EQ(kvtfile::CreateMDirectory(_T("\\")), 1);
    EXPECT_EQ(kvtfile::CreateMDirectory(_T("")), 1);
    EXPECT_EQ(kvtfile::CreateMDirectory(nullptr), 0);
}

TEST(FolderUtil, CreateMDirectoryFailsWhereAFileHasTheFoldersPlace) {
    const TestFolder folder;
    WriteBytes(folder.Path(_T("file")), "x");
    EXPECT_EQ(kvtfile::CreateMDirectory(folder.Path(_T("file"))), 0);
    EXPECT_EQ(kvtfile::CreateMDirectory(folder.Path(_T("file\\sub"))), 0);
    EXPECT_EQ(kvttest::ReadBytes(folder.Path(_T("file"))), "x");
}

TEST(FolderUtil, CreateMDirectoryRefuses260Units) {
    const TestFolder folder;
    const CString first = folder.Path(_T("first"));
    const CString path = first + _T("\\") + CString(_T('a'), 259 - first.GetLength());
    ASSERT_EQ(path.GetLength(), 260);
    EXPECT_EQ(kvtfile::CreateMDirectory(path), 0);
    EXPECT_FALSE(Exists(path));
    EXPECT_TRUE(Exists(first)) << "the levels before it are made";
    EXPECT_EQ(kvtfile::CreateMDirectory(CString(_T('a'), 5000)), 0);
}

TEST(FolderUtil, CreateMDirectoryTakes259Units) {
    const TestFolder folder;
    const CString first = folder.Path(CString(_T('a'), 100));
    const CString path = first + _T("\\") + CString(_T('b'), 258 - first.GetLength());
    ASSERT_EQ(path.GetLength(), 259);
    EXPECT_EQ(kvtfile::CreateMDirectory(path), 1);
    EXPECT_EQ(kvtfile::FMakeSurePathExists(path, 0), 1);
}

TEST(FolderUtil, LongPathsAreMadeAndFound) {
    const TestFolder folder;
    CString path = folder.Path();
    for (int i = 0; i < 4; ++i) {
        path += _T("\\") + CString(_T('a'), 100);
    }
    EXPECT_EQ(kvtfile::FileExist(path), 0);
    EXPECT_EQ(kvtfile::FMakeSurePathExists(path, 0), 1);
    EXPECT_EQ(kvtfile::FileExist(path), 1);
    const CString lines = path + _T("\\lines.txt");
    CStringArray text;
    text.Add(_T("one"));
    EXPECT_EQ(kvtfile::WriteData(lines, text), 1);
    EXPECT_EQ(kvtfile::FileExist(lines), 1);
    EXPECT_EQ(kvtfile::ReadData(lines, text), 1);
    EXPECT_EQ(text.GetSize(), 2);
    COleDateTime time;
    EXPECT_EQ(kvtfile::FSetFileTime(lines, COleDateTime(2024, 2, 29, 12, 0, 0)), 1);
    EXPECT_EQ(kvtfile::FGetFileTime(lines, time), 1);
    EXPECT_EQ(time.Format(_T("%Y-%m-%d")), _T("2024-02-29"));
    CStringArray names;
    EXPECT_EQ(kvtfile::FindFile(names, path + _T("\\*.txt")), 1);
    ASSERT_EQ(names.GetSize(), 1);
    EXPECT_EQ(names[0], _T("lines.txt"));
    CStringArray files;
    files.Add(lines);
    kvtfile::CopyFileArr(files, path + _T("\\copy of "));
    kvtfile::CopyFileArr(files, path + _T("\\copy of "));
    EXPECT_EQ(kvtfile::FileExist(path + _T("\\copy of lines.txt")), 1);
    kvtfile::CFLogFile log(path + _T("\\a.log"));
    EXPECT_EQ(log.WriteString(_T("text")), 1);
    EXPECT_EQ(kvtfile::LOG::SetLogFile(path + _T("\\b.log")), 1);
    kvtfile::LOG::Out(_T("text"));
    kvtfile::LOG::SetLogFile(nullptr);
    EXPECT_EQ(kvtfile::FileExist(path + _T("\\b.log")), 1);
}

TEST(FolderUtil, MakeSurePathExistsMakesTheFolderOfAFile) {
    const TestFolder folder;
    EXPECT_EQ(kvtfile::FMakeSurePathExists(folder.Path(_T("a\\b/file.txt")), 1), 1);
    EXPECT_TRUE(Exists(folder.Path(_T("a\\b"))));
    EXPECT_FALSE(Exists(folder.Path(_T("a\\b\\file.txt"))));
    EXPECT_EQ(kvtfile::FMakeSurePathExists(folder.Path(_T("c\\")), 1), 1);
    EXPECT_TRUE(Exists(folder.Path(_T("c"))));
    EXPECT_EQ(kvtfile::FMakeSurePathExists(_T("C:\\file.txt"), 1), 1);
}

TEST(FolderUtil, MakeSurePathExistsMakesAFolder) {
    const TestFolder folder;
    EXPECT_EQ(kvtfile::FMakeSurePathExists(folder.Path(_T("a\\b\\c")), 0), 1);
    EXPECT_TRUE(Exists(folder.Path(_T("a\\b\\c"))));
    EXPECT_EQ(kvtfile::FMakeSurePathExists(folder.Path(_T("a/d/")), 0), 1);
    EXPECT_TRUE(Exists(folder.Path(_T("a\\d"))));
    EXPECT_EQ(kvtfile::FMakeSurePathExists(folder.Path(_T("a\\b\\c")), 0), 1) << "all there already";
}

TEST(FolderUtil, MakeSurePathExistsOfANameAloneIsDone) {
    EXPECT_EQ(kvtfile::FMakeSurePathExists(_T("file.txt"), 1), 1);
    EXPECT_EQ(kvtfile::FMakeSurePathExists(_T("\\file.txt"), 1), 1);
    EXPECT_EQ(kvtfile::FMakeSurePathExists(_T(""), 1), 1);
    EXPECT_EQ(kvtfile::FMakeSurePathExists(_T(""), 0), 0);
    EXPECT_EQ(kvtfile::FMakeSurePathExists(nullptr, 0), 0);
    EXPECT_EQ(kvtfile::FMakeSurePathExists(nullptr, 1), 0);
}

TEST(FolderUtil, MakeSurePathExistsFailsWhereAFileIsInTheWay) {
    const TestFolder folder;
    WriteBytes(folder.Path(_T("file")), "x");
    EXPECT_EQ(kvtfile::FMakeSurePathExists(folder.Path(_T("file\\sub")), 0), 0);
    EXPECT_EQ(kvtfile::FMakeSurePathExists(folder.Path(_T("file\\sub\\f")), 1), 0);
    EXPECT_EQ(kvtfile::FMakeSurePathExists(folder.Path(_T("file\\f")), 1), 1) << "what stands before the name exists";
    EXPECT_EQ(kvtfile::FMakeSurePathExists(folder.Path(_T("file")), 0), 1);
    EXPECT_EQ(kvttest::ReadBytes(folder.Path(_T("file"))), "x");
}

TEST(FolderUtil, MakeSurePathExistsLeavesTheCallersTextAlone) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a\\b\\file.txt"));
    const CString before(path.GetString());
    kvtfile::FMakeSurePathExists(path, 1);
    EXPECT_EQ(path, before);
}

}  // namespace
