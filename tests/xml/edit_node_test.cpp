// Editing nodes that are not elements.

#include <gtest/gtest.h>

#include "tests/xml/xml_probe.h"

using kvttest::Parsed;
using kvttest::Utf8;
using kvttest::Wide;
using kvttest::XmlProbe;

namespace {

void ExpectSettled(const XmlProbe& xml) {
    EXPECT_EQ("", xml.Disagreement()) << xml.Doc();
    XmlProbe fresh(xml.GetDocFlags());
    fresh.SetDoc(xml.GetDoc());
    EXPECT_EQ(fresh.Records(), xml.Records()) << xml.Doc();
}

/// The document with the cursor inside its root.
XmlProbe Inside(const char* text) {
    XmlProbe xml = Parsed(text);
    xml.FindElem();
    xml.IntoElem();
    return xml;
}

}  // namespace

TEST(XmlEditNode, MarkupOfEachType) {
    const struct {
        int type;
        const char* text;
        bool made;
        const char* markup;
    } rows[] = {{1, "a k='v'", true, "<a k='v'/>"},
                {2, "x<&>'\"", true, "x&lt;&amp;&gt;'\""},
                {4, " \r\n", true, " \r\n"},
                {8, "a]]b", true, "<![CDATA[a]]b]]>"},
                {8, "a]]>b", false, ""},
                {16, "p q", true, "<?p q?>"},
                {32, "c", true, "<!--c-->"},
                {32, "a-->b", true, "<!--a-->b-->"},
                {64, "<!DOCTYPE d>", true, "<!DOCTYPE d>"},
                {128, "x", false, ""},
                {0, "x", true, ""},
                {-1, "x", true, ""},
                {129, "x", true, ""},
                {32768, "x", true, ""}};
    for (const auto& row : rows) {
        CString markup = _T("poison");
        EXPECT_EQ(row.made, XmlProbe::x_CreateNode(markup, row.type, Wide(row.text))) << row.type << row.text;
        EXPECT_EQ(row.markup, Utf8(markup)) << row.type;
    }
    EXPECT_EQ("<![CDATA[]]]]><![CDATA[>]]]]><![CDATA[>]]>", Utf8(XmlProbe::x_EncodeCDATASection(_T("]]>]]>"))));
    EXPECT_EQ("<![CDATA[]]>", Utf8(XmlProbe::x_EncodeCDATASection(nullptr)));
}

TEST(XmlEditNode, OnlyInstructionsCommentsAndTypeDeclarationsGetLineBreaks) {
    const struct {
        int type;
        const char* text;
        const char* after;
    } rows[] = {{1, "b", "<r><a/><b/></r>"},
                {2, "t", "<r><a/>t</r>"},
                {4, "  ", "<r><a/>  </r>"},
                {8, "d", "<r><a/><![CDATA[d]]></r>"},
                {16, "p", "<r><a/><?p?>\r\n</r>"},
                {32, "c", "<r><a/><!--c-->\r\n</r>"},
                {64, "<!ELEMENT x>", "<r><a/><!ELEMENT x>\r\n</r>"}};
    for (const auto& row : rows) {
        XmlProbe xml = Inside("<r><a/></r>");
        xml.FindElem();
        EXPECT_TRUE(xml.AddNode(row.type, Wide(row.text)));
        EXPECT_EQ(row.after, xml.Doc());
        EXPECT_EQ(row.type, xml.GetNodeType());
        if (row.type == 1) {
            EXPECT_EQ("b", Utf8(xml.GetTagName()));
        } else {
            EXPECT_EQ(7, xml.m_nNodeOffset);
            EXPECT_EQ("a", xml.Name(xml.m_iPos));
        }
        ExpectSettled(xml);
    }
}

TEST(XmlEditNode, RefusedNodesChangeNothing) {
    XmlProbe xml = Inside("<r><a/></r>");
    EXPECT_FALSE(xml.AddNode(8, _T("]]>")));
    EXPECT_FALSE(xml.AddNode(128, _T("x")));
    EXPECT_TRUE(xml.AddNode(0, _T("x")));
    EXPECT_TRUE(xml.AddNode(200, _T("x")));
    EXPECT_TRUE(xml.AddNode(2, _T("")));
    EXPECT_EQ("<r><a/></r>", xml.Doc());
    XmlProbe empty = Inside("<r/>");
    EXPECT_TRUE(empty.AddNode(2, nullptr));
    EXPECT_EQ("<r/>", empty.Doc());
}

