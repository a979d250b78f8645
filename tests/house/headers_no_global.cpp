// A host whose own SDK has a class named CString uses the library beside it.

#define KVTFILE_NO_GLOBAL_MFC
#include "kvtfile/kvtfile.h"

/// The host's own string type, which has nothing to do with the library's.
struct CString {
    int hostField = 7;
};

#include <gtest/gtest.h>

TEST(Headers, HostWithItsOwnCStringCoexists) {
    const CString host;
    kvtfile::CFXmlFile file(kvtfile::CString(_T("<a>x</a>")));
    ASSERT_TRUE(file.FindElem());
    EXPECT_EQ(host.hostField, 7);
    EXPECT_EQ(file.GetData().GetLength(), 1);
}
