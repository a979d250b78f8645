#pragma once

// The named character references.

#include "kvtfile/types.h"

namespace kvtfile {

constexpr int entityBucketCount = 130;

/// The packed entries of one bucket of the entity table: per entry one digit of name length, four digits of code
/// point and the name in small letters; ended by NUL. `index` is the sum of a name's characters modulo 130.
LPCWSTR EntityBucket(int index);

/// Code point of an entity name of `length` characters in small letters; 0 when it is unknown. Of names that differ
/// only in case the one with the capital is found.
int LookupEntity(const WCHAR* name, int length);

}  // namespace kvtfile
