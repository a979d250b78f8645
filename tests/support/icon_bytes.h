#pragma once

// Icon files and Windows programs with icons, made byte by byte.

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace kvttest {

/// Red, green, blue and alpha of a pixel, from the high byte to the low one.
using Rgba = std::uint32_t;

/// A picture: width * height pixels from the top row down.
struct Picture {
    int width = 0;
    int height = 0;
    std::vector<Rgba> pixels;

    static Picture Square(int side, const std::function<Rgba(int x, int y)>& colour);
    static Picture Filled(int side, Rgba colour) {
        return Square(side, [colour](int, int) { return colour; });
    }
    /// The pixels as bytes, in the order of their names.
    std::string Bytes() const;
};

/// Pixels' bytes as a text that prints well: "FF0000FF x 12, 00000000 x 4", or what is wrong with their number.
std::string Shown(const std::string& rgba);
inline std::string Shown(const Picture& picture) {
    return Shown(picture.Bytes());
}

/// The picture as an image of an icon.
/// @param bits Of a pixel: 1, 4, 8 (of that many different colours at most), 16 (of colours that five bits hold), 24 or
///        32. Alpha below 255 is a set bit of the mask, and with 32 bits alpha too.
std::string ImageBytes(const Picture& picture, int bits);

/// An .ico file of images.
std::string IcoBytes(const std::vector<std::string>& images);
inline std::string IcoBytes(const Picture& picture, int bits) {
    return IcoBytes({ImageBytes(picture, bits)});
}

/// A Windows program: its icons by their resource ids, each of several images.
using Icons = std::map<std::uint16_t, std::vector<std::string>>;
std::string ProgramBytes(const Icons& icons, bool wide = true);

}  // namespace kvttest
