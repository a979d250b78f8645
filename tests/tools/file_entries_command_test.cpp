// kvtfile file on what Windows or Wine do not have: names that differ in case alone, and links made by their text.

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "tests/platform/shell_tree.h"
#include "tests/tools/command_fixture.h"

namespace kvttest {
namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

class FileEntriesCommand : public CommandTest {
protected:
    static std::string Path(const PosixFolder& folder, const std::string& name) { return Utf8(folder.Windows(name)); }
    static std::string Exists(const std::string& path) {
        return "kvtfile: " + path +
               ": exists already\n"
               "  Nothing was done. Use --yes to replace files and merge folders, or --rename-on-collision.\n";
    }
};

TEST_F(FileEntriesCommand, AnotherFileThatDiffersInCaseIsNotReplacedUnasked) {
    const PosixFolder folder;
    folder.Write("a.txt", "small");
    folder.Write("A.txt", "capital");
    folder.Write("d/b.txt", "in d");
    folder.Write("D/b.txt", "in D");
    const Names before = folder.Tree();
    for (const char* verb : {"copy", "move"}) {
        Expect({"file", verb, Path(folder, "a.txt"), Path(folder, "A.txt")}, 1, "", Exists(Path(folder, "A.txt")));
        Expect({"file", verb, Path(folder, "d/b.txt"), Path(folder, "D/b.txt")}, 1, "",
               Exists(Path(folder, "D/b.txt")));
        EXPECT_EQ(folder.Tree(), before);
    }
    Expect({"file", "rename", Path(folder, "a.txt"), "A.txt"}, 1, "",
           "kvtfile: A.txt: exists already\n  Nothing was done. Use another name, or --rename-on-collision.\n");
    EXPECT_EQ(folder.Tree(), before);
}

// Wine's shell leaves the name as it was, or refuses.
TEST_F(FileEntriesCommand, ANameIsRespelledWithoutBeingAskedAbout) {
    Write(_T("a.txt"), "a");
    Expect({"file", "move", "a.txt", "A.txt"}, 0, "a.txt: moved to A.txt\n");
    Expect({"file", "rename", "A.txt", "a.TXT"}, 0, "A.txt: renamed to a.TXT\n");
    EXPECT_EQ(Folder().Names(), (Names{"a.TXT"}));
}

TEST_F(FileEntriesCommand, ALinkThatLeadsNowhereIsAnEntry) {
    const PosixFolder folder;
    folder.Write("a.txt", "a");
    folder.MakeFolder("d");
    fs::create_symlink("nowhere", folder / "l.txt");
    fs::create_symlink("nowhere", folder / "d/l.txt");
    const Names before = folder.Tree();
    Expect({"file", "copy", Path(folder, "a.txt"), Path(folder, "l.txt")}, 1, "", Exists(Path(folder, "l.txt")));
    Expect({"file", "copy", Path(folder, "l.txt"), Path(folder, "d")}, 1, "", Exists(Path(folder, "d/l.txt")));
    Expect({"file", "delete", Path(folder, "d")}, 1, "",
           "kvtfile: " + Path(folder, "d") +
               ": the folder is not empty\n"
               "  Nothing was done. Use --yes to delete it with all that is in it, or --trash.\n");
    EXPECT_EQ(folder.Tree(), before);
    Expect({"file", "copy", Path(folder, "l.txt"), Path(folder, "m.txt")}, 0,
           Path(folder, "l.txt") + ": copied to " + Path(folder, "m.txt") + "\n");
    EXPECT_EQ(fs::read_symlink(folder / "m.txt"), "nowhere");
    Expect({"file", "delete", Path(folder, "m.txt")}, 0, Path(folder, "m.txt") + ": deleted\n");
    Expect({"file", "delete", Path(folder, "*.txt")}, 0,
           Path(folder, "a.txt") + ": deleted\n" + Path(folder, "l.txt") + ": deleted\n");
    EXPECT_EQ(folder.Tree(), (Names{"d/", "d/l.txt->nowhere"}));
}

TEST_F(FileEntriesCommand, ARefusalAndAPartAreToldApart) {
    const PosixFolder folder;
    folder.Write("a.txt", "a");
    const std::string path = Path(folder, "a.txt") + "\\b.txt";
    Expect({"file", "copy", Path(folder, "a.txt"), path}, 1, "",
           "kvtfile: " + Path(folder, "a.txt") + ": a path is invalid\n  Nothing was done.\n");
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    Expect({"file", "copy", Path(folder, "pipe"), Path(folder, "p")}, 3, "",
           "kvtfile: " + Path(folder, "pipe") + ": not all of it was done: " + Utf8(SystemText(ERROR_NOT_SUPPORTED)) +
               "\n  What was not done is where it was. Look at the rights and at the room left.\n");
    EXPECT_EQ(folder.Tree(), (Names{"a.txt=a", "pipe|"}));
}

TEST_F(FileEntriesCommand, TheTrashIsSaidToBeMissing) {
    const PosixFolder there("/dev/shm");
    const std::string trash = "/dev/shm/.Trash-" + std::to_string(::getuid());
    if (fs::exists(fs::symlink_status(trash)) || fs::exists("/dev/shm/.Trash")) {
        GTEST_SKIP() << "there is a trash";
    }
    there.Write("a.txt", "a");
    fs::create_symlink("/nowhere", trash);
    Expect({"file", "delete", Path(there, "a.txt"), "--trash"}, 1, "",
           "kvtfile: there is no trash for what is on this file system\n"
           "  What is not in the trash is where it was. Delete it for good without --trash.\n");
    fs::remove(trash);
    EXPECT_EQ(there.Tree(), (Names{"a.txt=a"}));
}

}  // namespace
}  // namespace kvttest
