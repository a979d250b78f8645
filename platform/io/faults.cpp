// The fault hook of the tests' build; nothing in the shipped one.

#include "platform/io/faults.h"

#ifdef KVTFILE_FAULTS

#include <atomic>
#include <map>
#include <mutex>
#include <string>

namespace kvtio {

namespace {

std::atomic<FaultHook> g_hook{nullptr};
std::mutex g_mutex;
std::map<HANDLE, std::basic_string<WCHAR>> g_paths;

}  // namespace

FaultHook SetFaultHook(FaultHook hook) {
    return g_hook.exchange(hook);
}

Error AskHook(Call call, LPCWSTR path, size_t& count) {
    const FaultHook hook = g_hook;
    return hook ? hook(call, path, count) : ERROR_SUCCESS;
}

void RememberPath(HANDLE handle, LPCWSTR path) {
    const std::lock_guard lock(g_mutex);
    g_paths[handle] = path ? path : _T("");
}

const WCHAR* RememberedPath(HANDLE handle) {
    const std::lock_guard lock(g_mutex);
    const auto found = g_paths.find(handle);
    return found == g_paths.end() ? _T("") : found->second.c_str();
}

void ForgetPath(HANDLE handle) {
    const std::lock_guard lock(g_mutex);
    g_paths.erase(handle);
}

}  // namespace kvtio

#endif
