#pragma once

// A key of the registry for one test, seen through the calls of the system alone.

#include <string>
#include <string_view>
#include <vector>

#include "tests/support/support.h"

namespace kvttest {

/// A fresh, empty key Software\kvtfile-test\<name of its own>, removed with everything in it at the end.
class TestKey {
public:
    explicit TestKey(HKEY root = HKEY_CURRENT_USER);
    ~TestKey();
    TestKey(const TestKey&) = delete;
    TestKey& operator=(const TestKey&) = delete;

    HKEY Root() const { return m_root; }
    /// Open for everything.
    HKEY Handle() const { return m_key; }
    /// The path beneath the root, without a backslash at its end.
    const CString& Path() const { return m_path; }
    CString Path(const CString& subKey) const { return m_path + _T("\\") + subKey; }

    /// Makes a sub-key.
    void Make(const CString& subKey) const;
    bool Has(const CString& subKey) const;
    void Put(LPCWSTR name, DWORD type, std::string_view bytes) const;
    void PutText(LPCWSTR name, std::u16string_view text) const;
    /// Type and bytes of a value, "3: 01 02"; "none" when there is none.
    std::string Shown(LPCWSTR name, const CString& subKey = CString()) const;

private:
    HKEY m_root;
    CString m_path;
    HKEY m_key = nullptr;
};

/// A text as UTF-16LE bytes, with its NUL.
std::string TextBytes(std::u16string_view text);

/// The elements of a string array, as UTF-8.
std::vector<std::string> Texts(const CStringArray& array);

}  // namespace kvttest
