// CArchive: the exact bytes of values, texts, counts and objects, and damaged data.
#include <memory>
#include <string>
#include <vector>

#include "tests/mfc/throws.h"
#include "tests/support/support.h"

namespace {

using kvttest::Hex;

// --- classes that are stored ---

class CAge : public CObject {
    DECLARE_SERIAL(CAge)

public:
    CAge() { ++s_alive; }
    explicit CAge(WORD age) : m_age(age) { ++s_alive; }
    ~CAge() override { --s_alive; }
    void Serialize(CArchive& ar) override {
        CObject::Serialize(ar);
        if (ar.IsStoring()) {
            ar << m_age;
        } else {
            ar >> m_age;
        }
    }
    WORD m_age = 0;
    static int s_alive;
};
int CAge::s_alive = 0;
IMPLEMENT_SERIAL(CAge, CObject, 1)

class CNode : public CObject {
    DECLARE_SERIAL(CNode)

public:
    void Serialize(CArchive& ar) override {
        if (ar.IsStoring()) {
            ar << m_next;
        } else {
            ar >> m_next;
        }
    }
    CObject* m_next = nullptr;
};
IMPLEMENT_SERIAL(CNode, CObject, 3)

class CVersioned : public CObject {
    DECLARE_SERIAL(CVersioned)

public:
    void Serialize(CArchive& ar) override {
        if (ar.IsLoading()) {
            m_schema = ar.GetObjectSchema();
            m_second = ar.GetObjectSchema();
        }
    }
    UINT m_schema = 0;
    UINT m_second = 0;
};
IMPLEMENT_SERIAL(CVersioned, CObject, kvtmfc::VERSIONABLE_SCHEMA | 2)

class CUnstorable : public CObject {
    DECLARE_DYNCREATE(CUnstorable)
};
IMPLEMENT_DYNCREATE(CUnstorable, CObject)

// --- helpers ---

template <typename Work>
std::string Stored(Work work, int bufferSize = 4096) {
    CMemFile file;
    CArchive ar(&file, CArchive::store, bufferSize);
    work(ar);
    ar.Close();
    std::string bytes(static_cast<size_t>(file.GetLength()), '\0');
    file.SeekToBegin();
    file.Read(bytes.data(), static_cast<UINT>(bytes.size()));
    return bytes;
}

/// Loads from bytes that stand at the very end of their memory.
template <typename Work>
void Loaded(const std::string& bytes, Work work, int bufferSize = 4096) {
    const std::unique_ptr<BYTE[]> memory(new BYTE[bytes.size() + 1]);
    std::copy(bytes.begin(), bytes.end(), memory.get());
    CMemFile file(memory.get(), static_cast<UINT>(bytes.size()));
    CArchive ar(&file, CArchive::load, bufferSize);
    work(ar);
    ar.Close();
}

std::string Bytes(const char* hex) {
    std::string bytes;
    for (const char* at = hex; *at;) {
        if (*at == ' ' || *at == '|') {
            ++at;
            continue;
        }
        bytes += static_cast<char>(std::stoi(std::string(at, 2), nullptr, 16));
        at += 2;
    }
    return bytes;
}

// --- values ---

TEST(Archive, ScalarsAreLittleEndianWithoutGaps) {
    EXPECT_EQ(Hex(Stored([](CArchive& ar) {
                  ar << BYTE{1} << 'A' << true << WORD{0x1234} << short{-2} << _T('中');
                  ar << 0x12345678 << 0x9ABCDEF0u << DWORD{5} << LONG{-1} << 1.0f;
                  ar << LONGLONG{0x0102030405060708} << ULONGLONG{1} << -2.0;
              })),
              "01 41 01 34 12 FE FF 2D 4E "
              "78 56 34 12 F0 DE BC 9A 05 00 00 00 FF FF FF FF 00 00 80 3F "
              "08 07 06 05 04 03 02 01 01 00 00 00 00 00 00 00 00 00 00 00 00 00 00 C0");
}

TEST(Archive, ScalarsLoadWhatWasStored) {
    const std::string bytes = Stored([](CArchive& ar) {
        ar << BYTE{200} << false << WORD{65535} << short{-3} << -4 << DWORD{0x80000000} << -5LL << ~0ULL << 1.5f
           << -0.1;
    });
    Loaded(bytes, [](CArchive& ar) {
        BYTE byte;
        bool flag = true;
        WORD word;
        short small;
        int number;
        DWORD dword;
        LONGLONG large;
        ULONGLONG unsignedLarge;
        float single;
        double real;
        ar >> byte >> flag >> word >> small >> number >> dword >> large >> unsignedLarge >> single >> real;
        EXPECT_EQ(byte, 200);
        EXPECT_FALSE(flag);
        EXPECT_EQ(word, 65535);
        EXPECT_EQ(small, -3);
        EXPECT_EQ(number, -4);
        EXPECT_EQ(dword, 0x80000000u);
        EXPECT_EQ(large, -5);
        EXPECT_EQ(unsignedLarge, ~0ULL);
        EXPECT_EQ(single, 1.5f);
        EXPECT_EQ(real, -0.1);
    });
}

TEST(Archive, DatesAreStatusAndDays) {
    COleDateTime date(2024, 5, 6, 0, 0, 0);
    const std::string bytes = Stored([&](CArchive& ar) { ar << date << CTime(0x1122334455LL); });
    EXPECT_EQ(Hex(bytes), "00 00 00 00 00 00 00 00 40 2D E6 40 55 44 33 22 11 00 00 00");
    Loaded(bytes, [&](CArchive& ar) {
        COleDateTime loaded;
        CTime time;
        ar >> loaded >> time;
        EXPECT_TRUE(loaded == date);
        EXPECT_EQ(time.GetTime(), 0x1122334455LL);
    });
}

TEST(Archive, PointsSizesAndRectanglesAreTheirNumbers) {
    const std::string bytes = Stored([](CArchive& ar) {
        ar << POINT{1, -2} << SIZE{3, 4} << RECT{5, 6, 7, 0x01020304};
    });
    EXPECT_EQ(Hex(bytes),
              "01 00 00 00 FE FF FF FF 03 00 00 00 04 00 00 00 "
              "05 00 00 00 06 00 00 00 07 00 00 00 04 03 02 01");
    Loaded(bytes, [](CArchive& ar) {
        POINT point;
        SIZE size;
        RECT rect;
        ar >> point >> size >> rect;
        EXPECT_EQ(point.y, -2);
        EXPECT_EQ(size.cy, 4);
        EXPECT_EQ(rect.bottom, 0x01020304);
    });
}

// --- texts ---

TEST(Archive, LinesAreBareUnits) {
    const std::string bytes = Stored([](CArchive& ar) {
        ar.WriteString(_T("A\n"));
        ar.WriteString(_T(""));
        ar.WriteString(_T("中\r\n\nb\rc"));
        EXPECT_THROWS_POINTER((ar.WriteString(nullptr), 0), CInvalidArgException);
    });
    EXPECT_EQ(Hex(bytes), "41 00 0A 00 2D 4E 0D 00 0A 00 0A 00 62 00 0D 00 63 00");
    Loaded(bytes + "x", [](CArchive& ar) {
        CString line;
        for (const LPCWSTR expected : {_T("A"), _T("中"), _T(""), _T("b\rc")}) {
            EXPECT_TRUE(ar.ReadString(line));
            EXPECT_EQ(line, expected);
        }
        EXPECT_FALSE(ar.ReadString(line)) << "half a character is none";
        EXPECT_TRUE(line.IsEmpty());
    });
    EXPECT_THROWS_CAUSE(Stored([](CArchive& ar) {
                            CString line;
                            ar.ReadString(line);
                        }),
                        CArchiveException, CArchiveException::writeOnly);
}

TEST(Archive, TextLengthsTakeTheShortestForm) {
    struct {
        int length;
        const char* head;
    } const rows[] = {
        {0, "FF FE FF 00"},
        {1, "FF FE FF 01"},
        {254, "FF FE FF FE"},
        {255, "FF FE FF FF FF 00"},
        {300, "FF FE FF FF 2C 01"},
        {65533, "FF FE FF FF FD FF"},
        {65534, "FF FE FF FF FF FF FE FF 00 00"},
        {65535, "FF FE FF FF FF FF FF FF 00 00"},
        {70000, "FF FE FF FF FF FF 70 11 01 00"},
    };
    for (const auto& row : rows) {
        const CString text(_T('x'), row.length);
        const std::string bytes = Stored([&](CArchive& ar) { ar << text; });
        const std::string head = Bytes(row.head);
        EXPECT_EQ(Hex(bytes.substr(0, head.size())), row.head);
        EXPECT_EQ(bytes.size(), head.size() + 2 * static_cast<size_t>(row.length)) << row.length;
        Loaded(bytes, [&](CArchive& ar) {
            CString loaded;
            ar >> loaded;
            EXPECT_TRUE(loaded == text) << row.length;
        });
    }
}

TEST(Archive, NarrowTextsAreRead) {
    for (const char* bytes : {"03 61 62 63", "FF 03 00 61 62 63", "FF FF FF 03 00 00 00 61 62 63"}) {
        Loaded(Bytes(bytes), [&](CArchive& ar) {
            CString loaded;
            ar >> loaded;
            EXPECT_EQ(loaded, _T("abc")) << bytes;
        });
    }
}

TEST(Archive, TextsKeepNulsAndLoneSurrogates) {
    const WCHAR units[] = {'a', 0, 0xD800, 'b'};
    const CString text(units, 4);
    Loaded(Stored([&](CArchive& ar) { ar << text; }), [&](CArchive& ar) {
        CString loaded;
        ar >> loaded;
        EXPECT_EQ(loaded.View(), text.View());
    });
}

TEST(Archive, DamagedTextLengthsEndAtTheEndOfTheData) {
    for (const char* bytes : {"FF FE FF FF FF FF FF FF FF 7F 41 00", "FF FF FF FF FF FF FE 41",
                              "FF FE FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF 7F 41 00", "FF FE FF 02 41 00",
                              "FF FE FF 01 41", "FF FE FF", "FF FE", "FF", ""}) {
        CString kept = _T("kept");
        EXPECT_THROWS_CAUSE(Loaded(Bytes(bytes), [&](CArchive& ar) { ar >> kept; }), CArchiveException,
                            CArchiveException::endOfFile);
        EXPECT_EQ(kept, _T("kept")) << bytes;
    }
}

// --- counts ---

TEST(Archive, CountsTakeTheShortestForm) {
    struct {
        ULONGLONG count;
        const char* bytes;
    } const rows[] = {
        {0, "00 00"},
        {65534, "FE FF"},
        {65535, "FF FF FF FF 00 00"},
        {65536, "FF FF 00 00 01 00"},
        {0xFFFFFFFE, "FF FF FE FF FF FF"},
        {0xFFFFFFFF, "FF FF FF FF FF FF FF FF FF FF 00 00 00 00"},
    };
    for (const auto& row : rows) {
        const std::string bytes = Stored([&](CArchive& ar) { ar.WriteCount(static_cast<DWORD_PTR>(row.count)); });
        EXPECT_EQ(Hex(bytes), row.bytes);
        Loaded(bytes, [&](CArchive& ar) { EXPECT_EQ(ar.ReadCount(), row.count); });
    }
}

// --- arrays and lists ---

TEST(Archive, StringArrayBytes) {
    CStringArray array;
    array.Add(_T("A"));
    array.Add(_T("中b"));
    const std::string bytes = Stored([&](CArchive& ar) { array.Serialize(ar); });
    EXPECT_EQ(Hex(bytes), "02 00 FF FE FF 01 41 00 FF FE FF 02 2D 4E 62 00");
    CStringList list;
    list.AddTail(_T("A"));
    list.AddTail(_T("中b"));
    EXPECT_EQ(Stored([&](CArchive& ar) { list.Serialize(ar); }), bytes);
    CArray<CString, const CString&> generic;
    generic.Add(_T("A"));
    generic.Add(_T("中b"));
    EXPECT_EQ(Stored([&](CArchive& ar) { generic.Serialize(ar); }), bytes);
    CStringArray loaded;
    loaded.Add(_T("old"));
    CStringList loadedList;
    loadedList.AddTail(_T("old"));
    Loaded(bytes, [&](CArchive& ar) { loaded.Serialize(ar); });
    Loaded(bytes, [&](CArchive& ar) { loadedList.Serialize(ar); });
    ASSERT_EQ(loaded.GetSize(), 2) << "loading an array replaces it";
    EXPECT_EQ(loaded[1], _T("中b"));
    ASSERT_EQ(loadedList.GetCount(), 3) << "loading a list adds to it";
    EXPECT_EQ(loadedList.GetTail(), _T("中b"));
}

TEST(Archive, NumberArrayBytes) {
    CDWordArray dwords;
    dwords.SetSize(5);
    dwords[0] = 10;
    dwords[1] = 20;
    EXPECT_EQ(Hex(Stored([&](CArchive& ar) { dwords.Serialize(ar); })),
              "05 00 0A 00 00 00 14 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00");
    CDWordArray one;
    one.Add(1);
    EXPECT_EQ(Hex(Stored([&](CArchive& ar) { ar << &one; })),
              "FF FF 00 00 0B 00 43 44 57 6F 72 64 41 72 72 61 79 01 00 01 00 00 00");
    CByteArray bytes;
    bytes.Add(7);
    bytes.Add(255);
    EXPECT_EQ(Hex(Stored([&](CArchive& ar) { bytes.Serialize(ar); })), "02 00 07 FF");
    CWordArray words;
    words.Add(0x1234);
    EXPECT_EQ(Hex(Stored([&](CArchive& ar) { words.Serialize(ar); })), "01 00 34 12");
}

TEST(Archive, LargeArraysCountWithFourBytes) {
    CByteArray array;
    array.SetSize(65535);
    array[65534] = 9;
    const std::string bytes = Stored([&](CArchive& ar) { array.Serialize(ar); });
    EXPECT_EQ(Hex(bytes.substr(0, 6)), "FF FF FF FF 00 00");
    EXPECT_EQ(bytes.size(), 65541u);
    CByteArray loaded;
    Loaded(bytes, [&](CArchive& ar) { loaded.Serialize(ar); });
    ASSERT_EQ(loaded.GetSize(), 65535);
    EXPECT_EQ(loaded[65534], 9);
}

TEST(Archive, DamagedCountsEndAtTheEndOfTheData) {
    for (const char* bytes :
         {"FF FF FF FF FF 7F 01 02", "FF FF FF FF FF FF FF FF FF FF FF FF FF 7F", "05 00 01", "01"}) {
        CDWordArray dwords;
        EXPECT_THROWS_CAUSE(Loaded(Bytes(bytes), [&](CArchive& ar) { dwords.Serialize(ar); }), CArchiveException,
                            CArchiveException::endOfFile);
        EXPECT_EQ(dwords.GetSize(), 0);
        CStringArray strings;
        EXPECT_THROWS_POINTER(Loaded(Bytes(bytes), [&](CArchive& ar) { strings.Serialize(ar); }), CArchiveException);
        CStringList list;
        EXPECT_THROWS_POINTER(Loaded(Bytes(bytes), [&](CArchive& ar) { list.Serialize(ar); }), CArchiveException);
        CObArray objects;
        EXPECT_THROWS_POINTER(Loaded(Bytes(bytes), [&](CArchive& ar) { objects.Serialize(ar); }), CArchiveException);
    }
}

// --- objects ---

TEST(Archive, ObjectListBytes) {
    CAge first(5);
    CAge second(7);
    CObList list;
    list.AddTail(&first);
    list.AddTail(&second);
    list.AddTail(&first);
    list.AddTail(static_cast<CObject*>(nullptr));
    const std::string bytes = Stored([&](CArchive& ar) { list.Serialize(ar); });
    EXPECT_EQ(Hex(bytes), "04 00 FF FF 01 00 04 00 43 41 67 65 05 00 01 80 07 00 02 00 00 00");
    CObList loaded;
    Loaded(bytes, [&](CArchive& ar) { loaded.Serialize(ar); });
    ASSERT_EQ(loaded.GetCount(), 4);
    CAge* const a = static_cast<CAge*>(loaded.RemoveHead());
    CAge* const b = static_cast<CAge*>(loaded.RemoveHead());
    EXPECT_EQ(a->m_age, 5);
    EXPECT_EQ(b->m_age, 7);
    EXPECT_EQ(loaded.RemoveHead(), a);
    EXPECT_EQ(loaded.RemoveHead(), nullptr);
    delete a;
    delete b;
}

TEST(Archive, EveryCutOfAnObjectListIsRefusedWithoutALeak) {
    CAge first(5);
    CAge second(7);
    CObArray array;
    array.Add(&first);
    array.Add(&second);
    array.Add(&first);
    const std::string bytes = Stored([&](CArchive& ar) { array.Serialize(ar); });
    const int before = CAge::s_alive;
    for (size_t cut = 0; cut < bytes.size(); ++cut) {
        CObArray loaded;
        EXPECT_THROWS_CAUSE(Loaded(bytes.substr(0, cut), [&](CArchive& ar) { loaded.Serialize(ar); }),
                            CArchiveException, CArchiveException::endOfFile);
        for (INT_PTR i = 0; i < loaded.GetSize(); ++i) {
            delete loaded[i];
        }
        EXPECT_EQ(CAge::s_alive, before) << "cut at " << cut;
    }
}

TEST(Archive, CyclesComeOutRight) {
    CNode a;
    CNode b;
    a.m_next = &b;
    b.m_next = &a;
    const std::string bytes = Stored([&](CArchive& ar) { ar << &a; });
    EXPECT_EQ(Hex(bytes), "FF FF 03 00 05 00 43 4E 6F 64 65 01 80 02 00");
    Loaded(bytes, [](CArchive& ar) {
        CNode* loaded = nullptr;
        ar >> loaded;
        const std::unique_ptr<CNode> first(loaded);
        const std::unique_ptr<CNode> second(static_cast<CNode*>(first->m_next));
        EXPECT_EQ(second->m_next, first.get());
    });
}

TEST(Archive, NumbersBeyondTheShortFormAreWrittenLong) {
    std::vector<std::unique_ptr<CAge>> ages;
    CObArray array;
    for (int i = 0; i < 0x8001; ++i) {
        ages.push_back(std::make_unique<CAge>(static_cast<WORD>(i)));
        array.Add(ages.back().get());
    }
    array.Add(ages[0x7FFC].get());  // number 7FFE, the last short one
    array.Add(ages[0x7FFD].get());  // number 7FFF
    CNode node;
    array.Add(&node);  // its class has a long number
    CNode other;
    array.Add(&other);
    const std::string bytes = Stored([&](CArchive& ar) { array.Serialize(ar); });
    EXPECT_EQ(Hex(bytes.substr(bytes.size() - 29)),
              "FE 7F FF 7F FF 7F 00 00 FF FF 03 00 05 00 43 4E 6F 64 65 00 00 FF 7F 03 80 00 80 00 00");
    CObArray loaded;
    Loaded(bytes, [&](CArchive& ar) { loaded.Serialize(ar); });
    ASSERT_EQ(loaded.GetSize(), 0x8005);
    EXPECT_EQ(loaded[0x8001], loaded[0x7FFC]);
    EXPECT_EQ(loaded[0x8002], loaded[0x7FFD]);
    EXPECT_TRUE(loaded[0x8004]->IsKindOf(RUNTIME_CLASS(CNode)));
    for (INT_PTR i = 0; i < 0x8001; ++i) {
        delete loaded[i];
    }
    delete loaded[0x8003];
    delete loaded[0x8004];
}

TEST(Archive, DamagedObjectsGiveTheirCause) {
    struct {
        const char* bytes;
        int cause;
    } const rows[] = {
        {"FF FF 01 00 07 00 4E 6F 43 6C 61 73 73", CArchiveException::badClass},  // unknown name
        {"FF FF 01 00 FF FF 41 41", CArchiveException::badClass},                 // endless name
        {"FF FF 02 00 04 00 43 41 67 65 05 00", CArchiveException::badSchema},
        {"05 00", CArchiveException::badIndex},
        {"05 80", CArchiveException::badIndex},
        {"00 80", CArchiveException::badIndex},
        {"FF 7F FF FF FF FF", CArchiveException::badIndex},
        {"FF 7F FF FF FF 7F", CArchiveException::badIndex},
        {"FF FF 01 00 04 00 43 41 67 65 05", CArchiveException::endOfFile},
        {"FF FF 01 00 04 00 43 41", CArchiveException::endOfFile},
        {"FF", CArchiveException::endOfFile},
    };
    const int before = CAge::s_alive;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.bytes);
        EXPECT_THROWS_CAUSE(Loaded(Bytes(row.bytes), [](CArchive& ar) { ar.ReadObject(nullptr); }), CArchiveException,
                            row.cause);
        EXPECT_EQ(CAge::s_alive, before);
    }
}

