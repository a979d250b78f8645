#pragma once

/// @file
/// Keys and values in the store, by the numbers of their keys. Rights, handles and predefined keys are others' matter.
///
/// Unless said otherwise, a function throws RegistryError when the store cannot do its work.

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "registry_database.h"
#include "wintypes.h"

namespace kvtwin {

/// The number of a key that holds nothing and cannot be written: a user without a hive in a store that is read-only.
constexpr std::int64_t kEmptyKey = -1;

constexpr size_t kDeepestLevel = 512;

/// What a handle shows: a key, and below HKEY_CLASSES_ROOT also the key that shows through it (else 0).
struct KeyView {
    std::int64_t key = 0;
    std::int64_t under = 0;
};

/// Where a walk over the indices of a key stands; of use only while the store's content stays as it is.
struct WalkPosition {
    bool valid = false;
    DWORD index = 0;
    std::uint64_t content = 0;
    std::string fold;           ///< Of the sub-key at the index.
    bool in_under = false;      ///< The value at the index is one of KeyView::under.
    std::int64_t position = 0;  ///< Of the value at the index.
};

struct SubKey {
    std::int64_t key = 0;
    std::string fold;
    std::u16string name;
};

struct ValueEntry {
    std::int64_t key = 0;
    std::int64_t position = 0;
    std::u16string name;
    DWORD type = 0;
    DWORD size = 0;
};

/// Whether a key is there.
bool KeyExists(RegistryDatabase& database, std::int64_t key);

/// The number of a sub-key, 0 when there is none.
std::int64_t FindSubKey(RegistryDatabase& database, std::int64_t parent, std::u16string_view name);

/// The key at the end of a path, 0 when there is none. `start` itself is not looked at.
std::int64_t FindKey(RegistryDatabase& database, std::int64_t start, std::span<const std::u16string_view> names);

/// A key's own name and its parent (0 for the root). @return false: no such key.
bool ReadKeyName(RegistryDatabase& database, std::int64_t key, std::int64_t& parent, std::u16string& name);

/// Makes a sub-key. REQUIRES: a write transaction; no sub-key of that name.
/// Throws ERROR_KEY_DELETED (no parent) and ERROR_INVALID_PARAMETER (too deep).
std::int64_t AddKey(RegistryDatabase& database, std::int64_t parent, std::u16string_view name,
                    std::u16string_view key_class);

/// Deletes a key with its values. REQUIRES: a write transaction. @return 0, ERROR_FILE_NOT_FOUND, or
/// ERROR_ACCESS_DENIED: it has sub-keys, or is one that must stay.
DWORD RemoveKey(RegistryDatabase& database, std::int64_t key);

/// Sub-key number `index` in the order of folded names. REQUIRES: a read transaction that has read something.
/// @return false: there are not so many.
bool SubKeyAt(RegistryDatabase& database, const KeyView& view, DWORD index, WalkPosition& walk, SubKey& result);

/// A key's class and the time of its last change. @return false: no such key.
bool ReadKeyClass(RegistryDatabase& database, std::int64_t key, std::u16string& key_class);
FILETIME LastWritten(RegistryDatabase& database, std::int64_t key);

struct SubKeyFigures {
    DWORD count = 0;
    DWORD longest_name = 0;
};
SubKeyFigures FiguresOfSubKeys(RegistryDatabase& database, const KeyView& view);
DWORD LongestSubKeyClass(RegistryDatabase& database, const KeyView& view);

struct ValueFigures {
    DWORD count = 0;
    DWORD longest_name = 0;
    DWORD longest_data = 0;
};
ValueFigures FiguresOfValues(RegistryDatabase& database, const KeyView& view);

/// A value's type and size; its bytes when `data` is there. @return false: no such value.
bool ReadValue(RegistryDatabase& database, std::int64_t key, std::u16string_view name, DWORD& type, DWORD& size,
               std::string* data);

/// Writes a value in one statement, which is a transaction by itself. Throws ERROR_KEY_DELETED.
void WriteValue(RegistryDatabase& database, std::int64_t key, std::u16string_view name, DWORD type,
                std::string_view data);

/// Deletes a value. REQUIRES: a write transaction. @return false: no such value.
bool RemoveValue(RegistryDatabase& database, std::int64_t key, std::u16string_view name);

/// Value number `index` in the order of creation, those of KeyView::under that are not hidden last.
/// REQUIRES: a read transaction that has read something. @return false: there are not so many.
bool ValueAt(RegistryDatabase& database, const KeyView& view, DWORD index, WalkPosition& walk, ValueEntry& result);
std::string ReadValueAt(RegistryDatabase& database, const ValueEntry& value);

}  // namespace kvtwin
