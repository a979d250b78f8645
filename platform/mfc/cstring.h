// CString: a counted UTF-16 text, one pointer wide, whose copies share their characters until one of them is written
// to.
#pragma once

#include "base.h"
#include "format.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#ifdef __cpp_impl_three_way_comparison
#include <compare>
#endif

namespace kvtmfc {

/// A view of UTF-16 characters: `std::wstring_view` on Windows, `std::u16string_view` elsewhere.
using WideView = std::basic_string_view<WCHAR>;

namespace detail {

/// What stands in memory right before the characters of a CString.
struct StringData {
    std::atomic<int>
        refs;      // number of strings that share the characters; 0: the static empty text; -1: locked, never shared
    int length;    // in characters, without the closing NUL
    int capacity;  // characters that fit before the closing NUL

    WCHAR* Characters() { return reinterpret_cast<WCHAR*>(this + 1); }
};

struct EmptyStringData {
    StringData header;
    WCHAR terminator;
};

extern KVTFILE_API EmptyStringData emptyString;

}  // namespace detail

/// Text of UTF-16 units with the semantics that MFC documents for its string class.
///
/// - Copies share one block with an atomic count: copying is O(1), the first write to a shared text copies it (O(n)).
/// - Always NUL-terminated; NULs inside are kept. Comparisons and searches stop at the first NUL, as the C functions
/// do.
/// - Lengths and positions are 32-bit counts of UTF-16 units.
/// - Errors: an index or argument that is out of range throws `CInvalidArgException*`; exhausted memory, or a length
/// beyond 2^31-2
///   characters, throws `CMemoryException*`. The text is then as it was before.
/// - Threads: different objects may be used by different threads even when they share characters; one object may not.
class KVTFILE_API CString {
public:
    CString() noexcept : m_pszData(detail::emptyString.header.Characters()) {}
    CString(std::nullptr_t) noexcept : CString() {}
    CString(const CString& other);
    CString(CString&& other) noexcept
        : m_pszData(std::exchange(other.m_pszData, detail::emptyString.header.Characters())) {}
    /// Copies a NUL-terminated text; null gives an empty string.
    CString(LPCWSTR text);
    /// Copies `length` characters, NULs included. Null text with a length other than 0, or a negative length:
    /// CInvalidArgException.
    CString(LPCWSTR text, int length);
    /// `repeat` times the character; a count of 0 or less gives an empty string.
    explicit CString(WCHAR character, int repeat = 1);
    /// Converts from the ANSI code page of the process; null gives an empty string.
    CString(const char* text);
    CString(const char* text, int length);
    CString(WideView text);
#ifndef _WIN32
    /// Converts from UTF-32; a value that is no character becomes U+FFFD. Null gives an empty string.
    CString(const wchar_t* text);
#endif
    ~CString() {
        Release(Data());
    }

    CString& operator=(const CString& other);
    CString& operator=(CString&& other) noexcept;
    CString& operator=(LPCWSTR text);
    CString& operator=(WCHAR character);
    CString& operator=(const char* text);
#ifndef _WIN32
    CString& operator=(const wchar_t* text);
#endif

    /// From and to UTF-8. A malformed sequence becomes U+FFFD, a lone surrogate EF BF BD. NULs are kept.
    static CString FromUtf8(std::string_view text);
    std::string ToUtf8() const;
    /// From and to a code page; what the page lacks becomes its default character. A page the system does not know
    /// gives an empty text.
    static CString FromCodePage(std::string_view text, UINT codePage);
    std::string ToCodePage(UINT codePage) const;

    // --- reading ---
    int GetLength() const noexcept {
        return Data()->length;
    }
    bool IsEmpty() const noexcept {
        return Data()->length == 0;
    }
    LPCWSTR GetString() const noexcept {
        return m_pszData;
    }
    operator LPCWSTR() const noexcept {
        return m_pszData;
    }
    WideView View() const noexcept {
        return WideView(m_pszData, static_cast<size_t>(Data()->length));
    }
    /// The character at `index`; the closing NUL at index == GetLength(). Beyond: CInvalidArgException.
    WCHAR GetAt(int index) const {
        if (index < 0 || index > Data()->length)
            AfxThrowInvalidArgException();
        return m_pszData[index];
    }
    WCHAR operator[](int index) const {
        return GetAt(index);
    }

    // --- whole text ---
    void Empty() noexcept;
    void SetString(LPCWSTR text);
    void SetString(LPCWSTR text, int length);
    void SetAt(int index, WCHAR character);
    void Append(LPCWSTR text);
    void Append(LPCWSTR text, int length);
    void Append(const CString& text);
    void AppendChar(WCHAR character);
    CString& operator+=(const CString& text);
    CString& operator+=(LPCWSTR text);
    CString& operator+=(WCHAR character);
    CString& operator+=(WideView text);

