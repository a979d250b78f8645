// Windows paths over the file system: drives, the current folder, separators and case.
//
// A path is cut into components, ".." is resolved by text, and each component is looked up: as spelled, without the
// dots and blanks at its end, then without regard to case. What a listing shows can therefore always be opened, and
// Windows' rules for names bind only what is to be created.

#include "paths.h"

#include <dirent.h>
#include <errno.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <mutex>
#include <vector>

#include "environment.h"
#include "errors.h"
#include "names.h"

namespace {

using kvtwin::Env;

constexpr size_t kLongestPath = 32767;  // of Windows

constexpr bool IsSeparator(WCHAR c) {
    return c == u'\\' || c == u'/';
}

constexpr bool IsLetter(WCHAR c) {
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z');
}

bool Exists(const std::string& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0;
}

std::string Join(const std::string& folder, std::string_view name) {
    std::string path = folder;
    if (!path.ends_with('/')) {
        path += '/';
    }
    return path += name;
}

std::string CurrentFolder() {
    char path[PATH_MAX];
    return ::getcwd(path, sizeof path) && path[0] == '/' ? path : "/";
}

std::string DriveFolder(WCHAR letter) {
    const char lower = static_cast<char>(letter | 0x20);
    if (lower == 'z') {
        return "/";
    }
    return std::string(Env().prefix) + "/drive_" + lower;
}

// Drive C appears with the folders that programs count on.
void MakeDriveC() {
    static constinit std::once_flag once;
    std::call_once(once, [] {
        const std::string root = DriveFolder(u'c');
        kvtwin::MakeFolders(root + "/windows/system32");
        kvtwin::MakeFolders(root + "/users/" + Env().user + "/Temp");
    });
}

// A drive that reaches a path of the file system.
struct Drive {
    WCHAR letter = u'Z';
    size_t length = 0;  // of the part of the path that is the drive's root
};

bool IsInside(std::string_view path, std::string_view root) {
    return path.starts_with(root) && (path.size() == root.size() || path[root.size()] == '/');
}

struct DirectoryCloser {
    void operator()(DIR* folder) const { ::closedir(folder); }
};
using Directory = std::unique_ptr<DIR, DirectoryCloser>;

Drive DeepestDrive(std::string_view path) {
    Drive best;
    if (Env().prefix[0] == '\0') {
        return best;
    }
    const Directory prefix(::opendir(Env().prefix));
    while (const dirent* entry = prefix ? ::readdir(prefix.get()) : nullptr) {
        const std::string_view name = entry->d_name;
        if (!name.starts_with("drive_") || name.size() != 7 || name[6] < 'a' || name[6] > 'y') {
            continue;
        }
        const std::string root = Join(Env().prefix, name);
        char real[PATH_MAX];
        const bool resolved = ::realpath(root.c_str(), real) != nullptr;
        for (const std::string_view candidate : {std::string_view(root), std::string_view(resolved ? real : "")}) {
            if (candidate.size() > best.length && candidate != "/" && IsInside(path, candidate)) {
                best = {static_cast<WCHAR>(name[6] - 32), candidate.size()};
            }
        }
    }
    return best;
}

// ---- Cutting a path ---------------------------------------------------------------------------------------------

enum class Kind { Drive, Posix, Network };

// A path by text alone: where it starts, and its components with "." and ".." resolved.
struct Parsed {
    Kind kind = Kind::Drive;
    WCHAR letter = u'C';
    std::string root;               // folder of the file system that the components start from
    std::vector<std::string> base;  // components of the current folder, which exist as they are
    std::vector<std::u16string_view> names;
    bool separator_at_end = false;
};

void Split(std::u16string_view text, bool resolve_parents, Parsed& parsed) {
    parsed.separator_at_end = !text.empty() && IsSeparator(text.back());
    while (!text.empty()) {
        const size_t end = std::min(text.find_first_of(u"\\/"), text.size());
        const std::u16string_view name = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        if (name.empty() || name == u".") {
            continue;
        }
        if (name != u".." || !resolve_parents) {
            parsed.names.push_back(name);
        } else if (!parsed.names.empty()) {
            parsed.names.pop_back();
        } else if (!parsed.base.empty()) {
            parsed.base.pop_back();
        }
    }
}

// Sets the start to the current folder, as seen from its drive.
void StartAtCurrent(Parsed& parsed) {
    const std::string current = CurrentFolder();
    const Drive drive = DeepestDrive(current);
    parsed.letter = drive.letter;
    parsed.root = drive.length == 0 ? "/" : current.substr(0, drive.length);
    std::string_view rest = std::string_view(current).substr(drive.length);
    while (!rest.empty()) {
        const size_t end = std::min(rest.find('/'), rest.size());
        if (end > 0) {
            parsed.base.emplace_back(rest.substr(0, end));
        }
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
}

void StartAtDrive(WCHAR letter, Parsed& parsed) {
    parsed.letter = static_cast<WCHAR>(letter & ~0x20);
    parsed.root = DriveFolder(letter);
}

DWORD Parse(LPCWSTR text, Parsed& parsed) {
    std::u16string_view path = text ? text : u"";
    if (path.empty()) {
        return ERROR_PATH_NOT_FOUND;
    }
    if (path.size() > kLongestPath) {
        return ERROR_FILENAME_EXCED_RANGE;
    }
    if (path.starts_with(u"\\\\?\\") && path.size() >= 6 && path[5] == u':') {
        path.remove_prefix(4);
    }
    if (path.starts_with(u"\\\\")) {
        parsed.kind = Kind::Network;
        return ERROR_BAD_NETPATH;
    }
    if (path[0] == u'/') {
        parsed.kind = Kind::Posix;
        parsed.letter = u'Z';
        parsed.root = "/";
        Split(path, false, parsed);
        return ERROR_SUCCESS;
    }
    if (path.size() >= 2 && path[1] == u':' && IsLetter(path[0])) {
        const bool rooted = path.size() > 2 && IsSeparator(path[2]);
        if (!rooted) {
            StartAtCurrent(parsed);
        }
        if (rooted || parsed.letter != (path[0] & ~0x20)) {
            parsed.base.clear();
            StartAtDrive(path[0], parsed);
        }
        path.remove_prefix(2);
    } else {
        StartAtCurrent(parsed);
        if (path[0] == u'\\') {
            parsed.base.clear();
        }
    }
    if (parsed.letter != u'Z' && Env().prefix[0] == '\0') {
        return ERROR_PATH_NOT_FOUND;
    }
    if (parsed.letter == u'C') {
        MakeDriveC();
    }
    Split(path, true, parsed);
    return ERROR_SUCCESS;
}

// ---- Looking components up --------------------------------------------------------------------------------------

// The entry of a folder whose name equals `name` without regard to case; the first in code-unit order of several.
std::string FindIgnoringCase(const std::string& folder, std::u16string_view name) {
    const std::u16string wanted = kvtwin::UpperName(name);
    std::u16string best;
    std::string found;
    const Directory directory(::opendir(folder.c_str()));
    while (const dirent* entry = directory ? ::readdir(directory.get()) : nullptr) {
        const std::u16string candidate = kvtwin::NameFromBytes(entry->d_name);
        if (candidate.size() == wanted.size() && kvtwin::UpperName(candidate) == wanted &&
            (found.empty() || candidate < best)) {
            best = candidate;
            found = entry->d_name;
        }
    }
    return found;
}

// Looks the component up in a folder that exists; empty when it is missing.
std::string FindEntry(const std::string& folder, std::u16string_view name, bool windows_rules) {
    std::string bytes = kvtwin::NameToBytes(name);
    if (Exists(Join(folder, bytes))) {
        return bytes;
    }
    const std::u16string_view trimmed = windows_rules ? kvtwin::TrimName(name) : name;
    if (trimmed.size() != name.size()) {
        bytes = kvtwin::NameToBytes(trimmed);
        if (!trimmed.empty() && Exists(Join(folder, bytes))) {
            return bytes;
        }
    }
    return FindIgnoringCase(folder, trimmed);
}

// What exists as it is spelled needs one look: each of its components does too.
bool LookUpAsSpelled(const Parsed& parsed, const std::string& start, kvtwin::Location& location) {
    std::string path = start;
    size_t parent = 0;  // length of the path without its last component
    for (const std::u16string_view name : parsed.names) {
        if (!path.ends_with('/')) {
            path += '/';
        }
        parent = path.size();
        path += kvtwin::NameToBytes(name);
    }
    if (parsed.names.empty() || path.size() >= PATH_MAX || !Exists(path)) {
        return false;
    }
    const std::u16string_view last = parsed.names.back();
    const std::u16string_view trimmed = parsed.kind == Kind::Drive ? kvtwin::TrimName(last) : last;
    location.spelled = trimmed.empty() ? path : path.substr(0, parent) + kvtwin::NameToBytes(trimmed);
    location.path = std::move(path);
    location.root = false;
    location.separator_at_end = parsed.separator_at_end;
    return true;
}

DWORD LookUp(const Parsed& parsed, kvtwin::Location& location) {
    const bool windows_rules = parsed.kind == Kind::Drive;
    std::string path = parsed.root;
    for (const std::string& name : parsed.base) {
        path = Join(path, name);
    }
    if (LookUpAsSpelled(parsed, path, location)) {
        return ERROR_SUCCESS;
    }
    location.spelled = path;
    bool missing = false;
    for (size_t i = 0; i < parsed.names.size(); ++i) {
        const std::u16string_view name = parsed.names[i];
        const std::string entry = missing ? std::string() : FindEntry(path, name, windows_rules);
        std::u16string_view spelled = name;
        if (windows_rules) {
            spelled = kvtwin::TrimName(name);
            if (entry.empty()) {
                if (const DWORD error = kvtwin::CheckName(spelled)) {
                    return error;
                }
                if (i + 1 == parsed.names.size() && kvtwin::IsDeviceName(spelled)) {
                    if (kvtwin::UpperName(spelled) != u"NUL") {
                        return ERROR_INVALID_HANDLE;
                    }
                    location.device = true;
                    location.path = location.spelled = "/dev/null";
                    return ERROR_SUCCESS;
                }
            }
        }
        missing = missing || entry.empty();
        const std::string as_spelled = spelled.empty() ? entry : kvtwin::NameToBytes(spelled);
        if (entry.empty() && as_spelled.empty()) {
            continue;  // dots and blanks alone name nothing
        }
        location.spelled = Join(path, as_spelled);
        path = Join(path, entry.empty() ? as_spelled : entry);
    }
    location.path = path;
    location.root = parsed.base.empty() && parsed.names.empty();
    location.separator_at_end = parsed.separator_at_end && !location.root;
    return path.size() >= PATH_MAX ? ERROR_FILENAME_EXCED_RANGE : ERROR_SUCCESS;
}

}  // namespace

namespace kvtwin {

DWORD Locate(LPCWSTR path, Location& location) {
    Parsed parsed;
    if (const DWORD error = Parse(path, parsed)) {
        return error;
    }
    return LookUp(parsed, location);
}

std::string PathAsSpelled(LPCWSTR path) {
    const std::u16string_view text = path ? path : u"";
    const bool drive = text.size() > 2 && IsLetter(text[0]) && text[1] == u':' && IsSeparator(text[2]);
    Parsed parsed;
    if ((!drive && !text.starts_with(u'/')) || Parse(path, parsed) != ERROR_SUCCESS || parsed.separator_at_end) {
        return {};
    }
    std::string spelled = parsed.root;
    for (const std::u16string_view name : parsed.names) {
        spelled = Join(spelled, NameToBytes(name));
    }
    return spelled;
}

std::string UnixPath(LPCWSTR path) {
    Location location;
    if (const DWORD error = Locate(path, location)) {
        Fail(error);
        return {};
    }
    return location.path;
}

std::u16string WindowsPath(std::string_view path) {
    const Drive drive = DeepestDrive(path);
    std::u16string windows = {drive.letter, u':', u'\\'};
    std::string_view rest = path.substr(drive.length);
    while (!rest.empty()) {
        const size_t end = std::min(rest.find('/'), rest.size());
        if (end > 0) {
            if (windows.size() > 3) {
                windows += u'\\';
            }
            windows += NameFromBytes(rest.substr(0, end));
        }
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return windows;
}

DWORD FullPath(LPCWSTR path, std::u16string& full) {
    Parsed parsed;
    if (const DWORD error = Parse(path, parsed)) {
        if (parsed.kind != Kind::Network) {
            return error;
        }
        full = path;
        std::replace(full.begin(), full.end(), u'/', u'\\');
        return ERROR_SUCCESS;
    }
    if (parsed.kind == Kind::Posix) {
        Parsed resolved;
        Split(path, true, resolved);
        std::string bytes;
        for (const std::u16string_view name : resolved.names) {
            bytes += '/' + NameToBytes(name);
        }
        full = WindowsPath(bytes);
    } else {
        full = {parsed.letter, u':'};
        for (const std::string& name : parsed.base) {
            full += u'\\' + NameFromBytes(name);
        }
        for (size_t i = 0; i < parsed.names.size(); ++i) {
            std::u16string_view name = parsed.names[i];
            if (i + 1 == parsed.names.size()) {
                name = TrimName(name);
            } else if (name.ends_with(u'.')) {
                name.remove_suffix(1);
            }
            if (!name.empty()) {
                full += u'\\';
                full += name;
            }
        }
        if (full.size() == 2) {
            full += u'\\';
        }
    }
    if (parsed.separator_at_end && !full.ends_with(u'\\')) {
        full += u'\\';
    }
    return ERROR_SUCCESS;
}

SplitPath SplitAtName(std::u16string_view path) {
    size_t name = path.size();
    while (name > 0 && !IsSeparator(path[name - 1]) && !(name == 2 && path[1] == u':')) {
        --name;
    }
    return {path.substr(0, name), path.substr(name)};
}

std::string ParentOf(const std::string& path) {
    const size_t at = path.rfind('/');
    return at == std::string::npos || at == 0 ? "/" : path.substr(0, at);
}

DWORD MissingError(const std::string& path) {
    struct stat status {};
    const bool parent = ::stat(ParentOf(path).c_str(), &status) == 0 && S_ISDIR(status.st_mode);
    return parent ? ERROR_FILE_NOT_FOUND : ERROR_PATH_NOT_FOUND;
}

DWORD PathError(int error, const std::string& path) {
    return error == ENOENT ? MissingError(path) : ErrorFromErrno(error);
}

void MakeFolders(const std::string& path) {
    for (size_t at = path.find('/', 1); at != std::string::npos; at = path.find('/', at + 1)) {
        ::mkdir(path.substr(0, at).c_str(), 0777);
    }
    ::mkdir(path.c_str(), 0777);
}

}  // namespace kvtwin
