// CFile, CMemFile, CFileFind and the exceptions of files.
#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "tests/mfc/throws.h"
#include "tests/support/support.h"

namespace {

using kvttest::ReadBytes;
using kvttest::TestFolder;
using kvttest::WriteBytes;

TEST(File, WritesReadsAndSeeks) {
    const TestFolder folder;
    CFile file(folder.Path(_T("a.bin")), CFile::modeCreate | CFile::modeReadWrite);
    file.Write("0123456789", 10);
    EXPECT_EQ(file.GetLength(), 10u);
    EXPECT_EQ(file.GetPosition(), 10u);
    EXPECT_EQ(file.Seek(-3, CFile::end), 7u);
    char buffer[8] = {};
    EXPECT_EQ(file.Read(buffer, 8), 3u);
    EXPECT_EQ(std::string(buffer), "789");
    EXPECT_EQ(file.Seek(2, CFile::begin), 2u);
    file.Write("xy", 2);
    EXPECT_EQ(file.Seek(-1, CFile::current), 3u);
    file.SetLength(5);
    EXPECT_EQ(file.GetPosition(), 5u);
    file.Flush();
    EXPECT_EQ(file.GetFileName(), _T("a.bin"));
    EXPECT_EQ(file.GetFilePath(), folder.Path(_T("a.bin")));
    file.Close();
    file.Close();
    EXPECT_EQ(ReadBytes(folder.Path(_T("a.bin"))), "01xy4");
}

TEST(File, CreatingTruncatesUnlessToldNotTo) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.bin"));
    WriteBytes(path, "old");
    {
        CFile file(path, CFile::modeCreate | CFile::modeNoTruncate | CFile::modeWrite);
        EXPECT_EQ(file.GetPosition(), 0u);
        file.Write("O", 1);
    }
    EXPECT_EQ(ReadBytes(path), "Old");
    { CFile file(path, CFile::modeCreate | CFile::modeWrite); }
    EXPECT_EQ(ReadBytes(path), "");
    { CFile file(folder.Path(_T("new.bin")), CFile::modeCreate | CFile::modeNoTruncate | CFile::modeWrite); }
    EXPECT_EQ(ReadBytes(folder.Path(_T("new.bin"))), "");
}

TEST(File, FailuresTellTheirCause) {
    const TestFolder folder;
    CFile file;
    CFileException error;
    EXPECT_FALSE(file.Open(folder.Path(_T("none")), CFile::modeRead, &error));
    EXPECT_EQ(error.m_cause, CFileException::fileNotFound);
    EXPECT_EQ(error.m_lOsError, 2);
    EXPECT_EQ(error.m_strFileName, folder.Path(_T("none")));
    EXPECT_FALSE(file.Open(folder.Path(_T("none\\none")), CFile::modeRead, &error));
    EXPECT_EQ(error.m_cause, CFileException::badPath);
    EXPECT_FALSE(file.Open(folder.Path(), CFile::modeRead, &error));
    EXPECT_EQ(error.m_cause, CFileException::accessDenied);
    EXPECT_FALSE(file.Open(folder.Path(_T("none")), CFile::modeWrite));
    EXPECT_THROWS_CAUSE(CFile(folder.Path(_T("none")), CFile::modeRead), CFileException, CFileException::fileNotFound);
    EXPECT_THROWS_POINTER(file.Open(nullptr, CFile::modeRead), CInvalidArgException);
    EXPECT_THROWS_POINTER(file.Open(folder.Path(_T("x")), 3), CInvalidArgException);
}

TEST(File, ClosedFileIsInvalid) {
    CFile file;
    char byte = 0;
    EXPECT_THROWS_CAUSE(file.Read(&byte, 1), CFileException, CFileException::invalidFile);
    EXPECT_THROWS_CAUSE(file.Write(&byte, 1), CFileException, CFileException::invalidFile);
    EXPECT_THROWS_CAUSE(file.GetLength(), CFileException, CFileException::invalidFile);
    EXPECT_THROWS_CAUSE(file.SeekToEnd(), CFileException, CFileException::invalidFile);
    EXPECT_NO_THROW(file.Close());
    EXPECT_NO_THROW(file.Flush());
}

TEST(File, PathsAreTakenAsAbsolute) {
    const TestFolder folder;
    kvttest::MakeFolders(folder.Path(_T("sub")));
    CFile file(folder.Path(_T("sub\\..\\a.bin")), CFile::modeCreate | CFile::modeWrite);
    EXPECT_EQ(file.GetFilePath(), folder.Path(_T("a.bin")));
    CFileStatus status;
    ASSERT_TRUE(file.GetStatus(status));
    EXPECT_EQ(CString(status.m_szFullName), folder.Path(_T("a.bin")));
    CFileException error;
    EXPECT_FALSE(file.Open(_T("no such file"), CFile::modeRead, &error));
    EXPECT_EQ(error.m_strFileName, _T("no such file")) << "an error tells the path that was given";
    EXPECT_EQ(file.GetFilePath(), _T(""));
    WCHAR current[MAX_PATH];
    ASSERT_NE(::GetCurrentDirectoryW(MAX_PATH, current), 0u);
    ASSERT_TRUE(CFile::GetStatus(_T("."), status));
    EXPECT_EQ(CString(status.m_szFullName), current);
}

