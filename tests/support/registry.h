#pragma once

// The registry as tests see it: written and read below the library's own classes, so that these can be checked against
// it; and the keys of the CAD hosts, which every test that uses them finds empty.

#include <string>
#include <string_view>

#include "tests/support/support.h"

namespace kvttest {

void PutText(HKEY hive, const CString& key, const CString& name, const CString& text);
void PutNumber(HKEY hive, const CString& key, const CString& name, DWORD number);
void PutBytes(HKEY hive, const CString& key, const CString& name, DWORD type, std::string_view bytes);
/// Makes a key, with those above it.
void PutKey(HKEY hive, const CString& key);
/// Removes a key with all that is in it. @return The first error, but for 2: one that is not there is no error.
LSTATUS RemoveKey(HKEY hive, const CString& key);
void RemoveValue(HKEY hive, const CString& key, const CString& name);

/// Whether there is such a key.
bool KeyExists(HKEY hive, const CString& key);
/// A text value; "(none)" when it is not there, "(type n)" when it is no text.
CString GetText(HKEY hive, const CString& key, const CString& name);

/// A key with all that is in it, one line each: "[sub-key]", then "name=text" or "name=type:bytes"; values in the order
/// of their names. An empty text when there is no such key.
std::string Dump(HKEY hive, const CString& key);

/// The keys of the hosts and of the maker, empty at the start and at the end.
class HostKeys {
public:
    HostKeys();
    ~HostKeys();
    HostKeys(const HostKeys&) = delete;
    HostKeys& operator=(const HostKeys&) = delete;

    /// Loads tests/data/registry/<name>.reg; a failure ends the test.
    void LoadFile(const std::string& name);
    /// Loads <name>-machine and <name>-user.
    void Load(const std::string& name);

private:
    static void Clear();
    CString m_commonFiles;
};

}  // namespace kvttest
