// Saving text files: every status text, every mark, appending, and files that cannot be written.

#include <string>
#include <vector>

#include "tests/xml/textfile_support.h"

namespace {

using namespace kvttest;
using kvtfile::CFXmlFile;

// --- Writing: status texts ---

TEST(TextFileWrite, MarkupIsWrittenAsUtf8) {
    const Written written = Write(Wide("<a>\xE4\xB8\xAD</a>"));
    EXPECT_TRUE(written.done);
    EXPECT_EQ(written.bytes, "<a>\xE4\xB8\xAD</a>");
    EXPECT_EQ(written.result, "from wide length 8 length 10 ");
    EXPECT_EQ(Utf8(written.encoding), "UTF-8");
}

TEST(TextFileWrite, FlagsAskForMarks) {
    const Written utf8 = Write(Wide("<a>\xE4\xB8\xAD</a>"), flagUtf8Mark);
    EXPECT_EQ(utf8.bytes, utf8Mark + "<a>\xE4\xB8\xAD</a>");
    EXPECT_EQ(utf8.result, "from wide length 8 length 10 ");
    const Written le = Write(Wide("<a>\xE4\xB8\xAD</a>"), flagLe);
    EXPECT_EQ(le.bytes, leMark + Le("<a>\xE4\xB8\xAD</a>"));
    EXPECT_EQ(le.result, "UTF-16LE from wide length 8 length 8 ");
    EXPECT_EQ(Utf8(le.encoding), "UTF-16LE");
    const Written be = Write(Wide("<a>\xE4\xB8\xAD</a>"), flagBe);
    EXPECT_EQ(be.bytes, beMark + Be("<a>\xE4\xB8\xAD</a>"));
    EXPECT_EQ(be.result, "UTF-16BE from wide length 8 endian swap length 8 ");
    EXPECT_EQ(Utf8(be.encoding), "UTF-16BE");
}

TEST(TextFileWrite, OfSeveralMarksTheFirstDecidesOnAll) {
    EXPECT_EQ(Write(_T("<a/>"), flagBe | flagLe).bytes, leMark + Le("<a/>"));
    EXPECT_EQ(Write(_T("<a/>"), flagBe | flagUtf8Mark).bytes, utf8Mark + "<a/>");
}

TEST(TextFileWrite, DeclaredEncodingIsUsed) {
    const std::string declaration = "<?xml version=\"1.0\" encoding=\"GB2312\"?>";
    const Written written = Write(Wide(declaration + "<a>\xE4\xB8\xAD\xE6\x96\x87</a>"));
    EXPECT_EQ(written.bytes, declaration + "<a>\xD6\xD0\xCE\xC4</a>");
    EXPECT_EQ(written.result, "from wide length 48 length 50 ");
    EXPECT_EQ(Utf8(written.encoding), "GB2312");
}

TEST(TextFileWrite, AGivenEncodingOutweighsTheDeclaredOne) {
    const std::string declaration = "<?xml version=\"1.0\" encoding=\"utf-8\"?>";
    const Written written = Write(Wide(declaration + "\xE4\xB8\xAD"), 0, "gbk");
    EXPECT_EQ(written.bytes, declaration + "\xD6\xD0");
    EXPECT_EQ(Utf8(written.encoding), "gbk");
}

TEST(TextFileWrite, AUtf8MarkIsNeverFollowedByAnotherEncoding) {
    const std::string text = "<?xml version=\"1.0\" encoding=\"gb2312\"?><a>\xE4\xB8\xAD</a>";
    EXPECT_EQ(Write(Wide(text), flagUtf8Mark).bytes, utf8Mark + text);
}

TEST(TextFileWrite, CharactersThatAreLostAreReported) {
    const std::string declaration = "<?xml version=\"1.0\" encoding=\"iso-8859-1\"?>";
    const Written written = Write(Wide(declaration + "<a>\xC3\xA9\xE4\xB8\xAD</a>"));
    EXPECT_TRUE(written.done);
    EXPECT_EQ(written.bytes, declaration + "<a>\xE9?</a>");
    EXPECT_EQ(written.result, "from wide length 52 (chars lost in conversion!) length 52 ");
}

TEST(TextFileWrite, HalfASurrogatePairAtTheEndIsReported) {
    const CString text = CString(_T("<a/>")) + WCHAR{0xD83D};
    const Written utf8 = Write(text);
    EXPECT_TRUE(utf8.done);
    EXPECT_EQ(utf8.bytes, "<a/>\xEF\xBF\xBD");
    EXPECT_EQ(utf8.result, "from wide length 5 (chars lost in conversion!) length 7 ");
    const Written le = Write(text, flagLe);
    EXPECT_EQ(le.bytes, leMark + Le("<a/>") + "\x3D\xD8");
    EXPECT_EQ(le.result, "UTF-16LE from wide length 5 length 5 ");
}

TEST(TextFileWrite, ControlCharactersAreWrittenAsTheyAre) {
    std::string text = "<a>";
    for (char c = 1; c < 32; ++c) {
        text += c;
    }
    text += "\x7F</a>";
    EXPECT_EQ(Write(Wide(text)).bytes, text);
    EXPECT_EQ(Utf8(ReadOf(text).text), text);
}

TEST(TextFileWrite, NothingIsWrittenForAnEmptyText) {
    const Written plain = WriteOver("old", _T(""));
    EXPECT_TRUE(plain.done);
    EXPECT_EQ(plain.bytes, "");
    EXPECT_EQ(plain.result, "0 length ");
    EXPECT_EQ(Write(_T(""), flagUtf8Mark).bytes, utf8Mark);
    const Written le = Write(_T(""), flagLe);
    EXPECT_EQ(le.bytes, leMark);
    EXPECT_EQ(le.result, "UTF-16LE 0 length ");
}

TEST(TextFileWrite, TextWithoutMarkupIsWrittenInTheAnsiCodePage) {
    const Written written = Write(_T("plain"));
    EXPECT_EQ(written.bytes, "plain");
    EXPECT_EQ(written.result, "from wide length 5 length 5 ");
    EXPECT_EQ(written.encoding, _T(""));
}

TEST(TextFileWrite, AnUnknownDeclaredEncodingIsWrittenInTheAnsiCodePage) {
    const std::string text = "<?xml version=\"1.0\" encoding=\"klingon\"?><a/>";
    EXPECT_EQ(Write(Wide(text)).bytes, text);
}

TEST(TextFileWrite, Utf7ComesBack) {
    const std::string text = "<?xml version=\"1.0\" encoding=\"utf-7\"?><a>\xE4\xB8\xAD</a>";
    const Written written = Write(Wide(text));
    EXPECT_TRUE(written.done);
    EXPECT_EQ(written.result.find("lost"), std::string::npos);
    EXPECT_EQ(Utf8(ReadOf(written.bytes, 0, "utf-7").text), text);
}

TEST(TextFileWrite, FlagsOfOtherUsesChangeNothing) {
    EXPECT_EQ(Write(_T("<a/>"), 0x10 | 0x20 | flagIgnoreCase).bytes, "<a/>");
}

TEST(TextFileWrite, FlagsAreLeftAlone) {
    const TestFolder folder;
    int flags = flagAppend | flagLe | flagIgnoreCase;
    EXPECT_TRUE(CFXmlFile::WriteTextFile(folder.Path(_T("a")), _T("<a/>"), nullptr, &flags));
    EXPECT_EQ(flags, flagAppend | flagLe | flagIgnoreCase);
}

// --- Writing: appending ---

TEST(TextFileAppend, KeepsTheOldBytesAndWritesNoMarkAfterThem) {
    EXPECT_EQ(WriteOver("old", _T("<a/>"), flagAppend).bytes, "old<a/>");
    EXPECT_EQ(WriteOver("old", _T("<a/>"), flagAppend | flagUtf8Mark).bytes, "old<a/>");
    const std::string old = leMark + Le("<a/>");
    const Written le = WriteOver(old, _T("<b/>"), flagAppend | flagLe);
    EXPECT_EQ(le.bytes, old + Le("<b/>"));
    EXPECT_EQ(le.result, "UTF-16LE from wide length 4 length 4 ");
    EXPECT_EQ(WriteOver("old", _T(""), flagAppend).bytes, "old");
}

TEST(TextFileAppend, WritesTheMarkOfAnEmptyOrMissingFile) {
    EXPECT_EQ(Write(_T("<a/>"), flagAppend | flagUtf8Mark).bytes, utf8Mark + "<a/>");
    const TestFolder folder;
    const CString path = folder.Path(_T("empty.xml"));
    WriteBytes(path, "");
    int flags = flagAppend | flagBe;
    EXPECT_TRUE(CFXmlFile::WriteTextFile(path, _T("<a/>"), nullptr, &flags));
    EXPECT_EQ(ReadBytes(path), beMark + Be("<a/>"));
    EXPECT_TRUE(CFXmlFile::WriteTextFile(path, _T("<b/>"), nullptr, &flags));
    EXPECT_EQ(ReadBytes(path), beMark + Be("<a/><b/>"));
}

// --- Writing: what cannot be written ---

TEST(TextFileWrite, ATargetThatCannotBeOpenedGivesTheSystemsText) {
    const TestFolder folder;
    CFXmlFile file(_T("<a/>"));
    EXPECT_FALSE(file.Save(folder.Path()));
    EXPECT_EQ(file.GetError(), SystemText(ERROR_ACCESS_DENIED));
    EXPECT_FALSE(file.Save(folder.Path(_T("none\\a.xml"))));
    EXPECT_EQ(file.GetError(), SystemText(ERROR_PATH_NOT_FOUND));
    EXPECT_EQ(file.GetDoc(), _T("<a/>"));
    EXPECT_TRUE(file.Save(folder.Path(_T("a.xml"))));
    EXPECT_EQ(Utf8(file.GetError()), "from wide length 4 length 4 ");
}

TEST(TextFileWrite, AReadOnlyTargetIsRefusedAndStaysAsItWas) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.xml"));
    WriteBytes(path, "<old/>");
    ASSERT_TRUE(::SetFileAttributesW(path, FILE_ATTRIBUTE_READONLY));
    CFXmlFile file(_T("<a/>"));
    EXPECT_FALSE(file.Save(path));
    EXPECT_EQ(file.GetError(), SystemText(ERROR_ACCESS_DENIED));
    file.SetDocFlags(flagAppend);
    EXPECT_FALSE(file.Save(path));
    EXPECT_EQ(file.GetError(), SystemText(ERROR_ACCESS_DENIED));
    EXPECT_EQ(ReadBytes(path), "<old/>");
    EXPECT_EQ(folder.Names(), std::vector<std::string>{"a.xml"});
}

TEST(TextFileWrite, AnEncodingThatTheSystemCannotConvertLeavesTheOldFile) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.xml"));
    WriteBytes(path, "<old/>");
    CFXmlFile file(_T("<?xml version=\"1.0\" encoding=\"UTF-16\"?><a/>"));
    EXPECT_FALSE(file.Save(path));
    EXPECT_EQ(file.GetError(), SystemText(ERROR_INVALID_PARAMETER));
    EXPECT_EQ(ReadBytes(path), "<old/>");
    EXPECT_EQ(folder.Names(), std::vector<std::string>{"a.xml"});
    file.SetDocFlags(flagLe);
    EXPECT_TRUE(file.Save(path));
}

}  // namespace
