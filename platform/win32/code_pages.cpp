// Text conversion: MultiByteToWideChar, WideCharToMultiByte and what belongs to them.
//
// Pages of one or two bytes a character go through tables built from ICU, UTF-8 through its own routine, all others
// through one ICU call a buffer. Every path writes into a Sink, which counts what would be written, so that a query for
// the length and a buffer that is too small need no code of their own.

#include <unicode/ucnv.h>
#include <unicode/ucnv_cb.h>
#include <unicode/ucnv_err.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <string_view>

#include "code_page_names.h"
#include "code_page_table.h"
#include "environment.h"
#include "errors.h"
#include "winapi.h"

using kvtwin::Fail;
using kvtwin::PageKind;
using kvtwin::PageRow;
using kvtwin::PageTable;

namespace {

constexpr WCHAR kReplacement = 0xFFFD;

constexpr bool IsHigh(WCHAR unit) {
    return (unit & 0xFC00) == 0xD800;
}
constexpr bool IsLow(WCHAR unit) {
    return (unit & 0xFC00) == 0xDC00;
}

// Where a conversion writes: a buffer, or nowhere when only the length is wanted.
template <typename T>
class Sink {
public:
    Sink(T* buffer, int room) : m_buffer(buffer), m_room(room > 0 ? static_cast<size_t>(room) : 0) {}

