#pragma once

/// @file
/// Icons that the library draws itself, for systems without those of the Windows shell.

#include <cstddef>

#include "icon_image.h"

namespace kvtshell {

/// How many there are.
size_t StockIconCount();

/// The icon that stands for number `index` of the Windows shell's own library, drawn as a square.
/// @param index Less than StockIconCount().
IconImage StockIcon(size_t index, int side);

}  // namespace kvtshell
