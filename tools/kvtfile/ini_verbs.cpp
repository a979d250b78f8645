// kvtfile ini list, get, set, delete. An INI file is code page 936 text without escapes: what would not be read again
// as it was given is refused.

#include <CLI/CLI.hpp>

#include "kvtfile/IniFile.h"
#include "tools/kvtfile/report.h"
#include "tools/kvtfile/text_file.h"
#include "tools/kvtfile/verbs.h"

namespace kvtcommand {

namespace {

struct Options {
    std::string file;
    std::string section;
    std::string name;
    std::string value;
    bool sectionGiven = false;
    bool nameGiven = false;
    bool inPlace = false;
    bool json = false;
    bool create = false;
};

const Encoding& IniEncoding() {
    static const Encoding encoding{_T("gbk"), 0};
    return encoding;
}

/// An INI file that was opened as the library opens it.
class Ini : public kvtfile::CIniFile {
public:
    /// @param create Whether a missing file is taken as an empty one.
    explicit Ini(const Options& options, bool create = false) : m_file(options.file) {
        const CString& named = m_file.full;
        if (options.inPlace) {
            SetPath(CString(), named);
        } else {
            SetPath(named);
        }
        if (!FileExists(m_strPath) && create) {
            return;
        }
        m_bytes = ReadBytes(m_strPath, Path());
        ReadFile();
        if (IsRedirected()) {
            Note("working on " + Path() + ", the working copy of " + m_file.given);
        }
    }

    /// The file as messages name it.
    std::string Path() const { return IsRedirected() ? Utf8(m_strPath) : m_file.given; }

    /// Refuses a file that is not code page 936 text: writing it would change more than the edit.
    void RequireLossless() const {
        CString text;
        CString encoding = IniEncoding().name;
        if (m_bytes.empty() || !kvtfile::CFXmlFile::ReadTextFile(m_strPath, text, nullptr, nullptr, &encoding)) {
            return;
        }
        const long long changed = FindChangedByte(IniEncoding(), text, m_bytes);
        if (changed >= 0) {
            throw Failure(exitRefused,
                          Path() + ": byte " + std::to_string(changed) +
                              " is not code page 936 text, so that saving would change more than the edit; nothing was "
                              "written",
                          "Save the file in code page 936 first.");
        }
    }

    void SaveChanges() {
        if (!WriteFile()) {
            throw Failure(exitFormat, Path() + ": the file cannot be written", kWriteAdvice);
        }
    }

    void RequireSection(const std::string& section) const {
        if (FindKey(Wide(section)) < 0) {
            throw Failure(exitRefused, Path() + ": no section [" + section + "]",
                          "'kvtfile ini list' shows the sections; --create with 'set' adds one.");
        }
    }

    void RequireEntry(const std::string& section, const std::string& name) const {
        RequireSection(section);
        if (!IsHaveValueName(Wide(section), Wide(name))) {
            throw Failure(exitRefused, Path() + ": no '" + name + "' in [" + section + "]",
                          "'kvtfile ini list' shows the names; --create with 'set' adds one.");
        }
    }

private:
    bool IsRedirected() const { return m_file.full.CompareNoCase(m_strPath) != 0; }

