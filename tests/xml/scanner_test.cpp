// The scanner's versions for each instruction set agree with the plain one, node by node and record by record, on
// random and on hostile text.

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <vector>

#include "platform/cpu/cpu.h"
#include "tests/xml/xml_probe.h"
#include "xml/scanned_node.h"

using kvttest::Wide;
using kvttest::XmlProbe;

namespace {

class SimdLevels : public testing::Test {
protected:
    ~SimdLevels() override { kvtcpu::LimitSimd(kvtcpu::BestSimd()); }

    static std::vector<kvtcpu::Level> Levels() {
        std::vector<kvtcpu::Level> levels;
        for (int i = 0; i <= static_cast<int>(kvtcpu::BestSimd()); ++i)
            levels.push_back(static_cast<kvtcpu::Level>(i));
        return levels;
    }

    /// All nodes of the text, and the records of a parse.
    static std::string Picture(const WCHAR* text, int length, int flags) {
        std::string picture;
        for (ptrdiff_t pos = 0;;) {
            const kvtfile::ScannedNode node = kvtfile::ScanNode(text, length, pos);
            picture += std::to_string(node.type) + "@" + std::to_string(node.start) + "-" + std::to_string(node.end) +
                       (node.empty ? "e" : "") + std::to_string(static_cast<int>(node.fault)) + " ";
            if (node.type == -2)
                break;
            EXPECT_GT(node.end, pos);
            pos = node.end;
        }
        XmlProbe xml(flags);
        xml.SetDoc(CString(text, length));
        return picture + xml.Error() + "\n" + xml.Records();
    }

    /// Every level gives the same picture of the text, which ends flush with its allocation.
    static void ExpectAgreement(const CString& text, int flags = 0) {
        const int length = text.GetLength();
        auto flush = std::make_unique<WCHAR[]>(static_cast<size_t>(length) + 1);
        for (int i = 0; i <= length; ++i)
            flush[static_cast<size_t>(i)] = i < length ? text[i] : WCHAR(0);
        kvtcpu::LimitSimd(kvtcpu::Level::Scalar);
        const std::string expected = Picture(flush.get(), length, flags);
        for (const kvtcpu::Level level : Levels()) {
            ASSERT_EQ(level, kvtcpu::LimitSimd(level));
            ASSERT_EQ(expected, Picture(flush.get(), length, flags)) << "level " << static_cast<int>(level) << "\n"
                                                                     << kvttest::Utf8(text);
        }
    }
};

}  // namespace

TEST_F(SimdLevels, AgreeOnRandomMarkup) {
    std::mt19937 random(7);
    const std::string alphabet = "<<<<>>>>//!--??[]CD\"' =aA&";
    for (int round = 0; round < 3000; ++round) {
        CString text;
        const int length = static_cast<int>(random() % 400);
        for (int i = 0; i < length; ++i)
            text.AppendChar(static_cast<WCHAR>(alphabet[random() % alphabet.size()]));
        ExpectAgreement(text, random() % 2 == 0 ? 8 : 0);
    }
}

TEST_F(SimdLevels, AgreeOnRandomPieces) {
    std::mt19937 random(8);
    const char* const pieces[] = {
        "<a>",
        "</a>",
        "<b k='v'>",
        "</b>",
        "<c k=\"v\" l='>'/>",
        "text ",
        "<!--",
        "-->",
        "<![CDATA[",
        "]]>",
        "<?p",
        "?>",
        "<!DOCTYPE x [",
        "]>",
        "\"",
        "'",
        "<d a=\"it's >\">",
        "</d>",
        " \r\n",
        "\xE5\xB1\x82",
        "\xF0\x9F\x98\x80",
        "a long run of text that fills more than a block of sixty-four characters, and then on",
        "<element-with-a-name-longer-than-eight attribute=\"and a value that is long\">",
        "</element-with-a-name-longer-than-eight>",
        "<1",
        "<e"};
    for (int round = 0; round < 3000; ++round) {
        std::string text;
        for (int count = static_cast<int>(random() % 60); count > 0; --count)
            text += pieces[random() % (sizeof(pieces) / sizeof(pieces[0]))];
        ExpectAgreement(Wide(text), random() % 2 == 0 ? 8 : 0);
    }
}

TEST_F(SimdLevels, AgreeOnEveryCharacterAndNul) {
    std::mt19937 random(9);
    for (int round = 0; round < 500; ++round) {
        CString text = _T("<r>");
        for (int i = static_cast<int>(random() % 300); i > 0; --i) {
            const unsigned kind = static_cast<unsigned>(random() % 6);
            const WCHAR low = static_cast<WCHAR>("<>\"'/"[random() % 5]);
            // Characters that share a byte with the searched ones, and any others.
            text.AppendChar(kind == 0   ? low
                            : kind == 1 ? static_cast<WCHAR>(low | (random() % 256) << 8)
                            : kind == 2 ? static_cast<WCHAR>(low << 8)
                            : kind == 3 ? static_cast<WCHAR>(0x8000 + random() % 0x8000)
                                        : static_cast<WCHAR>(1 + random() % 0xFFFF));
        }
        if (random() % 4 == 0)
            text.SetAt(static_cast<int>(random() % static_cast<unsigned>(text.GetLength())), 0);
        ExpectAgreement(text);
    }
}

TEST_F(SimdLevels, AgreeAtEveryBlockBoundary) {
    for (int before = 0; before < 140; ++before) {
        for (const char* piece : {"<a k=\"v>\" l='w'>t</a>", "<!-- > -->", "<![CDATA[>]]>", "<?p > ?>", "<a", "<!",
                                  "<!-", "</a", "<a b='>", "<a \"'\" '\">\"' />"}) {
            ExpectAgreement(Wide("<r>" + std::string(static_cast<size_t>(before), 'x') + piece + "</r>"));
            ExpectAgreement(Wide("<r>" + std::string(static_cast<size_t>(before), 'x') + piece));
        }
    }
}

TEST_F(SimdLevels, ATagsEndDoesNotDependOnItsPlace) {
    // The same tag after different lengths of text and with attributes of different lengths: one rule at all places.
    for (int length = 0; length < 200; ++length) {
        const std::string filler(static_cast<size_t>(length), 'v');
        const CString tag = Wide("<a k=\"" + filler + ">\" l='" + filler + "\">'  m=\"'>'\" n=\">\">");
        const kvtfile::ScannedNode node = kvtfile::ScanNode(tag, tag.GetLength(), 0);
        EXPECT_EQ(1, node.type);
        EXPECT_EQ(tag.GetLength(), node.end);
    }
}
