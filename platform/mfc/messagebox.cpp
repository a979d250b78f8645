// AfxMessageBox. The handler is one atomic pointer, so that it can be exchanged while other threads show boxes.
#include "platform/mfc/messagebox.h"

#include <atomic>
#ifndef _WIN32
#include <cstdio>
#endif

#include "platform/mfc/exceptions.h"

namespace kvtmfc {

namespace {

constinit std::atomic<MessageBoxHandler> currentHandler{nullptr};

#ifdef _WIN32

int ShowBox(LPCWSTR text, UINT type) {
    return ::MessageBoxW(nullptr, text, L"kvtfile", type | MB_TASKMODAL);
}

#else

int ShowBox(LPCWSTR text, UINT type) {
    std::fprintf(stderr, "%s\n", CString(text).ToUtf8().c_str());
    switch (type & 0x0F) {
        case MB_YESNO:
            return IDNO;
        case MB_OKCANCEL:
        case MB_YESNOCANCEL:
        case MB_RETRYCANCEL:
            return IDCANCEL;
        case MB_ABORTRETRYIGNORE:
            return IDABORT;
        default:
            return IDOK;
    }
}

#endif

}  // namespace

MessageBoxHandler SetMessageBoxHandler(MessageBoxHandler handler) {
    return currentHandler.exchange(handler);
}

int AfxMessageBox(LPCWSTR text, UINT type, UINT) {
    LPCWSTR shown = text ? text : _T("");
    const MessageBoxHandler handler = currentHandler.load();
    return handler ? handler(shown, type) : ShowBox(shown, type);
}

int CException::ReportError(UINT type, UINT) {
    const CString text = Text();
    return AfxMessageBox(text.IsEmpty() ? _T("an error without a text") : text.GetString(), type);
}

}  // namespace kvtmfc
