#pragma once

/// @file
/// Records of files (`CFileInfo`) with a code and a checksum of their content, and arrays of records that fill
/// themselves from a folder tree in a chosen order (`CFileInfoArray`).

#include "kvtfile/export.h"
#include "kvtfile/types.h"

namespace kvtfile {

/// What is known of one file or folder, as a value that can be copied.
///
/// GetCRC and GetChecksum may run for long: another thread may set their cancel flag and watch their counter meanwhile.
/// Apart from that, one record is used by one thread at a time. Nothing is thrown but, when memory runs out,
/// `CMemoryException*` or `std::bad_alloc`.
class KVTFILE_API CFileInfo {
public:
    /// Empty path, attributes 0xFFFFFFFF, length 0, all three times the present local time.
    CFileInfo();
    /// As the default record with its times cleared (0.0), then Create(path, lParam).
    CFileInfo(CString path, LONGLONG lParam);

    /// Looks a path up and takes over what the folder says of it. The record's path is that of `path` up to its last
    /// separator, followed by the name as the folder spells it; of a pattern it is the first match.
    /// A path that is not found leaves the record unchanged.
    void Create(CString path, LONGLONG lParam);
    /// Takes over what a folder listing says. The position of GetCRC goes to 0; the CRC register, the checksum and its
    /// position stay. Nothing changes when `fd` is null.
    /// @param dir The folder, ended by a separator. @param lParam The caller's tag.
    void Create(const WIN32_FIND_DATAW* fd, CString dir, LONGLONG lParam);

    CString& GetFilePath() { return m_strFilePath; }
    const CString& GetFilePath() const { return m_strFilePath; }
    /// The lower 32 bits of the size in bytes.
    DWORD GetLength() const { return static_cast<DWORD>(m_nLength); }
    ULONGLONG GetLength64() const { return m_nLength; }

    /// Local times, whole seconds, each with the offset from UTC that was in force at the stamp (as file managers show
    /// them). Invalid for a stamp that has no date from 1601 to 9999.
    COleDateTime GetCreationTime() const { return m_timCreation; }
    COleDateTime GetLastAccessTime() const { return m_timLastAccess; }
    COleDateTime GetLastWriteTime() const { return m_timLastWrite; }

    /// Attributes: the bit, or 0. All are set in a record that describes no file.
    int IsReadOnly() const { return Has(FILE_ATTRIBUTE_READONLY); }
    int IsHidden() const { return Has(FILE_ATTRIBUTE_HIDDEN); }
    int IsSystem() const { return Has(FILE_ATTRIBUTE_SYSTEM); }
    int IsDirectory() const { return Has(FILE_ATTRIBUTE_DIRECTORY); }
    int IsArchived() const { return Has(FILE_ATTRIBUTE_ARCHIVE); }
    int IsTemporary() const { return Has(FILE_ATTRIBUTE_TEMPORARY); }
    int IsCompressed() const { return Has(FILE_ATTRIBUTE_COMPRESSED); }
    /// 1 when no attribute at all is set; FILE_ATTRIBUTE_NORMAL is an attribute too.
    int IsNormal() const { return m_dwAttributes == 0 ? 1 : 0; }

    /// Parts of the path, by its text alone: "C:", "\folder\", "name", ".ext". Both separators count; a part may be
    /// empty, and of any length.
    CString GetFileDrive() const;
    CString GetFileDir() const;
    CString GetFileTitle() const;
    CString GetFileExt() const;
    /// Title and extension.
    CString GetFileName() const;
    /// Drive and folder.
    CString GetFileRoot() const;

    /// A 32-bit code of the content: the table step of the reflected CRC-32 (polynomial 0xEDB88320) over the first byte
    /// of each group of four. It is not the CRC-32 of the file.
    ///
    /// The file is read in chunks of at most 16384 bytes, from the position that an earlier call reached, up to the
    /// limit; the last chunk may end beyond it. When the position reaches the length of the record the code is
    /// finalised (inverted); before that the result is the register as it stands, and a later call without reset goes
    /// on. (On a file that is finished, and whose length is no multiple of 4, such a call inverts the
    /// code again when its limit lies in the last, short group.) A file that cannot be opened, or is cut off
    /// meanwhile, gives the register as it stands. Positions have 32 bits: from 4 GiB on they wrap, so that a call
    /// reads to the end of the file and never finalises.
    /// @param maxLen   The limit in bytes, rounded up to a multiple of 4; 0 or more than the length: the length.
    /// @param bReset   Non-zero: start anew.
    /// @param pbAbort  May be null. Read after each chunk has been read; non-zero: the chunk is dropped and the call
    ///                 ends.
    /// @param pProgress May be null. Counts the bytes used, group by group; for one writer, any number of readers.
    ///                 Without it the work is many times as fast.
    DWORD GetCRC(ULONGLONG maxLen = 0, int bReset = 1, const volatile int* pbAbort = nullptr,
                 volatile DWORD* pProgress = nullptr);

