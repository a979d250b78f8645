// Registry values: the size-query protocol, types, names, listing.

#include <string>

#include "tests/platform/registry_support.h"

namespace {

using namespace kvttest::registry;
using kvttest::Utf8;
using namespace std::string_literals;
using Strings = std::vector<std::string>;

constexpr LSTATUS kNotFound = ERROR_FILE_NOT_FOUND;
constexpr LSTATUS kBadParameter = ERROR_INVALID_PARAMETER;
constexpr LSTATUS kMoreData = ERROR_MORE_DATA;
constexpr LSTATUS kNoMore = ERROR_NO_MORE_ITEMS;

TEST(Win32RegistryValues, EveryTypeNumberAndItsBytesAreKept) {
    TestKey test;
    for (const DWORD type : {0u, 1u, 2u, 3u, 4u, 5u, 6u, 7u, 8u, 9u, 10u, 11u, 77u, 0xFFFFFFFFu}) {
        const std::string bytes = "a\0b\0c"s;
        EXPECT_EQ(SetBytes(test.Key(), _T("v"), bytes, type), 0);
        EXPECT_EQ(GetValue(test.Key(), _T("v")), (Value{0, type, bytes}));
    }
}

TEST(Win32RegistryValues, TextIsStoredAsGiven) {
    TestKey test;
    // Nothing behind these bytes is a NUL: what stands there would count on Windows.
    const std::string memory = "a\0b\0c\0d\0"s;
    for (const size_t size : {size_t{0}, size_t{1}, size_t{2}, size_t{3}, size_t{6}}) {
        const std::string_view bytes = std::string_view(memory).substr(0, size);
        EXPECT_EQ(SetBytes(test.Key(), _T("v"), bytes, REG_SZ), 0);
        EXPECT_EQ(GetValue(test.Key(), _T("v")), (Value{0, REG_SZ, std::string(bytes)}));
    }
    const std::string embedded = "a\0\0\0b\0\0\0"s;
    EXPECT_EQ(SetBytes(test.Key(), _T("v"), embedded, REG_MULTI_SZ), 0);
    EXPECT_EQ(GetValue(test.Key(), _T("v")), (Value{0, REG_MULTI_SZ, embedded}));
}

TEST(Win32RegistryValues, LargeValuesAreKept) {
    TestKey test;
    std::string bytes(1 << 20, '\0');
    for (size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<char>(i * 7 >> 3);
    }
    EXPECT_EQ(SetBytes(test.Key(), _T("v"), bytes), 0);
    EXPECT_EQ(GetValue(test.Key(), _T("v")), (Value{0, REG_BINARY, bytes}));
}

TEST(Win32RegistryValues, WithoutABufferTheSizeIsTold) {
    TestKey test;
    EXPECT_EQ(SetBytes(test.Key(), _T("v"), "12345", REG_SZ), 0);
    DWORD type = 99;
    DWORD size = 99;
    EXPECT_EQ(::RegQueryValueExW(test.Key(), _T("v"), nullptr, &type, nullptr, &size), 0);
    EXPECT_EQ(type, DWORD{REG_SZ});
    EXPECT_EQ(size, 5u);
    type = 99;
    EXPECT_EQ(::RegQueryValueExW(test.Key(), _T("v"), nullptr, &type, nullptr, nullptr), 0);
    EXPECT_EQ(type, DWORD{REG_SZ});
    EXPECT_EQ(::RegQueryValueExW(test.Key(), _T("v"), nullptr, nullptr, nullptr, nullptr), 0);
}

TEST(Win32RegistryValues, BufferThatIsTooSmallIsError234WithTypeAndSize) {
    TestKey test;
    EXPECT_EQ(SetBytes(test.Key(), _T("v"), "12345", REG_SZ), 0);
    for (const DWORD room : {0u, 1u, 4u}) {
        BYTE data[8] = {'#', '#'};
        DWORD type = 99;
        DWORD size = room;
        EXPECT_EQ(::RegQueryValueExW(test.Key(), _T("v"), nullptr, &type, data, &size), kMoreData);
        EXPECT_EQ(type, DWORD{REG_SZ});
        EXPECT_EQ(size, 5u);
        EXPECT_EQ(data[0], '#');
    }
    BYTE data[8] = {};
    DWORD size = 5;
    EXPECT_EQ(::RegQueryValueExW(test.Key(), _T("v"), nullptr, nullptr, data, &size), 0);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(data)), "12345");
}

