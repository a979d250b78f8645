#pragma once

// Lines of wide text on standard output, in UTF-8.

#include <cstdio>
#include <string>

#include "kvtfile/XmlFile.h"

inline void PrintLine(const CString& text) {
    const int size = kvtfile::CFXmlFile::UTF16To8(nullptr, text, text.GetLength());
    std::string bytes(static_cast<size_t>(size), '\0');
    kvtfile::CFXmlFile::UTF16To8(bytes.data(), text, text.GetLength());
    std::puts(bytes.c_str());
}
