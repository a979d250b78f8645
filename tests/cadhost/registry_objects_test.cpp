// CFRegistry: objects and collections: their stored bytes, reading back, and damaged data.
#include <algorithm>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/cadhost/opened_registry.h"

namespace {

using namespace std::string_literals;
using kvtfile::CFRegistry;
using kvttest::OpenedRegistry;
using kvttest::spoilt;
using kvttest::Status;
using kvttest::Statuses;
using kvttest::TestKey;
using kvttest::Texts;

// --- objects that are stored ---

/// Storable, two bytes.
class CYear : public CObject {
    DECLARE_SERIAL(CYear)

public:
    CYear() { ++s_alive; }
    explicit CYear(WORD year) : m_year(year) { ++s_alive; }
    ~CYear() override { --s_alive; }
    void Serialize(CArchive& ar) override {
        if (ar.IsStoring()) {
            ar << m_year;
        } else {
            ar >> m_year;
        }
    }
    WORD m_year = 0;
    static int s_alive;
};
int CYear::s_alive = 0;
IMPLEMENT_SERIAL(CYear, CObject, 1)

/// Serialize does as it is told.
class CAny : public CObject {
public:
    explicit CAny(std::function<void(CArchive&)> work) : m_work(std::move(work)) {}
    void Serialize(CArchive& ar) override {
        ++m_calls;
        m_work(ar);
    }
    std::function<void(CArchive&)> m_work;
    int m_calls = 0;
};

void Fill(CStringArray& array) {
    array.Add(_T("A"));
    array.Add(_T("中b"));
}

const char storedTexts[] = "3: 02 00 FF FE FF 01 41 00 FF FE FF 02 2D 4E 62 00";

// --- stored forms ---

TEST(RegistryObject, IsStoredByItsSerialize) {
    const TestKey key;
    OpenedRegistry registry(key);
    CYear year(0x0102);
    EXPECT_EQ(registry.Write(_T("v"), year), 1);
    EXPECT_EQ(key.Shown(_T("v")), "3: 02 01");
    EXPECT_EQ(Status(registry), (Statuses{0, 3, 2}));
}

TEST(RegistryObject, PointerIsStoredWithItsClass) {
    const TestKey key;
    OpenedRegistry registry(key);
    CDWordArray numbers;
    numbers.Add(1);
    EXPECT_EQ(registry.Write(_T("v"), static_cast<CObject*>(&numbers)), 1);
    EXPECT_EQ(key.Shown(_T("v")), "3: FF FF 00 00 0B 00 43 44 57 6F 72 64 41 72 72 61 79 01 00 01 00 00 00");
    EXPECT_EQ(Status(registry), (Statuses{0, 3, 23}));
    CYear year(7);
    EXPECT_EQ(registry.Write(_T("v"), &year), 1);
    EXPECT_EQ(key.Shown(_T("v")), "3: FF FF 01 00 05 00 43 59 65 61 72 07 00");
    EXPECT_EQ(registry.Write(_T("v"), static_cast<CObject*>(nullptr)), 1);
    EXPECT_EQ(key.Shown(_T("v")), "3: 00 00");
    EXPECT_EQ(Status(registry), (Statuses{0, 3, 2}));
}

TEST(RegistryCollection, IsStoredAsCountAndElements) {
    const TestKey key;
    OpenedRegistry registry(key);
    CByteArray bytes;
    bytes.Add(1);
    bytes.Add(255);
    EXPECT_EQ(registry.Write(_T("v"), bytes), 1);
    EXPECT_EQ(key.Shown(_T("v")), "3: 02 00 01 FF");
    EXPECT_EQ(Status(registry), (Statuses{0, 3, 4}));
    CDWordArray numbers;
    numbers.Add(10);
    numbers.Add(0xF0000014);
    EXPECT_EQ(registry.Write(_T("v"), numbers), 1);
    EXPECT_EQ(key.Shown(_T("v")), "3: 02 00 0A 00 00 00 14 00 00 F0");
    CStringArray texts;
    Fill(texts);
    EXPECT_EQ(registry.Write(_T("v"), texts), 1);
    EXPECT_EQ(key.Shown(_T("v")), storedTexts);
    EXPECT_EQ(Status(registry), (Statuses{0, 3, 16}));
    CStringList list;
    list.AddTail(_T("A"));
    list.AddTail(_T(""));
    EXPECT_EQ(registry.Write(_T("v"), list), 1);
    EXPECT_EQ(key.Shown(_T("v")), "3: 02 00 FF FE FF 01 41 00 FF FE FF 00");
}

TEST(RegistryCollection, ObjectListStoresEachObjectOnce) {
    const TestKey key;
    OpenedRegistry registry(key);
    CYear first(5);
    CYear second(7);
    CObList list;
    list.AddTail(&first);
    list.AddTail(&second);
    list.AddTail(&first);
    list.AddTail(static_cast<CObject*>(nullptr));
    EXPECT_EQ(registry.Write(_T("v"), list), 1);
    EXPECT_EQ(key.Shown(_T("v")), "3: 04 00 FF FF 01 00 05 00 43 59 65 61 72 05 00 01 80 07 00 02 00 00 00");
    EXPECT_EQ(Status(registry), (Statuses{0, 3, 23}));
}

TEST(RegistryCollection, EmptyOnesAreTheirCount) {
    const TestKey key;
    OpenedRegistry registry(key);
    CByteArray bytes;
    CDWordArray numbers;
    CStringArray texts;
    CStringList textList;
    CObList objects;
    CWordArray words;
    EXPECT_EQ(registry.Write(_T("bytes"), bytes), 1);
    EXPECT_EQ(registry.Write(_T("numbers"), numbers), 1);
    EXPECT_EQ(registry.Write(_T("texts"), texts), 1);
    EXPECT_EQ(registry.Write(_T("textList"), textList), 1);
    EXPECT_EQ(registry.Write(_T("objects"), objects), 1);
    for (const LPCWSTR name : {_T("bytes"), _T("numbers"), _T("texts"), _T("textList"), _T("objects")}) {
        EXPECT_EQ(key.Shown(name), "3: 00 00");
    }
    EXPECT_EQ(registry.Write(_T("words"), words), 1);
    EXPECT_EQ(key.Shown(_T("words")), "3: 00 00 00 00 00 00 00 00");
}

TEST(RegistryCollection, ManyElementsTakeALongCount) {
    const TestKey key;
    OpenedRegistry registry(key);
    CByteArray bytes;
    bytes.SetSize(100000);
    bytes.SetAt(99999, 9);
    EXPECT_EQ(registry.Write(_T("v"), bytes), 1);
    EXPECT_EQ(key.Shown(_T("v")).substr(0, 24), "3: FF FF A0 86 01 00 00 ");
    EXPECT_EQ(Status(registry), (Statuses{0, 3, 100006}));
    CByteArray loaded;
    EXPECT_EQ(registry.Read(_T("v"), loaded), 1);
    ASSERT_EQ(loaded.GetSize(), 100000);
    EXPECT_EQ(loaded[99999], 9);
}

TEST(RegistryObject, ReadOnlyObjectStoresNothing) {
    const TestKey key;
    OpenedRegistry registry(key, 1);
    registry.SetHKey(key.Handle());
    CAny any([](CArchive& ar) { ar << 1; });
    CYear year(1);
    CByteArray bytes;
    CWordArray words;
    CDWordArray numbers;
    CStringArray texts;
    CStringList textList;
    CObList objects;
    POINT point = {1, 2};
    POINT* pointer = &point;
    EXPECT_EQ(registry.Write(_T("v"), any), 0);
    EXPECT_EQ(any.m_calls, 0) << "not even asked for its data";
    EXPECT_EQ(registry.Write(_T("v"), &year), 0);
    EXPECT_EQ(registry.Write(_T("v"), bytes), 0);
    EXPECT_EQ(registry.Write(_T("v"), words), 0);
    EXPECT_EQ(registry.Write(_T("v"), numbers), 0);
    EXPECT_EQ(registry.Write(_T("v"), texts), 0);
    EXPECT_EQ(registry.Write(_T("v"), textList), 0);
    EXPECT_EQ(registry.Write(_T("v"), objects), 0);
    EXPECT_EQ(registry.Write(_T("v"), CRect(1, 2, 3, 4)), 0);
    EXPECT_EQ(registry.Write(_T("v"), pointer), 0);
    EXPECT_EQ(Status(registry), spoilt);
    EXPECT_EQ(key.Shown(_T("v")), "none");
    registry.SetHKey(nullptr);
}

TEST(RegistryObject, ReadOnlyObjectReads) {
    const TestKey key;
    CStringArray texts;
    Fill(texts);
    {
        OpenedRegistry writer(key);
        ASSERT_EQ(writer.Write(_T("v"), texts), 1);
    }
    OpenedRegistry registry(key, 1);
    CStringArray loaded;
    EXPECT_EQ(registry.Read(_T("v"), loaded), 1);
    EXPECT_EQ(Texts(loaded), Texts(texts));
}

// --- storing that fails ---

TEST(RegistryObject, WhatStoringThrowsIsAFailureAndWritesNothing) {
    const std::function<void(CArchive&)> failures[] = {
        [](CArchive&) { AfxThrowMemoryException(); },
        [](CArchive& ar) {
            ar << 1;
            AfxThrowArchiveException(CArchiveException::generic);
        },
        [](CArchive& ar) {
            CByteArray many;
            many.SetSize(10000);
            many.Serialize(ar);
            AfxThrowInvalidArgException();
        },
        [](CArchive&) { throw std::runtime_error("refused"); },
        [](CArchive&) { throw 1; },
        [](CArchive& ar) {
            int number = 0;
            ar >> number;
        },
    };
    const TestKey key;
    key.Put(_T("v"), REG_BINARY, "x");
    OpenedRegistry registry(key);
    for (const auto& failure : failures) {
        CAny any(failure);
        EXPECT_EQ(registry.Write(_T("v"), any), 0);
        EXPECT_EQ(any.m_calls, 1);
    }
    EXPECT_EQ(Status(registry), spoilt);
    EXPECT_EQ(key.Shown(_T("v")), "3: 78");
}

TEST(RegistryObject, ObjectThatStoresNoByteIsAFailure) {
    const TestKey key;
    OpenedRegistry registry(key);
    CAny any([](CArchive&) {});
    EXPECT_EQ(registry.Write(_T("v"), any), 0);
    EXPECT_EQ(any.m_calls, 1);
    EXPECT_EQ(Status(registry), spoilt);
    EXPECT_EQ(key.Shown(_T("v")), "none");
}

TEST(RegistryObject, ClassThatCannotBeStoredIsAFailure) {
    const TestKey key;
    OpenedRegistry registry(key);
    CAny any([](CArchive& ar) { ar << 1; });
    EXPECT_EQ(registry.Write(_T("v"), static_cast<CObject*>(&any)), 0);
    EXPECT_EQ(Status(registry), spoilt);
    EXPECT_EQ(key.Shown(_T("v")), "none");
}

// --- reading ---

TEST(RegistryObject, IsReadByItsSerializeWhateverTheTypeOfTheValue) {
    for (const DWORD type : {REG_BINARY, REG_SZ}) {
        const TestKey key;
        key.Put(_T("v"), type, "\x02\x01"s);
        OpenedRegistry registry(key);
        CYear year;
        EXPECT_EQ(registry.Read(_T("v"), year), 1);
        EXPECT_EQ(year.m_year, 0x0102);
        EXPECT_EQ(Status(registry), (Statuses{0, 3, 2}));
    }
}

TEST(RegistryObject, PointerIsReadByItsClass) {
    const TestKey key;
    key.Put(_T("v"), REG_BINARY, "\xFF\xFF\x01\0\x05\0CYear\x07\0"s);
    OpenedRegistry registry(key);
    CObject* object = nullptr;
    ASSERT_EQ(registry.Read(_T("v"), object), 1);
    const std::unique_ptr<CObject> owner(object);
    ASSERT_TRUE(object && object->IsKindOf(RUNTIME_CLASS(CYear)));
    EXPECT_EQ(static_cast<CYear*>(object)->m_year, 7);
    EXPECT_EQ(Status(registry), (Statuses{0, 3, 13}));
}

TEST(RegistryObject, StoredNullIsReadAsNull) {
    const TestKey key;
    key.Put(_T("v"), REG_BINARY, "\0\0"s);
    OpenedRegistry registry(key);
    CYear year;
    CObject* object = &year;
    EXPECT_EQ(registry.Read(_T("v"), object), 1);
    EXPECT_EQ(object, nullptr);
}

TEST(RegistryObject, FailedReadLeavesThePointer) {
    const std::string damaged[] = {
        ""s,
        "\xFF"s,
        "\x01\0"s,                             // an object that was not stored
        "\x01\x80"s,                           // a class that was not stored
        "\xFF\xFF\x01\0\x07\0Unknown\x07\0"s,  // a class that nobody has
        "\xFF\xFF\x02\0\x05\0CYear\x07\0"s,    // another version
        "\xFF\xFF\x01\0\xFF\xFF"
        "CYear\x07\0"s,  // a name longer than the data
        "\xFF\xFF\xFF\xFF\x0A\0"
        "CFRegistry\0\0\0\0"s,        // a class that cannot be stored
        "\xFF\x7F\xFF\xFF\xFF\xFF"s,  // a number beyond all
    };
    const TestKey key;
    OpenedRegistry registry(key);
    CYear year;
    const int alive = CYear::s_alive;
    for (const std::string& bytes : damaged) {
        SCOPED_TRACE(kvttest::Hex(bytes));
        key.Put(_T("v"), REG_BINARY, bytes);
        CObject* object = &year;
        EXPECT_EQ(registry.Read(_T("v"), object), 0);
        EXPECT_EQ(object, &year);
        EXPECT_EQ(Status(registry), (Statuses{0, 3, static_cast<long long>(bytes.size())}));
    }
    ASSERT_EQ(::RegDeleteValueW(key.Handle(), _T("v")), 0);
    CObject* object = &year;
    EXPECT_EQ(registry.Read(_T("v"), object), 0);
    EXPECT_EQ(object, &year);
    EXPECT_EQ(Status(registry), (Statuses{ERROR_FILE_NOT_FOUND, 3, 0}));
    EXPECT_EQ(CYear::s_alive, alive);
}

TEST(RegistryObject, MissingValueLeavesTheObject) {
    const TestKey key;
    OpenedRegistry registry(key);
    CYear year(9);
    EXPECT_EQ(registry.Read(_T("v"), year), 0);
    EXPECT_EQ(year.m_year, 9);
    EXPECT_EQ(Status(registry), (Statuses{ERROR_FILE_NOT_FOUND, 3, 0}));
}

TEST(RegistryObject, EmptyValueHasNothingToRead) {
    const TestKey key;
    key.Put(_T("v"), REG_BINARY, "");
    OpenedRegistry registry(key);
    CYear year(9);
    EXPECT_EQ(registry.Read(_T("v"), year), 0);
    EXPECT_EQ(year.m_year, 9);
    CAny modest([](CArchive&) {});
    EXPECT_EQ(registry.Read(_T("v"), modest), 1) << "asked for nothing";
    EXPECT_EQ(modest.m_calls, 1);
}

TEST(RegistryObject, WhatLoadingThrowsIsAFailure) {
    const TestKey key;
    key.Put(_T("v"), REG_BINARY, "xyz");
    OpenedRegistry registry(key);
    const std::function<void(CArchive&)> failures[] = {
        [](CArchive&) { AfxThrowMemoryException(); },
        [](CArchive&) { AfxThrowArchiveException(CArchiveException::generic); },
        [](CArchive&) { AfxThrowNotSupportedException(); },
        [](CArchive&) { throw std::bad_alloc(); },
        [](CArchive&) { throw 1; },
        [](CArchive& ar) { ar << 1; },
    };
    for (const auto& failure : failures) {
        CAny any(failure);
        EXPECT_EQ(registry.Read(_T("v"), any), 0);
        EXPECT_EQ(any.m_calls, 1);
        EXPECT_EQ(Status(registry), (Statuses{0, 3, 3}));
    }
}

TEST(RegistryCollection, ReadReplacesTheContent) {
    const TestKey key;
    OpenedRegistry registry(key);
    key.Put(_T("bytes"), REG_BINARY, "\x02\0\x01\xFF"s);
    CByteArray bytes;
    bytes.SetSize(5);
    EXPECT_EQ(registry.Read(_T("bytes"), bytes), 1);
    ASSERT_EQ(bytes.GetSize(), 2);
    EXPECT_EQ(bytes[0], 1);
    EXPECT_EQ(bytes[1], 255);
    EXPECT_EQ(Status(registry), (Statuses{0, 3, 4}));
    key.Put(_T("numbers"), REG_BINARY, "\x01\0\x0A\0\0\x80"s);
    CDWordArray numbers;
    numbers.SetSize(5);
    EXPECT_EQ(registry.Read(_T("numbers"), numbers), 1);
    ASSERT_EQ(numbers.GetSize(), 1);
    EXPECT_EQ(numbers[0], 0x8000000Au);
    key.Put(_T("texts"), REG_BINARY,
            "\x02\0\xFF\xFE\xFF\x01"
            "A\0\xFF\xFE\xFF\x02\x2D\x4E"
            "b\0"s);
    CStringArray texts;
    texts.Add(_T("before"));
    EXPECT_EQ(registry.Read(_T("texts"), texts), 1);
    EXPECT_EQ(Texts(texts), (std::vector<std::string>{"A",
                                                      "\xE4\xB8\xAD"
                                                      "b"}));
    CStringList list;
    list.AddTail(_T("before"));
    EXPECT_EQ(registry.Read(_T("texts"), list), 1);
    ASSERT_EQ(list.GetCount(), 2);
    EXPECT_EQ(list.GetHead(), _T("A"));
    EXPECT_EQ(list.GetTail(), _T("中b"));
    EXPECT_EQ(Status(registry), (Statuses{0, 3, 16}));
}

TEST(RegistryCollection, ReadOfNothingEmptiesThemAllTheSame) {
    const TestKey key;
    OpenedRegistry registry(key);
    CByteArray bytes;
    bytes.Add(1);
    CWordArray words;
    words.Add(1);
    CDWordArray numbers;
    numbers.Add(1);
    CStringArray texts;
    texts.Add(_T("a"));
    CStringList textList;
    textList.AddTail(_T("a"));
    const int alive = CYear::s_alive;
    CObList objects;
    objects.AddTail(new CYear(1));
    EXPECT_EQ(registry.Read(_T("v"), bytes), 0);
    EXPECT_EQ(registry.Read(_T("v"), words), 0);
    EXPECT_EQ(registry.Read(_T("v"), numbers), 0);
    EXPECT_EQ(registry.Read(_T("v"), texts), 0);
    EXPECT_EQ(registry.Read(_T("v"), textList), 0);
    EXPECT_EQ(registry.Read(_T("v"), objects), 0);
    EXPECT_EQ(bytes.GetSize() + words.GetSize() + numbers.GetSize() + texts.GetSize() + textList.GetCount() +
                  objects.GetCount(),
              0);
    EXPECT_EQ(CYear::s_alive, alive);
    EXPECT_EQ(Status(registry), (Statuses{ERROR_FILE_NOT_FOUND, 3, 0}));
}

TEST(RegistryCollection, ObjectListDeletesWhatItHeldAndLoadsNewObjects) {
    const TestKey key;
    key.Put(_T("v"), REG_BINARY, "\x04\0\xFF\xFF\x01\0\x05\0CYear\x05\0\x01\x80\x07\0\x02\0\0\0"s);
    OpenedRegistry registry(key);
    const int alive = CYear::s_alive;
    CObList list;
    list.AddTail(new CYear(1));
    list.AddTail(static_cast<CObject*>(nullptr));
    list.AddTail(new CYear(2));
    ASSERT_EQ(registry.Read(_T("v"), list), 1);
    EXPECT_EQ(CYear::s_alive, alive + 2);
    ASSERT_EQ(list.GetCount(), 4);
    POSITION position = list.GetHeadPosition();
    CObject* const first = list.GetNext(position);
    CObject* const second = list.GetNext(position);
    CObject* const third = list.GetNext(position);
    EXPECT_EQ(static_cast<CYear*>(first)->m_year, 5);
    EXPECT_EQ(static_cast<CYear*>(second)->m_year, 7);
    EXPECT_EQ(third, first);
    EXPECT_EQ(list.GetTail(), nullptr);
    // The list now holds one object twice; it is deleted once.
    key.Put(_T("none"), REG_BINARY, "\0\0"s);
    EXPECT_EQ(registry.Read(_T("none"), list), 1);
    EXPECT_EQ(list.GetCount(), 0);
    EXPECT_EQ(CYear::s_alive, alive);
}

// --- damaged collections ---

TEST(RegistryCollection, EveryCutFails) {
    const struct {
        const char* what;
        std::string bytes;
        std::function<int(CFRegistry&)> read;
    } rows[] = {
        {"bytes", "\x03\0\x01\x02\x03"s,
         [](CFRegistry& registry) {
             CByteArray array;
             return registry.Read(_T("v"), array);
         }},
        {"words", "\x02\0\0\0\x01\0\x02\0"s,
         [](CFRegistry& registry) {
             CWordArray array;
             return registry.Read(_T("v"), array);
         }},
        {"numbers", "\x02\0\x01\0\0\0\x02\0\0\0"s,
         [](CFRegistry& registry) {
             CDWordArray array;
             return registry.Read(_T("v"), array);
         }},
        {"texts",
         "\x02\0\xFF\xFE\xFF\x01"
         "A\0\xFF\xFE\xFF\x02\x2D\x4E"
         "b\0"s,
         [](CFRegistry& registry) {
             CStringArray array;
             return registry.Read(_T("v"), array);
         }},
        {"list of texts",
         "\x02\0\xFF\xFE\xFF\x01"
         "A\0\xFF\xFE\xFF\x02\x2D\x4E"
         "b\0"s,
         [](CFRegistry& registry) {
             CStringList list;
             return registry.Read(_T("v"), list);
         }},
        {"list of objects", "\x04\0\xFF\xFF\x01\0\x05\0CYear\x05\0\x01\x80\x07\0\x02\0\0\0"s,
         [](CFRegistry& registry) {
             CObList list;
             const int read = registry.Read(_T("v"), list);
             registry.Read(_T("missing"), list);  // deletes what was loaded
             return read;
         }},
        {"object", "\xFF\xFF\x01\0\x05\0CYear\x07\0"s,
         [](CFRegistry& registry) {
             CObject* object = nullptr;
             const int read = registry.Read(_T("v"), object);
             delete object;
             return read;
         }},
    };
    const TestKey key;
    OpenedRegistry registry(key);
    const int alive = CYear::s_alive;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        for (size_t cut = 0; cut < row.bytes.size(); ++cut) {
            key.Put(_T("v"), REG_BINARY, row.bytes.substr(0, cut));
            EXPECT_EQ(row.read(registry), 0) << cut;
        }
        key.Put(_T("v"), REG_BINARY, row.bytes);
        EXPECT_EQ(row.read(registry), 1);
        key.Put(_T("v"), REG_BINARY, row.bytes + "more");
        EXPECT_EQ(row.read(registry), 1) << "what lies behind is not looked at";
    }
    EXPECT_EQ(CYear::s_alive, alive);
}

