// kvtfile file copy, move, delete, rename: the shell's operations without its dialogs. What would be replaced or
// deleted for good without having been asked for is refused here, before the shell is called.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "platform/shell/entries.h"
#include "tools/kvtfile/report.h"
#include "tools/kvtfile/text_file.h"
#include "tools/kvtfile/verbs.h"

namespace kvtcommand {

namespace {

struct Options {
    std::vector<std::string> paths;
    std::vector<std::string> to;
    std::string path;
    std::string name;
    bool yes = false;
    bool renameOnCollision = false;
    bool filesOnly = false;
    bool trash = false;
    bool json = false;
};

constexpr FILEOP_FLAGS kWithoutDialogs = FOF_SILENT | FOF_NOCONFIRMATION | FOF_NOERRORUI | FOF_NOCONFIRMMKDIR;

/// One entry that the operation is about.
struct Item {
    std::string source;  // as messages name it
    CString full;
    std::string target;  // empty for a deletion
    CString fullTarget;
    bool renamed = false;  // the target was taken: the shell chooses a name beside it
};

/// What one run of the shell is asked to do.
struct Request {
    UINT operation = 0;
    const char* verb = "";  // "copied to"
    FILEOP_FLAGS flags = kWithoutDialogs;
    std::vector<CString> sources;
    std::vector<CString> targets;
    std::vector<Item> items;
};

// ---- paths

bool IsSeparator(WCHAR unit) {
    return unit == _T('\\') || unit == _T('/');
}

int NameAt(const CString& path) {
    int at = path.GetLength();
    while (at > 0 && !IsSeparator(path[at - 1])) {
        --at;
    }
    return at;
}

CString NameOf(const CString& path) {
    return path.Mid(NameAt(path));
}

CString WithoutSeparatorAtEnd(CString path) {
    while (path.GetLength() > 3 && IsSeparator(path[path.GetLength() - 1])) {
        path.Truncate(path.GetLength() - 1);
    }
    return path;
}

bool EndsInSeparator(const CString& path) {
    return !path.IsEmpty() && IsSeparator(path[path.GetLength() - 1]);
}

CString Join(const CString& folder, const CString& name) {
    return EndsInSeparator(folder) ? folder + name : folder + _T("\\") + name;
}

bool HasWildcard(const CString& path) {
    return path.FindOneOf(_T("*?")) >= 0;
}

bool IsThere(const CString& path) {
    return kvtshell::FindEntry(path) == ERROR_SUCCESS;
}

bool IsFolder(const CString& path) {
    const DWORD attributes = ::GetFileAttributesW(path);
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

CString FolderOf(const CString& path) {
    return path.Left(NameAt(path));
}

/// The names in a folder that match; a failure when they cannot be looked at.
std::vector<CString> NamesMatching(const CString& folder, LPCWSTR pattern, bool filesOnly, const std::string& given) {
    std::vector<kvtshell::EntryName> found;
    if (const DWORD error = kvtshell::MatchingEntries(folder, pattern, filesOnly, found)) {
        throw Failure(exitRefused, given + ": " + SystemText(error), "Nothing was done. Look at the folder's rights.");
    }
    std::vector<CString> names;
    for (const kvtshell::EntryName& name : found) {
        names.push_back(CString(name.c_str()));
    }
    return names;
}

CString Folded(CString text) {
    text.MakeUpper();
    return text;
}

/// What stands in folders, each of which is read once.
class Folders {
public:
    /// Whether a folder holds an entry of this name, in whatever case.
    bool Hold(const CString& path) {
        const CString folder = FolderOf(path);
        auto known = m_names.find(folder);
        if (known == m_names.end()) {
            known = m_names.emplace(folder, Read(folder)).first;
        }
        // What may not be listed may still be looked up.
        return known->second ? known->second->count(Folded(NameOf(path))) != 0 : IsThere(path);
    }

private:
    using Names = std::set<CString>;

    static std::optional<Names> Read(const CString& folder) {
        std::vector<kvtshell::EntryName> found;
        const DWORD error = kvtshell::MatchingEntries(folder, _T("*"), false, found);
        if (error != ERROR_SUCCESS && error != ERROR_FILE_NOT_FOUND && error != ERROR_PATH_NOT_FOUND) {
            return std::nullopt;
        }
        Names names;
        for (const kvtshell::EntryName& name : found) {
            names.insert(Folded(CString(name.c_str())));
        }
        return names;
    }

    std::map<CString, std::optional<Names>> m_names;
};

/// A path with its names as the file system spells them.
CString AsStored(CString path) {
    int end = path.GetLength();
    for (int at = NameAt(path); at > 2; end = at - 1, at = NameAt(path.Left(end))) {
        const CString name = path.Mid(at, end - at);
        std::vector<kvtshell::EntryName> found;
        if (kvtshell::MatchingEntries(path.Left(at), name, false, found) != ERROR_SUCCESS) {
            continue;
        }
        const auto stored = std::find_if(found.begin(), found.end(), [&name](const kvtshell::EntryName& candidate) {
            return name.CompareNoCase(candidate.c_str()) == 0;
        });
        const bool exact = std::find(found.begin(), found.end(), name.GetString()) != found.end();
        if (!exact && stored != found.end()) {
            path = path.Left(at) + stored->c_str() + path.Mid(end);
        }
    }
    return path;
}

/// Whether a target is the source itself, its name perhaps in other letter case.
bool IsSameEntry(const CString& source, const CString& target) {
    return source == target || (source.CompareNoCase(target) == 0 && AsStored(source) == AsStored(target));
}

// ---- what is to be done

/// The items that an argument names.
std::vector<Item> ItemsOf(const FileName& file, bool filesOnly) {
    const CString full = WithoutSeparatorAtEnd(file.full);
    if (IsThere(full) || !HasWildcard(NameOf(full))) {
        return {{file.given, full, {}, {}, false}};
    }
    const CString shown = FolderOf(Wide(file.given));
    std::vector<Item> items;
    for (const CString& name : NamesMatching(FolderOf(full), NameOf(full), filesOnly, file.given)) {
        items.push_back({Utf8(shown + name), FolderOf(full) + name, {}, {}, false});
    }
    return items;
}

void RequireThere(const std::vector<Item>& items, const std::string& given) {
    if (items.empty()) {
        throw Failure(exitRefused, given + ": nothing matches", "Nothing was done. Look at the names in the folder.");
    }
    for (const Item& item : items) {
        if (const DWORD error = kvtshell::FindEntry(item.full)) {
            throw Failure(exitRefused, item.source + ": " + SystemText(error),
                          "Nothing was done. Look at the path and at its rights.");
        }
    }
}

/// Adds a source with its destination.
/// @param into The destination is a folder for it, whether it is there yet or not.
void AddSource(Request& request, const FileName& source, const FileName& target, bool into, const Options& options) {
    std::vector<Item> items = ItemsOf(source, options.filesOnly);
    RequireThere(items, source.given);
    const bool wildcard = !IsThere(WithoutSeparatorAtEnd(source.full));
    into = into || wildcard || EndsInSeparator(target.full) || IsFolder(target.full);
    for (Item& item : items) {
        item.fullTarget = into ? Join(target.full, NameOf(item.full)) : WithoutSeparatorAtEnd(target.full);
        item.target = into ? Utf8(Join(Wide(target.given), NameOf(item.full))) : target.given;
        request.items.push_back(std::move(item));
    }
    request.sources.push_back(WithoutSeparatorAtEnd(source.full));
}

/// Refuses what would replace something, unless it is asked for, and items that would undo one another.
void CheckTargets(Request& request, const Options& options) {
    Folders folders;
    std::map<CString, const Item*> sources;
    for (const Item& item : request.items) {
        sources.emplace(Folded(item.full), &item);
    }
    std::set<CString> targets;
    for (Item& item : request.items) {
        const CString folded = Folded(item.fullTarget);
        const bool twice = !targets.insert(folded).second;
        const bool taken = folders.Hold(item.fullTarget);
        if (options.renameOnCollision) {
            item.renamed = twice || taken;
            continue;
        }
        if (twice) {
            throw Failure(exitRefused, item.target + ": two sources would have this name",
                          "Nothing was done. Use --rename-on-collision, or another folder for one of them.");
        }
        const auto source = sources.find(folded);
        if (source != sources.end() && source->second != &item) {
            throw Failure(exitRefused, item.target + ": is a source too",
                          "Nothing was done. Give it another name first, or run the two one after the other.");
        }
        if (!options.yes && taken && !IsSameEntry(item.full, item.fullTarget)) {
            throw Failure(exitRefused, item.target + ": exists already",
                          "Nothing was done. Use --yes to replace files and merge folders, or --rename-on-collision.");
        }
    }
}

// ---- running

/// The shell's own numbers, with what they mean.
constexpr std::pair<int, const char*> kShellErrors[] = {
    {0x71, "the source and the destination are the same"},
    {0x72, "several sources cannot become one file"},
    {0x73, "renaming cannot move to another folder"},
    {0x74, "the root of a drive cannot be the source"},
    {0x75, "it was cancelled"},
    {0x76, "the destination lies inside the source"},
    {0x79, "a path is too long"},
    {0x7A, "there are not as many destinations as sources"},
    {0x7C, "a path is invalid"},
    {0x7E, "a file stands where the folder is to come"},
    {0x80, "a folder stands where the file is to come"},
};

std::string ShellError(int code) {
    for (const auto& [number, text] : kShellErrors) {
        if (number == code) {
            return text;
        }
    }
    return SystemText(static_cast<DWORD>(code));
}

/// Refusals, which come before anything is changed.
bool IsRefusal(int code) {
    return (code >= 0x71 && code <= 0x80 && code != 0x75) || code == static_cast<int>(ERROR_ALREADY_EXISTS);
}

std::vector<WCHAR> ShellList(const std::vector<CString>& paths) {
    std::vector<WCHAR> list;
    for (const CString& path : paths) {
        list.insert(list.end(), path.GetString(), path.GetString() + path.GetLength() + 1);
    }
    list.push_back(0);
    return list;
}

void PrintResult(const Request& request, const Options& options, int code, bool aborted) {
    const bool done = code == 0 && !aborted;
    if (!options.json) {
        for (const Item& item : request.items) {
            if (done) {
                Print(item.source + ": " + request.verb + (item.target.empty() ? "" : " " + item.target) +
                      (item.renamed ? ", under a free name beside it" : ""));
            }
        }
        return;
    }
    Json items = Json::array();
    for (const Item& item : request.items) {
        items.push_back({{"source", Utf8(item.full)},
                         {"target", item.target.empty() || item.renamed ? Json(nullptr) : Json(Utf8(item.fullTarget))},
                         {"renamed", item.renamed}});
    }
    PrintJson(Json{{"done", done},
                   {"aborted", aborted},
                   {"code", code},
                   {"error", code == 0 ? Json(nullptr) : Json(ShellError(code))},
                   {"items", items}});
}

void Run(Request& request, const Options& options) {
    const std::vector<WCHAR> from = ShellList(request.sources);
    const std::vector<WCHAR> to = ShellList(request.targets);
    SHFILEOPSTRUCTW operation{};
    operation.wFunc = request.operation;
    operation.pFrom = from.data();
    operation.pTo = request.targets.empty() ? nullptr : to.data();
    operation.fFlags = request.flags;
    const int code = ::SHFileOperationW(&operation);
    const bool aborted = operation.fAnyOperationsAborted != FALSE;
    PrintResult(request, options, code, aborted);
    if (code == 0 && !aborted) {
        return;
    }
    if (code == static_cast<int>(ERROR_NOT_SAME_DEVICE) && options.trash) {
        throw Failure(exitRefused, "there is no trash for what is on this file system",
                      "What is not in the trash is where it was. Delete it for good without --trash.");
    }
    const std::string where = request.items.size() == 1 ? request.items[0].source + ": " : "";
    if (IsRefusal(code) && !aborted) {
        throw Failure(exitRefused, where + ShellError(code), "Nothing was done.");
    }
    const std::string part = aborted ? "not all of it was done: " : "";
    throw Failure(exitFormat, where + part + (code == 0 ? "it was cancelled" : ShellError(code)),
                  "What was not done is where it was. Look at the rights and at the room left.");
}

void Bring(const Options& options, UINT operation, const char* verb) {
    std::vector<std::string> paths = options.paths;
    std::vector<std::string> targets = options.to;
    if (targets.empty()) {
        if (paths.size() < 2) {
            throw Failure(exitUsage, "there is no destination", "Give it last, or with --to.");
        }
        targets.push_back(paths.back());
        paths.pop_back();
    }
    if (targets.size() != 1 && targets.size() != paths.size()) {
        throw Failure(exitUsage,
                      Counted(targets.size(), "destination", "destinations") + " for " +
                          Counted(paths.size(), "source", "sources"),
                      "Give one destination, or one for each source.");
    }
    Request request;
    request.operation = operation;
    request.verb = verb;
    for (size_t i = 0; i < paths.size(); ++i) {
        const FileName target(targets[targets.size() == 1 ? 0 : i]);
        AddSource(request, FileName(paths[i]), target, targets.size() == 1 && paths.size() > 1, options);
        if (targets.size() > 1 || i == 0) {
            request.targets.push_back(target.full);
        }
    }
    CheckTargets(request, options);
    const auto flag = [&request](bool set, FILEOP_FLAGS value) {
        request.flags = static_cast<FILEOP_FLAGS>(set ? request.flags | value : request.flags);
    };
    flag(targets.size() > 1, FOF_MULTIDESTFILES);
    flag(options.renameOnCollision, FOF_RENAMEONCOLLISION);
    flag(options.filesOnly, FOF_FILESONLY);
    Run(request, options);
}

void Copy(const Options& options) {
    Bring(options, FO_COPY, "copied to");
}

void Move(const Options& options) {
    Bring(options, FO_MOVE, "moved to");
}

void Delete(const Options& options) {
    Request request;
    request.operation = FO_DELETE;
    request.verb = options.trash ? "moved to the trash" : "deleted";
    for (const std::string& path : options.paths) {
        const FileName file(path);
        std::vector<Item> items = ItemsOf(file, options.filesOnly);
        RequireThere(items, file.given);
        for (Item& item : items) {
            if (!options.yes && !options.trash && IsFolder(item.full) &&
                !NamesMatching(item.full, _T("*"), false, item.source).empty()) {
                throw Failure(exitRefused, item.source + ": the folder is not empty",
                              "Nothing was done. Use --yes to delete it with all that is in it, or --trash.");
            }
            request.items.push_back(std::move(item));
        }
        request.sources.push_back(WithoutSeparatorAtEnd(file.full));
    }
    const int flags = (options.trash ? FOF_ALLOWUNDO : 0) | (options.filesOnly ? FOF_FILESONLY : 0);
    request.flags = static_cast<FILEOP_FLAGS>(request.flags | flags);
    Run(request, options);
}

void Rename(const Options& options) {
    const FileName file(options.path);
    const CString name = Wide(options.name);
    const CString full = WithoutSeparatorAtEnd(file.full);
    if (name.IsEmpty() || name.FindOneOf(_T("\\/:*?")) >= 0) {
        throw Failure(exitUsage, "\"" + options.name + "\" is no name",
                      "Give a name without folders; 'kvtfile file move' takes a path.");
    }
    Request request;
    request.operation = FO_RENAME;
    request.verb = "renamed to";
    request.items = {{file.given, full, options.name, full.Left(NameAt(full)) + name, false}};
    RequireThere(request.items, file.given);
    Item& item = request.items.front();
    const bool taken = IsThere(item.fullTarget) && !IsSameEntry(item.full, item.fullTarget);
    if (taken && !options.renameOnCollision) {
        throw Failure(exitRefused, options.name + ": exists already",
                      "Nothing was done. Use another name, or --rename-on-collision.");
    }
    item.renamed = taken;
    request.sources.push_back(item.full);
    request.targets.push_back(item.fullTarget);
    if (options.renameOnCollision) {
        request.flags = static_cast<FILEOP_FLAGS>(request.flags | FOF_RENAMEONCOLLISION);
    }
    Run(request, options);
}

// ---- the command line

void AddJson(CLI::App* verb, Options& options) {
    verb->add_flag("--json", options.json, "Print JSON");
}

void AddCollision(CLI::App* verb, Options& options) {
    verb->add_flag("--rename-on-collision", options.renameOnCollision, "Take a free name beside one that is taken");
}

void AddFilesOnly(CLI::App* verb, Options& options) {
    verb->add_flag("--files-only", options.filesOnly, "Of what a wildcard matches, leave the folders out");
}

void AddBringOptions(CLI::App* verb, Options& options) {
    verb->add_option("PATHS", options.paths,
                     "The sources, which may hold wildcards in their last component, and the destination")
        ->required();
    verb->add_option("--to", options.to, "One destination, or one for each source; every other path is a source then");
    verb->add_flag("--yes", options.yes, "Replace files and merge folders that are there already");
    AddCollision(verb, options);
    AddFilesOnly(verb, options);
    AddJson(verb, options);
}

}  // namespace

void AddFileVerbs(CLI::App& command) {
    CLI::App* file =
        command.add_subcommand("file", "Copy, move, delete and rename files and folders; shell links and icons");
    file->require_subcommand(1);
    file->footer(
        "All paths are checked before the first change; what cannot be done then is where it was. A destination that "
        "is\n"
        "a folder, or ends in a separator, or is for several sources, takes them in; any other is the new name.");
    {
        const auto [verb, options] =
            AddVerb<Options>(*file, "copy", "Copy files and folders",
                             "  kvtfile file copy plan.dwg 'D:\\Archive\\'\n"
                             "  kvtfile file copy '*.dwg' '*.dxf' Backup --rename-on-collision\n"
                             "  kvtfile file copy a.txt b.txt --to x.txt y.txt",
                             Copy);
        AddBringOptions(verb, *options);
    }
    {
        const auto [verb, options] = AddVerb<Options>(*file, "move", "Move files and folders",
                                                      "  kvtfile file move Drawings 'D:\\Archive\\'\n"
                                                      "  kvtfile file move '*.bak' Old --files-only --yes",
                                                      Move);
        AddBringOptions(verb, *options);
    }
    {
        const auto [verb, options] =
            AddVerb<Options>(*file, "delete", "Delete files and folders, for good or into the trash",
                             "  kvtfile file delete '*.bak' --trash\n"
                             "  kvtfile file delete Drawings --yes",
                             Delete);
        verb->add_option("PATHS", options->paths, "What to delete; the last component may hold wildcards")->required();
        verb->add_flag("--trash", options->trash, "Into the desktop's trash; refused where there is none");
        verb->add_flag("--yes", options->yes, "Delete folders that are not empty");
        AddFilesOnly(verb, *options);
        AddJson(verb, *options);
    }
    {
        const auto [verb, options] = AddVerb<Options>(*file, "rename", "Rename a file or folder where it stands",
                                                      "  kvtfile file rename plan.dwg plan-old.dwg", Rename);
        verb->add_option("PATH", options->path, "What to rename")->required();
        verb->add_option("NAME", options->name, "Its new name")->required();
        AddCollision(verb, *options);
        AddJson(verb, *options);
    }
    AddFileLinkVerbs(*file);
}

}  // namespace kvtcommand
