// kvtfile support-path list, add, remove: the support search path of a host's current profile.

#include <CLI/CLI.hpp>

#include "kvtfile/Registry.h"
#include "kvtfile/SupportPath.h"
#include "tools/kvtfile/registry.h"
#include "tools/kvtfile/releases.h"
#include "tools/kvtfile/verbs.h"

namespace kvtcommand {

namespace {

struct Options {
    std::string folder;
    std::string release = "2000";
    bool dryRun = false;
    bool json = false;
};

/// Where the R15 host keeps its search path, and what stands there.
struct SearchPath {
    KeyPath key;
    CString text;

    SearchPath() {
        CString product;
        CString location;
        CString profile;
        kvtfile::ACADVER release = kvtfile::ACAD_2000;
        RequireRegistry();
        if (kvtfile::GetAcadR15CurVer(product, release, location) == 0) {
            throw Failure(exitRefused, "no AutoCAD of the releases 2000 to 2002 is installed",
                          "'kvtfile host list' lists the installed hosts.");
        }
        const CString profiles = product + _T("\\Profiles");
        if (kvtfile::GetRegKeyValue(HKEY_CURRENT_USER, profiles, profile, _T("")) == 0 || profile.IsEmpty()) {
            throw Failure(exitRefused, KeyPath::InUser(profiles).Shown() + ": no current profile",
                          "Start the host once.");
        }
        key = KeyPath::InUser(profiles + _T("\\") + profile + _T("\\General"));
        RequireText();
        Read();
    }

    void Read() {
        text.Empty();
        kvtfile::GetRegKeyValue(key.root, key.path, text, kValue);
    }

private:
    static constexpr WCHAR kValue[] = _T("ACAD");

    /// What the library would not write to is refused beforehand, so that a dry run tells of it too.
    void RequireText() const {
        OpenKey settings;
        if (!settings.TryOpen(key, KEY_READ)) {
            throw Failure(exitRefused, key.Shown() + ": the current profile has no settings", "Start the host once.");
        }
        RegFileValue value;
        if (settings.ReadValue(kValue, value) && value.type != REG_SZ && value.type != REG_EXPAND_SZ) {
            throw Failure(exitRefused,
                          key.Shown() + ": the search path is no text, but of type " + TypeName(value.type),
                          "'kvtfile reg query' shows the value ACAD; 'kvtfile reg add' sets it.");
        }
    }
};

std::vector<CString> Folders(const CString& path) {
    std::vector<CString> folders;
    for (int at = 0; at < path.GetLength();) {
        int end = path.Find(';', at);
        if (end < 0) {
            end = path.GetLength();
        }
        if (end > at) {
            folders.push_back(path.Mid(at, end - at));
        }
        at = end + 1;
    }
    return folders;
}

CString LowerCase(const std::string& folder) {
    CString lower = Wide(folder);
    lower.MakeLower();
    return lower;
}

bool Holds(const CString& path, const CString& folder) {
    return (_T(";") + path + _T(";")).Find(_T(";") + folder + _T(";")) >= 0;
}

void RequireFolder(const std::string& folder) {
    if (folder.empty() || folder.find(';') != std::string::npos) {
        throw Failure(exitUsage, "'" + folder + "' is no folder", "Give one folder; ';' parts folders.");
    }
}

// ---- verbs

void List(const Options& options) {
    CString text;
    const kvtfile::ACADVER release = ParseRelease(options.release);
    RequireRegistry();
    if (kvtfile::GetAcadEnvPath(release, text) == 0) {
        throw Failure(exitRefused, "the release " + options.release + " is not installed, or has no current profile",
                      "'kvtfile host list' lists the installed hosts.");
    }
    Json list = Json::array();
    for (const CString& folder : Folders(text)) {
        if (options.json) {
            list.push_back(Utf8(folder));
        } else {
            Print(Utf8(folder));
        }
    }
    if (options.json) {
        PrintJson(Json{{"folders", list}});
    }
}

/// Says what the search path would be, or changes it and sees to it that it was changed.
void Change(const Options& options, SearchPath& path, const CString& changed, int (*change)(CString),
            const char* done) {
    if (options.dryRun) {
        Print("[" + path.key.Shown() + "]");
        Print("ACAD = REG_SZ " + Quoted(changed));
        return;
    }
    change(Wide(options.folder));
    path.Read();
    if (path.text != changed) {
        throw Failure(exitRefused, path.key.Shown() + ": the search path could not be written",
                      "Look at the rights to the registry.");
    }
    Print(path.key.Shown() + ": " + options.folder + done);
}

void Add(const Options& options) {
    RequireFolder(options.folder);
    SearchPath path;
    const CString folder = LowerCase(options.folder);
    if (Holds(path.text, folder)) {
        Print(path.key.Shown() + ": " + options.folder + " was there already");
        return;
    }
    Change(options, path, folder + _T(";") + path.text, kvtfile::AddAppSupportPathToAcad, " added");
}

void Remove(const Options& options) {
    RequireFolder(options.folder);
    SearchPath path;
    const CString folder = LowerCase(options.folder);
    if (!Holds(path.text, folder)) {
        throw Failure(exitRefused, path.key.Shown() + ": the search path does not hold " + options.folder,
                      "'kvtfile support-path list' lists its folders; they compare in lower case.");
    }
    CString changed = path.text;
    changed.Replace(folder + _T(";"), _T(""));
    if (changed == path.text) {
        throw Failure(exitRefused,
                      path.key.Shown() + ": " + options.folder +
                          " stands at the end, without a ';' behind it; nothing was changed",
                      "Only a folder with a ';' behind it is taken out; 'kvtfile reg add' sets the value ACAD.");
    }
    Change(options, path, changed, kvtfile::RemoveAppSupportPathFromAcad,
           Holds(changed, folder) ? " removed, but for the one at the end without a ';' behind it" : " removed");
}

// ---- the command line

void AddChange(CLI::App& family, const char* name, const char* description, const char* examples,
               void (*run)(const Options&)) {
    const auto added = AddVerb(family, name, description, examples, run);
    added.verb->add_option("FOLDER", added.options->folder, "The folder")->required();
    added.verb->add_flag("--dry-run", added.options->dryRun, "Print what would be written, and write nothing");
}

}  // namespace

void AddSupportPathVerbs(CLI::App& command) {
    CLI::App* family = command.add_subcommand("support-path", "Work with the support search path of AutoCAD");
    family->require_subcommand(1);
    family->footer(
        "'add' and 'remove' work on the current profile of AutoCAD 2000 to 2002; folders are added in lower case, in "
        "front.");
    {
        const auto added = AddVerb(*family, "list", "List the folders of the search path",
                                   "  kvtfile support-path list\n"
                                   "  kvtfile support-path list --release 2010 --json",
                                   List);
        added.verb->add_option("--release", added.options->release, kReleaseHelp);
        added.verb->add_flag("--json", added.options->json, "Print JSON");
    }
    AddChange(*family, "add", "Put a folder in front", "  kvtfile support-path add 'C:\\Walls\\Support' --dry-run",
              Add);
    AddChange(*family, "remove", "Take a folder out", "  kvtfile support-path remove 'C:\\Walls\\Support'", Remove);
}

}  // namespace kvtcommand
