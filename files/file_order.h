#pragma once

/// @file
/// The insertion orders of CFileInfoArray, for one record and for many at once.

#include "kvtfile/FileInfo.h"

namespace kvtfile::detail {

using FileInfoBase = CArray<CFileInfo, CFileInfo&>;

/// Whether the mode is one of the sorted ones; any other appends.
bool IsSorted(LONGLONG sortMode);

/// The index before which a record belongs.
INT_PTR PlaceOf(const CFileInfo& record, const FileInfoBase& records, LONGLONG sortMode);

/// Moves the records from `first` on, which were appended, to where one-by-one insertion in their order would have put
/// them. `commonPath` units at the start of all their paths are the same.
/// O(k log k + n) for k records of n; O(k n) when there is no memory for that.
void PlaceAppended(FileInfoBase& records, INT_PTR first, LONGLONG sortMode, int commonPath);

}  // namespace kvtfile::detail
