// UTF-8 and UTF-16: the scalar code, which defines every result, and its turns with the vector kernels. A kernel passes
// over what it knows and the scalar code does the next stretch, so that each part of the input is looked at by both at
// most and the time stays linear whatever the input.

#include "xml/utf.h"

#include <cstdint>
#include <cstring>

#include "platform/cpu/cpu.h"
#include "xml/utf_kernels.h"

namespace kvtfile::utf {

namespace {

constexpr int g_replacement = 0xFFFD;

/// Bytes, or units, that the scalar code does before the kernel is tried again.
constexpr std::ptrdiff_t g_stretch = 64;

template <class T>
void NoTo(const T*&, const T*, auto*&) {}
template <class T>
void NoCount(const T*&, const T*, auto&) {}

constexpr Kernels g_none{&NoTo, &NoCount, &NoTo, &NoCount};

const Kernels& Chosen() {
#ifdef KVTFILE_X86
    switch (kvtcpu::Simd()) {
        case kvtcpu::Level::Avx512:
        case kvtcpu::Level::Avx2:
            return kernelsAvx2;
        case kvtcpu::Level::Sse2:
            return kernelsSse2;
        case kvtcpu::Level::Scalar:
            break;
    }
#endif
    return g_none;
}

template <class T>
const T* StretchEnd(const T* in, const T* end) {
    return end - in > g_stretch ? in + g_stretch : end;
}

bool IsHigh(unsigned unit) {
    return (unit & 0xFC00) == 0xD800;
}
bool IsLow(unsigned unit) {
    return (unit & 0xFC00) == 0xDC00;
}

}  // namespace

int Decode8(const char*& p, const char* end) {
    const auto byte = [&p] { return static_cast<unsigned char>(*p); };
    const unsigned lead = byte();
    ++p;
    if (lead < 0x80) {
        return static_cast<int>(lead);
    }
    if (lead < 0xC2 || lead > 0xF4) {
        return -1;
    }
    // The second byte's range keeps out spellings that are too long, surrogates and everything above U+10FFFF.
    unsigned first = 0x80;
    unsigned last = 0xBF;
    int more = 1;
    unsigned value = lead & 0x1F;
    if (lead >= 0xF0) {
        more = 3;
        value = lead & 0x07;
        first = lead == 0xF0 ? 0x90 : 0x80;
        last = lead == 0xF4 ? 0x8F : 0xBF;
    } else if (lead >= 0xE0) {
        more = 2;
        value = lead & 0x0F;
        first = lead == 0xE0 ? 0xA0 : 0x80;
        last = lead == 0xED ? 0x9F : 0xBF;
    }
    for (; more > 0; --more) {
        if (p == end || byte() < first || byte() > last) {
            return -1;
        }
        value = value << 6 | (byte() & 0x3F);
        ++p;
        first = 0x80;
        last = 0xBF;
    }
    return static_cast<int>(value);
}

int Decode16(const WCHAR*& p, const WCHAR* end) {
    const unsigned unit = *p++;
    if (!IsHigh(unit)) {
        return IsLow(unit) ? -1 : static_cast<int>(unit);
    }
    if (p == end || !IsLow(*p)) {
        return -1;
    }
    const unsigned low = *p++;
    return static_cast<int>(0x10000 + ((unit & 0x3FF) << 10 | (low & 0x3FF)));
}

void Encode8(int codePoint, char*& out) {
    const auto put = [&out](unsigned byte) { *out++ = static_cast<char>(byte); };
    unsigned c = static_cast<unsigned>(codePoint);
    if (c > 0x10FFFF || (c & 0xFFFFF800) == 0xD800) {
        c = g_replacement;
    }
    if (c < 0x80) {
        put(c);
        return;
    }
    if (c < 0x800) {
        put(0xC0 | c >> 6);
    } else {
        if (c < 0x10000) {
            put(0xE0 | c >> 12);
        } else {
            put(0xF0 | c >> 18);
            put(0x80 | (c >> 12 & 0x3F));
        }
        put(0x80 | (c >> 6 & 0x3F));
    }
    put(0x80 | (c & 0x3F));
}

void Encode16(int codePoint, WCHAR*& out) {
    unsigned c = static_cast<unsigned>(codePoint);
    if (c > 0x10FFFF) {
        c = g_replacement;
    }
    if (c >= 0x10000) {
        *out++ = static_cast<WCHAR>(0xD800 + ((c - 0x10000) >> 10));
        c = 0xDC00 + (c & 0x3FF);
    }
    *out++ = static_cast<WCHAR>(c);
}

std::size_t Length16(const char* in, std::size_t count) {
    const Kernels& kernels = Chosen();
    const char* const end = in + count;
    Counts counts;
    while (in != end) {
        kernels.count8(in, end, counts);
        for (const char* stop = StretchEnd(in, end); in < stop;) {
            counts.units += Decode8(in, end) > 0xFFFF ? 2 : 1;
        }
    }
    return counts.units;
}

std::size_t To16(const char* in, std::size_t count, WCHAR* out) {
    const Kernels& kernels = Chosen();
    const char* const end = in + count;
    WCHAR* const start = out;
    while (in != end) {
        kernels.to16(in, end, out);
        for (const char* stop = StretchEnd(in, end); in < stop;) {
            const int c = Decode8(in, end);
            Encode16(c < 0 ? g_replacement : c, out);
        }
    }
    return static_cast<std::size_t>(out - start);
}

std::size_t Length8(const WCHAR* in, std::size_t count) {
    const Kernels& kernels = Chosen();
    const WCHAR* const end = in + count;
    std::size_t bytes = 0;
    while (in != end) {
        kernels.count16(in, end, bytes);
        for (const WCHAR* stop = StretchEnd(in, end); in < stop;) {
            const int c = Decode16(in, end);
            bytes += c < 0 ? 3 : c < 0x80 ? 1 : c < 0x800 ? 2 : c < 0x10000 ? 3 : 4;
        }
    }
    return bytes;
}

std::size_t To8(const WCHAR* in, std::size_t count, char* out, std::size_t& replaced) {
    const Kernels& kernels = Chosen();
    const WCHAR* const end = in + count;
    char* const start = out;
    replaced = 0;
    while (in != end) {
        kernels.to8(in, end, out);
        for (const WCHAR* stop = StretchEnd(in, end); in < stop;) {
            const int c = Decode16(in, end);
            replaced += c < 0 ? 1 : 0;
            Encode8(c, out);
        }
    }
    return static_cast<std::size_t>(out - start);
}

bool IsValid8(const char* in, std::size_t count, std::size_t& sequences) {
    const Kernels& kernels = Chosen();
    const char* const end = in + count;
    Counts counts;
    bool valid = true;
    while (valid && in != end) {
        kernels.count8(in, end, counts);
        for (const char* stop = StretchEnd(in, end); valid && in < stop;) {
            const int c = Decode8(in, end);
            valid = c >= 0;
            counts.sequences += c >= 0x80 ? 1 : 0;
        }
    }
    sequences = counts.sequences;
    return valid;
}

void SwapBytes(WCHAR* units, std::size_t count) {
    constexpr std::uint64_t lows = 0x00FF00FF00FF00FF;
    std::size_t i = 0;
    for (; i + 4 <= count; i += 4) {
        std::uint64_t four;
        std::memcpy(&four, units + i, sizeof four);
        four = (four & lows) << 8 | (four >> 8 & lows);
        std::memcpy(units + i, &four, sizeof four);
    }
    for (; i < count; ++i) {
        units[i] = static_cast<WCHAR>((units[i] & 0xFF) << 8 | units[i] >> 8);
    }
}

}  // namespace kvtfile::utf