TEST(File, SeekingBeforeTheStartIsRefused) {
    const TestFolder folder;
    CFile file(folder.Path(_T("a.bin")), CFile::modeCreate | CFile::modeReadWrite);
    file.Write("abc", 3);
    EXPECT_THROWS_CAUSE(file.Seek(-4, CFile::current), CFileException, CFileException::badSeek);
    EXPECT_EQ(file.GetPosition(), 3u);
}

TEST(File, ReadOnlyOpenDoesNotWrite) {
    const TestFolder folder;
    WriteBytes(folder.Path(_T("a.bin")), "abc");
    CFile file(folder.Path(_T("a.bin")), CFile::modeRead);
    EXPECT_THROWS_POINTER(file.Write("x", 1), CFileException);
    file.Close();
    EXPECT_EQ(ReadBytes(folder.Path(_T("a.bin"))), "abc");
}

TEST(File, StatusRenameAndRemove) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.bin"));
    WriteBytes(path, "12345");
    kvttest::SetFileSeconds(path, 1700000000);
    CFileStatus status;
    ASSERT_TRUE(CFile::GetStatus(path, status));
    EXPECT_EQ(status.m_size, 5u);
    EXPECT_EQ(status.m_mtime.GetTime(), 1700000000);
    EXPECT_EQ(CString(status.m_szFullName), path);
    EXPECT_EQ(status.m_attribute & CFile::directory, 0u);
    ASSERT_TRUE(CFile::GetStatus(folder.Path(), status));
    EXPECT_NE(status.m_attribute & CFile::directory, 0u);
    EXPECT_FALSE(CFile::GetStatus(folder.Path(_T("none")), status));
    EXPECT_FALSE(CFile::GetStatus(nullptr, status));
    CFile::Rename(path, folder.Path(_T("b.bin")));
    EXPECT_FALSE(kvttest::Exists(path));
    WriteBytes(path, "x");
    EXPECT_THROWS_CAUSE(CFile::Rename(path, folder.Path(_T("b.bin"))), CFileException, CFileException::accessDenied);
    CFile::Remove(path);
    EXPECT_FALSE(kvttest::Exists(path));
    EXPECT_THROWS_CAUSE(CFile::Remove(path), CFileException, CFileException::fileNotFound);
}

TEST(MemFile, GrowsAndReadsBack) {
    CMemFile file;
    EXPECT_EQ(file.GetLength(), 0u);
    EXPECT_EQ(file.Detach(), nullptr);
    const std::string data(5000, 'x');
    file.Write(data.data(), 5000);
    file.Seek(-1, CFile::end);
    file.Write("yz", 2);
    EXPECT_EQ(file.GetLength(), 5001u);
    file.Seek(4998, CFile::begin);
    char buffer[9] = {};
    EXPECT_EQ(file.Read(buffer, 8), 3u);
    EXPECT_EQ(std::string(buffer), "xyz");
    EXPECT_EQ(file.Read(buffer, 8), 0u);
    BYTE* const memory = file.Detach();
    ASSERT_NE(memory, nullptr);
    EXPECT_EQ(memory[5000], 'z');
    std::free(memory);
    EXPECT_EQ(file.GetLength(), 0u);
}

TEST(MemFile, GapsAreZeros) {
    CMemFile file;
    file.Write("ab", 2);
    file.Seek(10, CFile::begin);
    EXPECT_EQ(file.GetLength(), 2u);
    EXPECT_EQ(file.Read(std::string(1, 'x').data(), 1), 0u);
    file.Write("c", 1);
    EXPECT_EQ(file.GetLength(), 11u);
    file.SeekToBegin();
    char buffer[11];
    file.Read(buffer, 11);
    EXPECT_EQ(std::string(buffer, 11), std::string("ab\0\0\0\0\0\0\0\0c", 11));
    file.SetLength(1);
    file.SetLength(3);
    file.SeekToBegin();
    EXPECT_EQ(file.Read(buffer, 11), 3u);
    EXPECT_EQ(std::string(buffer, 3), std::string("a\0\0", 3));
    EXPECT_THROWS_CAUSE(file.Seek(-4, CFile::end), CFileException, CFileException::badSeek);
    EXPECT_THROWS_POINTER(file.Seek(0, 3), CInvalidArgException);
}

TEST(MemFile, AttachedMemoryIsTheContentAndCannotGrow) {
    BYTE memory[4] = {1, 2, 3, 4};
    CMemFile file(1024);
    file.Attach(memory, 4);
    EXPECT_EQ(file.GetLength(), 4u);
    file.Write("\7", 1);
    EXPECT_EQ(memory[0], 7);
    file.SeekToEnd();
    EXPECT_THROWS_POINTER(file.Write("x", 1), CMemoryException);
    EXPECT_EQ(file.GetLength(), 4u);
    EXPECT_EQ(file.Detach(), memory);
}