    /// The sum of the content's little-endian 32-bit words modulo 2^32, the last 1 to 3 bytes of a chunk as a word with
    /// zeros. Arguments, limit, chunks and positions as in GetCRC; nothing is finalised.
    DWORD GetChecksum(ULONGLONG maxLen = 0, int bReset = 1, const volatile int* pbAbort = nullptr,
                      volatile DWORD* pProgress = nullptr);

    LONGLONG m_lParam = 0;  ///< The caller's tag.
    CString m_strFilePath;  ///< Folder and name.
    DWORD m_dwAttributes = 0xFFFFFFFF;
    ULONGLONG m_nLength = 0;
    COleDateTime m_timCreation;
    COleDateTime m_timLastAccess;
    COleDateTime m_timLastWrite;
    DWORD m_dwChecksum = 0;
    DWORD m_dwCRC = 0xFFFFFFFF;
    DWORD m_dwCRCPos = 0;       ///< Up to where the file has entered the code.
    DWORD m_dwChecksumPos = 0;  ///< Up to where the file has entered the checksum.

private:
    int Has(DWORD attribute) const { return static_cast<int>(m_dwAttributes & attribute); }
};

/// Stores or loads records field by field, in their order.
KVTFILE_API void SerializeElements(CArchive& ar, CFileInfo* records, INT_PTR count);

}  // namespace kvtfile

// MinGW exports no members that are defined in their class: there callers instantiate the array themselves.
#if !defined(KVTFILE_USE_MFC) && !defined(__MINGW32__)
namespace kvtmfc {
extern template class KVTFILE_API CArray<kvtfile::CFileInfo, kvtfile::CFileInfo&>;
}
#endif

namespace kvtfile {

/// Records in the order in which they were added, or sorted as they come in.
///
/// Orders (`sortMode`): 2 by size, 3 by size descending, 4 by path (code units, case counts), 5 by path descending; any
/// other appends. A record goes before the first one that is equal or follows in the order, whether or not the array is
/// sorted already; so equal records stand newest first.
class KVTFILE_API CFileInfoArray : public CArray<CFileInfo, CFileInfo&> {
public:
    /// Adds the record of a path. One that does not exist adds the default record. @return The new record's index.
    int AddFile(CString path, LONGLONG sortMode);

    /// Adds the records of a folder's entries.
    ///
    /// First come the sub-folders in the order of the folder listing, each followed by its own content, then the files.
    /// "." and ".." are never added. What vanishes meanwhile and folders that cannot be read are passed over. Links to
    /// folders are followed, as Windows follows them; one that leads to a folder that it stands in, or to one that
    /// another link has led to already, is listed and not entered, so that folders linked with each other come to an
    /// end. Any depth of folders needs no more stack than one.
    /// @param dir      The folder, ended by a separator.
    /// @param ext      Of the files wanted, without its dot ("*": all); matched as the folder listing matches "*.ext".
    ///                 It does not choose among folders.
    /// @param bRecurse Non-zero: sub-folders too.
    /// @param bIncludeDirs Non-zero: records of the sub-folders too.
    /// @param pbAbort  May be null. Looked at after every entry; non-zero ends the call.
    /// @param pFound   May be null. Incremented atomically for every record.
    /// @return Records added. When memory runs out the call ends early with what was added before.
    /// Complexity: n records into an array of m cost O(n log n + m) in any order; in a derived class, whose AddFileInfo
    /// is called for each record as it is found, what AddFileInfo costs.
    int AddDir(CString dir, CString ext, int bRecurse, LONGLONG sortMode, int bIncludeDirs,
               const volatile int* pbAbort = nullptr, volatile DWORD* pFound = nullptr);

protected:
    /// Inserts a copy of a record. @return Its index. O(m) in an array of m.
    virtual int AddFileInfo(CFileInfo& fi, LONGLONG sortMode);
};

}  // namespace kvtfile
