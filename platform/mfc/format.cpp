// The formatter behind CString::Format and FormatV: Microsoft's wide printf rules, one reading of the format for both
// sources of arguments. Numbers are written by <charconv>, so that they look the same on every target and in every
// locale.
#include <algorithm>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string>

#include "platform/mfc/cstring.h"

namespace kvtmfc {

namespace {

enum class Size { Default, Char, Short, Long, Int32, Int64, Pointer, LongDouble, Wide };

/// One "%..." of a format.
struct Conversion {
    bool left = false;
    bool plus = false;
    bool space = false;
    bool alternate = false;
    bool zero = false;
    int width = 0;
    int precision = -1;  // -1: none given
    Size size = Size::Default;
    WCHAR type = 0;
};

/// Where the arguments come from: one call an argument, with what the conversion needs.
class ArgumentSource {
public:
    virtual long long Integer(Size size) = 0;
    virtual double Floating() = 0;
    virtual const void* Pointer() = 0;
    virtual FormatArg Text(FormatArg::Kind wanted) = 0;
    /// Called behind the last conversion.
    virtual void Finish() = 0;

protected:
    ~ArgumentSource() = default;
};

class SlotSource final : public ArgumentSource {
public:
    SlotSource(const FormatArg* args, size_t count) : m_next(args), m_end(args + count) {}

    long long Integer(Size) override { return Next(FormatArg::Kind::Integer).integer; }
    double Floating() override { return Next(FormatArg::Kind::Floating).floating; }
    const void* Pointer() override {
        const FormatArg& arg = Next();
        if (arg.kind == FormatArg::Kind::Integer || arg.kind == FormatArg::Kind::Floating) {
            AfxThrowInvalidArgException();
        }
        return arg.pointer;
    }
    FormatArg Text(FormatArg::Kind wanted) override {
        const FormatArg& arg = Next();
        const bool wide = wanted == FormatArg::Kind::WideText && arg.kind == FormatArg::Kind::Utf32Text;
        if (arg.kind != wanted && arg.kind != FormatArg::Kind::Null && !wide) {
            AfxThrowInvalidArgException();
        }
        return arg;
    }
    void Finish() override {
        if (m_next != m_end) {
            AfxThrowInvalidArgException();
        }
    }

private:
    const FormatArg& Next() {
        if (m_next == m_end) {
            AfxThrowInvalidArgException();
        }
        return *m_next++;
    }
    const FormatArg& Next(FormatArg::Kind wanted) {
        const FormatArg& arg = Next();
        if (arg.kind != wanted) {
            AfxThrowInvalidArgException();
        }
        return arg;
    }

    const FormatArg* m_next;
    const FormatArg* m_end;
};

class ListSource final : public ArgumentSource {
public:
    explicit ListSource(va_list args) { va_copy(m_args, args); }
    ~ListSource() { va_end(m_args); }
    ListSource(const ListSource&) = delete;
    ListSource& operator=(const ListSource&) = delete;

    long long Integer(Size size) override {
        return size == Size::Int64 || size == Size::Pointer ? va_arg(m_args, long long) : va_arg(m_args, int);
    }
    double Floating() override { return va_arg(m_args, double); }
    const void* Pointer() override { return va_arg(m_args, const void*); }
    FormatArg Text(FormatArg::Kind wanted) override {
        FormatArg arg;
        arg.kind = wanted;
        arg.pointer = va_arg(m_args, const void*);
        return arg;
    }
    void Finish() override {}

private:
    va_list m_args;
};

// Cuts an argument to the width of its conversion, which also decides how negative numbers read as unsigned.
unsigned long long CutToSize(long long value, Size size) {
    switch (size) {
        case Size::Char:
            return static_cast<unsigned char>(value);
        case Size::Short:
            return static_cast<unsigned short>(value);
        case Size::Int64:
        case Size::Pointer:
            return static_cast<unsigned long long>(value);
        default:
            return static_cast<unsigned int>(value);
    }
}

long long SignedOfSize(long long value, Size size) {
    switch (size) {
        case Size::Char:
            return static_cast<signed char>(value);
        case Size::Short:
            return static_cast<short>(value);
        case Size::Int64:
        case Size::Pointer:
            return value;
        default:
            return static_cast<int>(value);
    }
}

class Formatter {
public:
    Formatter(CString& out, ArgumentSource& args) : m_out(out), m_args(args) {}

