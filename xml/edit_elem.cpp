// Adding and removing elements and sub-documents.

#include "kvtfile/XmlFile.h"

namespace kvtfile {

bool CFXmlFile::AddElem(MCD_CSTR name, MCD_CSTR value, int flags) {
    return x_AddElem(name, value, flags);
}

bool CFXmlFile::AddElem(MCD_CSTR name, int value, int flags) {
    return x_AddElem(name, x_IntToStr(value), flags);
}

bool CFXmlFile::InsertElem(MCD_CSTR name, MCD_CSTR value, int flags) {
    return x_AddElem(name, value, flags | editBefore);
}

bool CFXmlFile::InsertElem(MCD_CSTR name, int value, int flags) {
    return x_AddElem(name, x_IntToStr(value), flags | editBefore);
}

bool CFXmlFile::AddChildElem(MCD_CSTR name, MCD_CSTR value, int flags) {
    return x_AddElem(name, value, flags | editChild);
}

bool CFXmlFile::AddChildElem(MCD_CSTR name, int value, int flags) {
    return x_AddElem(name, x_IntToStr(value), flags | editChild);
}

bool CFXmlFile::InsertChildElem(MCD_CSTR name, MCD_CSTR value, int flags) {
    return x_AddElem(name, value, flags | editChild | editBefore);
}

bool CFXmlFile::InsertChildElem(MCD_CSTR name, int value, int flags) {
    return x_AddElem(name, x_IntToStr(value), flags | editChild | editBefore);
}

bool CFXmlFile::AddSubDoc(MCD_CSTR text) {
    return x_AddSubDoc(text, 0);
}

bool CFXmlFile::InsertSubDoc(MCD_CSTR text) {
    return x_AddSubDoc(text, editBefore);
}

bool CFXmlFile::AddChildSubDoc(MCD_CSTR text) {
    return x_AddSubDoc(text, editChild);
}

bool CFXmlFile::InsertChildSubDoc(MCD_CSTR text) {
    return x_AddSubDoc(text, editChild | editBefore);
}

bool CFXmlFile::RemoveElem() {
    if (m_iPos == 0 || m_nNodeType != nodeElement)
        return false;
    x_SetPos(m_iPosParent, x_RemoveElem(m_iPos), 0);
    return true;
}

bool CFXmlFile::RemoveChildElem() {
    if (m_iPosChild == 0)
        return false;
    x_SetPos(m_iPosParent, m_iPos, x_RemoveElem(m_iPosChild));
    return true;
}

/// Where an addition goes: its parent, and the element or node that it stands beside. False when there is no main
/// element to add a child to, or no telling where the parent's content stands.
bool CFXmlFile::x_Target(int flags, int& parent, int& reference, NodePos& node) const {
    node.flags = flags & ~editReplaceContent;
    if ((flags & editChild) != 0) {
        parent = m_iPos;
        reference = m_iPosChild;
        return parent != 0 && x_HasExactTags(parent);
    }
    parent = m_iPosParent;
    reference = m_iPos;
    if (m_nNodeLength != 0) {
        node.start = m_nNodeOffset;
        node.length = m_nNodeLength;
    }
    return x_HasExactTags(parent);
}

/// Moves to an element that was added.
void CFXmlFile::x_SetAdded(int flags, int position) {
    if ((flags & editChild) != 0)
        x_SetPos(m_iPosParent, m_iPos, position);
    else
        x_SetPos(m_iPosParent, position, 0);
}

bool CFXmlFile::x_AddElem(LPCWSTR name, LPCWSTR value, int flags) {
    int parent = 0;
    int reference = 0;
    NodePos node;
    if (name == nullptr || *name == 0 || !x_Target(flags, parent, reference, node))
        return false;
    const bool hasValue = value != nullptr && *value != 0;
    const bool startTagOnly = (flags & editStartTagOnly) != 0;
    if (startTagOnly && hasValue)
        return false;

    CString markup = CString(_T("<")) + name;
    int startTagLength = 0;
    int endTagLength = 0;
    if (hasValue) {
        markup += _T(">");
        startTagLength = markup.GetLength();
        markup += (flags & editCData) != 0 ? x_EncodeCDATASection(value) : EscapeText(value, flags);
        markup += CString(_T("</")) + name + _T(">");
        endTagLength = startTagLength + 1;
    } else {
        markup += startTagOnly ? _T(">") : (flags & editEmptySpace) != 0 ? _T(" />") : _T("/>");
        startTagLength = markup.GetLength();
    }
    if (!x_HasRoom(markup) || startTagLength > ElemPos::longestStartTag)
        return false;

    const int position = x_GetFreePos();
    node.meta = markup;
    const int replaced = x_InsertNew(parent, reference, node);
    ElemPos& element = x_Elem(position);
    element = ElemPos();
    element.start = node.start;
    element.length = markup.GetLength();
    element.SetStartTagLength(startTagLength);
    element.SetEndTagLength(endTagLength);
    element.flags = startTagOnly ? unsigned(elemNotEnded) : 0u;
    x_LinkElem(parent, reference, position);
    x_Adjust(position, node.meta.GetLength() - replaced);
    x_SetAdded(flags, position);
    return true;
}

/// A scratch record to parse markup under that is to become content of `parent`.
int CFXmlFile::x_NewScratch(int parent) {
    const int scratch = x_GetFreePos();
    x_Elem(scratch) = ElemPos();
    x_Elem(scratch).flags = unsigned(x_Elem(parent).Level() + 1) & elemLevelMask;
    return scratch;
}

/// Moves all records that were parsed after `scratch` by `delta`, links the top-level ones under `parent` behind
/// `previous`, and releases the scratch record. Returns the last one linked, or `previous`.
int CFXmlFile::x_TakeParsed(int scratch, int parent, int previous, int delta) {
    for (int i = scratch + 1; i < m_iPosFree; ++i)
        x_Elem(i).start += delta;
    for (int child = x_Elem(scratch).child; child != 0;) {
        const int next = x_Elem(child).next;
        x_LinkElem(parent, previous, child);
        previous = child;
        child = next;
    }
    x_Elem(scratch).child = 0;
    x_ReleasePos(scratch);
    return previous;
}

bool CFXmlFile::x_AddSubDoc(LPCWSTR text, int flags) {
    int parent = 0;
    int reference = 0;
    NodePos node;
    const CString markup = text;
    if (markup.IsEmpty() || !x_Target(flags, parent, reference, node) || !x_HasRoom(markup))
        return false;

    const int scratch = x_NewScratch(parent);
    TokenPos token(markup, markup.GetLength(), m_nDocFlags);
    const int first = x_ParseElem(scratch, token);
    const bool parsed = first != 0 && !x_Elem(scratch).HasFlag(elemIllFormed);
    if (x_Elem(scratch).HasFlag(elemIllFormedContent))
        x_Elem(parent).flags |= elemIllFormedContent;
    const bool single = parsed && x_Elem(first).next == 0;

    int start = 0;
    if (parsed) {
        start = x_Elem(first).start;
        node.meta = markup.Mid(start, x_Elem(x_Elem(first).previous).End() - start);
    } else {
        node.meta = markup;
        node.flags |= editNoLines;
    }
    const int replaced = x_InsertNew(parent, reference, node);
    const int last = x_TakeParsed(scratch, parent, reference, node.start - start);
    x_AdjustForNode(parent, last, node.meta.GetLength() - replaced);
    if (first != 0)
        x_SetAdded(flags, first);
    else
        x_SetPos(m_iPosParent, m_iPos, (flags & editChild) != 0 ? m_iPosChild : 0);
    return single;
}

bool CFXmlFile::SetElemContent(MCD_CSTR text) {
    return x_SetElemContent(text);
}

bool CFXmlFile::x_SetElemContent(LPCWSTR text) {
    const CString markup = text;
    if (m_iPos == 0 || m_nNodeLength != 0 || !x_HasRoom(markup) || !x_HasExactTags(m_iPos))
        return false;
    x_ReleaseChildren(m_iPos);
    x_CheckSavedPos();

    const int scratch = x_NewScratch(m_iPos);
    TokenPos token(markup, markup.GetLength(), m_nDocFlags);
    x_ParseElem(scratch, token);
    const bool parsed = !x_Elem(scratch).HasFlag(elemIllFormed);
    ElemPos& element = x_Elem(m_iPos);
    element.flags &= ~unsigned(elemIllFormedContent);
    element.flags |= x_Elem(scratch).flags & elemIllFormedContent;

    NodePos node;
    node.meta = markup;
    node.flags = editReplaceContent | editNoLines;
    int reference = 0;
    const int replaced = x_InsertNew(m_iPos, reference, node);
    const int delta = node.meta.GetLength() - replaced;
    x_TakeParsed(scratch, m_iPos, 0, node.start);
    x_Elem(m_iPos).length += delta;
    x_Adjust(m_iPos, delta, true);
    x_SetPos(m_iPosParent, m_iPos, 0);
    return parsed;
}

int CFXmlFile::x_RemoveElem(int position) {
    const int start = x_Elem(position).start;
    const int length = x_SubDocEnd(position) - start;
    x_DocChange(start, length, CString());
    x_Adjust(position, -length, true);
    const int previous = x_UnlinkElem(position);
    x_CheckSavedPos();
    return previous;
}

}  // namespace kvtfile
