// The registry calls of the system. A result is handed over only when a call succeeded, so that what the caller holds
// stays as it is on failure; a value is asked for again as long as somebody makes it longer in between.
#include "cadhost/registry_calls.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <string>

namespace kvtfile::registry {

namespace {

LPCWSTR NotNull(LPCWSTR path) {
    return path ? path : _T("");
}

DWORD Handed(LONG error, HKEY opened, HKEY& key) {
    if (error == 0) {
        key = opened;
    }
    return static_cast<DWORD>(error);
}

}  // namespace

DWORD OpenKey(HKEY parent, LPCWSTR path, REGSAM access, HKEY& key) {
    HKEY opened = nullptr;
    const LONG error = ::RegOpenKeyExW(parent, NotNull(path), 0, access, &opened);
    return Handed(error, opened, key);
}

DWORD CreateKey(HKEY parent, LPCWSTR path, HKEY& key) {
    HKEY opened = nullptr;
    const LONG error = ::RegCreateKeyExW(parent, NotNull(path), 0, nullptr, REG_OPTION_NON_VOLATILE, fullAccess,
                                         nullptr, &opened, nullptr);
    return Handed(error, opened, key);
}

DWORD EnumKey(HKEY key, DWORD index, CString& name) {
    WCHAR buffer[nameRoom];
    DWORD length = nameRoom;
    const LONG error = ::RegEnumKeyExW(key, index, buffer, &length, nullptr, nullptr, nullptr, nullptr);
    if (error == 0) {
        name = CString(buffer, static_cast<int>(length));
    }
    return static_cast<DWORD>(error);
}

DWORD EnumValue(HKEY key, DWORD index, CString& name) {
    WCHAR buffer[nameRoom];
    DWORD length = nameRoom;
    const LONG error = ::RegEnumValueW(key, index, buffer, &length, nullptr, nullptr, nullptr, nullptr);
    if (error == 0) {
        name = CString(buffer, static_cast<int>(length));
    }
    return static_cast<DWORD>(error);
}

DWORD WriteValue(HKEY key, LPCWSTR name, DWORD type, const void* data, DWORD size) {
    return static_cast<DWORD>(::RegSetValueExW(key, name, 0, type, static_cast<const BYTE*>(data), size));
}

CString Value::Text(DWORD maxLength) const {
    const DWORD length = std::min<DWORD>(size / sizeof(WCHAR), maxLength);
    CString text;
    if (length != 0) {
        LPWSTR const buffer = text.GetBuffer(static_cast<int>(length));
        std::memcpy(buffer, data.get(), length * sizeof(WCHAR));
        buffer[length] = 0;
        text.ReleaseBuffer();
    }
    return text;
}

Value ReadValue(HKEY key, LPCWSTR name) {
    // Most values fit here, and are read in one call.
    BYTE small[1024];
    BYTE* room = small;
    DWORD roomSize = sizeof small;
    Value value;
    for (;;) {
        value.size = roomSize;
        value.error = static_cast<DWORD>(::RegQueryValueExW(key, name, nullptr, &value.type, room, &value.size));
        if (value.error != ERROR_MORE_DATA || value.size <= roomSize) {
            break;
        }
        roomSize = value.size;
        value.data.reset();
        value.data.reset(new (std::nothrow) BYTE[roomSize]);
        room = value.data.get();
        if (!room) {
            value.error = ERROR_NOT_ENOUGH_MEMORY;
            break;
        }
    }
    if (value.error == ERROR_SUCCESS && value.size != 0 && !value.data) {
        value.data.reset(new (std::nothrow) BYTE[value.size]);
        if (value.data) {
            std::memcpy(value.data.get(), small, value.size);
        } else {
            value.error = ERROR_NOT_ENOUGH_MEMORY;
        }
    }
    if (value.error != ERROR_SUCCESS || value.size == 0) {
        value.data.reset();
        value.size = 0;
    }
    if (value.error != ERROR_SUCCESS) {
        value.type = 0;
    }
    return value;
}

DWORD WriteText(HKEY key, LPCWSTR name, LPCWSTR text, DWORD& length) {
    length = static_cast<DWORD>(text ? std::char_traits<WCHAR>::length(text) + 1 : 1);
    return WriteValue(key, name, REG_SZ, text, length * static_cast<DWORD>(sizeof(WCHAR)));
}

}  // namespace kvtfile::registry
