// Runs of ASCII with SSE2, which every x86-64 processor has. Anything else is left to the scalar code.

#include <emmintrin.h>

#include "xml/utf_kernels.h"

namespace kvtfile::utf {

namespace {

__m128i Load(const void* p) {
    return _mm_loadu_si128(static_cast<const __m128i*>(p));
}
void Store(void* p, __m128i v) {
    _mm_storeu_si128(static_cast<__m128i*>(p), v);
}

void To16(const char*& in, const char* end, WCHAR*& out) {
    const __m128i zero = _mm_setzero_si128();
    for (; end - in >= 16; in += 16, out += 16) {
        const __m128i bytes = Load(in);
        if (_mm_movemask_epi8(bytes) != 0) {
            return;
        }
        Store(out, _mm_unpacklo_epi8(bytes, zero));
        Store(out + 8, _mm_unpackhi_epi8(bytes, zero));
    }
}

void Count8(const char*& in, const char* end, Counts& counts) {
    for (; end - in >= 16 && _mm_movemask_epi8(Load(in)) == 0; in += 16) {
        counts.units += 16;
    }
}

/// The sixteen units at `in` as bytes when all of them are ASCII.
bool PackAscii(const WCHAR* in, __m128i& bytes) {
    const __m128i low = Load(in);
    const __m128i high = Load(in + 8);
    const __m128i beyond = _mm_and_si128(_mm_or_si128(low, high), _mm_set1_epi16(-0x80));
    bytes = _mm_packus_epi16(low, high);
    return _mm_movemask_epi8(_mm_cmpeq_epi16(beyond, _mm_setzero_si128())) == 0xFFFF;
}

void To8(const WCHAR*& in, const WCHAR* end, char*& out) {
    __m128i bytes;
    for (; end - in >= 16 && PackAscii(in, bytes); in += 16, out += 16) {
        Store(out, bytes);
    }
}

void Count16(const WCHAR*& in, const WCHAR* end, std::size_t& count) {
    __m128i bytes;
    for (; end - in >= 16 && PackAscii(in, bytes); in += 16) {
        count += 16;
    }
}

}  // namespace

const Kernels kernelsSse2{&To16, &Count8, &To8, &Count16};

}  // namespace kvtfile::utf
