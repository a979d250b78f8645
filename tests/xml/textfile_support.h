#pragma once

// What the tests of text files share: one call of ReadTextFile or WriteTextFile with all that it gives, from poisoned
// arguments, and UTF-16 files.

#include <string>
#include <vector>

#include "kvtfile/XmlFile.h"
#include "tests/support/support.h"

namespace kvttest {

using kvtfile::CFXmlFile;

constexpr int flagLe = 0x1;
constexpr int flagUtf8Mark = 0x4;
constexpr int flagIgnoreCase = 0x8;
constexpr int flagAppend = 0x40;
constexpr int flagBe = 0x80;

/// What one call of ReadTextFile gave, from poisoned arguments.
struct Read {
    bool done = false;
    CString text = _T("poison");
    CString result = _T("poison");
    int flags = 0;
    CString encoding;
};

inline Read ReadFrom(const CString& path, int flags = 0, const char* encoding = "") {
    Read read;
    read.flags = flags;
    read.encoding = encoding;
    read.done = CFXmlFile::ReadTextFile(path, read.text, &read.result, &read.flags, &read.encoding);
    return read;
}

inline Read ReadOf(const std::string& bytes, int flags = 0, const char* encoding = "") {
    const TestFolder folder;
    WriteBytes(folder.Path(_T("file.xml")), bytes);
    return ReadFrom(folder.Path(_T("file.xml")), flags, encoding);
}

struct Written {
    bool done = false;
    std::string result;
    std::string bytes;
    CString encoding;
};

inline Written WriteOver(const std::string& old, const CString& text, int flags = 0, const char* encoding = "") {
    const TestFolder folder;
    const CString path = folder.Path(_T("file.xml"));
    if (!old.empty()) {
        WriteBytes(path, old);
    }
    Written written;
    written.encoding = encoding;
    CString result = _T("poison");
    written.done = CFXmlFile::WriteTextFile(path, text, &result, &flags, &written.encoding);
    written.result = Utf8(result);
    written.bytes = ReadBytes(path);
    EXPECT_EQ(folder.Names(), std::vector<std::string>{"file.xml"});
    return written;
}

inline Written Write(const CString& text, int flags = 0, const char* encoding = "") {
    return WriteOver("", text, flags, encoding);
}

inline std::string Le(const std::string& utf8) {
    const CString text = Wide(utf8);
    std::string bytes;
    for (int i = 0; i < text.GetLength(); ++i) {
        bytes += static_cast<char>(text[i] & 0xFF);
        bytes += static_cast<char>(text[i] >> 8);
    }
    return bytes;
}

inline std::string Be(const std::string& utf8) {
    std::string bytes = Le(utf8);
    for (size_t i = 0; i < bytes.size(); i += 2) {
        std::swap(bytes[i], bytes[i + 1]);
    }
    return bytes;
}

inline const std::string utf8Mark = "\xEF\xBB\xBF";
inline const std::string leMark = "\xFF\xFE";
inline const std::string beMark = "\xFE\xFF";

}  // namespace kvttest
