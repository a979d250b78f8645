#pragma once

// Block classification with SSE2, which every x86-64 processor has.
//
// Idea: saturate two vectors of 16-bit characters into one of bytes, compare bytes, and gather the results' top bits.
// Saturation is signed: characters from 0x8000 become 0 and the others above 0xFF become 0xFF, neither of which is
// searched. NUL itself is therefore searched before saturation.

#include <emmintrin.h>

#include "xml/block.h"

namespace kvtfile {
namespace {

struct Sse2Simd {
    KVTFILE_INLINE static __m128i Load(const WCHAR* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }

    KVTFILE_INLINE static uint64_t Mask(const __m128i (&bytes)[4], char searched) {
        const __m128i c = _mm_set1_epi8(searched);
        uint64_t mask = 0;
        for (int i = 0; i < 4; ++i) {
            const uint64_t part = static_cast<uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes[i], c)));
            mask |= part << (16 * i);
        }
        return mask;
    }

    KVTFILE_INLINE static void Classify(const WCHAR* p, Block& block) {
        const __m128i zero = _mm_setzero_si128();
        __m128i bytes[4];
        __m128i nul[4];
        for (int i = 0; i < 4; ++i) {
            const __m128i low = Load(p + 16 * i);
            const __m128i high = Load(p + 16 * i + 8);
            bytes[i] = _mm_packus_epi16(low, high);
            nul[i] = _mm_packs_epi16(_mm_cmpeq_epi16(low, zero), _mm_cmpeq_epi16(high, zero));
        }
        block.lt = Mask(bytes, '<');
        block.gt = Mask(bytes, '>');
        block.dq = Mask(bytes, '"');
        block.sq = Mask(bytes, '\'');
        block.nul = 0;
        const __m128i any = _mm_or_si128(_mm_or_si128(nul[0], nul[1]), _mm_or_si128(nul[2], nul[3]));
        if (_mm_movemask_epi8(any) != 0)
            block.nul = Mask(nul, -1);
    }

    KVTFILE_INLINE static bool IsPlainText(const WCHAR* p) {
        const __m128i zero = _mm_setzero_si128();
        const __m128i lt = _mm_set1_epi16('<');
        __m128i found = zero;
        for (int i = 0; i < 8; ++i) {
            const __m128i v = Load(p + 8 * i);
            found = _mm_or_si128(found, _mm_or_si128(_mm_cmpeq_epi16(v, lt), _mm_cmpeq_epi16(v, zero)));
        }
        return _mm_movemask_epi8(found) == 0;
    }

    KVTFILE_INLINE static bool SameStart(const WCHAR* a, const WCHAR* b, int count) {
        const uint32_t same = static_cast<uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi16(Load(a), Load(b))));
        return LowestBit(~same) >= 2 * count;
    }
};

}  // namespace
}  // namespace kvtfile
