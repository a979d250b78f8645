#pragma once

/// @file
/// Names of registry keys and values, and paths of keys.

#include <string>
#include <string_view>
#include <vector>

#include "wintypes.h"

namespace kvtwin {

constexpr size_t kLongestKeyName = 255;
constexpr size_t kLongestValueName = 16383;

/// What names are compared and sorted by: the upper-case units, each as two bytes, the higher one first, so that the
/// order of the bytes is that of the units.
std::string FoldName(std::u16string_view name);

/// The names of a path, without those that are empty. Null is an empty path.
/// @return 0, ERROR_BAD_PATHNAME ("\" at the start) or ERROR_INVALID_PARAMETER (a name is too long).
DWORD SplitKeyPath(LPCWSTR path, std::vector<std::u16string_view>& names);

}  // namespace kvtwin
