// Editing elements: the exact text after each edit, the cursor, and records that agree with the text.

#include <gtest/gtest.h>

#include "tests/xml/xml_probe.h"

using kvttest::Parsed;
using kvttest::Utf8;
using kvttest::Wide;
using kvttest::XmlProbe;

namespace {

/// The records agree with one another and are those of a fresh parse of the text.
void ExpectSettled(const XmlProbe& xml) {
    EXPECT_EQ("", xml.Disagreement()) << xml.Doc();
    XmlProbe fresh(xml.GetDocFlags());
    fresh.SetDoc(xml.GetDoc());
    EXPECT_EQ(fresh.Records(), xml.Records()) << xml.Doc();
    EXPECT_EQ(fresh.Tree(), xml.Tree()) << xml.Doc();
}

/// The document with main at the element of this path of child numbers.
XmlProbe At(const char* text, const std::string& path) {
    XmlProbe xml = Parsed(text);
    const int position = xml.At(path);
    xml.x_SetPos(xml.x_Elem(position).parent, position, 0);
    return xml;
}

}  // namespace

TEST(XmlEdit, FirstElementOfAnEmptyDocument) {
    XmlProbe xml;
    EXPECT_TRUE(xml.AddElem(_T("a"), _T("x&y")));
    EXPECT_EQ("<a>x&amp;y</a>\r\n", xml.Doc());
    EXPECT_EQ("a", Utf8(xml.GetTagName()));
    EXPECT_EQ("x&y", Utf8(xml.GetData()));
    ExpectSettled(xml);
}

TEST(XmlEdit, DocumentBuiltFromNothing) {
    XmlProbe xml;
    EXPECT_TRUE(xml.AddNode(16, _T("xml version=\"1.0\"")));
    EXPECT_TRUE(xml.AddElem(_T("r")));
    EXPECT_TRUE(xml.AddChildElem(_T("a"), 1));
    EXPECT_TRUE(xml.AddChildElem(_T("b"), -2));
    EXPECT_TRUE(xml.IntoElem());
    EXPECT_TRUE(xml.AddElem(_T("c"), _T("3")));
    EXPECT_TRUE(xml.AddChildElem(_T("d")));
    EXPECT_EQ("<?xml version=\"1.0\"?>\r\n<r>\r\n<a>1</a>\r\n<b>-2</b>\r\n<c>3<d/>\r\n</c>\r\n</r>\r\n", xml.Doc());
    ExpectSettled(xml);
}

TEST(XmlEdit, ChildOfAnEmptyElementOpensIt) {
    XmlProbe xml = At("<p/>", "0");
    EXPECT_TRUE(xml.AddChildElem(_T("c")));
    EXPECT_EQ("<p>\r\n<c/>\r\n</p>", xml.Doc());
    EXPECT_EQ("c", Utf8(xml.GetChildTagName()));
    EXPECT_EQ("p", Utf8(xml.GetTagName()));
    ExpectSettled(xml);

    xml = At("<r><p  /></r>", "0/0");
    EXPECT_TRUE(xml.AddChildElem(_T("c"), _T("v"), 2));
    EXPECT_EQ("<r><p  ><c>v</c></p></r>", xml.Doc());
    ExpectSettled(xml);

    xml = At("<r><p k='v'/></r>", "0/0");
    EXPECT_TRUE(xml.InsertChildElem(_T("c")));
    EXPECT_EQ("<r><p k='v'>\r\n<c/>\r\n</p></r>", xml.Doc());
    ExpectSettled(xml);

    xml = At("<p></p>", "0");
    EXPECT_TRUE(xml.AddChildElem(_T("c")));
    EXPECT_EQ("<p><c/>\r\n</p>", xml.Doc()) << "a pair of tags is not empty";
    ExpectSettled(xml);
}

TEST(XmlEdit, TheEndTagOfAnOpenedElementRepeatsItsWholeName) {
    XmlProbe xml = At("<r><p;q k='v'/></r>", "0/0");
    EXPECT_TRUE(xml.AddChildElem(_T("c")));
    EXPECT_EQ("<r><p;q k='v'>\r\n<c/>\r\n</p;q></r>", xml.Doc());
    EXPECT_TRUE(xml.RemoveChildElem());
    EXPECT_TRUE(xml.SetData(_T("t")));
    EXPECT_EQ("<r><p;q k='v'>t</p;q></r>", xml.Doc());
    ExpectSettled(xml);
}

