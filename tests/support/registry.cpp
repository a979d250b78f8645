// The registry for tests, through the Win32 calls that both targets have.

#include "tests/support/registry.h"

#include <map>
#include <vector>

namespace kvttest {

namespace {

constexpr WCHAR WINDOWS_KEY[] = _T("Software\\Microsoft\\Windows\\CurrentVersion");
constexpr WCHAR COMMON_FILES[] = _T("CommonFilesDir");

// An open key; null when there is none.
class Key {
public:
    Key(HKEY hive, const CString& path, REGSAM access) { ::RegOpenKeyExW(hive, path, 0, access, &m_key); }
    ~Key() {
        if (m_key) {
            ::RegCloseKey(m_key);
        }
    }
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;
    operator HKEY() const { return m_key; }

private:
    HKEY m_key = nullptr;
};

std::vector<CString> SubKeys(HKEY key) {
    std::vector<CString> names;
    WCHAR name[300];  // more than a name may have: Wine keeps longer ones
    for (DWORD index = 0;; ++index) {
        DWORD length = 300;
        if (::RegEnumKeyExW(key, index, name, &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) {
            return names;
        }
        names.push_back(name);
    }
}

struct Value {
    DWORD type = REG_NONE;
    std::string bytes;
};

bool ReadValue(HKEY key, const CString& name, Value& value) {
    DWORD size = 0;
    if (!key || ::RegQueryValueExW(key, name, nullptr, &value.type, nullptr, &size) != ERROR_SUCCESS) {
        return false;
    }
    value.bytes.resize(size);
    return ::RegQueryValueExW(key, name, nullptr, &value.type, reinterpret_cast<BYTE*>(value.bytes.data()), &size) ==
           ERROR_SUCCESS;
}

CString TextOf(const std::string& bytes) {
    CString text;
    for (size_t i = 0; i + 1 < bytes.size(); i += 2) {
        text.AppendChar(
            static_cast<WCHAR>(static_cast<unsigned char>(bytes[i]) | (static_cast<unsigned char>(bytes[i + 1]) << 8)));
    }
    return text;
}

std::string Shown(const Value& value) {
    // A text with one NUL, at its end.
    const CString text = TextOf(value.bytes);
    const int length = text.GetLength() - 1;
    if (value.type == REG_SZ && value.bytes.size() % 2 == 0 && length >= 0 &&
        text.View().find(WCHAR(0)) == static_cast<size_t>(length)) {
        return Utf8(text.Left(length));
    }
    return std::to_string(value.type) + ":" + Hex(value.bytes);
}

void DumpKey(HKEY key, const std::string& path, std::string& out) {
    out += "[" + path + "]\n";
    std::map<std::string, std::string> values;
    WCHAR name[256];
    for (DWORD index = 0;; ++index) {
        DWORD length = 256;
        if (::RegEnumValueW(key, index, name, &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) {
            break;
        }
        Value value;
        EXPECT_TRUE(ReadValue(key, name, value));
        values[Utf8(name)] = Shown(value);
    }
    for (const auto& [valueName, shown] : values) {
        out += valueName + "=" + shown + "\n";
    }
    for (const CString& subKey : SubKeys(key)) {
        DumpKey(Key(key, subKey, KEY_READ), path.empty() ? Utf8(subKey) : path + "\\" + Utf8(subKey), out);
    }
}

}  // namespace

void PutBytes(HKEY hive, const CString& key, const CString& name, DWORD type, std::string_view bytes) {
    HKEY made = nullptr;
    ASSERT_EQ(
        ::RegCreateKeyExW(hive, key, 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS, nullptr, &made, nullptr),
        ERROR_SUCCESS)
        << Utf8(key);
    // What stands behind the bytes is no NUL: Wine would take it in as the end of a text without one.
    std::string copy(bytes);
    copy += "\xFF\xFF";
    EXPECT_EQ(::RegSetValueExW(made, name, 0, type, reinterpret_cast<const BYTE*>(copy.data()),
                               static_cast<DWORD>(bytes.size())),
              ERROR_SUCCESS)
        << Utf8(key) << ", " << Utf8(name);
    ::RegCloseKey(made);
}

void PutText(HKEY hive, const CString& key, const CString& name, const CString& text) {
    std::string bytes;
    for (int i = 0; i <= text.GetLength(); ++i) {
        bytes += static_cast<char>(text[i] & 0xFF);
        bytes += static_cast<char>(text[i] >> 8);
    }
    PutBytes(hive, key, name, REG_SZ, bytes);
}

void PutNumber(HKEY hive, const CString& key, const CString& name, DWORD number) {
    std::string bytes;
    for (int shift = 0; shift < 32; shift += 8) {
        bytes += static_cast<char>(number >> shift);
    }
    PutBytes(hive, key, name, REG_DWORD, bytes);
}

void PutKey(HKEY hive, const CString& key) {
    HKEY made = nullptr;
    ASSERT_EQ(
        ::RegCreateKeyExW(hive, key, 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS, nullptr, &made, nullptr),
        ERROR_SUCCESS)
        << Utf8(key);
    ::RegCloseKey(made);
}

LSTATUS RemoveKey(HKEY hive, const CString& key) {
    HKEY opened = nullptr;
    LSTATUS error = ::RegOpenKeyExW(hive, key, 0, KEY_READ, &opened);
    if (error != ERROR_SUCCESS) {
        return error == LSTATUS{ERROR_FILE_NOT_FOUND} ? ERROR_SUCCESS : error;
    }
    for (const CString& subKey : SubKeys(opened)) {
        if (error == ERROR_SUCCESS) {
            error = RemoveKey(opened, subKey);
        }
    }
    ::RegCloseKey(opened);
    return error == ERROR_SUCCESS ? ::RegDeleteKeyW(hive, key) : error;
}

void RemoveValue(HKEY hive, const CString& key, const CString& name) {
    const Key opened(hive, key, KEY_ALL_ACCESS);
    ::RegDeleteValueW(opened, name);
}

bool KeyExists(HKEY hive, const CString& key) {
    return Key(hive, key, KEY_READ) != nullptr;
}

CString GetText(HKEY hive, const CString& key, const CString& name) {
    Value value;
    if (!ReadValue(Key(hive, key, KEY_READ), name, value)) {
        return _T("(none)");
    }
    if (value.type != REG_SZ && value.type != REG_EXPAND_SZ) {
        CString shown;
        shown.Format(_T("(type %u)"), value.type);
        return shown;
    }
    return TextOf(value.bytes).GetString();
}

std::string Dump(HKEY hive, const CString& key) {
    std::string out;
    const Key opened(hive, key, KEY_READ);
    if (opened) {
        DumpKey(opened, "", out);
    }
    return out;
}

HostKeys::HostKeys() : m_commonFiles(GetText(HKEY_LOCAL_MACHINE, WINDOWS_KEY, COMMON_FILES)) {
    Clear();
}

HostKeys::~HostKeys() {
    Clear();
    if (m_commonFiles != _T("(none)")) {
        PutText(HKEY_LOCAL_MACHINE, WINDOWS_KEY, COMMON_FILES, m_commonFiles);
    }
}

void HostKeys::Clear() {
    for (const LPCWSTR key :
         {_T("Software\\Autodesk"), _T("Software\\ZWSOFT"), _T("Software\\GstarSoft"), _T("Software\\orva")}) {
        RemoveKey(HKEY_LOCAL_MACHINE, key);
        RemoveKey(HKEY_CURRENT_USER, key);
    }
}

}  // namespace kvttest
