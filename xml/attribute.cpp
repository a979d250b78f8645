// Scanning names and attributes inside a tag.

#include "kvtfile/XmlFile.h"
#include "xml/chars.h"

namespace kvtfile {

using chars::IsBlank;

namespace {

bool EndsElementName(WCHAR c) {
    switch (c) {
        case 0:
        case ' ':
        case '\t':
        case '\n':
        case '\r':
        case '<':
        case '>':
        case '=':
        case '\\':
        case '/':
        case '?':
        case '!':
        case '"':
        case '\'':
        case ';':
            return true;
        default:
            return false;
    }
}

bool EndsAttributeName(WCHAR c) {
    return IsBlank(c) || c == '=' || c == '>' || c == '/' || c == '?' || c == 0;
}

}  // namespace

/// Scans the name at the token's next offset, past blanks; a delimiter there counts as a name of one character. False
/// at the end of the text.
bool CFXmlFile::x_FindName(TokenPos& token) {
    int i = token.next;
    while (IsBlank(token.text[i]))
        ++i;
    token.flags &= ~TokenPos::quoted;
    token.left = i;
    while (!EndsElementName(token.text[i]))
        ++i;
    if (i == token.left && token.text[i] != 0)
        ++i;
    token.right = i - 1;
    token.next = i;
    return i != token.left;
}

bool CFXmlFile::x_Matches(const TokenPos& token, LPCWSTR name) {
    const int length = token.TokenLength();
    return chars::SameName(token.text + token.left, name, length, (token.flags & docIgnoreCase) != 0) &&
           chars::EndsSearchedName(name[length]);
}

CString CFXmlFile::x_TokenText(const TokenPos& token) {
    return CString(token.text + token.left, token.TokenLength());
}

/// Finds an attribute, from just behind the "<" or "<?" of a tag: by name the token is its value, without its quotes
/// (empty when it has none); with a null name it is the name of the attribute of that index. Nothing behind the token's
/// text is looked at, so that quotes that do not pair up lead no further than the tag.
bool CFXmlFile::x_FindAttrib(TokenPos& token, LPCWSTR name, int index) {
    const auto at = [&token](int offset) { return offset < token.length ? token.text[offset] : WCHAR(0); };
    int i = token.next;
    int count = -1;      // attributes before the current token; the first name is the tag's own
    bool found = false;  // the last name was the one searched
    token.flags &= ~TokenPos::quoted;
    for (;;) {
        const int nameEnd = i;
        while (IsBlank(at(i)))
            ++i;
        const bool value = at(i) == '=';
        if (found && !value) {
            token.left = token.next = nameEnd;
            token.right = nameEnd - 1;
            return true;
        }
        if (value) {
            ++i;
            while (IsBlank(at(i)))
                ++i;
        }

        int left = i;
        bool quoted = false;
        if (at(i) == '"' || at(i) == '\'') {
            const WCHAR quote = at(i);
            left = ++i;
            while (at(i) != quote && at(i) != 0)
                ++i;
            if (at(i) == 0)
                return false;
            quoted = true;
        } else if (value) {
            while (!IsBlank(at(i)) && at(i) != '>' && at(i) != 0)
                ++i;
        } else {
            if (at(i) == '>' || at(i) == '/' || at(i) == '?' || at(i) == 0)
                return false;
            while (!EndsAttributeName(at(i)))
                ++i;
        }

        token.left = left;
        token.right = i - 1;
        if (quoted)
            ++i;
        token.next = i;
        if (found) {
            if (quoted)
                token.flags |= TokenPos::quoted;
            return true;
        }
        if (!value && !quoted) {
            if (count >= 0 && name == nullptr && count == index)
                return true;
            found = count >= 0 && name != nullptr && x_Matches(token, name);
            ++count;
        }
    }
}

}  // namespace kvtfile
