#pragma once

// Block classification with AVX-512BW, whose comparisons of 16-bit characters give the bits themselves.

#include <immintrin.h>

#include "xml/block.h"

namespace kvtfile {
namespace {

struct Avx512Simd {
    KVTFILE_INLINE static __m512i Load(const WCHAR* p) { return _mm512_loadu_si512(p); }

    KVTFILE_INLINE static uint64_t Mask(__m512i low, __m512i high, short searched) {
        const __m512i c = _mm512_set1_epi16(searched);
        const uint32_t a = _mm512_cmpeq_epi16_mask(low, c);
        const uint32_t b = _mm512_cmpeq_epi16_mask(high, c);
        return (static_cast<uint64_t>(b) << 32) | a;
    }

    KVTFILE_INLINE static void Classify(const WCHAR* p, Block& block) {
        const __m512i low = Load(p);
        const __m512i high = Load(p + 32);
        block.lt = Mask(low, high, '<');
        block.gt = Mask(low, high, '>');
        block.dq = Mask(low, high, '"');
        block.sq = Mask(low, high, '\'');
        block.nul = Mask(low, high, 0);
    }

    KVTFILE_INLINE static bool IsPlainText(const WCHAR* p) {
        const __m512i low = Load(p);
        const __m512i high = Load(p + 32);
        return (Mask(low, high, '<') | Mask(low, high, 0)) == 0;
    }

    KVTFILE_INLINE static bool SameStart(const WCHAR* a, const WCHAR* b, int count) {
        const __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i*>(a));
        const __m128i y = _mm_loadu_si128(reinterpret_cast<const __m128i*>(b));
        const uint32_t same = static_cast<uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi16(x, y)));
        return LowestBit(~same) >= 2 * count;
    }
};

}  // namespace
}  // namespace kvtfile
