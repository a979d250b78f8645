// Moving the cursor over elements and nodes.

#include <gtest/gtest.h>

#include "tests/xml/xml_probe.h"

using kvttest::Parsed;
using kvttest::Utf8;
using kvttest::Wide;
using kvttest::XmlProbe;

namespace {

/// Types of all nodes that `FindNode` meets, with the offset and length of those that are not elements.
std::string Nodes(XmlProbe& xml, int types = 0) {
    std::string seen;
    for (int i = 0; i < 100; ++i) {
        const int type = xml.FindNode(types);
        if (type == 0)
            return seen;
        EXPECT_EQ(type, xml.GetNodeType());
        seen += (seen.empty() ? "" : " ") + std::to_string(type);
        if (type == 1)
            seen += "=" + Utf8(xml.GetTagName());
        else
            seen += "@" + std::to_string(xml.m_nNodeOffset) + "+" + std::to_string(xml.m_nNodeLength);
    }
    return seen + " endless";
}

std::string Cursor(const XmlProbe& xml) {
    return std::to_string(xml.m_iPosParent) + "/" + std::to_string(xml.m_iPos) + "/" + std::to_string(xml.m_iPosChild) +
           " " + std::to_string(xml.m_nNodeType) + "@" + std::to_string(xml.m_nNodeOffset) + "+" +
           std::to_string(xml.m_nNodeLength);
}

}  // namespace

TEST(XmlNavigate, FindElemWalksSiblings) {
    XmlProbe xml = Parsed("<r><a/><b/><a/></r>");
    EXPECT_TRUE(xml.FindElem());
    EXPECT_EQ("0/1/0 1@0+0", Cursor(xml));
    EXPECT_FALSE(xml.FindElem());
    EXPECT_EQ("0/1/0 1@0+0", Cursor(xml)) << "a failed search changes nothing";
    EXPECT_TRUE(xml.IntoElem());
    EXPECT_EQ("1/0/0 0@0+0", Cursor(xml));
    EXPECT_TRUE(xml.FindElem(_T("a")));
    EXPECT_EQ("1/2/0 1@0+0", Cursor(xml));
    EXPECT_TRUE(xml.FindElem(_T("a")));
    EXPECT_EQ("1/4/0 1@0+0", Cursor(xml));
    EXPECT_FALSE(xml.FindElem(_T("a")));
    xml.ResetMainPos();
    EXPECT_EQ("1/0/0 0@0+0", Cursor(xml));
    EXPECT_TRUE(xml.FindElem(_T("b")));
    EXPECT_EQ("b", Utf8(xml.GetTagName()));
}

TEST(XmlNavigate, NamesMatchToTheirEndOrADelimiterOfTheSearchedName) {
    XmlProbe xml = Parsed("<r><ab/><a/></r>");
    xml.FindElem();
    xml.IntoElem();
    const char* const searches[] = {"a", "a b", "a=", "a/x", "a[2]", "a]"};
    for (const char* search : searches) {
        xml.ResetMainPos();
        EXPECT_TRUE(xml.FindElem(Wide(search))) << search;
        EXPECT_EQ("a", Utf8(xml.GetTagName())) << search;
    }
    const char* const misses[] = {"abc", "A", "a\tb", "a>", "b"};
    for (const char* search : misses) {
        xml.ResetMainPos();
        EXPECT_FALSE(xml.FindElem(Wide(search))) << search;
    }
    xml.ResetMainPos();
    EXPECT_TRUE(xml.FindElem(_T(""))) << "empty matches any";
    EXPECT_EQ("ab", Utf8(xml.GetTagName()));
}

TEST(XmlNavigate, IgnoreCaseFindsNamesInEitherCase) {
    XmlProbe xml = Parsed("<r><Item/><\xC3\xA9Item/></r>", 8);
    xml.FindElem(_T("R"));
    EXPECT_TRUE(xml.FindChildElem(_T("iTEM")));
    EXPECT_FALSE(xml.FindChildElem(Wide("\xC3\xA9item"))) << "exact behind a matched character outside ASCII";
    EXPECT_TRUE(xml.FindChildElem(Wide("\xC3\xA9Item")));
}

