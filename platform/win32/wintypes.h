#pragma once

/// @file
/// The Win32 types, constants and structures of the library on systems that do not have windows.h.
///
/// Sizes are those of Windows on every machine (a DWORD has 32 bits, a WCHAR 16), structures have the fields and the
/// order of Windows, and numbers have its values, so that code and files mean the same on both targets. Nothing here
/// has a run-time part; the calls stand in winapi.h.
#ifdef _WIN32
#error "Windows has these types in windows.h"
#endif

#include <cstddef>
#include <cstdint>

// ---- Scalars ----------------------------------------------------------------------------------------------------

using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using BOOL = int;
using BOOLEAN = BYTE;
using CHAR = char;
using SHORT = std::int16_t;
using USHORT = std::uint16_t;
using INT = int;
using UINT = unsigned int;
using LONG = std::int32_t;
using ULONG = std::uint32_t;
using LONGLONG = long long;
using ULONGLONG = unsigned long long;
using DWORD64 = unsigned long long;
using DWORDLONG = unsigned long long;
using INT_PTR = std::intptr_t;
using UINT_PTR = std::uintptr_t;
using LONG_PTR = std::intptr_t;
using ULONG_PTR = std::uintptr_t;
using DWORD_PTR = std::uintptr_t;
using SIZE_T = std::size_t;
using FLOAT = float;
using DOUBLE = double;
using HRESULT = std::int32_t;
using DATE = double;  ///< Days since 1899-12-30, the time of day as a fraction.

using WCHAR = char16_t;  ///< One UTF-16 code unit.
using TCHAR = WCHAR;
using LPWSTR = WCHAR*;
using LPCWSTR = const WCHAR*;
using PWSTR = WCHAR*;
using PCWSTR = const WCHAR*;
using LPTSTR = WCHAR*;
using LPCTSTR = const WCHAR*;
using LPSTR = char*;
using LPCSTR = const char*;
using LPCCH = const char*;
using LPBYTE = BYTE*;
using LPBOOL = BOOL*;
using LPLONG = LONG*;
using PLONG = LONG*;
using LPDWORD = DWORD*;
using PDWORD = DWORD*;
using LPVOID = void*;
using PVOID = void*;
using LPCVOID = const void*;

#define VOID void
#define WINAPI
#define CALLBACK
#define APIENTRY

#ifndef TRUE
#define TRUE 1
#endif
#ifndef FALSE
#define FALSE 0
#endif

/// A wide literal: `_T("text")`, `_T('x')`.
#ifndef _T
#define KVTFILE_WIDE_LITERAL(x) u##x
#define _T(x) KVTFILE_WIDE_LITERAL(x)
#define TEXT(x) KVTFILE_WIDE_LITERAL(x)
#endif

constexpr int MAX_PATH = 260;
constexpr DWORD INFINITE = 0xFFFFFFFF;

// ---- Handles ----------------------------------------------------------------------------------------------------

using HANDLE = void*;
using HGLOBAL = void*;
using HINSTANCE = struct HINSTANCE__*;  ///< A loaded module: what dlopen returned.
using HMODULE = HINSTANCE;
using HWND = struct HWND__*;
using HICON = struct HICON__*;
using HKEY = struct HKEY__*;  ///< An open registry key, or one of the predefined ones (HKEY_LOCAL_MACHINE, ...).
using PHKEY = HKEY*;
using FARPROC = INT_PTR (*)();

#define INVALID_HANDLE_VALUE (reinterpret_cast<HANDLE>(static_cast<INT_PTR>(-1)))

// ---- Structures -------------------------------------------------------------------------------------------------

union LARGE_INTEGER {
    struct {
        DWORD LowPart;
        LONG HighPart;
    } u;
    LONGLONG QuadPart;
};

union ULARGE_INTEGER {
    struct {
        DWORD LowPart;
        DWORD HighPart;
    } u;
    ULONGLONG QuadPart;
};

/// A point in time: units of 100 nanoseconds since 1601-01-01, UTC.
struct FILETIME {
    DWORD dwLowDateTime;
    DWORD dwHighDateTime;
};
using LPFILETIME = FILETIME*;