TEST(XmlEditNode, NodesGoAfterOrBeforeTheCurrentItem) {
    XmlProbe xml = Inside("<r><a/><b/></r>");
    xml.FindElem();
    EXPECT_TRUE(xml.AddNode(2, _T("1")));
    EXPECT_TRUE(xml.AddNode(8, _T("2")));
    EXPECT_TRUE(xml.InsertNode(32, _T("3")));
    EXPECT_EQ("<r><a/>1<!--3-->\r\n<![CDATA[2]]><b/></r>", xml.Doc());
    EXPECT_EQ("3", Utf8(xml.GetData()));
    ExpectSettled(xml);
    EXPECT_TRUE(xml.FindElem());
    EXPECT_EQ("b", Utf8(xml.GetTagName()));
    EXPECT_TRUE(xml.InsertNode(2, _T("4")));
    EXPECT_EQ("<r><a/>1<!--3-->\r\n<![CDATA[2]]>4<b/></r>", xml.Doc());
    EXPECT_EQ("a", xml.Name(xml.m_iPos)) << "the node stands before the element";
    EXPECT_EQ(1, xml.FindNode());
    EXPECT_EQ("b", Utf8(xml.GetTagName()));
    ExpectSettled(xml);
}

TEST(XmlEditNode, NodesGoIntoAnEmptyParent) {
    XmlProbe xml = Inside("<r/>");
    EXPECT_TRUE(xml.AddNode(2, _T("t")));
    EXPECT_EQ("<r>t</r>", xml.Doc());
    EXPECT_EQ(3, xml.m_nNodeOffset);
    EXPECT_EQ("t", Utf8(xml.GetData()));
    ExpectSettled(xml);
    xml = Inside("<r/>");
    EXPECT_TRUE(xml.AddNode(32, _T("c")));
    EXPECT_EQ("<r>\r\n<!--c-->\r\n</r>", xml.Doc());
    EXPECT_EQ("c", Utf8(xml.GetData()));
    ExpectSettled(xml);
    xml = Inside("<r/>");
    EXPECT_TRUE(xml.AddNode(1, _T("a")));
    EXPECT_EQ("<r><a/></r>", xml.Doc());
    EXPECT_EQ("a", Utf8(xml.GetTagName()));
    ExpectSettled(xml);
}

TEST(XmlEditNode, NodesAtTheEdgesOfTheParent) {
    XmlProbe xml = Inside("<r><a/><b/></r>");
    EXPECT_TRUE(xml.AddNode(2, _T("end")));
    EXPECT_EQ("<r><a/><b/>end</r>", xml.Doc());
    EXPECT_EQ("b", xml.Name(xml.m_iPos));
    EXPECT_EQ(0, xml.FindNode());
    xml.ResetMainPos();
    EXPECT_TRUE(xml.InsertNode(2, _T("start")));
    EXPECT_EQ("<r>start<a/><b/>end</r>", xml.Doc());
    EXPECT_EQ(0, xml.m_iPos);
    EXPECT_EQ(1, xml.FindNode());
    EXPECT_EQ("a", Utf8(xml.GetTagName()));
    ExpectSettled(xml);
}

TEST(XmlEditNode, DocumentLevelNodes) {
    XmlProbe xml = Parsed("<r/>");
    EXPECT_TRUE(xml.InsertNode(16, _T("xml version=\"1.0\"")));
    EXPECT_EQ("<?xml version=\"1.0\"?>\r\n<r/>", xml.Doc());
    EXPECT_TRUE(xml.AddNode(32, _T("c")));
    EXPECT_EQ("<?xml version=\"1.0\"?>\r\n<!--c-->\r\n<r/>", xml.Doc());
    ExpectSettled(xml);
}

TEST(XmlEditNode, DataOfTheCurrentNode) {
    XmlProbe xml = Inside("<r><!--c--><a/>t<?p?><![CDATA[d]]><b/></r>");
    EXPECT_EQ(32, xml.FindNode(32));
    EXPECT_TRUE(xml.SetData(_T("a-->b"))) << "accepted without a check";
    EXPECT_EQ("<r><!--a-->b--><a/>t<?p?><![CDATA[d]]><b/></r>", xml.Doc());
    EXPECT_TRUE(xml.SetData(_T("")));
    EXPECT_EQ(2, xml.FindNode(2));
    EXPECT_TRUE(xml.SetData(_T("<")));
    EXPECT_EQ(16, xml.FindNode(16));
    EXPECT_TRUE(xml.SetData(_T("q")));
    EXPECT_EQ(8, xml.FindNode(8));
    EXPECT_FALSE(xml.SetData(_T("]]>")));
    EXPECT_TRUE(xml.SetData(_T("e")));
    EXPECT_EQ("<r><!----><a/>&lt;<?q?><![CDATA[e]]><b/></r>", xml.Doc());
    EXPECT_EQ(1, xml.FindNode());
    EXPECT_EQ("b", Utf8(xml.GetTagName()));
    ExpectSettled(xml);
    xml.ResetMainPos();
    xml.FindNode(2);
    EXPECT_TRUE(xml.SetData(_T("")));
    EXPECT_EQ("<r><!----><a/><?q?><![CDATA[e]]><b/></r>", xml.Doc());
    EXPECT_EQ(1, xml.GetNodeType()) << "nothing is left of the node: the element before it is current";
    ExpectSettled(xml);
}

