// Shell operations on disks that fail: every call of the file seam fails once, and the process ends before every call.
// What was there must be somewhere, whole, each time; and only what is whole may be said to be done.

#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

#include "platform/io/io.h"
#include "tests/platform/io_faults_support.h"
#include "tests/platform/shell_support.h"
#include "tests/platform/shell_tree.h"

namespace kvttest {
namespace {

using Names = std::vector<std::string>;

int g_callsLeft = 0;
bool g_failed = false;
bool g_layered = false;

// The folder "s" cannot be renamed, while what is in it can: so it is in the lower layer of an overlay.
bool IsInLowerLayer(kvtio::Call call, LPCWSTR path) {
    return g_layered && call == kvtio::Call::Rename && CString(path) == _T("s");
}

kvtio::Error FailOne(kvtio::Call call, LPCWSTR path, size_t&) {
    if (IsInLowerLayer(call, path)) {
        return ERROR_NOT_SAME_DEVICE;
    }
    if (g_callsLeft-- != 0) {
        return ERROR_SUCCESS;
    }
    g_failed = true;
    return ERROR_IO_DEVICE;
}

kvtio::Error EndProcess(kvtio::Call call, LPCWSTR path, size_t&) {
    if (IsInLowerLayer(call, path)) {
        return ERROR_NOT_SAME_DEVICE;
    }
    if (g_callsLeft-- == 0) {
        ::_exit(99);
    }
    return ERROR_SUCCESS;
}

class Hook {
public:
    explicit Hook(kvtio::FaultHook hook) : m_previous(kvtio::SetFaultHook(hook)) {}
    ~Hook() { kvtio::SetFaultHook(m_previous); }
    Hook(const Hook&) = delete;
    Hook& operator=(const Hook&) = delete;

private:
    kvtio::FaultHook m_previous;
};

/// One operation on fresh folders.
struct Scene {
    const char* name;
    UINT operation;
    int flags;
    bool across;  // between file systems
    bool merge;   // the target is there already
    bool layered = false;
};

constexpr Scene kScenes[] = {
    {"copy", FO_COPY, 0, false, false},
    {"copy, merging", FO_COPY, 0, false, true},
    {"copy beside", FO_COPY, FOF_RENAMEONCOLLISION, false, true},
    {"move", FO_MOVE, 0, false, false},
    {"move, merging", FO_MOVE, 0, false, true},
    {"move across", FO_MOVE, 0, true, false},
    {"move across, merging", FO_MOVE, 0, true, true},
    {"move across beside", FO_MOVE, FOF_RENAMEONCOLLISION, true, true},
    {"move of a lower layer", FO_MOVE, 0, false, false, true},
    {"move of a lower layer, beside", FO_MOVE, FOF_RENAMEONCOLLISION, false, true, true},
};

constexpr const char* kInMemory = "/dev/shm";

class Stage {
public:
    explicit Stage(const Scene& scene) : m_scene(scene), m_here(scene.across ? "" : kInMemory), m_there(kInMemory) {
        g_layered = scene.layered;
        m_here.Write("s/a.txt", "content a");
        m_here.Write("s/in/b.txt", "content b");
        m_here.Write("c.txt", "content c");
        if (scene.merge) {
            m_there.Write("s/a.txt", "old a");
            m_there.Write("s/kept.txt", "kept");
            m_there.Write("c.txt", "old c");
        }
    }

    ShellResult Run() const {
        return Shell(m_scene.operation, {m_here.Windows("s"), m_here.Windows("c.txt")}, {m_there.Windows("")},
                     static_cast<FILEOP_FLAGS>(kShellQuiet | m_scene.flags));
    }

    ~Stage() { g_layered = false; }
    Stage(const Stage&) = delete;
    Stage& operator=(const Stage&) = delete;

