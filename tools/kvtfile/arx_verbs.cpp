// kvtfile arx add, remove, status: add-ons that an AutoCAD release loads by itself.

#include <CLI/CLI.hpp>
#include <algorithm>

#include "kvtfile/AutoLoadArx.h"
#include "tools/kvtfile/registry.h"
#include "tools/kvtfile/releases.h"
#include "tools/kvtfile/verbs.h"

namespace kvtcommand {

namespace {

using kvtfile::CAutoLoadArx;

struct Options {
    std::string app;
    std::string release;
    std::string folder;
    std::string module;
    std::string group;
    std::string softKey;
    std::vector<std::string> commands;
    std::vector<std::string> load;
    bool moduleGiven = false;
    bool dryRun = false;
    bool json = false;
};

/// What the host does with an application, by the bits of "LoadCtrls".
struct LoadControl {
    int bit;
    const char* name;
    const char* meaning;
};

constexpr LoadControl kLoadControls[] = {
    {0x01, "proxy", "when a drawing holds its objects"},
    {0x02, "startup", "when the host starts"},
    {0x04, "command", "when one of its commands is called"},
    {0x08, "request", "when the user or another application asks for it"},
    {0x10, "never", "never"},
    {0x20, "transparent", "without being shown"},
};

/// "0x06: when the host starts; when one of its commands is called".
std::string SpelledOut(int controls) {
    if (controls == 0) {
        return "0x00: not by itself";
    }
    CString number;
    number.Format(_T("0x%02x"), controls);
    std::string text = Utf8(number);
    const char* separator = ": ";
    int rest = controls;
    for (const LoadControl& control : kLoadControls) {
        if ((controls & control.bit) != 0) {
            text += separator + std::string(control.meaning);
            separator = "; ";
            rest &= ~control.bit;
        }
    }
    if (rest != 0) {
        number.Format(_T("%sunknown 0x%x"), static_cast<LPCWSTR>(Wide(separator)), rest);
        text += Utf8(number);
    }
    return text;
}

Json Names(int controls) {
    Json names = Json::array();
    for (const LoadControl& control : kLoadControls) {
        if ((controls & control.bit) != 0) {
            names.push_back(control.name);
        }
    }
    return names;
}

int ParseControls(const std::vector<std::string>& words) {
    int controls = 0;
    for (const std::string& word : words) {
        int bit = 0;
        for (const LoadControl& control : kLoadControls) {
            if (word == control.name) {
                bit = control.bit;
            }
        }
        if (bit == 0) {
            throw Failure(exitUsage, "there is no load control '" + word + "'",
                          "Give proxy, startup, command, request, never or transparent.");
        }
        controls |= bit;
    }
    return controls;
}

/// The registration of a release, found and ready; a failure when the release is not installed.
class Registration : public CAutoLoadArx {
public:
    /// @param writes Whether keys will be written, or looked at alone.
    Registration(const Options& options, bool writes) : m_options(options) {
        m_app = Wide(options.app);
        m_app.Trim();
        if (m_app.IsEmpty() || m_app.Find('\\') >= 0 || m_app.GetLength() > kMaxKeyName) {
            throw Failure(exitUsage, "'" + options.app + "' is no application name",
                          "Give a name of at most 255 characters, without backslashes.");
        }
        const kvtfile::ACADVER release = ParseRelease(options.release);
        RequireRegistry();
        if (SetAcadVer(release) == 0 || m_strAcadRegKey.IsEmpty()) {
            // The registration looks for keys that it may write; looking alone finds those that it may only read.
            CString key;
            if (kvtfile::GetAcadRegKey(key, release) == 0) {
                throw Failure(exitRefused, "the release " + options.release + " is not installed",
                              "'kvtfile host list' lists the installed hosts.");
            }
            if (writes) {
                throw Failure(exitRefused, "the keys of the release " + options.release + " may not be written",
                              "Registering needs the right to do so; 'kvtfile arx status' only reads.");
            }
            m_strAcadRegKey = key;
        }
        if (!options.softKey.empty()) {
            SetSoftRegKey(WithBackslash(Wide(options.softKey)));
        }
        KeyPath::Parse(MakerKey().Full());  // refuses what no path may hold
        SetAppInstallPath(WithBackslash(Wide(options.folder)));
    }

