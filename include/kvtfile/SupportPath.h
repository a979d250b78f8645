#pragma once

/// @file
/// The support search path of the R15 host, and the folders in which the maker's products keep their data.
///
/// Nothing is thrown: memory that runs out is a failure as others are.

#include "kvtfile/export.h"
#include "kvtfile/types.h"

namespace kvtfile {

/// Puts a folder at the front of the support search path of the R15 host's current profile, in lower case and followed
/// by one ";". The search path, folders separated by ";", is the value "ACAD" of the profile's key "General" under
/// HKEY_CURRENT_USER; it is read and written whole, whatever its length, and what it held stays as it was.
///
/// @param path The folder. A search path that holds it in lower case is left alone.
/// @return 1 when the folder is in the search path. 0 when the R15 host is not known (a message box says
///         "取ACADR15版本信息出错!"), there is no current profile or no key "General" of it, the search path is no text
///         or cannot be read, or it could not be written; the search path is then as it was.
KVTFILE_API int AddAppSupportPathToAcad(CString path);

/// Takes a folder out of that search path: when it is there in lower case between two ";" or ends, every occurrence of
/// its lower-case text and a ";" goes, also where a longer folder name ends in it, and not at the end of the search
/// path without a ";".
/// @return 1 when the folder was not there, or the search path has been written; 0 as above.
KVTFILE_API int RemoveAppSupportPathFromAcad(CString path);

/// The folder in which the maker's products share CAD files: the common files folder of Windows in upper case, followed
/// by "ORVA\CAD\". @return An empty text when the registry does not tell the common files folder.
KVTFILE_API CString FGetCADCommonFilePath();
/// The folder "DAT\" of it, or an empty text.
KVTFILE_API CString FGetCADCommonFilePath_DAT();
/// The folder "SYSLIB2K\" of it, or an empty text.
KVTFILE_API CString FGetCADCommonFilePath_SysLib2k();

/// The install folder of the product TELUM ("InstallPath" of "SOFTWARE\ORVA\TELUM" under HKEY_LOCAL_MACHINE), ending
/// in "\"; an empty text when the registry does not tell it.
KVTFILE_API CString GetTelumInstallPath();
/// Its work folder ("SysWorkPath"), likewise.
KVTFILE_API CString GetTelumWorkPath();

}  // namespace kvtfile
