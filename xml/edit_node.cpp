// Adding, building and removing nodes.

#include "kvtfile/XmlFile.h"

namespace kvtfile {

bool CFXmlFile::AddNode(int type, MCD_CSTR text) {
    return x_AddNode(type, text, 0);
}

bool CFXmlFile::InsertNode(int type, MCD_CSTR text) {
    return x_AddNode(type, text, editBefore);
}

CString CFXmlFile::x_EncodeCDATASection(LPCWSTR text) {
    CString content = text;
    content.Replace(_T("]]>"), _T("]]]]><![CDATA[>"));
    return CString(_T("<![CDATA[")) + content + _T("]]>");
}

/// Builds the markup of a node; false for a type that has none, and for a CDATA text that would end itself.
bool CFXmlFile::x_CreateNode(CString& markup, int type, LPCWSTR text) {
    const CString content = text;
    markup.Empty();
    switch (type) {
        case nodeElement:
            markup = CString(_T("<")) + content + _T("/>");
            return true;
        case nodeText:
        case nodeWhitespace:
            markup = EscapeText(content, 0);
            return true;
        case nodeCData:
            if (content.Find(_T("]]>")) >= 0)
                return false;
            markup = CString(_T("<![CDATA[")) + content + _T("]]>");
            return true;
        case nodeInstruction:
            markup = CString(_T("<?")) + content + _T("?>");
            return true;
        case nodeComment:
            markup = CString(_T("<!--")) + content + _T("-->");
            return true;
        case nodeDocType:
            markup = content;
            return true;
        default:
            return type < nodeElement || type > nodeLoneEndTag;
    }
}

bool CFXmlFile::x_AddNode(int type, LPCWSTR text, int flags) {
    int parent = 0;
    int reference = 0;
    NodePos node;
    CString markup;
    if (!x_CreateNode(markup, type, text) || !x_HasRoom(markup))
        return false;
    if (markup.IsEmpty())
        return true;
    if ((type & (nodeInstruction | nodeComment | nodeDocType)) == 0)
        flags |= editNoLines;
    if (!x_Target(flags, parent, reference, node) ||
        (type == nodeElement && markup.GetLength() > ElemPos::longestStartTag))
        return false;
    node.meta = markup;

    if (type == nodeElement) {
        const int position = x_GetFreePos();
        const int replaced = x_InsertNew(parent, reference, node);
        ElemPos& element = x_Elem(position);
        element = ElemPos();
        element.start = node.start;
        element.length = node.length;
        element.SetStartTagLength(node.length);
        x_LinkElem(parent, reference, position);
        x_Adjust(position, node.meta.GetLength() - replaced);
        x_SetPos(parent, position, 0);
    } else {
        const int replaced = x_InsertNew(parent, reference, node);
        x_AdjustForNode(parent, reference, node.meta.GetLength() - replaced);
        x_SetPos(parent, reference, 0);
        m_nNodeType = type;
        m_nNodeOffset = node.start;
        m_nNodeLength = node.length;
    }
    return true;
}

bool CFXmlFile::RemoveNode() {
    if (m_nNodeLength == 0 && (m_iPos == 0 || m_nNodeType != nodeElement))
        return false;
    int main = m_iPos;
    int type = m_nNodeType;
    int offset = m_nNodeOffset;
    int length = m_nNodeLength;
    x_RemoveNode(m_iPosParent, main, type, offset, length);
    x_SetPos(m_iPosParent, main, 0);
    m_nNodeType = type;
    m_nNodeOffset = offset;
    m_nNodeLength = length;
    return true;
}

/// Removes a node (or the element `main`, for an element's type) and gives back the item before it.
void CFXmlFile::x_RemoveNode(int parent, int& main, int& nodeType, int& nodeOffset, int& nodeLength) {
    const int removedType = nodeType;
    int removedStart = nodeOffset;
    int removedLength = nodeLength;
    if (removedType == nodeElement) {
        removedStart = x_Elem(main).start;
        removedLength = x_Elem(main).length;
        main = x_UnlinkElem(main);
        x_CheckSavedPos();
    }

    nodeType = main != 0 ? nodeElement : nodeNone;
    nodeOffset = nodeLength = 0;
    NodePos node;
    TokenPos token = x_DocToken(main != 0 ? x_Elem(main).End() : x_Elem(parent).ContentStart());
    while (token.next < removedStart && x_ParseNode(token, node) != nodeEndOfDocument) {
        nodeType = node.type == nodeErrorParsed ? static_cast<int>(nodeError)
                   : node.type == nodeEndTag    ? static_cast<int>(nodeLoneEndTag)
                                                : node.type;
        nodeOffset = node.start;
        nodeLength = node.length;
    }
    if (nodeOffset + nodeLength > removedStart)
        nodeLength = removedStart - nodeOffset;

    x_DocChange(removedStart, removedLength, CString());
    x_AdjustForNode(parent, main, -removedLength);
    if (removedType == nodeLoneEndTag && x_HasCleanContent(parent))
        x_Elem(parent).flags &= ~unsigned(elemIllFormedContent);
}

/// Whether the content of an element scans to its end without an error and without an end tag of its own.
bool CFXmlFile::x_HasCleanContent(int parent) const {
    const int end = x_Elem(parent).ContentEnd();
    TokenPos token = x_DocToken(x_Elem(parent).ContentStart());
    NodePos node;
    int child = 0;
    while (token.next < end) {
        switch (x_ParseNode(token, node)) {
            case nodeEndOfDocument:
                return parent == 0;
            case nodeErrorParsed:
            case nodeEndTag:
                return false;
            case nodeElement:
                child = child != 0 ? x_Elem(child).next : x_Elem(parent).child;
                if (child == 0)
                    return false;
                token.next = x_Elem(child).End();
                break;
            default:
                break;
        }
    }
    return true;
}

}  // namespace kvtfile