TEST(RegistryCollection, AbsurdCountsAndLengthsFail) {
    const std::string damaged[] = {
        "\xFE\xFF"s,
        "\xFE\xFF\0\0\0\0"s,
        "\xFF\xFF\xFF\xFF\xFF\x7F\0\0"s,
        "\xFF\xFF\xFE\xFF\xFF\xFF\0\0"s,
        "\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\x7F"s,
        "\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"s,
        "\x01\0\xFF\xFE\xFF\xFF\xFF\xFF\xFF\xFF\xFF\x7F"s,
        "\x01\0\xFF\xFE\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\x7F"s,
    };
    const TestKey key;
    OpenedRegistry registry(key);
    for (const std::string& bytes : damaged) {
        SCOPED_TRACE(kvttest::Hex(bytes));
        key.Put(_T("v"), REG_BINARY, bytes);
        CStringArray texts;
        CStringList textList;
        EXPECT_EQ(registry.Read(_T("v"), texts), 0);
        EXPECT_EQ(registry.Read(_T("v"), textList), 0);
        CObList objects;
        EXPECT_EQ(registry.Read(_T("v"), objects), 0);
        registry.Read(_T("missing"), objects);
        if (bytes[0] != '\x01') {
            CByteArray array;
            CDWordArray numbers;
            EXPECT_EQ(registry.Read(_T("v"), array), 0);
            EXPECT_EQ(registry.Read(_T("v"), numbers), 0);
        }
    }
}

