#pragma once

/// @file
/// What a walk over folders needs of the system besides their listings.

#include <compare>
#include <cstdint>
#include <string>

#include "platform/io/io.h"

namespace kvtio {

using Path = std::basic_string<WCHAR>;

/// Which folder a path leads to, whatever it is called.
struct Identity {
    uint64_t volume = 0;
    uint64_t file = 0;
    friend auto operator<=>(const Identity&, const Identity&) = default;
};

/// Links are followed. @return False: there is no such folder, or it may not be looked at.
bool IdentityOf(LPCWSTR path, Identity& identity);

/// The path in a form that calls take at any length; one that is short enough already comes back as it is.
Path LongForm(LPCWSTR path);

}  // namespace kvtio