    /// Each content of the source is in one of its two places, whole; what was in the target is old or new.
    void ExpectNothingLost(bool done) const {
        const bool beside = (m_scene.flags & FOF_RENAMEONCOLLISION) != 0 && m_scene.merge;
        const bool copies = m_scene.operation == FO_COPY;
        const std::string number = copies ? " - Copy" : " (2)";
        const std::string tree = beside ? "s" + number : "s";
        const std::string single = beside ? "c" + number + ".txt" : "c.txt";
        const struct {
            std::string from, to, content;
        } rows[] = {{"s/a.txt", tree + "/a.txt", "content a"},
                    {"s/in/b.txt", tree + "/in/b.txt", "content b"},
                    {"c.txt", single, "content c"}};
        for (const auto& row : rows) {
            SCOPED_TRACE(row.from);
            const bool source = Has(m_here, row.from, row.content);
            const bool target = Has(m_there, row.to, row.content);
            EXPECT_TRUE(source || (target && !copies));
            if (done) {
                EXPECT_TRUE(target);
                EXPECT_EQ(source, copies);
            }
        }
        if (m_scene.merge) {
            EXPECT_TRUE(Has(m_there, "s/kept.txt", "kept"));
            EXPECT_TRUE(Has(m_there, "s/a.txt", "old a") || (!beside && Has(m_there, "s/a.txt", "content a")));
            EXPECT_TRUE(Has(m_there, "c.txt", "old c") || (!beside && Has(m_there, "c.txt", "content c")));
        }
    }

    /// Nothing with a temporary name is left, in either place.
    void ExpectNoRemains() const {
        for (const PosixFolder* folder : {&m_here, &m_there}) {
            for (const std::string& entry : folder->Tree()) {
                EXPECT_EQ(entry.find('~'), std::string::npos) << entry;
            }
        }
    }

private:
    static bool Has(const PosixFolder& folder, const std::string& name, const std::string& content) {
        return ::access((folder / name).c_str(), F_OK) == 0 && folder.Read(name) == content;
    }

