// Loading text files: every status text, every mark, flags, and files that cannot be read.

#include <random>
#include <string>

#include "tests/xml/textfile_support.h"

namespace {

using namespace kvttest;
using kvtfile::CFXmlFile;

// --- Reading: status texts ---

TEST(TextFileRead, Utf8MarkIsRemovedAndReported) {
    const Read read = ReadOf(utf8Mark + "<a>\xE4\xB8\xAD</a>");
    EXPECT_TRUE(read.done);
    EXPECT_EQ(Utf8(read.text), "<a>\xE4\xB8\xAD</a>");
    EXPECT_EQ(Utf8(read.result), "UTF-8 BOM + length 10 to 8 wide chars ");
    EXPECT_EQ(read.flags, flagUtf8Mark);
    EXPECT_EQ(Utf8(read.encoding), "UTF-8");
}

TEST(TextFileRead, LittleEndianMarkMakesUnitsOfTwoBytes) {
    const Read read = ReadOf(leMark + Le("<a>\xE4\xB8\xAD</a>"));
    EXPECT_TRUE(read.done);
    EXPECT_EQ(Utf8(read.text), "<a>\xE4\xB8\xAD</a>");
    EXPECT_EQ(Utf8(read.result), "UTF-16LE BOM + length 8 ");
    EXPECT_EQ(read.flags, flagLe);
    EXPECT_EQ(Utf8(read.encoding), "UTF-16LE");
}

TEST(TextFileRead, BigEndianMarkSwaps) {
    const Read read = ReadOf(beMark + Be("<a>\xE4\xB8\xAD</a>"));
    EXPECT_TRUE(read.done);
    EXPECT_EQ(Utf8(read.text), "<a>\xE4\xB8\xAD</a>");
    EXPECT_EQ(Utf8(read.result), "UTF-16BE BOM + length 8 endian swap ");
    EXPECT_EQ(read.flags, flagBe);
    EXPECT_EQ(Utf8(read.encoding), "UTF-16BE");
}

TEST(TextFileRead, MarkupWithoutMarkAndDeclarationIsUtf8) {
    const Read read = ReadOf("<a>\xE4\xB8\xAD</a>");
    EXPECT_TRUE(read.done);
    EXPECT_EQ(Utf8(read.text), "<a>\xE4\xB8\xAD</a>");
    EXPECT_EQ(Utf8(read.result), "UTF-8 length 10 to 8 wide chars ");
    EXPECT_EQ(read.flags, 0);
    EXPECT_EQ(Utf8(read.encoding), "UTF-8");
}

TEST(TextFileRead, DeclaredEncodingIsUsed) {
    const std::string declaration = "<?xml version=\"1.0\" encoding=\"gb2312\"?>";
    const Read read = ReadOf(declaration + "<a>\xD6\xD0\xCE\xC4</a>");
    EXPECT_TRUE(read.done);
    EXPECT_EQ(Utf8(read.text), declaration + "<a>\xE4\xB8\xAD\xE6\x96\x87</a>");
    EXPECT_EQ(Utf8(read.result), "gb2312 length 50 to 48 wide chars ");
    EXPECT_EQ(Utf8(read.encoding), "gb2312");
}

TEST(TextFileRead, AMarkOutweighsTheDeclaration) {
    const std::string text = "<?xml version=\"1.0\" encoding=\"gb2312\"?><a>\xE4\xB8\xAD</a>";
    EXPECT_EQ(Utf8(ReadOf(utf8Mark + text).text), text);
    EXPECT_EQ(Utf8(ReadOf(leMark + Le(text)).text), text);
    EXPECT_EQ(Utf8(ReadOf(beMark + Be(text)).text), text);
}

TEST(TextFileRead, ADeclarationIsLookedForInTheFirst1024Bytes) {
    const std::string gap(1024, ' ');
    EXPECT_EQ(Utf8(ReadOf("<?xml version=\"1.0\" " + gap + "encoding=\"gbk\"?><a/>").encoding), "UTF-8");
    EXPECT_EQ(Utf8(ReadOf("<?xml version=\"1.0\" " + gap.substr(60) + "encoding=\"gbk\"?><a/>").encoding), "gbk");
}

TEST(TextFileRead, TextWithoutMarkupIsTestedForUtf8) {
    const Read utf8 = ReadOf("caf\xC3\xA9");
    EXPECT_TRUE(utf8.done);
    EXPECT_EQ(Utf8(utf8.text), "caf\xC3\xA9");
    EXPECT_EQ(Utf8(utf8.result), "UTF-8 length 5 (used UTF-8 detection) to 4 wide chars ");
    EXPECT_EQ(Utf8(utf8.encoding), "UTF-8");
}

TEST(TextFileRead, TextThatIsNotUtf8IsReadInTheAnsiCodePage) {
    const Read ansi = ReadOf("caf\xE9!");
    EXPECT_TRUE(ansi.done);
    WCHAR expected[8];
    const int length = ::MultiByteToWideChar(CP_ACP, 0, "caf\xE9!", 5, expected, 8);
    EXPECT_EQ(ansi.text, CString(expected, length));
    CString status;
    status.Format(_T("ANSI length 5 (used UTF-8 detection) to %d wide chars "), length);
    EXPECT_EQ(ansi.result, status);
    EXPECT_EQ(ansi.encoding, _T(""));
}

TEST(TextFileRead, AnEmptyFileIsAnEmptyText) {
    const Read read = ReadOf("");
    EXPECT_TRUE(read.done);
    EXPECT_EQ(read.text, _T(""));
    EXPECT_EQ(Utf8(read.result), "ANSI 0 length ");
    EXPECT_EQ(read.flags, 0);
}

TEST(TextFileRead, AFileOfAMarkAloneIsAnEmptyText) {
    EXPECT_EQ(Utf8(ReadOf(utf8Mark).result), "UTF-8 BOM + 0 length ");
    EXPECT_EQ(Utf8(ReadOf(leMark).result), "UTF-16LE BOM + 0 length ");
    EXPECT_EQ(Utf8(ReadOf(beMark).result), "UTF-16BE BOM + 0 length ");
    EXPECT_TRUE(ReadOf(beMark).done);
}

TEST(TextFileRead, NulsAreRemovedAndCounted) {
    const Read bytes = ReadOf(std::string("<a\0/>\0", 6));
    EXPECT_EQ(Utf8(bytes.text), "<a/>");
    EXPECT_EQ(Utf8(bytes.result), "UTF-8 length 6 (2 nulls removed) to 4 wide chars ");
    const std::string nul(2, '\0');
    const Read le = ReadOf(leMark + Le("<a") + nul + Le("/>") + nul);
    EXPECT_EQ(Utf8(le.text), "<a/>");
    EXPECT_EQ(Utf8(le.result), "UTF-16LE BOM + length 6 (2 nulls removed) ");
    const Read be = ReadOf(beMark + Be("<a/>") + nul);
    EXPECT_EQ(Utf8(be.text), "<a/>");
    EXPECT_EQ(Utf8(be.result), "UTF-16BE BOM + length 5 (1 nulls removed) endian swap ");
    const Read plain = ReadOf(std::string("\0a", 2));
    EXPECT_EQ(Utf8(plain.text), "a");
    EXPECT_EQ(Utf8(plain.result), "UTF-8 length 2 (1 nulls removed) (used UTF-8 detection) to 1 wide chars ");
}

TEST(TextFileRead, AFileOfNulsAloneIsAnEmptyText) {
    const Read read = ReadOf(std::string(3, '\0'));
    EXPECT_TRUE(read.done);
    EXPECT_EQ(read.text, _T(""));
    EXPECT_EQ(Utf8(read.result), "UTF-8 length 3 (3 nulls removed) (used UTF-8 detection) to 0 wide chars ");
}

TEST(TextFileRead, Utf16WithoutMarkIsReadAsUtf8WithNulsRemoved) {
    const Read read = ReadOf(Le("<a/>"));
    EXPECT_EQ(Utf8(read.text), "<a/>");
    EXPECT_EQ(Utf8(read.result), "UTF-8 length 8 (4 nulls removed) to 4 wide chars ");
}

TEST(TextFileRead, AGivenEncodingIsForced) {
    const Read markup = ReadOf("<a>\xD6\xD0</a>", 0, "gbk");
    EXPECT_EQ(Utf8(markup.text), "<a>\xE4\xB8\xAD</a>");
    EXPECT_EQ(Utf8(markup.result), "UTF-8 forced gbk length 9 to 8 wide chars ");
    EXPECT_EQ(Utf8(markup.encoding), "gbk");
    const Read plain = ReadOf("\xD6\xD0", 0, "gbk");
    EXPECT_EQ(Utf8(plain.text), "\xE4\xB8\xAD");
    EXPECT_EQ(Utf8(plain.result), "forced gbk length 2 to 1 wide chars ");
}

TEST(TextFileRead, TheSameNameIsNotForced) {
    EXPECT_EQ(Utf8(ReadOf("<a/>", 0, "UTF-8").result), "UTF-8 length 4 to 4 wide chars ");
    EXPECT_EQ(Utf8(ReadOf("<a/>", 0, "utf-8").result), "UTF-8 forced utf-8 length 4 to 4 wide chars ");
}

TEST(TextFileRead, Utf16IsNeverForced) {
    const Read read = ReadOf(leMark + Le("<a/>"), 0, "gbk");
    EXPECT_EQ(Utf8(read.text), "<a/>");
    EXPECT_EQ(Utf8(read.result), "UTF-16LE BOM + length 4 ");
    EXPECT_EQ(Utf8(read.encoding), "UTF-16LE");
}

TEST(TextFileRead, AGivenEncodingIsForcedOverAUtf8MarkToo) {
    const Read read = ReadOf(utf8Mark + "<a>\xD6\xD0</a>", 0, "gbk");
    EXPECT_EQ(Utf8(read.text), "<a>\xE4\xB8\xAD</a>");
    EXPECT_EQ(Utf8(read.result), "UTF-8 BOM + forced gbk length 9 to 8 wide chars ");
    EXPECT_EQ(Utf8(read.encoding), "gbk");
    EXPECT_EQ(read.flags, flagUtf8Mark);
    EXPECT_EQ(Utf8(ReadOf(utf8Mark + "<a/>", 0, "UTF-8").result), "UTF-8 BOM + length 4 to 4 wide chars ");
}

TEST(TextFileRead, AnOddByteAtTheEndOfUtf16IsNoUnit) {
    const Read read = ReadOf(leMark + Le("<a/>") + "x");
    EXPECT_EQ(Utf8(read.text), "<a/>");
    EXPECT_EQ(Utf8(read.result), "UTF-16LE BOM + length 4 ");
    const Read one = ReadOf(beMark + "x");
    EXPECT_TRUE(one.done);
    EXPECT_EQ(one.text, _T(""));
    EXPECT_EQ(Utf8(one.result), "UTF-16BE BOM + length 0 endian swap ");
}

TEST(TextFileRead, BadUtf8BecomesReplacementCharacters) {
    const Read read = ReadOf("<a>\xE4\xB8</a>\xFF\xC0\x80");
    EXPECT_TRUE(read.done);
    const WCHAR r = 0xFFFD;
    EXPECT_EQ(read.text, CString(_T("<a>")) + r + _T("</a>") + r + r + r);
    EXPECT_EQ(Utf8(read.result), "UTF-8 length 12 to 11 wide chars ");
}

TEST(TextFileRead, AnUnknownDeclaredEncodingIsReadInTheAnsiCodePage) {
    const std::string text = "<?xml version=\"1.0\" encoding=\"klingon\"?><a/>";
    const Read read = ReadOf(text);
    EXPECT_TRUE(read.done);
    EXPECT_EQ(Utf8(read.text), text);
    EXPECT_EQ(Utf8(read.result), "klingon length 44 to 44 wide chars ");
}

TEST(TextFileRead, AnEncodingThatTheSystemCannotConvertIsAFailure) {
    const Read read = ReadOf("<?xml version=\"1.0\" encoding=\"UTF-16\"?><a/>", flagUtf8Mark);
    EXPECT_FALSE(read.done);
    EXPECT_EQ(read.flags, flagUtf8Mark);
    EXPECT_EQ(read.encoding, _T(""));
    EXPECT_EQ(read.text, _T(""));
    EXPECT_EQ(Utf8(read.result), "UTF-16 length 43 to 0 wide chars ");
}

// --- Reading: flags ---

TEST(TextFileRead, MarkFlagsAreThoseFoundAndOthersStay) {
    EXPECT_EQ(ReadOf("<a/>", flagLe | flagUtf8Mark | flagIgnoreCase).flags, flagIgnoreCase);
    EXPECT_EQ(ReadOf(leMark + Le("<a/>"), flagUtf8Mark | flagIgnoreCase).flags, flagLe | flagIgnoreCase);
    EXPECT_EQ(ReadOf(utf8Mark + "<a/>", flagLe).flags, flagUtf8Mark);
}

TEST(TextFileRead, ReadingNeverOpensForWriting) {
    const TestFolder folder;
    const CString path = folder.Path(_T("file.xml"));
    WriteBytes(path, "<a/>");
    for (const int flags : {0x20, 0x40, 0x60}) {
        const Read read = ReadFrom(path, flags);
        EXPECT_TRUE(read.done);
        EXPECT_EQ(read.flags, flags);
        EXPECT_EQ(ReadBytes(path), "<a/>");
        EXPECT_FALSE(ReadFrom(folder.Path(_T("none.xml")), flags).done);
        EXPECT_FALSE(kvttest::Exists(folder.Path(_T("none.xml"))));
    }
}

TEST(TextFileRead, AfterABigEndianFileAFileWithoutMarkIsTakenAsBigEndian) {
    const TestFolder folder;
    WriteBytes(folder.Path(_T("be.xml")), beMark + Be("<a/>"));
    WriteBytes(folder.Path(_T("plain.xml")), "<b/>x");
    CFXmlFile file;
    EXPECT_TRUE(file.Load(folder.Path(_T("be.xml"))));
    EXPECT_EQ(file.GetDocFlags(), flagBe);
    EXPECT_FALSE(file.Load(folder.Path(_T("plain.xml"))));
    EXPECT_EQ(file.GetDocFlags(), flagBe);
    const WCHAR units[] = {0x3C62, 0x2F3E, 0};
    EXPECT_EQ(file.GetDoc(), CString(units));
    EXPECT_EQ(Utf8(file.GetError()), "UTF-8 length 2 endian swap  No root element");
    file.InitDocFlags();
    EXPECT_TRUE(file.Load(folder.Path(_T("plain.xml"))));
    EXPECT_EQ(file.GetDoc(), _T("<b/>x"));
}

TEST(TextFileRead, AfterABigEndianFileAnotherMarkDecides) {
    const Read le = ReadOf(leMark + Le("<a/>"), flagBe);
    EXPECT_EQ(Utf8(le.text), "<a/>");
    EXPECT_EQ(Utf8(le.result), "UTF-16LE BOM + length 4 ");
    EXPECT_EQ(le.flags, flagBe | flagLe);
    const Read utf8 = ReadOf(utf8Mark + "<a/>", flagBe);
    EXPECT_EQ(Utf8(utf8.text), "<a/>");
    EXPECT_EQ(utf8.flags, flagBe | flagUtf8Mark);
}

TEST(TextFileRead, ArgumentsMayBeLeftOut) {
    const TestFolder folder;
    WriteBytes(folder.Path(_T("a")), "<a/>");
    CString text;
    EXPECT_TRUE(CFXmlFile::ReadTextFile(folder.Path(_T("a")), text));
    EXPECT_EQ(text, _T("<a/>"));
    EXPECT_TRUE(CFXmlFile::WriteTextFile(folder.Path(_T("a")), _T("<b/>")));
    EXPECT_EQ(ReadBytes(folder.Path(_T("a"))), "<b/>");
}

// --- Reading: what cannot be read ---

TEST(TextFileRead, AMissingFileGivesTheSystemsText) {
    const TestFolder folder;
    const Read read = ReadFrom(folder.Path(_T("none.xml")), flagLe | flagIgnoreCase, "gbk");
    EXPECT_FALSE(read.done);
    EXPECT_EQ(read.text, _T(""));
    EXPECT_EQ(read.result, SystemText(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(read.flags, flagLe | flagIgnoreCase);
    EXPECT_EQ(Utf8(read.encoding), "gbk");
    EXPECT_EQ(ReadFrom(folder.Path(_T("none\\file.xml"))).result, SystemText(ERROR_PATH_NOT_FOUND));
}

TEST(TextFileRead, AFolderGivesTheSystemsText) {
    const TestFolder folder;
    const Read read = ReadFrom(folder.Path());
    EXPECT_FALSE(read.done);
    EXPECT_EQ(read.result, SystemText(ERROR_ACCESS_DENIED));
}

TEST(TextFileRead, NoPathIsAFailure) {
    for (const LPCWSTR path : {static_cast<LPCWSTR>(nullptr), static_cast<LPCWSTR>(_T(""))}) {
        CString text = _T("poison");
        CString result;
        EXPECT_FALSE(CFXmlFile::ReadTextFile(path, text, &result));
        EXPECT_EQ(text, _T(""));
        EXPECT_FALSE(result.IsEmpty());
        EXPECT_FALSE(CFXmlFile::WriteTextFile(path, _T("<a/>"), &result));
        EXPECT_FALSE(result.IsEmpty());
    }
}

TEST(TextFileRead, AFileTooLargeForOffsetsIsRefused) {
    const TestFolder folder;
    const CString path = folder.Path(_T("large.xml"));
    const CString systemText = SystemText(ERROR_FILE_TOO_LARGE);
    for (const long long size : {0x80000000LL, 0x100000000LL, 0x100000004LL, 0x500000000LL}) {
        WriteBytes(path, "<a/>");
        const HANDLE file = ::CreateFileW(path, GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
        ASSERT_NE(file, INVALID_HANDLE_VALUE);
        LARGE_INTEGER end;
        end.QuadPart = size;
        ASSERT_TRUE(::SetFilePointerEx(file, end, nullptr, FILE_BEGIN));
        ASSERT_TRUE(::SetEndOfFile(file));
        ::CloseHandle(file);
        const Read read = ReadFrom(path);
        EXPECT_FALSE(read.done);
        EXPECT_EQ(read.text, _T(""));
        EXPECT_EQ(read.result, systemText.IsEmpty() ? CString(_T("Error 223")) : systemText);
    }
}

// --- Load ---

TEST(TextFileLoad, KeepsTheStatusOfAWellFormedDocument) {
    const TestFolder folder;
    WriteBytes(folder.Path(_T("a.xml")), utf8Mark + "<a/>");
    CFXmlFile file;
    EXPECT_TRUE(file.Load(folder.Path(_T("a.xml"))));
    EXPECT_EQ(Utf8(file.GetError()), "UTF-8 BOM + length 4 to 4 wide chars ");
    EXPECT_EQ(file.GetDocFlags(), flagUtf8Mark);
    EXPECT_TRUE(file.FindElem(_T("a")));
}

TEST(TextFileLoad, PutsTheStatusInFrontOfAParseError) {
    const TestFolder folder;
    WriteBytes(folder.Path(_T("a.xml")), "<a>");
    CFXmlFile file;
    EXPECT_FALSE(file.Load(folder.Path(_T("a.xml"))));
    EXPECT_EQ(Utf8(file.GetError()), "UTF-8 length 3 to 3 wide chars  Element 'a' at offset 0 not ended");
}

TEST(TextFileLoad, OfAMissingFileLeavesAnEmptyUsableObject) {
    const TestFolder folder;
    CFXmlFile file(_T("<old/>"));
    file.SetDocFlags(flagUtf8Mark | flagIgnoreCase);
    EXPECT_FALSE(file.Load(folder.Path(_T("none.xml"))));
    EXPECT_EQ(file.GetError(), SystemText(ERROR_FILE_NOT_FOUND) + _T(" Empty document"));
    EXPECT_EQ(file.GetDoc(), _T(""));
    EXPECT_EQ(file.GetDocFlags(), flagUtf8Mark | flagIgnoreCase);
    EXPECT_TRUE(file.AddElem(_T("new")));
    EXPECT_TRUE(file.Save(folder.Path(_T("new.xml"))));
    EXPECT_TRUE(file.Load(folder.Path(_T("new.xml"))));
    EXPECT_TRUE(file.FindElem(_T("new")));
}

TEST(TextFileLoad, OfRandomBytesLeavesAUsableObject) {
    const TestFolder folder;
    const CString path = folder.Path(_T("random.xml"));
    std::mt19937 random(7);
    CFXmlFile file;
    for (int round = 0; round < 300; ++round) {
        std::string bytes = round % 3 == 0 ? leMark : round % 3 == 1 ? "<" : "";
        for (size_t count = random() % 300; count > 0; --count) {
            bytes += static_cast<char>(random());
        }
        WriteBytes(path, bytes);
        file.InitDocFlags();
        file.Load(path);
        EXPECT_FALSE(file.GetError().IsEmpty());
        ASSERT_TRUE(file.SetDoc(_T("<ok/>")));
    }
}

}  // namespace
