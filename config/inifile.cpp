// CIniFile: look-ups and edits of the sections in memory.
//
// Invariants. Section i has the name m_arrKeyNames[i] and the entries m_arrKeys[i]; entry j of a section has the name
// names[j] and the value values[j]. No two sections, and no two entries of a section, have names that compare equal.

#include "kvtfile/IniFile.h"

#include "config/syncregister.h"
#include "platform/quiet.h"

namespace kvtfile {

using detail::Quiet;

void CIniFile::Reset() {
    m_arrKeys.clear();
    m_arrKeyNames.Clear();
    m_bModified = true;
}

void CIniFile::SetAutoSave(bool bAutoSave) {
    m_bAutoSave = bAutoSave;
}

void CIniFile::AddFilterFile(CString strFile) {
    Quiet(false, [&] {
        if (CFFileSyncRegister* files = IniRegister()) {
            files->AddFilterFile(strFile);
        }
        return true;
    });
}

void CIniFile::IsNoNeedSyschro(CString strFile) {
    Quiet(false, [&] {
        if (CFFileSyncRegister* files = IniRegister()) {
            files->RecordSyncTime(strFile, 1);
        }
        return true;
    });
}

int CIniFile::FindKey(CString strKey) const {
    return m_arrKeyNames.Find(strKey);
}

bool CIniFile::FindKey(CString strValueName, CString& strKey) const {
    for (size_t key = 0; key < m_arrKeys.size(); ++key) {
        if (m_arrKeys[key].names.Find(strValueName) >= 0) {
            strKey = m_arrKeyNames[static_cast<int>(key)];
            return true;
        }
    }
    return false;
}

int CIniFile::FindValue(int nKey, CString strName) const {
    if (nKey < 0 || nKey >= GetNumKeys()) {
        return -1;
    }
    return m_arrKeys[static_cast<size_t>(nKey)].names.Find(strName);
}

int CIniFile::GetNumKeys() const {
    return m_arrKeyNames.Count();
}

int CIniFile::GetNumValues(CString strKey) const {
    const int key = FindKey(strKey);
    return key < 0 ? -1 : m_arrKeys[static_cast<size_t>(key)].names.Count();
}

void CIniFile::GetAllKeyname(CStringArray& arrKeys) const {
    Quiet(false, [&] {
        for (int key = 0; key < GetNumKeys(); ++key) {
            arrKeys.Add(m_arrKeyNames[key]);
        }
        return true;
    });
}

CString CIniFile::GetValue(CString strKey, CString strName) {
    const int key = FindKey(strKey);
    if (key < 0) {
        m_strError = _T("Unable to locate specified key.");
        return CString();
    }
    const int value = FindValue(key, strName);
    if (value < 0) {
        m_strError = _T("Unable to locate specified value.");
        return CString();
    }
    return m_arrKeys[static_cast<size_t>(key)].values[static_cast<size_t>(value)];
}

int CIniFile::GetValueI(CString strKey, CString strName) {
    return ::_wtoi(GetValue(strKey, strName));
}

double CIniFile::GetValueF(CString strKey, CString strName) {
    return ::_wtof(GetValue(strKey, strName));
}

bool CIniFile::GetValue(CString strKey, CStringArray& arrNames, CStringArray& arrValues) const {
    const int key = FindKey(strKey);
    return key >= 0 && Quiet(false, [&] {
               const Key& entries = m_arrKeys[static_cast<size_t>(key)];
               for (int i = 0; i < entries.names.Count(); ++i) {
                   arrNames.Add(entries.names[i]);
                   arrValues.Add(entries.values[static_cast<size_t>(i)]);
               }
               return true;
           });
}

bool CIniFile::GetValue(CString strKey, CStringArray& arrLines) const {
    const int key = FindKey(strKey);
    return key >= 0 && Quiet(false, [&] {
               AppendLines(m_arrKeys[static_cast<size_t>(key)], arrLines);
               return true;
           });
}

void CIniFile::GetAllValues(CStringArray& arrLines) const {
    Quiet(false, [&] {
        for (const Key& key : m_arrKeys) {
            AppendLines(key, arrLines);
        }
        return true;
    });
}

void CIniFile::AppendLines(const Key& key, CStringArray& arrLines) {
    for (int i = 0; i < key.names.Count(); ++i) {
        const CString& value = key.values[static_cast<size_t>(i)];
        arrLines.Add(value.IsEmpty() ? key.names[i] : key.names[i] + _T("=") + value);
    }
}

bool CIniFile::GetItemValue(CString strName, CString& strValue) const {
    CString key;
    return GetItemValueAndKey(strName, strValue, key);
}

bool CIniFile::GetItemValueAndKey(CString strName, CString& strValue, CString& strKey) const {
    for (size_t key = 0; key < m_arrKeys.size(); ++key) {
        const int value = m_arrKeys[key].names.Find(strName);
        if (value >= 0) {
            strValue = m_arrKeys[key].values[static_cast<size_t>(value)];
            strKey = m_arrKeyNames[static_cast<int>(key)];
            return true;
        }
    }
    return false;
}

bool CIniFile::IsHaveValueName(CString strKey, CString strName) const {
    return FindValue(FindKey(strKey), strName) >= 0;
}

bool CIniFile::SetValue(CString strKey, CString strName, CString strValue, bool bCreate) {
    return Quiet(false, [&] {
        int key = FindKey(strKey);
        if (key < 0) {
            if (!bCreate) {
                return false;
            }
            key = GetNumKeys();
            m_arrKeys.emplace_back();
            m_arrKeyNames.Add(strKey);
            m_bModified = true;
        }
        Key& entries = m_arrKeys[static_cast<size_t>(key)];
        int value = entries.names.Find(strName);
        if (value < 0) {
            if (!bCreate) {
                return false;
            }
            value = entries.names.Count();
            entries.values.emplace_back();
            entries.names.Add(strName);
            m_bModified = true;
        }
        CString& stored = entries.values[static_cast<size_t>(value)];
        if (m_bReading) {
            stored = strValue;
        } else if (stored != strValue) {
            stored = strValue;
            m_bModified = true;
        }
        return true;
    });
}

bool CIniFile::SetValueI(CString strKey, CString strName, int nValue, bool bCreate) {
    return Quiet(false, [&] {
        CString text;
        text.Format(_T("%d"), nValue);
        return SetValue(strKey, strName, text, bCreate);
    });
}

bool CIniFile::SetValueF(CString strKey, CString strName, double dValue, bool bCreate) {
    return Quiet(false, [&] {
        CString text;
        text.Format(_T("%e"), dValue);
        return SetValue(strKey, strName, text, bCreate);
    });
}

bool CIniFile::SetValue(CString strKey, CStringArray const& arrNames, CStringArray const& arrValues, bool bCreate) {
    bool all = true;
    for (INT_PTR i = 0; i < arrNames.GetSize(); ++i) {
        all &= i < arrValues.GetSize() && SetValue(strKey, arrNames[i], arrValues[i], bCreate);
    }
    return all;
}

bool CIniFile::SetValue(CString strKey, CStringArray const& arrNames, bool bCreate) {
    bool all = true;
    for (INT_PTR i = 0; i < arrNames.GetSize(); ++i) {
        all &= SetValue(strKey, arrNames[i], CString(), bCreate);
    }
    return all;
}

bool CIniFile::DeleteKey(CString strKey) {
    const int key = FindKey(strKey);
    if (key < 0) {
        return false;
    }
    m_arrKeys.erase(m_arrKeys.begin() + key);
    m_arrKeyNames.RemoveAt(key);
    m_bModified = true;
    return true;
}

bool CIniFile::DeleteValue(CString strKey, CString strName) {
    const int key = FindKey(strKey);
    const int value = FindValue(key, strName);
    if (value < 0) {
        return false;
    }
    Key& entries = m_arrKeys[static_cast<size_t>(key)];
    entries.values.erase(entries.values.begin() + value);
    entries.names.RemoveAt(value);
    m_bModified = true;
    return true;
}

}  // namespace kvtfile
