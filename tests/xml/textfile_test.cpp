// Loading and saving text files: every status text, every mark, encodings from and to each other byte for byte, files
// cut anywhere, files that cannot be read or written.

#include <random>
#include <string>
#include <vector>

#include "kvtfile/XmlFile.h"
#include "tests/support/support.h"

namespace {

using kvtfile::CFXmlFile;
using kvttest::ReadBytes;
using kvttest::SystemText;
using kvttest::TestFolder;
using kvttest::Utf8;
using kvttest::Wide;
using kvttest::WriteBytes;

constexpr int g_le = 0x1;
constexpr int g_mark = 0x4;
constexpr int g_ignoreCase = 0x8;
constexpr int g_append = 0x40;
constexpr int g_be = 0x80;

/// What one call of ReadTextFile gave, from poisoned arguments.
struct Read {
    bool done = false;
    CString text = _T("poison");
    CString result = _T("poison");
    int flags = 0;
    CString encoding;
};

Read ReadFrom(const CString& path, int flags = 0, const char* encoding = "") {
    Read read;
    read.flags = flags;
    read.encoding = encoding;
    read.done = CFXmlFile::ReadTextFile(path, read.text, &read.result, &read.flags, &read.encoding);
    return read;
}

Read ReadOf(const std::string& bytes, int flags = 0, const char* encoding = "") {
    const TestFolder folder;
    WriteBytes(folder.Path(_T("file.xml")), bytes);
    return ReadFrom(folder.Path(_T("file.xml")), flags, encoding);
}

struct Written {
    bool done = false;
    std::string result;
    std::string bytes;
    CString encoding;
};

Written WriteOver(const std::string& old, const CString& text, int flags = 0, const char* encoding = "") {
    const TestFolder folder;
    const CString path = folder.Path(_T("file.xml"));
    if (!old.empty()) {
        WriteBytes(path, old);
    }
    Written written;
    written.encoding = encoding;
    CString result = _T("poison");
    written.done = CFXmlFile::WriteTextFile(path, text, &result, &flags, &written.encoding);
    written.result = Utf8(result);
    written.bytes = ReadBytes(path);
    EXPECT_EQ(folder.Names(), std::vector<std::string>{"file.xml"});
    return written;
}

Written Write(const CString& text, int flags = 0, const char* encoding = "") {
    return WriteOver("", text, flags, encoding);
}

std::string Le(const std::string& utf8) {
    const CString text = Wide(utf8);
    std::string bytes;
    for (int i = 0; i < text.GetLength(); ++i) {
        bytes += static_cast<char>(text[i] & 0xFF);
        bytes += static_cast<char>(text[i] >> 8);
    }
    return bytes;
}

std::string Be(const std::string& utf8) {
    std::string bytes = Le(utf8);
    for (size_t i = 0; i < bytes.size(); i += 2) {
        std::swap(bytes[i], bytes[i + 1]);
    }
    return bytes;
}

const std::string g_utf8Mark = "\xEF\xBB\xBF";
const std::string g_leMark = "\xFF\xFE";
const std::string g_beMark = "\xFE\xFF";

// --- Reading: status texts ---

TEST(TextFileRead, Utf8MarkIsRemovedAndReported) {
    const Read read = ReadOf(g_utf8Mark + "<a>\xE4\xB8\xAD</a>");
    EXPECT_TRUE(read.done);
    EXPECT_EQ(Utf8(read.text), "<a>\xE4\xB8\xAD</a>");
    EXPECT_EQ(Utf8(read.result), "UTF-8 BOM + length 10 to 8 wide chars ");
    EXPECT_EQ(read.flags, g_mark);
    EXPECT_EQ(Utf8(read.encoding), "UTF-8");
}

TEST(TextFileRead, LittleEndianMarkMakesUnitsOfTwoBytes) {
    const Read read = ReadOf(g_leMark + Le("<a>\xE4\xB8\xAD</a>"));
    EXPECT_TRUE(read.done);
    EXPECT_EQ(Utf8(read.text), "<a>\xE4\xB8\xAD</a>");
    EXPECT_EQ(Utf8(read.result), "UTF-16LE BOM + length 8 ");
    EXPECT_EQ(read.flags, g_le);
    EXPECT_EQ(Utf8(read.encoding), "UTF-16LE");
}

TEST(TextFileRead, BigEndianMarkSwaps) {
    const Read read = ReadOf(g_beMark + Be("<a>\xE4\xB8\xAD</a>"));
    EXPECT_TRUE(read.done);
    EXPECT_EQ(Utf8(read.text), "<a>\xE4\xB8\xAD</a>");
    EXPECT_EQ(Utf8(read.result), "UTF-16BE BOM + length 8 endian swap ");
    EXPECT_EQ(read.flags, g_be);
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
    EXPECT_EQ(Utf8(ReadOf(g_utf8Mark + text).text), text);
    EXPECT_EQ(Utf8(ReadOf(g_leMark + Le(text)).text), text);
    EXPECT_EQ(Utf8(ReadOf(g_beMark + Be(text)).text), text);
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
    EXPECT_EQ(Utf8(ReadOf(g_utf8Mark).result), "UTF-8 BOM + 0 length ");
    EXPECT_EQ(Utf8(ReadOf(g_leMark).result), "UTF-16LE BOM + 0 length ");
    EXPECT_EQ(Utf8(ReadOf(g_beMark).result), "UTF-16BE BOM + 0 length ");
    EXPECT_TRUE(ReadOf(g_beMark).done);
}

TEST(TextFileRead, NulsAreRemovedAndCounted) {
    const Read bytes = ReadOf(std::string("<a\0/>\0", 6));
    EXPECT_EQ(Utf8(bytes.text), "<a/>");
    EXPECT_EQ(Utf8(bytes.result), "UTF-8 length 6 (2 nulls removed) to 4 wide chars ");
    const std::string nul(2, '\0');
    const Read le = ReadOf(g_leMark + Le("<a") + nul + Le("/>") + nul);
    EXPECT_EQ(Utf8(le.text), "<a/>");
    EXPECT_EQ(Utf8(le.result), "UTF-16LE BOM + length 6 (2 nulls removed) ");
    const Read be = ReadOf(g_beMark + Be("<a/>") + nul);
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
    const Read read = ReadOf(g_leMark + Le("<a/>"), 0, "gbk");
    EXPECT_EQ(Utf8(read.text), "<a/>");
    EXPECT_EQ(Utf8(read.result), "UTF-16LE BOM + length 4 ");
    EXPECT_EQ(Utf8(read.encoding), "UTF-16LE");
}

TEST(TextFileRead, AnOddByteAtTheEndOfUtf16IsNoUnit) {
    const Read read = ReadOf(g_leMark + Le("<a/>") + "x");
    EXPECT_EQ(Utf8(read.text), "<a/>");
    EXPECT_EQ(Utf8(read.result), "UTF-16LE BOM + length 4 ");
    const Read one = ReadOf(g_beMark + "x");
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
    const Read read = ReadOf("<?xml version=\"1.0\" encoding=\"UTF-16\"?><a/>");
    EXPECT_FALSE(read.done);
    EXPECT_EQ(read.text, _T(""));
    EXPECT_EQ(Utf8(read.result), "UTF-16 length 43 to 0 wide chars ");
}

// --- Reading: flags ---

TEST(TextFileRead, MarkFlagsAreThoseFoundAndOthersStay) {
    EXPECT_EQ(ReadOf("<a/>", g_le | g_mark | g_ignoreCase).flags, g_ignoreCase);
    EXPECT_EQ(ReadOf(g_leMark + Le("<a/>"), g_mark | g_ignoreCase).flags, g_le | g_ignoreCase);
    EXPECT_EQ(ReadOf(g_utf8Mark + "<a/>", g_le).flags, g_mark);
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
    WriteBytes(folder.Path(_T("be.xml")), g_beMark + Be("<a/>"));
    WriteBytes(folder.Path(_T("plain.xml")), "<b/>x");
    CFXmlFile file;
    EXPECT_TRUE(file.Load(folder.Path(_T("be.xml"))));
    EXPECT_EQ(file.GetDocFlags(), g_be);
    EXPECT_FALSE(file.Load(folder.Path(_T("plain.xml"))));
    EXPECT_EQ(file.GetDocFlags(), g_be);
    const WCHAR units[] = {0x3C62, 0x2F3E, 0};
    EXPECT_EQ(file.GetDoc(), CString(units));
    EXPECT_EQ(Utf8(file.GetError()), "UTF-8 length 2 endian swap  No root element");
    file.InitDocFlags();
    EXPECT_FALSE(file.Load(folder.Path(_T("plain.xml"))) && file.GetDoc() != _T("<b/>x"));
    EXPECT_EQ(file.GetDoc(), _T("<b/>x"));
}

TEST(TextFileRead, AfterABigEndianFileAnotherMarkDecides) {
    const Read le = ReadOf(g_leMark + Le("<a/>"), g_be);
    EXPECT_EQ(Utf8(le.text), "<a/>");
    EXPECT_EQ(Utf8(le.result), "UTF-16LE BOM + length 4 ");
    EXPECT_EQ(le.flags, g_be | g_le);
    const Read utf8 = ReadOf(g_utf8Mark + "<a/>", g_be);
    EXPECT_EQ(Utf8(utf8.text), "<a/>");
    EXPECT_EQ(utf8.flags, g_be | g_mark);
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
    const Read read = ReadFrom(folder.Path(_T("none.xml")), g_le | g_ignoreCase, "gbk");
    EXPECT_FALSE(read.done);
    EXPECT_EQ(read.text, _T(""));
    EXPECT_EQ(read.result, SystemText(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(read.flags, g_le | g_ignoreCase);
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
        EXPECT_EQ(read.result, SystemText(ERROR_FILE_TOO_LARGE));
        EXPECT_FALSE(read.result.IsEmpty());
    }
}

// --- Load ---

TEST(TextFileLoad, KeepsTheStatusOfAWellFormedDocument) {
    const TestFolder folder;
    WriteBytes(folder.Path(_T("a.xml")), g_utf8Mark + "<a/>");
    CFXmlFile file;
    EXPECT_TRUE(file.Load(folder.Path(_T("a.xml"))));
    EXPECT_EQ(Utf8(file.GetError()), "UTF-8 BOM + length 4 to 4 wide chars ");
    EXPECT_EQ(file.GetDocFlags(), g_mark);
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
    file.SetDocFlags(g_mark | g_ignoreCase);
    EXPECT_FALSE(file.Load(folder.Path(_T("none.xml"))));
    EXPECT_EQ(file.GetError(), SystemText(ERROR_FILE_NOT_FOUND) + _T(" Empty document"));
    EXPECT_EQ(file.GetDoc(), _T(""));
    EXPECT_EQ(file.GetDocFlags(), g_mark | g_ignoreCase);
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
        std::string bytes = round % 3 == 0 ? g_leMark : round % 3 == 1 ? "<" : "";
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

// --- Writing: status texts ---

TEST(TextFileWrite, MarkupIsWrittenAsUtf8) {
    const Written written = Write(Wide("<a>\xE4\xB8\xAD</a>"));
    EXPECT_TRUE(written.done);
    EXPECT_EQ(written.bytes, "<a>\xE4\xB8\xAD</a>");
    EXPECT_EQ(written.result, "from wide length 8 length 10 ");
    EXPECT_EQ(Utf8(written.encoding), "UTF-8");
}

TEST(TextFileWrite, FlagsAskForMarks) {
    const Written utf8 = Write(Wide("<a>\xE4\xB8\xAD</a>"), g_mark);
    EXPECT_EQ(utf8.bytes, g_utf8Mark + "<a>\xE4\xB8\xAD</a>");
    EXPECT_EQ(utf8.result, "from wide length 8 length 10 ");
    const Written le = Write(Wide("<a>\xE4\xB8\xAD</a>"), g_le);
    EXPECT_EQ(le.bytes, g_leMark + Le("<a>\xE4\xB8\xAD</a>"));
    EXPECT_EQ(le.result, "UTF-16LE from wide length 8 length 8 ");
    EXPECT_EQ(Utf8(le.encoding), "UTF-16LE");
    const Written be = Write(Wide("<a>\xE4\xB8\xAD</a>"), g_be);
    EXPECT_EQ(be.bytes, g_beMark + Be("<a>\xE4\xB8\xAD</a>"));
    EXPECT_EQ(be.result, "UTF-16BE from wide length 8 endian swap length 8 ");
    EXPECT_EQ(Utf8(be.encoding), "UTF-16BE");
}

TEST(TextFileWrite, OfSeveralMarksTheFirstDecidesOnAll) {
    EXPECT_EQ(Write(_T("<a/>"), g_be | g_le).bytes, g_leMark + Le("<a/>"));
    EXPECT_EQ(Write(_T("<a/>"), g_be | g_mark).bytes, g_utf8Mark + "<a/>");
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
    EXPECT_EQ(Write(Wide(text), g_mark).bytes, g_utf8Mark + text);
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
    const Written le = Write(text, g_le);
    EXPECT_EQ(le.bytes, g_leMark + Le("<a/>") + "\x3D\xD8");
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
    EXPECT_EQ(Write(_T(""), g_mark).bytes, g_utf8Mark);
    const Written le = Write(_T(""), g_le);
    EXPECT_EQ(le.bytes, g_leMark);
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
    EXPECT_EQ(Write(_T("<a/>"), 0x10 | 0x20 | g_ignoreCase).bytes, "<a/>");
}

TEST(TextFileWrite, FlagsAreLeftAlone) {
    const TestFolder folder;
    int flags = g_append | g_le | g_ignoreCase;
    EXPECT_TRUE(CFXmlFile::WriteTextFile(folder.Path(_T("a")), _T("<a/>"), nullptr, &flags));
    EXPECT_EQ(flags, g_append | g_le | g_ignoreCase);
}

// --- Writing: appending ---

TEST(TextFileAppend, KeepsTheOldBytesAndWritesNoMarkAfterThem) {
    EXPECT_EQ(WriteOver("old", _T("<a/>"), g_append).bytes, "old<a/>");
    EXPECT_EQ(WriteOver("old", _T("<a/>"), g_append | g_mark).bytes, "old<a/>");
    const std::string old = g_leMark + Le("<a/>");
    const Written le = WriteOver(old, _T("<b/>"), g_append | g_le);
    EXPECT_EQ(le.bytes, old + Le("<b/>"));
    EXPECT_EQ(le.result, "UTF-16LE from wide length 4 length 4 ");
    EXPECT_EQ(WriteOver("old", _T(""), g_append).bytes, "old");
}

TEST(TextFileAppend, WritesTheMarkOfAnEmptyOrMissingFile) {
    EXPECT_EQ(Write(_T("<a/>"), g_append | g_mark).bytes, g_utf8Mark + "<a/>");
    const TestFolder folder;
    const CString path = folder.Path(_T("empty.xml"));
    WriteBytes(path, "");
    int flags = g_append | g_be;
    EXPECT_TRUE(CFXmlFile::WriteTextFile(path, _T("<a/>"), nullptr, &flags));
    EXPECT_EQ(ReadBytes(path), g_beMark + Be("<a/>"));
    EXPECT_TRUE(CFXmlFile::WriteTextFile(path, _T("<b/>"), nullptr, &flags));
    EXPECT_EQ(ReadBytes(path), g_beMark + Be("<a/><b/>"));
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
    file.SetDocFlags(g_append);
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
    file.SetDocFlags(g_le);
    EXPECT_TRUE(file.Save(path));
}

// --- Both ---

/// One document in one form: the same content, with the declaration of the form.
struct Form {
    const char* declared;
    int flags;
    std::string (*encode)(const std::string& utf8);
    bool chinese;
};

std::string Same(const std::string& utf8) {
    return utf8;
}
std::string MarkedUtf8(const std::string& utf8) {
    return g_utf8Mark + utf8;
}
std::string MarkedLe(const std::string& utf8) {
    return g_leMark + Le(utf8);
}
std::string MarkedBe(const std::string& utf8) {
    return g_beMark + Be(utf8);
}
std::string Replaced(std::string text, const std::string& from, const std::string& to) {
    for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
    return text;
}
std::string Gbk(const std::string& utf8) {
    return Replaced(Replaced(utf8, "\xC3\xA9", "\xA8\xA6"), "\xE4\xB8\xAD", "\xD6\xD0");
}
std::string Latin(const std::string& utf8) {
    return Replaced(utf8, "\xC3\xA9", "\xE9");
}

const Form g_forms[] = {
    {nullptr, 0, Same, true},          {nullptr, g_mark, MarkedUtf8, true},
    {nullptr, g_le, MarkedLe, true},   {nullptr, g_be, MarkedBe, true},
    {"utf-8", 0, Same, true},          {"UTF-8", g_mark, MarkedUtf8, true},
    {"utf-16", g_le, MarkedLe, true},  {"utf-16", g_be, MarkedBe, true},
    {"gb2312", 0, Gbk, true},          {"GBK", 0, Gbk, true},
    {"windows-1252", 0, Latin, false}, {"iso-8859-1", 0, Latin, false},
};

std::string DocumentIn(const Form& form, const std::string& content) {
    const std::string declaration =
        form.declared ? std::string("<?xml version=\"1.0\" encoding=\"") + form.declared + "\"?>\r\n" : "";
    return declaration + "<r a='\xC3\xA9'>" + content + "</r>\r\n";
}

TEST(TextFile, EveryFormIsLoadedAndSavedByteForByte) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.xml"));
    for (const Form& form : g_forms) {
        for (const int repeat : {1, 3000}) {
            std::string content;
            for (int i = 0; i < repeat; ++i) {
                content += form.chinese ? "ab\xE4\xB8\xAD\xC3\xA9\n" : "ab\xC3\xA9\n";
            }
            const std::string bytes = form.encode(DocumentIn(form, content));
            WriteBytes(path, bytes);
            CFXmlFile file;
            ASSERT_TRUE(file.Load(path)) << Utf8(file.GetError());
            EXPECT_EQ(Utf8(file.GetDoc()), DocumentIn(form, content));
            ASSERT_TRUE(file.Save(path)) << Utf8(file.GetError());
            EXPECT_TRUE(ReadBytes(path) == bytes) << Utf8(file.GetError());
        }
    }
}

TEST(TextFile, EveryFormIsSavedAsEveryOther) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.xml"));
    for (const Form& source : g_forms) {
        for (const Form& target : g_forms) {
            const std::string content = source.chinese && target.chinese ? "\xC3\xA9\xE4\xB8\xAD" : "\xC3\xA9";
            WriteBytes(path, source.encode(DocumentIn(source, content)));
            CFXmlFile file;
            ASSERT_TRUE(file.Load(path)) << Utf8(file.GetError());
            const std::string declared =
                Replaced(Utf8(file.GetDoc()), DocumentIn(source, content), DocumentIn(target, content));
            ASSERT_TRUE(file.SetDoc(Wide(declared)));
            file.SetDocFlags(target.flags);
            ASSERT_TRUE(file.Save(path)) << Utf8(file.GetError());
            EXPECT_EQ(ReadBytes(path), target.encode(DocumentIn(target, content)));
        }
    }
}

TEST(TextFile, FilesCutAtEveryByteAreReadAsFarAsTheyGo) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.xml"));
    for (const Form& form : g_forms) {
        const std::string document = DocumentIn(form, form.chinese ? "\xE4\xB8\xAD\xC3\xA9" : "\xC3\xA9");
        const std::string whole = form.encode(document);
        const CString text = Wide(document);
        for (size_t length = 0; length <= whole.size(); ++length) {
            WriteBytes(path, whole.substr(0, length));
            const Read read = ReadFrom(path);
            ASSERT_TRUE(read.done) << length;
            // Everything that was whole comes out; what was cut is one character more at most, or a mark in parts.
            const int common = std::min(read.text.GetLength(), text.GetLength());
            const bool markCut = form.flags != 0 && length < 3;
            const bool declarationCut = form.declared && read.encoding != CString(form.declared) && form.flags == 0;
            if (!markCut && !declarationCut) {
                ASSERT_EQ(read.text.Left(common - 1), text.Left(common - 1)) << length;
            }
        }
        EXPECT_EQ(ReadFrom(path).text, text);
    }
}

TEST(TextFile, LongTextsInOneCodePageComeBack) {
    const std::string declaration = "<?xml version=\"1.0\" encoding=\"gbk\"?>";
    std::string utf8 = declaration;
    for (int code = 0x4E00; code < 0x9FA5; ++code) {
        char bytes[4];
        int length = 0;
        CFXmlFile::EncodeCharUTF8(code, bytes, length);
        utf8.append(bytes, static_cast<size_t>(length));
    }
    const CString text = Wide(utf8);
    const Written written = Write(text);
    EXPECT_TRUE(written.done);
    EXPECT_EQ(written.result.find("lost"), std::string::npos);
    EXPECT_EQ(written.bytes.size(), declaration.size() + 2 * (0x9FA5 - 0x4E00));
    EXPECT_TRUE(ReadOf(written.bytes).text == text);
}

}  // namespace
