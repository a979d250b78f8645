// Memory that runs out at any place: no exception leaves, and a search path is what it was or what it was to become.

#include <functional>

#include "kvtfile/AutoLoadArx.h"
#include "kvtfile/SupportPath.h"
#include "tests/config/failing_new.h"
#include "tests/support/registry.h"

using namespace kvtfile;
using kvttest::PutText;

namespace {

constexpr WCHAR R15[] = _T("Software\\Autodesk\\AutoCAD\\R15.0");
constexpr WCHAR PRODUCT[] = _T("Software\\Autodesk\\AutoCAD\\R15.0\\P");
constexpr WCHAR SETTINGS[] = _T("Software\\Autodesk\\AutoCAD\\R15.0\\P\\Profiles\\Mine\\General");

class CadHostMemory : public testing::Test {
protected:
    CadHostMemory() {
        PutText(HKEY_CURRENT_USER, R15, _T("CurVer"), _T("P"));
        PutText(HKEY_LOCAL_MACHINE, PRODUCT, _T("ProductName"), _T("AutoCAD 2002, a name that is not short"));
        PutText(HKEY_LOCAL_MACHINE, PRODUCT, _T("AcadLocation"), _T("C:\\Program Files\\AutoCAD 2002"));
        PutText(HKEY_CURRENT_USER, CString(PRODUCT) + _T("\\Profiles"), _T(""), _T("Mine"));
        PutText(HKEY_CURRENT_USER, SETTINGS, _T("ACAD"), _T("c:\\one;c:\\two"));
    }

    // Runs the work with the first, second, ... allocation failing until none fails, and checks after each.
    static void Sweep(const std::function<int()>& work, const std::function<void()>& check) {
        for (int after = 0; after < 20000; ++after) {
            kvttest::FailAllocation(after);
            const int result = work();
            const bool failed = kvttest::AllocationFailed();
            kvttest::FailAllocation(-1);
            check();
            if (!failed) {
                EXPECT_EQ(result, 1);
                return;
            }
        }
        ADD_FAILURE() << "allocations without end";
    }

    kvttest::HostKeys m_keys;
};

}  // namespace

TEST_F(CadHostMemory, SearchPathsLoseNoFolder) {
    // Reserved now: taking an argument over is the caller's own work.
    const CString folder = _T("D:\\New");
    Sweep([&] { return AddAppSupportPathToAcad(folder); },
          [] {
              const CString stored = kvttest::GetText(HKEY_CURRENT_USER, SETTINGS, _T("ACAD"));
              EXPECT_TRUE(stored == _T("c:\\one;c:\\two") || stored == _T("d:\\new;c:\\one;c:\\two"))
                  << kvttest::Utf8(stored);
          });
    EXPECT_EQ(kvttest::GetText(HKEY_CURRENT_USER, SETTINGS, _T("ACAD")), _T("d:\\new;c:\\one;c:\\two"));
    Sweep([&] { return RemoveAppSupportPathFromAcad(folder); },
          [] {
              const CString stored = kvttest::GetText(HKEY_CURRENT_USER, SETTINGS, _T("ACAD"));
              EXPECT_TRUE(stored == _T("c:\\one;c:\\two") || stored == _T("d:\\new;c:\\one;c:\\two"))
                  << kvttest::Utf8(stored);
          });
    EXPECT_EQ(kvttest::GetText(HKEY_CURRENT_USER, SETTINGS, _T("ACAD")), _T("c:\\one;c:\\two"));
}

TEST_F(CadHostMemory, DiscoveryFailsAndGoesOn) {
    CString text;
    Sweep([&] { return GetAcadRegKey(text, ACAD_2002); }, [] {});
    EXPECT_EQ(text, PRODUCT);
    Sweep([&] { return GetAcadPath(text, ACAD_2002); }, [] {});
    EXPECT_EQ(text, _T("C:\\Program Files\\AutoCAD 2002\\"));
    Sweep([&] { return GetAcadEnvPath(ACAD_2002, text); }, [] {});
    EXPECT_EQ(text, _T("c:\\one;c:\\two"));
    Sweep([&] { return GetAcadSupportPath(zqolecad::START_ACAD2000, text); }, [] {});
    EXPECT_EQ(text, _T("C:\\Program Files\\AutoCAD 2002\\support\\"));
    Sweep([] { return IsAcadR15CurVerChinese(); }, [] {});
}

TEST_F(CadHostMemory, RegistrationFailsAndGoesOn) {
    CAutoLoadArx arx;
    arx.m_strAppInstallPath = _T("C:\\App\\");
    CStringArray commands;
    commands.Add(_T("COMMAND"));
    const CString name = _T("Tool");
    const CString group = _T("GROUP");
    Sweep([&] { return arx.SetAcadVer(ACAD_2002); }, [] {});
    EXPECT_EQ(arx.m_strAcadRegKey, PRODUCT);
    Sweep([&] { return arx.AddAutoArx(name, commands, group, 2); }, [] {});
    Sweep([&] { return arx.ArxIsAutoLoad(name); }, [] {});
    Sweep([&] { return arx.SetRegAutoLoadInfo(name, 1); }, [] {});
    Sweep([&] { return arx.GetRegAutoLoadInfo(name); }, [] {});
    EXPECT_EQ(kvttest::GetText(HKEY_LOCAL_MACHINE, _T("Software\\orva\\apps\\Tool\\Commands"), _T("COMMAND")),
              _T("COMMAND"));
}
