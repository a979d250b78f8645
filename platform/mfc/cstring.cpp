// CString: its shared storage, buffers, assignment and appending. Invariants: m_pszData always points behind a
// StringData and at length characters followed by a NUL; the static empty text (count 0) is never counted, written or
// freed; only a private block is written to.
#include "platform/mfc/cstring.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <new>

namespace kvtmfc {

namespace detail {
EmptyStringData emptyString = {{0, 0, 0}, 0};
}

namespace {

// The closing NUL must be countable too.
constexpr int64_t maxCapacity = INT_MAX - 1;

int TextLength(LPCWSTR text) {
    const size_t length = text ? std::char_traits<WCHAR>::length(text) : 0;
    if (length > static_cast<size_t>(maxCapacity)) {
        AfxThrowMemoryException();
    }
    return static_cast<int>(length);
}

size_t BlockSize(int64_t capacity) {
    return sizeof(detail::StringData) + (static_cast<size_t>(capacity) + 1) * sizeof(WCHAR);
}

void CopyCharacters(WCHAR* to, LPCWSTR from, int64_t count) {
    if (count > 0) {
        std::memcpy(to, from, static_cast<size_t>(count) * sizeof(WCHAR));
    }
}

}  // namespace

// --- storage ---

detail::StringData* CString::Allocate(int64_t capacity) {
    if (capacity > maxCapacity) {
        AfxThrowMemoryException();
    }
    void* block = std::malloc(BlockSize(capacity));
    if (!block) {
        AfxThrowMemoryException();
    }
    StringData* data = new (block) StringData{{1}, 0, static_cast<int>(capacity)};
    data->Characters()[0] = 0;
    return data;
}

void CString::FreeData(StringData* data) noexcept {
    std::free(data);
}

void CString::Adopt(StringData* data) noexcept {
    Release(Data());
    m_pszData = data->Characters();
}

// Gives this string a block of its own with the same text.
void CString::Fork(int64_t capacity) {
    const int length = GetLength();
    StringData* data = Allocate(std::max<int64_t>(capacity, length));
    CopyCharacters(data->Characters(), m_pszData, length + 1);
    data->length = length;
    Adopt(data);
}

// Changes the room of a private block; the allocator may extend it where it stands.
void CString::Resize(int64_t capacity) {
    if (capacity > maxCapacity) {
        AfxThrowMemoryException();
    }
    static_assert(std::is_trivially_destructible_v<StringData>);
    void* block = std::realloc(static_cast<void*>(Data()), BlockSize(capacity));
    if (!block) {
        AfxThrowMemoryException();
    }
    StringData* data = static_cast<StringData*>(block);
    data->capacity = static_cast<int>(capacity);
    m_pszData = data->Characters();
}

LPWSTR CString::PrepareWrite(int64_t capacity) {
    if (!IsPrivate()) {
        Fork(capacity);
    } else if (capacity > Data()->capacity) {
        Resize(capacity);
    }
    return m_pszData;
}

// Room for a text that grows piece by piece: half as much again, so that n appends cost O(n).
LPWSTR CString::PrepareAppend(int64_t length) {
    if (length > maxCapacity) {
        AfxThrowMemoryException();
    }
    const int64_t grown = std::min(maxCapacity, std::max(length, int64_t{GetLength()} + GetLength() / 2));
    if (!IsPrivate()) {
        Fork(std::max<int64_t>(length, GetLength() == 0 ? length : grown));
    } else if (length > Data()->capacity) {
        Resize(grown);
    }
    return m_pszData;
}

void CString::SetLength(int length) {
    if (length < 0 || length > Data()->capacity) {
        AfxThrowInvalidArgException();
    }
    if (!IsPrivate()) {
        if (length == GetLength()) {
            return;
        }
        Fork(length);
    }
    Data()->length = length;
    m_pszData[length] = 0;
}

bool CString::Owns(LPCWSTR text) const noexcept {
    return std::greater_equal<>()(text, m_pszData) && std::less_equal<>()(text, m_pszData + GetLength());
}

// --- construction and assignment ---

CString::CString(const CString& other) : CString() {
    StringData* data = other.Data();
    const int refs = data->refs.load(std::memory_order_relaxed);
    if (refs < 0) {
        SetString(other.m_pszData, data->length);
        return;
    }
    if (refs > 0) {
        data->refs.fetch_add(1, std::memory_order_relaxed);
    }
    m_pszData = other.m_pszData;
}

CString::CString(LPCWSTR text) : CString() {
    SetString(text, TextLength(text));
}

CString::CString(LPCWSTR text, int length) : CString() {
    SetString(text, length);
}

CString::CString(WCHAR character, int repeat) : CString() {
    if (repeat > 0) {
        std::fill_n(PrepareWrite(repeat), repeat, character);
        SetLength(repeat);
    }
}

CString::CString(WideView text) : CString() {
    if (text.size() > static_cast<size_t>(maxCapacity)) {
        AfxThrowMemoryException();
    }
    SetString(text.data(), static_cast<int>(text.size()));
}

CString& CString::operator=(const CString& other) {
    if (m_pszData == other.m_pszData) {
        return *this;
    }
    if (Data()->refs.load(std::memory_order_relaxed) < 0) {
        SetString(other.m_pszData, other.GetLength());
    } else {
        CString copy(other);
        std::swap(m_pszData, copy.m_pszData);
    }
    return *this;
}

CString& CString::operator=(CString&& other) noexcept {
    CString taken(std::move(other));
    std::swap(m_pszData, taken.m_pszData);
    return *this;
}

CString& CString::operator=(LPCWSTR text) {
    SetString(text, TextLength(text));
    return *this;
}

CString& CString::operator=(WCHAR character) {
    SetString(&character, 1);
    return *this;
}

CString& CString::operator=(const char* text) {
    return *this = CString(text);
}

void CString::Empty() noexcept {
    StringData* data = Data();
    if (data->refs.load(std::memory_order_relaxed) < 0) {
        data->length = 0;
        m_pszData[0] = 0;
        return;
    }
    Release(data);
    m_pszData = detail::emptyString.header.Characters();
}

void CString::SetString(LPCWSTR text) {
    SetString(text, TextLength(text));
}

void CString::SetString(LPCWSTR text, int length) {
    if (length < 0 || (!text && length != 0)) {
        AfxThrowInvalidArgException();
    }
    if (length == 0) {
        Empty();
        return;
    }
    if (Owns(text)) {
        const CString part(text, length);
        SetString(part.m_pszData, length);
        return;
    }
    if (IsPrivate() && length > Data()->capacity) {
        Resize(length);
    } else if (!IsPrivate()) {
        Adopt(Allocate(length));
    }
    CopyCharacters(m_pszData, text, length);
    SetLength(length);
}

void CString::SetAt(int index, WCHAR character) {
    if (index < 0 || index >= GetLength()) {
        AfxThrowInvalidArgException();
    }
    PrepareWrite(GetLength())[index] = character;
}

// --- appending ---

void CString::Append(LPCWSTR text) {
    Append(text, TextLength(text));
}

void CString::Append(LPCWSTR text, int length) {
    if (length < 0 || (!text && length != 0)) {
        AfxThrowInvalidArgException();
    }
    if (length == 0) {
        return;
    }
    const int oldLength = GetLength();
    const bool own = Owns(text);
    const std::ptrdiff_t offset = own ? text - m_pszData : 0;
    WCHAR* characters = PrepareAppend(int64_t{oldLength} + length);
    CopyCharacters(characters + oldLength, own ? characters + offset : text, length);
    SetLength(oldLength + length);
}

void CString::Append(const CString& text) {
    *this += text;
}

void CString::AppendChar(WCHAR character) {
    const int length = GetLength();
    PrepareAppend(int64_t{length} + 1)[length] = character;
    SetLength(length + 1);
}

CString& CString::operator+=(const CString& text) {
    if (IsEmpty() && GetAllocLength() == 0) {
        return *this = text;
    }
    Append(text.m_pszData, text.GetLength());
    return *this;
}

CString& CString::operator+=(LPCWSTR text) {
    Append(text);
    return *this;
}

CString& CString::operator+=(WCHAR character) {
    AppendChar(character);
    return *this;
}

CString& CString::operator+=(WideView text) {
    if (text.size() > static_cast<size_t>(maxCapacity)) {
        AfxThrowMemoryException();
    }
    Append(text.data(), static_cast<int>(text.size()));
    return *this;
}

CString CString::Joined(WideView left, WideView right) {
    CString result;
    const int64_t length = static_cast<int64_t>(left.size()) + static_cast<int64_t>(right.size());
    WCHAR* characters = result.PrepareWrite(length);
    CopyCharacters(characters, left.data(), static_cast<int64_t>(left.size()));
    CopyCharacters(characters + left.size(), right.data(), static_cast<int64_t>(right.size()));
    result.SetLength(static_cast<int>(length));
    return result;
}

CString operator+(const CString& left, const CString& right) {
    return CString::Joined(left.View(), right.View());
}

CString operator+(const CString& left, LPCWSTR right) {
    return CString::Joined(left.View(), WideView(right, static_cast<size_t>(TextLength(right))));
}

CString operator+(LPCWSTR left, const CString& right) {
    return CString::Joined(WideView(left, static_cast<size_t>(TextLength(left))), right.View());
}

CString operator+(const CString& left, WCHAR right) {
    return CString::Joined(left.View(), WideView(&right, 1));
}

CString operator+(WCHAR left, const CString& right) {
    return CString::Joined(WideView(&left, 1), right.View());
}

// --- the buffer ---

LPWSTR CString::GetBuffer(int minCapacity) {
    if (minCapacity < 0) {
        AfxThrowInvalidArgException();
    }
    return PrepareWrite(std::max(minCapacity, GetLength()));
}

LPWSTR CString::GetBufferSetLength(int length) {
    if (length < 0) {
        AfxThrowInvalidArgException();
    }
    PrepareWrite(length);
    SetLength(length);
    return m_pszData;
}

void CString::ReleaseBuffer(int length) {
    if (length == -1) {
        const WideView room(m_pszData, static_cast<size_t>(GetAllocLength()));
        const size_t end = room.find(WCHAR{0});
        length = end == WideView::npos ? GetAllocLength() : static_cast<int>(end);
    }
    SetLength(length);
}

void CString::Preallocate(int length) {
    GetBuffer(length);
}

void CString::FreeExtra() {
    const int length = GetLength();
    if (!IsPrivate() || Data()->capacity == length) {
        return;
    }
    Resize(length);
}

LPWSTR CString::LockBuffer() {
    PrepareWrite(GetLength());
    Data()->refs.store(-1, std::memory_order_relaxed);
    return m_pszData;
}

void CString::UnlockBuffer() noexcept {
    if (Data()->refs.load(std::memory_order_relaxed) < 0) {
        Data()->refs.store(1, std::memory_order_relaxed);
    }
}

void CString::Truncate(int length) {
    if (length < 0) {
        AfxThrowInvalidArgException();
    }
    if (length < GetLength()) {
        if (!IsPrivate()) {
            *this = Left(length);
        } else {
            SetLength(length);
        }
    }
}

}  // namespace kvtmfc
