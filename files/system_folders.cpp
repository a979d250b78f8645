// Folders that the system knows: of the program, of Windows, for temporary files, the current one.

#include "kvtfile/FileUtil.h"
#include "platform/companion/pmxutil.h"
#include "platform/quiet.h"

namespace kvtfile {

using detail::Quiet;

namespace {

constexpr DWORD FIRST_ROOM = 260;

// The text of a call that is given a buffer with its room and returns the length, or a greater room that it needs.
// @return Empty, with the reason as last error: the call failed.
template <typename Call>
CString TextOf(Call call) {
    CString text;
    for (DWORD room = FIRST_ROOM;;) {
        const DWORD length = call(text.GetBuffer(static_cast<int>(room)), room);
        if (length < room) {
            text.ReleaseBufferSetLength(static_cast<int>(length));
            return text;
        }
        room = length + 1;
    }
}

// The module's path, whole: a call with too little room cuts it and returns the room.
CString ModulePath(HINSTANCE module) {
    CString path;
    for (DWORD room = FIRST_ROOM;; room *= 2) {
        const DWORD length = ::GetModuleFileNameW(module, path.GetBuffer(static_cast<int>(room)), room);
        if (length < room) {
            path.ReleaseBufferSetLength(static_cast<int>(length));
            return path;
        }
    }
}

// A folder that the system tells, with its separator.
CString Told(const CString& folder) {
    if (folder.IsEmpty()) {
        CFileException::ThrowOsError(static_cast<LONG>(::GetLastError()));
    }
    return pmxutil::ConfirmBackslash(folder);
}

}  // namespace

CString GetAppPath() {
    return GetAppPath(nullptr);
}

CString GetAppPath(HINSTANCE h) {
    return Quiet(CString(), [&] { return GetFilePath(ModulePath(h)); });
}

CString GetSystemPath() {
    return Told(TextOf(::GetSystemDirectoryW));
}

CString GetWindowsPath() {
    return Told(TextOf(::GetWindowsDirectoryW));
}

int GetTempPathW(CString& out) {
    out = Told(TextOf([](LPWSTR buffer, DWORD room) { return ::GetTempPathW(room, buffer); }));
    return 1;
}

CString GetCurrentDirectoryW() {
    return Quiet(CString(),
                 [] { return TextOf([](LPWSTR buffer, DWORD room) { return ::GetCurrentDirectoryW(room, buffer); }); });
}

}  // namespace kvtfile
