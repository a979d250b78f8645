// The support search path of the R15 host, and the data folders of the maker's products.

#include "kvtfile/SupportPath.h"

#include "tests/support/message_boxes.h"
#include "tests/support/registry.h"

using namespace kvtfile;
using kvttest::GetText;
using kvttest::PutText;
using kvttest::Utf8;

namespace {

constexpr WCHAR PROFILES[] = _T("Software\\Autodesk\\AutoCAD\\R15.0\\ACAD-1:804\\Profiles");
constexpr WCHAR SETTINGS[] = _T("Software\\Autodesk\\AutoCAD\\R15.0\\ACAD-1:804\\Profiles\\<<未命名配置>>\\General");
constexpr WCHAR WINDOWS_KEY[] = _T("Software\\Microsoft\\Windows\\CurrentVersion");

class SupportPath : public testing::Test {
protected:
    kvttest::HostKeys m_keys;
    kvttest::MessageBoxes m_boxes;
};

CString Stored() {
    return GetText(HKEY_CURRENT_USER, SETTINGS, _T("ACAD"));
}

void Store(const CString& text) {
    PutText(HKEY_CURRENT_USER, SETTINGS, _T("ACAD"), text);
}

struct Row {
    LPCWSTR before;
    LPCWSTR path;
    LPCWSTR after;
};

}  // namespace

TEST_F(SupportPath, NewFoldersGoInFrontInLowerCase) {
    m_keys.Load("r15");
    const Row rows[] = {
        {_T("c:\\x"), _T("D:\\New"), _T("d:\\new;c:\\x")},
        {_T("c:\\x;d:\\app\\support"), _T("D:\\App\\Support"), _T("c:\\x;d:\\app\\support")},
        {_T("c:\\x;D:\\App\\Support"), _T("D:\\App\\Support"), _T("d:\\app\\support;c:\\x;D:\\App\\Support")},
        {_T("d:\\new"), _T("d:\\new"), _T("d:\\new")},
        {_T("d:\\new2;c:\\d:\\new"), _T("d:\\new"), _T("d:\\new;d:\\new2;c:\\d:\\new")},
        {_T(""), _T("D:\\New"), _T("d:\\new;")},
        {_T("c:\\x; ;\t"), _T("D:\\New"), _T("d:\\new;c:\\x; ;\t")},
        {_T("c:\\x"), _T("D:\\ÄÖ图"), _T("d:\\äö图;c:\\x")},
        {_T("c:\\x"), _T(";;D:\\New"), _T("d:\\new;c:\\x")},
        {_T("c:\\x"), _T(""), _T("c:\\x")},
        {_T("c:\\x"), _T("a;b"), _T("a;b;c:\\x")},
    };
    for (const Row& row : rows) {
        Store(row.before);
        EXPECT_EQ(AddAppSupportPathToAcad(row.path), 1);
        EXPECT_EQ(Stored(), row.after) << Utf8(row.before) << " + " << Utf8(row.path);
    }
    EXPECT_TRUE(m_boxes.Take().empty());
}

TEST_F(SupportPath, FoldersAreTakenOutAsTheirText) {
    m_keys.Load("r15");
    const Row rows[] = {
        {_T("c:\\x;d:\\b;e:\\y"), _T("d:\\b"), _T("c:\\x;e:\\y")},
        {_T("c:\\x;d:\\b;e:\\y"), _T("D:\\B"), _T("c:\\x;e:\\y")},
        {_T("c:\\ad:\\b;d:\\b;"), _T("d:\\b"), _T("c:\\a")},
        {_T("d:\\b;c:\\x;d:\\b;e:\\y"), _T("d:\\b"), _T("c:\\x;e:\\y")},
        {_T("c:\\x;d:\\b"), _T("d:\\b"), _T("c:\\x;d:\\b")},
        {_T("c:\\x;D:\\B;e:\\y"), _T("d:\\b"), _T("c:\\x;D:\\B;e:\\y")},
        {_T("c:\\x;d:\\bb"), _T("d:\\b"), _T("c:\\x;d:\\bb")},
        {_T("d:\\b; "), _T("d:\\b"), _T(" ")},
        {_T(""), _T("d:\\b"), _T("")},
        {_T(""), _T(""), _T("")},
        {_T("c:\\x;;e:\\y"), _T(""), _T("c:\\x;;e:\\y")},
    };
    for (const Row& row : rows) {
        Store(row.before);
        EXPECT_EQ(RemoveAppSupportPathFromAcad(row.path), 1);
        EXPECT_EQ(Stored(), row.after) << Utf8(row.before) << " - " << Utf8(row.path);
    }
    EXPECT_TRUE(m_boxes.Take().empty());
}

