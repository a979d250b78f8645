// kvtfile xml convert: another encoding for a document, with a declaration that says so.

#include <CLI/CLI.hpp>
#include <memory>

#include "tools/kvtfile/verbs.h"
#include "tools/kvtfile/xml_document.h"

namespace kvtcommand {

namespace {

struct Options {
    std::string file;
    std::string to;
    std::string from;
    std::string output;
    bool mark = false;
    bool force = false;
};

/// Code pages that stand for UTF-16, which is written with its mark and not through a conversion.
enum Utf16Page { pageUtf16Le = 1200, pageUtf16Be = 1201 };
/// UTF-32 in either order has no conversion.
constexpr int kPageUtf32 = 12000;
constexpr int kPageUtf32Be = 12001;
constexpr int kPageUtf32Name = 65005;

class EncodingNames : public kvtfile::CFXmlFile {
public:
    /// -1: a name that is not known.
    static int CodePage(const CString& name) { return x_GetEncodingCodePage(name); }
};

Encoding EncodingNamed(const std::string& text) {
    Encoding encoding;
    encoding.name = Wide(text);
    const int page = EncodingNames::CodePage(encoding.name);
    if (page <= 0) {
        throw Failure(exitUsage, "'" + text + "' is not the name of an encoding",
                      "Use a name such as UTF-8 or GB2312.");
    }
    if (page == pageUtf16Le || page == pageUtf16Be) {
        encoding.flags = page == pageUtf16Le ? XmlDocument::docUtf16Le : XmlDocument::docUtf16Be;
    } else if (page == kPageUtf32 || page == kPageUtf32Be || page == kPageUtf32Name ||
               !::IsValidCodePage(static_cast<UINT>(page))) {
        throw Failure(exitRefused, "this system cannot convert to or from " + text, "Use UTF-8 or UTF-16.");
    }
    return encoding;
}

Encoding TargetEncoding(const Options& options) {
    Encoding target = EncodingNamed(options.to);
    const bool utf8 = EncodingNames::CodePage(target.name) == static_cast<int>(CP_UTF8);
    if (options.mark && !utf8 && !target.IsUtf16()) {
        throw Failure(exitUsage, options.to + " has no byte-order mark",
                      "Leave out --bom, or convert to UTF-8 or UTF-16.");
    }
    target.flags |= options.mark && utf8 ? XmlDocument::docUtf8Mark : 0;
    return target;
}

/// Makes the declaration name the encoding, where one is needed: a document without it is UTF-8 or has a mark.
void Declare(XmlDocument& document, const Encoding& target) {
    const CString name = target.IsUtf16() ? CString(_T("UTF-16")) : target.name;
    const bool needed = !target.IsUtf16() && EncodingNames::CodePage(name) != static_cast<int>(CP_UTF8);
    document.ResetPos();
    const bool declaration = document.FindNode() == XmlDocument::nodeInstruction && document.GetTagName() == _T("xml");
    if (declaration && !document.GetAttrib(_T("encoding")).IsEmpty()) {
        document.SetAttrib(_T("encoding"), name);
    } else if (needed && declaration) {
        // The encoding stands between the version and what else there is.
        CString data = document.GetData();
        const int standalone = data.Find(_T("standalone"));
        if (standalone >= 0) {
            data.Insert(standalone, _T("encoding=\"") + name + _T("\" "));
            document.SetData(data);
        } else {
            document.SetAttrib(_T("encoding"), name);
        }
    } else if (needed) {
        document.SetDoc(_T("<?xml version=\"1.0\" encoding=\"") + name + _T("\"?>\r\n") + document.GetDoc());
    }
}

void Convert(const Options& options) {
    const Encoding target = TargetEncoding(options);
    const CString from = options.from.empty() ? CString() : EncodingNamed(options.from).name;
    XmlDocument document(FileName(options.file), from);
    document.RequireWellFormed();
    if (!options.force) {
        document.RequireLossless();
    }
    Declare(document, target);
    const FileName output = options.output.empty() ? document.File() : FileName(options.output);
    if (!options.force) {
        RequireHeldBy(target, document.GetDoc(), output.given);
    }
    const int lost = CountLost(target, document.GetDoc());
    document.WriteTo(output, target);
    Print(output.given + ": converted from " + document.FileEncoding().Label() + " to " + target.Label());
    if (lost != 0) {
        Note(Counted(static_cast<size_t>(lost), "character could not be written and was replaced",
                     "characters could not be written and were replaced"));
    }
}

}  // namespace

void AddXmlConvert(CLI::App& xml) {
    CLI::App* verb = AddVerb(xml, "convert", "Write a document in another encoding and declare it",
                             "  kvtfile xml convert drawing.xml --to UTF-8\n"
                             "  kvtfile xml convert drawing.xml --to UTF-16 --output wide.xml\n"
                             "  kvtfile xml convert old.xml --from GBK --to UTF-8 --bom");
    auto options = std::make_shared<Options>();
    verb->add_option("FILE", options->file, "The XML file")->required();
    verb->add_option("--to", options->to, "The encoding to write")->required();
    verb->add_option("--from", options->from, "The encoding to read a file without a mark in, whatever it declares");
    verb->add_flag("--bom", options->mark, "Begin a UTF-8 file with its mark (UTF-16 always has one)");
    verb->add_option("--output", options->output, "Write this file and leave FILE alone");
    verb->add_flag("--force", options->force, "Replace characters that the encoding cannot hold");
    verb->callback([options] { Convert(*options); });
}

}  // namespace kvtcommand
