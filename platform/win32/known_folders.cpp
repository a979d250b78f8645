// The folders and names that the system hands out: system, Windows, temporary and current folder, full paths, temporary
// names, the computer's name.

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <climits>
#include <cstdio>
#include <string>
#include <string_view>

#include "environment.h"
#include "errors.h"
#include "names.h"
#include "paths.h"
#include "winapi.h"

using kvtwin::Fail;

namespace {

// Copies a text out by the rule of these calls: its length, or the room that it needs.
DWORD HandOut(std::u16string_view text, LPWSTR buffer, DWORD size) {
    if (!buffer || text.size() >= size) {
        return static_cast<DWORD>(text.size() + 1);
    }
    std::copy(text.begin(), text.end(), buffer);
    buffer[text.size()] = u'\0';
    return static_cast<DWORD>(text.size());
}

constinit std::atomic<UINT> g_temporary{0};

}  // namespace

UINT GetSystemDirectoryW(LPWSTR buffer, UINT size) {
    return HandOut(u"C:\\windows\\system32", buffer, size);
}

UINT GetWindowsDirectoryW(LPWSTR buffer, UINT size) {
    return HandOut(u"C:\\windows", buffer, size);
}

DWORD GetTempPathW(DWORD size, LPWSTR buffer) {
    const std::u16string path = u"C:\\users\\" + kvtwin::NameFromBytes(kvtwin::Env().user) + u"\\Temp\\";
    if (const std::string folder = kvtwin::UnixPath(path.c_str()); !folder.empty()) {
        kvtwin::MakeFolders(folder);
    }
    return HandOut(path, buffer, size);
}

DWORD GetCurrentDirectoryW(DWORD size, LPWSTR buffer) {
    char path[PATH_MAX];
    if (!::getcwd(path, sizeof path)) {
        return static_cast<DWORD>(Fail(kvtwin::ErrorFromErrno(errno)));
    }
    return HandOut(kvtwin::WindowsPath(path), buffer, size);
}

BOOL SetCurrentDirectoryW(LPCWSTR path) {
    kvtwin::Location location;
    if (const DWORD error = kvtwin::Locate(path, location)) {
        return Fail(error);
    }
    if (::chdir(location.path.c_str()) != 0) {
        return Fail(errno == ENOTDIR ? ERROR_DIRECTORY : kvtwin::PathError(errno, location.path));
    }
    return TRUE;
}

DWORD GetFullPathNameW(LPCWSTR path, DWORD size, LPWSTR buffer, LPWSTR* filePart) {
    std::u16string full;
    if (const DWORD error = kvtwin::FullPath(path, full)) {
        return static_cast<DWORD>(Fail(error));
    }
    const DWORD result = HandOut(full, buffer, size);
    if (filePart && result == full.size()) {
        const size_t name = full.rfind(u'\\') + 1;
        *filePart = name < full.size() ? buffer + name : nullptr;
    }
    return result;
}

UINT GetTempFileNameW(LPCWSTR folder, LPCWSTR prefix, UINT unique, LPWSTR name) {
    const DWORD attributes = ::GetFileAttributesW(folder);
    if (!name || attributes == INVALID_FILE_ATTRIBUTES || !(attributes & FILE_ATTRIBUTE_DIRECTORY)) {
        return static_cast<UINT>(Fail(ERROR_DIRECTORY));
    }
    std::u16string start = folder;
    if (!start.ends_with(u'\\') && !start.ends_with(u'/')) {
        start += u'\\';
    }
    start += std::u16string_view(prefix ? prefix : u"").substr(0, 3);
    constexpr size_t kLongestEnd = 8;  // "FFFF.tmp"
    if (start.size() + kLongestEnd >= static_cast<size_t>(MAX_PATH)) {
        return static_cast<UINT>(Fail(ERROR_BUFFER_OVERFLOW));
    }
    UINT number = unique & 0xFFFF;
    for (UINT attempt = 0; attempt <= 0xFFFF; ++attempt) {
        if (unique == 0) {
            const ULONGLONG seed = ::GetTickCount64() + ::GetCurrentProcessId() * 31ULL + g_temporary++;
            number = static_cast<UINT>(seed % 0xFFFF) + 1;
        }
        char end[16];
        std::snprintf(end, sizeof end, "%x.tmp", number);
        const std::u16string path = start + kvtwin::NameFromBytes(end);
        if (unique == 0) {
            const HANDLE file = ::CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr);
            if (file == INVALID_HANDLE_VALUE) {
                if (::GetLastError() == ERROR_FILE_EXISTS) {
                    continue;
                }
                return 0;
            }
            ::CloseHandle(file);
        }
        HandOut(path, name, MAX_PATH);
        return number;
    }
    return static_cast<UINT>(Fail(ERROR_FILE_EXISTS));
}

BOOL GetComputerNameW(LPWSTR buffer, LPDWORD size) {
    char host[256] = {};
    if (!size || ::gethostname(host, sizeof host - 1) != 0) {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    const std::string_view whole = host;
    const std::u16string name =
        kvtwin::UpperName(kvtwin::NameFromBytes(whole.substr(0, whole.find('.')))).substr(0, MAX_COMPUTERNAME_LENGTH);
    const DWORD result = HandOut(name, buffer, *size);
    *size = result;
    return result == name.size() ? TRUE : Fail(ERROR_BUFFER_OVERFLOW);
}
