// The registry calls about keys: open, create, close, delete, list, describe.

#include <algorithm>
#include <vector>

#include "registry_handles.h"
#include "registry_names.h"
#include "registry_schema.h"
#include "winapi.h"

using namespace kvtwin;

namespace {

using Names = std::vector<std::u16string_view>;
using For = RegistrySession::For;

constexpr REGSAM kRightsToChange =
    KEY_SET_VALUE | KEY_CREATE_SUB_KEY | KEY_CREATE_LINK | DELETE | WRITE_DAC | WRITE_OWNER;

Names NamesOf(LPCWSTR path) {
    Names names;
    if (const DWORD error = SplitKeyPath(path, names); error != ERROR_SUCCESS) {
        throw RegistryError{error};
    }
    return names;
}

// The rights a caller asks for, generic ones replaced by those of keys.
REGSAM RightsOf(REGSAM access, bool writable) {
    REGSAM rights = access & KEY_ALL_ACCESS;
    rights |= access & GENERIC_READ ? KEY_READ : 0;
    rights |= access & GENERIC_WRITE ? KEY_WRITE : 0;
    rights |= access & GENERIC_ALL ? KEY_ALL_ACCESS : 0;
    if (access & MAXIMUM_ALLOWED) {
        rights |= writable ? KEY_ALL_ACCESS : KEY_READ;
    }
    if (!writable && (rights & kRightsToChange)) {
        throw RegistryError{ERROR_ACCESS_DENIED};
    }
    return rights;
}

// How the store is used to open a key: one that could not be written before may be writable by now.
For UseOf(REGSAM access) {
    constexpr REGSAM more = GENERIC_WRITE | GENERIC_ALL | MAXIMUM_ALLOWED;
    return access & (kRightsToChange | more) ? For::Rights : For::Reading;
}

HKEY HandleOf(RegistrySession& session, std::int64_t key, bool classes, REGSAM access) {
    auto open = std::make_shared<OpenKey>();
    open->key = key;
    open->access = RightsOf(access, session.Database().IsWritable());
    open->classes = classes;
    open->store = session.StoreNumber();
    const HANDLE handle = AddHandle(std::move(open));
    if (!handle) {
        throw RegistryError{ERROR_NOT_ENOUGH_MEMORY};
    }
    return static_cast<HKEY>(handle);
}

// Makes what is missing of a path. @param created Whether the last key is new.
std::int64_t MakeKeys(RegistryDatabase& database, const NewKeyPlace& place, std::u16string_view key_class,
                      bool& created) {
    std::int64_t key = place.start;
    created = false;
    for (size_t i = 0; i < place.names.size(); ++i) {
        const std::u16string& name = place.names[i];
        if (const std::int64_t next = FindSubKey(database, key, name); next != 0) {
            key = next;
            continue;
        }
        if (key == kMachineKey || key == kUsersKey) {
            throw RegistryError{ERROR_INVALID_PARAMETER};
        }
        const bool last = i + 1 == place.names.size();
        key = AddKey(database, key, name, last ? key_class : std::u16string_view());
        created = true;
    }
    return key;
}

// Gives a text to a caller. @return false: it does not fit with its NUL.
bool Give(std::u16string_view text, LPWSTR buffer, DWORD room) {
    if (text.size() >= room) {
        return false;
    }
    *std::copy(text.begin(), text.end(), buffer) = u'\0';
    return true;
}

template <typename Number>
void Set(Number* result, Number value) {
    if (result) {
        *result = value;
    }
}

DWORD OpenOrCreate(HKEY key, const Names& names, std::u16string_view key_class, REGSAM access, HKEY& result,
                   DWORD& disposition) {
    const KeyArgument argument(key);
    {
        RegistrySession session(UseOf(access));
        const ReadTransaction transaction(session.Database());
        const OpenKey& parent = argument.In(session, 0);
        if (const KeyView found = FindBelow(session, parent, names); found.key != 0) {
            result = HandleOf(session, found.key, parent.classes, access);
            disposition = REG_OPENED_EXISTING_KEY;
            return ERROR_SUCCESS;
        }
    }
    RegistrySession session(For::Writing);
    WriteTransaction transaction(session.Database());
    const OpenKey& parent = argument.In(session, 0);
    bool created = false;
    std::int64_t made = FindBelow(session, parent, names).key;
    if (made == 0) {  // else another process was quicker
        made = MakeKeys(session.Database(), PlaceBelow(session, parent, names), key_class, created);
    }
    const HKEY handle = HandleOf(session, made, parent.classes, access);
    try {
        transaction.Commit();
    } catch (...) {
        RemoveHandle(handle);
        throw;
    }
    result = handle;
    disposition = created ? REG_CREATED_NEW_KEY : REG_OPENED_EXISTING_KEY;
    return ERROR_SUCCESS;
}

}  // namespace

LSTATUS RegOpenKeyExW(HKEY key, LPCWSTR path, DWORD, REGSAM access, PHKEY result) {
    return RegistryCall([&]() -> DWORD {
        if (!result) {
            return ERROR_INVALID_PARAMETER;
        }
        *result = nullptr;
        if (IsPredefinedKey(key) && (!path || !*path)) {
            *result = key;
            return ERROR_SUCCESS;
        }
        const Names names = NamesOf(path);
        const KeyArgument argument(key);
        RegistrySession session(UseOf(access));
        const ReadTransaction transaction(session.Database());
        const OpenKey& parent = argument.In(session, 0);
        const KeyView found = FindBelow(session, parent, names);
        if (found.key == 0) {
            return ERROR_FILE_NOT_FOUND;
        }
        *result = HandleOf(session, found.key, parent.classes, access);
        return ERROR_SUCCESS;
    });
}