struct SYSTEMTIME {
    WORD wYear;
    WORD wMonth;      ///< 1 to 12.
    WORD wDayOfWeek;  ///< 0 is Sunday.
    WORD wDay;
    WORD wHour;
    WORD wMinute;
    WORD wSecond;
    WORD wMilliseconds;
};
using LPSYSTEMTIME = SYSTEMTIME*;

struct POINT {
    LONG x;
    LONG y;
};

struct SIZE {
    LONG cx;
    LONG cy;
};

struct RECT {
    LONG left;
    LONG top;
    LONG right;
    LONG bottom;
};

struct WIN32_FILE_ATTRIBUTE_DATA {
    DWORD dwFileAttributes;
    FILETIME ftCreationTime;
    FILETIME ftLastAccessTime;
    FILETIME ftLastWriteTime;
    DWORD nFileSizeHigh;
    DWORD nFileSizeLow;
};

struct WIN32_FIND_DATAW {
    DWORD dwFileAttributes;
    FILETIME ftCreationTime;
    FILETIME ftLastAccessTime;
    FILETIME ftLastWriteTime;
    DWORD nFileSizeHigh;
    DWORD nFileSizeLow;
    DWORD dwReserved0;
    DWORD dwReserved1;
    WCHAR cFileName[MAX_PATH];
    WCHAR cAlternateFileName[14];  ///< Always empty: there are no short names.
};
using WIN32_FIND_DATA = WIN32_FIND_DATAW;
using LPWIN32_FIND_DATAW = WIN32_FIND_DATAW*;

struct SECURITY_ATTRIBUTES {
    DWORD nLength;
    LPVOID lpSecurityDescriptor;
    BOOL bInheritHandle;
};
using LPSECURITY_ATTRIBUTES = SECURITY_ATTRIBUTES*;
using LPOVERLAPPED = struct OVERLAPPED*;  ///< Always null: there is no overlapped input or output.

struct TIME_ZONE_INFORMATION;  ///< Always null: the process's own time zone.

enum GET_FILEEX_INFO_LEVELS { GetFileExInfoStandard = 0 };
enum FINDEX_INFO_LEVELS { FindExInfoStandard = 0, FindExInfoBasic = 1 };
enum FINDEX_SEARCH_OPS { FindExSearchNameMatch = 0, FindExSearchLimitToDirectories = 1 };

using FILEOP_FLAGS = WORD;

/// What SHFileOperationW is asked to do. Lists of paths: each ended by a NUL, and one more NUL behind the last.
struct SHFILEOPSTRUCTW {
    HWND hwnd;
    UINT wFunc;  ///< FO_MOVE, FO_COPY, FO_DELETE or FO_RENAME.
    LPCWSTR pFrom;
    LPCWSTR pTo;
    FILEOP_FLAGS fFlags;
    BOOL fAnyOperationsAborted;
    LPVOID hNameMappings;
    LPCWSTR lpszProgressTitle;
};
using LPSHFILEOPSTRUCTW = SHFILEOPSTRUCTW*;

// ---- Error numbers ----------------------------------------------------------------------------------------------

