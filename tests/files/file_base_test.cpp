// CFFileBase, DataIO and CFStdioFile: the header, files, memory, and everything that can go wrong.
#include <clocale>
#include <stdexcept>
#include <string>
#include <vector>

#include "kvtfile/FileBase.h"
#include "tests/mfc/throws.h"
#include "tests/support/support.h"

namespace {

using kvtfile::CFFileBase;
using kvtfile::CFStdioFile;
using kvtfile::DataIO;
using kvttest::Hex;
using kvttest::ReadBytes;
using kvttest::TestFolder;
using kvttest::WriteBytes;

/// A data file as an application derives it.
class CNumbers : public CFFileBase {
public:
    using CFFileBase::CFFileBase;

    void Serialize(CArchive& ar) override {
        CFFileBase::Serialize(ar);
        if (ar.IsStoring()) {
            if (m_fail == 1) {
                ar.Flush();
                throw std::runtime_error("refused");
            }
            if (m_fail == 2) {
                AfxThrowArchiveException(CArchiveException::generic);
            }
            m_numbers.Serialize(ar);
        } else if (IsCanRead()) {
            m_numbers.Serialize(ar);
        }
    }
    void Reset() override {
        m_numbers.RemoveAll();
        ++m_resets;
    }

    CDWordArray m_numbers;
    int m_resets = 0;
    int m_fail = 0;
};

class CWindowData : public CWnd {
public:
    void Serialize(CArchive& ar) override {
        if (ar.IsStoring()) {
            ar << m_value;
        } else {
            ar >> m_value;
        }
    }
    int m_value = 0;
};

std::string Content(CMemFile& file) {
    std::string bytes(static_cast<size_t>(file.GetLength()), '\0');
    file.SeekToBegin();
    file.Read(bytes.data(), static_cast<UINT>(bytes.size()));
    return bytes;
}

TEST(FileBase, HeaderIsSignAndVersion) {
    const TestFolder folder;
    CFFileBase base(_T("ABC"), 2);
    ASSERT_TRUE(base.WriteFile(folder.Path(_T("a.dat"))));
    EXPECT_EQ(Hex(ReadBytes(folder.Path(_T("a.dat")))), "FF FE FF 03 41 00 42 00 43 00 02 00 00 00");
}

TEST(FileBase, FileRoundTrip) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.dat"));
    CNumbers stored(_T("数"), 7);
    stored.m_numbers.Add(1);
    stored.m_numbers.Add(2);
    stored.SetModifyFlag(1);
    ASSERT_TRUE(stored.WriteFile(path));
    EXPECT_EQ(stored.GetModifyFlag(), 0);
    CNumbers loaded(_T("数"), 7);
    loaded.m_numbers.Add(99);
    loaded.SetModifyFlag(1);
    EXPECT_EQ(loaded.IsCanRead(), 0);
    ASSERT_TRUE(loaded.ReadFile(path));
    EXPECT_EQ(loaded.IsCanRead(), 1);
    EXPECT_EQ(loaded.GetModifyFlag(), 0);
    EXPECT_EQ(loaded.m_resets, 1);
    ASSERT_EQ(loaded.m_numbers.GetSize(), 2);
    EXPECT_EQ(loaded.m_numbers[1], 2u);
}

TEST(FileBase, AnotherVersionOrSignLoadsNothing) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.dat"));
    CNumbers stored(_T("ABC"), 3);
    stored.m_numbers.Add(1);
    ASSERT_TRUE(stored.WriteFile(path));
    const struct {
        LPCWSTR sign;
        DWORD version;
        int canRead;
    } rows[] = {{_T("ABC"), 2, 0}, {_T("ABC"), 4, 0}, {_T("abc"), 3, 0}, {_T("AB"), 3, 0}, {_T("ABC"), 3, 1}};
    for (const auto& row : rows) {
        CNumbers loaded(row.sign, row.version);
        EXPECT_TRUE(loaded.ReadFile(path)) << "no failure";
        EXPECT_EQ(loaded.IsCanRead(), row.canRead);
        EXPECT_EQ(loaded.m_numbers.GetSize(), row.canRead);
    }
    CNumbers loaded(_T("x"), 0);
    loaded.SetFileSign(_T("ABC"), 3);
    EXPECT_TRUE(loaded.ReadFile(path));
    EXPECT_EQ(loaded.IsCanRead(), 1);
}