TEST(XmlEdit, ChildOfAnUnendedElementEndsIt) {
    XmlProbe xml = At("<r><p></r>", "0/0");
    EXPECT_TRUE(xml.x_Elem(2).HasFlag(XmlProbe::elemNotEnded));
    EXPECT_TRUE(xml.AddChildElem(_T("c")));
    EXPECT_EQ("<r><p>\r\n<c/>\r\n</p></r>", xml.Doc());
    EXPECT_FALSE(xml.x_Elem(2).HasFlag(XmlProbe::elemNotEnded));
    ExpectSettled(xml);
}

TEST(XmlEdit, ElementsGoAfterMainOrAtTheEndOfTheParent) {
    XmlProbe xml = At("<r>\r\n<a/>\r\n<b/>\r\n</r>", "0/0");
    EXPECT_TRUE(xml.AddElem(_T("x")));
    EXPECT_EQ("<r>\r\n<a/>\r\n<x/>\r\n<b/>\r\n</r>", xml.Doc());
    EXPECT_EQ("r[a x b]", xml.Tree());
    xml.ResetMainPos();
    EXPECT_TRUE(xml.AddElem(_T("y")));
    EXPECT_EQ("<r>\r\n<a/>\r\n<x/>\r\n<b/>\r\n<y/>\r\n</r>", xml.Doc());
    ExpectSettled(xml);
    EXPECT_EQ("y", Utf8(xml.GetTagName()));
}

TEST(XmlEdit, ElementsGoBeforeMainOrAtTheStartOfTheParent) {
    XmlProbe xml = At("<r>\r\n<a/>\r\n<b/>\r\n</r>", "0/1");
    EXPECT_TRUE(xml.InsertElem(_T("x"), 7));
    EXPECT_EQ("<r>\r\n<a/>\r\n<x>7</x>\r\n<b/>\r\n</r>", xml.Doc());
    xml.ResetMainPos();
    EXPECT_TRUE(xml.InsertElem(_T("y")));
    EXPECT_EQ("<r>\r\n<y/>\r\n<a/>\r\n<x>7</x>\r\n<b/>\r\n</r>", xml.Doc());
    EXPECT_EQ("r[y a x b]", xml.Tree());
    EXPECT_EQ("y", Utf8(xml.GetTagName()));
    ExpectSettled(xml);
}

TEST(XmlEdit, ChildrenGoAfterOrBeforeTheCurrentChild) {
    XmlProbe xml = At("<r><a/><b/></r>", "0");
    xml.FindChildElem();
    EXPECT_TRUE(xml.AddChildElem(_T("x")));
    EXPECT_TRUE(xml.InsertChildElem(_T("y"), 1));
    EXPECT_EQ("<r><a/><y>1</y>\r\n<x/>\r\n<b/></r>", xml.Doc());
    xml.ResetChildPos();
    EXPECT_TRUE(xml.InsertChildElem(_T("first")));
    EXPECT_EQ("r[first a y x b]", xml.Tree());
    ExpectSettled(xml);
    xml.ResetPos();
    EXPECT_FALSE(xml.AddChildElem(_T("z"))) << "no main element";
    EXPECT_FALSE(xml.InsertChildElem(_T("z")));
}

TEST(XmlEdit, BlanksAreSkippedOnlyBeforeMarkupOrTheEnd) {
    XmlProbe xml = At("<r><a/> \t text</r>", "0/0");
    xml.AddElem(_T("b"));
    EXPECT_EQ("<r><a/><b/>\r\n \t text</r>", xml.Doc());
    ExpectSettled(xml);
    xml = At("<r/> \t ", "0");
    xml.AddElem(_T("b"));
    EXPECT_EQ("<r/> \t <b/>\r\n", xml.Doc());
    xml = At("<r><a/> <b/></r>", "0/0");
    xml.AddElem(_T("x"), nullptr, 2);
    EXPECT_EQ("<r><a/><x/> <b/></r>", xml.Doc()) << "without line breaks nothing is skipped";
    ExpectSettled(xml);
}

