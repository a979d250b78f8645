#pragma once

// Where the characters that matter to the scanner stand in a block of 64, one bit a character.
//
// The files of the scanner are compiled once for each vector instruction set. Whatever they define has internal
// linkage and they call no inline function of another header, so that code made for a newer processor can never be
// taken by the linker for an older one.

#include <cstddef>
#include <cstdint>

#include "kvtfile/types.h"

namespace kvtfile {
namespace {

constexpr int blockSize = 64;

/// Marks what must become part of its caller: the state of a scan then stays in registers.
#define KVTFILE_INLINE [[gnu::always_inline]] inline
/// Marks what must not, for the same reason.
#define KVTFILE_OUTLINE [[gnu::noinline]]

/// Number of the lowest bit that is set; `bits` is not 0.
KVTFILE_INLINE int LowestBit(uint64_t bits) {
    return __builtin_ctzll(bits);
}

/// All bits up to the lowest that is set, with it; every bit when none is.
KVTFILE_INLINE uint64_t UpToLowest(uint64_t bits) {
    return bits ^ (bits - 1);
}

KVTFILE_INLINE bool IsOddCount(uint64_t bits) {
    return __builtin_parityll(bits) != 0;
}

struct Block {
    uint64_t lt;   ///< "<"
    uint64_t gt;   ///< ">"
    uint64_t dq;   ///< double quotes
    uint64_t sq;   ///< apostrophes
    uint64_t nul;  ///< NUL
};

}  // namespace
}  // namespace kvtfile
