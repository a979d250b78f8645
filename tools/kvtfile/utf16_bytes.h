#pragma once

// Bytes of the registry and of registration files as UTF-16 units, the lower byte first.

#include <string>
#include <string_view>
#include <vector>

#include "kvtfile/types.h"

namespace kvtcommand {

inline unsigned ByteAt(std::string_view bytes, size_t at) {
    return static_cast<unsigned char>(bytes[at]);
}

/// The units of the bytes; an odd last byte is left out.
inline std::vector<WCHAR> UnitsOf(std::string_view bytes) {
    std::vector<WCHAR> units;
    units.reserve(bytes.size() / 2);
    for (size_t i = 0; i + 1 < bytes.size(); i += 2) {
        units.push_back(static_cast<WCHAR>(ByteAt(bytes, i) | (ByteAt(bytes, i + 1) << 8)));
    }
    return units;
}

inline void AppendUnit(std::string& bytes, WCHAR unit) {
    bytes += static_cast<char>(unit & 0xFF);
    bytes += static_cast<char>(unit >> 8);
}

/// Appends a text and the NUL at its end.
inline void AppendText(std::string& bytes, const CString& text) {
    for (int i = 0; i < text.GetLength(); ++i) {
        AppendUnit(bytes, text[i]);
    }
    AppendUnit(bytes, 0);
}

}  // namespace kvtcommand
