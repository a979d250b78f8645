#pragma once

// What the registry tests share: a fresh key for each test, and values by their bytes.

#include <string>
#include <utility>
#include <vector>

#include "tests/support/registry.h"
#include "tests/support/support.h"

namespace kvttest::registry {

/// HKEY_CURRENT_USER\Software\kvtfile-test\<name>, empty at the start and gone at the end.
class TestKey {
public:
    TestKey();
    ~TestKey();
    TestKey(const TestKey&) = delete;
    TestKey& operator=(const TestKey&) = delete;

    HKEY Key() const { return m_key; }
    /// Its path below HKEY_CURRENT_USER.
    const CString& Path() const { return m_path; }

private:
    CString m_path;
    HKEY m_key = nullptr;
};

/// An open key that is closed at the end.
class Handle {
public:
    Handle() = default;
    explicit Handle(HKEY key) : m_key(key) {}
    Handle(Handle&& other) noexcept : m_key(std::exchange(other.m_key, nullptr)) {}
    Handle& operator=(Handle&& other) noexcept {
        std::swap(m_key, other.m_key);
        return *this;
    }
    ~Handle() {
        if (m_key) {
            ::RegCloseKey(m_key);
        }
    }
    operator HKEY() const { return m_key; }

private:
    HKEY m_key = nullptr;
};

/// Opens or makes a key; a failure ends the test's use of it.
Handle Open(HKEY key, const CString& path, REGSAM access = KEY_ALL_ACCESS);
Handle Create(HKEY key, const CString& path, REGSAM access = KEY_ALL_ACCESS);

/// The errors of the same.
LSTATUS OpenError(HKEY key, LPCWSTR path, REGSAM access = KEY_ALL_ACCESS);
LSTATUS CreateError(HKEY key, LPCWSTR path, REGSAM access = KEY_ALL_ACCESS);

LSTATUS SetBytes(HKEY key, const CString& name, std::string_view bytes, DWORD type = REG_BINARY);

struct Value {
    LSTATUS error = 0;
    DWORD type = 0;
    std::string bytes;
    bool operator==(const Value&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Value& value);

/// A value by the two calls of the size-query protocol.
Value GetValue(HKEY key, const CString& name);

/// The names of sub-keys and values in the order of their indices; the last error must be 259.
std::vector<std::string> SubKeys(HKEY key);
std::vector<std::string> ValueNames(HKEY key);

/// So many times the character.
CString Repeated(WCHAR character, int count);

}  // namespace kvttest::registry
