#pragma once

/// @file
/// Little-endian numbers and parts of a block of bytes that nobody vouches for: every access is checked.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace kvtshell {

using Bytes = std::span<const std::uint8_t>;

/// The `count` bytes at an offset; nothing when they do not all lie within.
inline std::optional<Bytes> PartOf(Bytes bytes, std::uint64_t offset, std::uint64_t count) {
    if (offset > bytes.size() || count > bytes.size() - offset) {
        return std::nullopt;
    }
    return bytes.subspan(static_cast<size_t>(offset), static_cast<size_t>(count));
}

/// What begins at an offset, up to the end; nothing when the offset lies beyond the end.
inline std::optional<Bytes> From(Bytes bytes, std::uint64_t offset) {
    return offset > bytes.size() ? std::nullopt : PartOf(bytes, offset, bytes.size() - offset);
}

inline std::optional<std::uint16_t> WordAt(Bytes bytes, std::uint64_t offset) {
    const std::optional<Bytes> part = PartOf(bytes, offset, 2);
    return part ? std::optional(static_cast<std::uint16_t>((*part)[0] | (*part)[1] << 8)) : std::nullopt;
}

inline std::optional<std::uint32_t> DwordAt(Bytes bytes, std::uint64_t offset) {
    const std::optional<Bytes> part = PartOf(bytes, offset, 4);
    if (!part) {
        return std::nullopt;
    }
    std::uint32_t value = 0;
    for (size_t i = 4; i-- > 0;) {
        value = value << 8 | (*part)[i];
    }
    return value;
}

}  // namespace kvtshell
