// Where shell links lead.

#include "kvtfile/FileUtil.h"
#include "platform/quiet.h"
#include "platform/shell/link_target.h"

namespace kvtfile {

CString ExpandShortcut(CString& lnk) {
    return detail::Quiet(CString(), [&] { return CString(kvtshell::LinkTarget(lnk).c_str()); });
}

}  // namespace kvtfile
