// Times of files, lists of files, copies.

#include "files/file_times.h"
#include "kvtfile/FileUtil.h"
#include "platform/io/io.h"
#include "platform/quiet.h"

namespace kvtfile {

using detail::Quiet;

namespace {

constexpr DWORD PLAIN_ATTRIBUTES = FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_NORMAL;
static_assert(PLAIN_ATTRIBUTES == 0xA0);

// Calls `use` with each entry that matches. @return Whether there was one.
template <typename Use>
bool ForEachEntry(LPCWSTR pattern, Use use) {
    CFileFind find;
    BOOL more = find.FindFile(pattern);
    const bool found = more != FALSE;
    while (more) {
        more = find.FindNextFile();
        use(find);
    }
    return found;
}

COleDateTime WrittenAt(const CFileFind& entry) {
    FILETIME stamp = {};
    entry.GetLastWriteTime(&stamp);
    return detail::LocalTimeOf(stamp);
}

bool IsLater(const COleDateTime& time, const COleDateTime& after) {
    return time.GetStatus() == COleDateTime::valid && after.GetStatus() == COleDateTime::valid && time > after;
}

}  // namespace

int FGetFileTime(CString path, COleDateTime& t) {
    return Quiet(0, [&] {
        kvtio::File file;
        FILETIME written;
        if (file.Open(path, kvtio::Access::Read, kvtio::Disposition::OpenExisting, FILE_SHARE_READ) != ERROR_SUCCESS ||
            !::GetFileTime(file.Handle(), nullptr, nullptr, &written)) {
            return 0;
        }
        t = detail::LocalTimeOf(written);
        return 1;
    });
}

int FSetFileTime(CString path, COleDateTime t) {
    return Quiet(0, [&] {
        FILETIME stamp;
        if (!detail::StampOf(t, stamp)) {
            return 0;
        }
        const HANDLE file = ::CreateFileW(path, FILE_WRITE_ATTRIBUTES, kvtio::ShareAll, nullptr, OPEN_EXISTING,
                                          FILE_FLAG_BACKUP_SEMANTICS, nullptr);
        if (file == INVALID_HANDLE_VALUE) {
            return 0;
        }
        const BOOL set = ::SetFileTime(file, &stamp, &stamp, &stamp);
        ::CloseHandle(file);
        return set ? 1 : 0;
    });
}

int FindFile(CStringArray& names, LPCWSTR pattern) {
    if (!pattern) {
        return 0;
    }
    return Quiet(0, [&] { return ForEachEntry(pattern, [&](CFileFind& entry) { names.Add(entry.GetFileName()); }); });
}

int FindFile(CStringArray& names, LPCWSTR pattern, CStringArray& times, COleDateTime* after) {
    if (!pattern) {
        return 0;
    }
    return Quiet(0, [&] {
        return ForEachEntry(pattern, [&](CFileFind& entry) {
            const COleDateTime time = WrittenAt(entry);
            if (!after || IsLater(time, *after)) {
                times.Add(time.Format(_T("%Y-%m-%d %H:%M")));
                names.Add(entry.GetFileName());
            }
        });
    });
}

void CopyFileArr(CStringArray& files, CString destDir) {
    Quiet(0, [&] {
        for (INT_PTR i = 0; i < files.GetSize(); ++i) {
            const CString target = destDir + GetFnameFromFullFileName(files[i]);
            if (!::CopyFileW(files[i], target, FALSE)) {
                continue;
            }
            const DWORD attributes = ::GetFileAttributesW(target);
            if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY)) {
                ::SetFileAttributesW(target, PLAIN_ATTRIBUTES);
            }
        }
        return 1;
    });
}

}  // namespace kvtfile
