// Whether files and folders are there, and the making of folders.

#include <algorithm>

#include "kvtfile/FileUtil.h"
#include "platform/io/folders.h"
#include "platform/quiet.h"
#include "platform/shell_calls.h"

namespace kvtfile {

using detail::Quiet;

namespace {

// What a path may have so that CreateMDirectory takes it, its NUL included.
constexpr int BUFFER_UNITS = 260;

bool IsSeparator(WCHAR unit) {
    return unit == _T('\\') || unit == _T('/');
}

bool IsFolder(const CString& path) {
    const DWORD attributes = ::GetFileAttributesW(kvtio::LongForm(path).c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool Exists(const CString& path) {
    return ::GetFileAttributesW(kvtio::LongForm(path).c_str()) != INVALID_FILE_ATTRIBUTES;
}

void MakeFolder(const CString& path) {
    ::CreateDirectoryW(kvtio::LongForm(path).c_str(), nullptr);
}

// Whether the path up to `end` is a level that can be made: not nothing, and not a drive alone.
bool IsLevel(const CString& path, int end) {
    return end > 0 && path[end - 1] != _T(':');
}

}  // namespace

int FileExist(LPCWSTR path) {
    if (!path) {
        return 0;
    }
    return Quiet(0, [&] {
        WIN32_FIND_DATAW found;
        const HANDLE find = ::FindFirstFileW(kvtio::LongForm(path).c_str(), &found);
        if (find == INVALID_HANDLE_VALUE) {
            return 0;
        }
        ::FindClose(find);
        return 1;
    });
}

int FIsDirectory(CString path) {
    return ::PathIsDirectoryW(path) ? 1 : 0;
}

int CreateMDirectory(LPCWSTR path) {
    if (!path) {
        return 0;
    }
    return Quiet(0, [&] {
        const CString whole = path;
        const int length = whole.GetLength();
        CString last;
        for (int at = 0; at <= length; ++at) {
            if (at == BUFFER_UNITS) {
                return 0;
            }
            const bool ends = at == length ? length > 0 && !IsSeparator(whole[length - 1]) : IsSeparator(whole[at]);
            if (ends && IsLevel(whole, at)) {
                last = whole.Left(at);
                if (!FileExist(last)) {
                    MakeFolder(last);
                }
            }
        }
        return last.IsEmpty() || IsFolder(last) ? 1 : 0;
    });
}

int FMakeSurePathExists(LPCWSTR path, int bIsFilePath) {
    if (!path) {
        return 0;
    }
    return Quiet(0, [&] {
        const CString whole = path;
        CString folder;
        for (int at = 1; at < whole.GetLength(); ++at) {
            if (IsSeparator(whole[at])) {
                folder = whole.Left(at);
                MakeFolder(folder);
            }
        }
        if (!bIsFilePath) {
            MakeFolder(whole);
            folder = whole;
        } else if (folder.IsEmpty()) {
            return 1;
        }
        return Exists(folder) ? 1 : 0;
    });
}

}  // namespace kvtfile
