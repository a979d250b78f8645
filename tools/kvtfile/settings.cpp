// Opening, listing and saving settings files for the verbs.

#include "tools/kvtfile/settings.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <set>

#include "tools/kvtfile/xml_document.h"

namespace kvtcommand {

namespace {

using kvtfile::CFXmlCfg;

using ClassArray = CArray<CFXmlCfg::SClassMember, CFXmlCfg::SClassMember>;
using DataArray = CArray<CFXmlCfg::SDataMember, CFXmlCfg::SDataMember>;

SettingsItem ClassItem(const CString& path, const CFXmlCfg::SClassMember& member) {
    return {true, path, member.strKey, {{"text", member.strText}, {"extend", member.strExtend}}};
}

SettingsItem DataItem(const CString& path, const CFXmlCfg::SDataMember& member) {
    SettingsItem item{false, path, member.strKey, {}};
    for (const DataField& field : kDataFields) {
        item.fields.push_back({field.name, member.*field.member});
    }
    return item;
}

/// Kind and path of an item, letters without case: how the merge tells items apart.
CString NameOf(const SettingsItem& item) {
    CString name = (item.isClass ? _T("class ") : _T("data ")) + item.path;
    name.MakeLower();
    return name;
}

std::map<CString, const SettingsItem*> ByName(const std::vector<SettingsItem>& items) {
    std::map<CString, const SettingsItem*> map;
    for (const SettingsItem& item : items) {
        map.emplace(NameOf(item), &item);
    }
    return map;
}

std::vector<std::string> FieldNames() {
    std::vector<std::string> names;
    for (const DataField& field : kDataFields) {
        names.push_back(field.name);
    }
    return names;
}

}  // namespace

const std::vector<DataField> kDataFields = {
    {"text", &CFXmlCfg::SDataMember::strText, "The display text"},
    {"value", &CFXmlCfg::SDataMember::strValue, "The value"},
    {"type", &CFXmlCfg::SDataMember::strType, "The type, as the application understands it"},
    {"default", &CFXmlCfg::SDataMember::strDefault, "The default value"},
    {"range", &CFXmlCfg::SDataMember::strRange, "The range of values"},
    {"dict", &CFXmlCfg::SDataMember::strDict, "The dictionary of values"},
    {"extend", &CFXmlCfg::SDataMember::strExtend, "Free text of the application"},
};
const std::vector<std::string> kFieldNames = FieldNames();

const CString& SettingsItem::Field(std::string_view name) const {
    for (const SettingsField& field : fields) {
        if (field.name == name) {
            return field.value;
        }
    }
    throw Failure(exitUsage, std::string("a ") + Kind() + " has no field '" + std::string(name) + "'",
                  "A class has text and extend.");
}

Json SettingsItem::ToJson() const {
    Json json = {{"kind", Kind()}, {"path", Utf8(path)}, {"key", Utf8(key)}};
    for (const SettingsField& field : fields) {
        json[field.name] = Utf8(field.value);
    }
    return json;
}

Settings::Settings(const FileName& file, OpenMode mode, bool create) : m_file(file) {
    SetImmediateSave(0);
    const bool exists = FileExists(file.full);
    if (mode == OpenMode::inPlace ? Open(CString(), file.full, create) : Open(file.full, create)) {
        return;
    }
    const std::string reason = " (" + Utf8(GetLastError()) + ")";
    if (!exists && !create) {
        throw Failure(exitFormat, file.given + ": there is no such file" + reason,
                      "Look at the path, or make a new file with 'kvtfile cfg open --create'.");
    }
    // What is wrong with the file, in the words and with the place that reading it alone gives.
    FileName opened = file;
    if (const CString working = WorkCopyPath(file.full); mode == OpenMode::redirected && working != file.full) {
        opened.full = working;
        opened.given = Utf8(working);
    }
    XmlDocument(opened).RequireWellFormed();
    throw Failure(exitFormat, opened.given + ": the file cannot be opened" + reason, kReadAdvice);
}

std::string Settings::Shown() const {
    return IsRedirected() ? Utf8(m_strFile) : m_file.given;
}

void Settings::NoteRedirection() const {
    if (IsRedirected()) {
        Note("working on " + Shown() + ", the working copy of " + m_file.given);
    }
}

void Settings::RequireRoot() {
    if (Has(CString(), true)) {
        return;
    }
    m_xmlFile.ResetPos();
    m_xmlFile.FindElem();
    throw Failure(exitFormat,
                  Shown() + ": no settings file: the root element is '" + Utf8(m_xmlFile.GetTagName()) + "', not '" +
                      Utf8(GetConst().strRootTag) + "'",
                  "Name a settings file; 'kvtfile xml' works on any XML document.");
}

std::vector<SettingsItem> Settings::List(const CString& path, bool recursive) {
    const CString separator = GetConst().strPathSign;
    const auto childPath = [&](const CString& parent, const CString& key) {
        return parent.IsEmpty() ? key : parent + separator + key;
    };
    std::vector<SettingsItem> items;
    // What is still to be listed, the next one last: a class that leads to its content, or a data item.
    struct Pending {
        SettingsItem item;
        bool enter;
    };
    std::vector<Pending> pending;
    const auto addChildren = [&](const CString& parent) {
        ClassArray classes;
        DataArray data;
        if (!ReadChildClass(parent, classes) || !ReadChildData(parent, data)) {
            return false;
        }
        for (INT_PTR i = data.GetSize(); i-- > 0;) {
            pending.push_back({DataItem(childPath(parent, data[i].strKey), data[i]), false});
        }
        // Only the first of equal keys is reached by a path.
        std::set<CString> keys;
        std::vector<Pending> here;
        for (INT_PTR i = 0; i < classes.GetSize(); ++i) {
            const CString& key = classes[i].strKey;
            const bool addressed = keys.insert(key).second && !key.IsEmpty() && key.Find(separator) < 0;
            here.push_back({ClassItem(childPath(parent, key), classes[i]), addressed});
        }
        std::move(here.rbegin(), here.rend(), std::back_inserter(pending));
        return true;
    };
    if (!addChildren(path)) {
        throw OperationFailure("no class '" + Utf8(path) + "'", "'kvtfile cfg list --recursive' lists what there is.");
    }
    while (!pending.empty()) {
        Pending next = std::move(pending.back());
        pending.pop_back();
        if (recursive && next.enter) {
            addChildren(next.item.path);
        }
        items.push_back(std::move(next.item));
    }
    return items;
}

std::vector<SettingsItem> Settings::ListAll() {
    return Has(CString(), true) ? List(CString(), true) : std::vector<SettingsItem>();
}

SettingsItem Settings::Read(const CString& path, bool isClass) {
    SClassMember classMember;
    SDataMember dataMember;
    if (isClass ? !ReadClass(path, classMember) : !ReadData(path, dataMember)) {
        throw OperationFailure(std::string("no ") + (isClass ? "class" : "data item") + " '" + Utf8(path) + "'",
                               "'kvtfile cfg list --recursive' lists what there is.");
    }
    return isClass ? ClassItem(path, classMember) : DataItem(path, dataMember);
}

std::pair<CString, CString> Settings::SplitPath(const CString& path) {
    const CString separator = GetConst().strPathSign;
    CStringArray pieces;
    const int count = SplitString(path, pieces, separator);
    if (count == 0) {
        throw Failure(exitUsage, "the path is empty", "Write it as Class.Class.Item.");
    }
    CString parent;
    for (int i = 0; i + 1 < count; ++i) {
        parent += i == 0 ? pieces[i] : separator + pieces[i];
    }
    return {parent, pieces[count - 1]};
}

void Settings::NeedClasses(const CString& path, bool create) {
    const CString separator = GetConst().strPathSign;
    CStringArray pieces;
    const int count = SplitString(path, pieces, separator);
    CString parent;
    for (int i = 0; i < count; ++i) {
        const CString child = i == 0 ? pieces[i] : parent + separator + pieces[i];
        if (!Has(child, true)) {
            if (!create) {
                throw Failure(exitRefused, Shown() + ": no class '" + Utf8(child) + "'",
                              "Add --create to add what is missing.");
            }
            SClassMember member;
            member.strKey = pieces[i];
            RequireXmlText(member.strKey, "the key");
            if (!WriteClass(parent, member)) {
                throw OperationFailure("class '" + Utf8(child) + "' could not be added", "Look at the file's classes.");
            }
        }
        parent = child;
    }
}

void Settings::RequireLossless() const {
    const CString& text = m_xmlFile.GetDoc();
    kvtcommand::RequireLossless(EncodingOnSave(text, m_xmlFile.GetDocFlags()), text, m_strFile, Shown());
}

void Settings::SaveChanges() {
    const CString& text = m_xmlFile.GetDoc();
    RequireHeldBy(EncodingOnSave(text, m_xmlFile.GetDocFlags()), text, Shown());
    if (!Save()) {
        throw Failure(exitFormat, Shown() + ": " + Utf8(m_xmlFile.GetError()), kWriteAdvice);
    }
}

Failure Settings::OperationFailure(const std::string& what, const std::string& advice) const {
    return Failure(exitRefused, Shown() + ": " + what + " (" + Utf8(GetLastError()) + ")", advice);
}

std::string SettingsChanges::Summary() const {
    size_t classes = 0;
    for (const SettingsItem& item : added) {
        classes += item.isClass;
    }
    return Counted(classes, "class", "classes") + " and " + Counted(added.size() - classes, "data item", "data items") +
           " added, " + Counted(filled.size(), "blank", "blanks") + " filled";
}

SettingsChanges CompareSettings(const std::vector<SettingsItem>& before, const std::vector<SettingsItem>& after,
                                const std::vector<SettingsItem>& installed) {
    const auto old = ByName(before);
    const auto theirs = ByName(installed);
    SettingsChanges changes;
    for (const SettingsItem& item : after) {
        const auto was = old.find(NameOf(item));
        if (was == old.end()) {
            changes.added.push_back(item);
            continue;
        }
        const auto their = theirs.find(NameOf(item));
        for (const SettingsField& field : item.fields) {
            const CString installedValue = their == theirs.end() ? CString() : their->second->Field(field.name);
            if (field.value != was->second->Field(field.name)) {
                changes.filled.push_back({item, field.name, installedValue});
            } else if (!installedValue.IsEmpty() && field.value != installedValue) {
                changes.kept.push_back({item, field.name, installedValue});
            }
        }
    }
    return changes;
}

}  // namespace kvtcommand
