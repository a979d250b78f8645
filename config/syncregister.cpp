// The file synchronisation registers: which files are redirected, where their working copies stand, what came from
// where, and when it was last merged.
//
// Invariants. Both registers stand behind accessors and are made at first use: loading the library touches no file.
// They end with the library; objects of the caller that end later find them gone and do nothing. Association keys are
// upper-cased working-copy paths; product codes are compared as they are spelled.

#include "config/syncregister.h"

#include "kvtfile/DataPath.h"
#include "kvtfile/FileBase.h"
#include "kvtfile/IniFile.h"
#include "platform/quiet.h"

namespace kvtfile {

namespace {

struct KindNames {
    LPCWSTR filterFile;
    LPCWSTR timeFile;
    LPCWSTR filtered[4];
};

// By kind. The text kind has the names of the XML kind in its list.
const KindNames KINDS[] = {
    {_T("FilterFile_Ini.ini"),
     _T("TBListFile_Ini.ini"),
     {_T("Start.ini"), _T("setup.ini"), _T("wb_FilterFile_Ini.ini"), _T("wb_TBListFile_Ini.ini")}},
    {_T("FilterFile_Txt.ini"), _T("TBListFile_Txt.ini"), {_T("wb_FilterFile_Xml.ini"), _T("wb_TBListFile_Xml.ini")}},
    {_T("FilterFile_Xml.ini"), _T("TBListFile_Xml.ini"), {_T("wb_FilterFile_Xml.ini"), _T("wb_TBListFile_Xml.ini")}},
};

struct ProductVersion {
    LPCWSTR code;
    double lowest;
};

const ProductVersion PRODUCTS[] = {
    {_T("RIVADK"), 1.0},  {_T("RIVADX"), 1.0},  {_T("RIVADZ"), 1.0},   {_T("MOSAD"), 1.0},
    {_T("ORVAQL"), 11.0}, {_T("ORVAQM"), 11.0}, {_T("ORVAKET"), 11.0},
};

constexpr WCHAR MARKER[] = _T("ORVASOFT");
constexpr int MARKER_LENGTH = 8;

CString Upper(CString text) {
    text.MakeUpper();
    return text;
}

// The parts of ...ORVASOFT\<product> V<version>\<relative>.
struct InstalledPath {
    CString product;
    CString version;
    CString relative;
    bool inVersionFolder = false;  // a "\" follows the version
};

bool ParseInstalledPath(const CString& path, InstalledPath& parts) {
    const CString upper = Upper(path);
    const int marker = upper.Find(MARKER);
    if (marker < 0) {
        return false;
    }
    const int product = marker + MARKER_LENGTH + 1;
    const int v = upper.Find(_T(" V"), product);
    if (v < 0) {
        return false;
    }
    const int version = v + 2;
    const int end = path.Find(_T('\\'), version);
    parts.product = path.Mid(product, v - product);
    parts.inVersionFolder = end >= 0;
    parts.version = parts.inVersionFolder ? path.Mid(version, end - version) : path.Mid(version);
    parts.relative = parts.inVersionFolder ? path.Mid(end + 1) : CString();
    return true;
}

// Makes every folder above the file. The first "\" ends the drive.
bool MakeFoldersAbove(const CString& path) {
    for (int at = path.Find(_T('\\'), path.Find(_T('\\')) + 1); at >= 0; at = path.Find(_T('\\'), at + 1)) {
        if (!::CreateDirectoryW(path.Left(at + 1), nullptr) && ::GetLastError() != ERROR_ALREADY_EXISTS) {
            return false;
        }
    }
    return true;
}

// One register of the module: `gone` outlives it, since it needs no destruction.
struct Place {
    CFFileSyncRegister* made = nullptr;
    bool gone = false;
};

constinit Place g_xml;
constinit Place g_ini;

class Owner {
public:
    Owner(Place& place, int nKind) : m_place(place), m_register(nKind) { m_place.made = &m_register; }
    Owner(const Owner&) = delete;
    Owner& operator=(const Owner&) = delete;
    ~Owner() {
        m_place.made = nullptr;
        m_place.gone = true;
    }

private:
    Place& m_place;
    CFFileSyncRegister m_register;
};

void Drop(const Place& place, const CString& path) noexcept {
    if (place.made) {
        detail::Quiet(0, [&] {
            place.made->RemoveAssociation(path);
            return 1;
        });
    }
}

}  // namespace

CFFileSyncRegister* XmlRegister() {
    if (!g_xml.gone) {
        static Owner owner(g_xml, CFFileSyncRegister::kindXml);
    }
    return g_xml.made;
}

CFFileSyncRegister* IniRegister() {
    if (!g_ini.gone) {
        static Owner owner(g_ini, CFFileSyncRegister::kindIni);
    }
    return g_ini.made;
}

void DropXmlAssociation(const CString& strPath) noexcept {
    Drop(g_xml, strPath);
}

void DropIniAssociation(const CString& strPath) noexcept {
    Drop(g_ini, strPath);
}

bool ReadFileSeconds(const CString& strPath, LONGLONG& nSeconds) {
    WIN32_FILE_ATTRIBUTE_DATA status;
    if (!::GetFileAttributesExW(strPath, GetFileExInfoStandard, &status)) {
        return false;
    }
    const ULONGLONG ticks =
        (static_cast<ULONGLONG>(status.ftLastWriteTime.dwHighDateTime) << 32) | status.ftLastWriteTime.dwLowDateTime;
    nSeconds = static_cast<LONGLONG>(ticks / 10000000u) - 11644473600LL;
    return true;
}

bool FileExists(const CString& strPath) {
    LONGLONG ignored;
    return ReadFileSeconds(strPath, ignored);
}

bool CFFileSyncRegister::s_bFilterLoaded = false;

CFFileSyncRegister::CFFileSyncRegister(int nKind) : m_nKind(nKind) {
    if (nKind >= kindIni && nKind <= kindXml) {
        const KindNames& names = KINDS[nKind];
        const CString folder = FGetOrvaDataCommonPath();
        m_strFilterFile = folder + names.filterFile;
        m_strTimeFile = folder + names.timeFile;
        for (const LPCWSTR name : names.filtered) {
            if (name) {
                m_arrFilter.Add(name);
            }
        }
    }
    for (const ProductVersion& product : PRODUCTS) {
        m_mapProduct[product.code] = product.lowest;
    }
}

int CFFileSyncRegister::RedirectToWorkCopy(CString& strPath) {
    const CString working = GetWorkCopyPath(strPath);
    if (working.IsEmpty() || !MakeWorkCopy(strPath, working)) {
        return 0;
    }
    SetAssociation(working, strPath);
    strPath = working;
    return 1;
}

CString CFFileSyncRegister::GetWorkCopyPath(const CString& strPath) {
    InstalledPath parts;
    if (!ParseInstalledPath(strPath, parts) || IsProductExcluded(parts.product, ::_wtof(parts.version)) ||
        IsFilterFile(strPath)) {
        return CString();
    }
    return BuildWorkCopyPath(strPath);
}

CString CFFileSyncRegister::BuildWorkCopyPath(const CString& strPath) {
    WCHAR system[128];
    const UINT length = ::GetSystemDirectoryW(system, 128);
    InstalledPath parts;
    if (strPath.GetLength() < 6 || length < 3 || length >= 128 || !ParseInstalledPath(strPath, parts) ||
        !parts.inVersionFolder) {
        return CString();
    }
    const CString working = CString(system, 3) + _T("OrvaData\\") + parts.product + _T("\\") + parts.relative;
    return working.CompareNoCase(strPath) == 0 ? CString() : working;
}

int CFFileSyncRegister::MakeWorkCopy(const CString& strInstalled, const CString& strWorking) {
    if (FileExists(strWorking)) {
        return 1;
    }
    if (strInstalled.IsEmpty() || !FileExists(strInstalled) || !MakeFoldersAbove(strWorking)) {
        return 0;
    }
    ::CopyFileW(strInstalled, strWorking, TRUE);
    if (!FileExists(strWorking)) {
        return 0;
    }
    RecordSyncTime(strInstalled, 0);
    return 1;
}

void CFFileSyncRegister::SetAssociation(const CString& strWorking, const CString& strInstalled) {
    m_mapAssociation[Upper(strWorking)] = strInstalled;
}

int CFFileSyncRegister::GetAssociation(const CString& strPath, CString& strInstalled) const {
    return detail::Quiet(0, [&] {
        const auto found = m_mapAssociation.find(Upper(strPath));
        if (found == m_mapAssociation.end()) {
            return 0;
        }
        strInstalled = found->second;
        return 1;
    });
}

void CFFileSyncRegister::RemoveAssociation(const CString& strPath) {
    if (!m_mapAssociation.empty()) {
        m_mapAssociation.erase(Upper(strPath));
    }
}

void CFFileSyncRegister::LoadFilterList() {
    if (s_bFilterLoaded) {
        return;
    }
    s_bFilterLoaded = true;
    if (m_strFilterFile.IsEmpty() || !EnsureFileExists(m_strFilterFile)) {
        return;
    }
    CStringArray lines;
    CIniFile(m_strFilterFile, false).GetAllValues(lines);
    for (INT_PTR i = 0; i < lines.GetSize(); ++i) {
        if (FindFilterFile(lines[i]) < 0) {
            m_arrFilter.Add(lines[i]);
        }
    }
}

int CFFileSyncRegister::FindFilterFile(const CString& strName) {
    LoadFilterList();
    for (INT_PTR i = 0; i < m_arrFilter.GetSize(); ++i) {
        if (m_arrFilter[i].CompareNoCase(strName) == 0) {
            return static_cast<int>(i);
        }
    }
    return -1;
}

int CFFileSyncRegister::IsFilterFile(const CString& strPath) {
    return FindFilterFile(strPath.Mid(strPath.ReverseFind(_T('\\')) + 1)) >= 0 ? 1 : 0;
}

void CFFileSyncRegister::AddFilterFile(const CString& strName) {
    if (FindFilterFile(strName) >= 0) {
        return;
    }
    m_arrFilter.Add(strName);
    if (!m_strFilterFile.IsEmpty()) {
        CIniFile(m_strFilterFile, true).SetValue(CString(), CString(), strName, true);
    }
}

int CFFileSyncRegister::IsProductExcluded(const CString& strProduct, double dVersion) const {
    const auto found = m_mapProduct.find(strProduct);
    return found != m_mapProduct.end() && dVersion >= found->second ? 0 : 1;
}

void CFFileSyncRegister::RecordSyncTime(const CString& strPath, int bNever) {
    LONGLONG seconds = 0;
    if (m_strTimeFile.IsEmpty() || !ReadFileSeconds(strPath, seconds) || !EnsureFileExists(m_strTimeFile)) {
        return;
    }
    CIniFile(m_strTimeFile, true).SetValueI(strPath, _T("time"), bNever ? -1 : static_cast<int>(seconds), true);
}

int CFFileSyncRegister::NeedSynchronize(const CString& strPath) const {
    LONGLONG seconds = 0;
    if (m_strTimeFile.IsEmpty() || !ReadFileSeconds(strPath, seconds) || !EnsureFileExists(m_strTimeFile)) {
        return 0;
    }
    const int recorded = CIniFile(m_strTimeFile, false).GetValueI(strPath, _T("time"));
    return recorded == 0 || (recorded > 0 && seconds > recorded) ? 1 : 0;
}

int CFFileSyncRegister::EnsureFileExists(const CString& strPath) {
    if (!FileExists(strPath)) {
        detail::Quiet(0, [&] {
            // Kept whole when another program has made it meanwhile.
            CFStdioFile(strPath, CFile::modeCreate | CFile::modeNoTruncate).Close();
            return 1;
        });
    }
    return FileExists(strPath) ? 1 : 0;
}

}  // namespace kvtfile