TEST(MemFile, AttachedMemoryWithGrowthStartsEmpty) {
    BYTE* const memory = static_cast<BYTE*>(std::malloc(4));
    CMemFile file(memory, 4, 16);
    EXPECT_EQ(file.GetLength(), 0u);
    file.Write("123456", 6);
    EXPECT_EQ(file.GetLength(), 6u);
    std::free(file.Detach());
}

TEST(MemFile, OpenIsNotSupported) {
    CMemFile file;
    EXPECT_THROWS_POINTER(file.Open(_T("x"), CFile::modeRead), CNotSupportedException);
}

TEST(FileFind, LastEntryIsValidThoughFindNextGivesZero) {
    const TestFolder folder;
    WriteBytes(folder.Path(_T("a.txt")), "12345");
    WriteBytes(folder.Path(_T("b.txt")), "");
    CFileFind find;
    std::vector<std::string> names;
    BOOL more = find.FindFile(folder.Path(_T("*.txt")));
    ASSERT_TRUE(more);
    while (more) {
        more = find.FindNextFile();
        names.push_back(kvttest::Utf8(find.GetFileName()));
        EXPECT_EQ(find.GetFilePath(), folder.Path(find.GetFileName()));
        EXPECT_EQ(find.GetLength(), find.GetFileTitle() == _T("a") ? 5u : 0u);
        EXPECT_FALSE(find.IsDirectory());
        EXPECT_FALSE(find.IsDots());
        EXPECT_EQ(find.GetRoot(), folder.Path());
    }
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::string>{"a.txt", "b.txt"}));
    EXPECT_FALSE(find.FindNextFile());
    EXPECT_FALSE(find.FindFile(folder.Path(_T("*.none"))));
    EXPECT_THROWS_POINTER(find.GetFileName(), CInvalidArgException);
}

TEST(FileFind, FoldersHaveDots) {
    const TestFolder folder;
    CFileFind find;
    int dots = 0;
    for (BOOL more = find.FindFile(folder.Path(_T("*"))); more;) {
        more = find.FindNextFile();
        dots += find.IsDots() ? 1 : 0;
    }
    EXPECT_EQ(dots, 2);
}

TEST(Exceptions, HaveTextsCutToTheBuffer) {
    CFileException error(CFileException::sharingViolation, 32, _T("C:\\a.txt"));
    WCHAR text[100];
    EXPECT_TRUE(error.GetErrorMessage(text, 100));
    EXPECT_EQ(CString(text), _T("C:\\a.txt: another program has the file open"));
    EXPECT_TRUE(error.GetErrorMessage(text, 5));
    EXPECT_EQ(CString(text), _T("C:\\a"));
    EXPECT_FALSE(error.GetErrorMessage(nullptr, 5));
    EXPECT_FALSE(error.GetErrorMessage(text, 0));
    CArchiveException archive(CArchiveException::badSchema);
    EXPECT_TRUE(archive.GetErrorMessage(text, 100));
    EXPECT_EQ(CString(text), _T("the archive holds another version of an object"));
    EXPECT_TRUE(archive.IsKindOf(RUNTIME_CLASS(CException)));
    EXPECT_FALSE(archive.IsKindOf(RUNTIME_CLASS(CFileException)));
}

TEST(Exceptions, SystemErrorsHaveTheirCause) {
    const struct {
        LONG error;
        int cause;
    } rows[] = {{0, 0},  {2, 2},   {3, 3},     {123, 3}, {4, 4},   {5, 5},    {19, 5},  {6, 6},   {16, 7},  {82, 8},
                {25, 9}, {131, 9}, {1117, 10}, {32, 11}, {33, 12}, {112, 13}, {39, 13}, {38, 14}, {9999, 1}};
    for (const auto& row : rows) {
        EXPECT_EQ(CFileException::OsErrorToException(row.error), row.cause) << row.error;
    }
}

int Answer(LPCWSTR, UINT type) {
    return type == MB_YESNO ? IDYES : IDCANCEL;
}

TEST(MessageBox, HandlerAnswersAndIsHandedBack) {
    const auto previous = kvtmfc::SetMessageBoxHandler(Answer);
    EXPECT_NE(previous, nullptr) << "the test program's own";
    EXPECT_EQ(AfxMessageBox(_T("text"), MB_YESNO), IDYES);
    EXPECT_EQ(AfxMessageBox(_T("text")), IDCANCEL);
    EXPECT_EQ(AfxMessageBox(nullptr), IDCANCEL);
    EXPECT_EQ(kvtmfc::SetMessageBoxHandler(previous), Answer);
}

TEST(Window, HasNoHandleOfItsOwn) {
    CWnd window;
    EXPECT_EQ(window.GetSafeHwnd(), nullptr);
    EXPECT_TRUE(window.IsKindOf(RUNTIME_CLASS(CObject)));
}

}  // namespace
