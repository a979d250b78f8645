// CString: comparing, searching, cutting and editing. Each edit is one pass over the text and leaves it as it was when
// it throws.
#include <algorithm>
#include <cstring>

#include "platform/mfc/cstring.h"
#include "platform/mfc/fold.h"

namespace kvtmfc {

namespace {

void RequireText(LPCWSTR text) {
    if (!text) {
        AfxThrowInvalidArgException();
    }
}

// White space as the C runtime sees it in wide text.
bool IsSpace(WCHAR character) {
    const unsigned code = character;
    if (code < 0x80) {
        return code == 0x20 || (code >= 0x09 && code <= 0x0D);
    }
    return code == 0x85 || code == 0xA0 || code == 0x1680 || (code >= 0x2000 && code <= 0x200A) || code == 0x2028 ||
           code == 0x2029 || code == 0x202F || code == 0x205F || code == 0x3000;
}

bool InSet(LPCWSTR set, WCHAR character) {
    for (; *set; ++set) {
        if (*set == character) {
            return true;
        }
    }
    return false;
}

// How many characters from `first` on, up to the first NUL, are in the set (or are not).
int SpanLength(LPCWSTR text, LPCWSTR set, bool member) {
    int length = 0;
    while (text[length] && InSet(set, text[length]) == member) {
        ++length;
    }
    return length;
}

template <typename Test>
int LeadingCount(const CString& text, Test test) {
    int first = 0;
    while (first < text.GetLength() && test(text.GetString()[first])) {
        ++first;
    }
    return first;
}

template <typename Test>
int TrailingEnd(const CString& text, Test test) {
    int end = text.GetLength();
    while (end > 0 && test(text.GetString()[end - 1])) {
        --end;
    }
    return end;
}

}  // namespace

size_t HashText(LPCWSTR text) noexcept {
    uint64_t hash = 0xCBF29CE484222325u;
    for (; *text; ++text) {
        hash = (hash ^ static_cast<uint64_t>(*text)) * 0x100000001B3u;
    }
    return static_cast<size_t>(hash ^ (hash >> 32));
}

// --- comparing ---

int CString::Compare(LPCWSTR text) const {
    RequireText(text);
    LPCWSTR own = m_pszData;
    while (*own && *own == *text) {
        ++own;
        ++text;
    }
    return static_cast<int>(*own) - static_cast<int>(*text);
}

int CString::CompareNoCase(LPCWSTR text) const {
    RequireText(text);
    return kvtmfc::CompareNoCase(m_pszData, text);
}

// --- searching ---

int CString::Find(LPCWSTR text, int start) const {
    if (!text || start < 0 || start > GetLength()) {
        return -1;
    }
    const WideView wanted(text);
    const WideView room(m_pszData + start);
    const size_t at = room.find(wanted);
    return at == WideView::npos ? -1 : start + static_cast<int>(at);
}

int CString::Find(WCHAR character, int start) const {
    if (start < 0 || start >= GetLength()) {
        return -1;
    }
    const size_t at = WideView(m_pszData + start).find(character);
    return at == WideView::npos ? -1 : start + static_cast<int>(at);
}

int CString::ReverseFind(WCHAR character) const {
    const size_t at = WideView(m_pszData).rfind(character);
    return at == WideView::npos ? -1 : static_cast<int>(at);
}

int CString::FindOneOf(LPCWSTR set) const {
    RequireText(set);
    const int at = SpanLength(m_pszData, set, false);
    return m_pszData[at] ? at : -1;
}

// --- parts ---

CString CString::Mid(int first) const {
    return Mid(first, GetLength());
}

CString CString::Mid(int first, int count) const {
    first = std::max(first, 0);
    if (first >= GetLength()) {
        return CString();
    }
    count = std::min(std::max(count, 0), GetLength() - first);
    return count == GetLength() ? *this : CString(m_pszData + first, count);
}

CString CString::Left(int count) const {
    return Mid(0, count);
}

CString CString::Right(int count) const {
    count = std::min(std::max(count, 0), GetLength());
    return Mid(GetLength() - count, count);
}

CString CString::SpanIncluding(LPCWSTR set) const {
    RequireText(set);
    return Left(SpanLength(m_pszData, set, true));
}

CString CString::SpanExcluding(LPCWSTR set) const {
    RequireText(set);
    return Left(SpanLength(m_pszData, set, false));
}

CString CString::Tokenize(LPCWSTR delimiters, int& position) const {
    if (position < 0) {
        AfxThrowInvalidArgException();
    }
    LPCWSTR set = delimiters ? delimiters : m_pszData + GetLength();
    if (position < GetLength()) {
        const int first = position + SpanLength(m_pszData + position, set, true);
        if (first < GetLength()) {
            const int count = *set ? SpanLength(m_pszData + first, set, false) : GetLength() - first;
            position = first + count + 1;
            return Mid(first, count);
        }
    }
    position = -1;
    return CString();
}

// --- trimming ---

void CString::TrimRange(int first, int end) {
    if (first >= end) {
        if (GetLength() > 0) {
            Truncate(0);
        }
        return;
    }
    if (first == 0) {
        Truncate(end);
        return;
    }
    const int count = end - first;
    WCHAR* characters = PrepareWrite(GetLength());
    std::memmove(characters, characters + first, static_cast<size_t>(count) * sizeof(WCHAR));
    SetLength(count);
}

CString& CString::Trim() {
    TrimRange(LeadingCount(*this, IsSpace), TrailingEnd(*this, IsSpace));
    return *this;
}

CString& CString::TrimLeft() {
    TrimRange(LeadingCount(*this, IsSpace), GetLength());
    return *this;
}

CString& CString::TrimRight() {
    TrimRange(0, TrailingEnd(*this, IsSpace));
    return *this;
}

CString& CString::Trim(WCHAR character) {
    return TrimRight(character).TrimLeft(character);
}

CString& CString::TrimLeft(WCHAR character) {
    TrimRange(LeadingCount(*this, [character](WCHAR own) { return own == character; }), GetLength());
    return *this;
}

CString& CString::TrimRight(WCHAR character) {
    TrimRange(0, TrailingEnd(*this, [character](WCHAR own) { return own == character; }));
    return *this;
}

CString& CString::Trim(LPCWSTR set) {
    return TrimRight(set).TrimLeft(set);
}

CString& CString::TrimLeft(LPCWSTR set) {
    if (set) {
        TrimRange(LeadingCount(*this, [set](WCHAR own) { return InSet(set, own); }), GetLength());
    }
    return *this;
}

CString& CString::TrimRight(LPCWSTR set) {
    if (set) {
        TrimRange(0, TrailingEnd(*this, [set](WCHAR own) { return InSet(set, own); }));
    }
    return *this;
}

// --- editing ---

int CString::Replace(LPCWSTR oldText, LPCWSTR newText) {
    const WideView wanted = oldText ? WideView(oldText) : WideView();
    if (wanted.empty()) {
        return 0;
    }
    const WideView replacement = newText ? WideView(newText) : WideView();
    const WideView whole = View();
    int count = 0;
    for (size_t at = whole.find(wanted); at != WideView::npos; at = whole.find(wanted, at + wanted.size())) {
        ++count;
    }
    if (count == 0) {
        return 0;
    }
    const int64_t growth = static_cast<int64_t>(replacement.size()) - static_cast<int64_t>(wanted.size());
    CString result;
    WCHAR* to = result.PrepareWrite(GetLength() + count * growth);
    size_t from = 0;
    for (size_t at = whole.find(wanted); at != WideView::npos; at = whole.find(wanted, from)) {
        to = std::copy(whole.begin() + static_cast<std::ptrdiff_t>(from),
                       whole.begin() + static_cast<std::ptrdiff_t>(at), to);
        to = std::copy(replacement.begin(), replacement.end(), to);
        from = at + wanted.size();
    }
    std::copy(whole.begin() + static_cast<std::ptrdiff_t>(from), whole.end(), to);
    result.SetLength(static_cast<int>(GetLength() + count * growth));
    *this = result;
    return count;
}

int CString::Replace(WCHAR oldCharacter, WCHAR newCharacter) {
    if (oldCharacter == newCharacter) {
        return 0;
    }
    const int count = static_cast<int>(std::count(m_pszData, m_pszData + GetLength(), oldCharacter));
    if (count > 0) {
        WCHAR* characters = PrepareWrite(GetLength());
        std::replace(characters, characters + GetLength(), oldCharacter, newCharacter);
    }
    return count;
}

int CString::Remove(WCHAR character) {
    const int count = static_cast<int>(std::count(m_pszData, m_pszData + GetLength(), character));
    if (count > 0) {
        WCHAR* characters = PrepareWrite(GetLength());
        const WCHAR* end = std::remove(characters, characters + GetLength(), character);
        SetLength(static_cast<int>(end - characters));
    }
    return count;
}

int CString::Insert(int index, LPCWSTR text) {
    const CString inserted = text ? CString(text) : CString();
    const int count = inserted.GetLength();
    if (count > 0) {
        const int length = GetLength();
        index = std::min(std::max(index, 0), length);
        WCHAR* at = PrepareAppend(int64_t{length} + count) + index;
        std::memmove(at + count, at, static_cast<size_t>(length - index) * sizeof(WCHAR));
        std::memcpy(at, inserted.m_pszData, static_cast<size_t>(count) * sizeof(WCHAR));
        SetLength(length + count);
    }
    return GetLength();
}

int CString::Insert(int index, WCHAR character) {
    const int length = GetLength();
    index = std::min(std::max(index, 0), length);
    WCHAR* at = PrepareAppend(int64_t{length} + 1) + index;
    std::memmove(at + 1, at, static_cast<size_t>(length - index) * sizeof(WCHAR));
    *at = character;
    SetLength(length + 1);
    return length + 1;
}

int CString::Delete(int index, int count) {
    const int length = GetLength();
    index = std::max(index, 0);
    if (count <= 0 || index >= length) {
        return length;
    }
    count = std::min(count, length - index);
    WCHAR* at = PrepareWrite(length) + index;
    std::memmove(at, at + count, static_cast<size_t>(length - index - count) * sizeof(WCHAR));
    SetLength(length - count);
    return length - count;
}

CString& CString::MakeUpper() {
    WCHAR* characters = PrepareWrite(GetLength());
    std::transform(characters, characters + GetLength(), characters, FoldUpper);
    return *this;
}

CString& CString::MakeLower() {
    WCHAR* characters = PrepareWrite(GetLength());
    std::transform(characters, characters + GetLength(), characters, FoldLower);
    return *this;
}

CString& CString::MakeReverse() {
    WCHAR* characters = PrepareWrite(GetLength());
    std::reverse(characters, characters + GetLength());
    return *this;
}

}  // namespace kvtmfc
