// Shell operations when memory runs out, at each allocation in turn: a result, and nothing lost.

#include "kvtfile/ShellFileOp.h"
#include "tests/config/failing_new.h"
#include "tests/platform/shell_support.h"
#include "tests/platform/shell_tree.h"
#include "tests/support/message_boxes.h"

namespace kvttest {
namespace {

using Names = std::vector<std::string>;

/// Runs an operation in which one allocation fails. @return Whether it did.
bool RunWithout(int allocation, SHFILEOPSTRUCTW& operation, int& code) {
    FailAllocation(allocation);
    code = ::SHFileOperationW(&operation);
    const bool failed = AllocationFailed();
    FailAllocation(-1);
    return failed;
}

TEST(Win32ShellMemory, ARunWithoutMemoryLosesNothing) {
    for (const UINT kind : {FO_COPY, FO_MOVE}) {
        bool failed = true;
        for (int allocation = 0; failed; ++allocation) {
            SCOPED_TRACE(allocation);
            const PosixFolder here;
            const PosixFolder there("/dev/shm");
            here.Write("s/in/a.txt", "a");
            const auto from = ShellList({here.Windows("s")});
            const auto to = ShellList({there.Windows("")});
            SHFILEOPSTRUCTW operation{};
            operation.wFunc = kind;
            operation.pFrom = from.c_str();
            operation.pTo = to.c_str();
            operation.fFlags = kShellQuiet;
            int code = -1;
            failed = RunWithout(allocation, operation, code);
            const Names whole = {"s/", "s/in/", "s/in/a.txt=a"};
            const bool arrived = there.Tree() == whole;
            EXPECT_TRUE(here.Tree() == whole || (arrived && kind == FO_MOVE));
            if (code == 0) {
                EXPECT_TRUE(arrived);
                EXPECT_EQ(here.Tree() == whole, kind == FO_COPY);
            }
            EXPECT_TRUE(failed || code == 0);
        }
    }
}

TEST(Win32ShellMemory, AnErrorThatCannotBeShownIsStillTheResult) {
    const PosixFolder folder;
    const auto from = ShellList({folder.Windows("none.txt")});
    const MessageBoxes boxes(IDOK);
    bool failed = true;
    for (int allocation = 0; failed; ++allocation) {
        SHFILEOPSTRUCTW operation{};
        operation.wFunc = FO_DELETE;
        operation.pFrom = from.c_str();
        operation.fFlags = FOF_SILENT | FOF_NOCONFIRMATION;
        int code = -1;
        failed = RunWithout(allocation, operation, code);
        EXPECT_TRUE(code == 2 || (failed && code == static_cast<int>(ERROR_NOT_ENOUGH_MEMORY))) << code;
    }
}

TEST(Win32ShellMemory, SourcesAreAddedAllOrNone) {
    CStringArray paths;
    for (int i = 0; i < 25; ++i) {
        paths.Add(_T("C:\\a"));
    }
    bool failed = true;
    for (int allocation = 0; failed; ++allocation) {
        kvtfile::CFShellFileOp op;
        FailAllocation(allocation);
        int returned = 0;
        try {
            returned = op.AddSourceFile(paths);
        } catch (CMemoryException* exception) {
            exception->Delete();
        }
        failed = AllocationFailed();
        FailAllocation(-1);
        EXPECT_EQ(returned, failed ? 0 : 1);
        EXPECT_EQ(op.GetSourceFileList().GetCount(), failed ? 0 : 25);
    }
}

}  // namespace
}  // namespace kvttest