TEST(XmlNavigate, FindChildElemTakesTheFirstElementWhenMainIsNotSet) {
    XmlProbe xml = Parsed("<r><a/><b/></r>");
    EXPECT_TRUE(xml.FindChildElem());
    EXPECT_EQ("0/1/2 1@0+0", Cursor(xml));
    EXPECT_TRUE(xml.FindChildElem(_T("b")));
    EXPECT_EQ("b", Utf8(xml.GetChildTagName()));
    EXPECT_FALSE(xml.FindChildElem());
    EXPECT_EQ("0/1/3 1@0+0", Cursor(xml));
    xml.ResetChildPos();
    EXPECT_EQ("0/1/0 1@0+0", Cursor(xml));
    EXPECT_TRUE(xml.FindChildElem());
    EXPECT_EQ("0/1/2 1@0+0", Cursor(xml));
    XmlProbe empty;
    EXPECT_FALSE(empty.FindChildElem());
}

TEST(XmlNavigate, FindChildElemUnderAnEmptyParentFindsNothing) {
    XmlProbe xml = Parsed("<r/>");
    xml.FindElem();
    xml.IntoElem();
    EXPECT_FALSE(xml.FindChildElem());
    EXPECT_EQ("1/0/0 0@0+0", Cursor(xml));
}

TEST(XmlNavigate, StepsIntoAndOutOfElements) {
    XmlProbe xml = Parsed("<r><a><b/></a></r>");
    EXPECT_FALSE(xml.IntoElem()) << "main is not set";
    EXPECT_FALSE(xml.OutOfElem());
    xml.FindChildElem();
    EXPECT_TRUE(xml.IntoElem());
    EXPECT_EQ("1/2/0 1@0+0", Cursor(xml)) << "child becomes main";
    EXPECT_TRUE(xml.IntoElem());
    EXPECT_EQ("2/0/0 0@0+0", Cursor(xml));
    EXPECT_TRUE(xml.FindElem());
    EXPECT_TRUE(xml.OutOfElem());
    EXPECT_EQ("1/2/3 1@0+0", Cursor(xml)) << "main becomes child";
    EXPECT_TRUE(xml.OutOfElem());
    EXPECT_EQ("0/1/2 1@0+0", Cursor(xml));
    EXPECT_FALSE(xml.OutOfElem());
    xml.ResetPos();
    EXPECT_EQ("0/0/0 0@0+0", Cursor(xml));
}

TEST(XmlNavigate, IntoElemOnACommentNodeFails) {
    XmlProbe xml = Parsed("<r><!--c--></r>");
    xml.FindElem();
    xml.IntoElem();
    EXPECT_EQ(32, xml.FindNode());
    EXPECT_FALSE(xml.IntoElem());
    XmlProbe main = Parsed("<r/><!--c-->");
    EXPECT_EQ("1=r 32@4+8", Nodes(main));
    EXPECT_FALSE(main.IntoElem()) << "main is set, but the cursor is on the comment";
}

TEST(XmlNavigate, FindNodeMeetsEveryNodeInOrder) {
    XmlProbe xml = Parsed("<?xml version='1.0'?>\r\n<!DOCTYPE r><!--c--><r/><!ELEMENT x>");
    EXPECT_EQ("16@0+21 4@21+2 64@23+12 32@35+8 1=r 64@47+12", Nodes(xml));

    xml = Parsed("<r>t<a/> <![CDATA[d]]>u<b>x</b><?p?></r>");
    xml.FindElem();
    xml.IntoElem();
    EXPECT_EQ("2@3+1 1=a 4@8+1 8@9+13 2@22+1 1=b 16@31+5", Nodes(xml));
    xml.ResetMainPos();
    EXPECT_EQ("1=a 1=b", Nodes(xml, 1));
    xml.ResetMainPos();
    EXPECT_EQ("2@3+1 8@9+13 2@22+1", Nodes(xml, 2 | 8));
    EXPECT_EQ("r", xml.Name(xml.m_iPosParent));
    EXPECT_EQ("a", xml.Name(xml.m_iPos)) << "main is the last element passed";
}

