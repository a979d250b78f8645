// Values as texts: how their bytes are shown, and how bytes are made of what a command line gives.

#include <cstdint>

#include "tools/kvtfile/registry.h"
#include "tools/kvtfile/utf16_bytes.h"

namespace kvtcommand {

namespace {

constexpr const char* kTypeNames[] = {
    "REG_NONE",
    "REG_SZ",
    "REG_EXPAND_SZ",
    "REG_BINARY",
    "REG_DWORD",
    "REG_DWORD_BIG_ENDIAN",
    "REG_LINK",
    "REG_MULTI_SZ",
    "REG_RESOURCE_LIST",
    "REG_FULL_RESOURCE_DESCRIPTOR",
    "REG_RESOURCE_REQUIREMENTS_LIST",
    "REG_QWORD",
};
constexpr DWORD kTypeCount = sizeof(kTypeNames) / sizeof(kTypeNames[0]);

/// The text up to its first NUL.
CString SingleText(const std::string& data) {
    const std::vector<WCHAR> units = UnitsOf(data);
    size_t length = 0;
    while (length < units.size() && units[length] != 0) {
        ++length;
    }
    return CString(units.data(), static_cast<int>(length));
}

/// The texts, each ended by a NUL; an empty one ends the list.
std::vector<CString> TextList(const std::string& data) {
    const std::vector<WCHAR> units = UnitsOf(data);
    std::vector<CString> texts;
    for (size_t at = 0; at < units.size() && units[at] != 0;) {
        size_t end = at;
        while (end < units.size() && units[end] != 0) {
            ++end;
        }
        texts.emplace_back(units.data() + at, static_cast<int>(end - at));
        at = end + 1;
    }
    return texts;
}

std::string Hex(const std::string& data) {
    std::string text;
    for (size_t i = 0; i < data.size(); ++i) {
        text += "0123456789abcdef"[ByteAt(data, i) >> 4];
        text += "0123456789abcdef"[ByteAt(data, i) & 0xF];
    }
    return text;
}

/// The size of a number's type; 0 for every other type.
size_t NumberSize(DWORD type) {
    switch (type) {
        case REG_DWORD:
        case REG_DWORD_BIG_ENDIAN:
            return 4;
        case REG_QWORD:
            return 8;
        default:
            return 0;
    }
}

/// Where the byte of weight 256^i stands.
size_t BytePlace(DWORD type, size_t i) {
    return type == REG_DWORD_BIG_ENDIAN ? 3 - i : i;
}

uint64_t Number(const RegFileValue& value) {
    uint64_t number = 0;
    for (size_t i = 0; i < value.data.size(); ++i) {
        number |= static_cast<uint64_t>(ByteAt(value.data, BytePlace(value.type, i))) << (8 * i);
    }
    return number;
}

/// What the type says of the data: a text, a number, a list of texts; null when it says nothing or the size is wrong.
Json TypedData(const RegFileValue& value) {
    if (value.type == REG_SZ || value.type == REG_EXPAND_SZ) {
        return Utf8(SingleText(value.data));
    }
    if (value.type == REG_MULTI_SZ) {
        Json list = Json::array();
        for (const CString& text : TextList(value.data)) {
            list.push_back(Utf8(text));
        }
        return list;
    }
    if (NumberSize(value.type) != 0 && value.data.size() == NumberSize(value.type)) {
        return Number(value);
    }
    return nullptr;
}

[[noreturn]] void FailData(DWORD type, const std::string& text, const char* advice) {
    throw Failure(exitUsage, "'" + text + "' is no data of type " + TypeName(type), advice);
}

std::string ParseNumber(DWORD type, const std::string& text) {
    constexpr const char* advice = "Give a number in decimal, or in hexadecimal after 0x, that fits the type.";
    const bool hex = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    const std::string digits = hex ? text.substr(2) : text;
    if (digits.empty() ||
        digits.find_first_not_of(hex ? "0123456789abcdefABCDEF" : "0123456789") != std::string::npos) {
        FailData(type, text, advice);
    }
    uint64_t number = 0;
    try {
        number = std::stoull(digits, nullptr, hex ? 16 : 10);
    } catch (const std::out_of_range&) {
        FailData(type, text, advice);
    }
    const size_t size = NumberSize(type);
    if (size == 4 && number > 0xFFFFFFFF) {
        FailData(type, text, advice);
    }
    std::string data(size, '\0');
    for (size_t i = 0; i < size; ++i) {
        data[BytePlace(type, i)] = static_cast<char>(number >> (8 * i));
    }
    return data;
}

std::string ParseHex(DWORD type, const std::string& text) {
    constexpr const char* advice = "Give bytes as pairs of hexadecimal digits: 01ff or 01,ff.";
    std::string digits;
    for (const char c : text) {
        if (c != ',' && c != ' ') {
            digits += c;
        }
    }
    if (digits.size() % 2 != 0 || digits.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos) {
        FailData(type, text, advice);
    }
    std::string data;
    for (size_t i = 0; i < digits.size(); i += 2) {
        data += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
    }
    return data;
}

}  // namespace

std::string TypeName(DWORD type) {
    if (type < kTypeCount) {
        return kTypeNames[type];
    }
    CString number;
    number.Format(_T("0x%x"), type);
    return Utf8(number);
}

bool ParseType(const std::string& name, DWORD& type) {
    const CString given = Wide(name);
    for (DWORD i = 0; i < kTypeCount; ++i) {
        const CString full = Wide(kTypeNames[i]);
        if (given.CompareNoCase(full) == 0 || given.CompareNoCase(full.Mid(4)) == 0) {
            type = i;
            return true;
        }
    }
    return false;
}

std::string ShownName(const CString& name) {
    return name.IsEmpty() ? "(default)" : Utf8(name);
}

std::string ShownValue(const RegFileValue& value) {
    return ShownName(value.name) + " = " + TypeName(value.type) + " " + ShownData(value);
}

std::string PlainData(const RegFileValue& value) {
    const Json data = TypedData(value);
    if (data.is_string()) {
        return data.get<std::string>();
    }
    if (data.is_array()) {
        std::string lines;
        for (const Json& line : data) {
            lines += (lines.empty() ? "" : "\n") + line.get<std::string>();
        }
        return lines;
    }
    return data.is_null() ? Hex(value.data) : data.dump();
}

std::string ShownData(const RegFileValue& value) {
    const Json data = TypedData(value);
    return data.is_null() ? Hex(value.data) : data.dump();
}

Json ValueJson(const RegFileValue& value) {
    return {{"name", Utf8(value.name)},
            {"type", TypeName(value.type)},
            {"data", TypedData(value)},
            {"bytes", Hex(value.data)}};
}

std::string ParseData(DWORD type, const std::vector<std::string>& data) {
    if (type == REG_MULTI_SZ) {
        std::string bytes;
        for (const std::string& text : data) {
            if (text.empty()) {
                FailData(type, text, "A list cannot hold an empty text: it would end there.");
            }
            AppendText(bytes, Wide(text));
        }
        AppendText(bytes, CString());
        return bytes;
    }
    if (data.size() > 1) {
        throw Failure(exitUsage, TypeName(type) + " takes one --data", "Only REG_MULTI_SZ takes several.");
    }
    const std::string text = data.empty() ? std::string() : data.front();
    if (type == REG_SZ || type == REG_EXPAND_SZ) {
        std::string bytes;
        AppendText(bytes, Wide(text));
        return bytes;
    }
    return NumberSize(type) != 0 ? ParseNumber(type, text) : ParseHex(type, text);
}

}  // namespace kvtcommand
