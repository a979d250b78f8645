// Shell operations between file systems, and the trash. The second file system is the one for shared memory.

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <time.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <regex>

#include "tests/platform/shell_support.h"
#include "tests/platform/shell_tree.h"
#include "tests/support/message_boxes.h"

namespace kvttest {
namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

constexpr const char* kOtherFileSystem = "/dev/shm";

bool AreTwoFileSystems(const PosixFolder& one, const PosixFolder& other) {
    struct stat a {};
    struct stat b {};
    return ::stat((one / "").c_str(), &a) == 0 && ::stat((other / "").c_str(), &b) == 0 && a.st_dev != b.st_dev;
}

// ---- Moves

TEST(Win32ShellDevices, AFileIsMovedWithAllThatBelongsToIt) {
    const PosixFolder here;
    const PosixFolder there(kOtherFileSystem);
    ASSERT_TRUE(AreTwoFileSystems(here, there));
    here.Write("a.txt", std::string(1 << 20, 'a'));
    ASSERT_EQ(::chmod((here / "a.txt").c_str(), 0640), 0);
    const timespec times[2] = {{1000000001, 123456789}, {1000000002, 987654321}};
    ASSERT_EQ(::utimensat(AT_FDCWD, (here / "a.txt").c_str(), times, 0), 0);
    there.Write("b.txt", "old");
    EXPECT_TRUE(Shell(FO_MOVE, {here.Windows("a.txt")}, {there.Windows("b.txt")}).Done());
    EXPECT_TRUE(here.Tree().empty());
    EXPECT_EQ(there.Read("b.txt"), std::string(1 << 20, 'a'));
    EXPECT_EQ(there.Tree().size(), 1u);
    struct stat status {};
    ASSERT_EQ(::stat((there / "b.txt").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0640u);
    EXPECT_EQ(status.st_mtim.tv_sec, 1000000002);
    EXPECT_EQ(status.st_mtim.tv_nsec, 987654321);
}

TEST(Win32ShellDevices, ATreeIsMovedWithLinksAndReadOnlyFolders) {
    const PosixFolder here;
    const PosixFolder there(kOtherFileSystem);
    here.Write("s/in/a.txt", "a");
    here.MakeFolder("s/empty");
    fs::create_symlink("../elsewhere", here / "s/link");
    ::chmod((here / "s/in").c_str(), 0555);
    EXPECT_TRUE(Shell(FO_MOVE, {here.Windows("s")}, {there.Windows("")}).Done());
    EXPECT_TRUE(here.Tree().empty());
    EXPECT_EQ(there.Tree(), (Names{"s/", "s/empty/", "s/in/", "s/in/a.txt=a", "s/link->../elsewhere"}));
    struct stat status {};
    ASSERT_EQ(::stat((there / "s/in").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0555u);
}

TEST(Win32ShellDevices, ATreeMergesIntoAnother) {
    const PosixFolder here;
    const PosixFolder there(kOtherFileSystem);
    here.Write("s/a.txt", "new");
    here.Write("s/in/b.txt", "b");
    there.Write("s/a.txt", "old");
    there.Write("s/kept.txt", "kept");
    EXPECT_TRUE(Shell(FO_MOVE, {here.Windows("s")}, {there.Windows("")}).Done());
    EXPECT_TRUE(here.Tree().empty());
    EXPECT_EQ(there.Tree(), (Names{"s/", "s/a.txt=new", "s/in/", "s/in/b.txt=b", "s/kept.txt=kept"}));
}

TEST(Win32ShellDevices, WhatIsNotMovedStays) {
    const PosixFolder here;
    const PosixFolder there(kOtherFileSystem);
    here.Write("s/a.txt", "new");
    here.Write("s/in/b.txt", "b");
    ASSERT_EQ(::mkfifo((here / "s/in/pipe").c_str(), 0600), 0);
    there.Write("s/a.txt", "old");
    MessageBoxes boxes(IDNO);
    const ShellResult result = Shell(FO_MOVE, {here.Windows("s")}, {there.Windows("")}, FOF_SILENT | FOF_NOERRORUI);
    EXPECT_EQ(result.code, 50);
    EXPECT_TRUE(result.aborted);
    EXPECT_EQ(here.Tree(), (Names{"s/", "s/a.txt=new", "s/in/", "s/in/pipe|"}));
    EXPECT_EQ(there.Tree(), (Names{"s/", "s/a.txt=old", "s/in/", "s/in/b.txt=b"}));
}

TEST(Win32ShellDevices, ANameThatWasLeftOutStaysThoughItsFileWasMovedUnderAnother) {
    const PosixFolder here;
    const PosixFolder there(kOtherFileSystem);
    here.Write("s/a.txt", "new");
    fs::create_hard_link(here / "s/a.txt", here / "s/b.txt");
    there.Write("s/b.txt", "old");
    MessageBoxes boxes(IDNO);
    const ShellResult result = Shell(FO_MOVE, {here.Windows("s")}, {there.Windows("")}, FOF_SILENT | FOF_NOERRORUI);
    EXPECT_EQ(result.code, 0x75);
    EXPECT_TRUE(result.aborted);
    EXPECT_EQ(here.Tree(), (Names{"s/", "s/b.txt=new"}));
    EXPECT_EQ(there.Tree(), (Names{"s/", "s/a.txt=new", "s/b.txt=old"}));
}

TEST(Win32ShellDevices, AReadOnlyFolderThatKeepsSomethingStaysReadOnly) {
    const PosixFolder here;
    const PosixFolder there(kOtherFileSystem);
    here.Write("s/a.txt", "new");
    there.Write("s/a.txt", "old");
    ASSERT_EQ(::chmod((here / "s").c_str(), 0555), 0);
    MessageBoxes boxes(IDNO);
    EXPECT_EQ(Shell(FO_MOVE, {here.Windows("s")}, {there.Windows("")}, FOF_SILENT | FOF_NOERRORUI).code, 0x75);
    struct stat status {};
    ASSERT_EQ(::stat((here / "s").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0555u);
    EXPECT_EQ(here.Tree(), (Names{"s/", "s/a.txt=new"}));
}

TEST(Win32ShellDevices, ACollisionGetsANumberThereToo) {
    const PosixFolder here;
    const PosixFolder there(kOtherFileSystem);
    here.Write("a.txt", "new");
    here.Write("s/b.txt", "b");
    there.Write("a.txt", "old");
    there.MakeFolder("s");
    EXPECT_TRUE(Shell(FO_MOVE, {here.Windows("a.txt"), here.Windows("s")}, {there.Windows("")},
                      kShellQuiet | FOF_RENAMEONCOLLISION)
                    .Done());
    EXPECT_TRUE(here.Tree().empty());
    EXPECT_EQ(there.Tree(), (Names{"a (2).txt=new", "a.txt=old", "s (2)/", "s (2)/b.txt=b", "s/"}));
}

// ---- The trash

/// The user's own trash of this test process.
std::string HomeTrash() {
    return std::string(std::getenv("XDG_DATA_HOME")) + "/Trash";
}

std::string ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file) << path;
    return {std::istreambuf_iterator<char>(file), {}};
}

const FILEOP_FLAGS kToTrash = kShellQuiet | FOF_ALLOWUNDO;

class Win32ShellTrash : public testing::Test {
protected:
    Win32ShellTrash() { fs::remove_all(HomeTrash()); }
};

TEST_F(Win32ShellTrash, WhatIsDeletedCanBeRestored) {
    const PosixFolder folder;
    folder.Write("a b%.txt", "content");
    ::setenv("TZ", "CST-8", 1);
    ::tzset();
    const time_t before = ::time(nullptr);
    EXPECT_TRUE(Shell(FO_DELETE, {folder.Windows("a b%.txt")}, {}, kToTrash).Done());
    const time_t after = ::time(nullptr);
    EXPECT_TRUE(folder.Tree().empty());
    EXPECT_EQ(ReadFile(HomeTrash() + "/files/a b%.txt"), "content");
    const std::string info = ReadFile(HomeTrash() + "/info/a b%.txt.trashinfo");
    std::smatch parts;
    ASSERT_TRUE(std::regex_match(
        info, parts,
        std::regex("\\[Trash Info\\]\nPath=(.*)\nDeletionDate=(\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d)\n")))
        << info;
    EXPECT_EQ(parts[1].str(), fs::canonical(folder / "").string() + "/a%20b%25.txt");
    tm local{};
    ASSERT_NE(::strptime(parts[2].str().c_str(), "%Y-%m-%dT%H:%M:%S", &local), nullptr);
    const time_t stamp = ::timegm(&local) - 8 * 3600;
    EXPECT_GE(stamp, before);
    EXPECT_LE(stamp, after);
    struct stat status {};
    ASSERT_EQ(::stat(HomeTrash().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0700u);
}

TEST_F(Win32ShellTrash, NamesThatAreTakenThereGetANumber) {
    const PosixFolder folder;
    for (const char* content : {"1", "2", "3"}) {
        folder.Write("a.txt", content);
        EXPECT_TRUE(Shell(FO_DELETE, {folder.Windows("a.txt")}, {}, kToTrash).Done());
    }
    EXPECT_EQ(ReadFile(HomeTrash() + "/files/a.txt"), "1");
    EXPECT_EQ(ReadFile(HomeTrash() + "/files/a.2.txt"), "2");
    EXPECT_EQ(ReadFile(HomeTrash() + "/files/a.3.txt"), "3");
    EXPECT_EQ(ReadFile(HomeTrash() + "/info/a.3.txt.trashinfo").substr(0, 18), "[Trash Info]\nPath=");
    // A file without information there (somebody emptied half of it) is not replaced.
    fs::remove(HomeTrash() + "/info/a.txt.trashinfo");
    folder.Write("a.txt", "4");
    EXPECT_TRUE(Shell(FO_DELETE, {folder.Windows("a.txt")}, {}, kToTrash).Done());
    EXPECT_EQ(ReadFile(HomeTrash() + "/files/a.txt"), "1");
    EXPECT_EQ(ReadFile(HomeTrash() + "/files/a.4.txt"), "4");
    EXPECT_FALSE(fs::exists(HomeTrash() + "/info/a.txt.trashinfo"));
}

TEST_F(Win32ShellTrash, FoldersLinksAndLongNamesGoThere) {
    const PosixFolder folder;
    folder.Write("v1.0/in/a.txt", "a");
    folder.Write("target", "kept");
    fs::create_symlink("target", folder / "link");
    const std::string name = std::string(245, 'n') + ".txt";
    folder.Write(name, "long");
    EXPECT_TRUE(
        Shell(FO_DELETE, {folder.Windows("v1.0"), folder.Windows("link"), folder.Windows(name)}, {}, kToTrash).Done());
    EXPECT_EQ(folder.Tree(), (Names{"target=kept"}));
    EXPECT_EQ(ReadFile(HomeTrash() + "/files/v1.0/in/a.txt"), "a");
    EXPECT_EQ(fs::read_symlink(HomeTrash() + "/files/link"), "target");
    const std::string cut = std::string(241, 'n') + ".txt";
    EXPECT_EQ(ReadFile(HomeTrash() + "/files/" + cut), "long");
    EXPECT_NE(ReadFile(HomeTrash() + "/info/" + cut + ".trashinfo").find("/" + name + "\n"), std::string::npos);
}

/// The trash folder of this user at the top of the other file system, removed at the end when it was not there before.
class TopTrash {
public:
    TopTrash() : m_path(std::string(kOtherFileSystem) + "/.Trash-" + std::to_string(::getuid())) {
        m_was_there = fs::exists(m_path);
    }
    ~TopTrash() {
        if (!m_was_there) {
            fs::remove_all(m_path);
        }
    }
    TopTrash(const TopTrash&) = delete;
    TopTrash& operator=(const TopTrash&) = delete;
    const std::string& Path() const { return m_path; }
    bool WasThere() const { return m_was_there; }

private:
    std::string m_path;
    bool m_was_there = false;
};

TEST_F(Win32ShellTrash, AnotherFileSystemHasItsOwn) {
    const TopTrash trash;
    if (trash.WasThere()) {
        GTEST_SKIP() << trash.Path() << " is in use";
    }
    const PosixFolder there(kOtherFileSystem);
    there.Write("a.txt", "a");
    EXPECT_TRUE(Shell(FO_DELETE, {there.Windows("a.txt")}, {}, kToTrash).Done());
    EXPECT_TRUE(there.Tree().empty());
    EXPECT_EQ(ReadFile(trash.Path() + "/files/a.txt"), "a");
    const std::string relative = (there / "a.txt").substr(std::string(kOtherFileSystem).size() + 1);
    EXPECT_EQ(ReadFile(trash.Path() + "/info/a.txt.trashinfo").find("[Trash Info]\nPath=" + relative + "\nDeletion"),
              0u);
}

/// Makes the trash of the other file system impossible while it lives.
class NoTrash {
public:
    NoTrash() { fs::create_symlink("/nowhere", m_trash.Path()); }
    ~NoTrash() { fs::remove(m_trash.Path()); }

private:
    TopTrash m_trash;
};

TEST_F(Win32ShellTrash, WithoutATrashNothingIsDeletedUnasked) {
    if (const TopTrash trash; trash.WasThere()) {
        GTEST_SKIP() << trash.Path() << " is in use";
    }
    const NoTrash no_trash;  // a link in its place is not used
    const PosixFolder there(kOtherFileSystem);
    there.Write("a.txt", "a");
    const std::string question =
        "36 There is no trash for\n" + Utf8(there.Windows("a.txt")) + "\nDelete it permanently?";
    MessageBoxes boxes(IDNO);
    // Where no question is wanted, the answer is no.
    ShellResult result = Shell(FO_DELETE, {there.Windows("a.txt")}, {}, kToTrash);
    EXPECT_EQ(result.code, 17);
    EXPECT_TRUE(result.aborted);
    EXPECT_TRUE(boxes.Take().empty());
    result = Shell(FO_DELETE, {there.Windows("a.txt")}, {}, FOF_ALLOWUNDO | FOF_SILENT);
    EXPECT_EQ(result.code, 0x75);
    EXPECT_TRUE(result.aborted);
    EXPECT_EQ(boxes.Take(), (Names{question}));
    EXPECT_EQ(there.Tree(), (Names{"a.txt=a"}));
    MessageBoxes yes(IDYES);
    EXPECT_TRUE(Shell(FO_DELETE, {there.Windows("a.txt")}, {}, kToTrash | FOF_WANTNUKEWARNING).Done());
    EXPECT_EQ(yes.Take(), (Names{question}));
    EXPECT_TRUE(there.Tree().empty());
}

TEST_F(Win32ShellTrash, ASharedTrashIsUsedOnlyWithTheStickyBit) {
    const std::string shared = std::string(kOtherFileSystem) + "/.Trash";
    const TopTrash own;
    if (own.WasThere() || fs::exists(shared)) {
        GTEST_SKIP() << shared << " is in use";
    }
    const PosixFolder there(kOtherFileSystem);
    fs::create_directory(shared);
    ::chmod(shared.c_str(), 0777);
    there.Write("a.txt", "1");
    EXPECT_TRUE(Shell(FO_DELETE, {there.Windows("a.txt")}, {}, kToTrash).Done());
    EXPECT_TRUE(fs::is_empty(shared));
    EXPECT_EQ(ReadFile(own.Path() + "/files/a.txt"), "1");
    ::chmod(shared.c_str(), 01777);
    there.Write("a.txt", "2");
    EXPECT_TRUE(Shell(FO_DELETE, {there.Windows("a.txt")}, {}, kToTrash).Done());
    EXPECT_EQ(ReadFile(shared + "/" + std::to_string(::getuid()) + "/files/a.txt"), "2");
    fs::remove_all(shared);
}

TEST_F(Win32ShellTrash, WhatLiesInTheTrashDoesNotGoThereAgain) {
    const PosixFolder folder;
    folder.Write("a.txt", "a");
    EXPECT_TRUE(Shell(FO_DELETE, {folder.Windows("a.txt")}, {}, kToTrash).Done());
    EXPECT_EQ(Shell(FO_DELETE, {CString(Wide(HomeTrash() + "/files/a.txt"))}, {}, kToTrash).code, 0x71);
    EXPECT_EQ(ReadFile(HomeTrash() + "/files/a.txt"), "a");
    EXPECT_TRUE(fs::exists(HomeTrash() + "/info/a.txt.trashinfo"));
    EXPECT_EQ(std::distance(fs::directory_iterator(HomeTrash() + "/info"), fs::directory_iterator()), 1);
}

TEST_F(Win32ShellTrash, TheTrashDoesNotGoIntoItself) {
    const PosixFolder folder;
    folder.Write("a.txt", "a");
    EXPECT_TRUE(Shell(FO_DELETE, {folder.Windows("a.txt")}, {}, kToTrash).Done());
    EXPECT_NE(Shell(FO_DELETE, {CString(Wide(fs::path(HomeTrash()).parent_path().string()))}, {}, kToTrash).code, 0);
    EXPECT_EQ(ReadFile(HomeTrash() + "/files/a.txt"), "a");
    EXPECT_EQ(std::distance(fs::directory_iterator(HomeTrash() + "/info"), fs::directory_iterator()), 1);
}

}  // namespace
}  // namespace kvttest
