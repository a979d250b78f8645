// CArray and the arrays made from it: elements in a row, found by index.
#pragma once

#include "carchive.h"

#include <algorithm>
#include <new>
#include <stdexcept>
#include <type_traits>
#include <vector>

namespace kvtmfc {

/// Stores or loads `count` elements of an array. This form copies their memory as it stands, which only works for types
/// without pointers. Types with strings or other parts of their own (not trivially copyable) are refused with
/// `CNotSupportedException*`: give them a specialisation, or an overload in the namespace of the type, before the array
/// is used.
template <typename TYPE>
void SerializeElements([[maybe_unused]] CArchive& ar, [[maybe_unused]] TYPE* elements, [[maybe_unused]] INT_PTR count) {
    if constexpr (!std::is_trivially_copyable_v<TYPE>) {
        AfxThrowNotSupportedException();
    } else {
        constexpr INT_PTR part = 0x10000000 / static_cast<INT_PTR>(sizeof(TYPE)) + 1;
        while (count > 0) {
            const INT_PTR now = std::min(count, part);
            const UINT bytes = static_cast<UINT>(static_cast<size_t>(now) * sizeof(TYPE));
            if (ar.IsStoring()) {
                ar.Write(elements, bytes);
            } else if (ar.Read(elements, bytes) != bytes) {
                AfxThrowArchiveException(CArchiveException::endOfFile, ar.m_strFileName);
            }
            elements += now;
            count -= now;
        }
    }
}

template <>
KVTFILE_API void SerializeElements<CString>(CArchive& ar, CString* elements, INT_PTR count);

/// An array that grows. An index that is out of range throws `CInvalidArgException*`, memory that is exhausted
/// `CMemoryException*`; the array is then as it was. Add is amortised O(1). Pointers and references to elements hold
/// until the size changes.
template <typename TYPE, typename ARG_TYPE = const TYPE&>
class CArray : public CObject {
public:
    static_assert(!std::is_same_v<TYPE, bool>, "elements of this type have no address of their own; use BYTE or BOOL");

    CArray() = default;

    INT_PTR GetSize() const { return static_cast<INT_PTR>(m_items.size()); }
    INT_PTR GetCount() const { return GetSize(); }
    bool IsEmpty() const { return m_items.empty(); }
    INT_PTR GetUpperBound() const { return GetSize() - 1; }
    /// Cuts the array, or lengthens it with default elements. `growBy` is taken for compatibility and has no effect.
    void SetSize(INT_PTR size, INT_PTR growBy = -1) {
        Require(size >= 0 && growBy >= -1);
        Guarded([&] { m_items.resize(static_cast<size_t>(size)); });
    }
    void FreeExtra() {
        Guarded([&] { m_items.shrink_to_fit(); });
    }
    void RemoveAll() { std::vector<TYPE>().swap(m_items); }

    const TYPE& GetAt(INT_PTR index) const { return m_items[Checked(index)]; }
    TYPE& GetAt(INT_PTR index) { return m_items[Checked(index)]; }
    TYPE& ElementAt(INT_PTR index) { return m_items[Checked(index)]; }
    const TYPE& ElementAt(INT_PTR index) const { return m_items[Checked(index)]; }
    const TYPE& operator[](INT_PTR index) const { return m_items[Checked(index)]; }
    TYPE& operator[](INT_PTR index) { return m_items[Checked(index)]; }
    void SetAt(INT_PTR index, ARG_TYPE element) { m_items[Checked(index)] = element; }
    /// Null when the array is empty.
    const TYPE* GetData() const { return m_items.empty() ? nullptr : m_items.data(); }
    TYPE* GetData() { return m_items.empty() ? nullptr : m_items.data(); }

