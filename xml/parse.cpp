// The whole-document parse, and the element parser's rules for text that is not well formed: end tags that close an
// outer element or none, error nodes, and elements that are still open at the end.
//
// A parse never stops at an error. Only the first error of a parse is recorded.

#include "platform/cpu/cpu.h"
#include "xml/chars.h"
#include "xml/open_names.h"
#include "xml/parser.h"

namespace kvtfile {

using chars::EndsTagName;

bool CFXmlFile::x_ParseDoc() {
    const CString status = m_strResult;
    m_strResult.Empty();
    m_iPosParent = m_iPos = m_iPosChild = 0;
    m_nNodeType = m_nNodeOffset = m_nNodeLength = 0;
    x_ClearSavedPos();

    m_iPosFree = 1;
    m_iPosReleased = 0;
    x_AllocPosArray(m_strDoc.GetLength() / 64 + 8);
    x_Elem(0) = ElemPos();
    if (m_strDoc.IsEmpty()) {
        m_strResult = _T("Empty document");
    } else {
        TokenPos token = x_DocToken(0);
        const int root = x_ParseElem(0, token);
        x_Elem(0).length = m_strDoc.GetLength();
        if (root == 0)
            m_strResult = _T("No root element");
        else if (x_Elem(root).next != 0)
            m_strResult = _T("Root element has sibling");
    }
    if (!status.IsEmpty())
        m_strResult = m_strResult.IsEmpty() ? status : status + _T(" ") + m_strResult;
    return IsWellFormed();
}

int CFXmlFile::x_ParseElem(int parent, TokenPos& token) {
    Parser parser(*this, parent, token);
    const int first = m_iPosFree;
    parser.Run();
    token.next = static_cast<int>(parser.position);
    m_iPosFree = parser.free;
    return m_iPosFree > first ? first : 0;
}

CFXmlFile::Parser::Parser(CFXmlFile& owner, int parent, const TokenPos& token)
    : document(owner),
      text(token.text),
      limit(token.length),
      position(token.next),
      ignoreCase((token.flags & docIgnoreCase) != 0),
      startParent(parent),
      startLevel(owner.x_Elem(parent).Level()),
      open(parent),
      segments(owner.m_pSegments),
      free(owner.m_iPosFree),
      allocated(owner.m_nPosAllocated) {}

CFXmlFile::Parser::~Parser() = default;

void CFXmlFile::Parser::Run() {
    auto* build = BuildScalar;
#if KVTFILE_X86
    switch (kvtcpu::Simd()) {
        case kvtcpu::Level::Avx512:
            build = BuildAvx512;
            break;
        case kvtcpu::Level::Avx2:
            build = BuildAvx2;
            break;
        case kvtcpu::Level::Sse2:
            build = BuildSse2;
            break;
        default:
            break;
    }
#endif
    for (;;) {
        const ScannedNode node = build(*this);
        if (node.fault != NodeFault::None) {
            At(startParent).flags |= elemIllFormed;
            At(open).flags |= elemIllFormedContent;
            if (!failed)
                RecordError(x_ErrorText(node));
        } else if (node.type == nodeEndTag) {
            EndTagMismatch(node);
        } else {
            break;
        }
    }
    if (depth > 0) {
        if (!failed)
            RecordError(CString(_T("Element '")) + Name(At(open).start + 1) + _T("' at offset ") +
                        x_IntToStr(At(open).start) + _T(" not ended"));
        CloseNotEnded(startParent);
    }
    if (last != 0)
        At(At(startParent).child).previous = last;
}

void CFXmlFile::Parser::Grow() {
    document.m_iPosFree = free;
    document.x_AllocPosArray(0);
    segments = document.m_pSegments;
    allocated = document.m_nPosAllocated;
}

int CFXmlFile::Parser::NameLength(ptrdiff_t from) const {
    ptrdiff_t end = from;
    while (end < limit && !EndsTagName(text[end]))
        ++end;
    return static_cast<int>(end - from);
}

CString CFXmlFile::Parser::Name(ptrdiff_t from) const {
    return CString(text + from, NameLength(from));
}

void CFXmlFile::Parser::RecordError(const CString& error) {
    document.m_strResult = error;
    failed = true;
}

/// Whether an end tag of the name at `name` closes the element: its characters are those of the element's name, which
/// must end there or go on with one of " =/[]".
bool CFXmlFile::Parser::Matches(int element, ptrdiff_t name, int length) const {
    const WCHAR* const opened = text + At(element).start + 1;
    const WCHAR* const closing = text + name;
    if (!chars::SameName(closing, opened, length, ignoreCase))
        return false;
    const WCHAR next = opened[length];
    return EndsTagName(next) || next == '=' || next == '[' || next == ']';
}

bool CFXmlFile::Parser::ClosesOpen(ptrdiff_t tag) const {
    return open != startParent && Matches(open, tag + 2, NameLength(tag + 2));
}

void CFXmlFile::Parser::NameOpened(int element) {
    const ptrdiff_t name = At(element).start + 1;
    names->Add(text + name, NameLength(name));
}

void CFXmlFile::Parser::NameClosed(int element) {
    const ptrdiff_t name = At(element).start + 1;
    names->Remove(text + name, NameLength(name));
}

/// The innermost open element that the end tag closes; the start parent when there is none.
int CFXmlFile::Parser::FindOpen(ptrdiff_t name, int length) {
    if (open == startParent)
        return startParent;
    if (!tracking) {
        names = std::make_unique<OpenNames>(ignoreCase);
        tracking = true;
        for (int i = open; i != startParent; i = At(i).parent)
            NameOpened(i);
    }
    if (!names->MayClose(text + name, length))
        return startParent;
    int element = open;
    while (element != startParent && !Matches(element, name, length))
        element = At(element).parent;
    return element;
}

void CFXmlFile::Parser::EndTagMismatch(const ScannedNode& node) {
    const ptrdiff_t name = node.start + 2;
    const int length = NameLength(name);
    const int offset = static_cast<int>(node.start);
    const int closed = FindOpen(name, length);
    At(startParent).flags |= elemIllFormed;
    if (closed == startParent) {
        At(open).flags |= elemIllFormedContent;
        if (!failed)
            RecordError(CString(_T("No start tag for end tag '")) + CString(text + name, length) + _T("' at offset ") +
                        x_IntToStr(offset));
        return;
    }
    if (!failed)
        RecordError(CString(_T("End tag '")) + CString(text + name, length) + _T("' at offset ") +
                    x_IntToStr(offset - 1) + _T(" does not match start tag '") + Name(At(open).start + 1) +
                    _T("' at offset ") + x_IntToStr(At(open).start));
    CloseNotEnded(closed);
    Close(node);
}

void CFXmlFile::Parser::Close(const ScannedNode& node) {
    NameClosed(open);
    Record& record = At(open);
    record.length = static_cast<int>(node.end) - record.start;
    record.SetEndTagLength(static_cast<int>(node.end - node.start));
    if (last != 0)
        At(record.child).previous = last;
    last = open;
    open = record.parent;
    --depth;
}

/// Closes every open element inside `outer` as not ended. Each loses its children, which become its following
/// siblings. From the innermost outward, the last child of each is the one just done, or childless: so every child is
/// moved once, to the element where all of them end up.
void CFXmlFile::Parser::CloseNotEnded(int outer) {
    At(startParent).flags |= elemIllFormed;
    const int lastOfAll = last != 0 ? last : open;
    bool illFormedContent = false;
    int lastChild = last;
    while (open != outer) {
        if (tracking)
            NameClosed(open);
        Record& record = At(open);
        const int parent = record.parent;
        record.length = record.StartTagLength();
        record.SetEndTagLength(0);
        record.flags |= elemNotEnded;
        illFormedContent = illFormedContent || record.HasFlag(elemIllFormedContent);
        record.flags &= ~static_cast<unsigned>(elemIllFormedContent);
        if (const int firstChild = record.child; firstChild != 0) {
            At(firstChild).flags &= ~static_cast<unsigned>(elemFirstChild);
            At(firstChild).previous = open;
            for (int child = firstChild;; child = At(child).next) {
                At(child).parent = outer;
                if (child == lastChild)
                    break;
            }
            record.next = firstChild;
            record.child = 0;
        }
        lastChild = open;
        open = parent;
        --depth;
    }
    if (illFormedContent)
        At(outer).flags |= elemIllFormedContent;
    last = lastOfAll;
}

}  // namespace kvtfile
