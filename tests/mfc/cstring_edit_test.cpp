// CString: searching, cutting, trimming, editing, and the folding of letters.
#include <string>
#include <vector>

#include "tests/mfc/throws.h"
#include "tests/support/support.h"

namespace {

TEST(CStringFind, StartsWhereItIsToldAndReportsMinusOne) {
    const CString text = _T("abcabc");
    EXPECT_EQ(text.Find(_T("bc")), 1);
    EXPECT_EQ(text.Find(_T("bc"), 2), 4);
    EXPECT_EQ(text.Find(_T("x")), -1);
    EXPECT_EQ(text.Find(_T("a"), -1), -1);
    EXPECT_EQ(text.Find(_T("a"), 7), -1);
    EXPECT_EQ(text.Find(_T("a"), 6), -1);
    EXPECT_EQ(text.Find(_T(""), 3), 3);
    EXPECT_EQ(text.Find(_T(""), 6), 6);
    EXPECT_EQ(text.Find(WCHAR{'c'}), 2);
    EXPECT_EQ(text.Find(WCHAR{'c'}, 3), 5);
    EXPECT_EQ(text.Find(WCHAR{'c'}, 6), -1);
    EXPECT_EQ(text.Find(WCHAR{'c'}, -1), -1);
    EXPECT_EQ(text.ReverseFind('a'), 3);
    EXPECT_EQ(text.ReverseFind('x'), -1);
    EXPECT_EQ(text.FindOneOf(_T("xcb")), 1);
    EXPECT_EQ(text.FindOneOf(_T("xyz")), -1);
    EXPECT_EQ(CString().Find(_T("")), 0);
}

TEST(CStringFind, StopsAtAnEmbeddedNul) {
    const CString text(_T("ab\0cd"), 5);
    EXPECT_EQ(text.Find(_T("cd")), -1);
    EXPECT_EQ(text.Find(_T("cd"), 3), 3);
    EXPECT_EQ(text.Find(WCHAR{'d'}), -1);
    EXPECT_EQ(text.ReverseFind('d'), -1);
}

TEST(CStringParts, NegativeCountsAreZeroAndLongOnesAreClipped) {
    const CString text = _T("abcdef");
    EXPECT_EQ(text.Mid(2), _T("cdef"));
    EXPECT_EQ(text.Mid(2, 2), _T("cd"));
    EXPECT_EQ(text.Mid(-3, 2), _T("ab"));
    EXPECT_EQ(text.Mid(2, -1), _T(""));
    EXPECT_EQ(text.Mid(4, 0x7FFFFFFF), _T("ef"));
    EXPECT_EQ(text.Mid(6), _T(""));
    EXPECT_EQ(text.Mid(9, 1), _T(""));
    EXPECT_EQ(text.Left(2), _T("ab"));
    EXPECT_EQ(text.Left(-1), _T(""));
    EXPECT_EQ(text.Left(6), _T("abcdef"));
    EXPECT_EQ(text.Right(2), _T("ef"));
    EXPECT_EQ(text.Right(-1), _T(""));
    EXPECT_EQ(text.Right(7), _T("abcdef"));
    EXPECT_EQ(text.SpanIncluding(_T("cba")), _T("abc"));
    EXPECT_EQ(text.SpanExcluding(_T("fd")), _T("abc"));
    EXPECT_EQ(text.SpanExcluding(_T("")), _T("abcdef"));
}

TEST(CStringTokenize, SkipsRunsOfDelimitersAndEndsWithMinusOne) {
    const CString text = _T("%First Second#Third");
    std::vector<std::string> tokens;
    int position = 0;
    CString token = text.Tokenize(_T("% #"), position);
    while (position != -1) {
        tokens.push_back(kvttest::Utf8(token));
        token = text.Tokenize(_T("% #"), position);
    }
    EXPECT_TRUE(token.IsEmpty());
    EXPECT_EQ(tokens, (std::vector<std::string>{"First", "Second", "Third"}));
}

TEST(CStringTokenize, PositionStandsBehindTheEndingDelimiter) {
    const CString text = _T("a,,b");
    int position = 0;
    EXPECT_EQ(text.Tokenize(_T(","), position), _T("a"));
    EXPECT_EQ(position, 2);
    EXPECT_EQ(text.Tokenize(_T(","), position), _T("b"));
    EXPECT_EQ(position, 5) << "one behind the length after the last token";
    EXPECT_EQ(text.Tokenize(_T(","), position), _T(""));
    EXPECT_EQ(position, -1);
    EXPECT_THROWS_POINTER(text.Tokenize(_T(","), position), CInvalidArgException);
}

TEST(CStringTokenize, EmptySetGivesTheRest) {
    const CString text = _T("a,b");
    int position = 1;
    EXPECT_EQ(text.Tokenize(_T(""), position), _T(",b"));
    EXPECT_EQ(text.Tokenize(_T(""), position), _T(""));
    EXPECT_EQ(position, -1);
}

TEST(CStringTrim, TakesEverySpaceOfTheRuntimeLibrary) {
    const WCHAR spaces[] = {0x09,   0x0A,   0x0B,   0x0C,   0x0D,   0x20,   0x85,   0xA0,   0x1680,
                            0x2000, 0x2005, 0x200A, 0x2028, 0x2029, 0x202F, 0x205F, 0x3000, 0};
    for (const WCHAR* space = spaces; *space; ++space) {
        const CString blank(*space, 2);
        EXPECT_EQ((blank + _T("a b") + blank).Trim(), _T("a b")) << static_cast<unsigned>(*space);
    }
    for (const unsigned other : {0x08u, 0x0Eu, 0x1Fu, 0x180Eu, 0x200Bu, 0xFEFFu}) {
        const CString text = CString(static_cast<WCHAR>(other), 1) + _T("a");
        EXPECT_EQ(CString(text).Trim(), text) << other;
    }
}

TEST(CStringTrim, EndsAndSets) {
    EXPECT_EQ(CString(_T("  a  ")).TrimLeft(), _T("a  "));
    EXPECT_EQ(CString(_T("  a  ")).TrimRight(), _T("  a"));
    EXPECT_EQ(CString(_T("   ")).Trim(), _T(""));
    EXPECT_EQ(CString(_T("")).Trim(), _T(""));
    EXPECT_EQ(CString(_T("xxaxx")).Trim('x'), _T("a"));
    EXPECT_EQ(CString(_T("xyaxy")).Trim(_T("yx")), _T("a"));
    EXPECT_EQ(CString(_T("xyaxy")).TrimLeft(_T("yx")), _T("axy"));
    EXPECT_EQ(CString(_T("xyaxy")).TrimRight(_T("yx")), _T("xya"));
    EXPECT_EQ(CString(_T(" a ")).Trim(_T("")), _T(" a "));
    EXPECT_EQ(CString(_T(" a ")).Trim(static_cast<LPCWSTR>(nullptr)), _T(" a "));
}

TEST(CStringEdit, ReplaceGoesLeftToRightWithoutOverlap) {
    struct {
        LPCWSTR text, oldText, newText, result;
        int count;
    } const rows[] = {
        {_T("aaaa"), _T("aa"), _T("b"), _T("bb"), 2}, {_T("aaa"), _T("aa"), _T("b"), _T("ba"), 1},
        {_T("abc"), _T("B"), _T("x"), _T("abc"), 0},  {_T("abc"), _T(""), _T("x"), _T("abc"), 0},
        {_T("a.b.c"), _T("."), _T(""), _T("abc"), 2}, {_T("ab"), _T("b"), _T("bbb"), _T("abbb"), 1},
        {_T(""), _T("b"), _T("c"), _T(""), 0},
    };
    for (const auto& row : rows) {
        CString text = row.text;
        EXPECT_EQ(text.Replace(row.oldText, row.newText), row.count) << kvttest::Utf8(row.text);
        EXPECT_EQ(text, row.result) << kvttest::Utf8(row.text);
    }
    CString text = _T("abab");
    EXPECT_EQ(text.Replace('a', 'x'), 2);
    EXPECT_EQ(text.Replace('x', 'x'), 0);
    EXPECT_EQ(text, _T("xbxb"));
}

TEST(CStringEdit, ReplaceSeesBehindAnEmbeddedNul) {
    CString text(_T("a\0a"), 3);
    EXPECT_EQ(text.Replace(_T("a"), _T("b")), 2);
    EXPECT_EQ(text.GetLength(), 3);
    EXPECT_EQ(text[2], 'b');
}

TEST(CStringEdit, InsertAndDeleteClipTheirIndex) {
    CString text = _T("bc");
    EXPECT_EQ(text.Insert(-5, _T("a")), 3);
    EXPECT_EQ(text.Insert(99, _T("d")), 4);
    EXPECT_EQ(text.Insert(2, WCHAR{'-'}), 5);
    EXPECT_EQ(text, _T("ab-cd"));
    EXPECT_EQ(text.Insert(2, static_cast<LPCWSTR>(nullptr)), 5);
    EXPECT_EQ(text.Delete(2), 4);
    EXPECT_EQ(text.Delete(-3, 1), 3);
    EXPECT_EQ(text, _T("bcd"));
    EXPECT_EQ(text.Delete(3), 3);
    EXPECT_EQ(text.Delete(1, 0), 3);
    EXPECT_EQ(text.Delete(1, 0x7FFFFFFF), 1);
    EXPECT_EQ(text, _T("b"));
    EXPECT_EQ(CString(_T("a-b-")).Remove('-'), 2);
}

TEST(CStringEdit, ReverseAndTruncate) {
    EXPECT_EQ(CString(_T("abc")).MakeReverse(), _T("cba"));
    CString text = _T("abc");
    text.Truncate(5);
    EXPECT_EQ(text, _T("abc"));
    text.Truncate(1);
    EXPECT_EQ(text, _T("a"));
    EXPECT_THROWS_POINTER(text.Truncate(-1), CInvalidArgException);
}

struct FoldRow {
    unsigned upper;
    unsigned lower;
};

TEST(Fold, PairsFoldBothWays) {
    const FoldRow rows[] = {
        {'A', 'a'},       {'Z', 'z'},       {0xC9, 0xE9},     {0xDE, 0xFE},     {0x178, 0xFF},    {0x100, 0x101},
        {0x17D, 0x17E},   {0x391, 0x3B1},   {0x3A9, 0x3C9},   {0x410, 0x430},   {0x42F, 0x44F},   {0x401, 0x451},
        {0x531, 0x561},   {0x1E00, 0x1E01}, {0x2160, 0x2170}, {0x24B6, 0x24D0}, {0xFF21, 0xFF41}, {0xFF3A, 0xFF5A},
        {0xA640, 0xA641}, {0x10A0, 0x2D00}, {0x1F08, 0x1F00},
    };
    for (const FoldRow& row : rows) {
        EXPECT_EQ(static_cast<unsigned>(kvtmfc::FoldLower(static_cast<WCHAR>(row.upper))), row.lower);
        EXPECT_EQ(static_cast<unsigned>(kvtmfc::FoldUpper(static_cast<WCHAR>(row.lower))), row.upper);
        EXPECT_EQ(static_cast<unsigned>(kvtmfc::FoldLower(static_cast<WCHAR>(row.lower))), row.lower);
        EXPECT_EQ(static_cast<unsigned>(kvtmfc::FoldUpper(static_cast<WCHAR>(row.upper))), row.upper);
    }
}

TEST(Fold, UnitsWithoutAPairStay) {
    for (const unsigned unit : {0x00u, 0x40u, 0x5Bu, 0x60u, 0x7Bu, 0xDFu, 0xD7u, 0xF7u, 0x130u, 0x138u, 0x4E2Du,
                                0xAC00u, 0xD800u, 0xDC00u, 0xFF20u, 0xFFFFu}) {
        EXPECT_EQ(static_cast<unsigned>(kvtmfc::FoldLower(static_cast<WCHAR>(unit))), unit);
        EXPECT_EQ(static_cast<unsigned>(kvtmfc::FoldUpper(static_cast<WCHAR>(unit))), unit);
    }
}

TEST(Fold, NothingOutsideAsciiFoldsIntoIt) {
    for (unsigned unit = 0x80; unit < 0x10000; ++unit) {
        ASSERT_GE(static_cast<unsigned>(kvtmfc::FoldLower(static_cast<WCHAR>(unit))), 0x80u) << unit;
        ASSERT_GE(static_cast<unsigned>(kvtmfc::FoldUpper(static_cast<WCHAR>(unit))), 0x80u) << unit;
    }
}

TEST(Fold, FoldingTwiceIsFoldingOnce) {
    for (unsigned unit = 0; unit < 0x10000; ++unit) {
        const WCHAR lower = kvtmfc::FoldLower(static_cast<WCHAR>(unit));
        const WCHAR upper = kvtmfc::FoldUpper(static_cast<WCHAR>(unit));
        ASSERT_EQ(kvtmfc::FoldLower(lower), lower) << unit;
        ASSERT_EQ(kvtmfc::FoldUpper(upper), upper) << unit;
    }
}

TEST(Fold, TextsCompareInLowerCase) {
    EXPECT_EQ(CString(_T("Straße É Я Ａ")).CompareNoCase(_T("sTRAßE é я ａ")), 0);
    EXPECT_NE(CString(_T("ß")).CompareNoCase(_T("ss")), 0);
    EXPECT_NE(CString(_T("İ")).CompareNoCase(_T("i")), 0);
    EXPECT_GT(CString(_T("A")).CompareNoCase(_T("_")), 0) << "a letter compares as its lower-case form";
    EXPECT_LT(CString(_T("a")).CompareNoCase(_T("B")), 0);
    EXPECT_LT(CString(_T("a")).CompareNoCase(_T("AB")), 0);
    EXPECT_EQ(kvtmfc::CompareNoCase(_T(""), _T("")), 0);
    EXPECT_EQ(CString(_T("straße éя ａ")).MakeUpper(), _T("STRAßE ÉЯ Ａ"));
    EXPECT_EQ(CString(_T("STRASSE ÉЯ Ａ")).MakeLower(), _T("strasse éя ａ"));
}

}  // namespace
