// CFile and CMemFile: binary files on disk and in memory.
#pragma once

#include "ctime.h"
#include "exceptions.h"

#include <memory>

namespace kvtio {
class File;
}

namespace kvtmfc {

/// What CFile::GetStatus tells about a file. Times are whole seconds.
struct CFileStatus {
    CTime m_ctime;                      ///< Creation.
    CTime m_mtime;                      ///< Last write.
    CTime m_atime;                      ///< Last access.
    ULONGLONG m_size = 0;               ///< Bytes.
    DWORD m_attribute = 0;              ///< CFile::Attribute values.
    WCHAR m_szFullName[MAX_PATH] = {};  ///< The absolute path, cut to fit.
};

/// An unbuffered binary file. Failures throw `CFileException*` (m_lOsError is the system's error number) unless said
/// otherwise; a file that is not open gives the cause invalidFile. Not copyable; used by one thread at a time.
class KVTFILE_API CFile : public CObject {
    DECLARE_DYNAMIC(CFile)

public:
    enum OpenFlags : UINT {
        modeRead = 0x0000,
        modeWrite = 0x0001,
        modeReadWrite = 0x0002,
        shareCompat = 0x0000,  ///< No share flag: nobody else can open the file.
        shareExclusive = 0x0010,
        shareDenyWrite = 0x0020,
        shareDenyRead = 0x0030,
        shareDenyNone = 0x0040,
        modeNoInherit = 0x0080,
        modeCreate = 0x1000,      ///< Creates the file; an existing one is emptied unless modeNoTruncate is given.
        modeNoTruncate = 0x2000,  ///< With modeCreate: an existing file is kept, the file pointer stands at its start.
        typeText = 0x4000,        ///< For CStdioFile.
        typeBinary = 0x8000       ///< For CStdioFile.
    };
    enum Attribute {
        normal = 0x00,
        readOnly = 0x01,
        hidden = 0x02,
        system = 0x04,
        volume = 0x08,
        directory = 0x10,
        archive = 0x20
    };
    enum SeekPosition { begin = 0, current = 1, end = 2 };

    CFile();
    /// Opens the file, or throws.
    CFile(LPCWSTR fileName, UINT openFlags);
    /// Closes the file; a failure of that is not reported.
    ~CFile() override;

    /// Opens a file. FALSE: it could not be opened, `error` (when given) tells why, nothing is thrown.
    virtual BOOL Open(LPCWSTR fileName, UINT openFlags, CFileException* error = nullptr);
    /// Closes the file; a file that is not open is left alone.
    virtual void Close();
    /// Closes without reporting failures.
    virtual void Abort();

    virtual ULONGLONG GetPosition() const;
    /// Returns the new position. Before the start of the file: CFileException, cause badSeek.
    virtual ULONGLONG Seek(LONGLONG offset, UINT from);
    ULONGLONG SeekToEnd() { return Seek(0, end); }
    void SeekToBegin() { Seek(0, begin); }
    virtual ULONGLONG GetLength() const;
    virtual void SetLength(ULONGLONG length);
    /// Returns how many bytes were read; fewer than asked only at the end of the file.
    virtual UINT Read(void* buffer, UINT count);
    /// Writes all bytes.
    virtual void Write(const void* buffer, UINT count);
    /// Hands everything to the system.
    virtual void Flush();

    /// The absolute path; empty when no file is open.
    virtual CString GetFilePath() const { return m_strFileName; }
    /// The last component of the path.
    virtual CString GetFileName() const;
    virtual void SetFilePath(LPCWSTR path) { m_strFileName = path; }
    BOOL GetStatus(CFileStatus& status) const;

    /// FALSE: there is no such file or folder; `status` is then unchanged.
    static BOOL GetStatus(LPCWSTR fileName, CFileStatus& status);
    static void Rename(LPCWSTR oldName, LPCWSTR newName);
    static void Remove(LPCWSTR fileName);

protected:
    [[noreturn]] void Throw(DWORD error) const;
    void Check(DWORD error) const {
        if (error != 0) {
            Throw(error);
        }
    }

    CString m_strFileName;
    std::unique_ptr<kvtio::File> m_file;
};

/// A file in memory. Positions may lie behind the end; what is between is zeros once something is written there.
class KVTFILE_API CMemFile : public CFile {
    DECLARE_DYNAMIC(CMemFile)

public:
    /// An empty file that grows by at least `growBytes`; 0: it cannot grow.
    explicit CMemFile(UINT growBytes = 1024);
    /// A file over memory of the caller's, see Attach.
    CMemFile(BYTE* buffer, UINT bufferSize, UINT growBytes = 0);
    ~CMemFile() override;

    /// Uses memory of the caller's, which must live as long as the file does. With `growBytes` 0 the memory is the
    /// content of the file, which cannot grow: a write beyond it throws CMemoryException. Otherwise the file is empty,
    /// and memory that has to grow is moved by realloc.
    void Attach(BYTE* buffer, UINT bufferSize, UINT growBytes = 0);
    /// Hands the memory to the caller, who releases it with free; the file is then empty. Null when nothing was ever
    /// written or attached.
    BYTE* Detach();

    BOOL Open(LPCWSTR fileName, UINT openFlags, CFileException* error = nullptr) override;
    void Close() override;
    void Abort() override;
    ULONGLONG GetPosition() const override { return m_nPosition; }
    ULONGLONG Seek(LONGLONG offset, UINT from) override;
    ULONGLONG GetLength() const override { return m_nFileSize; }
    void SetLength(ULONGLONG length) override;
    UINT Read(void* buffer, UINT count) override;
    void Write(const void* buffer, UINT count) override;
    void Flush() override {}

private:
    void Grow(ULONGLONG length);
    void Release();

    BYTE* m_lpBuffer = nullptr;
    UINT m_nGrowBytes;
    size_t m_nBufferSize = 0;
    size_t m_nFileSize = 0;
    size_t m_nPosition = 0;
    bool m_bOwned = true;
};

}  // namespace kvtmfc