TEST(XmlEdit, FlagsOfAddElem) {
    XmlProbe xml;
    EXPECT_TRUE(xml.AddElem(_T("a"), _T(""), 4 | 2));
    EXPECT_EQ("<a />", xml.Doc());
    ExpectSettled(xml);
    xml.SetDoc(nullptr);
    EXPECT_TRUE(xml.AddElem(_T("a"), _T("x]]>y"), 1 | 2));
    EXPECT_EQ("<a><![CDATA[x]]]]><![CDATA[>y]]></a>", xml.Doc());
    EXPECT_EQ("x]]>y", Utf8(xml.GetData()));
    ExpectSettled(xml);
    xml.SetDoc(nullptr);
    EXPECT_TRUE(xml.AddElem(_T("a"), _T("&lt;&"), 8 | 2));
    EXPECT_EQ("<a>&lt;&amp;</a>", xml.Doc());
    xml.SetDoc(nullptr);
    EXPECT_TRUE(xml.AddElem(_T("a"), _T("'\""), 0x100 | 2));
    EXPECT_EQ("<a>&apos;&quot;</a>", xml.Doc());
}

TEST(XmlEdit, StartTagOnly) {
    XmlProbe xml;
    EXPECT_FALSE(xml.AddElem(_T("a"), _T("v"), 0x10));
    EXPECT_EQ("", xml.Doc());
    EXPECT_TRUE(xml.AddElem(_T("a"), _T(""), 0x10));
    EXPECT_EQ("<a>\r\n", xml.Doc());
    EXPECT_TRUE(xml.x_Elem(xml.m_iPos).HasFlag(XmlProbe::elemNotEnded));
    ExpectSettled(xml);
}

TEST(XmlEdit, AddingAnElementNeverReplacesItsSiblings) {
    XmlProbe xml = At("<p><c/></p>", "0/0");
    EXPECT_TRUE(xml.AddElem(_T("d"), _T("v"), 0x1000));
    EXPECT_EQ("<p><c/><d>v</d>\r\n</p>", xml.Doc());
    ExpectSettled(xml);
    xml.ResetMainPos();
    EXPECT_TRUE(xml.InsertElem(_T("e"), nullptr, 0x1002));
    EXPECT_EQ("<p><e/><c/><d>v</d>\r\n</p>", xml.Doc());
    ExpectSettled(xml);
}

TEST(XmlEdit, AnElementWithoutNameIsRefused) {
    XmlProbe xml = Parsed("<r/>");
    EXPECT_FALSE(xml.AddElem(_T("")));
    EXPECT_FALSE(xml.AddElem(nullptr));
    EXPECT_EQ("<r/>", xml.Doc());
}

TEST(XmlEdit, LevelsFollowTheParent) {
    XmlProbe xml = At("<r><a/></r>", "0/0");
    xml.AddChildElem(_T("b"));
    EXPECT_EQ(2, xml.x_Elem(xml.m_iPosChild).Level());
    xml.AddChildSubDoc(_T("<c><d/></c>"));
    EXPECT_EQ(2, xml.x_Elem(xml.m_iPosChild).Level());
    EXPECT_EQ(3, xml.x_Elem(xml.x_Elem(xml.m_iPosChild).child).Level());
}

TEST(XmlEdit, ElementsBesideTheCurrentNodeFollowTextOrder) {
    XmlProbe xml = Parsed("<r><!--c--><a/><!--d--><b/></r>");
    xml.FindElem();
    xml.IntoElem();
    xml.FindNode(32);
    EXPECT_TRUE(xml.AddElem(_T("x"), nullptr, 2)) << "after a comment that comes before every element";
    EXPECT_EQ("<r><!--c--><x/><a/><!--d--><b/></r>", xml.Doc());
    EXPECT_EQ("r[x a b]", xml.Tree());
    xml.FindElem();
    xml.FindNode(32);
    EXPECT_TRUE(xml.InsertElem(_T("y"), nullptr, 2)) << "before a comment that comes after an element";
    EXPECT_EQ("<r><!--c--><x/><a/><y/><!--d--><b/></r>", xml.Doc());
    EXPECT_EQ("r[x a y b]", xml.Tree());
    ExpectSettled(xml);
    EXPECT_EQ(1, xml.GetNodeType());
}

