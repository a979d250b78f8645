// Entries on Windows, where attributes and listings are those of links themselves.

#include <windows.h>

#include "entries.h"

namespace kvtshell {

DWORD FindEntry(LPCWSTR path) {
    return ::GetFileAttributesW(path) == INVALID_FILE_ATTRIBUTES ? ::GetLastError() : ERROR_SUCCESS;
}

DWORD MatchingEntries(LPCWSTR folder, LPCWSTR pattern, bool files_only, std::vector<EntryName>& names) {
    names.clear();
    EntryName path = folder ? folder : L"";
    if (!path.empty() && path.back() != L'\\' && path.back() != L'/') {
        path += L'\\';
    }
    WIN32_FIND_DATAW data{};
    const HANDLE find = ::FindFirstFileW((path + pattern).c_str(), &data);
    if (find == INVALID_HANDLE_VALUE) {
        const DWORD error = ::GetLastError();
        return error == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : error;
    }
    do {
        const EntryName name = data.cFileName;
        const bool is_folder = (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
        if (name != L"." && name != L".." && !(is_folder && files_only)) {
            names.push_back(name);
        }
    } while (::FindNextFileW(find, &data));
    const DWORD error = ::GetLastError();
    ::FindClose(find);
    if (error != ERROR_NO_MORE_FILES) {
        names.clear();
        return error;
    }
    return ERROR_SUCCESS;
}

}  // namespace kvtshell
