// The trash: which folder it is, the information file, and the rename. Trash folders that could be somebody else's trap
// (links, folders of another owner, a shared one without the sticky bit) are not used.

#include "trash.h"

#include <errno.h>
#include <stdlib.h>
#include <time.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <optional>

#include "environment.h"
#include "folder_cursor.h"
#include "paths.h"
#include "shell_names.h"
#include "status.h"
#include "winapi.h"

namespace kvtwin {

namespace {

constexpr const char* kInfoEnd = ".trashinfo";

struct Trash {
    kvtio::Descriptor files;
    kvtio::Descriptor info;
    std::string top;  // paths are told from here; empty: absolute
};

bool IsOwnFolder(const struct stat& status) {
    return S_ISDIR(status.st_mode) && status.st_uid == ::getuid();
}

// Opens a folder of an open one that is this user's, and makes it first where it is missing.
DWORD OpenOwn(int folder, const std::string& name, kvtio::Descriptor& opened) {
    DWORD error = kvtio::MakeFolder(folder, name, 0700);
    if (error != 0 && error != ERROR_ALREADY_EXISTS) {
        return error;
    }
    struct stat status {};
    if ((error = kvtio::OpenEntry(folder, name, O_RDONLY | O_DIRECTORY, 0, opened)) ||
        (error = kvtio::StatOf(opened.Get(), status))) {
        return error;
    }
    return IsOwnFolder(status) ? ERROR_SUCCESS : ERROR_ACCESS_DENIED;
}

DWORD OpenParts(int trash, Trash& parts) {
    const DWORD error = OpenOwn(trash, "files", parts.files);
    return error ? error : OpenOwn(trash, "info", parts.info);
}

bool IsOnDevice(int folder, dev_t device) {
    struct stat status {};
    return kvtio::StatOf(folder, status) == 0 && status.st_dev == device;
}

DWORD OpenHomeTrash(dev_t device, Trash& trash) {
    const std::string data = Env().data;
    if (data.empty()) {
        return ERROR_NOT_SAME_DEVICE;
    }
    kvtio::Descriptor folder;
    kvtio::Descriptor own;
    MakeFolders(data);
    DWORD error = kvtio::OpenFolder(data, folder);
    if (error == 0 && !IsOnDevice(folder.Get(), device)) {
        error = ERROR_NOT_SAME_DEVICE;  // the trash stands in the same file system, unless it is mounted itself
    }
    if (error == 0) {
        error = OpenOwn(folder.Get(), "Trash", own);
    }
    if (error == 0 && !IsOnDevice(own.Get(), device)) {
        error = ERROR_NOT_SAME_DEVICE;
    }
    return error ? error : OpenParts(own.Get(), trash);
}

// The folder where the file system of a folder is mounted.
std::string TopOf(const std::string& folder, dev_t device) {
    std::string top = folder;
    struct stat status {};
    while (top != "/" && ::stat(ParentOf(top).c_str(), &status) == 0 && status.st_dev == device) {
        top = ParentOf(top);
    }
    return top;
}

DWORD OpenTopTrash(const std::string& folder, dev_t device, Trash& trash) {
    trash.top = TopOf(folder, device);
    kvtio::Descriptor top;
    if (const DWORD error = kvtio::OpenFolder(trash.top, top)) {
        return error;
    }
    const std::string user = std::to_string(::getuid());
    kvtio::Descriptor shared;
    kvtio::Descriptor own;
    struct stat status {};
    if (kvtio::OpenEntry(top.Get(), ".Trash", O_RDONLY | O_DIRECTORY, 0, shared) == 0 &&
        kvtio::StatOf(shared.Get(), status) == 0 && (status.st_mode & S_ISVTX) && status.st_dev == device &&
        OpenOwn(shared.Get(), user, own) == 0 && OpenParts(own.Get(), trash) == 0) {
        return ERROR_SUCCESS;
    }
    const DWORD error = OpenOwn(top.Get(), ".Trash-" + user, own);
    if (error == 0 && !IsOnDevice(own.Get(), device)) {
        return ERROR_NOT_SAME_DEVICE;
    }
    return error ? error : OpenParts(own.Get(), trash);
}

std::string PercentEncoded(const std::string& path) {
    constexpr std::string_view kPlain = "-_.!~*'()/";
    std::string text;
    for (const char c : path) {
        const bool plain =
            (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || kPlain.find(c) != kPlain.npos;
        if (plain) {
            text += c;
        } else {
            char code[4];
            std::snprintf(code, sizeof code, "%%%02X", static_cast<unsigned>(static_cast<unsigned char>(c)));
            text += code;
        }
    }
    return text;
}

std::string InfoText(const std::string& path) {
    const time_t now = ::time(nullptr);
    tm local{};
    char date[32] = "";
    if (LocalTime(now, local)) {
        ::strftime(date, sizeof date, "%Y-%m-%dT%H:%M:%S", &local);
    }
    return "[Trash Info]\nPath=" + PercentEncoded(path) + "\nDeletionDate=" + date + "\n";
}

// Writes the information under a name that is free there.
DWORD WriteInfo(const Trash& trash, const std::string& name, const std::string& text) {
    kvtio::Descriptor file;
    const std::string info = name + kInfoEnd;
    DWORD error = kvtio::OpenEntry(trash.info.Get(), info, O_WRONLY | O_CREAT | O_EXCL, 0600, file);
    if (error != 0) {
        return error;
    }
    error = kvtio::WriteTo(file.Get(), text.data(), text.size());
    if (error == 0) {
        error = kvtio::SyncOf(file.Get());
    }
    const DWORD closed = file.Close();
    error = error ? error : closed;
    if (error == 0) {
        error = kvtio::SyncOf(trash.info.Get());
    }
    if (error != 0) {
        kvtio::RemoveEntry(trash.info.Get(), info);
    }
    return error;
}

// Whether an entry lies in the trash already: its information would lead to nothing once it were moved there again.
bool HoldsAlready(const Trash& trash, const struct stat& holder) {
    struct stat files {};
    return kvtio::StatOf(trash.files.Get(), files) == 0 && FileIdentity(files) == FileIdentity(holder);
}

DWORD PutInto(const Trash& trash, const EntryPlace& from, const struct stat& status, const std::string& path) {
    const std::string text = InfoText(path);
    const size_t extension = ExtensionAt(from.name, S_ISDIR(status.st_mode));
    constexpr unsigned kMost = 100000;
    for (unsigned n = 1; n < kMost; ++n) {
        const std::string number = n == 1 ? "" : "." + std::to_string(n);
        const std::string end = number + from.name.substr(extension) + kInfoEnd;
        std::string name = FittingName(from.name.substr(0, extension), end);
        name.resize(name.size() - std::string_view(kInfoEnd).size());
        DWORD error = WriteInfo(trash, name, text);
        if (error == ERROR_ALREADY_EXISTS) {
            continue;
        }
        if (error == 0) {
            error = RenamePlace(from, status, {trash.files.Get(), name, std::string()}, false);
            if (error != 0) {
                kvtio::RemoveEntry(trash.info.Get(), name + kInfoEnd);
            }
        }
        if (error != ERROR_ALREADY_EXISTS) {
            return error;
        }
    }
    return ERROR_ALREADY_EXISTS;
}

// The answers where a trash cannot be: the place is somebody else's, or a trap. A full or broken disk is none of them.
bool IsNoPlace(DWORD error) {
    return error == ERROR_ACCESS_DENIED || error == ERROR_WRITE_PROTECT || error == ERROR_PATH_NOT_FOUND ||
           error == ERROR_FILE_NOT_FOUND || error == ERROR_CANT_RESOLVE_FILENAME || error == ERROR_NOT_SUPPORTED;
}

// The folder of an entry, without links and dots.
std::optional<std::string> RealFolder(const EntryPlace& from) {
    char real[PATH_MAX];
    if (!::realpath(ParentOf(from.path).c_str(), real)) {
        return std::nullopt;
    }
    return real;
}

std::string Joined(const std::string& folder, const std::string& name) {
    return folder == "/" ? "/" + name : folder + "/" + name;
}

}  // namespace

DWORD MoveToTrash(const EntryPlace& from, const struct stat& status) {
    if (const DWORD error = CheckMovable(status)) {
        return error;
    }
    const std::optional<std::string> folder = RealFolder(from);
    struct stat holder {};
    if (!folder || ::stat(folder->c_str(), &holder) != 0) {
        return ERROR_PATH_NOT_FOUND;
    }
    const dev_t device = holder.st_dev;
    if (S_ISDIR(status.st_mode) && status.st_dev != device) {
        return ERROR_NOT_SAME_DEVICE;  // a file system is mounted there
    }
    const std::string path = Joined(*folder, from.name);
    Trash trash;
    if (OpenHomeTrash(device, trash) == 0) {
        if (HoldsAlready(trash, holder)) {
            return kShellSameFile;
        }
        const DWORD error = PutInto(trash, from, status, path);
        if (error != ERROR_NOT_SAME_DEVICE) {
            return error;
        }
    }
    trash = Trash();
    if (const DWORD error = OpenTopTrash(*folder, device, trash)) {
        return IsNoPlace(error) ? ERROR_NOT_SAME_DEVICE : error;
    }
    if (HoldsAlready(trash, holder)) {
        return kShellSameFile;
    }
    return PutInto(trash, from, status, path.substr(trash.top == "/" ? 1 : trash.top.size() + 1));
}

}  // namespace kvtwin
