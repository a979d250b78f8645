// Reading attributes, data, markup, and references.

#include <gtest/gtest.h>

#include "tests/xml/xml_probe.h"

using kvtfile::CFXmlFile;
using kvttest::Parsed;
using kvttest::Utf8;
using kvttest::Wide;
using kvttest::XmlProbe;

namespace {

std::string Attrib(const char* text, const char* name, int flags = 0) {
    XmlProbe xml = Parsed(text, flags);
    xml.FindElem();
    return Utf8(xml.GetAttrib(Wide(name)));
}

std::string Data(const char* text) {
    XmlProbe xml = Parsed(text);
    xml.FindElem();
    return Utf8(xml.GetData());
}

std::string Unescape(const char* text) {
    return Utf8(CFXmlFile::UnescapeText(Wide(text)));
}

std::string Escape(const char* text, int flags = 0) {
    return Utf8(CFXmlFile::EscapeText(Wide(text), flags));
}

}  // namespace

TEST(XmlRead, AttributeValues) {
    EXPECT_EQ("1&2", Attrib("<a x='1&amp;2'/>", "x"));
    EXPECT_EQ("", Attrib("<a x='1'/>", "y"));
    EXPECT_EQ("2", Attrib("<a x='1' y=\"2\"/>", "y"));
    EXPECT_EQ("it's \"", Attrib("<a x=\"it's &quot;\"/>", "x"));
    EXPECT_EQ("a>b/", Attrib("<a x='a>b/'/>", "x"));
    EXPECT_EQ("1", Attrib("<a x = '1' y='2'/>", "x"));
    EXPECT_EQ("2", Attrib("<a\r\n\tx=1\ty=2\r\n></a>", "y"));
    EXPECT_EQ("1/", Attrib("<a x=1/>", "x")) << "an unquoted value ends at a blank or >";
    EXPECT_EQ("", Attrib("<a x=''/>", "x"));
    EXPECT_EQ("first", Attrib("<a x='first' x='second'/>", "x"));
    EXPECT_EQ("", Attrib("<a a='1'/>", "b"));
    EXPECT_EQ("1", Attrib("<a a='1'/>", "a")) << "the tag's name is no attribute";
    EXPECT_EQ("", Attrib("<a y='x=1'/>", "x")) << "what is in a value is no attribute";
    EXPECT_EQ("", Attrib("<a / x='1'/>", "x")) << "a lone / ends the attributes";
    EXPECT_EQ("", Attrib("<a x y='1'/>", "x")) << "an attribute without value";
    EXPECT_EQ("1", Attrib("<a x y='1'/>", "y"));
    EXPECT_EQ("", Attrib("<a 'x' y='1'/>", "x"));
    EXPECT_EQ("1", Attrib("<a 'x' y='1'/>", "y"));
    EXPECT_EQ("", Attrib("<a x='1'/>", ""));
    EXPECT_EQ("1", Attrib("<a x='1'/>", "x y")) << "what follows a delimiter in the searched name is ignored";
    EXPECT_EQ("", Attrib("<a X='1'/>", "x"));
    EXPECT_EQ("1", Attrib("<a X='1'/>", "x", 8));
    EXPECT_EQ("1", Attrib("<a=b x='1'/>", "x"));
    EXPECT_EQ("\xE5\xB1\x82", Attrib("<a \xE5\x90\x8D='\xE5\xB1\x82'/>", "\xE5\x90\x8D"));
}

TEST(XmlRead, AttributesEndWithTheirTag) {
    // An unquoted value may hold a quote, which the tag's own end takes for the first of a pair.
    const char* const text = "<a k=x\"y \"z> \" l=\"v\" </a>";
    EXPECT_EQ("x\"y", Attrib(text, "k"));
    EXPECT_EQ("", Attrib(text, "l"));
    XmlProbe xml = Parsed(text);
    xml.FindElem();
    EXPECT_EQ("", Utf8(xml.GetAttribName(1)));
    XmlProbe instruction = Parsed("<?x k=\"1?> l=\"2\" ?><r/>");
    instruction.FindNode();
    EXPECT_EQ("", Utf8(instruction.GetAttribName(1)));
}

TEST(XmlRead, AttributesOfChildAndOfProcessingInstructions) {
    XmlProbe xml = Parsed("<?xml version='1.0' encoding=\"UTF-8\"?><r><a x='1'/></r>");
    EXPECT_EQ("", Utf8(xml.GetAttrib(_T("version")))) << "no current item";
    EXPECT_EQ(16, xml.FindNode());
    EXPECT_EQ("1.0", Utf8(xml.GetAttrib(_T("version"))));
    EXPECT_EQ("UTF-8", Utf8(xml.GetAttrib(_T("encoding"))));
    EXPECT_EQ("version", Utf8(xml.GetAttribName(0)));
    EXPECT_EQ("encoding", Utf8(xml.GetAttribName(1)));
    EXPECT_EQ("", Utf8(xml.GetAttribName(2)));
    EXPECT_EQ("", Utf8(xml.GetChildAttrib(_T("version"))));
    xml.FindChildElem();
    EXPECT_EQ("1", Utf8(xml.GetChildAttrib(_T("x"))));
    EXPECT_EQ("", Utf8(xml.GetAttrib(_T("x"))));
    XmlProbe comment = Parsed("<!-- x='1' --><r x='2'/>");
    comment.FindNode();
    EXPECT_EQ("", Utf8(comment.GetAttrib(_T("x"))));
}

