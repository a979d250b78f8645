// CFRegistry: texts, numbers and bytes, each one value of the registry. These are the primitives that the objects stand
// on. What a failed read was to fill stays as it is, but for a text, which is emptied.
#include "cadhost/registry_calls.h"
#include "kvtfile/Registry.h"

namespace kvtfile {

namespace {

constexpr DWORD maxText = 1023;

}  // namespace

int CFRegistry::Write(LPCWSTR pszName, BYTE* pData, UINT nLength) {
    if (m_bReadOnly) {
        return 0;
    }
    return Record(registry::WriteValue(m_hKey, pszName, REG_BINARY, pData, nLength), REG_BINARY, nLength);
}

int CFRegistry::Write(LPCWSTR pszName, LPCWSTR pszText) {
    if (m_bReadOnly) {
        return 0;
    }
    DWORD length = 0;
    const DWORD error = registry::WriteText(m_hKey, pszName, pszText, length);
    return Record(error, REG_SZ, length);
}

int CFRegistry::Write(LPCWSTR pszName, DWORD dwValue) {
    if (m_bReadOnly) {
        return 0;
    }
    return registry::WriteValue(m_hKey, pszName, REG_DWORD, &dwValue, sizeof dwValue) == ERROR_SUCCESS;
}

int CFRegistry::Write(LPCWSTR pszName, int nValue) {
    if (m_bReadOnly) {
        return 0;
    }
    return Record(registry::WriteValue(m_hKey, pszName, REG_DWORD, &nValue, sizeof nValue), REG_DWORD, sizeof nValue);
}

int CFRegistry::Read(LPCWSTR pszName, BYTE** ppData, UINT* pnLength) {
    if (ppData) {
        *ppData = nullptr;
    }
    if (pnLength) {
        *pnLength = 0;
    }
    if (!ppData || !pnLength) {
        return Record(ERROR_INVALID_PARAMETER, REG_BINARY, 0);
    }
    registry::Value value = registry::ReadValue(m_hKey, pszName);
    *ppData = value.data.release();
    *pnLength = value.size;
    return Record(value.error, REG_BINARY, value.size);
}

int CFRegistry::Read(LPCWSTR pszName, CString& strText) {
    const registry::Value value = registry::ReadValue(m_hKey, pszName);
    strText = value.Text(maxText);
    return Record(value.error, value.type, value.size);
}

int CFRegistry::Read(LPCWSTR pszName, DWORD& dwValue) {
    DWORD number = 0;
    DWORD type = 0;
    DWORD size = sizeof number;
    const DWORD error = static_cast<DWORD>(
        ::RegQueryValueExW(m_hKey, pszName, nullptr, &type, reinterpret_cast<BYTE*>(&number), &size));
    if (error != ERROR_SUCCESS && error != ERROR_MORE_DATA) {
        type = size = 0;
    }
    if (error == ERROR_SUCCESS) {
        dwValue = number;
    }
    return Record(error, type, size);
}

int CFRegistry::Read(LPCWSTR pszName, int& nValue) {
    DWORD number = 0;
    if (!CFRegistry::Read(pszName, number)) {
        return 0;
    }
    nValue = static_cast<int>(number);
    return 1;
}

}  // namespace kvtfile
