#pragma once

// The registry as the verbs see it: keys by their whole path, values with their bytes, and failures that name the key.

#include <string>
#include <vector>

#include "tools/kvtfile/regfile.h"
#include "tools/kvtfile/report.h"

namespace kvtcommand {

/// A key's place: a root key and the path beneath it, empty for the root key itself.
struct KeyPath {
    HKEY root = nullptr;
    CString rootName;
    CString path;

    /// Reads "HKCU\Software\Demo" or the root key's full name; one backslash at the end is dropped. A wrong path is a
    /// failure of usage.
    static KeyPath Parse(const CString& text);
    static KeyPath Parse(const std::string& text) { return Parse(Wide(text)); }
    /// A path beneath HKEY_LOCAL_MACHINE, and beneath HKEY_CURRENT_USER.
    static KeyPath InMachine(const CString& path);
    static KeyPath InUser(const CString& path);
    /// The path with the root key's full name.
    CString Full() const { return path.IsEmpty() ? rootName : rootName + _T("\\") + path; }
    std::string Shown() const { return Utf8(Full()); }
    KeyPath Child(const CString& name) const;
};

/// A folder with "\" at its end; an empty text stays so.
CString WithBackslash(const CString& folder);

/// The failure for a call on a key that did not succeed.
/// @param what what was being done, with the key: "HKEY_CURRENT_USER\Software"
Failure RegistryFailure(const std::string& what, LONG error);

/// An open key.
class OpenKey {
public:
    OpenKey() = default;
    ~OpenKey() { Close(); }
    OpenKey(const OpenKey&) = delete;
    OpenKey& operator=(const OpenKey&) = delete;

    /// @return whether the key is there; anything but its absence is a failure.
    bool TryOpen(const KeyPath& path, REGSAM access);
    /// A failure when there is no such key.
    void Open(const KeyPath& path, REGSAM access);
    /// @return whether the key was not there before.
    bool Create(const KeyPath& path, REGSAM access);

    std::vector<CString> KeyNames() const;
    std::vector<RegFileValue> Values() const;
    /// One value; false when there is none of that name.
    bool ReadValue(const CString& name, RegFileValue& value) const;
    void WriteValue(const RegFileValue& value) const;
    /// @return whether there was such a value.
    bool DeleteValue(const CString& name) const;

private:
    void Close();

    HKEY m_key = nullptr;
    std::string m_shown;
};

/// Visits a key and, when asked to, everything beneath it: `visit(path, key, namesOfItsKeys)`, a key before what is in
/// it. No recursion: the registry may be deep. A failure when the first key is not there.
template <class Visit>
void ForEachKey(const KeyPath& path, bool recursive, Visit visit) {
    std::vector<KeyPath> ahead = {path};
    for (bool first = true; !ahead.empty(); first = false) {
        const KeyPath at = ahead.back();
        ahead.pop_back();
        OpenKey key;
        if (first) {
            key.Open(at, KEY_READ);
        } else if (!key.TryOpen(at, KEY_READ)) {
            continue;  // deleted since it was listed
        }
        const std::vector<CString> names = key.KeyNames();
        visit(at, key, names);
        if (recursive) {
            for (size_t i = names.size(); i-- > 0;) {
                ahead.push_back(at.Child(names[i]));
            }
        }
    }
}

/// A failure when the registry cannot be read at all, for verbs whose functions of the library only find nothing then.
void RequireRegistry();

/// Deletes a key with everything beneath it; false when there is none.
bool DeleteTree(const KeyPath& path);

/// "REG_SZ"; a number such as "0x20" for a type without a name.
std::string TypeName(DWORD type);
/// The type of a name, with or without "REG_" and without regard to case; false when there is none.
bool ParseType(const std::string& name, DWORD& type);

/// A value's name as messages show it.
std::string ShownName(const CString& name);
/// "Width = REG_DWORD 800".
std::string ShownValue(const RegFileValue& value);
/// The data as one text: texts as they are (lines of REG_MULTI_SZ parted by "\n"), numbers in decimal, anything else in
/// hexadecimal digits.
std::string PlainData(const RegFileValue& value);
/// The same, with texts in quotes.
std::string ShownData(const RegFileValue& value);
/// `name`, `type`, `data` (text, number, list of texts, or null when the bytes are not of the type) and `bytes`.
Json ValueJson(const RegFileValue& value);
/// The bytes of data given as texts, one except for REG_MULTI_SZ; data that is not of the type is a failure of usage.
std::string ParseData(DWORD type, const std::vector<std::string>& data);

}  // namespace kvtcommand
