#pragma once

// An XML document of the command: the engine's document with what the command says about places in it.

#include <functional>
#include <string>

#include "kvtfile/XmlFile.h"
#include "tools/kvtfile/report.h"
#include "tools/kvtfile/text_file.h"

namespace kvtcommand {

/// What is wrong with a document's text.
struct DocumentError {
    std::string text;  ///< the engine's own words; empty: nothing
    int offset = -1;   ///< -1: the error has no place
};

/// A document and the file it was read from.
class XmlDocument : public kvtfile::CFXmlFile {
public:
    /// Reads and indexes a file, well formed or not; a failure when it cannot be read.
    /// @param from The encoding to read a file without a mark in; empty: as the file declares or its bytes show.
    explicit XmlDocument(const FileName& file, const CString& from = CString());

    const FileName& File() const { return m_file; }
    /// The file as messages name it.
    const std::string& Shown() const { return m_file.given; }
    const Encoding& FileEncoding() const { return m_encoding; }

    /// The first error of the text.
    DocumentError FindError() const;
    /// Ends the verb when the text has an error.
    void RequireWellFormed() const;
    /// Ends the verb when saving would change bytes that no edit touched.
    void RequireLossless() const { kvtcommand::RequireLossless(m_encoding, GetDoc(), m_file.full, Shown()); }

    /// Writes the document in the encoding that it was read in; refused when that cannot hold it.
    void Save() const;
    /// Writes the document anywhere in any encoding; characters that it lacks are lost. A failure leaves the file
    /// whole.
    void WriteTo(const FileName& file, const Encoding& encoding) const;

    /// The main element's path, "/a/b[2]".
    CString MainPath() const { return x_GetPath(m_iPos); }
    bool MainHasAttrib(const CString& name) const;
    bool MainHasParent() const { return x_Elem(m_iPos).parent != 0; }
    bool MainHasChild() const { return x_Elem(m_iPos).child != 0; }

    /// Visits the main element and everything beneath it, or the whole document when there is no main element, in
    /// document order; `visit(level)` finds the element as main and may not move. The position is lost. Uses no stack.
    /// @param depth Levels to visit.
    void Walk(int depth, const std::function<void(int level)>& visit);

private:
    FileName m_file;
    Encoding m_encoding;
};

/// "file: line 3, column 1 (offset 20): text", or without a place "file: text".
std::string ErrorLine(const std::string& shown, const CString& document, const DocumentError& error);
/// The same as fields: text, offset, line, column; null when there is no error.
Json ErrorJson(const CString& document, const DocumentError& error);
/// The failure that such an error ends a verb with.
Failure DocumentFailure(const std::string& shown, const CString& document, const DocumentError& error);

/// Name, attributes and data of the main element.
Json ElementJson(const XmlDocument& document);

}  // namespace kvtcommand
