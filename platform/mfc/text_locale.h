// The character locale that text streams need. The streams of this folder convert code page 936 by themselves and leave
// the locale of the runtime library alone, which belongs to the whole process; those of the compiler's MFC convert in
// that locale, so there it is switched.
#pragma once

#include "kvtfile/types.h"

#ifdef _WIN32
#include <locale.h>
#endif

namespace kvtplatform {

/// Switches to simplified Chinese for good, where the runtime library knows it by the name that the interface gives
/// out.
inline void SwitchToTextLocale() {
#ifdef _WIN32
    ::_wsetlocale(LC_CTYPE, L"chs");
#endif
}

#ifdef KVTFILE_USE_MFC

/// Switches to simplified Chinese; returns the name of the locale before.
inline CString EnterTextLocale() {
    const CString previous = ::_wsetlocale(LC_CTYPE, nullptr);
    ::_wsetlocale(LC_CTYPE, L"chs");
    return previous;
}

inline void LeaveTextLocale(const CString& previous) {
    if (!previous.IsEmpty()) {
        ::_wsetlocale(LC_CTYPE, previous);
    }
}

#else

inline CString EnterTextLocale() {
    return CString();
}

inline void LeaveTextLocale(const CString&) {}

#endif

}  // namespace kvtplatform
