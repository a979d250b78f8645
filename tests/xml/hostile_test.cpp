// Documents made to hurt: very deep ones, floods of errors, cuts at every character. Time must stay linear and nothing
// may recurse; a quadratic path would take minutes on these sizes.

#include <gtest/gtest.h>

#include <memory>
#include <random>

#include "tests/xml/xml_probe.h"

using kvttest::Parsed;
using kvttest::Utf8;
using kvttest::Wide;
using kvttest::XmlProbe;

namespace {

std::string Times(int count, const std::string& text) {
    std::string all;
    all.reserve(text.size() * static_cast<size_t>(count));
    for (int i = 0; i < count; ++i)
        all += text;
    return all;
}

int Children(const XmlProbe& xml, int parent) {
    int count = 0;
    for (int i = xml.x_Elem(parent).child; i != 0; i = xml.x_Elem(i).next)
        ++count;
    return count;
}

}  // namespace

TEST(XmlHostile, AMillionNestedElements) {
    const int depth = 1000000;
    XmlProbe xml = Parsed(Times(depth, "<a>") + Times(depth, "</a>"));
    EXPECT_TRUE(xml.IsWellFormed());
    while (xml.FindElem())
        xml.IntoElem();
    EXPECT_TRUE(xml.OutOfElem());
    EXPECT_TRUE(xml.SetData(_T("deep")));
    EXPECT_TRUE(xml.AddElem(_T("b")));
    XmlProbe copy = xml;
    EXPECT_EQ("", copy.Disagreement());
    EXPECT_TRUE(copy.RemoveElem());
    copy.ResetPos();
    copy.FindElem();
    EXPECT_TRUE(copy.SetAttrib(_T("k"), _T("v")));
    EXPECT_EQ("", copy.Disagreement());
    EXPECT_TRUE(copy.SetElemContent(_T("")));
    EXPECT_EQ("<a k=\"v\"></a>", copy.Doc());
    xml.ResetPos();
    xml.FindElem();
    EXPECT_TRUE(xml.RemoveElem());
    EXPECT_EQ("", xml.Doc());
}

TEST(XmlHostile, PathOfADeepElement) {
    const int depth = 20000;
    const XmlProbe xml = Parsed(Times(depth, "<a>") + Times(depth, "</a>"));
    EXPECT_EQ(depth * 2, xml.x_GetPath(depth).GetLength());
}

TEST(XmlHostile, AMillionUnendedElements) {
    const int count = 1000000;
    const XmlProbe xml = Parsed(Times(count, "<a>"));
    EXPECT_EQ("Root element has sibling", xml.Error());
    EXPECT_EQ(count, Children(xml, 0));
    EXPECT_EQ("", xml.Disagreement());
    const XmlProbe closed = Parsed("<r>" + Times(count, "<a>") + "</r>");
    EXPECT_EQ(count, Children(closed, 1));
    EXPECT_EQ("", closed.Disagreement());
}

TEST(XmlHostile, ManyUnendedElementsWithChildrenKeepDocumentOrder) {
    const int count = 100000;
    const XmlProbe xml = Parsed("<r>" + Times(count, "<a><b/><c></c>") + "</r>");
    EXPECT_EQ(3 * count, Children(xml, 1));
    EXPECT_EQ("", xml.Disagreement());
}

TEST(XmlHostile, StrayEndTagsUnderManyOpenElements) {
    const int count = 200000;
    XmlProbe xml = Parsed(Times(count, "<a>") + Times(count, "</b>") + Times(count, "</a>"));
    EXPECT_EQ("No start tag for end tag 'b' at offset 600000", xml.Error());
    EXPECT_EQ(count + 1, xml.m_iPosFree);
    EXPECT_EQ("", xml.Disagreement());
    // Names that agree up to a delimiter, or in everything but case behind a character outside ASCII.
    EXPECT_EQ("", Parsed(Times(count, "<a=c>") + Times(count, "</a=b>")).Disagreement());
    EXPECT_EQ("", Parsed(Times(count,
                               "<\xC3\xA9"
                               "A>") +
                             Times(count,
                                   "</\xC3\xA9"
                                   "a>"),
                         8)
                      .Disagreement());
    EXPECT_EQ(
        "",
        Parsed(Times(count / 2, "<a><b>") + Times(count, "</c>") + Times(count / 2, "</b></x></a>")).Disagreement());
}

TEST(XmlHostile, AVeryLongNameOfManyParts) {
    const std::string name = "a" + Times(300000, "=");
    const XmlProbe xml = Parsed("<" + name + ">" + Times(1000, "</x>") + "</" + name + ">");
    EXPECT_EQ("a", xml.Tree());
    EXPECT_EQ(xml.GetDoc().GetLength(), xml.x_Elem(1).length);
}

TEST(XmlHostile, FloodsOfUnterminatedMarkup) {
    const int count = 300000;
    for (const char* piece : {"<!--", "<![CDATA[", "<?", "<!D", "<!D'", "<!D<!--", "<!E", "<a ", "<a '", "<a \"",
                              "</a ", "<a b='\"", "<!D[", "<!D<", "<!D<?"}) {
        const XmlProbe xml = Parsed("<r/>" + Times(count, piece));
        EXPECT_EQ("r", xml.Tree()) << piece;
        EXPECT_NE("", xml.Error()) << piece;
    }
}