    void Put(T value) {
        if (m_count < m_room) {
            m_buffer[m_count] = value;
        }
        ++m_count;
    }
    void Put(const T* values, size_t count) {
        if (m_count < m_room) {
            std::copy_n(values, std::min(count, m_room - m_count), m_buffer + m_count);
        }
        m_count += count;
    }
    // The result of the whole call.
    int Finish() const {
        if (m_room != 0 && m_count > m_room) {
            return Fail(ERROR_INSUFFICIENT_BUFFER);
        }
        return m_count <= std::numeric_limits<int>::max() ? static_cast<int>(m_count) : Fail(ERROR_INVALID_PARAMETER);
    }

private:
    T* m_buffer;
    size_t m_room;
    size_t m_count = 0;
};

using WideSink = Sink<WCHAR>;
using ByteSink = Sink<char>;

UINT ResolvePage(UINT page) {
    switch (page) {
        case CP_ACP:
        case CP_THREAD_ACP:
            return kvtwin::Env().pages.ansi;
        case CP_OEMCP:
            return kvtwin::Env().pages.oem;
        case CP_MACCP:
            return 10000;
        default:
            return page;
    }
}

bool IsTablePage(const PageRow& row) {
    return row.kind == PageKind::SingleByte || row.kind == PageKind::DoubleByte || row.kind == PageKind::Ascii;
}

// ---- UTF-8 ------------------------------------------------------------------------------------------------------

// The character at the start of the bytes; its length goes to `length`. A bad sequence is U+FFFD: its lead byte with
// those following bytes that were looked at before it became impossible.
char32_t DecodeUtf8(std::string_view bytes, size_t& length, bool& valid) {
    const auto byte = [&bytes](size_t i) { return static_cast<unsigned char>(bytes[i]); };
    const unsigned char lead = byte(0);
    length = 1;
    valid = false;
    const size_t need = lead >= 0xC2 && lead < 0xE0   ? 2
                        : lead >= 0xE0 && lead < 0xF0 ? 3
                        : lead >= 0xF0 && lead < 0xF5 ? 4
                                                      : 0;
    if (need == 0) {
        return kReplacement;
    }
    char32_t code = lead & (0x7Fu >> need);
    for (; length < need; ++length) {
        if (length >= bytes.size() || (byte(length) & 0xC0) != 0x80) {
            return kReplacement;
        }
        code = code << 6 | (byte(length) & 0x3F);
        // After the second byte it is known whether the character can be one.
        const bool three = need == 3 && (code < 0x20 || (code >= 0xD800 >> 6 && code <= 0xDFFF >> 6));
        const bool four = need == 4 && (code < 0x10 || code > 0x10F);
        if (length == 1 && (three || four)) {
            ++length;
            return kReplacement;
        }
    }
    valid = true;
    return code;
}

// @return false: invalid bytes, and the conversion is strict.
bool FromUtf8(std::string_view bytes, bool strict, WideSink& sink) {
    while (!bytes.empty()) {
        if (static_cast<unsigned char>(bytes[0]) < 0x80) {
            sink.Put(static_cast<WCHAR>(bytes[0]));
            bytes.remove_prefix(1);
            continue;
        }
        size_t length = 0;
        bool valid = false;
        const char32_t code = DecodeUtf8(bytes, length, valid);
        if (!valid && strict) {
            return false;
        }
        if (code >= 0x10000) {
            sink.Put(static_cast<WCHAR>(0xD7C0 + (code >> 10)));
            sink.Put(static_cast<WCHAR>(0xDC00 + (code & 0x3FF)));
        } else {
            sink.Put(static_cast<WCHAR>(code));
        }
        bytes.remove_prefix(length);
    }
    return true;
}

bool ToUtf8(std::u16string_view text, bool strict, ByteSink& sink) {
    const auto put = [&sink](char32_t value) { sink.Put(static_cast<char>(static_cast<unsigned char>(value))); };
    for (size_t i = 0; i < text.size(); ++i) {
        char32_t code = text[i];
        if (IsHigh(text[i]) && i + 1 < text.size() && IsLow(text[i + 1])) {
            code = 0x10000 + ((code & 0x3FF) << 10) + (text[++i] & 0x3FFu);
        } else if (IsHigh(text[i]) || IsLow(text[i])) {
            if (strict) {
                return false;
            }
            code = kReplacement;
        }
        if (code < 0x80) {
            put(code);
            continue;
        }
        if (code < 0x800) {
            put(0xC0 | code >> 6);
        } else {
            if (code < 0x10000) {
                put(0xE0 | code >> 12);
            } else {
                put(0xF0 | code >> 18);
                put(0x80 | (code >> 12 & 0x3F));
            }
            put(0x80 | (code >> 6 & 0x3F));
        }
        put(0x80 | (code & 0x3F));
    }
    return true;
}

// ---- Tables -----------------------------------------------------------------------------------------------------

bool FromTable(const PageTable& table, std::string_view bytes, bool strict, WideSink& sink) {
    for (size_t i = 0; i < bytes.size(); ++i) {
        const BYTE byte = static_cast<BYTE>(bytes[i]);
        WCHAR unit = table.Single(byte);
        bool valid = !table.IsRefused(byte);
        if (table.IsLead(byte)) {
            // A lead byte takes the next one with it, whatever it is; but never the NUL that ends a text.
            const bool paired = i + 1 < bytes.size() && bytes[i + 1] != '\0';
            unit = paired ? table.Pair(byte, static_cast<BYTE>(bytes[++i])) : PageTable::kInvalid;
            valid = unit != PageTable::kInvalid;
        }
        if (!valid && strict) {
            return false;
        }
        sink.Put(unit == PageTable::kInvalid ? table.DefaultUnit() : unit);
    }
    return true;
}

void PutBytes(WORD bytes, ByteSink& sink) {
    if (bytes > 0xFF) {
        sink.Put(static_cast<char>(static_cast<BYTE>(bytes >> 8)));
    }
    sink.Put(static_cast<char>(static_cast<BYTE>(bytes)));
}

// What stands for a character that the page lacks, and whether it was needed.
struct Default {
    LPCSTR bytes = nullptr;  // the caller's own; null: the page's
    bool used = false;
};

void ToTable(const PageTable& table, std::u16string_view text, bool best_fit, Default& fallback, ByteSink& sink) {
    for (const WCHAR unit : text) {
        bool found = false;
        const WORD bytes = table.Bytes(unit, found);
        const bool exact = found && table.Decode(bytes) == unit;
        if (exact || (found && best_fit && bytes != table.DefaultBytes())) {
            PutBytes(bytes, sink);
            continue;
        }
        fallback.used = true;
        if (fallback.bytes) {
            sink.Put(fallback.bytes, std::char_traits<char>::length(fallback.bytes));
        } else {
            PutBytes(table.DefaultBytes(), sink);
        }
    }
}

// ---- Other pages ------------------------------------------------------------------------------------------------

struct ConverterCloser {
    void operator()(UConverter* converter) const { ::ucnv_close(converter); }
};

class IcuConversion {
public:
    explicit IcuConversion(const PageRow& row) {
        UErrorCode error = U_ZERO_ERROR;
        m_converter.reset(::ucnv_open(row.converter, &error));
        if (U_FAILURE(error)) {
            m_converter.reset();
            return;
        }
        ::ucnv_setFallback(m_converter.get(), true);
    }

