// CAutoLoadArx: what an add-on's registration writes under the host's product key and the maker's own, and how it is
// found and deleted again.
//
// Values are written only under a key that was made for them: one that cannot be made leaves its values out, they never
// end in the key above.

#include "kvtfile/AutoLoadArx.h"

#include "cadhost/host.h"
#include "platform/quiet.h"

namespace kvtfile {

using namespace detail;

namespace {

constexpr WCHAR LOAD_CTRLS[] = _T("LoadCtrls");
constexpr WCHAR MODULE_EXTENSION[] = _T(".arx");

CString Trimmed(CString text) {
    return text.Trim();
}

// Beneath a key that ends in a separator the sub-key is the same one as beneath a key that does not.
CString Beneath(const CString& key, const CString& subKey) {
    return key.Right(1) == _T("\\") ? key + subKey : Join(key, subKey);
}

// Stores each text under its own name.
void WriteNames(const CString& key, const CStringArray& names) {
    CFRegistry registry(MACHINE_HIVE, 0);
    if (registry.CreateKey(key)) {
        for (INT_PTR i = 0; i < names.GetSize(); ++i) {
            registry.Write(names[i], static_cast<LPCWSTR>(names[i]));
        }
    }
}

// The keys "Groups" and "Commands" of either layout, as far as there is something to write.
void WriteGroupAndCommands(const CString& key, const CString& group, const CStringArray& commands) {
    CStringArray names;
    if (!group.IsEmpty()) {
        names.Add(group);
        WriteNames(Beneath(key, _T("Groups")), names);
    }
    if (!commands.IsEmpty()) {
        names.RemoveAll();
        for (INT_PTR i = 0; i < commands.GetSize(); ++i) {
            names.Add(Trimmed(commands[i]));
        }
        WriteNames(Beneath(key, _T("Commands")), names);
    }
}

void WriteText(const CString& key, LPCWSTR name, const CString& text) {
    CFRegistry registry(MACHINE_HIVE, 0);
    if (registry.CreateKey(key)) {
        registry.Write(name, static_cast<LPCWSTR>(text));
    }
}

// What both layouts store in the host's entry of an application.
void WriteHostEntry(const CString& key, int loadCtrls, LPCWSTR name, const CString& text) {
    CFRegistry registry(MACHINE_HIVE, 0);
    if (registry.CreateKey(key)) {
        registry.Write(LOAD_CTRLS, loadCtrls);
        registry.Write(name, static_cast<LPCWSTR>(text));
    }
}

bool ModuleFolderIsSet(const CString& folder) {
    if (folder.IsEmpty()) {
        AfxMessageBox(_T("应用程序路径未设置!"));
    }
    return !folder.IsEmpty();
}

bool HasR16Layout(ACADVER version) {
    const Release* row = FindRelease(version);
    return row && row->HasRoot() && row->year >= zqolecad::START_ACAD2004;
}

}  // namespace

CAutoLoadArx::CAutoLoadArx() : m_strSoftRegKey(_T("Software\\orva\\apps\\")), m_nAcadVer(ACAD_R14) {}

CAutoLoadArx::~CAutoLoadArx() = default;

int CAutoLoadArx::SetAcadVer(ACADVER v) {
    m_nAcadVer = v;
    return GetAcadRegKey(m_strAcadRegKey, v);
}

int CAutoLoadArx::GetAcadRegKey(CString& key, ACADVER v) {
    return Quiet(0, [&] {
        key.Empty();
        const Release* row = FindRelease(v);
        if (row && row->IsR15()) {
            ACADVER product = v;
            CString location;
            return GetAcadR15CurVer(key, product, location);
        }
        return FindProductKey(key, row, 0);
    });
}

void CAutoLoadArx::SetSoftRegKey(CString strKey) {
    m_strSoftRegKey = strKey;
}

void CAutoLoadArx::SetAppInstallPath(CString strPath) {
    m_strAppInstallPath = strPath;
}

int CAutoLoadArx::GetAppRegPath(CString& path, CString app) {
    return Quiet(0, [&] {
        if (m_strAcadRegKey.IsEmpty()) {
            return 0;
        }
        path = m_strAcadRegKey + _T("\\Applications\\") + app;
        return 1;
    });
}

int CAutoLoadArx::AddAutoArx(CString app, CStringArray& cmds, CString group, int loadCtrls) {
    return Quiet(0, [&] {
        app.Trim();
        if (HasR16Layout(m_nAcadVer)) {
            return AddAutoArx16(app, cmds, group, loadCtrls);
        }
        CString entry;
        if (!ModuleFolderIsSet(m_strAppInstallPath) || !GetAppRegPath(entry, app)) {
            return 0;
        }
        const CString maker = m_strSoftRegKey + app;
        WriteHostEntry(entry, loadCtrls, _T("REGPATH"), _T("\\\\HKEY_LOCAL_MACHINE\\") + maker);
        WriteText(Beneath(maker, _T("Loader")), _T("MODULE"), m_strAppInstallPath + app + MODULE_EXTENSION);
        WriteText(Beneath(maker, _T("Name")), _T("Name"), app);
        WriteGroupAndCommands(maker, group, cmds);
        return 1;
    });
}

int CAutoLoadArx::AddAutoArx16(CString app, CStringArray& cmds, CString group, int loadCtrls) {
    return AddAutoArx(app, app, cmds, group, loadCtrls);
}

int CAutoLoadArx::AddAutoArx(CString app, CString module, CStringArray& cmds, CString group, int loadCtrls) {
    return Quiet(0, [&] {
        CString entry;
        if (!ModuleFolderIsSet(m_strAppInstallPath) || !GetAppRegPath(entry, app)) {
            return 0;
        }
        WriteHostEntry(entry, loadCtrls, _T("Loader"), m_strAppInstallPath + module + MODULE_EXTENSION);
        WriteGroupAndCommands(entry, group, cmds);
        return 1;
    });
}

int CAutoLoadArx::ArxIsAutoLoad(CString app) {
    return Quiet(0, [&] {
        CString entry;
        CFRegistry registry(MACHINE_HIVE, 0);
        return GetAppRegPath(entry, app) && registry.VerifyKey(entry) && registry.VerifyKey(m_strSoftRegKey + app) ? 1
                                                                                                                   : 0;
    });
}

int CAutoLoadArx::DelAutoArx(CString app) {
    return Quiet(0, [&] {
        // Without a name the path would be that of all applications.
        CString entry;
        if (CString(app).Trim(_T('\\')).IsEmpty() || !GetAppRegPath(entry, app)) {
            return 0;
        }
        CFRegistry registry(MACHINE_HIVE, 0);
        return registry.DeleteKey(entry, 0) ? registry.DeleteKey(m_strSoftRegKey + app, 0) : 0;
    });
}

int CAutoLoadArx::GetArxLoadCtrls(CString app, int& v) {
    return Quiet(0, [&] {
        CString entry;
        CFRegistry registry(MACHINE_HIVE, 0);
        if (!GetAppRegPath(entry, app) || !registry.Open(entry)) {
            return 0;
        }
        registry.Read(LOAD_CTRLS, v);
        return 1;
    });
}

int CAutoLoadArx::SetArxLoadCtrls(CString app, int v) {
    return Quiet(0, [&] {
        CString entry;
        CFRegistry registry(MACHINE_HIVE, 0);
        if (!GetAppRegPath(entry, app) || !registry.Open(entry)) {
            return 0;
        }
        registry.Write(LOAD_CTRLS, v);
        return 1;
    });
}

int CAutoLoadArx::GetRegAutoLoadInfo(CString name) {
    return Quiet(0, [&] {
        CFRegistry registry(MACHINE_HIVE, 0);
        CString text;
        return registry.Open(m_strSoftRegKey) && registry.Read(name, text) && text == _T("1") ? 1 : 0;
    });
}

int CAutoLoadArx::SetRegAutoLoadInfo(CString name, int on) {
    return Quiet(0, [&] {
        CFRegistry registry(MACHINE_HIVE, 0);
        return registry.CreateKey(m_strSoftRegKey) ? registry.Write(name, on ? _T("1") : _T("0")) : 0;
    });
}

}  // namespace kvtfile
