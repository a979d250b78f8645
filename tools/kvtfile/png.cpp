// PNG files without compression: an icon has a few kilobytes, and so neither target needs a library for it (there is
// none packaged for the Windows one).

#include "tools/kvtfile/png.h"

#include <algorithm>
#include <cstdint>
#include <string_view>

namespace kvtcommand {

namespace {

std::string BigEndian(std::uint32_t value) {
    return {static_cast<char>(value >> 24), static_cast<char>(value >> 16), static_cast<char>(value >> 8),
            static_cast<char>(value)};
}

std::uint32_t Crc32(std::string_view bytes) {
    std::uint32_t crc = 0xFFFFFFFF;
    for (const char byte : bytes) {
        crc ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc & 1) != 0 ? crc >> 1 ^ 0xEDB88320 : crc >> 1;
        }
    }
    return ~crc;
}

std::uint32_t Adler32(std::string_view bytes) {
    constexpr std::uint32_t kModulus = 65521;
    std::uint32_t low = 1, high = 0;
    for (const char byte : bytes) {
        low = (low + static_cast<unsigned char>(byte)) % kModulus;
        high = (high + low) % kModulus;
    }
    return high << 16 | low;
}

std::string Chunk(const std::string& type, const std::string& data) {
    return BigEndian(static_cast<std::uint32_t>(data.size())) + type + data + BigEndian(Crc32(type + data));
}

/// The bytes as a zlib stream of stored blocks.
std::string Stored(std::string_view bytes) {
    constexpr size_t kMaxBlock = 0xFFFF;
    std::string stream = "\x78\x01";
    for (size_t at = 0; at < bytes.size(); at += kMaxBlock) {
        const std::string_view block = bytes.substr(at, kMaxBlock);
        const bool last = at + block.size() == bytes.size();
        const auto size = static_cast<unsigned>(block.size());
        for (const unsigned value : {last ? 1U : 0U, size & 0xFF, size >> 8, ~size & 0xFF, ~size >> 8 & 0xFF}) {
            stream += static_cast<char>(value);
        }
        stream += block;
    }
    return stream + BigEndian(Adler32(bytes));
}

}  // namespace

std::string PngBytes(const kvtmfc::IconPixels& pixels) {
    const size_t stride = static_cast<size_t>(pixels.width) * 4;
    std::string rows;
    for (size_t at = 0; at + stride <= pixels.rgba.size(); at += stride) {
        rows += '\0';  // no filter
        rows.append(pixels.rgba.begin() + static_cast<std::ptrdiff_t>(at),
                    pixels.rgba.begin() + static_cast<std::ptrdiff_t>(at + stride));
    }
    // Eight bits a sample, colours with alpha, the usual compression, filter and order of rows.
    const std::string header = BigEndian(static_cast<std::uint32_t>(pixels.width)) +
                               BigEndian(static_cast<std::uint32_t>(pixels.height)) + std::string("\x08\x06\0\0\0", 5);
    return "\x89PNG\r\n\x1A\n" + Chunk("IHDR", header) + Chunk("IDAT", Stored(rows)) + Chunk("IEND", "");
}

}  // namespace kvtcommand
