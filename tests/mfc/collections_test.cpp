// The arrays and lists: indexes, growth and order.
#include <string>
#include <vector>

#include "tests/mfc/throws.h"
#include "tests/support/support.h"

namespace {

std::vector<std::string> Texts(const CStringArray& array) {
    std::vector<std::string> texts;
    for (INT_PTR i = 0; i < array.GetSize(); ++i) {
        texts.push_back(kvttest::Utf8(array[i]));
    }
    return texts;
}

std::vector<std::string> Texts(const CStringList& list) {
    std::vector<std::string> texts;
    for (POSITION position = list.GetHeadPosition(); position;) {
        texts.push_back(kvttest::Utf8(list.GetNext(position)));
    }
    return texts;
}

using Strings = std::vector<std::string>;

TEST(Arrays, AddReturnsTheIndexAndSizesAgree) {
    CStringArray array;
    EXPECT_TRUE(array.IsEmpty());
    EXPECT_EQ(array.GetUpperBound(), -1);
    EXPECT_EQ(array.GetData(), nullptr);
    EXPECT_EQ(array.Add(_T("a")), 0);
    EXPECT_EQ(array.Add(_T("b")), 1);
    EXPECT_EQ(array.GetSize(), 2);
    EXPECT_EQ(array.GetCount(), 2);
    EXPECT_EQ(array.GetUpperBound(), 1);
    EXPECT_EQ(array.GetData()[1], _T("b"));
    array.SetSize(3);
    EXPECT_EQ(array[2], _T(""));
    array.SetSize(1, -1);
    EXPECT_EQ(Texts(array), (Strings{"a"}));
}

TEST(Arrays, InsertingBehindTheEndFillsTheGap) {
    CStringArray array;
    array.InsertAt(2, _T("x"));
    EXPECT_EQ(Texts(array), (Strings{"", "", "x"}));
    array.InsertAt(1, _T("y"), 2);
    EXPECT_EQ(Texts(array), (Strings{"", "y", "y", "", "x"}));
    array.RemoveAt(1, 3);
    EXPECT_EQ(Texts(array), (Strings{"", "x"}));
    array.SetAtGrow(3, _T("z"));
    EXPECT_EQ(Texts(array), (Strings{"", "x", "", "z"}));
    array.SetAtGrow(0, _T("first"));
    EXPECT_EQ(Texts(array), (Strings{"first", "x", "", "z"}));
}

TEST(Arrays, AppendCopyAndInsertOtherArrays) {
    CStringArray first;
    first.Add(_T("a"));
    CStringArray second;
    second.Add(_T("b"));
    second.Add(_T("c"));
    EXPECT_EQ(first.Append(second), 1);
    EXPECT_EQ(Texts(first), (Strings{"a", "b", "c"}));
    first.InsertAt(1, &second);
    EXPECT_EQ(Texts(first), (Strings{"a", "b", "c", "b", "c"}));
    first.Copy(second);
    EXPECT_EQ(Texts(first), (Strings{"b", "c"}));
    first.Copy(first);
    EXPECT_EQ(Texts(first), (Strings{"b", "c"}));
    EXPECT_THROWS_POINTER(first.Append(first), CInvalidArgException);
}

TEST(Arrays, ElementsOfTheArrayItselfAreTaken) {
    CStringArray array;
    array.Add(_T("a"));
    for (int i = 0; i < 100; ++i) {
        array.Add(array[0]);
        array.InsertAt(0, array[array.GetUpperBound()]);
        array.SetAtGrow(array.GetSize(), array[0]);
    }
    EXPECT_EQ(array.GetSize(), 301);
    EXPECT_EQ(array[300], _T("a"));
}

TEST(Arrays, IndexesOutOfRangeThrow) {
    CDWordArray array;
    array.Add(7);
    const CDWordArray& constant = array;
    EXPECT_THROWS_POINTER(array.GetAt(1), CInvalidArgException);
    EXPECT_THROWS_POINTER(array.GetAt(-1), CInvalidArgException);
    EXPECT_THROWS_POINTER(constant[1], CInvalidArgException);
    EXPECT_THROWS_POINTER(array.ElementAt(1), CInvalidArgException);
    EXPECT_THROWS_POINTER(array.SetAt(1, 1), CInvalidArgException);
    EXPECT_THROWS_POINTER(array.SetAtGrow(-1, 1), CInvalidArgException);
    EXPECT_THROWS_POINTER(array.InsertAt(-1, 1), CInvalidArgException);
    EXPECT_THROWS_POINTER(array.RemoveAt(0, 2), CInvalidArgException);
    EXPECT_THROWS_POINTER(array.RemoveAt(2), CInvalidArgException);
    EXPECT_THROWS_POINTER(array.RemoveAt(-1), CInvalidArgException);
    EXPECT_THROWS_POINTER(array.SetSize(-1), CInvalidArgException);
    EXPECT_THROWS_POINTER(array.SetSize(INT_PTR{1} << 61), CMemoryException);
    EXPECT_EQ(array.GetSize(), 1);
    EXPECT_EQ(array[0], 7u);
}

TEST(Arrays, OfAnyType) {
    struct Point {
        int x;
        int y;
    };
    CArray<Point, Point> points;
    points.Add({1, 2});
    points[0].x = 5;
    EXPECT_EQ(points.GetAt(0).x, 5);
    CArray<int, int> numbers;
    for (int i = 0; i < 100000; ++i) {
        numbers.Add(i);
    }
    EXPECT_EQ(numbers[99999], 99999);
    numbers.RemoveAll();
    EXPECT_TRUE(numbers.IsEmpty());
}

TEST(Arrays, ElementsWithTextsAreHeldButNotStoredAsTheyStand) {
    struct Layer {
        CString name;
        int colour = 0;
    };
    Layer layer{_T("walls"), 7};
    CArray<Layer, Layer&> layers;
    layers.Add(layer);
    EXPECT_EQ(layers[0].name, _T("walls"));
    CList<Layer, Layer&> list;
    list.AddTail(layer);
    EXPECT_EQ(list.GetHead().colour, 7);
    CMemFile file;
    CArchive ar(&file, CArchive::store);
    EXPECT_THROWS_POINTER((layers.Serialize(ar), 0), CNotSupportedException);
    EXPECT_THROWS_POINTER((list.Serialize(ar), 0), CNotSupportedException);
}

TEST(Lists, AddRemoveAndWalkBothWays) {
    CStringList list;
    list.AddTail(_T("b"));
    list.AddHead(_T("a"));
    list.AddTail(_T("c"));
    EXPECT_EQ(Texts(list), (Strings{"a", "b", "c"}));
    EXPECT_EQ(list.GetCount(), 3);
    Strings backwards;
    for (POSITION position = list.GetTailPosition(); position;) {
        backwards.push_back(kvttest::Utf8(list.GetPrev(position)));
    }
    EXPECT_EQ(backwards, (Strings{"c", "b", "a"}));
    EXPECT_EQ(list.RemoveHead(), _T("a"));
    EXPECT_EQ(list.RemoveTail(), _T("c"));
    EXPECT_EQ(list.GetHead(), _T("b"));
    EXPECT_EQ(list.GetTail(), _T("b"));
    list.RemoveAll();
    EXPECT_TRUE(list.IsEmpty());
    EXPECT_EQ(list.GetHeadPosition(), nullptr);
}

TEST(Lists, PositionsInsertFindAndRemove) {
    CStringList list;
    const POSITION b = list.AddTail(_T("b"));
    list.InsertBefore(b, _T("a"));
    const POSITION c = list.InsertAfter(b, _T("c"));
    list.AddTail(_T("b"));
    EXPECT_EQ(Texts(list), (Strings{"a", "b", "c", "b"}));
    EXPECT_EQ(list.Find(_T("b")), b);
    EXPECT_EQ(list.Find(_T("b"), b), list.GetTailPosition());
    EXPECT_EQ(list.Find(_T("x")), nullptr);
    EXPECT_EQ(list.FindIndex(2), c);
    EXPECT_EQ(list.FindIndex(4), nullptr);
    EXPECT_EQ(list.FindIndex(-1), nullptr);
    list.SetAt(c, _T("C"));
    EXPECT_EQ(list.GetAt(c), _T("C"));
    list.RemoveAt(b);
    EXPECT_EQ(Texts(list), (Strings{"a", "C", "b"}));
    CStringList other;
    other.AddTail(_T("1"));
    other.AddTail(_T("2"));
    list.AddTail(&other);
    list.AddHead(&other);
    EXPECT_EQ(Texts(list), (Strings{"1", "2", "a", "C", "b", "1", "2"}));
}

TEST(Lists, EmptyListsAndNullPositionsThrow) {
    CStringList list;
    POSITION none = nullptr;
    EXPECT_THROWS_POINTER(list.RemoveHead(), CInvalidArgException);
    EXPECT_THROWS_POINTER(list.RemoveTail(), CInvalidArgException);
    EXPECT_THROWS_POINTER(list.GetHead(), CInvalidArgException);
    EXPECT_THROWS_POINTER(list.GetNext(none), CInvalidArgException);
    EXPECT_THROWS_POINTER(list.GetAt(none), CInvalidArgException);
    EXPECT_THROWS_POINTER(list.RemoveAt(none), CInvalidArgException);
    EXPECT_THROWS_POINTER(list.InsertAfter(none, _T("x")), CInvalidArgException);
}

}  // namespace
