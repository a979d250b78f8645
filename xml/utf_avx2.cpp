// UTF-8 and UTF-16 over the whole Basic Multilingual Plane with AVX2. This file alone is compiled for AVX2, and so
// holds nothing that another file could come to share: intrinsics and constants only.
//
// UTF-8 is taken 64 bytes at a time, always from a character's first byte. Three table look-ups a byte find every error
// that two neighbouring bytes can show, a fourth test that third and fourth bytes stand where a lead byte calls for
// them. Of the valid block a mask of the characters' last bytes is made; 12 bits of it choose the shuffle that brings
// the next six characters of up to two bytes, or four of up to three, into lanes of their own.
//
// UTF-16 is taken eight units at a time: the three possible bytes of each unit are computed side by side and a shuffle,
// chosen by the lengths of four units, closes the gaps.

#include <immintrin.h>

#include <cstdint>

#include "xml/utf_kernels.h"

namespace kvtfile::utf {

namespace {

// --- Validation ---

enum Fault : std::uint8_t {
    tooShort = 1 << 0,      // a lead byte not followed by a trail byte
    tooLong = 1 << 1,       // a trail byte after ASCII
    overlong3 = 1 << 2,     // E0 80..9F
    tooLarge = 1 << 3,      // F4 90..BF, F5..FF 90..BF
    surrogate = 1 << 4,     // ED A0..BF
    overlong2 = 1 << 5,     // C0, C1
    tooLarge1000 = 1 << 6,  // F5..FF 80..8F
    overlong4 = 1 << 6,     // F0 80..8F
    twoTrails = 1 << 7,     // a trail byte after a trail byte: right only as a third or fourth byte
    anyLead = tooShort | tooLong | twoTrails
};

struct alignas(16) Nibbles {
    std::uint8_t fault[16];
};

constexpr Nibbles g_firstHigh{{tooLong, tooLong, tooLong, tooLong, tooLong, tooLong, tooLong, tooLong, twoTrails,
                               twoTrails, twoTrails, twoTrails, tooShort | overlong2, tooShort,
                               tooShort | overlong3 | surrogate, tooShort | tooLarge | tooLarge1000 | overlong4}};

constexpr Nibbles g_firstLow{{anyLead | overlong3 | overlong2 | overlong4, anyLead | overlong2, anyLead, anyLead,
                              anyLead | tooLarge, anyLead | tooLarge | tooLarge1000, anyLead | tooLarge | tooLarge1000,
                              anyLead | tooLarge | tooLarge1000, anyLead | tooLarge | tooLarge1000,
                              anyLead | tooLarge | tooLarge1000, anyLead | tooLarge | tooLarge1000,
                              anyLead | tooLarge | tooLarge1000, anyLead | tooLarge | tooLarge1000,
                              anyLead | tooLarge | tooLarge1000 | surrogate, anyLead | tooLarge | tooLarge1000,
                              anyLead | tooLarge | tooLarge1000}};

constexpr Nibbles g_secondHigh{
    {tooShort, tooShort, tooShort, tooShort, tooShort, tooShort, tooShort, tooShort,
     tooLong | overlong2 | twoTrails | overlong3 | tooLarge1000 | overlong4,
     tooLong | overlong2 | twoTrails | overlong3 | tooLarge, tooLong | overlong2 | twoTrails | surrogate | tooLarge,
     tooLong | overlong2 | twoTrails | surrogate | tooLarge, tooShort, tooShort, tooShort, tooShort}};

__m256i Load(const void* p) {
    return _mm256_loadu_si256(static_cast<const __m256i*>(p));
}
__m128i Load128(const void* p) {
    return _mm_loadu_si128(static_cast<const __m128i*>(p));
}
void Store(void* p, __m256i v) {
    _mm256_storeu_si256(static_cast<__m256i*>(p), v);
}
void Store128(void* p, __m128i v) {
    _mm_storeu_si128(static_cast<__m128i*>(p), v);
}

__m256i LookUp(const Nibbles& table, __m256i nibbles) {
    return _mm256_shuffle_epi8(_mm256_broadcastsi128_si256(Load128(table.fault)), nibbles);
}

__m256i HighNibbles(__m256i v) {
    return _mm256_and_si256(_mm256_srli_epi16(v, 4), _mm256_set1_epi8(0x0F));
}

/// Non-zero where a byte of `now`, which follows `before`, is at fault.
__m256i Faults(__m256i before, __m256i now) {
    const __m256i middle = _mm256_permute2x128_si256(before, now, 0x21);
    const __m256i prev1 = _mm256_alignr_epi8(now, middle, 15);
    const __m256i prev2 = _mm256_alignr_epi8(now, middle, 14);
    const __m256i prev3 = _mm256_alignr_epi8(now, middle, 13);
    const __m256i pairs =
        _mm256_and_si256(_mm256_and_si256(LookUp(g_firstHigh, HighNibbles(prev1)),
                                          LookUp(g_firstLow, _mm256_and_si256(prev1, _mm256_set1_epi8(0x0F)))),
                         LookUp(g_secondHigh, HighNibbles(now)));
    const __m256i third = _mm256_subs_epu8(prev2, _mm256_set1_epi8(0xE0 - 0x80));
    const __m256i fourth = _mm256_subs_epu8(prev3, _mm256_set1_epi8(0xF0 - 0x80));
    const __m256i trailsDue = _mm256_and_si256(_mm256_or_si256(third, fourth), _mm256_set1_epi8(-0x80));
    return _mm256_xor_si256(pairs, trailsDue);
}

/// 64 bytes that begin with a character's first byte.
struct Block {
    __m256i low;
    __m256i high;