TEST(Win32RegistryValues, MissingValueLeavesTypeAndSize) {
    TestKey test;
    BYTE data[8];
    DWORD type = 99;
    DWORD size = 8;
    EXPECT_EQ(::RegQueryValueExW(test.Key(), _T("none"), nullptr, &type, data, &size), kNotFound);
    EXPECT_EQ(type, 99u);
    EXPECT_EQ(size, 8u);
    EXPECT_EQ(::RegQueryValueExW(test.Key(), nullptr, nullptr, &type, data, &size), kNotFound);
    EXPECT_EQ(::RegDeleteValueW(test.Key(), _T("none")), kNotFound);
    EXPECT_EQ(::RegDeleteValueW(test.Key(), nullptr), kNotFound);
}

TEST(Win32RegistryValues, WrongArgumentsAreError87) {
    TestKey test;
    EXPECT_EQ(SetBytes(test.Key(), _T("v"), "1"), 0);
    BYTE data[8];
    DWORD reserved = 0;
    EXPECT_EQ(::RegQueryValueExW(test.Key(), _T("v"), nullptr, nullptr, data, nullptr), kBadParameter);
    EXPECT_EQ(::RegQueryValueExW(test.Key(), _T("v"), &reserved, nullptr, nullptr, nullptr), kBadParameter);
    WCHAR name[8];
    DWORD length = 8;
    EXPECT_EQ(::RegEnumValueW(test.Key(), 0, name, &length, nullptr, nullptr, data, nullptr), kBadParameter);
    EXPECT_EQ(::RegEnumValueW(test.Key(), 0, nullptr, &length, nullptr, nullptr, nullptr, nullptr), kBadParameter);
    EXPECT_EQ(::RegEnumValueW(test.Key(), 0, name, nullptr, nullptr, nullptr, nullptr, nullptr), kBadParameter);
    EXPECT_EQ(::RegEnumValueW(test.Key(), 0, name, &length, &reserved, nullptr, nullptr, nullptr), kBadParameter);
}

TEST(Win32RegistryValues, NullDataWithASizeIsError998) {
    TestKey test;
    EXPECT_EQ(::RegSetValueExW(test.Key(), _T("v"), 0, REG_BINARY, nullptr, 4), LSTATUS{ERROR_NOACCESS});
    EXPECT_EQ(ValueNames(test.Key()), Strings{});
    EXPECT_EQ(::RegSetValueExW(test.Key(), _T("v"), 0, REG_BINARY, nullptr, 0), 0);
    EXPECT_EQ(GetValue(test.Key(), _T("v")), (Value{0, REG_BINARY, ""}));
}

TEST(Win32RegistryValues, NullAndEmptyNamesAreTheUnnamedValue) {
    TestKey test;
    EXPECT_EQ(::RegSetValueExW(test.Key(), nullptr, 0, REG_BINARY, reinterpret_cast<const BYTE*>("1"), 1), 0);
    EXPECT_EQ(GetValue(test.Key(), _T("")).bytes, "1");
    EXPECT_EQ(SetBytes(test.Key(), _T(""), "2"), 0);
    DWORD size = 0;
    EXPECT_EQ(::RegQueryValueExW(test.Key(), nullptr, nullptr, nullptr, nullptr, &size), 0);
    EXPECT_EQ(ValueNames(test.Key()), Strings{""});
    EXPECT_EQ(::RegDeleteValueW(test.Key(), nullptr), 0);
    EXPECT_EQ(ValueNames(test.Key()), Strings{});
}

