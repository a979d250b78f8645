// Copies of a document. The text is shared until one side changes it; records and saved positions are copied. A copy
// that fails changes nothing.

#include <cstring>
#include <utility>

#include "kvtfile/XmlFile.h"

namespace kvtfile {

CFXmlFile::CFXmlFile(const CFXmlFile& other) : CFXmlFile() {
    x_Copy(other);
}

CFXmlFile& CFXmlFile::operator=(const CFXmlFile& other) {
    if (this == &other)
        return *this;
    // Copied aside first: a copy that fails leaves this document as it was.
    CFXmlFile copy(other);
    std::swap(m_strDoc, copy.m_strDoc);
    std::swap(m_strResult, copy.m_strResult);
    std::swap(m_iPosParent, copy.m_iPosParent);
    std::swap(m_iPos, copy.m_iPos);
    std::swap(m_iPosChild, copy.m_iPosChild);
    std::swap(m_iPosFree, copy.m_iPosFree);
    std::swap(m_iPosReleased, copy.m_iPosReleased);
    std::swap(m_nNodeType, copy.m_nNodeType);
    std::swap(m_nNodeOffset, copy.m_nNodeOffset);
    std::swap(m_nNodeLength, copy.m_nNodeLength);
    std::swap(m_nDocFlags, copy.m_nDocFlags);
    std::swap(m_pSavedPosMaps, copy.m_pSavedPosMaps);
    std::swap(m_pSegments, copy.m_pSegments);
    std::swap(m_nPosAllocated, copy.m_nPosAllocated);
    std::swap(m_nSegmentCapacity, copy.m_nSegmentCapacity);
    return *this;
}

void CFXmlFile::x_Copy(const CFXmlFile& other) {
    m_strDoc = other.m_strDoc;
    m_strResult = other.m_strResult;
    m_iPosParent = other.m_iPosParent;
    m_iPos = other.m_iPos;
    m_iPosChild = other.m_iPosChild;
    m_iPosFree = other.m_iPosFree;
    m_iPosReleased = other.m_iPosReleased;
    m_nNodeType = other.m_nNodeType;
    m_nNodeOffset = other.m_nNodeOffset;
    m_nNodeLength = other.m_nNodeLength;
    m_nDocFlags = other.m_nDocFlags;

    x_FreePosArray();
    const int allocated = m_iPosFree < 8 ? 8 : m_iPosFree;
    const int segments = ((allocated - 1) >> 16) + 1;
    m_pSegments = new ElemPos*[static_cast<size_t>(segments)]();
    m_nSegmentCapacity = segments;
    m_nPosAllocated = allocated;
    for (int i = 0; i < segments; ++i) {
        const int first = i << 16;
        const int size = i + 1 < segments ? 0x10000 : allocated - first;
        const int used = m_iPosFree - first < size ? m_iPosFree - first : size;
        m_pSegments[i] = new ElemPos[static_cast<size_t>(size)];
        std::memcpy(m_pSegments[i], other.m_pSegments[i], sizeof(ElemPos) * static_cast<size_t>(used));
    }

    x_FreeSavedPos();
    const int maps = other.x_CountMaps();
    if (maps != 0)
        m_pSavedPosMaps = new SavedPosMap*[static_cast<size_t>(maps) + 1]();
    for (int map = 0; map < maps; ++map) {
        const SavedPosMap& source = *other.m_pSavedPosMaps[map];
        SavedPosMap* const copy = m_pSavedPosMaps[map] = x_NewMap(source.size);
        for (int i = 0; i < source.size; ++i) {
            const int count = x_BucketCount(source.buckets[i]);
            for (int k = 0; k < count; ++k) {
                SavedPos& entry = x_AppendSavedPos(copy->buckets[i]);
                const int place = entry.flags;
                entry = source.buckets[i][k];
                entry.flags = (entry.flags & ~SavedPos::isLast) | place;
            }
        }
    }
}

}  // namespace kvtfile