    explicit Block(const char* in) : low(Load(in)), high(Load(in + 32)) {}

    static std::uint64_t Mask(__m256i a, __m256i b) {
        return static_cast<std::uint32_t>(_mm256_movemask_epi8(a)) |
               static_cast<std::uint64_t>(static_cast<std::uint32_t>(_mm256_movemask_epi8(b))) << 32;
    }
    bool IsAscii() const { return _mm256_movemask_epi8(_mm256_or_si256(low, high)) == 0; }
    bool IsValid() const {
        const __m256i faults = _mm256_or_si256(Faults(_mm256_setzero_si256(), low), Faults(low, high));
        return _mm256_testz_si256(faults, faults) != 0;
    }
    std::uint64_t NonAscii() const { return Mask(low, high); }
    std::uint64_t FirstBytes() const {
        const __m256i lastTrail = _mm256_set1_epi8(-65);  // BF
        return Mask(_mm256_cmpgt_epi8(low, lastTrail), _mm256_cmpgt_epi8(high, lastTrail));
    }
    std::uint64_t FourByteLeads() const {
        const __m256i limit = _mm256_set1_epi8(-0x10);  // F0
        return Mask(_mm256_cmpeq_epi8(_mm256_max_epu8(low, limit), low),
                    _mm256_cmpeq_epi8(_mm256_max_epu8(high, limit), high));
    }
};

// --- UTF-8 to UTF-16 ---

constexpr int g_windowBits = 12;
constexpr int g_pairShuffles = 64;    // six characters of one or two bytes
constexpr int g_tripleShuffles = 81;  // four characters of one to three bytes
constexpr std::uint8_t g_notCovered = 0xFF;

struct Window {
    std::uint8_t shuffle;
    std::uint8_t bytes;
};

struct alignas(16) Shuffle {
    std::uint8_t from[16];
};

struct DecodeTables {
    Window windows[1 << g_windowBits] = {};
    Shuffle shuffles[g_pairShuffles + g_tripleShuffles] = {};
};

/// Puts the bytes of `count` characters into lanes of `laneBytes`, each character's last byte first; returns the bytes
/// used.
constexpr int FillLanes(Shuffle& shuffle, const int* lengths, int count, int laneBytes) {
    int at = 0;
    for (int lane = 0; lane < count; ++lane) {
        at += lengths[lane];
        for (int i = 0; i < lengths[lane]; ++i) {
            shuffle.from[lane * laneBytes + i] = static_cast<std::uint8_t>(at - 1 - i);
        }
    }
    return at;
}

constexpr DecodeTables MakeDecodeTables() {
    DecodeTables tables;
    for (Shuffle& shuffle : tables.shuffles) {
        for (std::uint8_t& from : shuffle.from) {
            from = 0x80;  // gives zero
        }
    }
    for (int mask = 0; mask < 1 << g_windowBits; ++mask) {
        int lengths[g_windowBits] = {};
        int characters = 0;
        int length = 0;
        for (int bit = 0; bit < g_windowBits; ++bit) {
            ++length;
            if (mask >> bit & 1) {
                lengths[characters++] = length;
                length = 0;
            }
        }
        int pairs = 0;
        while (pairs < characters && pairs < 6 && lengths[pairs] <= 2) {
            ++pairs;
        }
        int triples = 0;
        while (triples < characters && triples < 4 && lengths[triples] <= 3) {
            ++triples;
        }
        int number = 0;
        Window& window = tables.windows[mask];
        if (pairs == 6) {
            for (int i = 0; i < 6; ++i) {
                number += (lengths[i] - 1) << i;
            }
            window.bytes = static_cast<std::uint8_t>(FillLanes(tables.shuffles[number], lengths, 6, 2));
        } else if (triples == 4) {
            for (int i = 3; i >= 0; --i) {
                number = number * 3 + lengths[i] - 1;
            }
            number += g_pairShuffles;
            window.bytes = static_cast<std::uint8_t>(FillLanes(tables.shuffles[number], lengths, 4, 4));
        } else {
            number = g_notCovered;
        }
        window.shuffle = static_cast<std::uint8_t>(number);
    }
    return tables;
}

constexpr DecodeTables g_decode = MakeDecodeTables();

/// Units of six characters of one or two bytes.
__m128i DecodePairs(__m128i lanes) {
    const __m128i last = _mm_and_si128(lanes, _mm_set1_epi16(0x007F));
    const __m128i lead = _mm_and_si128(lanes, _mm_set1_epi16(0x1F00));
    return _mm_or_si128(last, _mm_srli_epi16(lead, 2));
}

/// Four units, in 32 bits each, of characters of one to three bytes.
__m128i DecodeTriples(__m128i lanes) {
    const __m128i last = _mm_and_si128(lanes, _mm_set1_epi32(0x0000007F));
    const __m128i middle = _mm_and_si128(lanes, _mm_set1_epi32(0x00003F00));
    const __m128i lead = _mm_and_si128(lanes, _mm_set1_epi32(0x000F0000));
    return _mm_or_si128(_mm_or_si128(last, _mm_srli_epi32(middle, 2)), _mm_srli_epi32(lead, 4));
}

void WidenAscii(const char* in, WCHAR* out) {
    Store(out, _mm256_cvtepu8_epi16(Load128(in)));
}

/// Eight units of 24 bytes that are eight characters of three bytes.
void DecodeEightTriples(const char* in, WCHAR* out) {
    const __m128i order = _mm_setr_epi8(2, 1, 0, -1, 5, 4, 3, -1, 8, 7, 6, -1, 11, 10, 9, -1);
    const __m128i first = DecodeTriples(_mm_shuffle_epi8(Load128(in), order));
    const __m128i second = DecodeTriples(_mm_shuffle_epi8(Load128(in + 12), order));
    Store128(out, _mm_packus_epi32(first, second));
}

void To16(const char*& in, const char* end, WCHAR*& out) {
    // Loads reach 16 bytes past the block's last window, stores 8 units: 24 bytes give at least so many units.
    constexpr int blockBytes = 64;
    constexpr int lastWindow = blockBytes - 1 - g_windowBits;
    constexpr std::uint64_t eightTriples = 0x924924;
    while (end - in >= blockBytes + 24) {
        const Block block(in);
        if (block.IsAscii()) {
            for (int i = 0; i < blockBytes; i += 16) {
                WidenAscii(in + i, out + i);
            }
            in += blockBytes;
            out += blockBytes;
            continue;
        }
        if (!block.IsValid()) {
            return;
        }
        const std::uint64_t lastBytes = block.FirstBytes() >> 1;
        int at = 0;
        while (at <= lastWindow) {
            const std::uint64_t ahead = lastBytes >> at;
            if ((ahead & 0xFFFF) == 0xFFFF) {
                WidenAscii(in + at, out);
                at += 16;
                out += 16;
                continue;
            }
            if ((ahead & 0xFFFFFF) == eightTriples) {
                DecodeEightTriples(in + at, out);
                at += 24;
                out += 8;
                continue;
            }
            const Window window = g_decode.windows[ahead & ((1 << g_windowBits) - 1)];
            if (window.shuffle == g_notCovered) {
                in += at;
                return;
            }
            const __m128i lanes = _mm_shuffle_epi8(Load128(in + at), Load128(g_decode.shuffles[window.shuffle].from));
            if (window.shuffle < g_pairShuffles) {
                Store128(out, DecodePairs(lanes));
                out += 6;
            } else {
                const __m128i units = DecodeTriples(lanes);
                Store128(out, _mm_packus_epi32(units, units));
                out += 4;
            }
            at += window.bytes;
        }
        in += at;
    }
}

void Count8(const char*& in, const char* end, Counts& counts) {
    while (end - in >= 64) {
        const Block block(in);
        if (block.IsAscii()) {
            in += 64;
            counts.units += 64;
            continue;
        }
        if (!block.IsValid()) {
            return;
        }
        // The last character may reach beyond the block and is left to the next one.
        const std::uint64_t firstBytes = block.FirstBytes();
        int stop = 63;
        while ((firstBytes >> stop & 1) == 0) {
            --stop;
        }
        const std::uint64_t passed = (std::uint64_t{1} << stop) - 1;
        const auto ones = [passed](std::uint64_t mask) {
            return static_cast<std::size_t>(_mm_popcnt_u64(mask & passed));
        };
        counts.units += ones(firstBytes) + ones(block.FourByteLeads());
        counts.sequences += ones(firstBytes & block.NonAscii());
        in += stop;
    }
}

// --- UTF-16 to UTF-8 ---

struct EncodeTables {
    Shuffle shuffles[256] = {};
    std::uint8_t bytes[256] = {};
};

/// The index has a bit for each of four units below 0x80 (bits 0 to 3) and below 0x800 (bits 4 to 7). A unit's lane
/// holds its lead byte of three, nothing, its second-last and its last byte.
constexpr EncodeTables MakeEncodeTables() {
    EncodeTables tables;
    for (int index = 0; index < 256; ++index) {
        int at = 0;
        Shuffle& shuffle = tables.shuffles[index];
        for (int lane = 0; lane < 4; ++lane) {
            const bool one = (index >> lane & 1) != 0;
            const bool two = (index >> (lane + 4) & 1) != 0;
            if (!one && !two) {
                shuffle.from[at++] = static_cast<std::uint8_t>(lane * 4);
            }
            if (!one) {
                shuffle.from[at++] = static_cast<std::uint8_t>(lane * 4 + 2);
            }
            shuffle.from[at++] = static_cast<std::uint8_t>(lane * 4 + 3);
        }
        tables.bytes[index] = static_cast<std::uint8_t>(at);
        for (; at < 16; ++at) {
            shuffle.from[at] = 0x80;
        }
    }
    return tables;
}

constexpr EncodeTables g_encode = MakeEncodeTables();

__m128i Below(__m128i units, short bits) {
    return _mm_cmpeq_epi16(_mm_and_si128(units, _mm_set1_epi16(bits)), _mm_setzero_si128());
}

bool HasSurrogate(__m128i units) {
    const __m128i top = _mm_and_si128(units, _mm_set1_epi16(-0x0800));             // F800
    return _mm_movemask_epi8(_mm_cmpeq_epi16(top, _mm_set1_epi16(-0x2800))) != 0;  // D800
}

bool PackAscii(const WCHAR* in, __m128i& bytes) {
    const __m256i units = Load(in);
    bytes = _mm_packus_epi16(_mm256_castsi256_si128(units), _mm256_extracti128_si256(units, 1));
    return _mm256_testz_si256(units, _mm256_set1_epi16(-0x80)) != 0;
}

void To8(const WCHAR*& in, const WCHAR* end, char*& out) {
    // A store reaches at most 12 bytes past what it brings; as many units are still to come.
    while (end - in >= 8 + 12) {
        __m128i ascii;
        if (PackAscii(in, ascii)) {
            Store128(out, ascii);
            in += 16;
            out += 16;
            continue;
        }
        const __m128i units = Load128(in);
        if (HasSurrogate(units)) {
            return;
        }
        const __m128i one = Below(units, -0x80);    // FF80
        const __m128i two = Below(units, -0x0800);  // F800
        const __m128i six = _mm_set1_epi16(0x3F);
        const __m128i trail = _mm_set1_epi16(0x80);
        const __m128i last = _mm_blendv_epi8(_mm_or_si128(_mm_and_si128(units, six), trail), units, one);
        const __m128i upper = _mm_srli_epi16(units, 6);
        const __m128i middle = _mm_blendv_epi8(_mm_or_si128(_mm_and_si128(upper, six), trail),
                                               _mm_or_si128(upper, _mm_set1_epi16(0xC0)), two);
        const __m128i lead = _mm_or_si128(_mm_srli_epi16(units, 12), _mm_set1_epi16(0xE0));
        const __m128i tail = _mm_or_si128(middle, _mm_slli_epi16(last, 8));
        // One bit a unit: below 0x80 in the low byte, below 0x800 in the high byte.
        const unsigned below = static_cast<unsigned>(_mm_movemask_epi8(_mm_packs_epi16(one, two)));
        const unsigned first = (below & 0x0F) | (below >> 4 & 0xF0);
        const unsigned second = (below >> 4 & 0x0F) | (below >> 8 & 0xF0);
        Store128(out, _mm_shuffle_epi8(_mm_unpacklo_epi16(lead, tail), Load128(g_encode.shuffles[first].from)));
        out += g_encode.bytes[first];
        Store128(out, _mm_shuffle_epi8(_mm_unpackhi_epi16(lead, tail), Load128(g_encode.shuffles[second].from)));
        out += g_encode.bytes[second];
        in += 8;
    }
}

void Count16(const WCHAR*& in, const WCHAR* end, std::size_t& bytes) {
    for (; end - in >= 8; in += 8) {
        const __m128i units = Load128(in);
        if (HasSurrogate(units)) {
            return;
        }
        const unsigned below =
            static_cast<unsigned>(_mm_movemask_epi8(_mm_packs_epi16(Below(units, -0x80), Below(units, -0x0800))));
        bytes += 24 - static_cast<std::size_t>(_mm_popcnt_u32(below));
    }
}

}  // namespace

const Kernels kernelsAvx2{&To16, &Count8, &To8, &Count16};

}  // namespace kvtfile::utf
