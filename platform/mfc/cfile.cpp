// CFile over the file calls of platform/io, and CMemFile.
#include "platform/mfc/cfile.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>

#include "kvtfile/types.h"
#include "platform/io/io.h"

namespace kvtmfc {

IMPLEMENT_DYNAMIC(CFile, CObject)
IMPLEMENT_DYNAMIC(CMemFile, CFile)

namespace {

constexpr UINT accessMask = 0x0003;
constexpr UINT shareMask = 0x0070;

kvtio::Access AccessOf(UINT openFlags) {
    switch (openFlags & accessMask) {
        case CFile::modeRead:
            return kvtio::Access::Read;
        case CFile::modeWrite:
            return kvtio::Access::Write;
        case CFile::modeReadWrite:
            return kvtio::Access::ReadWrite;
        default:
            AfxThrowInvalidArgException();
    }
}

DWORD ShareOf(UINT openFlags) {
    switch (openFlags & shareMask) {
        case CFile::shareDenyWrite:
            return FILE_SHARE_READ;
        case CFile::shareDenyRead:
            return FILE_SHARE_WRITE;
        case CFile::shareDenyNone:
            return FILE_SHARE_READ | FILE_SHARE_WRITE;
        default:
            return 0;
    }
}

// The absolute form of a path; the path as it stands where the system gives none.
CString FullPathOf(LPCWSTR path) {
    CString full;
    for (DWORD room = MAX_PATH;;) {
        const DWORD length = ::GetFullPathNameW(path, room, full.GetBuffer(static_cast<int>(room)), nullptr);
        if (length == 0) {
            return path;
        }
        if (length < room) {
            full.ReleaseBufferSetLength(static_cast<int>(length));
            return full;
        }
        room = length + 1;
    }
}

kvtio::Disposition DispositionOf(UINT openFlags) {
    if (!(openFlags & CFile::modeCreate)) {
        return kvtio::Disposition::OpenExisting;
    }
    return openFlags & CFile::modeNoTruncate ? kvtio::Disposition::OpenAlways : kvtio::Disposition::CreateAlways;
}

}  // namespace

CFile::CFile() : m_file(std::make_unique<kvtio::File>()) {}

CFile::CFile(LPCWSTR fileName, UINT openFlags) : CFile() {
    CFileException error;
    if (!CFile::Open(fileName, openFlags, &error)) {
        AfxThrowFileException(error.m_cause, error.m_lOsError, error.m_strFileName);
    }
}

CFile::~CFile() = default;

void CFile::Throw(DWORD error) const {
    CFileException::ThrowOsError(static_cast<LONG>(error), m_strFileName);
}

BOOL CFile::Open(LPCWSTR fileName, UINT openFlags, CFileException* error) {
    if (!fileName) {
        AfxThrowInvalidArgException();
    }
    const CString fullPath = FullPathOf(fileName);
    const DWORD result = m_file->Open(fileName, AccessOf(openFlags), DispositionOf(openFlags), ShareOf(openFlags));
    if (result == ERROR_SUCCESS) {
        m_strFileName = fullPath;
        return TRUE;
    }
    if (error) {
        error->m_lOsError = static_cast<LONG>(result);
        error->m_cause = CFileException::OsErrorToException(error->m_lOsError);
        error->m_strFileName = fileName;
    }
    m_strFileName.Empty();
    return FALSE;
}

void CFile::Close() {
    if (m_file->IsOpen()) {
        Check(m_file->Close());
    }
    m_strFileName.Empty();
}

void CFile::Abort() {
    if (m_file->IsOpen()) {
        m_file->Close();
    }
    m_strFileName.Empty();
}

ULONGLONG CFile::GetPosition() const {
    uint64_t position = 0;
    Check(m_file->Seek(0, FILE_CURRENT, position));
    return position;
}

ULONGLONG CFile::Seek(LONGLONG offset, UINT from) {
    uint64_t position = 0;
    Check(m_file->Seek(offset, from, position));
    return position;
}

ULONGLONG CFile::GetLength() const {
    uint64_t size = 0;
    Check(m_file->Size(size));
    return size;
}

void CFile::SetLength(ULONGLONG length) {
    uint64_t position = 0;
    Check(m_file->SetSize(length));
    Check(m_file->Seek(static_cast<int64_t>(length), FILE_BEGIN, position));
}

UINT CFile::Read(void* buffer, UINT count) {
    size_t got = 0;
    if (count != 0) {
        Check(m_file->Read(buffer, count, got));
    }
    return static_cast<UINT>(got);
}

void CFile::Write(const void* buffer, UINT count) {
    if (count != 0) {
        Check(m_file->Write(buffer, count));
    }
}

void CFile::Flush() {
    if (m_file->IsOpen()) {
        Check(m_file->Sync());
    }
}

CString CFile::GetFileName() const {
    const CString path = GetFilePath();
    const int separator = std::max(path.ReverseFind('\\'), path.ReverseFind('/'));
    return path.Mid(separator + 1);
}

BOOL CFile::GetStatus(CFileStatus& status) const {
    return GetStatus(GetFilePath(), status);
}

BOOL CFile::GetStatus(LPCWSTR fileName, CFileStatus& status) {
    WIN32_FILE_ATTRIBUTE_DATA data;
    if (!fileName || !::GetFileAttributesExW(fileName, GetFileExInfoStandard, &data)) {
        return FALSE;
    }
    status.m_ctime = CTime(data.ftCreationTime);
    status.m_mtime = CTime(data.ftLastWriteTime);
    status.m_atime = CTime(data.ftLastAccessTime);
    status.m_size = (ULONGLONG{data.nFileSizeHigh} << 32) | data.nFileSizeLow;
    status.m_attribute = data.dwFileAttributes & ~static_cast<DWORD>(FILE_ATTRIBUTE_NORMAL);
    const CString fullPath = FullPathOf(fileName);
    const int length = std::min(fullPath.GetLength(), MAX_PATH - 1);
    std::copy_n(fullPath.GetString(), length, status.m_szFullName);
    status.m_szFullName[length] = 0;
    return TRUE;
}

void CFile::Rename(LPCWSTR oldName, LPCWSTR newName) {
    if (!oldName || !newName) {
        AfxThrowInvalidArgException();
    }
    const DWORD error = kvtio::Rename(oldName, newName, false);
    if (error != ERROR_SUCCESS) {
        CFileException::ThrowOsError(static_cast<LONG>(error), oldName);
    }
}

void CFile::Remove(LPCWSTR fileName) {
    if (!fileName) {
        AfxThrowInvalidArgException();
    }
    const DWORD error = kvtio::Remove(fileName);
    if (error != ERROR_SUCCESS) {
        CFileException::ThrowOsError(static_cast<LONG>(error), fileName);
    }
}

// --- CMemFile ---

CMemFile::CMemFile(UINT growBytes) : m_nGrowBytes(growBytes) {}

CMemFile::CMemFile(BYTE* buffer, UINT bufferSize, UINT growBytes) : m_nGrowBytes(growBytes) {
    Attach(buffer, bufferSize, growBytes);
}

CMemFile::~CMemFile() {
    Release();
}

void CMemFile::Release() {
    if (m_bOwned) {
        std::free(m_lpBuffer);
    }
    m_lpBuffer = nullptr;
    m_nBufferSize = m_nFileSize = m_nPosition = 0;
    m_bOwned = true;
}

void CMemFile::Attach(BYTE* buffer, UINT bufferSize, UINT growBytes) {
    Release();
    m_bOwned = false;
    m_nGrowBytes = growBytes;
    m_lpBuffer = buffer;
    m_nBufferSize = bufferSize;
    m_nFileSize = growBytes == 0 ? bufferSize : 0;
}

BYTE* CMemFile::Detach() {
    BYTE* const buffer = m_lpBuffer;
    m_lpBuffer = nullptr;
    Release();
    return buffer;
}

BOOL CMemFile::Open(LPCWSTR, UINT, CFileException*) {
    AfxThrowNotSupportedException();
}

void CMemFile::Close() {
    m_nGrowBytes = 0;
    Release();
}

void CMemFile::Abort() {
    Close();
}

ULONGLONG CMemFile::Seek(LONGLONG offset, UINT from) {
    const LONGLONG base =
        from == current ? static_cast<LONGLONG>(m_nPosition) : (from == end ? static_cast<LONGLONG>(m_nFileSize) : 0);
    if (from > end) {
        AfxThrowInvalidArgException();
    }
    if (offset < -base || offset > LLONG_MAX - base) {
        AfxThrowFileException(CFileException::badSeek);
    }
    m_nPosition = static_cast<size_t>(base + offset);
    return m_nPosition;
}

// Room for `length` bytes: whole steps, and half as much again at least, so that many small writes cost O(n).
void CMemFile::Grow(ULONGLONG length) {
    if (length <= m_nBufferSize) {
        return;
    }
    if (m_nGrowBytes == 0 || length > PTRDIFF_MAX / 2) {
        AfxThrowMemoryException();
    }
    const ULONGLONG wanted = std::max<ULONGLONG>(length, m_nBufferSize + m_nBufferSize / 2);
    const size_t size = static_cast<size_t>((wanted + m_nGrowBytes - 1) / m_nGrowBytes * m_nGrowBytes);
    void* const buffer = std::realloc(m_lpBuffer, size);
    if (!buffer) {
        AfxThrowMemoryException();
    }
    m_lpBuffer = static_cast<BYTE*>(buffer);
    m_nBufferSize = size;
}

void CMemFile::SetLength(ULONGLONG length) {
    Grow(length);
    if (length > m_nFileSize) {
        std::memset(m_lpBuffer + m_nFileSize, 0, static_cast<size_t>(length) - m_nFileSize);
    }
    m_nFileSize = static_cast<size_t>(length);
    m_nPosition = std::min(m_nPosition, m_nFileSize);
}

UINT CMemFile::Read(void* buffer, UINT count) {
    const size_t left = m_nPosition < m_nFileSize ? m_nFileSize - m_nPosition : 0;
    const size_t got = std::min<size_t>(count, left);
    if (got != 0) {
        std::memcpy(buffer, m_lpBuffer + m_nPosition, got);
        m_nPosition += got;
    }
    return static_cast<UINT>(got);
}

void CMemFile::Write(const void* buffer, UINT count) {
    if (count == 0) {
        return;
    }
    Grow(ULONGLONG{m_nPosition} + count);
    if (m_nPosition > m_nFileSize) {
        std::memset(m_lpBuffer + m_nFileSize, 0, m_nPosition - m_nFileSize);
    }
    std::memcpy(m_lpBuffer + m_nPosition, buffer, count);
    m_nPosition += count;
    m_nFileSize = std::max(m_nFileSize, m_nPosition);
}

}  // namespace kvtmfc
