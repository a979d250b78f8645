// File names: bytes and text, case, patterns.

#include "platform/win32/names.h"

#include <random>
#include <string>

#include "tests/support/support.h"

namespace {

using kvtwin::NameFromBytes;
using kvtwin::NameToBytes;

TEST(Win32Names, BytesComeBackWhateverTheyAre) {
    for (const std::string& bytes :
         {std::string("plain"), std::string("\xE4\xB8\xAD"), std::string("\xF0\x9F\x98\x80"), std::string("\xFF\xFE"),
          std::string("a\x80z"), std::string("\xE4\xB8"), std::string("\xC0\xAF"), std::string("\xED\xA0\x80"),
          std::string("\xED\xA0\x80\xED\xB0\x80"), std::string("\xED\xB2\x80"), std::string("\xED\xA0\x80\xFF"),
          std::string("\xED\xA0\x80\\"), std::string("back\\slash"), std::string("\xF4\x90\x80\x80")}) {
        EXPECT_EQ(kvttest::Hex(NameToBytes(NameFromBytes(bytes))), kvttest::Hex(bytes));
    }
    std::mt19937 random(1);
    for (int round = 0; round < 200000; ++round) {
        // Bytes around the surrogates are the hard ones.
        static constexpr unsigned char kBytes[] = {0xED, 0xA0, 0xAF, 0xB0, 0xB2, 0xBF, 0x80,
                                                   0x9F, 0xF0, 0x9F, '\\', 'a',  0xC3, 0xA9};
        std::string bytes;
        for (size_t i = random() % 9; i > 0; --i) {
            bytes += static_cast<char>(kBytes[random() % sizeof kBytes]);
        }
        ASSERT_EQ(kvttest::Hex(NameToBytes(NameFromBytes(bytes))), kvttest::Hex(bytes));
    }
}

TEST(Win32Names, BytesThatAreNoTextBecomeLoneSurrogates) {
    EXPECT_EQ(NameFromBytes("a\xFFz"), u"a\xDCFFz");
    EXPECT_EQ(NameFromBytes("a\\z"), u"a\xDC5Cz");
    EXPECT_EQ(NameToBytes(u"a\xDCFFz"), "a\xFFz");
    EXPECT_EQ(NameFromBytes("\xED\xA0\xBDx"), u"\xD83Dx");
}

TEST(Win32Names, UpperCaseGoesUnitByUnit) {
    EXPECT_EQ(kvtwin::UpperName(u"azAZ09\x00E9\x044F\x00DF\x00FF\xD83D\xDE00\x0131"),
              u"AZAZ09\x00C9\x042F\x00DF\x0178\xD83D\xDE00I");
}

TEST(Win32Names, DeviceNames) {
    for (const char16_t* name : {u"con", u"NUL", u"aux.txt", u"Com1", u"lpt9.a.b", u"prn ", u"nul. "}) {
        EXPECT_TRUE(kvtwin::IsDeviceName(name)) << kvttest::Utf8(name);
    }
    for (const char16_t* name : {u"", u"cons", u"com", u"com0", u"com10", u"a.con", u"nulx", u"lptx"}) {
        EXPECT_FALSE(kvtwin::IsDeviceName(name)) << kvttest::Utf8(name);
    }
}

struct PatternCase {
    const char16_t* pattern;
    const char16_t* name;
    bool matches;
};

class Win32Pattern : public testing::TestWithParam<PatternCase> {};

TEST_P(Win32Pattern, Matches) {
    EXPECT_EQ(kvtwin::MatchesPattern(GetParam().name, GetParam().pattern), GetParam().matches)
        << kvttest::Utf8(GetParam().pattern) << " " << kvttest::Utf8(GetParam().name);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, Win32Pattern,
    testing::Values(PatternCase{u"*", u"", true}, PatternCase{u"*", u"A.B", true}, PatternCase{u"*.*", u"A", true},
                    PatternCase{u"*.", u"A", true}, PatternCase{u"*.", u"A.B", false}, PatternCase{u"*.", u"..", true},
                    PatternCase{u"A*.", u"AB", true}, PatternCase{u"A*.", u"B", false},
                    PatternCase{u"*.B", u"A.B", true}, PatternCase{u"*.B", u"A.BC", false},
                    PatternCase{u"*.B*", u"A.BC", true}, PatternCase{u"*.B", u"A.C.B", true},
                    PatternCase{u"*.B", u"A.B.C", false}, PatternCase{u"?", u"A", true},
                    PatternCase{u"?", u"AB", false}, PatternCase{u"??", u"A", true}, PatternCase{u"A?.B", u"A.B", true},
                    PatternCase{u"?A", u"A", false}, PatternCase{u"A.?", u"A", true}, PatternCase{u"A.*", u"A", true},
                    PatternCase{u"A.B", u"A", false}, PatternCase{u"", u"", true}, PatternCase{u"", u"A", false},
                    PatternCase{u"*A*A*B", u"AAAAAAAAAAAAAAAAAAAA", false}, PatternCase{u"**", u"AB", true},
                    PatternCase{u"?.*", u"..", true}),
    [](const auto& row) { return "Row" + std::to_string(row.index); });

TEST(Win32Names, HostilePatternsTakeNoMoreThanTheProductOfTheLengths) {
    std::u16string pattern;
    for (int i = 0; i < 16000; ++i) {
        pattern += u"*A";
    }
    EXPECT_FALSE(kvtwin::MatchesPattern(std::u16string(255, u'A') + u"B", pattern));
}

}  // namespace