TEST(FileBase, EmptyArgumentWritesBackToTheRememberedPath) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.dat"));
    CNumbers numbers(_T("ABC"), 1);
    EXPECT_FALSE(numbers.WriteFile(CString())) << "no path yet";
    ASSERT_TRUE(numbers.WriteFile(path));
    CNumbers other(_T("ABC"), 1);
    ASSERT_TRUE(other.ReadFile(path));
    other.m_numbers.Add(5);
    ASSERT_TRUE(other.WriteFile(CString()));
    ASSERT_TRUE(numbers.ReadFile(path));
    ASSERT_EQ(numbers.m_numbers.GetSize(), 1);
    EXPECT_EQ(numbers.m_numbers[0], 5u);
}

TEST(FileBase, EveryCutOfAFileIsFalse) {
    const TestFolder folder;
    CNumbers stored(_T("ABC"), 1);
    stored.m_numbers.Add(1);
    stored.m_numbers.Add(2);
    CMemFile whole;
    ASSERT_TRUE(stored.WriteToMemFile(whole));
    const std::string bytes = Content(whole);
    for (size_t cut = 0; cut < bytes.size(); ++cut) {
        WriteBytes(folder.Path(_T("cut.dat")), bytes.substr(0, cut));
        CNumbers loaded(_T("ABC"), 1);
        EXPECT_FALSE(loaded.ReadFile(folder.Path(_T("cut.dat")))) << cut;
    }
}

TEST(FileBase, DamagedCountsAreFalse) {
    const TestFolder folder;
    const std::string header = "\xFF\xFE\xFF\x01" + std::string("A\0\1\0\0\0", 6);
    for (const std::string& tail :
         {std::string("\xFF\xFF\xFF\xFF\xFF\x7F"), std::string("\xFF\xFF"), std::string("\x05\0\1", 3)}) {
        WriteBytes(folder.Path(_T("a.dat")), header + tail);
        CNumbers loaded(_T("A"), 1);
        EXPECT_FALSE(loaded.ReadFile(folder.Path(_T("a.dat"))));
        EXPECT_EQ(loaded.m_numbers.GetSize(), 0);
    }
}

TEST(FileBase, MissingFilesAndFoldersAreFalse) {
    const TestFolder folder;
    CNumbers numbers(_T("A"), 1);
    EXPECT_FALSE(numbers.ReadFile(folder.Path(_T("none.dat"))));
    EXPECT_FALSE(numbers.ReadFile(folder.Path()));
    EXPECT_FALSE(numbers.ReadFile(CString()));
    numbers.SetModifyFlag(1);
    EXPECT_FALSE(numbers.WriteFile(folder.Path(_T("none\\a.dat"))));
    EXPECT_FALSE(numbers.WriteFile(folder.Path()));
    EXPECT_EQ(numbers.GetModifyFlag(), 1) << "a failed store clears nothing";
}

TEST(FileBase, AFailedStoreLeavesTheOldFileWhole) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.dat"));
    WriteBytes(path, "old content");
    for (const int fail : {1, 2}) {
        CNumbers numbers(_T("ABC"), 1);
        numbers.m_fail = fail;
        EXPECT_FALSE(numbers.WriteFile(path));
        EXPECT_EQ(ReadBytes(path), "old content");
        EXPECT_EQ(folder.Names().size(), 1u) << "nothing is left beside it";
    }
}

