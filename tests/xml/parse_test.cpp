// The parser: what records a text gives, and the exact first error of every text that is not well formed.

#include <gtest/gtest.h>

#include <string>

#include "tests/xml/xml_probe.h"

using kvttest::Parsed;
using kvttest::Utf8;
using kvttest::Wide;
using kvttest::XmlProbe;

TEST(XmlParse, DefaultDocumentIsEmptyWithItsError) {
    XmlProbe xml;
    EXPECT_EQ("", xml.Doc());
    EXPECT_EQ("Empty document", xml.Error());
    EXPECT_FALSE(xml.IsWellFormed());
    EXPECT_EQ(0, xml.GetDocFlags());
}

TEST(XmlParse, ConstructorFromFlagsKeepsThem) {
    XmlProbe xml(8);
    EXPECT_EQ(8, xml.GetDocFlags());
    xml.SetDocFlags(5);
    EXPECT_EQ(5, xml.GetDocFlags());
    xml.InitDocFlags();
    EXPECT_EQ(0, xml.GetDocFlags());
}

TEST(XmlParse, ConstructorFromTextParsesIt) {
    XmlProbe xml(_T("<a><b/></a>"));
    EXPECT_TRUE(xml.IsWellFormed());
    EXPECT_EQ("a[b]", xml.Tree());
    XmlProbe wide(L"<a/>");
    EXPECT_EQ("a", wide.Tree());
}

TEST(XmlParse, SetDocOfNullEmptiesTheDocument) {
    XmlProbe xml(_T("<a/>"));
    EXPECT_FALSE(xml.SetDoc(nullptr));
    EXPECT_EQ("", xml.Doc());
    EXPECT_EQ("Empty document", xml.Error());
    EXPECT_FALSE(xml.FindElem());
}

TEST(XmlParse, SetDocClearsTheResultTextAndTheCursor) {
    XmlProbe xml = Parsed("<a><b></a>");
    xml.FindElem();
    EXPECT_NE("", xml.Error());
    EXPECT_TRUE(xml.SetDoc(_T("<c/>")));
    EXPECT_EQ("", xml.Error());
    EXPECT_EQ(0, xml.m_iPos);
    EXPECT_EQ(0, xml.m_nNodeType);
}

TEST(XmlParse, RecordHasEightFieldsOfFourBytes) {
    EXPECT_EQ(32u, sizeof(XmlProbe::ElemPos));
    XmlProbe::ElemPos record = {};
    record.start = 1;
    record.length = 2;
    record.SetStartTagLength(3);
    record.SetEndTagLength(4);
    record.flags = 5;
    record.parent = 6;
    record.child = 7;
    record.next = 8;
    record.previous = 9;
    const unsigned expected[8] = {1, 2, 3 | (4u << 22), 5, 6, 7, 8, 9};
    EXPECT_EQ(0, memcmp(expected, &record, sizeof(record)));
}

TEST(XmlParse, TagLengthsAreKeptModuloTheirFields) {
    XmlProbe::ElemPos record = {};
    record.SetStartTagLength(0x400005);
    record.SetEndTagLength(1027);
    EXPECT_EQ(5, record.StartTagLength());
    EXPECT_EQ(3, record.EndTagLength());
}

TEST(XmlParse, RecordsOfNestedElements) {
    const XmlProbe xml = Parsed("<a x='1'>t<b/><c>d</c >\r\n</a>");
    EXPECT_TRUE(xml.IsWellFormed());
    EXPECT_EQ("a 0+29 9/4 0\nb 10+4 4/0 0\nc 14+9 3/5 0\n", xml.Records());
    EXPECT_EQ("", xml.Disagreement());
    EXPECT_EQ(29, xml.x_Elem(0).length);
    EXPECT_EQ(1, xml.x_Elem(0).child);
    const auto& b = xml.x_Elem(2);
    const auto& c = xml.x_Elem(3);
    EXPECT_EQ(1, b.parent);
    EXPECT_EQ(3, b.next);
    EXPECT_EQ(3, b.previous) << "the first child's previous is the last child";
    EXPECT_TRUE(b.HasFlag(XmlProbe::elemFirstChild));
    EXPECT_EQ(2, c.previous);
    EXPECT_EQ(0, c.next);
    EXPECT_FALSE(c.HasFlag(XmlProbe::elemFirstChild));
}

