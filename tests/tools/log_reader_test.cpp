// A log that grows while it is read: whole lines, lines without an end, files cut and replaced.

#include "tools/kvtfile/log_reader.h"

#include "tests/support/support.h"

namespace {

using kvtcommand::LogReader;
using kvttest::TestFolder;
using kvttest::WriteBytes;

using Lines = std::vector<std::string>;

class LogReaderTest : public testing::Test {
protected:
    LogReaderTest() { Set(""); }

    void Set(const std::string& bytes) {
        m_bytes = bytes;
        WriteBytes(m_path, m_bytes);
    }
    void Add(const std::string& bytes) { Set(m_bytes + bytes); }
    Lines Read(LogReader::Rest rest = LogReader::Rest::WhenAtRest) {
        Lines lines;
        reader.Read(rest, [&](const CString& line) {
            lines.push_back(kvttest::Utf8(line));
            return true;
        });
        return lines;
    }

private:
    TestFolder m_folder;
    std::string m_bytes;

protected:
    CString m_path = m_folder.Path(_T("a.log"));
    LogReader reader{m_path};
};

TEST_F(LogReaderTest, LinesComeAsTheyEnd) {
    EXPECT_EQ(reader.Open(), 0u);
    EXPECT_EQ(Read(), Lines{});
    Add("one\r\ntwo\n");
    EXPECT_EQ(Read(), (Lines{"one", "two"}));
    Add("\xD6");
    EXPECT_EQ(Read(), Lines{});
    Add("\xD0\r\n\r\n");
    EXPECT_EQ(Read(), (Lines{"中", ""}));
    EXPECT_EQ(Read(), Lines{});
}

TEST_F(LogReaderTest, ALineWithoutAnEndComesWhenTheFileIsAtRest) {
    Add("one\r\ntwo");
    EXPECT_EQ(Read(), Lines{"one"});
    EXPECT_EQ(Read(), Lines{"two"});
    EXPECT_EQ(Read(), Lines{});
    Add(" and more\r\nthree");
    EXPECT_EQ(Read(LogReader::Rest::Included), (Lines{" and more", "three"}));
}

TEST_F(LogReaderTest, TheLineEndInFrontOfAMessageAddsNoLine) {
    Add("\r\n[stamp]one");
    EXPECT_EQ(Read(), Lines{});
    EXPECT_EQ(Read(), Lines{"[stamp]one"});
    Add("\r\n[stamp]two");
    EXPECT_EQ(Read(LogReader::Rest::Included), Lines{"[stamp]two"});
    Add("\r");
    EXPECT_EQ(Read(), Lines{});
    EXPECT_EQ(Read(), Lines{});
    Add("\n[stamp]three\r\n\r\nfour\n");
    EXPECT_EQ(Read(), (Lines{"[stamp]three", "", "four"})) << "an empty line is one";
    Set("\r\n[stamp]new\r\n");
    EXPECT_EQ(Read(), Lines{"[stamp]new"}) << "another file begins with one too";
}

TEST_F(LogReaderTest, LinesComeOneByOneUntilThereAreEnough) {
    Add("one\ntwo\nthree\n");
    Lines lines;
    reader.Read(LogReader::Rest::Included, [&](const CString& line) {
        lines.push_back(kvttest::Utf8(line));
        return lines.size() < 2;
    });
    EXPECT_EQ(lines, (Lines{"one", "two"}));
}

TEST_F(LogReaderTest, AFileThatWasCutIsReadFromItsStart) {
    Add("one\ntwo\n");
    EXPECT_EQ(Read(), (Lines{"one", "two"}));
    EXPECT_FALSE(reader.WasReplaced());
    Set("new\n");
    EXPECT_EQ(Read(), Lines{"new"});
    EXPECT_TRUE(reader.WasReplaced());
    EXPECT_EQ(Read(), Lines{});
    EXPECT_FALSE(reader.WasReplaced());
}

TEST_F(LogReaderTest, AFileThatWasReplacedByALongerOneIsReadFromItsStart) {
    Add("one\n");
    EXPECT_EQ(Read(), Lines{"one"});
    Set("another\nfile\n");
    EXPECT_EQ(Read(), (Lines{"another", "file"}));
    EXPECT_TRUE(reader.WasReplaced());
}

TEST_F(LogReaderTest, AFileThatIsGoneForAMomentIsWaitedFor) {
    Add("one\n");
    EXPECT_EQ(Read(), Lines{"one"});
    ASSERT_TRUE(::DeleteFileW(m_path));
    EXPECT_EQ(Read(), Lines{});
    Set("two\n");
    EXPECT_EQ(Read(), Lines{"two"});
}

TEST_F(LogReaderTest, OfALargeFileTheEndIsRead) {
    std::string bytes;
    while (bytes.size() < (3u << 20)) {
        bytes += "line " + std::to_string(bytes.size()) + "\r\n";
    }
    Set(bytes);
    EXPECT_EQ(reader.OpenNearEnd(), 0u);
    const Lines lines = Read();
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines.front().substr(0, 5), "line ");
    EXPECT_EQ(bytes.substr(bytes.size() - lines.back().size() - 2), lines.back() + "\r\n");
    EXPECT_LT(lines.size(), 100000u);
}

TEST_F(LogReaderTest, ALineThatBeginsExactlyWhereTheEndDoesIsRead) {
    const std::string end = "first" + std::string((1u << 20) - 6 - 5, 'x') + "\nlast\n";
    ASSERT_EQ(end.size(), 1u << 20);
    Set("before\n" + end);
    EXPECT_EQ(reader.OpenNearEnd(), 0u);
    const Lines lines = Read();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines.front().substr(0, 6), "firstx");
    EXPECT_EQ(lines.back(), "last");
}

TEST_F(LogReaderTest, DamagedBytesNeverTakeALineEndWithThem) {
    Add("\x81\nb\n");
    EXPECT_EQ(Read(), (Lines{"?", "b"}));
}

TEST_F(LogReaderTest, AMissingFileIsTold) {
    LogReader missing(m_path + _T("x"));
    EXPECT_EQ(missing.Open(), DWORD{ERROR_FILE_NOT_FOUND});
    EXPECT_EQ(missing.OpenNearEnd(), DWORD{ERROR_FILE_NOT_FOUND});
}

}  // namespace