TEST(FileBase, MemoryFileRoundTrip) {
    CNumbers stored(_T("ABC"), 1);
    stored.m_numbers.Add(9);
    stored.SetModifyFlag(1);
    CMemFile file;
    ASSERT_TRUE(stored.WriteToMemFile(file));
    EXPECT_EQ(stored.GetModifyFlag(), 0);
    file.SeekToBegin();
    CNumbers loaded(_T("ABC"), 1);
    ASSERT_TRUE(loaded.ReadFromMemFile(file));
    ASSERT_EQ(loaded.m_numbers.GetSize(), 1);
    EXPECT_EQ(file.GetPosition(), file.GetLength());
    EXPECT_FALSE(loaded.ReadFromMemFile(file)) << "nothing is left to read";
}

TEST(FileBase, GlobalMemoryRoundTrip) {
    CNumbers stored(_T("ABC"), 1);
    stored.m_numbers.Add(9);
    stored.SetModifyFlag(1);
    const HGLOBAL block = stored.WriteToMemory();
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(stored.GetModifyFlag(), 0);
    CNumbers loaded(_T("ABC"), 1);
    loaded.SetModifyFlag(1);
    ASSERT_TRUE(loaded.ReadFromMemory(block));
    EXPECT_EQ(loaded.GetModifyFlag(), 0);
    ASSERT_EQ(loaded.m_numbers.GetSize(), 1);
    EXPECT_EQ(loaded.m_numbers[0], 9u);
}

TEST(FileBase, WritingToMemoryAgainGivesANewBlock) {
    CNumbers stored(_T("ABC"), 1);
    const HGLOBAL first = stored.WriteToMemory();
    const SIZE_T size = ::GlobalSize(first);
    stored.m_numbers.Add(1);
    const HGLOBAL second = stored.WriteToMemory();
    ASSERT_NE(second, nullptr);
    EXPECT_NE(second, first);
    EXPECT_GT(::GlobalSize(second), size);
    stored.m_fail = 1;
    EXPECT_EQ(stored.WriteToMemory(), nullptr);
}

TEST(FileBase, BlocksLargerThanTheirDataLoad) {
    CNumbers stored(_T("ABC"), 1);
    stored.m_numbers.Add(9);
    const HGLOBAL exact = stored.WriteToMemory();
    const SIZE_T size = ::GlobalSize(exact);
    const HGLOBAL larger = ::GlobalAlloc(66, size + 100);
    std::copy_n(static_cast<BYTE*>(::GlobalLock(exact)), size, static_cast<BYTE*>(::GlobalLock(larger)));
    ::GlobalUnlock(exact);
    ::GlobalUnlock(larger);
    CNumbers loaded(_T("ABC"), 1);
    EXPECT_TRUE(loaded.ReadFromMemory(larger));
    EXPECT_EQ(loaded.m_numbers.GetSize(), 1);
    ::GlobalFree(larger);
}

TEST(FileBase, NullAndDamagedBlocksAreFalse) {
    CNumbers numbers(_T("ABC"), 1);
    numbers.SetModifyFlag(1);
    EXPECT_FALSE(numbers.ReadFromMemory(nullptr));
    EXPECT_EQ(numbers.GetModifyFlag(), 1);
    const HGLOBAL block = ::GlobalAlloc(66, 3);
    std::copy_n("\xFF\xFE\xFF", 3, static_cast<char*>(::GlobalLock(block)));
    ::GlobalUnlock(block);
    EXPECT_FALSE(numbers.ReadFromMemory(block));
    EXPECT_EQ(numbers.GetModifyFlag(), 1);
    ::GlobalFree(block);
    const HGLOBAL none = ::GlobalAlloc(66, 0);
    EXPECT_FALSE(numbers.ReadFromMemory(none));
    ::GlobalFree(none);
}

TEST(FileBase, KnowsItsClass) {
    CFFileBase base;
    EXPECT_STREQ(base.GetRuntimeClass()->m_lpszClassName, "CFFileBase");
    EXPECT_EQ(base.GetRuntimeClass(), CFFileBase::GetThisClass());
    CObject* const made = CFFileBase::CreateObject();
    EXPECT_TRUE(made->IsKindOf(RUNTIME_CLASS(CFFileBase)));
    EXPECT_NE(dynamic_cast<CFFileBase*>(made), nullptr);
    delete made;
}

