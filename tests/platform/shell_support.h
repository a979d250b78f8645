#pragma once

// Shell operations on lists of paths.

#include <string>
#include <vector>

#include "tests/support/support.h"

namespace kvttest {

/// What SHFileOperationW gave.
struct ShellResult {
    int code = -1;
    bool aborted = false;

    bool Done() const { return code == 0 && !aborted; }
};

/// No dialogs and no questions.
constexpr FILEOP_FLAGS kShellQuiet = FOF_SILENT | FOF_NOCONFIRMATION | FOF_NOERRORUI | FOF_NOCONFIRMMKDIR;

inline std::basic_string<WCHAR> ShellList(const std::vector<CString>& paths) {
    std::basic_string<WCHAR> list;
    for (const CString& path : paths) {
        list.append(path.GetString(), static_cast<size_t>(path.GetLength()) + 1);
    }
    return list;
}

inline ShellResult Shell(UINT operation, const std::vector<CString>& from, const std::vector<CString>& to,
                         FILEOP_FLAGS flags = kShellQuiet) {
    const std::basic_string<WCHAR> sources = ShellList(from);
    const std::basic_string<WCHAR> targets = ShellList(to);
    SHFILEOPSTRUCTW request{};
    request.wFunc = operation;
    request.pFrom = sources.c_str();
    request.pTo = to.empty() ? nullptr : targets.c_str();
    request.fFlags = flags;
    request.fAnyOperationsAborted = TRUE;
    const int code = ::SHFileOperationW(&request);
    return {code, request.fAnyOperationsAborted != FALSE};
}

}  // namespace kvttest
