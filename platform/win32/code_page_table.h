#pragma once

/// @file
/// Conversion tables of the code pages with one or two bytes a character.

#include <memory>
#include <vector>

#include "code_page_names.h"
#include "wintypes.h"

namespace kvtwin {

/// Both directions of one page, built from ICU's converter and Windows' differences. Never changes once built.
class PageTable {
public:
    /// The table of a page of kind SingleByte, DoubleByte or Ascii; null when ICU lacks the converter or memory is
    /// short. Built at the first call, kept until the library is unloaded. The pointer stays good until then.
    static const PageTable* Of(const PageRow& row);

    static constexpr WCHAR kInvalid = 0xFFFF;  ///< Stands for bytes without a character.

    bool IsLead(BYTE byte) const { return m_kinds[byte] == Kind::Lead; }
    /// Whether a byte is invalid for a strict conversion.
    bool IsRefused(BYTE byte) const { return m_kinds[byte] == Kind::Refused; }
    WCHAR Single(BYTE byte) const { return m_single[byte]; }
    WCHAR Pair(BYTE lead, BYTE trail) const { return m_pairs[PairIndex(lead, trail)]; }

    /// The bytes of a character as a number (above 255: two bytes); `found` false when it has none.
    WORD Bytes(WCHAR unit, bool& found) const {
        const WORD bytes = m_bytes[unit];
        found = bytes != 0 || unit == 0;
        return bytes;
    }
    /// The character of bytes that Bytes gave: another one than the unit when they are only similar.
    WCHAR Decode(WORD bytes) const {
        return bytes > 0xFF ? Pair(static_cast<BYTE>(bytes >> 8), static_cast<BYTE>(bytes)) : m_single[bytes];
    }
    /// What Windows writes for a character without bytes, and reads for bytes without a character.
    WORD DefaultBytes() const { return m_default_bytes; }
    WCHAR DefaultUnit() const { return m_default_unit; }

private:
    enum class Kind : BYTE { Plain, Refused, Lead };
    friend class PageTableBuilder;

    static size_t PairIndex(BYTE lead, BYTE trail) { return static_cast<size_t>(lead - 0x80) << 8 | trail; }

    WCHAR m_single[256];
    Kind m_kinds[256];
    WORD m_default_bytes = '?';
    WCHAR m_default_unit = u'?';
    std::vector<WCHAR> m_pairs;
    std::vector<WORD> m_bytes;
};

}  // namespace kvtwin