    bool IsOpen() const { return m_converter != nullptr; }

    // @return false: invalid bytes, and the conversion is strict.
    bool FromBytes(std::string_view bytes, bool strict, WideSink& sink) {
        UErrorCode error = U_ZERO_ERROR;
        const bool context = strict;
        ::ucnv_setToUCallBack(m_converter.get(), OnBadBytes, &context, nullptr, nullptr, &error);
        const char* source = bytes.data();
        do {
            WCHAR part[1024];
            WCHAR* target = part;
            error = U_ZERO_ERROR;
            ::ucnv_toUnicode(m_converter.get(), &target, std::end(part), &source, bytes.data() + bytes.size(), nullptr,
                             true, &error);
            sink.Put(part, static_cast<size_t>(target - part));
        } while (error == U_BUFFER_OVERFLOW_ERROR);
        return U_SUCCESS(error);
    }

    bool ToBytes(std::u16string_view text, Default& fallback, ByteSink& sink) {
        UErrorCode error = U_ZERO_ERROR;
        ::ucnv_setFromUCallBack(m_converter.get(), OnLackingCharacter, &fallback, nullptr, nullptr, &error);
        const WCHAR* source = text.data();
        do {
            char part[1024];
            char* target = part;
            error = U_ZERO_ERROR;
            ::ucnv_fromUnicode(m_converter.get(), &target, std::end(part), &source, text.data() + text.size(), nullptr,
                               true, &error);
            sink.Put(part, static_cast<size_t>(target - part));
        } while (error == U_BUFFER_OVERFLOW_ERROR);
        return U_SUCCESS(error);
    }

private:
    static void OnBadBytes(const void* context, UConverterToUnicodeArgs* args, const char*, int32_t,
                           UConverterCallbackReason reason, UErrorCode* error) {
        if (reason > UCNV_IRREGULAR || *static_cast<const bool*>(context)) {
            return;
        }
        *error = U_ZERO_ERROR;
        constexpr WCHAR kDefault[] = {u'?'};
        ::ucnv_cbToUWriteUChars(args, kDefault, 1, 0, error);
    }

    static void OnLackingCharacter(const void* context, UConverterFromUnicodeArgs* args, const UChar*, int32_t length,
                                   UChar32, UConverterCallbackReason reason, UErrorCode* error) {
        if (reason > UCNV_IRREGULAR) {
            return;
        }
        *error = U_ZERO_ERROR;
        // ICU hands the context out as constant; it is the caller's own Default.
        auto& fallback = *static_cast<Default*>(const_cast<void*>(context));
        fallback.used = true;
        for (int32_t i = 0; i < length && U_SUCCESS(*error); ++i) {
            if (fallback.bytes) {
                ::ucnv_cbFromUWriteBytes(args, fallback.bytes,
                                         static_cast<int32_t>(std::char_traits<char>::length(fallback.bytes)), 0,
                                         error);
            } else {
                constexpr WCHAR kDefault[] = {u'?'};
                const WCHAR* source = kDefault;
                ::ucnv_cbFromUWriteUChars(args, &source, kDefault + 1, 0, error);
            }
        }
    }

    std::unique_ptr<UConverter, ConverterCloser> m_converter;
};

}  // namespace

