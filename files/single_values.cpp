// Single values of INI files and of the registry's file classes.

#include "kvtfile/FileUtil.h"
#include "kvtfile/IniFile.h"
#include "kvtfile/Registry.h"
#include "platform/quiet.h"

namespace kvtfile {

using detail::Quiet;

namespace {

// An INI file that is written only when it was read whole.
class LoadedIni : public CIniFile {
public:
    explicit LoadedIni(LPCWSTR file) : CIniFile(file, false) {}

    bool Save() { return !m_bUnread && WriteFile(); }
};

}  // namespace

CString GetIniKeyValue(LPCWSTR file, LPCWSTR section, LPCWSTR key, LPCWSTR def) {
    return Quiet(CString(), [&] {
        CIniFile ini(file, false);
        const CString value = ini.GetValue(section, key);
        return value.IsEmpty() ? CString(def) : value;
    });
}

int SetIniKeyValue(LPCWSTR file, LPCWSTR section, LPCWSTR key, LPCWSTR value) {
    return Quiet(0, [&] {
        LoadedIni ini(file);
        return ini.SetValue(section, key, value, true) && ini.Save() ? 1 : 0;
    });
}

bool DelIniKey(LPCWSTR file, LPCWSTR section, LPCWSTR key) {
    return Quiet(false, [&] {
        LoadedIni ini(file);
        return ini.DeleteValue(section, key) && ini.Save();
    });
}

CString GetTypeRegInfo(CString key) {
    return Quiet(CString(), [&] {
        CString text;
        GetRegKeyValue(HKEY_CLASSES_ROOT, key, text, _T(""));
        text.TrimRight();
        return text;
    });
}

}  // namespace kvtfile
