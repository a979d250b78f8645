#pragma once

/// @file
/// Where a shell link leads: one call, answered by the shell on Windows and by the library's own reader elsewhere.

#include <string>

#include "platform/io/io.h"

namespace kvtshell {

using Text = std::basic_string<WCHAR>;

/// The path of a link file's target, the network's form of it where the link stores one; it need not exist. Empty when
/// the file cannot be read, is no link, is damaged, leads to something without a path, or to one of MAX_PATH characters
/// and more.
Text LinkTarget(LPCWSTR path);

}  // namespace kvtshell
