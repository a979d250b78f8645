// Case folding of UTF-16 units by one table: the simple (one to one) mappings of Unicode, whatever the locale, the same
// on every target. Texts, registers and indexes all compare by it.
#pragma once

#include "base.h"

namespace kvtmfc {

namespace detail {
KVTFILE_API WCHAR FoldLowerByTable(WCHAR character) noexcept;
KVTFILE_API WCHAR FoldUpperByTable(WCHAR character) noexcept;
}  // namespace detail

/// The lower-case or upper-case form of one UTF-16 unit; units without one (also surrogates) stay as they are. Nothing
/// outside ASCII folds into ASCII (U+0130, U+0131, U+017F and the Kelvin sign keep their form), and ß has no upper-case
/// unit.
inline WCHAR FoldLower(WCHAR character) noexcept {
    if (character < 0x80)
        return static_cast<WCHAR>(character >= 'A' && character <= 'Z' ? character + 0x20 : character);
    return detail::FoldLowerByTable(character);
}
inline WCHAR FoldUpper(WCHAR character) noexcept {
    if (character < 0x80)
        return static_cast<WCHAR>(character >= 'a' && character <= 'z' ? character - 0x20 : character);
    return detail::FoldUpperByTable(character);
}

/// Compares two NUL-terminated texts in lower case, unit by unit: negative, 0 or positive. REQUIRES: neither is null.
KVTFILE_API int CompareNoCase(LPCWSTR left, LPCWSTR right) noexcept;

}  // namespace kvtmfc
