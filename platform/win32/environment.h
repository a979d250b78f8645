#pragma once

/// @file
/// What the library takes from the process's environment, read once, at first use.

#include <climits>
#include <string_view>

#include "wintypes.h"

namespace kvtwin {

/// What stands for CP_ACP and for CP_OEMCP.
struct CodePages {
    UINT ansi;
    UINT oem;
};

/// The code pages that Windows uses for a locale's language ("zh_CN.UTF-8", "C", empty: none named); those of American
/// English for one that is not known.
CodePages PagesOf(std::string_view locale);

struct Environment {
    /// The folder that holds the drives, absolute and without a separator at the end; empty when there is no place
    /// for one.
    char prefix[PATH_MAX];
    /// The folder of the user's data ($XDG_DATA_HOME), absolute and without a separator at the end; empty when there is
    /// none.
    char data[PATH_MAX];
    /// The name of the user's folder under users.
    char user[64];
    CodePages pages;
};

const Environment& Env();

}  // namespace kvtwin
