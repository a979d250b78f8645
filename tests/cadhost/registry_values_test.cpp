// CFRegistry: texts, numbers and bytes: what is stored, what is read from foreign types, and the status of each.
#include <algorithm>
#include <string>
#include <vector>

#include "tests/cadhost/opened_registry.h"

namespace {

using kvttest::OpenedRegistry;
using kvttest::spoilt;
using kvttest::Status;
using kvttest::Statuses;
using kvttest::TestKey;
using kvttest::Utf8;

std::string Filled(size_t count, char byte = 'x') {
    return std::string(count, byte);
}

// --- texts ---

TEST(RegistryText, IsStoredWithItsNulAndCountedInCharacters) {
    const TestKey key;
    OpenedRegistry registry(key);
    EXPECT_EQ(registry.Write(_T("v"), _T("A中")), 1);
    EXPECT_EQ(key.Shown(_T("v")), "1: 41 00 2D 4E 00 00");
    EXPECT_EQ(Status(registry), (Statuses{0, 1, 3}));
    EXPECT_EQ(registry.Write(_T("v"), _T("")), 1);
    EXPECT_EQ(key.Shown(_T("v")), "1: 00 00");
    EXPECT_EQ(Status(registry), (Statuses{0, 1, 1}));
    EXPECT_EQ(registry.Write(_T("v"), CString(_T("text"))), 1);
    EXPECT_EQ(Status(registry), (Statuses{0, 1, 5}));
}

TEST(RegistryText, NullTextIsRefused) {
    const TestKey key;
    key.PutText(_T("v"), u"x");
    OpenedRegistry registry(key);
    EXPECT_EQ(registry.Write(_T("v"), static_cast<LPCWSTR>(nullptr)), 0);
    EXPECT_EQ(Status(registry), (Statuses{ERROR_NOACCESS, 1, 1}));
    EXPECT_EQ(key.Shown(_T("v")), "1: 78 00 00 00");
}

TEST(RegistryText, NullAndEmptyNamesAreTheUnnamedValue) {
    const TestKey key;
    OpenedRegistry registry(key);
    EXPECT_EQ(registry.Write(nullptr, _T("a")), 1);
    EXPECT_EQ(key.Shown(_T("")), "1: 61 00 00 00");
    EXPECT_EQ(registry.Write(_T(""), _T("b")), 1);
    CString text;
    EXPECT_EQ(registry.Read(nullptr, text), 1);
    EXPECT_EQ(text, _T("b"));
    EXPECT_EQ(registry.Read(_T(""), text), 1);
    EXPECT_EQ(text, _T("b"));
}

TEST(RegistryText, NameBeyondTheLimitIsRefused) {
    const TestKey key;
    OpenedRegistry registry(key);
    const CString longest(_T('n'), 16383);
    EXPECT_EQ(registry.Write(longest, _T("a")), 1);
    CString text;
    EXPECT_EQ(registry.Read(longest, text), 1);
    EXPECT_EQ(text, _T("a"));
    EXPECT_EQ(registry.Write(CString(_T('n'), 16384), _T("a")), 0);
    EXPECT_EQ(Status(registry), (Statuses{ERROR_INVALID_PARAMETER, 1, 2}));
}

TEST(RegistryText, ReadGivesTypeAndSizeInBytes) {
    const TestKey key;
    key.PutText(_T("v"), u"A中");
    OpenedRegistry registry(key);
    CString text;
    EXPECT_EQ(registry.Read(_T("V"), text), 1);
    EXPECT_EQ(text, _T("A中"));
    EXPECT_EQ(Status(registry), (Statuses{0, 1, 6}));
}

TEST(RegistryText, MissingValueEmptiesTheText) {
    const TestKey key;
    OpenedRegistry registry(key);
    CString text = _T("before");
    EXPECT_EQ(registry.Read(_T("v"), text), 0);
    EXPECT_EQ(text, _T(""));
    EXPECT_EQ(Status(registry), (Statuses{ERROR_FILE_NOT_FOUND, 0, 0}));
}

TEST(RegistryText, EmptyValueIsTheEmptyText) {
    const TestKey key;
    key.Put(_T("v"), REG_SZ, "");
    OpenedRegistry registry(key);
    CString text = _T("before");
    EXPECT_EQ(registry.Read(_T("v"), text), 1);
    EXPECT_EQ(text, _T(""));
    EXPECT_EQ(Status(registry), (Statuses{0, 1, 0}));
}

TEST(RegistryText, ValueOfAnyTypeIsReadUpToItsFirstNul) {
    using namespace std::string_literals;
    const struct {
        DWORD type;
        std::string bytes;
        std::string text;
    } rows[] = {
        {REG_BINARY, "A\0B\0"s, "AB"},
        {REG_BINARY, "A\0B\0C"s, "AB"},
        {REG_BINARY, "A"s, ""},
        {REG_SZ, "A\0B"s, "A"},
        {REG_SZ, "A\0\0\0B\0\0\0"s, "A"},
        {REG_MULTI_SZ, "A\0\0\0B\0\0\0\0\0"s, "A"},
        {REG_EXPAND_SZ, "%\0A\0%\0\0\0"s, "%A%"},
        {REG_DWORD, "A\0\0\0"s, "A"},
        {REG_QWORD, "\x2D\x4E\0\0\0\0\0\0"s, "\xE4\xB8\xAD"},
        {REG_NONE, "\0\0A\0"s, ""},
        {77, "A\0\0\0"s, "A"},
    };
    const TestKey key;
    OpenedRegistry registry(key);
    for (const auto& row : rows) {
        SCOPED_TRACE(std::to_string(row.type) + ": " + kvttest::Hex(row.bytes));
        key.Put(_T("v"), row.type, row.bytes);
        CString text;
        EXPECT_EQ(registry.Read(_T("v"), text), 1);
        EXPECT_EQ(Utf8(text), row.text);
        EXPECT_EQ(Status(registry),
                  (Statuses{0, static_cast<long long>(row.type), static_cast<long long>(row.bytes.size())}));
    }
}

TEST(RegistryText, LongerThan1023CharactersIsCut) {
    const TestKey key;
    OpenedRegistry registry(key);
    for (const size_t length : {511u, 512u, 1022u, 1023u, 1024u, 5000u, 600000u}) {
        SCOPED_TRACE(length);
        key.PutText(_T("v"), std::u16string(length, u'x'));
        CString text;
        EXPECT_EQ(registry.Read(_T("v"), text), 1);
        EXPECT_EQ(text, CString(_T('x'), static_cast<int>(std::min<size_t>(length, 1023))));
        EXPECT_EQ(Status(registry), (Statuses{0, 1, static_cast<long long>(length * 2 + 2)})) << "tells the whole size";
    }
}

// --- numbers ---

TEST(RegistryNumber, IntIsStoredAndRecorded) {
    const TestKey key;
    OpenedRegistry registry(key);
    EXPECT_EQ(registry.Write(_T("v"), -2), 1);
    EXPECT_EQ(key.Shown(_T("v")), "4: FE FF FF FF");
    EXPECT_EQ(Status(registry), (Statuses{0, 4, 4}));
}

TEST(RegistryNumber, DwordIsStoredAndNotRecorded) {
    const TestKey key;
    OpenedRegistry registry(key);
    EXPECT_EQ(registry.Write(_T("v"), DWORD{0x80000001}), 1);
    EXPECT_EQ(key.Shown(_T("v")), "4: 01 00 00 80");
    EXPECT_EQ(Status(registry), spoilt);
    registry.SetHKey(nullptr);
    EXPECT_EQ(registry.Write(_T("v"), DWORD{1}), 0);
    EXPECT_EQ(Status(registry), spoilt) << "an error neither";
}

TEST(RegistryNumber, AnyTypeOfAtMostFourBytesIsRead) {
    using namespace std::string_literals;
    const struct {
        DWORD type;
        std::string bytes;
        DWORD value;
    } rows[] = {
        {REG_DWORD, "\x04\x03\x02\xF1"s, 0xF1020304},
        {REG_BINARY, "\x04\x03\x02\x01"s, 0x01020304},
        {REG_BINARY, "\x04\x03\x02"s, 0x00020304},
        {REG_SZ, "A\0"s, 0x41},
        {REG_NONE, "\x04"s, 4},
        {REG_BINARY, ""s, 0},
        {77, "\x05\0\0\0"s, 5},
    };
    const TestKey key;
    OpenedRegistry registry(key);
    for (const auto& row : rows) {
        SCOPED_TRACE(std::to_string(row.type) + ": " + kvttest::Hex(row.bytes));
        const Statuses expected = {0, static_cast<long long>(row.type), static_cast<long long>(row.bytes.size())};
        key.Put(_T("v"), row.type, row.bytes);
        DWORD number = 99;
        EXPECT_EQ(registry.Read(_T("v"), number), 1);
        EXPECT_EQ(number, row.value);
        EXPECT_EQ(Status(registry), expected);
        int signedNumber = 99;
        EXPECT_EQ(registry.Read(_T("v"), signedNumber), 1);
        EXPECT_EQ(signedNumber, static_cast<int>(row.value));
        EXPECT_EQ(Status(registry), expected);
    }
}

TEST(RegistryNumber, LongerValueIsMoreData) {
    const TestKey key;
    key.PutText(_T("v"), u"AB");
    OpenedRegistry registry(key);
    DWORD number = 99;
    EXPECT_EQ(registry.Read(_T("v"), number), 0);
    EXPECT_EQ(number, 99u);
    EXPECT_EQ(Status(registry), (Statuses{ERROR_MORE_DATA, 1, 6}));
    int signedNumber = -99;
    EXPECT_EQ(registry.Read(_T("v"), signedNumber), 0);
    EXPECT_EQ(signedNumber, -99);
    EXPECT_EQ(Status(registry), (Statuses{ERROR_MORE_DATA, 1, 6}));
}

TEST(RegistryNumber, MissingValueLeavesTheTarget) {
    const TestKey key;
    OpenedRegistry registry(key);
    DWORD number = 99;
    EXPECT_EQ(registry.Read(_T("v"), number), 0);
    EXPECT_EQ(number, 99u);
    EXPECT_EQ(Status(registry), (Statuses{ERROR_FILE_NOT_FOUND, 0, 0}));
    int signedNumber = -99;
    EXPECT_EQ(registry.Read(_T("v"), signedNumber), 0);
    EXPECT_EQ(signedNumber, -99);
}

// --- bytes ---

TEST(RegistryBytes, AreStoredAsTheyAre) {
    const TestKey key;
    OpenedRegistry registry(key);
    BYTE bytes[] = {0, 255, 7};
    EXPECT_EQ(registry.Write(_T("v"), bytes, 3), 1);
    EXPECT_EQ(key.Shown(_T("v")), "3: 00 FF 07");
    EXPECT_EQ(Status(registry), (Statuses{0, 3, 3}));
    EXPECT_EQ(registry.Write(_T("v"), bytes, 0), 1);
    EXPECT_EQ(key.Shown(_T("v")), "3:");
    EXPECT_EQ(Status(registry), (Statuses{0, 3, 0}));
    EXPECT_EQ(registry.Write(_T("v"), nullptr, 0), 1);
    EXPECT_EQ(key.Shown(_T("v")), "3:");
}

TEST(RegistryBytes, NullWithALengthIsRefused) {
    const TestKey key;
    key.Put(_T("v"), REG_BINARY, "x");
    OpenedRegistry registry(key);
    EXPECT_EQ(registry.Write(_T("v"), nullptr, 3), 0);
    EXPECT_EQ(Status(registry), (Statuses{ERROR_NOACCESS, 3, 3}));
    EXPECT_EQ(key.Shown(_T("v")), "3: 78");
}

TEST(RegistryBytes, AreReadFromAnyTypeAndSize) {
    const TestKey key;
    OpenedRegistry registry(key);
    for (const size_t size : {size_t{1}, size_t{3}, size_t{1023}, size_t{1024}, size_t{1025}, size_t{1} << 20}) {
        for (const DWORD type : {DWORD{REG_BINARY}, DWORD{REG_SZ}, DWORD{77}}) {
            SCOPED_TRACE(std::to_string(type) + ": " + std::to_string(size));
            key.Put(_T("v"), type, Filled(size));
            BYTE* data = nullptr;
            UINT length = 0;
            EXPECT_EQ(registry.Read(_T("v"), &data, &length), 1);
            ASSERT_TRUE(data);
            EXPECT_EQ(length, size);
            if (length == size) {
                EXPECT_TRUE(std::string(reinterpret_cast<char*>(data), length) == Filled(size));
            }
            EXPECT_EQ(Status(registry), (Statuses{0, 3, static_cast<long long>(size)})) << "the type is always 3";
            delete[] data;
        }
    }
}

TEST(RegistryBytes, EmptyValueSucceedsWithNull) {
    const TestKey key;
    key.Put(_T("v"), REG_SZ, "");
    OpenedRegistry registry(key);
    BYTE byte = 0;
    BYTE* data = &byte;
    UINT length = 9;
    EXPECT_EQ(registry.Read(_T("v"), &data, &length), 1);
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(length, 0u);
    EXPECT_EQ(Status(registry), (Statuses{0, 3, 0}));
}

TEST(RegistryBytes, MissingValueFailsWithNull) {
    const TestKey key;
    OpenedRegistry registry(key);
    BYTE byte = 0;
    BYTE* data = &byte;
    UINT length = 9;
    EXPECT_EQ(registry.Read(_T("v"), &data, &length), 0);
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(length, 0u);
    EXPECT_EQ(Status(registry), (Statuses{ERROR_FILE_NOT_FOUND, 3, 0}));
}

TEST(RegistryBytes, NullTargetsAreRefused) {
    const TestKey key;
    key.Put(_T("v"), REG_BINARY, "x");
    OpenedRegistry registry(key);
    BYTE byte = 0;
    BYTE* data = &byte;
    EXPECT_EQ(registry.Read(_T("v"), &data, static_cast<UINT*>(nullptr)), 0);
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(Status(registry), (Statuses{ERROR_INVALID_PARAMETER, 3, 0}));
    UINT length = 9;
    EXPECT_EQ(registry.Read(_T("v"), static_cast<BYTE**>(nullptr), &length), 0);
    EXPECT_EQ(length, 0u);
}

// --- read-only objects ---

TEST(RegistryReadOnly, WritesNothingAndRecordsNothing) {
    const TestKey key;
    OpenedRegistry registry(key, 1);
    registry.SetHKey(key.Handle());  // a key that could be written
    BYTE bytes[] = {1};
    EXPECT_EQ(registry.Write(_T("v"), _T("text")), 0);
    EXPECT_EQ(registry.Write(_T("v"), 1), 0);
    EXPECT_EQ(registry.Write(_T("v"), DWORD{1}), 0);
    EXPECT_EQ(registry.Write(_T("v"), bytes, 1), 0);
    EXPECT_EQ(Status(registry), spoilt);
    EXPECT_EQ(key.Shown(_T("v")), "none");
    registry.SetHKey(nullptr);
}

TEST(RegistryReadOnly, KeyOpenedForReadingRefusesWrites) {
    const TestKey key;
    OpenedRegistry registry(key, 1);
    registry.m_bReadOnly = 0;
    EXPECT_EQ(registry.Write(_T("v"), _T("text")), 0);
    EXPECT_EQ(Status(registry), (Statuses{ERROR_ACCESS_DENIED, 1, 5}));
    EXPECT_EQ(registry.Write(_T("v"), DWORD{1}), 0);
    EXPECT_EQ(key.Shown(_T("v")), "none");
}

}  // namespace
