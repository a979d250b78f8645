// CObject and the list of storable classes. The list is constant-initialised and guarded, so that modules may come and
// go in any order.
#include "platform/mfc/cobject.h"

#include <atomic>
#include <cstring>
#include <thread>

namespace kvtmfc {

namespace {

// Held for a few instructions only; unlike a mutex it needs no construction on any target.
constinit std::atomic_flag classListBusy = ATOMIC_FLAG_INIT;
constinit CRuntimeClass* classList = nullptr;

class ClassListGuard {
public:
    ClassListGuard() {
        while (classListBusy.test_and_set(std::memory_order_acquire)) {
            std::this_thread::yield();
        }
    }
    ~ClassListGuard() { classListBusy.clear(std::memory_order_release); }
    ClassListGuard(const ClassListGuard&) = delete;
    ClassListGuard& operator=(const ClassListGuard&) = delete;
};

}  // namespace

CObject* CRuntimeClass::CreateObject() const {
    return m_pfnCreateObject ? m_pfnCreateObject() : nullptr;
}

bool CRuntimeClass::IsDerivedFrom(const CRuntimeClass* base) const {
    for (const CRuntimeClass* own = this; own; own = own->m_pfnGetBaseClass ? own->m_pfnGetBaseClass() : nullptr) {
        if (own == base) {
            return true;
        }
    }
    return false;
}

CRuntimeClass* CRuntimeClass::FromName(LPCSTR name) {
    const ClassListGuard guard;
    CRuntimeClass* found = classList;
    while (found && std::strcmp(found->m_lpszClassName, name) != 0) {
        found = found->m_pNextClass;
    }
    return found;
}

AFX_CLASSINIT::AFX_CLASSINIT(CRuntimeClass* runtimeClass) : m_pClass(runtimeClass) {
    const ClassListGuard guard;
    m_pClass->m_pNextClass = classList;
    classList = m_pClass;
}

AFX_CLASSINIT::~AFX_CLASSINIT() {
    const ClassListGuard guard;
    CRuntimeClass** link = &classList;
    while (*link && *link != m_pClass) {
        link = &(*link)->m_pNextClass;
    }
    if (*link) {
        *link = m_pClass->m_pNextClass;
    }
}

CRuntimeClass CObject::classCObject = {"CObject", static_cast<int>(sizeof(CObject)), 0xFFFF, nullptr, nullptr};

CRuntimeClass* CObject::GetThisClass() {
    return &classCObject;
}

CRuntimeClass* CObject::GetRuntimeClass() const {
    return &classCObject;
}

CObject::~CObject() = default;

void CObject::Serialize(CArchive&) {}

void CObject::AssertValid() const {}

}  // namespace kvtmfc
