#pragma once

/// @file
/// File names: between UTF-16 and the bytes of the file system, without regard to case, and against patterns.

#include <string>
#include <string_view>

#include "wintypes.h"

namespace kvtwin {

/// UTF-8 of a name. So that every name that exists can be spelled, U+DC80-DCFF without a high surrogate before it is
/// the byte 80-FF, U+DC5C the byte of "\"; any other lone surrogate is its three-byte form.
std::string NameToBytes(std::u16string_view name);

/// The reverse: whatever the bytes, NameToBytes of the result gives them back.
std::u16string NameFromBytes(std::string_view bytes);

/// A code unit in upper case by Unicode's simple mapping; surrogates are left alone.
WCHAR UpperUnit(WCHAR unit);
std::u16string UpperName(std::u16string_view name);

/// Whether Windows lets a file have this name: no control characters, none of "<>:\"|?*", no more than 255 units.
/// @return 0, ERROR_INVALID_NAME or ERROR_FILENAME_EXCED_RANGE.
DWORD CheckName(std::u16string_view name);

/// The name without dots and blanks at its end.
std::u16string_view TrimName(std::u16string_view name);

/// Whether a name is that of a device: con, prn, aux, nul, com1-9, lpt1-9, with any extension, in any case.
bool IsDeviceName(std::u16string_view name);

/// Whether a name matches a pattern with "*" and "?", both in upper case. See FindFirstFileW for the rules.
/// Complexity: product of the lengths.
bool MatchesPattern(std::u16string_view name, std::u16string_view pattern);

}  // namespace kvtwin