    // --- the buffer ---
    /// The characters for writing, no longer shared. Never copies when the buffer is not shared and holds `minCapacity`
    /// characters; grows to exactly `minCapacity` otherwise. The text is kept. The pointer holds until the next call of
    /// a non-const member.
    LPWSTR GetBuffer() {
        return PrepareWrite(GetLength());
    }
    LPWSTR GetBuffer(int minCapacity);
    LPWSTR GetBufferSetLength(int length);
    /// Ends the direct writing: the text has `length` characters, or ends at its first NUL when `length` is -1.
    void ReleaseBuffer(int length = -1);
    /// The same with a known length, O(1). More than GetAllocLength(): CInvalidArgException.
    void ReleaseBufferSetLength(int length) {
        SetLength(length);
    }
    int GetAllocLength() const noexcept {
        return Data()->capacity;
    }
    /// Makes room for `length` characters without changing the text.
    void Preallocate(int length);
    /// Gives back the room behind the text.
    void FreeExtra();
    /// Makes the buffer private for good: copies are deep until UnlockBuffer.
    LPWSTR LockBuffer();
    void UnlockBuffer() noexcept;
    /// Shortens the text to `length` characters.
    void Truncate(int length);

    // --- comparing (by UTF-16 units, up to the first NUL; null: CInvalidArgException) ---
    int Compare(LPCWSTR text) const;
    int CompareNoCase(LPCWSTR text) const;

    // --- searching: index or -1 ---
    int Find(LPCWSTR text, int start = 0) const;
    int Find(WCHAR character, int start = 0) const;
    int ReverseFind(WCHAR character) const;
    int FindOneOf(LPCWSTR set) const;

    // --- parts (negative counts are 0, counts beyond the end are clipped) ---
    CString Mid(int first) const;
    CString Mid(int first, int count) const;
    CString Left(int count) const;
    CString Right(int count) const;
    CString SpanIncluding(LPCWSTR set) const;
    CString SpanExcluding(LPCWSTR set) const;
    /// The next token from `position` on; runs of delimiters count as one. `position` moves behind the token, and
    /// becomes -1, with an empty result, when there is none left. An empty set gives the rest of the text. A negative
    /// position: CInvalidArgException.
    CString Tokenize(LPCWSTR delimiters, int& position) const;

    // --- editing ---
    CString& Trim();
    CString& Trim(WCHAR character);
    CString& Trim(LPCWSTR set);
    CString& TrimLeft();
    CString& TrimLeft(WCHAR character);
    CString& TrimLeft(LPCWSTR set);
    CString& TrimRight();
    CString& TrimRight(WCHAR character);
    CString& TrimRight(LPCWSTR set);
    /// Return the number of replacements or removals.
    int Replace(LPCWSTR oldText, LPCWSTR newText);
    int Replace(WCHAR oldCharacter, WCHAR newCharacter);
    int Remove(WCHAR character);
    /// Return the new length.
    int Insert(int index, LPCWSTR text);
    int Insert(int index, WCHAR character);
    int Delete(int index, int count = 1);
    /// Fold by the table of fold.h, whatever the locale.
    CString& MakeUpper();
    CString& MakeLower();
    CString& MakeReverse();

    // --- formatting ---
    /// Replaces the text by the formatted arguments, by the rules of Microsoft's wide printf: `%s` takes wide text
    /// (also a CString), `%S` and
    /// `%hs` narrow text in the ANSI code page, `%I64d` 64-bit numbers, `%p` prints 16 upper-case digits, `%e` two
    /// exponent digits, a null text prints "(null)", a "%" alone at the end nothing. Integers of every width are taken
    /// by every integer conversion, cut to its width
    /// (`l` is 32 bits). A format that is null or unknown, `%n`, or an argument missing, left over or of another kind:
    /// CInvalidArgException.
    template <typename... Args>
    void Format(LPCWSTR format, const Args&... args) {
        const FormatArg list[sizeof...(Args) + 1] = {detail::MakeFormatArg(args)..., FormatArg{}};
        FormatSlots(format, list, sizeof...(Args));
    }
    template <typename... Args>
    void AppendFormat(LPCWSTR format, const Args&... args) {
        const FormatArg list[sizeof...(Args) + 1] = {detail::MakeFormatArg(args)..., FormatArg{}};
        AppendFormatSlots(format, list, sizeof...(Args));
    }
#ifndef _WIN32
    template <typename... Args>
    void Format(const wchar_t* format, const Args&... args) {
        Format(static_cast<LPCWSTR>(CString(format)), args...);
    }
    template <typename... Args>
    void AppendFormat(const wchar_t* format, const Args&... args) {
        AppendFormat(static_cast<LPCWSTR>(CString(format)), args...);
    }
#endif
    /// The same with the arguments of a C variadic function, whose kinds cannot be checked.
    void FormatV(LPCWSTR format, va_list args);
    void AppendFormatV(LPCWSTR format, va_list args);

private:
    using StringData = detail::StringData;

