// CFLogFile: line formats, when the file is opened and closed, and what others have written.

#include "kvtfile/FileUtil.h"
#include "kvtfile/LogFile.h"
#include "tests/support/support.h"

namespace {

using kvtfile::CFLogFile;
using kvttest::ReadBytes;
using kvttest::TestFolder;
using kvttest::Utf8;
using kvttest::WriteBytes;

TEST(LogFile, ALineGetsItsLineFeedUnlessItHasOne) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.log"));
    {
        CFLogFile log(path);
        EXPECT_EQ(log.WriteString(_T("one")), 1);
        EXPECT_EQ(log.WriteString(_T("two\n")), 1);
        EXPECT_EQ(log.WriteString(_T("")), 1);
        EXPECT_EQ(log.WriteString(_T("\n")), 1);
        EXPECT_EQ(log.WriteString(_T("a\nb")), 1);
        EXPECT_EQ(log.WriteString(_T("中文 😀 100% %s")), 1);
        EXPECT_EQ(ReadBytes(path), "one\r\ntwo\r\n\r\n\r\na\r\nb\r\n\xD6\xD0\xCE\xC4 ? 100% %s\r\n")
            << "while it is open";
    }
    EXPECT_EQ(ReadBytes(path), "one\r\ntwo\r\n\r\n\r\na\r\nb\r\n\xD6\xD0\xCE\xC4 ? 100% %s\r\n\r\n");
}

TEST(LogFile, AStampedLineHasTheTimeAndTwoBlanks) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.log"));
    CFLogFile log(path);
    const CString before = CFLogFile::Time2Str(COleDateTime::GetCurrentTime());
    EXPECT_EQ(log.WriteTimeAndString(_T("text")), 1);
    EXPECT_EQ(log.WriteTimeAndString(_T("ended\n")), 1);
    const CString after = CFLogFile::Time2Str(COleDateTime::GetCurrentTime());
    const std::string bytes = ReadBytes(path);
    const std::string stamp = bytes.substr(0, 19);
    EXPECT_LE(Utf8(before), stamp);
    EXPECT_GE(Utf8(after), stamp);
    EXPECT_EQ(bytes.substr(19, 8), "  text\r\n");
    EXPECT_EQ(bytes.substr(27 + 19), "  ended\r\n");
}

TEST(LogFile, StampsHaveTheYearInFourDigits) {
    EXPECT_EQ(CFLogFile::Time2Str(COleDateTime(2024, 5, 6, 7, 8, 9)), _T("2024-05-06 07:08:09"));
    EXPECT_EQ(CFLogFile::Time2Str(COleDateTime(1999, 12, 31, 23, 59, 59)), _T("1999-12-31 23:59:59"));
    COleDateTime invalid;
    invalid.SetStatus(COleDateTime::invalid);
    EXPECT_EQ(CFLogFile::Time2Str(invalid), _T("-1--1--1 -1:-1:-1"));
}

TEST(LogFile, WhatTheFileHeldStays) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.log"));
    WriteBytes(path, "old\r\n");
    CFLogFile log(path);
    EXPECT_EQ(log.WriteString(_T("new")), 1);
    EXPECT_EQ(log.CloseFile(), 1);
    EXPECT_EQ(log.WriteString(_T("again")), 1);
    EXPECT_EQ(log.CloseFile(), 1);
    EXPECT_EQ(ReadBytes(path), "old\r\nnew\r\n\r\nagain\r\n\r\n");
}

TEST(LogFile, ALogThatWasOpenedAndNotWrittenEndsInAnEmptyLine) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.log"));
    WriteBytes(path, "old text\r\n");
    CFLogFile log;
    EXPECT_EQ(log.OpenFile(path), 1);
    EXPECT_EQ(log.CloseFile(), 1);
    EXPECT_EQ(ReadBytes(path), "old text\r\n\r\n");
    EXPECT_EQ(log.CloseFile(), 0) << "not open";
    EXPECT_EQ(ReadBytes(path), "old text\r\n\r\n");
}

TEST(LogFile, OpeningMakesTheFolders) {
    const TestFolder folder;
    CFLogFile log;
    EXPECT_EQ(log.OpenFile(folder.Path(_T("x\\y\\a.log"))), 1);
    EXPECT_TRUE(kvttest::Exists(folder.Path(_T("x\\y\\a.log"))));
}

TEST(LogFile, WithoutAPathNothingIsWritten) {
    CFLogFile log;
    EXPECT_EQ(log.OpenFile(_T("")), 0);
    EXPECT_EQ(log.WriteString(_T("x")), 0);
    EXPECT_EQ(log.WriteTimeAndString(_T("x")), 0);
    EXPECT_EQ(log.CloseFile(), 0);
}