    void Run(LPCWSTR format) {
        if (!format) {
            AfxThrowInvalidArgException();
        }
        m_format = format;
        while (*m_format) {
            LPCWSTR end = m_format;
            while (*end && *end != '%') {
                ++end;
            }
            m_out.Append(m_format, static_cast<int>(end - m_format));
            m_format = end;
            if (*m_format) {
                ++m_format;
                Convert();
            }
        }
        m_args.Finish();
    }

private:
    // --- reading the format ---

    void Convert() {
        Conversion conversion;
        ReadFlags(conversion);
        conversion.width = ReadCount(0);
        if (conversion.width < 0) {
            if (conversion.width == INT_MIN) {
                AfxThrowInvalidArgException();
            }
            conversion.left = true;
            conversion.width = -conversion.width;
        }
        if (*m_format == '.') {
            ++m_format;
            conversion.precision = std::max(ReadCount(0), -1);
        }
        ReadSize(conversion);
        conversion.type = *m_format;
        if (conversion.type == 0) {
            return;
        }
        ++m_format;
        Write(conversion);
    }

    void ReadFlags(Conversion& conversion) {
        for (;; ++m_format) {
            switch (*m_format) {
                case '-':
                    conversion.left = true;
                    break;
                case '+':
                    conversion.plus = true;
                    break;
                case ' ':
                    conversion.space = true;
                    break;
                case '#':
                    conversion.alternate = true;
                    break;
                case '0':
                    conversion.zero = true;
                    break;
                default:
                    return;
            }
        }
    }

    int ReadCount(int none) {
        if (*m_format == '*') {
            ++m_format;
            return static_cast<int>(m_args.Integer(Size::Default));
        }
        long long count = none;
        for (; *m_format >= '0' && *m_format <= '9'; ++m_format) {
            count = count * 10 + (*m_format - '0');
            if (count > INT_MAX) {
                AfxThrowInvalidArgException();
            }
        }
        return static_cast<int>(count);
    }

    bool Skip(const char* text) {
        LPCWSTR at = m_format;
        for (; *text; ++text, ++at) {
            if (*at != static_cast<unsigned char>(*text)) {
                return false;
            }
        }
        m_format = at;
        return true;
    }

    void ReadSize(Conversion& conversion) {
        static constexpr struct {
            const char* text;
            Size size;
        } sizes[] = {
            {"I64", Size::Int64}, {"I32", Size::Int32}, {"I", Size::Pointer}, {"ll", Size::Int64},
            {"l", Size::Long},    {"hh", Size::Char},   {"h", Size::Short},   {"w", Size::Wide},
            {"j", Size::Int64},   {"z", Size::Pointer}, {"t", Size::Pointer}, {"L", Size::LongDouble},
        };
        for (const auto& known : sizes) {
            if (Skip(known.text)) {
                conversion.size = known.size;
                return;
            }
        }
    }

    // --- writing one conversion ---

    void Write(const Conversion& conversion) {
        switch (conversion.type) {
            case '%':
                m_out.AppendChar('%');
                break;
            case 'd':
            case 'i':
                WriteSigned(conversion);
                break;
            case 'u':
            case 'x':
            case 'X':
            case 'o':
                WriteUnsigned(conversion, CutToSize(m_args.Integer(conversion.size), conversion.size));
                break;
            case 'p':
                WritePointer(conversion);
                break;
            case 'e':
            case 'E':
            case 'f':
            case 'F':
            case 'g':
            case 'G':
            case 'a':
            case 'A':
                WriteFloating(conversion, m_args.Floating());
                break;
            case 's':
            case 'S':
                WriteText(conversion);
                break;
            case 'c':
            case 'C':
                WriteCharacter(conversion);
                break;
            default:  // also %n, which would write into the caller's memory
                AfxThrowInvalidArgException();
        }
    }

    static bool IsNarrow(const Conversion& conversion) {
        if (conversion.size == Size::Short || conversion.size == Size::Char) {
            return true;
        }
        const bool capital = conversion.type == 'S' || conversion.type == 'C';
        return capital && conversion.size == Size::Default;
    }

    // Fills up to the width: with blanks in front or behind, or with zeros between the prefix and the digits.
    void WritePadded(const Conversion& conversion, const CString& prefix, const CString& body, bool zeros) {
        const int64_t length = int64_t{prefix.GetLength()} + body.GetLength();
        const int64_t missing = std::max<int64_t>(0, conversion.width - length);
        zeros = zeros && !conversion.left;
        if (!conversion.left && !zeros) {
            Fill(' ', missing);
        }
        m_out += prefix;
        if (zeros) {
            Fill('0', missing);
        }
        m_out += body;
        if (conversion.left) {
            Fill(' ', missing);
        }
    }

