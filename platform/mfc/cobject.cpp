// CObject and the list of storable classes. The list is constant-initialised and guarded, so that modules may come and
// go in any order.
#include "platform/mfc/cobject.h"

#include <cstring>
#include <mutex>

namespace kvtmfc {

namespace {

constinit std::mutex classListLock;
constinit CRuntimeClass* classList = nullptr;

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
    const std::lock_guard guard(classListLock);
    CRuntimeClass* found = classList;
    while (found && std::strcmp(found->m_lpszClassName, name) != 0) {
        found = found->m_pNextClass;
    }
    return found;
}

AFX_CLASSINIT::AFX_CLASSINIT(CRuntimeClass* runtimeClass) : m_pClass(runtimeClass) {
    const std::lock_guard guard(classListLock);
    m_pClass->m_pNextClass = classList;
    classList = m_pClass;
}

AFX_CLASSINIT::~AFX_CLASSINIT() {
    const std::lock_guard guard(classListLock);
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

void CObject::Dump(CDumpContext&) const {}

}  // namespace kvtmfc