TEST(XmlEdit, AppendingChangesOnlyTheLengthsOfTheAncestors) {
    XmlProbe xml = At("<r><a><b/></a></r>", "0/0/0");
    xml.AddElem(_T("c"), nullptr, 2);
    EXPECT_EQ("<r><a><b/><c/></a></r>", xml.Doc());
    ExpectSettled(xml);
}

TEST(XmlEdit, SubDocuments) {
    XmlProbe xml = At("<r><a/></r>", "0/0");
    EXPECT_TRUE(xml.AddSubDoc(_T(" <?x?><b k='v'><c/></b> tail")));
    EXPECT_EQ("<r><a/><b k='v'><c/></b>\r\n</r>", xml.Doc()) << "what stands around the element is dropped";
    EXPECT_EQ("b", Utf8(xml.GetTagName()));
    EXPECT_TRUE(xml.InsertSubDoc(_T("<d/>")));
    EXPECT_EQ("<r><a/><d/>\r\n<b k='v'><c/></b>\r\n</r>", xml.Doc());
    xml.OutOfElem();
    EXPECT_TRUE(xml.AddChildSubDoc(_T("<e>1</e>")));
    EXPECT_EQ("e", Utf8(xml.GetChildTagName()));
    EXPECT_TRUE(xml.InsertChildSubDoc(_T("<f/>")));
    EXPECT_EQ("r[a d f e b[c]]", xml.Tree());
    ExpectSettled(xml);
    xml.ResetPos();
    EXPECT_FALSE(xml.AddChildSubDoc(_T("<g/>")));
    EXPECT_FALSE(xml.AddSubDoc(_T("")));
    EXPECT_FALSE(xml.AddSubDoc(nullptr));
    ExpectSettled(xml);
}

TEST(XmlEdit, SubDocumentUnderAnEmptyParent) {
    XmlProbe xml = At("<r><p/><q/></r>", "0/0");
    EXPECT_TRUE(xml.AddChildSubDoc(_T("<a><b/></a>")));
    EXPECT_EQ("<r><p>\r\n<a><b/></a>\r\n</p><q/></r>", xml.Doc());
    ExpectSettled(xml);
}

TEST(XmlEdit, SubDocumentOfSeveralElementsIsInsertedWholeAndReportsFalse) {
    XmlProbe xml = At("<r><a/></r>", "0/0");
    EXPECT_FALSE(xml.AddSubDoc(_T("t<b/> u <c><d/></c>v")));
    EXPECT_EQ("<r><a/><b/> u <c><d/></c>\r\n</r>", xml.Doc());
    EXPECT_EQ("r[a b c[d]]", xml.Tree());
    EXPECT_EQ("b", Utf8(xml.GetTagName()));
    ExpectSettled(xml);
}

TEST(XmlEdit, SubDocumentThatDoesNotParseIsInsertedAsItStands) {
    XmlProbe xml = At("<r><a/></r>", "0/0");
    EXPECT_FALSE(xml.AddSubDoc(_T(" just text")));
    EXPECT_EQ("<r><a/> just text</r>", xml.Doc());
    EXPECT_EQ("a", Utf8(xml.GetTagName()));
    ExpectSettled(xml);
    EXPECT_FALSE(xml.AddSubDoc(_T("<b></x></b>")));
    EXPECT_EQ("<r><a/><b></x></b> just text</r>", xml.Doc());
    EXPECT_EQ("No start tag for end tag 'x' at offset 3", xml.Error());
    EXPECT_EQ("b", Utf8(xml.GetTagName()));
    EXPECT_EQ("r[a b]", xml.Tree());
    ExpectSettled(xml);
    EXPECT_FALSE(xml.AddSubDoc(_T("</y>")));
    EXPECT_TRUE(xml.x_Elem(1).HasFlag(XmlProbe::elemIllFormedContent));
    EXPECT_EQ("", xml.Disagreement());
}

