// CRect: a rectangle by its corners.
#pragma once

#include "base.h"

namespace kvtmfc {

/// Left, top, right and bottom edge; right and bottom lie outside of it.
class CRect : public RECT {
public:
    /// All edges 0.
    constexpr CRect() noexcept : RECT{0, 0, 0, 0} {}
    constexpr CRect(int l, int t, int r, int b) noexcept : RECT{l, t, r, b} {}
    constexpr CRect(const RECT& rect) noexcept : RECT(rect) {}

    constexpr int Width() const noexcept { return right - left; }
    constexpr int Height() const noexcept { return bottom - top; }
    constexpr void SetRect(int l, int t, int r, int b) noexcept { *this = CRect(l, t, r, b); }
    constexpr void SetRectEmpty() noexcept { *this = CRect(); }
    /// No width or no height.
    constexpr bool IsRectEmpty() const noexcept { return right <= left || bottom <= top; }
    /// All edges 0.
    constexpr bool IsRectNull() const noexcept { return *this == CRect(); }

    constexpr bool operator==(const RECT& other) const noexcept {
        return left == other.left && top == other.top && right == other.right && bottom == other.bottom;
    }
    constexpr bool operator!=(const RECT& other) const noexcept { return !(*this == other); }
};

}  // namespace kvtmfc
