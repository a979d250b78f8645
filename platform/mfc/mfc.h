#pragma once

/// @file
/// The MFC value types of namespace `kvtmfc`, all of them.

#include "base.h"
#include "cdump.h"
#include "cobject.h"
#include "cstring.h"
#include "exceptions.h"
#include "fold.h"
#include "messagebox.h"
