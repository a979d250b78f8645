// Folders on Windows: identity is the volume's serial number and the file's number on it. A path that the usual calls
// would find too long is given in its "\\?\" form, which only takes absolute paths without dots and with "\".

#include <cwchar>

#include "platform/io/folders.h"

namespace kvtio {

namespace {

// The usual calls' limit for a folder; that for a file is higher by an 8.3 name.
constexpr size_t kLongestUsual = 247;

}  // namespace

bool IdentityOf(LPCWSTR path, Identity& identity) {
    const HANDLE folder = ::CreateFileW(LongForm(path).c_str(), FILE_READ_ATTRIBUTES,
                                        FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                                        FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (folder == INVALID_HANDLE_VALUE) {
        return false;
    }
    BY_HANDLE_FILE_INFORMATION found;
    const bool known = ::GetFileInformationByHandle(folder, &found) != 0;
    ::CloseHandle(folder);
    if (known) {
        identity = {found.dwVolumeSerialNumber, uint64_t{found.nFileIndexHigh} << 32 | found.nFileIndexLow};
    }
    return known;
}

Path LongForm(LPCWSTR path) {
    const Path usual = path;
    if (usual.size() <= kLongestUsual || usual.starts_with(L"\\\\?\\") || usual.starts_with(L"\\\\.\\")) {
        return usual;
    }
    const DWORD room = ::GetFullPathNameW(path, 0, nullptr, nullptr);
    Path full(room, L'\0');
    const DWORD length = ::GetFullPathNameW(path, room, full.data(), nullptr);
    if (length == 0 || length >= room) {
        return usual;
    }
    full.resize(length);
    // The call drops a dot at the end; in a pattern it means names without extension.
    if (usual.ends_with(L"*.")) {
        full += L'.';
    }
    return full.starts_with(L"\\\\") ? L"\\\\?\\UNC" + full.substr(1) : L"\\\\?\\" + full;
}

}  // namespace kvtio
