#pragma once

/// @file
/// How a record takes over what a folder listing says.

#include "kvtfile/FileInfo.h"

namespace kvtfile::detail {

class LocalTimes;

/// All that CFileInfo::Create takes over but for the caller's tag. @param folder Ended by a separator.
void Fill(CFileInfo& record, const WIN32_FIND_DATAW& found, const CString& folder, LocalTimes& times);

}  // namespace kvtfile::detail
