#pragma once

// The registry calls of the system as the classes of this folder use them: results only on success, a name or a value
// whole, and the error code as the result.

#include <memory>

#include "kvtfile/types.h"

namespace kvtfile::registry {

/// Query values, enumerate sub-keys, be notified: what reading needs and no more.
constexpr REGSAM readAccess = 0x19;
constexpr REGSAM fullAccess = 0xF003F;

/// Names of keys and values are read into a buffer of this many units, the NUL among them.
constexpr DWORD nameRoom = 1024;

/// `key` is set on success alone; a null path is an empty one.
DWORD OpenKey(HKEY parent, LPCWSTR path, REGSAM access, HKEY& key);
/// Opens for everything, or makes, a key that outlives the session.
DWORD CreateKey(HKEY parent, LPCWSTR path, HKEY& key);
/// The name of a sub-key by its index.
DWORD EnumKey(HKEY key, DWORD index, CString& name);
/// The name of a value by its index.
DWORD EnumValue(HKEY key, DWORD index, CString& name);
DWORD WriteValue(HKEY key, LPCWSTR name, DWORD type, const void* data, DWORD size);

/// A value as it is stored; on failure all but the error is 0.
struct Value {
    DWORD error = ERROR_SUCCESS;
    DWORD type = 0;
    DWORD size = 0;                ///< In bytes.
    std::unique_ptr<BYTE[]> data;  ///< Null when the size is 0.

    /// The bytes as text up to the first NUL, or `maxLength` units.
    CString Text(DWORD maxLength = 0xFFFFFFFF) const;
};

/// Reads a value of any size, one that grows meanwhile too. Throws nothing: memory that is exhausted is error 8.
Value ReadValue(HKEY key, LPCWSTR name);
/// Writes a text with its NUL, and gives its length with the NUL. A null text is left for the system to refuse.
DWORD WriteText(HKEY key, LPCWSTR name, LPCWSTR text, DWORD& length);

}  // namespace kvtfile::registry
