#pragma once

/// @file
/// The Win32 calls of the library on systems that are not Windows: names, arguments, results and error numbers of
/// Windows, over the POSIX file system and ICU.
///
/// Unless a call says otherwise: it returns FALSE, 0, null or INVALID_HANDLE_VALUE on failure and leaves the reason in
/// GetLastError; after success the last error is not touched; null text is refused as an empty one is; calls may run
/// in several threads at once. Paths are `X:\a\b` (folder `<prefix>/drive_x/a/b`), `Z:\a` (`/a`), relative, or a POSIX
/// path that begins with "/". Both separators are read. A component that does not exist as spelled is looked up
/// without regard to case. The prefix is `$KVTFILE_PREFIX`, else `$XDG_DATA_HOME/kvtfile`, else
/// `~/.local/share/kvtfile`, read once, at the first call that needs a path. Handles are not inherited by child
/// processes.
#include "kvtfile/export.h"
#include "wintypes.h"

// ---- Errors and messages ----------------------------------------------------------------------------------------

/// The calling thread's last error number; 0 at the start of a thread.
KVTFILE_API DWORD GetLastError();

/// Sets the calling thread's last error number.
KVTFILE_API void SetLastError(DWORD error);

/// The English text of a system error number, ended by CR LF and a NUL.
/// @param flags FORMAT_MESSAGE_FROM_SYSTEM and FORMAT_MESSAGE_IGNORE_INSERTS; anything else is refused (87).
/// @param source, language, arguments Not looked at.
/// @param message The error number.
/// @param buffer, size Receives the text; size in characters, the NUL included.
/// @return Characters written, the NUL not counted. 0 with error 122: the buffer is too small (its content is
///         unchanged); 0 with error 317: the number has no text.
KVTFILE_API DWORD FormatMessageW(DWORD flags, LPCVOID source, DWORD message, DWORD language, LPWSTR buffer, DWORD size,
                                 void* arguments);

// ---- Open files -------------------------------------------------------------------------------------------------

/// Opens or creates a file.
///
/// Share modes are honoured among the handles of this process; an open that they forbid fails with error 32. A file
/// without any write permission bit is read-only for everybody, as the read-only attribute is.
/// @param attributes FILE_ATTRIBUTE_READONLY, HIDDEN and SYSTEM are given to a new file, with FILE_ATTRIBUTE_TEMPORARY
///        only the user may open it; FILE_FLAG_BACKUP_SEMANTICS opens folders too (for times and attributes); other
///        flags change nothing.
/// @param security, pattern Not looked at.
/// @return The handle, to be closed with CloseHandle. CREATE_ALWAYS and OPEN_ALWAYS on an existing file leave last
///         error 183, on a new one 0. Errors: 2 no such file, 3 no such folder or empty path, 5 a folder, a read-only
///         file or no right, 32 sharing, 80 CREATE_NEW and it exists, 87 unknown disposition, 123 a character that a
///         name may not hold or a separator at the end, 206 too long.
KVTFILE_API HANDLE CreateFileW(LPCWSTR path, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security,
                               DWORD disposition, DWORD attributes, HANDLE pattern);

/// Reads up to `wanted` bytes at the file pointer. At or past the end of the file: success, 0 bytes.
/// @param got Receives the number of bytes read; 0 on failure.
KVTFILE_API BOOL ReadFile(HANDLE file, LPVOID buffer, DWORD wanted, LPDWORD got, LPOVERLAPPED overlapped);

/// Writes bytes at the file pointer. Success may stand for fewer bytes than asked: look at `written`.
KVTFILE_API BOOL WriteFile(HANDLE file, LPCVOID bytes, DWORD count, LPDWORD written, LPOVERLAPPED overlapped);

/// Moves the file pointer; beyond the end is allowed, before the start is error 131.
/// @param distanceHigh Upper half of the distance and of the result, or null for a 32-bit distance.
/// @return Lower half of the new position; INVALID_SET_FILE_POINTER may be a position: then GetLastError is 0.
KVTFILE_API DWORD SetFilePointer(HANDLE file, LONG distance, LONG* distanceHigh, DWORD origin);

/// As SetFilePointer with 64-bit values; `position` may be null.
KVTFILE_API BOOL SetFilePointerEx(HANDLE file, LARGE_INTEGER distance, LARGE_INTEGER* position, DWORD origin);