TEST(XmlHostile, FloodsOfErrorsAndAlmostEndings) {
    const int count = 300000;
    for (const char* piece : {"<1", "<", "<!", "<!x", "<!-x", "<![x", "</>", "<<", "&", "]]>", "-->", "<>", "\"'>"}) {
        const XmlProbe xml = Parsed("<r>" + Times(count, piece) + "</r>");
        EXPECT_EQ("", xml.Disagreement()) << piece;
    }
    EXPECT_TRUE(Parsed("<r><!--" + Times(count, "- >->") + "--></r>").IsWellFormed());
    EXPECT_TRUE(Parsed("<r><![CDATA[" + Times(count, "] >]>") + "]]></r>").IsWellFormed());
    EXPECT_TRUE(Parsed("<r k='" + Times(count, ">\"") + "'/>").IsWellFormed());
    EXPECT_TRUE(Parsed("<r>" + Times(count, "<a k=\"it's\"/>") + "</r>").IsWellFormed());
}

TEST(XmlHostile, ReadingThroughFloods) {
    XmlProbe xml = Parsed("<r>" + Times(100000, "</x>") + "</r>");
    xml.FindElem();
    EXPECT_EQ("", Utf8(xml.GetData()));
    xml.IntoElem();
    int count = 0;
    while (xml.FindNode(128) != 0)
        ++count;
    EXPECT_EQ(100000, count);
    XmlProbe names = Parsed("<r " + Times(100000, "a='b' ") + "/>");
    names.FindElem();
    EXPECT_EQ("a", Utf8(names.GetAttribName(99999)));
    EXPECT_EQ("", Utf8(names.GetAttrib(_T("c"))));
}

TEST(XmlHostile, RandomTextIsIndexedWithoutDisagreement) {
    std::mt19937 random(20240607);
    const std::string alphabet = "<<<<>>>>//!!--??[]CDE\"' \n=abAB&;\x01";
    for (int round = 0; round < 4000; ++round) {
        std::string text;
        const int length = static_cast<int>(random() % 200);
        for (int i = 0; i < length; ++i)
            text += alphabet[random() % alphabet.size()];
        XmlProbe xml = Parsed(text, random() % 2 == 0 ? 8 : 0);
        EXPECT_EQ("", xml.Disagreement()) << text;
        int nodes = 0;
        while (xml.FindNode() != 0 && nodes < 500)
            ++nodes;
        EXPECT_LT(nodes, 500) << text;
        xml.ResetPos();
        while (xml.FindElem()) {
            xml.GetData();
            xml.GetAttrib(_T("a"));
            xml.GetAttribName(1);
            xml.GetSubDoc();
            xml.GetElemContent();
        }
    }
}

TEST(XmlHostile, LoneSurrogatesAreCharactersLikeAnyOther) {
    CString text = _T("<r><");
    text.AppendChar(static_cast<WCHAR>(0xD800));
    text += _T("/></r>");
    XmlProbe xml;
    EXPECT_TRUE(xml.SetDoc(text));
    EXPECT_EQ(text, xml.GetDoc());
    xml.FindChildElem();
    EXPECT_EQ(1, xml.GetChildTagName().GetLength());
    EXPECT_EQ(0xD800, xml.GetChildTagName()[0]);
}

TEST(XmlHostile, EveryCutOfADocumentIsReadToItsEndAndNoFurther) {
    const std::string text =
        "<?xml version='1.0' encoding=\"UTF-8\"?>\r\n<!DOCTYPE r [<!ENTITY e \"v>\"><!-- it's --><?p ?>]>\r\n"
        "<r a='1' b=\"two &quot; >\" c=3><!-- comment - -- > --><x/><y>text &amp; more</y ><![CDATA[<z>]] ]]>"
        "<long_element_name_to_compare k='it \"is\"' l=\"it's\"></long_element_name_to_compare><!ELEMENT q></r> ";
    const CString whole = Wide(text);
    for (int length = 0; length <= whole.GetLength(); ++length) {
        // The characters end flush with their allocation, but for the NUL.
        auto flush = std::make_unique<WCHAR[]>(static_cast<size_t>(length) + 1);
        for (int i = 0; i < length; ++i)
            flush[static_cast<size_t>(i)] = whole[i];
        flush[static_cast<size_t>(length)] = 0;
        XmlProbe::TokenPos token(flush.get(), length, 0);
        XmlProbe::NodePos node;
        int nodes = 0;
        while (XmlProbe::x_ParseNode(token, node) != -2 && nodes < 100)
            ++nodes;
        EXPECT_LT(nodes, 100) << length;
        EXPECT_EQ(length, token.next);

        XmlProbe xml;
        xml.SetDoc(flush.get());
        EXPECT_EQ(length >= whole.GetLength() - 1, xml.IsWellFormed()) << length;
        EXPECT_EQ("", xml.Disagreement()) << length;
        token = XmlProbe::TokenPos(flush.get(), length, 0);
        XmlProbe scratch = Parsed("<s/>");
        const int record = scratch.x_GetFreePos();
        scratch.x_Elem(record) = XmlProbe::ElemPos();
        scratch.x_ParseElem(record, token);
        EXPECT_EQ(length, token.next);
    }
}
