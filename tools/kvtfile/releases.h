#pragma once

// Names of AutoCAD releases on the command line.

#include <string>

#include "kvtfile/CadHost.h"

namespace kvtcommand {

/// For help texts.
inline constexpr const char* kReleaseHelp =
    "The AutoCAD release: R14, 2000, Map2000, 2002, Map6, 2004 to 2022, Map2004 to Map2006";

/// The release of a name, without regard to case; a name that is none is a failure of usage.
kvtfile::ACADVER ParseRelease(const std::string& name);

}  // namespace kvtcommand
