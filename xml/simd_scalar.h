#pragma once

// Block classification without vector instructions: what every other version must agree with.

#include "xml/block.h"

namespace kvtfile {
namespace {

struct ScalarSimd {
    /// Classifies the `blockSize` characters at `p`.
    static inline void Classify(const WCHAR* p, Block& block) {
        block = Block{0, 0, 0, 0, 0};
        for (int i = 0; i < blockSize; ++i) {
            const uint64_t bit = uint64_t(1) << i;
            switch (p[i]) {
                case '<':
                    block.lt |= bit;
                    break;
                case '>':
                    block.gt |= bit;
                    break;
                case '"':
                    block.dq |= bit;
                    break;
                case '\'':
                    block.sq |= bit;
                    break;
                case 0:
                    block.nul |= bit;
                    break;
                default:
                    break;
            }
        }
    }

    /// Whether the `blockSize` characters at `p` hold neither "<" nor NUL.
    KVTFILE_INLINE static bool IsPlainText(const WCHAR* p) {
        for (int i = 0; i < blockSize; ++i) {
            if (p[i] == '<' || p[i] == 0)
                return false;
        }
        return true;
    }

    /// Whether the 8 characters at `a` and `b` are the same in the first `count` (at most 8).
    KVTFILE_INLINE static bool SameStart(const WCHAR* a, const WCHAR* b, int count) {
        for (int i = 0; i < count; ++i) {
            if (a[i] != b[i])
                return false;
        }
        return true;
    }
};

}  // namespace
}  // namespace kvtfile