constexpr DWORD NO_ERROR = 0;
constexpr DWORD ERROR_SUCCESS = 0;
constexpr DWORD ERROR_INVALID_FUNCTION = 1;
constexpr DWORD ERROR_FILE_NOT_FOUND = 2;
constexpr DWORD ERROR_PATH_NOT_FOUND = 3;
constexpr DWORD ERROR_TOO_MANY_OPEN_FILES = 4;
constexpr DWORD ERROR_ACCESS_DENIED = 5;
constexpr DWORD ERROR_INVALID_HANDLE = 6;
constexpr DWORD ERROR_NOT_ENOUGH_MEMORY = 8;
constexpr DWORD ERROR_INVALID_DATA = 13;
constexpr DWORD ERROR_OUTOFMEMORY = 14;
constexpr DWORD ERROR_INVALID_DRIVE = 15;
constexpr DWORD ERROR_CURRENT_DIRECTORY = 16;
constexpr DWORD ERROR_NOT_SAME_DEVICE = 17;
constexpr DWORD ERROR_NO_MORE_FILES = 18;
constexpr DWORD ERROR_WRITE_PROTECT = 19;
constexpr DWORD ERROR_NOT_READY = 21;
constexpr DWORD ERROR_SEEK = 25;
constexpr DWORD ERROR_WRITE_FAULT = 29;
constexpr DWORD ERROR_READ_FAULT = 30;
constexpr DWORD ERROR_GEN_FAILURE = 31;
constexpr DWORD ERROR_SHARING_VIOLATION = 32;
constexpr DWORD ERROR_LOCK_VIOLATION = 33;
constexpr DWORD ERROR_HANDLE_EOF = 38;
constexpr DWORD ERROR_HANDLE_DISK_FULL = 39;
constexpr DWORD ERROR_NOT_SUPPORTED = 50;
constexpr DWORD ERROR_BAD_NETPATH = 53;
constexpr DWORD ERROR_FILE_EXISTS = 80;
constexpr DWORD ERROR_CANNOT_MAKE = 82;
constexpr DWORD ERROR_INVALID_PARAMETER = 87;
constexpr DWORD ERROR_BROKEN_PIPE = 109;
constexpr DWORD ERROR_OPEN_FAILED = 110;
constexpr DWORD ERROR_BUFFER_OVERFLOW = 111;
constexpr DWORD ERROR_DISK_FULL = 112;
constexpr DWORD ERROR_CALL_NOT_IMPLEMENTED = 120;
constexpr DWORD ERROR_INSUFFICIENT_BUFFER = 122;
constexpr DWORD ERROR_INVALID_NAME = 123;
constexpr DWORD ERROR_MOD_NOT_FOUND = 126;
constexpr DWORD ERROR_PROC_NOT_FOUND = 127;
constexpr DWORD ERROR_NEGATIVE_SEEK = 131;
constexpr DWORD ERROR_DIR_NOT_EMPTY = 145;
constexpr DWORD ERROR_NOT_LOCKED = 158;
constexpr DWORD ERROR_BAD_PATHNAME = 161;
constexpr DWORD ERROR_BUSY = 170;
constexpr DWORD ERROR_ALREADY_EXISTS = 183;
constexpr DWORD ERROR_BAD_EXE_FORMAT = 193;
constexpr DWORD ERROR_FILENAME_EXCED_RANGE = 206;
constexpr DWORD ERROR_FILE_TOO_LARGE = 223;
constexpr DWORD ERROR_MORE_DATA = 234;
constexpr DWORD ERROR_NO_MORE_ITEMS = 259;
constexpr DWORD ERROR_DIRECTORY = 267;
constexpr DWORD ERROR_MR_MID_NOT_FOUND = 317;
constexpr DWORD ERROR_INVALID_ADDRESS = 487;
constexpr DWORD ERROR_NOACCESS = 998;
constexpr DWORD ERROR_BADDB = 1009;
constexpr DWORD ERROR_REGISTRY_CORRUPT = 1015;
constexpr DWORD ERROR_REGISTRY_IO_FAILED = 1016;
constexpr DWORD ERROR_REVISION_MISMATCH = 1306;
constexpr DWORD ERROR_PRIVILEGE_NOT_HELD = 1314;
constexpr DWORD ERROR_KEY_DELETED = 1018;
constexpr DWORD ERROR_INVALID_FLAGS = 1004;
constexpr DWORD ERROR_NO_UNICODE_TRANSLATION = 1113;
constexpr DWORD ERROR_NO_ASSOCIATION = 1155;
constexpr DWORD ERROR_IO_DEVICE = 1117;
constexpr DWORD ERROR_DISK_OPERATION_FAILED = 1127;
constexpr DWORD ERROR_POSSIBLE_DEADLOCK = 1131;
constexpr DWORD ERROR_TOO_MANY_LINKS = 1142;
constexpr DWORD ERROR_DISK_QUOTA_EXCEEDED = 1295;
constexpr DWORD ERROR_INVALID_CURSOR_HANDLE = 1402;
constexpr DWORD ERROR_TIMEOUT = 1460;
constexpr DWORD ERROR_CANT_RESOLVE_FILENAME = 1921;
constexpr DWORD ERROR_CANCELLED = 1223;

// ---- Files ------------------------------------------------------------------------------------------------------

