#pragma once

// A settings file of the command: the library's store, what it holds as a flat list, and how two lists differ.

#include <string>
#include <vector>

#include "kvtfile/XmlCfg.h"
#include "tools/kvtfile/report.h"
#include "tools/kvtfile/text_file.h"

namespace kvtcommand {

/// One attribute of a class or data item.
struct SettingsField {
    const char* name;
    CString value;
};

/// A class or a data item.
struct SettingsItem {
    bool isClass;
    CString path;
    CString key;
    std::vector<SettingsField> fields;  ///< all but the key, in the file's order

    const CString& Field(std::string_view name) const;
    const char* Kind() const { return isClass ? "class" : "data"; }
    Json ToJson() const;
};

/// The fields of a data item, by the names that the file and the command have for them.
struct DataField {
    const char* name;
    CString kvtfile::CFXmlCfg::SDataMember::*member;
    const char* description;
};
extern const std::vector<DataField> kDataFields;
extern const std::vector<std::string> kFieldNames;

/// How to open a settings file.
enum class OpenMode {
    redirected,  ///< as the library does: through the working copy, merging a newer installed file
    inPlace      ///< this very file, nothing merged
};

/// An open settings file. Changes reach the file with `SaveChanges` alone.
class Settings : public kvtfile::CFXmlCfg {
public:
    /// Opens a file; a failure when that is impossible.
    Settings(const FileName& file, OpenMode mode, bool create = false);

    /// The file that was opened: the working copy after a redirection.
    const CString& Path() const { return m_strFile; }
    /// The same as messages name it: as it was given, or the working copy.
    std::string Shown() const;
    bool IsRedirected() const { return m_file.full.CompareNoCase(m_strFile) != 0; }
    /// Says on standard error which file was opened, when it is not the one named.
    void NoteRedirection() const;
    /// Ends the verb unless the document's root element is that of a settings file.
    void RequireRoot();

    /// What is directly under a node, or all beneath it: classes before data, each class followed by what is in it.
    /// A class that no path can address is listed and not entered. A failure when there is no such node.
    std::vector<SettingsItem> List(const CString& path, bool recursive);
    /// Everything in the file; nothing when its root element is another one.
    std::vector<SettingsItem> ListAll();
    /// One class or data item; a failure when there is none.
    SettingsItem Read(const CString& path, bool isClass);
    bool Has(const CString& path, bool isClass) { return FindNodeByPath(path, !isClass) != 0; }

    /// The path without its last key, and that key.
    std::pair<CString, CString> SplitPath(const CString& path);
    /// Adds the classes of a path that are missing; refused with `create` false.
    void NeedClasses(const CString& path, bool create);

    /// Refuses to go on when saving would change bytes that no edit touched.
    void RequireLossless() const;
    /// Writes the file; refused when its encoding cannot hold it.
    void SaveChanges();

    /// The working copy that stands for an installed file; the file itself when it is not redirected. Touches neither.
    static CString WorkCopyPath(const CString& installed) { return GetWorkCopyPath(installed); }
    /// Adds what another file has and this one lacks, as opening does with a newer installed file. Saves nothing.
    void MergeFrom(Settings& installed) { SetItemByotherNodeClass(&installed, CString(), 0); }

    /// The failure for an operation of the store that did not succeed.
    Failure OperationFailure(const std::string& what, const std::string& advice) const;

private:
    FileName m_file;
};

/// What a merge changes, and what it leaves although the installed file has it otherwise.
struct SettingsChanges {
    struct Field {
        SettingsItem item;
        const char* name;
        CString installed;  ///< what the installed file has
    };
    std::vector<SettingsItem> added;
    std::vector<Field> filled;
    std::vector<Field> kept;

    bool IsEmpty() const { return added.empty() && filled.empty(); }
    /// "1 class and 2 data items added, 1 blank filled".
    std::string Summary() const;
};

/// The difference between a file before and after a merge with `installed`.
SettingsChanges CompareSettings(const std::vector<SettingsItem>& before, const std::vector<SettingsItem>& after,
                                const std::vector<SettingsItem>& installed);

}  // namespace kvtcommand
