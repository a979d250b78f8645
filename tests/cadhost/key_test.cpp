// CKey, GetRegKeyValue and SetRegKeyValue.
#include <string>
#include <type_traits>

#include "kvtfile/Registry.h"
#include "tests/cadhost/test_key.h"

namespace {

using namespace std::string_literals;
using kvtfile::CKey;
using kvtfile::GetRegKeyValue;
using kvtfile::SetRegKeyValue;
using kvttest::TestKey;
using kvttest::Utf8;

bool IsOpen(HKEY key) {
    return ::RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                              nullptr, nullptr) == 0;
}

// --- CKey ---

TEST(Key, HoldsAHandleAlone) {
    const CKey key;
    EXPECT_EQ(key.m_hKey, nullptr);
    static_assert(sizeof(CKey) == sizeof(HKEY));
    static_assert(!std::is_polymorphic_v<CKey>);
}

TEST(Key, OpensForReading) {
    const TestKey test;
    test.PutText(_T("v"), u"x");
    CKey key;
    ASSERT_EQ(key.Open(test.Root(), test.Path()), 1);
    CString text;
    EXPECT_EQ(key.GetStringValue(text, _T("v")), 1);
    EXPECT_EQ(text, _T("x"));
    EXPECT_EQ(key.SetStringValue(_T("y"), _T("v")), 0);
    EXPECT_EQ(test.Shown(_T("v")), "1: 78 00 00 00");
}

TEST(Key, FailedOpenLeavesTheKey) {
    const TestKey test;
    CKey key;
    EXPECT_EQ(key.Open(test.Handle(), _T("missing")), 0);
    EXPECT_EQ(key.m_hKey, nullptr);
    EXPECT_EQ(key.Open(nullptr, _T("Software")), 0);
    EXPECT_EQ(key.Open(test.Handle(), _T("\\Software")), 0);
    ASSERT_EQ(key.Open(test.Handle(), nullptr), 1) << "the same key";
    const HKEY before = key.m_hKey;
    EXPECT_EQ(key.Open(test.Handle(), _T("missing")), 0);
    EXPECT_EQ(key.m_hKey, before);
}

TEST(Key, CreateGivesTheErrorCode) {
    const TestKey test;
    CKey key;
    EXPECT_EQ(key.Create(test.Handle(), _T("A\\B")), 0);
    EXPECT_TRUE(test.Has(_T("A\\B")));
    EXPECT_EQ(key.SetStringValue(_T("x"), _T("v")), 1) << "open for everything";
    EXPECT_EQ(test.Shown(_T("v"), _T("A\\B")), "1: 78 00 00 00");
    CKey again;
    EXPECT_EQ(again.Create(test.Handle(), _T("a\\b")), 0);
    CString text;
    EXPECT_EQ(again.GetStringValue(text, _T("v")), 1);
    EXPECT_EQ(text, _T("x"));
    CKey failed;
    EXPECT_EQ(failed.Create(nullptr, _T("A")), static_cast<int>(ERROR_INVALID_HANDLE));
    EXPECT_EQ(failed.Create(test.Handle(), _T("\\A")), static_cast<int>(ERROR_BAD_PATHNAME));
    EXPECT_EQ(failed.Create(test.Handle(), CString(_T('n'), 300)), static_cast<int>(ERROR_INVALID_PARAMETER));
    EXPECT_EQ(failed.m_hKey, nullptr);
}

TEST(Key, EmptyAndNullPathsMeanTheParent) {
    const TestKey test;
    for (const LPCWSTR path : {static_cast<LPCWSTR>(nullptr), _T("")}) {
        CKey key;
        EXPECT_EQ(key.Create(test.Handle(), path), 0);
        EXPECT_EQ(key.SetStringValue(_T("x"), _T("v")), 1);
        EXPECT_EQ(test.Shown(_T("v")), "1: 78 00 00 00");
        CKey read;
        EXPECT_EQ(read.Open(test.Handle(), path), 1);
        EXPECT_EQ(::RegDeleteValueW(test.Handle(), _T("v")), 0);
    }
}

