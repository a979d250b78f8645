// kvtfile cfg merge: what a newer installed file brings into the working copy. The report comes from the library's own
// merge, done on the working copy in memory.

#include <CLI/CLI.hpp>
#include <memory>

#include "kvtfile/DataPath.h"
#include "kvtfile/IniFile.h"
#include "tools/kvtfile/settings.h"
#include "tools/kvtfile/text_file.h"
#include "tools/kvtfile/verbs.h"

namespace kvtcommand {

namespace {

struct Options {
    std::string file;
    bool apply = false;
    bool json = false;
};

/// What the next opening does with the installed file.
enum class Due { yes, notNewer, never };

/// Decides as opening does: by the time recorded at the last merge.
Due WhenMerged(const CString& installed) {
    kvtfile::CIniFile times(CString(), kvtfile::FGetOrvaDataCommonPath() + _T("TBListFile_Xml.ini"), false);
    const int recorded = times.GetValueI(installed, _T("time"));
    WIN32_FILE_ATTRIBUTE_DATA status = {};
    ::GetFileAttributesExW(installed, GetFileExInfoStandard, &status);
    const ULONGLONG ticks =
        (static_cast<ULONGLONG>(status.ftLastWriteTime.dwHighDateTime) << 32) | status.ftLastWriteTime.dwLowDateTime;
    const int written = static_cast<int>(static_cast<LONGLONG>(ticks / 10000000u) - 11644473600LL);
    if (recorded < 0) {
        return Due::never;
    }
    return recorded == 0 || written > recorded ? Due::yes : Due::notNewer;
}

const char* DueText(Due due) {
    switch (due) {
        case Due::yes:
            return "the next opening takes this in";
        case Due::notNewer:
            return "the installed file is not newer than at its last merge, so that opening takes nothing in";
        case Due::never:
            break;
    }
    return "the installed file is marked as never to be merged, so that opening takes nothing in";
}

const char* DueName(Due due) {
    return due == Due::yes ? "yes" : due == Due::never ? "never" : "not newer";
}

Json FieldsJson(const std::vector<SettingsChanges::Field>& fields) {
    Json list = Json::array();
    for (const SettingsChanges::Field& field : fields) {
        list.push_back({{"kind", field.item.Kind()},
                        {"path", Utf8(field.item.path)},
                        {"field", field.name},
                        {"value", Utf8(field.item.Field(field.name))},
                        {"installed", Utf8(field.installed)}});
    }
    return list;
}

void PrintReport(const CString& installed, const CString& working, bool exists, Due due, const SettingsChanges& changes,
                 bool applied) {
    Json added = Json::array();
    for (const SettingsItem& item : changes.added) {
        added.push_back(item.ToJson());
    }
    PrintJson(Json{{"installed", Utf8(installed)},
                   {"working", Utf8(working)},
                   {"workingExists", exists},
                   {"due", DueName(due)},
                   {"added", added},
                   {"filled", FieldsJson(changes.filled)},
                   {"kept", FieldsJson(changes.kept)},
                   {"applied", applied}});
}

void PrintChanges(const SettingsChanges& changes) {
    for (const SettingsItem& item : changes.added) {
        Print(item.isClass ? "  added   [" + Utf8(item.path) + "]"
                           : "  added   " + Utf8(item.path) + " = " + Quoted(item.Field("value")));
    }
    for (const SettingsChanges::Field& field : changes.filled) {
        Print("  filled  " + Utf8(field.item.path) + " " + field.name + " = " + Quoted(field.installed));
    }
    for (const SettingsChanges::Field& field : changes.kept) {
        Print("  kept    " + Utf8(field.item.path) + " " + field.name + " = " + Quoted(field.item.Field(field.name)) +
              ", installed " + Quoted(field.installed));
    }
}

/// Opens as an application does, which merges what is due, then merges the rest.
void Apply(const FileName& file, Settings& theirs) {
    Settings ours(file, OpenMode::redirected);
    ours.RequireLossless();
    ours.MergeFrom(theirs);
    ours.SaveChanges();
}

void Merge(const Options& options) {
    const FileName file(options.file);
    const CString& installed = file.full;
    const CString working = Settings::WorkCopyPath(installed);
    if (working.CompareNoCase(installed) == 0) {
        throw Failure(exitRefused, file.given + ": this file has no working copy",
                      "Name the installed file, in its versioned product folder.");
    }
    Settings theirs(file, OpenMode::inPlace);
    const Due due = WhenMerged(installed);
    const bool exists = FileExists(working);
    SettingsChanges changes;
    if (exists) {
        Settings ours(FileName(Utf8(working)), OpenMode::inPlace);
        const std::vector<SettingsItem> before = ours.ListAll();
        ours.MergeFrom(theirs);
        changes = CompareSettings(before, ours.ListAll(), theirs.ListAll());
    }
    if (options.apply) {
        Apply(file, theirs);
    }
    if (options.json) {
        PrintReport(installed, working, exists, due, changes, options.apply);
        return;
    }
    Print("installed " + Utf8(installed));
    Print("working   " + Utf8(working));
    if (!exists) {
        Print(options.apply ? "made now, as it is installed" : "not there yet; the next opening makes it");
        return;
    }
    PrintChanges(changes);
    Print((options.apply ? "merged: " : "would merge: ") + changes.Summary());
    if (!options.apply && !changes.IsEmpty()) {
        Print(DueText(due));
    }
}

}  // namespace

void AddCfgMerge(CLI::App& cfg) {
    CLI::App* verb = AddVerb(cfg, "merge", "Report what the installed file would bring into the working copy",
                             "  kvtfile cfg merge 'C:\\ORVASOFT\\RIVADX V11.0\\Sys\\Layer.xml'\n"
                             "  kvtfile cfg merge 'C:\\ORVASOFT\\RIVADX V11.0\\Sys\\Layer.xml' --apply");
    auto options = std::make_shared<Options>();
    verb->add_option("FILE", options->file, "The installed file")->required();
    verb->add_flag("--apply", options->apply, "Bring it in now, whether or not the installed file is newer");
    verb->add_flag("--json", options->json, "Print JSON");
    verb->callback([options] { Merge(*options); });
}

}  // namespace kvtcommand
