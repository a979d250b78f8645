#pragma once

/// @file
/// What the library takes from the process's environment, read once, at first use.

#include <climits>

#include "wintypes.h"

namespace kvtwin {

struct Environment {
    /// The folder that holds the drives, absolute and without a separator at the end; empty when there is no place
    /// for one.
    char prefix[PATH_MAX];
    /// The name of the user's folder under users.
    char user[64];
    UINT ansi_page;
    UINT oem_page;
};

const Environment& Env();

}  // namespace kvtwin
