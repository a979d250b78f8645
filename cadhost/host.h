#pragma once

// What host discovery offers to the rest of the subsystem.

#include "cadhost/releases.h"
#include "kvtfile/Registry.h"

namespace kvtfile::detail {

/// The first argument of CFRegistry.
inline constexpr int USER_HIVE = 0;
inline constexpr int MACHINE_HIVE = 1;

/// Two parts of a key's path.
CString Join(const CString& key, const CString& subKey);

/// Reads one text value of a key. @return 0 (`text` unchanged or empty) when there is no such key or value.
int ReadText(int hive, const CString& key, LPCWSTR name, CString& text);

/// The sub-key in use of one of the user's keys: its value "CurVer".
int ReadCurrent(const CString& key, CString& subKey);

/// Searches the products of a release by the beginning of their "ProductName". `key` is the last path tried.
/// @param row The release; null or without a key of its own: the sub-keys of the hive itself are tried.
/// @param bReadOnly Whether product keys are opened for reading alone.
/// @return 1 when one fits, or the last one has a product name at all.
int FindProductKey(CString& key, const Release* row, int bReadOnly);

/// The key of the settings of a product's current profile, in the user hive.
/// @return 0 when the product names no profile.
int FindProfileSettings(const CString& productKey, CString& settingsKey);

/// The value of a profile's settings that holds its support search path.
inline constexpr WCHAR SEARCH_PATH[] = _T("ACAD");

}  // namespace kvtfile::detail
