// The exceptions: their texts, and the mapping of system errors to the causes of CFileException.
#include "platform/mfc/exceptions.h"

#include <algorithm>
#include <iterator>
#include <new>

#include "kvtfile/types.h"

namespace kvtmfc {

IMPLEMENT_DYNAMIC(CException, CObject)
IMPLEMENT_DYNAMIC(CSimpleException, CException)
IMPLEMENT_DYNAMIC(CMemoryException, CSimpleException)
IMPLEMENT_DYNAMIC(CNotSupportedException, CSimpleException)
IMPLEMENT_DYNAMIC(CInvalidArgException, CSimpleException)
IMPLEMENT_DYNAMIC(CFileException, CException)
IMPLEMENT_DYNAMIC(CArchiveException, CException)

namespace {

constexpr DWORD diskQuotaExceeded = 1295;  // not named by every windows.h

struct ErrorCause {
    DWORD error;
    int cause;
};

constexpr ErrorCause errorCauses[] = {
    {ERROR_SUCCESS, CFileException::none},
    {ERROR_FILE_NOT_FOUND, CFileException::fileNotFound},
    {ERROR_PATH_NOT_FOUND, CFileException::badPath},
    {ERROR_INVALID_DRIVE, CFileException::badPath},
    {ERROR_BAD_PATHNAME, CFileException::badPath},
    {ERROR_INVALID_NAME, CFileException::badPath},
    {ERROR_DIRECTORY, CFileException::badPath},
    {ERROR_FILENAME_EXCED_RANGE, CFileException::badPath},
    {ERROR_BAD_NETPATH, CFileException::badPath},
    {ERROR_TOO_MANY_OPEN_FILES, CFileException::tooManyOpenFiles},
    {ERROR_ACCESS_DENIED, CFileException::accessDenied},
    {ERROR_WRITE_PROTECT, CFileException::accessDenied},
    {ERROR_FILE_EXISTS, CFileException::accessDenied},
    {ERROR_ALREADY_EXISTS, CFileException::accessDenied},
    {ERROR_PRIVILEGE_NOT_HELD, CFileException::accessDenied},
    {ERROR_INVALID_HANDLE, CFileException::invalidFile},
    {ERROR_CURRENT_DIRECTORY, CFileException::removeCurrentDir},
    {ERROR_CANNOT_MAKE, CFileException::directoryFull},
    {ERROR_SEEK, CFileException::badSeek},
    {ERROR_NEGATIVE_SEEK, CFileException::badSeek},
    {ERROR_IO_DEVICE, CFileException::hardIO},
    {ERROR_READ_FAULT, CFileException::hardIO},
    {ERROR_WRITE_FAULT, CFileException::hardIO},
    {ERROR_NOT_READY, CFileException::hardIO},
    {ERROR_SHARING_VIOLATION, CFileException::sharingViolation},
    {ERROR_LOCK_VIOLATION, CFileException::lockViolation},
    {ERROR_DISK_FULL, CFileException::diskFull},
    {ERROR_HANDLE_DISK_FULL, CFileException::diskFull},
    {diskQuotaExceeded, CFileException::diskFull},
    {ERROR_HANDLE_EOF, CFileException::endOfFile},
};

constexpr LPCWSTR fileCauseTexts[] = {
    _T("no error"),
    _T("the file could not be used"),
    _T("the file does not exist"),
    _T("the path does not exist or is not valid"),
    _T("too many files are open"),
    _T("access is denied"),
    _T("the file is not open"),
    _T("the folder is the current one and cannot be removed"),
    _T("the folder cannot take another entry"),
    _T("the position lies outside the file"),
    _T("the device reported an error"),
    _T("another program has the file open"),
    _T("another program has locked the range"),
    _T("the disk is full"),
    _T("the end of the file was reached"),
};

constexpr LPCWSTR archiveCauseTexts[] = {
    _T("no error"),
    _T("the archive could not be used"),
    _T("the archive is open for reading only"),
    _T("the archive ends too early"),
    _T("the archive is open for writing only"),
    _T("the archive holds a bad object number"),
    _T("the archive holds an object of an unexpected class"),
    _T("the archive holds another version of an object"),
    _T("the archive's buffer is full"),
};

template <size_t Count>
LPCWSTR CauseText(const LPCWSTR (&texts)[Count], int cause) {
    return cause >= 0 && static_cast<size_t>(cause) < Count ? texts[cause] : texts[1];
}

// Allocating could fail where memory is what is missing. Never destroyed: it may be thrown until the process ends.
CMemoryException* MemoryException() {
    alignas(CMemoryException) static unsigned char room[sizeof(CMemoryException)];
    static CMemoryException* const exception = new (room) CMemoryException(false);
    return exception;
}

}  // namespace

void CException::Delete() {
    if (m_bAutoDelete) {
        delete this;
    }
}

BOOL CException::GetErrorMessage(LPWSTR buffer, UINT room, UINT* helpContext) const {
    if (helpContext) {
        *helpContext = 0;
    }
    if (!buffer || room == 0) {
        return FALSE;
    }
    const CString text = Text();
    const int count = std::min(text.GetLength(), static_cast<int>(std::min<UINT>(room - 1, 0x7FFFFFFF)));
    std::copy_n(text.GetString(), count, buffer);
    buffer[count] = 0;
    return text.IsEmpty() ? FALSE : TRUE;
}

CString CMemoryException::Text() const {
    return _T("out of memory");
}

CString CNotSupportedException::Text() const {
    return _T("the operation is not supported");
}

CString CInvalidArgException::Text() const {
    return _T("an argument is not valid");
}

int CFileException::OsErrorToException(LONG osError) {
    const auto* row = std::find_if(std::begin(errorCauses), std::end(errorCauses), [osError](const ErrorCause& known) {
        return known.error == static_cast<DWORD>(osError);
    });
    return row == std::end(errorCauses) ? static_cast<int>(generic) : row->cause;
}

void CFileException::ThrowOsError(LONG osError, LPCWSTR fileName) {
    AfxThrowFileException(OsErrorToException(osError), osError, fileName);
}

CString CFileException::Text() const {
    const CString cause = CauseText(fileCauseTexts, m_cause);
    return m_strFileName.IsEmpty() ? cause : m_strFileName + _T(": ") + cause;
}

CString CArchiveException::Text() const {
    const CString cause = CauseText(archiveCauseTexts, m_cause);
    return m_strFileName.IsEmpty() ? cause : m_strFileName + _T(": ") + cause;
}

void AfxThrowMemoryException() {
    throw MemoryException();
}

void AfxThrowNotSupportedException() {
    throw new CNotSupportedException;
}

void AfxThrowInvalidArgException() {
    throw new CInvalidArgException;
}

void AfxThrowFileException(int cause, LONG osError, LPCWSTR fileName) {
    throw new CFileException(cause, osError, fileName);
}

void AfxThrowArchiveException(int cause, LPCWSTR archiveName) {
    throw new CArchiveException(cause, archiveName);
}

}  // namespace kvtmfc