TEST(XmlEdit, RemovedElementTakesTheBlanksAfterIt) {
    XmlProbe xml = At("<r>\r\n<a/>\r\n<b/>\r\n<c/> t</r>", "0/1");
    EXPECT_TRUE(xml.RemoveElem());
    EXPECT_EQ("<r>\r\n<a/>\r\n<c/> t</r>", xml.Doc());
    EXPECT_EQ("a", Utf8(xml.GetTagName())) << "main is the previous sibling";
    EXPECT_TRUE(xml.FindElem());
    EXPECT_TRUE(xml.RemoveElem());
    EXPECT_EQ("<r>\r\n<a/>\r\n t</r>", xml.Doc()) << "text follows";
    EXPECT_TRUE(xml.RemoveElem());
    EXPECT_EQ("<r>\r\n\r\n t</r>", xml.Doc());
    EXPECT_EQ(0, xml.m_iPos);
    EXPECT_EQ(0, xml.GetNodeType());
    EXPECT_FALSE(xml.RemoveElem());
    ExpectSettled(xml);
}

TEST(XmlEdit, RemoveChildElem) {
    XmlProbe xml = At("<r><a><x/></a><b/></r>", "0");
    EXPECT_FALSE(xml.RemoveChildElem());
    xml.FindChildElem(_T("b"));
    EXPECT_TRUE(xml.RemoveChildElem());
    EXPECT_EQ("a", Utf8(xml.GetChildTagName()));
    EXPECT_TRUE(xml.RemoveChildElem());
    EXPECT_EQ("<r></r>", xml.Doc());
    EXPECT_EQ(0, xml.m_iPosChild);
    EXPECT_EQ(0x20000u, xml.x_Elem(3).flags) << "what was beneath is released too";
    ExpectSettled(xml);
}

TEST(XmlEdit, RemoveElemNeedsMainAndNoNode) {
    XmlProbe xml = Parsed("<r/><!--c-->");
    EXPECT_FALSE(xml.RemoveElem());
    xml.FindElem();
    xml.FindNode();
    EXPECT_FALSE(xml.RemoveElem());
    EXPECT_EQ("<r/><!--c-->", xml.Doc());
}

// --- Attributes

TEST(XmlEdit, AttributesAreReplacedOrAdded) {
    const struct {
        const char* before;
        const char* after;
    } rows[] = {{"<a/>", "<a k=\"v\"/>"},
                {"<a />", "<a  k=\"v\"/>"},
                {"<a></a>", "<a k=\"v\"></a>"},
                {"<a x='1'/>", "<a x='1' k=\"v\"/>"},
                {"<a k='1'/>", "<a k=\"v\"/>"},
                {"<a k=\"1\" x='2'>t</a>", "<a k=\"v\" x='2'>t</a>"},
                {"<a k=1 x=2/>", "<a k=\"v\" x=2/>"},
                {"<a k=1></a>", "<a k=\"v\"></a>"},
                {"<a k=1/>", "<a k=\"v\"/>"},
                {"<a k=/>", "<a k=\"v\"/>"},
                {"<a k = '1'/>", "<a k = \"v\"/>"},
                {"<a k></a>", "<a k=\"v\"></a>"},
                {"<a k x='1'/>", "<a k=\"v\" x='1'/>"},
                {"<a k= />", "<a k= \"v\"/>"},
                {"<a k=''/>", "<a k=\"v\"/>"},
                {"<a K='1'/>", "<a K='1' k=\"v\"/>"}};
    for (const auto& row : rows) {
        XmlProbe xml = At(row.before, "0");
        EXPECT_TRUE(xml.SetAttrib(_T("k"), _T("v"))) << row.before;
        EXPECT_EQ(row.after, xml.Doc());
        EXPECT_EQ("v", Utf8(xml.GetAttrib(_T("k")))) << row.after;
        ExpectSettled(xml);
    }
}

