// CDumpContext, and what CObject says of itself.
#include "platform/mfc/cdump.h"

#include <string>

#include "platform/mfc/cfile.h"

namespace kvtmfc {

CDumpContext& CDumpContext::operator<<(LPCWSTR text) {
    return *this << (text ? CString(text).ToUtf8().c_str() : "(null)");
}

CDumpContext& CDumpContext::operator<<(LPCSTR text) {
    if (m_pFile) {
        const std::string_view bytes = text ? text : "(null)";
        m_pFile->Write(bytes.data(), static_cast<UINT>(bytes.size()));
    }
    return *this;
}

CDumpContext& CDumpContext::operator<<(int number) {
    return *this << std::to_string(number).c_str();
}

CDumpContext& CDumpContext::operator<<(DWORD number) {
    return *this << std::to_string(number).c_str();
}

CDumpContext& CDumpContext::operator<<(double number) {
    CString text;
    text.Format(_T("%g"), number);
    return *this << text.GetString();
}

CDumpContext& CDumpContext::operator<<(const void* pointer) {
    CString text;
    text.Format(_T("$%p"), pointer);
    return *this << text.GetString();
}

CDumpContext& CDumpContext::operator<<(const CObject* object) {
    if (object) {
        object->Dump(*this);
        return *this;
    }
    return *this << "(null)";
}

void CObject::Dump(CDumpContext& dc) const {
    dc << "a " << GetRuntimeClass()->m_lpszClassName << " at " << static_cast<const void*>(this) << "\n";
}

}  // namespace kvtmfc