TEST(XmlParse, LevelCountsFromTheRoot) {
    const XmlProbe xml = Parsed("<a><b><c/></b></a>");
    EXPECT_EQ(0, xml.x_Elem(1).Level());
    EXPECT_EQ(1, xml.x_Elem(2).Level());
    EXPECT_EQ(2, xml.x_Elem(3).Level());
}

TEST(XmlParse, LevelIsKeptModulo65536AndLeavesTheFlagsAlone) {
    std::string text;
    for (int i = 0; i < 65540; ++i)
        text += "<a>";
    for (int i = 0; i < 65540; ++i)
        text += "</a>";
    const XmlProbe xml = Parsed(text);
    EXPECT_TRUE(xml.IsWellFormed());
    EXPECT_EQ(65535, xml.x_Elem(65536).Level());
    EXPECT_EQ(0, xml.x_Elem(65537).Level());
    EXPECT_EQ(unsigned(XmlProbe::elemFirstChild), xml.x_Elem(65537).flags);
    EXPECT_EQ(3, xml.x_Elem(65540).Level());
}

struct ErrorCase {
    const char* text;
    const char* error;
    const char* tree;
};

class XmlParseError : public testing::TestWithParam<ErrorCase> {};

TEST_P(XmlParseError, FirstErrorAndTreeAreExact) {
    const ErrorCase& row = GetParam();
    const XmlProbe xml = Parsed(row.text);
    EXPECT_FALSE(xml.IsWellFormed());
    EXPECT_EQ(row.error, xml.Error());
    EXPECT_EQ(row.tree, xml.Tree());
    EXPECT_EQ("", xml.Disagreement());
}

