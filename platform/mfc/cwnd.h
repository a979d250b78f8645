// CWnd: the window objects that callers store and load through the library.
#pragma once

#include "cobject.h"

namespace kvtmfc {

/// An object that stands for a window. The library makes none; callers derive from it.
class KVTFILE_API CWnd : public CObject {
    DECLARE_DYNCREATE(CWnd)

public:
    CWnd() = default;

    /// Null while the object has no window.
    HWND GetSafeHwnd() const { return m_hWnd; }

    HWND m_hWnd = nullptr;
};

}  // namespace kvtmfc
