#include "tests/cadhost/test_key.h"

#include "tests/support/registry.h"

namespace kvttest {

TestKey::TestKey(HKEY root) : m_root(root) {
    static int next = 0;
    m_path.Format(_T("Software\\kvtfile-test\\%u-%d"), static_cast<unsigned>(::GetCurrentProcessId()), next++);
    RemoveKey(root, m_path);
    EXPECT_EQ(
        ::RegCreateKeyExW(root, m_path, 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS, nullptr, &m_key, nullptr),
        0);
}

TestKey::~TestKey() {
    ::RegCloseKey(m_key);
    RemoveKey(m_root, m_path);
}

void TestKey::Make(const CString& subKey) const {
    HKEY key = nullptr;
    EXPECT_EQ(
        ::RegCreateKeyExW(m_key, subKey, 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS, nullptr, &key, nullptr),
        0);
    ::RegCloseKey(key);
}

bool TestKey::Has(const CString& subKey) const {
    HKEY key = nullptr;
    if (::RegOpenKeyExW(m_key, subKey, 0, KEY_QUERY_VALUE, &key) != 0) {
        return false;
    }
    ::RegCloseKey(key);
    return true;
}

void TestKey::Put(LPCWSTR name, DWORD type, std::string_view bytes) const {
    // A text that is followed by a NUL in memory would be stored with it.
    const std::string followed = std::string(bytes) + "\xFF\xFF";
    EXPECT_EQ(::RegSetValueExW(m_key, name, 0, type, reinterpret_cast<const BYTE*>(followed.data()),
                               static_cast<DWORD>(bytes.size())),
              0);
}

void TestKey::PutText(LPCWSTR name, std::u16string_view text) const {
    Put(name, REG_SZ, TextBytes(text));
}

std::string TestKey::Shown(LPCWSTR name, const CString& subKey) const {
    HKEY key = nullptr;
    if (::RegOpenKeyExW(m_key, subKey, 0, KEY_QUERY_VALUE, &key) != 0) {
        return "no key";
    }
    DWORD type = 0;
    DWORD size = 0;
    std::string shown = "none";
    if (::RegQueryValueExW(key, name, nullptr, &type, nullptr, &size) == 0) {
        std::string bytes(size, '\0');
        if (size != 0) {
            EXPECT_EQ(::RegQueryValueExW(key, name, nullptr, nullptr, reinterpret_cast<BYTE*>(bytes.data()), &size), 0);
        }
        shown = std::to_string(type) + ":" + (size != 0 ? " " : "") + Hex(bytes);
    }
    ::RegCloseKey(key);
    return shown;
}

std::string TextBytes(std::u16string_view text) {
    std::string bytes;
    for (const char16_t unit : text) {
        bytes += static_cast<char>(unit & 0xFF);
        bytes += static_cast<char>(unit >> 8);
    }
    return bytes + std::string(2, '\0');
}

std::vector<std::string> Texts(const CStringArray& array) {
    std::vector<std::string> texts;
    for (INT_PTR i = 0; i < array.GetSize(); ++i) {
        texts.push_back(Utf8(array[i]));
    }
    return texts;
}

}  // namespace kvttest
