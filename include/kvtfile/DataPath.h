#pragma once

/// @file
/// The fixed folders in which the maker's products keep the data that they share.

#include "kvtfile/export.h"
#include "kvtfile/types.h"

namespace kvtfile {

/// The folder of the data that all products share; the lists of the file synchronisation registers stand in it.
///
/// Makes the folder, and the one above it, when missing. Errors of that are not reported: the text is the same.
/// Existing folders and what is in them stay as they are. Two calls of the system.
/// @return "c:\OrvaData\Common\".
KVTFILE_API CString FGetOrvaDataCommonPath();

/// The folder above it, under which every product has a folder of its own for its working copies. Touches no file.
/// @return "c:\OrvaData\".
KVTFILE_API CString FGetOrvaDataFilePath();

}  // namespace kvtfile