/// Size in bytes. INVALID_FILE_SIZE may be the lower half of a size: then GetLastError is 0.
KVTFILE_API DWORD GetFileSize(HANDLE file, LPDWORD sizeHigh);
KVTFILE_API BOOL GetFileSizeEx(HANDLE file, LARGE_INTEGER* size);

/// Cuts or extends the file at the file pointer.
KVTFILE_API BOOL SetEndOfFile(HANDLE file);

/// Returns when the file's content is on the storage device. The handle needs write access (else error 5).
KVTFILE_API BOOL FlushFileBuffers(HANDLE file);

/// Closes a handle of CreateFileW or of an event. Error 6: not an open handle.
KVTFILE_API BOOL CloseHandle(HANDLE handle);

/// Times of an open file; any pointer may be null. The creation time is the last-write time: it is not kept.
KVTFILE_API BOOL GetFileTime(HANDLE file, LPFILETIME creation, LPFILETIME access, LPFILETIME write);

/// Sets times (null or zero leaves one as it is); the creation time is accepted and not kept. Needs a handle opened
/// with GENERIC_WRITE or FILE_WRITE_ATTRIBUTES (else error 5).
KVTFILE_API BOOL SetFileTime(HANDLE file, const FILETIME* creation, const FILETIME* access, const FILETIME* write);

// ---- Files and folders by name ----------------------------------------------------------------------------------

/// FILE_ATTRIBUTE_DIRECTORY for folders, else FILE_ATTRIBUTE_ARCHIVE; READONLY when nobody may write; HIDDEN for names
/// with a leading dot, and HIDDEN and SYSTEM as set; REPARSE_POINT for a symbolic link to a folder.
/// @return INVALID_FILE_ATTRIBUTES on failure (2, 3, 5, 123, 206).
KVTFILE_API DWORD GetFileAttributesW(LPCWSTR path);

/// Attributes, times and size of a file or folder. `data` is a WIN32_FILE_ATTRIBUTE_DATA, unchanged on failure.
KVTFILE_API BOOL GetFileAttributesExW(LPCWSTR path, GET_FILEEX_INFO_LEVELS level, LPVOID data);

/// Sets READONLY (all write bits taken, or given back as far as the umask allows), HIDDEN and SYSTEM (kept in the
/// extended attribute user.DOSATTRIB); the other attributes cannot be chosen.
/// Error 50: the file system keeps no extended attributes and HIDDEN or SYSTEM was to change.
KVTFILE_API BOOL SetFileAttributesW(LPCWSTR path, DWORD attributes);

/// Finds the first entry that matches a path whose last component may hold "*" and "?" (any text; one character).
///
/// "*" and "*.*" match every name, "*." names without extension, a "?" before a dot or at the end also no character;
/// letters match without regard to case. Only the long name is matched. Entries come sorted by upper-cased UTF-16
/// code units, "." and ".." first (not in the root of a drive). A symbolic link without target is not listed. A name
/// that is not UTF-8 comes out with U+DC00 + byte for each byte that does not decode, and can be opened by that name.
/// HIDDEN and SYSTEM are those that SetFileAttributesW has set, and a leading dot.
/// @return A handle for FindNextFileW, to be closed with FindClose. Errors: 2 nothing matches or a separator at the
///         end, 3 no such folder or an empty path, 123 a wildcard in the folder part, 267 the folder part is a file.
/// Complexity: reads and sorts the whole folder once.
KVTFILE_API HANDLE FindFirstFileW(LPCWSTR pattern, LPWIN32_FIND_DATAW data);

/// As FindFirstFileW.
/// @param level FindExInfoBasic: no short names; there are none in any case.
/// @param search FindExSearchLimitToDirectories: folders only, and the dots; what the others are is not even read.
/// @param filter Null. @param flags FIND_FIRST_EX_LARGE_FETCH changes nothing; others are refused (87).
KVTFILE_API HANDLE FindFirstFileExW(LPCWSTR pattern, FINDEX_INFO_LEVELS level, LPVOID data, FINDEX_SEARCH_OPS search,
                                    LPVOID filter, DWORD flags);

/// The next entry; FALSE with error 18 after the last one.
KVTFILE_API BOOL FindNextFileW(HANDLE find, LPWIN32_FIND_DATAW data);

KVTFILE_API BOOL FindClose(HANDLE find);

