// Saved positions and element paths.
//
// A map has a fixed number of buckets; a bucket is an array whose entries in use come first, the last of them marked.
// Its room follows from its count: 2 entries, then twice the count and 12 more whenever it is full. Entries of released
// records are dropped by every removal, so that a name never leads to an element that is gone. Objects that never save
// a position hold no map and pay one comparison.

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

#include "kvtfile/XmlFile.h"

namespace kvtfile {

namespace {

bool IsSameText(LPCWSTR a, LPCWSTR b) {
    while (*a != 0 && *a == *b) {
        ++a;
        ++b;
    }
    return *a == *b;
}

}  // namespace

int CFXmlFile::x_Hash(LPCWSTR text, int size) {
    unsigned long long sum = 0;
    for (; *text != 0; ++text)
        sum += *text;
    return static_cast<int>(sum % static_cast<unsigned>(size));
}

int CFXmlFile::x_CountMaps() const {
    int count = 0;
    while (m_pSavedPosMaps != nullptr && m_pSavedPosMaps[count] != nullptr)
        ++count;
    return count;
}

CFXmlFile::SavedPosMap* CFXmlFile::x_NewMap(int size) {
    auto buckets = std::make_unique<SavedPos*[]>(static_cast<size_t>(size));
    auto* const map = new SavedPosMap{buckets.get(), size};
    buckets.release();
    return map;
}

/// Gives map number `map`, making it and the missing ones before it. False when it existed already.
bool CFXmlFile::x_GetMap(SavedPosMap*& out, int map, int size) {
    const int count = x_CountMaps();
    if (map < count) {
        out = m_pSavedPosMaps[map];
        return false;
    }
    // The array grows first, and each map follows when it is complete: memory that runs out on the way loses nothing.
    auto** const maps = new SavedPosMap*[static_cast<size_t>(map) + 2]();
    std::copy_n(m_pSavedPosMaps, count, maps);
    delete[] m_pSavedPosMaps;
    m_pSavedPosMaps = maps;
    for (int i = count; i <= map; ++i)
        maps[i] = x_NewMap(size);
    out = maps[map];
    return true;
}

bool CFXmlFile::SetMapSize(int size, int map) {
    SavedPosMap* made = nullptr;
    return size > 0 && map >= 0 && x_GetMap(made, map, size);
}

int CFXmlFile::x_BucketCount(const SavedPos* bucket) {
    int count = 0;
    if (bucket != nullptr) {
        while ((bucket[count].flags & SavedPos::isLast) == 0)
            ++count;
        ++count;
    }
    return count;
}

/// The entry of a name in its bucket; null when there is none.
CFXmlFile::SavedPos* CFXmlFile::x_FindSavedPos(const SavedPosMap& map, LPCWSTR name) {
    SavedPos* const bucket = map.buckets[x_Hash(name, map.size)];
    const int count = x_BucketCount(bucket);
    for (int i = 0; i < count; ++i) {
        if (IsSameText(bucket[i].name, name))
            return &bucket[i];
    }
    return nullptr;
}

/// A new last entry of the bucket.
CFXmlFile::SavedPos& CFXmlFile::x_AppendSavedPos(SavedPos*& bucket) {
    const int count = x_BucketCount(bucket);
    int room = 2;
    while (room < count)
        room = 2 * room + 12;
    if (bucket == nullptr) {
        bucket = new SavedPos[2];
    } else if (count == room) {
        auto* const larger = new SavedPos[static_cast<size_t>(2 * count + 12)];
        for (int i = 0; i < count; ++i)
            larger[i] = bucket[i];
        delete[] bucket;
        bucket = larger;
    }
    if (count != 0)
        bucket[count - 1].flags &= ~SavedPos::isLast;
    bucket[count].flags = SavedPos::inUse | SavedPos::isLast;
    return bucket[count];
}

bool CFXmlFile::SavePos(MCD_CSTR name, int map) {
    if (static_cast<LPCWSTR>(name) == nullptr || map < 0)
        return false;
    SavedPosMap* saved = nullptr;
    x_GetMap(saved, map);
    SavedPos* entry = x_FindSavedPos(*saved, name);
    if (entry == nullptr) {
        const CString kept = static_cast<LPCWSTR>(name);
        entry = &x_AppendSavedPos(saved->buckets[x_Hash(name, saved->size)]);
        entry->name = kept;
    }
    entry->flags &= SavedPos::inUse | SavedPos::isLast;
    if (m_iPosChild != 0) {
        entry->position = m_iPosChild;
        entry->flags |= SavedPos::isChild;
    } else if (m_iPos != 0) {
        entry->position = m_iPos;
        entry->flags |= SavedPos::isMain;
    } else {
        entry->position = m_iPosParent;
    }
    return true;
}

bool CFXmlFile::RestorePos(MCD_CSTR name, int map) {
    if (static_cast<LPCWSTR>(name) == nullptr || map < 0 || map >= x_CountMaps())
        return false;
    const SavedPos* const entry = x_FindSavedPos(*m_pSavedPosMaps[map], name);
    if (entry == nullptr)
        return false;
    const int position = entry->position;
    const int parent = x_Elem(position).parent;
    if ((entry->flags & SavedPos::isChild) != 0)
        x_SetPos(x_Elem(parent).parent, parent, position);
    else if ((entry->flags & SavedPos::isMain) != 0)
        x_SetPos(parent, position, 0);
    else
        x_SetPos(position, 0, 0);
    return true;
}

void CFXmlFile::x_CheckSavedPos() {
    const int maps = x_CountMaps();
    for (int map = 0; map < maps; ++map) {
        SavedPosMap& saved = *m_pSavedPosMaps[map];
        for (int i = 0; i < saved.size; ++i) {
            SavedPos* const bucket = saved.buckets[i];
            const int count = x_BucketCount(bucket);
            int kept = 0;
            for (int k = 0; k < count; ++k) {
                if (x_Elem(bucket[k].position).HasFlag(elemReleased))
                    continue;
                if (kept != k)
                    bucket[kept] = bucket[k];
                bucket[kept++].flags &= ~SavedPos::isLast;
            }
            if (count != 0)
                x_CutBucket(saved.buckets[i], kept, count);
        }
    }
}

/// Drops all but the first `kept` of a bucket's entries.
void CFXmlFile::x_CutBucket(SavedPos*& bucket, int kept, int count) {
    if (kept == 0) {
        delete[] bucket;
        bucket = nullptr;
        return;
    }
    for (int i = kept; i < count; ++i)
        bucket[i] = SavedPos();
    bucket[kept - 1].flags |= SavedPos::isLast;
}

/// Forgets all positions; the maps keep their sizes.
void CFXmlFile::x_ClearSavedPos() {
    const int maps = x_CountMaps();
    for (int map = 0; map < maps; ++map) {
        for (int i = 0; i < m_pSavedPosMaps[map]->size; ++i) {
            delete[] m_pSavedPosMaps[map]->buckets[i];
            m_pSavedPosMaps[map]->buckets[i] = nullptr;
        }
    }
}

void CFXmlFile::x_FreeSavedPos() {
    x_ClearSavedPos();
    const int maps = x_CountMaps();
    for (int map = 0; map < maps; ++map) {
        delete[] m_pSavedPosMaps[map]->buckets;
        delete m_pSavedPosMaps[map];
    }
    delete[] m_pSavedPosMaps;
    m_pSavedPosMaps = nullptr;
}

CString CFXmlFile::x_GetPath(int position) const {
    std::vector<int> levels;
    for (int i = position; i != 0; i = x_Elem(i).parent)
        levels.push_back(i);
    CString path;
    for (auto level = levels.rbegin(); level != levels.rend(); ++level) {
        const CString name = x_GetTagName(*level);
        const int parent = x_Elem(*level).parent;
        int rank = 1;
        for (int i = x_FindElem(parent, 0, name); i != 0 && i != *level; i = x_FindElem(parent, i, name))
            ++rank;
        path += _T("/") + name;
        if (rank > 1) {
            CString index;
            index.Format(_T("[%d]"), rank);
            path += index;
        }
    }
    return path;
}

}  // namespace kvtfile
