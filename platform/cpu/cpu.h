#pragma once

/// @file
/// The one place that decides which vector instructions the library uses.
namespace kvtcpu {

/// Vector instructions, each level including those before it. Avx512 stands for the F, BW, DQ and VL sets.
enum class Level { Scalar, Sse2, Avx2, Avx512 };

/// The level to use: the best that the processor and the operating system support, unless a test has lowered it.
/// Cheap (one load); detected at the first call.
Level Simd();

/// The best level of this machine.
Level BestSimd();

/// For tests: uses at most `level` from now on in the whole process. @return The level now in use.
Level LimitSimd(Level level);

}  // namespace kvtcpu
