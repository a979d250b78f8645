// Registration of add-ons: every key and value that it writes, finds and deletes.

#include "kvtfile/AutoLoadArx.h"

#include <type_traits>

#include "tests/support/message_boxes.h"
#include "tests/support/registry.h"

using namespace kvtfile;
using kvttest::PutNumber;
using kvttest::PutText;
using kvttest::Utf8;

namespace {

class AutoLoadArx : public testing::Test {
protected:
    // An object for the product key "Software\Autodesk\Host", which is there.
    CAutoLoadArx Prepared(ACADVER release) {
        kvttest::PutKey(HKEY_LOCAL_MACHINE, _T("Software\\Autodesk\\Host"));
        CAutoLoadArx arx;
        arx.m_strAcadRegKey = _T("Software\\Autodesk\\Host");
        arx.m_nAcadVer = release;
        arx.SetAppInstallPath(_T("C:\\App\\"));
        return arx;
    }
    CStringArray& Commands(std::initializer_list<LPCWSTR> names) {
        m_commands.RemoveAll();
        for (const LPCWSTR name : names) {
            m_commands.Add(name);
        }
        return m_commands;
    }
    static std::string Host() { return kvttest::Dump(HKEY_LOCAL_MACHINE, _T("Software\\Autodesk\\Host")); }
    static std::string Maker() { return kvttest::Dump(HKEY_LOCAL_MACHINE, _T("Software\\orva")); }

    kvttest::HostKeys m_keys;
    CStringArray m_commands;
    kvttest::MessageBoxes m_boxes;
};

// The release's own key in the machine hive, with a product whose name fits.
void PutProduct(LPCWSTR release, LPCWSTR name) {
    PutText(HKEY_LOCAL_MACHINE, CString(_T("Software\\Autodesk\\AutoCAD\\")) + release + _T("\\P"), _T("ProductName"),
            name);
}

const char OLD_HOST[] =
    "[]\n"
    "[Applications]\n"
    "[Applications\\Tool]\n"
    "LoadCtrls=4:0E 00 00 00\n"
    "REGPATH=\\\\HKEY_LOCAL_MACHINE\\Software\\orva\\apps\\Tool\n";

const char OLD_MAKER[] =
    "[]\n"
    "[apps]\n"
    "[apps\\Tool]\n"
    "[apps\\Tool\\Commands]\n"
    "CMD1=CMD1\n"
    "cmd2=cmd2\n"
    "[apps\\Tool\\Groups]\n"
    "GROUP=GROUP\n"
    "[apps\\Tool\\Loader]\n"
    "MODULE=C:\\App\\Tool.arx\n"
    "[apps\\Tool\\Name]\n"
    "Name=Tool\n";

const char NEW_HOST[] =
    "[]\n"
    "[Applications]\n"
    "[Applications\\Tool]\n"
    "LoadCtrls=4:0E 00 00 00\n"
    "Loader=C:\\App\\Tool.arx\n"
    "[Applications\\Tool\\Commands]\n"
    "CMD1=CMD1\n"
    "cmd2=cmd2\n"
    "[Applications\\Tool\\Groups]\n"
    "GROUP=GROUP\n";

}  // namespace

static_assert(std::has_virtual_destructor_v<CAutoLoadArx> && std::is_copy_constructible_v<CAutoLoadArx> &&
              std::is_copy_assignable_v<CAutoLoadArx>);
static_assert(sizeof(CAutoLoadArx) == 5 * sizeof(void*), "a table of virtual functions, three texts and the release");

TEST_F(AutoLoadArx, StartsWithTheMakersRootAlone) {
    const CAutoLoadArx arx;
    EXPECT_EQ(arx.m_strAcadRegKey, _T(""));
    EXPECT_EQ(arx.m_strSoftRegKey, _T("Software\\orva\\apps\\"));
    EXPECT_EQ(arx.m_strAppInstallPath, _T(""));
}

