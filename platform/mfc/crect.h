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

    /// A RECT on either side is taken as a CRect: two members of which one is the other's base would be ambiguous in
    /// C++20.
    friend constexpr bool operator==(const CRect& a, const CRect& b) noexcept {
        return a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom;
    }
    friend constexpr bool operator!=(const CRect& a, const CRect& b) noexcept { return !(a == b); }
};

}  // namespace kvtmfc
