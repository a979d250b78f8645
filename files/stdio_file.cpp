// CFStdioFile: the library's text files, in the character locale that its streams need.
#include "kvtfile/FileBase.h"
#include "platform/mfc/text_locale.h"

namespace kvtfile {

CFStdioFile::CFStdioFile() : m_strLocale(kvtplatform::EnterTextLocale()) {}

CFStdioFile::CFStdioFile(LPCWSTR pszFile, UINT nOpenFlags) : CFStdioFile() {
    CFileException error;
    if (!CStdioFile::Open(pszFile, nOpenFlags, &error)) {
        AfxThrowFileException(error.m_cause, error.m_lOsError, error.m_strFileName);
    }
}

CFStdioFile::~CFStdioFile() {
    kvtplatform::LeaveTextLocale(m_strLocale);
}

}  // namespace kvtfile