TEST(DataIO, WindowsByBothPathTypes) {
    const TestFolder folder;
    CWindowData window;
    window.m_value = 77;
    CString path = folder.Path(_T("w.dat"));
    ASSERT_TRUE(DataIO(path, false, static_cast<CWnd*>(&window)));
    EXPECT_EQ(Hex(ReadBytes(path)), "4D 00 00 00");
    CWindowData loaded;
    ASSERT_TRUE(DataIO(path.GetBuffer(), true, static_cast<CWnd*>(&loaded)));
    EXPECT_EQ(loaded.m_value, 77);
    EXPECT_FALSE(DataIO(static_cast<LPWSTR>(nullptr), true, static_cast<CWnd*>(&loaded)));
    EXPECT_FALSE(DataIO(path, true, static_cast<CWnd*>(nullptr)));
    EXPECT_FALSE(DataIO(path, false, static_cast<CObject*>(nullptr)));
    EXPECT_EQ(Hex(ReadBytes(path)), "4D 00 00 00");
}

TEST(DataIO, FilesAndMemoryFilesCopyWhole) {
    const TestFolder folder;
    CString path = folder.Path(_T("a.bin"));
    std::string bytes(3000000, 'x');
    for (size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<char>(i * 31);
    }
    WriteBytes(path, bytes);
    CMemFile file;
    file.Write("longer than what comes? no", 26);
    ASSERT_TRUE(DataIO(path, true, file));
    EXPECT_EQ(file.GetPosition(), 0u);
    EXPECT_TRUE(Content(file) == bytes);
    CString copy = folder.Path(_T("b.bin"));
    file.Seek(5, CFile::begin);
    ASSERT_TRUE(DataIO(copy, false, file));
    EXPECT_EQ(file.GetPosition(), 5u);
    EXPECT_TRUE(ReadBytes(copy) == bytes);
    WriteBytes(path, "short");
    ASSERT_TRUE(DataIO(path, true, file));
    EXPECT_EQ(Content(file), "short");
    CString none = folder.Path(_T("none"));
    EXPECT_FALSE(DataIO(none, true, file));
    EXPECT_EQ(Content(file), "short") << "unchanged on failure";
    CMemFile empty;
    ASSERT_TRUE(DataIO(path, false, empty));
    EXPECT_EQ(ReadBytes(path), "");
    BYTE memory[2];
    CMemFile tooSmall(memory, 2);
    WriteBytes(path, "longer");
    EXPECT_FALSE(DataIO(path, true, tooSmall));
    EXPECT_EQ(tooSmall.GetLength(), 2u);
}

TEST(StdioFile, IsCodePage936AndLeavesTheLocaleAlone) {
    const TestFolder folder;
    const std::string locale = std::setlocale(LC_CTYPE, nullptr);
    {
        CFStdioFile file(folder.Path(_T("a.ini")), CFile::modeCreate | CFile::modeWrite);
        file.WriteString(_T("[节]\n值=中\n"));
        EXPECT_EQ(std::setlocale(LC_CTYPE, nullptr), locale);
    }
    EXPECT_EQ(std::setlocale(LC_CTYPE, nullptr), locale);
    EXPECT_EQ(Hex(ReadBytes(folder.Path(_T("a.ini")))), "5B BD DA 5D 0D 0A D6 B5 3D D6 D0 0D 0A");
    CFStdioFile file;
    ASSERT_TRUE(file.Open(folder.Path(_T("a.ini")), CFile::modeRead));
    CString line;
    ASSERT_TRUE(file.ReadString(line));
    EXPECT_EQ(line, _T("[节]"));
    EXPECT_THROWS_CAUSE(CFStdioFile(folder.Path(_T("none")), CFile::modeRead), CFileException,
                        CFileException::fileNotFound);
}

}  // namespace
