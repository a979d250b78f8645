// The encoding that a document names for itself: in its XML declaration, or in an HTML document's head. The text is
// passed over once, node by node, and no further than the place where a name may stand.

#include "kvtfile/XmlFile.h"

#include <algorithm>
#include <climits>
#include <string>

namespace kvtfile {

namespace {

bool IsSpace(WCHAR c) {
    return c == _T(' ') || c == _T('\t') || c == _T('\r') || c == _T('\n');
}

/// The name after "charset=" in the value of a content attribute, such as "text/html; charset=gb2312".
CString CharsetIn(const CString& content) {
    CString folded = content;
    folded.MakeLower();
    const LPCWSTR text = content;
    for (int at = folded.Find(_T("charset")); at >= 0; at = folded.Find(_T("charset"), at)) {
        at += 7;
        while (IsSpace(text[at])) {
            ++at;
        }
        if (text[at] != _T('=')) {
            continue;
        }
        do {
            ++at;
        } while (IsSpace(text[at]) || text[at] == _T('"') || text[at] == _T('\''));
        const CString rest = content.Mid(at);
        const int end = rest.FindOneOf(_T(" \t\r\n;\"'"));
        return end < 0 ? rest : rest.Left(end);
    }
    return CString();
}

}  // namespace

CString CFXmlFile::GetDeclaredEncoding(MCD_CSTR text) {
    const LPCWSTR characters = text;
    if (!characters) {
        return CString();
    }
    const std::size_t length = std::char_traits<WCHAR>::length(characters);
    TokenPos token(characters, static_cast<int>(std::min<std::size_t>(length, INT_MAX)), docIgnoreCase);
    const auto attribute = [characters](const NodePos& node, int tagName, LPCWSTR name) {
        TokenPos tag(characters, node.start + node.length, docIgnoreCase, tagName);
        return x_FindAttrib(tag, name) ? x_TokenText(tag) : CString();
    };
    enum { beforeHtml, inHtml, inHead } place = beforeHtml;
    for (;;) {
        NodePos node;
        const int type = x_ParseNode(token, node);
        const int next = token.next;
        if (type == nodeEndOfDocument) {
            return CString();
        }
        if (type == nodeInstruction && node.start == 0) {
            token.next = 2;
            if (x_FindName(token) && x_Matches(token, _T("xml"))) {
                return attribute(node, 2, _T("encoding"));
            }
        } else if (type == nodeEndTag) {
            token.next = node.start + 2;
            if (x_FindName(token) && x_Matches(token, _T("head"))) {
                return CString();
            }
        } else if (type == nodeElement) {
            const int tag = node.start + 1;
            token.next = tag;
            const auto isNamed = [&token](LPCWSTR name) { return x_Matches(token, name); };
            if (!x_FindName(token)) {
                return CString();
            }
            if (place == beforeHtml) {
                if (!isNamed(_T("html"))) {
                    return CString();
                }
                place = inHtml;
            } else if (place == inHtml) {
                if (!isNamed(_T("head"))) {
                    return CString();
                }
                place = inHead;
            } else if (isNamed(_T("body"))) {
                return CString();
            } else if (isNamed(_T("meta")) &&
                       attribute(node, tag, _T("http-equiv")).CompareNoCase(_T("Content-Type")) == 0) {
                const CString charset = CharsetIn(attribute(node, tag, _T("content")));
                if (!charset.IsEmpty()) {
                    return charset;
                }
            }
        }
        token.next = next;
    }
}

}  // namespace kvtfile
