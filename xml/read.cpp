// Reading the current items: names, attributes, data and markup. Nothing here changes the document.

#include "kvtfile/XmlFile.h"
#include "xml/chars.h"

namespace kvtfile {

namespace {

/// The text between an opening and a closing delimiter of these lengths; empty when the node is shorter than both.
CString Between(LPCWSTR node, int length, int opening, int closing) {
    return length > opening + closing ? CString(node + opening, length - opening - closing) : CString();
}

}  // namespace

CString CFXmlFile::x_GetTagName(int position) const {
    if (position == 0)
        return CString();
    TokenPos token = x_DocToken(x_Elem(position).start + 1);
    return x_FindName(token) ? x_TokenText(token) : CString();
}

CString CFXmlFile::GetTagName() const {
    if (m_nNodeLength == 0)
        return x_GetTagName(m_iPos);
    TokenPos token = x_DocToken(m_nNodeOffset + 2);
    switch (m_nNodeType) {
        case nodeText:
        case nodeWhitespace:
            return _T("#text");
        case nodeCData:
            return _T("#cdata-section");
        case nodeComment:
            return _T("#comment");
        case nodeInstruction:
        case nodeLoneEndTag:
            return x_FindName(token) ? x_TokenText(token) : CString();
        case nodeDocType:
            return x_FindName(token) && x_FindName(token) ? x_TokenText(token) : CString();
        default:
            return CString();
    }
}

CString CFXmlFile::GetChildTagName() const {
    return x_GetTagName(m_iPosChild);
}

/// An attribute of an element, or, for main, of the current processing instruction.
CString CFXmlFile::x_GetAttrib(int position, LPCWSTR name) const {
    TokenPos token = x_DocToken(0);
    if (!x_AttribStart(position, token) || name == nullptr || *name == 0 || !x_FindAttrib(token, name))
        return CString();
    return UnescapeText(token.text + token.left, token.TokenLength());
}

/// Puts the token behind the "<" or "<?" of the item whose attributes are meant and ends its text with that tag; false
/// when the item can have none. A very long tag is scanned, because its record keeps the length modulo its field.
bool CFXmlFile::x_AttribStart(int position, TokenPos& token) const {
    if (m_nNodeType == nodeInstruction && position == m_iPos) {
        token.next = m_nNodeOffset + 2;
        token.length = m_nNodeOffset + m_nNodeLength;
    } else if (m_nNodeType == nodeElement && position != 0) {
        const ElemPos& element = x_Elem(position);
        NodePos tag;
        tag.length = element.StartTagLength();
        if (element.length > ElemPos::longestStartTag) {
            token.next = element.start;
            x_ParseNode(token, tag);
        }
        token.next = element.start + 1;
        token.length = element.start + tag.length;
    } else {
        return false;
    }
    return true;
}

CString CFXmlFile::GetAttrib(MCD_CSTR name) const {
    return x_GetAttrib(m_iPos, name);
}

CString CFXmlFile::GetChildAttrib(MCD_CSTR name) const {
    return m_iPosChild != 0 ? x_GetAttrib(m_iPosChild, name) : CString();
}

CString CFXmlFile::GetAttribName(int index) const {
    TokenPos token = x_DocToken(0);
    if (index < 0 || !x_AttribStart(m_iPos, token) || !x_FindAttrib(token, nullptr, index))
        return CString();
    return x_TokenText(token);
}

CString CFXmlFile::x_GetData(int position) const {
    const LPCWSTR text = m_strDoc;
    if (position == m_iPos && m_nNodeLength != 0) {
        const LPCWSTR node = text + m_nNodeOffset;
        switch (m_nNodeType) {
            case nodeComment:
                return Between(node, m_nNodeLength, 4, 3);
            case nodeInstruction:
                return Between(node, m_nNodeLength, 2, 2);
            case nodeCData:
                return Between(node, m_nNodeLength, 9, 3);
            case nodeText:
                return UnescapeText(node, m_nNodeLength);
            case nodeLoneEndTag:
                return Between(node, m_nNodeLength, 2, 1);
            default:
                return CString(node, m_nNodeLength);
        }
    }
    if (position == 0)
        return CString();
    const ElemPos& element = x_Elem(position);
    if (element.child != 0 || element.IsEmpty())
        return CString();

    const int end = element.ContentEnd();
    TokenPos token = x_DocToken(element.ContentStart());
    CString data;
    NodePos node;
    while (token.next < end && x_ParseNode(token, node) != nodeEndOfDocument) {
        if (node.type == nodeCData) {
            data += Between(text + node.start, node.length, 9, 3);
        } else if (node.type == nodeText || (node.type == nodeWhitespace && node.length == element.ContentLength())) {
            // Blanks count only where they are the whole content.
            const CString part = UnescapeText(text + node.start, node.length);
            if (data.IsEmpty())
                data = part;
            else
                data += part;
        }
    }
    return data;
}

CString CFXmlFile::GetData() const {
    return x_GetData(m_iPos);
}

CString CFXmlFile::GetChildData() const {
    return m_iPosChild != 0 ? x_GetData(m_iPosChild) : CString();
}

/// Behind the element and the blanks after it, when "<" or the end of the text follows them; else behind the element.
int CFXmlFile::x_SubDocEnd(int position) const {
    const LPCWSTR text = m_strDoc;
    const int end = x_Elem(position).End();
    const int behind = x_SkipBlanks(end);
    return text[behind] == '<' || text[behind] == 0 ? behind : end;
}

int CFXmlFile::x_SkipBlanks(int offset) const {
    const LPCWSTR text = m_strDoc;
    while (chars::IsBlank(text[offset]))
        ++offset;
    return offset;
}

CString CFXmlFile::x_GetSubDoc(int position) const {
    if (position == 0)
        return CString();
    const int start = x_Elem(position).start;
    return CString(static_cast<LPCWSTR>(m_strDoc) + start, x_SubDocEnd(position) - start);
}

CString CFXmlFile::GetSubDoc() const {
    return x_GetSubDoc(m_iPos);
}

CString CFXmlFile::GetChildSubDoc() const {
    return x_GetSubDoc(m_iPosChild);
}

CString CFXmlFile::x_GetElemContent(int position) const {
    if (position == 0 || x_Elem(position).IsEmpty())
        return CString();
    const ElemPos& element = x_Elem(position);
    return CString(static_cast<LPCWSTR>(m_strDoc) + element.ContentStart(), element.ContentLength());
}

CString CFXmlFile::GetElemContent() const {
    return x_GetElemContent(m_iPos);
}

}  // namespace kvtfile
