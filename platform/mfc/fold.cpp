// Case folding by the ranges of fold_table.inc.
#include "platform/mfc/fold.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

namespace kvtmfc {

namespace {

struct FoldRange {
    uint16_t first;
    uint16_t last;
    uint16_t step;
    int32_t delta;
};

#include "platform/mfc/fold_table.inc"

template <size_t Count>
WCHAR Fold(const FoldRange (&ranges)[Count], WCHAR character) {
    const unsigned code = character;
    // Most of what is not ASCII is an ideograph or a syllable without case.
    if ((code >= 0x2E00 && code < 0xA640) || (code >= 0xAC00 && code < 0xFF00)) {
        return character;
    }
    const FoldRange* range = std::lower_bound(std::begin(ranges), std::end(ranges), code,
                                              [](const FoldRange& row, unsigned wanted) { return row.last < wanted; });
    if (range == std::end(ranges) || code < range->first || (code - range->first) % range->step != 0) {
        return character;
    }
    return static_cast<WCHAR>(static_cast<int32_t>(code) + range->delta);
}

}  // namespace

namespace detail {

WCHAR FoldLowerByTable(WCHAR character) noexcept {
    return Fold(lowerRanges, character);
}
WCHAR FoldUpperByTable(WCHAR character) noexcept {
    return Fold(upperRanges, character);
}

}  // namespace detail

int CompareNoCase(LPCWSTR left, LPCWSTR right) noexcept {
    for (;; ++left, ++right) {
        if (*left != *right) {
            const int difference = static_cast<int>(FoldLower(*left)) - static_cast<int>(FoldLower(*right));
            if (difference != 0) {
                return difference;
            }
        } else if (*left == 0) {
            return 0;
        }
    }
}

}  // namespace kvtmfc