    const Scene& m_scene;
    PosixFolder m_here;
    PosixFolder m_there;
};

TEST(Win32ShellFaults, ACallThatFailsLosesNothing) {
    for (const Scene& scene : kScenes) {
        SCOPED_TRACE(scene.name);
        int calls = 0;
        for (;; ++calls) {
            SCOPED_TRACE("call " + std::to_string(calls));
            const Stage stage(scene);
            ShellResult result;
            {
                const Hook hook(FailOne);
                g_callsLeft = calls;
                g_failed = false;
                result = stage.Run();
            }
            stage.ExpectNothingLost(result.Done());
            stage.ExpectNoRemains();
            EXPECT_EQ(result.aborted, result.code != 0);
            if (!g_failed) {
                EXPECT_TRUE(result.Done());
                break;
            }
            ASSERT_LT(calls, 1000);
        }
        EXPECT_GE(calls, 8);
    }
}

TEST(Win32ShellFaults, AProcessThatEndsLosesNothing) {
    for (const Scene& scene : kScenes) {
        SCOPED_TRACE(scene.name);
        for (int calls = 0;; ++calls) {
            SCOPED_TRACE("call " + std::to_string(calls));
            const Stage stage(scene);
            const pid_t child = ::fork();
            ASSERT_GE(child, 0);
            if (child == 0) {
                kvtio::SetFaultHook(EndProcess);
                g_callsLeft = calls;
                ::_exit(stage.Run().Done() ? 0 : 1);
            }
            int status = 0;
            ASSERT_EQ(::waitpid(child, &status, 0), child);
            ASSERT_TRUE(WIFEXITED(status));
            const int code = WEXITSTATUS(status);
            stage.ExpectNothingLost(code == 0);
            if (code != 99) {
                EXPECT_EQ(code, 0);
                break;
            }
            ASSERT_LT(calls, 1000);
        }
    }
}

TEST(Win32ShellFaults, AFullDiskLeavesTheSourceAndTheOldTarget) {
    for (const bool across : {false, true}) {
        for (const UINT operation : {FO_COPY, FO_MOVE}) {
            if (operation == FO_MOVE && !across) {
                continue;  // a rename takes no room
            }
            const PosixFolder here;
            const PosixFolder there(across ? kInMemory : "");
            here.Write("a.txt", std::string(100000, 'a'));
            there.Write("a.txt", "old");
            ShellResult result;
            {
                Faults faults;
                faults.LimitDisk(50000);
                result = Shell(operation, {here.Windows("a.txt")}, {there.Windows("")});
            }
            EXPECT_EQ(result.code, static_cast<int>(ERROR_DISK_FULL));
            EXPECT_TRUE(result.aborted);
            EXPECT_EQ(here.Read("a.txt"), std::string(100000, 'a'));
            EXPECT_EQ(there.Tree(), (Names{"a.txt=old"}));
        }
    }
}

TEST(Win32ShellFaults, ShortWritesAreContinued) {
    const PosixFolder folder;
    const std::string content(100000, 'a');
    folder.Write("a.txt", content);
    {
        const Hook hook([](kvtio::Call call, LPCWSTR, size_t& count) -> kvtio::Error {
            if (call == kvtio::Call::Write || call == kvtio::Call::Read) {
                count = count > 777 ? 777 : count;
            }
            return ERROR_SUCCESS;
        });
        EXPECT_TRUE(Shell(FO_COPY, {folder.Windows("a.txt")}, {folder.Windows("b.txt")}).Done());
    }
    EXPECT_EQ(folder.Read("b.txt"), content);
}

TEST(Win32ShellFaults, ARenameThatFailsLosesNothing) {
    for (const bool layered : {false, true}) {
        SCOPED_TRACE(layered);
        for (int calls = 0;; ++calls) {
            SCOPED_TRACE("call " + std::to_string(calls));
            const PosixFolder folder;
            folder.Write("s/a.txt", "a");
            folder.Write("s/in/b.txt", "b");
            ShellResult result;
            {
                const Hook hook(FailOne);
                g_layered = layered;
                g_callsLeft = calls;
                g_failed = false;
                result = Shell(FO_RENAME, {folder.Windows("s")}, {folder.Windows("t")});
                g_layered = false;
            }
            EXPECT_EQ(result.Done(), result.code == 0);
            const Names content = {"a.txt=a", "in/", "in/b.txt=b"};
            const bool whole = folder.Tree("t") == content;
            EXPECT_TRUE(whole || folder.Tree() == (Names{"s/", "s/a.txt=a", "s/in/", "s/in/b.txt=b"}));
            if (result.Done()) {
                EXPECT_EQ(folder.Tree(), (Names{"t/", "t/a.txt=a", "t/in/", "t/in/b.txt=b"}));
            }
            if (!g_failed) {
                EXPECT_TRUE(result.Done());
                break;
            }
            ASSERT_LT(calls, 1000);
        }
    }
}

TEST(Win32ShellFaults, ANewFolderInAMergeThatFailsCanBeEntered) {
    const PosixFolder here;
    const PosixFolder there(kInMemory);
    here.Write("s/in/a.txt", "a");
    here.Write("s/in/b.txt", "b");
    ASSERT_EQ(::chmod((here / "s/in").c_str(), 0755), 0);
    there.MakeFolder("s");
    ShellResult result;
    {
        const Hook hook([](kvtio::Call call, LPCWSTR path, size_t&) -> kvtio::Error {
            return call == kvtio::Call::Open && CString(path) == _T("b.txt") ? ERROR_IO_DEVICE : ERROR_SUCCESS;
        });
        result = Shell(FO_COPY, {here.Windows("s")}, {there.Windows("")});
    }
    EXPECT_EQ(result.code, static_cast<int>(ERROR_IO_DEVICE));
    EXPECT_EQ(there.Tree(), (Names{"s/", "s/in/", "s/in/a.txt=a"}));
    struct stat status {};
    ASSERT_EQ(::stat((there / "s/in").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0755u);
}

TEST(Win32ShellFaults, AReadOnlyFolderThatIsNotDeletedStaysReadOnly) {
    const PosixFolder folder;
    folder.Write("d/in/a.txt", "a");
    ASSERT_EQ(::chmod((folder / "d/in").c_str(), 0555), 0);
    {
        Faults faults;
        faults.FailAll(kvtio::Call::Remove, ERROR_IO_DEVICE);
        EXPECT_EQ(Shell(FO_DELETE, {folder.Windows("d")}, {}).code, static_cast<int>(ERROR_IO_DEVICE));
    }
    struct stat status {};
    ASSERT_EQ(::stat((folder / "d/in").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0555u);
}

TEST(Win32ShellFaults, TimesThatCannotBeSetDoNotEndACopy) {
    const PosixFolder folder;
    folder.Write("a.txt", "a");
    int calls = 0;
    for (int refused = 1; refused < 40; ++refused) {
        Faults faults;
        faults.FailNth(kvtio::Call::Attributes, refused, ERROR_ACCESS_DENIED);
        calls += Shell(FO_COPY, {folder.Windows("a.txt")}, {folder.Windows("b.txt")}).Done() ? 1 : 0;
        if (faults.Count(kvtio::Call::Attributes) < refused) {
            EXPECT_EQ(calls, 3);  // without rights, without times, and the one where nothing was refused
            break;
        }
    }
}

TEST(Win32ShellFaults, AFolderWhoseEntriesCannotBeLookedAtIsAnError) {
    const PosixFolder folder;
    folder.Write("s/a.txt", "a");
    const struct {
        kvtio::Call call;
        kvtio::Error error;
        int code;
    } rows[] = {{kvtio::Call::Attributes, ERROR_ACCESS_DENIED, 5},
                {kvtio::Call::Read, ERROR_IO_DEVICE, static_cast<int>(ERROR_IO_DEVICE)},
                {kvtio::Call::Open, ERROR_ACCESS_DENIED, 5}};
    for (const auto& row : rows) {
        Faults faults;
        faults.FailNth(row.call, 1, row.error);
        const ShellResult result = Shell(FO_DELETE, {folder.Windows("s/*")}, {});
        EXPECT_EQ(result.code, row.code);
        EXPECT_FALSE(result.aborted);
    }
    EXPECT_EQ(folder.Tree(), (Names{"s/", "s/a.txt=a"}));
}

TEST(Win32ShellFaults, AFullDiskIsNoMissingTrash) {
    const PosixFolder there(kInMemory);
    there.Write("a.txt", "a");
    const auto delete_it = [&there] {
        return Shell(FO_DELETE, {there.Windows("a.txt")}, {}, static_cast<FILEOP_FLAGS>(kShellQuiet | FOF_ALLOWUNDO))
            .code;
    };
    static kvtio::Error answer;
    // The trash at the top of the file system is to be made.
    const Hook hook([](kvtio::Call call, LPCWSTR path, size_t&) -> kvtio::Error {
        return call == kvtio::Call::Open && CString(path).Find(_T(".Trash")) == 0 ? answer : ERROR_SUCCESS;
    });
    answer = ERROR_DISK_FULL;
    EXPECT_EQ(delete_it(), static_cast<int>(ERROR_DISK_FULL));
    answer = ERROR_ACCESS_DENIED;
    EXPECT_EQ(delete_it(), static_cast<int>(ERROR_NOT_SAME_DEVICE));
    EXPECT_EQ(there.Tree(), (Names{"a.txt=a"}));
}

int g_syncs = 0;
int g_syncsBeforeRemoval = -1;

kvtio::Error CountSyncs(kvtio::Call call, LPCWSTR, size_t&) {
    g_syncs += call == kvtio::Call::Sync ? 1 : 0;
    if (call == kvtio::Call::Remove && g_syncsBeforeRemoval < 0) {
        g_syncsBeforeRemoval = g_syncs;
    }
    return ERROR_SUCCESS;
}

TEST(Win32ShellFaults, WhatComesIntoAMountedFolderIsDurableBeforeTheSourceGoes) {
    const PosixFolder here;
    const PosixFolder there(kInMemory);
    here.Write("s/m/a.txt", "a");
    there.MakeFolder("s/m");
    constexpr int kNoMounts = 77;
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        // A file system of this process alone.
        if (::unshare(CLONE_NEWNS) != 0 || ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            ::mount("none", (there / "s/m").c_str(), "tmpfs", 0, nullptr) != 0) {
            ::_exit(kNoMounts);
        }
        kvtio::SetFaultHook(CountSyncs);
        const bool done = Shell(FO_MOVE, {here.Windows("s")}, {there.Windows("")}).Done();
        ::_exit(done && there.Tree() == Names{"s/", "s/m/", "s/m/a.txt=a"} ? g_syncsBeforeRemoval : kNoMounts + 1);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    if (WEXITSTATUS(status) == kNoMounts) {
        GTEST_SKIP() << "no right to mount";
    }
    EXPECT_EQ(WEXITSTATUS(status), 2);  // both file systems
    EXPECT_EQ(here.Tree(), Names{});
}

std::string g_touched;

TEST(Win32ShellFaults, AFileThatIsWrittenWhileItIsMovedStays) {
    const PosixFolder here;
    const PosixFolder there(kInMemory);
    here.Write("s/a.txt", "content");
    g_touched = here / "s/a.txt";
    ShellResult result;
    {
        // Somebody appends when the copy is made, before the source is deleted.
        const Hook hook([](kvtio::Call call, LPCWSTR, size_t&) -> kvtio::Error {
            if (call == kvtio::Call::Sync && !g_touched.empty()) {
                std::ofstream(g_touched, std::ios::app) << " and more";
                g_touched.clear();
            }
            return ERROR_SUCCESS;
        });
        result = Shell(FO_MOVE, {here.Windows("s")}, {there.Windows("")});
    }
    EXPECT_NE(result.code, 0);
    EXPECT_TRUE(result.aborted);
    EXPECT_EQ(here.Tree(), (Names{"s/", "s/a.txt=content and more"}));
    EXPECT_EQ(there.Tree(), (Names{"s/", "s/a.txt=content"}));
}

TEST(Win32ShellFaults, ATrashThatFailsAnywhereLosesNothing) {
    for (int calls = 0;; ++calls) {
        SCOPED_TRACE("call " + std::to_string(calls));
        const PosixFolder folder;
        const std::string content = "content " + std::to_string(calls);
        // Names of their own: one that is taken in the trash would cost a call more.
        const std::string file = "a" + std::to_string(calls);
        const std::string tree = "d" + std::to_string(calls);
        folder.Write(file, content);
        folder.Write(tree + "/in/b.txt", content);
        const std::string trash = std::string(std::getenv("XDG_DATA_HOME")) + "/Trash";
        ShellResult result;
        {
            const Hook hook(FailOne);
            g_callsLeft = calls;
            g_failed = false;
            result = Shell(FO_DELETE, {folder.Windows(file), folder.Windows(tree)}, {},
                           static_cast<FILEOP_FLAGS>(kShellQuiet | FOF_ALLOWUNDO));
        }
        const Names left = folder.Tree();
        const Names second = {tree + "/", tree + "/in/", tree + "/in/b.txt=" + content};
        Names both = second;
        both.insert(both.begin(), file + "=" + content);
        EXPECT_TRUE(result.Done() ? left.empty() : left == second || left == both) << result.code;
        const auto count = [&trash](const char* part) {
            std::error_code none;
            int entries = 0;
            for (const auto& entry : std::filesystem::directory_iterator(trash + part, none)) {
                entries += entry.exists() ? 1 : 0;
            }
            return entries;
        };
        EXPECT_EQ(count("/files"), count("/info"));
        if (!g_failed) {
            EXPECT_TRUE(result.Done());
            break;
        }
        ASSERT_LT(calls, 100);
    }
}

TEST(Win32ShellFaults, ADeletionThatFailsIsTold) {
    for (int calls = 0;; ++calls) {
        SCOPED_TRACE("call " + std::to_string(calls));
        const PosixFolder folder;
        folder.Write("d/in/a.txt", "a");
        folder.Write("d/b.txt", "b");
        ShellResult result;
        {
            const Hook hook(FailOne);
            g_callsLeft = calls;
            g_failed = false;
            result = Shell(FO_DELETE, {folder.Windows("d")}, {});
        }
        EXPECT_EQ(result.Done(), folder.Tree().empty());
        EXPECT_EQ(result.Done(), !g_failed);
        if (!g_failed) {
            break;
        }
        ASSERT_LT(calls, 100);
    }
}

}  // namespace
}  // namespace kvttest