TEST_F(AutoLoadArx, CopiesHaveAllFields) {
    CAutoLoadArx arx = Prepared(ACAD_2013);
    arx.SetSoftRegKey(_T("Software\\orva\\other\\"));
    const CAutoLoadArx copy(arx);
    CAutoLoadArx assigned;
    assigned = copy;
    EXPECT_EQ(assigned.m_strAcadRegKey, _T("Software\\Autodesk\\Host"));
    EXPECT_EQ(assigned.m_strSoftRegKey, _T("Software\\orva\\other\\"));
    EXPECT_EQ(assigned.m_strAppInstallPath, _T("C:\\App\\"));
    EXPECT_EQ(assigned.m_nAcadVer, ACAD_2013);
}

TEST_F(AutoLoadArx, ChoosesAReleaseByItsProduct) {
    m_keys.Load("acad2020");
    CAutoLoadArx arx;
    EXPECT_EQ(arx.SetAcadVer(ACAD_2020), 1);
    EXPECT_EQ(arx.m_strAcadRegKey, _T("Software\\Autodesk\\AutoCAD\\R23.1\\ACAD-3001:804"));
    EXPECT_EQ(arx.m_nAcadVer, ACAD_2020);
    CString path;
    EXPECT_EQ(arx.GetAppRegPath(path, _T("Tool")), 1);
    EXPECT_EQ(path, _T("Software\\Autodesk\\AutoCAD\\R23.1\\ACAD-3001:804\\Applications\\Tool"));
}

TEST_F(AutoLoadArx, AFailedChoiceKeepsWhatTheSearchLeft) {
    CAutoLoadArx arx = Prepared(ACAD_2004);
    EXPECT_EQ(arx.SetAcadVer(ACAD_2010), 0);
    EXPECT_EQ(arx.m_strAcadRegKey, _T(""));
    EXPECT_EQ(arx.m_nAcadVer, ACAD_2010);
    kvttest::PutKey(HKEY_LOCAL_MACHINE, _T("Software\\Autodesk\\AutoCAD\\R18.0\\P"));
    EXPECT_EQ(arx.SetAcadVer(ACAD_2010), 0);
    EXPECT_EQ(arx.m_strAcadRegKey, _T("Software\\Autodesk\\AutoCAD\\R18.0\\P"));
    CString path = _T("stale");
    arx.m_strAcadRegKey.Empty();
    EXPECT_EQ(arx.GetAppRegPath(path, _T("Tool")), 0);
    EXPECT_EQ(path, _T("stale"));
}

TEST_F(AutoLoadArx, TheWholeR15FamilyIsTheCurrentR15Product) {
    m_keys.Load("r15");
    for (const ACADVER release : {ACAD_2000, ACAD_MAP2000, ACAD_2002, ACAD_MAP6}) {
        CAutoLoadArx arx;
        EXPECT_EQ(arx.SetAcadVer(release), 1);
        EXPECT_EQ(arx.m_strAcadRegKey, _T("Software\\Autodesk\\AutoCAD\\R15.0\\ACAD-1:804"));
        EXPECT_EQ(arx.m_nAcadVer, release);
    }
    CString key;
    EXPECT_EQ(CAutoLoadArx().GetAcadRegKey(key, ACAD_R14), 0);
    EXPECT_EQ(key, _T(""));
}

TEST_F(AutoLoadArx, EveryReleaseTakesItsLayout) {
    for (int release = 0; release <= 26; ++release) {
        SCOPED_TRACE(release);
        const bool later = (release >= 4 && release <= 6) || (release >= 11 && release <= 24);
        CAutoLoadArx arx = Prepared(static_cast<ACADVER>(release));
        EXPECT_EQ(arx.AddAutoArx(_T(" Tool\t"), Commands({_T("CMD1"), _T("  cmd2 ")}), _T("GROUP"), 14), 1);
        EXPECT_EQ(Host(), later ? NEW_HOST : OLD_HOST);
        EXPECT_EQ(Maker(), later ? "" : OLD_MAKER);
        kvttest::RemoveKey(HKEY_LOCAL_MACHINE, _T("Software\\Autodesk"));
        kvttest::RemoveKey(HKEY_LOCAL_MACHINE, _T("Software\\orva"));
    }
    EXPECT_TRUE(m_boxes.Take().empty());
    EXPECT_EQ(m_commands[1], _T("  cmd2 ")) << "the caller's array stays";
}