// --- the virtual functions that others stand on ---

/// Sees what the primitives are given.
class Seen : public CFRegistry {
public:
    Seen() : CFRegistry(0, 0) { Close(); }
    using CFRegistry::Read;
    using CFRegistry::Write;
    int Write(LPCWSTR name, CObject& obj) override {
        m_objects.push_back(kvttest::Utf8(name));
        return CFRegistry::Write(name, obj);
    }
    int Write(LPCWSTR name, BYTE* data, UINT length) override {
        m_stored = std::string(reinterpret_cast<char*>(data), length);
        m_bytes.push_back(kvttest::Utf8(name));
        return 1;
    }
    int Read(LPCWSTR name, BYTE** data, UINT* length) override {
        m_bytes.push_back(kvttest::Utf8(name));
        *data = new BYTE[m_stored.size()];
        std::copy(m_stored.begin(), m_stored.end(), *data);
        *length = static_cast<UINT>(m_stored.size());
        return 1;
    }
    std::vector<std::string> m_objects;
    std::vector<std::string> m_bytes;
    std::string m_stored;
};

TEST(RegistryObject, EverythingStandsOnTheVirtualPrimitives) {
    Seen seen;
    CFRegistry& registry = seen;
    CYear year(1);
    CByteArray bytes;
    CWordArray words;
    CDWordArray numbers;
    CStringArray texts;
    CStringList textList;
    CObList objects;
    POINT point = {1, 2};
    POINT* pointer = &point;
    CRect rect(1, 2, 3, 4);
    CObject* object = nullptr;
    EXPECT_EQ(registry.Write(_T("object"), year), 1);
    EXPECT_EQ(registry.Read(_T("object"), year), 1);
    EXPECT_EQ(registry.Write(_T("pointer"), &year), 1);
    EXPECT_EQ(registry.Read(_T("pointer"), object), 1);
    delete object;
    EXPECT_EQ(registry.Write(_T("bytes"), bytes), 1);
    EXPECT_EQ(registry.Read(_T("bytes"), bytes), 1);
    EXPECT_EQ(registry.Write(_T("words"), words), 1);
    EXPECT_EQ(registry.Read(_T("words"), words), 1);
    EXPECT_EQ(registry.Write(_T("numbers"), numbers), 1);
    EXPECT_EQ(registry.Read(_T("numbers"), numbers), 1);
    EXPECT_EQ(registry.Write(_T("texts"), texts), 1);
    EXPECT_EQ(registry.Read(_T("texts"), texts), 1);
    EXPECT_EQ(registry.Write(_T("list"), textList), 1);
    EXPECT_EQ(registry.Read(_T("list"), textList), 1);
    EXPECT_EQ(registry.Write(_T("objects"), objects), 1);
    EXPECT_EQ(registry.Read(_T("objects"), objects), 1);
    EXPECT_EQ(registry.Write(_T("rect"), rect), 1);
    EXPECT_EQ(registry.Read(_T("rect"), rect), 1);
    EXPECT_EQ(registry.Write(_T("point"), pointer), 1);
    EXPECT_EQ(seen.m_objects, (std::vector<std::string>{"object", "bytes", "numbers", "texts", "list", "objects"}));
    EXPECT_EQ(seen.m_bytes, (std::vector<std::string>{"object", "object", "pointer", "pointer", "bytes", "bytes",
                                                      "words", "words", "numbers", "numbers", "texts", "texts", "list",
                                                      "list", "objects", "objects", "rect", "rect", "point"}));
    EXPECT_EQ(registry.m_dwLastType, 2u);
    EXPECT_EQ(registry.m_dwLastSize, 22u);
}

}  // namespace
