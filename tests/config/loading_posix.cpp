// Loading and unloading through the dynamic linker.

#include "tests/config/loading.h"

#include <dlfcn.h>

namespace kvttest {

void* LoadModule(const char* path) {
    return dlopen(path, RTLD_NOW | RTLD_LOCAL);
}

int (*FindFunction(void* module, const char* name))(int) {
    return reinterpret_cast<int (*)(int)>(dlsym(module, name));
}

bool UnloadModule(void* module) {
    return dlclose(module) == 0;
}

bool IsModuleLoaded(const char* name) {
    void* module = dlopen(name, RTLD_NOW | RTLD_NOLOAD);
    if (module) {
        dlclose(module);
    }
    return module != nullptr;
}

}  // namespace kvttest
