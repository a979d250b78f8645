// Output and text conversion. Standard output carries results alone; everything said about them goes to standard error.

#include "tools/kvtfile/report.h"

#include <cstdio>

namespace kvtcommand {

namespace {

void Write(std::FILE* stream, std::string_view text) {
    std::fwrite(text.data(), 1, text.size(), stream);
}

}  // namespace

std::string Utf8(const CString& text) {
    if (text.IsEmpty()) {
        return {};
    }
    const int size = ::WideCharToMultiByte(CP_UTF8, 0, text, text.GetLength(), nullptr, 0, nullptr, nullptr);
    std::string bytes(static_cast<size_t>(size), '\0');
    ::WideCharToMultiByte(CP_UTF8, 0, text, text.GetLength(), bytes.data(), size, nullptr, nullptr);
    return bytes;
}

CString Wide(std::string_view utf8) {
    if (utf8.empty()) {
        return {};
    }
    const int size = static_cast<int>(utf8.size());
    const int need = ::MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, utf8.data(), size, nullptr, 0);
    if (need <= 0) {
        throw Failure(exitUsage, "an argument is not UTF-8 text", "Give it in UTF-8.");
    }
    CString text;
    ::MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, utf8.data(), size, text.GetBuffer(need), need);
    text.ReleaseBuffer(need);
    return text;
}

void Print(std::string_view line) {
    Write(stdout, line);
    Write(stdout, "\n");
}

void PrintJson(const Json& value) {
    Print(value.dump(2));
}

void Note(std::string_view line) {
    Write(stderr, "kvtfile: ");
    Write(stderr, line);
    Write(stderr, "\n");
}

void FlushOutput() {
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
        throw Failure(exitFormat, "the output cannot be written", "Look at where standard output leads.");
    }
}

std::string Quoted(const CString& text) {
    return Json(Utf8(text)).dump();
}

std::string WithSeparators(unsigned long long number) {
    std::string text = std::to_string(number);
    for (size_t at = text.size(); at > 3;) {
        at -= 3;
        text.insert(at, 1, ',');
    }
    return text;
}

std::string Counted(size_t count, std::string_view one, std::string_view many) {
    return std::to_string(count) + " " + std::string(count == 1 ? one : many);
}

}  // namespace kvtcommand
