// kvtfile file copy, move, delete, rename.

#include "tests/tools/command_fixture.h"

namespace kvttest {
namespace {

using Names = std::vector<std::string>;

class FileCommand : public CommandTest {};

TEST_F(FileCommand, CopyTakesSourcesAndADestination) {
    Write(_T("a.txt"), "a");
    Write(_T("b.txt"), "b");
    Expect({"file", "copy", "a.txt", "c.txt"}, 0, "a.txt: copied to c.txt\n");
    Expect({"file", "copy", "a.txt", "b.txt", "new"}, 0, "a.txt: copied to new\\a.txt\nb.txt: copied to new\\b.txt\n");
    Expect({"file", "copy", "*.txt", "all"}, 0,
           "a.txt: copied to all\\a.txt\nb.txt: copied to all\\b.txt\nc.txt: copied to all\\c.txt\n");
    EXPECT_EQ(Read(_T("c.txt")), "a");
    EXPECT_EQ(Read(_T("new\\b.txt")), "b");
    EXPECT_EQ(Read(_T("all\\c.txt")), "a");
    EXPECT_EQ(Folder().Names(), (Names{"a.txt", "all", "b.txt", "c.txt", "new"}));
}

TEST_F(FileCommand, EachSourceMayHaveItsOwnDestination) {
    Write(_T("a.txt"), "a");
    Write(_T("b.txt"), "b");
    Expect({"file", "copy", "a.txt", "b.txt", "--to", "x.txt", "y.txt"}, 0,
           "a.txt: copied to x.txt\nb.txt: copied to y.txt\n");
    EXPECT_EQ(Read(_T("x.txt")), "a");
    EXPECT_EQ(Read(_T("y.txt")), "b");
    Expect({"file", "copy", "a.txt", "b.txt", "--to", "1", "2", "3"}, 2, "",
           "kvtfile: 3 destinations for 2 sources\n  Give one destination, or one for each source.\n");
    Expect({"file", "move", "a.txt"}, 2, "", "kvtfile: there is no destination\n  Give it last, or with --to.\n");
}

TEST_F(FileCommand, NothingIsReplacedUnasked) {
    Write(_T("a.txt"), "new");
    Write(_T("b.txt"), "old");
    MakeFolders(File(_T("d\\a.txt")));
    for (const char* verb : {"copy", "move"}) {
        Expect({"file", verb, "a.txt", "b.txt"}, 1, "",
               "kvtfile: b.txt: exists already\n"
               "  Nothing was done. Use --yes to replace files and merge folders, or --rename-on-collision.\n");
        EXPECT_EQ(Read(_T("b.txt")), "old");
        EXPECT_EQ(Read(_T("a.txt")), "new");
    }
    Expect({"file", "move", "a.txt", "b.txt", "--yes"}, 0, "a.txt: moved to b.txt\n");
    EXPECT_EQ(Folder().Names(), (Names{"b.txt", "d"}));
    EXPECT_EQ(Read(_T("b.txt")), "new");
}

TEST_F(FileCommand, TwoSourcesOfOneNameAreRefused) {
    MakeFolders(File(_T("one")));
    MakeFolders(File(_T("two")));
    Write(_T("one\\a.txt"), "1");
    Write(_T("two\\A.txt"), "2");
    Expect({"file", "move", "one\\a.txt", "two\\A.txt", "d", "--yes"}, 1, "",
           "kvtfile: d\\A.txt: two sources would have this name\n"
           "  Nothing was done. Use --rename-on-collision, or another folder for one of them.\n");
    EXPECT_EQ(Read(_T("one\\a.txt")), "1");
    EXPECT_FALSE(Exists(File(_T("d"))));
}

TEST_F(FileCommand, ATargetThatIsAnotherSourceIsRefused) {
    Write(_T("a.txt"), "a");
    Write(_T("b.txt"), "b");
    for (const char* verb : {"copy", "move"}) {
        Expect({"file", verb, "a.txt", "b.txt", "--to", "B.txt", "c.txt", "--yes"}, 1, "",
               "kvtfile: B.txt: is a source too\n"
               "  Nothing was done. Give it another name first, or run the two one after the other.\n");
    }
    EXPECT_EQ(Read(_T("a.txt")), "a");
    EXPECT_EQ(Read(_T("b.txt")), "b");
    EXPECT_EQ(Folder().Names(), (Names{"a.txt", "b.txt"}));
}

TEST_F(FileCommand, WhatIsMissingIsRefused) {
    Write(_T("a.txt"), "a");
    const std::string missing = "kvtfile: no.txt: " + Utf8(SystemText(ERROR_FILE_NOT_FOUND)) +
                                "\n  Nothing was done. Look at the path and at its rights.\n";
    Expect({"file", "copy", "a.txt", "no.txt", "d"}, 1, "", missing);
    Expect({"file", "move", "a.txt", "no.txt", "d"}, 1, "", missing);
    Expect({"file", "delete", "a.txt", "no.txt"}, 1, "", missing);
    Expect({"file", "rename", "no.txt", "b.txt"}, 1, "", missing);
    Expect({"file", "delete", "*.zip"}, 1, "",
           "kvtfile: *.zip: nothing matches\n  Nothing was done. Look at the names in the folder.\n");
    EXPECT_EQ(Folder().Names(), (Names{"a.txt"}));
}

TEST_F(FileCommand, ASourceIsNotCopiedOntoItself) {
    Write(_T("a.txt"), "a");
    Expect({"file", "copy", "a.txt", "a.txt"}, 1, "",
           "kvtfile: a.txt: the source and the destination are the same\n  Nothing was done.\n");
    EXPECT_EQ(Read(_T("a.txt")), "a");
}

TEST_F(FileCommand, DeleteForcesFullFolders) {
    Write(_T("a.txt"), "a");
    MakeFolders(File(_T("empty")));
    MakeFolders(File(_T("full\\in")));
    Expect({"file", "delete", "a.txt", "full"}, 1, "",
           "kvtfile: full: the folder is not empty\n"
           "  Nothing was done. Use --yes to delete it with all that is in it, or --trash.\n");
    Expect({"file", "delete", "a.txt", "empty"}, 0, "a.txt: deleted\nempty: deleted\n");
    Expect({"file", "delete", "full", "--yes"}, 0, "full: deleted\n");
    EXPECT_TRUE(Folder().Names().empty());
}

TEST_F(FileCommand, FilesOnlyLeavesFoldersThatMatch) {
    Write(_T("a.tmp"), "a");
    MakeFolders(File(_T("b.tmp")));
    Expect({"file", "delete", "*.tmp", "--files-only"}, 0, "a.tmp: deleted\n");
    EXPECT_EQ(Folder().Names(), (Names{"b.tmp"}));
}

TEST_F(FileCommand, TheTrashTakesWhatIsDeleted) {
    Write(_T("a.txt"), "a");
    Expect({"file", "delete", "a.txt", "--trash"}, 0, "a.txt: moved to the trash\n");
    EXPECT_TRUE(Folder().Names().empty());
}

TEST_F(FileCommand, RenameKeepsTheFolder) {
    MakeFolders(File(_T("d")));
    Write(_T("d\\a.txt"), "a");
    Write(_T("d\\taken.txt"), "t");
    Expect({"file", "rename", "d\\a.txt", "b.txt"}, 0, "d\\a.txt: renamed to b.txt\n");
    Expect({"file", "rename", "d\\b.txt", "taken.txt"}, 1, "",
           "kvtfile: taken.txt: exists already\n  Nothing was done. Use another name, or --rename-on-collision.\n");
    Expect({"file", "rename", "d\\b.txt", "x\\y"}, 2, "",
           "kvtfile: \"x\\y\" is no name\n  Give a name without folders; 'kvtfile file move' takes a path.\n");
    Expect({"file", "rename", "d", "e"}, 0, "d: renamed to e\n");
    EXPECT_EQ(Read(_T("e\\b.txt")), "a");
    EXPECT_EQ(Read(_T("e\\taken.txt")), "t");
}

TEST_F(FileCommand, JsonTellsWhatWasAskedForAndWhetherAllOfItWasDone) {
    Write(_T("a.txt"), "a");
    ExpectJson({"file", "copy", "a.txt", "b.txt", "--json"},
               R"({"done":true,"aborted":false,"code":0,"error":null,
                   "items":[{"source":"%DIR%\\a.txt","target":"%DIR%\\b.txt","renamed":false}]})");
    ExpectJson({"file", "delete", "a.txt", "--json"},
               R"({"done":true,"aborted":false,"code":0,"error":null,
                   "items":[{"source":"%DIR%\\a.txt","target":null,"renamed":false}]})");
    const ProcessResult refused = Run({"file", "copy", "b.txt", "b.txt", "--json"});
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_EQ(Json::parse(refused.out, nullptr, false), Json::parse(R"({"done":false,"aborted":false,"code":113,
        "error":"the source and the destination are the same",
        "items":[{"source":"%DIR%\\b.txt","target":"%DIR%\\b.txt","renamed":false}]})"));
}

TEST_F(FileCommand, WideNamesAreTaken) {
    Write(Wide("图纸 📐.dwg"), "x");
    Expect({"file", "move", "图纸 📐.dwg", "新.dwg"}, 0, "图纸 📐.dwg: moved to 新.dwg\n");
    EXPECT_EQ(Folder().Names(), (Names{"新.dwg"}));
}

}  // namespace
}  // namespace kvttest
