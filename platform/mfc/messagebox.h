// AfxMessageBox and the handler that stands in for the box in programs without a user before them.
#pragma once

#include "base.h"

namespace kvtmfc {

/// Answers a message box: the text, the MB_ flags; returns the ID of the button.
using MessageBoxHandler = int (*)(LPCWSTR text, UINT type);

/// Installs the handler of all message boxes of the library, null for none, and returns the previous one. Any thread
/// may call it.
KVTFILE_API MessageBoxHandler SetMessageBoxHandler(MessageBoxHandler handler);

/// Shows a text and waits for the answer: through the handler when there is one, else in a box on Windows. Elsewhere
/// the text becomes a line on standard error, and the answer is the one that changes least: IDNO, IDCANCEL or IDABORT
/// where offered, else IDOK.
KVTFILE_API int AfxMessageBox(LPCWSTR text, UINT type = MB_OK, UINT helpId = 0);

}  // namespace kvtmfc
