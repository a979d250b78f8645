// Tags longer than a record can tell: they are read, and no edit goes by a length that is not theirs.

#include <gtest/gtest.h>

#include "tests/xml/xml_probe.h"

using kvttest::Parsed;
using kvttest::Utf8;
using kvttest::XmlProbe;

namespace {

constexpr int longestStartTag = 4194303;

/// An element whose start tag has this length, with attributes k (long) and l; main stands on it.
XmlProbe WithTag(int length, const std::string& tail = "/>") {
    const int others = tail[0] == '/' ? 15 : 14;
    XmlProbe xml = Parsed("<a k='" + std::string(static_cast<size_t>(length - others), 'x') + "' l='1'" + tail);
    xml.FindElem();
    return xml;
}

}  // namespace

TEST(XmlLongTags, AttributesAreRead) {
    const XmlProbe xml = WithTag(longestStartTag + 100);
    EXPECT_EQ("1", Utf8(xml.GetAttrib(_T("l"))));
    EXPECT_EQ("l", Utf8(xml.GetAttribName(1)));
    EXPECT_EQ(longestStartTag + 100 - 15, xml.GetAttrib(_T("k")).GetLength());
}

TEST(XmlLongTags, AnAttributeMakesNoTagTooLong) {
    XmlProbe xml = WithTag(longestStartTag - 4);
    ASSERT_EQ(longestStartTag - 4, xml.GetDoc().GetLength());
    EXPECT_FALSE(xml.SetAttrib(_T("m"), _T("")));
    EXPECT_EQ(longestStartTag - 4, xml.GetDoc().GetLength());
    EXPECT_TRUE(xml.SetAttrib(_T("l"), _T("1234")));
    EXPECT_FALSE(xml.SetAttrib(_T("l"), _T("123456")));
    EXPECT_EQ("", xml.Disagreement());
}

TEST(XmlLongTags, AShorterAttributeMakesATagFit) {
    for (const int length : {longestStartTag + 1, longestStartTag + 2, longestStartTag + 50}) {
        XmlProbe xml = WithTag(length);
        EXPECT_TRUE(xml.SetAttrib(_T("k"), _T("v")));
        EXPECT_EQ("<a k=\"v\" l='1'/>", xml.Doc());
        EXPECT_EQ("a 0+16 16/0 0\n", xml.Records());
        EXPECT_TRUE(xml.AddChildElem(_T("c")));
        EXPECT_EQ("", xml.Disagreement());
    }
}

TEST(XmlLongTags, ContentThatCannotBeLocatedIsNotEdited) {
    const std::string longEnd = "<a></a" + std::string(1020, ' ') + ">";
    for (XmlProbe xml : {WithTag(longestStartTag + 1), WithTag(longestStartTag + 60, ">t</a>"), Parsed(longEnd)}) {
        const CString before = xml.GetDoc();
        xml.ResetPos();
        xml.FindElem();
        EXPECT_FALSE(xml.SetData(_T("x")));
        EXPECT_FALSE(xml.SetElemContent(_T("<x/>")));
        EXPECT_FALSE(xml.AddChildElem(_T("x")));
        EXPECT_FALSE(xml.InsertChildSubDoc(_T("<x/>")));
        xml.IntoElem();
        EXPECT_FALSE(xml.AddElem(_T("x")));
        EXPECT_FALSE(xml.AddSubDoc(_T("<x/>")));
        EXPECT_FALSE(xml.AddNode(32, _T("x")));
        EXPECT_TRUE(before == xml.GetDoc());
        EXPECT_EQ(2, xml.m_iPosFree);
        xml.OutOfElem();
        EXPECT_TRUE(xml.AddElem(_T("b"))) << "beside it there is no doubt";
        EXPECT_TRUE(xml.InsertElem(_T("c")));
        xml.ResetPos();
        xml.FindElem();
        EXPECT_TRUE(xml.RemoveElem());
        EXPECT_EQ("<c/>\r\n<b/>\r\n", xml.Doc());
    }
}

TEST(XmlLongTags, NamesMakeNoTagTooLong) {
    const CString name(WCHAR('n'), longestStartTag - 1);
    XmlProbe xml = Parsed("<r/>");
    EXPECT_FALSE(xml.AddElem(name));
    EXPECT_FALSE(xml.AddNode(1, name));
    EXPECT_FALSE(xml.AddElem(name, _T("v")));
    EXPECT_EQ("<r/>", xml.Doc());
    EXPECT_TRUE(xml.AddElem(name.Left(longestStartTag - 3), nullptr, 2));
    EXPECT_EQ(longestStartTag, xml.x_Elem(2).StartTagLength());
}
