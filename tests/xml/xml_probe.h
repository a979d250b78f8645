#pragma once

// What the tests of the XML engine share: a way to its protected members, a picture of a document's records, and the
// check that the records agree with the text.

#include <string>

#include "kvtfile/XmlFile.h"
#include "tests/support/support.h"

namespace kvttest {

/// A document whose inner state can be seen.
class XmlProbe : public kvtfile::CFXmlFile {
public:
    using CFXmlFile::CFXmlFile;
    using CFXmlFile::ElemPos;
    using CFXmlFile::NodePos;
    using CFXmlFile::SavedPos;
    using CFXmlFile::SavedPosMap;
    using CFXmlFile::TokenPos;

    using CFXmlFile::elemFirstChild;
    using CFXmlFile::elemIllFormed;
    using CFXmlFile::elemIllFormedContent;
    using CFXmlFile::elemNotEnded;
    using CFXmlFile::elemReleased;

    using CFXmlFile::m_iPos;
    using CFXmlFile::m_iPosChild;
    using CFXmlFile::m_iPosFree;
    using CFXmlFile::m_iPosParent;
    using CFXmlFile::m_iPosReleased;
    using CFXmlFile::m_nNodeLength;
    using CFXmlFile::m_nNodeOffset;
    using CFXmlFile::m_nNodeType;
    using CFXmlFile::m_nPosAllocated;
    using CFXmlFile::m_nSegmentCapacity;
    using CFXmlFile::m_pSavedPosMaps;
    using CFXmlFile::m_pSegments;
    using CFXmlFile::m_strDoc;
    using CFXmlFile::x_AllocPosArray;
    using CFXmlFile::x_CreateNode;
    using CFXmlFile::x_DocChange;
    using CFXmlFile::x_Elem;
    using CFXmlFile::x_EncodeCDATASection;
    using CFXmlFile::x_FindAttrib;
    using CFXmlFile::x_FindElem;
    using CFXmlFile::x_GetFreePos;
    using CFXmlFile::x_GetLastError;
    using CFXmlFile::x_GetMap;
    using CFXmlFile::x_GetPath;
    using CFXmlFile::x_Hash;
    using CFXmlFile::x_IntToStr;
    using CFXmlFile::x_ParseElem;
    using CFXmlFile::x_ParseNode;
    using CFXmlFile::x_ReleasePos;
    using CFXmlFile::x_SetPos;

    /// The elements under a record, as "name[child child]name..." in sibling order.
    std::string Tree(int parent = 0) const;
    /// Start, length, start-tag and end-tag length and flags (without the first-child flag) of every element in
    /// document order, one a line.
    std::string Records() const;
    /// Empty when links, flags and lengths of all records fit one another and the text; else what does not.
    std::string Disagreement() const;
    /// Whether both have the same elements: places, lengths, flags, and which stands in which.
    bool IsSame(const XmlProbe& other) const;
    /// The element that is reached by child numbers from the document, as "0/2/1".
    int At(const std::string& path) const;
    std::string Doc() const { return Utf8(GetDoc()); }
    std::string Error() const { return Utf8(GetError()); }
    std::string Name(int position) const { return Utf8(x_GetTagName(position)); }

private:
    int Next(int position) const;
};

/// A document of UTF-8 text.
inline XmlProbe Parsed(std::string_view text, int flags = 0) {
    XmlProbe xml(flags);
    xml.SetDoc(Wide(text));
    return xml;
}

}  // namespace kvttest