TEST(LogFile, AFileThatCannotBeOpenedIsZero) {
    const TestFolder folder;
    CFLogFile log(folder.Path());
    EXPECT_EQ(log.WriteString(_T("x")), 0);
    WriteBytes(folder.Path(_T("file")), "x");
    EXPECT_EQ(log.OpenFile(folder.Path(_T("file\\a.log"))), 0);
    EXPECT_EQ(log.OpenFile(_T("")), 0);
    EXPECT_EQ(log.OpenFile(folder.Path(_T("b.log"))), 1) << "another path is tried anew";
}

TEST(LogFile, AReadOnlyFileIsLeftAlone) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.log"));
    WriteBytes(path, "old");
    ASSERT_TRUE(::SetFileAttributesW(path, FILE_ATTRIBUTE_READONLY));
    CFLogFile log(path);
    EXPECT_EQ(log.WriteString(_T("x")), 0);
    EXPECT_EQ(ReadBytes(path), "old");
}

TEST(LogFile, OpeningAnotherPathClosesTheFirstFile) {
    const TestFolder folder;
    CFLogFile log(folder.Path(_T("a.log")));
    EXPECT_EQ(log.WriteString(_T("one")), 1);
    EXPECT_EQ(log.OpenFile(folder.Path(_T("b.log"))), 1);
    EXPECT_EQ(ReadBytes(folder.Path(_T("a.log"))), "one\r\n\r\n");
    EXPECT_EQ(log.WriteString(_T("two")), 1);
    EXPECT_EQ(ReadBytes(folder.Path(_T("b.log"))), "two\r\n");
}

TEST(LogFile, TheSamePathInOtherLettersKeepsTheFileOpen) {
    const TestFolder folder;
    CFLogFile log(folder.Path(_T("a.log")));
    EXPECT_EQ(log.WriteString(_T("one")), 1);
    EXPECT_EQ(log.OpenFile(folder.Path(_T("A.LOG"))), 1);
    EXPECT_EQ(log.OpenFile(_T("")), 1);
    EXPECT_EQ(ReadBytes(folder.Path(_T("a.log"))), "one\r\n");
}

TEST(LogFile, SettingThePathAloneLeavesTheFileOpen) {
    const TestFolder folder;
    CFLogFile log(folder.Path(_T("a.log")));
    EXPECT_EQ(log.WriteString(_T("one")), 1);
    EXPECT_EQ(log.SetPath(folder.Path(_T("b.log"))), 1);
    EXPECT_EQ(log.WriteString(_T("two")), 1);
    EXPECT_EQ(ReadBytes(folder.Path(_T("a.log"))), "one\r\ntwo\r\n");
    EXPECT_EQ(log.CloseFile(), 1);
    EXPECT_EQ(log.WriteString(_T("three")), 1);
    EXPECT_EQ(ReadBytes(folder.Path(_T("b.log"))), "three\r\n");
}

TEST(LogFile, ASecondWriterIsRefusedWhileTheFileIsOpen) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.log"));
    CFLogFile first(path);
    EXPECT_EQ(first.WriteString(_T("one")), 1);
    CFLogFile second(path);
    EXPECT_EQ(second.WriteString(_T("two")), 0);
    EXPECT_EQ(first.CloseFile(), 1);
    EXPECT_EQ(second.WriteString(_T("two")), 1);
    EXPECT_EQ(ReadBytes(path), "one\r\n\r\ntwo\r\n");
}

TEST(LogFile, ATextCountsUpToItsFirstNul) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.log"));
    CFLogFile log(path);
    EXPECT_EQ(log.WriteString(CString(_T("a\0b\n"), 4)), 1);
    EXPECT_EQ(ReadBytes(path), "a\r\n");
}

TEST(LogFile, ItMayBeDerivedFromAndDeletedByItsBase) {
    const TestFolder folder;
    struct Derived : CFLogFile {
        explicit Derived(CString path, bool& gone) : CFLogFile(path), m_gone(gone) {}
        ~Derived() override { m_gone = true; }
        bool& m_gone;
    };
    bool gone = false;
    CFLogFile* const log = new Derived(folder.Path(_T("a.log")), gone);
    EXPECT_EQ(log->WriteString(_T("x")), 1);
    delete log;
    EXPECT_TRUE(gone);
    EXPECT_EQ(ReadBytes(folder.Path(_T("a.log"))), "x\r\n\r\n");
}

}  // namespace