TEST(Key, CloseAndDestructorCloseTheHandle) {
    const TestKey test;
    CKey key;
    ASSERT_EQ(key.Open(test.Root(), test.Path()), 1);
    HKEY handle = key.m_hKey;
    EXPECT_TRUE(IsOpen(handle));
    key.Close();
    EXPECT_EQ(key.m_hKey, nullptr);
    EXPECT_FALSE(IsOpen(handle));
    key.Close();
    {
        CKey inner;
        ASSERT_EQ(inner.Open(test.Root(), test.Path()), 1);
        handle = inner.m_hKey;
    }
    EXPECT_FALSE(IsOpen(handle));
}

TEST(Key, AssignmentCopiesTheHandleItself) {
    const TestKey test;
    CKey first;
    ASSERT_EQ(first.Open(test.Root(), test.Path()), 1);
    CKey second;
    second = first;
    const CKey third(first);
    EXPECT_EQ(second.m_hKey, first.m_hKey);
    EXPECT_EQ(third.m_hKey, first.m_hKey);
    second.Close();
    EXPECT_NE(first.m_hKey, nullptr);
    CString text;
    EXPECT_EQ(first.GetStringValue(text, _T("v")), 0) << "closed for both";
}

TEST(Key, TextOfAnyTypeAndLengthIsReadWhole) {
    const TestKey test;
    CKey key;
    ASSERT_EQ(key.Open(test.Root(), test.Path()), 1);
    CString text;
    for (const size_t length : {0u, 1u, 511u, 512u, 1023u, 1024u, 5000u, 600000u}) {
        test.PutText(_T("v"), std::u16string(length, u'x'));
        EXPECT_EQ(key.GetStringValue(text, _T("v")), 1);
        EXPECT_EQ(text, CString(_T('x'), static_cast<int>(length)));
    }
    const struct {
        DWORD type;
        std::string bytes;
        std::string text;
    } rows[] = {
        {REG_BINARY, "A\0B\0"s, "AB"},      {REG_BINARY, "A\0B"s, "A"},   {REG_BINARY, "A"s, ""}, {REG_SZ, ""s, ""},
        {REG_MULTI_SZ, "A\0\0\0B\0"s, "A"}, {REG_DWORD, "A\0\0\0"s, "A"},
    };
    for (const auto& row : rows) {
        test.Put(_T("v"), row.type, row.bytes);
        text = _T("before");
        EXPECT_EQ(key.GetStringValue(text, _T("V")), 1) << kvttest::Hex(row.bytes);
        EXPECT_EQ(Utf8(text), row.text) << kvttest::Hex(row.bytes);
    }
}

TEST(Key, FailedReadLeavesTheText) {
    const TestKey test;
    test.PutText(nullptr, u"unnamed");
    CKey key;
    CString text = _T("before");
    EXPECT_EQ(key.GetStringValue(text, _T("v")), 0) << "no key";
    ASSERT_EQ(key.Open(test.Root(), test.Path()), 1);
    EXPECT_EQ(key.GetStringValue(text, _T("v")), 0);
    EXPECT_EQ(key.GetStringValue(text, nullptr), 0) << "a null name is refused";
    EXPECT_EQ(text, _T("before"));
    EXPECT_EQ(key.GetStringValue(text, _T("")), 1);
    EXPECT_EQ(text, _T("unnamed"));
}

TEST(Key, SetStringValueTakesTheTextFirst) {
    const TestKey test;
    CKey key;
    ASSERT_EQ(key.Create(test.Root(), test.Path()), 0);
    EXPECT_EQ(key.SetStringValue(_T("A中"), _T("name")), 1);
    EXPECT_EQ(test.Shown(_T("name")), "1: 41 00 2D 4E 00 00");
    EXPECT_EQ(key.SetStringValue(_T(""), _T("name")), 1);
    EXPECT_EQ(test.Shown(_T("name")), "1: 00 00");
    EXPECT_EQ(key.SetStringValue(_T("u"), nullptr), 1);
    EXPECT_EQ(test.Shown(nullptr), "1: 75 00 00 00");
    EXPECT_EQ(key.SetStringValue(nullptr, _T("name")), 0);
    EXPECT_EQ(key.SetStringValue(_T("x"), CString(_T('n'), 16384)), 0);
    EXPECT_EQ(test.Shown(_T("name")), "1: 00 00");
    key.Close();
    EXPECT_EQ(key.SetStringValue(_T("x"), _T("name")), 0);
}