TEST(Archive, AClassNumberIsNoObject) {
    // A node whose next object has the number of the node's class.
    EXPECT_THROWS_CAUSE(
        Loaded(Bytes("FF FF 03 00 05 00 43 4E 6F 64 65 01 00"), [](CArchive& ar) { ar.ReadObject(nullptr); }),
        CArchiveException, CArchiveException::badIndex);
    // A class number that is an object's.
    EXPECT_THROWS_CAUSE(
        Loaded(Bytes("FF FF 03 00 05 00 43 4E 6F 64 65 02 80"), [](CArchive& ar) { ar.ReadObject(nullptr); }),
        CArchiveException, CArchiveException::badIndex);
}

TEST(Archive, AnObjectOfAnotherClassIsRefused) {
    CAge age(5);
    const std::string bytes = Stored([&](CArchive& ar) { ar << &age; });
    EXPECT_THROWS_CAUSE(Loaded(bytes,
                               [](CArchive& ar) {
                                   CNode* node = nullptr;
                                   ar >> node;
                               }),
                        CArchiveException, CArchiveException::badClass);
}

TEST(Archive, ClassesWithoutStoredFormAreRefused) {
    CUnstorable object;
    EXPECT_FALSE(object.IsSerializable());
    EXPECT_THROWS_POINTER(Stored([&](CArchive& ar) { ar << &object; }), CNotSupportedException);
    EXPECT_THROWS_POINTER(Loaded("", [](CArchive& ar) { ar.ReadObject(RUNTIME_CLASS(CUnstorable)); }),
                          CNotSupportedException);
}

