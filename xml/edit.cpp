// The ground of every edit: the text is changed in one place, records are linked and unlinked, and everything behind
// the change is shifted.
//
// After each of these operations' callers the records agree with the text: sibling order is text order, every start and
// length is that of its markup, and a parent's length covers its children.

#include <climits>
#include <cstring>

#include "kvtfile/XmlFile.h"
#include "xml/chars.h"

namespace kvtfile {

/// Whether the document has room for so many characters more: offsets are 32-bit.
bool CFXmlFile::x_HasRoom(const CString& text) const {
    // A margin for line breaks and the end tag of a parent that was empty.
    constexpr int64_t limit = INT_MAX - (1 << 23);
    return static_cast<int64_t>(m_strDoc.GetLength()) + text.GetLength() <= limit;
}

/// Whether the record of an element knows where its content stands: both tag lengths are kept modulo their fields.
bool CFXmlFile::x_HasExactTags(int position) const {
    if (position == 0)
        return true;
    const ElemPos& element = x_Elem(position);
    if (element.length > ElemPos::longestStartTag) {
        TokenPos token = x_DocToken(element.start);
        NodePos tag;
        x_ParseNode(token, tag);
        if (tag.length > ElemPos::longestStartTag)
            return false;
    }
    const LPCWSTR end = static_cast<LPCWSTR>(m_strDoc) + element.ContentEnd();
    return element.IsEmpty() || (element.EndTagLength() != 0 && end[0] == '<' && end[1] == '/');
}

/// Replaces `length` characters at `offset`. The text grows by half when it must, so that edits at its end cost
/// amortised constant time.
void CFXmlFile::x_DocChange(int offset, int length, const CString& text) {
    const int oldLength = m_strDoc.GetLength();
    const int newLength = oldLength + text.GetLength() - length;
    int64_t capacity = m_strDoc.GetAllocLength();
    if (newLength > capacity)
        capacity = int64_t(newLength) + 128 + newLength / 2;
    if (capacity > INT_MAX - 0x100)
        capacity = INT_MAX - 0x100;
    WCHAR* const document = m_strDoc.GetBuffer(static_cast<int>(capacity));
    const auto bytes = [](int count) { return static_cast<size_t>(count) * sizeof(WCHAR); };
    if (text.GetLength() != length)
        std::memmove(document + offset + text.GetLength(), document + offset + length,
                     bytes(oldLength - offset - length));
    std::memcpy(document + offset, static_cast<LPCWSTR>(text), bytes(text.GetLength()));
    m_strDoc.ReleaseBufferSetLength(newLength);
}

/// Shifts what follows a change at or inside an element: its descendants (not with `after`) and all elements behind it
/// move, the elements around it grow.
void CFXmlFile::x_Adjust(int position, int delta, bool after) {
    if (delta == 0)
        return;
    bool descend = !after;
    int inside = 0;  // how deep the walk is inside an element that has moved
    for (;;) {
        int next = descend ? x_Elem(position).child : 0;
        if (next != 0)
            ++inside;
        descend = true;
        while (next == 0) {
            if (position == 0)
                return;
            next = x_Elem(position).next;
            if (next == 0) {
                position = x_Elem(position).parent;
                if (inside > 0)
                    --inside;
                else
                    x_Elem(position).length += delta;
            }
        }
        position = next;
        x_Elem(position).start += delta;
    }
}

/// The same for a change under `parent` behind its child `position`, or before its first child when that is 0.
void CFXmlFile::x_AdjustForNode(int parent, int position, int delta) {
    if (position != 0) {
        x_Adjust(position, delta, true);
    } else if (const int first = x_Elem(parent).child; first != 0) {
        x_Elem(first).start += delta;
        x_Adjust(first, delta);
    } else {
        x_Elem(parent).length += delta;
        if (parent != 0)
            x_Adjust(parent, delta, true);
    }
}

/// Makes `position` the child of `parent` that follows `previous`, or its first child when that is 0.
void CFXmlFile::x_LinkElem(int parent, int previous, int position) {
    ElemPos& element = x_Elem(position);
    element.parent = parent;
    element.flags &= ~unsigned(elemFirstChild | elemLevelMask);
    element.flags |= unsigned(x_Elem(parent).Level() + 1) & elemLevelMask;
    if (previous != 0) {
        element.next = x_Elem(previous).next;
        element.previous = previous;
        x_Elem(previous).next = position;
        x_Elem(element.next != 0 ? element.next : x_Elem(parent).child).previous = position;
    } else {
        const int first = x_Elem(parent).child;
        element.next = first;
        element.previous = position;
        element.flags |= elemFirstChild;
        if (first != 0) {
            element.previous = x_Elem(first).previous;
            x_Elem(first).previous = position;
            x_Elem(first).flags &= ~unsigned(elemFirstChild);
        }
        x_Elem(parent).child = position;
    }
}

/// Takes an element out from among its siblings, releases it with everything beneath it, and returns its previous
/// sibling or 0.
int CFXmlFile::x_UnlinkElem(int position) {
    const ElemPos element = x_Elem(position);
    int previous = 0;
    if (element.HasFlag(elemFirstChild)) {
        x_Elem(element.parent).child = element.next;
        if (element.next != 0) {
            x_Elem(element.next).flags |= elemFirstChild;
            x_Elem(element.next).previous = element.previous;
        }
    } else {
        previous = element.previous;
        x_Elem(previous).next = element.next;
        x_Elem(element.next != 0 ? element.next : x_Elem(element.parent).child).previous = previous;
    }
    x_ReleaseChildren(position);
    x_ReleasePos(position);
    return previous;
}

/// Releases everything beneath an element, from the leaves up.
void CFXmlFile::x_ReleaseChildren(int position) {
    int current = position;
    for (;;) {
        if (const int child = x_Elem(current).child; child != 0) {
            x_Elem(current).child = 0;
            current = child;
            continue;
        }
        if (current == position)
            return;
        const int parent = x_Elem(current).parent;
        const int next = x_ReleasePos(current);
        current = next != 0 ? next : parent;
    }
}

/// The child of `parent` that stands last before `offset`, found from a guess that is usually right; 0 for none.
int CFXmlFile::x_ChildBefore(int parent, int offset, int guess) const {
    int position = guess;
    while (position != 0 && x_Elem(position).start >= offset)
        position = x_Elem(position).HasFlag(elemFirstChild) ? 0 : x_Elem(position).previous;
    for (;;) {
        const int next = position != 0 ? x_Elem(position).next : x_Elem(parent).child;
        if (next == 0 || x_Elem(next).start >= offset)
            return position;
        position = next;
    }
}

/// The name that an end tag needs to close an element: all of its start tag's name, however `x_GetTagName` reads it.
CString CFXmlFile::x_EndTagName(int position) const {
    const LPCWSTR name = static_cast<LPCWSTR>(m_strDoc) + x_Elem(position).start + 1;
    int length = 0;
    while (!chars::EndsTagName(name[length]))
        ++length;
    return CString(name, length);
}

/// Puts new markup (`node.meta`) under `parent`: at the node that `node` names, else at the element `reference`, else
/// in the parent, adding line breaks. On return `node.start` and `node.length` are those of the markup itself and
/// `node.meta` is everything written, and `reference` is the sibling to link it after. Returns how many characters
/// were replaced.
int CFXmlFile::x_InsertNew(int parent, int& reference, NodePos& node) {
    const bool before = (node.flags & editBefore) != 0;
    const bool replace = (node.flags & editReplaceContent) != 0;
    const bool lines = (node.flags & editNoLines) == 0;
    const bool atNode = node.length != 0;
    const bool emptyParent = parent != 0 && x_Elem(parent).IsEmpty() && !atNode && reference == 0;
    const int markupLength = node.meta.GetLength();

    int offset = 0;
    if (atNode)
        offset = node.start + (before ? 0 : node.length);
    else if (reference != 0)
        offset = before ? x_Elem(reference).start : x_Elem(reference).End();
    else if (emptyParent)
        offset = x_Elem(parent).End() - 1;
    else
        offset = before || replace ? x_Elem(parent).ContentStart() : x_Elem(parent).ContentEnd();

    if (lines && !replace && !emptyParent) {
        const int behind = x_SkipBlanks(offset);
        const WCHAR next = static_cast<LPCWSTR>(m_strDoc)[behind];
        if (next == '<' || next == 0)
            offset = behind;
    }

    if (reference == 0 && !before && !atNode && x_Elem(parent).child != 0)
        reference = x_Elem(x_Elem(parent).child).previous;
    reference = x_ChildBefore(parent, offset, reference);

    if (lines)
        node.meta += _T("\r\n");
    node.start = offset;
    node.length = markupLength;
    int replaced = replace ? x_Elem(parent).ContentLength() : 0;
    if (emptyParent) {
        // "/>" or ">" becomes ">" + content + "</name>", whose last character is already there.
        ElemPos& element = x_Elem(parent);
        const bool closed = static_cast<LPCWSTR>(m_strDoc)[offset - 1] == '/' && !element.HasFlag(elemNotEnded);
        const CString name = x_EndTagName(parent);
        node.meta = (lines ? CString(_T(">\r\n")) : CString(_T(">"))) + node.meta + _T("</") + name;
        replaced = 0;
        if (closed) {
            --offset;
            replaced = 1;
            element.SetStartTagLength(element.StartTagLength() - 1);
        }
        element.flags &= ~unsigned(elemNotEnded);
        element.SetEndTagLength(name.GetLength() + 3);
        node.start = offset + (lines ? 3 : 1);
    }
    x_DocChange(offset, replaced, node.meta);
    return replaced;
}

}  // namespace kvtfile
