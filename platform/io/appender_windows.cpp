// Appending records on Windows: a write to the end, and LockFileEx for its length.
//
// The lock lies on a byte that no file has, so that it binds appenders alone: locks of Windows keep everybody from the
// bytes that they lie on.

#include "platform/io/appender.h"
#include "platform/io/faults.h"
#include "platform/io/folders.h"

namespace kvtio {

namespace {

constexpr DWORD kLockOffset = 0xFFFFFFFE;
constexpr DWORD kLockOffsetHigh = 0x7FFFFFFF;

OVERLAPPED PlaceAt(DWORD offset, DWORD high) {
    OVERLAPPED place = {};
    place.Offset = offset;
    place.OffsetHigh = high;
    return place;
}

/// A handle with its lock.
class OpenLog {
public:
    explicit OpenLog(LPCWSTR path)
        : m_handle(::CreateFileW(path, GENERIC_WRITE, ShareAll, nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr)) {
    }
    ~OpenLog() { Close(); }
    OpenLog(const OpenLog&) = delete;
    OpenLog& operator=(const OpenLog&) = delete;

    bool IsOpen() const { return m_handle != INVALID_HANDLE_VALUE; }
    HANDLE Handle() const { return m_handle; }

    /// Where the file system has no locks there is none.
    void Lock() {
        OVERLAPPED place = PlaceAt(kLockOffset, kLockOffsetHigh);
        m_locked = ::LockFileEx(m_handle, LOCKFILE_EXCLUSIVE_LOCK, 0, 1, 0, &place) != FALSE;
    }

    Error Close() {
        if (!IsOpen()) {
            return ERROR_SUCCESS;
        }
        if (m_locked) {
            OVERLAPPED place = PlaceAt(kLockOffset, kLockOffsetHigh);
            ::UnlockFileEx(m_handle, 0, 1, 0, &place);
        }
        const Error error = ErrorUnless(::CloseHandle(m_handle));
        m_handle = INVALID_HANDLE_VALUE;
        return error;
    }

private:
    HANDLE m_handle;
    bool m_locked = false;
};

// Takes back what was written of a record, unless somebody who takes no lock has written besides.
void TakeBack(HANDLE file, LONGLONG start, size_t written) {
    LARGE_INTEGER position;
    position.QuadPart = start;
    LARGE_INTEGER size;
    if (::GetFileSizeEx(file, &size) && size.QuadPart == start + static_cast<LONGLONG>(written) &&
        ::SetFilePointerEx(file, position, nullptr, FILE_BEGIN)) {
        ::SetEndOfFile(file);
    }
}

Error Write(LPCWSTR path, HANDLE file, const char* bytes, size_t count) {
    LARGE_INTEGER start;
    const bool measured = ::GetFileSizeEx(file, &start) != FALSE;
    size_t written = 0;
    while (written < count) {
        size_t part = count - written;
        Error error = AskHook(Call::Write, path, part);
        OVERLAPPED end = PlaceAt(0xFFFFFFFF, 0xFFFFFFFF);
        DWORD done = 0;
        if (!error) {
            error = ErrorUnless(::WriteFile(file, bytes + written, static_cast<DWORD>(part), &done, &end));
        }
        if (!error && done == 0) {
            error = ERROR_DISK_FULL;
        }
        if (error) {
            if (written != 0 && measured) {
                TakeBack(file, start.QuadPart, written);
            }
            return error;
        }
        written += done;
    }
    return ERROR_SUCCESS;
}

}  // namespace

Appender::Appender(LPCWSTR path) : m_path(path ? path : L"") {}

Error Appender::Append(const void* bytes, size_t count) {
    if (const Error error = AskHook(Call::Open, m_path.c_str())) {
        return Report(error);
    }
    OpenLog log(LongForm(m_path.c_str()).c_str());
    if (!log.IsOpen()) {
        return ::GetLastError();
    }
    log.Lock();
    const Error error = Write(m_path.c_str(), log.Handle(), static_cast<const char*>(bytes), count);
    const Error fault = AskHook(Call::Close, m_path.c_str());
    const Error closing = log.Close();
    return Report(error ? error : fault ? fault : closing);
}

}  // namespace kvtio
