// Builds the tables of code pages.
//
// Every byte and pair is decoded once by ICU; all characters are encoded in one ICU call, whose offsets tell which
// bytes belong to which. Then Windows' differences and similar characters are entered. A table takes some milliseconds.

#include "code_page_table.h"

#include <unicode/ucnv.h>
#include <unicode/ucnv_err.h>

#include <algorithm>
#include <mutex>
#include <new>
#include <optional>
#include <string_view>
#include <utility>

namespace kvtwin {

namespace {

struct ConverterCloser {
    void operator()(UConverter* converter) const { ::ucnv_close(converter); }
};
using Converter = std::unique_ptr<UConverter, ConverterCloser>;

Converter OpenConverter(const char* name) {
    UErrorCode error = U_ZERO_ERROR;
    Converter converter(::ucnv_open(name, &error));
    if (U_FAILURE(error)) {
        return nullptr;
    }
    ::ucnv_setFallback(converter.get(), true);
    ::ucnv_setToUCallBack(converter.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &error);
    ::ucnv_setFromUCallBack(converter.get(), UCNV_FROM_U_CALLBACK_SKIP, nullptr, nullptr, nullptr, &error);
    return converter;
}

// Control characters that some of the DOS tables exchange, as their screens showed them.
constexpr BYTE kControls[] = {0x1A, 0x1C, 0x7F};

constexpr bool IsSurrogate(WCHAR unit) {
    return (unit & 0xF800) == 0xD800;
}

// The tables in use. After the destructor a table may be asked for once more, while the process ends: it is built anew
// and kept.
struct Cache {
    struct Entry {
        UINT page;
        std::unique_ptr<PageTable> table;
        std::unique_ptr<Entry> next;
    };
    std::mutex mutex;
    Entry* head = nullptr;

    ~Cache() {
        std::unique_ptr<Entry> all(std::exchange(head, nullptr));
        while (all) {
            all = std::move(all->next);
        }
    }
};

constinit Cache g_cache;

}  // namespace

class PageTableBuilder {
public:
    PageTableBuilder(const PageRow& row, PageTable& table) : m_row(row), m_table(table) {}

    bool Build() {
        m_converter = OpenConverter(m_row.converter);
        if (!m_converter) {
            return false;
        }
        ReadBytes();
        EnterByteRows();
        EnterControls();
        if (!WriteUnits()) {
            return false;
        }
        DropSymbolsOfControls();
        EnterOwnBytes();
        m_table.m_default_bytes = m_table.m_bytes[u'?'];
        m_table.m_default_unit = m_row.page == 932 ? u'\u30FB' : u'?';
        EnterSimilar();
        return true;
    }

private:
    // The character of one or two bytes; nullopt when they are cut, kInvalid when they have none.
    std::optional<WCHAR> Decode(std::string_view bytes) {
        WCHAR units[4];
        WCHAR* target = units;
        const char* source = bytes.data();
        UErrorCode error = U_ZERO_ERROR;
        ::ucnv_resetToUnicode(m_converter.get());
        ::ucnv_toUnicode(m_converter.get(), &target, units + 4, &source, bytes.data() + bytes.size(), nullptr, true,
                         &error);
        if (error == U_TRUNCATED_CHAR_FOUND) {
            return std::nullopt;
        }
        return U_SUCCESS(error) && target == units + 1 ? units[0] : PageTable::kInvalid;
    }

    void ReadBytes() {
        using Kind = PageTable::Kind;
        const bool pairs = m_row.kind == PageKind::DoubleByte;
        if (pairs) {
            m_table.m_pairs.assign(0x80 * 0x100, PageTable::kInvalid);
        }
        for (int byte = 0; byte < 256; ++byte) {
            const char text[1] = {static_cast<char>(byte)};
            const std::optional<WCHAR> unit =
                m_row.kind == PageKind::Ascii ? static_cast<WCHAR>(byte & 0x7F) : Decode({text, 1});
            const bool lead = pairs && !unit && byte >= 0x80;
            m_table.m_single[byte] = unit.value_or(PageTable::kInvalid);
            m_table.m_kinds[byte] = lead                                            ? Kind::Lead
                                    : m_table.m_single[byte] == PageTable::kInvalid ? Kind::Refused
                                                                                    : Kind::Plain;
            for (int trail = 0x40; lead && trail < 0xFF; ++trail) {
                const char pair[2] = {static_cast<char>(byte), static_cast<char>(trail)};
                m_table.m_pairs[PageTable::PairIndex(static_cast<BYTE>(byte), static_cast<BYTE>(trail))] =
                    Decode({pair, 2}).value_or(PageTable::kInvalid);
            }
        }
    }

