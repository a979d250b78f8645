// CFRegistry: words, rectangles and points, whose stored forms are their own.
#include <string>

#include "tests/cadhost/opened_registry.h"
#include "tests/mfc/throws.h"

namespace {

using namespace std::string_literals;
using kvttest::OpenedRegistry;
using kvttest::Status;
using kvttest::Statuses;
using kvttest::TestKey;

TEST(RegistryWords, AreStoredBehindACountOfEightBytes) {
    const TestKey key;
    OpenedRegistry registry(key);
    CWordArray words;
    words.Add(0x0102);
    words.Add(0xFFFE);
    words.Add(3);
    EXPECT_EQ(registry.Write(_T("v"), words), 1);
    EXPECT_EQ(key.Shown(_T("v")), "3: 03 00 00 00 00 00 00 00 02 01 FE FF 03 00");
    EXPECT_EQ(Status(registry), (Statuses{0, 3, 14}));
}

TEST(RegistryRect, IsFourNumbers) {
    const TestKey key;
    OpenedRegistry registry(key);
    EXPECT_EQ(registry.Write(_T("v"), CRect(-1, 2, 0x01020304, -2147483647 - 1)), 1);
    EXPECT_EQ(key.Shown(_T("v")), "3: FF FF FF FF 02 00 00 00 04 03 02 01 00 00 00 80");
    EXPECT_EQ(Status(registry), (Statuses{0, 3, 16}));
}

TEST(RegistryPoint, IsAStoredArrayOfFiveNumbers) {
    const TestKey key;
    OpenedRegistry registry(key);
    POINT point = {10, -2};
    POINT* pointer = &point;
    EXPECT_EQ(registry.Write(_T("v"), pointer), 1);
    EXPECT_EQ(key.Shown(_T("v")), "3: 05 00 0A 00 00 00 FE FF FF FF 00 00 00 00 00 00 00 00 00 00 00 00");
    EXPECT_EQ(Status(registry), (Statuses{0, 2, 22}));
    registry.SetHKey(nullptr);
    EXPECT_EQ(registry.Write(_T("v"), pointer), 0);
    EXPECT_EQ(Status(registry), (Statuses{ERROR_INVALID_HANDLE, 2, 22}));
}

TEST(RegistryPoint, NullPointerIsRefused) {
    const TestKey key;
    OpenedRegistry registry(key);
    POINT* pointer = nullptr;
    EXPECT_EQ(registry.Write(_T("v"), pointer), 0);
    EXPECT_EQ(Status(registry), (Statuses{ERROR_INVALID_PARAMETER, 2, 22}));
    EXPECT_EQ(key.Shown(_T("v")), "none");
    key.Put(_T("v"), REG_BINARY, "\x02\0\1\0\0\0\2\0\0\0"s);
    EXPECT_EQ(registry.Read(_T("v"), pointer), 0);
    EXPECT_EQ(Status(registry), (Statuses{ERROR_INVALID_PARAMETER, 2, 8}));
}

TEST(RegistryWords, ReadTakesACountOfFourBytes) {
    const TestKey key;
    key.Put(_T("v"), REG_BINARY, "\x02\0\0\0\x02\x01\xFE\xFF"s);
    OpenedRegistry registry(key);
    CWordArray words;
    words.SetSize(5);
    EXPECT_EQ(registry.Read(_T("v"), words), 1);
    ASSERT_EQ(words.GetSize(), 2);
    EXPECT_EQ(words[0], 0x0102);
    EXPECT_EQ(words[1], 0xFFFE);
    EXPECT_EQ(Status(registry), (Statuses{0, 3, 8}));
}

TEST(RegistryWords, RoundTripReadsTheUpperHalfOfTheCountAsElements) {
    const TestKey key;
    OpenedRegistry registry(key);
    CWordArray words;
    words.Add(0x0A0A);
    words.Add(0x0B0B);
    words.Add(0x0C0C);
    ASSERT_EQ(registry.Write(_T("v"), words), 1);
    EXPECT_EQ(registry.Read(_T("v"), words), 1);
    ASSERT_EQ(words.GetSize(), 3);
    EXPECT_EQ(words[0], 0);
    EXPECT_EQ(words[1], 0);
    EXPECT_EQ(words[2], 0x0A0A);
    CWordArray empty;
    ASSERT_EQ(registry.Write(_T("v"), empty), 1);
    EXPECT_EQ(registry.Read(_T("v"), words), 1);
    EXPECT_EQ(words.GetSize(), 0);
}

TEST(RegistryWords, CountBeyondTheValueFailsAndEmptiesTheArray) {
    const std::string damaged[] = {
        ""s,
        "\x01\0\0"s,
        "\x01\0\0\0"s,
        "\x01\0\0\0\x01"s,
        "\x02\0\0\0\x01\0\x02"s,
        "\xFF\xFF\xFF\xFF\x01\0"s,
        "\0\0\0\x80\x01\0"s,
        "\xFF\xFF\xFF\x7F\x01\0"s,
    };
    const TestKey key;
    OpenedRegistry registry(key);
    for (const std::string& bytes : damaged) {
        SCOPED_TRACE(kvttest::Hex(bytes));
        key.Put(_T("v"), REG_BINARY, bytes);
        CWordArray words;
        words.Add(9);
        EXPECT_EQ(registry.Read(_T("v"), words), 0);
        EXPECT_EQ(words.GetSize(), 0);
        EXPECT_EQ(Status(registry), (Statuses{0, 3, static_cast<long long>(bytes.size())}));
    }
}

TEST(RegistryRect, RoundTrip) {
    const TestKey key;
    OpenedRegistry registry(key);
    const CRect stored(-1, 2, 300000, -4);
    ASSERT_EQ(registry.Write(_T("v"), stored), 1);
    CRect loaded(9, 9, 9, 9);
    EXPECT_EQ(registry.Read(_T("v"), loaded), 1);
    EXPECT_TRUE(loaded == stored);
    EXPECT_EQ(Status(registry), (Statuses{0, 3, 16}));
}

TEST(RegistryRect, TakesTheFirstSixteenBytesAndNoFewer) {
    const TestKey key;
    OpenedRegistry registry(key);
    const std::string bytes = "\x01\0\0\0\x02\0\0\0\x03\0\0\0\x04\0\0\0more"s;
    for (size_t cut = 0; cut < 16; ++cut) {
        key.Put(_T("v"), REG_BINARY, bytes.substr(0, cut));
        CRect rect(9, 9, 9, 9);
        EXPECT_EQ(registry.Read(_T("v"), rect), 0) << cut;
        EXPECT_TRUE(rect == CRect(9, 9, 9, 9)) << cut;
        EXPECT_EQ(Status(registry), (Statuses{0, 3, static_cast<long long>(cut)}));
    }
    key.Put(_T("v"), REG_SZ, bytes);
    CRect rect;
    EXPECT_EQ(registry.Read(_T("v"), rect), 1);
    EXPECT_TRUE(rect == CRect(1, 2, 3, 4));
}

TEST(RegistryPoint, WhatWasWrittenIsTooLongToBeReadBack) {
    const TestKey key;
    OpenedRegistry registry(key);
    POINT point = {10, 20};
    POINT* pointer = &point;
    ASSERT_EQ(registry.Write(_T("v"), pointer), 1);
    point = {1, 2};
    EXPECT_EQ(registry.Read(_T("v"), pointer), 0);
    EXPECT_EQ(Status(registry), (Statuses{234, 2, 8}));
    EXPECT_EQ(point.x, 1);
    EXPECT_EQ(point.y, 2);
}

TEST(RegistryPoint, IsReadFromUpToTwentyBytes) {
    const TestKey key;
    OpenedRegistry registry(key);
    POINT point = {1, 2};
    POINT* pointer = &point;
    key.Put(_T("v"), REG_BINARY, "\x02\0\x0A\0\0\0\xFE\xFF\xFF\xFF"s);
    EXPECT_EQ(registry.Read(_T("v"), pointer), 1);
    EXPECT_EQ(point.x, 10);
    EXPECT_EQ(point.y, -2);
    EXPECT_EQ(Status(registry), (Statuses{0, 2, 8}));
    key.Put(_T("v"), REG_BINARY, "\x04\0\x05\0\0\0\x06\0\0\0\x07\0\0\0\x08\0\0\0\0\0"s);
    EXPECT_EQ(registry.Read(_T("v"), pointer), 1);
    EXPECT_EQ(point.x, 5);
    EXPECT_EQ(point.y, 6);
}

TEST(RegistryPoint, FewerThanTwoElementsThrow) {
    const TestKey key;
    OpenedRegistry registry(key);
    POINT point = {1, 2};
    POINT* pointer = &point;
    key.Put(_T("v"), REG_BINARY, "\0\0"s);
    EXPECT_THROWS_POINTER(registry.Read(_T("v"), pointer), CInvalidArgException);
    key.Put(_T("v"), REG_BINARY, "\x01\0\x0A\0\0\0"s);
    EXPECT_THROWS_POINTER(registry.Read(_T("v"), pointer), CInvalidArgException);
    EXPECT_EQ(point.x, 1);
    EXPECT_EQ(point.y, 2);
    EXPECT_EQ(Status(registry), (Statuses{0, 2, 8}));
}

TEST(RegistryPoint, DamagedForeignAndMissingValuesFail) {
    const TestKey key;
    OpenedRegistry registry(key);
    POINT point = {1, 2};
    POINT* pointer = &point;
    const std::string whole = "\x02\0\x0A\0\0\0\x14\0\0\0"s;
    for (size_t cut = 0; cut < whole.size(); ++cut) {
        key.Put(_T("v"), REG_BINARY, whole.substr(0, cut));
        EXPECT_EQ(registry.Read(_T("v"), pointer), 0) << cut;
        EXPECT_EQ(Status(registry), (Statuses{0, 2, 8}));
    }
    key.Put(_T("v"), REG_BINARY, "\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\x7F"s);
    EXPECT_EQ(registry.Read(_T("v"), pointer), 0) << "an absurd count";
    key.Put(_T("v"), REG_SZ, whole);
    EXPECT_EQ(registry.Read(_T("v"), pointer), 0) << "not binary";
    EXPECT_EQ(Status(registry), (Statuses{0, 2, 8}));
    EXPECT_EQ(registry.Read(_T("missing"), pointer), 0);
    EXPECT_EQ(Status(registry), (Statuses{ERROR_FILE_NOT_FOUND, 2, 8}));
    EXPECT_EQ(point.x, 1);
    EXPECT_EQ(point.y, 2);
}

}  // namespace
