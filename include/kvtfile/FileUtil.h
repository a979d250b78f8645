#pragma once

/// @file
/// Free functions for path texts, files and folders, line files, single INI and registry values, and the system's own
/// folders.
///
/// Conventions of this header. Paths are wide texts with "\" as separator; where the functions cut a path by text, "/"
/// counts too unless they say otherwise. Functions that return an `int` give 1 for success and 0 for failure, unless
/// they say otherwise, and take a null pointer as a failure. Nothing is thrown but the file exceptions of three
/// functions that say so: memory that runs out is a failure too (an empty text). The functions keep nothing between
/// calls and may be called by several threads at once.

#include "kvtfile/CadHost.h"
#include "kvtfile/export.h"
#include "kvtfile/types.h"

namespace kvtfile {

// ---- Texts of paths ---------------------------------------------------------------------------------------------
// Nothing is looked up: the file need not exist. A drive is one character and ":"; the folder part ends behind the last
// separator; the extension begins with the last "." behind it. Parts of any length come out whole.

/// The extension with its dot: "C:\a.b\c.txt" gives ".txt", "c" gives "", ".rc" gives ".rc".
KVTFILE_API CString GetFileExt(CString path);
/// Base name and extension: "C:\a\b.txt" gives "b.txt", "C:\a\" gives "".
KVTFILE_API CString GetFileName(CString path);
/// Drive and folder: "C:\a\b.txt" gives "C:\a\", "C:b" gives "C:", "b" gives "".
KVTFILE_API CString GetFilePath(CString path);

/// The text behind the last "\" ("/" does not count here); the whole text when there is none.
KVTFILE_API CString GetFnameFromFullFileName(CString path);
/// The same, and where the name begins.
/// @param dir Receives the text up to and with the last "\"; without one, up to and with the last "/"; without either,
///        the name is the whole text and `dir` is empty.
KVTFILE_API CString GetFnameFromFullFileName(CString path, CString& dir);

/// The text before the last ".", with its folder; empty when there is no ".". Mind folders with a dot: "C:\a.b\c"
/// gives "C:\a".
KVTFILE_API CString GetFnameWithoutExt(CString path);

/// The folder above: every "\", then every "/" at the end is taken off, and `GetFilePath` taken of the rest. "C:\a\b\"
/// and "C:\a\b" give "C:\a\".
KVTFILE_API CString GetUpPath(CString path);

/// The computer that a network path names: of a path that begins with "\\" the text behind all leading "\" up to the
/// next one; the local computer's name when the path begins otherwise or names none.
KVTFILE_API CString GetComputerNameFromPath(CString path);

// ---- Files and folders ------------------------------------------------------------------------------------------

/// Whether something can be found under a path: a file, a folder, or with "*" and "?" in the last component anything
/// that matches. A separator at the end finds nothing.
KVTFILE_API int FileExist(LPCWSTR path);

/// Whether a path names a folder.
KVTFILE_API int FIsDirectory(CString path);

/// Makes a folder and those above it that are missing.
/// @return 0 when the folder is not there afterwards (a file has its place, no right, a bad name), and for a path of
/// 260
///         units or more: the folders that its first 259 units complete are made all the same. 1 otherwise, also for an
///         empty path and for a drive's root alone, which are not looked at.
KVTFILE_API int CreateMDirectory(LPCWSTR path);

/// Makes the folders that a path needs, whatever its length; a level that cannot be made is no failure by itself.
/// @param bIsFilePath 0: the path is a folder, made too. Otherwise it is a file's, whose folder is made.
/// @return Whether the folder is there afterwards; 1 for a file's path without a separator behind its first character.
KVTFILE_API int FMakeSurePathExists(LPCWSTR path, int bIsFilePath);

}  // namespace kvtfile