INSTANTIATE_TEST_SUITE_P(
    Rows, XmlParseError,
    testing::Values(ErrorCase{"", "Empty document", ""}, ErrorCase{"text", "No root element", ""},
                    ErrorCase{"<!-- only a comment -->", "No root element", ""},
                    ErrorCase{"<a/><b/>", "Root element has sibling", "a b"},
                    ErrorCase{"<a></a><a></a>", "Root element has sibling", "a a"},
                    // The end tag's own start less one; the start tag's start as it is.
                    ErrorCase{"<a><b></a>", "End tag 'a' at offset 5 does not match start tag 'b' at offset 3", "a[b]"},
                    ErrorCase{"<a><b><c></a>", "End tag 'a' at offset 8 does not match start tag 'c' at offset 6",
                              "a[b c]"},
                    ErrorCase{"<a>", "Element 'a' at offset 0 not ended", "a"},
                    ErrorCase{"<a b='c'>text", "Element 'a' at offset 0 not ended", "a"},
                    // An unended root keeps no children: they become its siblings, and that error replaces the other.
                    ErrorCase{"<a><b>", "Root element has sibling", "a b"},
                    ErrorCase{"<r><a></b></r>", "No start tag for end tag 'b' at offset 6", "r[a]"},
                    ErrorCase{"<a></b></a>", "No start tag for end tag 'b' at offset 3", "a"},
                    ErrorCase{"</b><a/>", "No start tag for end tag 'b' at offset 0", "a"},
                    ErrorCase{"<a/></b>", "No start tag for end tag 'b' at offset 4", "a"},
                    ErrorCase{"<a></></a>", "No start tag for end tag '' at offset 3", "a"},
                    ErrorCase{"<a></ a></a>", "No start tag for end tag '' at offset 3", "a"},
                    ErrorCase{"<a></A></a>", "No start tag for end tag 'A' at offset 3", "a"},
                    ErrorCase{"<a></ab></a>", "No start tag for end tag 'ab' at offset 3", "a"},
                    ErrorCase{"<ab></a></ab>", "No start tag for end tag 'a' at offset 4", "ab"},
                    ErrorCase{"<a></b></c></a>", "No start tag for end tag 'b' at offset 3", "a"},
                    ErrorCase{"<a><1/></a>", "Incorrect tag name character at offset 3", "a"},
                    ErrorCase{"<a>x < y</a>", "Incorrect tag name character at offset 5", "a"},
                    ErrorCase{"<a><></a>", "Incorrect tag name character at offset 3", "a"},
                    ErrorCase{"<a><;/></a>", "Incorrect tag name character at offset 3", "a"},
                    ErrorCase{"<a><@/></a>", "Incorrect tag name character at offset 3", "a"},
                    ErrorCase{"<a><[/></a>", "Incorrect tag name character at offset 3", "a"},
                    ErrorCase{"<a><^/></a>", "Incorrect tag name character at offset 3", "a"},
                    ErrorCase{"<a><`/></a>", "Incorrect tag name character at offset 3", "a"},
                    ErrorCase{"<a><<b/></a>", "Incorrect tag name character at offset 3", "a"},
                    ErrorCase{"<a><!x></a>", "Incorrect ! tag at offset 3", "a"},
                    ErrorCase{"<a><!></a>", "Incorrect ! tag at offset 3", "a"},
                    ErrorCase{"<a><!-x></a>", "Incorrect comment tag at offset 3", "a"},
                    ErrorCase{"<a><![X></a>", "Incorrect tag at offset 3", "a"},
                    ErrorCase{"<a/><!DOCTYPE x", "Doctype at offset 4 unterminated", "a"},
                    ErrorCase{"<a/><!DOCTYPE x [<!ENTITY>", "Doctype at offset 4 unterminated", "a"},
                    ErrorCase{"<a/><!DOCTYPE '>", "Doctype at offset 4 unterminated", "a"},
                    ErrorCase{"<a/><!DOCTYPE [<!-- >", "Doctype at offset 4 unterminated", "a"},
                    ErrorCase{"<a/><!DOCTYPE [<? >", "Doctype at offset 4 unterminated", "a"},
                    ErrorCase{"<a/><!ELEMENT x", "Doctype at offset 4 unterminated", "a"},
                    ErrorCase{"<a/><!A", "Doctype at offset 4 unterminated", "a"},
                    ErrorCase{"<a/><!N", "Doctype at offset 4 unterminated", "a"},
                    ErrorCase{"<a/><b", "Element tag at offset 4 unterminated", "a"},
                    ErrorCase{"<a/><b c='>", "Element tag at offset 4 unterminated", "a"},
                    ErrorCase{"<a/><b c=\">'", "Element tag at offset 4 unterminated", "a"},
                    ErrorCase{"<a></a", "Element end tag at offset 3 unterminated", "a"},
                    ErrorCase{"<a></", "Element end tag at offset 3 unterminated", "a"},
                    ErrorCase{"<a/><![CDATA[ ]]", "CDATA Section at offset 4 unterminated", "a"},
                    ErrorCase{"<a/><![C", "CDATA Section at offset 4 unterminated", "a"},
                    ErrorCase{"<a/><?x ?", "Processing instruction at offset 4 unterminated", "a"},
                    ErrorCase{"<a/><?>", "Processing instruction at offset 4 unterminated", "a"},
                    ErrorCase{"<a/><!-- --", "Comment at offset 4 unterminated", "a"},
                    ErrorCase{"<a/><!-->", "Comment at offset 4 unterminated", "a"},
                    ErrorCase{"<a/><!--->", "Comment at offset 4 unterminated", "a"},
                    ErrorCase{"<a/><", "tag at offset 4 unterminated", "a"},
                    ErrorCase{"<a/><!", "tag at offset 4 unterminated", "a"},
                    ErrorCase{"<a/><!-", "tag at offset 4 unterminated", "a"},
                    ErrorCase{"<a/><![", "tag at offset 4 unterminated", "a"},
                    // Only the first error is told.
                    ErrorCase{"<a><1></b><!x></a>", "Incorrect tag name character at offset 3", "a"}));

struct WellFormedCase {
    const char* text;
    const char* tree;
};

class XmlParseWellFormed : public testing::TestWithParam<WellFormedCase> {};

TEST_P(XmlParseWellFormed, TreeIsExact) {
    const WellFormedCase& row = GetParam();
    const XmlProbe xml = Parsed(row.text);
    EXPECT_TRUE(xml.IsWellFormed());
    EXPECT_EQ("", xml.Error());
    EXPECT_EQ(row.tree, xml.Tree());
    EXPECT_EQ("", xml.Disagreement());
}