TEST(XmlEdit, AttributeValuesAreEscapedWithTheirQuotes) {
    XmlProbe xml = At("<a/>", "0");
    EXPECT_TRUE(xml.SetAttrib(_T("k"), _T("1\"2")));
    EXPECT_EQ("<a k=\"1&quot;2\"/>", xml.Doc());
    EXPECT_TRUE(xml.SetAttrib(_T("k"), _T("<&>'")));
    EXPECT_EQ("<a k=\"&lt;&amp;&gt;&apos;\"/>", xml.Doc());
    EXPECT_TRUE(xml.SetAttrib(_T("k"), _T("&lt;"), 8));
    EXPECT_EQ("<a k=\"&lt;\"/>", xml.Doc());
    EXPECT_TRUE(xml.SetAttrib(_T("k"), nullptr));
    EXPECT_EQ("<a k=\"\"/>", xml.Doc());
    EXPECT_TRUE(xml.SetAttrib(_T("k"), -5));
    EXPECT_TRUE(xml.AddAttrib(_T("l"), 6));
    EXPECT_TRUE(xml.AddAttrib(_T("m"), _T("n")));
    EXPECT_EQ("<a k=\"-5\" l=\"6\" m=\"n\"/>", xml.Doc());
    ExpectSettled(xml);
}

TEST(XmlEdit, AttributesShiftWhatFollowsAndWhatIsInside) {
    XmlProbe xml = At("<r><a><b/></a><c/></r>", "0");
    xml.FindChildElem();
    EXPECT_TRUE(xml.SetChildAttrib(_T("k"), _T("v")));
    EXPECT_TRUE(xml.SetChildAttrib(_T("n"), 1));
    EXPECT_TRUE(xml.AddChildAttrib(_T("o"), 2));
    EXPECT_TRUE(xml.AddChildAttrib(_T("p"), _T("q")));
    EXPECT_TRUE(xml.SetAttrib(_T("x"), _T("y")));
    EXPECT_EQ("<r x=\"y\"><a k=\"v\" n=\"1\" o=\"2\" p=\"q\"><b/></a><c/></r>", xml.Doc());
    ExpectSettled(xml);
}

TEST(XmlEdit, AttributesOfProcessingInstructions) {
    XmlProbe xml = Parsed("<?xml version='1.0'?><r><a/></r>");
    EXPECT_FALSE(xml.SetAttrib(_T("k"), _T("v"))) << "no current item";
    xml.FindNode();
    EXPECT_TRUE(xml.SetAttrib(_T("encoding"), _T("UTF-8")));
    EXPECT_TRUE(xml.SetAttrib(_T("version"), _T("1.1")));
    EXPECT_EQ("<?xml version=\"1.1\" encoding=\"UTF-8\"?><r><a/></r>", xml.Doc());
    EXPECT_EQ(38, xml.m_nNodeLength);
    EXPECT_EQ("", xml.Disagreement());
    ExpectSettled(xml);
    EXPECT_EQ(1, xml.FindNode());
    XmlProbe unquoted = Parsed("<?x k=1?><r/>");
    unquoted.FindNode();
    EXPECT_TRUE(unquoted.SetAttrib(_T("k"), _T("2")));
    EXPECT_EQ("<?x k=\"2\"?><r/>", unquoted.Doc());
    ExpectSettled(unquoted);
}

TEST(XmlEdit, AttributesAreWrittenIntoTheirOwnTag) {
    XmlProbe xml = At("<a k=x\"y \"z> \" l=\"v\" </a>", "0");
    EXPECT_TRUE(xml.SetAttrib(_T("l"), _T("w")));
    EXPECT_EQ("<a k=x\"y \"z l=\"w\"> \" l=\"v\" </a>", xml.Doc());
    ExpectSettled(xml);
}

TEST(XmlEdit, AttributesOfAnElementWhoseNameIsNone) {
    XmlProbe xml = At("<r/>", "0");
    EXPECT_TRUE(xml.AddChildElem(_T("1a"), nullptr, 2));
    EXPECT_TRUE(xml.SetChildAttrib(_T("k"), _T("v")));
    EXPECT_EQ("<r><1a k=\"v\"/></r>", xml.Doc());
    EXPECT_EQ("v", Utf8(xml.GetChildAttrib(_T("k"))));
    EXPECT_EQ("", xml.Disagreement());
}

