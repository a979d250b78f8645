#pragma once

/// @file
/// The code pages that the library converts, and where Windows' tables differ from ICU's.

#include <span>
#include <string_view>

#include "wintypes.h"

namespace kvtwin {

/// How a page is converted.
enum class PageKind : BYTE {
    SingleByte,  ///< Through a table of 256 characters.
    DoubleByte,  ///< Through a table of lead and trail bytes.
    Ascii,       ///< 7 bits, the eighth ignored.
    Stream,      ///< By ICU: shift states, or more than two bytes a character.
    Bare         ///< As Stream, and Windows takes no flags and no default character for it.
};

/// Which similar characters stand for those that a page lacks, beyond those that its ICU table has.
enum class BestFit : BYTE { None, Ascii, Western };

struct PageRow {
    UINT page;
    const char* converter;  ///< ICU's name.
    PageKind kind;
    BestFit best_fit;
};

/// The page's row; null when it is not known. UTF-8 has none: it needs no table.
const PageRow* FindPage(UINT page);

/// Bytes whose character on Windows is not ICU's: `count` bytes from `first` are the characters from `unit`.
struct ByteRow {
    UINT page;
    BYTE first;
    WCHAR unit;
    BYTE count;
    bool refused;  ///< The byte is invalid for MB_ERR_INVALID_CHARS.
};

std::span<const ByteRow> ByteRows();

/// The similar character that stands for a character in pages of this kind; 0: none.
WCHAR SimilarInAscii(WCHAR unit);
WCHAR SimilarInWestern(WCHAR unit);

}  // namespace kvtwin
