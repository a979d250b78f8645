// kvtfile cfg open, list, get, set, set-class, delete.

#include <CLI/CLI.hpp>
#include <array>
#include <memory>
#include <optional>

#include "tools/kvtfile/settings.h"
#include "tools/kvtfile/text_file.h"
#include "tools/kvtfile/verbs.h"

namespace kvtcommand {

namespace {

struct Options {
    std::string file;
    std::string path;
    std::string field = "value";
    bool fieldGiven = false;
    bool inPlace = false;
    bool json = false;
    bool recursive = false;
    bool isClass = false;
    bool create = false;
    bool force = false;
    std::map<std::string, std::string> values;  ///< field name to text: those that were given
};

/// The file as its verbs use it.
struct Opened {
    explicit Opened(const Options& options, bool create = false)
        : settings(FileName(options.file), options.inPlace ? OpenMode::inPlace : OpenMode::redirected, create) {
        settings.NoteRedirection();
        settings.RequireRoot();
    }
    Settings settings;
};

// ---- open

void OpenFile(const Options& options) {
    const FileName named(options.file);
    const CString working = options.inPlace ? named.full : Settings::WorkCopyPath(named.full);
    const bool existed = FileExists(working);
    const bool mergeable = existed && working.CompareNoCase(named.full) != 0;
    const std::vector<SettingsItem> before =
        mergeable ? Settings(FileName(Utf8(working)), OpenMode::inPlace).ListAll() : std::vector<SettingsItem>();
    Settings settings(named, options.inPlace ? OpenMode::inPlace : OpenMode::redirected, options.create);
    const bool redirected = settings.IsRedirected();
    const bool made = !existed && FileExists(settings.Path());
    const std::vector<SettingsItem> after = settings.ListAll();
    const SettingsChanges merged = mergeable ? CompareSettings(before, after, after) : SettingsChanges();
    if (options.json) {
        PrintJson(Json{{"file", named.given},
                       {"opened", Utf8(settings.Path())},
                       {"redirected", redirected},
                       {"created", made},
                       {"added", merged.added.size()},
                       {"filled", merged.filled.size()}});
        return;
    }
    Print("opened " + settings.Shown());
    if (redirected) {
        Print("  the working copy of " + named.given + (made ? ", made now" : ""));
    } else if (made) {
        Print("  made now");
    }
    if (!merged.IsEmpty()) {
        Print("  merged: " + merged.Summary());
    }
}

// ---- list and get

std::string ItemLine(const SettingsItem& item) {
    if (item.isClass) {
        const CString& text = item.Field("text");
        return "[" + Utf8(item.path) + "]" + (text.IsEmpty() ? "" : " " + Quoted(text));
    }
    return Utf8(item.path) + " = " + Quoted(item.Field("value"));
}

void List(const Options& options) {
    Opened opened(options);
    const std::vector<SettingsItem> items = opened.settings.List(Wide(options.path), options.recursive);
    if (!options.json) {
        for (const SettingsItem& item : items) {
            Print(ItemLine(item));
        }
        return;
    }
    Json list = Json::array();
    for (const SettingsItem& item : items) {
        list.push_back(item.ToJson());
    }
    PrintJson(Json{{"file", opened.settings.Shown()}, {"items", list}});
}

void Get(const Options& options) {
    Opened opened(options);
    const SettingsItem item = opened.settings.Read(Wide(options.path), options.isClass);
    const bool isText = options.isClass && !options.fieldGiven;
    const CString value = item.Field(isText ? "text" : options.field);
    if (options.json) {
        Json json = {{"file", opened.settings.Shown()}};
        json.update(item.ToJson());
        PrintJson(json);
    } else {
        Print(Utf8(value));
    }
}

// ---- set, set-class, delete

void RequireTexts(const Options& options) {
    for (const auto& [name, text] : options.values) {
        RequireXmlText(Wide(text), "the " + name);
    }
}

void Set(const Options& options) {
    if (options.values.empty() && !options.create) {
        throw Failure(exitUsage, "nothing to set", "Give a VALUE, a field such as --text, or --create.");
    }
    RequireTexts(options);
    Opened opened(options);
    Settings& settings = opened.settings;
    settings.RequireLossless();
    const CString path = Wide(options.path);
    const auto [parent, key] = settings.SplitPath(path);
    Settings::SDataMember member;
    if (settings.Has(path, false)) {
        settings.ReadData(path, member);
    } else if (options.create) {
        RequireXmlText(key, "the key");
        settings.NeedClasses(parent, true);
        member.strKey = key;
    } else {
        throw Failure(exitRefused, settings.Shown() + ": no data item '" + options.path + "'",
                      "Look at the path, or add --create to make the item.");
    }
    for (const DataField& field : kDataFields) {
        if (const auto given = options.values.find(field.name); given != options.values.end()) {
            member.*field.member = Wide(given->second);
        }
    }
    if (!settings.WriteData(parent, member)) {
        throw settings.OperationFailure("'" + options.path + "' could not be set", "Nothing was written.");
    }
    settings.SaveChanges();
    Print(settings.Shown() + ": " + options.path + " set");
}

void SetClass(const Options& options) {
    if (options.values.empty() && !options.create) {
        throw Failure(exitUsage, "nothing to set", "Give --text, --extend or --create.");
    }
    RequireTexts(options);
    Opened opened(options);
    Settings& settings = opened.settings;
    settings.RequireLossless();
    const CString path = Wide(options.path);
    const auto [parent, key] = settings.SplitPath(path);
    settings.NeedClasses(path, options.create);
    Settings::SClassMember member;
    settings.ReadClass(path, member);
    const auto give = [&](const char* name, CString& field) {
        if (const auto given = options.values.find(name); given != options.values.end()) {
            field = Wide(given->second);
        }
    };
    give("text", member.strText);
    give("extend", member.strExtend);
    if (!settings.WriteClass(parent, member)) {
        throw settings.OperationFailure("'" + options.path + "' could not be set", "Nothing was written.");
    }
    settings.SaveChanges();
    Print(settings.Shown() + ": [" + options.path + "] set");
}

void Delete(const Options& options) {
    Opened opened(options);
    Settings& settings = opened.settings;
    settings.RequireLossless();
    const CString path = Wide(options.path);
    const SettingsItem item = settings.Read(path, options.isClass);
    if (options.isClass ? !settings.DeleteClass(path, options.force) : !settings.DeleteData(path)) {
        throw settings.OperationFailure("class '" + options.path + "' is not empty",
                                        "Add --force to delete it with everything in it.");
    }
    settings.SaveChanges();
    Print(settings.Shown() + ": " + (options.isClass ? "[" + options.path + "]" : options.path) + " deleted");
}

// ---- the command line

using Verb = void (*)(const Options&);

AddedVerb<Options> AddFileVerb(CLI::App& cfg, const char* name, const char* description, const char* examples,
                               Verb run) {
    const auto added = AddVerb(cfg, name, description, examples, run);
    added.verb->add_option("FILE", added.options->file, "The settings file, the installed one or any other")
        ->required();
    added.verb->add_flag("--in-place", added.options->inPlace, "Open this very file: no working copy, no merge");
    return added;
}

CLI::Option* AddPath(CLI::App* verb, Options& options) {
    return verb->add_option("PATH", options.path, "The keys from the root, as Class.Class.Item");
}

void AddClassFlag(CLI::App* verb, Options& options) {
    verb->add_flag("--class", options.isClass, "PATH is a class, not a data item");
}

void AddJson(CLI::App* verb, Options& options) {
    verb->add_flag("--json", options.json, "Print JSON");
}

/// An option that is remembered when it was given, even as an empty text.
void AddField(CLI::App* verb, const std::shared_ptr<Options>& options, const char* option, const char* field,
              const char* description) {
    verb->add_option_function<std::string>(
        option, [values = &options->values, field](const std::string& text) { (*values)[field] = text; }, description);
}

void AddOpen(CLI::App& cfg) {
    const auto [verb, options] = AddFileVerb(cfg, "open", "Open or create a file and tell which file was opened",
                                             "  kvtfile cfg open 'C:\\ORVASOFT\\RIVADX V11.0\\Sys\\Layer.xml'\n"
                                             "  kvtfile cfg open settings.xml --create",
                                             OpenFile);
    verb->add_flag("--create", options->create, "Make a missing file");
    AddJson(verb, *options);
}

void AddReading(CLI::App& cfg) {
    {
        const auto [verb, options] = AddFileVerb(cfg, "list", "List the classes and data items under a class",
                                                 "  kvtfile cfg list settings.xml\n"
                                                 "  kvtfile cfg list settings.xml Display --recursive --json",
                                                 List);
        AddPath(verb, *options)->description("The class (default: the root)");
        verb->add_flag("--recursive", options->recursive, "List all that is beneath it");
        AddJson(verb, *options);
    }
    {
        const auto [verb, options] = AddFileVerb(cfg, "get", "Print the value of a data item, or another field",
                                                 "  kvtfile cfg get settings.xml Display.Width\n"
                                                 "  kvtfile cfg get settings.xml Display.Width --field default\n"
                                                 "  kvtfile cfg get settings.xml Display --class --json",
                                                 Get);
        AddPath(verb, *options)->required();
        AddClassFlag(verb, *options);
        verb->add_option_function<std::string>(
                "--field",
                [raw = options.get()](const std::string& name) {
                    raw->field = name;
                    raw->fieldGiven = true;
                },
                "Print this field (default: value; of a class text)")
            ->check(CLI::IsMember(kFieldNames));
        AddJson(verb, *options);
    }
}

void AddWriting(CLI::App& cfg) {
    {
        const auto [verb, options] =
            AddFileVerb(cfg, "set", "Set the value or other fields of a data item",
                        "  kvtfile cfg set settings.xml Display.Width 1024\n"
                        "  kvtfile cfg set settings.xml Display.Depth 32 --type int --text 'Bits' --create",
                        Set);
        AddPath(verb, *options)->required();
        for (const DataField& field : kDataFields) {
            const bool isValue = std::string_view(field.name) == "value";
            AddField(verb, options, isValue ? "VALUE,--value" : (std::string("--") + field.name).c_str(), field.name,
                     field.description);
        }
        verb->add_flag("--create", options->create, "Add the item, and the classes of its path, when missing");
    }
    {
        const auto [verb, options] = AddFileVerb(cfg, "set-class", "Set the text and extend of a class",
                                                 "  kvtfile cfg set-class settings.xml Display --text 'Display'\n"
                                                 "  kvtfile cfg set-class settings.xml Display.Colors --create",
                                                 SetClass);
        AddPath(verb, *options)->required();
        AddField(verb, options, "--text", "text", "The display text");
        AddField(verb, options, "--extend", "extend", "Free text of the application");
        verb->add_flag("--create", options->create, "Add the classes of the path that are missing");
    }
    {
        const auto [verb, options] = AddFileVerb(cfg, "delete", "Delete a data item or a class",
                                                 "  kvtfile cfg delete settings.xml Display.Width\n"
                                                 "  kvtfile cfg delete settings.xml Display --class --force",
                                                 Delete);
        AddPath(verb, *options)->required();
        AddClassFlag(verb, *options);
        verb->add_flag("--force", options->force, "Delete a class with everything in it");
    }
}

}  // namespace

void AddCfgVerbs(CLI::App& command) {
    CLI::App* cfg = command.add_subcommand("cfg", "Work with settings files of classes and data items");
    cfg->require_subcommand(1);
    cfg->footer(
        "A file under a versioned product folder (C:\\ORVASOFT\\PRODUCT V11.0\\...) is opened through the user's\n"
        "working copy, C:\\OrvaData\\PRODUCT\\..., which is made when missing and takes in what a newer installed\n"
        "file brings; the command says so on standard error.");
    AddOpen(*cfg);
    AddReading(*cfg);
    AddWriting(*cfg);
    AddCfgMerge(*cfg);
}

}  // namespace kvtcommand
