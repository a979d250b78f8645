#pragma once

// Block classification with AVX2: the idea of simd_sse2.h with 32-byte vectors. Packing works on the two halves of a
// vector apart, so the packed bytes are put in order afterwards.

#include <immintrin.h>

#include "xml/block.h"

namespace kvtfile {
namespace {

struct Avx2Simd {
    KVTFILE_INLINE static __m256i Load(const WCHAR* p) {
        return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
    }

    KVTFILE_INLINE static uint64_t Mask(__m256i low, __m256i high, char searched) {
        const __m256i c = _mm256_set1_epi8(searched);
        const uint32_t a = static_cast<uint32_t>(_mm256_movemask_epi8(_mm256_cmpeq_epi8(low, c)));
        const uint32_t b = static_cast<uint32_t>(_mm256_movemask_epi8(_mm256_cmpeq_epi8(high, c)));
        return (static_cast<uint64_t>(b) << 32) | a;
    }

    KVTFILE_INLINE static __m256i Pack(__m256i a, __m256i b) {
        return _mm256_permute4x64_epi64(_mm256_packus_epi16(a, b), 0xD8);
    }

    KVTFILE_INLINE static void Classify(const WCHAR* p, Block& block) {
        // Limited to 0xFF first, so that nothing but NUL saturates to 0.
        const __m256i limit = _mm256_set1_epi16(0xFF);
        const __m256i low = Pack(_mm256_min_epu16(Load(p), limit), _mm256_min_epu16(Load(p + 16), limit));
        const __m256i high = Pack(_mm256_min_epu16(Load(p + 32), limit), _mm256_min_epu16(Load(p + 48), limit));
        block.lt = Mask(low, high, '<');
        block.gt = Mask(low, high, '>');
        block.dq = Mask(low, high, '"');
        block.sq = Mask(low, high, '\'');
        block.nul = 0;
        const __m256i any = _mm256_cmpeq_epi8(_mm256_min_epu8(low, high), _mm256_setzero_si256());
        if (!_mm256_testz_si256(any, any))
            block.nul = Mask(low, high, 0);
    }

    KVTFILE_INLINE static bool IsPlainText(const WCHAR* p) {
        const __m256i zero = _mm256_setzero_si256();
        const __m256i lt = _mm256_set1_epi16('<');
        __m256i found = zero;
        for (int i = 0; i < 4; ++i) {
            const __m256i v = Load(p + 16 * i);
            found = _mm256_or_si256(found, _mm256_or_si256(_mm256_cmpeq_epi16(v, lt), _mm256_cmpeq_epi16(v, zero)));
        }
        return _mm256_testz_si256(found, found) != 0;
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
