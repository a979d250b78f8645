// The target of a shell link on Windows, as the shell itself reads it.

#include <windows.h>

#include <objbase.h>
#include <shlobj.h>

#include "link_target.h"

namespace kvtshell {

namespace {

/// COM on this thread for as long as it lives. A thread that has it in another mode keeps that one and is served by it.
class ComSession {
public:
    ComSession() : m_result(::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)) {}
    ~ComSession() {
        if (SUCCEEDED(m_result)) {
            ::CoUninitialize();
        }
    }
    ComSession(const ComSession&) = delete;
    ComSession& operator=(const ComSession&) = delete;

    bool IsReady() const { return SUCCEEDED(m_result) || m_result == RPC_E_CHANGED_MODE; }

private:
    HRESULT m_result;
};

/// A reference to an interface, released at the end.
template <typename Interface>
class Reference {
public:
    Reference() = default;
    ~Reference() {
        if (m_interface) {
            m_interface->Release();
        }
    }
    Reference(const Reference&) = delete;
    Reference& operator=(const Reference&) = delete;

    Interface* operator->() const { return m_interface; }
    void** Out() { return reinterpret_cast<void**>(&m_interface); }

private:
    Interface* m_interface = nullptr;
};

}  // namespace

Text LinkTarget(LPCWSTR path) {
    const ComSession com;
    Reference<IShellLinkW> link;
    Reference<IPersistFile> file;
    if (path == nullptr || !com.IsReady() ||
        FAILED(::CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW, link.Out())) ||
        FAILED(link->QueryInterface(IID_IPersistFile, file.Out())) || FAILED(file->Load(path, STGM_READ))) {
        return {};
    }
    // One character more than a path may have, so that a path that was cut is told from a whole one.
    WCHAR target[MAX_PATH + 1] = {};
    if (link->GetPath(target, MAX_PATH + 1, nullptr, SLGP_UNCPRIORITY) != S_OK) {
        return {};
    }
    Text text = target;
    return text.size() < MAX_PATH ? text : Text();
}

}  // namespace kvtshell
