// Functions of the maker's utility library.

#include "platform/companion/pmxutil.h"

namespace pmxutil {

CString ConfirmBackslash(CString path) {
    if (path.Right(1) != _T("\\")) {
        path += _T('\\');
    }
    return path;
}

}  // namespace pmxutil
