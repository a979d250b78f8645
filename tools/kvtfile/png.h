#pragma once

// Pixels as a PNG file.

#include <string>

#include "platform/mfc/icon.h"

namespace kvtcommand {

/// The bytes of a PNG file of 8-bit red, green, blue and alpha.
std::string PngBytes(const kvtmfc::IconPixels& pixels);

}  // namespace kvtcommand