TEST(XmlEditNode, LoneEndTagsKeepTheirText) {
    XmlProbe xml = Inside("<r></x><a/></r>");
    EXPECT_EQ(128, xml.FindNode());
    EXPECT_FALSE(xml.SetData(_T("y")));
    EXPECT_EQ("<r></x><a/></r>", xml.Doc());
}

TEST(XmlEditNode, RemovedNodeLeavesTheItemBeforeIt) {
    XmlProbe xml = Inside("<r>t<a/><!--c--><?p?><b/></r>");
    EXPECT_FALSE(xml.RemoveNode());
    xml.FindNode(16);
    EXPECT_TRUE(xml.RemoveNode());
    EXPECT_EQ("<r>t<a/><!--c--><b/></r>", xml.Doc());
    EXPECT_EQ(32, xml.GetNodeType());
    EXPECT_EQ("c", Utf8(xml.GetData()));
    EXPECT_TRUE(xml.RemoveNode());
    EXPECT_EQ("<r>t<a/><b/></r>", xml.Doc());
    EXPECT_EQ(1, xml.GetNodeType());
    EXPECT_EQ("a", Utf8(xml.GetTagName()));
    EXPECT_TRUE(xml.RemoveNode());
    EXPECT_EQ("<r>t<b/></r>", xml.Doc());
    EXPECT_EQ(2, xml.GetNodeType());
    EXPECT_EQ("t", Utf8(xml.GetData()));
    EXPECT_TRUE(xml.RemoveNode());
    EXPECT_EQ("<r><b/></r>", xml.Doc());
    EXPECT_EQ(0, xml.GetNodeType());
    EXPECT_EQ(0, xml.m_nNodeOffset);
    EXPECT_FALSE(xml.RemoveNode());
    ExpectSettled(xml);
}

TEST(XmlEditNode, RemovedElementKeepsTheBlanksAfterIt) {
    XmlProbe xml = Inside("<r> <a><x/></a> <b/></r>");
    xml.FindElem();
    xml.SavePos(_T("a"));
    EXPECT_TRUE(xml.RemoveNode());
    EXPECT_EQ("<r>  <b/></r>", xml.Doc());
    EXPECT_EQ(4, xml.GetNodeType());
    EXPECT_EQ(1, xml.m_nNodeLength);
    EXPECT_FALSE(xml.RestorePos(_T("a")));
    ExpectSettled(xml);
    xml.FindElem();
    EXPECT_TRUE(xml.RemoveNode());
    EXPECT_EQ("<r>  </r>", xml.Doc());
    EXPECT_EQ(4, xml.GetNodeType());
    ExpectSettled(xml);
}

TEST(XmlEditNode, RemovingTheLastLoneEndTagCleansTheParent) {
    XmlProbe xml = Inside("<r><a/></x></y></r>");
    EXPECT_TRUE(xml.x_Elem(1).HasFlag(XmlProbe::elemIllFormedContent));
    EXPECT_EQ(128, xml.FindNode(128));
    EXPECT_TRUE(xml.RemoveNode());
    EXPECT_TRUE(xml.x_Elem(1).HasFlag(XmlProbe::elemIllFormedContent)) << "another one is left";
    EXPECT_EQ(128, xml.FindNode(128));
    EXPECT_TRUE(xml.RemoveNode());
    EXPECT_EQ("<r><a/></r>", xml.Doc());
    EXPECT_FALSE(xml.x_Elem(1).HasFlag(XmlProbe::elemIllFormedContent));
    ExpectSettled(xml);
    XmlProbe top = Parsed("<r/></x>");
    top.FindNode(128);
    EXPECT_TRUE(top.RemoveNode());
    EXPECT_FALSE(top.x_Elem(0).HasFlag(XmlProbe::elemIllFormedContent));
    EXPECT_EQ("<r/>", top.Doc());
}