    const CString& App() const { return m_app; }
    KeyPath HostKey() {
        CString path;
        GetAppRegPath(path, m_app);
        return KeyPath::InMachine(path);
    }
    KeyPath MakerKey() const { return KeyPath::InMachine(m_strSoftRegKey + m_app); }

    /// Whether everything stands under the host's entry, as from R16 on, and not under the maker's key. (Later releases
    /// without a key of their own have the other layout, but are never found.)
    bool HasOwnLayout() const {
        zqolecad::START_ACADVER year = zqolecad::START_ACAD2000;
        return m_options.moduleGiven ||
               (kvtfile::FConvertAcadVer(m_nAcadVer, year) && year >= zqolecad::START_ACAD2004);
    }

    int Add(const std::vector<CString>& names, int controls) {
        CStringArray commands;
        for (const CString& name : names) {
            commands.Add(name);
        }
        const CString group = Wide(m_options.group);
        return m_options.moduleGiven ? AddAutoArx(m_app, Wide(m_options.module), commands, group, controls)
                                     : AddAutoArx(m_app, commands, group, controls);
    }

private:
    const Options& m_options;
    CString m_app;
};

bool IsThere(const KeyPath& path) {
    OpenKey key;
    return key.TryOpen(path, KEY_READ);
}

/// Everything of an application's two keys.
std::vector<RegFileKey> Snapshot(Registration& registration) {
    std::vector<RegFileKey> keys;
    const auto add = [&keys](const KeyPath& path, const OpenKey& key, const std::vector<CString>&) {
        keys.push_back({path.Full(), false, key.Values()});
    };
    for (const KeyPath& path : {registration.HostKey(), registration.MakerKey()}) {
        if (IsThere(path)) {
            ForEachKey(path, true, add);
        }
    }
    return keys;
}

void PrintKeys(const std::vector<RegFileKey>& keys) {
    for (const RegFileKey& key : keys) {
        Print("[" + Utf8(key.path) + "]");
        for (const RegFileValue& value : key.values) {
            Print(ShownValue(value));
        }
    }
}

// ---- what a registration writes

RegFileValue TextValue(const CString& name, const CString& text) {
    return {name, REG_SZ, ParseData(REG_SZ, {Utf8(text)}), false};
}

/// A key of names that stand for themselves; none when there are no names. Of names that differ in case alone the first
/// stays, with the last as its text.
void AddNames(std::vector<RegFileKey>& keys, const CString& path, const std::vector<CString>& names) {
    if (names.empty()) {
        return;
    }
    RegFileKey key{path, false, {}};
    for (const CString& name : names) {
        const auto same = std::find_if(key.values.begin(), key.values.end(), [&name](const RegFileValue& value) {
            return value.name.CompareNoCase(name) == 0;
        });
        if (same == key.values.end()) {
            key.values.push_back(TextValue(name, name));
        } else {
            same->data = TextValue(name, name).data;
        }
    }
    keys.push_back(key);
}

/// What `Add` would write, in the order in which `Status` shows it.
std::vector<RegFileKey> Plan(Registration& registration, const Options& options, const std::vector<CString>& commands,
                             int controls) {
    const CString host = registration.HostKey().Full();
    const CString maker = registration.MakerKey().Full();
    const std::vector<CString> groups(options.group.empty() ? 0 : 1, Wide(options.group));
    const CString module = options.moduleGiven ? Wide(options.module) : registration.App();
    const CString file = registration.m_strAppInstallPath + module + _T(".arx");
    std::vector<RegFileKey> keys = {
        {host, false, {{_T("LoadCtrls"), REG_DWORD, ParseData(REG_DWORD, {std::to_string(controls)}), false}}}};
    if (registration.HasOwnLayout()) {
        keys[0].values.push_back(TextValue(_T("Loader"), file));
        AddNames(keys, host + _T("\\Commands"), commands);
        AddNames(keys, host + _T("\\Groups"), groups);
        return keys;
    }
    keys[0].values.push_back(TextValue(_T("REGPATH"), _T("\\\\") + maker));
    keys.push_back({maker, false, {}});
    AddNames(keys, maker + _T("\\Commands"), commands);
    AddNames(keys, maker + _T("\\Groups"), groups);
    keys.push_back({maker + _T("\\Loader"), false, {TextValue(_T("MODULE"), file)}});
    keys.push_back({maker + _T("\\Name"), false, {TextValue(_T("Name"), registration.App())}});
    return keys;
}

/// Whether all of it stands in the registry.
bool IsWritten(const std::vector<RegFileKey>& plan) {
    for (const RegFileKey& wanted : plan) {
        OpenKey key;
        if (!key.TryOpen(KeyPath::Parse(wanted.path), KEY_READ)) {
            return false;
        }
        for (const RegFileValue& value : wanted.values) {
            RegFileValue found;
            if (!key.ReadValue(value.name, found) || found.type != value.type || found.data != value.data) {
                return false;
            }
        }
    }
    return true;
}

/// The number of a "LoadCtrls" value; 0 when it is none.
int LoadControlsOf(const RegFileValue& value) {
    const Json data = value.type == REG_DWORD ? ValueJson(value)["data"] : Json(nullptr);
    return data.is_number() ? static_cast<int>(data.get<DWORD>()) : 0;
}

// ---- verbs

/// The commands to register. White space around them is dropped; one of nothing else would be an unnamed value.
std::vector<CString> Commands(const Options& options) {
    std::vector<CString> commands;
    for (const std::string& given : options.commands) {
        CString command = Wide(given);
        command.Trim();
        if (command.IsEmpty()) {
            throw Failure(exitUsage, "'" + given + "' is no command name", "Give a name, or leave --command out.");
        }
        commands.push_back(command);
    }
    return commands;
}

void Add(const Options& options) {
    const int controls = ParseControls(options.load);
    if (options.folder.empty()) {
        throw Failure(exitUsage, "'' is no folder", "Give the folder of the module files.");
    }
    if (options.moduleGiven && options.module.empty()) {
        throw Failure(exitUsage, "'' is no module name", "Give the file's name without .arx.");
    }
    const std::vector<CString> commands = Commands(options);
    Registration registration(options, !options.dryRun);
    const std::vector<RegFileKey> plan = Plan(registration, options, commands, controls);
    if (options.dryRun) {
        PrintKeys(plan);
        return;
    }
    registration.Add(commands, controls);
    if (!IsWritten(plan)) {
        throw Failure(
            exitRefused, registration.HostKey().Shown() + ": the registration could not be written, or not all of it",
            "'kvtfile arx status' tells what is registered. Writing the machine's keys needs the right to do so.");
    }
    Print(registration.HostKey().Shown() + ": registered");
    Print("  loaded " + SpelledOut(controls));
}

void Remove(const Options& options) {
    Registration registration(options, !options.dryRun);
    const KeyPath hostKey = registration.HostKey();
    const KeyPath makerKey = registration.MakerKey();
    if (!IsThere(hostKey)) {
        throw Failure(exitRefused, hostKey.Shown() + ": not registered; nothing was deleted",
                      "'kvtfile arx status' tells what is registered.");
    }
    const bool makerToo = IsThere(makerKey);
    if (!options.dryRun) {
        registration.DelAutoArx(registration.App());
        if (IsThere(hostKey) || IsThere(makerKey)) {
            throw Failure(exitRefused, hostKey.Shown() + ": the registration could not be deleted",
                          "Writing the machine's keys needs the right to do so.");
        }
    }
    const char* what = options.dryRun ? ": would be deleted" : ": deleted";
    Print(hostKey.Shown() + what);
    if (makerToo) {
        Print(makerKey.Shown() + what);
    }
}

void Status(const Options& options) {
    Registration registration(options, false);
    OpenKey key;
    if (!key.TryOpen(registration.HostKey(), KEY_READ)) {
        throw Failure(exitRefused, registration.HostKey().Shown() + ": not registered",
                      "'kvtfile arx add' registers an application.");
    }
    const std::vector<RegFileKey> keys = Snapshot(registration);
    RegFileValue value;
    const int controls = key.ReadValue(_T("LoadCtrls"), value) ? LoadControlsOf(value) : 0;
    if (!options.json) {
        PrintKeys(keys);
        Print("loaded " + SpelledOut(controls));
        return;
    }
    Json list = Json::array();
    for (const RegFileKey& shown : keys) {
        Json values = Json::array();
        for (const RegFileValue& of : shown.values) {
            values.push_back(ValueJson(of));
        }
        list.push_back({{"key", Utf8(shown.path)}, {"values", values}});
    }
    PrintJson(Json{{"application", Utf8(registration.App())},
                   {"hostKey", registration.HostKey().Shown()},
                   {"loadControls", controls},
                   {"loaded", Names(controls)},
                   {"keys", list}});
}

// ---- the command line

using Added = AddedVerb<Options>;

void NoteGiven(const CLI::App& verb, Options& options) {
    options.moduleGiven = IsGiven(verb, "--module");
}

Added AddArxVerb(CLI::App& arx, const char* name, const char* description, const char* examples,
                 void (*run)(const Options&)) {
    const Added added = AddVerb(arx, name, description, examples, run, NoteGiven);
    added.verb->add_option("APP", added.options->app, "The application's name")->required();
    added.verb->add_option("--release", added.options->release, kReleaseHelp)->required();
    added.verb->add_option("--maker-key", added.options->softKey,
                           "The maker's key below HKEY_LOCAL_MACHINE (Software\\orva\\apps)");
    return added;
}

}  // namespace

void AddArxVerbs(CLI::App& command) {
    CLI::App* arx = command.add_subcommand("arx", "Register add-ons that AutoCAD loads by itself");
    arx->require_subcommand(1);
    arx->footer(
        "Registrations stand below HKEY_LOCAL_MACHINE; writing them needs the right to do so. 'kvtfile host list'\n"
        "lists the installed releases.");
    {
        const Added added = AddArxVerb(
            *arx, "add", "Register an application",
            "  kvtfile arx add Walls --release 2010 --folder 'C:\\Walls\\' --load command --command WALL", Add);
        added.verb->add_option("--folder", added.options->folder, "The folder of the modules")->required();
        added.verb->add_option("--module", added.options->module,
                               "The module's file name without .arx (the application's)");
        added.verb->add_option("--group", added.options->group, "The group of its commands");
        added.verb->add_option("--command", added.options->commands, "A command; may be repeated");
        added.verb->add_option(
            "--load", added.options->load,
            "When it is loaded: proxy, startup, command, request, never, transparent; may be repeated (without: not "
            "by itself)");
        added.verb->add_flag("--dry-run", added.options->dryRun, "Print what would be written, and write nothing");
    }
    {
        const Added added = AddArxVerb(*arx, "remove", "Remove an application's registration",
                                       "  kvtfile arx remove Walls --release 2010", Remove);
        added.verb->add_flag("--dry-run", added.options->dryRun, "Say what would be deleted, and delete nothing");
    }
    {
        const Added added = AddArxVerb(*arx, "status", "Show an application's registration",
                                       "  kvtfile arx status Walls --release 2010 --json", Status);
        added.verb->add_flag("--json", added.options->json, "Print JSON");
    }
}

}  // namespace kvtcommand