TEST(Archive, VersionedObjectsLearnTheirSchemaOnce) {
    CVersioned object;
    std::string bytes = Stored([&](CArchive& ar) { ar << &object; });
    EXPECT_EQ(Hex(bytes.substr(0, 4)), "FF FF 02 00");
    bytes[2] = 1;
    Loaded(bytes, [](CArchive& ar) {
        CVersioned* loaded = nullptr;
        ar >> loaded;
        const std::unique_ptr<CVersioned> owner(loaded);
        EXPECT_EQ(loaded->m_schema, 1u);
        EXPECT_EQ(loaded->m_second, static_cast<UINT>(-1));
    });
}

TEST(Archive, NestingIsBounded) {
    std::string bytes = Bytes("FF FF 03 00 05 00 43 4E 6F 64 65");
    for (int i = 0; i < 1000000; ++i) {
        bytes += Bytes("01 80");
    }
    EXPECT_THROWS_CAUSE(Loaded(bytes, [](CArchive& ar) { ar.ReadObject(nullptr); }), CArchiveException,
                        CArchiveException::generic);
    std::vector<CNode> chain(2000);
    for (size_t i = 0; i + 1 < chain.size(); ++i) {
        chain[i].m_next = &chain[i + 1];
    }
    EXPECT_THROWS_CAUSE(Stored([&](CArchive& ar) { ar << &chain[0]; }), CArchiveException, CArchiveException::generic);
    EXPECT_NO_THROW(Stored([&](CArchive& ar) { ar << &chain[1500]; }));
}

