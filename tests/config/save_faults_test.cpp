// The settings stores on a disk that fails: every call of the system fails once, and the file holds the old content or
// the whole new one each time.

#include "config/syncregister.h"
#include "kvtfile/IniFile.h"
#include "kvtfile/XmlCfg.h"
#include "platform/io/io.h"
#include "tests/support/support.h"

using kvtfile::CFXmlCfg;
using kvtfile::CIniFile;
using kvttest::ReadBytes;
using kvttest::TestFolder;
using kvttest::WriteBytes;

namespace {

int g_left = 0;
bool g_failed = false;
kvtio::Call g_only = kvtio::Call::Open;

kvtio::Error FailOnce(kvtio::Call call, LPCWSTR, size_t&) {
    // What takes away a file that was not finished must work, or it would stay.
    if (call == kvtio::Call::Remove || g_left-- != 0) {
        return ERROR_SUCCESS;
    }
    g_failed = true;
    return ERROR_DISK_FULL;
}

kvtio::Error FailOneKind(kvtio::Call call, LPCWSTR, size_t&) {
    return call == g_only ? static_cast<kvtio::Error>(ERROR_READ_FAULT) : static_cast<kvtio::Error>(ERROR_SUCCESS);
}

CString g_list;

// Another program makes the list in the moment before it is opened.
kvtio::Error MadeMeanwhile(kvtio::Call call, LPCWSTR path, size_t&) {
    if (call == kvtio::Call::Open && g_list == path) {
        g_list.Empty();
        WriteBytes(path, "[other]\r\ntime=5\r\n");
    }
    return ERROR_SUCCESS;
}

class Faults {
public:
    explicit Faults(kvtio::FaultHook hook) : m_previous(kvtio::SetFaultHook(hook)) {}
    ~Faults() { kvtio::SetFaultHook(m_previous); }
    Faults(const Faults&) = delete;
    Faults& operator=(const Faults&) = delete;

private:
    kvtio::FaultHook m_previous;
};

/// Runs a save with the first, second, ... call failing, until none fails. @return How many saves were refused.
template <typename Save>
int Sweep(const std::string& before, const std::string& after, Save save) {
    int refused = 0;
    for (int call = 0; call < 1000; ++call) {
        const TestFolder folder;
        const CString path = folder.Path(_T("a"));
        WriteBytes(path, before);
        const bool saved = save(path, call);
        const std::string bytes = ReadBytes(path);
        EXPECT_TRUE(bytes == after || (!saved && bytes == before)) << "call " << call << ": " << bytes;
        EXPECT_EQ(folder.Names(), std::vector<std::string>{"a"}) << "call " << call;
        if (!g_failed) {
            EXPECT_TRUE(saved);
            return refused;
        }
        refused += saved ? 0 : 1;
    }
    ADD_FAILURE() << "calls without end";
    return refused;
}

template <typename Work>
bool WithFailure(int call, Work work) {
    const Faults faults(FailOnce);
    g_left = call;
    g_failed = false;
    return work();
}

}  // namespace

TEST(SaveFaults, AnIniFileIsOldOrNew) {
    const int refused = Sweep("[S]\r\nx=1\r\n\r\n", "[S]\r\nx=2\r\n\r\n", [](const CString& path, int call) {
        CIniFile ini(path, false);
        ini.SetValue(_T("S"), _T("x"), _T("2"), false);
        return WithFailure(call, [&] { return ini.WriteFile(); });
    });
    EXPECT_GE(refused, 3);
}

TEST(SaveFaults, AnXmlFileIsOldOrNewAndTheStoreGoesOn) {
    const std::string before = "<CONFIG><DATA key='k' value=\"1\"/></CONFIG>";
    const std::string after = "<CONFIG><DATA key='k' value=\"2\"/></CONFIG>";
    const int refused = Sweep(before, after, [&](const CString& path, int call) {
        CFXmlCfg cfg;
        EXPECT_EQ(cfg.Open(path, 0), 1);
        const bool saved = WithFailure(call, [&] { return cfg.WriteDataValue(_T("k"), _T("2")) == 1; });
        if (!saved) {
            EXPECT_EQ(kvttest::Utf8(cfg.GetLastError()), "保存文件出错") << call;
            CFXmlCfg copy(cfg);
            CFXmlCfg::SDataMember member;
            EXPECT_EQ(copy.ReadData(_T("k"), member), 1);
        }
        return saved;
    });
    EXPECT_GE(refused, 3);
}

TEST(SaveFaults, AnIniFileThatFailsWhileItIsReadIsNotSavedByItself) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.ini"));
    WriteBytes(path, "[S]\nx=1\n");
    for (const kvtio::Call call : {kvtio::Call::Open, kvtio::Call::Read}) {
        g_only = call;
        {
            CIniFile ini;
            ini.SetPath(path);
            ini.SetAutoSave(true);
            {
                const Faults faults(FailOneKind);
                EXPECT_TRUE(ini.ReadFile());
            }
            EXPECT_EQ(ini.GetNumKeys(), 0);
            ini.SetValue(_T("S"), _T("y"), _T("2"), true);
        }
        EXPECT_EQ(ReadBytes(path), "[S]\nx=1\n");
    }
}

TEST(SaveFaults, AListThatAnotherProgramMakesMeanwhileIsKept) {
    const TestFolder folder;
    const CString path = folder.Path(_T("list.ini"));
    g_list = path;
    {
        const Faults faults(MadeMeanwhile);
        EXPECT_EQ(kvtfile::CFFileSyncRegister::EnsureFileExists(path), 1);
    }
    EXPECT_TRUE(g_list.IsEmpty());
    EXPECT_EQ(ReadBytes(path), "[other]\r\ntime=5\r\n");
}