TEST(XmlRead, AttributeNamesByIndex) {
    XmlProbe xml = Parsed("<r a='1' b c=3 d = \"4\"/>");
    EXPECT_EQ("", Utf8(xml.GetAttribName(0)));
    xml.FindElem();
    EXPECT_EQ("a", Utf8(xml.GetAttribName(0)));
    EXPECT_EQ("b", Utf8(xml.GetAttribName(1)));
    EXPECT_EQ("c", Utf8(xml.GetAttribName(2)));
    EXPECT_EQ("d", Utf8(xml.GetAttribName(3)));
    EXPECT_EQ("", Utf8(xml.GetAttribName(4)));
    EXPECT_EQ("", Utf8(xml.GetAttribName(-1)));
}

TEST(XmlRead, AttributeTokenTellsQuotedValues) {
    const CString text = Wide("a x='1' y=2>");
    XmlProbe::TokenPos quoted(text, text.GetLength(), 0);
    EXPECT_TRUE(XmlProbe::x_FindAttrib(quoted, _T("x")));
    EXPECT_EQ(5, quoted.left);
    EXPECT_EQ(5, quoted.right);
    EXPECT_EQ(0x8000, quoted.flags);
    XmlProbe::TokenPos plain(text, text.GetLength(), 0x8000);
    EXPECT_TRUE(XmlProbe::x_FindAttrib(plain, _T("y")));
    EXPECT_EQ(0, plain.flags);
    XmlProbe::TokenPos absent(text, text.GetLength(), 0);
    EXPECT_FALSE(XmlProbe::x_FindAttrib(absent, _T("z")));
}

TEST(XmlRead, DataOfElements) {
    EXPECT_EQ("", Data("<a>x<b/>y</a>")) << "a child element";
    EXPECT_EQ("1 < 2", Data("<a>1 &lt; 2</a>"));
    EXPECT_EQ("&unknown;", Data("<a>&unknown;</a>"));
    EXPECT_EQ("&toolongname1;", Data("<a>&toolongname1;</a>"));
    EXPECT_EQ("", Data("<a/>"));
    EXPECT_EQ("", Data("<a></a>"));
    EXPECT_EQ("", Data("<a>"));
    EXPECT_EQ("  ", Data("<a>  </a>")) << "content without markup is given as it stands";
    EXPECT_EQ("x", Data("<a> <![CDATA[x]]> </a>")) << "blanks beside markup contribute nothing";
    EXPECT_EQ("xyz<w", Data("<a>x<!--c-->y<?p?>z<![CDATA[<w]]></a>"));
    EXPECT_EQ("&amp;&", Data("<a><![CDATA[&amp;]]>&amp;</a>"));
    EXPECT_EQ("", Data("<a><!--c--></a>"));
    EXPECT_EQ("xy", Data("<a>x</b>y</a>"));
    EXPECT_EQ("", Data("<a><![C]]></a>")) << "shorter than its delimiters";
}

TEST(XmlRead, DataOfNodesAndChildren) {
    XmlProbe xml = Parsed("<?p q?><!--c--><!DOCTYPE d></e ><r><a>&gt;</a></r> &lt;<![CDATA[&lt;]]>");
    EXPECT_EQ("", Utf8(xml.GetData()));
    const char* const data[] = {"p q", "c", "<!DOCTYPE d>", "e ", "", " <", "&lt;"};
    for (const char* expected : data) {
        EXPECT_NE(0, xml.FindNode());
        EXPECT_EQ(expected, Utf8(xml.GetData()));
        EXPECT_EQ("", Utf8(xml.GetChildData()));
    }
    xml.ResetPos();
    xml.FindChildElem();
    EXPECT_EQ(">", Utf8(xml.GetChildData()));
    XmlProbe blank = Parsed(" \r\n<r/>");
    blank.FindNode();
    EXPECT_EQ(" \r\n", Utf8(blank.GetData()));
}

TEST(XmlRead, SubDocumentsTakeTheBlanksAfterThem) {
    XmlProbe xml = Parsed("<r><a>1</a> \r\n<b/> t<c/>\t</r>\n");
    xml.FindElem();
    EXPECT_EQ("<r><a>1</a> \r\n<b/> t<c/>\t</r>\n", Utf8(xml.GetSubDoc()));
    xml.FindChildElem();
    EXPECT_EQ("<a>1</a> \r\n", Utf8(xml.GetChildSubDoc()));
    xml.FindChildElem();
    EXPECT_EQ("<b/>", Utf8(xml.GetChildSubDoc())) << "text follows";
    xml.FindChildElem();
    EXPECT_EQ("<c/>\t", Utf8(xml.GetChildSubDoc()));
    EXPECT_EQ("", Utf8(XmlProbe().GetSubDoc()));
}