TEST(XmlEdit, AttributesAreRefusedWithoutItemOrName) {
    XmlProbe xml = Parsed("<r/><!--c-->");
    EXPECT_FALSE(xml.SetAttrib(_T("k"), _T("v")));
    EXPECT_FALSE(xml.SetChildAttrib(_T("k"), _T("v")));
    EXPECT_FALSE(xml.SetChildAttrib(_T("k"), 1));
    xml.FindElem();
    EXPECT_FALSE(xml.SetAttrib(_T(""), _T("v")));
    EXPECT_FALSE(xml.SetChildAttrib(_T("k"), _T("v")));
    xml.FindNode();
    EXPECT_FALSE(xml.SetAttrib(_T("k"), _T("v"))) << "a comment has none";
    EXPECT_EQ("<r/><!--c-->", xml.Doc());
}

// --- Data and content

TEST(XmlEdit, DataReplacesTheContent) {
    const struct {
        const char* before;
        const char* after;
    } rows[] = {{"<r><a/><b/></r>", "<r><a>x&lt;y</a><b/></r>"},
                {"<r><a /><b/></r>", "<r><a >x&lt;y</a><b/></r>"},
                {"<r><a></a><b/></r>", "<r><a>x&lt;y</a><b/></r>"},
                {"<r><a>old</a><b/></r>", "<r><a>x&lt;y</a><b/></r>"},
                {"<r><a> <!--c--> <![CDATA[d]]></a><b/></r>", "<r><a>x&lt;y</a><b/></r>"},
                {"<r><a k='v'/><b/></r>", "<r><a k='v'>x&lt;y</a><b/></r>"}};
    for (const auto& row : rows) {
        XmlProbe xml = At(row.before, "0/0");
        EXPECT_TRUE(xml.SetData(_T("x<y")));
        EXPECT_EQ(row.after, xml.Doc());
        EXPECT_EQ("x<y", Utf8(xml.GetData()));
        ExpectSettled(xml);
    }
}

TEST(XmlEdit, DataOfChildrenAndNumbers) {
    XmlProbe xml = At("<r><a/></r>", "0");
    EXPECT_FALSE(xml.SetChildData(_T("x")));
    xml.FindChildElem();
    EXPECT_TRUE(xml.SetChildData(_T("a]]>b"), 1));
    EXPECT_EQ("<r><a><![CDATA[a]]]]><![CDATA[>b]]></a></r>", xml.Doc());
    EXPECT_EQ("a]]>b", Utf8(xml.GetChildData()));
    xml.IntoElem();
    EXPECT_TRUE(xml.SetData(42));
    EXPECT_EQ("<r><a>42</a></r>", xml.Doc());
    EXPECT_TRUE(xml.SetData(_T("&amp;"), 8));
    EXPECT_EQ("<r><a>&amp;</a></r>", xml.Doc());
    EXPECT_TRUE(xml.SetData(_T("")));
    EXPECT_EQ("<r><a></a></r>", xml.Doc());
    ExpectSettled(xml);
}

TEST(XmlEdit, EmptyDataLeavesAnElementWithoutContent) {
    XmlProbe xml = At("<r><a/></r>", "0/0");
    EXPECT_TRUE(xml.SetData(_T("")));
    EXPECT_EQ("", Utf8(xml.GetData()));
    EXPECT_EQ("", Utf8(xml.GetElemContent()));
    ExpectSettled(xml);
}

TEST(XmlEdit, DataIsRefusedOnAnElementWithChildElement) {
    XmlProbe xml = At("<r><a/></r>", "0");
    EXPECT_FALSE(xml.SetData(_T("x")));
    EXPECT_EQ("<r><a/></r>", xml.Doc());
    xml.ResetPos();
    EXPECT_FALSE(xml.SetData(_T("x")));
}

TEST(XmlEdit, DataMakesIllFormedContentWellFormed) {
    XmlProbe xml = At("<r><a>x</b></a></r>", "0/0");
    EXPECT_TRUE(xml.x_Elem(2).HasFlag(XmlProbe::elemIllFormedContent));
    EXPECT_TRUE(xml.SetData(_T("y")));
    EXPECT_EQ("<r><a>y</a></r>", xml.Doc());
    ExpectSettled(xml);
    XmlProbe unended = At("<r><a></r>", "0/0");
    EXPECT_TRUE(unended.SetData(_T("y")));
    EXPECT_EQ("<r><a>y</a></r>", unended.Doc());
    ExpectSettled(unended);
}

