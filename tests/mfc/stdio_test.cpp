// CStdioFile: the bytes of text files, line by line.
#include <string>
#include <vector>

#include "tests/mfc/throws.h"
#include "tests/support/support.h"

namespace {

using kvttest::Hex;
using kvttest::ReadBytes;
using kvttest::TestFolder;
using kvttest::Utf8;
using kvttest::WriteBytes;

using Lines = std::vector<std::string>;

Lines ReadLines(const std::string& bytes) {
    const TestFolder folder;
    WriteBytes(folder.Path(_T("a.txt")), bytes);
    CStdioFile file(folder.Path(_T("a.txt")), CFile::modeRead);
    Lines lines;
    CString line;
    while (file.ReadString(line)) {
        lines.push_back(Utf8(line));
    }
    EXPECT_TRUE(line.IsEmpty());
    return lines;
}

struct Written {
    std::string bytes;
    ULONGLONG lost;
};

Written Write(const CString& text) {
    const TestFolder folder;
    CStdioFile file(folder.Path(_T("a.txt")), CFile::modeCreate | CFile::modeWrite);
    file.WriteString(text);
    file.Close();
    return {ReadBytes(folder.Path(_T("a.txt"))), file.GetLostCharacterCount()};
}

TEST(TextStream, ReadsBothLineEnds) {
    EXPECT_EQ(ReadLines(""), (Lines{}));
    EXPECT_EQ(ReadLines("a"), (Lines{"a"}));
    EXPECT_EQ(ReadLines("a\n"), (Lines{"a"}));
    EXPECT_EQ(ReadLines("a\r\nb\nc"), (Lines{"a", "b", "c"}));
    EXPECT_EQ(ReadLines("\r\n\n\r\n"), (Lines{"", "", ""}));
    EXPECT_EQ(ReadLines("a\rb\r\n"), (Lines{"a\rb"})) << "a lone CR is a character";
    EXPECT_EQ(ReadLines("a\r\r\nb"), (Lines{"a\r", "b"}));
    EXPECT_EQ(ReadLines("a\r"), (Lines{"a\r"}));
}

TEST(TextStream, DecodesCodePage936) {
    EXPECT_EQ(ReadLines("\xD6\xD0\xCE\xC4\r\n\xA3\xBB\n\xA8\xA6 \x80 \xA6\xCC"), (Lines{"中文", "；", "é € μ"}));
    EXPECT_EQ(ReadLines("\xFF"), (Lines{"\xEF\xA3\xB5"}));
    EXPECT_EQ(ReadLines("\xA2\xE3"), (Lines{"\xEE\x9D\xAC"}));
    EXPECT_EQ(ReadLines("[\xD6\xD0]=\xCE\xC4;"), (Lines{"[中]=文;"}));
}

TEST(TextStream, DamagedBytesNeverTakeALineBreak) {
    EXPECT_EQ(ReadLines("a\xD6\nb"), (Lines{"a?", "b"}));
    EXPECT_EQ(ReadLines("a\xD6\r\nb"), (Lines{"a?", "b"}));
    EXPECT_EQ(ReadLines("a\xD6"), (Lines{"a?"}));
    EXPECT_EQ(ReadLines("\xD6 x\n\xD6=y\n\xD6\x7F"
                        "z\n\xD6\xFFw"),
              (Lines{"?x", "?y", "?z", "?w"}))
        << "a bad second byte goes with its first";
    EXPECT_EQ(ReadLines("\xEF\xBB\xBF"
                        "a"),
              (Lines{"锘縜"}))
        << "no mark is known";
}

TEST(TextStream, NulsAndEndMarks) {
    EXPECT_EQ(ReadLines(std::string("a\0b\nc", 5)), (Lines{std::string("a\0b", 3), "c"}));
    EXPECT_EQ(ReadLines("a\x1A"
                        "b\nc"),
              (Lines{"a\x1A"
                     "b",
                     "c"}))
        << "no text is lost behind it";
    EXPECT_EQ(ReadLines("a\nb\x1A"), (Lines{"a", "b"})) << "at the very end it is a mark";
    EXPECT_EQ(ReadLines("a\n\x1A"), (Lines{"a"}));
    EXPECT_EQ(ReadLines("a\x1A\n"), (Lines{"a\x1A"}));
}

TEST(TextStream, WritesCodePage936WithCrLf) {
    EXPECT_EQ(Hex(Write(_T("中文")).bytes), "D6 D0 CE C4");
    EXPECT_EQ(Hex(Write(_T("；é€\xE000\n")).bytes), "A3 BB A8 A6 80 AA A1 0D 0A");
    EXPECT_EQ(Hex(Write(_T("µ")).bytes), "A6 CC") << "the nearest character";
    EXPECT_EQ(Hex(Write(_T("a\r\nb")).bytes), "61 0D 0D 0A 62") << "a CR of the text stays";
    EXPECT_EQ(Hex(Write(_T("\x1A")).bytes), "1A");
    EXPECT_EQ(Write(_T("中文\n")).lost, 0u);
}

TEST(TextStream, WhatThePageLacksBecomesOneQuestionMark) {
    const struct {
        LPCWSTR text;
        const char* bytes;
        ULONGLONG lost;
    } rows[] = {
        {_T("añb\nnext"), "a?b\r\nnext", 1},
        {_T("ÿ©ก"), "???", 3},
        {_T("x😀y"), "x?y", 1},
        {_T("\xD83D"), "?", 1},
        {_T("\xDE00z"), "?z", 1},
        {_T("\xDE00\xD83D"), "??", 2},
        {_T("\xD83D\xD83D\xDE00"), "??", 2},
        {_T("\x00A0|\x0080"), "?|?", 2},
        {_T("?"), "?", 0},
        {_T("\x3400"), "?", 1},
        {_T("￨￩￪￫￬￭￮"), "???????", 7},
    };
    for (const auto& row : rows) {
        const Written written = Write(row.text);
        EXPECT_EQ(written.bytes, row.bytes) << Utf8(row.text);
        EXPECT_EQ(written.lost, row.lost) << Utf8(row.text);
    }
}

TEST(TextStream, EveryCharacterOfThePageComesBack) {
    CString all;
    for (unsigned unit = 0x20; unit < 0x10000; ++unit) {
        const CString one(static_cast<WCHAR>(unit), 1);
        BOOL used = FALSE;
        char bytes[4];
        if (unit >= 0xD800 && unit <= 0xDFFF) {
            continue;
        }
        const int count = ::WideCharToMultiByte(936, WC_NO_BEST_FIT_CHARS, one, 1, bytes, 4, nullptr, &used);
        if (count > 0 && !used) {
            all += one;
        }
    }
    EXPECT_GT(all.GetLength(), 23000);
    const TestFolder folder;
    CStdioFile file(folder.Path(_T("a.txt")), CFile::modeCreate | CFile::modeReadWrite);
    file.WriteString(all + _T("\n"));
    EXPECT_EQ(file.GetLostCharacterCount(), 0u);
    file.SeekToBegin();
    CString line;
    ASSERT_TRUE(file.ReadString(line));
    EXPECT_TRUE(line == all);
}

TEST(TextStream, LinesLongerThanEveryBuffer) {
    std::string bytes;
    for (const size_t length : {65535u, 65536u, 65537u, 200001u}) {
        bytes += std::string(length, 'x') + "\r\n";
    }
    const Lines lines = ReadLines(bytes);
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[0].size(), 65535u);
    EXPECT_EQ(lines[3].size(), 200001u);
    // A CR and its LF, and the two bytes of a character, on both sides of a block.
    EXPECT_EQ(ReadLines(std::string(65535, 'x') + "\r\ny")[1], "y");
    EXPECT_EQ(ReadLines(std::string(65535, 'x') + "\xD6\xD0\ny")[0], std::string(65535, 'x') + "中");
}

