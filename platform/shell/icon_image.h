#pragma once

/// @file
/// The images of icons: device-independent bitmaps with a mask, as they stand in files, made into pixels.

#include <cstdint>
#include <optional>
#include <vector>

#include "bytes.h"

namespace kvtshell {

/// Pixels from the top row down: red, green, blue, alpha (not multiplied into the colours), a byte each. What is wholly
/// transparent has no colour.
struct IconImage {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> rgba;
};

/// Larger images are not read.
constexpr int kMaxIconSide = 1024;

/// What the header of an image says, checked.
struct IconFormat {
    int width = 0;
    int height = 0;
    int bits = 0;               ///< Of a pixel: 1, 4, 8, 16, 24 or 32.
    std::uint32_t header = 0;   ///< Bytes before the palette.
    std::uint32_t colours = 0;  ///< Entries of the palette.

    std::uint32_t ColourStride() const;
    std::uint32_t MaskStride() const;
    /// Bytes of header, palette and colours.
    std::uint32_t SizeWithoutMask() const;
    std::uint32_t Size() const;
};

/// Bytes that ReadIconFormat looks at.
constexpr std::uint32_t kIconHeaderSize = 40;

/// Reads the header of an image.
/// @param size Bytes of the whole image.
/// @return Nothing when it is not an uncompressed bitmap of 1 to kMaxIconSide pixels a side that is all there. The mask
///         of a 32-bit image may be missing.
std::optional<IconFormat> ReadIconFormat(Bytes header, std::uint64_t size);

/// The pixels of an image.
/// @param bytes The image; ReadIconFormat has found it to be of this format.
/// A pixel is transparent where the mask is set; a 32-bit image with any alpha has its own.
IconImage DecodeIcon(const IconFormat& format, Bytes bytes);

/// The image in another size: each pixel is the mean of what it covers.
IconImage Scaled(const IconImage& image, int width, int height);

}  // namespace kvtshell
