// Keys and values as rows. Every function is a few statements, each a walk down an index.
//
// Invariants: `subkeys` of a key is the number of the rows that have it as their parent; numbers of keys are never used
// again, so that a handle of a deleted key finds nothing.

#include "registry_store.h"

#include "registry_names.h"
#include "registry_schema.h"
#include "winapi.h"

namespace kvtwin {

namespace {

constexpr char kKeyExists[] = "SELECT 1 FROM key WHERE id = ?1";
constexpr char kFindSubKey[] = "SELECT id FROM key WHERE parent = ?1 AND fold = ?2";
constexpr char kKeyName[] = "SELECT parent, name FROM key WHERE id = ?1";
constexpr char kKeyLevel[] = "SELECT level FROM key WHERE id = ?1";
constexpr char kAddKey[] =
    "INSERT INTO key (parent, fold, name, class, level, written) VALUES (?1, ?2, ?3, ?4, ?5, ?6) RETURNING id";
constexpr char kCountSubKey[] = "UPDATE key SET subkeys = subkeys + ?2, written = ?3 WHERE id = ?1";
constexpr char kKeyToRemove[] = "SELECT parent, subkeys FROM key WHERE id = ?1";
constexpr char kRemoveValues[] = "DELETE FROM value WHERE key = ?1";
constexpr char kRemoveKey[] = "DELETE FROM key WHERE id = ?1";
constexpr char kNextSubKey[] = "SELECT id, fold, name FROM key WHERE parent = ?1 AND fold > ?2 ORDER BY fold LIMIT 1";
constexpr char kSubKeyNumber[] = "SELECT id, fold, name FROM key WHERE parent = ?1 ORDER BY fold LIMIT 1 OFFSET ?2";
constexpr char kKeyClass[] = "SELECT class FROM key WHERE id = ?1";
constexpr char kLastWritten[] =
    "SELECT max(written, (SELECT coalesce(max(written), 0) FROM value WHERE key = ?1)) FROM key WHERE id = ?1";
constexpr char kSubKeyCount[] = "SELECT subkeys FROM key WHERE id = ?1";
constexpr char kLongestSubKey[] = "SELECT length(name) FROM key WHERE parent = ?1 ORDER BY length(name) DESC LIMIT 1";
constexpr char kMergedSubKeys[] =
    "SELECT count(DISTINCT fold), coalesce(max(length(name)), 0) FROM key WHERE parent IN (?1, ?2)";
constexpr char kLongestClass[] = "SELECT coalesce(max(length(class)), 0) FROM key WHERE parent IN (?1, ?2)";
constexpr char kValueFigures[] =
    "SELECT count(*), coalesce(max(length(name)), 0), coalesce(max(length(data)), 0) FROM value WHERE key IN (?1, ?2) "
    "AND (key = ?1 OR NOT EXISTS (SELECT 1 FROM value AS upper WHERE upper.key = ?1 AND upper.fold = value.fold))";
constexpr char kValueSize[] = "SELECT type, length(data) FROM value WHERE key = ?1 AND fold = ?2";
constexpr char kValue[] = "SELECT type, data FROM value WHERE key = ?1 AND fold = ?2";
constexpr char kWriteValue[] =
    "INSERT INTO value (key, position, fold, name, type, data, written) "
    "VALUES (?1, (SELECT coalesce(max(position), 0) + 1 FROM value WHERE key = ?1), ?2, ?3, ?4, ?5, ?6) "
    "ON CONFLICT (key, fold) DO UPDATE SET type = excluded.type, data = excluded.data, written = excluded.written";
constexpr char kRemoveValue[] = "DELETE FROM value WHERE key = ?1 AND fold = ?2 RETURNING 1";
constexpr char kTouchKey[] = "UPDATE key SET written = ?2 WHERE id = ?1";
constexpr char kNextValue[] =
    "SELECT position, name, type, length(data) FROM value WHERE key = ?1 AND position > ?2 "
    "AND NOT EXISTS (SELECT 1 FROM value AS upper WHERE upper.key = ?3 AND upper.fold = value.fold) "
    "ORDER BY position LIMIT 1";
constexpr char kValueNumber[] =
    "SELECT position, name, type, length(data) FROM value WHERE key = ?1 ORDER BY position LIMIT 1 OFFSET ?2";
constexpr char kValueAt[] = "SELECT data FROM value WHERE key = ?1 AND position = ?2";

std::int64_t Now() {
    FILETIME time;
    ::GetSystemTimeAsFileTime(&time);
    return static_cast<std::int64_t>(static_cast<ULONGLONG>(time.dwHighDateTime) << 32 | time.dwLowDateTime);
}

constexpr DWORD Characters(std::int64_t bytes) {
    return static_cast<DWORD>(static_cast<size_t>(bytes) / sizeof(WCHAR));
}

// Callers go down by the names they are given: one that is no part of a path would lead them elsewhere, or nowhere else
// for ever.
SubKey SubKeyOf(const Statement& row) {
    SubKey found = {row.Number(0), std::string(row.Bytes(1)), row.Name(2)};
    if (found.name.empty() || found.name.find_first_of(std::u16string_view(u"\\\0", 2)) != std::u16string::npos) {
        throw RegistryError{ERROR_REGISTRY_CORRUPT};
    }
    return found;
}

// The first sub-key behind a name; of two of the same name the one of `view.key`.
bool NextSubKey(RegistryDatabase& database, const KeyView& view, std::string_view after, SubKey& result) {
    bool found = false;
    for (const std::int64_t parent : {view.key, view.under}) {
        if (parent == 0) {
            continue;
        }
        Statement next(database, kNextSubKey);
        if (next.Bind(parent).Bind(after).Step() && (!found || next.Bytes(1) < result.fold)) {
            result = SubKeyOf(next);
            found = true;
        }
    }
    return found;
}

void ReadEntry(const Statement& row, std::int64_t key, ValueEntry& result) {
    result.key = key;
    result.position = row.Number(0);
    result.name = row.Name(1);
    result.type = static_cast<DWORD>(row.Number(2));
    result.size = static_cast<DWORD>(row.Number(3));
}

// The first value behind one; `result` is that one, or has position 0 before the first.
bool NextValue(RegistryDatabase& database, const KeyView& view, bool& in_under, ValueEntry& result) {
    if (!in_under) {
        Statement next(database, kNextValue);
        if (next.Bind(view.key).Bind(result.position).Bind(std::int64_t{0}).Step()) {
            ReadEntry(next, view.key, result);
            return true;
        }
        in_under = true;
        result.position = 0;
    }
    if (view.under == 0) {
        return false;
    }
    Statement next(database, kNextValue);
    if (!next.Bind(view.under).Bind(result.position).Bind(view.key).Step()) {
        return false;
    }
    ReadEntry(next, view.under, result);
    return true;
}

}  // namespace

// ---- Keys -------------------------------------------------------------------------------------------------------

bool KeyExists(RegistryDatabase& database, std::int64_t key) {
    return key == kEmptyKey || Statement(database, kKeyExists).Bind(key).Step();
}

std::int64_t FindSubKey(RegistryDatabase& database, std::int64_t parent, std::u16string_view name) {
    const std::string fold = FoldName(name);
    Statement find(database, kFindSubKey);
    return find.Bind(parent).Bind(fold).Step() ? find.Number(0) : 0;
}

std::int64_t FindKey(RegistryDatabase& database, std::int64_t start, std::span<const std::u16string_view> names) {
    if (names.size() > kDeepestLevel) {
        return 0;  // so deep stands nothing but a key of a damaged store that leads to itself
    }
    std::int64_t key = start;
    for (const std::u16string_view name : names) {
        key = FindSubKey(database, key, name);
        if (key == 0) {
            break;
        }
    }
    return key;
}

bool ReadKeyName(RegistryDatabase& database, std::int64_t key, std::int64_t& parent, std::u16string& name) {
    Statement read(database, kKeyName);
    if (!read.Bind(key).Step()) {
        return false;
    }
    parent = read.Number(0);
    name = read.Name(1);
    return true;
}

std::int64_t AddKey(RegistryDatabase& database, std::int64_t parent, std::u16string_view name,
                    std::u16string_view key_class) {
    std::int64_t level = 0;
    {
        Statement read(database, kKeyLevel);
        if (!read.Bind(parent).Step()) {
            throw RegistryError{ERROR_KEY_DELETED};
        }
        level = read.Number(0) + 1;
    }
    if (level > std::int64_t{kDeepestLevel}) {
        throw RegistryError{ERROR_INVALID_PARAMETER};
    }
    const std::int64_t now = Now();
    const std::string fold = FoldName(name);
    std::int64_t key = 0;
    {
        Statement add(database, kAddKey);
        add.Bind(parent).Bind(fold).Bind(name).Bind(key_class).Bind(level).Bind(now);
        while (add.Step()) {
            key = add.Number(0);
        }
    }
    Statement(database, kCountSubKey).Bind(parent).Bind(std::int64_t{1}).Bind(now).Step();
    return key;
}

DWORD RemoveKey(RegistryDatabase& database, std::int64_t key) {
    std::int64_t parent = 0;
    {
        Statement read(database, kKeyToRemove);
        if (!read.Bind(key).Step()) {
            return ERROR_FILE_NOT_FOUND;
        }
        parent = read.Number(0);
        if (read.Number(1) != 0 || key <= kLastFixedKey || parent == kUsersKey) {
            return ERROR_ACCESS_DENIED;
        }
    }
    Statement(database, kRemoveValues).Bind(key).Step();
    Statement(database, kRemoveKey).Bind(key).Step();
    Statement(database, kCountSubKey).Bind(parent).Bind(std::int64_t{-1}).Bind(Now()).Step();
    return ERROR_SUCCESS;
}

bool SubKeyAt(RegistryDatabase& database, const KeyView& view, DWORD index, WalkPosition& walk, SubKey& result) {
    const std::uint64_t content = database.ContentVersion();
    bool found = false;
    if (walk.valid && walk.content == content && walk.index + 1 == index) {
        found = NextSubKey(database, view, walk.fold, result);
    } else if (view.under == 0) {
        Statement number(database, kSubKeyNumber);
        found = number.Bind(view.key).Bind(std::int64_t{index}).Step();
        if (found) {
            result = SubKeyOf(number);
        }
    } else {
        found = NextSubKey(database, view, {}, result);
        for (DWORD i = 0; found && i < index; ++i) {
            found = NextSubKey(database, view, std::string(result.fold), result);
        }
    }
    walk.valid = found;
    if (found) {
        walk.index = index;
        walk.content = content;
        walk.fold = result.fold;
    }
    return found;
}

bool ReadKeyClass(RegistryDatabase& database, std::int64_t key, std::u16string& key_class) {
    Statement read(database, kKeyClass);
    if (!read.Bind(key).Step()) {
        return false;
    }
    key_class = read.Name(0);
    return true;
}

FILETIME LastWritten(RegistryDatabase& database, std::int64_t key) {
    Statement read(database, kLastWritten);
    const std::int64_t ticks = read.Bind(key).Step() ? read.Number(0) : 0;
    return {static_cast<DWORD>(ticks & 0xFFFFFFFF), static_cast<DWORD>(ticks >> 32)};
}

SubKeyFigures FiguresOfSubKeys(RegistryDatabase& database, const KeyView& view) {
    SubKeyFigures figures;
    if (view.under != 0) {
        Statement merged(database, kMergedSubKeys);
        if (merged.Bind(view.key).Bind(view.under).Step()) {
            figures = {static_cast<DWORD>(merged.Number(0)), Characters(merged.Number(1))};
        }
        return figures;
    }
    if (Statement count(database, kSubKeyCount); count.Bind(view.key).Step()) {
        figures.count = static_cast<DWORD>(count.Number(0));
    }
    if (Statement longest(database, kLongestSubKey); longest.Bind(view.key).Step()) {
        figures.longest_name = Characters(longest.Number(0));
    }
    return figures;
}

DWORD LongestSubKeyClass(RegistryDatabase& database, const KeyView& view) {
    Statement longest(database, kLongestClass);
    return longest.Bind(view.key).Bind(view.under).Step() ? Characters(longest.Number(0)) : 0;
}

// ---- Values -----------------------------------------------------------------------------------------------------

ValueFigures FiguresOfValues(RegistryDatabase& database, const KeyView& view) {
    Statement read(database, kValueFigures);
    if (!read.Bind(view.key).Bind(view.under).Step()) {
        return {};
    }
    return {static_cast<DWORD>(read.Number(0)), Characters(read.Number(1)), static_cast<DWORD>(read.Number(2))};
}

bool ReadValue(RegistryDatabase& database, std::int64_t key, std::u16string_view name, DWORD& type, DWORD& size,
               std::string* data) {
    const std::string fold = FoldName(name);
    Statement read(database, data ? kValue : kValueSize);
    if (!read.Bind(key).Bind(fold).Step()) {
        return false;
    }
    type = static_cast<DWORD>(read.Number(0));
    if (data) {
        *data = read.Bytes(1);
        size = static_cast<DWORD>(data->size());
    } else {
        size = static_cast<DWORD>(read.Number(1));
    }
    return true;
}

void WriteValue(RegistryDatabase& database, std::int64_t key, std::u16string_view name, DWORD type,
                std::string_view data) {
    const std::string fold = FoldName(name);
    Statement write(database, kWriteValue);
    write.Bind(key).Bind(fold).Bind(name).Bind(std::int64_t{type}).Bind(data).Bind(Now()).Step();
}

bool RemoveValue(RegistryDatabase& database, std::int64_t key, std::u16string_view name) {
    const std::string fold = FoldName(name);
    bool removed = false;
    {
        Statement remove(database, kRemoveValue);
        remove.Bind(key).Bind(fold);
        while (remove.Step()) {
            removed = true;
        }
    }
    if (removed) {
        Statement(database, kTouchKey).Bind(key).Bind(Now()).Step();
    }
    return removed;
}

bool ValueAt(RegistryDatabase& database, const KeyView& view, DWORD index, WalkPosition& walk, ValueEntry& result) {
    const std::uint64_t content = database.ContentVersion();
    bool found = false;
    bool in_under = false;
    if (walk.valid && walk.content == content && walk.index + 1 == index) {
        in_under = walk.in_under;
        result.position = walk.position;
        found = NextValue(database, view, in_under, result);
    } else if (view.under == 0) {
        Statement number(database, kValueNumber);
        found = number.Bind(view.key).Bind(std::int64_t{index}).Step();
        if (found) {
            ReadEntry(number, view.key, result);
        }
    } else {
        result.position = 0;
        found = NextValue(database, view, in_under, result);
        for (DWORD i = 0; found && i < index; ++i) {
            found = NextValue(database, view, in_under, result);
        }
    }
    walk.valid = found;
    if (found) {
        walk.index = index;
        walk.content = content;
        walk.in_under = in_under;
        walk.position = result.position;
    }
    return found;
}

std::string ReadValueAt(RegistryDatabase& database, const ValueEntry& value) {
    Statement read(database, kValueAt);
    if (!read.Bind(value.key).Bind(value.position).Step()) {
        throw RegistryError{ERROR_REGISTRY_CORRUPT};
    }
    return std::string(read.Bytes(0));
}

}  // namespace kvtwin