LSTATUS RegCreateKeyExW(HKEY key, LPCWSTR path, DWORD reserved, LPWSTR keyClass, DWORD options, REGSAM access,
                        LPSECURITY_ATTRIBUTES, PHKEY result, LPDWORD disposition) {
    return RegistryCall([&]() -> DWORD {
        if (!result || reserved != 0) {
            return ERROR_INVALID_PARAMETER;
        }
        *result = nullptr;
        if (options != REG_OPTION_NON_VOLATILE) {
            return ERROR_NOT_SUPPORTED;
        }
        DWORD what = REG_OPENED_EXISTING_KEY;
        const DWORD error = OpenOrCreate(key, NamesOf(path), keyClass ? keyClass : u"", access, *result, what);
        if (error == ERROR_SUCCESS) {
            Set(disposition, what);
        }
        return error;
    });
}

LSTATUS RegCloseKey(HKEY key) {
    return RegistryCall([&]() -> DWORD {
        if (!IsPredefinedKey(key)) {
            const KeyArgument argument(key);
            if (!RemoveHandle(key)) {
                return ERROR_INVALID_HANDLE;
            }
        }
        return ERROR_SUCCESS;
    });
}

LSTATUS RegDeleteKeyW(HKEY key, LPCWSTR path) {
    return RegistryCall([&]() -> DWORD {
        if (!path) {
            return ERROR_INVALID_PARAMETER;
        }
        const Names names = NamesOf(path);
        const KeyArgument argument(key);
        RegistrySession session(For::Writing);
        WriteTransaction transaction(session.Database());
        const KeyView found = FindBelow(session, argument.In(session, 0), names);
        if (found.key == 0) {
            return ERROR_FILE_NOT_FOUND;
        }
        const DWORD error = RemoveKey(session.Database(), found.key);
        if (error == ERROR_SUCCESS) {
            transaction.Commit();
        }
        return error;
    });
}

LSTATUS RegEnumKeyExW(HKEY key, DWORD index, LPWSTR name, LPDWORD length, LPDWORD reserved, LPWSTR keyClass,
                      LPDWORD classLength, FILETIME* written) {
    return RegistryCall([&]() -> DWORD {
        if (!name || !length || reserved) {
            return ERROR_INVALID_PARAMETER;
        }
        const KeyArgument argument(key);
        RegistrySession session(For::Reading);
        const ReadTransaction transaction(session.Database());
        OpenKey& open = argument.In(session, KEY_ENUMERATE_SUB_KEYS);
        const KeyView view = ViewOf(session, open);
        SubKey found;
        if (!SubKeyAt(session.Database(), view, index, open.sub_keys, found)) {
            return ERROR_NO_MORE_ITEMS;
        }
        std::u16string found_class;
        if (classLength) {
            ReadKeyClass(session.Database(), found.key, found_class);
        }
        if (found.name.size() >= *length || (keyClass && classLength && found_class.size() >= *classLength)) {
            return ERROR_MORE_DATA;
        }
        Give(found.name, name, *length);
        *length = static_cast<DWORD>(found.name.size());
        if (classLength) {
            if (keyClass) {
                Give(found_class, keyClass, *classLength);
            }
            *classLength = static_cast<DWORD>(found_class.size());
        }
        if (written) {
            *written = LastWritten(session.Database(), found.key);
        }
        return ERROR_SUCCESS;
    });
}

LSTATUS RegEnumKeyW(HKEY key, DWORD index, LPWSTR name, DWORD room) {
    return RegEnumKeyExW(key, index, name, &room, nullptr, nullptr, nullptr, nullptr);
}

LSTATUS RegQueryInfoKeyW(HKEY key, LPWSTR keyClass, LPDWORD classLength, LPDWORD, LPDWORD subKeys,
                         LPDWORD longestSubKey, LPDWORD longestClass, LPDWORD values, LPDWORD longestValueName,
                         LPDWORD longestValue, LPDWORD securitySize, FILETIME* written) {
    return RegistryCall([&]() -> DWORD {
        if (keyClass && !classLength) {
            return ERROR_INVALID_PARAMETER;
        }
        const KeyArgument argument(key);
        RegistrySession session(For::Reading);
        RegistryDatabase& database = session.Database();
        const ReadTransaction transaction(database);
        const KeyView view = ViewOf(session, argument.In(session, KEY_QUERY_VALUE));
        if (classLength) {
            std::u16string text;
            ReadKeyClass(database, view.key, text);
            const DWORD room = *classLength;
            *classLength = static_cast<DWORD>(text.size());
            if (keyClass && room != 0 && !Give(text, keyClass, room)) {
                return ERROR_MORE_DATA;
            }
        }
        if (subKeys || longestSubKey) {
            const SubKeyFigures figures = FiguresOfSubKeys(database, view);
            Set(subKeys, figures.count);
            Set(longestSubKey, figures.longest_name);
        }
        if (longestClass) {
            *longestClass = LongestSubKeyClass(database, view);
        }
        if (values || longestValueName || longestValue) {
            const ValueFigures figures = FiguresOfValues(database, view);
            Set(values, figures.count);
            Set(longestValueName, figures.longest_name);
            Set(longestValue, figures.longest_data);
        }
        Set(securitySize, DWORD{0});
        if (written) {
            *written = LastWritten(database, view.key);
        }
        return ERROR_SUCCESS;
    });
}

LSTATUS RegFlushKey(HKEY key) {
    return RegistryCall([&]() -> DWORD {
        const KeyArgument argument(key);
        RegistrySession session(For::Reading);
        ViewOf(session, argument.In(session, 0));
        session.Database().Flush();
        return ERROR_SUCCESS;
    });
}
