// The pixels of a system icon: its colours with their alpha, or where they have none the mask as alpha.

#include <algorithm>
#include <new>

#include "platform/mfc/icon.h"

namespace kvtmfc {

namespace {

/// A bitmap of the system that is the holder's to delete.
class OwnedBitmap {
public:
    explicit OwnedBitmap(HBITMAP bitmap) : m_bitmap(bitmap) {}
    ~OwnedBitmap() {
        if (m_bitmap) {
            ::DeleteObject(m_bitmap);
        }
    }
    OwnedBitmap(const OwnedBitmap&) = delete;
    OwnedBitmap& operator=(const OwnedBitmap&) = delete;

    explicit operator bool() const { return m_bitmap != nullptr; }

    /// The bitmap in 32 bits a pixel, blue first, from the top row down.
    bool Read(int width, int height, std::vector<BYTE>& bgra) const {
        BITMAPINFO info = {};
        info.bmiHeader.biSize = sizeof info.bmiHeader;
        info.bmiHeader.biWidth = width;
        info.bmiHeader.biHeight = -height;
        info.bmiHeader.biPlanes = 1;
        info.bmiHeader.biBitCount = 32;
        info.bmiHeader.biCompression = BI_RGB;
        bgra.resize(static_cast<size_t>(width) * static_cast<size_t>(height) * 4);
        const HDC screen = ::GetDC(nullptr);
        const int rows =
            ::GetDIBits(screen, m_bitmap, 0, static_cast<UINT>(height), bgra.data(), &info, DIB_RGB_COLORS);
        ::ReleaseDC(nullptr, screen);
        return rows == height;
    }

    bool Size(SIZE& size) const {
        BITMAP bitmap = {};
        if (::GetObjectW(m_bitmap, sizeof bitmap, &bitmap) == 0) {
            return false;
        }
        size = {bitmap.bmWidth, bitmap.bmHeight};
        return true;
    }

private:
    HBITMAP m_bitmap;
};

bool Read(HICON icon, IconPixels& pixels) {
    ICONINFO info = {};
    if (!icon || !::GetIconInfo(icon, &info)) {
        return false;
    }
    const OwnedBitmap colours(info.hbmColor);
    const OwnedBitmap masks(info.hbmMask);
    SIZE size = {};
    std::vector<BYTE> rgba, mask;
    if (!masks.Size(size) || !masks.Read(size.cx, size.cy, mask)) {
        return false;
    }
    if (colours) {
        if (!colours.Read(size.cx, size.cy, rgba)) {
            return false;
        }
    } else {
        // An icon of two colours keeps them in the lower half of its mask.
        size.cy /= 2;
        const size_t half = mask.size() / 2;
        rgba.assign(mask.begin() + static_cast<std::ptrdiff_t>(half), mask.end());
        for (size_t at = 3; at < rgba.size(); at += 4) {
            rgba[at] = 0;
        }
        mask.resize(half);
    }
    bool hasAlpha = false;
    for (size_t at = 3; at < rgba.size(); at += 4) {
        hasAlpha = hasAlpha || rgba[at] != 0;
    }
    for (size_t at = 0; at < rgba.size(); at += 4) {
        if (!hasAlpha) {
            rgba[at + 3] = mask[at] != 0 ? 0 : 0xFF;
        }
        if (rgba[at + 3] == 0) {
            std::fill_n(&rgba[at], 4, BYTE{0});
        } else {
            std::swap(rgba[at], rgba[at + 2]);
        }
    }
    pixels = {static_cast<int>(size.cx), static_cast<int>(size.cy), std::move(rgba)};
    return true;
}

}  // namespace

bool GetIconPixels(HICON icon, IconPixels& pixels) {
    try {
        return Read(icon, pixels);
    } catch (const std::bad_alloc&) {
        return false;
    }
}

}  // namespace kvtmfc
