// SHFileOperationW off Windows: what a POSIX file system adds (links, pipes, holes, permissions, other file systems),
// and what Windows does and Wine does not.

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "kvtfile/ShellFileOp.h"
#include "tests/platform/shell_support.h"
#include "tests/platform/shell_tree.h"
#include "tests/support/message_boxes.h"

namespace kvttest {
namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

// ---- Links and special files

TEST(Win32ShellPosix, LinksAreCopiedAsLinks) {
    const PosixFolder folder;
    folder.Write("target/kept.txt", "kept");
    folder.MakeFolder("s");
    fs::create_symlink("../target", folder / "s/to-folder");
    fs::create_symlink("missing", folder / "s/dangling");
    EXPECT_TRUE(Shell(FO_COPY, {folder.Windows("s")}, {folder.Windows("d")}).Done());
    EXPECT_EQ(fs::read_symlink(folder / "d/to-folder"), "../target");
    EXPECT_EQ(fs::read_symlink(folder / "d/dangling"), "missing");
}

TEST(Win32ShellPosix, ADeletionDoesNotFollowLinks) {
    const PosixFolder folder;
    folder.Write("target/kept.txt", "kept");
    folder.MakeFolder("s");
    fs::create_symlink(folder / "target", folder / "s/link");
    fs::create_symlink(folder / "target", folder / "link");
    EXPECT_TRUE(Shell(FO_DELETE, {folder.Windows("s"), folder.Windows("link")}, {}).Done());
    EXPECT_EQ(folder.Tree(), (Names{"target/", "target/kept.txt=kept"}));
}

TEST(Win32ShellPosix, AFolderDoesNotMergeThroughALink) {
    const PosixFolder folder;
    folder.Write("s/in/a.txt", "a");
    folder.MakeFolder("elsewhere");
    folder.MakeFolder("d/s");
    fs::create_symlink(folder / "elsewhere", folder / "d/s/in");
    EXPECT_EQ(Shell(FO_COPY, {folder.Windows("s")}, {folder.Windows("d")}).code, 0x7E);
    EXPECT_TRUE(fs::is_empty(folder / "elsewhere"));
}

TEST(Win32ShellPosix, PipesAreLeftOutWithAnErrorAndNeverRead) {
    const PosixFolder folder;
    folder.Write("s/a.txt", "a");
    folder.Write("s/z.txt", "z");
    ASSERT_EQ(::mkfifo((folder / "s/pipe").c_str(), 0600), 0);
    const ShellResult result = Shell(FO_COPY, {folder.Windows("s")}, {folder.Windows("d")});
    EXPECT_EQ(result.code, 50);
    EXPECT_TRUE(result.aborted);
    EXPECT_EQ(folder.Tree("d"), (Names{"a.txt=a", "z.txt=z"}));
    EXPECT_EQ(Shell(FO_COPY, {folder.Windows("s/pipe")}, {folder.Windows("p")}).code, 50);
    EXPECT_TRUE(Shell(FO_MOVE, {folder.Windows("s/pipe")}, {folder.Windows("p")}).Done());
    EXPECT_TRUE(fs::is_fifo(folder / "p"));
    EXPECT_TRUE(Shell(FO_DELETE, {folder.Windows("p")}, {}).Done());
}

// ---- What is kept

TEST(Win32ShellPosix, PermissionsTimesAndExtendedAttributesAreKept) {
    const PosixFolder folder;
    folder.Write("s/a.txt", "a");
    folder.MakeFolder("s/in");
    const bool attributes = ::setxattr((folder / "s/a.txt").c_str(), "user.note", "text", 4, 0) == 0;
    ASSERT_EQ(::chmod((folder / "s/a.txt").c_str(), 0640), 0);
    ASSERT_EQ(::chmod((folder / "s/in").c_str(), 0555), 0);
    for (const char* name : {"s/a.txt", "s/in", "s"}) {
        const timespec times[2] = {{1000000001, 123456789}, {1000000002, 987654321}};
        ASSERT_EQ(::utimensat(AT_FDCWD, (folder / name).c_str(), times, 0), 0);
    }
    EXPECT_TRUE(Shell(FO_COPY, {folder.Windows("s")}, {folder.Windows("d")}).Done());
    for (const char* name : {"a.txt", "in", "."}) {
        SCOPED_TRACE(name);
        struct stat one {};
        struct stat other {};
        ASSERT_EQ(::stat(((folder / "s/") + name).c_str(), &one), 0);
        ASSERT_EQ(::stat(((folder / "d/") + name).c_str(), &other), 0);
        EXPECT_EQ(one.st_mode, other.st_mode);
        EXPECT_EQ(one.st_mtim.tv_sec, other.st_mtim.tv_sec);
        EXPECT_EQ(one.st_mtim.tv_nsec, other.st_mtim.tv_nsec);
    }
    if (attributes) {
        char text[8] = "";
        EXPECT_EQ(::getxattr((folder / "d/a.txt").c_str(), "user.note", text, sizeof text), 4);
        EXPECT_STREQ(text, "text");
    }
}

TEST(Win32ShellPosix, HolesStayHoles) {
    const PosixFolder folder;
    const std::string path = folder / "s";
    const int file = ::open(path.c_str(), O_RDWR | O_CREAT, 0600);
    ASSERT_GE(file, 0);
    constexpr off_t kSize = off_t{5} << 30;  // beyond 32 bits
    ASSERT_EQ(::ftruncate(file, kSize), 0);
    ASSERT_EQ(::pwrite(file, "middle", 6, off_t{3} << 30), 6);
    ASSERT_EQ(::pwrite(file, "end", 3, kSize - 3), 3);
    ::close(file);
    EXPECT_TRUE(Shell(FO_COPY, {folder.Windows("s")}, {folder.Windows("d")}).Done());
    struct stat status {};
    ASSERT_EQ(::stat((folder / "d").c_str(), &status), 0);
    EXPECT_EQ(status.st_size, kSize);
    EXPECT_LT(status.st_blocks, 4096);
    std::ifstream copy(folder / "d", std::ios::binary);
    char text[7] = "";
    copy.seekg(off_t{3} << 30);
    copy.read(text, 6);
    EXPECT_STREQ(text, "middle");
    copy.seekg(kSize - 3);
    copy.read(text, 3);
    EXPECT_EQ(std::string(text, 3), "end");
}

TEST(Win32ShellPosix, AHoleAtTheEndKeepsTheSize) {
    const PosixFolder folder;
    folder.Write("s", "begin");
    fs::resize_file(folder / "s", 1 << 24);
    EXPECT_TRUE(Shell(FO_COPY, {folder.Windows("s")}, {folder.Windows("d")}).Done());
    EXPECT_EQ(fs::file_size(folder / "d"), std::uintmax_t{1} << 24);
    EXPECT_EQ(folder.Read("d").substr(0, 6), std::string("begin\0", 6));
}

TEST(Win32ShellPosix, ATreeOfAnyDepthIsCopiedAndDeleted) {
    const PosixFolder folder;
    folder.MakeFolder("s");
    constexpr int kLevels = 1200;  // more than descriptors, longer than the longest path
    int at = ::open((folder / "s").c_str(), O_RDONLY | O_DIRECTORY);
    for (int i = 0; i < kLevels; ++i) {
        ASSERT_EQ(::mkdirat(at, "deep", 0755), 0);
        const int next = ::openat(at, "deep", O_RDONLY | O_DIRECTORY);
        ASSERT_GE(next, 0);
        ::close(at);
        at = next;
    }
    const int leaf = ::openat(at, "leaf", O_WRONLY | O_CREAT, 0600);
    ASSERT_EQ(::write(leaf, "x", 1), 1);
    ::close(leaf);
    ::close(at);
    EXPECT_TRUE(Shell(FO_COPY, {folder.Windows("s")}, {folder.Windows("d")}).Done());
    at = ::open((folder / "d").c_str(), O_RDONLY | O_DIRECTORY);
    int levels = 0;
    for (int next = 0; (next = ::openat(at, "deep", O_RDONLY | O_DIRECTORY)) >= 0; ++levels) {
        ::close(at);
        at = next;
    }
    EXPECT_EQ(levels, kLevels);
    EXPECT_EQ(::faccessat(at, "leaf", F_OK, 0), 0);
    ::close(at);
    EXPECT_TRUE(Shell(FO_DELETE, {folder.Windows("s"), folder.Windows("d")}, {}).Done());
    EXPECT_TRUE(folder.Tree().empty());
}

TEST(Win32ShellPosix, PathsUpToTheLongestAreTaken) {
    const PosixFolder folder;
    std::string name = "s";
    while (name.size() < 3700) {
        name += "/" + std::string(200, 'n');
    }
    folder.Write(name + "/a.txt", "a");
    EXPECT_TRUE(Shell(FO_COPY, {folder.Windows(name + "/a.txt")}, {folder.Windows(name + "/b.txt")}).Done());
    EXPECT_EQ(folder.Read(name + "/b.txt"), "a");
    EXPECT_TRUE(Shell(FO_DELETE, {folder.Windows(name + "/*.txt")}, {}).Done());
    EXPECT_EQ(Shell(FO_DELETE, {folder.Windows(name + "/" + std::string(400, 'n'))}, {}).code, 0x79);
    EXPECT_TRUE(Shell(FO_MOVE, {folder.Windows("s")}, {folder.Windows("t")}).Done());
    EXPECT_TRUE(Shell(FO_DELETE, {folder.Windows("t")}, {}).Done());
}

TEST(Win32ShellPosix, WhatMayNotBeReadEndsTheCopyAndNothingIsLeftOfIt) {
    if (::geteuid() == 0) {
        GTEST_SKIP() << "permissions mean nothing to root";
    }
    const PosixFolder folder;
    folder.Write("s/a.txt", "a");
    folder.Write("s/secret", "x");
    folder.MakeFolder("s/closed");
    ASSERT_EQ(::chmod((folder / "s/secret").c_str(), 0), 0);
    const ShellResult result = Shell(FO_COPY, {folder.Windows("s")}, {folder.Windows("d")});
    EXPECT_EQ(result.code, 5);
    EXPECT_TRUE(result.aborted);
    EXPECT_EQ(folder.Tree("d"), (Names{"missing"}));
    ASSERT_EQ(::chmod((folder / "s/secret").c_str(), 0600), 0);
    ASSERT_EQ(::chmod((folder / "s/closed").c_str(), 0), 0);
    EXPECT_EQ(Shell(FO_COPY, {folder.Windows("s")}, {folder.Windows("d")}).code, 5);
    EXPECT_EQ(folder.Tree("d"), (Names{"missing"}));
    ASSERT_EQ(::chmod((folder / "s/closed").c_str(), 0700), 0);
}

TEST(Win32ShellPosix, AFolderThatMayNotBeWrittenKeepsWhatIsInIt) {
    if (::geteuid() == 0) {
        GTEST_SKIP() << "permissions mean nothing to root";
    }
    const PosixFolder folder;
    folder.Write("s/a.txt", "a");
    folder.MakeFolder("d");
    ASSERT_EQ(::chmod((folder / "s").c_str(), 0555), 0);
    ASSERT_EQ(::chmod((folder / "d").c_str(), 0555), 0);
    EXPECT_EQ(Shell(FO_DELETE, {folder.Windows("s/a.txt")}, {}).code, 5);
    EXPECT_EQ(Shell(FO_MOVE, {folder.Windows("s/a.txt")}, {folder.Windows("b.txt")}).code, 5);
    EXPECT_EQ(Shell(FO_COPY, {folder.Windows("s/a.txt")}, {folder.Windows("d")}).code, 5);
    EXPECT_EQ(folder.Tree(), (Names{"d/", "s/", "s/a.txt=a"}));
    ASSERT_EQ(::chmod((folder / "s").c_str(), 0755), 0);
}

TEST(Win32ShellPosix, NamesOfAnyBytesAreCopied) {
    const PosixFolder folder;
    const std::string bytes = "a\xFF\\b?*\n";
    folder.Write("s/" + bytes, "x");
    EXPECT_TRUE(Shell(FO_COPY, {folder.Windows("s")}, {folder.Windows("d")}).Done());
    EXPECT_EQ(folder.Read("d/" + bytes), "x");
}

// ---- What is not to be lost

TEST(Win32ShellPosix, ATargetInsideTheSourceIsRefused) {
    const PosixFolder folder;
    folder.Write("s/in/a.txt", "a");
    fs::create_directory_symlink(folder / "s/in", folder / "link");
    const Names before = folder.Tree();
    for (const UINT operation : {FO_COPY, FO_MOVE}) {
        EXPECT_EQ(Shell(operation, {folder.Windows("s")}, {folder.Windows("s/in")}).code, 0x76);
        EXPECT_EQ(Shell(operation, {folder.Windows("s")}, {folder.Windows("s/new/deep")}).code, 0x76);
        EXPECT_EQ(Shell(operation, {folder.Windows("s")}, {folder.Windows("link")}).code, 0x76);
        EXPECT_EQ(Shell(operation, {folder.Windows("s")}, {folder.Windows("s")}).code, 0x71);
        EXPECT_EQ(folder.Tree(), before);
    }
}

TEST(Win32ShellPosix, SourceAndTargetThatAreOneAreRefused) {
    const PosixFolder folder;
    folder.Write("d/a.txt", "a");
    fs::create_directory_symlink(folder / "d", folder / "link");
    fs::create_hard_link(folder / "d/a.txt", folder / "hard");
    for (const UINT operation : {FO_COPY, FO_MOVE}) {
        EXPECT_EQ(Shell(operation, {folder.Windows("d/a.txt")}, {folder.Windows("d")}).code, 0x71);
        EXPECT_EQ(Shell(operation, {folder.Windows("d/a.txt")}, {folder.Windows("link")}).code, 0x71);
        EXPECT_EQ(Shell(operation, {folder.Windows("d/a.txt")}, {folder.Windows("hard")}).code, 0x71);
    }
    EXPECT_EQ(folder.Read("d/a.txt"), "a");
}

TEST(Win32ShellPosix, ALinkIsNotBroughtOverWhatItLeadsTo) {
    const PosixFolder folder;
    folder.Write("a.txt", "a");
    folder.Write("d/s/b.txt", "b");
    folder.MakeFolder("s");
    fs::create_symlink("a.txt", folder / "link");
    fs::create_symlink("../d/s/b.txt", folder / "s/b.txt");
    const Names before = folder.Tree();
    for (const UINT operation : {FO_COPY, FO_MOVE}) {
        ShellResult result = Shell(operation, {folder.Windows("link")}, {folder.Windows("a.txt")});
        EXPECT_EQ(result.code, 0x71);
        EXPECT_FALSE(result.aborted);
        result = Shell(operation, {folder.Windows("s")}, {folder.Windows("d")});
        EXPECT_EQ(result.code, 0x71);
        EXPECT_TRUE(result.aborted);
        EXPECT_EQ(folder.Tree(), before);
    }
}

TEST(Win32ShellPosix, SourcesOfOneRunDoNotUndoEachOther) {
    const PosixFolder folder;
    folder.Write("1/a.txt", "1a");
    folder.Write("1/b.txt", "1b");
    folder.Write("2/a.txt", "2a");
    fs::create_directory_symlink("1", folder / "link");
    const Names before = folder.Tree();
    const CString a = folder.Windows("1/a.txt");
    const CString b = folder.Windows("1/b.txt");
    const FILEOP_FLAGS several = kShellQuiet | FOF_MULTIDESTFILES;
    const struct {
        int code;
        UINT operation;
        std::vector<CString> from, to;
        FILEOP_FLAGS flags;
    } rows[] = {
        {0x72, FO_MOVE, {a, folder.Windows("2/a.txt")}, {folder.Windows("new")}, kShellQuiet},
        {0x72, FO_MOVE, {a, a}, {folder.Windows("2")}, kShellQuiet},
        {0x72, FO_MOVE, {a, b}, {folder.Windows("link/x"), folder.Windows("1/x")}, several},
        {0x71, FO_MOVE, {a, b}, {b, a}, several},
        {0x71, FO_MOVE, {folder.Windows("2/a.txt"), b}, {folder.Windows("link/b.txt"), folder.Windows("x")}, several},
        {0x71, FO_COPY, {a, b}, {b, folder.Windows("x")}, several},
    };
    for (const auto& row : rows) {
        const ShellResult result = Shell(row.operation, row.from, row.to, row.flags);
        EXPECT_EQ(result.code, row.code);
        EXPECT_FALSE(result.aborted);
        EXPECT_EQ(folder.Tree(), before);
    }
}

TEST(Win32ShellPosix, AnOpenFileIsNeitherRenamedNorPutIntoTheTrash) {
    const PosixFolder folder;
    folder.Write("a.txt", "a");
    const HANDLE file = ::CreateFileW(folder.Windows("a.txt"), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                      FILE_ATTRIBUTE_NORMAL, nullptr);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    const FILEOP_FLAGS beside = kShellQuiet | FOF_RENAMEONCOLLISION;
    const CString other = folder.Windows("b.txt");
    EXPECT_EQ(Shell(FO_RENAME, {folder.Windows("a.txt")}, {other}).code, 32);
    EXPECT_EQ(Shell(FO_RENAME, {folder.Windows("a.txt")}, {other}, beside).code, 32);
    EXPECT_EQ(Shell(FO_RENAME, {folder.Windows("a.txt")}, {folder.Windows("A.txt")}).code, 32);
    EXPECT_EQ(Shell(FO_DELETE, {folder.Windows("a.txt")}, {}, kShellQuiet | FOF_ALLOWUNDO).code, 32);
    EXPECT_EQ(folder.Tree(), (Names{"a.txt=a"}));
    ::CloseHandle(file);
}

TEST(Win32ShellPosix, HiddenFilesStayHiddenInListings) {
    for (const UINT operation : {FO_COPY, FO_MOVE}) {
        const PosixFolder folder;
        folder.Write("a.txt", "a");
        folder.Write("s/b.txt", "b");
        folder.MakeFolder("d/s");
        if (!::SetFileAttributesW(folder.Windows("a.txt"), FILE_ATTRIBUTE_HIDDEN)) {
            GTEST_SKIP() << "no extended attributes";
        }
        ASSERT_TRUE(::SetFileAttributesW(folder.Windows("s/b.txt"), FILE_ATTRIBUTE_SYSTEM));
        EXPECT_TRUE(Shell(operation, {folder.Windows("a.txt"), folder.Windows("s")}, {folder.Windows("d")}).Done());
        const struct {
            const char* pattern;
            DWORD attribute;
        } rows[] = {{"d/a*", FILE_ATTRIBUTE_HIDDEN}, {"d/s/b*", FILE_ATTRIBUTE_SYSTEM}};
        for (const auto& row : rows) {
            WIN32_FIND_DATAW data{};
            const HANDLE find = ::FindFirstFileW(folder.Windows(row.pattern), &data);
            ASSERT_NE(find, INVALID_HANDLE_VALUE);
            ::FindClose(find);
            EXPECT_NE(data.dwFileAttributes & row.attribute, 0u) << row.pattern;
        }
    }
}

TEST(Win32ShellPosix, CopiedFoldersKeepTheGroupOfTheFolderAbove) {
    const PosixFolder folder;
    folder.Write("s/in/a.txt", "a");
    folder.MakeFolder("d");
    ASSERT_EQ(::chmod((folder / "d").c_str(), 02755), 0);
    EXPECT_TRUE(Shell(FO_COPY, {folder.Windows("s")}, {folder.Windows("d")}).Done());
    for (const char* name : {"d/s", "d/s/in"}) {
        struct stat status {};
        ASSERT_EQ(::stat((folder / name).c_str(), &status), 0);
        EXPECT_NE(status.st_mode & S_ISGID, 0u) << name;
    }
}

TEST(Win32ShellPosix, AFileIsNoFolder) {
    const PosixFolder folder;
    folder.Write("a.txt", "a");
    folder.MakeFolder("d");
    for (const UINT operation : {FO_COPY, FO_MOVE, FO_DELETE}) {
        EXPECT_EQ(Shell(operation, {folder.Windows("a.txt/")}, {folder.Windows("b")}).code, 0x7C);
    }
    EXPECT_EQ(folder.Tree(), (Names{"a.txt=a", "d/"}));
    EXPECT_TRUE(Shell(FO_DELETE, {folder.Windows("d/")}, {}).Done());
}

TEST(Win32ShellPosix, NothingIsBegunWhenAnyPathIsWrong) {
    const PosixFolder folder;
    folder.Write("a.txt", "a");
    folder.Write("b.txt", "b");
    folder.MakeFolder("d/b.txt");
    const Names before = folder.Tree();
    const CString a = folder.Windows("a.txt");
    const CString d = folder.Windows("d");
    const struct {
        int code;
        UINT operation;
        std::vector<CString> from;
        std::vector<CString> to;
        int flags;
    } rows[] = {
        {2, FO_COPY, {a, folder.Windows("none")}, {d}, 0},
        {2, FO_MOVE, {a, folder.Windows("none")}, {d}, 0},
        {2, FO_DELETE, {a, folder.Windows("none")}, {}, 0},
        {0x7C, FO_MOVE, {a, folder.Windows("none/x")}, {d}, 0},
        {0x7C, FO_MOVE, {a, folder.Windows("none/*")}, {d}, 0},
        {0x7C, FO_DELETE, {a, folder.Windows("n*/x")}, {}, 0},
        {0x7C, FO_COPY, {a}, {folder.Windows("n*")}, 0},
        {0x7C, FO_COPY, {a}, {}, 0},
        {0x7C, FO_COPY, {a}, {folder.Windows("b.txt/x")}, 0},
        {0x7C, FO_DELETE, {a, Wide(folder / "d/..")}, {}, 0},
        {0x74, FO_DELETE, {a, _T("C:\\")}, {}, 0},
        {0x74, FO_MOVE, {a, _T("/")}, {d}, 0},
        {0x7C, FO_DELETE, {a, _T("C:\\nul")}, {}, 0},
        {0x72, FO_COPY, {a, d}, {folder.Windows("b.txt")}, 0},
        {0x80, FO_COPY, {a, folder.Windows("b.txt")}, {d}, 0},
        {0x80, FO_MOVE, {a, folder.Windows("b.txt")}, {d}, 0},
        {0x7E, FO_COPY, {d}, {folder.Windows("b.txt")}, 0},
        {0x7A, FO_COPY, {a, d}, {folder.Windows("1"), folder.Windows("2"), folder.Windows("3")}, FOF_MULTIDESTFILES},
        {50, FO_DELETE, {a, d}, {}, FOF_NORECURSION},
        {0x73, FO_RENAME, {a}, {folder.Windows("d/c.txt")}, 0},
        {183, FO_RENAME, {a}, {folder.Windows("b.txt")}, 0},
        {183, FO_RENAME, {a}, {d}, 0},
        {0x71, FO_RENAME, {a}, {a}, 0},
        {0x72, FO_RENAME, {folder.Windows("*.txt")}, {folder.Windows("c.txt")}, 0},
    };
    for (size_t i = 0; i < std::size(rows); ++i) {
        SCOPED_TRACE(i);
        const auto flags = static_cast<FILEOP_FLAGS>(kShellQuiet | rows[i].flags);
        const ShellResult result = Shell(rows[i].operation, rows[i].from, rows[i].to, flags);
        EXPECT_EQ(result.code, rows[i].code);
        EXPECT_FALSE(result.aborted);
        EXPECT_EQ(folder.Tree(), before);
    }
    EXPECT_EQ(::SHFileOperationW(nullptr), 87);
}

TEST(Win32ShellPosix, AnEntryWithWildcardsInItsNameIsMeantAlone) {
    const PosixFolder folder;
    folder.Write("a*", "star");
    folder.Write("ab", "kept");
    EXPECT_TRUE(Shell(FO_DELETE, {folder.Windows("a*")}, {}).Done());
    EXPECT_EQ(folder.Tree(), (Names{"ab=kept"}));
    EXPECT_TRUE(Shell(FO_DELETE, {folder.Windows("a*")}, {}).Done());
    EXPECT_TRUE(folder.Tree().empty());
}

TEST(Win32ShellPosix, ReadOnlyFilesAndFoldersAreDeletedAndMoved) {
    const PosixFolder folder;
    folder.Write("s/in/a.txt", "a");
    folder.MakeFolder("d");
    ::chmod((folder / "s/in/a.txt").c_str(), 0444);
    ::chmod((folder / "s/in").c_str(), 0555);
    EXPECT_TRUE(Shell(FO_MOVE, {folder.Windows("s/in")}, {folder.Windows("d")}).Done());
    struct stat status {};
    ASSERT_EQ(::stat((folder / "d/in").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0555u);
    EXPECT_TRUE(Shell(FO_DELETE, {folder.Windows("d")}, {}).Done());
    EXPECT_EQ(folder.Tree(), (Names{"s/"}));
}

TEST(Win32ShellPosix, AMoveMergesFolders) {
    const PosixFolder folder;
    folder.Write("s/a.txt", "new");
    folder.Write("s/in/b.txt", "b");
    folder.Write("s/own/c.txt", "c");
    folder.Write("d/s/a.txt", "old");
    folder.Write("d/s/in/kept.txt", "kept");
    EXPECT_TRUE(Shell(FO_MOVE, {folder.Windows("s")}, {folder.Windows("d")}).Done());
    EXPECT_EQ(folder.Tree(), (Names{"d/", "d/s/", "d/s/a.txt=new", "d/s/in/", "d/s/in/b.txt=b", "d/s/in/kept.txt=kept",
                                    "d/s/own/", "d/s/own/c.txt=c"}));
}

TEST(Win32ShellPosix, AMoveOntoItsOwnNameInOtherCaseRespellsIt) {
    const PosixFolder folder;
    folder.Write("a.txt", "a");
    folder.MakeFolder("d");
    EXPECT_TRUE(Shell(FO_RENAME, {folder.Windows("a.txt")}, {folder.Windows("A.TXT")}).Done());
    EXPECT_TRUE(Shell(FO_MOVE, {folder.Windows("d")}, {folder.Windows("D")}).Done());
    EXPECT_EQ(folder.Tree(), (Names{"A.TXT=a", "D/"}));
}

TEST(Win32ShellPosix, SourcesInsideSourcesAreDeletedWithThem) {
    const PosixFolder folder;
    folder.Write("d/in/a.txt", "a");
    EXPECT_TRUE(Shell(FO_DELETE, {folder.Windows("d"), folder.Windows("d/in/a.txt"), folder.Windows("d")}, {}).Done());
    EXPECT_TRUE(folder.Tree().empty());
}

TEST(Win32ShellPosix, ADestinationWithASeparatorAtItsEndIsAFolder) {
    const PosixFolder folder;
    folder.Write("a.txt", "a");
    EXPECT_TRUE(Shell(FO_COPY, {folder.Windows("a.txt")}, {folder.Windows("new/")}).Done());
    EXPECT_EQ(folder.Read("new/a.txt"), "a");
}

TEST(Win32ShellPosix, SeveralDestinationsMayBeFolders) {
    const PosixFolder folder;
    folder.Write("a.txt", "a");
    folder.Write("b.txt", "b");
    folder.MakeFolder("one");
    folder.MakeFolder("two");
    EXPECT_TRUE(Shell(FO_MOVE, {folder.Windows("a.txt"), folder.Windows("b.txt")},
                      {folder.Windows("one"), folder.Windows("two")}, kShellQuiet | FOF_MULTIDESTFILES)
                    .Done());
    EXPECT_EQ(folder.Tree(), (Names{"one/", "one/a.txt=a", "two/", "two/b.txt=b"}));
}

// ---- Collisions

TEST(Win32ShellPosix, ACopyBesideATakenNameIsCalledCopy) {
    const PosixFolder folder;
    folder.Write("a.txt", "new");
    folder.Write("d/a.txt", "old");
    folder.MakeFolder("v1.0");
    const FILEOP_FLAGS flags = kShellQuiet | FOF_RENAMEONCOLLISION;
    for (int i = 0; i < 3; ++i) {
        EXPECT_TRUE(Shell(FO_COPY, {folder.Windows("a.txt")}, {folder.Windows("d")}, flags).Done());
    }
    EXPECT_TRUE(Shell(FO_COPY, {folder.Windows("v1.0")}, {folder.Windows("v1.0")}, flags).Done());
    EXPECT_EQ(folder.Tree(), (Names{"a.txt=new", "d/", "d/a - Copy (2).txt=new", "d/a - Copy (3).txt=new",
                                    "d/a - Copy.txt=new", "d/a.txt=old", "v1.0 - Copy/", "v1.0/"}));
}

TEST(Win32ShellPosix, WhatIsMovedOrRenamedToATakenNameGetsANumber) {
    const PosixFolder folder;
    folder.Write("a.txt", "1");
    folder.Write("in/a.txt", "2");
    folder.Write("b.txt", "3");
    folder.Write("d/a.txt", "old");
    const FILEOP_FLAGS flags = kShellQuiet | FOF_RENAMEONCOLLISION;
    EXPECT_TRUE(
        Shell(FO_MOVE, {folder.Windows("a.txt"), folder.Windows("in/a.txt")}, {folder.Windows("d")}, flags).Done());
    EXPECT_TRUE(Shell(FO_RENAME, {folder.Windows("b.txt")}, {folder.Windows("in")}, flags).Done());
    EXPECT_EQ(folder.Tree(), (Names{"d/", "d/a (2).txt=1", "d/a (3).txt=2", "d/a.txt=old", "in (2)=3", "in/"}));
    EXPECT_EQ(Shell(FO_MOVE, {folder.Windows("in")}, {folder.Windows("in")}, flags).code, 0x71);
}

// ---- Through the class

TEST(Win32ShellPosix, AnObjectTellsThatSomethingWasLeftOut) {
    const PosixFolder folder;
    folder.Write("a.txt", "new");
    folder.Write("d/a.txt", "old");
    kvtfile::CFShellFileOp op;
    op.AddSourceFile(folder.Windows("a.txt"));
    op.AddDestFile(folder.Windows("d"));
    op.SetOperationFlags(FO_MOVE, nullptr, FOF_SILENT);
    const MessageBoxes boxes(IDNO);
    int started = -1;
    int code = -1;
    int aborted = -1;
    EXPECT_EQ(op.Go(&started, &code, &aborted), 0);
    EXPECT_EQ(started, 1);
    EXPECT_EQ(code, 0x75);
    EXPECT_EQ(aborted, 1);
    EXPECT_EQ(op.AnyOperationsAborted(), TRUE);
    EXPECT_EQ(folder.Tree(), (Names{"a.txt=new", "d/", "d/a.txt=old"}));
}

TEST(Win32ShellPosix, AnObjectBringsEachSourceToItsDestination) {
    const PosixFolder folder;
    folder.Write("a.txt", "a");
    folder.Write("b.txt", "b");
    kvtfile::CFShellFileOp op;
    op.AddSourceFile(folder.Windows("a.txt"));
    op.AddSourceFile(folder.Windows("b.txt"));
    op.AddDestFile(folder.Windows("one"));
    op.AddDestFile(folder.Windows("two"));
    op.SetOperationFlags(FO_COPY, nullptr, kShellQuiet);
    int aborted = -1;
    EXPECT_EQ(op.Go(nullptr, nullptr, &aborted), 1);
    EXPECT_EQ(aborted, 0);
    EXPECT_EQ(folder.Tree(), (Names{"a.txt=a", "b.txt=b", "one/", "one/a.txt=a", "two/", "two/b.txt=b"}));
}

// ---- Questions

TEST(Win32ShellPosix, ReplacingIsAskedAbout) {
    const PosixFolder folder;
    folder.Write("a.txt", "new");
    folder.Write("b.txt", "old");
    const FILEOP_FLAGS asks = FOF_SILENT;
    const std::string question = "36 " + Utf8(folder.Windows("b.txt")) + "\nexists already. Replace it?";
    for (const UINT operation : {FO_COPY, FO_MOVE}) {
        MessageBoxes boxes(IDNO);
        const ShellResult result = Shell(operation, {folder.Windows("a.txt")}, {folder.Windows("b.txt")}, asks);
        EXPECT_EQ(result.code, 0x75);
        EXPECT_TRUE(result.aborted);
        EXPECT_EQ(boxes.Take(), (Names{question}));
        EXPECT_EQ(folder.Tree(), (Names{"a.txt=new", "b.txt=old"}));
    }
    MessageBoxes boxes(IDYES);
    EXPECT_TRUE(Shell(FO_MOVE, {folder.Windows("a.txt")}, {folder.Windows("b.txt")}, asks).Done());
    EXPECT_EQ(boxes.Take(), (Names{question}));
    EXPECT_EQ(folder.Tree(), (Names{"b.txt=new"}));
}

TEST(Win32ShellPosix, ANoLeavesOneFileOutAndACancelEndsTheRun) {
    const PosixFolder folder;
    folder.Write("s/a.txt", "new");
    folder.Write("s/b.txt", "b");
    folder.Write("d/s/a.txt", "old");
    {
        MessageBoxes boxes(IDCANCEL);
        EXPECT_EQ(Shell(FO_MOVE, {folder.Windows("s")}, {folder.Windows("d")}, FOF_SILENT).code, 0x75);
        EXPECT_EQ(boxes.Take().size(), 1u);
        EXPECT_EQ(folder.Tree(), (Names{"d/", "d/s/", "d/s/a.txt=old", "s/", "s/a.txt=new", "s/b.txt=b"}));
    }
    MessageBoxes boxes(IDNO);
    const ShellResult result = Shell(FO_MOVE, {folder.Windows("s")}, {folder.Windows("d")}, FOF_SILENT);
    EXPECT_EQ(result.code, 0x75);
    EXPECT_TRUE(result.aborted);
    EXPECT_EQ(boxes.Take(), (Names{"35 " + Utf8(folder.Windows("d/s/a.txt")) + "\nexists already. Replace it?"}));
    EXPECT_EQ(folder.Tree(), (Names{"d/", "d/s/", "d/s/a.txt=old", "d/s/b.txt=b", "s/", "s/a.txt=new"}));
}

TEST(Win32ShellPosix, MakingAFolderIsAskedAbout) {
    const PosixFolder folder;
    folder.Write("a.txt", "a");
    const CString target = folder.Windows("new/deep/b.txt");
    {
        MessageBoxes boxes(IDNO);
        const ShellResult result = Shell(FO_COPY, {folder.Windows("a.txt")}, {target}, FOF_SILENT);
        EXPECT_EQ(result.code, 0x75);
        EXPECT_TRUE(result.aborted);
        EXPECT_EQ(boxes.Take(),
                  (Names{"36 The folder\n" + Utf8(folder.Windows("new/deep")) + "\ndoes not exist. Create it?"}));
        EXPECT_EQ(folder.Tree(), (Names{"a.txt=a"}));
    }
    MessageBoxes boxes(IDNO);
    EXPECT_TRUE(Shell(FO_COPY, {folder.Windows("a.txt")}, {target}, FOF_SILENT | FOF_NOCONFIRMMKDIR).Done());
    EXPECT_TRUE(boxes.Take().empty());
    EXPECT_EQ(folder.Read("new/deep/b.txt"), "a");
}

TEST(Win32ShellPosix, DeletingForGoodIsAskedAbout) {
    const PosixFolder folder;
    folder.Write("a.txt", "a");
    folder.Write("b.txt", "b");
    const std::vector<CString> both = {folder.Windows("a.txt"), folder.Windows("b.txt")};
    {
        MessageBoxes boxes(IDNO);
        EXPECT_EQ(Shell(FO_DELETE, {both[0]}, {}, FOF_SILENT).code, 0x75);
        EXPECT_EQ(Shell(FO_DELETE, both, {}, FOF_SILENT).code, 0x75);
        EXPECT_EQ(boxes.Take(),
                  (Names{"36 Permanently delete\n" + Utf8(both[0]) + "?", "36 Permanently delete these 2 items?"}));
        EXPECT_EQ(folder.Tree(), (Names{"a.txt=a", "b.txt=b"}));
    }
    MessageBoxes boxes(IDYES);
    EXPECT_TRUE(Shell(FO_DELETE, both, {}, FOF_SILENT).Done());
    EXPECT_TRUE(folder.Tree().empty());
}

TEST(Win32ShellPosix, WithoutAHandlerTheAnswerIsNo) {
    const PosixFolder folder;
    folder.Write("a.txt", "a");
    const auto before = kvtmfc::SetMessageBoxHandler(nullptr);
    testing::internal::CaptureStderr();
    const ShellResult result = Shell(FO_DELETE, {folder.Windows("a.txt")}, {}, FOF_SILENT);
    const std::string said = testing::internal::GetCapturedStderr();
    kvtmfc::SetMessageBoxHandler(before);
    EXPECT_EQ(result.code, 0x75);
    EXPECT_TRUE(result.aborted);
    EXPECT_EQ(said, "Permanently delete\n" + Utf8(folder.Windows("a.txt")) + "?\n");
    EXPECT_EQ(folder.Tree(), (Names{"a.txt=a"}));
}

TEST(Win32ShellPosix, AnErrorIsShownUnlessItIsNotWanted) {
    const PosixFolder folder;
    MessageBoxes boxes(IDOK);
    EXPECT_EQ(Shell(FO_DELETE, {folder.Windows("none")}, {}, FOF_SILENT | FOF_NOCONFIRMATION).code, 2);
    EXPECT_EQ(boxes.Take(),
              (Names{"16 " + Utf8(folder.Windows("none")) + ": " + Utf8(SystemText(ERROR_FILE_NOT_FOUND))}));
    EXPECT_EQ(Shell(FO_DELETE, {folder.Windows("none")}, {}, kShellQuiet).code, 2);
    EXPECT_TRUE(boxes.Take().empty());
}

}  // namespace
}  // namespace kvttest
