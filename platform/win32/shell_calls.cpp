// Small calls of the shell: what a path is, and opening a file on the desktop.

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "errors.h"
#include "names.h"
#include "paths.h"
#include "winapi.h"

namespace {

constexpr INT_PTR kNoOpener = 31;  // of ShellExecuteW: no program for this
constexpr INT_PTR kHandedOver = 42;
constexpr int kMissing = 127;

// The opener may stay as long as the document is open: the shell that starts it does not wait for it.
constexpr const char* kScript =
    "command -v xdg-open >/dev/null || exit 127; xdg-open \"$1\" </dev/null >/dev/null 2>&1 &";

bool HandToDesktop(const std::string& what) {
    std::string script = kScript;
    std::string name = "sh";
    std::string path = what;
    std::string flag = "-c";
    char* const words[] = {name.data(), flag.data(), script.data(), name.data(), path.data(), nullptr};
    pid_t child = 0;
    if (::posix_spawn(&child, "/bin/sh", nullptr, nullptr, words, environ) != 0) {
        return false;
    }
    int status = 0;
    while (::waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) {
            return true;  // the program has its children collected by the system
        }
    }
    return !WIFEXITED(status) || WEXITSTATUS(status) != kMissing;
}

bool IsAddress(LPCWSTR file) {
    return std::u16string_view(file).find(u"://") != std::u16string_view::npos;
}

HINSTANCE Answer(INT_PTR code) {
    return reinterpret_cast<HINSTANCE>(code);
}

}  // namespace

BOOL PathIsDirectoryW(LPCWSTR path) {
    const DWORD attributes = GetFileAttributesW(path);
    const bool known = attributes != INVALID_FILE_ATTRIBUTES;
    return known ? static_cast<BOOL>(attributes & FILE_ATTRIBUTE_DIRECTORY) : FALSE;
}

HINSTANCE ShellExecuteW(HWND, LPCWSTR verb, LPCWSTR file, LPCWSTR, LPCWSTR, INT) {
    if (!file || (verb && std::u16string_view(verb) != u"open")) {
        kvtwin::Fail(ERROR_INVALID_PARAMETER);
        return Answer(kNoOpener);
    }
    std::string what;
    if (IsAddress(file)) {
        what = kvtwin::NameToBytes(file);
    } else {
        if (GetFileAttributesW(file) == INVALID_FILE_ATTRIBUTES) {
            return Answer(GetLastError() == ERROR_PATH_NOT_FOUND ? ERROR_PATH_NOT_FOUND : ERROR_FILE_NOT_FOUND);
        }
        what = kvtwin::UnixPath(file);
    }
    if (!HandToDesktop(what)) {
        kvtwin::Fail(ERROR_NO_ASSOCIATION);
        return Answer(kNoOpener);
    }
    return Answer(kHandedOver);
}
