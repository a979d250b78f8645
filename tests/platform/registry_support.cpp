#include "tests/platform/registry_support.h"

#include <algorithm>

namespace kvttest::registry {

TestKey::TestKey() {
    const testing::TestInfo* test = testing::UnitTest::GetInstance()->current_test_info();
    m_path = CString(_T("Software\\kvtfile-test\\")) + Wide(test->test_suite_name()) + _T(".") + Wide(test->name());
    EXPECT_EQ(RemoveKey(HKEY_CURRENT_USER, m_path), 0);
    EXPECT_EQ(::RegCreateKeyExW(HKEY_CURRENT_USER, m_path, 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS, nullptr,
                                &m_key, nullptr),
              0);
}

TestKey::~TestKey() {
    ::RegCloseKey(m_key);
    EXPECT_EQ(RemoveKey(HKEY_CURRENT_USER, m_path), 0);
}

Handle Open(HKEY key, const CString& path, REGSAM access) {
    HKEY result = nullptr;
    EXPECT_EQ(::RegOpenKeyExW(key, path, 0, access, &result), 0) << Utf8(path);
    return Handle(result);
}

Handle Create(HKEY key, const CString& path, REGSAM access) {
    HKEY result = nullptr;
    EXPECT_EQ(::RegCreateKeyExW(key, path, 0, nullptr, REG_OPTION_NON_VOLATILE, access, nullptr, &result, nullptr), 0)
        << Utf8(path);
    return Handle(result);
}

LSTATUS OpenError(HKEY key, LPCWSTR path, REGSAM access) {
    HKEY result = nullptr;
    const LSTATUS error = ::RegOpenKeyExW(key, path, 0, access, &result);
    const Handle closed(result);
    return error;
}

LSTATUS CreateError(HKEY key, LPCWSTR path, REGSAM access) {
    HKEY result = nullptr;
    const LSTATUS error =
        ::RegCreateKeyExW(key, path, 0, nullptr, REG_OPTION_NON_VOLATILE, access, nullptr, &result, nullptr);
    const Handle closed(result);
    return error;
}

LSTATUS SetBytes(HKEY key, const CString& name, std::string_view bytes, DWORD type) {
    return ::RegSetValueExW(key, name, 0, type, reinterpret_cast<const BYTE*>(bytes.data()),
                            static_cast<DWORD>(bytes.size()));
}

std::ostream& operator<<(std::ostream& out, const Value& value) {
    return out << "error " << value.error << " type " << value.type << " bytes " << Hex(value.bytes);
}

Value GetValue(HKEY key, const CString& name) {
    Value value;
    DWORD size = 0;
    value.error = ::RegQueryValueExW(key, name, nullptr, &value.type, nullptr, &size);
    if (value.error == 0) {
        value.bytes.resize(size + 1);
        value.error =
            ::RegQueryValueExW(key, name, nullptr, &value.type, reinterpret_cast<BYTE*>(value.bytes.data()), &size);
        value.bytes.resize(size);
    }
    return value;
}

std::vector<std::string> SubKeys(HKEY key) {
    std::vector<std::string> names;
    WCHAR name[300];
    for (DWORD i = 0;; ++i) {
        DWORD length = 300;
        const LSTATUS error = ::RegEnumKeyExW(key, i, name, &length, nullptr, nullptr, nullptr, nullptr);
        if (error != 0) {
            EXPECT_EQ(error, LSTATUS{ERROR_NO_MORE_ITEMS});
            return names;
        }
        EXPECT_EQ(name[length], WCHAR{0});
        names.push_back(Utf8(CString(name)));
    }
}

std::vector<std::string> ValueNames(HKEY key) {
    std::vector<std::string> names;
    std::vector<WCHAR> name(16384);
    for (DWORD i = 0;; ++i) {
        DWORD length = 16384;
        const LSTATUS error = ::RegEnumValueW(key, i, name.data(), &length, nullptr, nullptr, nullptr, nullptr);
        if (error != 0) {
            EXPECT_EQ(error, LSTATUS{ERROR_NO_MORE_ITEMS});
            return names;
        }
        EXPECT_EQ(name[length], WCHAR{0});
        names.push_back(Utf8(CString(name.data())));
    }
}

CString Repeated(WCHAR character, int count) {
    return CString(character, count);
}

}  // namespace kvttest::registry
