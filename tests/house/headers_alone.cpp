// Each public header stands alone; this one includes the sum of them first and nothing before it.

#include "kvtfile/kvtfile.h"

#include "tests/support/support.h"

// The interface's member names must survive windows.h, whose macros would rename them in some callers only.
#if defined(GetCurrentTime) || defined(GetFileTitle) || defined(GetMessage) || defined(GetObject) || \
    defined(DeleteFile) || defined(CopyFile) || defined(MoveFile)
#error a macro of windows.h is left
#endif

static_assert(sizeof(CString) == sizeof(void*), "a string is one pointer wide");
static_assert(sizeof(WCHAR) == 2 && sizeof(DWORD) == 4 && sizeof(LONG) == 4 && sizeof(LONGLONG) == 8, "fixed sizes");

TEST(Headers, StandInTypesAreTheGlobalOnes) {
    const ::CString text = _T("text");
    const kvtfile::CString same = text;
    EXPECT_EQ(text, same);
}
