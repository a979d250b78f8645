// Scans while memory runs out: what was found stands in its order.

#include "kvtfile/FileInfo.h"
#include "tests/config/failing_new.h"
#include "tests/support/support.h"

namespace {

using kvtfile::CFileInfo;
using kvtfile::CFileInfoArray;

// The order told by one-by-one insertion, which a derived class still goes through.
class OneByOne : public CFileInfoArray {
public:
    int AddFileInfo(CFileInfo& fi, LONGLONG sortMode) override { return CFileInfoArray::AddFileInfo(fi, sortMode); }
};

TEST(FileInfoMemory, ASortedScanIsSortedWhereverMemoryRunsOut) {
    const kvttest::TestFolder folder;
    for (const LPCWSTR name : {_T("a"), _T("b"), _T("c"), _T("d")}) {
        kvttest::WriteBytes(folder.Path(name), std::string(static_cast<size_t>('f' - name[0]) / 2, 'x'));
    }
    for (const LONGLONG mode : {2, 3, 4, 5}) {
        int whole = 0;
        bool failed = true;
        for (int after = 0; failed; ++after) {
            CFileInfoArray array;
            array.AddFile(folder.Path(_T("b")), mode);
            array.AddFile(folder.Path(_T("a")), 0);
            OneByOne expected;
            expected.Append(array);
            kvttest::FailAllocation(after);
            const int found = array.AddDir(folder.Path() + _T("\\"), _T("*"), 0, mode, 0);
            failed = kvttest::AllocationFailed();
            kvttest::FailAllocation(-1);
            ASSERT_EQ(array.GetSize(), 2 + found);
            OneByOne all;
            all.AddDir(folder.Path() + _T("\\"), _T("*"), 0, 0, 0);
            ASSERT_EQ(all.GetSize(), 4);
            for (int i = 0; i < found; ++i) {
                expected.AddFileInfo(all[i], mode);
            }
            for (INT_PTR i = 0; i < array.GetSize(); ++i) {
                ASSERT_EQ(array[i].GetFilePath(), expected[i].GetFilePath()) << mode << ", " << after << ", " << i;
            }
            whole += failed && found == 4 ? 1 : 0;
        }
        // Memory ran out while the records were put in order, too.
        EXPECT_GT(whole, 0) << mode;
    }
}

}  // namespace
