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

struct Block {
    uint64_t lt;   ///< "<"
    uint64_t gt;   ///< ">"
    uint64_t dq;   ///< double quotes
    uint64_t sq;   ///< apostrophes
    uint64_t nul;  ///< NUL
};

}  // namespace
}  // namespace kvtfile
