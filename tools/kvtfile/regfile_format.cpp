// Writing of registration files, in the form in which the Registry Editor exports: lines of at most 80 characters for
// bytes, and as bytes every text that quotes cannot hold exactly.

#include "tools/kvtfile/regfile.h"
#include "tools/kvtfile/utf16_bytes.h"

namespace kvtcommand {

namespace {

// A line of bytes is broken after the byte with which it passes this width.
constexpr int kWidth = 76;

/// What the text is made of; appending to a `CString` unit by unit would be slow.
class Output {
public:
    void Add(LPCWSTR text) {
        while (*text != 0) {
            m_units.push_back(*text++);
        }
    }
    void Add(WCHAR unit) { m_units.push_back(unit); }
    void AddQuoted(const CString& text) {
        Add('"');
        for (int i = 0; i < text.GetLength(); ++i) {
            if (text[i] == '"' || text[i] == '\\') {
                Add('\\');
            }
            Add(text[i]);
        }
        Add('"');
    }
    void AddHex(unsigned number, int digits) {
        for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4) {
            Add(static_cast<WCHAR>("0123456789abcdef"[(number >> shift) & 0xF]));
        }
    }
    void EndLine() {
        Add('\r');
        Add('\n');
    }
    size_t Size() const { return m_units.size(); }
    CString Text() const { return CString(m_units.data(), static_cast<int>(m_units.size())); }

private:
    std::vector<WCHAR> m_units;
};

/// The text of a value that quotes can hold: whole units, one NUL, at the end, and no line breaks.
bool QuotedText(const RegFileValue& value, CString& text) {
    const size_t size = value.data.size();
    if (value.type != REG_SZ || size < 2 || size % 2 != 0) {
        return false;
    }
    const std::vector<WCHAR> units = UnitsOf(value.data);
    for (size_t i = 0; i < units.size(); ++i) {
        if ((units[i] == 0) != (i + 1 == units.size()) || units[i] == '\r' || units[i] == '\n') {
            return false;
        }
    }
    text = CString(units.data(), static_cast<int>(units.size()) - 1);
    return true;
}

void AddBytes(Output& out, const std::string& data, size_t lineStart) {
    for (size_t i = 0; i < data.size(); ++i) {
        out.AddHex(ByteAt(data, i), 2);
        if (i + 1 == data.size()) {
            break;
        }
        out.Add(',');
        if (out.Size() - lineStart > kWidth) {
            out.Add('\\');
            out.EndLine();
            lineStart = out.Size();
            out.Add(_T("  "));
        }
    }
}

void AddValue(Output& out, const RegFileValue& value) {
    const size_t lineStart = out.Size();
    if (value.name.IsEmpty()) {
        out.Add('@');
    } else {
        out.AddQuoted(value.name);
    }
    out.Add('=');
    CString text;
    if (value.remove) {
        out.Add('-');
    } else if (QuotedText(value, text)) {
        out.AddQuoted(text);
    } else if (value.type == REG_DWORD && value.data.size() == 4) {
        out.Add(_T("dword:"));
        for (size_t i = 4; i-- > 0;) {
            out.AddHex(ByteAt(value.data, i), 2);
        }
    } else {
        out.Add(_T("hex"));
        if (value.type != REG_BINARY) {
            CString type;
            type.Format(_T("(%x)"), value.type);
            out.Add(type);
        }
        out.Add(':');
        AddBytes(out, value.data, lineStart);
    }
    out.EndLine();
}

}  // namespace

CString FormatRegFile(const std::vector<RegFileKey>& keys) {
    Output out;
    out.Add(_T("Windows Registry Editor Version 5.00\r\n\r\n"));
    for (const RegFileKey& key : keys) {
        out.Add('[');
        if (key.remove) {
            out.Add('-');
        }
        out.Add(key.path);
        out.Add(_T("]\r\n"));
        for (const RegFileValue& value : key.values) {
            AddValue(out, value);
        }
        out.EndLine();
    }
    return out.Text();
}

}  // namespace kvtcommand
