// The insertion orders of CFileInfoArray.
//
// A record goes before the first one that does not stand before it in the order. Whether or not the array is sorted,
// that is always one that all before it stand before: a leader, with followers behind it up to the next leader. The
// new record becomes a leader itself, so later ones see the same leaders and this one. Many records can therefore be
// sorted first (of equal ones the newest leads), and then be merged with the leaders, each taking its followers along.

#include "files/file_order.h"

#include <algorithm>
#include <new>
#include <string>
#include <utility>
#include <vector>

namespace kvtfile::detail {

namespace {

enum SortMode : LONGLONG { smallFirst = 2, largeFirst = 3, pathUp = 4, pathDown = 5 };

// Whether `a` stands before `b`, and not only beside it.
bool StandsBefore(const CFileInfo& a, const CFileInfo& b, LONGLONG sortMode) {
    switch (sortMode) {
        case smallFirst:
            return a.m_nLength < b.m_nLength;
        case largeFirst:
            return a.m_nLength > b.m_nLength;
        case pathUp:
            return a.m_strFilePath.Compare(b.m_strFilePath) < 0;
        default:
            return a.m_strFilePath.Compare(b.m_strFilePath) > 0;
    }
}

// A new record by what most comparisons need.
struct Item {
    ULONGLONG key;
    INT_PTR index;
};

// The first four units of a path behind what is common to all.
ULONGLONG PathKey(const CString& path, int commonPath) {
    ULONGLONG key = 0;
    for (int i = commonPath; i < commonPath + 4; ++i) {
        key = key << 16 | (i < path.GetLength() ? static_cast<WORD>(path[i]) : 0u);
    }
    return key;
}

// Sorts by key and then by `tie` of the indices: negative, 0 or positive. Of equal ones the newest comes first.
template <typename Tie>
void SortItems(std::vector<Item>& items, bool down, Tie tie) {
    std::sort(items.begin(), items.end(), [down, tie](const Item& a, const Item& b) {
        if (a.key != b.key) {
            return (a.key < b.key) != down;
        }
        const int order = tie(a.index, b.index);
        return order != 0 ? (order < 0) != down : a.index > b.index;
    });
}

std::vector<Item> SortedItems(const FileInfoBase& records, INT_PTR first, LONGLONG sortMode, int commonPath) {
    const bool bySize = sortMode == smallFirst || sortMode == largeFirst;
    const bool down = sortMode == largeFirst || sortMode == pathDown;
    std::vector<Item> items;
    items.reserve(static_cast<size_t>(records.GetSize() - first));
    for (INT_PTR i = first; i < records.GetSize(); ++i) {
        items.push_back({bySize ? records[i].m_nLength : PathKey(records[i].m_strFilePath, commonPath), i});
    }
    if (bySize) {
        SortItems(items, down, [](INT_PTR, INT_PTR) { return 0; });
    } else {
        const auto rest = [&records, commonPath](INT_PTR index) {
            return static_cast<LPCWSTR>(records[index].m_strFilePath) + commonPath;
        };
        SortItems(items, down, [rest](INT_PTR a, INT_PTR b) {
            LPCWSTR left = rest(a);
            LPCWSTR right = rest(b);
            for (; *left == *right && *left != 0; ++left, ++right) {
            }
            return *left < *right ? -1 : *left > *right ? 1 : 0;
        });
    }
    return items;
}

// Where each place of the result takes its record from.
std::vector<INT_PTR> Merged(const FileInfoBase& records, INT_PTR first, const std::vector<Item>& items,
                            LONGLONG sortMode) {
    std::vector<INT_PTR> sources;
    sources.reserve(static_cast<size_t>(records.GetSize()));
    auto item = items.begin();
    INT_PTR leader = -1;
    for (INT_PTR old = 0; old < first; ++old) {
        if (leader < 0 || StandsBefore(records[leader], records[old], sortMode)) {
            leader = old;
            for (; item != items.end() && !StandsBefore(records[old], records[item->index], sortMode); ++item) {
                sources.push_back(item->index);
            }
        }
        sources.push_back(old);
    }
    for (; item != items.end(); ++item) {
        sources.push_back(item->index);
    }
    return sources;
}

// Puts every record into its place, cycle by cycle.
void Rearrange(FileInfoBase& records, std::vector<INT_PTR>& sources) {
    CFileInfo* const all = records.GetData();
    for (INT_PTR start = 0; start < records.GetSize(); ++start) {
        INT_PTR place = start;
        INT_PTR source = std::exchange(sources[static_cast<size_t>(place)], place);
        if (source == start) {
            continue;
        }
        CFileInfo displaced = std::move(all[start]);
        while (source != start) {
            all[place] = std::move(all[source]);
            place = source;
            source = std::exchange(sources[static_cast<size_t>(place)], place);
        }
        all[place] = std::move(displaced);
    }
}

// Where a record belongs among the first `count`.
INT_PTR PlaceAmong(const FileInfoBase& records, INT_PTR count, const CFileInfo& record, LONGLONG sortMode) {
    INT_PTR place = 0;
    while (place < count && StandsBefore(records[place], record, sortMode)) {
        ++place;
    }
    return place;
}

// The same as the rest of this file does, without memory and slowly.
void PlaceOneByOne(FileInfoBase& records, INT_PTR first, LONGLONG sortMode) {
    CFileInfo* const all = records.GetData();
    for (INT_PTR i = first; i < records.GetSize(); ++i) {
        std::rotate(all + PlaceAmong(records, i, all[i], sortMode), all + i, all + i + 1);
    }
}

}  // namespace

bool IsSorted(LONGLONG sortMode) {
    return sortMode >= smallFirst && sortMode <= pathDown;
}

INT_PTR PlaceOf(const CFileInfo& record, const FileInfoBase& records, LONGLONG sortMode) {
    return IsSorted(sortMode) ? PlaceAmong(records, records.GetSize(), record, sortMode) : records.GetSize();
}

void PlaceAppended(FileInfoBase& records, INT_PTR first, LONGLONG sortMode, int commonPath) {
    try {
        std::vector<INT_PTR> sources =
            Merged(records, first, SortedItems(records, first, sortMode, commonPath), sortMode);
        Rearrange(records, sources);
    } catch (const std::bad_alloc&) {
        PlaceOneByOne(records, first, sortMode);
    }
}

}  // namespace kvtfile::detail
