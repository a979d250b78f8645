// CFRegistry: the current key and what lies under it. A call that fails leaves the current key as it is; keys that were
// current before are not closed, since callers descend and may hold them.
#include "cadhost/registry_calls.h"
#include "kvtfile/Registry.h"

namespace kvtfile {

IMPLEMENT_DYNCREATE(CFRegistry, CObject)

namespace {

CString WithoutEndBackslash(LPCWSTR path) {
    CString text(path);
    if (text.Right(1) == _T("\\")) {
        text = text.Left(text.GetLength() - 1);
    }
    return text;
}

}  // namespace

CFRegistry::CFRegistry(int bLocalMachine, int bReadOnly)
    : m_hKey(bLocalMachine ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER),
      m_bLocalMachine(bLocalMachine),
      m_bReadOnly(bReadOnly) {}

CFRegistry::~CFRegistry() {
    // The one of this class: what a derived class overrides is gone already.
    CFRegistry::Close();
}

REGSAM CFRegistry::OpenAccess() const {
    return m_bReadOnly ? registry::readAccess : registry::fullAccess;
}

int CFRegistry::Record(DWORD dwError, DWORD dwType, DWORD dwSize) {
    m_lLastError = static_cast<LONG>(dwError);
    m_dwLastType = dwType;
    m_dwLastSize = dwSize;
    return dwError == ERROR_SUCCESS;
}

void CFRegistry::SetHKey(HKEY hKey) {
    m_hKey = hKey;
}

int CFRegistry::ReadKeyValues(CStringArray& arrValues) {
    CString name;
    DWORD index = 0;
    while (registry::EnumValue(m_hKey, index, name) == ERROR_SUCCESS) {
        arrValues.Add(name);
        ++index;
    }
    return index != 0;
}

int CFRegistry::ReadSubKeys(CStringArray& arrKeys) {
    CString name;
    DWORD index = 0;
    DWORD error = registry::EnumKey(m_hKey, index, name);
    const bool none = error == ERROR_NO_MORE_ITEMS;
    while (error == ERROR_SUCCESS) {
        arrKeys.Add(name);
        error = registry::EnumKey(m_hKey, ++index, name);
    }
    return !none;
}

int CFRegistry::VerifyKey(LPCWSTR pszPath) {
    CKey key;
    return Record(registry::OpenKey(m_hKey, WithoutEndBackslash(pszPath), OpenAccess(), key.m_hKey), 0, 0);
}

int CFRegistry::VerifyValue(LPCWSTR pszName) {
    const LONG error = ::RegQueryValueExW(m_hKey, pszName, nullptr, nullptr, nullptr, nullptr);
    return Record(static_cast<DWORD>(error), 0, 0);
}

int CFRegistry::CreateKey(LPCWSTR pszPath) {
    if (m_bReadOnly) {
        return 0;
    }
    return Record(registry::CreateKey(m_hKey, WithoutEndBackslash(pszPath), m_hKey), 0, 0);
}

int CFRegistry::Open(LPCWSTR pszPath) {
    m_strPath = pszPath;
    return Record(registry::OpenKey(m_hKey, WithoutEndBackslash(m_strPath), OpenAccess(), m_hKey), 0, 0);
}

void CFRegistry::Close() {
    if (m_hKey) {
        ::RegCloseKey(m_hKey);
        m_hKey = nullptr;
    }
}

int CFRegistry::DeleteValue(LPCWSTR pszName) {
    return Record(static_cast<DWORD>(::RegDeleteValueW(m_hKey, pszName)), 0, 0);
}

// Always the first sub-key: the one before it is gone. The key is empty when there is none.
int CFRegistry::DeleteKey(LPCWSTR pszPath, int nFlag) {
    const CString path = WithoutEndBackslash(pszPath);
    if (m_bReadOnly || path.IsEmpty()) {
        return 0;
    }
    CKey key;
    if (registry::OpenKey(m_hKey, path, registry::fullAccess, key.m_hKey) != ERROR_SUCCESS) {
        return 0;
    }
    CString child;
    DWORD error = registry::EnumKey(key.m_hKey, 0, child);
    while (error == ERROR_SUCCESS) {
        // A name that begins with a NUL, which other calls of the system can make, is no path: it would lead back here.
        if (child[0] == 0 || !DeleteKey(path + _T("\\") + child, nFlag)) {
            return 0;
        }
        error = registry::EnumKey(key.m_hKey, 0, child);
    }
    if (error != ERROR_NO_MORE_ITEMS) {
        return 0;
    }
    key.Close();
    return Record(static_cast<DWORD>(::RegDeleteKeyW(m_hKey, path)), 0, 0);
}

}  // namespace kvtfile
