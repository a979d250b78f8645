// Setting attributes and data.

#include "kvtfile/XmlFile.h"
#include "xml/chars.h"

namespace kvtfile {

bool CFXmlFile::SetAttrib(MCD_CSTR name, MCD_CSTR value, int flags) {
    return x_SetAttrib(m_iPos, name, value, flags);
}

bool CFXmlFile::SetAttrib(MCD_CSTR name, int value, int flags) {
    return x_SetAttrib(m_iPos, name, x_IntToStr(value), flags);
}

bool CFXmlFile::SetChildAttrib(MCD_CSTR name, MCD_CSTR value, int flags) {
    return m_iPosChild != 0 && x_SetAttrib(m_iPosChild, name, value, flags);
}

bool CFXmlFile::SetChildAttrib(MCD_CSTR name, int value, int flags) {
    return m_iPosChild != 0 && x_SetAttrib(m_iPosChild, name, x_IntToStr(value), flags);
}

bool CFXmlFile::AddAttrib(MCD_CSTR name, MCD_CSTR value) {
    return SetAttrib(name, value);
}

bool CFXmlFile::AddAttrib(MCD_CSTR name, int value) {
    return SetAttrib(name, value);
}

bool CFXmlFile::AddChildAttrib(MCD_CSTR name, MCD_CSTR value) {
    return SetChildAttrib(name, value);
}

bool CFXmlFile::AddChildAttrib(MCD_CSTR name, int value) {
    return SetChildAttrib(name, value);
}

bool CFXmlFile::SetData(MCD_CSTR text, int flags) {
    return x_SetData(m_iPos, text, flags);
}

bool CFXmlFile::SetData(int value) {
    return x_SetData(m_iPos, x_IntToStr(value), 0);
}

bool CFXmlFile::SetChildData(MCD_CSTR text, int flags) {
    return m_iPosChild != 0 && x_SetData(m_iPosChild, text, flags);
}

bool CFXmlFile::x_SetAttrib(int position, LPCWSTR name, LPCWSTR value, int flags) {
    TokenPos token = x_DocToken(0);
    if (name == nullptr || *name == 0 || !x_AttribStart(position, token))
        return false;
    const bool isElement = m_nNodeType == nodeElement;
    const LPCWSTR text = m_strDoc;

    // Where the list of attributes ends: before ">", "/>" or "?>".
    const int tagEnd = token.length;
    int listEnd = tagEnd - (isElement ? 1 : 2);
    if (isElement && text[listEnd - 1] == '/')
        --listEnd;

    CString written = CString(_T("\"")) + EscapeText(value, flags | editEscapeQuotes) + _T("\"");
    int offset = listEnd;
    int replaced = 0;
    if (x_FindAttrib(token, name)) {
        const bool quoted = (token.flags & TokenPos::quoted) != 0;
        offset = token.left - quoted;
        // An unquoted value runs on to the tag's ">"; the "/" or "?" before it belongs to the tag all the same.
        const int end = token.right + 1 + quoted;
        replaced = (end < listEnd ? end : listEnd) - offset;
        int before = offset - 1;
        while (chars::IsBlank(text[before]))
            --before;
        if (text[before] != '=')
            written = CString(_T("=")) + written;
    } else {
        written = CString(_T(" ")) + name + _T("=") + written;
    }
    const int delta = written.GetLength() - replaced;
    const int tagLength = isElement ? tagEnd - x_Elem(position).start + delta : 0;
    if (!x_HasRoom(written) || tagLength > ElemPos::longestStartTag)
        return false;

    x_DocChange(offset, replaced, written);
    if (isElement) {
        ElemPos& element = x_Elem(position);
        element.SetStartTagLength(tagLength);
        element.length += delta;
        x_Adjust(position, delta);
    } else {
        m_nNodeLength += delta;
        x_AdjustForNode(m_iPosParent, m_iPos, delta);
    }
    return true;
}

bool CFXmlFile::x_SetData(int position, LPCWSTR text, int flags) {
    if (position == m_iPos && m_nNodeLength != 0) {
        CString markup;
        if (!x_CreateNode(markup, m_nNodeType, text) || !x_HasRoom(markup))
            return false;
        x_DocChange(m_nNodeOffset, m_nNodeLength, markup);
        x_AdjustForNode(m_iPosParent, m_iPos, markup.GetLength() - m_nNodeLength);
        m_nNodeLength = markup.GetLength();
        if (m_nNodeLength == 0)
            x_SetPos(m_iPosParent, m_iPos, m_iPosChild);
        return true;
    }

    if (position == 0 || x_Elem(position).child != 0 || !x_HasExactTags(position))
        return false;
    NodePos node;
    node.meta = (flags & editCData) != 0 ? x_EncodeCDATASection(text) : EscapeText(text, flags);
    node.flags = editReplaceContent | editNoLines;
    if (!x_HasRoom(node.meta))
        return false;
    int reference = 0;
    const int replaced = x_InsertNew(position, reference, node);
    const int delta = node.meta.GetLength() - replaced;
    ElemPos& element = x_Elem(position);
    element.length += delta;
    element.flags &= ~unsigned(elemIllFormedContent);
    x_Adjust(position, delta, true);
    return true;
}

}  // namespace kvtfile