    /// Sets an element, lengthening the array with default elements when it is too short.
    void SetAtGrow(INT_PTR index, ARG_TYPE element) {
        Require(index >= 0);
        Guarded([&] {
            TYPE copy(element);
            if (index >= GetSize()) {
                m_items.resize(static_cast<size_t>(index) + 1);
            }
            m_items[static_cast<size_t>(index)] = std::move(copy);
        });
    }
    /// Returns the index of the new element.
    INT_PTR Add(ARG_TYPE element) {
        Guarded([&] { m_items.push_back(element); });
        return GetUpperBound();
    }
    /// Returns the index of the first element added.
    INT_PTR Append(const CArray& source) {
        Require(this != &source);
        const INT_PTR first = GetSize();
        Guarded([&] { m_items.insert(m_items.end(), source.m_items.begin(), source.m_items.end()); });
        return first;
    }
    void Copy(const CArray& source) {
        if (this != &source) {
            Guarded([&] { m_items = source.m_items; });
        }
    }
    /// Inserts copies of an element; behind the end the gap is filled with default elements.
    void InsertAt(INT_PTR index, ARG_TYPE element, INT_PTR count = 1) {
        Require(index >= 0 && count > 0);
        Guarded([&] {
            const TYPE copy(element);
            if (index > GetSize()) {
                m_items.resize(static_cast<size_t>(index));
            }
            m_items.insert(m_items.begin() + index, static_cast<size_t>(count), copy);
        });
    }
    void InsertAt(INT_PTR index, const CArray* source) {
        Require(index >= 0 && source && source != this);
        Guarded([&] {
            if (source->IsEmpty()) {
                return;
            }
            if (index > GetSize()) {
                m_items.resize(static_cast<size_t>(index));
            }
            m_items.insert(m_items.begin() + index, source->m_items.begin(), source->m_items.end());
        });
    }
    void RemoveAt(INT_PTR index, INT_PTR count = 1) {
        Require(index >= 0 && count >= 0 && index <= GetSize() && count <= GetSize() - index);
        m_items.erase(m_items.begin() + index, m_items.begin() + index + count);
    }

    /// The count, then the elements through SerializeElements. Loading replaces the content; when the data ends too
    /// early the elements that were loaded whole blocks before stay, and the archive's exception goes on.
    void Serialize(CArchive& ar) override {
        CObject::Serialize(ar);
        if (ar.IsStoring()) {
            ar.WriteCount(static_cast<DWORD_PTR>(GetSize()));
            SerializeElements(ar, GetData(), GetSize());
            return;
        }
        DWORD_PTR left = ar.ReadCount();
        RemoveAll();
        // Block by block, each at most as long as what was there to be read before it.
        while (left != 0) {
            const size_t first = m_items.size();
            const size_t count = std::min<size_t>(left, std::max<size_t>(first, 1024));
            Guarded([&] { m_items.resize(first + count); });
            try {
                SerializeElements(ar, m_items.data() + first, static_cast<INT_PTR>(count));
            } catch (...) {
                m_items.resize(first);
                throw;
            }
            left -= count;
        }
    }

private:
    static void Require(bool condition) {
        if (!condition) {
            AfxThrowInvalidArgException();
        }
    }
    size_t Checked(INT_PTR index) const {
        Require(index >= 0 && index < GetSize());
        return static_cast<size_t>(index);
    }
    template <typename Work>
    static void Guarded(Work work) {
        try {
            work();
        } catch (const std::bad_alloc&) {
            AfxThrowMemoryException();
        } catch (const std::length_error&) {
            AfxThrowMemoryException();
        }
    }

    std::vector<TYPE> m_items;
};

class KVTFILE_API CStringArray : public CArray<CString, const CString&> {
    DECLARE_SERIAL(CStringArray)
};

class KVTFILE_API CByteArray : public CArray<BYTE, BYTE> {
    DECLARE_SERIAL(CByteArray)
};

class KVTFILE_API CWordArray : public CArray<WORD, WORD> {
    DECLARE_SERIAL(CWordArray)
};

class KVTFILE_API CDWordArray : public CArray<DWORD, DWORD> {
    DECLARE_SERIAL(CDWordArray)
};

/// Pointers to objects of the caller's; storing goes through CArchive::WriteObject, and loaded objects are the caller's
/// to delete.
class KVTFILE_API CObArray : public CArray<CObject*, CObject*> {
    DECLARE_SERIAL(CObArray)

public:
    void Serialize(CArchive& ar) override;
};

}  // namespace kvtmfc