TEST_F(SupportPath, NothingElseOfTheHostIsTouched) {
    m_keys.Load("r15");
    const CString stored = Stored();
    const std::string user = kvttest::Dump(HKEY_CURRENT_USER, _T("Software\\Autodesk"));
    const std::string machine = kvttest::Dump(HKEY_LOCAL_MACHINE, _T("Software\\Autodesk"));
    EXPECT_EQ(AddAppSupportPathToAcad(_T("D:\\New")), 1);
    EXPECT_EQ(Stored(), _T("d:\\new;") + stored);
    EXPECT_EQ(RemoveAppSupportPathFromAcad(_T("D:\\NEW")), 1);
    EXPECT_EQ(kvttest::Dump(HKEY_CURRENT_USER, _T("Software\\Autodesk")), user);
    EXPECT_EQ(kvttest::Dump(HKEY_LOCAL_MACHINE, _T("Software\\Autodesk")), machine);
}

TEST_F(SupportPath, LongSearchPathsLoseNothing) {
    m_keys.Load("r15");
    CString path;
    for (int i = 0; i < 1000; ++i) {
        path.AppendFormat(_T("C:\\Folder number %d;"), i);
    }
    path += _T("c:\\last");
    Store(path);
    EXPECT_EQ(AddAppSupportPathToAcad(_T("C:\\LAST")), 1);
    EXPECT_EQ(Stored(), path) << "found behind the first 1023 characters";
    EXPECT_EQ(AddAppSupportPathToAcad(_T("D:\\New")), 1);
    EXPECT_EQ(Stored(), _T("d:\\new;") + path);
    EXPECT_EQ(RemoveAppSupportPathFromAcad(_T("D:\\New")), 1);
    EXPECT_EQ(Stored(), path);
}

TEST_F(SupportPath, AProfileWithoutSearchPathGetsOne) {
    m_keys.Load("r15");
    kvttest::RemoveValue(HKEY_CURRENT_USER, SETTINGS, _T("ACAD"));
    EXPECT_EQ(RemoveAppSupportPathFromAcad(_T("D:\\New")), 1);
    EXPECT_EQ(Stored(), _T("(none)"));
    EXPECT_EQ(AddAppSupportPathToAcad(_T("D:\\New")), 1);
    EXPECT_EQ(Stored(), _T("d:\\new;"));
}

TEST_F(SupportPath, WithoutAProfileNothingIsMade) {
    m_keys.Load("r15");
    for (const LPCWSTR profile : {_T("another"), _T("")}) {
        PutText(HKEY_CURRENT_USER, PROFILES, _T(""), profile);
        const std::string before = kvttest::Dump(HKEY_CURRENT_USER, PROFILES);
        EXPECT_EQ(AddAppSupportPathToAcad(_T("D:\\New")), 0) << Utf8(profile);
        EXPECT_EQ(RemoveAppSupportPathFromAcad(_T("D:\\New")), 0);
        EXPECT_EQ(kvttest::Dump(HKEY_CURRENT_USER, PROFILES), before);
    }
    kvttest::RemoveValue(HKEY_CURRENT_USER, PROFILES, _T(""));
    EXPECT_EQ(AddAppSupportPathToAcad(_T("D:\\New")), 0);
    EXPECT_EQ(RemoveAppSupportPathFromAcad(_T("D:\\New")), 0);
    EXPECT_TRUE(m_boxes.Take().empty());
}

TEST_F(SupportPath, WithoutAnR15HostAMessageTells) {
    const std::vector<std::string> one{"0 取ACADR15版本信息出错!"};
    EXPECT_EQ(AddAppSupportPathToAcad(_T("D:\\New")), 0);
    EXPECT_EQ(m_boxes.Take(), one);
    EXPECT_EQ(RemoveAppSupportPathFromAcad(_T("D:\\New")), 0);
    EXPECT_EQ(m_boxes.Take(), one);
    EXPECT_FALSE(kvttest::KeyExists(HKEY_CURRENT_USER, _T("Software\\Autodesk")));
}