TEST_F(AutoLoadArx, WithoutGroupAndCommandsTheirKeysAreNotMade) {
    CAutoLoadArx arx = Prepared(ACAD_2000);
    EXPECT_EQ(arx.AddAutoArx(_T("Tool"), Commands({}), _T(""), -1), 1);
    EXPECT_EQ(Host(),
              "[]\n[Applications]\n[Applications\\Tool]\nLoadCtrls=4:FF FF FF FF\n"
              "REGPATH=\\\\HKEY_LOCAL_MACHINE\\Software\\orva\\apps\\Tool\n");
    EXPECT_EQ(Maker(),
              "[]\n[apps]\n[apps\\Tool]\n[apps\\Tool\\Loader]\nMODULE=C:\\App\\Tool.arx\n[apps\\Tool\\Name]\n"
              "Name=Tool\n");
    arx.m_nAcadVer = ACAD_2004;
    EXPECT_EQ(arx.AddAutoArx(_T("New"), Commands({}), _T(""), 0), 1);
    EXPECT_EQ(kvttest::Dump(HKEY_LOCAL_MACHINE, _T("Software\\Autodesk\\Host\\Applications\\New")),
              "[]\nLoadCtrls=4:00 00 00 00\nLoader=C:\\App\\New.arx\n");
}

TEST_F(AutoLoadArx, TheR16LayoutIsTakenWhateverTheRelease) {
    CAutoLoadArx arx = Prepared(ACAD_R14);
    EXPECT_EQ(arx.AddAutoArx16(_T("Tool"), Commands({_T("CMD1"), _T("cmd2")}), _T("GROUP"), 14), 1);
    EXPECT_EQ(Host(), NEW_HOST);
    EXPECT_EQ(Maker(), "");
    EXPECT_EQ(arx.AddAutoArx(_T("中文"), _T("Module 2"), Commands({}), _T(""), 2), 1);
    EXPECT_EQ(kvttest::Dump(HKEY_LOCAL_MACHINE, _T("Software\\Autodesk\\Host\\Applications\\中文")),
              "[]\nLoadCtrls=4:02 00 00 00\nLoader=C:\\App\\Module 2.arx\n");
}

TEST_F(AutoLoadArx, OnlyTheDispatchingFormTrimsTheName) {
    CAutoLoadArx arx = Prepared(ACAD_2010);
    arx.AddAutoArx16(_T(" A "), Commands({}), _T(""), 0);
    arx.AddAutoArx(_T(" B "), _T(" M "), Commands({}), _T(""), 0);
    arx.AddAutoArx(_T(" C "), Commands({}), _T(""), 0);
    EXPECT_EQ(Host(),
              "[]\n[Applications]\n"
              "[Applications\\ A ]\nLoadCtrls=4:00 00 00 00\nLoader=C:\\App\\ A .arx\n"
              "[Applications\\ B ]\nLoadCtrls=4:00 00 00 00\nLoader=C:\\App\\ M .arx\n"
              "[Applications\\C]\nLoadCtrls=4:00 00 00 00\nLoader=C:\\App\\C.arx\n");
}

TEST_F(AutoLoadArx, ASecondRegistrationWritesOverTheFirst) {
    CAutoLoadArx arx = Prepared(ACAD_2010);
    arx.AddAutoArx(_T("Tool"), Commands({_T("CMD1")}), _T("GROUP"), 1);
    EXPECT_EQ(arx.AddAutoArx(_T("Tool"), Commands({_T("CMD1"), _T("cmd2")}), _T("GROUP"), 14), 1);
    EXPECT_EQ(Host(), NEW_HOST);
}

