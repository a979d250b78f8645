// Registry keys: paths, opening, creating, deleting, listing, describing, rights.

#include <string>

#include "tests/platform/registry_support.h"

namespace {

using namespace kvttest::registry;
using kvttest::Utf8;
using Strings = std::vector<std::string>;

constexpr LSTATUS kNotFound = ERROR_FILE_NOT_FOUND;
constexpr LSTATUS kDenied = ERROR_ACCESS_DENIED;
constexpr LSTATUS kBadHandle = ERROR_INVALID_HANDLE;
constexpr LSTATUS kBadParameter = ERROR_INVALID_PARAMETER;
constexpr LSTATUS kMoreData = ERROR_MORE_DATA;
constexpr LSTATUS kNoMore = ERROR_NO_MORE_ITEMS;
constexpr LSTATUS kDeleted = ERROR_KEY_DELETED;
constexpr LSTATUS kBadPath = ERROR_BAD_PATHNAME;

DWORD DispositionOf(HKEY key, LPCWSTR path) {
    HKEY result = nullptr;
    DWORD disposition = 0;
    EXPECT_EQ(
        ::RegCreateKeyExW(key, path, 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_READ, nullptr, &result, &disposition), 0);
    const Handle closed(result);
    return disposition;
}

TEST(Win32RegistryKeys, CreateTellsWhetherTheKeyIsNew) {
    TestKey test;
    EXPECT_EQ(DispositionOf(test.Key(), _T("a")), DWORD{REG_CREATED_NEW_KEY});
    EXPECT_EQ(DispositionOf(test.Key(), _T("a")), DWORD{REG_OPENED_EXISTING_KEY});
    EXPECT_EQ(DispositionOf(test.Key(), _T("A")), DWORD{REG_OPENED_EXISTING_KEY});
    EXPECT_EQ(DispositionOf(test.Key(), _T("a\\b\\c")), DWORD{REG_CREATED_NEW_KEY});
    EXPECT_EQ(DispositionOf(test.Key(), _T("a\\b")), DWORD{REG_OPENED_EXISTING_KEY});
#ifndef _WIN32
    EXPECT_EQ(DispositionOf(test.Key(), _T("")), REG_OPENED_EXISTING_KEY);  // Wine says created
    EXPECT_EQ(DispositionOf(test.Key(), nullptr), REG_OPENED_EXISTING_KEY);
#endif
}

TEST(Win32RegistryKeys, OpenFindsWhatIsThereAndNothingElse) {
    TestKey test;
    Create(test.Key(), _T("a\\b"));
    EXPECT_EQ(OpenError(test.Key(), _T("a")), 0);
    EXPECT_EQ(OpenError(test.Key(), _T("a\\b")), 0);
    EXPECT_EQ(OpenError(test.Key(), _T("b")), kNotFound);
    EXPECT_EQ(OpenError(test.Key(), _T("b\\a")), kNotFound);
    EXPECT_EQ(OpenError(test.Key(), _T("a\\b\\c")), kNotFound);
    EXPECT_EQ(OpenError(HKEY_CURRENT_USER, test.Path() + _T("\\a\\b")), 0);
}

TEST(Win32RegistryKeys, FailedOpenAndCreateGiveANullKey) {
    TestKey test;
    HKEY result = test.Key();
    EXPECT_EQ(::RegOpenKeyExW(test.Key(), _T("none"), 0, KEY_READ, &result), kNotFound);
    EXPECT_EQ(result, nullptr);
    result = test.Key();
    EXPECT_EQ(::RegCreateKeyExW(test.Key(), _T("\\none"), 0, nullptr, 0, KEY_READ, nullptr, &result, nullptr),
              kBadPath);
    EXPECT_EQ(result, nullptr);
}

TEST(Win32RegistryKeys, EmptyAndNullPathsAreTheKeyItself) {
    TestKey test;
    for (const LPCWSTR path : {LPCWSTR{_T("")}, LPCWSTR{nullptr}}) {
        HKEY same = nullptr;
        ASSERT_EQ(::RegOpenKeyExW(test.Key(), path, 0, KEY_ALL_ACCESS, &same), 0);
        const Handle closed(same);
        EXPECT_NE(same, test.Key());
        EXPECT_EQ(SetBytes(same, _T("x"), "1"), 0);
        EXPECT_EQ(GetValue(test.Key(), _T("x")).bytes, "1");
        EXPECT_EQ(CreateError(test.Key(), path), 0);
    }
}

TEST(Win32RegistryKeys, BackslashAtTheStartIsError161) {
    TestKey test;
    Create(test.Key(), _T("a"));
    for (const LPCWSTR path : {_T("\\a"), _T("\\"), _T("\\\\"), _T("\\none")}) {
        EXPECT_EQ(OpenError(test.Key(), path), kBadPath);
        EXPECT_EQ(CreateError(test.Key(), path), kBadPath);
        EXPECT_EQ(::RegDeleteKeyW(test.Key(), path), kBadPath);
    }
    EXPECT_EQ(SubKeys(test.Key()), Strings{"a"});
}

TEST(Win32RegistryKeys, DoubledAndTrailingBackslashesChangeNothing) {
    TestKey test;
    EXPECT_EQ(CreateError(test.Key(), _T("a\\\\b\\")), 0);
    EXPECT_EQ(CreateError(test.Key(), _T("c\\\\")), 0);
    EXPECT_EQ(SubKeys(test.Key()), (Strings{"a", "c"}));
    EXPECT_EQ(OpenError(test.Key(), _T("a\\b")), 0);
    EXPECT_EQ(OpenError(test.Key(), _T("a\\\\\\b\\\\\\")), 0);
    EXPECT_EQ(::RegDeleteKeyW(test.Key(), _T("c\\")), 0);
    EXPECT_EQ(SubKeys(test.Key()), Strings{"a"});
}

TEST(Win32RegistryKeys, SlashIsACharacterOfAName) {
    TestKey test;
    Create(test.Key(), _T("a/b"));
    EXPECT_EQ(SubKeys(test.Key()), Strings{"a/b"});
    EXPECT_EQ(OpenError(test.Key(), _T("a\\b")), kNotFound);
}

TEST(Win32RegistryKeys, NamesIgnoreCaseAndKeepTheirFirstSpelling) {
    TestKey test;
    Create(test.Key(), _T("MiXed\\\u00C9t\u00E9\u0416"));
    Create(test.Key(), _T("mixed\\\u00E9T\u00C9\u0436\\below"));
    EXPECT_EQ(SubKeys(test.Key()), Strings{"MiXed"});
    const Handle mixed = Open(test.Key(), _T("MIXED"));
    EXPECT_EQ(SubKeys(mixed), Strings{"\u00C9t\u00E9\u0416"});
    EXPECT_EQ(OpenError(mixed, _T("\u00C9T\u00C9\u0416\\BELOW")), 0);
}

TEST(Win32RegistryKeys, ChineseNamesAndLoneSurrogatesAreNames) {
    TestKey test;
    const CString lone = CString(WCHAR{0xD800}) + _T("x");
    Create(test.Key(), _T("\u56FE\u5C42"));
    Create(test.Key(), lone);
    EXPECT_EQ(OpenError(test.Key(), _T("\u56FE\u5C42")), 0);
    EXPECT_EQ(OpenError(test.Key(), lone), 0);
    WCHAR name[10];
    DWORD length = 10;
    ASSERT_EQ(::RegEnumKeyExW(test.Key(), 1, name, &length, nullptr, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(CString(name), lone);
}

TEST(Win32RegistryKeys, NameOf255CharactersIsTheLongest) {
    TestKey test;
    const CString longest = Repeated(_T('q'), 255);
    EXPECT_EQ(CreateError(test.Key(), longest), 0);
    EXPECT_EQ(OpenError(test.Key(), longest), 0);
    for (const int length : {257, 300, 5000}) {
        EXPECT_EQ(CreateError(test.Key(), Repeated(_T('q'), length)), kBadParameter);
        EXPECT_EQ(OpenError(test.Key(), Repeated(_T('q'), length)), kBadParameter);
        EXPECT_EQ(::RegDeleteKeyW(test.Key(), Repeated(_T('q'), length)), kBadParameter);
    }
#ifndef _WIN32
    EXPECT_EQ(CreateError(test.Key(), Repeated(_T('q'), 256)), kBadParameter);              // Wine takes 256
    EXPECT_EQ(CreateError(test.Key(), _T("a\\") + Repeated(_T('q'), 300)), kBadParameter);  // Wine makes "a"
    EXPECT_EQ(OpenError(test.Key(), _T("a")), kNotFound);
#endif
    WCHAR name[256];
    DWORD length = 256;
    EXPECT_EQ(::RegEnumKeyExW(test.Key(), 0, name, &length, nullptr, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(length, 255u);
}

TEST(Win32RegistryKeys, ManyLevelsAreMadeAtOnce) {
    TestKey test;
    CString path = _T("0");
    for (int i = 1; i < 30; ++i) {
        path += _T("\\x");
    }
    EXPECT_EQ(DispositionOf(test.Key(), path), DWORD{REG_CREATED_NEW_KEY});
    EXPECT_EQ(OpenError(test.Key(), path), 0);
}

#ifndef _WIN32
TEST(Win32RegistryKeys, LevelsEndAt512AndAFailureMakesNoneOfAPath) {  // Wine knows no limit
    TestKey test;
    // The test's key is on level 5, below USER, the user, Software and kvtfile-test.
    CString path = _T("x");
    for (int i = 1; i < 507; ++i) {
        path += _T("\\x");
    }
    EXPECT_EQ(CreateError(test.Key(), path + _T("\\x")), kBadParameter);
    EXPECT_EQ(SubKeys(test.Key()), Strings{});
    EXPECT_EQ(CreateError(test.Key(), path), 0);
    EXPECT_EQ(CreateError(test.Key(), path + _T("\\x")), kBadParameter);
    EXPECT_EQ(OpenError(test.Key(), path + _T("\\x")), kNotFound);
}
#endif

TEST(Win32RegistryKeys, WrongArgumentsAreError87) {
    TestKey test;
    HKEY result = nullptr;
    EXPECT_EQ(::RegOpenKeyExW(test.Key(), _T("a"), 0, KEY_READ, nullptr), kBadParameter);
    EXPECT_EQ(::RegCreateKeyExW(test.Key(), _T("a"), 5, nullptr, 0, KEY_READ, nullptr, &result, nullptr),
              kBadParameter);
    EXPECT_EQ(::RegDeleteKeyW(test.Key(), nullptr), kBadParameter);
    EXPECT_EQ(SubKeys(test.Key()), Strings{});
}

TEST(Win32RegistryKeys, HandlesThatAreNotOpenAreError6) {
    TestKey test;
    HKEY closed = nullptr;
    ASSERT_EQ(::RegCreateKeyExW(test.Key(), _T("a"), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &closed, nullptr), 0);
    EXPECT_EQ(::RegCloseKey(closed), 0);
    EXPECT_EQ(::RegCloseKey(nullptr), kBadHandle);
    WCHAR name[10];
    for (const HKEY key : {HKEY{nullptr}, HKEY{reinterpret_cast<HKEY>(UINT_PTR{0x12345678})}}) {
        DWORD length = 10;
        EXPECT_EQ(OpenError(key, _T("a")), kBadHandle);
        EXPECT_EQ(CreateError(key, _T("a")), kBadHandle);
        EXPECT_EQ(::RegDeleteKeyW(key, _T("a")), kBadHandle);
        EXPECT_EQ(::RegEnumKeyExW(key, 0, name, &length, nullptr, nullptr, nullptr, nullptr), kBadHandle);
        EXPECT_EQ(::RegEnumKeyW(key, 0, name, 10), kBadHandle);
        EXPECT_EQ(::RegEnumValueW(key, 0, name, &length, nullptr, nullptr, nullptr, nullptr), kBadHandle);
        EXPECT_EQ(::RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, &length, nullptr, nullptr, nullptr, nullptr,
                                     nullptr, nullptr, nullptr),
                  kBadHandle);
        EXPECT_EQ(::RegQueryValueExW(key, _T("x"), nullptr, nullptr, nullptr, nullptr), kBadHandle);
        EXPECT_EQ(SetBytes(key, _T("x"), "1"), kBadHandle);
        EXPECT_EQ(::RegDeleteValueW(key, _T("x")), kBadHandle);
        EXPECT_EQ(::RegFlushKey(key), kBadHandle);
    }
}

TEST(Win32RegistryKeys, PredefinedKeysAreNeverClosed) {
    for (const HKEY key : {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE, HKEY_CLASSES_ROOT, HKEY_USERS, HKEY_CURRENT_CONFIG}) {
        EXPECT_EQ(::RegCloseKey(key), 0);
        EXPECT_EQ(::RegCloseKey(key), 0);
        EXPECT_EQ(OpenError(key, _T("kvtfile-test-none"), KEY_READ), kNotFound);
    }
#ifndef _WIN32
    HKEY same = nullptr;  // Wine opens another handle
    EXPECT_EQ(::RegOpenKeyExW(HKEY_LOCAL_MACHINE, _T(""), 0, KEY_READ, &same), 0);
    EXPECT_EQ(same, HKEY_LOCAL_MACHINE);
#endif
}

TEST(Win32RegistryKeys, SoftwareStandsBelowUserAndMachine) {
    EXPECT_EQ(OpenError(HKEY_CURRENT_USER, _T("Software"), KEY_READ), 0);
    EXPECT_EQ(OpenError(HKEY_LOCAL_MACHINE, _T("software"), KEY_READ), 0);
    EXPECT_EQ(OpenError(HKEY_LOCAL_MACHINE, _T("Software\\Classes"), KEY_READ), 0);
}

#ifndef _WIN32
TEST(Win32RegistryKeys, NothingIsMadeOrDeletedDirectlyBelowTheMachineOrTheUsers) {  // Wine allows it
    EXPECT_EQ(CreateError(HKEY_LOCAL_MACHINE, _T("kvtfile-test")), kBadParameter);
    EXPECT_EQ(CreateError(HKEY_LOCAL_MACHINE, _T("kvtfile-test\\a")), kBadParameter);
    EXPECT_EQ(CreateError(HKEY_USERS, _T("kvtfile-test")), kBadParameter);
    EXPECT_EQ(OpenError(HKEY_LOCAL_MACHINE, _T("kvtfile-test")), kNotFound);
    EXPECT_EQ(CreateError(HKEY_LOCAL_MACHINE, _T("Software")), 0);
    EXPECT_EQ(::RegDeleteKeyW(HKEY_LOCAL_MACHINE, _T("Software\\Classes")), kDenied);
    EXPECT_EQ(::RegDeleteKeyW(HKEY_LOCAL_MACHINE, _T("")), kDenied);
    EXPECT_EQ(::RegDeleteKeyW(HKEY_CURRENT_CONFIG, _T("")), kDenied);
    EXPECT_EQ(::RegDeleteKeyW(HKEY_CURRENT_USER, _T("")), kDenied);
}
#endif

// ---- Deleting ---------------------------------------------------------------------------------------------------

TEST(Win32RegistryKeys, KeyWithSubKeysIsNotDeleted) {
    TestKey test;
    const Handle b = Create(test.Key(), _T("a\\b"));
    EXPECT_EQ(SetBytes(b, _T("x"), "1"), 0);
    EXPECT_EQ(::RegDeleteKeyW(test.Key(), _T("a")), kDenied);
    EXPECT_EQ(GetValue(b, _T("x")).bytes, "1");
    EXPECT_EQ(::RegDeleteKeyW(test.Key(), _T("a\\b")), 0);
    EXPECT_EQ(::RegDeleteKeyW(test.Key(), _T("a")), 0);
    EXPECT_EQ(::RegDeleteKeyW(test.Key(), _T("a")), kNotFound);
    EXPECT_EQ(SubKeys(test.Key()), Strings{});
}

TEST(Win32RegistryKeys, EmptyPathDeletesTheKeyItself) {
    TestKey test;
    const Handle a = Create(test.Key(), _T("a"));
    EXPECT_EQ(::RegDeleteKeyW(a, _T("")), 0);
    EXPECT_EQ(OpenError(test.Key(), _T("a")), kNotFound);
}

TEST(Win32RegistryKeys, EverythingOnADeletedKeyIsError1018) {
    TestKey test;
    const Handle gone = Create(test.Key(), _T("gone"));
    EXPECT_EQ(SetBytes(gone, _T("x"), "1"), 0);
    EXPECT_EQ(::RegDeleteKeyW(test.Key(), _T("gone")), 0);
    WCHAR name[10];
    DWORD length = 10;
    EXPECT_EQ(::RegQueryValueExW(gone, _T("x"), nullptr, nullptr, nullptr, nullptr), kDeleted);
    EXPECT_EQ(SetBytes(gone, _T("x"), "2"), kDeleted);
    EXPECT_EQ(::RegDeleteValueW(gone, _T("x")), kDeleted);
    EXPECT_EQ(::RegEnumKeyExW(gone, 0, name, &length, nullptr, nullptr, nullptr, nullptr), kDeleted);
    EXPECT_EQ(::RegEnumValueW(gone, 0, name, &length, nullptr, nullptr, nullptr, nullptr), kDeleted);
    EXPECT_EQ(::RegQueryInfoKeyW(gone, nullptr, nullptr, nullptr, &length, nullptr, nullptr, nullptr, nullptr, nullptr,
                                 nullptr, nullptr),
              kDeleted);
    EXPECT_EQ(OpenError(gone, _T("a")), kDeleted);
    EXPECT_EQ(OpenError(gone, _T("")), kDeleted);
    EXPECT_EQ(CreateError(gone, _T("a")), kDeleted);
    EXPECT_EQ(::RegDeleteKeyW(gone, _T("a")), kDeleted);
    EXPECT_EQ(::RegDeleteKeyW(gone, _T("")), kDeleted);
    EXPECT_EQ(::RegFlushKey(gone), kDeleted);
    // A new key of the same name is another key.
    const Handle again = Create(test.Key(), _T("gone"));
    EXPECT_EQ(ValueNames(again), Strings{});
    EXPECT_EQ(SetBytes(gone, _T("x"), "2"), kDeleted);
}

TEST(Win32RegistryKeys, DeletingWhileTheIndexGoesUpSkipsEveryOther) {
    TestKey test;
    for (const LPCWSTR name : {_T("k0"), _T("k1"), _T("k2"), _T("k3"), _T("k4")}) {
        Create(test.Key(), name);
    }
    WCHAR name[10];
    for (DWORD i = 0; ::RegEnumKeyW(test.Key(), i, name, 10) == 0; ++i) {
        EXPECT_EQ(::RegDeleteKeyW(test.Key(), name), 0);
    }
    EXPECT_EQ(SubKeys(test.Key()), (Strings{"k1", "k3"}));
}

// ---- Listing ----------------------------------------------------------------------------------------------------

TEST(Win32RegistryKeys, SubKeysComeInTheOrderOfUpperCaseNames) {
    TestKey test;
    for (const LPCWSTR name :
         {_T("b"), _T("R2"), _T("A"), _T("R19.0"), _T("c"), _T("R19.1"), _T("a b"), _T("\u0436"), _T("\u0411")}) {
        Create(test.Key(), name);
    }
    EXPECT_EQ(SubKeys(test.Key()), (Strings{"A", "a b", "b", "c", "R19.0", "R19.1", "R2", "\u0411", "\u0436"}));
}

#ifndef _WIN32
TEST(Win32RegistryKeys, BracketAndUnderlineSortBehindLetters) {  // Wine sorts by lower case
    TestKey test;
    for (const LPCWSTR name : {_T("_x"), _T("[x"), _T("zx")}) {
        Create(test.Key(), name);
    }
    EXPECT_EQ(SubKeys(test.Key()), (Strings{"zx", "[x", "_x"}));
}
#endif

TEST(Win32RegistryKeys, AnyIndexMayBeAsked) {
    TestKey test;
    for (const LPCWSTR name : {_T("a"), _T("b"), _T("c"), _T("d")}) {
        Create(test.Key(), name);
    }
    const auto at = [&](DWORD index) {
        WCHAR name[10] = {};
        return ::RegEnumKeyW(test.Key(), index, name, 10) == 0 ? Utf8(CString(name)) : std::string("none");
    };
    EXPECT_EQ(at(2), "c");
    EXPECT_EQ(at(3), "d");
    EXPECT_EQ(at(4), "none");
    EXPECT_EQ(at(3), "d");
    EXPECT_EQ(at(0), "a");
    EXPECT_EQ(at(1), "b");
    EXPECT_EQ(at(1), "b");
    Create(test.Key(), _T("aa"));
    EXPECT_EQ(at(2), "b");
    EXPECT_EQ(at(3), "c");
    EXPECT_EQ(at(0xFFFFFFFF), "none");
}

TEST(Win32RegistryKeys, NameBufferNeedsRoomForTheNul) {
    TestKey test;
    Create(test.Key(), _T("abc"));
    WCHAR name[10] = {_T('#')};
    for (const DWORD room : {0u, 1u, 3u}) {
        DWORD length = room;
        EXPECT_EQ(::RegEnumKeyExW(test.Key(), 0, name, &length, nullptr, nullptr, nullptr, nullptr), kMoreData);
        EXPECT_EQ(length, room);
        EXPECT_EQ(name[0], _T('#'));
        EXPECT_EQ(::RegEnumKeyW(test.Key(), 0, name, room), kMoreData);
    }
    DWORD length = 4;
    EXPECT_EQ(::RegEnumKeyExW(test.Key(), 0, name, &length, nullptr, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(length, 3u);
    EXPECT_EQ(CString(name), CString(_T("abc")));
    EXPECT_EQ(::RegEnumKeyW(test.Key(), 0, name, 4), 0);
    length = 7;
    EXPECT_EQ(::RegEnumKeyExW(test.Key(), 1, name, &length, nullptr, nullptr, nullptr, nullptr), kNoMore);
    EXPECT_EQ(length, 7u);
    DWORD reserved = 0;
    EXPECT_EQ(::RegEnumKeyExW(test.Key(), 0, name, &length, &reserved, nullptr, nullptr, nullptr), kBadParameter);
}

// ---- Describing -------------------------------------------------------------------------------------------------

TEST(Win32RegistryKeys, InfoCountsWhatTheKeyHolds) {
    TestKey test;
    Create(test.Key(), _T("abc\\below"));
    Create(test.Key(), _T("abcdef"));
    EXPECT_EQ(SetBytes(test.Key(), _T(""), "12345"), 0);
    EXPECT_EQ(SetBytes(test.Key(), _T("name"), ""), 0);
    DWORD sub_keys = 77, longest_sub_key = 77, longest_class = 77, values = 77, longest_name = 77, longest_value = 77;
    const auto ask = [&] {
        return ::RegQueryInfoKeyW(test.Key(), nullptr, nullptr, nullptr, &sub_keys, &longest_sub_key, &longest_class,
                                  &values, &longest_name, &longest_value, nullptr, nullptr);
    };
    EXPECT_EQ(ask(), 0);
    EXPECT_EQ(sub_keys, 2u);
    EXPECT_EQ(longest_sub_key, 6u);
    EXPECT_EQ(longest_class, 0u);
    EXPECT_EQ(values, 2u);
    EXPECT_EQ(longest_name, 4u);
    EXPECT_EQ(longest_value, 5u);
    EXPECT_EQ(::RegDeleteKeyW(test.Key(), _T("abcdef")), 0);
    EXPECT_EQ(::RegDeleteValueW(test.Key(), _T("")), 0);
    EXPECT_EQ(ask(), 0);
    EXPECT_EQ(sub_keys, 1u);
    EXPECT_EQ(longest_sub_key, 3u);
    EXPECT_EQ(values, 1u);
    EXPECT_EQ(longest_value, 0u);
    EXPECT_EQ(::RegDeleteKeyW(test.Key(), _T("abc\\below")), 0);
    EXPECT_EQ(::RegDeleteKeyW(test.Key(), _T("abc")), 0);
    EXPECT_EQ(::RegDeleteValueW(test.Key(), _T("name")), 0);
    EXPECT_EQ(ask(), 0);
    EXPECT_EQ(sub_keys, 0u);
    EXPECT_EQ(longest_sub_key, 0u);
    EXPECT_EQ(values, 0u);
    EXPECT_EQ(longest_name, 0u);
}

TEST(Win32RegistryKeys, ClassIsKeptWithTheKey) {
    TestKey test;
    WCHAR text[] = _T("TheClass");
    HKEY made = nullptr;
    ASSERT_EQ(::RegCreateKeyExW(test.Key(), _T("a"), 0, text, 0, KEY_ALL_ACCESS, nullptr, &made, nullptr), 0);
    const Handle a(made);
    WCHAR buffer[20];
    DWORD length = 20;
    EXPECT_EQ(::RegQueryInfoKeyW(a, buffer, &length, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                 nullptr, nullptr),
              0);
    EXPECT_EQ(length, 8u);
    EXPECT_EQ(CString(buffer), CString(text));
    DWORD longest = 0;
    length = 0;
    EXPECT_EQ(::RegQueryInfoKeyW(test.Key(), nullptr, &length, nullptr, nullptr, nullptr, &longest, nullptr, nullptr,
                                 nullptr, nullptr, nullptr),
              0);
    EXPECT_EQ(longest, 8u);
    EXPECT_EQ(length, 0u);
    EXPECT_EQ(::RegQueryInfoKeyW(a, buffer, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                 nullptr, nullptr),
              kBadParameter);
#ifndef _WIN32
    length = 8;  // Wine: 122
    EXPECT_EQ(::RegQueryInfoKeyW(a, buffer, &length, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                 nullptr, nullptr),
              kMoreData);
#endif
    WCHAR name[20];
    DWORD name_length = 20;
    DWORD class_length = 20;
    EXPECT_EQ(::RegEnumKeyExW(test.Key(), 0, name, &name_length, nullptr, buffer, &class_length, nullptr), 0);
    EXPECT_EQ(CString(buffer), CString(text));
    EXPECT_EQ(class_length, 8u);
    name_length = 20;
    class_length = 3;
    EXPECT_EQ(::RegEnumKeyExW(test.Key(), 0, name, &name_length, nullptr, buffer, &class_length, nullptr), kMoreData);
}

ULONGLONG WrittenOf(HKEY key) {
    FILETIME time = {0, 0};
    EXPECT_EQ(::RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                 nullptr, &time),
              0);
    return static_cast<ULONGLONG>(time.dwHighDateTime) << 32 | time.dwLowDateTime;
}

TEST(Win32RegistryKeys, LastWriteTimeFollowsValuesAndSubKeys) {
    TestKey test;
    ULONGLONG last = WrittenOf(test.Key());
    FILETIME now;
    ::GetSystemTimeAsFileTime(&now);
    const ULONGLONG ticks = static_cast<ULONGLONG>(now.dwHighDateTime) << 32 | now.dwLowDateTime;
    EXPECT_LT(ticks > last ? ticks - last : last - ticks, ULONGLONG{60} * 10000000);
    // The clock may not have moved on between two changes: the time must not go back, and in the end has gone on.
    const auto step = [&] {
        const ULONGLONG next = WrittenOf(test.Key());
        EXPECT_GE(next, last);
        last = next;
    };
    const ULONGLONG first = last;
    for (int i = 0; i < 200 && last == first; ++i) {
        EXPECT_EQ(SetBytes(test.Key(), _T("x"), "1"), 0);
        step();
    }
    EXPECT_GT(last, first);
    EXPECT_EQ(::RegDeleteValueW(test.Key(), _T("x")), 0);
    step();
    Create(test.Key(), _T("a"));
    step();
    FILETIME of_sub_key;
    WCHAR name[10];
    DWORD length = 10;
    EXPECT_EQ(::RegEnumKeyExW(test.Key(), 0, name, &length, nullptr, nullptr, nullptr, &of_sub_key), 0);
    EXPECT_EQ(static_cast<ULONGLONG>(of_sub_key.dwHighDateTime) << 32 | of_sub_key.dwLowDateTime,
              WrittenOf(Open(test.Key(), _T("a"))));
    EXPECT_EQ(::RegDeleteKeyW(test.Key(), _T("a")), 0);
    step();
}

// ---- Rights -----------------------------------------------------------------------------------------------------

TEST(Win32RegistryKeys, CallsNeedTheRightsOfTheirHandle) {
    TestKey test;
    Create(test.Key(), _T("a\\sub"));
    WCHAR name[10];
    DWORD length = 10;
    const auto query = [](HKEY key) { return ::RegQueryValueExW(key, _T("x"), nullptr, nullptr, nullptr, nullptr); };
    const auto list_values = [&](HKEY key) {
        length = 10;
        return ::RegEnumValueW(key, 0, name, &length, nullptr, nullptr, nullptr, nullptr);
    };
    const auto list_keys = [&](HKEY key) { return ::RegEnumKeyW(key, 0, name, 10); };

    const Handle setter = Open(test.Key(), _T("a"), KEY_SET_VALUE);
    EXPECT_EQ(SetBytes(setter, _T("x"), "1"), 0);
    EXPECT_EQ(query(setter), kDenied);
    EXPECT_EQ(list_values(setter), kDenied);
    EXPECT_EQ(list_keys(setter), kDenied);
    EXPECT_EQ(::RegFlushKey(setter), 0);

    const Handle reader = Open(test.Key(), _T("a"), KEY_QUERY_VALUE | KEY_ENUMERATE_SUB_KEYS | KEY_NOTIFY);
    EXPECT_EQ(query(reader), 0);
    EXPECT_EQ(list_values(reader), 0);
    EXPECT_EQ(list_keys(reader), 0);
    EXPECT_EQ(SetBytes(reader, _T("x"), "2"), kDenied);
    EXPECT_EQ(::RegDeleteValueW(reader, _T("x")), kDenied);

    const Handle lister = Open(test.Key(), _T("a"), KEY_ENUMERATE_SUB_KEYS);
    EXPECT_EQ(list_keys(lister), 0);
    EXPECT_EQ(query(lister), kDenied);
    const Handle asker = Open(test.Key(), _T("a"), KEY_QUERY_VALUE);
    EXPECT_EQ(list_keys(asker), kDenied);
    EXPECT_EQ(list_values(asker), 0);
#ifndef _WIN32
    EXPECT_EQ(::RegQueryInfoKeyW(lister, nullptr, nullptr, nullptr, &length, nullptr, nullptr, nullptr, nullptr,
                                 nullptr, nullptr, nullptr),
              kDenied);  // Wine gives the number of sub-keys
#endif
    EXPECT_EQ(::RegDeleteValueW(setter, _T("x")), 0);
}

TEST(Win32RegistryKeys, SubKeysAreMadeAndDeletedThroughAHandleForReading) {
    TestKey test;
    const Handle reader = Open(test.Key(), _T(""), KEY_READ);
    EXPECT_EQ(CreateError(reader, _T("a")), 0);
    EXPECT_EQ(OpenError(reader, _T("a"), KEY_ALL_ACCESS), 0);
    EXPECT_EQ(::RegDeleteKeyW(reader, _T("a")), 0);
}

TEST(Win32RegistryKeys, GenericRightsAndTheMostThatIsAllowed) {
    TestKey test;
    EXPECT_EQ(SetBytes(test.Key(), _T("x"), "1"), 0);
    const Handle reader = Open(test.Key(), _T(""), GENERIC_READ);
    EXPECT_EQ(GetValue(reader, _T("x")).bytes, "1");
    EXPECT_EQ(SetBytes(reader, _T("x"), "2"), kDenied);
    const Handle most = Open(test.Key(), _T(""), MAXIMUM_ALLOWED);
    EXPECT_EQ(SetBytes(most, _T("x"), "2"), 0);
    const Handle view = Open(test.Key(), _T(""), KEY_READ | KEY_WOW64_64KEY);
    EXPECT_EQ(GetValue(view, _T("x")).bytes, "2");
}

// ---- Classes ----------------------------------------------------------------------------------------------------

TEST(Win32RegistryKeys, ClassesRootShowsTheMachinesClasses) {
    const CString name = _T(".kvtfile-test-classes");
    EXPECT_EQ(kvttest::RemoveKey(HKEY_CLASSES_ROOT, name), 0);
    {
        const Handle made = Create(HKEY_CLASSES_ROOT, name + _T("\\DefaultIcon"));
        EXPECT_EQ(SetBytes(made, _T(""), "icon"), 0);
        const Handle seen = Open(HKEY_LOCAL_MACHINE, _T("Software\\Classes\\") + name + _T("\\defaulticon"), KEY_READ);
        EXPECT_EQ(GetValue(seen, _T("")).bytes, "icon");
    }
    EXPECT_EQ(kvttest::RemoveKey(HKEY_LOCAL_MACHINE, _T("Software\\Classes\\") + name), 0);
    EXPECT_EQ(OpenError(HKEY_CLASSES_ROOT, name, KEY_READ), kNotFound);
}

#ifndef _WIN32
// Wine shows the machine's classes only.
const CString kClasses = _T("Software\\Classes\\");

class Win32RegistryClasses : public testing::Test {
protected:
    void SetUp() override { TearDown(); }
    void TearDown() override {
        for (const LPCWSTR name : {_T(".kvta"), _T(".kvtb"), _T(".kvtc")}) {
            EXPECT_EQ(kvttest::RemoveKey(HKEY_CURRENT_USER, kClasses + name), 0);
            EXPECT_EQ(kvttest::RemoveKey(HKEY_LOCAL_MACHINE, kClasses + name), 0);
        }
    }
};

TEST_F(Win32RegistryClasses, UsersKeyStandsOverTheMachines) {
    SetBytes(Create(HKEY_LOCAL_MACHINE, kClasses + _T(".kvta")), _T(""), "machine");
    EXPECT_EQ(GetValue(Open(HKEY_CLASSES_ROOT, _T(".kvta")), _T("")).bytes, "machine");
    SetBytes(Create(HKEY_CURRENT_USER, kClasses + _T(".KVTA")), _T(""), "user");
    const Handle merged = Open(HKEY_CLASSES_ROOT, _T(".kvta"));
    EXPECT_EQ(GetValue(merged, _T("")).bytes, "user");
    EXPECT_EQ(::RegDeleteValueW(merged, _T("")), 0);
    EXPECT_EQ(GetValue(merged, _T("")).bytes, "machine");
}

TEST_F(Win32RegistryClasses, ListsShowBothAndEachNameOnce) {
    const Handle machine = Create(HKEY_LOCAL_MACHINE, kClasses + _T(".kvta"));
    const Handle user = Create(HKEY_CURRENT_USER, kClasses + _T(".kvta"));
    for (const LPCWSTR name : {_T("b"), _T("d"), _T("same")}) {
        Create(machine, name);
        SetBytes(machine, name, "machine");
    }
    for (const LPCWSTR name : {_T("e"), _T("SAME"), _T("a")}) {
        Create(user, name);
        SetBytes(user, name, "user");
    }
    const Handle merged = Open(HKEY_CLASSES_ROOT, _T(".kvta"));
    EXPECT_EQ(SubKeys(merged), (Strings{"a", "b", "d", "e", "SAME"}));
    EXPECT_EQ(ValueNames(merged), (Strings{"e", "SAME", "a", "b", "d"}));
    WCHAR name[20];
    EXPECT_EQ(::RegEnumKeyW(merged, 3, name, 20), 0);
    EXPECT_EQ(CString(name), CString(_T("e")));
    DWORD length = 20;
    EXPECT_EQ(::RegEnumValueW(merged, 4, name, &length, nullptr, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(CString(name), CString(_T("d")));
    DWORD sub_keys = 0, longest_sub_key = 0, values = 0, longest_name = 0, longest_value = 0;
    EXPECT_EQ(::RegQueryInfoKeyW(merged, nullptr, nullptr, nullptr, &sub_keys, &longest_sub_key, nullptr, &values,
                                 &longest_name, &longest_value, nullptr, nullptr),
              0);
    EXPECT_EQ(sub_keys, 5u);
    EXPECT_EQ(longest_sub_key, 4u);
    EXPECT_EQ(values, 5u);
    EXPECT_EQ(longest_name, 4u);
    EXPECT_EQ(longest_value, 7u);
    EXPECT_EQ(GetValue(merged, _T("same")).bytes, "user");
    EXPECT_EQ(GetValue(merged, _T("d")).bytes, "machine");
}

TEST_F(Win32RegistryClasses, ValuesGoToTheUsersKeyWhereThereIsOne) {
    Create(HKEY_LOCAL_MACHINE, kClasses + _T(".kvta"));
    Create(HKEY_LOCAL_MACHINE, kClasses + _T(".kvtb"));
    Create(HKEY_CURRENT_USER, kClasses + _T(".kvtb"));
    SetBytes(Open(HKEY_CLASSES_ROOT, _T(".kvta")), _T("v"), "1");
    SetBytes(Open(HKEY_CLASSES_ROOT, _T(".kvtb")), _T("v"), "2");
    EXPECT_EQ(GetValue(Open(HKEY_LOCAL_MACHINE, kClasses + _T(".kvta")), _T("v")).bytes, "1");
    EXPECT_EQ(GetValue(Open(HKEY_CURRENT_USER, kClasses + _T(".kvtb")), _T("v")).bytes, "2");
    EXPECT_EQ(GetValue(Open(HKEY_LOCAL_MACHINE, kClasses + _T(".kvtb")), _T("v")).error, kNotFound);
    EXPECT_EQ(OpenError(HKEY_CURRENT_USER, kClasses + _T(".kvta")), kNotFound);
}

TEST_F(Win32RegistryClasses, NewKeysGoToTheMachine) {
    Create(HKEY_CURRENT_USER, kClasses + _T(".kvtc"));
    Create(HKEY_CLASSES_ROOT, _T(".kvta\\shell"));
    Create(HKEY_CLASSES_ROOT, _T(".kvtc\\shell"));
    Create(Open(HKEY_CLASSES_ROOT, _T(".kvtc")), _T("icon"));
    EXPECT_EQ(OpenError(HKEY_LOCAL_MACHINE, kClasses + _T(".kvta\\shell")), 0);
    EXPECT_EQ(OpenError(HKEY_LOCAL_MACHINE, kClasses + _T(".kvtc\\shell")), 0);
    EXPECT_EQ(OpenError(HKEY_LOCAL_MACHINE, kClasses + _T(".kvtc\\icon")), 0);
    EXPECT_EQ(OpenError(HKEY_CURRENT_USER, kClasses + _T(".kvta")), kNotFound);
    EXPECT_EQ(OpenError(HKEY_CURRENT_USER, kClasses + _T(".kvtc\\shell")), kNotFound);
    EXPECT_EQ(SubKeys(Open(HKEY_CLASSES_ROOT, _T(".kvtc"))), (Strings{"icon", "shell"}));
}

TEST_F(Win32RegistryClasses, DeleteTakesTheUsersKeyFirst) {
    Create(HKEY_LOCAL_MACHINE, kClasses + _T(".kvta"));
    Create(HKEY_CURRENT_USER, kClasses + _T(".kvta"));
    EXPECT_EQ(::RegDeleteKeyW(HKEY_CLASSES_ROOT, _T(".kvta")), 0);
    EXPECT_EQ(OpenError(HKEY_CURRENT_USER, kClasses + _T(".kvta")), kNotFound);
    EXPECT_EQ(OpenError(HKEY_CLASSES_ROOT, _T(".kvta")), 0);
    EXPECT_EQ(::RegDeleteKeyW(HKEY_CLASSES_ROOT, _T(".kvta")), 0);
    EXPECT_EQ(::RegDeleteKeyW(HKEY_CLASSES_ROOT, _T(".kvta")), kNotFound);
}
#endif

TEST(Win32RegistryKeys, FlushReturnsWhenAllIsOnTheDevice) {
    TestKey test;
    EXPECT_EQ(SetBytes(test.Key(), _T("x"), "1"), 0);
    EXPECT_EQ(::RegFlushKey(test.Key()), 0);
    EXPECT_EQ(::RegFlushKey(HKEY_LOCAL_MACHINE), 0);
    EXPECT_EQ(GetValue(test.Key(), _T("x")).bytes, "1");
}

TEST(Win32RegistryKeys, LastErrorIsLeftAlone) {
    TestKey test;
    ::SetLastError(4711);
    EXPECT_EQ(OpenError(test.Key(), _T("none")), kNotFound);
    EXPECT_EQ(SetBytes(test.Key(), _T("x"), "1"), 0);
#ifndef _WIN32
    EXPECT_EQ(::GetLastError(), 4711u);
#endif
}

}  // namespace
