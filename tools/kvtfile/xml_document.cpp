// Reading, saving and walking documents. A save writes exactly the encoding that was read, or refuses.

#include "tools/kvtfile/xml_document.h"

namespace kvtcommand {

namespace {

/// A start tag may hold hundreds of thousands of attributes, each found from the tag's start: only so many are listed.
constexpr int kAttributesListed = 1000;

/// The first place that an error text names.
int OffsetIn(const CString& error) {
    const CString words = _T(" at offset ");
    const int at = error.Find(words);
    if (at < 0) {
        return -1;
    }
    long long offset = 0;
    for (int i = at + words.GetLength(); i < error.GetLength() && error[i] >= _T('0') && error[i] <= _T('9'); ++i) {
        offset = offset * 10 + (error[i] - _T('0'));
    }
    return static_cast<int>(offset);
}

}  // namespace

XmlDocument::XmlDocument(const FileName& file, const CString& from) : m_file(file) {
    m_encoding.name = from;
    CString text;
    CString status;
    if (!ReadTextFile(file.full, text, &status, &m_encoding.flags, &m_encoding.name)) {
        throw Failure(exitFormat, file.given + ": " + Utf8(status), kReadAdvice);
    }
    m_encoding.flags &= docUtf16Le | docUtf16Be | docUtf8Mark;
    SetDoc(text);
}

DocumentError XmlDocument::FindError() const {
    DocumentError error;
    if (IsWellFormed()) {
        return error;
    }
    error.text = Utf8(GetError());
    error.offset = OffsetIn(GetError());
    // This error names the character before the end tag.
    if (error.text.find(" does not match start tag ") != std::string::npos) {
        ++error.offset;
    }
    const int root = x_Elem(0).child;
    if (error.offset < 0 && root != 0 && x_Elem(root).next != 0) {
        error.offset = x_Elem(x_Elem(root).next).start;
    }
    return error;
}

void XmlDocument::RequireWellFormed() const {
    if (const DocumentError error = FindError(); !error.text.empty()) {
        throw DocumentFailure(Shown(), GetDoc(), error);
    }
}

void XmlDocument::Save() const {
    RequireHeldBy(m_encoding, GetDoc(), Shown());
    WriteTo(m_file, m_encoding);
}

void XmlDocument::WriteTo(const FileName& file, const Encoding& encoding) const {
    int flags = encoding.flags;
    CString name = encoding.name;
    CString status;
    if (!WriteTextFile(file.full, GetDoc(), &status, &flags, &name)) {
        throw Failure(exitFormat, file.given + ": " + Utf8(status), kWriteAdvice);
    }
}

bool XmlDocument::MainHasAttrib(const CString& name) const {
    TokenPos token = x_DocToken(x_Elem(m_iPos).start + 1);
    return x_FindAttrib(token, name);
}

void XmlDocument::Walk(int depth, const std::function<void(int level)>& visit) {
    int level = 0;
    if (m_iPos != 0) {
        visit(0);
        if (depth <= 1 || !IntoElem()) {
            return;
        }
        level = 1;
    }
    const int top = level;
    for (;;) {
        if (FindElem()) {
            visit(level);
            if (level + 1 < depth && IntoElem()) {
                ++level;
            }
        } else if (level > top && OutOfElem()) {
            --level;
        } else {
            return;
        }
    }
}

std::string ErrorLine(const std::string& shown, const CString& document, const DocumentError& error) {
    if (error.offset < 0) {
        return shown + ": " + error.text;
    }
    const Place place = PlaceOf(document, error.offset);
    return shown + ": line " + std::to_string(place.line) + ", column " + std::to_string(place.column) + " (offset " +
           std::to_string(error.offset) + "): " + error.text;
}

Json ErrorJson(const CString& document, const DocumentError& error) {
    if (error.text.empty()) {
        return nullptr;
    }
    Json json = {{"text", error.text}, {"offset", nullptr}, {"line", nullptr}, {"column", nullptr}};
    if (error.offset >= 0) {
        const Place place = PlaceOf(document, error.offset);
        json["offset"] = error.offset;
        json["line"] = place.line;
        json["column"] = place.column;
    }
    return json;
}

Failure DocumentFailure(const std::string& shown, const CString& document, const DocumentError& error) {
    return Failure(exitFormat, ErrorLine(shown, document, error),
                   "Correct the document there; 'kvtfile xml tree' shows how it was read.");
}

Json ElementJson(const XmlDocument& document) {
    Json attributes = Json::object();
    bool more = false;
    for (int i = 0; !more; ++i) {
        const CString name = document.GetAttribName(i);
        if (name.IsEmpty()) {
            break;
        }
        more = i == kAttributesListed;
        if (!more) {
            attributes.emplace(Utf8(name), Utf8(document.GetAttrib(name)));
        }
    }
    Json json = {{"name", Utf8(document.GetTagName())}, {"attributes", attributes}, {"data", Utf8(document.GetData())}};
    if (more) {
        json["moreAttributes"] = true;
    }
    return json;
}

}  // namespace kvtcommand
