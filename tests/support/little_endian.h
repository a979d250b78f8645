#pragma once

// Numbers and texts as files of Windows hold them.

#include <cstdint>
#include <string>

namespace kvttest {

inline std::string Word(std::uint16_t value) {
    return {static_cast<char>(value), static_cast<char>(value >> 8)};
}

inline std::string Dword(std::uint32_t value) {
    return Word(static_cast<std::uint16_t>(value)) + Word(static_cast<std::uint16_t>(value >> 16));
}

inline std::string Utf16(const std::u16string& text) {
    std::string bytes;
    for (const char16_t unit : text) {
        bytes += Word(static_cast<std::uint16_t>(unit));
    }
    return bytes;
}

}  // namespace kvttest
