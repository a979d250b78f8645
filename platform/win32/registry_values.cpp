// The registry calls about values: query, set, delete, list.

#include <cstring>

#include "registry_handles.h"
#include "registry_names.h"
#include "winapi.h"

using namespace kvtwin;

namespace {

using For = RegistrySession::For;

std::u16string_view NameOf(LPCWSTR name) {
    return name ? std::u16string_view(name) : std::u16string_view();
}

// Puts a value's bytes into a caller's buffer. @param size In: its room; out: the value's size.
DWORD GiveData(std::string_view bytes, LPBYTE data, DWORD& size) {
    const DWORD room = size;
    size = static_cast<DWORD>(bytes.size());
    if (bytes.size() > room) {
        return ERROR_MORE_DATA;
    }
    if (!bytes.empty()) {
        std::memcpy(data, bytes.data(), bytes.size());
    }
    return ERROR_SUCCESS;
}

}  // namespace

LSTATUS RegQueryValueExW(HKEY key, LPCWSTR name, LPDWORD reserved, LPDWORD type, LPBYTE data, LPDWORD size) {
    return RegistryCall([&]() -> DWORD {
        if (reserved || (data && !size)) {
            return ERROR_INVALID_PARAMETER;
        }
        const KeyArgument argument(key);
        RegistrySession session(For::Reading);
        RegistryDatabase& database = session.Database();
        const OpenKey& open = argument.In(session, KEY_QUERY_VALUE);
        DWORD found_type = 0;
        DWORD found_size = 0;
        std::string bytes;
        std::string* const wanted = data ? &bytes : nullptr;
        bool found = false;
        if (open.classes) {
            const ReadTransaction transaction(database);
            const KeyView view = ViewOf(session, open);
            found = ReadValue(database, view.key, NameOf(name), found_type, found_size, wanted) ||
                    (view.under != 0 && ReadValue(database, view.under, NameOf(name), found_type, found_size, wanted));
        } else {
            // One statement sees one state: no transaction is needed around it.
            found = ReadValue(database, open.key, NameOf(name), found_type, found_size, wanted);
            if (!found && !KeyExists(database, open.key)) {
                return ERROR_KEY_DELETED;
            }
        }
        if (!found) {
            return ERROR_FILE_NOT_FOUND;
        }
        if (type) {
            *type = found_type;
        }
        if (data) {
            return GiveData(bytes, data, *size);
        }
        if (size) {
            *size = found_size;
        }
        return ERROR_SUCCESS;
    });
}

LSTATUS RegSetValueExW(HKEY key, LPCWSTR name, DWORD, DWORD type, const BYTE* data, DWORD size) {
    return RegistryCall([&]() -> DWORD {
        if (NameOf(name).size() > kLongestValueName) {
            return ERROR_INVALID_PARAMETER;
        }
        if (!data && size > 0) {
            return ERROR_NOACCESS;
        }
        const KeyArgument argument(key);
        const std::string_view bytes(reinterpret_cast<const char*>(data), size);
        RegistrySession session(For::Writing);
        RegistryDatabase& database = session.Database();
        const OpenKey& open = argument.In(session, KEY_SET_VALUE);
        if (open.classes) {
            WriteTransaction transaction(database);
            WriteValue(database, ViewOf(session, open).key, NameOf(name), type, bytes);
            transaction.Commit();
        } else {
            WriteValue(database, open.key, NameOf(name), type, bytes);
        }
        return ERROR_SUCCESS;
    });
}

LSTATUS RegDeleteValueW(HKEY key, LPCWSTR name) {
    return RegistryCall([&]() -> DWORD {
        const KeyArgument argument(key);
        RegistrySession session(For::Writing);
        RegistryDatabase& database = session.Database();
        const OpenKey& open = argument.In(session, KEY_SET_VALUE);
        WriteTransaction transaction(database);
        const KeyView view = ViewOf(session, open);
        if (!RemoveValue(database, view.key, NameOf(name)) &&
            (view.under == 0 || !RemoveValue(database, view.under, NameOf(name)))) {
            return ERROR_FILE_NOT_FOUND;
        }
        transaction.Commit();
        return ERROR_SUCCESS;
    });
}

LSTATUS RegEnumValueW(HKEY key, DWORD index, LPWSTR name, LPDWORD length, LPDWORD reserved, LPDWORD type, LPBYTE data,
                      LPDWORD size) {
    return RegistryCall([&]() -> DWORD {
        if (!name || !length || reserved || (data && !size)) {
            return ERROR_INVALID_PARAMETER;
        }
        const KeyArgument argument(key);
        RegistrySession session(For::Reading);
        RegistryDatabase& database = session.Database();
        const ReadTransaction transaction(database);
        OpenKey& open = argument.In(session, KEY_QUERY_VALUE);
        const KeyView view = ViewOf(session, open);
        ValueEntry found;
        if (!ValueAt(database, view, index, open.values, found)) {
            return ERROR_NO_MORE_ITEMS;
        }
        // Type and size are told whatever is too small; a name that fits is given even when the data does not.
        const bool fits = found.name.size() < *length;
        const bool data_fits = !data || found.size <= *size;
        std::string bytes;
        if (data && fits && data_fits) {
            bytes = ReadValueAt(database, found);
        }
        if (type) {
            *type = found.type;
        }
        if (size) {
            *size = found.size;
        }
        if (!fits) {
            return ERROR_MORE_DATA;
        }
        *std::copy(found.name.begin(), found.name.end(), name) = u'\0';
        *length = static_cast<DWORD>(found.name.size());
        if (!data_fits) {
            return ERROR_MORE_DATA;
        }
        if (!bytes.empty()) {
            std::memcpy(data, bytes.data(), bytes.size());
        }
        return ERROR_SUCCESS;
    });
}