TEST(Win32RegistryValues, NamesIgnoreCaseAndKeepTheirFirstSpelling) {
    TestKey test;
    EXPECT_EQ(SetBytes(test.Key(), _T("Na\u00C9me\\x"), "1"), 0);
    EXPECT_EQ(SetBytes(test.Key(), _T("nA\u00E9ME\\X"), "22"), 0);
    EXPECT_EQ(ValueNames(test.Key()), Strings{"Na\u00C9me\\x"});
    EXPECT_EQ(GetValue(test.Key(), _T("NA\u00C9ME\\x")).bytes, "22");
    EXPECT_EQ(::RegDeleteValueW(test.Key(), _T("na\u00E9me\\x")), 0);
    EXPECT_EQ(ValueNames(test.Key()), Strings{});
}

TEST(Win32RegistryValues, NameOf16383CharactersIsTheLongest) {
    TestKey test;
    const CString longest = Repeated(_T('n'), 16383);
    const CString beyond = Repeated(_T('n'), 16384);
    EXPECT_EQ(SetBytes(test.Key(), longest, "1"), 0);
    EXPECT_EQ(GetValue(test.Key(), longest).bytes, "1");
    EXPECT_EQ(ValueNames(test.Key()), Strings{Utf8(longest)});
    EXPECT_EQ(SetBytes(test.Key(), beyond, "1"), kBadParameter);
    EXPECT_EQ(GetValue(test.Key(), beyond).error, kNotFound);
    EXPECT_EQ(::RegDeleteValueW(test.Key(), beyond), kNotFound);
    EXPECT_EQ(::RegDeleteValueW(test.Key(), longest), 0);
}

TEST(Win32RegistryValues, ANumberIsReadFromAnyTypeThatFits) {
    TestKey test;
    for (const DWORD type : {DWORD{REG_NONE}, DWORD{REG_BINARY}, DWORD{REG_QWORD}}) {
        EXPECT_EQ(SetBytes(test.Key(), _T("v"), "\x01\x02"s, type), 0);
        DWORD number = 0xFFFFFFFF;
        DWORD size = sizeof number;
        EXPECT_EQ(::RegQueryValueExW(test.Key(), _T("v"), nullptr, nullptr, reinterpret_cast<BYTE*>(&number), &size),
                  0);
        EXPECT_EQ(number, 0xFFFF0201u);
        EXPECT_EQ(size, 2u);
    }
}

TEST(Win32RegistryValues, ListGivesNamesTypesAndData) {
    TestKey test;
    EXPECT_EQ(SetBytes(test.Key(), _T("one"), "12345", REG_SZ), 0);
    WCHAR name[8];
    BYTE data[8] = {};
    DWORD length = 8;
    DWORD type = 99;
    DWORD size = 8;
    EXPECT_EQ(::RegEnumValueW(test.Key(), 0, name, &length, nullptr, &type, data, &size), 0);
    EXPECT_EQ(CString(name), CString(_T("one")));
    EXPECT_EQ(length, 3u);
    EXPECT_EQ(type, DWORD{REG_SZ});
    EXPECT_EQ(size, 5u);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(data)), "12345");
    length = 8;
    EXPECT_EQ(::RegEnumValueW(test.Key(), 1, name, &length, nullptr, nullptr, nullptr, nullptr), kNoMore);
    EXPECT_EQ(length, 8u);
    size = 0;
    EXPECT_EQ(::RegEnumValueW(test.Key(), 0, name, &length, nullptr, nullptr, nullptr, &size), 0);
    EXPECT_EQ(size, 5u);
}

