// The exceptions of this folder. They are thrown as pointers; who catches one ends it with Delete().
#pragma once

#include "cobject.h"
#include "cstring.h"

namespace kvtmfc {

/// Base of all exceptions. `catch (CException* e) { ...; e->Delete(); }`
class KVTFILE_API CException : public CObject {
    DECLARE_DYNAMIC(CException)

public:
    CException() = default;
    explicit CException(bool autoDelete) : m_bAutoDelete(autoDelete) {}

    /// Ends the exception; the pointer is not valid any more.
    void Delete();
    /// Writes a text for the user, cut to `room` characters with its NUL. False: there is none, the buffer holds "".
    virtual BOOL GetErrorMessage(LPWSTR buffer, UINT room, UINT* helpContext = nullptr) const;
    /// Shows the text in a message box.
    virtual int ReportError(UINT type = MB_OK, UINT messageId = 0);

protected:
    /// The text of GetErrorMessage; empty when there is none.
    virtual CString Text() const { return CString(); }

private:
    bool m_bAutoDelete = true;
};

/// Base of the exceptions that carry nothing but their kind.
class KVTFILE_API CSimpleException : public CException {
    DECLARE_DYNAMIC(CSimpleException)

public:
    using CException::CException;
};

/// Memory is exhausted, or a length is beyond what the type can hold.
class KVTFILE_API CMemoryException : public CSimpleException {
    DECLARE_DYNAMIC(CMemoryException)

public:
    using CSimpleException::CSimpleException;

protected:
    CString Text() const override;
};

/// The object does not offer the operation.
class KVTFILE_API CNotSupportedException : public CSimpleException {
    DECLARE_DYNAMIC(CNotSupportedException)

public:
    using CSimpleException::CSimpleException;

protected:
    CString Text() const override;
};

/// An argument that the operation does not take.
class KVTFILE_API CInvalidArgException : public CSimpleException {
    DECLARE_DYNAMIC(CInvalidArgException)

public:
    using CSimpleException::CSimpleException;

protected:
    CString Text() const override;
};

/// A file could not be opened, read, written, moved in or closed.
class KVTFILE_API CFileException : public CException {
    DECLARE_DYNAMIC(CFileException)

public:
    enum {
        none,
        generic,
        fileNotFound,
        badPath,
        tooManyOpenFiles,
        accessDenied,
        invalidFile,
        removeCurrentDir,
        directoryFull,
        badSeek,
        hardIO,
        sharingViolation,
        lockViolation,
        diskFull,
        endOfFile
    };

    explicit CFileException(int cause = none, LONG osError = -1, LPCWSTR fileName = nullptr)
        : m_cause(cause), m_lOsError(osError), m_strFileName(fileName) {}

    /// The cause that stands for a Win32 error number.
    static int OsErrorToException(LONG osError);
    [[noreturn]] static void ThrowOsError(LONG osError, LPCWSTR fileName = nullptr);

    int m_cause;            ///< One of the values above.
    LONG m_lOsError;        ///< The Win32 error number, -1 when there is none.
    CString m_strFileName;  ///< The file, empty when unknown.

protected:
    CString Text() const override;
};

/// An archive is damaged, of another kind, or used the wrong way round.
class KVTFILE_API CArchiveException : public CException {
    DECLARE_DYNAMIC(CArchiveException)

public:
    enum { none, generic, readOnly, endOfFile, writeOnly, badIndex, badClass, badSchema, bufferFull };

    explicit CArchiveException(int cause = none, LPCWSTR archiveName = nullptr)
        : m_cause(cause), m_strFileName(archiveName) {}

    int m_cause;            ///< One of the values above.
    CString m_strFileName;  ///< The archive's file, empty when unknown.

protected:
    CString Text() const override;
};

[[noreturn]] KVTFILE_API void AfxThrowFileException(int cause, LONG osError = -1, LPCWSTR fileName = nullptr);
[[noreturn]] KVTFILE_API void AfxThrowArchiveException(int cause, LPCWSTR archiveName = nullptr);

}  // namespace kvtmfc
