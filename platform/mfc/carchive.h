// CArchive: objects and values to and from a file, byte for byte in MFC's format.
#pragma once

#include "cfile.h"

#include <map>
#include <memory>
#include <vector>

namespace kvtmfc {

/// Stores values and objects into a file, or loads them from one, in the order in which they are given. All integers
/// are little-endian and stand without gaps. Use one object either for storing or for loading, in one thread, and Close
/// it before the file is used otherwise.
///
/// Errors are thrown as `CArchiveException*`: loading from a storing archive (writeOnly) or the reverse (readOnly),
/// data that ends too early (endOfFile), object numbers that were never given out (badIndex), classes that are unknown
/// or not what was asked for (badClass), other versions of a class (badSchema), objects nested deeper than 1000
/// (generic). File errors come as `CFileException*`. Lengths found in damaged data never reserve more memory than the
/// bytes that follow fill.
class KVTFILE_API CArchive {
public:
    enum Mode { store = 0, load = 1, bNoFlushOnDelete = 2, bNoByteSwap = 4 };

    /// `file` stays the caller's and must outlive the archive. `buffer`, when given, has `bufferSize` bytes and stays
    /// the caller's too.
    CArchive(CFile* file, UINT mode, int bufferSize = 4096, void* buffer = nullptr);
    /// Closes the archive unless bNoFlushOnDelete is set; a failure of that is not reported.
    ~CArchive();
    CArchive(const CArchive&) = delete;
    CArchive& operator=(const CArchive&) = delete;

    bool IsLoading() const { return (m_nMode & load) != 0; }
    bool IsStoring() const { return (m_nMode & load) == 0; }
    CFile* GetFile() const { return m_pFile; }

    /// Returns how many bytes were read; fewer than asked only at the end of the file.
    UINT Read(void* buffer, UINT count);
    void Write(const void* buffer, UINT count);
    /// Storing: writes the buffer to the file. Loading: gives bytes read ahead back, so that the file stands behind
    /// what was loaded.
    void Flush();
    /// Flushes and leaves the file. The archive cannot be used any more.
    void Close();
    /// Leaves the file without writing the buffer.
    void Abort();

    /// Reads a line of UTF-16 text without its break (LF or CR LF). FALSE: the data ended before any character.
    BOOL ReadString(CString& text);
    /// Writes the characters of a text and nothing else: no length, no NUL, no line break.
    void WriteString(LPCWSTR text);

    void WriteCount(DWORD_PTR count);
    DWORD_PTR ReadCount();

    /// Stores an object of a class made with IMPLEMENT_SERIAL (others: CNotSupportedException), once however often it
    /// is given; null too.
    void WriteObject(const CObject* object);
    /// Loads an object, the caller's to delete; the same pointer for the same stored object, null for a stored null.
    /// `requested`: the class it must be or derive from; null: any. An object whose loading fails is deleted.
    CObject* ReadObject(const CRuntimeClass* requested);
    void WriteClass(const CRuntimeClass* runtimeClass);
    CRuntimeClass* ReadClass(const CRuntimeClass* requested = nullptr, UINT* schema = nullptr,
                             DWORD* objectTag = nullptr);
    /// The version of the object being loaded, once per object; (UINT)-1 outside.
    UINT GetObjectSchema();
    void SetObjectSchema(UINT schema) { m_nObjectSchema = schema; }

    CArchive& operator<<(BYTE value) { return Put(&value, sizeof value); }
    CArchive& operator<<(char value) { return Put(&value, sizeof value); }
    CArchive& operator<<(bool value) { return *this << static_cast<BYTE>(value ? 1 : 0); }
    CArchive& operator<<(WORD value) { return Put(&value, sizeof value); }
    CArchive& operator<<(short value) { return Put(&value, sizeof value); }
    CArchive& operator<<(WCHAR value) { return Put(&value, sizeof value); }
    CArchive& operator<<(int value) { return Put(&value, sizeof value); }
    CArchive& operator<<(unsigned value) { return Put(&value, sizeof value); }
    CArchive& operator<<(LONGLONG value) { return Put(&value, sizeof value); }
    CArchive& operator<<(ULONGLONG value) { return Put(&value, sizeof value); }
    CArchive& operator<<(float value) { return Put(&value, sizeof value); }
    CArchive& operator<<(double value) { return Put(&value, sizeof value); }
    CArchive& operator<<(const CString& text);