TEST_F(AutoLoadArx, WithoutAFolderOfModulesAMessageTellsAndNothingIsWritten) {
    for (const ACADVER release : {ACAD_R14, ACAD_2004, ACAD_2022}) {
        CAutoLoadArx arx = Prepared(release);
        arx.SetAppInstallPath(_T(""));
        EXPECT_EQ(arx.AddAutoArx(_T("Tool"), Commands({}), _T(""), 0), 0);
        EXPECT_EQ(m_boxes.Take(), std::vector<std::string>{"0 应用程序路径未设置!"});
        EXPECT_EQ(arx.AddAutoArx16(_T("Tool"), Commands({}), _T(""), 0), 0);
        EXPECT_EQ(arx.AddAutoArx(_T("Tool"), _T("Module"), Commands({}), _T(""), 0), 0);
        EXPECT_EQ(m_boxes.Take(), std::vector<std::string>(2, "0 应用程序路径未设置!"));
        EXPECT_EQ(Host(), "[]\n");
        EXPECT_EQ(Maker(), "");
    }
}

TEST_F(AutoLoadArx, WithoutAProductKeyNothingIsWritten) {
    CAutoLoadArx arx;
    arx.SetAppInstallPath(_T("C:\\App\\"));
    for (const ACADVER release : {ACAD_R14, ACAD_2004, ACAD_2022}) {
        arx.m_nAcadVer = release;
        EXPECT_EQ(arx.AddAutoArx(_T("Tool"), Commands({}), _T("G"), 0), 0);
    }
    EXPECT_EQ(arx.AddAutoArx16(_T("Tool"), Commands({}), _T("G"), 0), 0);
    EXPECT_EQ(arx.AddAutoArx(_T("Tool"), _T("Module"), Commands({}), _T("G"), 0), 0);
    int flags = 5;
    EXPECT_EQ(arx.ArxIsAutoLoad(_T("Tool")), 0);
    EXPECT_EQ(arx.GetArxLoadCtrls(_T("Tool"), flags), 0);
    EXPECT_EQ(arx.SetArxLoadCtrls(_T("Tool"), 1), 0);
    EXPECT_EQ(flags, 5);
    EXPECT_EQ(Maker(), "");
    EXPECT_TRUE(m_boxes.Take().empty());
}

TEST_F(AutoLoadArx, ReleasesWithoutAKeyRegisterUnderTheMakersKeyAlone) {
    CStringArray hive;
    PutProduct(_T("R18.0"), _T("AutoCAD 2010"));
    ASSERT_EQ(GetKeyListArray(CString(), hive), 1);
    for (const ACADVER release : {ACAD_MAP2004, ACAD_MAP2005, ACAD_MAP2006, ACAD_2021, ACAD_2022}) {
        SCOPED_TRACE(release);
        CAutoLoadArx arx;
        arx.SetAppInstallPath(_T("C:\\App\\"));
        EXPECT_EQ(arx.SetAcadVer(release), 0);
        EXPECT_EQ(arx.m_strAcadRegKey, _T("\\") + hive[hive.GetUpperBound()]) << "the last key that was tried";
        const std::string values = Utf8(kvttest::GetText(HKEY_LOCAL_MACHINE, CString(), _T("REGPATH")));
        EXPECT_EQ(arx.AddAutoArx(_T("Tool"), Commands({_T("CMD1"), _T("cmd2")}), _T("GROUP"), 14), 1);
        EXPECT_EQ(Maker(), OLD_MAKER);
        EXPECT_FALSE(kvttest::KeyExists(HKEY_LOCAL_MACHINE, hive[hive.GetUpperBound()] + _T("\\Applications")));
        EXPECT_EQ(values, "(none)") << "nothing of it in the hive itself";
        EXPECT_EQ(Utf8(kvttest::GetText(HKEY_LOCAL_MACHINE, CString(), _T("REGPATH"))), "(none)");
        EXPECT_EQ(Utf8(kvttest::GetText(HKEY_LOCAL_MACHINE, CString(), _T("LoadCtrls"))), "(none)");
        EXPECT_EQ(arx.DelAutoArx(_T("Tool")), 0);
        EXPECT_EQ(Maker(), OLD_MAKER) << "without the host's entry the maker's stays";
        kvttest::RemoveKey(HKEY_LOCAL_MACHINE, _T("Software\\orva"));
    }
}

