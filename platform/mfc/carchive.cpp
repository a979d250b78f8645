// CArchive. Numbers for classes and objects are given out from 1 on in the order of first appearance, the class before
// its first object, and an object gets its number before its data is stored, so that cycles come out right.
#include "platform/mfc/carchive.h"

#include <algorithm>
#include <climits>
#include <cstring>

#include "kvtfile/types.h"

namespace kvtmfc {

namespace {

constexpr WORD nullTag = 0;
constexpr WORD newClassTag = 0xFFFF;
constexpr WORD classTag = 0x8000;
constexpr WORD bigObjectTag = 0x7FFF;
constexpr DWORD bigClassTag = 0x80000000;
constexpr DWORD maxIndex = 0x3FFFFFFE;
constexpr WORD maxClassName = 64;

constexpr WORD wideMark = 0xFFFE;
constexpr size_t textBlock = 65536;

constexpr int maxDepth = 1000;

// Lends the depth counter to one object.
class DepthGuard {
public:
    explicit DepthGuard(int& depth) : m_depth(depth) { ++m_depth; }
    ~DepthGuard() { --m_depth; }
    DepthGuard(const DepthGuard&) = delete;
    DepthGuard& operator=(const DepthGuard&) = delete;

private:
    int& m_depth;
};

}  // namespace

CArchive::CArchive(CFile* file, UINT mode, int bufferSize, void* buffer)
    : m_strFileName(file ? file->GetFilePath() : CString()),
      m_pFile(file),
      m_nMode(mode),
      m_ownBuffer(buffer ? 0 : static_cast<size_t>(std::max(bufferSize, 128))),
      m_buffer(buffer ? static_cast<BYTE*>(buffer) : m_ownBuffer.data()),
      m_bufferSize(buffer ? static_cast<size_t>(std::max(bufferSize, 0)) : m_ownBuffer.size()) {
    if (!file || m_bufferSize == 0) {
        AfxThrowInvalidArgException();
    }
    m_loaded.push_back({nullptr, 0, nullptr});
}

CArchive::~CArchive() {
    if (!m_pFile || (m_nMode & bNoFlushOnDelete)) {
        return;
    }
    try {
        Close();
    } catch (CException* error) {
        error->Delete();
    }
}

void CArchive::Throw(int cause) const {
    AfxThrowArchiveException(cause, m_strFileName);
}

void CArchive::RequireMode(bool loading) const {
    if (IsLoading() != loading) {
        Throw(loading ? CArchiveException::writeOnly : CArchiveException::readOnly);
    }
    if (!m_pFile) {
        AfxThrowFileException(CFileException::invalidFile, -1, m_strFileName);
    }
}

// --- bytes ---

UINT CArchive::Read(void* buffer, UINT count) {
    RequireMode(true);
    BYTE* to = static_cast<BYTE*>(buffer);
    UINT left = count;
    while (left != 0) {
        if (m_cursor == m_filled) {
            if (left >= m_bufferSize) {
                return count - left + m_pFile->Read(to, left);
            }
            m_cursor = m_filled = 0;
            m_filled = m_pFile->Read(m_buffer, static_cast<UINT>(m_bufferSize));
            if (m_filled == 0) {
                break;
            }
        }
        const UINT part = static_cast<UINT>(std::min<size_t>(left, m_filled - m_cursor));
        std::memcpy(to, m_buffer + m_cursor, part);
        m_cursor += part;
        to += part;
        left -= part;
    }
    return count - left;
}

void CArchive::Write(const void* buffer, UINT count) {
    RequireMode(false);
    if (count > m_bufferSize - m_cursor) {
        Flush();
        if (count >= m_bufferSize) {
            m_pFile->Write(buffer, count);
            return;
        }
    }
    if (count != 0) {
        std::memcpy(m_buffer + m_cursor, buffer, count);
        m_cursor += count;
    }
}

void CArchive::Flush() {
    if (!m_pFile) {
        return;
    }
    if (IsLoading()) {
        if (m_cursor != m_filled) {
            m_pFile->Seek(static_cast<LONGLONG>(m_cursor) - static_cast<LONGLONG>(m_filled), CFile::current);
        }
        m_cursor = m_filled = 0;
    } else if (m_cursor != 0) {
        const UINT count = static_cast<UINT>(m_cursor);
        m_cursor = 0;
        m_pFile->Write(m_buffer, count);
    }
}

void CArchive::Close() {
    Flush();
    m_pFile = nullptr;
}

void CArchive::Abort() {
    m_pFile = nullptr;
}

CArchive& CArchive::Put(const void* value, UINT size) {
    Write(value, size);
    return *this;
}

CArchive& CArchive::Get(void* value, UINT size) {
    BYTE bytes[8];
    if (Read(bytes, size) != size) {
        Throw(CArchiveException::endOfFile);
    }
    std::memcpy(value, bytes, size);
    return *this;
}

CArchive& CArchive::operator>>(bool& value) {
    BYTE byte = 0;
    *this >> byte;
    value = byte != 0;
    return *this;
}

// --- counts and texts ---

void CArchive::WriteCount(DWORD_PTR count) {
    if (count < 0xFFFF) {
        *this << static_cast<WORD>(count);
        return;
    }
    *this << static_cast<WORD>(0xFFFF);
    if (count < 0xFFFFFFFF) {
        *this << static_cast<DWORD>(count);
        return;
    }
    *this << static_cast<DWORD>(0xFFFFFFFF) << static_cast<ULONGLONG>(count);
}

DWORD_PTR CArchive::ReadCount() {
    WORD small = 0;
    *this >> small;
    if (small != 0xFFFF) {
        return small;
    }
    DWORD medium = 0;
    *this >> medium;
    if (medium != 0xFFFFFFFF) {
        return medium;
    }
    ULONGLONG large = 0;
    *this >> large;
    return static_cast<DWORD_PTR>(large);
}

void CArchive::WriteStringLength(ULONGLONG length) {
    if (length < 0xFF) {
        *this << static_cast<BYTE>(length);
        return;
    }
    *this << static_cast<BYTE>(0xFF);
    if (length < wideMark) {
        *this << static_cast<WORD>(length);
        return;
    }
    *this << static_cast<WORD>(0xFFFF) << static_cast<DWORD>(length);
}

// The number of units, and their size: 1 (ANSI code page) until the mark of wide text was seen.
ULONGLONG CArchive::ReadStringLength(UINT& unitSize) {
    unitSize = 1;
    for (;;) {
        BYTE small = 0;
        *this >> small;
        if (small != 0xFF) {
            return small;
        }
        WORD medium = 0;
        *this >> medium;
        if (medium == wideMark && unitSize == 1) {
            unitSize = sizeof(WCHAR);
            continue;
        }
        if (medium != 0xFFFF) {
            return medium;
        }
        DWORD large = 0;
        *this >> large;
        if (large != 0xFFFFFFFF) {
            return large;
        }
        ULONGLONG huge = 0;
        *this >> huge;
        return huge;
    }
}

CArchive& CArchive::operator<<(const CString& text) {
    *this << static_cast<BYTE>(0xFF) << wideMark;
    WriteStringLength(static_cast<ULONGLONG>(text.GetLength()));
    WriteUnits(text.View());
    return *this;
}

void CArchive::WriteUnits(WideView text) {
    const BYTE* bytes = reinterpret_cast<const BYTE*>(text.data());
    size_t left = text.size() * sizeof(WCHAR);
    while (left != 0) {
        const UINT part = static_cast<UINT>(std::min<size_t>(left, INT_MAX));
        Write(bytes, part);
        bytes += part;
        left -= part;
    }
}

// Texts are taken in blocks, so that a damaged length fails at the end of the data and not in the allocator.
CArchive& CArchive::operator>>(CString& text) {
    UINT unitSize = 0;
    ULONGLONG left = ReadStringLength(unitSize);
    CString wide;
    std::string narrow;
    while (left != 0) {
        const UINT units = static_cast<UINT>(std::min<ULONGLONG>(left, textBlock));
        const UINT bytes = units * unitSize;
        UINT got = 0;
        if (unitSize == 1) {
            const size_t length = narrow.size();
            narrow.resize(length + units);
            got = Read(narrow.data() + length, bytes);
        } else {
            CString block;
            got = Read(block.GetBuffer(static_cast<int>(units)), bytes);
            block.ReleaseBufferSetLength(static_cast<int>(units));
            wide += block;
        }
        if (got != bytes) {
            Throw(CArchiveException::endOfFile);
        }
        left -= units;
    }
    text = unitSize == 1 ? CString::FromCodePage(narrow, CP_ACP) : wide;
    return *this;
}

BOOL CArchive::ReadString(CString& text) {
    CString line;
    bool any = false;
    WCHAR unit = 0;
    while (unit != '\n' && Read(&unit, sizeof unit) == sizeof unit) {
        line.AppendChar(unit);
        any = true;
    }
    if (unit == '\n') {
        const int length = line.GetLength() - 1;
        line.Truncate(length > 0 && line[length - 1] == '\r' ? length - 1 : length);
    }
    text = line;
    return any ? TRUE : FALSE;
}

void CArchive::WriteString(LPCWSTR text) {
    if (!text) {
        AfxThrowInvalidArgException();
    }
    WriteUnits(WideView(text));
}

// --- structures ---

CArchive& operator<<(CArchive& ar, POINT point) {
    return ar << point.x << point.y;
}

CArchive& operator>>(CArchive& ar, POINT& point) {
    return ar >> point.x >> point.y;
}

CArchive& operator<<(CArchive& ar, SIZE size) {
    return ar << size.cx << size.cy;
}

CArchive& operator>>(CArchive& ar, SIZE& size) {
    return ar >> size.cx >> size.cy;
}

CArchive& operator<<(CArchive& ar, const RECT& rect) {
    return ar << rect.left << rect.top << rect.right << rect.bottom;
}

CArchive& operator>>(CArchive& ar, RECT& rect) {
    return ar >> rect.left >> rect.top >> rect.right >> rect.bottom;
}

// --- objects ---

DWORD CArchive::NextIndex() {
    if (m_storedCount >= maxIndex) {
        Throw(CArchiveException::badIndex);
    }
    return ++m_storedCount;
}

void CArchive::WriteTag(DWORD index, bool isClass) {
    if (index < bigObjectTag) {
        *this << static_cast<WORD>(isClass ? classTag | index : index);
    } else {
        *this << bigObjectTag << (isClass ? bigClassTag | index : index);
    }
}

void CArchive::WriteClass(const CRuntimeClass* runtimeClass) {
    RequireMode(false);
    if (runtimeClass->m_wSchema == 0xFFFF) {
        AfxThrowNotSupportedException();
    }
    const auto known = m_stored.find(runtimeClass);
    if (known != m_stored.end()) {
        WriteTag(known->second, true);
        return;
    }
    const WORD length = static_cast<WORD>(std::strlen(runtimeClass->m_lpszClassName));
    *this << newClassTag << static_cast<WORD>(runtimeClass->m_wSchema) << length;
    Write(runtimeClass->m_lpszClassName, length);
    m_stored[runtimeClass] = NextIndex();
}

void CArchive::WriteObject(const CObject* object) {
    RequireMode(false);
    if (!object) {
        *this << nullTag;
        return;
    }
    const auto known = m_stored.find(object);
    if (known != m_stored.end()) {
        WriteTag(known->second, false);
        return;
    }
    const DepthGuard guard(m_depth);
    if (m_depth > maxDepth) {
        Throw(CArchiveException::generic);
    }
    WriteClass(object->GetRuntimeClass());
    m_stored[object] = NextIndex();
    const_cast<CObject*>(object)->Serialize(*this);
}

// The record of a class that appears for the first time.
CRuntimeClass* CArchive::ReadNewClass(UINT& schema) {
    WORD storedSchema = 0;
    WORD length = 0;
    *this >> storedSchema >> length;
    if (length >= maxClassName) {
        Throw(CArchiveException::badClass);
    }
    char name[maxClassName] = {};
    if (Read(name, length) != length) {
        Throw(CArchiveException::endOfFile);
    }
    CRuntimeClass* const runtimeClass = CRuntimeClass::FromName(name);
    if (!runtimeClass) {
        Throw(CArchiveException::badClass);
    }
    schema = storedSchema;
    const bool versionable = (runtimeClass->m_wSchema & VERSIONABLE_SCHEMA) != 0;
    if (!versionable && (runtimeClass->m_wSchema & 0xFFFF) != schema) {
        Throw(CArchiveException::badSchema);
    }
    m_loaded.push_back({runtimeClass, schema, nullptr});
    return runtimeClass;
}

CRuntimeClass* CArchive::ReadClass(const CRuntimeClass* requested, UINT* schema, DWORD* objectTag) {
    RequireMode(true);
    if (requested && requested->m_wSchema == 0xFFFF) {
        AfxThrowNotSupportedException();
    }
    WORD tag = 0;
    *this >> tag;
    UINT storedSchema = 0;
    CRuntimeClass* runtimeClass = nullptr;
    if (tag == newClassTag) {
        runtimeClass = ReadNewClass(storedSchema);
    } else {
        DWORD index = tag & ~static_cast<DWORD>(classTag);
        bool isClass = (tag & classTag) != 0;
        if (tag == bigObjectTag) {
            *this >> index;
            isClass = (index & bigClassTag) != 0;
            index &= ~bigClassTag;
        }
        if (!isClass) {
            if (!objectTag) {
                Throw(CArchiveException::badIndex);
            }
            *objectTag = index;
            return nullptr;
        }
        if (index >= m_loaded.size() || !m_loaded[index].runtimeClass) {
            Throw(CArchiveException::badIndex);
        }
        runtimeClass = m_loaded[index].runtimeClass;
        storedSchema = m_loaded[index].schema;
    }
    if (requested && !runtimeClass->IsDerivedFrom(requested)) {
        Throw(CArchiveException::badClass);
    }
    if (schema) {
        *schema = storedSchema;
    } else {
        m_nObjectSchema = storedSchema;
    }
    return runtimeClass;
}

CObject* CArchive::ReadObject(const CRuntimeClass* requested) {
    UINT schema = 0;
    DWORD index = 0;
    CRuntimeClass* const runtimeClass = ReadClass(requested, &schema, &index);
    if (!runtimeClass) {
        if (index >= m_loaded.size() || m_loaded[index].runtimeClass) {
            Throw(CArchiveException::badIndex);
        }
        CObject* const known = m_loaded[index].object;
        if (known && requested && !known->IsKindOf(requested)) {
            Throw(CArchiveException::badClass);
        }
        return known;
    }
    const DepthGuard guard(m_depth);
    if (m_depth > maxDepth) {
        Throw(CArchiveException::generic);
    }
    std::unique_ptr<CObject> object(runtimeClass->CreateObject());
    if (!object) {
        Throw(CArchiveException::badClass);
    }
    const size_t number = m_loaded.size();
    m_loaded.push_back({nullptr, 0, object.get()});
    const UINT outerSchema = m_nObjectSchema;
    m_nObjectSchema = schema;
    try {
        object->Serialize(*this);
    } catch (...) {
        m_loaded[number].object = nullptr;
        m_nObjectSchema = outerSchema;
        throw;
    }
    m_nObjectSchema = outerSchema;
    return object.release();
}

UINT CArchive::GetObjectSchema() {
    const UINT schema = m_nObjectSchema;
    m_nObjectSchema = static_cast<UINT>(-1);
    return schema;
}

}  // namespace kvtmfc
