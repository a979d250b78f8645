// kvtfile xml convert.

#include "tests/tools/command_fixture.h"

namespace kvttest {
namespace {

using XmlConvertCommand = CommandTest;

TEST_F(XmlConvertCommand, RewritesTextAndDeclaration) {
    Write(_T("a.xml"), "<?xml version='1.0' encoding='GB2312' standalone='yes'?>\n<a>\xD6\xD0</a>\n");
    Expect({"xml", "convert", "a.xml", "--to", "UTF-8"}, 0, "a.xml: converted from GB2312 to UTF-8\n");
    EXPECT_EQ(Read(_T("a.xml")), "<?xml version='1.0' encoding=\"UTF-8\" standalone='yes'?>\n<a>中</a>\n");
}

TEST_F(XmlConvertCommand, WritesAnotherFileAndLeavesTheFirstAlone) {
    Write(_T("a.xml"), "<a>中</a>");
    Expect({"xml", "convert", "a.xml", "--to", "gbk", "--output", "b.xml"}, 0, "b.xml: converted from UTF-8 to gbk\n");
    EXPECT_EQ(Read(_T("a.xml")), "<a>中</a>");
    EXPECT_EQ(Read(_T("b.xml")), "<?xml version=\"1.0\" encoding=\"gbk\"?>\r\n<a>\xD6\xD0</a>");
}

TEST_F(XmlConvertCommand, PutsTheEncodingBetweenVersionAndStandalone) {
    Write(_T("a.xml"), "<?xml version='1.0' standalone='yes'?><a/>");
    Expect({"xml", "convert", "a.xml", "--to", "iso-8859-1"}, 0, "a.xml: converted from UTF-8 to iso-8859-1\n");
    EXPECT_EQ(Read(_T("a.xml")), "<?xml version='1.0' encoding=\"iso-8859-1\" standalone='yes'?><a/>");
    Write(_T("b.xml"), "<?xml version='1.0'?><a/>");
    Expect({"xml", "convert", "b.xml", "--to", "iso-8859-1"}, 0, "b.xml: converted from UTF-8 to iso-8859-1\n");
    EXPECT_EQ(Read(_T("b.xml")), "<?xml version='1.0' encoding=\"iso-8859-1\"?><a/>");
}

TEST_F(XmlConvertCommand, WritesUtf16WithItsMark) {
    Write(_T("a.xml"), "<a/>");
    Expect({"xml", "convert", "a.xml", "--to", "UTF-16", "--output", "le.xml"}, 0,
           "le.xml: converted from UTF-8 to UTF-16\n");
    EXPECT_EQ(Hex(Read(_T("le.xml"))), "FF FE 3C 00 61 00 2F 00 3E 00");
    Expect({"xml", "convert", "a.xml", "--to", "UTF-16BE", "--output", "be.xml"}, 0,
           "be.xml: converted from UTF-8 to UTF-16BE\n");
    EXPECT_EQ(Hex(Read(_T("be.xml"))), "FE FF 00 3C 00 61 00 2F 00 3E");
    Expect({"xml", "convert", "be.xml", "--to", "UTF-8", "--bom"}, 0, "be.xml: converted from UTF-16BE to UTF-8\n");
    EXPECT_EQ(Read(_T("be.xml")), "\xEF\xBB\xBF<a/>");
}

TEST_F(XmlConvertCommand, RemovesAMarkThatIsNotAskedFor) {
    Write(_T("a.xml"), "\xEF\xBB\xBF<a/>");
    Expect({"xml", "convert", "a.xml", "--to", "UTF-8"}, 0, "a.xml: converted from UTF-8 to UTF-8\n");
    EXPECT_EQ(Read(_T("a.xml")), "<a/>");
}

TEST_F(XmlConvertCommand, RefusesToLoseCharactersUnlessForced) {
    const std::string bytes = "<a>中\n&lt;é</a>";
    Write(_T("a.xml"), bytes);
    Expect({"xml", "convert", "a.xml", "--to", "iso-8859-1"}, 1, "",
           "kvtfile: a.xml: line 2, column 4 (offset 48): the encoding iso-8859-1 cannot hold U+4E2D '中'; nothing "
           "was written\n  Use an encoding that holds it, UTF-8 for example.\n");
    EXPECT_EQ(Read(_T("a.xml")), bytes);
    Expect({"xml", "convert", "a.xml", "--to", "iso-8859-1", "--force"}, 0,
           "a.xml: converted from UTF-8 to iso-8859-1\n",
           "kvtfile: 1 character could not be written and was replaced\n");
    EXPECT_EQ(Read(_T("a.xml")), "<?xml version=\"1.0\" encoding=\"iso-8859-1\"?>\r\n<a>?\n&lt;\xE9</a>");
}

TEST_F(XmlConvertCommand, ReadsAFileInTheEncodingThatItIsSaidToHave) {
    Write(_T("a.xml"), "<a>\xD6\xD0</a>");
    Expect({"xml", "convert", "a.xml", "--to", "UTF-16"}, 1, "",
           "kvtfile: a.xml: byte 3 does not come back from UTF-8 text, so that saving would change more than the "
           "edit; nothing was written\n"
           "  Convert the file from its true encoding: kvtfile xml convert --from ENCODING --to UTF-8.\n");
    Expect({"xml", "convert", "a.xml", "--from", "GBK", "--to", "UTF-8"}, 0, "a.xml: converted from GBK to UTF-8\n");
    EXPECT_EQ(Read(_T("a.xml")), "<a>中</a>");
}

TEST_F(XmlConvertCommand, UnknownEncodingsAndMarksThatDoNotExistAreWrongUsage) {
    Write(_T("a.xml"), "<a/>");
    Expect({"xml", "convert", "a.xml", "--to", "klingon"}, 2, "",
           "kvtfile: 'klingon' is not the name of an encoding\n  Use a name such as UTF-8 or GB2312.\n");
    Expect({"xml", "convert", "a.xml", "--to", "gbk", "--bom"}, 2, "",
           "kvtfile: gbk has no byte-order mark\n  Leave out --bom, or convert to UTF-8 or UTF-16.\n");
    Expect({"xml", "convert", "a.xml", "--to", "UTF-32"}, 1, "",
           "kvtfile: this system cannot convert to or from UTF-32\n  Use UTF-8 or UTF-16.\n");
    EXPECT_EQ(Read(_T("a.xml")), "<a/>");
}

TEST_F(XmlConvertCommand, AFailedConversionLeavesTheOutputWhole) {
    Write(_T("a.xml"), "<a>");
    Write(_T("b.xml"), "old");
    Expect({"xml", "convert", "a.xml", "--to", "UTF-16", "--output", "b.xml"}, 3, "",
           "kvtfile: a.xml: line 1, column 1 (offset 0): Element 'a' at offset 0 not ended\n"
           "  Correct the document there; 'kvtfile xml tree' shows how it was read.\n");
    EXPECT_EQ(Read(_T("b.xml")), "old");
}

}  // namespace
}  // namespace kvttest
