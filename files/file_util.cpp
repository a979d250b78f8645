// Times of files, lists of files, copies.
//
// A file that is copied over another takes its place when it is whole, not before.

#include <memory>
#include <string>
#include "files/file_times.h"

#include "kvtfile/FileUtil.h"
#include "platform/io/folders.h"
#include "platform/io/safe_save.h"
#include "platform/quiet.h"

namespace kvtfile {

using detail::Quiet;

namespace {

constexpr DWORD PLAIN_ATTRIBUTES = FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_NORMAL;
static_assert(PLAIN_ATTRIBUTES == 0xA0);

constexpr size_t COPIED_AT_ONCE = 1 << 18;

// Calls `use` with each entry that matches. @return Whether there was one.
template <typename Use>
bool ForEachEntry(LPCWSTR pattern, Use use) {
    CFileFind find;
    BOOL more = find.FindFile(kvtio::LongForm(pattern).c_str());
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

/// A file's three stamps.
struct Stamps {
    FILETIME created;
    FILETIME accessed;
    FILETIME written;

    bool Read(HANDLE file) { return ::GetFileTime(file, &created, &accessed, &written) != FALSE; }
    bool Set(HANDLE file) const { return ::SetFileTime(file, &created, &accessed, &written) != FALSE; }
};

// Whether two stamps are the same as far as the coarsest file systems keep them: to two seconds.
bool AreClose(const FILETIME& first, const FILETIME& second) {
    constexpr LONGLONG TWO_SECONDS = 2 * 10000000;
    const auto ticks = [](const FILETIME& stamp) {
        return static_cast<LONGLONG>(ULONGLONG{stamp.dwHighDateTime} << 32 | stamp.dwLowDateTime);
    };
    const LONGLONG difference = ticks(first) - ticks(second);
    return difference >= -TWO_SECONDS && difference <= TWO_SECONDS;
}

HANDLE OpenForStamps(const CString& path) {
    return ::CreateFileW(kvtio::LongForm(path).c_str(), FILE_READ_ATTRIBUTES | FILE_WRITE_ATTRIBUTES, kvtio::ShareAll,
                         nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
}

// Sets all stamps to one; a file system that keeps another one gets the old ones back.
bool SetStamps(HANDLE file, const FILETIME& stamp) {
    Stamps old;
    Stamps kept;
    if (!old.Read(file) || !Stamps{stamp, stamp, stamp}.Set(file)) {
        return false;
    }
    if (kept.Read(file) && AreClose(kept.written, stamp)) {
        return true;
    }
    old.Set(file);
    return false;
}

bool CopyContent(kvtio::File& source, kvtio::SafeSave& target) {
    const auto buffer = std::make_unique<char[]>(COPIED_AT_ONCE);
    for (size_t got = COPIED_AT_ONCE; got == COPIED_AT_ONCE;) {
        if (source.Read(buffer.get(), COPIED_AT_ONCE, got) != ERROR_SUCCESS ||
            target.Write(buffer.get(), got) != ERROR_SUCCESS) {
            return false;
        }
    }
    return target.Commit() == ERROR_SUCCESS;
}

// Copies a file into the place of one that exists, with its attributes and the time of its last change.
void CopyOver(LPCWSTR from, LPCWSTR to) {
    kvtio::File source;
    kvtio::SafeSave save;
    if (source.Open(from, kvtio::Access::Read, kvtio::Disposition::OpenExisting, FILE_SHARE_READ) != ERROR_SUCCESS ||
        save.Open(to, kvtio::SafeSave::Mode::Replace) != ERROR_SUCCESS || !CopyContent(source, save)) {
        return;
    }
    FILETIME written;
    kvtio::File target;
    if (::GetFileTime(source.Handle(), nullptr, nullptr, &written) &&
        target.Open(to, kvtio::Access::Write, kvtio::Disposition::OpenExisting) == ERROR_SUCCESS) {
        ::SetFileTime(target.Handle(), nullptr, nullptr, &written);
    }
    const DWORD attributes = ::GetFileAttributesW(from);
    if (attributes != INVALID_FILE_ATTRIBUTES) {
        ::SetFileAttributesW(to, attributes);
    }
}

bool IsLater(const COleDateTime& time, const COleDateTime& after) {
    return time.GetStatus() == COleDateTime::valid && after.GetStatus() == COleDateTime::valid && time > after;
}

}  // namespace

int FGetFileTime(CString path, COleDateTime& t) {
    return Quiet(0, [&] {
        kvtio::File file;
        FILETIME written;
        if (file.Open(kvtio::LongForm(path).c_str(), kvtio::Access::Read, kvtio::Disposition::OpenExisting,
                      FILE_SHARE_READ) != ERROR_SUCCESS ||
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
        const HANDLE file = OpenForStamps(path);
        if (file == INVALID_HANDLE_VALUE) {
            return 0;
        }
        const bool set = SetStamps(file, stamp);
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
            const kvtio::Path source = kvtio::LongForm(files[i]);
            const kvtio::Path target = kvtio::LongForm(destDir + GetFnameFromFullFileName(files[i]));
            if (::GetFileAttributesW(target.c_str()) == INVALID_FILE_ATTRIBUTES) {
                ::CopyFileW(source.c_str(), target.c_str(), TRUE);
            } else {
                CopyOver(source.c_str(), target.c_str());
            }
            const DWORD attributes = ::GetFileAttributesW(target.c_str());
            if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY)) {
                ::SetFileAttributesW(target.c_str(), PLAIN_ATTRIBUTES);
            }
        }
        return 1;
    });
}

}  // namespace kvtfile
