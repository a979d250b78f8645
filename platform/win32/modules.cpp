// Loaded modules, the process, its clock.
//
// A module's handle is what dlopen returned, which glibc makes the module's entry in the list of loaded ones: a handle
// is checked against that list before it is used.

#include <dlfcn.h>
#include <errno.h>
#include <link.h>
#include <sched.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <string>

#include "errors.h"
#include "names.h"
#include "paths.h"
#include "winapi.h"

using kvtwin::Fail;

namespace {

HMODULE FailModule(DWORD error) {
    Fail(error);
    return nullptr;
}

const link_map* FindModule(HMODULE module) {
    void* program = ::dlopen(nullptr, RTLD_LAZY);
    const link_map* entry = static_cast<const link_map*>(program);
    while (entry && static_cast<const void*>(entry) != static_cast<const void*>(module)) {
        entry = entry->l_next;
    }
    ::dlclose(program);
    return entry;
}

// What dlopen takes: a path when the name has a folder, else the name itself.
DWORD ModuleName(LPCWSTR name, std::string& bytes) {
    const std::u16string_view text = name ? name : u"";
    if (text.empty()) {
        return ERROR_INVALID_PARAMETER;
    }
    if (text.find_first_of(u"\\/:") == text.npos) {
        bytes = kvtwin::NameToBytes(text);
        return ERROR_SUCCESS;
    }
    bytes = kvtwin::UnixPath(name);
    return bytes.empty() ? ERROR_MOD_NOT_FOUND : ERROR_SUCCESS;
}

HMODULE Open(LPCWSTR name, int flags) {
    std::string bytes;
    if (const DWORD error = ModuleName(name, bytes)) {
        return FailModule(error);
    }
    void* module = ::dlopen(bytes.c_str(), flags | RTLD_NOW | RTLD_LOCAL);
    return module ? static_cast<HMODULE>(module) : FailModule(ERROR_MOD_NOT_FOUND);
}

std::string ProgramPath() {
    char path[PATH_MAX];
    const ssize_t size = ::readlink("/proc/self/exe", path, sizeof path);
    return size > 0 ? std::string(path, static_cast<size_t>(size)) : std::string();
}

}  // namespace

DWORD GetModuleFileNameW(HMODULE module, LPWSTR buffer, DWORD size) {
    const link_map* entry = module ? FindModule(module) : nullptr;
    if (module && !entry) {
        return static_cast<DWORD>(Fail(ERROR_MOD_NOT_FOUND));
    }
    const bool program = !entry || entry->l_name[0] == '\0';
    const std::string path = program ? ProgramPath() : entry->l_name;
    const std::u16string text = path.starts_with('/') ? kvtwin::WindowsPath(path) : kvtwin::NameFromBytes(path);
    if (!buffer || size == 0) {
        return static_cast<DWORD>(Fail(ERROR_INSUFFICIENT_BUFFER));
    }
    const size_t length = std::min<size_t>(text.size(), size - 1);
    std::copy_n(text.begin(), length, buffer);
    buffer[length] = u'\0';
    if (length < text.size()) {
        Fail(ERROR_INSUFFICIENT_BUFFER);
        return size;
    }
    SetLastError(ERROR_SUCCESS);
    return static_cast<DWORD>(length);
}

HMODULE GetModuleHandleW(LPCWSTR name) {
    void* module = nullptr;
    if (!name) {
        module = ::dlopen(nullptr, RTLD_LAZY);
    } else {
        module = Open(name, RTLD_NOLOAD);
    }
    if (module) {
        ::dlclose(module);
    }
    return static_cast<HMODULE>(module);
}

HMODULE LoadLibraryW(LPCWSTR path) {
    return Open(path, 0);
}

BOOL FreeLibrary(HMODULE module) {
    if (!module || !FindModule(module) || ::dlclose(module) != 0) {
        return Fail(ERROR_MOD_NOT_FOUND);
    }
    return TRUE;
}

FARPROC GetProcAddress(HMODULE module, LPCSTR name) {
    void* address = nullptr;
    if (!module) {
        address = ::dlsym(RTLD_DEFAULT, name);
    } else if (FindModule(module)) {
        address = ::dlsym(module, name);
    }
    if (!address) {
        Fail(ERROR_PROC_NOT_FOUND);
    }
    return reinterpret_cast<FARPROC>(address);
}

DWORD GetCurrentProcessId() {
    return static_cast<DWORD>(::getpid());
}

DWORD GetCurrentThreadId() {
    return static_cast<DWORD>(::syscall(SYS_gettid));
}

void Sleep(DWORD milliseconds) {
    if (milliseconds == 0) {
        ::sched_yield();
        return;
    }
    timespec left{static_cast<time_t>(milliseconds / 1000), static_cast<long>(milliseconds % 1000) * 1000000};
    while (::nanosleep(&left, &left) != 0 && errno == EINTR) {
    }
}

ULONGLONG GetTickCount64() {
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<ULONGLONG>(now.tv_sec) * 1000 + static_cast<ULONGLONG>(now.tv_nsec) / 1000000;
}
