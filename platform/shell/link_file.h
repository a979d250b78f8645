#pragma once

/// @file
/// The targets that the bytes of a shell link file ([MS-SHLLINK]) name.

#include <optional>
#include <string>

#include "bytes.h"

namespace kvtshell {

/// All that a link says about its target; empty where it says nothing.
struct LinkTargets {
    std::u16string network;      ///< `\\server\share\folder\file`
    std::u16string local;        ///< `C:\folder\file`
    std::u16string environment;  ///< `%SystemRoot%\file`, variables as they stand
    std::u16string relative;     ///< `..\file`, from the folder of the link
};

/// Reads a link. Unicode fields go before those in the process's ANSI code page.
/// @return Nothing when the bytes are no link, or end before it does. A LinkInfo that contradicts itself counts as
///         none: the other fields hold.
/// Complexity: linear in the size.
std::optional<LinkTargets> ParseLink(Bytes bytes);

}  // namespace kvtshell
