// The file calls of the library, over the Win32 calls of either target.
//
// Each function asks the fault hook, makes one system call (a loop of them for reading and writing) and turns the
// outcome into an error number that is also the last error.

#include "platform/io/io.h"

#include <algorithm>
#include <utility>

#include "platform/io/faults.h"
#include "platform/io/folders.h"
#include "platform/io/raw.h"

namespace kvtio {

namespace {

// The most that one system call is asked to transfer.
constexpr size_t kLargestTransfer = size_t{1} << 30;

DWORD AccessOf(Access access) {
    switch (access) {
        case Access::Read:
            return GENERIC_READ;
        case Access::Write:
            return GENERIC_WRITE;
        default:
            return GENERIC_READ | GENERIC_WRITE;
    }
}

DWORD DispositionOf(Disposition disposition) {
    switch (disposition) {
        case Disposition::OpenExisting:
            return OPEN_EXISTING;
        case Disposition::CreateNew:
            return CREATE_NEW;
        case Disposition::CreateAlways:
            return CREATE_ALWAYS;
        default:
            return OPEN_ALWAYS;
    }
}

}  // namespace

File::File(File&& other) noexcept : m_handle(std::exchange(other.m_handle, INVALID_HANDLE_VALUE)) {}

File& File::operator=(File&& other) noexcept {
    if (this != &other) {
        Close();
        m_handle = std::exchange(other.m_handle, INVALID_HANDLE_VALUE);
    }
    return *this;
}

File::~File() {
    if (IsOpen()) {
        // What was going on outside keeps its last error.
        const DWORD last = ::GetLastError();
        Close();
        ::SetLastError(last);
    }
}

Error File::Open(LPCWSTR path, Access access, Disposition disposition, DWORD share) {
    return Open(path, access, disposition, share, FILE_ATTRIBUTE_NORMAL);
}

Error File::OpenPrivate(LPCWSTR path) {
    return Open(path, Access::ReadWrite, Disposition::CreateNew, 0, raw::kPrivateFile);
}

Error File::OpenForScan(LPCWSTR path) {
    return Open(LongForm(path).c_str(), Access::Read, Disposition::OpenExisting, FILE_SHARE_READ,
                FILE_FLAG_SEQUENTIAL_SCAN);
}

Error File::Open(LPCWSTR path, Access access, Disposition disposition, DWORD share, DWORD attributes) {
    if (IsOpen()) {
        Close();
    }
    if (const Error error = AskHook(Call::Open, path)) {
        return Report(error);
    }
    m_handle = ::CreateFileW(path, AccessOf(access), share, nullptr, DispositionOf(disposition), attributes, nullptr);
    if (!IsOpen()) {
        return ::GetLastError();
    }
    RememberPath(m_handle, path);
    return ERROR_SUCCESS;
}

Error File::Read(void* buffer, size_t wanted, size_t& got) {
    got = 0;
    while (got < wanted) {
        size_t part = std::min(wanted - got, kLargestTransfer);
        if (const Error error = AskHook(Call::Read, RememberedPath(m_handle), part)) {
            return Report(error);
        }
        DWORD done = 0;
        if (!::ReadFile(m_handle, static_cast<char*>(buffer) + got, static_cast<DWORD>(part), &done, nullptr)) {
            return ::GetLastError();
        }
        if (done == 0) {
            break;
        }
        got += done;
    }
    return IsOpen() ? ERROR_SUCCESS : Report(ERROR_INVALID_HANDLE);
}

Error File::Write(const void* bytes, size_t count) {
    size_t written = 0;
    while (written < count) {
        size_t part = std::min(count - written, kLargestTransfer);
        if (const Error error = AskHook(Call::Write, RememberedPath(m_handle), part)) {
            return Report(error);
        }
        DWORD done = 0;
        const char* const source = static_cast<const char*>(bytes) + written;
        if (!::WriteFile(m_handle, source, static_cast<DWORD>(part), &done, nullptr)) {
            return ::GetLastError();
        }
        if (done == 0 && part != 0) {
            return Report(ERROR_DISK_FULL);
        }
        written += done;
    }
    return IsOpen() ? ERROR_SUCCESS : Report(ERROR_INVALID_HANDLE);
}

Error File::Seek(int64_t offset, DWORD origin, uint64_t& position) {
    if (const Error error = AskHook(Call::Seek, RememberedPath(m_handle))) {
        return Report(error);
    }
    LARGE_INTEGER distance;
    LARGE_INTEGER result;
    distance.QuadPart = offset;
    if (!::SetFilePointerEx(m_handle, distance, &result, origin)) {
        return ::GetLastError();
    }
    position = static_cast<uint64_t>(result.QuadPart);
    return ERROR_SUCCESS;
}

Error File::Size(uint64_t& size) const {
    if (const Error error = AskHook(Call::Size, RememberedPath(m_handle))) {
        return Report(error);
    }
    LARGE_INTEGER result;
    if (!::GetFileSizeEx(m_handle, &result)) {
        return ::GetLastError();
    }
    size = static_cast<uint64_t>(result.QuadPart);
    return ERROR_SUCCESS;
}

Error File::SetSize(uint64_t size) {
    if (const Error error = AskHook(Call::SetSize, RememberedPath(m_handle))) {
        return Report(error);
    }
    LARGE_INTEGER none;
    LARGE_INTEGER before;
    LARGE_INTEGER end;
    none.QuadPart = 0;
    end.QuadPart = static_cast<LONGLONG>(size);
    if (!::SetFilePointerEx(m_handle, none, &before, FILE_CURRENT) ||
        !::SetFilePointerEx(m_handle, end, nullptr, FILE_BEGIN)) {
        return ::GetLastError();
    }
    const Error error = ErrorUnless(::SetEndOfFile(m_handle));
    const Error back = ErrorUnless(::SetFilePointerEx(m_handle, before, nullptr, FILE_BEGIN));
    return Report(error ? error : back);
}

Error File::Sync() {
    if (const Error error = AskHook(Call::Sync, RememberedPath(m_handle))) {
        return Report(error);
    }
    return ErrorUnless(::FlushFileBuffers(m_handle));
}

Error File::Close() {
    if (!IsOpen()) {
        return Report(ERROR_INVALID_HANDLE);
    }
    const Error fault = AskHook(Call::Close, RememberedPath(m_handle));
    ForgetPath(m_handle);
    const Error error = ErrorUnless(::CloseHandle(std::exchange(m_handle, INVALID_HANDLE_VALUE)));
    return Report(fault ? fault : error);
}

Error Rename(LPCWSTR from, LPCWSTR to, bool replace) {
    if (const Error error = AskHook(Call::Rename, from)) {
        return Report(error);
    }
    return ErrorUnless(::MoveFileExW(from, to, raw::kRenameFlags | (replace ? MOVEFILE_REPLACE_EXISTING : 0u)));
}

Error Remove(LPCWSTR path) {
    if (const Error error = AskHook(Call::Remove, path)) {
        return Report(error);
    }
    return ErrorUnless(::DeleteFileW(path));
}

Error SyncFolderOf(LPCWSTR path) {
    if (const Error error = AskHook(Call::SyncFolder, path)) {
        return Report(error);
    }
    return Report(raw::SyncFolderOf(path));
}

}  // namespace kvtio