TEST(TextStream, PointerFormKeepsTheLineFeed) {
    const TestFolder folder;
    WriteBytes(folder.Path(_T("a.txt")), "abcdef\r\n\r\nxy");
    CStdioFile file(folder.Path(_T("a.txt")), CFile::modeRead);
    WCHAR buffer[5] = {'?', '?', '?', '?', '?'};
    EXPECT_EQ(CString(file.ReadString(buffer, 5)), _T("abcd"));
    EXPECT_EQ(CString(file.ReadString(buffer, 5)), _T("ef\n"));
    EXPECT_EQ(CString(file.ReadString(buffer, 5)), _T("\n"));
    EXPECT_EQ(CString(file.ReadString(buffer, 2)), _T("x"));
    CString rest;
    EXPECT_TRUE(file.ReadString(rest));
    EXPECT_EQ(rest, _T("y"));
    buffer[0] = '!';
    EXPECT_EQ(file.ReadString(buffer, 5), nullptr);
    EXPECT_EQ(buffer[0], '!');
    EXPECT_THROWS_POINTER(file.ReadString(nullptr, 5), CInvalidArgException);
    EXPECT_THROWS_POINTER(file.ReadString(buffer, 0), CInvalidArgException);
}

TEST(TextStream, AppendingStartsAtTheBeginningUntilSought) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.log"));
    WriteBytes(path, "one\r\n");
    {
        CStdioFile file(path, CFile::modeCreate | CFile::modeNoTruncate | CFile::modeWrite);
        EXPECT_EQ(file.GetPosition(), 0u);
        EXPECT_EQ(file.SeekToEnd(), 5u);
        file.WriteString(_T("two\n"));
        EXPECT_EQ(file.GetPosition(), 10u);
        EXPECT_EQ(file.GetLength(), 10u);
    }
    EXPECT_EQ(ReadBytes(path), "one\r\ntwo\r\n");
}

