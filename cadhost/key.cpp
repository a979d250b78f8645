// CKey, and one text value in one call. What a failed call was to fill stays as it is.
#include "cadhost/registry_calls.h"
#include "kvtfile/Registry.h"

namespace kvtfile {

CKey::~CKey() {
    Close();
}

int CKey::Open(HKEY hParent, LPCWSTR pszSubKey) {
    return registry::OpenKey(hParent, pszSubKey, registry::readAccess, m_hKey) == ERROR_SUCCESS;
}

int CKey::Create(HKEY hParent, LPCWSTR pszSubKey) {
    return static_cast<int>(registry::CreateKey(hParent, pszSubKey, m_hKey));
}

void CKey::Close() {
    if (m_hKey) {
        ::RegCloseKey(m_hKey);
        m_hKey = nullptr;
    }
}

int CKey::GetStringValue(CString& strText, LPCWSTR pszName) {
    if (!pszName) {
        return 0;
    }
    const registry::Value value = registry::ReadValue(m_hKey, pszName);
    if (value.error != ERROR_SUCCESS) {
        return 0;
    }
    strText = value.Text();
    return 1;
}

int CKey::SetStringValue(LPCWSTR pszText, LPCWSTR pszName) {
    DWORD length = 0;
    return registry::WriteText(m_hKey, pszName, pszText, length) == ERROR_SUCCESS;
}

int CKey::GetRegEnumKey(CString& strKey, int nIndex) {
    return registry::EnumKey(m_hKey, static_cast<DWORD>(nIndex), strKey) == ERROR_SUCCESS;
}

int GetRegKeyValue(HKEY hRoot, LPCWSTR pszSubKey, CString& strValue, LPCWSTR pszValueName) {
    CKey key;
    return key.Open(hRoot, pszSubKey) && key.GetStringValue(strValue, pszValueName);
}

int SetRegKeyValue(HKEY hRoot, LPCWSTR pszSubKey, CString strValue, LPCWSTR pszValueName) {
    CFRegistry target(hRoot == HKEY_LOCAL_MACHINE, 0);
    target.SetHKey(hRoot);
    if (!target.CreateKey(pszSubKey)) {
        // The root is the caller's: it is neither written to nor closed.
        target.SetHKey(nullptr);
        return 0;
    }
    CKey created;
    created.m_hKey = target.m_hKey;
    // The created key stays current unless it has a key of the same path beneath it.
    if (!target.Open(pszSubKey)) {
        created.m_hKey = nullptr;
    }
    const int written = target.Write(pszValueName, strValue);
    target.Close();
    return written;
}

}  // namespace kvtfile
