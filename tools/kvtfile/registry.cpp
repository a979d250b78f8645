// Keys: paths, reading, writing. Sizes are asked for in a loop, since another process may write in between.

#include "tools/kvtfile/registry.h"

#include "kvtfile/Registry.h"
#include "tools/kvtfile/text_file.h"

namespace kvtcommand {

namespace {

constexpr const char* kPathAdvice =
    "A key's path is, for example, HKCU\\Software\\Demo; the root keys are HKCR, HKCU, HKLM, HKU and HKCC.";

HKEY RootHandle(const CString& name) {
    if (name == _T("HKEY_CLASSES_ROOT")) {
        return HKEY_CLASSES_ROOT;
    }
    if (name == _T("HKEY_CURRENT_USER")) {
        return HKEY_CURRENT_USER;
    }
    if (name == _T("HKEY_LOCAL_MACHINE")) {
        return HKEY_LOCAL_MACHINE;
    }
    return name == _T("HKEY_USERS") ? HKEY_USERS : HKEY_CURRENT_CONFIG;
}

}  // namespace

KeyPath KeyPath::Parse(const CString& text) {
    CString path = text;
    if (path.Right(1) == _T("\\")) {
        path = path.Left(path.GetLength() - 1);
    }
    const int rootEnd = path.Find('\\');
    const LPCWSTR rootName = RootKeyName(rootEnd < 0 ? path : path.Left(rootEnd));
    if (rootName == nullptr) {
        throw Failure(exitUsage, "'" + Utf8(text) + "' does not begin with a root key", kPathAdvice);
    }
    KeyPath key;
    key.rootName = rootName;
    key.root = RootHandle(key.rootName);
    key.path = rootEnd < 0 ? CString() : path.Mid(rootEnd + 1);
    if (const char* fault = rootEnd < 0 ? nullptr : PathFault(key.path)) {
        throw Failure(exitUsage, "'" + Utf8(text) + "' holds " + fault, kPathAdvice);
    }
    return key;
}

KeyPath KeyPath::InMachine(const CString& path) {
    return {HKEY_LOCAL_MACHINE, _T("HKEY_LOCAL_MACHINE"), path};
}

KeyPath KeyPath::InUser(const CString& path) {
    return {HKEY_CURRENT_USER, _T("HKEY_CURRENT_USER"), path};
}

KeyPath KeyPath::Child(const CString& name) const {
    KeyPath child = *this;
    child.path = path.IsEmpty() ? name : path + _T("\\") + name;
    return child;
}

CString WithBackslash(const CString& folder) {
    return folder.IsEmpty() || folder.Right(1) == _T("\\") ? folder : folder + _T("\\");
}

Failure RegistryFailure(const std::string& what, LONG error) {
    const std::string why = SystemText(static_cast<DWORD>(error));
    switch (error) {
        case ERROR_FILE_NOT_FOUND:
            return Failure(exitRefused, what + ": there is no such key",
                           "'kvtfile reg query' lists the keys beneath a key.");
        case ERROR_ACCESS_DENIED:
            return Failure(exitRefused, what + ": " + why, "Look at the rights to the registry.");
        case ERROR_INVALID_PARAMETER:
            return Failure(exitFormat, what + ": " + why,
                           "No key can be made right below HKLM or HKU, nor more than 512 levels deep.");
        default:
            return Failure(exitFormat, what + ": " + why,
                           "Look at the registry: its place, its rights and the room left.");
    }
}

bool OpenKey::TryOpen(const KeyPath& path, REGSAM access) {
    Close();
    m_shown = path.Shown();
    const LONG error = ::RegOpenKeyExW(path.root, path.path, 0, access, &m_key);
    if (error == ERROR_FILE_NOT_FOUND) {
        return false;
    }
    if (error != ERROR_SUCCESS) {
        throw RegistryFailure(m_shown, error);
    }
    return true;
}

void OpenKey::Open(const KeyPath& path, REGSAM access) {
    if (!TryOpen(path, access)) {
        throw RegistryFailure(m_shown, ERROR_FILE_NOT_FOUND);
    }
}

bool OpenKey::Create(const KeyPath& path, REGSAM access) {
    Close();
    m_shown = path.Shown();
    DWORD disposition = 0;
    const LONG error = ::RegCreateKeyExW(path.root, path.path, 0, nullptr, REG_OPTION_NON_VOLATILE, access, nullptr,
                                         &m_key, &disposition);
    if (error != ERROR_SUCCESS) {
        throw RegistryFailure(m_shown, error);
    }
    return disposition == REG_CREATED_NEW_KEY;
}

void OpenKey::Close() {
    if (m_key != nullptr) {
        ::RegCloseKey(m_key);
        m_key = nullptr;
    }
}

std::vector<CString> OpenKey::KeyNames() const {
    std::vector<CString> names;
    for (DWORD index = 0;; ++index) {
        WCHAR name[kMaxKeyName + 1];
        DWORD length = kMaxKeyName + 1;
        const LONG error = ::RegEnumKeyExW(m_key, index, name, &length, nullptr, nullptr, nullptr, nullptr);
        if (error == ERROR_NO_MORE_ITEMS) {
            return names;
        }
        if (error != ERROR_SUCCESS) {
            throw RegistryFailure(m_shown, error);
        }
        names.emplace_back(name, static_cast<int>(length));
    }
}

std::vector<RegFileValue> OpenKey::Values() const {
    std::vector<RegFileValue> values;
    std::vector<WCHAR> name(kMaxValueName + 1);
    for (DWORD index = 0;; ++index) {
        DWORD length = kMaxValueName + 1;
        const LONG error = ::RegEnumValueW(m_key, index, name.data(), &length, nullptr, nullptr, nullptr, nullptr);
        if (error == ERROR_NO_MORE_ITEMS) {
            return values;
        }
        if (error != ERROR_SUCCESS) {
            throw RegistryFailure(m_shown, error);
        }
        RegFileValue value;
        if (ReadValue(CString(name.data(), static_cast<int>(length)), value)) {
            values.push_back(std::move(value));
        }
    }
}

bool OpenKey::ReadValue(const CString& name, RegFileValue& value) const {
    value.name = name;
    DWORD size = 256;
    for (;;) {
        value.data.resize(size);
        const LONG error =
            ::RegQueryValueExW(m_key, name, nullptr, &value.type, reinterpret_cast<BYTE*>(value.data.data()), &size);
        if (error == ERROR_MORE_DATA) {
            continue;
        }
        if (error == ERROR_FILE_NOT_FOUND) {
            return false;
        }
        if (error != ERROR_SUCCESS) {
            throw RegistryFailure(m_shown, error);
        }
        value.data.resize(size);
        return true;
    }
}

void OpenKey::WriteValue(const RegFileValue& value) const {
    // Windows ends a text that has no NUL with the unit behind it, when that happens to be 0.
    const std::string bytes = value.data + "\xFF\xFF";
    const LONG error = ::RegSetValueExW(m_key, value.name, 0, value.type, reinterpret_cast<const BYTE*>(bytes.data()),
                                        static_cast<DWORD>(value.data.size()));
    if (error != ERROR_SUCCESS) {
        throw RegistryFailure(m_shown, error);
    }
}

bool OpenKey::DeleteValue(const CString& name) const {
    const LONG error = ::RegDeleteValueW(m_key, name);
    if (error != ERROR_SUCCESS && error != ERROR_FILE_NOT_FOUND) {
        throw RegistryFailure(m_shown, error);
    }
    return error == ERROR_SUCCESS;
}

void RequireRegistry() {
    OpenKey key;
    key.TryOpen(KeyPath::InUser(_T("Software")), KEY_READ);
    key.TryOpen(KeyPath::InMachine(_T("Software")), KEY_READ);
}

bool DeleteTree(const KeyPath& path) {
    {
        OpenKey key;
        if (!key.TryOpen(path, KEY_READ)) {
            return false;
        }
    }
    kvtfile::CFRegistry registry(0, 0);
    registry.SetHKey(path.root);
    if (registry.DeleteKey(path.path, 0) == 0) {
        throw Failure(exitRefused, path.Shown() + ": the key cannot be deleted",
                      "Look at its rights, and whether something else writes beneath it.");
    }
    return true;
}

}  // namespace kvtcommand
