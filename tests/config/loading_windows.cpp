// Loading and unloading through LoadLibrary and FreeLibrary.

#include <windows.h>

#include "tests/config/loading.h"

namespace kvttest {

void* LoadModule(const char* path) {
    return ::LoadLibraryA(path);
}

int (*FindFunction(void* module, const char* name))(int) {
    return reinterpret_cast<int (*)(int)>(
        reinterpret_cast<void*>(::GetProcAddress(static_cast<HMODULE>(module), name)));
}

bool UnloadModule(void* module) {
    return ::FreeLibrary(static_cast<HMODULE>(module)) != 0;
}

bool IsModuleLoaded(const char* name) {
    return ::GetModuleHandleA(name) != nullptr;
}

}  // namespace kvttest
