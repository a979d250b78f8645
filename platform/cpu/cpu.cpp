// Detects the processor's vector instructions, once, and lets a test lower the level.

#include "platform/cpu/cpu.h"

#include <algorithm>
#include <atomic>

#if defined(_MSC_VER)
#include <intrin.h>
#endif

namespace {

using kvtcpu::Level;

constexpr int kUnknown = -1;
constinit std::atomic<int> g_level{kUnknown};

#if defined(__x86_64__) || defined(__i386__)

Level Detect() {
    // The compiler's own check asks the operating system too whether it saves the wide registers.
    __builtin_cpu_init();
    if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512dq") &&
        __builtin_cpu_supports("avx512vl")) {
        return Level::Avx512;
    }
    if (__builtin_cpu_supports("avx2")) {
        return Level::Avx2;
    }
    return __builtin_cpu_supports("sse2") ? Level::Sse2 : Level::Scalar;
}

#elif defined(_M_X64)

Level Detect() {
    int info[4];
    __cpuid(info, 0);
    if (info[0] < 7) {
        return Level::Sse2;
    }
    __cpuid(info, 1);
    const bool saves_state = info[2] & 1 << 27;
    const unsigned long long state = saves_state ? _xgetbv(0) : 0;
    __cpuidex(info, 7, 0);
    constexpr unsigned kAvx512 = 1u << 16 | 1u << 17 | 1u << 30 | 1u << 31;  // F, DQ, BW, VL
    if ((state & 0xE6) == 0xE6 && (static_cast<unsigned>(info[1]) & kAvx512) == kAvx512) {
        return Level::Avx512;
    }
    return (state & 6) == 6 && (info[1] & 1 << 5) ? Level::Avx2 : Level::Sse2;
}

#else

Level Detect() {
    return Level::Scalar;
}

#endif

}  // namespace

namespace kvtcpu {

Level BestSimd() {
    static const Level best = Detect();
    return best;
}

Level Simd() {
    const int level = g_level.load(std::memory_order_relaxed);
    if (level != kUnknown) {
        return static_cast<Level>(level);
    }
    const Level best = BestSimd();
    int expected = kUnknown;
    g_level.compare_exchange_strong(expected, static_cast<int>(best), std::memory_order_relaxed);
    return expected == kUnknown ? best : static_cast<Level>(expected);
}

Level LimitSimd(Level level) {
    const Level used = std::min(level, BestSimd());
    g_level.store(static_cast<int>(used), std::memory_order_relaxed);
    return used;
}

}  // namespace kvtcpu