TEST_F(AutoLoadArx, IsAutoLoadAsksForBothKeys) {
    CAutoLoadArx arx = Prepared(ACAD_2000);
    EXPECT_EQ(arx.ArxIsAutoLoad(_T("Tool")), 0);
    arx.AddAutoArx(_T("Tool"), Commands({}), _T(""), 0);
    EXPECT_EQ(arx.ArxIsAutoLoad(_T("TOOL")), 1);
    kvttest::RemoveKey(HKEY_LOCAL_MACHINE, _T("Software\\Autodesk\\Host\\Applications\\Tool"));
    EXPECT_EQ(arx.ArxIsAutoLoad(_T("Tool")), 0);
    arx.m_nAcadVer = ACAD_2010;
    arx.AddAutoArx(_T("New"), Commands({}), _T(""), 0);
    EXPECT_EQ(arx.ArxIsAutoLoad(_T("New")), 0) << "the maker's key is not made";
}

TEST_F(AutoLoadArx, DeletesTheHostsEntryThenTheMakers) {
    CAutoLoadArx arx = Prepared(ACAD_2000);
    arx.AddAutoArx(_T("Tool"), Commands({_T("A")}), _T("G"), 0);
    arx.AddAutoArx(_T("Other"), Commands({_T("A")}), _T("G"), 0);
    EXPECT_EQ(arx.DelAutoArx(_T("tool")), 1);
    EXPECT_FALSE(kvttest::KeyExists(HKEY_LOCAL_MACHINE, _T("Software\\Autodesk\\Host\\Applications\\Tool")));
    EXPECT_FALSE(kvttest::KeyExists(HKEY_LOCAL_MACHINE, _T("Software\\orva\\apps\\Tool")));
    EXPECT_EQ(arx.ArxIsAutoLoad(_T("Other")), 1);
    EXPECT_EQ(arx.DelAutoArx(_T("Tool")), 0);
}

TEST_F(AutoLoadArx, DeletingWithoutTheHostsEntryLeavesTheMakers) {
    CAutoLoadArx arx = Prepared(ACAD_2000);
    arx.AddAutoArx(_T("Tool"), Commands({_T("CMD1"), _T("cmd2")}), _T("GROUP"), 0);
    kvttest::RemoveKey(HKEY_LOCAL_MACHINE, _T("Software\\Autodesk\\Host\\Applications\\Tool"));
    EXPECT_EQ(arx.DelAutoArx(_T("Tool")), 0);
    EXPECT_EQ(Maker(), OLD_MAKER);
}

TEST_F(AutoLoadArx, DeletingAnR16RegistrationFindsNoMakersKey) {
    CAutoLoadArx arx = Prepared(ACAD_2010);
    arx.AddAutoArx(_T("Tool"), Commands({_T("A")}), _T("G"), 0);
    EXPECT_EQ(arx.DelAutoArx(_T("Tool")), 0);
    EXPECT_EQ(Host(), "[]\n[Applications]\n");
}

TEST_F(AutoLoadArx, DeletingWithoutNameOrProductKeyTouchesNothing) {
    CAutoLoadArx arx = Prepared(ACAD_2000);
    arx.AddAutoArx(_T("Tool"), Commands({_T("CMD1"), _T("cmd2")}), _T("GROUP"), 14);
    for (const LPCWSTR name : {_T(""), _T("\\"), _T("\\\\"), _T("\\\\\\\\")}) {
        EXPECT_EQ(arx.DelAutoArx(name), 0);
    }
    arx.m_strAcadRegKey.Empty();
    EXPECT_EQ(arx.DelAutoArx(_T("Tool")), 0);
    EXPECT_EQ(arx.DelAutoArx(_T("")), 0);
    EXPECT_EQ(Host(), OLD_HOST);
    EXPECT_EQ(Maker(), OLD_MAKER);
}