TEST(Key, SubKeysAreNamedByTheirIndex) {
    const TestKey test;
    test.Make(_T("b"));
    test.Make(_T("A"));
    CKey key;
    ASSERT_EQ(key.Open(test.Root(), test.Path()), 1);
    CString name;
    EXPECT_EQ(key.GetRegEnumKey(name, 0), 1);
    EXPECT_EQ(name, _T("A"));
    EXPECT_EQ(key.GetRegEnumKey(name, 1), 1);
    EXPECT_EQ(name, _T("b"));
    EXPECT_EQ(key.GetRegEnumKey(name, 2), 0);
    EXPECT_EQ(key.GetRegEnumKey(name, -1), 0);
    key.Close();
    EXPECT_EQ(key.GetRegEnumKey(name, 0), 0);
    EXPECT_EQ(name, _T("b"));
}

// --- one value in one call ---

TEST(RegKeyValue, RoundTrip) {
    const TestKey test;
    EXPECT_EQ(SetRegKeyValue(test.Root(), test.Path(_T("A\\B")), _T("文"), _T("v")), 1);
    EXPECT_EQ(test.Shown(_T("v"), _T("A\\B")), "1: 87 65 00 00");
    CString text;
    EXPECT_EQ(GetRegKeyValue(test.Root(), test.Path(_T("A\\B")), text, _T("v")), 1);
    EXPECT_EQ(text, _T("文"));
    EXPECT_EQ(SetRegKeyValue(test.Handle(), _T("A\\"), _T("x"), nullptr), 1) << "beneath any key, unnamed too";
    EXPECT_EQ(test.Shown(nullptr, _T("A")), "1: 78 00 00 00");
}

TEST(RegKeyValue, WorksUnderTheMachineHive) {
    const TestKey test(HKEY_LOCAL_MACHINE);
    EXPECT_EQ(SetRegKeyValue(HKEY_LOCAL_MACHINE, test.Path(_T("A")), _T("x"), _T("v")), 1);
    CString text;
    EXPECT_EQ(GetRegKeyValue(HKEY_LOCAL_MACHINE, test.Path(_T("A")), text, _T("v")), 1);
    EXPECT_EQ(text, _T("x"));
}

TEST(RegKeyValue, FailedReadLeavesTheText) {
    const TestKey test;
    test.PutText(nullptr, u"unnamed");
    CString text = _T("before");
    EXPECT_EQ(GetRegKeyValue(test.Root(), test.Path(_T("missing")), text, _T("v")), 0);
    EXPECT_EQ(GetRegKeyValue(test.Root(), test.Path(), text, _T("v")), 0);
    EXPECT_EQ(GetRegKeyValue(test.Root(), test.Path(), text, nullptr), 0);
    EXPECT_EQ(GetRegKeyValue(nullptr, test.Path(), text, _T("v")), 0);
    EXPECT_EQ(text, _T("before"));
}

TEST(RegKeyValue, NestedKeyOfTheSamePathReceivesTheValue) {
    const TestKey test;
    test.Make(_T("A\\A"));
    EXPECT_EQ(SetRegKeyValue(test.Handle(), _T("A"), _T("x"), _T("v")), 1);
    EXPECT_EQ(test.Shown(_T("v"), _T("A")), "none");
    EXPECT_EQ(test.Shown(_T("v"), _T("A\\A")), "1: 78 00 00 00");
}

TEST(RegKeyValue, RootStaysOpenAndUntouched) {
    const TestKey test;
    EXPECT_EQ(SetRegKeyValue(test.Handle(), _T("A"), _T("x"), _T("v")), 1);
    EXPECT_TRUE(IsOpen(test.Handle()));
    EXPECT_EQ(SetRegKeyValue(test.Handle(), _T("\\A"), _T("x"), _T("v")), 0);
    EXPECT_EQ(SetRegKeyValue(test.Handle(), CString(_T('n'), 300), _T("x"), _T("v")), 0);
    EXPECT_TRUE(IsOpen(test.Handle()));
    EXPECT_EQ(test.Shown(_T("v")), "none");
    EXPECT_EQ(SetRegKeyValue(nullptr, _T("A"), _T("x"), _T("v")), 0);
}

TEST(RegKeyValue, NameBeyondTheLimitIsRefused) {
    const TestKey test;
    EXPECT_EQ(SetRegKeyValue(test.Handle(), _T("A"), _T("x"), CString(_T('n'), 16384)), 0);
}

}  // namespace
