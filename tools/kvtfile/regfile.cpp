// Reading of registration files. A cursor runs over the text once and counts lines; every rule that is broken ends it
// with the line at which the broken construct begins.

#include "tools/kvtfile/regfile.h"

#include <string_view>

#include "tools/kvtfile/report.h"
#include "tools/kvtfile/utf16_bytes.h"

namespace kvtcommand {

namespace {

struct RootKey {
    LPCWSTR name;
    LPCWSTR shortName;
};

constexpr RootKey kRootKeys[] = {
    {_T("HKEY_CLASSES_ROOT"), _T("HKCR")},   {_T("HKEY_CURRENT_USER"), _T("HKCU")},
    {_T("HKEY_LOCAL_MACHINE"), _T("HKLM")},  {_T("HKEY_USERS"), _T("HKU")},
    {_T("HKEY_CURRENT_CONFIG"), _T("HKCC")},
};

constexpr const char* kNotARegFile =
    "this is not a registration file: it should begin with "
    "'Windows Registry Editor Version 5.00' or 'REGEDIT4'";

/// The line of an offset. Lines end in CR LF, LF or CR.
int LineOf(const CString& text, int offset) {
    int line = 1;
    for (int i = 0; i < offset; ++i) {
        line += text[i] == '\n' || (text[i] == '\r' && text[i + 1] != '\n');
    }
    return line;
}

/// How many units the bytes are; 0 when they are not of the encoding.
int CountUnits(UINT codePage, std::string_view bytes) {
    return ::MultiByteToWideChar(codePage, MB_ERR_INVALID_CHARS, bytes.data(), static_cast<int>(bytes.size()), nullptr,
                                 0);
}

/// The first line that is not of the encoding, of bytes that are not. (No character holds the byte of a line end.)
int LineNotOf(UINT codePage, std::string_view bytes) {
    for (int line = 1;; ++line) {
        const size_t end = bytes.find_first_of("\r\n");
        if (end == std::string_view::npos || (end != 0 && CountUnits(codePage, bytes.substr(0, end)) <= 0)) {
            return line;
        }
        bytes.remove_prefix(end + (bytes.substr(end, 2) == "\r\n" ? 2 : 1));
    }
}

CString Decode(UINT codePage, std::string_view bytes) {
    CString text;
    if (bytes.empty()) {
        return text;
    }
    const int count = CountUnits(codePage, bytes);
    if (count <= 0) {
        throw RegFileError(LineNotOf(codePage, bytes),
                           codePage == CP_UTF8 ? "the file is not UTF-8 text" : "the file is not ANSI text");
    }
    ::MultiByteToWideChar(codePage, MB_ERR_INVALID_CHARS, bytes.data(), static_cast<int>(bytes.size()),
                          text.GetBufferSetLength(count), count);
    return text;
}

CString DecodeFile(const std::string& bytes) {
    const std::string_view view = bytes;
    if (view.size() > 0x7FFFFFFF) {
        throw RegFileError(1, "the file is too large");
    }
    if (view.substr(0, 3) == "\xEF\xBB\xBF") {
        return Decode(CP_UTF8, view.substr(3));
    }
    if (view.substr(0, 2) != "\xFF\xFE") {
        return Decode(CP_ACP, view);
    }
    const std::vector<WCHAR> units = UnitsOf(view.substr(2));
    const CString text(units.data(), static_cast<int>(units.size()));
    if (view.size() % 2 != 0) {
        throw RegFileError(LineOf(text, text.GetLength()), "the file ends in half a UTF-16 unit");
    }
    return text;
}

int HexDigit(WCHAR unit) {
    if (unit >= '0' && unit <= '9') {
        return unit - '0';
    }
    const int lower = unit | 0x20;
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

bool IsText(DWORD type) {
    return type == REG_SZ || type == REG_EXPAND_SZ || type == REG_MULTI_SZ;
}

class Parser {
public:
    explicit Parser(const CString& text) : m_text(text), m_length(text.GetLength()) {}

    std::vector<RegFileKey> Run() {
        ReadHead();
        std::vector<RegFileKey> keys;
        while (SkipToContent()) {
            switch (Peek()) {
                case '[':
                    keys.push_back(ReadKey());
                    break;
                case '"':
                case '@':
                    if (keys.empty()) {
                        Fail("a value stands before the first key");
                    }
                    if (keys.back().remove) {
                        Fail("a value stands under a key that is to be deleted");
                    }
                    keys.back().values.push_back(ReadValue());
                    break;
                default:
                    Fail("the line is neither a key in '[...]' nor a value that begins with '\"' or '@'");
            }
        }
        return keys;
    }

private:
    [[noreturn]] void Fail(const std::string& what) const { FailAt(m_line, what); }
    [[noreturn]] static void FailAt(int line, const std::string& what) { throw RegFileError(line, what); }

    // ---- the cursor

    bool AtEnd() const { return m_at == m_length; }
    /// The unit at the cursor; 0 at the end (`ReadHead` sees to it that the text holds no other NUL).
    WCHAR Peek() const { return AtEnd() ? WCHAR(0) : m_text[m_at]; }
    bool AtLineEnd() const { return AtEnd() || Peek() == '\r' || Peek() == '\n'; }

    WCHAR Take() {
        const WCHAR unit = m_text[m_at++];
        if (unit == '\n' || (unit == '\r' && Peek() != '\n')) {
            ++m_line;
        }
        return unit;
    }

    void SkipBlanks() {
        while (Peek() == ' ' || Peek() == '\t') {
            ++m_at;
        }
    }

    void SkipLine() {
        while (!AtLineEnd()) {
            ++m_at;
        }
    }

    /// To the next line's first unit that is neither a blank nor of a comment; false at the end.
    bool SkipToContent() {
        for (;;) {
            SkipBlanks();
            if (AtEnd()) {
                return false;
            }
            if (Peek() == ';') {
                SkipLine();
            } else if (AtLineEnd()) {
                Take();
            } else {
                return true;
            }
        }
    }

    /// The rest of a line whose construct is complete: blanks, then perhaps a comment.
    void EndLine(const char* after) {
        SkipBlanks();
        if (Peek() == ';') {
            SkipLine();
        }
        if (!AtLineEnd()) {
            Fail(std::string("something stands after ") + after);
        }
    }

    bool TakeWord(LPCWSTR word) {
        int length = 0;
        while (word[length] != 0) {
            ++length;
        }
        if (m_length - m_at < length || m_text.Mid(m_at, length).CompareNoCase(word) != 0) {
            return false;
        }
        m_at += length;
        return true;
    }

    // ---- the constructs

    void ReadHead() {
        for (int i = 0; i < m_length; ++i) {
            if (m_text[i] == 0) {
                FailAt(LineOf(m_text, i), "the text holds a NUL");
            }
        }
        CString head;
        while (!AtLineEnd()) {
            head += Take();
        }
        head.TrimRight();
        m_ansi = head == _T("REGEDIT4");
        if (!m_ansi && head != _T("Windows Registry Editor Version 5.00")) {
            Fail(kNotARegFile);
        }
    }

    RegFileKey ReadKey() {
        const int begin = ++m_at;
        SkipLine();
        CString path = m_text.Mid(begin, m_at - begin);
        const int end = path.ReverseFind(']');
        if (end < 0) {
            Fail("the key's ']' is missing");
        }
        CString rest = path.Mid(end + 1);
        rest.TrimLeft();
        if (!rest.IsEmpty() && rest[0] != ';') {
            Fail("something stands after the key's ']'");
        }
        path = path.Left(end);
        RegFileKey key;
        if (path.Left(1) == _T("-")) {
            key.remove = true;
            path = path.Mid(1);
        }
        key.path = CheckedPath(path, key.remove);
        return key;
    }

    CString CheckedPath(const CString& path, bool remove) const {
        const int rootEnd = path.Find('\\');
        const CString root = rootEnd < 0 ? path : path.Left(rootEnd);
        const LPCWSTR rootName = RootKeyName(root);
        if (rootName == nullptr) {
            Fail("there is no root key '" + Utf8(root) + "'");
        }
        if (rootEnd < 0) {
            if (remove) {
                Fail("a root key cannot be deleted");
            }
            return rootName;
        }
        if (const char* fault = PathFault(path.Mid(rootEnd + 1))) {
            Fail(std::string("the key's path holds ") + fault);
        }
        return rootName + path.Mid(rootEnd);
    }

    RegFileValue ReadValue() {
        RegFileValue value;
        if (Peek() == '@') {
            Take();
        } else {
            value.name = ReadQuoted("name");
            if (value.name.GetLength() > kMaxValueName) {
                Fail("the value's name is longer than 16383 characters");
            }
        }
        SkipBlanks();
        if (Peek() != '=') {
            Fail("'=' is missing after the value's name");
        }
        Take();
        SkipBlanks();
        if (Peek() == '-') {
            Take();
            value.remove = true;
        } else if (Peek() == '"') {
            value.type = REG_SZ;
            AppendText(value.data, ReadQuoted("text"));
        } else if (TakeWord(_T("dword:"))) {
            value.type = REG_DWORD;
            const DWORD number = ReadNumber("a dword");
            for (int shift = 0; shift < 32; shift += 8) {
                value.data += static_cast<char>(number >> shift);
            }
        } else if (TakeWord(_T("hex:"))) {
            value.type = REG_BINARY;
            value.data = ReadHexBytes();
        } else if (TakeWord(_T("hex("))) {
            value.type = ReadNumber("a type");
            if (!TakeWord(_T("):"))) {
                Fail("'):' is missing after the type");
            }
            value.data = ReadHexBytes();
            if (m_ansi && IsText(value.type)) {
                value.data = Widened(value.data);
            }
        } else {
            Fail("the data is neither a quoted text nor 'dword:', 'hex:', 'hex(type):' or '-'");
        }
        EndLine("the value's data");
        return value;
    }

    /// A text between quotes. It may hold line breaks; a backslash stands before a quote or a backslash only.
    CString ReadQuoted(const char* what) {
        const int line = m_line;
        Take();
        CString text;
        for (;;) {
            const int begin = m_at;
            while (!AtEnd() && Peek() != '"' && Peek() != '\\') {
                Take();
            }
            text += m_text.Mid(begin, m_at - begin);
            if (AtEnd()) {
                FailAt(line, std::string("the closing '\"' of the ") + what + " is missing");
            }
            if (Take() == '"') {
                return text;
            }
            if (Peek() != '"' && Peek() != '\\') {
                Fail("a single '\\' stands in a quoted text; write it '\\\\'");
            }
            text += Take();
        }
    }

    DWORD ReadNumber(const char* what) {
        DWORD number = 0;
        int digits = 0;
        for (int digit = HexDigit(Peek()); digit >= 0; digit = HexDigit(Peek())) {
            number = number * 16 + static_cast<DWORD>(digit);
            ++digits;
            Take();
        }
        if (digits < 1 || digits > 8) {
            Fail(std::string(what) + " has 1 to 8 hexadecimal digits");
        }
        return number;
    }

    /// "01,02,..." in which a backslash at the end of a line continues it on the next.
    std::string ReadHexBytes() {
        std::string bytes;
        SkipContinuation();
        if (AtLineEnd() || Peek() == ';') {
            return bytes;
        }
        for (;;) {
            const int high = HexDigit(Peek());
            if (high < 0) {
                Fail("the data is not made of hexadecimal bytes with ',' between them");
            }
            Take();
            int byte = high;
            if (const int low = HexDigit(Peek()); low >= 0) {
                Take();
                byte = high * 16 + low;
            }
            bytes += static_cast<char>(byte);
            SkipContinuation();
            if (Peek() != ',') {
                return bytes;
            }
            Take();
            SkipContinuation();
        }
    }

    void SkipContinuation() {
        for (SkipBlanks(); Peek() == '\\'; SkipBlanks()) {
            Take();
            SkipBlanks();
            if (!AtLineEnd() || AtEnd()) {
                Fail("a line is continued by '\\' as its last character, with another line behind it");
            }
            if (Take() == '\r' && Peek() == '\n') {
                Take();
            }
        }
    }

    /// Text bytes of a version 4 file as the registry keeps them.
    std::string Widened(const std::string& bytes) const {
        std::string wide;
        const int size = static_cast<int>(bytes.size());
        const int count = size == 0 ? 0 : ::MultiByteToWideChar(CP_ACP, 0, bytes.data(), size, nullptr, 0);
        std::vector<WCHAR> units(static_cast<size_t>(count));
        if (count > 0) {
            ::MultiByteToWideChar(CP_ACP, 0, bytes.data(), size, units.data(), count);
        }
        for (const WCHAR unit : units) {
            AppendUnit(wide, unit);
        }
        return wide;
    }

    const CString m_text;
    const int m_length;
    int m_at = 0;
    int m_line = 1;
    bool m_ansi = false;
};

}  // namespace

LPCWSTR RootKeyName(const CString& name) {
    for (const RootKey& root : kRootKeys) {
        if (name.CompareNoCase(root.name) == 0 || name.CompareNoCase(root.shortName) == 0) {
            return root.name;
        }
    }
    return nullptr;
}

const char* PathFault(const CString& path) {
    for (int at = 0;;) {
        const int next = path.Find('\\', at);
        const int end = next < 0 ? path.GetLength() : next;
        if (end == at) {
            return "an empty name";
        }
        if (end - at > kMaxKeyName) {
            return "a name longer than 255 characters";
        }
        if (next < 0) {
            return nullptr;
        }
        at = next + 1;
    }
}

std::vector<RegFileKey> ParseRegFile(const std::string& bytes) {
    return Parser(DecodeFile(bytes)).Run();
}

}  // namespace kvtcommand