TEST(XmlNavigate, FindNodeFromTheStartOfADeclaredDocument) {
    XmlProbe xml = Parsed("<?xml version='1.0'?><r/>");
    EXPECT_EQ(16, xml.FindNode(0));
    EXPECT_EQ(1, xml.FindNode(0));
    EXPECT_EQ(0, xml.FindNode(0));
}

TEST(XmlNavigate, FailedFindNodeLeavesTheWholePosition) {
    XmlProbe xml = Parsed("<r><a><x/></a><!--c--><b/></r>");
    xml.FindElem();
    xml.IntoElem();
    xml.FindChildElem();
    const std::string before = Cursor(xml);
    EXPECT_EQ(0, xml.FindNode(16));
    EXPECT_EQ(before, Cursor(xml));
    EXPECT_EQ(32, xml.FindNode(32));
    const std::string comment = Cursor(xml);
    EXPECT_EQ(0, xml.FindNode(2));
    EXPECT_EQ(comment, Cursor(xml));
}

TEST(XmlNavigate, FindNodeUnderAnEmptyParentFindsNothing) {
    XmlProbe xml = Parsed("<r/>t");
    xml.FindElem();
    xml.IntoElem();
    EXPECT_EQ(0, xml.FindNode());
    XmlProbe unended = Parsed("<r><a>t</r>");
    unended.FindChildElem();
    unended.IntoElem();
    unended.IntoElem();
    EXPECT_EQ(0, unended.FindNode());
}

TEST(XmlNavigate, FindNodeReportsLoneEndTagsAndErrors) {
    XmlProbe xml = Parsed("<r></x>t<1><a/></r>");
    xml.FindElem();
    xml.IntoElem();
    EXPECT_EQ("128@3+4 2@7+1 32768@8+2 2@10+1 1=a", Nodes(xml));
    xml.ResetMainPos();
    EXPECT_EQ("128@3+4 32768@8+2", Nodes(xml, 128 | 32768));
    XmlProbe top = Parsed("</x><r/>");
    EXPECT_EQ("128@0+4 1=r", Nodes(top));
    XmlProbe cut = Parsed("<r/><!--");
    EXPECT_EQ("1=r 32768@4+4", Nodes(cut));
}

TEST(XmlNavigate, NodesAndTagNames) {
    XmlProbe xml = Parsed("<?t x?><!DOCTYPE doc [<!ELEMENT x>]></e1><!--c--> <r/>t<![CDATA[d]]><!ELEMENT el y><1");
    const char* const names[] = {"t", "doc", "e1", "#comment", "#text", "r", "#text", "#cdata-section", "el", ""};
    for (const char* name : names) {
        EXPECT_NE(0, xml.FindNode());
        EXPECT_EQ(name, Utf8(xml.GetTagName()));
    }
    EXPECT_EQ("", Utf8(XmlProbe().GetTagName()));
    EXPECT_EQ("", Utf8(XmlProbe().GetChildTagName()));
}

TEST(XmlNavigate, ElementNamesEndAtTheNameScannersDelimiters) {
    const struct {
        const char* text;
        const char* name;
    } rows[] = {{"<a/>", "a"},    {"<a b/>", "a"}, {"<a\tb/>", "a"},          {"<a=b/>", "a"},
                {"<a\\b/>", "a"}, {"<a?b/>", "a"}, {"<a!b/>", "a"},           {"<a\"b\"/>", "a"},
                {"<a'b'/>", "a"}, {"<a;b/>", "a"}, {"<a:b.c-d/>", "a:b.c-d"}, {"<a[1]/>", "a[1]"}};
    for (const auto& row : rows) {
        XmlProbe xml = Parsed(row.text);
        xml.FindElem();
        EXPECT_EQ(row.name, Utf8(xml.GetTagName())) << row.text;
    }
}
