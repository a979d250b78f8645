// A caller that asked for a lean windows.h still gets the whole interface.

#define WIN32_LEAN_AND_MEAN
#include "kvtfile/kvtfile.h"
#include "tests/support/support.h"

TEST(Headers, LeanWindowsHeaderIsEnough) {
    kvtfile::CFXmlFile file(_T("<a/>"));
    EXPECT_TRUE(file.IsWellFormed());
}