constexpr DWORD GENERIC_READ = 0x80000000;
constexpr DWORD GENERIC_WRITE = 0x40000000;
constexpr DWORD GENERIC_ALL = 0x10000000;
constexpr DWORD DELETE = 0x00010000;
constexpr DWORD FILE_READ_DATA = 0x0001;
constexpr DWORD FILE_WRITE_DATA = 0x0002;
constexpr DWORD FILE_APPEND_DATA = 0x0004;
constexpr DWORD FILE_READ_ATTRIBUTES = 0x0080;
constexpr DWORD FILE_WRITE_ATTRIBUTES = 0x0100;

constexpr DWORD FILE_SHARE_READ = 1;
constexpr DWORD FILE_SHARE_WRITE = 2;
constexpr DWORD FILE_SHARE_DELETE = 4;

constexpr DWORD CREATE_NEW = 1;
constexpr DWORD CREATE_ALWAYS = 2;
constexpr DWORD OPEN_EXISTING = 3;
constexpr DWORD OPEN_ALWAYS = 4;
constexpr DWORD TRUNCATE_EXISTING = 5;

constexpr DWORD FILE_BEGIN = 0;
constexpr DWORD FILE_CURRENT = 1;
constexpr DWORD FILE_END = 2;

constexpr DWORD FILE_ATTRIBUTE_READONLY = 0x0001;
constexpr DWORD FILE_ATTRIBUTE_HIDDEN = 0x0002;
constexpr DWORD FILE_ATTRIBUTE_SYSTEM = 0x0004;
constexpr DWORD FILE_ATTRIBUTE_DIRECTORY = 0x0010;
constexpr DWORD FILE_ATTRIBUTE_ARCHIVE = 0x0020;
constexpr DWORD FILE_ATTRIBUTE_NORMAL = 0x0080;
constexpr DWORD FILE_ATTRIBUTE_TEMPORARY = 0x0100;
constexpr DWORD FILE_ATTRIBUTE_REPARSE_POINT = 0x0400;
constexpr DWORD FILE_ATTRIBUTE_COMPRESSED = 0x0800;
constexpr DWORD INVALID_FILE_ATTRIBUTES = 0xFFFFFFFF;
constexpr DWORD INVALID_FILE_SIZE = 0xFFFFFFFF;
constexpr DWORD INVALID_SET_FILE_POINTER = 0xFFFFFFFF;

constexpr DWORD FILE_FLAG_WRITE_THROUGH = 0x80000000;
constexpr DWORD FILE_FLAG_SEQUENTIAL_SCAN = 0x08000000;
constexpr DWORD FILE_FLAG_BACKUP_SEMANTICS = 0x02000000;

constexpr DWORD MOVEFILE_REPLACE_EXISTING = 1;
constexpr DWORD MOVEFILE_COPY_ALLOWED = 2;
constexpr DWORD MOVEFILE_WRITE_THROUGH = 8;

constexpr DWORD FIND_FIRST_EX_CASE_SENSITIVE = 1;
constexpr DWORD FIND_FIRST_EX_LARGE_FETCH = 2;

// ---- Shell ------------------------------------------------------------------------------------------------------

constexpr UINT FO_MOVE = 1;
constexpr UINT FO_COPY = 2;
constexpr UINT FO_DELETE = 3;
constexpr UINT FO_RENAME = 4;

constexpr FILEOP_FLAGS FOF_MULTIDESTFILES = 0x0001;
constexpr FILEOP_FLAGS FOF_CONFIRMMOUSE = 0x0002;
constexpr FILEOP_FLAGS FOF_SILENT = 0x0004;
constexpr FILEOP_FLAGS FOF_RENAMEONCOLLISION = 0x0008;
constexpr FILEOP_FLAGS FOF_NOCONFIRMATION = 0x0010;
constexpr FILEOP_FLAGS FOF_WANTMAPPINGHANDLE = 0x0020;
constexpr FILEOP_FLAGS FOF_ALLOWUNDO = 0x0040;
constexpr FILEOP_FLAGS FOF_FILESONLY = 0x0080;
constexpr FILEOP_FLAGS FOF_SIMPLEPROGRESS = 0x0100;
constexpr FILEOP_FLAGS FOF_NOCONFIRMMKDIR = 0x0200;
constexpr FILEOP_FLAGS FOF_NOERRORUI = 0x0400;
constexpr FILEOP_FLAGS FOF_NOCOPYSECURITYATTRIBS = 0x0800;
constexpr FILEOP_FLAGS FOF_NORECURSION = 0x1000;
constexpr FILEOP_FLAGS FOF_WANTNUKEWARNING = 0x4000;