TEST(TextStream, PositionsAreBytesOfTheFile) {
    const TestFolder folder;
    WriteBytes(folder.Path(_T("a.txt")), "ab\ncd\r\nef");
    CStdioFile file(folder.Path(_T("a.txt")), CFile::modeRead);
    CString line;
    file.ReadString(line);
    EXPECT_EQ(file.GetPosition(), 3u);
    file.ReadString(line);
    EXPECT_EQ(file.GetPosition(), 7u);
    file.Seek(3, CFile::begin);
    file.ReadString(line);
    EXPECT_EQ(line, _T("cd"));
    EXPECT_EQ(file.Seek(-4, CFile::current), 3u);
    EXPECT_EQ(file.GetLength(), 9u);
}

TEST(TextStream, WritingAfterReadingGoesWhereReadingStopped) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.txt"));
    WriteBytes(path, "ab\ncd\nef\n");
    {
        CStdioFile file(path, CFile::modeReadWrite);
        CString line;
        file.ReadString(line);
        file.WriteString(_T("X"));
        file.ReadString(line);
        EXPECT_EQ(line, _T("d"));
    }
    EXPECT_EQ(ReadBytes(path), "ab\nXd\nef\n");
}

TEST(TextStream, BytesTranslateLineEnds) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.txt"));
    {
        CStdioFile file(path, CFile::modeCreate | CFile::modeWrite);
        file.Write("a\nb\r", 4);
    }
    EXPECT_EQ(ReadBytes(path), "a\r\nb\r");
    CStdioFile file(path, CFile::modeRead);
    char buffer[10] = {};
    EXPECT_EQ(file.Read(buffer, 10), 4u);
    EXPECT_EQ(std::string(buffer), "a\nb\r");
}

TEST(TextStream, BinaryFilesHoldUnits) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.txt"));
    {
        CStdioFile file(path, CFile::modeCreate | CFile::modeReadWrite | CFile::typeBinary);
        file.WriteString(_T("中\nx"));
        file.SeekToBegin();
        CString line;
        ASSERT_TRUE(file.ReadString(line));
        EXPECT_EQ(line, _T("中"));
        ASSERT_TRUE(file.ReadString(line));
        EXPECT_EQ(line, _T("x"));
        EXPECT_FALSE(file.ReadString(line));
    }
    EXPECT_EQ(Hex(ReadBytes(path)), "2D 4E 0A 00 78 00");
}

TEST(TextStream, FailuresAreFileExceptions) {
    const TestFolder folder;
    EXPECT_THROWS_CAUSE(CStdioFile(folder.Path(_T("none")), CFile::modeRead), CFileException,
                        CFileException::fileNotFound);
    CStdioFile file;
    CString line;
    EXPECT_THROWS_CAUSE(file.ReadString(line), CFileException, CFileException::invalidFile);
    EXPECT_THROWS_CAUSE(file.WriteString(_T("x")), CFileException, CFileException::invalidFile);
    WriteBytes(folder.Path(_T("a.txt")), "abc");
    ASSERT_TRUE(file.Open(folder.Path(_T("a.txt")), CFile::modeRead));
    file.WriteString(_T("x"));
    EXPECT_THROWS_POINTER(file.Close(), CFileException);  // what could not be written is told
    EXPECT_EQ(ReadBytes(folder.Path(_T("a.txt"))), "abc");
    EXPECT_THROWS_POINTER(file.WriteString(nullptr), CInvalidArgException);
}

TEST(TextStream, AMillionLinesGoThrough) {
    const TestFolder folder;
    CStdioFile file(folder.Path(_T("a.txt")), CFile::modeCreate | CFile::modeReadWrite);
    for (int i = 0; i < 1000000; ++i) {
        file.WriteString(i % 2 ? _T("name=value of an entry\n") : _T("名称=值\n"));
    }
    file.SeekToBegin();
    CString line;
    int count = 0;
    while (file.ReadString(line)) {
        ASSERT_EQ(line, count % 2 ? _T("name=value of an entry") : _T("名称=值"));
        ++count;
    }
    EXPECT_EQ(count, 1000000);
    EXPECT_EQ(file.GetLostCharacterCount(), 0u);
}

}  // namespace