    void Fill(WCHAR character, int64_t count) {
        if (count > 0) {
            m_out += CString(character, static_cast<int>(count));
        }
    }

    static CString SignText(const Conversion& conversion, bool negative) {
        return negative ? _T("-") : conversion.plus ? _T("+") : conversion.space ? _T(" ") : _T("");
    }

    static CString FromAscii(std::string_view text) {
        CString wide;
        WCHAR* characters = wide.GetBuffer(static_cast<int>(text.size()));
        for (size_t i = 0; i < text.size(); ++i) {
            characters[i] = static_cast<unsigned char>(text[i]);
        }
        wide.ReleaseBufferSetLength(static_cast<int>(text.size()));
        return wide;
    }

    static void MakeCapital(std::string& text) {
        for (char& character : text) {
            if (character >= 'a' && character <= 'z') {
                character = static_cast<char>(character - 0x20);
            }
        }
    }

    static std::string Digits(unsigned long long value, int base, bool capital) {
        char buffer[32];
        const auto end = std::to_chars(buffer, buffer + sizeof buffer, value, base).ptr;
        std::string text(buffer, end);
        if (capital) {
            MakeCapital(text);
        }
        return text;
    }

    // The digits with leading zeros up to the precision; nothing at all for a 0 of precision 0.
    static CString IntegerBody(const Conversion& conversion, unsigned long long value, int base, bool capital) {
        if (value == 0 && conversion.precision == 0) {
            return CString();
        }
        const CString digits = FromAscii(Digits(value, base, capital));
        return CString(WCHAR{'0'}, conversion.precision - digits.GetLength()) + digits;
    }

    void WriteSigned(const Conversion& conversion) {
        const long long value = SignedOfSize(m_args.Integer(conversion.size), conversion.size);
        const unsigned long long magnitude =
            value < 0 ? 0 - static_cast<unsigned long long>(value) : static_cast<unsigned long long>(value);
        WritePadded(conversion, SignText(conversion, value < 0), IntegerBody(conversion, magnitude, 10, false),
                    conversion.zero && conversion.precision < 0);
    }

    void WriteUnsigned(const Conversion& conversion, unsigned long long value) {
        const int base = conversion.type == 'u' ? 10 : conversion.type == 'o' ? 8 : 16;
        CString body = IntegerBody(conversion, value, base, conversion.type == 'X');
        CString prefix;
        if (conversion.alternate && base == 16 && value != 0) {
            prefix = conversion.type == 'X' ? _T("0X") : _T("0x");
        }
        if (conversion.alternate && base == 8 && (body.IsEmpty() || body[0] != '0')) {
            body.Insert(0, WCHAR{'0'});
        }
        WritePadded(conversion, prefix, body, conversion.zero && conversion.precision < 0);
    }

    void WritePointer(const Conversion& conversion) {
        const std::string digits = Digits(reinterpret_cast<uintptr_t>(m_args.Pointer()), 16, true);
        WritePadded(conversion, CString(), FromAscii(std::string(16 - digits.size(), '0') + digits), false);
    }

    // --- floating point ---

    // A double has at most 1074 digits behind the point; what is asked beyond them are zeros.
    static std::string Decimal(double value, std::chars_format style, int precision) {
        constexpr int allDigits = 1100;
        std::string text(1500, '\0');
        const int exact = std::min(precision, allDigits);
        const auto end = std::to_chars(text.data(), text.data() + text.size(), value, style, exact).ptr;
        text.resize(static_cast<size_t>(end - text.data()));
        if (precision > exact) {
            const size_t exponent = text.find_first_of(style == std::chars_format::hex ? "p" : "e");
            text.insert(std::min(exponent, text.size()), static_cast<size_t>(precision - exact), '0');
        }
        return text;
    }

    static int ExponentOf(const std::string& scientific) {
        return std::atoi(scientific.c_str() + scientific.find('e') + 1);
    }

    // %g: the shorter of the two styles for `precision` significant digits, without trailing zeros unless they are
    // asked for.
    static std::string General(double value, int precision, bool keepZeros) {
        const int digits = precision == 0 ? 1 : precision;
        std::string text = Decimal(value, std::chars_format::scientific, digits - 1);
        const int exponent = ExponentOf(text);
        if (exponent >= -4 && exponent < digits) {
            text = Decimal(value, std::chars_format::fixed, digits - 1 - exponent);
        }
        const size_t point = text.find('.');
        if (!keepZeros && point != std::string::npos) {
            const size_t end = std::min(text.find('e'), text.size());
            size_t last = text.find_last_not_of('0', end - 1);
            last = last == point ? point : last + 1;
            text.erase(last, end - last);
        }
        return text;
    }