INSTANTIATE_TEST_SUITE_P(
    Rows, XmlParseWellFormed,
    testing::Values(WellFormedCase{"<a/>", "a"}, WellFormedCase{"<a></a>", "a"}, WellFormedCase{"<a></a >", "a"},
                    WellFormedCase{"<a></a\r\n>", "a"}, WellFormedCase{"<a\t/>", "a"}, WellFormedCase{"<:/>", ":"},
                    WellFormedCase{"<_/>", "_"}, WellFormedCase{"<Z/>", "Z"}, WellFormedCase{"<z/>", "z"},
                    WellFormedCase{"<\xE5\xB1\x82/>", "\xE5\xB1\x82"}, WellFormedCase{"<{/>", "{"},
                    WellFormedCase{"<?xml version='1.0'?><!-- x --><a/><!-- y --><?z?>", "a"},
                    WellFormedCase{"<a b='>' c=\"/>\" d='\"'><b/></a>", "a[b]"}, WellFormedCase{"<a b=\"it's\"/>", "a"},
                    WellFormedCase{"<a b='x' c=\"it's >\"><b/></a>", "a[b]"}, WellFormedCase{"<a b=x/>", "a"},
                    WellFormedCase{"<a / ></a>", "a"}, WellFormedCase{"<a></a b='>'>", "a"},
                    WellFormedCase{"<a>x > y it's \"</a>", "a"}, WellFormedCase{"<a><!-- <b> -- > --></a>", "a"},
                    WellFormedCase{"<a><![CDATA[<b>]] >]]]></a>", "a"}, WellFormedCase{"<a><![C<b>]]></a>", "a"},
                    WellFormedCase{"<a><?x <b> > ?></a>", "a"},
                    WellFormedCase{"<!DOCTYPE a [<!ENTITY x \"a>b\"><!-- it's > --><?p > ?><!ELEMENT a (b)>]><a/>",
                                   "a"},
                    WellFormedCase{"<!DOCTYPE a SYSTEM \"x>y\"><a/>", "a"},
                    WellFormedCase{"<!ELEMENT a><!ATTLIST b><a/>", "a"}, WellFormedCase{"<!NOTATION a '><a/>", "a"},
                    // The name in the start tag may go on behind one of "=[]".
                    WellFormedCase{"<a=b></a>", "a"}, WellFormedCase{"<a[1]></a>", "a[1]"},
                    WellFormedCase{"<a]></a>", "a]"}, WellFormedCase{"<a=b=c></a=b>", "a"},
                    WellFormedCase{"<long_name_of_an_element_of_more_than_32></"
                                   "long_name_of_an_element_of_more_than_32>",
                                   "long_name_of_an_element_of_more_than_32"}));

TEST(XmlParse, EndTagMismatchClosesInnerElementAsNotEnded) {
    const XmlProbe xml = Parsed("<a><b></a>");
    EXPECT_EQ("a 0+10 3/4 0\nb 3+3 3/0 1\n", xml.Records());
    EXPECT_TRUE(xml.x_Elem(0).HasFlag(XmlProbe::elemIllFormed));
}

TEST(XmlParse, ChildrenOfUnendedElementsBecomeTheirFollowingSiblings) {
    const XmlProbe xml = Parsed("<r><a><b><x/><c>t<y></y><z/></r>");
    EXPECT_EQ("r[a b x c y z]", xml.Tree());
    EXPECT_EQ("", xml.Disagreement());
    EXPECT_EQ("r 0+32 3/4 0\na 3+3 3/0 1\nb 6+3 3/0 1\nx 9+4 4/0 0\nc 13+3 3/0 1\ny 17+7 3/4 0\nz 24+4 4/0 0\n",
              xml.Records());
    EXPECT_EQ("End tag 'r' at offset 27 does not match start tag 'c' at offset 13", xml.Error());
}

