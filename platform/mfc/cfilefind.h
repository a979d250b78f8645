// CFileFind: walks the entries of a folder that match a pattern.
#pragma once

#include "cfile.h"

namespace kvtmfc {

/// `BOOL more = find.FindFile(path); while (more) { more = find.FindNextFile(); use(find.GetFilePath()); }`
/// The members that tell about an entry hold after FindNextFile was called; before, they throw `CInvalidArgException*`.
class KVTFILE_API CFileFind : public CObject {
    DECLARE_DYNAMIC(CFileFind)

public:
    CFileFind() = default;
    ~CFileFind() override;

    /// Looks for the first entry; null means "*.*". FALSE: there is none, GetLastError tells why.
    virtual BOOL FindFile(LPCWSTR name = nullptr, DWORD unused = 0);
    /// Moves to the next entry. 0: this entry is the last one (it is valid all the same).
    virtual BOOL FindNextFile();
    void Close();

    CString GetFileName() const;
    /// The folder as it stood in the pattern, and the name.
    CString GetFilePath() const;
    /// The name without its extension.
    CString GetFileTitle() const;
    /// The folder of the pattern without a separator at the end.
    CString GetRoot() const;
    ULONGLONG GetLength() const;
    BOOL GetLastWriteTime(FILETIME* time) const;
    BOOL MatchesMask(DWORD mask) const;
    BOOL IsDots() const;
    BOOL IsDirectory() const { return MatchesMask(FILE_ATTRIBUTE_DIRECTORY); }
    BOOL IsReadOnly() const { return MatchesMask(FILE_ATTRIBUTE_READONLY); }
    BOOL IsHidden() const { return MatchesMask(FILE_ATTRIBUTE_HIDDEN); }

private:
    const WIN32_FIND_DATAW& Entry() const;

    HANDLE m_handle = INVALID_HANDLE_VALUE;
    bool m_hasEntry = false;
    CString m_root;
    WIN32_FIND_DATAW m_entry = {};
    WIN32_FIND_DATAW m_next = {};
};

}  // namespace kvtmfc