    FileName m_file;
    std::string m_bytes;
};

// ---- what a line can hold

bool EndsWith(const CString& text, WCHAR unit) {
    return !text.IsEmpty() && text[text.GetLength() - 1] == unit;
}

bool HasLineBreak(const CString& text) {
    return text.FindOneOf(_T("\r\n")) >= 0;
}

bool SurvivesAsHeader(const CString& section) {
    return !HasLineBreak(section) && (section.IsEmpty() || (section[0] != _T('[') && !EndsWith(section, _T(']'))));
}

/// Whether the line of an entry is read again as the same name and value.
bool SurvivesAsEntry(const CString& name, const CString& value) {
    const CString line = value.IsEmpty() ? name : name + _T("=") + value;
    CString trimmed = line;
    trimmed.TrimLeft();
    trimmed.TrimRight();
    const bool comment = !line.IsEmpty() && (line[0] == _T(';') || line[0] == WCHAR(0xFF1B));
    const bool header = !line.IsEmpty() && line[0] == _T('[') && EndsWith(line, _T(']'));
    return !HasLineBreak(line) && !line.IsEmpty() && trimmed == line && !comment && !header && name.Find(_T('=')) < 0;
}

void RequireWritable(const Ini& ini, const Options& options) {
    const CString section = Wide(options.section);
    const CString name = Wide(options.name);
    const CString value = Wide(options.value);
    if (!SurvivesAsHeader(section) || !SurvivesAsEntry(name, value)) {
        throw Failure(exitRefused,
                      ini.Path() + ": an INI file cannot hold " + Quoted(name) + " = " + Quoted(value) + " in [" +
                          options.section + "]; nothing was written",
                      "Leave out line breaks, blanks at the ends, '=' in the name, and a name that begins as a comment "
                      "or a section does.");
    }
    const CString all = section + name + value;
    if (const int lost = FindLost(IniEncoding(), all); lost >= 0) {
        throw Failure(exitRefused,
                      ini.Path() + ": code page 936 cannot hold " + CharacterAt(all, lost) + "; nothing was written",
                      "Leave the character out.");
    }
}

// ---- verbs

Json SectionJson(const Ini& ini, const CString& section) {
    CStringArray names;
    CStringArray values;
    ini.GetValue(section, names, values);
    Json entries = Json::array();
    for (INT_PTR i = 0; i < names.GetSize(); ++i) {
        entries.push_back({{"name", Utf8(names[i])}, {"value", Utf8(values[i])}});
    }
    return {{"name", Utf8(section)}, {"entries", entries}};
}

void List(const Options& options) {
    Ini ini(options);
    CStringArray sections;
    if (options.sectionGiven) {
        ini.RequireSection(options.section);
        sections.Add(Wide(options.section));
    } else {
        ini.GetAllKeyname(sections);
    }
    Json list = Json::array();
    for (INT_PTR i = 0; i < sections.GetSize(); ++i) {
        if (options.json) {
            list.push_back(SectionJson(ini, sections[i]));
            continue;
        }
        Print("[" + Utf8(sections[i]) + "]");
        CStringArray lines;
        ini.GetValue(sections[i], lines);
        for (INT_PTR line = 0; line < lines.GetSize(); ++line) {
            Print(Utf8(lines[line]));
        }
    }
    if (options.json) {
        PrintJson(Json{{"file", ini.Path()}, {"sections", list}});
    }
}

void Get(const Options& options) {
    Ini ini(options);
    ini.RequireEntry(options.section, options.name);
    const std::string value = Utf8(ini.GetValue(Wide(options.section), Wide(options.name)));
    if (options.json) {
        PrintJson(Json{{"file", ini.Path()}, {"section", options.section}, {"name", options.name}, {"value", value}});
    } else {
        Print(value);
    }
}

void Set(const Options& options) {
    Ini ini(options, options.create);
    ini.RequireLossless();
    if (!options.create) {
        ini.RequireEntry(options.section, options.name);
    }
    RequireWritable(ini, options);
    ini.SetValue(Wide(options.section), Wide(options.name), Wide(options.value), options.create);
    ini.SaveChanges();
    Print(ini.Path() + ": [" + options.section + "] " + options.name + " set");
}

void Delete(const Options& options) {
    Ini ini(options);
    ini.RequireLossless();
    if (options.nameGiven) {
        ini.RequireEntry(options.section, options.name);
        ini.DeleteValue(Wide(options.section), Wide(options.name));
    } else {
        ini.RequireSection(options.section);
        ini.DeleteKey(Wide(options.section));
    }
    ini.SaveChanges();
    Print(ini.Path() + ": [" + options.section + "]" + (options.nameGiven ? " " + options.name : "") + " deleted");
}

// ---- the command line

using Verb = void (*)(const Options&);

void NoteGiven(const CLI::App& verb, Options& options) {
    options.sectionGiven = IsGiven(verb, "SECTION");
    options.nameGiven = IsGiven(verb, "NAME");
}

AddedVerb<Options> AddFileVerb(CLI::App& ini, const char* name, const char* description, const char* examples,
                               Verb run) {
    const auto added = AddVerb(ini, name, description, examples, run, NoteGiven);
    added.verb->add_option("FILE", added.options->file, "The INI file, the installed one or any other")->required();
    added.verb->add_flag("--in-place", added.options->inPlace, "Open this very file: no working copy, no merge");
    return added;
}

CLI::Option* AddSection(CLI::App* verb, Options& options) {
    return verb->add_option("SECTION", options.section, "The section; '' is the one before the first header");
}

CLI::Option* AddName(CLI::App* verb, Options& options) {
    return verb->add_option("NAME", options.name, "The name of the entry");
}

}  // namespace

void AddIniVerbs(CLI::App& command) {
    CLI::App* ini = command.add_subcommand("ini", "Work with INI files");
    ini->require_subcommand(1);
    ini->footer(
        "INI files are code page 936 text. Writing puts a file into its normal form: comments and blanks around lines\n"
        "are not kept. Names of sections and entries compare without regard to case.");
    {
        const auto [verb, options] = AddFileVerb(*ini, "list", "List all sections, or one, with their entries",
                                                 "  kvtfile ini list setup.ini\n"
                                                 "  kvtfile ini list setup.ini Language --json",
                                                 List);
        AddSection(verb, *options);
        verb->add_flag("--json", options->json, "Print JSON");
    }
    {
        const auto [verb, options] =
            AddFileVerb(*ini, "get", "Print a value", "  kvtfile ini get setup.ini Language Name", Get);
        AddSection(verb, *options)->required();
        AddName(verb, *options)->required();
        verb->add_flag("--json", options->json, "Print JSON");
    }
    {
        const auto [verb, options] = AddFileVerb(*ini, "set", "Set a value",
                                                 "  kvtfile ini set setup.ini Language Name Deutsch\n"
                                                 "  kvtfile ini set new.ini Window Width 800 --create",
                                                 Set);
        AddSection(verb, *options)->required();
        AddName(verb, *options)->required();
        verb->add_option("VALUE", options->value, "The value")->required();
        verb->add_flag("--create", options->create, "Add file, section and entry when missing");
    }
    {
        const auto [verb, options] = AddFileVerb(*ini, "delete", "Delete an entry, or a whole section",
                                                 "  kvtfile ini delete setup.ini Language Name\n"
                                                 "  kvtfile ini delete setup.ini Language",
                                                 Delete);
        AddSection(verb, *options)->required();
        AddName(verb, *options)->description("The entry (default: the whole section)");
    }
}

}  // namespace kvtcommand
