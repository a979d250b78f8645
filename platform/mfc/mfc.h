#pragma once

/// @file
/// The MFC value types of namespace `kvtmfc`, all of them.

#include "base.h"
#include "carchive.h"
#include "carray.h"
#include "cdump.h"
#include "cfile.h"
#include "cfilefind.h"
#include "clist.h"
#include "cobject.h"
#include "crect.h"
#include "cstdiofile.h"
#include "cstring.h"
#include "ctime.h"
#include "cwnd.h"
#include "exceptions.h"
#include "fold.h"
#include "icon.h"
#include "messagebox.h"