int MultiByteToWideChar(UINT page, DWORD flags, LPCSTR bytes, int size, LPWSTR text, int room) {
    const void* const output = text;
    if (!bytes || size == 0 || room < 0 || (room != 0 && (!text || output == bytes))) {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    page = ResolvePage(page);
    const PageRow* const row = kvtwin::FindPage(page);
    if (page != CP_UTF8 && !row) {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    const DWORD allowed = page == CP_UTF8 || page == 54936 ? MB_ERR_INVALID_CHARS
                          : row->kind == PageKind::Bare    ? 0
                                                           : MB_PRECOMPOSED | MB_ERR_INVALID_CHARS;
    if (flags & ~allowed) {
        return Fail(ERROR_INVALID_FLAGS);
    }
    const std::string_view input(bytes,
                                 size < 0 ? std::char_traits<char>::length(bytes) + 1 : static_cast<size_t>(size));
    const bool strict = flags & MB_ERR_INVALID_CHARS;
    WideSink sink(text, room);
    bool valid = false;
    if (page == CP_UTF8) {
        valid = FromUtf8(input, strict, sink);
    } else if (IsTablePage(*row)) {
        const PageTable* const table = PageTable::Of(*row);
        if (!table) {
            return Fail(ERROR_NOT_ENOUGH_MEMORY);
        }
        valid = FromTable(*table, input, strict, sink);
    } else {
        IcuConversion conversion(*row);
        if (!conversion.IsOpen()) {
            return Fail(ERROR_INVALID_PARAMETER);
        }
        valid = conversion.FromBytes(input, strict, sink);
    }
    return valid ? sink.Finish() : Fail(ERROR_NO_UNICODE_TRANSLATION);
}

int WideCharToMultiByte(UINT page, DWORD flags, LPCWSTR text, int size, LPSTR bytes, int room, LPCSTR defaultChar,
                        LPBOOL usedDefault) {
    const void* const output = bytes;
    if (!text || size == 0 || room < 0 || (room != 0 && (!bytes || output == text))) {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    page = ResolvePage(page);
    const PageRow* const row = kvtwin::FindPage(page);
    if (page != CP_UTF8 && !row) {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    const bool bare = page == CP_UTF8 || row->kind == PageKind::Bare;
    if (bare && (defaultChar || usedDefault)) {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    const DWORD allowed = page == CP_UTF8 || page == 54936 ? WC_ERR_INVALID_CHARS : bare ? 0 : WC_NO_BEST_FIT_CHARS;
    if (flags & ~allowed) {
        return Fail(ERROR_INVALID_FLAGS);
    }
    const std::u16string_view input(text,
                                    size < 0 ? std::char_traits<WCHAR>::length(text) + 1 : static_cast<size_t>(size));
    const bool strict = flags & WC_ERR_INVALID_CHARS;
    Default fallback{defaultChar, false};
    ByteSink sink(bytes, room);
    bool valid = true;
    if (page == CP_UTF8) {
        valid = ToUtf8(input, strict, sink);
    } else if (IsTablePage(*row)) {
        const PageTable* const table = PageTable::Of(*row);
        if (!table) {
            return Fail(ERROR_NOT_ENOUGH_MEMORY);
        }
        ToTable(*table, input, !(flags & WC_NO_BEST_FIT_CHARS), fallback, sink);
    } else {
        IcuConversion conversion(*row);
        if (!conversion.IsOpen()) {
            return Fail(ERROR_INVALID_PARAMETER);
        }
        valid = conversion.ToBytes(input, fallback, sink) && !(strict && fallback.used);
    }
    if (usedDefault) {
        *usedDefault = fallback.used;
    }
    return valid ? sink.Finish() : Fail(ERROR_NO_UNICODE_TRANSLATION);
}

BOOL IsValidCodePage(UINT page) {
    return page == CP_UTF8 || kvtwin::FindPage(page);
}

UINT GetACP() {
    return kvtwin::Env().pages.ansi;
}

UINT GetOEMCP() {
    return kvtwin::Env().pages.oem;
}