/// Makes one folder. Errors: 3 parent missing or empty path, 123 bad characters, 183 exists, 206 too long.
KVTFILE_API BOOL CreateDirectoryW(LPCWSTR path, LPSECURITY_ATTRIBUTES security);

/// Removes an empty folder. Errors: 2, 3, 5, 145 not empty, 267 a file.
KVTFILE_API BOOL RemoveDirectoryW(LPCWSTR path);

/// Deletes a file. Errors: 2, 3, 5 a folder or a read-only file, 32 open without delete sharing.
KVTFILE_API BOOL DeleteFileW(LPCWSTR path);

/// Renames a file or folder; an existing target is error 183. Between file systems files are copied, then deleted.
KVTFILE_API BOOL MoveFileW(LPCWSTR from, LPCWSTR to);

/// As MoveFileW with MOVEFILE_REPLACE_EXISTING (one step; a read-only file or a folder as target is error 5),
/// MOVEFILE_COPY_ALLOWED (else another file system is error 17) and MOVEFILE_WRITE_THROUGH.
KVTFILE_API BOOL MoveFileExW(LPCWSTR from, LPCWSTR to, DWORD flags);

/// Copies a file with its last-write time, read-only, hidden and system attributes. Errors: 80 it exists and
/// `failIfExists`, 5 the target is a folder or read-only, 32 onto itself. A failed copy leaves no new file behind.
KVTFILE_API BOOL CopyFileW(LPCWSTR from, LPCWSTR to, BOOL failIfExists);

// ---- Well-known folders and names -------------------------------------------------------------------------------
// These return the length without the NUL; a buffer that is too small gives the size needed with the NUL, unchanged.

/// "C:\windows\system32".
KVTFILE_API UINT GetSystemDirectoryW(LPWSTR buffer, UINT size);
/// "C:\windows".
KVTFILE_API UINT GetWindowsDirectoryW(LPWSTR buffer, UINT size);
/// The user's folder for temporary files, ended by "\": "C:\users\NAME\Temp\". It exists afterwards.
KVTFILE_API DWORD GetTempPathW(DWORD size, LPWSTR buffer);
/// The process's current folder, without a "\" at the end except for a root.
KVTFILE_API DWORD GetCurrentDirectoryW(DWORD size, LPWSTR buffer);
/// Error 2: no such folder (3: its parent is missing); 267: a file.
KVTFILE_API BOOL SetCurrentDirectoryW(LPCWSTR path);

/// The absolute form of a path with a drive letter, "\" as separator, "." and ".." resolved by text alone.
/// @param filePart Receives a pointer to the last component in the buffer, null when the path ends in "\"; may be null.
KVTFILE_API DWORD GetFullPathNameW(LPCWSTR path, DWORD size, LPWSTR buffer, LPWSTR* filePart);

/// Makes a name for a temporary file: folder, up to three characters of `prefix`, a hexadecimal number, ".tmp".
/// @param unique 0: a number is chosen and the empty file created; else its lower 16 bits are used, nothing created.
/// @param name Receives the path: room for MAX_PATH characters.
/// @return The number used. Errors: 267 `folder` is no folder, 206 the path would not fit.
KVTFILE_API UINT GetTempFileNameW(LPCWSTR folder, LPCWSTR prefix, UINT unique, LPWSTR name);

/// The computer's upper-cased name, at most 15 characters.
/// @param size In: the buffer's room. Out: the length; error 111: the room needed, the NUL included.
KVTFILE_API BOOL GetComputerNameW(LPWSTR buffer, LPDWORD size);

/// A text with every `%NAME%` of a variable that Windows sets (SystemRoot, ProgramFiles, USERPROFILE, ...) replaced by
/// its value, a path in the prefix; other names stay as they stand.
/// @return Characters of the result, the NUL included; `buffer` is unchanged when it holds fewer.
KVTFILE_API DWORD ExpandEnvironmentStringsW(LPCWSTR text, LPWSTR buffer, DWORD size);

// ---- Shell ------------------------------------------------------------------------------------------------------