TEST(XmlRead, ElementContentIsRaw) {
    XmlProbe xml = Parsed("<r> &lt;<a/></r>");
    EXPECT_EQ("", Utf8(xml.GetElemContent()));
    xml.FindElem();
    EXPECT_EQ(" &lt;<a/>", Utf8(xml.GetElemContent()));
    xml.FindChildElem();
    xml.IntoElem();
    EXPECT_EQ("", Utf8(xml.GetElemContent()));
}

TEST(XmlRead, Unescape) {
    EXPECT_EQ("<>&'\"", Unescape("&lt;&gt;&amp;&apos;&quot;"));
    EXPECT_EQ("&", Unescape("&"));
    EXPECT_EQ("&;", Unescape("&;"));
    EXPECT_EQ("& b;", Unescape("& b;"));
    EXPECT_EQ("&lt", Unescape("&lt"));
    EXPECT_EQ("&&", Unescape("&&amp;"));
    EXPECT_EQ("AB", Unescape("&#65;&#x42;"));
    EXPECT_EQ("JK", Unescape("&#X4a;&#X4B;"));
    EXPECT_EQ("&#;&#x;&#0;", Unescape("&#;&#x;&#0;"));
    EXPECT_EQ("\x01", Unescape("&#1z;")) << "digits up to the first character that is none";
    EXPECT_EQ("\xF0\x9F\x98\x80", Unescape("&#x1F600;"));
    EXPECT_EQ("\xF4\x8F\xBF\xBF", Unescape("&#x010FFFF;")) << "nine characters";
    EXPECT_EQ("&#x0010FFFF;", Unescape("&#x0010FFFF;")) << "ten characters";
    EXPECT_EQ("&#x110000;", Unescape("&#x110000;")) << "no such character";
    EXPECT_EQ("&#99999999;", Unescape("&#99999999;"));
    EXPECT_EQ("\xC3\x98\xC3\x98", Unescape("&oslash;&Oslash;")) << "the capital form of the pair is found first";
    EXPECT_EQ("<<", Unescape("&LT;&Lt;"));
    EXPECT_EQ("\xC2\xA0\xE2\x82\xAC\xCF\x91", Unescape("&nbsp;&euro;&thetasym;"));
    EXPECT_EQ("&\xC3\xA9;", Unescape("&\xC3\xA9;"));
    EXPECT_EQ("&l\xC3\xA9t;<", Unescape("&l\xC3\xA9t;&lt;"));
    EXPECT_EQ("", Utf8(CFXmlFile::UnescapeText(nullptr)));
}

TEST(XmlRead, UnescapeStopsAtItsLength) {
    EXPECT_EQ("<a", Utf8(CFXmlFile::UnescapeText(_T("&lt;abc"), 5)));
    EXPECT_EQ("&lt", Utf8(CFXmlFile::UnescapeText(_T("&lt;abc"), 3)));
    EXPECT_EQ("", Utf8(CFXmlFile::UnescapeText(_T("abc"), 0)));
    EXPECT_EQ("abc", Utf8(CFXmlFile::UnescapeText(_T("abc"), 9))) << "never beyond the NUL";
}

TEST(XmlRead, Escape) {
    EXPECT_EQ("&lt;a&gt;&amp;'\"", Escape("<a>&'\""));
    EXPECT_EQ("&apos;&quot;", Escape("'\"", 0x100));
    EXPECT_EQ("&amp;amp;", Escape("&amp;"));
    EXPECT_EQ("", Escape(""));
    EXPECT_EQ("", Utf8(CFXmlFile::EscapeText(nullptr)));
    EXPECT_EQ("\xE5\xB1\x82", Escape("\xE5\xB1\x82"));
}

TEST(XmlRead, EscapeKeepsReferencesWhenTold) {
    const char* const kept[] = {"&amp;", "&#65;", "&#x41;",      "&:;",    "&_;",
                                "&a.b;", "&a-b;", "&a\xC3\xA9;", "&a:_1;", "&#;"};
    for (const char* text : kept)
        EXPECT_EQ(text, Escape(text, 8)) << text;
    const struct {
        const char* text;
        const char* escaped;
    } rows[] = {{"&", "&amp;"},         {"&;", "&amp;;"},    {"& ;", "&amp; ;"},     {"&1;", "&amp;1;"},
                {"&a b;", "&amp;a b;"}, {"&a", "&amp;a"},    {"&a&b;", "&amp;a&b;"}, {"&\xC3\xA9;", "&amp;\xC3\xA9;"},
                {"&a#;", "&amp;a#;"},   {"&-a;", "&amp;-a;"}};
    for (const auto& row : rows)
        EXPECT_EQ(row.escaped, Escape(row.text, 8)) << row.text;
}
