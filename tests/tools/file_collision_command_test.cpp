// kvtfile file where Wine's shell does less than that of Windows: names beside taken ones, folders that are to be made.

#include "tests/tools/command_fixture.h"

namespace kvttest {
namespace {

using Names = std::vector<std::string>;

class FileCollisionCommand : public CommandTest {};

TEST_F(FileCollisionCommand, AFreeNameIsTakenBesideOneThatIsNot) {
    Write(_T("a.txt"), "new");
    MakeFolders(File(_T("d")));
    Write(_T("d\\a.txt"), "old");
    Expect({"file", "copy", "a.txt", "d", "--rename-on-collision"}, 0,
           "a.txt: copied to d\\a.txt, under a free name beside it\n");
    ExpectJson({"file", "move", "a.txt", "d", "--rename-on-collision", "--json"},
               R"({"done":true,"aborted":false,"code":0,"error":null,
                   "items":[{"source":"%DIR%\\a.txt","target":null,"renamed":true}]})");
    EXPECT_EQ(Read(_T("d\\a.txt")), "old");
    EXPECT_EQ(Read(_T("d\\a - Copy.txt")), "new");
    EXPECT_EQ(Read(_T("d\\a (2).txt")), "new");
}

TEST_F(FileCollisionCommand, ADestinationWithASeparatorAtItsEndIsMade) {
    Write(_T("a.txt"), "a");
    Expect({"file", "copy", "a.txt", "other\\"}, 0, "a.txt: copied to other\\a.txt\n");
    EXPECT_EQ(Read(_T("other\\a.txt")), "a");
}

TEST_F(FileCollisionCommand, ADestinationInsideTheSourceIsRefused) {
    MakeFolders(File(_T("s\\in")));
    Expect({"file", "move", "s", "s\\in"}, 1, "",
           "kvtfile: s: the destination lies inside the source\n  Nothing was done.\n");
    EXPECT_EQ(Folder().Names(), (Names{"s"}));
}

}  // namespace
}  // namespace kvttest
