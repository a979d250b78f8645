// Functions of the maker's utility library.

#include "platform/companion/pmxutil.h"

namespace pmxutil {

CString ConfirmBackslash(CString path) {
    if (path.Right(1) != _T("\\")) {
        path += _T('\\');
    }
    return path;
}

COleDateTime GetCurSysTime() {
    return COleDateTime::GetCurrentTime();
}

CString GetLocateMachineName() {
    WCHAR name[MAX_COMPUTERNAME_LENGTH + 1];
    DWORD length = MAX_COMPUTERNAME_LENGTH + 1;
    return ::GetComputerNameW(name, &length) ? CString(name, static_cast<int>(length)) : CString();
}

}  // namespace pmxutil
