#pragma once

// The Registry Editor's file format ("Windows Registry Editor Version 5.00", and "REGEDIT4" for reading): a text of
// keys and typed values. A file is parsed whole before anything is done with it.

#include <exception>
#include <string>
#include <vector>

#include "kvtfile/types.h"

namespace kvtcommand {

/// One value in a file.
struct RegFileValue {
    CString name;  ///< empty: the key's default value
    DWORD type = REG_NONE;
    std::string data;     ///< the bytes as the registry keeps them
    bool remove = false;  ///< the value is to be deleted
};

/// One key in a file, with the values that stand under its head.
struct RegFileKey {
    CString path;         ///< the whole path, beginning with the root key's full name
    bool remove = false;  ///< the key is to be deleted with everything beneath it
    std::vector<RegFileValue> values;
};

/// A file that is not what the format says. Nothing of it should be used.
class RegFileError : public std::exception {
public:
    RegFileError(int line, std::string what) : m_line(line), m_what(std::move(what)) {}
    /// The offending line, counted from 1.
    int Line() const { return m_line; }
    const char* what() const noexcept override { return m_what.c_str(); }

private:
    int m_line;
    std::string m_what;
};

/// Reads a file: version 5 in UTF-16LE with its mark, in UTF-8 with its mark or in the ANSI code page, version 4 in any
/// of these. Texts of version 4 that stand as bytes are turned from the ANSI code page into UTF-16, as the registry
/// keeps them. Linear in the file.
/// @throws RegFileError for the first line that is wrong.
std::vector<RegFileKey> ParseRegFile(const std::string& bytes);

/// The text of a version 5 file, which `ParseRegFile` gives back exactly. To be written in UTF-16LE with its mark.
CString FormatRegFile(const std::vector<RegFileKey>& keys);

/// The full name of a root key from either form ("HKLM"), compared without regard to case; null when it is none.
LPCWSTR RootKeyName(const CString& name);

/// What the path of a key beneath its root key holds that no path may: "an empty name", ...; null when nothing.
const char* PathFault(const CString& path);

/// Limits of the registry, in UTF-16 units.
constexpr int kMaxKeyName = 255;
constexpr int kMaxValueName = 16383;

}  // namespace kvtcommand
