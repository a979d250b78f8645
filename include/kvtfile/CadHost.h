#pragma once

/// @file
/// Which CAD hosts are installed, where, and under which registry keys.
///
/// Hosts tell about themselves in the registry. AutoCAD keeps a key for each release, such as
/// "Software\Autodesk\AutoCAD\R17.0", with a sub-key for each installed product, the product key: its install folder
/// and product name under HKEY_LOCAL_MACHINE (the machine hive below), its profiles and per-user folders under
/// HKEY_CURRENT_USER (the user hive). The value "CurVer" of a key names the sub-key in use.
///
/// Conventions of this header. Keys are opened for reading alone; nothing is ever written. Functions return 1 for
/// success and 0 for failure, unless they say otherwise. A text that they give out is empty, or what the steps before
/// the failing one left in it, when they return 0. The type of a registry value is not looked at, and a text is read up
/// to its first NUL and to 1023 characters at most, search paths whole. Nothing is thrown: memory that runs out is a
/// failure too. The functions keep nothing between calls and may be called by several threads at once.

#include "kvtfile/export.h"
#include "kvtfile/types.h"
#include "platform/companion/zqolecad.h"

namespace kvtfile {

/// A release of AutoCAD, or a product of one. The numbers are part of the interface.
enum ACADVER : int {
    ACAD_R14 = 0,
    ACAD_2000 = 1,
    ACAD_MAP2000 = 2,
    ACAD_2002 = 3,
    ACAD_2004 = 4,
    ACAD_2005 = 5,
    ACAD_2006 = 6,
    ACAD_MAP6 = 7,     ///< Of the R15 generation, as 2000, Map 2000 and 2002 are.
    ACAD_MAP2004 = 8,  ///< The second product of the release of 2004; likewise the next two.
    ACAD_MAP2005 = 9,
    ACAD_MAP2006 = 10,
    ACAD_2007 = 11,
    ACAD_2008 = 12,
    ACAD_2009 = 13,
    ACAD_2010 = 14,
    ACAD_2011 = 15,
    ACAD_2012 = 16,
    ACAD_2013 = 17,
    ACAD_2014 = 18,
    ACAD_2015 = 19,
    ACAD_2016 = 20,
    ACAD_2017 = 21,
    ACAD_2018 = 22,
    ACAD_2019 = 23,
    ACAD_2020 = 24,
    ACAD_2021 = 25,
    ACAD_2022 = 26
};

/// The year of a release. The R15 products are of 2000, the second products of the year of their release.
/// @return 0 (`out` unchanged) for R14 and for numbers that are no release.
KVTFILE_API int FConvertAcadVer(ACADVER v, zqolecad::START_ACADVER& out);

/// Puts the names of the sub-keys of a key of the machine hive into `arr`, in place of what it held and in the order of
/// the registry. Opens the key once for each name.
/// @param key Path below HKEY_LOCAL_MACHINE; empty: the hive itself.
/// @return 1 when there is at least one.
KVTFILE_API int GetKeyListArray(CString key, CStringArray& arr);

/// The product key of an installed release, below HKEY_LOCAL_MACHINE and HKEY_CURRENT_USER alike.
///
/// For `ACAD_2000`, `ACAD_MAP2000` and `ACAD_2002` it is the current product of the R15 generation, whichever of them
/// that is (`GetAcadR15CurVer`). For the others it is the first sub-key of the release's key whose "ProductName" begins
/// with the release's product name ("AutoCAD 2010"), ignoring case.
/// @return 1 when found. Also 1, with a key that is not the release's, when no product name fits but the last one could
///         be read; on 0 the key is the last one tried. Releases without a key of their own (7 to 10, from 25 on) are
///         looked for among the sub-keys of the hive and not found.
KVTFILE_API int GetAcadRegKey(CString& key, ACADVER v);

/// The install folder of a release, ending in "\": "AcadLocation" of the product whose name fits as above, else of the
/// first product of the release's key.
/// @return 0 (`path` empty or "\") when the release has no product, or the first one has no "AcadLocation".
KVTFILE_API int GetAcadPath(CString& path, ACADVER v);

/// The current product of the R15 generation.
/// @param key Receives "Software\Autodesk\AutoCAD\R15.0\" and the product sub-key that the user hive names.
/// @param v Receives `ACAD_2000`, `ACAD_MAP2000` or `ACAD_2002` after the first 12 characters of the product name,
///        ignoring case; unchanged for every other name (`ACAD_MAP6` never comes out).
/// @param location Receives "AcadLocation" as it stands.
/// @return 0 when the user hive names no product, or the product has no "ProductName" or no "AcadLocation". Also, in
///         general, where the user's current release is an R14 whose product name is "Unknown": such a placeholder
///         hides the R15 product.
KVTFILE_API int GetAcadR15CurVer(CString& key, ACADVER& v, CString& location);

/// Mind the sense: 1 for a current R15 product whose "Language" is not "Chinese" (ignoring case) and whose
/// "ProductName" does not begin with "中文版"; 0 for every other, and when there is none.
KVTFILE_API int IsAcadR15CurVerChinese();

/// The support search path of the current profile of a release: folders separated by ";", without white space and ";"
/// at the end. Read whole, whatever its length.
/// @param v Its product key is that of `GetAcadRegKey`.
/// @return 0 when there is no product key or no current profile; 1 otherwise, with an empty text for a profile without
///         a search path.
KVTFILE_API int GetAcadEnvPath(ACADVER v, CString& env);
/// The same for the current product of a release key.
/// @param release Such as "R17.0".
KVTFILE_API int GetAcadEnvPath(CString release, CString& env);

/// The roamable root folder ("RoamableRootFolder") of the current product of an R16 release, as it stands in the
/// registry.
///
/// The user's current release is taken when it is of the R16 generation (it begins with "R16"), else the first such
/// release of the machine hive.
/// @return 0 when there is no release of that generation, or it has no current product or no such folder.
KVTFILE_API int GetAcadR16RootFolder(CString& out);
/// The same for a given release, such as "R16.1". A release of the generation (R16, R17 or R18 by the function's name)
/// has to be there as above; it need not be the given one.
KVTFILE_API int GetAcadR16RootFolder(CString release, CString& out);
KVTFILE_API int GetAcadR17RootFolder(CString release, CString& out);
KVTFILE_API int GetAcadR18RootFolder(CString release, CString& out);
/// The same for the local root folder ("LocalRootFolder").
KVTFILE_API int GetAcadR16LocalRootFolder(CString release, CString& out);
KVTFILE_API int GetAcadR17LocalRootFolder(CString release, CString& out);
KVTFILE_API int GetAcadR18LocalRootFolder(CString release, CString& out);

/// The host's folder of support files, ending in "support\": below the install folder for 2000, below the current
/// user's roamable root folder from 2004 to 2020.
/// @return 0 for other years, and when the root folder is not known.
KVTFILE_API int GetAcadSupportPath(zqolecad::START_ACADVER y, CString& out);
/// The host's folder of drawing templates, ending in "template\", beside the one above.
KVTFILE_API int GetAcadTemplatePath(zqolecad::START_ACADVER y, CString& out);

/// The version tag of a drawing: its first six bytes, such as "AC1015", read in the ANSI code page.
/// @return "Unknown" for a file that cannot be read or is shorter.
KVTFILE_API CString GetDwgVersionTag(CString file);

/// Whether release 14 may be tried on a drawing: true for every file of six bytes or more that can be read, whatever
/// its version tag says. Callers rely on it.
KVTFILE_API bool IsR14CanOpen(CString file);

/// The install folder of a ZWCAD release, ending in "\": the user hive names the product, the machine hive its
/// "Location".
/// @param product Such as "ZWCAD+"; empty: "ZWCAD". @param release Such as "2020".
/// @return 0 (`path` empty or "\") when one of them is missing.
KVTFILE_API int GetZWcadPath(CString& path, CString product, CString release);
KVTFILE_API int GetZWcadPath(CString& path, CString release);

/// The install folder of a GstarCAD release, ending in "\": "LOCATION" of the current product, both of the user hive.
/// @param release Such as "R19"; "2019" and "2020" stand for "R19" and "R20".
/// @return 0 (`path` empty or "\") when one of them is missing.
KVTFILE_API int GetGScadPath(CString& path, CString release);

}  // namespace kvtfile
