#pragma once

/// @file
/// Open registry keys, the predefined ones among them, and the process's one connection to the store.

#include <memory>
#include <mutex>
#include <new>
#include <span>
#include <stdexcept>
#include <string_view>

#include "handles.h"
#include "registry_database.h"
#include "registry_store.h"
#include "wintypes.h"

namespace kvtwin {

/// An open key. What it holds is guarded by the session.
struct OpenKey final : Object {
    std::int64_t key = 0;
    REGSAM access = 0;
    bool classes = false;  ///< Below HKEY_CLASSES_ROOT, or that key itself.
    unsigned store = 0;    ///< The store that the number belongs to, by RegistrySession::StoreNumber.
    WalkPosition sub_keys;
    WalkPosition values;
};

/// Exclusive use of the store for the length of a call.
///
/// One connection serves all threads, one at a time. It is made at the first call, and again when another file has
/// taken the store's place. It is closed before a fork, since a child must not use its parent's, and when the library
/// is unloaded; the next call makes a new one.
class RegistrySession {
public:
    /// To open a key with rights to change it is not to write yet: what is missing is told first.
    enum class For { Reading, Rights, Writing };

    /// Throws RegistryError: also ERROR_ACCESS_DENIED when the store is for writing and may not be written.
    explicit RegistrySession(For what);
    RegistrySession(const RegistrySession&) = delete;
    RegistrySession& operator=(const RegistrySession&) = delete;

    RegistryDatabase& Database();
    unsigned StoreNumber() const;

    /// The predefined key, or null. Its content is valid during the session.
    OpenKey* Predefined(HKEY key);
    /// The hive of the current user; kEmptyKey when there is none and none can be made.
    std::int64_t UserKey() const;

private:
    std::unique_lock<std::mutex> m_lock;
};

/// Closes the connection, as at unload. Open keys stay open. For tests that replace the file.
void CloseRegistryStore();

/// Whether a handle is one of the predefined keys.
bool IsPredefinedKey(HKEY key);

/// A key that a call was given, looked up before the store is touched.
class KeyArgument {
public:
    /// Throws ERROR_INVALID_HANDLE.
    explicit KeyArgument(HKEY key);

    /// The key, when it has all these rights. Throws ERROR_ACCESS_DENIED and ERROR_KEY_DELETED.
    OpenKey& In(RegistrySession& session, REGSAM rights) const;

private:
    HKEY m_key;
    std::shared_ptr<OpenKey> m_open;
};

/// What a key shows. Throws ERROR_KEY_DELETED when it is there no more.
KeyView ViewOf(RegistrySession& session, const OpenKey& key);

/// What a path below a key leads to; `key` is 0 when there is nothing. Throws ERROR_KEY_DELETED.
KeyView FindBelow(RegistrySession& session, const OpenKey& key, std::span<const std::u16string_view> names);

/// The key below which new keys of a path come, and the path from there. Throws ERROR_KEY_DELETED.
struct NewKeyPlace {
    std::int64_t start = 0;
    std::vector<std::u16string> names;
};
NewKeyPlace PlaceBelow(RegistrySession& session, const OpenKey& key, std::span<const std::u16string_view> names);

/// Runs the work of a call and gives its error.
template <typename Work>
LSTATUS RegistryCall(const Work& work) noexcept {
    try {
        return static_cast<LSTATUS>(work());
    } catch (const RegistryError& error) {
        return static_cast<LSTATUS>(error.error);
    } catch (const std::bad_alloc&) {
        return ERROR_NOT_ENOUGH_MEMORY;
    } catch (const std::length_error&) {
        return ERROR_NOT_ENOUGH_MEMORY;
    }
}

}  // namespace kvtwin