// --- the archive itself ---

TEST(Archive, WrongDirectionGivesItsCause) {
    EXPECT_THROWS_CAUSE(Loaded("abc", [](CArchive& ar) { ar << 1; }), CArchiveException, CArchiveException::readOnly);
    EXPECT_THROWS_CAUSE(Stored([](CArchive& ar) {
                            int number;
                            ar >> number;
                        }),
                        CArchiveException, CArchiveException::writeOnly);
}

TEST(Archive, EveryBufferSizeGivesTheSameBytes) {
    CStringArray array;
    for (int i = 0; i < 200; ++i) {
        array.Add(CString(_T('a'), i));
    }
    const auto store = [&](CArchive& ar) { array.Serialize(ar); };
    const std::string expected = Stored(store);
    for (const int size : {1, 128, 129, 1000, 100000}) {
        EXPECT_EQ(Stored(store, size), expected);
        Loaded(
            expected,
            [&](CArchive& ar) {
                CStringArray loaded;
                loaded.Serialize(ar);
                ASSERT_EQ(loaded.GetSize(), 200);
                EXPECT_EQ(loaded[199], array[199]);
            },
            size);
    }
}

TEST(Archive, ClosingALoadLeavesTheFileBehindWhatWasRead) {
    CMemFile file;
    for (BYTE i = 0; i < 100; ++i) {
        file.Write(&i, 1);
    }
    file.SeekToBegin();
    CArchive ar(&file, CArchive::load);
    DWORD number;
    ar >> number;
    ar.Close();
    EXPECT_EQ(file.GetPosition(), 4u);
    EXPECT_THROWS_POINTER(ar >> number, CFileException);
}

