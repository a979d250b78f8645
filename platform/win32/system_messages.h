#pragma once

/// @file
/// The English texts of the system's error numbers.

#include <string_view>

#include "wintypes.h"

namespace kvtwin {

/// The text of an error number without a line end; empty when it has none.
std::u16string_view SystemMessage(DWORD error);

}  // namespace kvtwin
