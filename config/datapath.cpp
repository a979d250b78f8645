// The fixed folders of the maker's shared data.

#include "kvtfile/DataPath.h"

namespace kvtfile {

CString FGetOrvaDataCommonPath() {
    ::CreateDirectoryW(_T("c:\\OrvaData"), nullptr);
    ::CreateDirectoryW(_T("c:\\OrvaData\\Common"), nullptr);
    return _T("c:\\OrvaData\\Common\\");
}

CString FGetOrvaDataFilePath() {
    return _T("c:\\OrvaData\\");
}

}  // namespace kvtfile
