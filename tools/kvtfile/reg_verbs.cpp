// kvtfile reg query, add, delete, export, import. A registration file is read whole before anything is written, so that
// one that is wrong changes nothing.

#include <CLI/CLI.hpp>

#include "kvtfile/XmlFile.h"
#include "tools/kvtfile/registry.h"
#include "tools/kvtfile/text_file.h"
#include "tools/kvtfile/verbs.h"

namespace kvtcommand {

namespace {

struct Options {
    std::string key;
    std::string file;
    std::string value;
    std::string type = "REG_SZ";
    std::vector<std::string> data;
    bool valueGiven = false;
    bool typeGiven = false;
    bool dataGiven = false;
    bool defaultValue = false;
    bool recursive = false;
    bool force = false;
    bool dryRun = false;
    bool json = false;

    bool NamesValue() const { return valueGiven || defaultValue; }
};

// ---- verbs

void QueryValue(const Options& options) {
    const KeyPath path = KeyPath::Parse(options.key);
    OpenKey key;
    key.Open(path, KEY_READ);
    RegFileValue value;
    const CString name = Wide(options.value);
    if (!key.ReadValue(name, value)) {
        throw Failure(exitRefused, path.Shown() + ": no value '" + ShownName(name) + "'",
                      "'kvtfile reg query' without --value lists the values.");
    }
    if (options.json) {
        Json json = {{"key", path.Shown()}};
        json.update(ValueJson(value));
        PrintJson(json);
    } else {
        Print(PlainData(value));
    }
}

void Query(const Options& options) {
    if (options.NamesValue()) {
        QueryValue(options);
        return;
    }
    Json keys = Json::array();
    ForEachKey(KeyPath::Parse(options.key), options.recursive,
               [&](const KeyPath& path, const OpenKey& key, const std::vector<CString>& names) {
                   Json values = Json::array();
                   if (!options.json) {
                       Print("[" + path.Shown() + "]");
                   }
                   for (const RegFileValue& value : key.Values()) {
                       if (options.json) {
                           values.push_back(ValueJson(value));
                       } else {
                           Print(ShownValue(value));
                       }
                   }
                   if (options.json) {
                       Json children = Json::array();
                       for (const CString& name : names) {
                           children.push_back(Utf8(name));
                       }
                       keys.push_back({{"key", path.Shown()}, {"values", values}, {"subkeys", children}});
                   } else if (!options.recursive) {
                       for (const CString& name : names) {
                           Print("[" + path.Child(name).Shown() + "]");
                       }
                   }
               });
    if (options.json) {
        PrintJson(Json{{"keys", keys}});
    }
}

void Add(const Options& options) {
    const KeyPath path = KeyPath::Parse(options.key);
    RegFileValue value;
    value.name = Wide(options.value);
    if (!options.NamesValue() && (options.dataGiven || options.typeGiven)) {
        throw Failure(exitUsage,
                      std::string(options.dataGiven ? "--data" : "--type") + " needs --value NAME or --default",
                      "See: kvtfile reg add --help");
    }
    if (!ParseType(options.type, value.type)) {
        throw Failure(exitUsage, "there is no type '" + options.type + "'", "See: kvtfile reg add --help");
    }
    value.data = ParseData(value.type, options.data);
    OpenKey key;
    const bool created = key.Create(path, KEY_READ | KEY_WRITE);
    if (options.NamesValue()) {
        key.WriteValue(value);
        Print(path.Shown() + ": " + ShownName(value.name) + " set");
    } else {
        Print(path.Shown() + ": " + (created ? "created" : "was there already"));
    }
}

void Delete(const Options& options) {
    const KeyPath path = KeyPath::Parse(options.key);
    OpenKey key;
    if (options.NamesValue()) {
        const CString name = Wide(options.value);
        key.Open(path, KEY_READ | KEY_WRITE);
        if (!key.DeleteValue(name)) {
            throw Failure(exitRefused, path.Shown() + ": no value '" + ShownName(name) + "'",
                          "'kvtfile reg query' lists the values.");
        }
        Print(path.Shown() + ": " + ShownName(name) + " deleted");
        return;
    }
    if (path.path.IsEmpty()) {
        throw Failure(exitRefused, path.Shown() + ": a root key cannot be deleted", "Name a key beneath it.");
    }
    key.Open(path, KEY_READ);
    if (const size_t count = key.KeyNames().size(); count != 0 && !options.force) {
        throw Failure(exitRefused,
                      path.Shown() + ": the key holds " + Counted(count, "key", "keys") + "; nothing was deleted",
                      "--force deletes it with everything beneath it.");
    }
    DeleteTree(path);
    Print(path.Shown() + ": deleted");
}

void Export(const Options& options) {
    const KeyPath root = KeyPath::Parse(options.key);
    const FileName file(options.file);
    if (FileExists(file.full) && !options.force) {
        throw Failure(exitRefused, file.given + ": the file is there already; nothing was written",
                      "--force puts the export in its place.");
    }
    std::vector<RegFileKey> keys;
    size_t values = 0;
    ForEachKey(root, true, [&](const KeyPath& path, const OpenKey& key, const std::vector<CString>&) {
        if (path.path.FindOneOf(_T("\r\n")) >= 0) {
            throw Failure(exitRefused,
                          "the name of the key " + Quoted(path.Full()) +
                              " holds a line break, which no registration file can hold; nothing was written",
                          "Export the other keys one by one.");
        }
        keys.push_back({path.Full(), false, key.Values()});
        values += keys.back().values.size();
    });
    using kvtfile::CFXmlFile;
    CString result;
    CString encoding = _T("UTF-16LE");
    int flags = CFXmlFile::docUtf16Le;
    if (!CFXmlFile::WriteTextFile(file.full, FormatRegFile(keys), &result, &flags, &encoding)) {
        throw Failure(exitFormat, file.given + ": " + Utf8(result), kWriteAdvice);
    }
    Print(file.given + ": " + Counted(keys.size(), "key", "keys") + " and " + Counted(values, "value", "values") +
          " written");
}

/// Does what a file says of one key and returns what there was to do.
std::string Apply(const RegFileKey& wanted, bool dryRun) {
    const KeyPath path = KeyPath::Parse(wanted.path);
    OpenKey key;
    if (wanted.remove) {
        const bool there = dryRun ? key.TryOpen(path, KEY_READ) : DeleteTree(path);
        return there ? "deleted" : "not there";
    }
    size_t set = 0;
    size_t removed = 0;
    if (!dryRun) {
        key.Create(path, KEY_READ | KEY_WRITE);
    }
    for (const RegFileValue& value : wanted.values) {
        (value.remove ? removed : set) += 1;
        if (dryRun) {
            continue;
        }
        if (value.remove) {
            key.DeleteValue(value.name);
        } else {
            key.WriteValue(value);
        }
    }
    return Counted(set, "value", "values") + " set" +
           (removed == 0 ? "" : ", " + Counted(removed, "value", "values") + " deleted");
}

void Import(const Options& options) {
    const FileName file(options.file);
    std::vector<RegFileKey> keys;
    try {
        keys = ParseRegFile(ReadBytes(file.full, file.given));
    } catch (const RegFileError& error) {
        throw Failure(
            exitFormat,
            file.given + ": line " + std::to_string(error.Line()) + ": " + error.what() + "; nothing was changed",
            "Correct the line.");
    }
    size_t done = 0;
    for (const RegFileKey& key : keys) {
        try {
            const std::string what = Apply(key, options.dryRun);
            if (options.dryRun) {
                Print(Utf8(key.path) + ": " + what);
            }
        } catch (const Failure& failure) {
            throw Failure(failure.Code(), failure.what(),
                          Counted(done, "key", "keys") + " of the file before it " + (done == 1 ? "was" : "were") +
                              " taken in. " + failure.Advice());
        }
        ++done;
    }
    Print(file.given + ": " + Counted(keys.size(), "key", "keys") + (options.dryRun ? " to take in" : " taken in"));
}

// ---- the command line

using Added = AddedVerb<Options>;

void NoteGiven(const CLI::App& verb, Options& options) {
    options.valueGiven = IsGiven(verb, "--value");
    options.typeGiven = IsGiven(verb, "--type");
    options.dataGiven = IsGiven(verb, "--data");
}

void AddKey(const Added& added) {
    added.verb->add_option("KEY", added.options->key, "The key: HKCU\\Software\\Demo")->required();
}

void AddValueName(const Added& added) {
    CLI::Option* value = added.verb->add_option("--value", added.options->value, "A value of the key");
    added.verb->add_flag("--default", added.options->defaultValue, "The key's default value")->excludes(value);
}

}  // namespace

void AddRegVerbs(CLI::App& command) {
    CLI::App* reg = command.add_subcommand("reg", "Work with the registry and registration files");
    reg->require_subcommand(1);
    reg->footer(
        "Root keys: HKEY_CLASSES_ROOT, HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE, HKEY_USERS, HKEY_CURRENT_CONFIG, or "
        "HKCR, HKCU,\n"
        "HKLM, HKU, HKCC. Off Windows the registry is the file registry.db of the prefix.");
    {
        const Added added = AddVerb(*reg, "query", "List a key, or print one value",
                                    "  kvtfile reg query 'HKCU\\Software\\Demo' --recursive\n"
                                    "  kvtfile reg query 'HKCU\\Software\\Demo' --value Width",
                                    Query, NoteGiven);
        AddKey(added);
        AddValueName(added);
        added.verb->add_flag("--recursive", added.options->recursive, "List everything beneath the key too");
        added.verb->add_flag("--json", added.options->json, "Print JSON");
    }
    {
        const Added added =
            AddVerb(*reg, "add", "Make a key, or set a value (the key is made when missing)",
                    "  kvtfile reg add 'HKCU\\Software\\Demo'\n"
                    "  kvtfile reg add 'HKCU\\Software\\Demo' --value Width --type REG_DWORD --data 800",
                    Add, NoteGiven);
        AddKey(added);
        AddValueName(added);
        added.verb->add_option(
            "--type", added.options->type,
            "REG_SZ (the default), REG_EXPAND_SZ, REG_MULTI_SZ, REG_DWORD, REG_QWORD, REG_BINARY, ...");
        added.verb->add_option(
            "--data", added.options->data,
            "A text, a number (decimal, or hexadecimal after 0x) or bytes (01ff); REG_MULTI_SZ takes several");
    }
    {
        const Added added = AddVerb(*reg, "delete", "Delete a value, or a key",
                                    "  kvtfile reg delete 'HKCU\\Software\\Demo' --value Width\n"
                                    "  kvtfile reg delete 'HKCU\\Software\\Demo' --force",
                                    Delete, NoteGiven);
        AddKey(added);
        AddValueName(added);
        added.verb->add_flag("--force", added.options->force, "Delete a key although it holds keys");
    }
    {
        const Added added = AddVerb(*reg, "export", "Write a key and everything beneath it to a registration file",
                                    "  kvtfile reg export 'HKCU\\Software\\Demo' demo.reg", Export);
        AddKey(added);
        added.verb->add_option("FILE", added.options->file, "The file (version 5, UTF-16LE with its mark)")->required();
        added.verb->add_flag("--force", added.options->force, "Replace a file that is there already");
    }
    {
        const Added added = AddVerb(*reg, "import", "Take in a registration file (version 5 or 4)",
                                    "  kvtfile reg import demo.reg --dry-run\n"
                                    "  kvtfile reg import demo.reg",
                                    Import);
        added.verb->add_option("FILE", added.options->file, "The file")->required();
        added.verb->add_flag("--dry-run", added.options->dryRun, "Say what would be done, and change nothing");
    }
}

}  // namespace kvtcommand
