// Replacing references by characters and characters by references.

#include "kvtfile/XmlFile.h"
#include "xml/chars.h"
#include "xml/entities.h"

namespace kvtfile {

namespace {

constexpr int longestReference = 9;
constexpr unsigned lastCodePoint = 0x10FFFF;

/// Digits up to the first character that is none.
unsigned ReadDigits(const WCHAR* digits, int length, unsigned base) {
    unsigned value = 0;
    for (int i = 0; i < length; ++i) {
        const WCHAR c = digits[i];
        unsigned digit = base;
        if (c >= '0' && c <= '9')
            digit = static_cast<unsigned>(c - '0');
        else if (c >= 'a' && c <= 'f')
            digit = static_cast<unsigned>(c - 'a') + 10;
        if (digit >= base)
            break;
        value = value * base + digit;
    }
    return value;
}

/// Code point of a reference without its "&" and ";", in small letters; 0 when it names no character.
unsigned ReferencedCharacter(const WCHAR* name, int length) {
    unsigned value = 0;
    if (length > 1 && name[0] == '#')
        value = name[1] == 'x' ? ReadDigits(name + 2, length - 2, 16) : ReadDigits(name + 1, length - 1, 10);
    else if (length > 0 && name[0] != '#')
        value = static_cast<unsigned>(LookupEntity(name, length));
    return value <= lastCodePoint ? value : 0;
}

bool IsReferenceCharacter(WCHAR c) {
    return chars::IsAsciiLetter(c) || (c >= '0' && c <= '9') || c == '-' || c == '.' || c == ':' || c == '_' ||
           c >= 0x80;
}

/// Whether the "&" at `text` already begins a reference.
bool BeginsReference(LPCWSTR text) {
    ++text;
    if (!chars::IsAsciiLetter(*text) && *text != '#' && *text != ':' && *text != '_')
        return false;
    do {
        ++text;
    } while (IsReferenceCharacter(*text));
    return *text == ';';
}

/// What a character is written as; null when it stays.
LPCWSTR Escaped(LPCWSTR at, int flags) {
    switch (*at) {
        case '<':
            return _T("&lt;");
        case '>':
            return _T("&gt;");
        case '&':
            return (flags & CFXmlFile::editKeepReferences) != 0 && BeginsReference(at) ? nullptr : _T("&amp;");
        case '\'':
            return (flags & CFXmlFile::editEscapeQuotes) != 0 ? _T("&apos;") : nullptr;
        case '"':
            return (flags & CFXmlFile::editEscapeQuotes) != 0 ? _T("&quot;") : nullptr;
        default:
            return nullptr;
    }
}

}  // namespace

CString CFXmlFile::UnescapeText(MCD_CSTR source, int length) {
    const LPCWSTR text = source;
    if (text == nullptr)
        return CString();
    int size = 0;
    bool plain = true;
    for (; (length < 0 || size < length) && text[size] != 0; ++size)
        plain = plain && text[size] != '&';
    if (plain)
        return CString(text, size);

    CString result;
    WCHAR* const out = result.GetBuffer(size);
    int written = 0;
    for (int i = 0; i < size;) {
        if (text[i] == '&') {
            WCHAR name[longestReference];
            int count = 0;
            int end = i + 1;
            while (end < size && count < longestReference && text[end] != ';' && text[end] < 0x80) {
                const WCHAR c = text[end++];
                name[count++] = c >= 'A' && c <= 'Z' ? static_cast<WCHAR>(c + ('a' - 'A')) : c;
            }
            const unsigned c = end < size && text[end] == ';' ? ReferencedCharacter(name, count) : 0;
            if (c != 0) {
                if (c > 0xFFFF) {
                    out[written++] = static_cast<WCHAR>(0xD800 + ((c - 0x10000) >> 10));
                    out[written++] = static_cast<WCHAR>(0xDC00 + ((c - 0x10000) & 0x3FF));
                } else {
                    out[written++] = static_cast<WCHAR>(c);
                }
                i = end + 1;
                continue;
            }
        }
        out[written++] = text[i++];
    }
    result.ReleaseBufferSetLength(written);
    return result;
}

CString CFXmlFile::EscapeText(MCD_CSTR source, int flags) {
    const LPCWSTR text = source;
    if (text == nullptr)
        return CString();
    CString result;
    LPCWSTR plain = text;
    LPCWSTR at = text;
    for (; *at != 0; ++at) {
        if (const LPCWSTR escaped = Escaped(at, flags); escaped != nullptr) {
            result.Append(plain, static_cast<int>(at - plain));
            result.Append(escaped);
            plain = at + 1;
        }
    }
    result.Append(plain, static_cast<int>(at - plain));
    return result;
}

}  // namespace kvtfile
