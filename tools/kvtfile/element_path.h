#pragma once

// Element paths: "/a/b[2]/c", the form in which the engine gives them; "[n]" counts the siblings of that name from 1.

#include <string>
#include <vector>

#include "tools/kvtfile/xml_document.h"

namespace kvtcommand {

class ElementPath {
public:
    /// Reads a path; one that is none ends the verb as wrong usage.
    explicit ElementPath(const std::string& path);

    /// Moves the document to the element; a failure that says how far the path led when there is none.
    void Find(XmlDocument& document) const;
    /// Moves the document to the element, adding what is missing at the end of the element above it. Returns the number
    /// of elements added; a failure when the path would leave a gap, "[3]" where there is one, or a second root.
    int FindOrCreate(XmlDocument& document) const;

private:
    struct Step {
        CString name;
        int number;
    };
    int Walk(XmlDocument& document, bool create) const;
    std::string UpTo(size_t count) const;

    std::vector<Step> m_steps;
};

/// Ends the verb as wrong usage when the text cannot name an element or an attribute.
void RequireXmlName(const CString& name);

}  // namespace kvtcommand