/// Copies, moves, deletes or renames files and folders.
///
/// The last component of a source may hold wildcards (an entry that has exactly that name is meant alone). A
/// destination that is a folder, or ends in a separator, or is for several sources, takes them in; any other is the new
/// name. Folders merge into folders that are there. Everything is checked before the first change; then the sources
/// are done in their order, and an error ends the run. Links are copied and deleted themselves; pipes and devices are
/// left out of a copy with error 50.
///
/// FOF_MULTIDESTFILES, FOF_FILESONLY (of what a wildcard matches), FOF_RENAMEONCOLLISION ("x - Copy.txt", "x (2).txt"
/// for a move), FOF_NOCONFIRMATION, FOF_NOCONFIRMMKDIR, FOF_NOERRORUI, FOF_NOCOPYSECURITYATTRIBS and FOF_NORECURSION
/// have their meaning; there are no dialogs of progress and no name mappings. Questions that Windows would ask go to
/// the handler of message boxes; without one the answer is No. FOF_ALLOWUNDO moves what is deleted to the desktop's
/// trash; where there is none, the user is asked whether to delete for good, and with FOF_NOCONFIRMATION it stays
/// (error 17), unless FOF_WANTNUKEWARNING lets the user be asked all the same.
/// @return 0: all of it is done. Else an error number of the system or of the shell: 0x71 source and target are one,
///         0x72 several sources for one target, 0x73 renaming into another folder, 0x74 a drive's root, 0x75 an answer
///         was No, 0x76 the target lies inside the source, 0x79 a path is too long, 0x7A targets that do not pair with
///         the sources, 0x7C a path that is none, 0x7E and 0x80 file and folder in each other's place.
///         `fAnyOperationsAborted`: some of it may be done; what was not done is where it was.
KVTFILE_API int SHFileOperationW(LPSHFILEOPSTRUCTW operation);

/// FILE_ATTRIBUTE_DIRECTORY when the path is that of a folder, else 0.
KVTFILE_API BOOL PathIsDirectoryW(LPCWSTR path);

/// Opens a file or an address with the desktop's program for it (xdg-open).
/// @param verb "open", or null for it; others are refused. @param window, parameters, folder, show Not looked at.
/// @return Above 32: handed over. Else an error: 2 no such file, 31 there is no desktop that opens files.
KVTFILE_API HINSTANCE ShellExecuteW(HWND window, LPCWSTR verb, LPCWSTR file, LPCWSTR parameters, LPCWSTR folder,
                                    INT show);

/// Reads icons from an .ico file or from a Windows program or library.
/// @param index Number of the first icon; negative: the identifier of one resource; -1 with null arrays: count only.
/// @param large, small Receive `count` icons of 32 x 32 and 16 x 16 pixels; each may be null. The caller releases each
///        with DestroyIcon. Unchanged beyond the icons that were read.
/// @return Icons read, or the number of icons there are; 0 a file without icons, 0xFFFFFFFF no such file.
KVTFILE_API UINT ExtractIconExW(LPCWSTR path, int index, HICON* large, HICON* small, UINT count);

/// Releases an icon. Error 1402: not an icon.
KVTFILE_API BOOL DestroyIcon(HICON icon);

// ---- Events -----------------------------------------------------------------------------------------------------
// A named event serves as a lock among all processes of the machine: signalled it is free, a wait takes it, SetEvent
// gives it back. The system gives it back when its holder ends, in whatever way, which is more than Windows does.

/// Opens the event of a name, or makes it. @param manualReset FALSE and @param signalled TRUE; others are refused (50).
/// @param name Not null or empty (87), without "\" (3) and "/" (123), of 200 bytes at most (206). Last error 183: it
/// was there already, else 0.
KVTFILE_API HANDLE CreateEventW(LPSECURITY_ATTRIBUTES security, BOOL manualReset, BOOL signalled, LPCWSTR name);

/// Opens the event of a name. Error 2: nobody has made it yet.
KVTFILE_API HANDLE OpenEventW(DWORD access, BOOL inherit, LPCWSTR name);

/// Gives the event back that was taken by this handle; nothing happens when it was not.
KVTFILE_API BOOL SetEvent(HANDLE event);

/// Takes an event. @param milliseconds INFINITE, or 0 for a look. @return WAIT_OBJECT_0, WAIT_TIMEOUT or WAIT_FAILED.
KVTFILE_API DWORD WaitForSingleObject(HANDLE event, DWORD milliseconds);

