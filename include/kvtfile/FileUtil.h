#pragma once

/// @file
/// Free functions for path texts, files and folders, line files, single INI and registry values, and the system's own
/// folders.
///
/// Conventions of this header. Paths are wide texts with "\" as separator; where the functions cut a path by text, "/"
/// counts too unless they say otherwise. Functions that return an `int` give 1 for success and 0 for failure, unless
/// they say otherwise, and take a null pointer as a failure. Nothing is thrown but by three functions that say so:
/// memory that runs out is a failure too (an empty text). The functions keep nothing between
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
///         260 units or more: the folders that its first 259 units complete are made all the same. 1 otherwise, also
///         for an empty path and for a drive's root alone, which are not looked at.
KVTFILE_API int CreateMDirectory(LPCWSTR path);

/// Makes the folders that a path needs, whatever its length; a level that cannot be made is no failure by itself.
/// @param bIsFilePath 0: the path is a folder, made too. Otherwise it is a file's, whose folder is made.
/// @return Whether something is there afterwards under the folder's path (a file in its place counts too); 1 for a
///         file's path without a separator behind its first character.
KVTFILE_API int FMakeSurePathExists(LPCWSTR path, int bIsFilePath);

/// Deletes for good through the shell, without dialogs for progress or confirmation: a file, a folder with all that is
/// in it, or what a wildcard in the last component matches. Read-only ones too.
/// @return 1 when the shell says that all of it is deleted; 0 also for an empty path and one that names nothing.
KVTFILE_API int DelFile(CString path);

/// A file's last-write time as local time, converted with the offset from UTC that was in force at that time.
/// @param path A file; a folder fails. It is opened for reading, sharing reading alone: a file that is open for
///        writing fails (off Windows: that this process has open).
/// @param t Whole seconds; unchanged on failure. A stamp that no `COleDateTime` holds gives an invalid one and 1.
KVTFILE_API int FGetFileTime(CString path, COleDateTime& t);

/// Sets a file's creation, last-access and last-write time, as far as the file system keeps them.
/// @param t Local time; one that is not valid, or before 1601, is refused.
/// @return 1 when the last-write time is `t`, to two seconds; 0 also where the file system holds no such time: the
/// times
///         are then as they were.
KVTFILE_API int FSetFileTime(CString path, COleDateTime t);

/// Appends the name (without its path) of every entry that matches a pattern, in the order found; "." and ".." and
/// folders come as the file system gives them.
/// @return 1 when there is at least one.
KVTFILE_API int FindFile(CStringArray& names, LPCWSTR pattern);

/// The same with the last-write times, as local time in the form "%Y-%m-%d %H:%M": `times[i]` belongs to `names[i]`
/// when both arrays were of one length before.
/// @param times A time that no `COleDateTime` holds appears as "Invalid DateTime".
/// @param after Null: every entry. Else only entries written strictly later; none when it is not valid, and none whose
///        own time is not.
/// @return 1 when something matches the pattern, also when all of it was left out.
KVTFILE_API int FindFile(CStringArray& names, LPCWSTR pattern, CStringArray& times, COleDateTime* after);

/// Copies files into a folder, over files of the same name, with attributes and last-write time. A file that cannot be
/// copied, or not whole, is passed over: what stood in its place stays. What is read-only in that place afterwards, a
/// file that was not copied over for that reason too, gets the attributes 0xA0 (archive, normal).
/// @param destDir The names (`GetFnameFromFullFileName`) are put right behind it: let it end in "\".
KVTFILE_API void CopyFileArr(CStringArray& files, CString destDir);

// ---- Line files -------------------------------------------------------------------------------------------------
// Text of code page 936. CR LF and LF are read as line ends, CR LF is written. A character that the page lacks is
// written as "?".

/// Appends every line that is not empty and does not begin with "//"; blanks count as text.
/// @return 1; -1 (nothing appended) when the file cannot be opened or read to its end.
KVTFILE_API int ReadData(LPCWSTR file, CStringArray& lines);