constexpr INT SW_HIDE = 0;
constexpr INT SW_SHOWNORMAL = 1;
constexpr INT SW_SHOW = 5;

// ---- Events -----------------------------------------------------------------------------------------------------

constexpr DWORD WAIT_OBJECT_0 = 0;
constexpr DWORD WAIT_ABANDONED = 0x80;
constexpr DWORD WAIT_TIMEOUT = 258;
constexpr DWORD WAIT_FAILED = 0xFFFFFFFF;

// ---- Registry ---------------------------------------------------------------------------------------------------

using LSTATUS = LONG;  ///< What the registry calls return: 0 or an error number.
using ACCESS_MASK = DWORD;
using REGSAM = ACCESS_MASK;

// The predefined keys: addresses that no handle of an open key has.
#define KVTFILE_PREDEFINED_KEY(number) (reinterpret_cast<HKEY>(static_cast<INT_PTR>(static_cast<INT>(number))))
#define HKEY_CLASSES_ROOT KVTFILE_PREDEFINED_KEY(0x80000000)
#define HKEY_CURRENT_USER KVTFILE_PREDEFINED_KEY(0x80000001)
#define HKEY_LOCAL_MACHINE KVTFILE_PREDEFINED_KEY(0x80000002)
#define HKEY_USERS KVTFILE_PREDEFINED_KEY(0x80000003)
#define HKEY_CURRENT_CONFIG KVTFILE_PREDEFINED_KEY(0x80000005)

constexpr ACCESS_MASK READ_CONTROL = 0x00020000;
constexpr ACCESS_MASK WRITE_DAC = 0x00040000;
constexpr ACCESS_MASK WRITE_OWNER = 0x00080000;
constexpr ACCESS_MASK SYNCHRONIZE = 0x00100000;
constexpr ACCESS_MASK STANDARD_RIGHTS_REQUIRED = DELETE | READ_CONTROL | WRITE_DAC | WRITE_OWNER;
constexpr ACCESS_MASK STANDARD_RIGHTS_READ = READ_CONTROL;
constexpr ACCESS_MASK STANDARD_RIGHTS_WRITE = READ_CONTROL;
constexpr ACCESS_MASK STANDARD_RIGHTS_ALL = STANDARD_RIGHTS_REQUIRED | SYNCHRONIZE;
constexpr ACCESS_MASK MAXIMUM_ALLOWED = 0x02000000;

constexpr ACCESS_MASK EVENT_MODIFY_STATE = 0x0002;
constexpr ACCESS_MASK EVENT_ALL_ACCESS = STANDARD_RIGHTS_REQUIRED | SYNCHRONIZE | 0x3;

constexpr REGSAM KEY_QUERY_VALUE = 0x0001;
constexpr REGSAM KEY_SET_VALUE = 0x0002;
constexpr REGSAM KEY_CREATE_SUB_KEY = 0x0004;
constexpr REGSAM KEY_ENUMERATE_SUB_KEYS = 0x0008;
constexpr REGSAM KEY_NOTIFY = 0x0010;
constexpr REGSAM KEY_CREATE_LINK = 0x0020;
constexpr REGSAM KEY_WOW64_64KEY = 0x0100;  ///< There is one view of the registry: both views are the same.
constexpr REGSAM KEY_WOW64_32KEY = 0x0200;
constexpr REGSAM KEY_READ = STANDARD_RIGHTS_READ | KEY_QUERY_VALUE | KEY_ENUMERATE_SUB_KEYS | KEY_NOTIFY;
constexpr REGSAM KEY_WRITE = STANDARD_RIGHTS_WRITE | KEY_SET_VALUE | KEY_CREATE_SUB_KEY;
constexpr REGSAM KEY_EXECUTE = KEY_READ;
constexpr REGSAM KEY_ALL_ACCESS = STANDARD_RIGHTS_REQUIRED | KEY_QUERY_VALUE | KEY_SET_VALUE | KEY_CREATE_SUB_KEY |
                                  KEY_ENUMERATE_SUB_KEYS | KEY_NOTIFY | KEY_CREATE_LINK;

