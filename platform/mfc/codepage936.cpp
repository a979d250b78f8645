// The tables of code page 936: every double byte to its unit, every unit to its bytes.
#include "platform/mfc/codepage936.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <type_traits>
#include <vector>

#include "kvtfile/types.h"

namespace kvtmfc::codepage936 {

namespace {

constexpr UINT page = 936;
constexpr unsigned firstLead = 0x81;
constexpr unsigned lastLead = 0xFE;
constexpr WORD lost = 0;

bool IsLead(unsigned byte) {
    return byte >= firstLead && byte <= lastLead;
}

bool IsTrail(unsigned byte) {
    return byte >= 0x40 && byte <= 0xFE && byte != 0x7F;
}

// The one unit that a character's bytes stand for.
WCHAR UnitOf(const char* bytes, int count) {
    WCHAR units[4];
    return ::MultiByteToWideChar(page, 0, bytes, count, units, 4) == 1 ? units[0] : WCHAR{'?'};
}

class Tables {
public:
    Tables() {
        m_pairs.fill(WCHAR{'?'});
        m_units.fill(lost);
        ReadPairs();
        ReadUnits();
    }

    WCHAR Single(unsigned byte) const { return m_singles[byte]; }
    WCHAR Pair(unsigned lead, unsigned trail) const { return m_pairs[((lead - firstLead) << 8) | trail]; }
    /// One byte below 0x100, or a lead byte in the high half; `lost` when the page lacks the unit.
    WORD Bytes(WCHAR unit) const { return m_units[static_cast<size_t>(unit)]; }

private:
    void ReadPairs() {
        for (unsigned byte = 0; byte < 0x100; ++byte) {
            const char single = static_cast<char>(byte);
            m_singles[byte] = byte < 0x80 ? static_cast<WCHAR>(byte) : IsLead(byte) ? WCHAR{'?'} : UnitOf(&single, 1);
        }
        // All pairs go through one conversion; each is one unit.
        std::string bytes;
        std::vector<size_t> places;
        for (unsigned lead = firstLead; lead <= lastLead; ++lead) {
            for (unsigned trail = 0; trail < 0x100; ++trail) {
                if (IsTrail(trail)) {
                    bytes += static_cast<char>(lead);
                    bytes += static_cast<char>(trail);
                    places.push_back(((lead - firstLead) << 8) | trail);
                }
            }
        }
        const CString units = CString::FromCodePage(bytes, page);
        const bool aligned = static_cast<size_t>(units.GetLength()) == places.size();
        for (size_t i = 0; i < places.size(); ++i) {
            m_pairs[places[i]] = aligned ? units.GetString()[i] : UnitOf(bytes.data() + 2 * i, 2);
        }
    }

    void ReadUnits() {
        CString units;
        for (unsigned unit = 0x80; unit < 0x10000; ++unit) {
            if (unit < 0xD800 || unit > 0xDFFF) {
                units.AppendChar(static_cast<WCHAR>(unit));
            }
        }
        // The bytes of all units in a row tell themselves apart; the page's default character stands for what it lacks.
        const std::string bytes = units.ToCodePage(page);
        size_t at = 0;
        for (int i = 0; i < units.GetLength() && at < bytes.size(); ++i) {
            const unsigned first = static_cast<unsigned char>(bytes[at]);
            const bool isPair = IsLead(first) && at + 1 < bytes.size();
            const unsigned second = isPair ? static_cast<unsigned char>(bytes[at + 1]) : 0;
            at += isPair ? 2 : 1;
            m_units[static_cast<size_t>(units.GetString()[i])] = static_cast<WORD>(isPair ? (first << 8) | second
                                                                                   : first == '?' ? lost
                                                                                                  : first);
        }
    }

    std::array<WCHAR, 0x100> m_singles;
    std::array<WCHAR, size_t{lastLead - firstLead + 1} << 8> m_pairs;
    std::array<WORD, 0x10000> m_units;
};

// Stores that live longer than the tables' first user still save their files: nothing of the tables ends before them.
static_assert(std::is_trivially_destructible_v<Tables>);

const Tables& TheTables() {
    static const Tables tables;
    return tables;
}

size_t AsciiLength(std::string_view bytes) {
    size_t length = 0;
    for (; length + 8 <= bytes.size(); length += 8) {
        uint64_t block;
        std::memcpy(&block, bytes.data() + length, 8);
        if (block & 0x8080808080808080u) {
            break;
        }
    }
    while (length < bytes.size() && static_cast<unsigned char>(bytes[length]) < 0x80) {
        ++length;
    }
    return length;
}

// How much of the text stands in its bytes unit by unit.
size_t PlainLength(WideView text) {
    size_t length = 0;
    while (length < text.size() && text[length] < 0x80 && text[length] != '\n') {
        ++length;
    }
    return length;
}

bool IsHighHalf(WCHAR unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}

bool IsLowHalf(WCHAR unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

}  // namespace

CString Decode(std::string_view bytes) {
    CString text;
    if (bytes.empty()) {
        return text;
    }
    if (bytes.size() >= 0x7FFFFFFF) {
        AfxThrowMemoryException();
    }
    WCHAR* const start = text.GetBuffer(static_cast<int>(bytes.size()));
    const unsigned char* from = reinterpret_cast<const unsigned char*>(bytes.data());
    const unsigned char* const end = from + bytes.size();
    const size_t ascii = AsciiLength(bytes);
    WCHAR* to = std::copy(from, from + ascii, start);
    from += ascii;
    if (from != end) {
        const Tables& tables = TheTables();
        while (from != end) {
            if (!IsLead(*from)) {
                *to++ = tables.Single(*from++);
            } else if (end - from == 1) {
                *to++ = '?';
                ++from;
            } else {
                *to++ = tables.Pair(from[0], from[1]);
                from += 2;
            }
        }
    }
    text.ReleaseBufferSetLength(static_cast<int>(to - start));
    return text;
}

size_t AppendEncoded(WideView text, std::string& bytes) {
    size_t lostCount = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        const size_t plain = PlainLength(text.substr(i));
        if (plain != 0) {
            const size_t end = bytes.size();
            bytes.resize(end + plain);
            std::transform(text.begin() + static_cast<ptrdiff_t>(i), text.begin() + static_cast<ptrdiff_t>(i + plain),
                           bytes.begin() + static_cast<ptrdiff_t>(end), [](WCHAR c) { return static_cast<char>(c); });
            i += plain - 1;
            continue;
        }
        const WCHAR unit = text[i];
        if (unit == '\n') {
            bytes += "\r\n";
            continue;
        }
        const WORD code = TheTables().Bytes(unit);
        if (code == lost) {
            bytes += '?';
            ++lostCount;
            if (IsHighHalf(unit) && i + 1 < text.size() && IsLowHalf(text[i + 1])) {
                ++i;
            }
            continue;
        }
        if (code > 0xFF) {
            bytes += static_cast<char>(code >> 8);
        }
        bytes += static_cast<char>(code & 0xFF);
    }
    return lostCount;
}

}  // namespace kvtmfc::codepage936
