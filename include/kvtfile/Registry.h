#pragma once

/// @file
/// The registry: one key at a time with typed values and whole objects (`CFRegistry`), a bare key of texts (`CKey`),
/// and one text value in one call (`GetRegKeyValue`, `SetRegKeyValue`).

#include "kvtfile/export.h"
#include "kvtfile/types.h"

namespace kvtfile {

/// A current key of the registry, with typed values and whole objects under it.
///
/// Every operation acts relative to the current key, which the constructor sets to a hive's root, and returns 1 for
/// success and 0 for failure. Most record a status: `m_lLastError`, `m_dwLastType` and `m_dwLastSize`; what each
/// records stands with it, and an operation that says nothing of the status leaves it alone.
///
/// Paths: components parted by backslashes. One backslash at the end is dropped, nothing else is changed; a null path
/// is an empty one, which means the current key itself. A backslash at the beginning is refused by the system (error
/// 161). Names ignore letter case; a null or empty value name means the key's unnamed value.
///
/// Numbers and archives are stored little-endian, texts as UTF-16LE; objects in the form of `CArchive`. An object whose
/// `Serialize` throws anything ends the operation with 0; nothing passes on to the caller but what `Read` of a point
/// says, and exhausted memory outside of archives. The operations call the simpler ones through these virtual
/// functions, so that overriding a primitive changes all that stand on it: collections are written by `Write(name,
/// CObject&)`, what is stored as bytes by `Write(name, BYTE*, UINT)`, and read by `Read(name, BYTE**, UINT*)`.
///
/// Not copyable; one object is used by one thread at a time. The registry itself may be used by many at once.
class KVTFILE_API CFRegistry : public CObject {
    DECLARE_DYNCREATE(CFRegistry)

public:
    /// @param bLocalMachine Non-zero: the current key is HKEY_LOCAL_MACHINE; 0: HKEY_CURRENT_USER.
    /// @param bReadOnly Non-zero: every Write, CreateKey and DeleteKey returns 0 at once, the registry and the status
    ///     untouched, and Open and VerifyKey ask for read access alone.
    explicit CFRegistry(int bLocalMachine = 1, int bReadOnly = 0);
    /// Closes the current key.
    ~CFRegistry() override;

    // --- Keys ------------------------------------------------------------------------------------------------------

    /// Makes `hKey` the current key, and this object's to close. The previous key is not closed.
    virtual void SetHKey(HKEY hKey);
    /// Appends the names of the current key's values, in the order of enumeration, up to the first that cannot be had
    /// (a name longer than 1023 characters ends the listing).
    /// @return 0: there was not even a first one, for whatever reason; the array is unchanged.
    virtual int ReadKeyValues(CStringArray& arrValues);
    /// @return 1: the key can be opened, for reading when this object is read-only, for everything otherwise.
    /// Status: error; type and size 0.
    virtual int VerifyKey(LPCWSTR pszPath);
    /// @return 1: the current key has this value.
    /// Status: error; type and size 0.
    virtual int VerifyValue(LPCWSTR pszName);
    /// Opens a key beneath the current one for everything, made with all keys above it when it does not exist, and
    /// makes it the current key. The previous key is not closed; on failure it stays current. Status: error; type and
    /// size 0.
    virtual int CreateKey(LPCWSTR pszPath);
    /// Opens a key beneath the current one and makes it the current key, so that successive calls descend. The previous
    /// key is not closed; on failure it stays current. `m_strPath` becomes the path as given, on failure too.
    /// Status: error; type and size 0.
    virtual int Open(LPCWSTR pszPath);
    /// Closes the current key and sets it to null, unless it is null.
    virtual void Close();
    /// Deletes a value, whether or not this object is read-only: `m_bReadOnly` is not asked. (A key that was opened for
    /// reading refuses it all the same: error 5.)
    /// Status: error; type and size 0.
    virtual int DeleteValue(LPCWSTR pszName);
    /// Deletes a key beneath the current one with all that is in it. When a key on the way cannot be deleted, those
    /// deleted before stay so. An empty path (or a backslash alone) is refused: the current key itself, which may be a
    /// whole hive, is never deleted. Each key costs one call of this function.
    /// @param nFlag Handed on to the calls for the sub-keys; it changes nothing.
    /// Status: error of the deletion, type and size 0; nothing when the key cannot be opened or the path is empty.
    virtual int DeleteKey(LPCWSTR pszPath, int nFlag);

    // --- Writing: all return 0 at once when this object is read-only -----------------------------------------------

