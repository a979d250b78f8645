// Bitmaps of icons: the header's numbers are checked once, against the bytes that are there; decoding relies on that.

#include "icon_image.h"

#include <algorithm>
#include <cmath>

namespace kvtshell {

namespace {

constexpr std::uint32_t kUncompressed = 0;
constexpr std::uint32_t kMaxHeaderSize = 256;  // the longest that is known has 124 bytes

std::uint32_t StrideOf(int width, int bits) {
    return (static_cast<std::uint32_t>(width) * static_cast<std::uint32_t>(bits) + 31) / 32 * 4;
}

struct Colour {
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;
    std::uint8_t alpha = 0xFF;
};

/// Five bits made eight.
std::uint8_t Widened(int value) {
    return static_cast<std::uint8_t>(value << 3 | value >> 2);
}

Colour PixelOf(Bytes row, Bytes palette, int bits, size_t x) {
    switch (bits) {
        case 32:
            return {row[4 * x + 2], row[4 * x + 1], row[4 * x], row[4 * x + 3]};
        case 24:
            return {row[3 * x + 2], row[3 * x + 1], row[3 * x]};
        case 16: {
            const int value = row[2 * x] | row[2 * x + 1] << 8;
            return {Widened(value >> 10 & 31), Widened(value >> 5 & 31), Widened(value & 31)};
        }
        default: {
            const size_t perByte = 8 / static_cast<size_t>(bits);
            const size_t shift = (perByte - 1 - x % perByte) * static_cast<size_t>(bits);
            const size_t index = (row[x / perByte] >> shift) & ((1U << bits) - 1);
            if (4 * index >= palette.size()) {
                return {};
            }
            return {palette[4 * index + 2], palette[4 * index + 1], palette[4 * index]};
        }
    }
}

/// The part of a run of source pixels that each target pixel covers.
struct Cover {
    size_t first;
    std::vector<double> weights;
};

std::vector<Cover> CoversOf(int from, int to) {
    std::vector<Cover> covers(static_cast<size_t>(to));
    const double step = static_cast<double>(from) / to;
    for (size_t i = 0; i < covers.size(); ++i) {
        const double begin = static_cast<double>(i) * step;
        const double end = begin + step;
        const auto first = static_cast<size_t>(begin);
        const auto last = std::min(static_cast<size_t>(std::ceil(end - 1e-9)), static_cast<size_t>(from));
        covers[i].first = first;
        for (size_t at = first; at < last; ++at) {
            const double left = std::max(begin, static_cast<double>(at));
            const double right = std::min(end, static_cast<double>(at) + 1);
            covers[i].weights.push_back(right - left);
        }
    }
    return covers;
}

}  // namespace

std::uint32_t IconFormat::ColourStride() const {
    return StrideOf(width, bits);
}

std::uint32_t IconFormat::MaskStride() const {
    return StrideOf(width, 1);
}

std::uint32_t IconFormat::SizeWithoutMask() const {
    return header + colours * 4 + ColourStride() * static_cast<std::uint32_t>(height);
}

std::uint32_t IconFormat::Size() const {
    return SizeWithoutMask() + MaskStride() * static_cast<std::uint32_t>(height);
}

std::optional<IconFormat> ReadIconFormat(Bytes header, std::uint64_t size) {
    const auto headerSize = DwordAt(header, 0);
    const auto width = DwordAt(header, 4);
    const auto doubleHeight = DwordAt(header, 8);  // that of the colours and that of the mask
    const auto bits = WordAt(header, 14);
    const auto compression = DwordAt(header, 16);
    const auto used = DwordAt(header, 32);
    constexpr std::uint32_t maxSide = kMaxIconSide;
    if (!used || *headerSize < kIconHeaderSize || *headerSize > kMaxHeaderSize || *width < 1 || *width > maxSide ||
        *doubleHeight < 2 || *doubleHeight > 2 * maxSide || *compression != kUncompressed) {
        return std::nullopt;
    }
    IconFormat format;
    format.width = static_cast<int>(*width);
    format.height = static_cast<int>(*doubleHeight / 2);
    format.bits = *bits;
    format.header = *headerSize;
    switch (format.bits) {
        case 1:
        case 4:
        case 8:
            format.colours = *used == 0 ? 1U << format.bits : std::min(*used, 256U);
            break;
        case 16:
        case 24:
        case 32:
            // A palette would be a mere hint here.
            format.colours = std::min(*used, 256U);
            break;
        default:
            return std::nullopt;
    }
    const std::uint32_t needed = format.bits == 32 ? format.SizeWithoutMask() : format.Size();
    return needed <= size ? std::optional(format) : std::nullopt;
}

IconImage DecodeIcon(const IconFormat& format, Bytes bytes) {
    const auto width = static_cast<size_t>(format.width);
    const auto height = static_cast<size_t>(format.height);
    const Bytes palette = bytes.subspan(format.header, size_t{format.colours} * 4);
    const Bytes colours = bytes.subspan(format.header + palette.size());
    std::vector<std::uint8_t> rgba;
    rgba.reserve(width * height * 4);
    bool hasAlpha = false;
    for (size_t y = height; y-- > 0;) {
        const Bytes row = colours.subspan(y * format.ColourStride(), format.ColourStride());
        for (size_t x = 0; x < width; ++x) {
            const Colour pixel = PixelOf(row, palette, format.bits, x);
            hasAlpha = hasAlpha || (format.bits == 32 && pixel.alpha != 0);
            rgba.insert(rgba.end(), {pixel.red, pixel.green, pixel.blue, pixel.alpha});
        }
    }
    const bool hasMask = bytes.size() >= format.Size();
    for (size_t y = 0; y < height; ++y) {
        for (size_t x = 0; x < width; ++x) {
            const auto pixel = std::span(rgba).subspan((y * width + x) * 4, 4);
            if (!hasAlpha) {
                const size_t at = format.SizeWithoutMask() + (height - 1 - y) * format.MaskStride() + x / 8;
                pixel[3] = hasMask && (bytes[at] >> (7 - x % 8) & 1) != 0 ? 0 : 0xFF;
            }
            if (pixel[3] == 0) {
                std::fill(pixel.begin(), pixel.end(), std::uint8_t{0});
            }
        }
    }
    return {format.width, format.height, std::move(rgba)};
}

IconImage Scaled(const IconImage& image, int width, int height) {
    const std::vector<Cover> columns = CoversOf(image.width, width);
    const std::vector<Cover> rows = CoversOf(image.height, height);
    IconImage result{width, height, {}};
    result.rgba.reserve(columns.size() * rows.size() * 4);
    for (const Cover& row : rows) {
        for (const Cover& column : columns) {
            // Colours count as much as they are seen.
            double red = 0, green = 0, blue = 0, alpha = 0, area = 0;
            for (size_t y = 0; y < row.weights.size(); ++y) {
                for (size_t x = 0; x < column.weights.size(); ++x) {
                    const size_t at = ((row.first + y) * static_cast<size_t>(image.width) + column.first + x) * 4;
                    const double weight = row.weights[y] * column.weights[x];
                    const double seen = weight * image.rgba[at + 3];
                    red += seen * image.rgba[at];
                    green += seen * image.rgba[at + 1];
                    blue += seen * image.rgba[at + 2];
                    alpha += seen;
                    area += weight;
                }
            }
            const auto byte = [](double value) { return static_cast<std::uint8_t>(std::lround(value)); };
            const std::uint8_t opacity = byte(alpha / area);
            if (opacity == 0) {
                result.rgba.insert(result.rgba.end(), {0, 0, 0, 0});
            } else {
                result.rgba.insert(result.rgba.end(),
                                   {byte(red / alpha), byte(green / alpha), byte(blue / alpha), opacity});
            }
        }
    }
    return result;
}

}  // namespace kvtshell
