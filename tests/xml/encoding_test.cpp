// The encoding operations on characters and buffers: code pages of names, decoding and encoding, detection, conversion.

#include <string>
#include <vector>

#include "kvtfile/XmlFile.h"
#include "tests/support/support.h"

namespace {

using kvtfile::CFXmlFile;
using kvttest::Wide;

struct Engine : CFXmlFile {
    using CFXmlFile::ConvertRequest;
    using CFXmlFile::x_ConvertEncoding;
    using CFXmlFile::x_EndianSwapRequired;
    using CFXmlFile::x_EndianSwapUTF16;
    using CFXmlFile::x_GetEncodingCodePage;
};

const struct {
    const char* name;
    int page;
} g_names[] = {
#include "xml/encoding_names_data.inc"
};

int Length(const std::string& bytes) {
    return static_cast<int>(bytes.size());
}

CString ToWide(const char* encoding, const std::string& bytes) {
    Engine::ConvertRequest request;
    request.encoding = encoding;
    request.from = bytes.data();
    request.fromCount = Length(bytes);
    request.toWide = true;
    request.room = Engine::x_ConvertEncoding(request, nullptr);
    CString text;
    const int length = Engine::x_ConvertEncoding(request, text.GetBuffer(request.room));
    EXPECT_EQ(length, request.room);
    text.ReleaseBufferSetLength(length);
    return text;
}

std::string FromWide(const char* encoding, const CString& text, bool* lost = nullptr) {
    Engine::ConvertRequest request;
    request.encoding = encoding;
    request.from = text.GetString();
    request.fromCount = text.GetLength();
    request.room = Engine::x_ConvertEncoding(request, nullptr);
    std::string bytes(static_cast<size_t>(request.room), '\0');
    EXPECT_EQ(Engine::x_ConvertEncoding(request, bytes.data()), request.room);
    if (lost) {
        *lost = request.lost;
    }
    return bytes;
}

std::string EncodedUtf8(int codePoint) {
    char bytes[4];
    int length = 0;
    CFXmlFile::EncodeCharUTF8(codePoint, bytes, length);
    return std::string(bytes, static_cast<size_t>(length));
}

std::vector<int> EncodedUtf16(int codePoint) {
    WCHAR units[2];
    int length = 0;
    CFXmlFile::EncodeCharUTF16(codePoint, units, length);
    return std::vector<int>(units, units + length);
}

TEST(Encoding, EveryNameHasItsCodePageInAnyCase) {
    for (const auto& row : g_names) {
        CString name = row.name;
        EXPECT_EQ(Engine::x_GetEncodingCodePage(name), row.page) << row.name;
        name.MakeUpper();
        EXPECT_EQ(Engine::x_GetEncodingCodePage(name), row.page) << row.name;
    }
}

TEST(Encoding, CodePagesOfWellKnownNames) {
    const struct {
        const char* name;
        int page;
    } rows[] = {{"utf-8", 65001},    {"utf-16", 1200},      {"unicode", 1200},      {"utf-7", 65000},
                {"us-ascii", 20127}, {"ISO-8859-1", 28591}, {"gb2312", 936},        {"GBK", 936},
                {"big5", 950},       {"Shift_JIS", 932},    {"windows-1252", 1252}, {"euc-jp", 51932}};
    for (const auto& row : rows) {
        EXPECT_EQ(Engine::x_GetEncodingCodePage(CString(row.name)), row.page) << row.name;
    }
}

TEST(Encoding, NoNameIsCodePageZero) {
    EXPECT_EQ(Engine::x_GetEncodingCodePage(nullptr), 0);
    EXPECT_EQ(Engine::x_GetEncodingCodePage(_T("")), 0);
}

TEST(Encoding, Utf32NamesAreOneCodePageInExactCase) {
    EXPECT_EQ(Engine::x_GetEncodingCodePage(_T("UTF-32")), 65005);
    EXPECT_EQ(Engine::x_GetEncodingCodePage(_T("UTF-32BE")), 65005);
    EXPECT_EQ(Engine::x_GetEncodingCodePage(_T("UTF-32") + CString(_T('x'), 200)), 65005);
    EXPECT_NE(Engine::x_GetEncodingCodePage(_T("Utf-32x")), 65005);
}

TEST(Encoding, UnknownAndTooLongNamesAreMinusOne) {
    EXPECT_EQ(Engine::x_GetEncodingCodePage(_T("klingon")), -1);
    EXPECT_EQ(Engine::x_GetEncodingCodePage(_T(" utf-8")), -1);
    EXPECT_EQ(Engine::x_GetEncodingCodePage(CString(_T('a'), 99)), -1);
    EXPECT_EQ(Engine::x_GetEncodingCodePage(CString(_T('a'), 100)), -1);
    EXPECT_EQ(Engine::x_GetEncodingCodePage(CString(_T('a'), 100000)), -1);
    const WCHAR kelvin[] = {'g', 'b', 0x212A, 0};
    EXPECT_EQ(Engine::x_GetEncodingCodePage(kelvin), -1);
}

TEST(Encoding, DetectionPassesAsciiAndNothing) {
    int count = -1;
    EXPECT_TRUE(CFXmlFile::DetectUTF8("plain", 5, &count));
    EXPECT_EQ(count, 0);
    count = -1;
    EXPECT_TRUE(CFXmlFile::DetectUTF8("", 0, &count));
    EXPECT_EQ(count, 0);
    EXPECT_TRUE(CFXmlFile::DetectUTF8(nullptr, 0));
}

TEST(Encoding, DetectionCountsSequences) {
    int count = -1;
    EXPECT_TRUE(CFXmlFile::DetectUTF8("a\xC3\xA9\xE4\xB8\xAD\xF0\x9F\x98\x80", 10, &count));
    EXPECT_EQ(count, 3);
}

TEST(Encoding, DetectionCountsWhatItMetBeforeTheBadByte) {
    int count = -1;
    EXPECT_FALSE(CFXmlFile::DetectUTF8("\xC3\xA9\xC3\xA9\xE9 \xC3\xA9", 8, &count));
    EXPECT_EQ(count, 2);
    // Far enough in for whole vectors.
    std::string text;
    for (int i = 0; i < 500; ++i) {
        text += "\xE4\xB8\xAD";
    }
    EXPECT_FALSE(CFXmlFile::DetectUTF8((text + "\x80" + text).data(), 3001, &count));
    EXPECT_EQ(count, 500);
}

TEST(Encoding, DetectionStopsAtTheFirstNul) {
    int count = -1;
    EXPECT_TRUE(CFXmlFile::DetectUTF8("\xC3\xA9\0\xFF", 4, &count));
    EXPECT_EQ(count, 1);
    EXPECT_FALSE(CFXmlFile::DetectUTF8("\xC3\0\xA9", 3));
}

TEST(Encoding, DetectionLooksNoFurtherThanTheLength) {
    EXPECT_TRUE(CFXmlFile::DetectUTF8("a\xFF", 1));
    EXPECT_FALSE(CFXmlFile::DetectUTF8("a\xE4\xB8\xAD", 3));
}

TEST(Encoding, DetectionRefusesSurrogatesLongSpellingsAndCodePointsBeyondTheLast) {
    EXPECT_FALSE(CFXmlFile::DetectUTF8("\xED\xA0\x80", 3));
    EXPECT_FALSE(CFXmlFile::DetectUTF8("\xC0\xAF", 2));
    EXPECT_FALSE(CFXmlFile::DetectUTF8("\xE0\x9F\xBF", 3));
    EXPECT_FALSE(CFXmlFile::DetectUTF8("\xF0\x8F\xBF\xBF", 4));
    EXPECT_FALSE(CFXmlFile::DetectUTF8("\xF4\x90\x80\x80", 4));
    EXPECT_TRUE(CFXmlFile::DetectUTF8("\xF4\x8F\xBF\xBF", 4));
}

TEST(Encoding, DecodingUtf8MovesPastOneCharacter) {
    const std::string text = "a\xC3\xA9\xE4\xB8\xAD\xF0\x9F\x98\x80";
    const char* p = text.data();
    const char* const end = p + text.size();
    for (const int expected : {0x61, 0xE9, 0x4E2D, 0x1F600}) {
        EXPECT_EQ(CFXmlFile::DecodeCharUTF8(p, end), expected);
    }
    EXPECT_EQ(p, end);
    EXPECT_EQ(CFXmlFile::DecodeCharUTF8(p, end), -1);
    EXPECT_EQ(p, end);
}

TEST(Encoding, DecodingABadSequenceMovesPastItsLongestGoodStart) {
    const struct {
        std::string bytes;
        int moved;
    } rows[] = {{"\x80x", 1},    {"\xFFx", 1},        {"\xE4\xB8x", 2},
                {"\xE4\xB8", 2}, {"\xF0\x9F\x98", 3}, {"\xED\xA0\x80", 1}};
    for (const auto& row : rows) {
        const char* p = row.bytes.data();
        EXPECT_EQ(CFXmlFile::DecodeCharUTF8(p, p + row.bytes.size()), -1) << kvttest::Hex(row.bytes);
        EXPECT_EQ(p - row.bytes.data(), row.moved) << kvttest::Hex(row.bytes);
    }
}

TEST(Encoding, DecodingUtf16TakesPairsAndRefusesHalves) {
    const WCHAR units[] = {'a', 0xD83D, 0xDE00, 0xDE00, 0xD83D, 'b', 0xD83D};
    const WCHAR* p = units;
    const WCHAR* const end = units + 7;
    for (const int expected : {0x61, 0x1F600, -1, -1, 0x62, -1}) {
        EXPECT_EQ(CFXmlFile::DecodeCharUTF16(p, end), expected);
    }
    EXPECT_EQ(p, end);
    EXPECT_EQ(CFXmlFile::DecodeCharUTF16(p, end), -1);
}

TEST(Encoding, EncodingAppendsAtTheLength) {
    char bytes[8] = "ab";
    int length = 2;
    CFXmlFile::EncodeCharUTF8(0x4E2D, bytes, length);
    EXPECT_EQ(std::string(bytes, 5), "ab\xE4\xB8\xAD");
    EXPECT_EQ(length, 5);
    WCHAR units[4] = {'a'};
    length = 1;
    CFXmlFile::EncodeCharUTF16(0x1F600, units, length);
    EXPECT_EQ(length, 3);
    EXPECT_EQ(units[1], 0xD83D);
    EXPECT_EQ(units[2], 0xDE00);
}

TEST(Encoding, EncodingWithoutOutputCounts) {
    int length = 0;
    for (const int codePoint : {0x7F, 0x80, 0x7FF, 0x800, 0xFFFF, 0x10000, 0x10FFFF}) {
        CFXmlFile::EncodeCharUTF8(codePoint, nullptr, length);
    }
    EXPECT_EQ(length, 1 + 2 + 2 + 3 + 3 + 4 + 4);
    length = 0;
    CFXmlFile::EncodeCharUTF16(0xFFFF, nullptr, length);
    CFXmlFile::EncodeCharUTF16(0x10000, nullptr, length);
    EXPECT_EQ(length, 3);
}

TEST(Encoding, WhatIsNoCharacterIsEncodedAsReplacement) {
    for (const int codePoint : {-1, 0x110000, 0x7FFFFFFF, 0xD800, 0xDFFF}) {
        EXPECT_EQ(EncodedUtf8(codePoint), "\xEF\xBF\xBD") << codePoint;
    }
    EXPECT_EQ(EncodedUtf16(-1), std::vector<int>{0xFFFD});
    EXPECT_EQ(EncodedUtf16(0x110000), std::vector<int>{0xFFFD});
    EXPECT_EQ(EncodedUtf16(0xD800), std::vector<int>{0xD800});
}

TEST(Encoding, BufferConversionCountsAndConverts) {
    const std::string utf8 = "<a>\xE4\xB8\xAD\xF0\x9F\x98\x80</a>";
    const int units = CFXmlFile::UTF8To16(nullptr, utf8.data(), Length(utf8));
    EXPECT_EQ(units, 10);
    std::vector<WCHAR> wide(static_cast<size_t>(units));
    EXPECT_EQ(CFXmlFile::UTF8To16(wide.data(), utf8.data(), Length(utf8)), units);
    const int bytes = CFXmlFile::UTF16To8(nullptr, wide.data(), units);
    EXPECT_EQ(bytes, Length(utf8));
    std::string back(static_cast<size_t>(bytes), '\0');
    EXPECT_EQ(CFXmlFile::UTF16To8(back.data(), wide.data(), units), bytes);
    EXPECT_EQ(back, utf8);
}

TEST(Encoding, BufferConversionTakesNulsAndReplacesBadParts) {
    const std::string utf8(
        "a\0\xE4\xB8"
        "b\xFF",
        6);
    WCHAR wide[6];
    ASSERT_EQ(CFXmlFile::UTF8To16(wide, utf8.data(), 6), 5);
    const WCHAR expected[] = {'a', 0, 0xFFFD, 'b', 0xFFFD};
    EXPECT_TRUE(std::equal(expected, expected + 5, wide));
    const WCHAR halves[] = {'a', 0xD800, 0, 0xDC00};
    char bytes[16];
    ASSERT_EQ(CFXmlFile::UTF16To8(bytes, halves, 4), 8);
    EXPECT_EQ(std::string(bytes, 8), std::string("a\xEF\xBF\xBD\0\xEF\xBF\xBD", 8));
}

TEST(Encoding, BufferConversionOfNothingIsNothing) {
    EXPECT_EQ(CFXmlFile::UTF8To16(nullptr, nullptr, 0), 0);
    EXPECT_EQ(CFXmlFile::UTF8To16(nullptr, "a", 0), 0);
    EXPECT_EQ(CFXmlFile::UTF8To16(nullptr, "a", -1), 0);
    EXPECT_EQ(CFXmlFile::UTF16To8(nullptr, nullptr, 0), 0);
    EXPECT_EQ(CFXmlFile::UTF16To8(nullptr, _T("a"), -1), 0);
}

TEST(Encoding, SwapIsRequiredForBigEndianFilesOnly) {
    EXPECT_TRUE(Engine::x_EndianSwapRequired(0x80));
    EXPECT_TRUE(Engine::x_EndianSwapRequired(0x98));
    EXPECT_FALSE(Engine::x_EndianSwapRequired(0x7F));
    EXPECT_FALSE(Engine::x_EndianSwapRequired(0));
}

TEST(Encoding, SwapExchangesTheBytesOfEachUnit) {
    WCHAR units[] = {0x1234, 0x00FF, 0xFF00, 0x4E2D, 0x0061, 0x7777};
    Engine::x_EndianSwapUTF16(units, 5);
    const WCHAR expected[] = {0x3412, 0xFF00, 0x00FF, 0x2D4E, 0x6100, 0x7777};
    EXPECT_TRUE(std::equal(expected, expected + 6, units));
}

TEST(Encoding, CodePagesConvertBothWays) {
    const struct {
        const char* encoding;
        std::string bytes;
        const char* utf8;
    } rows[] = {
        {"gb2312", "<a>\xD6\xD0\xCE\xC4</a>", "<a>\xE4\xB8\xAD\xE6\x96\x87</a>"},
        {"GBK", "\x80\xA8\xA6", "\xE2\x82\xAC\xC3\xA9"},
        {"big5", "\xA4\xA4\xA4\xE5", "\xE4\xB8\xAD\xE6\x96\x87"},
        {"shift_jis", "\x93\xFA\x96\x7B", "\xE6\x97\xA5\xE6\x9C\xAC"},
        {"windows-1252", "caf\xE9 \x80", "caf\xC3\xA9 \xE2\x82\xAC"},
        {"iso-8859-1", "caf\xE9 \xA4", "caf\xC3\xA9 \xC2\xA4"},
        {"windows-1251", "\xEC\xE8\xF0", "\xD0\xBC\xD0\xB8\xD1\x80"},
        {"utf-8", "\xE4\xB8\xAD", "\xE4\xB8\xAD"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(kvttest::Utf8(ToWide(row.encoding, row.bytes)), row.utf8) << row.encoding;
        bool lost = true;
        EXPECT_EQ(FromWide(row.encoding, Wide(row.utf8), &lost), row.bytes) << row.encoding;
        EXPECT_FALSE(lost) << row.encoding;
    }
}

TEST(Encoding, CharactersThatThePageLacksAreLost) {
    bool lost = false;
    EXPECT_EQ(FromWide("windows-1252", Wide("a\xE4\xB8\xAD"), &lost), "a?");
    EXPECT_TRUE(lost);
    lost = false;
    EXPECT_EQ(FromWide("gbk", Wide("\xF0\x9F\x98\x80"), &lost), "??");
    EXPECT_TRUE(lost);
}

TEST(Encoding, SimilarCharactersAreNotTakenSilently) {
    bool lost = false;
    EXPECT_EQ(FromWide("windows-1252", Wide("\xCE\xB1"), &lost), "?");
    EXPECT_TRUE(lost);
    lost = false;
    EXPECT_EQ(FromWide("iso-8859-1", Wide("\xE2\x80\x99"), &lost), "?");
    EXPECT_TRUE(lost);
}

TEST(Encoding, HalfASurrogatePairIsLostInUtf8) {
    const WCHAR half[] = {'a', 0xD83D, 0};
    bool lost = false;
    EXPECT_EQ(FromWide("utf-8", half, &lost), "a\xEF\xBF\xBD");
    EXPECT_TRUE(lost);
}

TEST(Encoding, Utf7TakesEveryCharacter) {
    bool lost = true;
    const CString text = Wide("a\xE4\xB8\xAD\xF0\x9F\x98\x80");
    const std::string bytes = FromWide("utf-7", text, &lost);
    EXPECT_FALSE(lost);
    EXPECT_EQ(ToWide("utf-7", bytes), text);
}

TEST(Encoding, NoNameAndUnknownNamesMeanTheAnsiCodePage) {
    // Only what all ANSI code pages share.
    EXPECT_EQ(ToWide("", "<a>1</a>"), _T("<a>1</a>"));
    EXPECT_EQ(ToWide("klingon", "<a>1</a>"), _T("<a>1</a>"));
    EXPECT_EQ(FromWide("klingon", _T("<a>1</a>")), "<a>1</a>");
    WCHAR expected[8];
    const int length = ::MultiByteToWideChar(::GetACP(), 0, "\xE9\xA4", 2, expected, 8);
    EXPECT_EQ(ToWide("klingon", "\xE9\xA4"), CString(expected, length));
}

TEST(Encoding, ARoomTooSmallIsRefused) {
    for (const char* encoding : {"utf-8", "gbk"}) {
        Engine::ConvertRequest request;
        request.encoding = encoding;
        request.from = "abcd";
        request.fromCount = 4;
        request.toWide = true;
        request.room = 3;
        WCHAR out[4] = {};
        ::SetLastError(0);
        EXPECT_EQ(Engine::x_ConvertEncoding(request, out), 0) << encoding;
        EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER)) << encoding;
        EXPECT_EQ(out[3], 0);
        request.from = _T("abcd");
        request.toWide = false;
        char bytes[4] = {};
        ::SetLastError(0);
        EXPECT_EQ(Engine::x_ConvertEncoding(request, bytes), 0) << encoding;
        EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER)) << encoding;
        EXPECT_EQ(bytes[3], 0);
    }
}

TEST(Encoding, PagesThatTheSystemCannotConvertGiveNothing) {
    Engine::ConvertRequest request;
    request.encoding = _T("utf-16");
    request.from = "abcd";
    request.fromCount = 4;
    request.toWide = true;
    EXPECT_EQ(Engine::x_ConvertEncoding(request, nullptr), 0);
    request.encoding = _T("UTF-32");
    EXPECT_EQ(Engine::x_ConvertEncoding(request, nullptr), 0);
}

}  // namespace
