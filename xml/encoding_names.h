#pragma once

// The encoding names and the Windows code pages that they stand for.

#include "kvtfile/types.h"

namespace kvtfile {

constexpr int encodingBucketCount = 150;

/// The packed entries of one bucket of the encoding-name table: per entry two digits of name length, five digits of
/// code page and the name in small letters; ended by NUL. `index` is the sum of a name's characters modulo 150.
LPCWSTR EncodingBucket(int index);

/// Code page of an encoding name of `length` characters in small letters; -1 when it is unknown.
int LookupEncoding(const WCHAR* name, int length);

}  // namespace kvtfile