    StringData* Data() const noexcept {
        return reinterpret_cast<StringData*>(m_pszData) - 1;
    }
    static void Release(StringData* data) noexcept {
        const int refs = data->refs.load(std::memory_order_acquire);
        if (refs == 0)
            return;
        if (refs < 0 || data->refs.fetch_sub(1, std::memory_order_acq_rel) == 1)
            FreeData(data);
    }
    static void FreeData(StringData* data) noexcept;
    static StringData* Allocate(int64_t capacity);
    bool IsPrivate() const noexcept {
        const int refs = Data()->refs.load(std::memory_order_acquire);
        return refs == 1 || refs < 0;
    }
    bool Owns(LPCWSTR text) const noexcept;
    void Adopt(StringData* data) noexcept;
    void Fork(int64_t capacity);
    void Resize(int64_t capacity);
    LPWSTR PrepareWrite(int64_t capacity);
    LPWSTR PrepareAppend(int64_t length);
    void SetLength(int length);
    void TrimRange(int first, int end);
    void FormatSlots(LPCWSTR format, const FormatArg* args, size_t count);
    void AppendFormatSlots(LPCWSTR format, const FormatArg* args, size_t count);
    static CString Joined(WideView left, WideView right);

    friend KVTFILE_API CString operator+(const CString& left, const CString& right);
    friend KVTFILE_API CString operator+(const CString& left, LPCWSTR right);
    friend KVTFILE_API CString operator+(LPCWSTR left, const CString& right);
    friend KVTFILE_API CString operator+(const CString& left, WCHAR right);
    friend KVTFILE_API CString operator+(WCHAR left, const CString& right);

    WCHAR* m_pszData;
};

KVTFILE_API CString operator+(const CString& left, const CString& right);
KVTFILE_API CString operator+(const CString& left, LPCWSTR right);
KVTFILE_API CString operator+(LPCWSTR left, const CString& right);
KVTFILE_API CString operator+(const CString& left, WCHAR right);
KVTFILE_API CString operator+(WCHAR left, const CString& right);

inline bool operator==(const CString& left, const CString& right) {
    return left.Compare(right) == 0;
}
inline bool operator==(const CString& left, LPCWSTR right) {
    return left.Compare(right) == 0;
}
inline bool operator==(LPCWSTR left, const CString& right) {
    return right.Compare(left) == 0;
}
inline bool operator!=(const CString& left, const CString& right) {
    return left.Compare(right) != 0;
}
inline bool operator!=(const CString& left, LPCWSTR right) {
    return left.Compare(right) != 0;
}
inline bool operator!=(LPCWSTR left, const CString& right) {
    return right.Compare(left) != 0;
}
inline bool operator<(const CString& left, const CString& right) {
    return left.Compare(right) < 0;
}
inline bool operator<(const CString& left, LPCWSTR right) {
    return left.Compare(right) < 0;
}
inline bool operator<(LPCWSTR left, const CString& right) {
    return right.Compare(left) > 0;
}
inline bool operator>(const CString& left, const CString& right) {
    return left.Compare(right) > 0;
}
inline bool operator>(const CString& left, LPCWSTR right) {
    return left.Compare(right) > 0;
}
inline bool operator>(LPCWSTR left, const CString& right) {
    return right.Compare(left) < 0;
}
inline bool operator<=(const CString& left, const CString& right) {
    return left.Compare(right) <= 0;
}
inline bool operator<=(const CString& left, LPCWSTR right) {
    return left.Compare(right) <= 0;
}
inline bool operator<=(LPCWSTR left, const CString& right) {
    return right.Compare(left) >= 0;
}
inline bool operator>=(const CString& left, const CString& right) {
    return left.Compare(right) >= 0;
}
inline bool operator>=(const CString& left, LPCWSTR right) {
    return left.Compare(right) >= 0;
}
inline bool operator>=(LPCWSTR left, const CString& right) {
    return right.Compare(left) <= 0;
}

#ifdef __cpp_impl_three_way_comparison
// Without these, a pair, tuple or vector of strings would compare what both sides convert to: their pointers.
inline std::strong_ordering operator<=>(const CString& left, const CString& right) {
    return left.Compare(right) <=> 0;
}
inline std::strong_ordering operator<=>(const CString& left, LPCWSTR right) {
    return left.Compare(right) <=> 0;
}
#endif

/// A hash of the text up to its first NUL; equal texts (operator==) have equal hashes.
KVTFILE_API size_t HashText(LPCWSTR text) noexcept;

}  // namespace kvtmfc

template <>
struct std::hash<kvtmfc::CString> {
    size_t operator()(const kvtmfc::CString& text) const noexcept { return kvtmfc::HashText(text); }
};
