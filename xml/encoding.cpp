// The encoding operations of CFXmlFile on characters and buffers, and the conversion between code pages and wide text.
// UTF-8 is converted here, the same on every system; every other code page by the system in one call.

#include "kvtfile/XmlFile.h"

#include <climits>
#include <cstring>
#include <memory>
#include <new>

#include "xml/encoding_names.h"
#include "xml/utf.h"

namespace kvtfile {

namespace {

constexpr int g_unknownPage = -1;
constexpr int g_utf32Page = 65005;
constexpr int g_longestName = 99;

std::size_t Count(int length) {
    return length > 0 ? static_cast<std::size_t>(length) : 0;
}

/// The code page to convert with: an empty or unknown name stands for the ANSI code page, by its true number.
UINT PageOf(int page) {
    return page <= 0 ? ::GetACP() : static_cast<UINT>(page);
}

/// Whether the system tells of characters that such a page lacks, and lets us refuse similar ones. The pages that shift
/// states and those that hold all of Unicode take no such argument.
bool ReportsLoss(UINT page) {
    const auto isIn = [page](UINT first, UINT last) { return page >= first && page <= last; };
    return page != CP_SYMBOL && page != CP_UTF7 && page != 52936 && page != 54936 && !isIn(50220, 50229) &&
           !isIn(57002, 57011);
}

/// Whether the bytes are the text's and nothing was lost on the way to them.
bool ComesBack(UINT page, LPCWSTR text, int length, const char* bytes, int size) {
    const std::unique_ptr<WCHAR[]> back(new (std::nothrow) WCHAR[Count(length)]);
    return back && ::MultiByteToWideChar(page, 0, bytes, size, back.get(), length) == length &&
           std::memcmp(back.get(), text, Count(length) * sizeof(WCHAR)) == 0;
}

int TooLarge() {
    ::SetLastError(ERROR_FILE_TOO_LARGE);
    return 0;
}

int TooSmall() {
    ::SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return 0;
}

int ToWide(UINT page, const void* from, int count, void* out, int room) {
    const char* const bytes = static_cast<const char*>(from);
    WCHAR* const text = static_cast<WCHAR*>(out);
    if (page != CP_UTF8) {
        return ::MultiByteToWideChar(page, 0, bytes, count, text, text ? room : 0);
    }
    // No byte gives more than one unit, so that the length matters to a smaller room only.
    if (!text || room < count) {
        const int needed = CFXmlFile::UTF8To16(nullptr, bytes, count);
        if (!text) {
            return needed;
        }
        if (needed > room) {
            return TooSmall();
        }
    }
    return CFXmlFile::UTF8To16(text, bytes, count);
}

int ToUtf8(const WCHAR* text, int count, char* bytes, int room, bool& lost) {
    // No unit gives more than three bytes.
    if (!bytes || room / 3 < count) {
        const std::size_t needed = utf::Length8(text, Count(count));
        if (needed > INT_MAX) {
            return TooLarge();
        }
        if (!bytes) {
            return static_cast<int>(needed);
        }
        if (needed > Count(room)) {
            return TooSmall();
        }
    }
    std::size_t replaced = 0;
    const std::size_t size = utf::To8(text, Count(count), bytes, replaced);
    lost = replaced != 0;
    return static_cast<int>(size);
}

int FromWide(UINT page, const void* from, int count, void* out, int room, bool& lost) {
    const WCHAR* const text = static_cast<const WCHAR*>(from);
    char* const bytes = static_cast<char*>(out);
    if (page == CP_UTF8) {
        return ToUtf8(text, count, bytes, room, lost);
    }
    if (!bytes) {
        room = 0;
    }
    if (ReportsLoss(page)) {
        // Similar characters are refused, so that whatever would not be the same when read again counts as lost.
        BOOL usedDefault = FALSE;
        const int size =
            ::WideCharToMultiByte(page, WC_NO_BEST_FIT_CHARS, text, count, bytes, room, nullptr, &usedDefault);
        lost = usedDefault != FALSE;
        return size;
    }
    const int size = ::WideCharToMultiByte(page, 0, text, count, bytes, room, nullptr, nullptr);
    lost = bytes && size > 0 && !ComesBack(page, text, count, bytes, size);
    return size;
}

}  // namespace

bool CFXmlFile::DetectUTF8(const char* bytes, int length, int* count) {
    std::size_t sequences = 0;
    bool valid = true;
    if (bytes && length > 0) {
        const void* const nul = std::memchr(bytes, 0, Count(length));
        const std::size_t size = nul ? static_cast<std::size_t>(static_cast<const char*>(nul) - bytes) : Count(length);
        valid = utf::IsValid8(bytes, size, sequences);
    }
    if (count) {
        *count = static_cast<int>(sequences);
    }
    return valid;
}

int CFXmlFile::UTF8To16(WCHAR* out, const char* in, int length) {
    if (!in) {
        return 0;
    }
    const std::size_t units = out ? utf::To16(in, Count(length), out) : utf::Length16(in, Count(length));
    return static_cast<int>(units);
}

int CFXmlFile::UTF16To8(char* out, const WCHAR* in, int length) {
    if (!in) {
        return 0;
    }
    std::size_t replaced = 0;
    const std::size_t bytes = out ? utf::To8(in, Count(length), out, replaced) : utf::Length8(in, Count(length));
    return bytes > INT_MAX ? TooLarge() : static_cast<int>(bytes);
}

int CFXmlFile::DecodeCharUTF8(const char*& p, const char* end) {
    return p < end ? utf::Decode8(p, end) : -1;
}

int CFXmlFile::DecodeCharUTF16(const WCHAR*& p, const WCHAR* end) {
    return p < end ? utf::Decode16(p, end) : -1;
}

void CFXmlFile::EncodeCharUTF8(int codePoint, char* out, int& length) {
    char bytes[4];
    char* end = bytes;
    utf::Encode8(codePoint, end);
    if (out) {
        std::memcpy(out + length, bytes, static_cast<std::size_t>(end - bytes));
    }
    length += static_cast<int>(end - bytes);
}

void CFXmlFile::EncodeCharUTF16(int codePoint, WCHAR* out, int& length) {
    WCHAR units[2];
    WCHAR* end = units;
    utf::Encode16(codePoint, end);
    if (out) {
        std::memcpy(out + length, units, static_cast<std::size_t>(end - units) * sizeof(WCHAR));
    }
    length += static_cast<int>(end - units);
}

bool CFXmlFile::x_EndianSwapRequired(int flags) {
    return (flags & docUtf16Be) != 0;
}

void CFXmlFile::x_EndianSwapUTF16(WCHAR* buffer, int count) {
    utf::SwapBytes(buffer, Count(count));
}

int CFXmlFile::x_GetEncodingCodePage(LPCWSTR name) {
    if (!name || *name == 0) {
        return 0;
    }
    const CString given(name);
    if (given.Left(6) == _T("UTF-32")) {
        return g_utf32Page;
    }
    if (given.GetLength() > g_longestName) {
        return g_unknownPage;
    }
    WCHAR folded[g_longestName];
    for (int i = 0; i < given.GetLength(); ++i) {
        const WCHAR c = name[i];
        folded[i] = c >= _T('A') && c <= _T('Z') ? static_cast<WCHAR>(c - _T('A') + _T('a')) : c;
    }
    return LookupEncoding(folded, given.GetLength());
}

int CFXmlFile::x_ConvertEncoding(ConvertRequest& request, void* out) {
    request.lost = false;
    if (request.fromCount <= 0) {
        return 0;
    }
    const UINT page = PageOf(x_GetEncodingCodePage(request.encoding));
    return request.toWide ? ToWide(page, request.from, request.fromCount, out, request.room)
                          : FromWide(page, request.from, request.fromCount, out, request.room, request.lost);
}

}  // namespace kvtfile
