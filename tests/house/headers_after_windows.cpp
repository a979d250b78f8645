// A caller whose own headers come first: the platform's types, then the library's.

#if __has_include(<windows.h>)
#include <windows.h>
#endif
#include "kvtfile/kvtfile.h"
#include "tests/support/support.h"

TEST(Headers, PlatformTypesMayComeFirst) {
    const DWORD attributes = ::GetFileAttributesW(_T("C:\\"));
    EXPECT_NE(attributes, INVALID_FILE_ATTRIBUTES);
}
