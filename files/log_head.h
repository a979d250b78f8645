#pragma once

/// @file
/// What stands before the text of a log message.

#include "kvtfile/types.h"

namespace kvtfile::detail {

/// "[prefix][ 5- 6 14: 3: 7_ 42][tag]", without the brackets of what is empty; the tag may be null. Room is left for a
/// text behind it.
CString LogHead(const CString& prefix, const SYSTEMTIME& now, LPCWSTR tag);

}  // namespace kvtfile::detail