    /// REG_BINARY: class record and object, as CArchive::WriteObject stores them (null too). The object stays the
    /// caller's.
    /// @return 0 also when the class cannot be stored or its Serialize throws; the status is then left alone.
    /// Status: as Write of bytes.
    virtual int Write(LPCWSTR pszName, CObject* pObj);
    /// REG_BINARY: what the object's Serialize stores.
    /// @return 0 also when Serialize throws or stores no byte; the status is then left alone.
    /// Status: as Write of bytes.
    virtual int Write(LPCWSTR pszName, CObject& obj);
    /// As Write(pszName, CObject&): count, then class record and object each.
    virtual int Write(LPCWSTR pszName, CObList& list);
    /// REG_BINARY of the bytes as they are.
    /// Status: error; type 3; size `nLength`.
    virtual int Write(LPCWSTR pszName, BYTE* pData, UINT nLength);
    /// REG_BINARY of 22 bytes: a stored CDWordArray of [x, y, 0, 0, 0].
    /// @return 0 also when the pointer is null (error 87).
    /// Status: error; type 2; size 22.
    virtual int Write(LPCWSTR pszName, POINT*& pPoint);
    /// REG_BINARY of 16 bytes: left, top, right, bottom, 32 bits each.
    /// Status: as Write of bytes.
    virtual int Write(LPCWSTR pszName, const CRect& rect);
    /// REG_BINARY: the count in 8 bytes, then 2 bytes an element. Read of a CWordArray expects another form, see there.
    /// Status: as Write of bytes.
    virtual int Write(LPCWSTR pszName, CWordArray& array);
    /// As Write(pszName, CObject&): count, then 4 bytes an element.
    virtual int Write(LPCWSTR pszName, CDWordArray& array);
    /// As Write(pszName, CObject&): count, then each text.
    virtual int Write(LPCWSTR pszName, CStringArray& array);
    /// As Write(pszName, CObject&): count, then the bytes.
    virtual int Write(LPCWSTR pszName, CByteArray& array);
    /// As Write(pszName, CObject&): count, then each text.
    virtual int Write(LPCWSTR pszName, CStringList& list);
    /// REG_SZ: the text with its NUL. A null text is refused by the system.
    /// Status: error; type 1; size in characters with the NUL.
    virtual int Write(LPCWSTR pszName, LPCWSTR pszText);
    /// REG_DWORD. The status is left alone.
    virtual int Write(LPCWSTR pszName, DWORD dwValue);
    /// REG_DWORD.
    /// Status: error; type 4; size 4.
    virtual int Write(LPCWSTR pszName, int nValue);

    // --- Reading: whether or not this object is read-only ----------------------------------------------------------

    /// Loads an object stored by Write(name, CObject*), the caller's to delete; null when a null was stored. On failure
    /// `pObj` is what it was.
    /// @return 0 also when the data is damaged or names a class that no loaded module can make.
    /// Status: as Read of bytes.
    virtual int Read(LPCWSTR pszName, CObject*& pObj);
    /// Loads the object through its Serialize. On failure it holds what was loaded up to there.
    /// @return 0 also when the data is damaged.
    /// Status: as Read of bytes.
    virtual int Read(LPCWSTR pszName, CObject& obj);
    /// Deletes the objects in the list (one that stands in it twice, once) and empties it, then as
    /// Read(pszName, CObject&). The objects loaded are the caller's to delete; after a failure, those loaded up to
    /// there.
    virtual int Read(LPCWSTR pszName, CObList& list);
    /// The value's bytes, of whatever type. The memory is the caller's, to be released by `delete[]`; null for an empty
    /// value, and on failure.
    /// @param ppData, pnLength Neither may be null (error 87).
    /// Status: error; type 3 always; size the length.
    virtual int Read(LPCWSTR pszName, BYTE** ppData, UINT* pnLength);
    /// The first 16 bytes. On failure, also when there are fewer, `rect` is what it was.
    /// Status: as Read of bytes.
    virtual int Read(LPCWSTR pszName, CRect& rect);
    /// Element 0 and 1 of a stored CDWordArray, from a REG_BINARY value of at most 20 bytes. The 22 bytes of
    /// Write(name, POINT*&) are longer: reading them fails with error 234. On failure the point is what it was.
    /// Throws `CInvalidArgException*` when the array has fewer than two elements.
    /// @return 0 also when the value is of another type or damaged, or the pointer is null (error 87).
    /// Status: error; type 2 and size 8 always.
    virtual int Read(LPCWSTR pszName, POINT*& pPoint);
    /// Empties the array, then as Read(pszName, CObject&).
    virtual int Read(LPCWSTR pszName, CByteArray& array);
    /// Empties the array, then reads a count of 4 bytes and 2 bytes an element. What Write(name, CWordArray&) stores
    /// has a count of 8 bytes, the upper half of which comes out as the first two elements: [a, b, c] is read as [0, 0,
    /// a].
    /// @return 0 also when the value holds fewer elements than it counts, or a negative count; the array is then empty.
    /// Status: as Read of bytes.
    virtual int Read(LPCWSTR pszName, CWordArray& array);
    /// Empties the array, then as Read(pszName, CObject&).
    virtual int Read(LPCWSTR pszName, CDWordArray& array);
    /// Empties the array, then as Read(pszName, CObject&).
    virtual int Read(LPCWSTR pszName, CStringArray& array);
    /// Empties the list, then as Read(pszName, CObject&).
    virtual int Read(LPCWSTR pszName, CStringList& list);
    /// The value's bytes as text, of whatever type, up to the first NUL or 1023 characters (CKey reads longer ones); an
    /// odd last byte is left out. Empty on failure; an empty value is read as the empty text.
    /// Status: error; the value's type; its whole size in bytes.
    virtual int Read(LPCWSTR pszName, CString& strText);
    /// A value of whatever type with at most 4 bytes, filled up with zeros; longer ones fail with error 234. On failure
    /// the target is what it was.
    /// Status: error; the value's type; its size in bytes (both 0 when there is no value).
    virtual int Read(LPCWSTR pszName, DWORD& dwValue);
    /// The same bytes taken as a signed number.
    virtual int Read(LPCWSTR pszName, int& nValue);
    /// Appends the names of the current key's sub-keys, in the order of enumeration, up to the first that cannot be
    /// had.
    /// @return 0: there are none; the array is unchanged. Another error than that before the first one gives 1.
    virtual int ReadSubKeys(CStringArray& arrKeys);

