// The support search path of the R15 host's current profile, and the data folders of the maker's products.
//
// A search path is only ever written back from the whole text that was read: one that cannot be read stays as it is.

#include "kvtfile/SupportPath.h"

#include "cadhost/host.h"
#include "platform/companion/pmxutil.h"
#include "platform/quiet.h"

namespace kvtfile {

using namespace detail;

namespace {

constexpr WCHAR TELUM_KEY[] = _T("SOFTWARE\\ORVA\\TELUM");

// The current profile's settings, open for writing, and the search path in them.
class SearchPath {
public:
    // The search path is empty when the settings have none.
    int Open() {
        CString product;
        ACADVER version = ACAD_2000;
        CString location;
        if (!GetAcadR15CurVer(product, version, location)) {
            AfxMessageBox(_T("取ACADR15版本信息出错!"));
            return 0;
        }
        CString key;
        if (!FindProfileSettings(product, key) || !m_settings.Open(key)) {
            return 0;
        }
        return m_settings.VerifyValue(SEARCH_PATH) ? ReadWhole(key) : m_settings.m_lLastError == ERROR_FILE_NOT_FOUND;
    }

    int Write() { return m_settings.Write(SEARCH_PATH, m_text); }

    // ";" around the folders makes every one of them a whole.
    bool Holds(const CString& enclosed) const { return (_T(';') + m_text + _T(';')).Find(enclosed) >= 0; }

    CString m_text;

private:
    // CFRegistry tells the type, CKey has no limit of length.
    bool ReadWhole(const CString& key) {
        CString beginning;
        return m_settings.Read(SEARCH_PATH, beginning) &&
               (m_settings.m_dwLastType == REG_SZ || m_settings.m_dwLastType == REG_EXPAND_SZ) &&
               GetRegKeyValue(HKEY_CURRENT_USER, key, m_text, SEARCH_PATH);
    }

    CFRegistry m_settings{USER_HIVE, 0};
};

// ";folder;" in lower case, and the same without what stands before the folder.
CString Enclose(CString folder) {
    folder.MakeLower();
    return _T(';') + folder + _T(';');
}

CString WithoutLeading(CString enclosed) {
    return enclosed.TrimLeft(_T(';'));
}

CString CommonFolder(LPCWSTR subFolder) {
    return Quiet(CString(), [&] {
        const CString folder = FGetCADCommonFilePath();
        return folder.IsEmpty() ? CString() : folder + subFolder;
    });
}

CString TelumFolder(LPCWSTR name) {
    return Quiet(CString(), [&] {
        CString folder;
        return GetRegKeyValue(HKEY_LOCAL_MACHINE, TELUM_KEY, folder, name) ? pmxutil::ConfirmBackslash(folder)
                                                                           : CString();
    });
}

}  // namespace

int AddAppSupportPathToAcad(CString path) {
    return Quiet(0, [&] {
        SearchPath search;
        if (!search.Open()) {
            return 0;
        }
        const CString enclosed = Enclose(path);
        if (search.Holds(enclosed)) {
            return 1;
        }
        search.m_text = WithoutLeading(enclosed) + search.m_text;
        return search.Write();
    });
}

int RemoveAppSupportPathFromAcad(CString path) {
    return Quiet(0, [&] {
        SearchPath search;
        if (!search.Open()) {
            return 0;
        }
        const CString enclosed = Enclose(path);
        if (!search.Holds(enclosed)) {
            return 1;
        }
        search.m_text.Replace(WithoutLeading(enclosed), _T(""));
        return search.Write();
    });
}

CString FGetCADCommonFilePath() {
    return Quiet(CString(), [] {
        CString folder;
        if (!GetRegKeyValue(HKEY_LOCAL_MACHINE, _T("Software\\Microsoft\\Windows\\CurrentVersion"), folder,
                            _T("CommonFilesDir"))) {
            return CString();
        }
        folder = pmxutil::ConfirmBackslash(folder);
        folder.MakeUpper();
        return folder + _T("ORVA\\CAD\\");
    });
}

CString FGetCADCommonFilePath_DAT() {
    return CommonFolder(_T("DAT\\"));
}

CString FGetCADCommonFilePath_SysLib2k() {
    return CommonFolder(_T("SYSLIB2K\\"));
}

CString GetTelumInstallPath() {
    return TelumFolder(_T("InstallPath"));
}

CString GetTelumWorkPath() {
    return TelumFolder(_T("SysWorkPath"));
}

}  // namespace kvtfile
