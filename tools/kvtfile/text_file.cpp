// Conversions go through the engine's own, so that what is foreseen here is what a save does.

#include "tools/kvtfile/text_file.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "kvtfile/FileUtil.h"
#include "tools/kvtfile/report.h"

namespace kvtcommand {

namespace {

using kvtfile::CFXmlFile;

/// Reaches the engine's conversions.
class Converter : public CFXmlFile {
public:
    static std::string Encode(const CString& encoding, const CString& text) {
        ConvertRequest request;
        request.encoding = encoding;
        request.from = static_cast<LPCWSTR>(text);
        request.fromCount = text.GetLength();
        return Convert<std::string>(request);
    }

    static std::vector<WCHAR> Decode(const CString& encoding, const std::string& bytes) {
        ConvertRequest request;
        request.encoding = encoding;
        request.from = bytes.data();
        request.fromCount = static_cast<int>(bytes.size());
        request.toWide = true;
        return Convert<std::vector<WCHAR>>(request);
    }

    using CFXmlFile::x_GetLastError;

private:
    template <class Units>
    static Units Convert(ConvertRequest& request) {
        request.room = x_ConvertEncoding(request, nullptr);
        Units units(static_cast<size_t>(request.room), 0);
        if (!units.empty()) {
            x_ConvertEncoding(request, units.data());
        }
        return units;
    }
};

std::string Utf16Bytes(const CString& text, bool bigEndian) {
    std::string bytes;
    bytes.reserve(static_cast<size_t>(text.GetLength()) * 2 + 2);
    const auto add = [&](unsigned unit) {
        const char low = static_cast<char>(unit & 0xFF);
        const char high = static_cast<char>(unit >> 8);
        bytes += bigEndian ? high : low;
        bytes += bigEndian ? low : high;
    };
    add(0xFEFF);
    for (int i = 0; i < text.GetLength(); ++i) {
        add(static_cast<unsigned>(text[i]));
    }
    return bytes;
}

/// The whole file, its mark included, that the text gives.
std::string FileBytes(const Encoding& encoding, const CString& text) {
    if (encoding.IsUtf16()) {
        return Utf16Bytes(text, (encoding.flags & CFXmlFile::docUtf16Be) != 0);
    }
    const std::string mark = (encoding.flags & CFXmlFile::docUtf8Mark) != 0 ? "\xEF\xBB\xBF" : "";
    return text.IsEmpty() ? mark : mark + Converter::Encode(encoding.name, text);
}

/// The text as it is after having been written and read again. UTF-16 holds every text.
std::vector<WCHAR> RoundTrip(const Encoding& encoding, const CString& text) {
    return Converter::Decode(encoding.name, Converter::Encode(encoding.name, text));
}

bool IsHighSurrogate(unsigned unit) {
    return unit >= 0xD800 && unit < 0xDC00;
}
bool IsLowSurrogate(unsigned unit) {
    return unit >= 0xDC00 && unit < 0xE000;
}

unsigned UnitAt(const CString& text, int at) {
    return at < text.GetLength() ? static_cast<unsigned>(text[at]) : 0u;
}

bool IsPairAt(const CString& text, int at) {
    return IsHighSurrogate(UnitAt(text, at)) && IsLowSurrogate(UnitAt(text, at + 1));
}

bool IsXmlUnitAt(const CString& text, int at) {
    const unsigned unit = UnitAt(text, at);
    if (IsHighSurrogate(unit)) {
        return IsPairAt(text, at);
    }
    if (IsLowSurrogate(unit)) {
        return at > 0 && IsPairAt(text, at - 1);
    }
    return unit < 0x20 ? unit == '\t' || unit == '\n' || unit == '\r' : unit < 0xFFFE;
}

}  // namespace

Place PlaceOf(const CString& text, int offset) {
    Place place;
    for (int i = 0; i < std::min(offset, text.GetLength()); ++i) {
        const bool lineFeed = text[i] == _T('\n');
        if (lineFeed || (text[i] == _T('\r') && UnitAt(text, i + 1) != '\n')) {
            ++place.line;
            place.column = 1;
        } else if (!(i > 0 && IsPairAt(text, i - 1))) {
            ++place.column;
        }
    }
    return place;
}

bool Encoding::IsUtf16() const {
    return (flags & (CFXmlFile::docUtf16Le | CFXmlFile::docUtf16Be)) != 0;
}

std::string Encoding::Label() const {
    return name.IsEmpty() ? "ANSI" : Utf8(name);
}

Encoding EncodingOnSave(const CString& text, int flags) {
    Encoding encoding;
    encoding.flags = flags;
    if (encoding.IsUtf16()) {
        encoding.name = (flags & CFXmlFile::docUtf16Be) != 0 ? _T("UTF-16BE") : _T("UTF-16LE");
        return encoding;
    }
    encoding.name = CFXmlFile::GetDeclaredEncoding(text);
    if (encoding.name.IsEmpty() && UnitAt(text, 0) == '<') {
        encoding.name = _T("UTF-8");
    }
    return encoding;
}

FileName::FileName(const std::string& text) : given(text) {
    const CString wide = Wide(text);
    const DWORD size = ::GetFullPathNameW(wide, 0, nullptr, nullptr);
    const DWORD length =
        size == 0 ? 0 : ::GetFullPathNameW(wide, size, full.GetBuffer(static_cast<int>(size)), nullptr);
    full.ReleaseBuffer(static_cast<int>(length));
    if (length == 0 || length >= size) {
        throw Failure(exitUsage, Quoted(wide) + " is not a path", "Name a file.");
    }
}

std::string SystemText(DWORD error) {
    ::SetLastError(error);
    return Utf8(Converter::x_GetLastError());
}

bool FileExists(const CString& path) {
    const DWORD attributes = ::GetFileAttributesW(path);
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

std::string ReadBytes(const CString& path, const std::string& shown) {
    const auto fail = [&](DWORD error) { throw Failure(exitFormat, shown + ": " + SystemText(error), kReadAdvice); };
    const HANDLE file = ::CreateFileW(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                      nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        fail(::GetLastError());
    }
    std::string bytes;
    std::vector<char> part(1 << 16);
    DWORD got = 0;
    BOOL done = FALSE;
    while ((done = ::ReadFile(file, part.data(), static_cast<DWORD>(part.size()), &got, nullptr)) && got != 0) {
        bytes.append(part.data(), got);
    }
    const DWORD error = ::GetLastError();
    ::CloseHandle(file);
    if (!done) {
        fail(error);
    }
    return bytes;
}

void WriteBytes(const CString& path, const std::string& shown, const std::string& bytes) {
    const auto fail = [&](DWORD error) { throw Failure(exitFormat, shown + ": " + SystemText(error), kWriteAdvice); };
    // The whole new file takes the old one's place.
    WCHAR temporary[MAX_PATH] = {};
    if (::GetTempFileNameW(kvtfile::GetFilePath(path), _T("kvt"), 0, temporary) == 0) {
        fail(::GetLastError());
    }
    const HANDLE file = ::CreateFileW(temporary, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    DWORD error = file == INVALID_HANDLE_VALUE ? ::GetLastError() : ERROR_SUCCESS;
    for (size_t at = 0; error == ERROR_SUCCESS && at < bytes.size();) {
        const auto count = static_cast<DWORD>(std::min<size_t>(bytes.size() - at, 1 << 20));
        DWORD written = 0;
        error = ::WriteFile(file, bytes.data() + at, count, &written, nullptr) ? ERROR_SUCCESS : ::GetLastError();
        at += written;
    }
    if (file != INVALID_HANDLE_VALUE) {
        ::CloseHandle(file);
    }
    if (error == ERROR_SUCCESS && !::MoveFileExW(temporary, path, MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) {
        error = ::GetLastError();
    }
    if (error != ERROR_SUCCESS) {
        ::DeleteFileW(temporary);
        fail(error);
    }
}

std::string CharacterAt(const CString& text, int at) {
    const bool pair = IsPairAt(text, at);
    const unsigned unit = UnitAt(text, at);
    const unsigned code = pair ? 0x10000 + ((unit - 0xD800) << 10) + (UnitAt(text, at + 1) - 0xDC00) : unit;
    char name[16];
    std::snprintf(name, sizeof name, "U+%04X", code);
    const bool shown = pair || (unit > 0x20 && !IsHighSurrogate(unit) && !IsLowSurrogate(unit) && unit < 0xFFFE);
    return shown ? std::string(name) + " '" + Utf8(text.Mid(at, pair ? 2 : 1)) + "'" : name;
}

int FindLost(const Encoding& encoding, const CString& text) {
    if (encoding.IsUtf16() || text.IsEmpty()) {
        return -1;
    }
    const std::vector<WCHAR> back = RoundTrip(encoding, text);
    const LPCWSTR begin = text;
    const LPCWSTR end = begin + text.GetLength();
    const LPCWSTR lost = std::mismatch(begin, end, back.begin(), back.end()).first;
    return lost == end ? -1 : static_cast<int>(lost - begin);
}

int CountLost(const Encoding& encoding, const CString& text) {
    if (encoding.IsUtf16() || text.IsEmpty()) {
        return 0;
    }
    const std::vector<WCHAR> back = RoundTrip(encoding, text);
    int lost = 0;
    for (int i = 0; i < text.GetLength(); ++i) {
        lost += static_cast<size_t>(i) >= back.size() || back[static_cast<size_t>(i)] != text[i];
    }
    return lost;
}

long long FindChangedByte(const Encoding& encoding, const CString& text, const std::string& bytes) {
    const std::string after = FileBytes(encoding, text);
    return bytes == after ? -1
                          : std::mismatch(bytes.begin(), bytes.end(), after.begin(), after.end()).first - bytes.begin();
}

void RequireHeldBy(const Encoding& encoding, const CString& text, const std::string& shown) {
    const int offset = FindLost(encoding, text);
    if (offset < 0) {
        return;
    }
    const Place place = PlaceOf(text, offset);
    throw Failure(exitRefused,
                  shown + ": line " + std::to_string(place.line) + ", column " + std::to_string(place.column) +
                      " (offset " + std::to_string(offset) + "): the encoding " + encoding.Label() + " cannot hold " +
                      CharacterAt(text, offset) + "; nothing was written",
                  "Use an encoding that holds it, UTF-8 for example.");
}

void RequireLossless(const Encoding& encoding, const CString& text, const CString& path, const std::string& shown) {
    const long long changed = FindChangedByte(encoding, text, ReadBytes(path, shown));
    if (changed >= 0) {
        throw Failure(exitRefused,
                      shown + ": byte " + std::to_string(changed) + " does not come back from " + encoding.Label() +
                          " text, so that saving would change more than the edit; nothing was written",
                      "Convert the file from its true encoding: kvtfile xml convert --from ENCODING --to UTF-8.");
    }
}

void RequireXmlText(const CString& text, const std::string& what) {
    for (int i = 0; i < text.GetLength(); ++i) {
        if (!IsXmlUnitAt(text, i)) {
            throw Failure(exitRefused, what + " holds " + CharacterAt(text, i) + ", which XML cannot hold",
                          "Leave the character out.");
        }
    }
}

}  // namespace kvtcommand