TEST(XmlParse, IllFormedContentMovesFromUnendedElementsToTheirParent) {
    XmlProbe xml = Parsed("<r><a><1></r>");
    EXPECT_TRUE(xml.x_Elem(1).HasFlag(XmlProbe::elemIllFormedContent));
    EXPECT_FALSE(xml.x_Elem(2).HasFlag(XmlProbe::elemIllFormedContent));
    xml = Parsed("<r><a><b></x><c></r>");
    EXPECT_TRUE(xml.x_Elem(1).HasFlag(XmlProbe::elemIllFormedContent));
    EXPECT_FALSE(xml.x_Elem(3).HasFlag(XmlProbe::elemIllFormedContent));
    xml = Parsed("<r><1>");
    EXPECT_TRUE(xml.x_Elem(0).HasFlag(XmlProbe::elemIllFormedContent));
    EXPECT_FALSE(xml.x_Elem(1).HasFlag(XmlProbe::elemIllFormedContent));
}

TEST(XmlParse, ErrorNodesMarkTheInnermostElementAndTheDocument) {
    XmlProbe xml = Parsed("<r><a></x></a></r>");
    EXPECT_TRUE(xml.x_Elem(0).HasFlag(XmlProbe::elemIllFormed));
    EXPECT_FALSE(xml.x_Elem(1).HasFlag(XmlProbe::elemIllFormedContent));
    EXPECT_TRUE(xml.x_Elem(2).HasFlag(XmlProbe::elemIllFormedContent));
    xml = Parsed("<1><r/>");
    EXPECT_TRUE(xml.x_Elem(0).HasFlag(XmlProbe::elemIllFormedContent));
    EXPECT_EQ("r", xml.Tree());
}

TEST(XmlParse, IgnoreCaseMatchesEndTagsInEitherCase) {
    XmlProbe xml = Parsed("<A></a>", 8);
    EXPECT_TRUE(xml.IsWellFormed());
    EXPECT_EQ("", xml.Error());
    EXPECT_TRUE(Parsed("<abcDEFghiJKLmno></ABCdefGHIjklMNO>", 8).IsWellFormed());
    EXPECT_FALSE(Parsed("<a{></a[>", 8).IsWellFormed()) << "only letters fold";
    EXPECT_TRUE(Parsed("<A\xC3\xA9></a\xC3\xA9>", 8).IsWellFormed());
    EXPECT_FALSE(Parsed("<\xC3\xA9"
                        "A></\xC3\xA9"
                        "a>",
                        8)
                     .IsWellFormed())
        << "behind a matched character outside ASCII the rest is compared exactly";
    EXPECT_FALSE(Parsed("<\xC3\xA9></\xC3\x89>", 8).IsWellFormed());
}

TEST(XmlParse, AnEndTagMayCloseAnOuterElementOfIgnoredCase) {
    const XmlProbe xml = Parsed("<R><A><B></r>", 8);
    EXPECT_EQ("R[A B]", xml.Tree());
    EXPECT_EQ("End tag 'r' at offset 8 does not match start tag 'B' at offset 6", xml.Error());
}

TEST(XmlParse, AStrayEndTagAfterAMismatchIsStillFound) {
    const XmlProbe xml = Parsed("<a><b></x></b><c></y></c></b><d></a>");
    EXPECT_EQ("a[b c d]", xml.Tree());
    EXPECT_EQ("No start tag for end tag 'x' at offset 6", xml.Error());
    EXPECT_EQ("", xml.Disagreement());
}

TEST(XmlParse, NulEndsTheDocument) {
    CString text = Wide("<a/>");
    text.AppendChar(0);
    text += _T("<b/>");
    XmlProbe xml;
    EXPECT_TRUE(xml.SetDoc(text));
    EXPECT_EQ(9, xml.GetDoc().GetLength());
    EXPECT_EQ("a", xml.Tree());
    EXPECT_EQ(9, xml.x_Elem(0).length);

    CString inTag = Wide("<a><b");
    inTag.AppendChar(0);
    inTag += _T("></b></a>");
    EXPECT_FALSE(xml.SetDoc(inTag));
    EXPECT_EQ("Element tag at offset 3 unterminated", xml.Error());
}