    static std::string Unsigned(double value, WCHAR style, int precision, bool alternate) {
        std::string text;
        if (style == 'a') {
            text = Decimal(value, std::chars_format::hex, precision < 0 ? 13 : precision);
        } else if (style == 'e') {
            text = Decimal(value, std::chars_format::scientific, precision < 0 ? 6 : precision);
        } else if (style == 'f') {
            text = Decimal(value, std::chars_format::fixed, precision < 0 ? 6 : precision);
        } else {
            text = General(value, precision < 0 ? 6 : precision, alternate);
        }
        if (alternate && text.find('.') == std::string::npos) {
            text.insert(std::min(text.find_first_of(style == 'a' ? "p" : "e"), text.size()), 1, '.');
        }
        return text;
    }

    void WriteFloating(const Conversion& conversion, double value) {
        const bool capital = conversion.type < 'a';
        const WCHAR style = static_cast<WCHAR>(capital ? conversion.type + 0x20 : conversion.type);
        const bool finite = value - value == 0;
        CString prefix = SignText(conversion, std::signbit(value));
        std::string body;
        if (finite) {
            body = Unsigned(std::fabs(value), style, conversion.precision, conversion.alternate);
            if (style == 'a') {
                prefix += capital ? _T("0X") : _T("0x");
            }
        } else {
            body = value != value ? "nan" : "inf";
        }
        if (capital) {
            MakeCapital(body);
        }
        WritePadded(conversion, prefix, FromAscii(body), conversion.zero && finite);
    }

    // --- text ---

    template <typename Character>
    static int BoundedLength(const Character* text, int precision) {
        const size_t limit = precision < 0 ? static_cast<size_t>(INT_MAX) : static_cast<size_t>(precision);
        size_t length = 0;
        while (length < limit && text[length]) {
            ++length;
        }
        return static_cast<int>(length);
    }

    void WriteText(const Conversion& conversion) {
        const bool narrow = IsNarrow(conversion);
        const FormatArg arg = m_args.Text(narrow ? FormatArg::Kind::NarrowText : FormatArg::Kind::WideText);
        CString text;
        if (!arg.pointer) {
            text = CString(_T("(null)"), BoundedLength(_T("(null)"), conversion.precision));
        } else if (narrow) {
            const char* bytes = static_cast<const char*>(arg.pointer);
            text = CString(bytes, BoundedLength(bytes, conversion.precision));
        } else if (arg.kind == FormatArg::Kind::Utf32Text) {
            text = CString(std::wstring(static_cast<const wchar_t*>(arg.pointer)).c_str());
            text.Truncate(conversion.precision < 0 ? text.GetLength() : conversion.precision);
        } else {
            LPCWSTR characters = static_cast<LPCWSTR>(arg.pointer);
            text = CString(characters, BoundedLength(characters, conversion.precision));
        }
        WritePadded(conversion, CString(), text, conversion.zero);
    }

    void WriteCharacter(const Conversion& conversion) {
        const long long value = m_args.Integer(Size::Default);
        CString text(static_cast<WCHAR>(value), 1);
        if (IsNarrow(conversion)) {
            const char byte = static_cast<char>(value);
            text = CString(&byte, 1);
        }
        WritePadded(conversion, CString(), text, conversion.zero);
    }

    CString& m_out;
    ArgumentSource& m_args;
    LPCWSTR m_format = nullptr;
};

CString Formatted(LPCWSTR format, ArgumentSource& args) {
    CString out;
    Formatter(out, args).Run(format);
    return out;
}

}  // namespace

// The text is built aside: the old one may be among the arguments, and stays when the format is refused.

void CString::FormatSlots(LPCWSTR format, const FormatArg* args, size_t count) {
    SlotSource source(args, count);
    *this = Formatted(format, source);
}

void CString::AppendFormatSlots(LPCWSTR format, const FormatArg* args, size_t count) {
    SlotSource source(args, count);
    *this += Formatted(format, source);
}

void CString::FormatV(LPCWSTR format, va_list args) {
    ListSource source(args);
    *this = Formatted(format, source);
}

void CString::AppendFormatV(LPCWSTR format, va_list args) {
    ListSource source(args);
    *this += Formatted(format, source);
}

}  // namespace kvtmfc