    CArchive& operator>>(BYTE& value) { return Get(&value, sizeof value); }
    CArchive& operator>>(char& value) { return Get(&value, sizeof value); }
    CArchive& operator>>(bool& value);
    CArchive& operator>>(WORD& value) { return Get(&value, sizeof value); }
    CArchive& operator>>(short& value) { return Get(&value, sizeof value); }
    CArchive& operator>>(WCHAR& value) { return Get(&value, sizeof value); }
    CArchive& operator>>(int& value) { return Get(&value, sizeof value); }
    CArchive& operator>>(unsigned& value) { return Get(&value, sizeof value); }
    CArchive& operator>>(LONGLONG& value) { return Get(&value, sizeof value); }
    CArchive& operator>>(ULONGLONG& value) { return Get(&value, sizeof value); }
    CArchive& operator>>(float& value) { return Get(&value, sizeof value); }
    CArchive& operator>>(double& value) { return Get(&value, sizeof value); }
    CArchive& operator>>(CString& text);

#ifdef _WIN32
    // Here `long` is a type of its own with 32 bits; elsewhere its size is not that of the format.
    CArchive& operator<<(long value) {
        return Put(&value, sizeof value);
    }
    CArchive& operator<<(unsigned long value) {
        return Put(&value, sizeof value);
    }
    CArchive& operator>>(long& value) {
        return Get(&value, sizeof value);
    }
    CArchive& operator>>(unsigned long& value) {
        return Get(&value, sizeof value);
    }
#endif

    CObject* m_pDocument = nullptr;  ///< For the caller.
    CString m_strFileName;           ///< The file's path, for error texts.

private:
    /// What a number in a loaded archive stands for: a class or an object.
    struct LoadedItem {
        CRuntimeClass* runtimeClass;
        UINT schema;
        CObject* object;
    };

    CArchive& Put(const void* value, UINT size);
    CArchive& Get(void* value, UINT size);
    void RequireMode(bool loading) const;
    [[noreturn]] void Throw(int cause) const;
    void WriteUnits(WideView text);
    void WriteStringLength(ULONGLONG length);
    ULONGLONG ReadStringLength(UINT& unitSize);
    CRuntimeClass* ReadNewClass(UINT& schema);
    void WriteTag(DWORD index, bool isClass);
    DWORD NextIndex();

    CFile* m_pFile;
    UINT m_nMode;
    std::vector<BYTE> m_ownBuffer;
    BYTE* m_buffer;
    size_t m_bufferSize;
    size_t m_cursor = 0;  // storing: bytes held; loading: bytes taken
    size_t m_filled = 0;  // loading: bytes in the buffer
    UINT m_nObjectSchema = static_cast<UINT>(-1);
    int m_depth = 0;
    std::vector<LoadedItem> m_loaded;
    std::map<const void*, DWORD> m_stored;
    DWORD m_storedCount = 0;
};

KVTFILE_API CArchive& operator<<(CArchive& ar, POINT point);
KVTFILE_API CArchive& operator>>(CArchive& ar, POINT& point);
KVTFILE_API CArchive& operator<<(CArchive& ar, SIZE size);
KVTFILE_API CArchive& operator>>(CArchive& ar, SIZE& size);
KVTFILE_API CArchive& operator<<(CArchive& ar, const RECT& rect);
KVTFILE_API CArchive& operator>>(CArchive& ar, RECT& rect);

inline CArchive& operator<<(CArchive& ar, const CObject* object) {
    ar.WriteObject(object);
    return ar;
}

/// Loads an object of whatever class is stored.
inline CArchive& operator>>(CArchive& ar, CObject*& object) {
    object = ar.ReadObject(nullptr);
    return ar;
}

}  // namespace kvtmfc
