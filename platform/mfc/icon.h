// The pixels of an icon, for callers that draw it themselves or save it.
#pragma once

#include "base.h"

#include <vector>

namespace kvtmfc {

/// Pixels from the top row down, left to right: red, green, blue and alpha (not multiplied into the colours), a byte
/// each. Where alpha is 0 the colours are 0 too.
struct IconPixels {
    int width = 0;
    int height = 0;
    std::vector<BYTE> rgba;  ///< width * height * 4 bytes.
};

/// The pixels of an icon, which stays the caller's.
/// @return false: not an icon, or no memory; `pixels` is as it was.
/// Complexity: linear in the number of pixels. Any thread may call it while the icon exists.
KVTFILE_API bool GetIconPixels(HICON icon, IconPixels& pixels);

}  // namespace kvtmfc