TEST(XmlParse, LongTagsAreKeptModuloTheirFields) {
    const std::string spaces(1030, ' ');
    const XmlProbe xml = Parsed("<a></a" + spaces + ">");
    EXPECT_TRUE(xml.IsWellFormed());
    EXPECT_EQ(1034 % 1024, xml.x_Elem(1).EndTagLength());
    EXPECT_EQ(3, xml.x_Elem(1).StartTagLength());
    EXPECT_EQ(1037, xml.x_Elem(1).length);
}

// --- Growth of the record array

TEST(XmlRecords, FirstAllocationFollowsTheLengthOfTheText) {
    EXPECT_EQ(8, XmlProbe().m_nPosAllocated);
    EXPECT_EQ(4, XmlProbe().m_nSegmentCapacity);
    XmlProbe xml = Parsed("<a>" + std::string(640 - 7, 'x') + "</a>");
    EXPECT_EQ(18, xml.m_nPosAllocated);
    xml.SetDoc(_T("<a/>"));
    EXPECT_EQ(18, xml.m_nPosAllocated) << "the array only grows";
    EXPECT_EQ(2, xml.m_iPosFree);
}

TEST(XmlRecords, GrowthIsByHalfOfTheNextFreeIndex) {
    XmlProbe xml;
    while (xml.m_iPosFree < 8)
        xml.x_GetFreePos();
    EXPECT_EQ(8, xml.m_nPosAllocated);
    EXPECT_EQ(8, xml.x_GetFreePos());
    EXPECT_EQ(12, xml.m_nPosAllocated);
    EXPECT_EQ(9, xml.m_iPosFree);
}

TEST(XmlRecords, GrowthSpansAtMostOneNewSegment) {
    XmlProbe xml;
    xml.x_Elem(3).start = 77;
    EXPECT_TRUE(xml.x_AllocPosArray(60000));
    EXPECT_EQ(60000, xml.m_nPosAllocated);
    EXPECT_TRUE(xml.x_AllocPosArray(1000000));
    EXPECT_EQ(2 << 16, xml.m_nPosAllocated);
    EXPECT_TRUE(xml.x_AllocPosArray(1000000));
    EXPECT_EQ(3 << 16, xml.m_nPosAllocated);
    EXPECT_EQ(4, xml.m_nSegmentCapacity);
    EXPECT_TRUE(xml.x_AllocPosArray(3 * 65536 + 5));
    EXPECT_EQ(3 * 65536 + 5, xml.m_nPosAllocated);
    EXPECT_TRUE(xml.x_AllocPosArray(5 * 65536));
    EXPECT_EQ(5 * 65536, xml.m_nPosAllocated) << "one segment more, the old last one made whole";
    EXPECT_EQ(12, xml.m_nSegmentCapacity);
    EXPECT_TRUE(xml.x_AllocPosArray(10));
    EXPECT_EQ(5 * 65536, xml.m_nPosAllocated);
    EXPECT_EQ(77, xml.x_Elem(3).start) << "records are kept";
}

TEST(XmlRecords, ReleasedRecordsFormAChainAndAreNotReused) {
    XmlProbe xml = Parsed("<a><b/><c/></a>");
    EXPECT_EQ(3, xml.x_ReleasePos(2));
    EXPECT_EQ(0, xml.x_ReleasePos(3));
    EXPECT_EQ(3, xml.m_iPosReleased);
    EXPECT_EQ(2, xml.x_Elem(3).next);
    EXPECT_EQ(0, xml.x_Elem(2).next);
    EXPECT_EQ(0x20000u, xml.x_Elem(2).flags);
    EXPECT_EQ(4, xml.x_GetFreePos());
}

TEST(XmlRecords, NumbersAsText) {
    EXPECT_EQ("0", Utf8(XmlProbe::x_IntToStr(0)));
    EXPECT_EQ("-2147483648", Utf8(XmlProbe::x_IntToStr(-2147483647 - 1)));
}

TEST(XmlRecords, LastSystemErrorIsCutAtItsLineEnd) {
    ::SetLastError(ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(kvttest::SystemText(ERROR_FILE_NOT_FOUND), XmlProbe::x_GetLastError());
    EXPECT_NE("", Utf8(XmlProbe::x_GetLastError()));
    ::SetLastError(0x2FFFFFFF);
    EXPECT_EQ("", Utf8(XmlProbe::x_GetLastError()));
}
