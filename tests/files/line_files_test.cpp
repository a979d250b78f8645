// Line files: what is read of them, and the bytes that are written.

#include "kvtfile/FileUtil.h"
#include "tests/support/support.h"

namespace {

using kvttest::ReadBytes;
using kvttest::TestFolder;
using kvttest::Utf8;
using kvttest::WriteBytes;

using Lines = std::vector<std::string>;

Lines Read(const CString& path, int expected = 1) {
    CStringArray lines;
    EXPECT_EQ(kvtfile::ReadData(path, lines), expected);
    Lines texts;
    for (INT_PTR i = 0; i < lines.GetSize(); ++i) {
        texts.push_back(Utf8(lines[i]));
    }
    return texts;
}

TEST(LineFiles, EmptyLinesAndCommentsAreLeftOut) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.txt"));
    const struct {
        const char* bytes;
        Lines lines;
    } rows[] = {
        {"a\r\nb\r\n", {"a", "b"}},
        {"a\nb", {"a", "b"}},
        {"a\r\n\r\n\nb\n", {"a", "b"}},
        {"//x\r\na\r\n//\r\n", {"a"}},
        {" //x\r\n/\r\n/ /\r\na//b\r\n", {" //x", "/", "/ /", "a//b"}},
        {" \r\n\t\r\n", {" ", "\t"}},
        {"a\rb\r\n", {"a\rb"}},
        {"", {}},
        {"\r\n", {}},
        {"\xD6\xD0\xCE\xC4\r\n", {"中文"}},
        {"\x81\nb\n", {"?", "b"}},
    };
    for (const auto& row : rows) {
        WriteBytes(path, row.bytes);
        EXPECT_EQ(Read(path), row.lines) << row.bytes;
    }
}

TEST(LineFiles, LinesAreAppended) {
    const TestFolder folder;
    WriteBytes(folder.Path(_T("a.txt")), "x\n");
    CStringArray lines;
    lines.Add(_T("before"));
    EXPECT_EQ(kvtfile::ReadData(folder.Path(_T("a.txt")), lines), 1);
    ASSERT_EQ(lines.GetSize(), 2);
    EXPECT_EQ(lines[0], _T("before"));
    EXPECT_EQ(lines[1], _T("x"));
}

TEST(LineFiles, LongLinesComeWhole) {
    const TestFolder folder;
    const std::string line(1000000, 'x');
    WriteBytes(folder.Path(_T("a.txt")), line + "\r\n" + line + "y");
    EXPECT_EQ(Read(folder.Path(_T("a.txt"))), (Lines{line, line + "y"}));
}

TEST(LineFiles, WhatCannotBeOpenedIsMinusOne) {
    const TestFolder folder;
    EXPECT_EQ(Read(folder.Path(_T("no.txt")), -1), Lines{});
    EXPECT_EQ(Read(folder.Path(), -1), Lines{});
    EXPECT_EQ(Read(_T(""), -1), Lines{});
    CStringArray lines;
    lines.Add(_T("a"));
    CStringList list;
    EXPECT_EQ(kvtfile::ReadData(nullptr, lines), -1);
    EXPECT_EQ(kvtfile::WriteData(nullptr, lines), -1);
    EXPECT_EQ(kvtfile::WriteData(nullptr, &list), -1);
    EXPECT_EQ(kvtfile::WriteData(folder.Path(_T("no\\a.txt")), lines), -1);
    EXPECT_EQ(kvtfile::WriteData(folder.Path(), lines), -1);
    EXPECT_EQ(kvtfile::WriteData(folder.Path(_T("no\\a.txt")), &list), -1);
    EXPECT_EQ(lines.GetSize(), 1);
}

TEST(LineFiles, EveryElementBecomesALine) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.txt"));
    WriteBytes(path, "old content, longer than the new one");
    CStringArray lines;
    for (LPCWSTR line : {_T("a"), _T("b\n"), _T(""), _T("\n"), _T("中文"), _T("c\nd"), _T("//")}) {
        lines.Add(line);
    }
    EXPECT_EQ(kvtfile::WriteData(path, lines), 1);
    EXPECT_EQ(ReadBytes(path), "a\r\nb\r\n\r\n\r\n\xD6\xD0\xCE\xC4\r\nc\r\nd\r\n//\r\n");
    lines.RemoveAll();
    EXPECT_EQ(kvtfile::WriteData(path, lines), 1);
    EXPECT_EQ(ReadBytes(path), "");
}

TEST(LineFiles, AListIsWrittenBackToBack) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.txt"));
    CStringList list;
    for (LPCWSTR text : {_T("a"), _T("b\n"), _T(""), _T("c"), _T("中")}) {
        list.AddTail(text);
    }
    EXPECT_EQ(kvtfile::WriteData(path, &list), 1);
    EXPECT_EQ(ReadBytes(path), "ab\r\nc\xD6\xD0");
}

TEST(LineFiles, ANullListLeavesTheFileAlone) {
    const TestFolder folder;
    WriteBytes(folder.Path(_T("a.txt")), "old");
    EXPECT_EQ(kvtfile::WriteData(folder.Path(_T("a.txt")), static_cast<CStringList*>(nullptr)), -1);
    EXPECT_EQ(ReadBytes(folder.Path(_T("a.txt"))), "old");
}

TEST(LineFiles, CharactersThatTheCodePageLacksBecomeQuestionMarks) {
    const TestFolder folder;
    CStringArray lines;
    lines.Add(_T("a😀b\u0E01"));
    EXPECT_EQ(kvtfile::WriteData(folder.Path(_T("a.txt")), lines), 1);
    EXPECT_EQ(ReadBytes(folder.Path(_T("a.txt"))), "a?b?\r\n");
}

TEST(LineFiles, WhatWasWrittenIsRead) {
    const TestFolder folder;
    CStringArray lines;
    for (int i = 0; i < 50000; ++i) {
        CString line;
        line.Format(_T("%d 行 %s"), i, CString(_T('x'), i % 100).GetString());
        lines.Add(line);
    }
    ASSERT_EQ(kvtfile::WriteData(folder.Path(_T("a.txt")), lines), 1);
    CStringArray read;
    ASSERT_EQ(kvtfile::ReadData(folder.Path(_T("a.txt")), read), 1);
    ASSERT_EQ(read.GetSize(), lines.GetSize());
    for (INT_PTR i = 0; i < lines.GetSize(); ++i) {
        ASSERT_EQ(read[i], lines[i]);
    }
}

TEST(LineFiles, AReadOnlyFileIsNotReplaced) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.txt"));
    WriteBytes(path, "old");
    ASSERT_TRUE(::SetFileAttributesW(path, FILE_ATTRIBUTE_READONLY));
    CStringArray lines;
    lines.Add(_T("new"));
    EXPECT_EQ(kvtfile::WriteData(path, lines), -1);
    EXPECT_EQ(ReadBytes(path), "old");
}

}  // namespace
