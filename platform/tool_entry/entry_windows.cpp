// Entry of the command on Windows: arguments arrive as UTF-16, output leaves as UTF-8 without changed line ends, on a
// console too (whose code page is put back at the end).

#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <cstdio>
#include <string>
#include <vector>

#include "tools/kvtfile/command.h"

namespace {

std::string Utf8(const wchar_t* text) {
    const int size = ::WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
    std::string bytes(static_cast<size_t>(size), '\0');
    ::WideCharToMultiByte(CP_UTF8, 0, text, -1, bytes.data(), size, nullptr, nullptr);
    bytes.pop_back();
    return bytes;
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
    const UINT consolePage = ::GetConsoleOutputCP();
    ::SetConsoleOutputCP(CP_UTF8);
    std::vector<std::string> utf8;
    for (int i = 1; i < count; ++i) {
        utf8.push_back(Utf8(arguments[i]));
    }
    const int result = kvtcommand::Run(std::move(utf8));
    if (consolePage != 0) {
        ::SetConsoleOutputCP(consolePage);
    }
    return result;
}