TEST_F(AutoLoadArx, LoadControlFlagsAreKeptAsGiven) {
    CAutoLoadArx arx = Prepared(ACAD_2010);
    int flags = 5;
    EXPECT_EQ(arx.GetArxLoadCtrls(_T("Tool"), flags), 0);
    EXPECT_EQ(arx.SetArxLoadCtrls(_T("Tool"), 7), 0);
    EXPECT_EQ(flags, 5);
    EXPECT_EQ(Host(), "[]\n") << "no entry is made";
    arx.AddAutoArx(_T("Tool"), Commands({}), _T(""), 2);
    EXPECT_EQ(arx.GetArxLoadCtrls(_T("Tool"), flags), 1);
    EXPECT_EQ(flags, 2);
    EXPECT_EQ(arx.SetArxLoadCtrls(_T("Tool"), -2147483647 - 1), 1);
    EXPECT_EQ(arx.GetArxLoadCtrls(_T("Tool"), flags), 1);
    EXPECT_EQ(flags, -2147483647 - 1);
}

TEST_F(AutoLoadArx, AnEntryWithoutReadableFlagsIsStillThere) {
    CAutoLoadArx arx = Prepared(ACAD_2010);
    const CString entry = _T("Software\\Autodesk\\Host\\Applications\\Tool");
    kvttest::PutKey(HKEY_LOCAL_MACHINE, entry);
    int flags = 5;
    EXPECT_EQ(arx.GetArxLoadCtrls(_T("Tool"), flags), 1);
    EXPECT_EQ(flags, 5);
    PutText(HKEY_LOCAL_MACHINE, entry, _T("LoadCtrls"), _T("a long text"));
    EXPECT_EQ(arx.GetArxLoadCtrls(_T("Tool"), flags), 1);
    EXPECT_EQ(flags, 5);
    EXPECT_EQ(arx.SetArxLoadCtrls(_T("Tool"), 3), 1);
    EXPECT_EQ(Host(), "[]\n[Applications]\n[Applications\\Tool]\nLoadCtrls=4:03 00 00 00\n");
}

TEST_F(AutoLoadArx, SwitchesAreOnExactlyWhenTheirTextIsOne) {
    CAutoLoadArx arx;
    EXPECT_EQ(arx.GetRegAutoLoadInfo(_T("switch")), 0) << "no root";
    EXPECT_EQ(arx.SetRegAutoLoadInfo(_T("switch"), -7), 1);
    EXPECT_EQ(arx.SetRegAutoLoadInfo(_T("other"), 0), 1);
    EXPECT_EQ(Maker(), "[]\n[apps]\nother=0\nswitch=1\n");
    EXPECT_EQ(arx.GetRegAutoLoadInfo(_T("switch")), 1);
    EXPECT_EQ(arx.GetRegAutoLoadInfo(_T("other")), 0);
    EXPECT_EQ(arx.GetRegAutoLoadInfo(_T("missing")), 0);
    for (const LPCWSTR text : {_T("yes"), _T("01"), _T(" 1"), _T("1 "), _T("")}) {
        PutText(HKEY_LOCAL_MACHINE, _T("Software\\orva\\apps"), _T("switch"), text);
        EXPECT_EQ(arx.GetRegAutoLoadInfo(_T("switch")), 0) << Utf8(text);
    }
    PutNumber(HKEY_LOCAL_MACHINE, _T("Software\\orva\\apps"), _T("switch"), '1');
    EXPECT_EQ(arx.GetRegAutoLoadInfo(_T("switch")), 1) << "the type is not looked at";
    EXPECT_EQ(arx.SetRegAutoLoadInfo(_T("switch"), 0), 1);
    EXPECT_EQ(arx.GetRegAutoLoadInfo(_T("switch")), 0);
}

TEST_F(AutoLoadArx, SwitchesStandUnderTheMakersRootAsSet) {
    CAutoLoadArx arx;
    arx.SetSoftRegKey(_T("Software\\orva\\elsewhere"));
    EXPECT_EQ(arx.SetRegAutoLoadInfo(_T("s"), 1), 1);
    EXPECT_EQ(Maker(), "[]\n[elsewhere]\ns=1\n");
    EXPECT_EQ(arx.GetRegAutoLoadInfo(_T("s")), 1);
    arx.SetSoftRegKey(_T("\\Software\\orva"));
    EXPECT_EQ(arx.SetRegAutoLoadInfo(_T("s"), 1), 0) << "a path may not begin with a separator";
    EXPECT_EQ(arx.GetRegAutoLoadInfo(_T("s")), 0);
}
