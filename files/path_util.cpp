// Texts of paths, cut by text alone.

#include <algorithm>

#include "kvtfile/FileUtil.h"
#include "platform/companion/pmxutil.h"
#include "platform/quiet.h"

namespace kvtfile {

using detail::Quiet;

namespace {

// Where the parts of a path begin, as the run-time library's path splitter sees them but without its limits of length.
struct Parts {
    explicit Parts(const CString& path) {
        const bool drive = path.GetLength() >= 2 && path[1] == _T(':');
        const int separator = std::max(path.ReverseFind(_T('\\')), path.ReverseFind(_T('/')));
        name = std::max(drive ? 2 : 0, separator + 1);
        const int dot = path.ReverseFind(_T('.'));
        extension = dot < name ? path.GetLength() : dot;
    }

    int name;       // behind the drive and the folder
    int extension;  // at its dot; the end of the path when there is none
};

}  // namespace

CString GetFileExt(CString path) {
    return Quiet(CString(), [&] { return path.Mid(Parts(path).extension); });
}

CString GetFileName(CString path) {
    return Quiet(CString(), [&] { return path.Mid(Parts(path).name); });
}

CString GetFilePath(CString path) {
    return Quiet(CString(), [&] { return path.Left(Parts(path).name); });
}

CString GetFnameFromFullFileName(CString path) {
    return Quiet(CString(), [&] { return path.Mid(path.ReverseFind(_T('\\')) + 1); });
}

CString GetFnameFromFullFileName(CString path, CString& dir) {
    return Quiet(CString(), [&] {
        int separator = path.ReverseFind(_T('\\'));
        if (separator < 0) {
            separator = path.ReverseFind(_T('/'));
        }
        CString name = path.Mid(separator + 1);
        dir = path.Left(separator + 1);
        return name;
    });
}

CString GetFnameWithoutExt(CString path) {
    return Quiet(CString(), [&] { return path.Left(path.ReverseFind(_T('.'))); });
}

CString GetUpPath(CString path) {
    return Quiet(CString(), [&] {
        path.TrimRight(_T('\\'));
        path.TrimRight(_T('/'));
        return GetFilePath(path);
    });
}

CString GetComputerNameFromPath(CString path) {
    return Quiet(CString(), [&] {
        CString name;
        if (path.Left(2) == _T("\\\\")) {
            path.TrimLeft(_T('\\'));
            name = path.SpanExcluding(_T("\\"));
        }
        return name.IsEmpty() ? pmxutil::GetLocateMachineName() : name;
    });
}

}  // namespace kvtfile