constexpr DWORD REG_OPTION_NON_VOLATILE = 0;
constexpr DWORD REG_CREATED_NEW_KEY = 1;
constexpr DWORD REG_OPENED_EXISTING_KEY = 2;

constexpr DWORD REG_NONE = 0;
constexpr DWORD REG_SZ = 1;
constexpr DWORD REG_EXPAND_SZ = 2;
constexpr DWORD REG_BINARY = 3;
constexpr DWORD REG_DWORD = 4;
constexpr DWORD REG_DWORD_LITTLE_ENDIAN = 4;
constexpr DWORD REG_DWORD_BIG_ENDIAN = 5;
constexpr DWORD REG_LINK = 6;
constexpr DWORD REG_MULTI_SZ = 7;
constexpr DWORD REG_RESOURCE_LIST = 8;
constexpr DWORD REG_FULL_RESOURCE_DESCRIPTOR = 9;
constexpr DWORD REG_RESOURCE_REQUIREMENTS_LIST = 10;
constexpr DWORD REG_QWORD = 11;
constexpr DWORD REG_QWORD_LITTLE_ENDIAN = 11;

// ---- Messages, code pages, memory -------------------------------------------------------------------------------

constexpr DWORD FORMAT_MESSAGE_ALLOCATE_BUFFER = 0x0100;
constexpr DWORD FORMAT_MESSAGE_IGNORE_INSERTS = 0x0200;
constexpr DWORD FORMAT_MESSAGE_FROM_SYSTEM = 0x1000;

constexpr UINT CP_ACP = 0;
constexpr UINT CP_OEMCP = 1;
constexpr UINT CP_MACCP = 2;
constexpr UINT CP_THREAD_ACP = 3;
constexpr UINT CP_SYMBOL = 42;
constexpr UINT CP_UTF7 = 65000;
constexpr UINT CP_UTF8 = 65001;
constexpr DWORD MB_PRECOMPOSED = 1;
constexpr DWORD MB_COMPOSITE = 2;
constexpr DWORD MB_USEGLYPHCHARS = 4;
constexpr DWORD MB_ERR_INVALID_CHARS = 8;
constexpr DWORD WC_ERR_INVALID_CHARS = 0x80;
constexpr DWORD WC_NO_BEST_FIT_CHARS = 0x400;

constexpr UINT GMEM_FIXED = 0;
constexpr UINT GMEM_MOVEABLE = 2;
constexpr UINT GMEM_ZEROINIT = 0x40;
constexpr UINT GHND = GMEM_MOVEABLE | GMEM_ZEROINIT;
constexpr UINT GPTR = GMEM_FIXED | GMEM_ZEROINIT;

constexpr DWORD MAX_COMPUTERNAME_LENGTH = 15;

// ---- Message boxes ----------------------------------------------------------------------------------------------

constexpr UINT MB_OK = 0x00;
constexpr UINT MB_OKCANCEL = 0x01;
constexpr UINT MB_ABORTRETRYIGNORE = 0x02;
constexpr UINT MB_YESNOCANCEL = 0x03;
constexpr UINT MB_YESNO = 0x04;
constexpr UINT MB_RETRYCANCEL = 0x05;
constexpr UINT MB_ICONERROR = 0x10;
constexpr UINT MB_ICONSTOP = 0x10;
constexpr UINT MB_ICONQUESTION = 0x20;
constexpr UINT MB_ICONEXCLAMATION = 0x30;
constexpr UINT MB_ICONWARNING = 0x30;
constexpr UINT MB_ICONINFORMATION = 0x40;
constexpr int IDOK = 1;
constexpr int IDCANCEL = 2;
constexpr int IDABORT = 3;
constexpr int IDRETRY = 4;
constexpr int IDIGNORE = 5;
constexpr int IDYES = 6;
constexpr int IDNO = 7;

// ---- Runtime-library limits -------------------------------------------------------------------------------------

constexpr int _MAX_PATH = 260;
constexpr int _MAX_DRIVE = 3;
constexpr int _MAX_DIR = 256;
constexpr int _MAX_FNAME = 256;
constexpr int _MAX_EXT = 256;
