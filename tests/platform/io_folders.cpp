// What walks over folders need: which folder a path leads to, and paths of any length.

#include "platform/io/folders.h"
#include "tests/support/support.h"

namespace {

using kvtio::Identity;
using kvtio::IdentityOf;
using kvttest::TestFolder;

TEST(IoFolders, IdentityIsThatOfTheFolderWhateverItIsCalled) {
    const TestFolder folder;
    kvttest::MakeFolders(folder.Path(_T("one")));
    kvttest::MakeFolders(folder.Path(_T("two")));
    Identity one;
    Identity again;
    Identity two;
    ASSERT_TRUE(IdentityOf(folder.Path(_T("one")), one));
    ASSERT_TRUE(IdentityOf(folder.Path(_T("two\\..\\ONE\\")), again));
    ASSERT_TRUE(IdentityOf(folder.Path(_T("two")), two));
    EXPECT_EQ(one, again);
    EXPECT_NE(one, two);
    EXPECT_TRUE(one < two || two < one);
    EXPECT_FALSE(IdentityOf(folder.Path(_T("three")), two));
}

std::string LongForm(const CString& path) {
    return kvttest::Utf8(kvtio::LongForm(path).c_str());
}

TEST(IoFolders, ShortPathsStayAsTheyAre) {
    for (const char* path : {"", "a", "C:\\a\\..\\b/c", "C:\\a\\*.", "\\\\?\\C:\\a", "\\\\server\\share\\a"}) {
        EXPECT_EQ(LongForm(kvttest::Wide(path)), path);
    }
}

TEST(IoFolders, LongPathsTakeAFormThatCallsTake) {
    std::string folder;
    for (int i = 0; i < 10; ++i) {
        folder += "\\" + std::string(30, 'd');
    }
    const std::string kept = "\\\\?\\C:" + folder;
    EXPECT_EQ(LongForm(kvttest::Wide(kept)), kept);
#ifdef _WIN32
    EXPECT_EQ(LongForm(kvttest::Wide("C:" + folder)), kept);
    EXPECT_EQ(LongForm(kvttest::Wide("C:\\x\\.." + folder + "/*.txt")), kept + "\\*.txt");
    EXPECT_EQ(LongForm(kvttest::Wide("C:" + folder + "\\*.")), kept + "\\*.");
    EXPECT_EQ(LongForm(kvttest::Wide("\\\\server\\share" + folder)), "\\\\?\\UNC\\server\\share" + folder);
#else
    EXPECT_EQ(LongForm(kvttest::Wide("C:" + folder)), "C:" + folder);
#endif
}

}  // namespace
