#pragma once

// The named character references.

#include "kvtfile/types.h"

namespace kvtfile {

/// Code point of an entity name of `length` characters in small letters; 0 when it is unknown.
int LookupEntity(const WCHAR* name, int length);

}  // namespace kvtfile
