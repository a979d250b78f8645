// CFRegistry: objects, collections, rectangles and points, as archives in binary values. The archive lives in memory:
// whatever an object throws while it is stored or loaded ends there, and nothing is written when storing failed.
#include <climits>
#include <unordered_set>
#include <vector>

#include "cadhost/registry_calls.h"
#include "kvtfile/Registry.h"

namespace kvtfile {

namespace {

constexpr int archiveBuffer = 4096;
constexpr UINT growBytes = 1024;

constexpr DWORD pointType = 2;
constexpr DWORD pointSize = 22;
constexpr DWORD pointReadSize = 8;
constexpr DWORD pointRoom = 20;

// Does the work; whatever it throws is a failure.
template <typename Work>
bool Succeeds(Work work) {
    try {
        work();
        return true;
    } catch (CException* error) {
        error->Delete();
    } catch (...) {
        // An object's own Serialize may throw anything.
    }
    return false;
}

// What `store` puts into an archive; empty on failure.
template <typename Store>
std::vector<BYTE> Stored(Store store) {
    std::vector<BYTE> bytes;
    const bool succeeded = Succeeds([&] {
        CMemFile file(growBytes);
        CArchive archive(&file, CArchive::store | CArchive::bNoFlushOnDelete, archiveBuffer);
        store(archive);
        archive.Close();
        const ULONGLONG length = file.GetLength();
        if (length > UINT_MAX) {
            AfxThrowMemoryException();
        }
        bytes.resize(static_cast<size_t>(length));
        file.SeekToBegin();
        file.Read(bytes.data(), static_cast<UINT>(length));
    });
    if (!succeeded) {
        bytes.clear();
    }
    return bytes;
}

template <typename Store>
int WriteArchive(CFRegistry& target, LPCWSTR name, Store store) {
    if (target.m_bReadOnly) {
        return 0;
    }
    std::vector<BYTE> bytes = Stored(store);
    return !bytes.empty() && target.Write(name, bytes.data(), static_cast<UINT>(bytes.size()));
}

template <typename Load>
bool Loaded(BYTE* data, UINT size, Load load) {
    return Succeeds([&] {
        CMemFile file(data, size);
        CArchive archive(&file, CArchive::load | CArchive::bNoFlushOnDelete, archiveBuffer);
        load(archive);
    });
}

template <typename Load>
int ReadArchive(CFRegistry& source, LPCWSTR name, Load load) {
    BYTE* data = nullptr;
    UINT size = 0;
    if (!source.Read(name, &data, &size)) {
        return 0;
    }
    const std::unique_ptr<BYTE[]> owner(data);
    return Loaded(data, size, load);
}

// An object stands in a loaded list as often as it stood in the stored one, and is deleted once.
void DeleteObjects(CObList& list) {
    std::unordered_set<CObject*> known;
    std::vector<CObject*> objects;
    for (POSITION position = list.GetHeadPosition(); position;) {
        CObject* const object = list.GetNext(position);
        if (known.insert(object).second) {
            objects.push_back(object);
        }
    }
    list.RemoveAll();
    for (CObject* object : objects) {
        delete object;
    }
}

}  // namespace

// --- Writing ---

int CFRegistry::Write(LPCWSTR pszName, CObject* pObj) {
    return WriteArchive(*this, pszName, [&](CArchive& archive) { archive.WriteObject(pObj); });
}

int CFRegistry::Write(LPCWSTR pszName, CObject& obj) {
    return WriteArchive(*this, pszName, [&](CArchive& archive) { obj.Serialize(archive); });
}

int CFRegistry::Write(LPCWSTR pszName, CObList& list) {
    return Write(pszName, static_cast<CObject&>(list));
}

int CFRegistry::Write(LPCWSTR pszName, CByteArray& array) {
    return Write(pszName, static_cast<CObject&>(array));
}

int CFRegistry::Write(LPCWSTR pszName, CDWordArray& array) {
    return Write(pszName, static_cast<CObject&>(array));
}

int CFRegistry::Write(LPCWSTR pszName, CStringArray& array) {
    return Write(pszName, static_cast<CObject&>(array));
}

int CFRegistry::Write(LPCWSTR pszName, CStringList& list) {
    return Write(pszName, static_cast<CObject&>(list));
}

int CFRegistry::Write(LPCWSTR pszName, CWordArray& array) {
    return WriteArchive(*this, pszName, [&](CArchive& archive) {
        archive << static_cast<ULONGLONG>(array.GetSize());
        for (INT_PTR i = 0; i < array.GetSize(); ++i) {
            archive << array.GetAt(i);
        }
    });
}

int CFRegistry::Write(LPCWSTR pszName, const CRect& rect) {
    return WriteArchive(*this, pszName,
                        [&](CArchive& archive) { archive << rect.left << rect.top << rect.right << rect.bottom; });
}

int CFRegistry::Write(LPCWSTR pszName, POINT*& pPoint) {
    if (m_bReadOnly) {
        return 0;
    }
    if (!pPoint) {
        return Record(ERROR_INVALID_PARAMETER, pointType, pointSize);
    }
    const int written = WriteArchive(*this, pszName, [&](CArchive& archive) {
        CDWordArray numbers;
        numbers.SetSize(5);
        numbers.SetAt(0, static_cast<DWORD>(pPoint->x));
        numbers.SetAt(1, static_cast<DWORD>(pPoint->y));
        numbers.Serialize(archive);
    });
    m_dwLastType = pointType;
    m_dwLastSize = pointSize;
    return written;
}

// --- Reading ---

int CFRegistry::Read(LPCWSTR pszName, CObject*& pObj) {
    CObject* loaded = nullptr;
    if (!ReadArchive(*this, pszName, [&](CArchive& archive) { loaded = archive.ReadObject(nullptr); })) {
        return 0;
    }
    pObj = loaded;
    return 1;
}

int CFRegistry::Read(LPCWSTR pszName, CObject& obj) {
    return ReadArchive(*this, pszName, [&](CArchive& archive) { obj.Serialize(archive); });
}

int CFRegistry::Read(LPCWSTR pszName, CObList& list) {
    DeleteObjects(list);
    return Read(pszName, static_cast<CObject&>(list));
}

int CFRegistry::Read(LPCWSTR pszName, CByteArray& array) {
    array.SetSize(0);
    return Read(pszName, static_cast<CObject&>(array));
}

int CFRegistry::Read(LPCWSTR pszName, CDWordArray& array) {
    array.SetSize(0);
    return Read(pszName, static_cast<CObject&>(array));
}

int CFRegistry::Read(LPCWSTR pszName, CStringArray& array) {
    array.SetSize(0);
    return Read(pszName, static_cast<CObject&>(array));
}

int CFRegistry::Read(LPCWSTR pszName, CStringList& list) {
    list.RemoveAll();
    return Read(pszName, static_cast<CObject&>(list));
}

int CFRegistry::Read(LPCWSTR pszName, CWordArray& array) {
    array.SetSize(0);
    return ReadArchive(*this, pszName, [&](CArchive& archive) {
        int count = 0;
        archive >> count;
        // A count that the value cannot hold asks for no memory.
        const ULONGLONG room = (archive.GetFile()->GetLength() - sizeof count) / sizeof(WORD);
        if (count < 0 || static_cast<ULONGLONG>(count) > room) {
            AfxThrowArchiveException(CArchiveException::endOfFile);
        }
        array.SetSize(count);
        for (int i = 0; i < count; ++i) {
            archive >> array.ElementAt(i);
        }
    });
}

int CFRegistry::Read(LPCWSTR pszName, CRect& rect) {
    CRect loaded;
    if (!ReadArchive(*this, pszName, [&](CArchive& archive) {
            archive >> loaded.left >> loaded.top >> loaded.right >> loaded.bottom;
        })) {
        return 0;
    }
    rect = loaded;
    return 1;
}

int CFRegistry::Read(LPCWSTR pszName, POINT*& pPoint) {
    BYTE data[pointRoom];
    DWORD size = sizeof data;
    DWORD type = 0;
    const DWORD error = pPoint ? static_cast<DWORD>(::RegQueryValueExW(m_hKey, pszName, nullptr, &type, data, &size))
                               : ERROR_INVALID_PARAMETER;
    if (!Record(error, pointType, pointReadSize) || type != REG_BINARY) {
        return 0;
    }
    CDWordArray numbers;
    if (!Loaded(data, size, [&](CArchive& archive) { numbers.Serialize(archive); })) {
        return 0;
    }
    // Both are fetched, and may throw, before the point changes.
    const LONG x = static_cast<LONG>(numbers.GetAt(0));
    const LONG y = static_cast<LONG>(numbers.GetAt(1));
    pPoint->x = x;
    pPoint->y = y;
    return 1;
}

}  // namespace kvtfile
