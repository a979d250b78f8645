#pragma once

// Loading and unloading a module by path, on the target's own terms.

namespace kvttest {

void* LoadModule(const char* path);
/// A function of the module that takes a round number and returns 0 for success.
int (*FindFunction(void* module, const char* name))(int);
/// Whether the module was released.
bool UnloadModule(void* module);
/// Whether a module of that name or path is still in the process.
bool IsModuleLoaded(const char* name);

}  // namespace kvttest
