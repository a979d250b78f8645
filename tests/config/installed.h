#pragma once

// Files of an installed product and their working copies, under names that no other test uses.

#include "kvtfile/IniFile.h"
#include "tests/support/support.h"

namespace kvttest {

/// A folder of its own under C:\ORVASOFT\RIVADX V11.0 and its counterpart under C:\OrvaData\RIVADX.
class InstalledFolder {
public:
    InstalledFolder() {
        static int next = 0;
        m_name.Format(_T("Test%u_%d"), static_cast<unsigned>(::GetCurrentProcessId()), next++);
        MakeFolders(_T("C:\\ORVASOFT\\RIVADX V11.0\\") + m_name);
    }
    ~InstalledFolder() {
        RemoveTree(_T("C:\\ORVASOFT\\RIVADX V11.0\\") + m_name);
        RemoveTree(_T("C:\\OrvaData\\RIVADX\\") + m_name);
    }
    InstalledFolder(const InstalledFolder&) = delete;
    InstalledFolder& operator=(const InstalledFolder&) = delete;

    CString Installed(const CString& file) const {
        return _T("C:\\ORVASOFT\\RIVADX V11.0\\") + m_name + _T("\\") + file;
    }
    CString Working(const CString& file) const { return _T("C:\\OrvaData\\RIVADX\\") + m_name + _T("\\") + file; }

    /// Writes an installed file with a last-write time, in seconds since 1970.
    void Install(const CString& file, std::string_view bytes, long long seconds) const {
        WriteBytes(Installed(file), bytes);
        SetFileSeconds(Installed(file), seconds);
    }

private:
    CString m_name;
};

/// The time recorded for an installed file by the XML or the INI register; 0 when there is none.
inline int RecordedTime(LPCWSTR kind, const CString& installed) {
    return kvtfile::CIniFile(CString(_T("C:\\OrvaData\\Common\\TBListFile_")) + kind + _T(".ini"), false)
        .GetValueI(installed, _T("time"));
}

}  // namespace kvttest