// ---- Registry ---------------------------------------------------------------------------------------------------
// Keys and values stand in `<prefix>/registry.db`, made at the first call. The calls return 0 or the error and leave
// the last error alone; results are untouched on failure unless a call says otherwise. Key and value names match
// without regard to case and keep their first spelling. Several threads and processes may use the store at once; what a
// call has reported as written outlives the process, whatever its end.
//
// A path of keys has "\" between names; one or more at its end or doubled between names change nothing; null or an
// empty path is the key itself. Any call may fail with 5 the handle lacks the right or the store may not be written,
// 6 not an open key, 8 no memory, 112 the disk is full, 170 another process has locked the store for longer than 30
// seconds, 1009 the store is of another kind, 1015 it is damaged, 1016 it cannot be read or written, 1018 the key has
// been deleted, 1306 it was made by a newer version of the library. Paths add 87 for a name above 255 characters or a
// key below level 512 and 161 for "\" at the start.
//
// HKEY_CLASSES_ROOT shows `Software\Classes` of HKEY_CURRENT_USER over that of HKEY_LOCAL_MACHINE: what stands in the
// user's hides the machine's of the same name. New keys go to the machine's, values to the user's key where there is
// one.

/// Opens a key. @param options 0. @param access KEY_READ, KEY_ALL_ACCESS, ...; each call checks what it needs.
/// @param result Receives the key, to be closed with RegCloseKey; null on failure. Error 2: no such key.
KVTFILE_API LSTATUS RegOpenKeyExW(HKEY key, LPCWSTR path, DWORD options, REGSAM access, PHKEY result);

/// Opens a key, or makes it with those above it, all or none.
/// @param reserved 0. @param keyClass A text kept with a new key; may be null. @param options REG_OPTION_NON_VOLATILE;
///        others are refused (50). @param security Not looked at.
/// @param disposition Receives REG_CREATED_NEW_KEY or REG_OPENED_EXISTING_KEY; may be null.
/// Error 87: also for a new key directly below HKEY_LOCAL_MACHINE or HKEY_USERS.
KVTFILE_API LSTATUS RegCreateKeyExW(HKEY key, LPCWSTR path, DWORD reserved, LPWSTR keyClass, DWORD options,
                                    REGSAM access, LPSECURITY_ATTRIBUTES security, PHKEY result, LPDWORD disposition);

/// Closes a key; a predefined one may be closed as often as one likes.
KVTFILE_API LSTATUS RegCloseKey(HKEY key);

/// Deletes a key and its values. Its open handles then give error 1018.
/// Errors: 2 no such key, 5 it has sub-keys or is the root of a hive, 87 null path.
KVTFILE_API LSTATUS RegDeleteKeyW(HKEY key, LPCWSTR path);

/// The name of sub-key number `index`, in the order of upper-case names.
/// @param name, length The buffer and its room in characters; out: the name's length without its NUL.
/// @param reserved Null. @param keyClass, classLength The class alike; may be null. @param written May be null.
/// Errors: 234 the buffer is too small, 259 no such index. Walking the indices costs a constant time each as long as
/// nothing changes in between.
KVTFILE_API LSTATUS RegEnumKeyExW(HKEY key, DWORD index, LPWSTR name, LPDWORD length, LPDWORD reserved, LPWSTR keyClass,
                                  LPDWORD classLength, FILETIME* written);

/// As RegEnumKeyExW, name only; `room` in characters, the NUL included.
KVTFILE_API LSTATUS RegEnumKeyW(HKEY key, DWORD index, LPWSTR name, DWORD room);

/// Counts and greatest lengths of what a key holds: names in characters without NUL, data in bytes. Any pointer may be
/// null. @param classLength In: room; out: length without NUL. @param reserved Null. @param securitySize Receives 0.
/// Complexity: constant for what concerns sub-keys (their class lengths but excepted), else linear in the values.
KVTFILE_API LSTATUS RegQueryInfoKeyW(HKEY key, LPWSTR keyClass, LPDWORD classLength, LPDWORD reserved, LPDWORD subKeys,
                                     LPDWORD longestSubKey, LPDWORD longestClass, LPDWORD values,
                                     LPDWORD longestValueName, LPDWORD longestValue, LPDWORD securitySize,
                                     FILETIME* written);

/// Returns when all that was written is on the storage device.
KVTFILE_API LSTATUS RegFlushKey(HKEY key);

/// Reads a value. @param name Null or empty: the unnamed value. @param reserved Null. @param type May be null.
/// @param data May be null: only the size is wanted. @param size In: room in bytes; out: the value's size.
/// Bytes come as they were stored: a text without NUL has none here.
/// Errors: 2 no such value, 87 data without size, 234 the buffer is too small (type and size are told).
KVTFILE_API LSTATUS RegQueryValueExW(HKEY key, LPCWSTR name, LPDWORD reserved, LPDWORD type, LPBYTE data, LPDWORD size);

