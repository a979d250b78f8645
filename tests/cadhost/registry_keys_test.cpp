// CFRegistry: the object itself, the current key, and what lies under it.
#include <cstddef>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "tests/cadhost/opened_registry.h"

namespace {

using kvtfile::CFRegistry;
using kvttest::OpenedRegistry;
using kvttest::Spoil;
using kvttest::spoilt;
using kvttest::Status;
using kvttest::Statuses;
using kvttest::TestKey;
using kvttest::Texts;

// Where a virtual function stands in the table of its class. A pointer to it holds the offset in bytes: plus one, or,
// where functions may have odd addresses, as it is with a mark in the second half.
template <typename Function>
size_t Slot(Function function) {
    std::ptrdiff_t raw[2] = {};
    static_assert(sizeof function == sizeof raw);
    std::memcpy(raw, &function, sizeof raw);
    const std::ptrdiff_t offset = raw[1] & 1 ? raw[0] : raw[0] - 1;
    return static_cast<size_t>(offset) / sizeof(void*);
}

// --- the object ---

TEST(Registry, HivesAreChosenByTheFirstArgument) {
    const CFRegistry machine(1, 0);
    EXPECT_EQ(machine.m_hKey, HKEY_LOCAL_MACHINE);
    EXPECT_EQ(machine.m_bLocalMachine, 1);
    EXPECT_EQ(machine.m_bReadOnly, 0);
    EXPECT_TRUE(machine.m_strPath.IsEmpty());
    const CFRegistry user(0, 5);
    EXPECT_EQ(user.m_hKey, HKEY_CURRENT_USER);
    EXPECT_EQ(user.m_bLocalMachine, 0);
    EXPECT_EQ(user.m_bReadOnly, 5);
    const CFRegistry other(-3, 0);
    EXPECT_EQ(other.m_hKey, HKEY_LOCAL_MACHINE);
    EXPECT_EQ(other.m_bLocalMachine, -3) << "kept as given";
}

TEST(Registry, FieldsStandInTheirOrder) {
    // The offsets of a class with a base are the compiler's to give; those that are built here give them.
    const CFRegistry object;
    const char* const start = reinterpret_cast<const char*>(&object);
    const auto offset = [&](const void* field) { return static_cast<const char*>(field) - start; };
    EXPECT_EQ(offset(&object.m_lLastError), 8);
    EXPECT_EQ(offset(&object.m_dwLastType), 12);
    EXPECT_EQ(offset(&object.m_dwLastSize), 16);
    EXPECT_EQ(offset(&object.m_hKey), 24);
    EXPECT_EQ(offset(&object.m_bLocalMachine), 32);
    EXPECT_EQ(offset(&object.m_strPath), 40);
    EXPECT_EQ(offset(&object.m_bReadOnly), 48);
    EXPECT_EQ(offset(&object.m_nReserved), 52);
    EXPECT_EQ(sizeof object, 56u);
    EXPECT_EQ(object.m_nReserved, 0);
}

TEST(Registry, IsMadeByItsClassForTheMachineAndWriting) {
    CRuntimeClass* const runtimeClass = RUNTIME_CLASS(CFRegistry);
    EXPECT_STREQ(runtimeClass->m_lpszClassName, "CFRegistry");
    const std::unique_ptr<CObject> made(runtimeClass->CreateObject());
    ASSERT_TRUE(made);
    EXPECT_EQ(made->GetRuntimeClass(), runtimeClass);
    EXPECT_TRUE(made->IsKindOf(RUNTIME_CLASS(CObject)));
    EXPECT_FALSE(made->IsSerializable());
    const CFRegistry& registry = static_cast<const CFRegistry&>(*made);
    EXPECT_EQ(registry.m_bLocalMachine, 1);
    EXPECT_EQ(registry.m_bReadOnly, 0);
    EXPECT_EQ(registry.m_hKey, HKEY_LOCAL_MACHINE);
}

TEST(Registry, VirtualFunctionsStandInTheirOrder) {
    using R = CFRegistry;
    using S = LPCWSTR;
    const size_t slots[] = {
        Slot(&R::SetHKey),
        Slot(&R::ReadKeyValues),
        Slot(&R::VerifyKey),
        Slot(&R::VerifyValue),
        Slot(&R::CreateKey),
        Slot(&R::Open),
        Slot(&R::Close),
        Slot(&R::DeleteValue),
        Slot(&R::DeleteKey),
        Slot(static_cast<int (R::*)(S, CObject*)>(&R::Write)),
        Slot(static_cast<int (R::*)(S, CObject&)>(&R::Write)),
        Slot(static_cast<int (R::*)(S, CObList&)>(&R::Write)),
        Slot(static_cast<int (R::*)(S, BYTE*, UINT)>(&R::Write)),
        Slot(static_cast<int (R::*)(S, POINT*&)>(&R::Write)),
        Slot(static_cast<int (R::*)(S, const CRect&)>(&R::Write)),
        Slot(static_cast<int (R::*)(S, CWordArray&)>(&R::Write)),
        Slot(static_cast<int (R::*)(S, CDWordArray&)>(&R::Write)),
        Slot(static_cast<int (R::*)(S, CStringArray&)>(&R::Write)),
        Slot(static_cast<int (R::*)(S, CByteArray&)>(&R::Write)),
        Slot(static_cast<int (R::*)(S, CStringList&)>(&R::Write)),
        Slot(static_cast<int (R::*)(S, LPCWSTR)>(&R::Write)),
        Slot(static_cast<int (R::*)(S, DWORD)>(&R::Write)),
        Slot(static_cast<int (R::*)(S, int)>(&R::Write)),
        Slot(static_cast<int (R::*)(S, CObject*&)>(&R::Read)),
        Slot(static_cast<int (R::*)(S, CObject&)>(&R::Read)),
        Slot(static_cast<int (R::*)(S, CObList&)>(&R::Read)),
        Slot(static_cast<int (R::*)(S, BYTE**, UINT*)>(&R::Read)),
        Slot(static_cast<int (R::*)(S, CRect&)>(&R::Read)),
        Slot(static_cast<int (R::*)(S, POINT*&)>(&R::Read)),
        Slot(static_cast<int (R::*)(S, CByteArray&)>(&R::Read)),
        Slot(static_cast<int (R::*)(S, CWordArray&)>(&R::Read)),
        Slot(static_cast<int (R::*)(S, CDWordArray&)>(&R::Read)),
        Slot(static_cast<int (R::*)(S, CStringArray&)>(&R::Read)),
        Slot(static_cast<int (R::*)(S, CStringList&)>(&R::Read)),
        Slot(static_cast<int (R::*)(S, CString&)>(&R::Read)),
        Slot(static_cast<int (R::*)(S, DWORD&)>(&R::Read)),
        Slot(static_cast<int (R::*)(S, int&)>(&R::Read)),
        Slot(&R::ReadSubKeys),
    };
    // Before them: GetRuntimeClass, the destructor (which takes two places), Serialize, AssertValid, Dump.
    size_t expected = 6;
    EXPECT_EQ(std::size(slots), 38u);
    for (const size_t slot : slots) {
        EXPECT_EQ(slot, expected++);
    }
}

// --- the current key ---

TEST(Registry, OpenMakesTheKeyCurrentAndKeepsThePath) {
    const TestKey key;
    key.Make(_T("A"));
    OpenedRegistry registry(key);
    Spoil(registry);
    EXPECT_EQ(registry.Open(_T("A")), 1);
    EXPECT_EQ(Status(registry), (Statuses{0, 0, 0}));
    EXPECT_EQ(registry.m_strPath, _T("A"));
    EXPECT_EQ(registry.Write(_T("v"), 1), 1);
    EXPECT_EQ(key.Shown(_T("v"), _T("A")), "4: 01 00 00 00");
}

TEST(Registry, FailedOpenLeavesTheCurrentKeyAndKeepsThePath) {
    const TestKey key;
    OpenedRegistry registry(key);
    const HKEY before = registry.m_hKey;
    Spoil(registry);
    EXPECT_EQ(registry.Open(_T("Missing\\")), 0);
    EXPECT_EQ(Status(registry), (Statuses{ERROR_FILE_NOT_FOUND, 0, 0}));
    EXPECT_EQ(registry.m_hKey, before);
    EXPECT_EQ(registry.m_strPath, _T("Missing\\")) << "as given";
    EXPECT_EQ(registry.Write(_T("v"), 1), 1);
    EXPECT_EQ(key.Shown(_T("v")), "4: 01 00 00 00");
}

TEST(Registry, SuccessiveOpensDescendAndCloseClosesTheLastAlone) {
    const TestKey key;
    key.Make(_T("A\\B"));
    OpenedRegistry registry(key);
    ASSERT_EQ(registry.Open(_T("A")), 1);
    const HKEY a = registry.m_hKey;
    ASSERT_EQ(registry.Open(_T("B")), 1);
    const HKEY b = registry.m_hKey;
    EXPECT_NE(a, b);
    EXPECT_EQ(registry.Write(_T("v"), 2), 1);
    EXPECT_EQ(key.Shown(_T("v"), _T("A\\B")), "4: 02 00 00 00");
    registry.Close();
    EXPECT_EQ(registry.m_hKey, nullptr);
    EXPECT_EQ(::RegQueryValueExW(b, _T("v"), nullptr, nullptr, nullptr, nullptr), LONG{ERROR_INVALID_HANDLE});
    EXPECT_EQ(::RegQueryValueExW(a, _T("v"), nullptr, nullptr, nullptr, nullptr), LONG{ERROR_FILE_NOT_FOUND})
        << "still open";
    ::RegCloseKey(a);
    registry.Close();
    EXPECT_EQ(registry.m_hKey, nullptr);
}

TEST(Registry, PathIsItsOwnArgument) {
    const TestKey key;
    key.Make(_T("A\\A"));
    OpenedRegistry registry(key);
    ASSERT_EQ(registry.Open(_T("A")), 1);
    ASSERT_EQ(registry.Open(registry.m_strPath), 1);
    EXPECT_EQ(registry.m_strPath, _T("A"));
    EXPECT_EQ(registry.Write(_T("v"), 3), 1);
    EXPECT_EQ(key.Shown(_T("v"), _T("A\\A")), "4: 03 00 00 00");
}

TEST(Registry, EmptyAndNullPathsMeanTheCurrentKey) {
    const TestKey key;
    OpenedRegistry registry(key);
    for (const LPCWSTR path : {static_cast<LPCWSTR>(nullptr), _T(""), _T("\\")}) {
        EXPECT_EQ(registry.VerifyKey(path), 1);
        EXPECT_EQ(registry.Open(path), 1);
        EXPECT_EQ(registry.CreateKey(path), 1);
        EXPECT_EQ(registry.Write(_T("v"), 4), 1);
        EXPECT_EQ(key.Shown(_T("v")), "4: 04 00 00 00");
        EXPECT_EQ(registry.DeleteValue(_T("v")), 1);
    }
    EXPECT_EQ(registry.m_strPath, _T("\\"));
    registry.Open(nullptr);
    EXPECT_TRUE(registry.m_strPath.IsEmpty());
}

TEST(Registry, BackslashesAtTheEndAndDoubledOnesAreDropped) {
    struct Row {
        LPCWSTR path;
        LPCWSTR top;
        LPCWSTR made;
    };
    for (const Row& row : {Row{_T("A\\"), _T("A\\"), _T("A")}, Row{_T("A\\\\B\\\\"), _T("A\\\\"), _T("A\\B")}}) {
        SCOPED_TRACE(kvttest::Utf8(row.path));
        const TestKey key;
        OpenedRegistry registry(key);
        const HKEY top = registry.m_hKey;
        EXPECT_EQ(registry.CreateKey(row.path), 1);
        EXPECT_TRUE(key.Has(row.made));
        registry.SetHKey(top);
        EXPECT_EQ(registry.VerifyKey(row.path), 1);
        EXPECT_EQ(registry.Open(row.path), 1);
        registry.SetHKey(top);
        EXPECT_EQ(registry.DeleteKey(row.top, 0), 1);
        EXPECT_FALSE(key.Has(_T("A")));
    }
}

TEST(Registry, BackslashAtTheBeginningIsRefused) {
    const TestKey key;
    key.Make(_T("A"));
    OpenedRegistry registry(key);
    const HKEY top = registry.m_hKey;
    for (const LPCWSTR path : {_T("\\A"), _T("\\\\A"), _T("\\\\")}) {
        EXPECT_EQ(registry.Open(path), 0);
        EXPECT_EQ(Status(registry), (Statuses{ERROR_BAD_PATHNAME, 0, 0}));
        EXPECT_EQ(registry.VerifyKey(path), 0);
        EXPECT_EQ(Status(registry), (Statuses{ERROR_BAD_PATHNAME, 0, 0}));
        EXPECT_EQ(registry.CreateKey(path), 0);
        EXPECT_EQ(Status(registry), (Statuses{ERROR_BAD_PATHNAME, 0, 0}));
        EXPECT_EQ(registry.DeleteKey(path, 0), 0);
        EXPECT_EQ(registry.m_hKey, top);
    }
    EXPECT_TRUE(key.Has(_T("A")));
}

TEST(Registry, SlashIsAnOrdinaryCharacterOfAName) {
    const TestKey key;
    OpenedRegistry registry(key);
    EXPECT_EQ(registry.CreateKey(_T("A/B/")), 1);
    EXPECT_FALSE(key.Has(_T("A")));
    EXPECT_TRUE(key.Has(_T("a/b/")));
}

TEST(Registry, CreateKeyMakesEveryLevelOrOpensWhatIsThere) {
    const TestKey key;
    OpenedRegistry registry(key);
    const HKEY top = registry.m_hKey;
    Spoil(registry);
    EXPECT_EQ(registry.CreateKey(_T("A\\B\\中文")), 1);
    EXPECT_EQ(Status(registry), (Statuses{0, 0, 0}));
    EXPECT_TRUE(registry.m_strPath == key.Path()) << "kept by Open alone";
    EXPECT_EQ(registry.Write(_T("v"), 5), 1);
    registry.SetHKey(top);
    EXPECT_EQ(registry.CreateKey(_T("a\\b\\中文")), 1);
    int value = 0;
    EXPECT_EQ(registry.Read(_T("V"), value), 1);
    EXPECT_EQ(value, 5);
    EXPECT_EQ(::RegQueryValueExW(top, _T("v"), nullptr, nullptr, nullptr, nullptr), LONG{ERROR_FILE_NOT_FOUND})
        << "the key before is still open";
    ::RegCloseKey(top);
}

TEST(Registry, FailedCreateKeyLeavesTheCurrentKey) {
    const TestKey key;
    OpenedRegistry registry(key);
    const HKEY top = registry.m_hKey;
    Spoil(registry);
    EXPECT_EQ(registry.CreateKey(CString(_T('n'), 300)), 0);
    EXPECT_EQ(Status(registry), (Statuses{ERROR_INVALID_PARAMETER, 0, 0}));
    EXPECT_EQ(registry.m_hKey, top);
}

TEST(Registry, NamesUpToTheLimitAreTaken) {
    const TestKey key;
    OpenedRegistry registry(key);
    const CString longest(_T('n'), 255);
    EXPECT_EQ(registry.CreateKey(longest), 1);
    CStringArray names;
    registry.SetHKey(key.Handle());
    EXPECT_EQ(registry.ReadSubKeys(names), 1);
    EXPECT_EQ(Texts(names), std::vector<std::string>{std::string(255, 'n')});
    EXPECT_EQ(registry.VerifyKey(CString(_T('n'), 300)), 0);
    EXPECT_NE(registry.m_lLastError, 0);
    EXPECT_EQ(registry.DeleteKey(CString(_T('n'), 300), 0), 0);
    EXPECT_EQ(registry.DeleteKey(longest, 0), 1);
    registry.SetHKey(nullptr);
}

TEST(Registry, NullKeyFailsEverything) {
    CFRegistry registry(0, 0);
    registry.Close();
    ASSERT_EQ(registry.m_hKey, nullptr);
    const Statuses invalid = {ERROR_INVALID_HANDLE, 0, 0};
    EXPECT_EQ(registry.Open(_T("Software")), 0);
    EXPECT_EQ(Status(registry), invalid);
    EXPECT_EQ(registry.CreateKey(_T("Software")), 0);
    EXPECT_EQ(Status(registry), invalid);
    EXPECT_EQ(registry.VerifyKey(_T("Software")), 0);
    EXPECT_EQ(Status(registry), invalid);
    EXPECT_EQ(registry.VerifyValue(_T("v")), 0);
    EXPECT_EQ(Status(registry), invalid);
    EXPECT_EQ(registry.DeleteValue(_T("v")), 0);
    EXPECT_EQ(Status(registry), invalid);
    EXPECT_EQ(registry.DeleteKey(_T("Software"), 0), 0);
    CStringArray names;
    EXPECT_EQ(registry.ReadSubKeys(names), 1) << "another error than no more items";
    EXPECT_EQ(registry.ReadKeyValues(names), 0);
    EXPECT_EQ(names.GetSize(), 0);
    EXPECT_EQ(registry.Write(_T("v"), 1), 0);
    EXPECT_EQ(Status(registry), (Statuses{ERROR_INVALID_HANDLE, 4, 4}));
    int value = 3;
    EXPECT_EQ(registry.Read(_T("v"), value), 0);
    EXPECT_EQ(value, 3);
    EXPECT_EQ(Status(registry), invalid);
}

TEST(Registry, SetHKeyDoesNotCloseTheKeyBefore) {
    const TestKey key;
    key.Make(_T("A"));
    OpenedRegistry registry(key);
    const HKEY before = registry.m_hKey;
    Spoil(registry);
    registry.SetHKey(HKEY_CURRENT_USER);
    EXPECT_EQ(registry.m_hKey, HKEY_CURRENT_USER);
    EXPECT_EQ(Status(registry), spoilt);
    registry.SetHKey(before);
    EXPECT_EQ(registry.VerifyKey(_T("A")), 1);
}

TEST(Registry, DestructorClosesTheCurrentKey) {
    const TestKey key;
    HKEY handle = nullptr;
    {
        OpenedRegistry registry(key);
        handle = registry.m_hKey;
    }
    EXPECT_EQ(::RegQueryValueExW(handle, _T("v"), nullptr, nullptr, nullptr, nullptr), LONG{ERROR_INVALID_HANDLE});
}

TEST(Registry, VerifyTellsWhatIsThere) {
    const TestKey key;
    key.Make(_T("A"));
    key.Put(_T("empty"), REG_BINARY, "");
    OpenedRegistry registry(key);
    const HKEY top = registry.m_hKey;
    Spoil(registry);
    EXPECT_EQ(registry.VerifyKey(_T("a")), 1);
    EXPECT_EQ(Status(registry), (Statuses{0, 0, 0}));
    EXPECT_EQ(registry.m_hKey, top);
    Spoil(registry);
    EXPECT_EQ(registry.VerifyKey(_T("B")), 0);
    EXPECT_EQ(Status(registry), (Statuses{ERROR_FILE_NOT_FOUND, 0, 0}));
    Spoil(registry);
    EXPECT_EQ(registry.VerifyValue(_T("EMPTY")), 1);
    EXPECT_EQ(Status(registry), (Statuses{0, 0, 0}));
    Spoil(registry);
    EXPECT_EQ(registry.VerifyValue(_T("A")), 0) << "a key is no value";
    EXPECT_EQ(Status(registry), (Statuses{ERROR_FILE_NOT_FOUND, 0, 0}));
    EXPECT_EQ(registry.VerifyValue(_T("")), 0);
    EXPECT_EQ(registry.VerifyValue(nullptr), 0);
    key.PutText(nullptr, u"x");
    EXPECT_EQ(registry.VerifyValue(_T("")), 1);
    EXPECT_EQ(registry.VerifyValue(nullptr), 1);
}

TEST(Registry, WorksUnderTheMachineHiveToo) {
    const TestKey key(HKEY_LOCAL_MACHINE);
    CFRegistry registry(1, 0);
    ASSERT_EQ(registry.Open(key.Path()), 1);
    EXPECT_EQ(registry.CreateKey(_T("A")), 1);
    EXPECT_EQ(registry.Write(_T("v"), _T("x")), 1);
    EXPECT_EQ(key.Shown(_T("v"), _T("A")), "1: 78 00 00 00");
}

// --- listing ---

TEST(Registry, SubKeysAreAppendedInUpperCaseOrder) {
    const TestKey key;
    for (const LPCWSTR name : {_T("R2"), _T("b"), _T("R19.1"), _T("A"), _T("R19.0")}) {
        key.Make(name);
    }
    OpenedRegistry registry(key);
    Spoil(registry);
    CStringArray names;
    names.Add(_T("before"));
    EXPECT_EQ(registry.ReadSubKeys(names), 1);
    EXPECT_EQ(Texts(names), (std::vector<std::string>{"before", "A", "b", "R19.0", "R19.1", "R2"}));
    EXPECT_EQ(Status(registry), spoilt);
}

TEST(Registry, ValueNamesAreAppended) {
    const TestKey key;
    key.PutText(_T("one"), u"1");
    key.Put(_T("Two"), REG_DWORD, std::string(4, '\0'));
    OpenedRegistry registry(key);
    Spoil(registry);
    CStringArray names;
    names.Add(_T("before"));
    EXPECT_EQ(registry.ReadKeyValues(names), 1);
    EXPECT_EQ(Texts(names), (std::vector<std::string>{"before", "one", "Two"}));
    EXPECT_EQ(Status(registry), spoilt);
}

TEST(Registry, UnnamedValueIsListedByItsEmptyName) {
    const TestKey key;
    key.PutText(nullptr, u"1");
    OpenedRegistry registry(key);
    CStringArray names;
    EXPECT_EQ(registry.ReadKeyValues(names), 1);
    EXPECT_EQ(Texts(names), std::vector<std::string>{""});
}

TEST(Registry, EmptyKeyListsNothing) {
    const TestKey key;
    OpenedRegistry registry(key);
    CStringArray names;
    names.Add(_T("before"));
    EXPECT_EQ(registry.ReadSubKeys(names), 0);
    EXPECT_EQ(registry.ReadKeyValues(names), 0);
    EXPECT_EQ(Texts(names), std::vector<std::string>{"before"});
}

TEST(Registry, ListingADeletedKeyDiffersForKeysAndValues) {
    const TestKey key;
    key.Make(_T("A"));
    OpenedRegistry registry(key);
    ASSERT_EQ(registry.Open(_T("A")), 1);
    ASSERT_EQ(::RegDeleteKeyW(key.Handle(), _T("A")), 0);
    CStringArray names;
    EXPECT_EQ(registry.ReadSubKeys(names), 1) << "not the error of no more items";
    EXPECT_EQ(registry.ReadKeyValues(names), 0);
    EXPECT_EQ(names.GetSize(), 0);
    EXPECT_EQ(registry.Write(_T("v"), 1), 0);
    EXPECT_EQ(registry.m_lLastError, LONG{ERROR_KEY_DELETED});
    EXPECT_EQ(registry.VerifyKey(_T("B")), 0);
    EXPECT_EQ(registry.m_lLastError, LONG{ERROR_KEY_DELETED});
}

TEST(Registry, ValueNameThatIsTooLongEndsTheListing) {
    const TestKey key;
    const CString fits(_T('a'), 1023);
    key.PutText(fits, u"1");
    OpenedRegistry registry(key);
    CStringArray names;
    EXPECT_EQ(registry.ReadKeyValues(names), 1);
    EXPECT_EQ(Texts(names), std::vector<std::string>{std::string(1023, 'a')});
    const CString tooLong(_T('b'), 1024);
    key.PutText(tooLong, u"2");
    key.PutText(_T("c"), u"3");
    names.RemoveAll();
    EXPECT_EQ(registry.ReadKeyValues(names), 1);
    EXPECT_EQ(Texts(names), std::vector<std::string>{std::string(1023, 'a')});
    EXPECT_EQ(registry.VerifyValue(tooLong), 1) << "named, it is there";
    ASSERT_EQ(registry.DeleteValue(fits), 1);
    names.RemoveAll();
    EXPECT_EQ(registry.ReadKeyValues(names), 0) << "the first one fails";
    EXPECT_EQ(names.GetSize(), 0);
}

// --- deleting ---

TEST(Registry, DeleteValueRecordsItsError) {
    const TestKey key;
    key.PutText(_T("v"), u"1");
    key.PutText(nullptr, u"2");
    OpenedRegistry registry(key);
    Spoil(registry);
    EXPECT_EQ(registry.DeleteValue(_T("V")), 1);
    EXPECT_EQ(Status(registry), (Statuses{0, 0, 0}));
    EXPECT_EQ(key.Shown(_T("v")), "none");
    Spoil(registry);
    EXPECT_EQ(registry.DeleteValue(_T("v")), 0);
    EXPECT_EQ(Status(registry), (Statuses{ERROR_FILE_NOT_FOUND, 0, 0}));
    EXPECT_EQ(registry.DeleteValue(nullptr), 1) << "the unnamed one";
    EXPECT_EQ(key.Shown(nullptr), "none");
}

TEST(Registry, DeleteKeyTakesTheWholeSubtree) {
    const TestKey key;
    key.Make(_T("A\\B\\C"));
    key.Make(_T("A\\B\\D"));
    key.Make(_T("A\\E"));
    key.Make(_T("F"));
    OpenedRegistry registry(key);
    const HKEY top = registry.m_hKey;
    Spoil(registry);
    EXPECT_EQ(registry.DeleteKey(_T("A"), 1), 1);
    EXPECT_EQ(Status(registry), (Statuses{0, 0, 0}));
    EXPECT_EQ(registry.m_hKey, top);
    EXPECT_FALSE(key.Has(_T("A")));
    EXPECT_TRUE(key.Has(_T("F")));
}

TEST(Registry, DeleteKeyOfAMissingKeyLeavesTheStatus) {
    const TestKey key;
    OpenedRegistry registry(key);
    Spoil(registry);
    EXPECT_EQ(registry.DeleteKey(_T("A"), 0), 0);
    EXPECT_EQ(Status(registry), spoilt);
}

TEST(Registry, DeleteKeyNeverTakesTheCurrentKey) {
    const TestKey key;
    key.Make(_T("A\\B"));
    key.PutText(_T("v"), u"1");
    OpenedRegistry registry(key);
    Spoil(registry);
    for (const LPCWSTR path : {static_cast<LPCWSTR>(nullptr), _T(""), _T("\\")}) {
        EXPECT_EQ(registry.DeleteKey(path, 0), 0);
        EXPECT_EQ(Status(registry), spoilt);
    }
    EXPECT_TRUE(key.Has(_T("A\\B")));
    EXPECT_EQ(key.Shown(_T("v")), "1: 31 00 00 00");
}

TEST(Registry, DeleteKeyTakesAKeyThatIsOpenElsewhere) {
    const TestKey key;
    key.Make(_T("A"));
    HKEY held = nullptr;
    ASSERT_EQ(::RegOpenKeyExW(key.Handle(), _T("A"), 0, KEY_ALL_ACCESS, &held), 0);
    OpenedRegistry registry(key);
    EXPECT_EQ(registry.DeleteKey(_T("A"), 0), 1);
    EXPECT_EQ(::RegQueryValueExW(held, _T("v"), nullptr, nullptr, nullptr, nullptr), LONG{ERROR_KEY_DELETED});
    ::RegCloseKey(held);
}

/// Counts and refuses deletions.
class Watched : public OpenedRegistry {
public:
    using OpenedRegistry::OpenedRegistry;
    int DeleteKey(LPCWSTR path, int flag) override {
        m_calls.push_back(kvttest::Utf8(path) + " " + std::to_string(flag));
        return m_refused == path ? 0 : CFRegistry::DeleteKey(path, flag);
    }
    std::vector<std::string> m_calls;
    CString m_refused = _T("none");
};

TEST(Registry, DeleteKeyDescendsThroughItsVirtualFunctionWithTheFlag) {
    const TestKey key;
    key.Make(_T("A\\B\\C"));
    key.Make(_T("A\\D"));
    Watched registry(key);
    EXPECT_EQ(registry.DeleteKey(_T("A\\"), 42), 1);
    EXPECT_EQ(registry.m_calls, (std::vector<std::string>{"A\\ 42", "A\\B 42", "A\\B\\C 42", "A\\D 42"}));
    EXPECT_FALSE(key.Has(_T("A")));
}

TEST(Registry, DeleteKeyStopsAtTheFirstKeyThatIsRefused) {
    const TestKey key;
    key.Make(_T("A\\B"));
    key.Make(_T("A\\C"));
    key.Make(_T("A\\D"));
    Watched registry(key);
    registry.m_refused = _T("A\\C");
    Spoil(registry);
    EXPECT_EQ(registry.DeleteKey(_T("A"), 0), 0);
    EXPECT_FALSE(key.Has(_T("A\\B"))) << "deleted before";
    EXPECT_TRUE(key.Has(_T("A\\C")));
    EXPECT_TRUE(key.Has(_T("A\\D")));
    EXPECT_EQ(Status(registry), (Statuses{0, 0, 0})) << "that of the deletion before";
}

TEST(Registry, DeepTreesAreDeleted) {
    const TestKey key;
    OpenedRegistry registry(key);
    for (int i = 0; i < 300; ++i) {
        HKEY const above = registry.m_hKey;
        ASSERT_EQ(registry.CreateKey(_T("Level")), 1) << i;
        ::RegCloseKey(above);
    }
    OpenedRegistry top(key);
    EXPECT_EQ(top.DeleteKey(_T("Level"), 0), 1);
    EXPECT_FALSE(key.Has(_T("Level")));
}

// --- read-only objects ---

TEST(Registry, ReadOnlyObjectOpensForReadingAlone) {
    const TestKey key;
    key.Make(_T("A"));
    key.PutText(_T("v"), u"x");
    OpenedRegistry registry(key, 1);
    EXPECT_EQ(registry.VerifyKey(_T("A")), 1);
    EXPECT_EQ(::RegSetValueExW(registry.m_hKey, _T("w"), 0, REG_BINARY, nullptr, 0), LONG{ERROR_ACCESS_DENIED});
    CString text;
    EXPECT_EQ(registry.Read(_T("v"), text), 1);
    EXPECT_EQ(text, _T("x"));
    CStringArray names;
    EXPECT_EQ(registry.ReadSubKeys(names), 1);
    EXPECT_EQ(registry.ReadKeyValues(names), 1);
    EXPECT_EQ(Texts(names), (std::vector<std::string>{"A", "v"}));
}

TEST(Registry, ReadOnlyObjectMakesAndDeletesNoKey) {
    const TestKey key;
    key.Make(_T("A"));
    OpenedRegistry registry(key, 1);
    const HKEY before = registry.m_hKey;
    Spoil(registry);
    EXPECT_EQ(registry.CreateKey(_T("A")), 0);
    EXPECT_EQ(registry.CreateKey(_T("B")), 0);
    EXPECT_EQ(registry.DeleteKey(_T("A"), 0), 0);
    EXPECT_EQ(Status(registry), spoilt);
    EXPECT_EQ(registry.m_hKey, before);
    EXPECT_TRUE(key.Has(_T("A")));
    EXPECT_FALSE(key.Has(_T("B")));
}

TEST(Registry, ReadOnlyObjectDeletesValuesAllTheSame) {
    const TestKey key;
    key.PutText(_T("v"), u"x");
    CFRegistry registry(0, 1);
    registry.SetHKey(key.Handle());
    EXPECT_EQ(registry.DeleteValue(_T("v")), 1);
    EXPECT_EQ(key.Shown(_T("v")), "none");
    registry.SetHKey(nullptr);
}

TEST(Registry, KeyOpenedForReadingRefusesToDeleteItsValues) {
    const TestKey key;
    key.PutText(_T("v"), u"x");
    OpenedRegistry registry(key, 1);
    Spoil(registry);
    EXPECT_EQ(registry.DeleteValue(_T("v")), 0);
    EXPECT_EQ(Status(registry), (Statuses{ERROR_ACCESS_DENIED, 0, 0}));
    EXPECT_EQ(key.Shown(_T("v")), "1: 78 00 00 00");
}

}  // namespace
