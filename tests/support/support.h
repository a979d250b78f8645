#pragma once

// What every test file shares: texts that print themselves, and folders and files that leave nothing behind.

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "kvtfile/types.h"

namespace kvtmfc {
/// Lets a failed comparison print both texts.
void PrintTo(const CString& text, std::ostream* out);
}  // namespace kvtmfc

namespace kvttest {

/// The text as UTF-8; lone surrogates come out as U+FFFD.
std::string Utf8(const CString& text);

/// The text of UTF-8 bytes.
CString Wide(std::string_view utf8);

/// A fresh, empty folder that is removed with everything in it at the end.
class TestFolder {
public:
    TestFolder();
    ~TestFolder();
    TestFolder(const TestFolder&) = delete;
    TestFolder& operator=(const TestFolder&) = delete;

    /// The folder's path, without a separator at its end.
    const CString& Path() const { return m_path; }
    /// The path of something in the folder.
    CString Path(const CString& name) const;
    /// The names in the folder, in upper-case order.
    std::vector<std::string> Names() const;

private:
    CString m_path;
};

/// Writes a whole file; a failure ends the test.
void WriteBytes(const CString& path, std::string_view bytes);
/// A whole file's bytes; a failure is reported and gives an empty text.
std::string ReadBytes(const CString& path);
bool Exists(const CString& path);
/// Makes a folder and those above it.
void MakeFolders(const CString& path);
/// Removes a folder with all that is in it, or a file; read-only ones too.
void RemoveTree(const CString& path);
/// Sets a file's last-write time, in seconds since 1970.
void SetFileSeconds(const CString& path, long long seconds);
/// The system's own text of an error, up to its line end, as the library reports it.
CString SystemText(DWORD error);

/// Bytes as hexadecimal pairs, for comparisons that print well.
std::string Hex(std::string_view bytes);

namespace detail {
/// Prepares what one test process may touch: its own prefix, or a cleared drive C under Wine.
void PrepareEnvironment();
void CleanEnvironment();
}  // namespace detail

}  // namespace kvttest
