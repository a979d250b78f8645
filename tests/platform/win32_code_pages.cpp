// Code pages: both directions, invalid input, default characters, sizes and errors.

#include <string>
#include <thread>
#include <vector>

#include "tests/support/support.h"

namespace {

using kvttest::Hex;

// The text of bytes, or "error N".
CString Decode(UINT page, const std::string& bytes, DWORD flags = 0) {
    WCHAR buffer[300];
    ::SetLastError(0);
    const int length = ::MultiByteToWideChar(page, flags, bytes.data(), static_cast<int>(bytes.size()), buffer, 300);
    if (length == 0) {
        CString error;
        error.Format(_T("error %u"), static_cast<unsigned>(::GetLastError()));
        return error;
    }
    EXPECT_EQ(::MultiByteToWideChar(page, flags, bytes.data(), static_cast<int>(bytes.size()), nullptr, 0), length);
    return CString(buffer, length);
}

struct Encoded {
    std::string hex;
    int used;  // -1 was not asked for
    bool operator==(const Encoded&) const = default;
};

void PrintTo(const Encoded& value, std::ostream* out) {
    *out << value.hex << " used " << value.used;
}

Encoded Encode(UINT page, const CString& text, DWORD flags = 0, LPCSTR default_char = nullptr, bool ask = true) {
    char buffer[300];
    BOOL used = 7;
    ::SetLastError(0);
    const int length =
        ::WideCharToMultiByte(page, flags, text, text.GetLength(), buffer, 300, default_char, ask ? &used : nullptr);
    if (length == 0) {
        return {"error " + std::to_string(::GetLastError()), -1};
    }
    return {Hex({buffer, static_cast<size_t>(length)}), ask ? used : -1};
}

// ---- UTF-8 ----

struct Utf8Case {
    const char* bytes;
    LPCWSTR text;
    bool valid;
};

class CodePageUtf8 : public testing::TestWithParam<Utf8Case> {};

TEST_P(CodePageUtf8, IsDecodedWithOneReplacementForEachBadSequence) {
    const Utf8Case& row = GetParam();
    EXPECT_EQ(Decode(CP_UTF8, row.bytes), CString(row.text)) << Hex(row.bytes);
    const CString strict = Decode(CP_UTF8, row.bytes, MB_ERR_INVALID_CHARS);
    EXPECT_EQ(strict, row.valid ? CString(row.text) : CString(_T("error 1113"))) << Hex(row.bytes);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, CodePageUtf8,
    testing::Values(
        Utf8Case{"a", _T("a"), true}, Utf8Case{"\xC3\xA9", _T("\x00E9"), true},
        Utf8Case{"\xE4\xB8\xAD\xE6\x96\x87", _T("\x4E2D\x6587"), true},
        Utf8Case{"\xF0\x9F\x98\x80", _T("\xD83D\xDE00"), true}, Utf8Case{"\xEF\xBB\xBFx", _T("\xFEFFx"), true},
        Utf8Case{"\xEF\xBF\xBF", _T("\xFFFF"), true}, Utf8Case{"\xF4\x8F\xBF\xBF", _T("\xDBFF\xDFFF"), true},
        Utf8Case{"\xE4\xB8", _T("\xFFFD"), false}, Utf8Case{"\xE4\xB8!", _T("\xFFFD!"), false},
        Utf8Case{"\xE4!!", _T("\xFFFD!!"), false}, Utf8Case{"\xC0\x80", _T("\xFFFD\xFFFD"), false},
        Utf8Case{"\x80\xBF", _T("\xFFFD\xFFFD"), false}, Utf8Case{"\xFF\xFE", _T("\xFFFD\xFFFD"), false},
        Utf8Case{"\xED\xA0\xBD\xED\xB8\x80", _T("\xFFFD\xFFFD\xFFFD\xFFFD"), false},
        Utf8Case{"\xE0\x80\x80", _T("\xFFFD\xFFFD"), false}, Utf8Case{"\xE0\x9F\xBF", _T("\xFFFD\xFFFD"), false},
        Utf8Case{"\xF0\x80\x80\x80", _T("\xFFFD\xFFFD\xFFFD"), false},
        Utf8Case{"\xF4\x90\x80\x80", _T("\xFFFD\xFFFD\xFFFD"), false},
        Utf8Case{"\xF5\x80\x80\x80", _T("\xFFFD\xFFFD\xFFFD\xFFFD"), false},
        Utf8Case{"\xF0\x9F\x98", _T("\xFFFD"), false}, Utf8Case{"\xF0\x9F\x98z", _T("\xFFFDz"), false},
        Utf8Case{"\xF0\x9F\xC3\xA9", _T("\xFFFD\x00E9"), false}, Utf8Case{"\xC3\xC3\xA9", _T("\xFFFD\x00E9"), false}),
    [](const auto& row) { return "Row" + std::to_string(row.index); });

TEST(CodePages, Utf8OfLoneSurrogatesIsTheReplacementCharacter) {
    const WCHAR text[] = {_T('a'), 0xD83D, _T('b'), 0xDE00, 0xD83D, 0xDE00, 0};
    EXPECT_EQ(Encode(CP_UTF8, text, 0, nullptr, false).hex, "61 EF BF BD 62 EF BF BD F0 9F 98 80");
    EXPECT_EQ(Encode(CP_UTF8, text, WC_ERR_INVALID_CHARS, nullptr, false).hex, "error 1113");
    EXPECT_EQ(Encode(CP_UTF8, _T("\x00E9\x4E2D"), WC_ERR_INVALID_CHARS, nullptr, false).hex, "C3 A9 E4 B8 AD");
}

// ---- 936 ----

struct BytesCase {
    UINT page;
    std::string bytes;
    LPCWSTR text;
    bool valid;
};

class CodePageBytes : public testing::TestWithParam<BytesCase> {};

TEST_P(CodePageBytes, AreDecodedAsOnWindows) {
    const BytesCase& row = GetParam();
    EXPECT_EQ(Decode(row.page, row.bytes), CString(row.text)) << Hex(row.bytes);
    EXPECT_EQ(Decode(row.page, row.bytes, MB_ERR_INVALID_CHARS),
              row.valid ? CString(row.text) : CString(_T("error 1113")))
        << Hex(row.bytes);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, CodePageBytes,
    testing::Values(BytesCase{936, "a\xD6\xD0\xCE\xC4z", _T("a\x4E2D\x6587z"), true},
                    BytesCase{936, "\x80", _T("\x20AC"), true}, BytesCase{936, "\xA2\xE3", _T("\xE76C"), true},
                    BytesCase{936, "\xAA\xA1", _T("\xE000"), true}, BytesCase{936, "\xAF\xFE", _T("\xE233"), true},
                    BytesCase{936, "\xF8\xA1", _T("\xE234"), true}, BytesCase{936, "\xFE\xFE", _T("\xE4C5"), true},
                    BytesCase{936, "\xA1\x40", _T("\xE4C6"), true}, BytesCase{936, "\xA7\xA0", _T("\xE765"), true},
                    BytesCase{936, "\xFE\xA0", _T("\xE864"), true}, BytesCase{936, "\xFF", _T("\xF8F5"), false},
                    BytesCase{936, "\x81\x20g", _T("?g"), false}, BytesCase{936, "\x81\x7Fg", _T("?g"), false},
                    BytesCase{936, "\x81\xFFg", _T("?g"), false}, BytesCase{936, "\x81\ng", _T("?g"), false},
                    BytesCase{936, "g\x81", _T("g?"), false}, BytesCase{936, "\x81\x30\x81\x30", _T("??"), false},
                    BytesCase{1252, "\x80\x81\x8D\x8F\x90\x9D\xE9", _T("\x20AC\x0081\x008D\x008F\x0090\x009D\x00E9"),
                              true},
                    BytesCase{20127, "A\xE9\xFE", _T("Ai~"), true},
                    BytesCase{28591, "\x80\xA4\xFF", _T("\x0080\x00A4\x00FF"), true},
                    BytesCase{1251, "\xCF\xF0\xE8", _T("\x041F\x0440\x0438"), true},
                    BytesCase{1253, "\xAA", _T("\xF8F9"), false},
                    BytesCase{437, "\x1A\x1C\x7F\xE6", _T("\x001A\x001C\x007F\x00B5"), true},
                    BytesCase{932, "\x93\xFA\x96\x7B\xB1", _T("\x65E5\x672C\xFF71"), true},
                    BytesCase{932, "\xA0", _T("\xF8F0"), false}, BytesCase{949, "\xC7\xD1", _T("\xD55C"), true},
                    BytesCase{950, "\xA4\xA4", _T("\x4E2D"), true}, BytesCase{37, "\xC1\xF0", _T("A0"), true}),
    [](const auto& row) { return "Row" + std::to_string(row.index); });

TEST(CodePages, LeadByteNeverTakesTheNulThatEndsAText) {
    EXPECT_EQ(Decode(936, std::string("\x81\0g", 3)), CString(_T("?\0g"), 3));
}

TEST(CodePages, EmbeddedNulsPass) {
    for (const UINT page : {936u, 1252u, 65001u, 28591u}) {
        EXPECT_EQ(Decode(page, std::string("a\0b", 3)), CString(_T("a\0b"), 3)) << page;
        EXPECT_EQ(Encode(page, CString(_T("a\0b"), 3), 0, nullptr, false).hex, "61 00 62") << page;
    }
}

struct TextCase {
    UINT page;
    LPCWSTR text;
    DWORD flags;
    Encoded expected;
};

class CodePageText : public testing::TestWithParam<TextCase> {};

TEST_P(CodePageText, IsEncodedAsOnWindows) {
    EXPECT_EQ(Encode(GetParam().page, GetParam().text, GetParam().flags), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, CodePageText,
    testing::Values(
        TextCase{936, _T("a\x4E2D\x6587"), 0, {"61 D6 D0 CE C4", 0}}, TextCase{936, _T("\x20AC"), 0, {"80", 0}},
        TextCase{936, _T("\xE000\xE76C\xE864\xF8F5"), 0, {"AA A1 A2 E3 FE A0 FF", 0}},
        TextCase{936, _T("\x00B5\x00A2\x00B2\x00AD\x00C0"), 0, {"A6 CC A1 E9 32 2D A8 A4", 0}},
        TextCase{936, _T("\x00F1"), 0, {"3F", 1}}, TextCase{936, _T("\x00A9"), 0, {"3F", 1}},
        TextCase{936, _T("\x00A0"), 0, {"3F", 1}}, TextCase{936, _T("\x200B\xFEFF"), 0, {"3F 3F", 1}},
        TextCase{936, _T("\xFFE9\xFFEA\xFFEC\xFFEE"), 0, {"3F 3F 3F 3F", 1}},
        TextCase{936, _T("\xD83D\xDE00"), 0, {"3F 3F", 1}}, TextCase{936, _T("\xD83D!"), 0, {"3F 21", 1}},
        TextCase{936, _T("\x00B5\x00B2"), WC_NO_BEST_FIT_CHARS, {"3F 3F", 1}},
        TextCase{936, _T("\x4E2D"), WC_NO_BEST_FIT_CHARS, {"D6 D0", 0}},
        TextCase{1252, _T("\x0100\x2212\x03B1\x221E\xFF21"), 0, {"41 2D 61 38 41", 0}},
        TextCase{1252, _T("\x0100"), WC_NO_BEST_FIT_CHARS, {"3F", 1}},
        TextCase{1252, _T("\x0110\x0192"), 0, {"D0 83", 0}}, TextCase{1252, _T("\x4E2D"), 0, {"3F", 1}},
        TextCase{1252, _T("\x0081\x20AC\x00FF"), 0, {"81 80 FF", 0}},
        TextCase{28591, _T("\x2019\x00E9\x0110"), 0, {"27 E9 44", 0}}, TextCase{28591, _T("\x20AC"), 0, {"3F", 1}},
        TextCase{20127, _T("\x2019\x00E9\xFF5E"), 0, {"27 65 7E", 0}},
        TextCase{20127, _T("\x00E9"), WC_NO_BEST_FIT_CHARS, {"3F", 1}}, TextCase{20127, _T("\x00DF"), 0, {"3F", 1}},
        TextCase{437, _T("\x00B5\x221E\x0100"), 0, {"E6 EC 41", 0}}, TextCase{37, _T("A\x4E2D"), 0, {"C1 6F", 1}},
        TextCase{1251, _T("\x041F\x00E9"), 0, {"CF 65", 0}}, TextCase{932, _T("\x65E5\xFF71"), 0, {"93 FA B1", 0}}),
    [](const auto& row) { return "Row" + std::to_string(row.index); });

TEST(CodePages, CallersDefaultCharacterIsWritten) {
    EXPECT_EQ(Encode(1252, _T("a\x4E2D"), 0, "*"), (Encoded{"61 2A", 1}));
    EXPECT_EQ(Encode(936, _T("a\x00F1"), 0, "#"), (Encoded{"61 23", 1}));
}

TEST(CodePages, EveryPairOf936ComesBack) {
    // Each lead byte with each trail byte but 7F is a character, and no two are the same.
    for (int lead = 0x81; lead <= 0xFE; ++lead) {
        for (int trail = 0x40; trail <= 0xFE; ++trail) {
            if (trail == 0x7F) {
                continue;
            }
            const char bytes[2] = {static_cast<char>(lead), static_cast<char>(trail)};
            WCHAR unit[4] = {};
            ASSERT_EQ(::MultiByteToWideChar(936, MB_ERR_INVALID_CHARS, bytes, 2, unit, 4), 1) << lead << ' ' << trail;
            char back[4] = {};
            BOOL used = TRUE;
            ASSERT_EQ(::WideCharToMultiByte(936, 0, unit, 1, back, 4, nullptr, &used), 2) << lead << ' ' << trail;
            ASSERT_FALSE(used);
            ASSERT_EQ(std::string(back, 2), std::string(bytes, 2));
        }
    }
}

// ---- Sizes and errors ----

TEST(CodePages, MinusOneTakesTheNulWithIt) {
    WCHAR text[10];
    EXPECT_EQ(::MultiByteToWideChar(CP_UTF8, 0, "abc", -1, text, 10), 4);
    EXPECT_EQ(text[3], _T('\0'));
    char bytes[10];
    EXPECT_EQ(::WideCharToMultiByte(936, 0, _T("abc"), -1, bytes, 10, nullptr, nullptr), 4);
    EXPECT_EQ(bytes[3], '\0');
}

TEST(CodePages, OutputThatIsTooSmallIsError122) {
    WCHAR text[4] = {0, 0, 0, _T('#')};
    for (const UINT page : {936u, 1252u, 65001u}) {
        ::SetLastError(0);
        EXPECT_EQ(::MultiByteToWideChar(page, 0, "abcd", 4, text, 3), 0) << page;
        EXPECT_EQ(::GetLastError(), DWORD{ERROR_INSUFFICIENT_BUFFER});
        EXPECT_EQ(text[3], _T('#'));
        char bytes[4] = {0, 0, 0, '#'};
        ::SetLastError(0);
        EXPECT_EQ(::WideCharToMultiByte(page, 0, _T("abcd"), 4, bytes, 3, nullptr, nullptr), 0) << page;
        EXPECT_EQ(::GetLastError(), DWORD{ERROR_INSUFFICIENT_BUFFER});
        EXPECT_EQ(bytes[3], '#');
    }
}

TEST(CodePages, BadArgumentsAreError87) {
    WCHAR text[4];
    char bytes[4];
    BOOL used = FALSE;
    const auto error = [](int result) {
        const DWORD last = ::GetLastError();
        ::SetLastError(0);
        return result == 0 ? last : 0;
    };
    ::SetLastError(0);
    EXPECT_EQ(error(::MultiByteToWideChar(936, 0, "", 0, text, 4)), DWORD{ERROR_INVALID_PARAMETER});
    EXPECT_EQ(error(::MultiByteToWideChar(936, 0, nullptr, 3, text, 4)), DWORD{ERROR_INVALID_PARAMETER});
    EXPECT_EQ(error(::MultiByteToWideChar(936, 0, "a", 1, nullptr, 4)), DWORD{ERROR_INVALID_PARAMETER});
    EXPECT_EQ(error(::MultiByteToWideChar(936, 0, "a", 1, text, -1)), DWORD{ERROR_INVALID_PARAMETER});
    for (const UINT page : {1200u, 1201u, 12000u, 4321u, static_cast<UINT>(-1)}) {
        EXPECT_EQ(error(::MultiByteToWideChar(page, 0, "a", 1, text, 4)), DWORD{ERROR_INVALID_PARAMETER}) << page;
        EXPECT_EQ(error(::WideCharToMultiByte(page, 0, _T("a"), 1, bytes, 4, nullptr, nullptr)),
                  DWORD{ERROR_INVALID_PARAMETER})
            << page;
        EXPECT_FALSE(::IsValidCodePage(page));
    }
    EXPECT_EQ(error(::WideCharToMultiByte(936, 0, _T(""), 0, bytes, 4, nullptr, nullptr)),
              DWORD{ERROR_INVALID_PARAMETER});
    EXPECT_EQ(error(::WideCharToMultiByte(65000, 0, _T("a"), 1, bytes, 4, nullptr, &used)),
              DWORD{ERROR_INVALID_PARAMETER});
    EXPECT_EQ(error(::WideCharToMultiByte(65000, 0, _T("a"), 1, bytes, 4, "?", nullptr)),
              DWORD{ERROR_INVALID_PARAMETER});
#ifndef _WIN32
    // Wine 8 accepts these, Windows does not.
    EXPECT_EQ(error(::WideCharToMultiByte(65001, 0, _T("a"), 1, bytes, 4, nullptr, &used)), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(error(::WideCharToMultiByte(65001, 0, _T("a"), 1, bytes, 4, "?", nullptr)), ERROR_INVALID_PARAMETER);
#endif
}

TEST(CodePages, FlagsThatAPageDoesNotTakeAreError1004) {
    EXPECT_EQ(Decode(65000, "a", MB_ERR_INVALID_CHARS), CString(_T("error 1004")));
    EXPECT_EQ(Decode(936, "a", 0x4000), CString(_T("error 1004")));
}

TEST(CodePages, Utf7IsShiftedAndUnshifted) {
    EXPECT_EQ(Decode(65000, "+Ti1lhw-!"), CString(_T("\x4E2D\x6587!")));
    EXPECT_EQ(Decode(65000, "a+-b"), CString(_T("a+b")));
    EXPECT_EQ(Encode(65000, _T("a+b"), 0, nullptr, false).hex, "61 2B 2D 62");
    const std::string round = Encode(65000, _T("\x4E2D\x6587"), 0, nullptr, false).hex;
    EXPECT_EQ(round.substr(0, 20), "2B 54 69 31 6C 68 77");
}

TEST(CodePages, AnsiPageIsKnown) {
    EXPECT_TRUE(::IsValidCodePage(::GetACP()));
    EXPECT_TRUE(::IsValidCodePage(::GetOEMCP()));
    EXPECT_EQ(Decode(CP_ACP, "abc"), CString(_T("abc")));
    EXPECT_EQ(Encode(CP_OEMCP, _T("abc")).hex, "61 62 63");
}

TEST(CodePages, KnownPages) {
    for (const UINT page : {37u,    437u,   500u,   850u,   866u,   874u,   932u,   936u,   949u,  950u,
                            1250u,  1251u,  1252u,  1253u,  1254u,  1255u,  1256u,  1257u,  1258u, 10000u,
                            20127u, 20866u, 21866u, 28591u, 28592u, 28595u, 28605u, 65000u, 65001u}) {
        EXPECT_TRUE(::IsValidCodePage(page)) << page;
        EXPECT_NE(::MultiByteToWideChar(page, 0, "a", 1, nullptr, 0), 0) << page;
        EXPECT_NE(::WideCharToMultiByte(page, 0, _T("a"), 1, nullptr, 0, nullptr, nullptr), 0) << page;
    }
}

#ifndef _WIN32

TEST(CodePages, CutUtf8SequenceDoesNotSwallowTheLastCharacter) {
    // Wine loses the "!".
    EXPECT_EQ(Decode(CP_UTF8, "\xE4!"), CString(_T("\xFFFD!")));
}

TEST(CodePages, PagesThatOnlyWindowsHas) {
    // Wine lacks these.
    for (const UINT page :
         {870u, 1047u, 1140u, 20932u, 20936u, 50220u, 50225u, 51932u, 51949u, 52936u, 54936u, 57002u, 57011u}) {
        ASSERT_TRUE(::IsValidCodePage(page)) << page;
        const CString text = _T("abc");
        char bytes[40];
        const int size = ::WideCharToMultiByte(page, 0, text, 3, bytes, 40, nullptr, nullptr);
        ASSERT_GT(size, 0) << page;
        EXPECT_EQ(Decode(page, std::string(bytes, static_cast<size_t>(size))), text) << page;
    }
    EXPECT_EQ(Decode(54936, "\x81\x30\x81\x30\xD6\xD0"), CString(_T("\x0080\x4E2D")));
    EXPECT_EQ(Decode(54936, "\x81", MB_ERR_INVALID_CHARS), CString(_T("error 1113")));
    EXPECT_EQ(Decode(50220, "\x1B$B\x46\x7C\x1B(B"), CString(_T("\x65E5")));
    EXPECT_EQ(Decode(50220, "a", MB_ERR_INVALID_CHARS), CString(_T("error 1004")));
    EXPECT_EQ(Encode(51932, _T("\x65E5\xD55C"), 0, "*"), (Encoded{"C6 FC 2A", 1}));
    EXPECT_EQ(Encode(54936, _T("a"), 0, "*").hex, "error 87");
}

TEST(CodePages, LongTextsCrossTheInnerBuffers) {
    CString text;
    for (int i = 0; i < 5000; ++i) {
        text += _T("a\x65E5");
    }
    for (const UINT page : {936u, 51932u, 54936u, 50220u, 65001u}) {
        const int need = ::WideCharToMultiByte(page, 0, text, text.GetLength(), nullptr, 0, nullptr, nullptr);
        std::string bytes(static_cast<size_t>(need), '\0');
        ASSERT_EQ(::WideCharToMultiByte(page, 0, text, text.GetLength(), bytes.data(), need, nullptr, nullptr), need);
        std::vector<WCHAR> back(10001);
        ASSERT_EQ(::MultiByteToWideChar(page, 0, bytes.data(), need, back.data(), 10001), 10000) << page;
        EXPECT_EQ(CString(back.data(), 10000), text) << page;
    }
}

#endif

TEST(CodePages, ManyThreadsMayBuildOneTable) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([i] {
            const UINT pages[] = {949, 950, 1255, 860};
            for (int round = 0; round < 4; ++round) {
                const UINT page = pages[(i + round) % 4];
                EXPECT_EQ(Encode(page, _T("abc")).hex, "61 62 63");
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

}  // namespace
