// CFileInfo: the record of one file, and the codes of its content.

#include "kvtfile/FileInfo.h"

#include <algorithm>
#include <atomic>

#include "files/content_code.h"
#include "files/file_info_fill.h"
#include "files/file_times.h"
#include "kvtfile/FileUtil.h"
#include "platform/io/folders.h"
#include "platform/io/io.h"

namespace kvtfile {

namespace {

constexpr size_t CHUNK = 16384;
constexpr size_t GROUP = 4;

using AddChunk = DWORD (*)(DWORD, const BYTE*, size_t);

// A code of a file's content, how far it has come, and how it goes on.
struct Running {
    DWORD& value;
    DWORD& position;
    AddChunk add;
};

ULONGLONG LimitOf(ULONGLONG wanted, ULONGLONG length) {
    return wanted == 0 || wanted > length ? length : (wanted + GROUP - 1) / GROUP * GROUP;
}

// Group by group, so that the counter shows each. It has one writer: what is exchanged needs no common step with what
// was read.
void AddWatched(Running& code, const BYTE* chunk, size_t size, volatile DWORD& progress) {
    std::atomic_ref<DWORD> counter(const_cast<DWORD&>(progress));
    for (size_t at = 0; at < size; at += GROUP) {
        const size_t group = std::min(GROUP, size - at);
        code.value = code.add(code.value, chunk + at, group);
        counter.exchange(progress + static_cast<DWORD>(group));
    }
}

// Reads on from the code's position until it reaches the limit, the file ends, or the flag is raised.
void ReadOn(const CString& path, ULONGLONG limit, const volatile int* abort, volatile DWORD* progress, Running code) {
    kvtio::File file;
    uint64_t position = 0;
    if (file.OpenForScan(path) != ERROR_SUCCESS || file.Seek(code.position, FILE_BEGIN, position) != ERROR_SUCCESS) {
        return;
    }
    BYTE chunk[CHUNK];
    const size_t wanted = static_cast<size_t>(std::min<ULONGLONG>(limit, CHUNK));
    while (code.position < limit) {
        size_t got = 0;
        if (file.Read(chunk, wanted, got) != ERROR_SUCCESS || got == 0 || (abort && *abort != 0)) {
            return;
        }
        if (progress) {
            AddWatched(code, chunk, got, *progress);
        } else {
            code.value = code.add(code.value, chunk, got);
        }
        code.position += static_cast<DWORD>(got);
    }
}

}  // namespace

CFileInfo::CFileInfo() {
    m_timCreation = m_timLastAccess = m_timLastWrite = COleDateTime::GetCurrentTime();
}

CFileInfo::CFileInfo(CString path, LONGLONG lParam) {
    Create(path, lParam);
}

void CFileInfo::Create(CString path, LONGLONG lParam) {
    WIN32_FIND_DATAW found;
    const HANDLE find = ::FindFirstFileW(kvtio::LongForm(path).c_str(), &found);
    if (find == INVALID_HANDLE_VALUE) {
        return;
    }
    ::FindClose(find);
    const int folder = std::max(path.ReverseFind(_T('\\')), path.ReverseFind(_T('/'))) + 1;
    Create(&found, path.Left(folder), lParam);
}

void CFileInfo::Create(const WIN32_FIND_DATAW* fd, CString dir, LONGLONG lParam) {
    if (fd) {
        detail::LocalTimes times;
        detail::Fill(*this, *fd, dir, times);
        m_lParam = lParam;
    }
}

CString CFileInfo::GetFileDrive() const {
    return m_strFilePath.Left(GetFileRoot().GetLength() - GetFileDir().GetLength());
}

CString CFileInfo::GetFileDir() const {
    const CString root = GetFileRoot();
    return root.GetLength() >= 2 && root[1] == _T(':') ? root.Mid(2) : root;
}

CString CFileInfo::GetFileTitle() const {
    const CString name = GetFileName();
    return name.Left(name.GetLength() - GetFileExt().GetLength());
}

CString CFileInfo::GetFileExt() const {
    return kvtfile::GetFileExt(m_strFilePath);
}

CString CFileInfo::GetFileName() const {
    return kvtfile::GetFileName(m_strFilePath);
}

CString CFileInfo::GetFileRoot() const {
    return kvtfile::GetFilePath(m_strFilePath);
}

DWORD CFileInfo::GetCRC(ULONGLONG maxLen, int bReset, const volatile int* pbAbort, volatile DWORD* pProgress) {
    const ULONGLONG limit = LimitOf(maxLen, m_nLength);
    if (bReset) {
        m_dwCRC = 0xFFFFFFFF;
        m_dwCRCPos = 0;
    }
    if (m_dwCRCPos >= limit) {
        return m_dwCRC;
    }
    ReadOn(m_strFilePath, limit, pbAbort, pProgress, {m_dwCRC, m_dwCRCPos, detail::AddToCrc});
    if (m_dwCRCPos >= m_nLength) {
        m_dwCRC = ~m_dwCRC;
    }
    return m_dwCRC;
}

DWORD CFileInfo::GetChecksum(ULONGLONG maxLen, int bReset, const volatile int* pbAbort, volatile DWORD* pProgress) {
    const ULONGLONG limit = LimitOf(maxLen, m_nLength);
    if (bReset) {
        m_dwChecksum = 0;
        m_dwChecksumPos = 0;
    }
    if (m_dwChecksumPos < limit) {
        ReadOn(m_strFilePath, limit, pbAbort, pProgress, {m_dwChecksum, m_dwChecksumPos, detail::AddToChecksum});
    }
    return m_dwChecksum;
}

namespace detail {

void Fill(CFileInfo& record, const WIN32_FIND_DATAW& found, const CString& folder, LocalTimes& times) {
    record.m_strFilePath = folder + found.cFileName;
    record.m_dwAttributes = found.dwFileAttributes;
    record.m_nLength = ULONGLONG{found.nFileSizeHigh} << 32 | found.nFileSizeLow;
    record.m_timCreation = times.Of(found.ftCreationTime);
    record.m_timLastAccess = times.Of(found.ftLastAccessTime);
    record.m_timLastWrite = times.Of(found.ftLastWriteTime);
    record.m_dwCRCPos = 0;
}

}  // namespace detail

}  // namespace kvtfile
