#pragma once

/// @file
/// Binary data files with a sign and a version (`CFFileBase`), the archive plumbing under them (`DataIO`), and the text
/// file class of the library (`CFStdioFile`).

#include "kvtfile/export.h"
#include "kvtfile/types.h"

namespace kvtfile {

/// Base of an application's data files. A derived class stores its data in `Serialize` behind the header of the base,
/// and loads it only when the header fits:
///
///     void CMyFile::Serialize(CArchive& ar) {
///         CFFileBase::Serialize(ar);
///         if (ar.IsStoring()) ar << m_data;
///         else if (IsCanRead()) ar >> m_data;
///     }
///
/// Nothing is thrown by the members that load and store: what an archive, a file, the memory or the derived `Serialize`
/// throws ends in false. Not copyable; one object is used by one thread at a time.
class KVTFILE_API CFFileBase : public CObject {
    DECLARE_DYNCREATE(CFFileBase)

public:
    /// @param strSign Text that tells this kind of file from others. @param nVersion Version of the derived data.
    CFFileBase(CString strSign = CString(), DWORD nVersion = 0);
    /// Frees the memory block.
    ~CFFileBase() override;

    /// Storing: writes the sign (archive text) and the version (32 bits).
    /// Loading: clears can-read, reads the sign, and when it is this object's, the version; can-read is set when that
    /// is this object's too. Behind another sign nothing is read. Throws what the archive throws.
    void Serialize(CArchive& ar) override;

    /// Called by ReadFile before it loads: a derived class clears its data here. The base does nothing.
    virtual void Reset();

    void SetFileSign(CString strSign, DWORD nVersion);
    /// Set by the caller; cleared by every load and store that succeeds, and by ReadFile in any case.
    void SetModifyFlag(int nModified);
    int GetModifyFlag() const { return m_nModified; }
    /// 1 when the last header that was loaded had this object's sign and version.
    int IsCanRead() const { return m_nCanRead; }

    /// Remembers the path, calls Reset and loads the file.
    /// @return False: the file could not be opened, or ends too early, or is damaged. A file with another sign or
    ///     version is no failure: it leaves IsCanRead 0.
    bool ReadFile(CString strFile);
    /// Stores into a file; an empty argument means the path remembered from the last ReadFile or WriteFile. The file is
    /// written beside and put in place in one step: when anything fails, an existing file is what it was.
    /// @return False: there is no path, or storing failed.
    bool WriteFile(CString strFile);

    /// Load from the memory file's position, or store at it.
    bool ReadFromMemFile(CMemFile& file);
    bool WriteToMemFile(CMemFile& file);

    /// Loads from a global memory block, which stays the caller's. What lies in it behind the data is not looked at.
    /// @return False: the handle is null (nothing changes) or the data is damaged.
    bool ReadFromMemory(void* hBlock);
    /// Stores into a new movable global memory block, which stays this object's: the next call frees it, and so does
    /// the destructor.
    /// @return Null on failure.
    HGLOBAL WriteToMemory();

private:
    bool Finished(bool succeeded);

    int m_nModified = 0;
    HGLOBAL m_hBlock = nullptr;
    int m_nCanRead = 0;
    CString m_strSign;
    DWORD m_nVersion;
    CString m_strPath;
};

/// Loads an object from a file through an archive (4096-byte buffer), or stores it.
///
/// Storing builds the data in memory and then puts it in place in one step: when the object's `Serialize` throws, or
/// the disk fails, an existing file is what it was (only when the very last step fails, making the folder's entry safe
/// on the disk, is the result false although the whole new file is in place). Loading leaves in the object what was
/// loaded before a failure.
/// @return False on every failure: no path or object, a file that cannot be opened, read or written, data that ends too
///     early or is damaged. Nothing is thrown.
KVTFILE_API bool DataIO(CString strFile, bool bRead, CObject* pObj);
KVTFILE_API bool DataIO(CString strFile, bool bRead, CWnd* pWnd);
KVTFILE_API bool DataIO(LPWSTR pszFile, bool bRead, CWnd* pWnd);
/// The same with a file in memory, from its position on. A failed store leaves what was written before.
KVTFILE_API bool DataIO(CMemFile& file, bool bRead, CObject* pObj);
/// Copies a whole file into a memory file, in place of its content and with its position at the start (on failure it is
/// unchanged), or a whole memory file into a file, in one step as above.
KVTFILE_API bool DataIO(CString& strFile, bool bRead, CMemFile& file);

/// The text file of the library: code page 936, CR LF line ends, both line ends read. Lines come and go as described
/// for `CStdioFile`.
///
/// The stream converts by itself: the character locale of the runtime library, which belongs to the whole process, is
/// left as it is found. (Built on the compiler's MFC the locale is "chs" while an object lives, and restored by its
/// destructor.)
class KVTFILE_API CFStdioFile : public CStdioFile {
public:
    /// Not open.
    CFStdioFile();
    /// @param pszFile Path. @param nOpenFlags CFile::OpenFlags. Throws `CFileException*` when the file cannot be
    /// opened.
    CFStdioFile(LPCWSTR pszFile, UINT nOpenFlags);
    ~CFStdioFile() override;

private:
    CString m_strLocale;
};

}  // namespace kvtfile
