// Scanning one node: the choice of instructions, the parts of the scanner that gain nothing from them, and the texts of
// error nodes.

#include "platform/cpu/cpu.h"
#include "xml/parser.h"
#include "xml/scanner.h"

namespace kvtfile {

namespace {

bool StartsWith(const WCHAR* text, const char* prefix) {
    for (; *prefix != 0; ++text, ++prefix) {
        if (*text != static_cast<WCHAR>(*prefix))
            return false;
    }
    return true;
}

/// Behind the next `ending` from `from` on; -1 when the text ends first.
ptrdiff_t FindEnd(const WCHAR* text, ptrdiff_t limit, ptrdiff_t from, const char* ending) {
    for (ptrdiff_t i = from; i < limit && text[i] != 0; ++i) {
        if (StartsWith(text + i, ending)) {
            while (*ending++ != 0)
                ++i;
            return i;
        }
    }
    return -1;
}

}  // namespace

ptrdiff_t FindDocTypeEnd(const WCHAR* text, ptrdiff_t limit, ptrdiff_t from) {
    int depth = 1;
    ptrdiff_t i = from;
    while (i < limit && text[i] != 0) {
        const WCHAR c = text[i];
        if (c == '<' && StartsWith(text + i, "<!--")) {
            i = FindEnd(text, limit, i + 4, "-->");
        } else if (c == '<' && text[i + 1] == '?') {
            i = FindEnd(text, limit, i + 2, "?>");
        } else if (c == '"' || c == '\'') {
            const char quote[] = {static_cast<char>(c), 0};
            i = FindEnd(text, limit, i + 1, quote);
        } else {
            if (c == '<')
                ++depth;
            else if (c == '>')
                --depth;
            ++i;
            if (depth == 0)
                return i;
        }
        if (i < 0)
            return -1;
    }
    return -1;
}

ScannedNode ScanNode(const WCHAR* text, ptrdiff_t limit, ptrdiff_t pos) {
    switch (kvtcpu::Simd()) {
#if KVTFILE_X86
        case kvtcpu::Level::Avx512:
            return ScanNodeAvx512(text, limit, pos);
        case kvtcpu::Level::Avx2:
            return ScanNodeAvx2(text, limit, pos);
        case kvtcpu::Level::Sse2:
            return ScanNodeSse2(text, limit, pos);
#endif
        default:
            return ScanNodeScalar(text, limit, pos);
    }
}

CString CFXmlFile::x_ErrorText(const ScannedNode& node) {
    const CString at = CString(_T(" at offset ")) + x_IntToStr(static_cast<int>(node.start));
    switch (node.fault) {
        case NodeFault::TagNameCharacter:
            return CString(_T("Incorrect tag name character")) + at;
        case NodeFault::Bang:
            return CString(_T("Incorrect ! tag")) + at;
        case NodeFault::CommentTag:
            return CString(_T("Incorrect comment tag")) + at;
        case NodeFault::Tag:
            return CString(_T("Incorrect tag")) + at;
        default:
            break;
    }
    LPCWSTR kind = _T("tag");
    switch (node.type) {
        case nodeDocType:
            kind = _T("Doctype");
            break;
        case nodeElement:
            kind = _T("Element tag");
            break;
        case nodeEndTag:
            kind = _T("Element end tag");
            break;
        case nodeCData:
            kind = _T("CDATA Section");
            break;
        case nodeInstruction:
            kind = _T("Processing instruction");
            break;
        case nodeComment:
            kind = _T("Comment");
            break;
        default:
            break;
    }
    return CString(kind) + at + _T(" unterminated");
}

int CFXmlFile::x_ParseNode(TokenPos& token, NodePos& node) {
    const ScannedNode scanned = ScanNode(token.text, token.length, token.next);
    node.type = scanned.fault == NodeFault::None ? scanned.type : static_cast<int>(nodeErrorParsed);
    node.start = static_cast<int>(scanned.start);
    node.length = static_cast<int>(scanned.end - scanned.start);
    node.flags = scanned.empty ? int(elemEmptyNode) : 0;
    if (node.type == nodeErrorParsed)
        node.meta = x_ErrorText(scanned);
    else if (!node.meta.IsEmpty())
        node.meta.Empty();
    token.next = static_cast<int>(scanned.end);
    return node.type;
}

}  // namespace kvtfile
