// Moving the cursor: elements, steps in and out, and nodes.

#include "kvtfile/XmlFile.h"

namespace kvtfile {

int CFXmlFile::x_FindElem(int parent, int from, LPCWSTR name) const {
    int position = from != 0 ? x_Elem(from).next : x_Elem(parent).child;
    if (name == nullptr || *name == 0)
        return position;
    for (; position != 0; position = x_Elem(position).next) {
        TokenPos token = x_DocToken(x_Elem(position).start + 1);
        if (x_FindName(token) && x_Matches(token, name))
            return position;
    }
    return 0;
}

bool CFXmlFile::FindElem(MCD_CSTR name) {
    if (m_nPosAllocated == 0)
        return false;
    const int found = x_FindElem(m_iPosParent, m_iPos, name);
    if (found == 0)
        return false;
    x_SetPos(x_Elem(found).parent, found, 0);
    return true;
}

bool CFXmlFile::FindChildElem(MCD_CSTR name) {
    if (m_iPos == 0 && !FindElem())
        return false;
    const int found = x_FindElem(m_iPos, m_iPosChild, name);
    if (found == 0)
        return false;
    const int main = x_Elem(found).parent;
    x_SetPos(x_Elem(main).parent, main, found);
    return true;
}

bool CFXmlFile::IntoElem() {
    if (m_iPos == 0 || m_nNodeType != nodeElement)
        return false;
    x_SetPos(m_iPos, m_iPosChild, 0);
    return true;
}

bool CFXmlFile::OutOfElem() {
    if (m_iPosParent == 0)
        return false;
    x_SetPos(x_Elem(m_iPosParent).parent, m_iPosParent, m_iPos);
    return true;
}

void CFXmlFile::ResetPos() {
    x_SetPos(0, 0, 0);
}

void CFXmlFile::ResetMainPos() {
    x_SetPos(m_iPosParent, 0, 0);
}

void CFXmlFile::ResetChildPos() {
    x_SetPos(m_iPosParent, m_iPos, 0);
}

int CFXmlFile::FindNode(int types) {
    int from = 0;
    if (m_nNodeType > nodeElement) {
        from = m_nNodeOffset + m_nNodeLength;
    } else if (m_iPos != 0) {
        from = x_Elem(m_iPos).End();
    } else if (m_iPosParent != 0) {
        if (x_Elem(m_iPosParent).IsEmpty())
            return 0;
        from = x_Elem(m_iPosParent).ContentStart();
    }

    TokenPos token = x_DocToken(from);
    NodePos node;
    int main = m_iPos;
    for (;;) {
        int type = x_ParseNode(token, node);
        switch (type) {
            case nodeEndOfDocument:
                return 0;
            case nodeErrorParsed:
                type = nodeError;
                break;
            case nodeElement:
                main = main != 0 ? x_Elem(main).next : x_Elem(m_iPosParent).child;
                if (main == 0)
                    return 0;
                token.next = x_Elem(main).End();
                break;
            case nodeEndTag:
                if (m_iPosParent != 0 && node.start == x_Elem(m_iPosParent).ContentEnd())
                    return 0;
                type = nodeLoneEndTag;
                break;
            default:
                break;
        }
        if (types != 0 && (types & type) == 0)
            continue;
        x_SetPos(m_iPosParent, main, 0);
        m_nNodeType = type;
        if (type != nodeElement) {
            m_nNodeOffset = node.start;
            m_nNodeLength = node.length;
        }
        return type;
    }
}

}  // namespace kvtfile