TEST_F(SupportPath, SearchPathsOfOtherTextTypesAreWrittenBackAsText) {
    m_keys.Load("r15");
    kvttest::PutBytes(HKEY_CURRENT_USER, SETTINGS, _T("ACAD"), REG_EXPAND_SZ, std::string("%\0a\0%\0\0\0", 8));
    EXPECT_EQ(AddAppSupportPathToAcad(_T("D:\\New")), 1);
    EXPECT_EQ(Stored(), _T("d:\\new;%a%"));
    // Without its NUL.
    kvttest::PutBytes(HKEY_CURRENT_USER, SETTINGS, _T("ACAD"), REG_SZ, std::string("c\0:\0", 4));
    EXPECT_EQ(AddAppSupportPathToAcad(_T("D:\\New")), 1);
    EXPECT_EQ(Stored(), _T("d:\\new;c:"));
}

TEST_F(SupportPath, AValueThatIsNoTextIsLeftAlone) {
    m_keys.Load("r15");
    const std::string bytes("a\0\0\0b\0\0\0\0\0", 10);
    for (const DWORD type : {REG_MULTI_SZ, REG_BINARY, REG_DWORD, REG_NONE}) {
        kvttest::PutBytes(HKEY_CURRENT_USER, SETTINGS, _T("ACAD"), type, bytes);
        const std::string before = kvttest::Dump(HKEY_CURRENT_USER, SETTINGS);
        EXPECT_EQ(AddAppSupportPathToAcad(_T("D:\\New")), 0) << type;
        EXPECT_EQ(RemoveAppSupportPathFromAcad(_T("a")), 0) << type;
        EXPECT_EQ(kvttest::Dump(HKEY_CURRENT_USER, SETTINGS), before);
    }
}

TEST_F(SupportPath, CommonFoldersAreMadeFromWindowsOwn) {
    const struct {
        LPCWSTR stored;
        LPCWSTR folder;
    } rows[] = {
        {_T("C:\\Program Files\\Common Files"), _T("C:\\PROGRAM FILES\\COMMON FILES\\ORVA\\CAD\\")},
        {_T("d:\\gemäß\\公共\\"), _T("D:\\GEMÄß\\公共\\ORVA\\CAD\\")},
        {_T("c:\\100%s"), _T("C:\\100%S\\ORVA\\CAD\\")},
        {_T(""), _T("\\ORVA\\CAD\\")},
    };
    for (const auto& row : rows) {
        PutText(HKEY_LOCAL_MACHINE, WINDOWS_KEY, _T("CommonFilesDir"), row.stored);
        EXPECT_EQ(FGetCADCommonFilePath(), row.folder);
        EXPECT_EQ(FGetCADCommonFilePath_DAT(), CString(row.folder) + _T("DAT\\"));
        EXPECT_EQ(FGetCADCommonFilePath_SysLib2k(), CString(row.folder) + _T("SYSLIB2K\\"));
    }
}

TEST_F(SupportPath, WithoutCommonFilesThereAreNoCommonFolders) {
    kvttest::RemoveValue(HKEY_LOCAL_MACHINE, WINDOWS_KEY, _T("CommonFilesDir"));
    EXPECT_EQ(FGetCADCommonFilePath(), _T(""));
    EXPECT_EQ(FGetCADCommonFilePath_DAT(), _T(""));
    EXPECT_EQ(FGetCADCommonFilePath_SysLib2k(), _T(""));
}

TEST_F(SupportPath, ProductFoldersEndInASeparator) {
    EXPECT_EQ(GetTelumInstallPath(), _T(""));
    EXPECT_EQ(GetTelumWorkPath(), _T(""));
    PutText(HKEY_LOCAL_MACHINE, _T("SOFTWARE\\ORVA\\TELUM"), _T("InstallPath"), _T("C:\\Telum"));
    EXPECT_EQ(GetTelumInstallPath(), _T("C:\\Telum\\"));
    EXPECT_EQ(GetTelumWorkPath(), _T(""));
    PutText(HKEY_LOCAL_MACHINE, _T("SOFTWARE\\ORVA\\TELUM"), _T("SysWorkPath"), _T("D:\\工作\\"));
    EXPECT_EQ(GetTelumWorkPath(), _T("D:\\工作\\"));
    PutText(HKEY_LOCAL_MACHINE, _T("SOFTWARE\\ORVA\\TELUM"), _T("SysWorkPath"), _T(""));
    EXPECT_EQ(GetTelumWorkPath(), _T("\\"));
    kvttest::RemoveKey(HKEY_LOCAL_MACHINE, _T("SOFTWARE\\ORVA\\TELUM"));
    PutText(HKEY_CURRENT_USER, _T("SOFTWARE\\ORVA\\TELUM"), _T("InstallPath"), _T("C:\\Telum"));
    EXPECT_EQ(GetTelumInstallPath(), _T(""));
}