/// Writes a value: any type number, the bytes as given. Errors: 87 a name above 16,383 characters, 998 null data with
/// a size.
KVTFILE_API LSTATUS RegSetValueExW(HKEY key, LPCWSTR name, DWORD reserved, DWORD type, const BYTE* data, DWORD size);

/// Deletes a value. Error 2: no such value.
KVTFILE_API LSTATUS RegDeleteValueW(HKEY key, LPCWSTR name);

/// Value number `index`, in the order of creation. Arguments and errors as for RegEnumKeyExW and RegQueryValueExW.
KVTFILE_API LSTATUS RegEnumValueW(HKEY key, DWORD index, LPWSTR name, LPDWORD length, LPDWORD reserved, LPDWORD type,
                                  LPBYTE data, LPDWORD size);

// ---- Modules and the process ------------------------------------------------------------------------------------

/// Path of a loaded module; null is the program. A buffer that is too small gets a cut text with a NUL, the result is
/// `size` and the last error 122. Error 126: not a module.
KVTFILE_API DWORD GetModuleFileNameW(HMODULE module, LPWSTR buffer, DWORD size);

/// The handle of a module that is loaded already (not counted: do not free it); null name: the program.
KVTFILE_API HMODULE GetModuleHandleW(LPCWSTR name);

/// Loads a shared library by path or, without a folder, by the system's search rules. Error 126: it cannot be loaded.
KVTFILE_API HMODULE LoadLibraryW(LPCWSTR path);
KVTFILE_API BOOL FreeLibrary(HMODULE module);

/// Address of an exported symbol. Error 127: none.
KVTFILE_API FARPROC GetProcAddress(HMODULE module, LPCSTR name);

KVTFILE_API DWORD GetCurrentProcessId();
KVTFILE_API DWORD GetCurrentThreadId();
KVTFILE_API void Sleep(DWORD milliseconds);
/// Milliseconds of a clock that never goes back; its start is not defined.
KVTFILE_API ULONGLONG GetTickCount64();

// ---- Time -------------------------------------------------------------------------------------------------------

/// Now, in UTC and in local time.
KVTFILE_API void GetSystemTime(LPSYSTEMTIME time);
KVTFILE_API void GetLocalTime(LPSYSTEMTIME time);
KVTFILE_API void GetSystemTimeAsFileTime(LPFILETIME time);

/// -1, 0 or 1: the first time is before, equal to or after the second.
KVTFILE_API LONG CompareFileTime(const FILETIME* first, const FILETIME* second);

/// Shifts by the time zone's present difference from UTC, whatever the season of `utc`.
KVTFILE_API BOOL FileTimeToLocalFileTime(const FILETIME* utc, LPFILETIME local);
KVTFILE_API BOOL LocalFileTimeToFileTime(const FILETIME* local, LPFILETIME utc);

/// A time in UTC as local time, or the reverse, with the difference that was or will be in force at that time.
/// @param zone Null: the process's time zone. An hour that clocks go through twice is the first, one that they leave
///        out counts on from before. Error 87: not a date.
KVTFILE_API BOOL SystemTimeToTzSpecificLocalTime(const TIME_ZONE_INFORMATION* zone, const SYSTEMTIME* utc,
                                                 LPSYSTEMTIME local);
KVTFILE_API BOOL TzSpecificLocalTimeToSystemTime(const TIME_ZONE_INFORMATION* zone, const SYSTEMTIME* local,
                                                 LPSYSTEMTIME utc);

/// Error 87: a value at or above 2^63.
KVTFILE_API BOOL FileTimeToSystemTime(const FILETIME* time, LPSYSTEMTIME result);

/// The day of the week is not looked at. Error 87: not a date from 1601 to 30827.
KVTFILE_API BOOL SystemTimeToFileTime(const SYSTEMTIME* time, LPFILETIME result);

/// Date and time as a DATE; milliseconds are dropped. Days and times out of range are carried over (February 30 is
/// March 1 or 2); years 0-49 are 20xx, 50-99 19xx. @return 0 (result unchanged): month above 12, or a year outside
/// 100-9999.
KVTFILE_API INT SystemTimeToVariantTime(SYSTEMTIME* time, double* result);

