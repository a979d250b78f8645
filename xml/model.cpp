// The document model: construction, the record array and its growth, the cursor, and small texts.
//
// Records live in segments of 65,536 so that growth copies at most one of them. The array only grows; released records
// stay on their chain.

#include <cstring>

#include "kvtfile/XmlFile.h"

namespace kvtfile {

namespace {
constexpr int segmentSize = 65536;
}

CFXmlFile::CFXmlFile() {
    SetDoc(static_cast<LPCWSTR>(nullptr));
}

CFXmlFile::CFXmlFile(int flags) : CFXmlFile() {
    m_nDocFlags = flags;
}

CFXmlFile::CFXmlFile(MCD_CSTR text) : CFXmlFile() {
    SetDoc(static_cast<LPCWSTR>(text));
}

CFXmlFile::~CFXmlFile() {
    x_FreePosArray();
    x_FreeSavedPos();
}

bool CFXmlFile::SetDoc(LPCWSTR text) {
    m_strDoc = text;
    m_strResult.Empty();
    return x_ParseDoc();
}

bool CFXmlFile::SetDoc(const CString& text) {
    m_strDoc = text;
    m_strResult.Empty();
    return x_ParseDoc();
}

bool CFXmlFile::IsWellFormed() const {
    if (m_nPosAllocated == 0 || x_Elem(0).HasFlag(elemIllFormed))
        return false;
    const int root = x_Elem(0).child;
    return root != 0 && x_Elem(root).next == 0;
}

bool CFXmlFile::x_AllocPosArray(int wanted) {
    if (wanted == 0)
        wanted = m_iPosFree + m_iPosFree / 2;
    if (m_nPosAllocated >= wanted)
        return true;

    const int oldLast = m_nPosAllocated == 0 ? 0 : (m_nPosAllocated - 1) >> 16;
    int newLast = (wanted - 1) >> 16;
    if (newLast > oldLast + 1) {
        newLast = oldLast + 1;
        wanted = (oldLast + 2) << 16;
    }

    if (newLast >= m_nSegmentCapacity) {
        const int capacity = newLast * 2 + 4;
        auto** const table = new ElemPos*[static_cast<size_t>(capacity)];
        if (m_nPosAllocated != 0)
            std::memcpy(table, m_pSegments, sizeof(ElemPos*) * static_cast<size_t>(oldLast + 1));
        delete[] m_pSegments;
        m_pSegments = table;
        m_nSegmentCapacity = capacity;
    }

    const int oldInLast = m_nPosAllocated - (oldLast << 16);
    const auto grow = [&](int segment, int size, int kept) {
        auto* const records = new ElemPos[static_cast<size_t>(size)];
        if (kept != 0) {
            std::memcpy(records, m_pSegments[segment], sizeof(ElemPos) * static_cast<size_t>(kept));
            delete[] m_pSegments[segment];
        }
        m_pSegments[segment] = records;
    };
    if (newLast > oldLast && oldInLast < segmentSize)
        grow(oldLast, segmentSize, oldInLast);
    grow(newLast, wanted - (newLast << 16), newLast == oldLast ? oldInLast : 0);
    m_nPosAllocated = wanted;
    return true;
}

void CFXmlFile::x_FreePosArray() {
    if (m_nPosAllocated != 0) {
        for (int i = 0; i <= (m_nPosAllocated - 1) >> 16; ++i)
            delete[] m_pSegments[i];
    }
    delete[] m_pSegments;
    m_pSegments = nullptr;
    m_nPosAllocated = m_nSegmentCapacity = 0;
}

int CFXmlFile::x_GetFreePos() {
    if (m_iPosFree == m_nPosAllocated)
        x_AllocPosArray(0);
    return m_iPosFree++;
}

int CFXmlFile::x_ReleasePos(int position) {
    ElemPos& record = x_Elem(position);
    const int next = record.next;
    record.next = m_iPosReleased;
    record.flags = elemReleased;
    m_iPosReleased = position;
    return next;
}

void CFXmlFile::x_SetPos(int parent, int main, int child) {
    m_iPosParent = parent;
    m_iPos = main;
    m_iPosChild = child;
    m_nNodeOffset = 0;
    m_nNodeLength = 0;
    m_nNodeType = main != 0 ? nodeElement : nodeNone;
}

CString CFXmlFile::x_GetLastError() {
    WCHAR text[100] = {};
    const DWORD length =
        ::FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, ::GetLastError(), 0, text,
                         static_cast<DWORD>(sizeof(text) / sizeof(text[0])), nullptr);
    DWORD end = 0;
    while (end < length && text[end] != '\r' && text[end] != '\n')
        ++end;
    return CString(text, static_cast<int>(end));
}

CString CFXmlFile::x_IntToStr(int value) {
    CString text;
    text.Format(_T("%d"), value);
    return text;
}

}  // namespace kvtfile