    void EnterByteRows() {
        for (const ByteRow& row : ByteRows()) {
            for (int i = 0; row.page == m_row.page && i < row.count; ++i) {
                m_table.m_single[row.first + i] = static_cast<WCHAR>(row.unit + i);
                m_table.m_kinds[row.first + i] = row.refused ? PageTable::Kind::Refused : PageTable::Kind::Plain;
            }
        }
    }

    void EnterControls() {
        if (m_table.m_single[u'A'] == u'A') {
            for (const BYTE control : kControls) {
                m_table.m_single[control] = control;
            }
        }
    }

    bool WriteUnits() {
        constexpr int kUnits = 0x10000 - 0x800;  // without the surrogates
        std::vector<WCHAR> units;
        units.reserve(kUnits);
        for (int unit = 0; unit < 0x10000; ++unit) {
            if (!IsSurrogate(static_cast<WCHAR>(unit))) {
                units.push_back(static_cast<WCHAR>(unit));
            }
        }
        std::vector<char> bytes(kUnits * 4);
        std::vector<int32_t> offsets(bytes.size());
        char* target = bytes.data();
        const WCHAR* source = units.data();
        UErrorCode error = U_ZERO_ERROR;
        ::ucnv_fromUnicode(m_converter.get(), &target, bytes.data() + bytes.size(), &source,
                           units.data() + units.size(), offsets.data(), true, &error);
        if (U_FAILURE(error)) {
            return false;
        }
        m_table.m_bytes.assign(0x10000, 0);
        const size_t size = static_cast<size_t>(target - bytes.data());
        for (size_t i = 0; i < size; ++i) {
            if (offsets[i] >= 0) {
                WORD& entry = m_table.m_bytes[units[static_cast<size_t>(offsets[i])]];
                entry = static_cast<WORD>(entry << 8 | static_cast<BYTE>(bytes[i]));
            }
        }
        return true;
    }

    // ICU writes the half-width arrows of 936 as the control characters whose places they have on a DOS screen; Windows
    // does so in the DOS pages only.
    void DropSymbolsOfControls() {
        constexpr WORD kFirstPrintable = 0x20;
        for (size_t unit = 0x80; m_row.kind == PageKind::DoubleByte && unit < m_table.m_bytes.size(); ++unit) {
            if (m_table.m_bytes[unit] < kFirstPrintable) {
                m_table.m_bytes[unit] = 0;
            }
        }
    }

    // Where the bytes were changed, the characters follow: each single byte's own character is written as that byte,
    // and nothing is written as a byte that now stands for something else.
    void EnterOwnBytes() {
        for (const ByteRow& row : ByteRows()) {
            for (int i = 0; row.page == m_row.page && i < row.count; ++i) {
                TakeByte(static_cast<BYTE>(row.first + i));
            }
        }
        if (m_table.m_single[u'A'] == u'A') {
            for (const BYTE control : kControls) {
                TakeByte(control);
            }
        }
    }

    void TakeByte(BYTE byte) {
        const WCHAR own = m_table.m_single[byte];
        for (size_t unit = 1; unit < m_table.m_bytes.size(); ++unit) {
            if (m_table.m_bytes[unit] == byte && unit != own) {
                m_table.m_bytes[unit] = 0;
            }
        }
        const WORD present = m_table.m_bytes[own];
        if (present == 0 || m_table.Decode(present) != own) {
            m_table.m_bytes[own] = byte;
        }
    }

    void EnterSimilar() {
        if (m_row.best_fit == BestFit::None) {
            return;
        }
        for (size_t i = 0x80; i < m_table.m_bytes.size(); ++i) {
            const WCHAR unit = static_cast<WCHAR>(i);
            if (m_table.m_bytes[i] != 0) {
                continue;
            }
            const WCHAR western = m_row.best_fit == BestFit::Western ? SimilarInWestern(unit) : u'\0';
            m_table.m_bytes[i] = western ? m_table.m_bytes[western] : WORD{0};
            if (m_table.m_bytes[i] == 0) {
                m_table.m_bytes[i] = m_table.m_bytes[SimilarInAscii(unit)];
            }
        }
    }

    const PageRow& m_row;
    PageTable& m_table;
    Converter m_converter;
};

const PageTable* PageTable::Of(const PageRow& row) {
    const std::lock_guard lock(g_cache.mutex);
    for (const Cache::Entry* entry = g_cache.head; entry; entry = entry->next.get()) {
        if (entry->page == row.page) {
            return entry->table.get();
        }
    }
    try {
        auto table = std::make_unique<PageTable>();
        if (!PageTableBuilder(row, *table).Build()) {
            return nullptr;
        }
        g_cache.head = new Cache::Entry{row.page, std::move(table), std::unique_ptr<Cache::Entry>(g_cache.head)};
        return g_cache.head->table.get();
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

}  // namespace kvtwin