/// Writes every element as a line, in place of what the file held. An element that ends in a line feed gets none.
/// @return 1; -1 when the file cannot be written: it is then whole as it was.
KVTFILE_API int WriteData(LPCWSTR file, CStringArray& lines);

/// Writes the elements back to back, as they are: without line ends but those that they hold.
/// @return As above; -1 also for a null list.
KVTFILE_API int WriteData(LPCWSTR file, CStringList* lines);

// ---- Single values of INI files and the registry ----------------------------------------------------------------
// The INI functions load the whole file by `CIniFile`, whose format, redirection to working copies and threading rule
// hold here too. A null text is an empty one.

/// A value; `def` when it is missing or empty.
KVTFILE_API CString GetIniKeyValue(LPCWSTR file, LPCWSTR section, LPCWSTR key, LPCWSTR def);

/// Sets a value and saves the file at once; section, key and file are made when missing.
/// @return 1 when the file holds the value; 0 when it cannot be read or written: it is then as it was.
KVTFILE_API int SetIniKeyValue(LPCWSTR file, LPCWSTR section, LPCWSTR key, LPCWSTR value);

/// Deletes an entry and saves the file at once.
/// @return false: there is no such entry, or the file cannot be read or written; it is then as it was.
KVTFILE_API bool DelIniKey(LPCWSTR file, LPCWSTR section, LPCWSTR key);

/// The unnamed value of a key below HKEY_CLASSES_ROOT (a file type such as ".txt", or a class), without white space at
/// its end; empty when there is none.
KVTFILE_API CString GetTypeRegInfo(CString key);

// ---- Folders of the system --------------------------------------------------------------------------------------

/// The folder of the running program, ending in "\".
KVTFILE_API CString GetAppPath();
/// The folder of a loaded module, ending in "\"; null is the program. Empty for what is no module.
KVTFILE_API CString GetAppPath(HINSTANCE h);

/// The system's own folders, ending in "\". A failure of the system throws `CFileException*`, memory that runs out
/// `CMemoryException*`.
KVTFILE_API CString GetSystemPath();
KVTFILE_API CString GetWindowsPath();

/// The user's folder for temporary files, ending in "\". @return 1; throws as the two above, `out` then unchanged.
KVTFILE_API int GetTempPathW(CString& out);

/// The process's current folder, without a separator at its end but for a drive's root; empty when there is none.
KVTFILE_API CString GetCurrentDirectoryW();

// ---- Shell links and icons --------------------------------------------------------------------------------------

/// Where a shell link (.lnk) leads.
///
/// Windows asks the shell. Elsewhere the file's own fields are read: the network's form of the target
/// ("\\server\share\a"), the local one, the one with variables (expanded), the one relative to the link (made
/// absolute).
/// @param lnk Path of the link; not changed.
/// @return The target's path, which need not exist; empty when the file is missing, unreadable, no link, damaged, or
///         leads to something without a path or to a path of 260 units or more.
KVTFILE_API CString ExpandShortcut(CString& lnk);

/// The icon of a file's type: 32 x 32 pixels, or 16 x 16.
///
/// The class of the extension is looked up below HKEY_CLASSES_ROOT, and its "DefaultIcon": "file,number", where a
/// negative number is the identifier of a resource, quotes and variables (%SystemRoot%) are understood and "%1" is
/// `path` itself. A program (.exe) shows its own first icon, without one that of applications. Where nothing is
/// registered, or what is registered cannot be had, the shell's own icons serve.
/// @param path Names the type; only programs and types of "%1" are looked into.
/// @param kind The shell's icon, by its number in shell32.dll: 0 unknown document, 1 document, 2 application, 3 folder,
///        4 open folder, 5 and 6 floppy disks, 7 removable disk, 8 hard disk, 9 network drive, 10 one out of reach, 11
///        optical disc, 12 disk in memory, 13 network, 14 computers of a network, 15 this computer, 16 printer, 17
///        computers around. Any other is 0.
/// @return The caller's icon, to be released with DestroyIcon (`kvtmfc::GetIconPixels` gives its pixels); null when
///         there is none.
KVTFILE_API HICON GetTypeIcon(CString path, int kind, bool bSmall);

}  // namespace kvtfile
