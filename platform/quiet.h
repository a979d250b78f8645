#pragma once

// Runs work that may throw what MFC throws (exceptions as pointers) or what C++ throws, and lets neither out.

#include "kvtfile/types.h"

namespace kvtfile::detail {

/// The work's result, or `failed` when it threw.
template <typename Result, typename Work>
Result Quiet(Result failed, Work&& work) noexcept {
    try {
        return work();
    } catch (CException* exception) {
        exception->Delete();
    } catch (...) {
    }
    return failed;
}

/// The work's result (0 or 1); when it threw, 0, with the formatted text as the last error.
template <typename Work, typename... Args>
int Guarded(CString& lastError, Work&& work, LPCWSTR format, const Args&... args) noexcept {
    const int result = Quiet(-1, work);
    if (result >= 0) {
        return result;
    }
    Quiet(0, [&] {
        CString text;
        text.Format(format, args...);
        lastError = text;
        return 1;
    });
    return 0;
}

}  // namespace kvtfile::detail
