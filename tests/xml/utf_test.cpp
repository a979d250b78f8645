// UTF-8 and UTF-16: the scalar code against an independent reading of the table of well-formed sequences, and every
// vector level against the scalar code, on random and hostile input, at every alignment and flush against the end of an
// allocation.

#include <algorithm>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "platform/cpu/cpu.h"
#include "tests/support/support.h"
#include "xml/utf.h"

namespace {

using kvtcpu::Level;
using kvtfile::utf::Decode16;
using kvtfile::utf::Decode8;
using Wide = std::basic_string<WCHAR>;

constexpr Level g_levels[] = {Level::Scalar, Level::Sse2, Level::Avx2, Level::Avx512};

/// Uses one level, when the machine has it, until the end of the scope.
class AtLevel {
public:
    explicit AtLevel(Level level) : m_available(kvtcpu::LimitSimd(level) == level) {}
    ~AtLevel() { kvtcpu::LimitSimd(kvtcpu::BestSimd()); }
    AtLevel(const AtLevel&) = delete;
    AtLevel& operator=(const AtLevel&) = delete;
    bool IsAvailable() const { return m_available; }

private:
    bool m_available;
};

/// Copies that begin at a chosen alignment and end where their allocation ends.
template <class T>
class AtEndOfAllocation {
public:
    AtEndOfAllocation(const std::basic_string<T>& text, size_t skip) : m_all(new T[skip + text.size()]), m_skip(skip) {
        std::copy(text.begin(), text.end(), m_all.get() + skip);
    }
    const T* Data() const { return m_all.get() + m_skip; }

private:
    std::unique_ptr<T[]> m_all;
    size_t m_skip;
};

/// Runs a conversion into room for exactly `room` items and shows that nothing around it was touched.
template <class T, class Convert>
std::basic_string<T> Into(size_t room, Convert convert) {
    constexpr T canary = static_cast<T>(0x5A5A);
    constexpr size_t around = 64;
    std::basic_string<T> out(room + 2 * around, canary);
    const size_t count = convert(out.data() + around);
    EXPECT_EQ(count, room);
    const auto untouched = [&](size_t from) {
        return std::all_of(out.begin() + static_cast<std::ptrdiff_t>(from),
                           out.begin() + static_cast<std::ptrdiff_t>(from + around), [](T c) { return c == canary; });
    };
    EXPECT_TRUE(untouched(0));
    EXPECT_TRUE(untouched(around + room));
    // Once more where an allocation ends, for the sanitizer.
    const std::unique_ptr<T[]> exact(new T[room]);
    convert(exact.get());
    EXPECT_TRUE(std::equal(exact.get(), exact.get() + room, out.begin() + around));
    return out.substr(around, room);
}

Wide To16(const std::string& bytes, size_t skip = 0) {
    const AtEndOfAllocation<char> in(bytes, skip);
    return Into<WCHAR>(kvtfile::utf::Length16(in.Data(), bytes.size()),
                       [&](WCHAR* out) { return kvtfile::utf::To16(in.Data(), bytes.size(), out); });
}

std::string To8(const Wide& units, size_t& replaced, size_t skip = 0) {
    const AtEndOfAllocation<WCHAR> in(units, skip);
    return Into<char>(kvtfile::utf::Length8(in.Data(), units.size()),
                      [&](char* out) { return kvtfile::utf::To8(in.Data(), units.size(), out, replaced); });
}

struct Validity {
    bool valid;
    size_t sequences;
    bool operator==(const Validity&) const = default;
};

Validity Check(const std::string& bytes, size_t skip = 0) {
    const AtEndOfAllocation<char> in(bytes, skip);
    Validity result{};
    result.valid = kvtfile::utf::IsValid8(in.Data(), bytes.size(), result.sequences);
    return result;
}

/// The rows of the Unicode standard's table of well-formed byte sequences.
struct Row {
    int codeFirst, codeLast;
    std::vector<std::pair<int, int>> bytes;
};
const std::vector<Row>& WellFormed() {
    static const std::vector<Row> rows = {
        {0x0000, 0x007F, {{0x00, 0x7F}}},
        {0x0080, 0x07FF, {{0xC2, 0xDF}, {0x80, 0xBF}}},
        {0x0800, 0x0FFF, {{0xE0, 0xE0}, {0xA0, 0xBF}, {0x80, 0xBF}}},
        {0x1000, 0xCFFF, {{0xE1, 0xEC}, {0x80, 0xBF}, {0x80, 0xBF}}},
        {0xD000, 0xD7FF, {{0xED, 0xED}, {0x80, 0x9F}, {0x80, 0xBF}}},
        {0xE000, 0xFFFF, {{0xEE, 0xEF}, {0x80, 0xBF}, {0x80, 0xBF}}},
        {0x10000, 0x3FFFF, {{0xF0, 0xF0}, {0x90, 0xBF}, {0x80, 0xBF}, {0x80, 0xBF}}},
        {0x40000, 0xFFFFF, {{0xF1, 0xF3}, {0x80, 0xBF}, {0x80, 0xBF}, {0x80, 0xBF}}},
        {0x100000, 0x10FFFF, {{0xF4, 0xF4}, {0x80, 0x8F}, {0x80, 0xBF}, {0x80, 0xBF}}},
    };
    return rows;
}

/// The code points of the bytes, -1 for each longest part that begins some row, or for one byte that begins none.
std::vector<int> ByTheTable(const std::string& bytes) {
    std::vector<int> result;
    size_t at = 0;
    while (at < bytes.size()) {
        size_t longest = 1;
        int code = -1;
        for (const Row& row : WellFormed()) {
            size_t matched = 0;
            while (matched < row.bytes.size() && at + matched < bytes.size()) {
                const int byte = static_cast<unsigned char>(bytes[at + matched]);
                if (byte < row.bytes[matched].first || byte > row.bytes[matched].second) {
                    break;
                }
                ++matched;
            }
            longest = std::max(longest, matched);
            if (matched == row.bytes.size()) {
                code = 0;
                for (size_t i = 0; i < matched; ++i) {
                    const int byte = static_cast<unsigned char>(bytes[at + i]);
                    code = i == 0 ? byte & (matched == 1 ? 0x7F : 0xFF >> (matched + 1)) : code << 6 | (byte & 0x3F);
                }
                EXPECT_TRUE(code >= row.codeFirst && code <= row.codeLast);
            }
        }
        result.push_back(code);
        at += longest;
    }
    return result;
}

std::vector<int> Decoded(const std::string& bytes) {
    std::vector<int> result;
    const char* p = bytes.data();
    const char* const end = p + bytes.size();
    while (p != end) {
        result.push_back(Decode8(p, end));
    }
    return result;
}

/// Texts of many mixtures; `hostile` ones have bytes changed at random.
std::string RandomBytes(std::mt19937& random, bool hostile) {
    static const int ranges[][2] = {
        {0x20, 0x7E}, {0xA0, 0x7FF}, {0x4E00, 0x9FA5}, {0x800, 0xD7FF}, {0x10000, 0x10FFFF}};
    const size_t shape = random() % 7;
    const size_t wanted = random() % 400;
    std::string bytes;
    char buffer[4];
    while (bytes.size() < wanted) {
        if (shape == 6 && hostile) {
            bytes += static_cast<char>(random());
            continue;
        }
        const size_t kind = shape < 5 ? (random() % 8 == 0 ? random() % 5 : shape) : random() % 5;
        char* end = buffer;
        const unsigned span = static_cast<unsigned>(ranges[kind][1] - ranges[kind][0] + 1);
        kvtfile::utf::Encode8(ranges[kind][0] + static_cast<int>(random() % span), end);
        bytes.append(buffer, end);
    }
    if (hostile && !bytes.empty()) {
        for (size_t changes = random() % 4; changes > 0; --changes) {
            bytes[random() % bytes.size()] = static_cast<char>(random());
        }
        bytes.resize(random() % (bytes.size() + 1));
    }
    return bytes;
}

Wide RandomUnits(std::mt19937& random, bool hostile) {
    Wide units = To16(RandomBytes(random, hostile));
    if (hostile && !units.empty()) {
        for (size_t changes = random() % 6; changes > 0; --changes) {
            units[random() % units.size()] = static_cast<WCHAR>(0xD800 + random() % 0x800);
        }
    }
    return units;
}

TEST(Utf, EveryCodePointIsEncodedByTheTableAndComesBack) {
    const AtLevel scalar(Level::Scalar);
    for (const Row& row : WellFormed()) {
        for (int code = row.codeFirst; code <= row.codeLast; ++code) {
            char bytes[4];
            char* end = bytes;
            kvtfile::utf::Encode8(code, end);
            ASSERT_EQ(static_cast<size_t>(end - bytes), row.bytes.size()) << code;
            for (size_t i = 0; i < row.bytes.size(); ++i) {
                const int byte = static_cast<unsigned char>(bytes[i]);
                ASSERT_TRUE(byte >= row.bytes[i].first && byte <= row.bytes[i].second) << code;
            }
            const char* p = bytes;
            ASSERT_EQ(Decode8(p, end), code);
            ASSERT_EQ(p, end);
            WCHAR units[2];
            WCHAR* unitsEnd = units;
            kvtfile::utf::Encode16(code, unitsEnd);
            ASSERT_EQ(unitsEnd - units, code > 0xFFFF ? 2 : 1);
            const WCHAR* q = units;
            ASSERT_EQ(Decode16(q, unitsEnd), code);
            ASSERT_EQ(q, unitsEnd);
        }
    }
}

TEST(Utf, EveryPairOfBytesIsReadByTheTable) {
    for (const char* tail : {"", "\x80", "\xBF\xBF", "A"}) {
        for (int first = 0; first < 256; ++first) {
            for (int second = 0; second < 256; ++second) {
                const std::string bytes = std::string{static_cast<char>(first), static_cast<char>(second)} + tail;
                ASSERT_EQ(Decoded(bytes), ByTheTable(bytes)) << kvttest::Hex(bytes);
            }
        }
    }
}

TEST(Utf, RandomBytesAreReadByTheTable) {
    std::mt19937 random(1);
    for (int round = 0; round < 5000; ++round) {
        const std::string bytes = RandomBytes(random, true);
        ASSERT_EQ(Decoded(bytes), ByTheTable(bytes)) << kvttest::Hex(bytes);
    }
}

TEST(Utf, BadSequencesBecomeOneReplacementEach) {
    const Wide r(1, WCHAR{0xFFFD});
    const Wide a(1, WCHAR{'a'});
    const struct {
        std::string bytes;
        Wide units;
    } rows[] = {
        {"\x80", r},
        {"\xC0\x80", r + r},
        {"\xE4\xB8", r},
        {"\xE4\xB8"
         "a",
         r + a},
        {"\xF0\x9F\x98", r},
        {"\xED\xA0\x80", r + r + r},
        {"\xF4\x90\x80\x80", r + r + r + r},
        {"\xFF\xFE", r + r},
        {"a\xE0\x80\x80", a + r + r + r},
    };
    for (const Level level : g_levels) {
        const AtLevel at(level);
        for (const auto& row : rows) {
            EXPECT_EQ(To16(row.bytes), row.units) << kvttest::Hex(row.bytes);
            // The same in the middle of a long text, where the vectors meet it.
            for (size_t before = 0; before < 70; ++before) {
                const std::string bytes = std::string(before, 'x') + row.bytes + std::string(100, 'y');
                ASSERT_EQ(To16(bytes), Wide(before, 'x') + row.units + Wide(100, 'y')) << kvttest::Hex(row.bytes);
            }
        }
    }
}

TEST(Utf, LoneSurrogatesBecomeReplacementsAndAreCounted) {
    const WCHAR high = 0xD83D;
    const WCHAR low = 0xDE00;
    const struct {
        Wide units;
        std::string bytes;
        size_t replaced;
    } rows[] = {
        {{high, low}, "\xF0\x9F\x98\x80", 0},
        {{high}, "\xEF\xBF\xBD", 1},
        {{low}, "\xEF\xBF\xBD", 1},
        {{low, high}, "\xEF\xBF\xBD\xEF\xBF\xBD", 2},
        {{high, high, low}, "\xEF\xBF\xBD\xF0\x9F\x98\x80", 1},
        {{high, 'a'},
         "\xEF\xBF\xBD"
         "a",
         1},
    };
    for (const Level level : g_levels) {
        const AtLevel at(level);
        for (const auto& row : rows) {
            for (size_t before = 0; before < 40; ++before) {
                const Wide text = Wide(before, 0x4E2D) + row.units;
                size_t replaced = 0;
                const std::string bytes = To8(text, replaced);
                ASSERT_EQ(replaced, row.replaced);
                ASSERT_EQ(bytes.substr(before * 3), row.bytes);
            }
        }
    }
}

TEST(Utf, EveryLevelReadsUtf8AsTheScalarCodeDoes) {
    std::mt19937 random(2);
    for (int round = 0; round < 6000; ++round) {
        const std::string bytes = RandomBytes(random, round % 2 != 0);
        const size_t skip = random() % 64;
        Wide expected;
        Validity validity{};
        {
            const AtLevel scalar(Level::Scalar);
            expected = To16(bytes);
            validity = Check(bytes);
        }
        for (const Level level : g_levels) {
            const AtLevel at(level);
            ASSERT_EQ(To16(bytes, skip), expected) << kvttest::Hex(bytes);
            ASSERT_EQ(Check(bytes, skip), validity) << kvttest::Hex(bytes);
        }
    }
}

TEST(Utf, EveryLevelWritesUtf8AsTheScalarCodeDoes) {
    std::mt19937 random(3);
    for (int round = 0; round < 6000; ++round) {
        const Wide units = RandomUnits(random, round % 2 != 0);
        const size_t skip = random() % 32;
        std::string expected;
        size_t expectedReplaced = 0;
        {
            const AtLevel scalar(Level::Scalar);
            expected = To8(units, expectedReplaced);
        }
        for (const Level level : g_levels) {
            const AtLevel at(level);
            size_t replaced = 0;
            ASSERT_EQ(To8(units, replaced, skip), expected);
            ASSERT_EQ(replaced, expectedReplaced);
        }
    }
}

TEST(Utf, EveryTruncationIsReadTheSameAtEveryLevel) {
    std::string whole;
    for (int i = 0; i < 12; ++i) {
        whole +=
            "<\xE8\xAE\xBE\xE7\xBD\xAE n=\"\xC3\xA9\">\xF0\x9F\x98\x80\xE4\xB8\xAD\xE6\x96\x87\xE4\xB8\xAD\xE6\x96\x87";
    }
    for (size_t length = 0; length <= whole.size(); ++length) {
        const std::string bytes = whole.substr(0, length);
        Wide expected;
        for (const int code : ByTheTable(bytes)) {
            WCHAR units[2];
            WCHAR* end = units;
            kvtfile::utf::Encode16(code < 0 ? 0xFFFD : code, end);
            expected.append(units, end);
        }
        for (const Level level : g_levels) {
            const AtLevel at(level);
            ASSERT_EQ(To16(bytes, length % 64), expected) << length;
        }
    }
}

TEST(Utf, EveryValidTextOfOneKindComesBack) {
    // Runs long enough for the paths that take a whole run of one length at a time.
    for (const int code : {0x41, 0xE9, 0x7FF, 0x800, 0x4E2D, 0xFFFD, 0xFFFF, 0x10000, 0x10FFFF}) {
        char bytes[4];
        char* end = bytes;
        kvtfile::utf::Encode8(code, end);
        std::string text;
        for (int count = 0; count < 300; ++count) {
            for (const Level level : g_levels) {
                const AtLevel at(level);
                const Wide units = To16(text);
                ASSERT_EQ(units.size(), static_cast<size_t>(count * (code > 0xFFFF ? 2 : 1)));
                size_t replaced = 1;
                ASSERT_EQ(To8(units, replaced), text);
                ASSERT_EQ(replaced, 0u);
                ASSERT_EQ(Check(text), (Validity{true, code < 0x80 ? 0u : static_cast<size_t>(count)}));
            }
            text.append(bytes, end);
        }
    }
}

TEST(Utf, SwappedBytesAreSwappedAtEveryLengthAndAlignment) {
    for (size_t skip = 0; skip < 9; ++skip) {
        for (size_t count = 0; count < 40; ++count) {
            Wide units(skip + count + 1, WCHAR{0x1122});
            for (size_t i = 0; i < count; ++i) {
                units[skip + i] = static_cast<WCHAR>(0xA000 + i);
            }
            kvtfile::utf::SwapBytes(units.data() + skip, count);
            for (size_t i = 0; i < count; ++i) {
                ASSERT_EQ(units[skip + i], static_cast<WCHAR>(i << 8 | 0xA0));
            }
            ASSERT_EQ(units[skip + count], 0x1122);
        }
    }
}

}  // namespace