    LONG m_lLastError = 0;   ///< System error code of the last operation that records a status; 0: success.
    DWORD m_dwLastType = 0;  ///< Value type as the last operation recorded it.
    DWORD m_dwLastSize = 0;  ///< Size as the last operation recorded it, in bytes or characters.
    HKEY m_hKey;             ///< The current key; null: none.
    int m_bLocalMachine;     ///< As given to the constructor.
    CString m_strPath;       ///< As last given to Open.
    int m_bReadOnly;         ///< As given to the constructor.
    int m_nReserved = 0;     ///< Not used by this class.

private:
    REGSAM OpenAccess() const;
    int Record(DWORD dwError, DWORD dwType, DWORD dwSize);
};

/// An open key with texts. One object is used by one thread at a time.
class KVTFILE_API CKey {
public:
    /// No key.
    CKey() = default;
    /// Close.
    ~CKey();
    /// Copies the handle itself: two objects then hold one key, and the first to close it closes it for both.
    CKey(const CKey& other) = default;
    CKey& operator=(const CKey& other) = default;

    /// Opens a key for reading. A key held before is not closed; on failure it stays.
    /// @return 1 on success, else 0.
    int Open(HKEY hParent, LPCWSTR pszSubKey);
    /// Opens a key for everything, made with all keys above it when it does not exist. A key held before is not closed;
    /// on failure it stays.
    /// @return The system error code: 0 on success.
    int Create(HKEY hParent, LPCWSTR pszSubKey);
    /// Closes the key and sets it to null, unless it is null.
    void Close();
    /// A value's bytes as text, of whatever type and length, up to the first NUL; an odd last byte is left out.
    /// @param pszName Null is refused; empty means the unnamed value.
    /// @return 1 on success, else 0 and `strText` is what it was.
    int GetStringValue(CString& strText, LPCWSTR pszName);
    /// Stores a text as REG_SZ. The text comes first, the name behind it; a null or empty name means the unnamed value,
    /// a null text is refused.
    /// @return 1 on success, else 0.
    int SetStringValue(LPCWSTR pszText, LPCWSTR pszName);
    /// The name of a sub-key by its index in the order of enumeration.
    /// @return 1 on success, else 0 and `strKey` is what it was.
    int GetRegEnumKey(CString& strKey, int nIndex);

    HKEY m_hKey = nullptr;  ///< The key; null: none.
};

/// Reads a text value as CKey::GetStringValue does.
/// @return 1 on success, else 0 and `strValue` is what it was.
KVTFILE_API int GetRegKeyValue(HKEY hRoot, LPCWSTR pszSubKey, CString& strValue, LPCWSTR pszValueName);

/// Stores a text value as REG_SZ under a key, which is made when it does not exist. When beneath that key there is one
/// with the same path again, that one receives the value.
/// @param hRoot Stays the caller's, open.
/// @return 1 on success, else 0.
KVTFILE_API int SetRegKeyValue(HKEY hRoot, LPCWSTR pszSubKey, CString strValue, LPCWSTR pszValueName);

}  // namespace kvtfile