TEST(Archive, DestructorWritesUnlessAborted) {
    CMemFile file;
    {
        CArchive ar(&file, CArchive::store);
        ar << 1;
    }
    EXPECT_EQ(file.GetLength(), 4u);
    {
        CArchive ar(&file, CArchive::store);
        ar << 1;
        ar.Abort();
    }
    EXPECT_EQ(file.GetLength(), 4u);
}

// --- classes ---

TEST(RuntimeClass, KnowsNameSizeSchemaAndBase) {
    const CRuntimeClass* const age = RUNTIME_CLASS(CAge);
    EXPECT_STREQ(age->m_lpszClassName, "CAge");
    EXPECT_EQ(age->m_nObjectSize, static_cast<int>(sizeof(CAge)));
    EXPECT_EQ(age->m_wSchema, 1u);
    EXPECT_TRUE(age->IsDerivedFrom(RUNTIME_CLASS(CObject)));
    EXPECT_FALSE(age->IsDerivedFrom(RUNTIME_CLASS(CNode)));
    EXPECT_EQ(CRuntimeClass::FromName("CAge"), age);
    EXPECT_EQ(CRuntimeClass::FromName("CNone"), nullptr);
    EXPECT_EQ(CRuntimeClass::FromName("CStringArray"), RUNTIME_CLASS(CStringArray));
    const std::unique_ptr<CObject> made(age->CreateObject());
    EXPECT_TRUE(made->IsKindOf(age));
    EXPECT_EQ(RUNTIME_CLASS(CObject)->CreateObject(), nullptr);
}

TEST(RuntimeClass, ListedWhileTheModuleIsLoaded) {
    static CRuntimeClass temporary = {"CTemporary", 8, 1, nullptr, nullptr};
    {
        const kvtmfc::AFX_CLASSINIT listed(&temporary);
        EXPECT_EQ(CRuntimeClass::FromName("CTemporary"), &temporary);
    }
    EXPECT_EQ(CRuntimeClass::FromName("CTemporary"), nullptr);
    EXPECT_NE(CRuntimeClass::FromName("CAge"), nullptr);
}

TEST(RuntimeClass, DumpTellsTheClass) {
    CMemFile file;
    CDumpContext dc(&file);
    CAge age;
    dc << "[" << &age << _T("]") << 5 << static_cast<const CObject*>(nullptr);
    std::string text(static_cast<size_t>(file.GetLength()), '\0');
    file.SeekToBegin();
    file.Read(text.data(), static_cast<UINT>(text.size()));
    EXPECT_EQ(text.substr(0, 13), "[a CAge at $0");
    EXPECT_EQ(text.substr(text.size() - 9), "\n]5(null)");
}

}  // namespace