TEST(XmlEdit, ElementContent) {
    XmlProbe xml = At("<r><a><x><y/></x></a><b/></r>", "0/0");
    xml.FindChildElem();
    EXPECT_TRUE(xml.SetElemContent(_T("t<c><d/></c> <e/>")));
    EXPECT_EQ("<r><a>t<c><d/></c> <e/></a><b/></r>", xml.Doc());
    EXPECT_EQ("r[a[c[d] e] b]", xml.Tree());
    EXPECT_EQ(0, xml.m_iPosChild);
    ExpectSettled(xml);
    EXPECT_TRUE(xml.SetElemContent(_T("only text")));
    EXPECT_EQ("<r><a>only text</a><b/></r>", xml.Doc());
    EXPECT_TRUE(xml.SetElemContent(_T("")));
    EXPECT_EQ("<r><a></a><b/></r>", xml.Doc());
    ExpectSettled(xml);
    xml = At("<r><a/><b/></r>", "0/0");
    EXPECT_TRUE(xml.SetElemContent(_T("<c/>")));
    EXPECT_EQ("<r><a><c/></a><b/></r>", xml.Doc());
    EXPECT_EQ(2, xml.x_Elem(xml.At("0/0/0")).Level());
    ExpectSettled(xml);
}

TEST(XmlEdit, IllFormedElementContentIsInsertedAndReported) {
    XmlProbe xml = At("<r><a/></r>", "0/0");
    EXPECT_FALSE(xml.SetElemContent(_T("x</y>")));
    EXPECT_EQ("<r><a>x</y></a></r>", xml.Doc());
    EXPECT_TRUE(xml.x_Elem(2).HasFlag(XmlProbe::elemIllFormedContent));
    ExpectSettled(xml);
    EXPECT_FALSE(xml.SetElemContent(_T("<c>")));
    EXPECT_FALSE(xml.x_Elem(2).HasFlag(XmlProbe::elemIllFormedContent));
    EXPECT_EQ("r[a[c]]", xml.Tree());
    ExpectSettled(xml);
    EXPECT_TRUE(xml.SetElemContent(_T("<c/>")));
    ExpectSettled(xml);
}

TEST(XmlEdit, ElementContentNeedsMainAndNoNode) {
    XmlProbe xml = Parsed("<r/><!--c-->");
    EXPECT_FALSE(xml.SetElemContent(_T("x")));
    xml.FindElem();
    xml.FindNode();
    EXPECT_FALSE(xml.SetElemContent(_T("x")));
    EXPECT_EQ("<r/><!--c-->", xml.Doc());
}

// --- The text itself

TEST(XmlEdit, TextGrowsByHalfWhenItsRoomIsUsedUp) {
    XmlProbe xml = At("<a/>", "0");
    while (xml.m_strDoc.GetLength() < xml.m_strDoc.GetAllocLength())
        xml.AddChildElem(_T("b"));
    const int before = xml.m_strDoc.GetAllocLength();
    while (xml.m_strDoc.GetAllocLength() == before)
        xml.AddChildElem(_T("b"), nullptr, 2);
    const int length = xml.m_strDoc.GetLength();
    EXPECT_GE(xml.m_strDoc.GetAllocLength(), length + 128 + length / 2);
    EXPECT_LE(xml.m_strDoc.GetAllocLength(), length + 128 + length / 2 + 16);
}

TEST(XmlEdit, ACopyOfTheTextIsNotChanged) {
    XmlProbe xml = At("<a>1</a>", "0");
    const CString kept = xml.GetDoc();
    xml.SetData(_T("22"));
    EXPECT_EQ("<a>1</a>", Utf8(kept));
    EXPECT_EQ("<a>22</a>", xml.Doc());
}

TEST(XmlEdit, ArgumentsMayBePartsOfTheDocument) {
    XmlProbe xml = At("<a><b/></a>", "0");
    EXPECT_TRUE(xml.AddSubDoc(xml.GetDoc()));
    EXPECT_EQ("<a><b/></a><a><b/></a>\r\n", xml.Doc());
    xml.FindChildElem();
    EXPECT_TRUE(xml.SetChildData(xml.GetDoc()));
    EXPECT_TRUE(xml.SetAttrib(_T("k"), xml.GetDoc()));
    EXPECT_EQ("", xml.Disagreement());
}