TEST(Win32RegistryValues, ListTellsTypeAndSizeWhenABufferIsTooSmall) {
    TestKey test;
    EXPECT_EQ(SetBytes(test.Key(), _T("one"), "12345", REG_SZ), 0);
    WCHAR name[8] = {_T('#'), 0};
    BYTE data[8] = {};
    DWORD length = 3;
    DWORD type = 99;
    DWORD size = 8;
    EXPECT_EQ(::RegEnumValueW(test.Key(), 0, name, &length, nullptr, &type, data, &size), kMoreData);
    EXPECT_EQ(length, 3u);
    EXPECT_EQ(type, DWORD{REG_SZ});
    EXPECT_EQ(size, 5u);
    EXPECT_EQ(name[0], _T('#'));
    length = 8;
    size = 4;
    EXPECT_EQ(::RegEnumValueW(test.Key(), 0, name, &length, nullptr, &type, data, &size), kMoreData);
    EXPECT_EQ(length, 3u);
    EXPECT_EQ(size, 5u);
    EXPECT_EQ(CString(name), CString(_T("one")));
}

#ifndef _WIN32
TEST(Win32RegistryValues, ValuesComeInTheOrderOfTheirCreation) {  // Wine sorts them
    TestKey test;
    for (const LPCWSTR name : {_T("b"), _T(""), _T("a"), _T("c")}) {
        EXPECT_EQ(SetBytes(test.Key(), name, "1"), 0);
    }
    EXPECT_EQ(SetBytes(test.Key(), _T("B"), "2"), 0);
    EXPECT_EQ(ValueNames(test.Key()), (Strings{"b", "", "a", "c"}));
    EXPECT_EQ(::RegDeleteValueW(test.Key(), _T("a")), 0);
    EXPECT_EQ(SetBytes(test.Key(), _T("a"), "1"), 0);
    EXPECT_EQ(ValueNames(test.Key()), (Strings{"b", "", "c", "a"}));
}
#endif

TEST(Win32RegistryValues, DeletingWhileTheIndexGoesUpSkipsEveryOther) {
    TestKey test;
    for (const LPCWSTR name : {_T("v0"), _T("v1"), _T("v2"), _T("v3"), _T("v4")}) {
        EXPECT_EQ(SetBytes(test.Key(), name, "1"), 0);
    }
    WCHAR name[10];
    for (DWORD i = 0;; ++i) {
        DWORD length = 10;
        if (::RegEnumValueW(test.Key(), i, name, &length, nullptr, nullptr, nullptr, nullptr) != 0) {
            break;
        }
        EXPECT_EQ(::RegDeleteValueW(test.Key(), name), 0);
    }
    EXPECT_EQ(ValueNames(test.Key()), (Strings{"v1", "v3"}));
}

TEST(Win32RegistryValues, ValuesOfAKeyAreNotThoseOfItsSubKeys) {
    TestKey test;
    const Handle sub = Create(test.Key(), _T("sub"));
    EXPECT_EQ(SetBytes(test.Key(), _T("x"), "above"), 0);
    EXPECT_EQ(SetBytes(sub, _T("x"), "below"), 0);
    EXPECT_EQ(GetValue(test.Key(), _T("x")).bytes, "above");
    EXPECT_EQ(GetValue(sub, _T("x")).bytes, "below");
    EXPECT_EQ(::RegDeleteValueW(sub, _T("x")), 0);
    EXPECT_EQ(GetValue(test.Key(), _T("x")).bytes, "above");
}

TEST(Win32RegistryValues, OneHandleSeesWhatAnotherWrote) {
    TestKey test;
    const Handle one = Open(HKEY_CURRENT_USER, test.Path());
    const Handle two = Open(HKEY_CURRENT_USER, test.Path());
    EXPECT_EQ(SetBytes(one, _T("x"), "1"), 0);
    EXPECT_EQ(GetValue(two, _T("x")).bytes, "1");
    EXPECT_EQ(SetBytes(two, _T("x"), "2"), 0);
    EXPECT_EQ(GetValue(one, _T("x")).bytes, "2");
}

}  // namespace