/// A DATE as date and time, rounded to the nearest second. @return 0: outside the years 100-9999.
KVTFILE_API INT VariantTimeToSystemTime(double time, LPSYSTEMTIME result);

// ---- Code pages -------------------------------------------------------------------------------------------------

/// Bytes of a code page to UTF-16.
///
/// Invalid input becomes the page's default character (936: one "?" for both bytes of a bad pair; UTF-8: one U+FFFD
/// for a lead byte with those following bytes that were looked at before the sequence became impossible, and for each
/// byte that cannot begin one). A byte order mark is a character as others.
/// @param flags 0 or MB_ERR_INVALID_CHARS (then invalid input is error 1113). UTF-7 takes no flag (1004).
/// @param bytes, size Input; -1: up to and with the NUL.
/// @param room Characters of `text`; 0: only the length needed is returned.
/// @return Characters; 0 on failure. Errors: 87 empty input, null pointers or a page that is not known, 122 `text`
///         is too small, 1004, 1113.
/// Complexity: linear.
KVTFILE_API int MultiByteToWideChar(UINT page, DWORD flags, LPCSTR bytes, int size, LPWSTR text, int room);

/// UTF-16 to the bytes of a code page.
///
/// A character that the page lacks becomes the default character (and `*usedDefault` TRUE), each half of a surrogate
/// pair by itself. Without WC_NO_BEST_FIT_CHARS a similar character of the page is taken where Windows has one,
/// silently. A lone surrogate is U+FFFD in UTF-8, or error 1113 with WC_ERR_INVALID_CHARS.
/// @param defaultChar The default character in the page's own bytes; null: the page's own ("?").
/// @param usedDefault May be null. For pages 65000 and 65001 it and `defaultChar` must be null (87).
/// @return Bytes; 0 on failure. Errors as for MultiByteToWideChar.
KVTFILE_API int WideCharToMultiByte(UINT page, DWORD flags, LPCWSTR text, int size, LPSTR bytes, int room,
                                    LPCSTR defaultChar, LPBOOL usedDefault);

/// TRUE when both conversions know the page.
KVTFILE_API BOOL IsValidCodePage(UINT page);

/// The process's ANSI and OEM code pages, after the locale's language: 1252 and 437 but for those that have others
/// (zh_CN 936 and 936).
KVTFILE_API UINT GetACP();
KVTFILE_API UINT GetOEMCP();

// ---- Memory blocks ----------------------------------------------------------------------------------------------

/// A block of memory, aligned to 16 bytes, zeroed with GMEM_ZEROINIT. Null with error 8: no memory.
KVTFILE_API HGLOBAL GlobalAlloc(UINT flags, SIZE_T size);
/// The block's address; each successful call on a moveable block is undone by one GlobalUnlock.
KVTFILE_API LPVOID GlobalLock(HGLOBAL memory);
/// TRUE while the block stays locked; FALSE with error 0 when this undid the last lock, with 158 when there was none.
/// A fixed block is never locked: TRUE.
KVTFILE_API BOOL GlobalUnlock(HGLOBAL memory);
/// Bytes asked for; 0 for null (6).
KVTFILE_API SIZE_T GlobalSize(HGLOBAL memory);
/// @return Null: done.
KVTFILE_API HGLOBAL GlobalFree(HGLOBAL memory);

// ---- Runtime library --------------------------------------------------------------------------------------------

/// The integer at the start of a text: blanks skipped (all of Unicode), a sign, decimal digits (also those of other
/// scripts). Out of range: the nearest value, with errno ERANGE. No number: 0.
KVTFILE_API int _wtoi(LPCWSTR text);
/// The number at the start of a text, decimal point ".": decimal with an e or E exponent, hexadecimal ("0x1.8p1"),
/// "inf", "nan". Out of range: an infinity or 0, with errno ERANGE. No number: 0.
KVTFILE_API double _wtof(LPCWSTR text);

/// Splits a path by text alone: drive ("C:"), folder with its last separator, name, extension with its dot.
/// Any result may be null; they have room for _MAX_DRIVE, _MAX_DIR, _MAX_FNAME and _MAX_EXT characters, longer parts
/// are cut.
KVTFILE_API void _wsplitpath(LPCWSTR path, LPWSTR drive, LPWSTR folder, LPWSTR name, LPWSTR extension);
