// Registration files: reading and writing.

#include "tools/kvtfile/regfile.h"

#include <gtest/gtest.h>

#include "tests/support/support.h"

namespace kvttest {
namespace {

using kvtcommand::FormatRegFile;
using kvtcommand::ParseRegFile;
using kvtcommand::RegFileError;
using kvtcommand::RegFileKey;
using kvtcommand::RegFileValue;

/// The bytes of a version 5 file: a mark, the first line, and the text in UTF-16LE.
std::string Utf16File(const CString& text) {
    std::string bytes = "\xFF\xFE";
    for (int i = 0; i < text.GetLength(); ++i) {
        bytes += static_cast<char>(text[i] & 0xFF);
        bytes += static_cast<char>(text[i] >> 8);
    }
    return bytes;
}

std::string Version5(const CString& text) {
    return Utf16File(_T("Windows Registry Editor Version 5.00\r\n\r\n") + text);
}

std::string Version4(const std::string& text) {
    return "REGEDIT4\r\n\r\n" + text;
}

/// A text as the registry keeps it, without the NUL at its end.
std::string Units(const CString& text) {
    return Utf16File(text).substr(2);
}

const std::string kNul(2, '\0');

void ExpectError(const std::string& bytes, int line, const std::string& what) {
    SCOPED_TRACE(bytes);
    try {
        ParseRegFile(bytes);
        ADD_FAILURE() << "no error";
    } catch (const RegFileError& error) {
        EXPECT_EQ(error.Line(), line);
        EXPECT_EQ(error.what(), what);
    }
}

RegFileValue OnlyValue(const std::string& bytes) {
    const std::vector<RegFileKey> keys = ParseRegFile(bytes);
    EXPECT_EQ(keys.size(), 1u);
    EXPECT_EQ(keys.at(0).values.size(), 1u);
    return keys.at(0).values.at(0);
}

TEST(RegFile, ReadsEveryFormOfData) {
    const std::vector<RegFileKey> keys =
        ParseRegFile(Version5(_T("[HKEY_CURRENT_USER\\Software\\Demo]\r\n")
                              _T("@=\"default\"\r\n")
                              _T("\"text\"=\"a \\\"b\\\" c:\\\\d\"\r\n")
                              _T("\"empty\"=\"\"\r\n")
                              _T("\"number\"=dword:0000FFfe\r\n")
                              _T("\"short\"=DWORD:a\r\n")
                              _T("\"bytes\"=hex:01,ff,\\\r\n  2,03\r\n")
                              _T("\"none\"=hex(0):\r\n")
                              _T("\"expand\"=hex(2):25,00,41,00,00,00\r\n")
                              _T("\"multi\"=hex(7):61,00,00,00,\\\r\n  00,00\r\n")
                              _T("\"quad\"=hex(b):01,02,03,04,05,06,07,08\r\n")
                              _T("\"own\"=hex(7fffffff):7f\r\n")
                              _T("\"gone\"=-\r\n")
                              _T("\r\n")
                              _T("[HKEY_CURRENT_USER\\Software\\Demo\\Beneath]\r\n")));
    ASSERT_EQ(keys.size(), 2u);
    EXPECT_EQ(keys[0].path, _T("HKEY_CURRENT_USER\\Software\\Demo"));
    EXPECT_EQ(keys[1].path, _T("HKEY_CURRENT_USER\\Software\\Demo\\Beneath"));
    EXPECT_TRUE(keys[1].values.empty());
    const struct {
        LPCWSTR name;
        DWORD type;
        std::string data;
    } rows[] = {
        {_T(""), REG_SZ, Units(_T("default")) + kNul},
        {_T("text"), REG_SZ, Units(_T("a \"b\" c:\\d")) + kNul},
        {_T("empty"), REG_SZ, kNul},
        {_T("number"), REG_DWORD, std::string("\xFE\xFF\0\0", 4)},
        {_T("short"), REG_DWORD, std::string("\x0A\0\0\0", 4)},
        {_T("bytes"), REG_BINARY, "\x01\xFF\x02\x03"},
        {_T("none"), REG_NONE, ""},
        {_T("expand"), REG_EXPAND_SZ, Units(_T("%A")) + kNul},
        {_T("multi"), REG_MULTI_SZ, Units(_T("a")) + kNul + kNul},
        {_T("quad"), REG_QWORD, "\x01\x02\x03\x04\x05\x06\x07\x08"},
        {_T("own"), 0x7FFFFFFF, "\x7F"},
    };
    ASSERT_EQ(keys[0].values.size(), std::size(rows) + 1);
    for (size_t i = 0; i < std::size(rows); ++i) {
        EXPECT_EQ(keys[0].values[i].name, rows[i].name);
        EXPECT_EQ(keys[0].values[i].type, rows[i].type);
        EXPECT_EQ(keys[0].values[i].data, rows[i].data);
        EXPECT_FALSE(keys[0].values[i].remove);
    }
    EXPECT_EQ(keys[0].values.back().name, _T("gone"));
    EXPECT_TRUE(keys[0].values.back().remove);
}

TEST(RegFile, ReadsDeletedKeysCommentsAndBlanks) {
    const std::vector<RegFileKey> keys =
        ParseRegFile(Version5(_T("; a comment\n")
                              _T("  [-HKLM\\Software\\Old] ; gone\n")
                              _T("\t[hkey_users\\a]b]\r")
                              _T("  \"x\" = dword:1 ; one\r")
                              _T(" ; \"y\"=broken\r")
                              _T("[HKCC]")));
    ASSERT_EQ(keys.size(), 3u);
    EXPECT_EQ(keys[0].path, _T("HKEY_LOCAL_MACHINE\\Software\\Old"));
    EXPECT_TRUE(keys[0].remove);
    EXPECT_EQ(keys[1].path, _T("HKEY_USERS\\a]b"));
    EXPECT_FALSE(keys[1].remove);
    ASSERT_EQ(keys[1].values.size(), 1u);
    EXPECT_EQ(keys[1].values[0].data, std::string("\x01\0\0\0", 4));
    EXPECT_EQ(keys[2].path, _T("HKEY_CURRENT_CONFIG"));
}

TEST(RegFile, ReadsATextOverSeveralLines) {
    EXPECT_EQ(OnlyValue(Version5(_T("[HKCU\\A]\r\n\"a\"=\"one\r\ntwo\"\r\n"))).data, Units(_T("one\r\ntwo")) + kNul);
}

TEST(RegFile, ReadsUtf8WithItsMark) {
    EXPECT_EQ(OnlyValue("\xEF\xBB\xBFWindows Registry Editor Version 5.00\n[HKCU\\A]\n\"a\"=\"\xE4\xB8\xAD\"\n").data,
              Units(CString(WCHAR(0x4E2D))) + kNul);
}

TEST(RegFile, TextBytesOfVersion4AreAnsi) {
    EXPECT_EQ(OnlyValue(Version4("[HKCU\\A]\r\n\"a\"=\"text\"\r\n")).data, Units(_T("text")) + kNul);
    for (const char* type : {"1", "2", "7"}) {
        EXPECT_EQ(OnlyValue(Version4(std::string("[HKCU\\A]\r\n\"a\"=hex(") + type + "):61,62,00\r\n")).data,
                  Units(_T("ab")) + kNul);
    }
    EXPECT_EQ(OnlyValue(Version4("[HKCU\\A]\r\n\"a\"=hex:61,62,00\r\n")).data, std::string("ab\0", 3));
    EXPECT_EQ(OnlyValue(Version4("[HKCU\\A]\r\n\"a\"=hex(2):\r\n")).data, "");
}

TEST(RegFile, RefusesWhatIsMalformedWithTheLine) {
    const std::string head =
        "this is not a registration file: it should begin with "
        "'Windows Registry Editor Version 5.00' or 'REGEDIT4'";
    ExpectError("", 1, head);
    ExpectError("[HKCU\\A]\r\n", 1, head);
    ExpectError("\xFF\xFEz", 1, "the file ends in half a UTF-16 unit");
    ExpectError(Utf16File(_T("REGEDIT4\r\n\n\r[HKCU\\A]")) + "z", 4, "the file ends in half a UTF-16 unit");
    ExpectError("\xEF\xBB\xBF\xFF", 1, "the file is not UTF-8 text");
    ExpectError("\xEF\xBB\xBFREGEDIT4\r\n\n\r[HKCU\\A]\n\"\xFF\"=-\n\"\xFF\"=-\n", 5, "the file is not UTF-8 text");
    ExpectError(Version4("x") + std::string(1, '\0'), 3, "the text holds a NUL");
    const struct {
        std::string text;  // from the third line on
        int line;
        const char* what;
    } rows[] = {
        {"\"a\"=\"b\"", 3, "a value stands before the first key"},
        {"[-HKCU\\A]\n\"a\"=\"b\"", 4, "a value stands under a key that is to be deleted"},
        {"[HKCU\\A]\nword", 4, "the line is neither a key in '[...]' nor a value that begins with '\"' or '@'"},
        {"[HKCU\\A", 3, "the key's ']' is missing"},
        {"[HKCU\\A] x", 3, "something stands after the key's ']'"},
        {"[HKEY_DYN_DATA\\A]", 3, "there is no root key 'HKEY_DYN_DATA'"},
        {"[]", 3, "there is no root key ''"},
        {"[-HKEY_CURRENT_USER]", 3, "a root key cannot be deleted"},
        {"[HKCU\\]", 3, "the key's path holds an empty name"},
        {"[HKCU\\A\\\\B]", 3, "the key's path holds an empty name"},
        {"[HKCU\\A\\" + std::string(256, 'x') + "]", 3, "the key's path holds a name longer than 255 characters"},
        {"[HKCU\\A]\n\"" + std::string(16384, 'x') + "\"=\"\"", 4, "the value's name is longer than 16383 characters"},
        {"[HKCU\\A]\n\"a\"", 4, "'=' is missing after the value's name"},
        {"[HKCU\\A]\n@\"a\"", 4, "'=' is missing after the value's name"},
        {"[HKCU\\A]\n\"a\"=", 4, "the data is neither a quoted text nor 'dword:', 'hex:', 'hex(type):' or '-'"},
        {"[HKCU\\A]\n\"a\"=qword:1", 4, "the data is neither a quoted text nor 'dword:', 'hex:', 'hex(type):' or '-'"},
        {"[HKCU\\A]\n\"a\"=\"b\" c", 4, "something stands after the value's data"},
        {"[HKCU\\A]\n\"a\"=-1", 4, "something stands after the value's data"},
        {"[HKCU\\A]\n\"a\"=\"b\n\n\n", 4, "the closing '\"' of the text is missing"},
        {"[HKCU\\A]\n\"a", 4, "the closing '\"' of the name is missing"},
        {"[HKCU\\A]\n\"a\"=\"c:\\temp\"", 4, "a single '\\' stands in a quoted text; write it '\\\\'"},
        {"[HKCU\\A]\n\"a\"=dword:", 4, "a dword has 1 to 8 hexadecimal digits"},
        {"[HKCU\\A]\n\"a\"=dword:123456789", 4, "a dword has 1 to 8 hexadecimal digits"},
        {"[HKCU\\A]\n\"a\"=dword:1g", 4, "something stands after the value's data"},
        {"[HKCU\\A]\n\"a\"=hex():00", 4, "a type has 1 to 8 hexadecimal digits"},
        {"[HKCU\\A]\n\"a\"=hex(2:00", 4, "'):' is missing after the type"},
        {"[HKCU\\A]\n\"a\"=hex:0g", 4, "something stands after the value's data"},
        {"[HKCU\\A]\n\"a\"=hex:g0", 4, "the data is not made of hexadecimal bytes with ',' between them"},
        {"[HKCU\\A]\n\"a\"=hex:00,", 4, "the data is not made of hexadecimal bytes with ',' between them"},
        {"[HKCU\\A]\n\"a\"=hex:00,\\\n  01,\\\n  x", 6,
         "the data is not made of hexadecimal bytes with ',' between them"},
        {"[HKCU\\A]\n\"a\"=hex:00,\\", 4,
         "a line is continued by '\\' as its last character, with another line behind it"},
        {"[HKCU\\A]\n\"a\"=hex:00,\\ 01", 4,
         "a line is continued by '\\' as its last character, with another line behind it"},
    };
    for (const auto& row : rows) {
        ExpectError(Version4(row.text), row.line, row.what);
    }
}

TEST(RegFile, WritesTheFormOfTheRegistryEditor) {
    RegFileKey key{_T("HKEY_CURRENT_USER\\Software\\Demo"), false, {}};
    key.values = {
        {_T(""), REG_SZ, Units(_T("default")) + kNul, false},
        {_T("a\\\"b"), REG_SZ, Units(_T("c:\\\"d\"")) + kNul, false},
        {_T("lines"), REG_SZ, Units(_T("a\nb")) + kNul, false},
        {_T("open"), REG_SZ, Units(_T("a")), false},
        {_T("inner"), REG_SZ, Units(_T("a")) + kNul + Units(_T("b")) + kNul, false},
        {_T("odd"), REG_SZ, Units(_T("a")) + "b", false},
        {_T("nothing"), REG_SZ, "", false},
        {_T("number"), REG_DWORD, std::string("\x0A\x0B\x0C\xFD", 4), false},
        {_T("part"), REG_DWORD, std::string("\x0A\x0B", 2), false},
        {_T("bytes"), REG_BINARY, std::string(30, '\x5A'), false},
        {_T("list"), REG_MULTI_SZ, Units(_T("a")) + kNul + kNul, false},
        {_T("own"), 0xABCDEF, "", false},
        {_T("gone"), REG_NONE, "", true},
    };
    const RegFileKey old{_T("HKEY_CURRENT_USER\\Old"), true, {}};
    EXPECT_EQ(FormatRegFile({key, old}),
              _T("Windows Registry Editor Version 5.00\r\n")
              _T("\r\n")
              _T("[HKEY_CURRENT_USER\\Software\\Demo]\r\n")
              _T("@=\"default\"\r\n")
              _T("\"a\\\\\\\"b\"=\"c:\\\\\\\"d\\\"\"\r\n")
              _T("\"lines\"=hex(1):61,00,0a,00,62,00,00,00\r\n")
              _T("\"open\"=hex(1):61,00\r\n")
              _T("\"inner\"=hex(1):61,00,00,00,62,00,00,00\r\n")
              _T("\"odd\"=hex(1):61,00,62\r\n")
              _T("\"nothing\"=hex(1):\r\n")
              _T("\"number\"=dword:fd0c0b0a\r\n")
              _T("\"part\"=hex(4):0a,0b\r\n")
              _T("\"bytes\"=hex:5a,5a,5a,5a,5a,5a,5a,5a,5a,5a,5a,5a,5a,5a,5a,5a,5a,5a,5a,5a,5a,5a,\\\r\n")
              _T("  5a,5a,5a,5a,5a,5a,5a,5a\r\n")
              _T("\"list\"=hex(7):61,00,00,00,00,00\r\n")
              _T("\"own\"=hex(abcdef):\r\n")
              _T("\"gone\"=-\r\n")
              _T("\r\n")
              _T("[-HKEY_CURRENT_USER\\Old]\r\n")
              _T("\r\n"));
}

TEST(RegFile, WhatIsWrittenIsReadBack) {
    unsigned seed = 20;
    const auto random = [&seed](unsigned below) {
        seed = seed * 1103515245 + 12345;
        return (seed >> 16) % below;
    };
    RegFileKey key{_T("HKEY_CURRENT_USER\\A"), false, {}};
    for (int i = 0; i < 2000; ++i) {
        RegFileValue value;
        for (unsigned length = random(6); length > 0; --length) {
            value.name += static_cast<WCHAR>(_T("\\\"=]\n;a\x4E2D")[random(8)]);
        }
        value.type = random(13);
        for (unsigned length = random(120); length > 0; --length) {
            value.data += static_cast<char>(random(3) == 0 ? 0 : random(256));
        }
        key.values.push_back(value);
    }
    const std::vector<RegFileKey> keys = ParseRegFile(Utf16File(FormatRegFile({key})));
    ASSERT_EQ(keys.size(), 1u);
    ASSERT_EQ(keys[0].values.size(), key.values.size());
    for (size_t i = 0; i < key.values.size(); ++i) {
        EXPECT_EQ(keys[0].values[i].name, key.values[i].name);
        EXPECT_EQ(keys[0].values[i].type, key.values[i].type);
        EXPECT_EQ(keys[0].values[i].data, key.values[i].data);
    }
}

TEST(RegFile, DamagedFilesAreRefusedOrRead) {
    const std::string whole =
        Version5(_T("[HKCU\\A]\r\n\"a\"=hex(7):61,00,\\\r\n  00,00\r\n\"b\"=\"c\\\\d\"\r\n@=dword:1\r\n"));
    size_t refused = 0;
    for (size_t length = 0; length < whole.size(); ++length) {
        try {
            ParseRegFile(whole.substr(0, length));
        } catch (const RegFileError&) {
            ++refused;
        }
        std::string bent = whole;
        bent[length] = static_cast<char>(bent[length] ^ 0x55);
        try {
            ParseRegFile(bent);
        } catch (const RegFileError&) {
            ++refused;
        }
    }
    EXPECT_GT(refused, whole.size());
}

}  // namespace
}  // namespace kvttest
