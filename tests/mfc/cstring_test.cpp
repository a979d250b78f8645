// CString: construction, sharing, buffers and growth.
#include <climits>
#include <compare>
#include <functional>
#include <map>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include "tests/mfc/throws.h"
#include "tests/support/support.h"

namespace {

using kvttest::Utf8;

TEST(CString, IsOnePointerWide) {
    EXPECT_EQ(sizeof(CString), sizeof(void*));
}

TEST(CString, ConstructsFromEveryKindOfText) {
    EXPECT_TRUE(CString().IsEmpty());
    EXPECT_TRUE(CString(static_cast<LPCWSTR>(nullptr)).IsEmpty());
    EXPECT_TRUE(CString(static_cast<const char*>(nullptr)).IsEmpty());
    EXPECT_TRUE(CString(nullptr).IsEmpty());
    EXPECT_EQ(CString(_T("中文")).GetLength(), 2);
    EXPECT_EQ(CString(_T("abcdef"), 3), _T("abc"));
    EXPECT_EQ(CString(_T('x'), 3), _T("xxx"));
    EXPECT_EQ(CString(_T('x'), 0), _T(""));
    EXPECT_EQ(CString(_T('x'), -5), _T(""));
    EXPECT_EQ(CString("plain"), _T("plain"));
    EXPECT_EQ(CString("plainer", 5), _T("plain"));
    EXPECT_EQ(CString(L"wide é中"), _T("wide é中"));
    EXPECT_EQ(CString(kvtmfc::WideView(_T("a\0b"), 3)).GetLength(), 3);
    EXPECT_EQ(CString(_T("")).GetString()[0], 0);
}

TEST(CString, WideLiteralsOutsideTheBasicPlaneBecomePairs) {
    const CString text(L"😀");
    ASSERT_EQ(text.GetLength(), 2);
    EXPECT_EQ(static_cast<unsigned>(text[0]), 0xD83Du);
    EXPECT_EQ(static_cast<unsigned>(text[1]), 0xDE00u);
}

TEST(CString, KeepsNulsOfCountedTexts) {
    const CString text(_T("a\0b"), 3);
    EXPECT_EQ(text.GetLength(), 3);
    EXPECT_EQ(text.GetAt(1), 0);
    EXPECT_EQ(text.GetAt(2), 'b');
    EXPECT_EQ(text.Compare(_T("a")), 0) << "comparisons end at the first NUL";
}

TEST(CString, ConvertsUtf8BothWays) {
    const std::string bytes = "a é 中 😀";
    const CString text = CString::FromUtf8(bytes);
    EXPECT_EQ(text, _T("a é 中 😀"));
    EXPECT_EQ(text.ToUtf8(), bytes);
    EXPECT_EQ(CString::FromUtf8(std::string_view("a\0b", 3)).GetLength(), 3);
    EXPECT_EQ(CString::FromUtf8("").ToUtf8(), "");
    const WCHAR lone[] = {0xD800, 0};
    EXPECT_EQ(CString(lone).ToUtf8(), "\xEF\xBF\xBD");
}

TEST(CString, CopiesShareTheirCharactersUntilOneIsWritten) {
    CString first = _T("shared");
    CString second = first;
    EXPECT_EQ(first.GetString(), second.GetString());
    second.SetAt(0, 'S');
    EXPECT_NE(first.GetString(), second.GetString());
    EXPECT_EQ(first, _T("shared"));
    EXPECT_EQ(second, _T("Shared"));
}

TEST(CString, EveryEditForksASharedText) {
    const std::vector<std::function<void(CString&)>> edits = {
        [](CString& s) { s += 'x'; },
        [](CString& s) { s.Append(_T("x")); },
        [](CString& s) { s.GetBuffer()[0] = 'x'; },
        [](CString& s) { s.Insert(0, _T("x")); },
        [](CString& s) { s.Delete(0); },
        [](CString& s) { s.Replace('s', 'x'); },
        [](CString& s) { s.Replace(_T("s"), _T("xx")); },
        [](CString& s) { s.Remove('s'); },
        [](CString& s) { s.MakeUpper(); },
        [](CString& s) { s.MakeReverse(); },
        [](CString& s) { s.TrimLeft('s'); },
        [](CString& s) { s.TrimRight('d'); },
        [](CString& s) { s.Truncate(2); },
        [](CString& s) { s.Empty(); },
        [](CString& s) { s = _T("other"); },
        [](CString& s) { s.SetString(_T("other"), 2); },
        [](CString& s) { s.Format(_T("%d"), 1); },
    };
    for (size_t i = 0; i < edits.size(); ++i) {
        const CString original = _T("shared");
        CString copy = original;
        edits[i](copy);
        EXPECT_EQ(original, _T("shared")) << "edit " << i;
        EXPECT_NE(copy, _T("shared")) << "edit " << i;
    }
}

TEST(CString, PartsThatAreTheWholeAreShared) {
    const CString text = _T("whole");
    EXPECT_EQ(text.Left(5).GetString(), text.GetString());
    EXPECT_EQ(text.Right(9).GetString(), text.GetString());
    EXPECT_EQ(text.Mid(0).GetString(), text.GetString());
}

TEST(CString, LockedBufferIsNeverShared) {
    CString text = _T("locked");
    text.LockBuffer();
    CString copy = text;
    EXPECT_NE(copy.GetString(), text.GetString());
    EXPECT_EQ(copy, _T("locked"));
    text = copy;
    EXPECT_NE(copy.GetString(), text.GetString());
    text.UnlockBuffer();
    const CString shared = text;
    EXPECT_EQ(shared.GetString(), text.GetString());
}

TEST(CString, MovingLeavesAnEmptyText) {
    CString from = _T("moved");
    const LPCWSTR characters = from;
    CString to = std::move(from);
    EXPECT_EQ(to.GetString(), characters);
    EXPECT_TRUE(from.IsEmpty());
    CString assigned = _T("old");
    assigned = std::move(to);
    EXPECT_EQ(assigned, _T("moved"));
    EXPECT_TRUE(to.IsEmpty());
}

TEST(CString, AssignsItselfAndItsOwnParts) {
    CString text = _T("0123456789");
    text = *&text;
    EXPECT_EQ(text, _T("0123456789"));
    text = text.GetString() + 3;
    EXPECT_EQ(text, _T("3456789"));
    text.SetString(text.GetString() + 1, 2);
    EXPECT_EQ(text, _T("45"));
    text += text;
    EXPECT_EQ(text, _T("4545"));
    text.Append(text.GetString() + 2);
    EXPECT_EQ(text, _T("454545"));
    text.Insert(1, text.GetString());
    EXPECT_EQ(text, _T("445454554545"));
}

TEST(CString, IndexUpToTheClosingNulIsTaken) {
    CString text = _T("abc");
    EXPECT_EQ(text[3], 0);
    EXPECT_EQ(text.GetAt(3), 0);
    EXPECT_THROWS_POINTER(text.GetAt(4), CInvalidArgException);
    EXPECT_THROWS_POINTER(text.GetAt(-1), CInvalidArgException);
    EXPECT_THROWS_POINTER(text[4], CInvalidArgException);
    EXPECT_THROWS_POINTER(text.SetAt(3, 'x'), CInvalidArgException);
    EXPECT_THROWS_POINTER(text.SetAt(-1, 'x'), CInvalidArgException);
    EXPECT_EQ(text, _T("abc"));
}

TEST(CString, BufferKeepsTheTextAndGrowsToWhatIsAsked) {
    CString text = _T("abc");
    WCHAR* buffer = text.GetBuffer(100);
    EXPECT_EQ(text.GetAllocLength(), 100);
    EXPECT_EQ(text, _T("abc"));
    buffer[3] = 'd';
    text.ReleaseBufferSetLength(4);
    EXPECT_EQ(text, _T("abcd"));
    EXPECT_EQ(text.GetBuffer(50), buffer) << "enough room: neither moved nor shrunk";
    EXPECT_EQ(text.GetAllocLength(), 100);
    text.FreeExtra();
    EXPECT_EQ(text.GetAllocLength(), 4);
    EXPECT_EQ(text, _T("abcd"));
}

TEST(CString, BufferOfAnEmptyTextIsItsOwn) {
    CString text;
    WCHAR* const buffer = text.GetBuffer();
    ASSERT_NE(buffer, nullptr);
    buffer[0] = 0;
    text.ReleaseBuffer();
    EXPECT_TRUE(text.IsEmpty());
    EXPECT_TRUE(CString().IsEmpty());
    EXPECT_NE(static_cast<LPCWSTR>(buffer), CString().GetString());
}

TEST(CString, ReleaseBufferTakesTheFirstNulOrTheGivenLength) {
    CString text;
    WCHAR* buffer = text.GetBuffer(8);
    std::fill_n(buffer, 8, WCHAR{'x'});
    buffer[5] = 0;
    text.ReleaseBuffer();
    EXPECT_EQ(text, _T("xxxxx"));
    buffer = text.GetBuffer(8);
    std::fill_n(buffer, 9, WCHAR{'y'});
    text.ReleaseBuffer();
    EXPECT_EQ(text, _T("yyyyyyyy")) << "without a NUL the room ends the text";
    text.ReleaseBuffer(3);
    EXPECT_EQ(text, _T("yyy"));
    EXPECT_THROWS_POINTER(text.ReleaseBuffer(9), CInvalidArgException);
    EXPECT_THROWS_POINTER(text.ReleaseBufferSetLength(-1), CInvalidArgException);
    EXPECT_EQ(text, _T("yyy"));
}

TEST(CString, ReleasingAfterACopyLeavesTheCopyAlone) {
    CString text = _T("abcdef");
    text.GetBuffer();
    const CString copy = text;
    text.ReleaseBuffer(3);
    EXPECT_EQ(text, _T("abc"));
    EXPECT_EQ(copy, _T("abcdef"));
}

TEST(CString, GetBufferSetLengthSetsTheLength) {
    CString text = _T("abcdef");
    text.GetBufferSetLength(3);
    EXPECT_EQ(text, _T("abc"));
    EXPECT_THROWS_POINTER(text.GetBufferSetLength(-1), CInvalidArgException);
    EXPECT_THROWS_POINTER(text.GetBuffer(-1), CInvalidArgException);
}

TEST(CString, LengthsBeyondTheLimitThrowAndChangeNothing) {
    CString text = _T("abc");
    EXPECT_THROWS_POINTER(text.GetBuffer(INT_MAX), CMemoryException);
    EXPECT_THROWS_POINTER(text.Preallocate(INT_MAX), CMemoryException);
    EXPECT_EQ(text, _T("abc"));
    EXPECT_THROWS_POINTER(CString(_T("x"), -1), CInvalidArgException);
    EXPECT_THROWS_POINTER(CString(static_cast<LPCWSTR>(nullptr), 1), CInvalidArgException);
    EXPECT_THROWS_POINTER(text.Append(_T("x"), -1), CInvalidArgException);
}

TEST(CString, AppendingGrowsByHalf) {
    CString text;
    int moves = 0;
    LPCWSTR last = text;
    int lastCapacity = 0;
    for (int i = 0; i < 1000000; ++i) {
        text.AppendChar('x');
        if (text.GetAllocLength() != lastCapacity) {
            lastCapacity = text.GetAllocLength();
            ++moves;
        }
        last = text;
    }
    EXPECT_EQ(text.GetLength(), 1000000);
    EXPECT_LT(moves, 60);
    EXPECT_LE(text.GetAllocLength(), 1500000);
    EXPECT_EQ(last[1000000], 0);
}

TEST(CString, PlusTakesEveryMix) {
    const CString a = _T("a");
    EXPECT_EQ(a + a, _T("aa"));
    EXPECT_EQ(a + _T("b"), _T("ab"));
    EXPECT_EQ(_T("b") + a, _T("ba"));
    EXPECT_EQ(a + WCHAR{'c'}, _T("ac"));
    EXPECT_EQ(WCHAR{'c'} + a, _T("ca"));
    EXPECT_EQ(a + "n", _T("an"));
    EXPECT_EQ(a + L"w", _T("aw"));
    EXPECT_EQ(a + static_cast<LPCWSTR>(nullptr), _T("a"));
    CString sum;
    sum += a;
    sum += _T("b");
    sum += WCHAR{'c'};
    sum += "n";
    sum += L"w";
    sum += kvtmfc::WideView(_T("v"));
    EXPECT_EQ(sum, _T("abcnwv"));
}

TEST(CString, ComparesEveryMix) {
    const CString a = _T("a");
    const CString b = _T("b");
    EXPECT_TRUE(a == _T("a"));
    EXPECT_TRUE(_T("a") == a);
    EXPECT_TRUE(a == "a");
    EXPECT_TRUE(a == L"a");
    EXPECT_TRUE(a != b);
    EXPECT_TRUE(a != _T("b"));
    EXPECT_TRUE(_T("b") != a);
    EXPECT_TRUE(a < b);
    EXPECT_TRUE(a < _T("b"));
    EXPECT_TRUE(_T("a") < b);
    EXPECT_TRUE(b > a);
    EXPECT_TRUE(b > _T("a"));
    EXPECT_TRUE(_T("b") > a);
    EXPECT_TRUE(a <= _T("a"));
    EXPECT_TRUE(a >= _T("a"));
    EXPECT_TRUE(_T("a") <= b);
    EXPECT_TRUE(_T("b") >= a);
    EXPECT_GT(CString(_T("a")).Compare(_T("B")), 0);
    EXPECT_GT(CString(_T("ab")).Compare(_T("a")), 0);
    EXPECT_GT(CString(_T("\xFF41")).Compare(_T("\xD800")), 0) << "units compare, not characters";
    EXPECT_THROWS_POINTER(a.Compare(nullptr), CInvalidArgException);
    EXPECT_THROWS_POINTER(a.CompareNoCase(nullptr), CInvalidArgException);
}

TEST(CString, ThreeWayComparesTexts) {
    const CString a(_T("a"));
    const CString b(_T("b"));
    const CString again(_T("a"));
    EXPECT_TRUE((a <=> again) == 0);
    EXPECT_TRUE((a <=> b) < 0);
    EXPECT_TRUE((b <=> a) > 0);
    EXPECT_TRUE((a <=> _T("b")) < 0);
    EXPECT_TRUE((_T("b") <=> a) > 0);
    EXPECT_TRUE((a <=> CString(_T("a\0b"), 3)) == 0) << "comparisons end at the first NUL";
    EXPECT_TRUE(std::compare_three_way()(a, again) == 0);
    EXPECT_THROWS_POINTER(a <=> static_cast<LPCWSTR>(nullptr), CInvalidArgException);
}

// Two orders of construction, so that no order of the addresses can pass for that of the texts.
TEST(CString, CompoundsOrderByText) {
    const CString a(_T("a"));
    const CString b(_T("b"));
    const CString lateB(_T("b"));
    const CString lateA(_T("a"));
    const CString* orders[][2] = {{&a, &b}, {&lateA, &b}, {&a, &lateB}, {&lateA, &lateB}};
    for (const auto& order : orders) {
        const CString& less = *order[0];
        const CString& more = *order[1];
        EXPECT_LT(std::pair(less, 2), std::pair(more, 1));
        EXPECT_GT(std::pair(more, 1), std::pair(less, 2));
        EXPECT_LT(std::tuple(1, less), std::tuple(1, more));
        EXPECT_GT(std::tuple(1, more), std::tuple(1, less));
        EXPECT_LT(std::vector{less}, std::vector{more});
        EXPECT_GT(std::vector{more}, std::vector{less});
    }
    EXPECT_LT(std::pair(a, 1), std::pair(lateA, 2));
    EXPECT_LT(std::pair(lateA, 1), std::pair(a, 2));
    EXPECT_EQ(std::tuple(a, b), std::tuple(lateA, lateB));
    EXPECT_TRUE((std::tuple(a, b) <=> std::tuple(lateA, lateB)) == 0);
}

TEST(CString, PairsAreKeysOfMaps) {
    std::map<std::pair<CString, int>, int> map;
    map[{CString(_T("b")), 1}] = 1;
    map[{CString(_T("a")), 2}] = 2;
    map[{CString(_T("a")), 1}] = 3;
    map[{CString(_T("a")), 2}] += 40;
    ASSERT_EQ(map.size(), 3u);
    EXPECT_EQ((map.begin()->first), (std::pair(CString(_T("a")), 1)));
    EXPECT_EQ((map.rbegin()->first), (std::pair(CString(_T("b")), 1)));
    EXPECT_EQ((map.at({CString(_T("a")), 2})), 42);
}

TEST(CString, EqualTextsHaveEqualHashes) {
    const std::hash<CString> hash;
    EXPECT_EQ(hash(CString(_T("key"))), hash(CString(_T("k")) + _T("ey")));
    EXPECT_NE(hash(CString(_T("key"))), hash(CString(_T("kez"))));
    EXPECT_EQ(hash(CString(_T("a\0b"), 3)), hash(CString(_T("a\0c"), 3))) << "equal to operator==";
}

TEST(CString, CopiesInManyThreadsCountExactly) {
    const CString text = _T("shared by threads");
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&text] {
            for (int i = 0; i < 20000; ++i) {
                CString copy = text;
                CString other = copy;
                other += 'x';
                copy = other;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(text, _T("shared by threads"));
    CString last = text;
    EXPECT_EQ(last.GetString(), text.GetString());
}

TEST(CString, EmptyTextsOfManyThreadsNeedNoCount) {
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([] {
            for (int i = 0; i < 20000; ++i) {
                CString empty;
                CString copy = empty;
                copy.Empty();
                empty = copy;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(CString().GetLength(), 0);
}

}  // namespace
