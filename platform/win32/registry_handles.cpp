// What handles of keys stand for, and the merged view of HKEY_CLASSES_ROOT.
//
// A handle below HKEY_CLASSES_ROOT holds the key that was found, the user's before the machine's. The other one of the
// same path is looked up at each call, as it may come and go.

#include "registry_handles.h"

#include <algorithm>

#include "registry_schema.h"

namespace kvtwin {

namespace {

constexpr std::u16string_view kClassesOfUser[] = {u"Software", u"Classes"};

std::int64_t UserClasses(RegistrySession& session) {
    return FindKey(session.Database(), session.UserKey(), kClassesOfUser);
}

// The path of a key below the Classes key of the user or the machine.
std::vector<std::u16string> PathInClasses(RegistrySession& session, std::int64_t key, std::int64_t user_classes) {
    std::vector<std::u16string> names;
    while (key != kMachineClassesKey && key != user_classes) {
        std::u16string name;
        if (!ReadKeyName(session.Database(), key, key, name)) {
            throw RegistryError{ERROR_KEY_DELETED};
        }
        names.push_back(std::move(name));
        if (names.size() > kDeepestLevel) {
            throw RegistryError{ERROR_REGISTRY_CORRUPT};  // keys that stand below themselves
        }
    }
    std::reverse(names.begin(), names.end());
    return names;
}

KeyView FindInClasses(RegistrySession& session, const OpenKey& key, std::span<const std::u16string_view> below) {
    const std::int64_t user_classes = UserClasses(session);
    const std::vector<std::u16string> above = PathInClasses(session, key.key, user_classes);
    std::vector<std::u16string_view> names(above.begin(), above.end());
    names.insert(names.end(), below.begin(), below.end());
    const std::int64_t of_user = user_classes == 0 ? 0 : FindKey(session.Database(), user_classes, names);
    const std::int64_t of_machine = FindKey(session.Database(), kMachineClassesKey, names);
    return of_user != 0 ? KeyView{of_user, of_machine} : KeyView{of_machine, 0};
}

}  // namespace

bool IsPredefinedKey(HKEY key) {
    return key == HKEY_CLASSES_ROOT || key == HKEY_CURRENT_USER || key == HKEY_LOCAL_MACHINE || key == HKEY_USERS ||
           key == HKEY_CURRENT_CONFIG;
}

KeyArgument::KeyArgument(HKEY key) : m_key(key) {
    if (!IsPredefinedKey(key)) {
        m_open = std::dynamic_pointer_cast<OpenKey>(FindHandle(key));
        if (!m_open) {
            throw RegistryError{ERROR_INVALID_HANDLE};
        }
    }
}

OpenKey& KeyArgument::In(RegistrySession& session, REGSAM rights) const {
    OpenKey& key = m_open ? *m_open : *session.Predefined(m_key);
    if ((key.access & rights) != rights) {
        throw RegistryError{ERROR_ACCESS_DENIED};
    }
    if (key.store != session.StoreNumber()) {
        throw RegistryError{ERROR_KEY_DELETED};
    }
    return key;
}

KeyView ViewOf(RegistrySession& session, const OpenKey& key) {
    if (key.classes) {
        return FindInClasses(session, key, {});
    }
    if (!KeyExists(session.Database(), key.key)) {
        throw RegistryError{ERROR_KEY_DELETED};
    }
    return {key.key, 0};
}

KeyView FindBelow(RegistrySession& session, const OpenKey& key, std::span<const std::u16string_view> names) {
    if (key.classes) {
        return FindInClasses(session, key, names);
    }
    const KeyView view = {
        names.empty() && key.key == kEmptyKey ? kEmptyKey : FindKey(session.Database(), key.key, names), 0};
    // What was found proves that the key itself is there.
    if ((view.key == 0 || names.empty()) && !KeyExists(session.Database(), key.key)) {
        throw RegistryError{ERROR_KEY_DELETED};
    }
    return view;
}

NewKeyPlace PlaceBelow(RegistrySession& session, const OpenKey& key, std::span<const std::u16string_view> names) {
    NewKeyPlace place;
    place.start = key.key;
    if (key.classes) {
        place.start = kMachineClassesKey;
        place.names = PathInClasses(session, key.key, UserClasses(session));
    }
    place.names.insert(place.names.end(), names.begin(), names.end());
    return place;
}

}  // namespace kvtwin
