// The choice of vector instructions, and wide vectors in a test's frame.

#include <numeric>

#include "platform/cpu/cpu.h"
#include "tests/support/support.h"

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace {

using kvtcpu::Level;

class CpuSimd : public testing::Test {
protected:
    ~CpuSimd() override { kvtcpu::LimitSimd(kvtcpu::BestSimd()); }
};

TEST_F(CpuSimd, BestLevelIsUsedUntilATestLowersIt) {
    EXPECT_EQ(kvtcpu::Simd(), kvtcpu::BestSimd());
    for (const Level level : {Level::Scalar, Level::Sse2, Level::Avx2, Level::Avx512}) {
        const Level expected = level < kvtcpu::BestSimd() ? level : kvtcpu::BestSimd();
        EXPECT_EQ(kvtcpu::LimitSimd(level), expected);
        EXPECT_EQ(kvtcpu::Simd(), expected);
    }
}

#if defined(__x86_64__)

TEST_F(CpuSimd, BaselineOfTheMachineIsSse2) {
    EXPECT_GE(kvtcpu::BestSimd(), Level::Sse2);
}

// More vectors than there are registers, so that some are kept on the stack.
__attribute__((target("avx2"), noinline)) int SumOfManyVectors(const int* values) {
    __m256i sums[24];
    for (int i = 0; i < 24; ++i) {
        sums[i] = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(values + i * 8));
    }
    for (int round = 0; round < 3; ++round) {
        for (int i = 0; i < 24; ++i) {
            sums[i] = _mm256_add_epi32(sums[i], sums[(i + 7) % 24]);
            asm volatile("" : "+m"(sums[i]));
        }
    }
    __m256i total = _mm256_setzero_si256();
    for (const __m256i& sum : sums) {
        total = _mm256_add_epi32(total, sum);
    }
    int parts[8];
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(parts), total);
    return std::accumulate(parts, parts + 8, 0);
}

int SumOneByOne(const int* values) {
    int sums[24][8];
    for (int i = 0; i < 24 * 8; ++i) {
        sums[i / 8][i % 8] = values[i];
    }
    for (int round = 0; round < 3; ++round) {
        for (int i = 0; i < 24; ++i) {
            for (int lane = 0; lane < 8; ++lane) {
                sums[i][lane] += sums[(i + 7) % 24][lane];
            }
        }
    }
    return std::accumulate(&sums[0][0], &sums[0][0] + 24 * 8, 0);
}

// A 32-byte vector passed and returned by value goes over the stack on Windows.
__attribute__((target("avx2"), noinline)) __m256i Twice(__m256i value) {
    return _mm256_add_epi32(value, value);
}

__attribute__((target("avx2"), noinline)) int SumOfTwice(const int* values, int depth) {
    const __m256i own = Twice(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(values)));
    const int below = depth > 0 ? SumOfTwice(values + 1, depth - 1) : 0;
    int parts[8];
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(parts), own);
    return below + std::accumulate(parts, parts + 8, 0);
}

TEST_F(CpuSimd, WideVectorsMayLieOnAnyStack) {
    if (kvtcpu::BestSimd() < Level::Avx2) {
        GTEST_SKIP() << "this machine has no AVX2";
    }
    int values[24 * 8];
    std::iota(std::begin(values), std::end(values), 1);
    EXPECT_EQ(SumOfManyVectors(values), SumOneByOne(values));
    int expected = 0;
    for (int start = 0; start <= 5; ++start) {
        expected += 2 * std::accumulate(values + start, values + start + 8, 0);
    }
    EXPECT_EQ(SumOfTwice(values, 5), expected);
}

#endif

}  // namespace
