// kvtfile xml check, tree, get, set, remove.

#include <CLI/CLI.hpp>
#include <limits>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "tools/kvtfile/element_path.h"
#include "tools/kvtfile/verbs.h"
#include "tools/kvtfile/xml_document.h"

namespace kvtcommand {

namespace {

/// Longer data is cut in a tree.
constexpr int kDataShown = 60;

struct Options {
    std::string file;
    std::string path;
    int depth = std::numeric_limits<int>::max();
    bool json = false;
    bool attribs = false;
    bool showData = false;
    bool content = false;
    bool create = false;
    std::string attrib;
    std::vector<std::pair<std::string, std::string>> attribValues;
    std::optional<std::string> data;
};

// ---- check

void Check(const Options& options) {
    XmlDocument document{FileName(options.file)};
    const DocumentError error = document.FindError();
    size_t elements = 0;
    document.Walk(std::numeric_limits<int>::max(), [&](int) { ++elements; });
    const Encoding& encoding = document.FileEncoding();
    const bool mark = encoding.IsUtf16() || (encoding.flags & XmlDocument::docUtf8Mark) != 0;
    const int characters = document.GetDoc().GetLength();
    if (options.json) {
        PrintJson(Json{{"file", document.Shown()},
                       {"wellFormed", error.text.empty()},
                       {"encoding", encoding.Label()},
                       {"mark", mark},
                       {"characters", characters},
                       {"elements", elements},
                       {"error", ErrorJson(document.GetDoc(), error)}});
    }
    if (!error.text.empty()) {
        throw DocumentFailure(document.Shown(), document.GetDoc(), error);
    }
    if (!options.json) {
        Print(document.Shown() + ": well formed; " + encoding.Label() + (mark ? " with mark, " : ", ") +
              Counted(static_cast<size_t>(characters), "character", "characters") + ", " +
              Counted(elements, "element", "elements"));
    }
}

// ---- tree

std::string ShownData(const CString& data) {
    return data.GetLength() <= kDataShown ? Quoted(data) : Quoted(data.Left(kDataShown)) + "...";
}

std::string TreeLine(const XmlDocument& document, const Options& options, int level) {
    std::string line(static_cast<size_t>(level) * 2, ' ');
    line += Utf8(document.GetTagName());
    if (options.attribs) {
        const Json element = ElementJson(document);
        for (const auto& [name, value] : element["attributes"].items()) {
            line += " " + name + "=" + value.dump();
        }
        line += element.contains("moreAttributes") ? " ..." : "";
    }
    if (options.showData) {
        const CString data = document.GetData();
        line += data.IsEmpty() ? "" : " = " + ShownData(data);
    }
    if (level + 1 == options.depth && document.MainHasChild()) {
        line += " ...";
    }
    return line;
}

void Tree(const Options& options) {
    XmlDocument document{FileName(options.file)};
    const DocumentError error = document.FindError();
    if (!options.path.empty()) {
        ElementPath(options.path).Find(document);
    }
    if (options.json) {
        // A flat list, written element by element, so that neither depth nor size of the document matters.
        std::string line = "[";
        const char* separator = "";
        document.Walk(options.depth, [&](int level) {
            Json element = {{"level", level}};
            element.update(ElementJson(document));
            Print(line + separator);
            line = "  " + element.dump();
            separator = ",";
        });
        Print(line);
        Print("]");
    } else {
        document.Walk(options.depth, [&](int level) { Print(TreeLine(document, options, level)); });
    }
    if (!error.text.empty()) {
        throw DocumentFailure(document.Shown(), document.GetDoc(), error);
    }
}

// ---- get

void Get(const Options& options) {
    XmlDocument document{FileName(options.file)};
    document.RequireWellFormed();
    ElementPath(options.path).Find(document);
    const CString attrib = Wide(options.attrib);
    if (!options.attrib.empty()) {
        RequireXmlName(attrib);
        if (!document.MainHasAttrib(attrib)) {
            throw Failure(
                exitRefused,
                document.Shown() + ": " + Utf8(document.MainPath()) + " has no attribute '" + options.attrib + "'",
                "'kvtfile xml get --json' shows the element with its attributes.");
        }
    }
    if (options.json) {
        Json json = {{"file", document.Shown()}, {"path", Utf8(document.MainPath())}};
        json.update(ElementJson(document));
        json["content"] = Utf8(document.GetElemContent());
        PrintJson(json);
    } else if (!options.attrib.empty()) {
        Print(Utf8(document.GetAttrib(attrib)));
    } else {
        Print(Utf8(options.content ? document.GetElemContent() : document.GetData()));
    }
}

// ---- set and remove

void SetData(XmlDocument& document, const CString& data) {
    RequireXmlText(data, "the data");
    if (document.MainHasChild() || !document.SetData(data)) {
        throw Failure(exitRefused,
                      document.Shown() + ": " + Utf8(document.MainPath()) + " has child elements and so no data",
                      "Remove them first with 'kvtfile xml remove', or name one of them.");
    }
}

void Set(const Options& options) {
    if (options.attribValues.empty() && !options.data && !options.create) {
        throw Failure(exitUsage, "nothing to set", "Give --attrib NAME VALUE, --data TEXT or --create.");
    }
    XmlDocument document{FileName(options.file)};
    document.RequireWellFormed();
    document.RequireLossless();
    const ElementPath path(options.path);
    if (options.create) {
        path.FindOrCreate(document);
    } else {
        path.Find(document);
    }
    for (const auto& [name, value] : options.attribValues) {
        const CString wideName = Wide(name);
        const CString wideValue = Wide(value);
        RequireXmlName(wideName);
        RequireXmlText(wideValue, "the value of '" + name + "'");
        if (!document.SetAttrib(wideName, wideValue)) {
            throw Failure(exitRefused, document.Shown() + ": '" + name + "' could not be set; nothing was written",
                          "Look at the element with 'kvtfile xml get --json'.");
        }
    }
    if (options.data) {
        SetData(document, Wide(*options.data));
    }
    document.Save();
    Print(document.Shown() + ": " + Utf8(document.MainPath()) + " set");
}

void Remove(const Options& options) {
    XmlDocument document{FileName(options.file)};
    document.RequireWellFormed();
    document.RequireLossless();
    ElementPath(options.path).Find(document);
    const std::string path = Utf8(document.MainPath());
    if (!document.MainHasParent()) {
        throw Failure(exitRefused, document.Shown() + ": " + path + " is the root element, which a document needs",
                      "Remove what is in it.");
    }
    document.RemoveElem();
    document.Save();
    Print(document.Shown() + ": " + path + " removed");
}

// ---- the command line

using Verb = void (*)(const Options&);

AddedVerb<Options> AddFileVerb(CLI::App& xml, const char* name, const char* description, const char* examples,
                               Verb run) {
    const auto added = AddVerb(xml, name, description, examples, run);
    added.verb->add_option("FILE", added.options->file, "The XML file")->required();
    return added;
}

void AddPath(CLI::App* verb, Options& options) {
    verb->add_option("PATH", options.path, "The element, as /plan/layer[2]/style")->required();
}

void AddJson(CLI::App* verb, Options& options) {
    verb->add_flag("--json", options.json, "Print JSON");
}

}  // namespace

void AddXmlVerbs(CLI::App& command) {
    CLI::App* xml = command.add_subcommand("xml", "Look at, change and convert XML documents");
    xml->require_subcommand(1);
    xml->footer(
        "An element path is /plan/layer[2]/style; [n] counts the siblings of that name from 1.\n"
        "\n"
        "Examples:\n"
        "  kvtfile xml check drawing.xml\n"
        "  kvtfile xml get drawing.xml '/drawing/layers/layer[2]' --attrib name");

    {
        const auto [verb, options] =
            AddFileVerb(*xml, "check", "Tell whether a document is well formed, and where it is not",
                        "  kvtfile xml check drawing.xml\n"
                        "  kvtfile xml check --json drawing.xml",
                        Check);
        AddJson(verb, *options);
    }
    {
        const auto [verb, options] = AddFileVerb(*xml, "tree", "Print the elements, indented",
                                                 "  kvtfile xml tree drawing.xml --depth 2\n"
                                                 "  kvtfile xml tree drawing.xml /drawing/layers --attribs --data",
                                                 Tree);
        verb->add_option("PATH", options->path, "The element to begin with (default: the whole document)");
        verb->add_option("--depth", options->depth, "Print so many levels")
            ->check(CLI::Range(1, std::numeric_limits<int>::max()));
        verb->add_flag("--attribs", options->attribs, "Show attributes");
        verb->add_flag("--data", options->showData, "Show data, cut after 60 characters");
        AddJson(verb, *options);
    }
    {
        const auto [verb, options] =
            AddFileVerb(*xml, "get", "Print the data of an element, or another part of it",
                        "  kvtfile xml get drawing.xml /drawing/title\n"
                        "  kvtfile xml get drawing.xml '/drawing/layers/layer[2]' --attrib name",
                        Get);
        AddPath(verb, *options);
        CLI::Option* attrib = verb->add_option("--attrib", options->attrib, "Print this attribute");
        CLI::Option* data = verb->add_flag("--data", options->showData, "Print the data (the default)");
        CLI::Option* content = verb->add_flag("--content", options->content, "Print all between the tags as it stands");
        attrib->excludes(data)->excludes(content);
        data->excludes(content);
        AddJson(verb, *options);
    }
    {
        const auto [verb, options] =
            AddFileVerb(*xml, "set", "Set attributes and data of an element; all else keeps its bytes",
                        "  kvtfile xml set drawing.xml /drawing/title --data 'Ground floor'\n"
                        "  kvtfile xml set drawing.xml '/drawing/layers/layer[3]' --attrib name Walls --create",
                        Set);
        AddPath(verb, *options);
        verb->add_option("--attrib", options->attribValues, "Set an attribute; may be given more than once")
            ->type_name("NAME VALUE");
        verb->add_option("--data", options->data, "Set the data");
        verb->add_flag("--create", options->create, "Add elements of the path that are missing");
    }
    {
        const auto [verb, options] = AddFileVerb(*xml, "remove", "Remove an element with everything in it",
                                                 "  kvtfile xml remove drawing.xml '/drawing/layers/layer[2]'", Remove);
        AddPath(verb, *options);
    }
    AddXmlConvert(*xml);
}

}  // namespace kvtcommand
