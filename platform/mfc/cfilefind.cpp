// CFileFind: one entry is read ahead, so that FindNextFile can tell whether another follows.
#include "platform/mfc/cfilefind.h"

#include <algorithm>

#include "kvtfile/types.h"

namespace kvtmfc {

IMPLEMENT_DYNAMIC(CFileFind, CObject)

CFileFind::~CFileFind() {
    Close();
}

BOOL CFileFind::FindFile(LPCWSTR name, DWORD) {
    Close();
    const CString pattern = name ? name : _T("*.*");
    m_handle = ::FindFirstFileW(pattern, &m_next);
    if (m_handle == INVALID_HANDLE_VALUE) {
        return FALSE;
    }
    const int separator = std::max({pattern.ReverseFind('\\'), pattern.ReverseFind('/'), pattern.ReverseFind(':')});
    m_root = pattern.Left(separator + 1);
    return TRUE;
}

BOOL CFileFind::FindNextFile() {
    if (m_handle == INVALID_HANDLE_VALUE) {
        return FALSE;
    }
    m_entry = m_next;
    m_hasEntry = true;
    if (::FindNextFileW(m_handle, &m_next)) {
        return TRUE;
    }
    ::FindClose(m_handle);
    m_handle = INVALID_HANDLE_VALUE;
    return FALSE;
}

void CFileFind::Close() {
    if (m_handle != INVALID_HANDLE_VALUE) {
        ::FindClose(m_handle);
        m_handle = INVALID_HANDLE_VALUE;
    }
    m_hasEntry = false;
    m_root.Empty();
}

const WIN32_FIND_DATAW& CFileFind::Entry() const {
    if (!m_hasEntry) {
        AfxThrowInvalidArgException();
    }
    return m_entry;
}

CString CFileFind::GetFileName() const {
    return Entry().cFileName;
}

CString CFileFind::GetFilePath() const {
    return m_root + Entry().cFileName;
}

CString CFileFind::GetFileTitle() const {
    const CString name = GetFileName();
    const int dot = name.ReverseFind('.');
    return dot <= 0 ? name : name.Left(dot);
}

CString CFileFind::GetRoot() const {
    CString root = m_root;
    if (root.GetLength() > 1 && root.Right(2) != _T(":\\")) {
        root.TrimRight(_T("\\/"));
    }
    return root;
}

ULONGLONG CFileFind::GetLength() const {
    return (ULONGLONG{Entry().nFileSizeHigh} << 32) | Entry().nFileSizeLow;
}

BOOL CFileFind::GetLastWriteTime(FILETIME* time) const {
    if (!time) {
        return FALSE;
    }
    *time = Entry().ftLastWriteTime;
    return TRUE;
}

BOOL CFileFind::MatchesMask(DWORD mask) const {
    return (Entry().dwFileAttributes & mask) != 0 ? TRUE : FALSE;
}

BOOL CFileFind::IsDots() const {
    const CString name = GetFileName();
    return IsDirectory() && (name == _T(".") || name == _T("..")) ? TRUE : FALSE;
}

}  // namespace kvtmfc
