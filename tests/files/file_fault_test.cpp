// Stores and text files on a disk that fails: every call of the system fails once, and the old file must be whole each
// time.
#include <string>

#include "kvtfile/FileBase.h"
#include "kvtfile/FileUtil.h"
#include "platform/io/io.h"
#include "tests/support/support.h"

namespace {

using kvttest::ReadBytes;
using kvttest::TestFolder;
using kvttest::WriteBytes;

constexpr DWORD diskFull = 112;

int g_callsLeft = 0;
bool g_failed = false;
kvtio::Call g_failedCall = kvtio::Call::Open;

kvtio::Error FailOnce(kvtio::Call call, LPCWSTR, size_t&) {
    if (call == kvtio::Call::Remove || g_callsLeft-- != 0) {
        return ERROR_SUCCESS;
    }
    g_failed = true;
    g_failedCall = call;
    return diskFull;
}

kvtio::Error FailWrites(kvtio::Call call, LPCWSTR, size_t&) {
    return call == kvtio::Call::Write ? diskFull : static_cast<DWORD>(ERROR_SUCCESS);
}

/// Lets file calls fail while it lives.
class Faults {
public:
    explicit Faults(kvtio::FaultHook hook) : m_previous(kvtio::SetFaultHook(hook)) {}
    ~Faults() { kvtio::SetFaultHook(m_previous); }
    Faults(const Faults&) = delete;
    Faults& operator=(const Faults&) = delete;

private:
    kvtio::FaultHook m_previous;
};

TEST(FileFaults, AStoreThatFailsAnywhereLeavesTheOldFileWhole) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.dat"));
    const std::string whole(
        "\xFF\xFE\xFF\x03"
        "A\0B\0C\0\2\0\0\0",
        14);
    int refused = 0;
    for (int call = 0;; ++call) {
        WriteBytes(path, "old content");
        kvtfile::CFFileBase base(_T("ABC"), 2);
        bool stored = false;
        {
            const Faults faults(FailOnce);
            g_callsLeft = call;
            g_failed = false;
            stored = base.WriteFile(path);
        }
        const std::string bytes = ReadBytes(path);
        // Closing, and the sync of the folder, come when the new content may be in place already.
        const bool late = g_failedCall == kvtio::Call::SyncFolder || g_failedCall == kvtio::Call::Close;
        EXPECT_TRUE(bytes == whole || (!stored && bytes == "old content")) << "call " << call;
        if (!stored) {
            EXPECT_TRUE(late || bytes == "old content") << "call " << call;
            ++refused;
        }
        EXPECT_EQ(folder.Names().size(), 1u) << "call " << call;
        if (!g_failed) {
            EXPECT_TRUE(stored);
            break;
        }
    }
    EXPECT_GE(refused, 3);
}

TEST(FileFaults, ALoadThatFailsIsFalse) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.dat"));
    kvtfile::CFFileBase base(_T("ABC"), 2);
    ASSERT_TRUE(base.WriteFile(path));
    for (int call = 0; call < 2; ++call) {
        const Faults faults(FailOnce);
        g_callsLeft = call;
        EXPECT_FALSE(base.ReadFile(path)) << "call " << call;
    }
}

TEST(FileFaults, ACopyThatFailsAnywhereLeavesWhatStoodInItsPlace) {
    const TestFolder folder;
    const CString target = folder.Path(_T("to\\a.dat"));
    kvttest::MakeFolders(folder.Path(_T("to")));
    const std::string whole(100000, 'n');
    WriteBytes(folder.Path(_T("a.dat")), whole);
    CStringArray files;
    files.Add(folder.Path(_T("a.dat")));
    int refused = 0;
    for (int call = 0; g_failed || call == 0; ++call) {
        WriteBytes(target, "old content");
        {
            const Faults faults(FailOnce);
            g_callsLeft = call;
            g_failed = false;
            kvtfile::CopyFileArr(files, folder.Path(_T("to\\")));
        }
        const std::string bytes = ReadBytes(target);
        EXPECT_TRUE(bytes == whole || (g_failed && bytes == "old content")) << "call " << call;
        refused += bytes != whole;
        CStringArray names;
        kvtfile::FindFile(names, folder.Path(_T("to\\*")));
        EXPECT_EQ(names.GetSize(), 3) << "call " << call;
    }
    EXPECT_GE(refused, 3);
}

TEST(FileFaults, TextThatCannotBeWrittenIsTold) {
    const TestFolder folder;
    kvtfile::CFStdioFile file(folder.Path(_T("a.txt")), CFile::modeCreate | CFile::modeWrite);
    const Faults faults(FailWrites);
    file.WriteString(_T("buffered"));
    int cause = CFileException::none;
    LONG error = 0;
    try {
        file.Close();
    } catch (CFileException* exception) {
        cause = exception->m_cause;
        error = exception->m_lOsError;
        exception->Delete();
    }
    EXPECT_EQ(cause, CFileException::diskFull);
    EXPECT_EQ(error, static_cast<LONG>(diskFull));
}

}  // namespace
