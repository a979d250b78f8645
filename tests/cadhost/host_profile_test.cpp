// What AutoCAD keeps for each user: search paths and root folders.

#include "kvtfile/CadHost.h"
#include "tests/support/registry.h"

using namespace kvtfile;
using kvttest::PutText;
using kvttest::Utf8;

namespace {

class CadHostProfile : public testing::Test {
protected:
    kvttest::HostKeys m_keys;
};

constexpr WCHAR ROOT[] = _T("Software\\Autodesk\\AutoCAD\\");

struct Found {
    int result;
    std::string text;
    bool operator==(const Found&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Found& found) {
    return out << found.result << " \"" << found.text << '"';
}

Found Env(ACADVER release) {
    CString text = _T("stale");
    const int result = GetAcadEnvPath(release, text);
    return {result, Utf8(text)};
}

Found Env(LPCWSTR release) {
    CString text = _T("stale");
    const int result = GetAcadEnvPath(CString(release), text);
    return {result, Utf8(text)};
}

using RootFolder = int (*)(CString, CString&);

Found Folder(RootFolder function, LPCWSTR release) {
    CString text = _T("stale");
    const int result = function(release, text);
    return {result, Utf8(text)};
}

Found AnyR16Folder() {
    CString text = _T("stale");
    const int result = GetAcadR16RootFolder(text);
    return {result, Utf8(text)};
}

Found Support(int year) {
    CString text = _T("stale");
    const int result = GetAcadSupportPath(static_cast<zqolecad::START_ACADVER>(year), text);
    return {result, Utf8(text)};
}

Found Template(int year) {
    CString text = _T("stale");
    const int result = GetAcadTemplatePath(static_cast<zqolecad::START_ACADVER>(year), text);
    return {result, Utf8(text)};
}

// The user's current product of a release, with a folder.
void PutUser(LPCWSTR release, LPCWSTR value, LPCWSTR folder) {
    PutText(HKEY_CURRENT_USER, CString(ROOT) + release, _T("CurVer"), _T("P"));
    PutText(HKEY_CURRENT_USER, CString(ROOT) + release + _T("\\P"), value, folder);
}

// A profile of the current product of R17.0, with a search path.
void PutSearchPath(LPCWSTR text) {
    const CString product = CString(ROOT) + _T("R17.0\\P");
    PutUser(_T("R17.0"), _T("x"), _T("x"));
    PutText(HKEY_CURRENT_USER, product + _T("\\Profiles"), _T(""), _T("My profile"));
    PutText(HKEY_CURRENT_USER, product + _T("\\Profiles\\My profile\\General"), _T("ACAD"), text);
}

}  // namespace

TEST_F(CadHostProfile, SearchPathOfAReleaseByItsNumber) {
    m_keys.Load("r14");
    EXPECT_EQ(Env(ACAD_R14),
              (Found{1, "C:\\Program Files\\AutoCAD R14\\support;C:\\Program Files\\AutoCAD R14\\fonts"}));
    EXPECT_EQ(Env(ACAD_2010), (Found{0, ""}));
}

TEST_F(CadHostProfile, SearchPathOfTheR15Family) {
    m_keys.Load("r15");
    const Found found{1, "C:\\Program Files\\AutoCAD 2002\\support;C:\\Program Files\\AutoCAD 2002\\fonts;D:\\图库"};
    for (const ACADVER release : {ACAD_2000, ACAD_MAP2000, ACAD_2002}) {
        EXPECT_EQ(Env(release), found);
    }
    EXPECT_EQ(Env(_T("R15.0")), found);
    EXPECT_EQ(Env(ACAD_MAP6), (Found{0, ""}));
}

TEST_F(CadHostProfile, SearchPathOfAReleaseByItsText) {
    m_keys.Load("acad2007-2020");
    EXPECT_EQ(Env(_T("R18.0")),
              (Found{1,
                     "%AppData%\\Autodesk\\AutoCAD 2010\\R18.0\\enu\\support;C:\\Program Files\\AutoCAD "
                     "2010\\support;C:\\Program Files\\AutoCAD 2010\\fonts"}));
    EXPECT_EQ(Env(_T("R18.0")), Env(ACAD_2010));
    EXPECT_EQ(Env(_T("R16.0")), (Found{0, ""}));
    EXPECT_EQ(Env(_T("")), (Found{0, ""}));
}

TEST_F(CadHostProfile, WhiteSpaceThenSemicolonsAreTrimmedAtTheEndOfASearchPath) {
    const struct {
        LPCWSTR stored;
        const char* text;
    } rows[] = {
        {_T("c:\\a;c:\\b"), "c:\\a;c:\\b"},
        {_T("c:\\a; \t\r\n"), "c:\\a"},
        {_T("c:\\a;;;"), "c:\\a"},
        {_T("c:\\a ;"), "c:\\a "},
        {_T("c:\\a; ;"), "c:\\a; "},
        {_T("  ;;c:\\a"), "  ;;c:\\a"},
        {_T("c:\\a\x3000"), "c:\\a"},
        {_T(";;"), ""},
        {_T(""), ""},
    };
    for (const auto& row : rows) {
        PutSearchPath(row.stored);
        EXPECT_EQ(Env(_T("R17.0")), (Found{1, row.text})) << Utf8(row.stored);
    }
}

TEST_F(CadHostProfile, LongSearchPathsAreReadWhole) {
    CString path;
    for (int i = 0; i < 1000; ++i) {
        path.AppendFormat(_T("C:\\folder number %d;"), i);
    }
    path += _T("C:\\last");
    PutSearchPath(path);
    EXPECT_EQ(Env(_T("R17.0")), (Found{1, Utf8(path)}));
}

TEST_F(CadHostProfile, AProfileWithoutSearchPathGivesAnEmptyText) {
    PutSearchPath(_T("x"));
    const CString profiles = CString(ROOT) + _T("R17.0\\P\\Profiles");
    kvttest::RemoveValue(HKEY_CURRENT_USER, profiles + _T("\\My profile\\General"), _T("ACAD"));
    EXPECT_EQ(Env(_T("R17.0")), (Found{1, ""}));
    kvttest::RemoveKey(HKEY_CURRENT_USER, profiles + _T("\\My profile"));
    EXPECT_EQ(Env(_T("R17.0")), (Found{1, ""}));
    kvttest::RemoveValue(HKEY_CURRENT_USER, profiles, _T(""));
    EXPECT_EQ(Env(_T("R17.0")), (Found{0, ""}));
    kvttest::RemoveKey(HKEY_CURRENT_USER, profiles);
    EXPECT_EQ(Env(_T("R17.0")), (Found{0, ""}));
}

TEST_F(CadHostProfile, RootFoldersOfR16) {
    m_keys.Load("r16");
    EXPECT_EQ(Folder(GetAcadR16RootFolder, _T("R16.0")),
              (Found{1, "C:\\Documents and Settings\\user\\Application Data\\Autodesk\\AutoCAD 2004\\R16.0\\chs\\"}));
    EXPECT_EQ(Folder(GetAcadR16LocalRootFolder, _T("R16.1")),
              (Found{1,
                     "C:\\Documents and Settings\\user\\Local Settings\\Application Data\\Autodesk\\AutoCAD "
                     "2005\\R16.1\\chs"}))
        << "as it stands";
    EXPECT_EQ(AnyR16Folder(), Folder(GetAcadR16RootFolder, _T("R16.2"))) << "the user's current release";
    EXPECT_EQ(Folder(GetAcadR16RootFolder, _T("R16.3")), (Found{0, ""}));
}

TEST_F(CadHostProfile, WithoutACurrentR16TheFirstOfTheMachineIsTaken) {
    m_keys.Load("r16");
    for (const LPCWSTR current : {_T("R18.0"), _T(""), _T("R1"), _T("xR16")}) {
        PutText(HKEY_CURRENT_USER, _T("Software\\Autodesk\\AutoCAD"), _T("CurVer"), current);
        EXPECT_EQ(AnyR16Folder(), Folder(GetAcadR16RootFolder, _T("R16.0"))) << Utf8(current);
        EXPECT_EQ(AnyR16Folder().result, 1);
    }
    PutText(HKEY_CURRENT_USER, _T("Software\\Autodesk\\AutoCAD"), _T("CurVer"), _T("r16.1"));
    EXPECT_EQ(AnyR16Folder(), Folder(GetAcadR16RootFolder, _T("R16.1")));
    PutText(HKEY_CURRENT_USER, _T("Software\\Autodesk\\AutoCAD"), _T("CurVer"), _T("R16.9"));
    EXPECT_EQ(AnyR16Folder(), (Found{0, ""})) << "current, and without a product";
}

TEST_F(CadHostProfile, AGenerationHasToBeThereForItsFolders) {
    const struct {
        RootFolder function;
        LPCWSTR value;
        LPCWSTR generation;
    } rows[] = {
        {GetAcadR16RootFolder, _T("RoamableRootFolder"), _T("R16.7")},
        {GetAcadR16LocalRootFolder, _T("LocalRootFolder"), _T("R16.7")},
        {GetAcadR17RootFolder, _T("RoamableRootFolder"), _T("r17.x")},
        {GetAcadR17LocalRootFolder, _T("LocalRootFolder"), _T("R17")},
        {GetAcadR18RootFolder, _T("RoamableRootFolder"), _T("R18.1")},
        {GetAcadR18LocalRootFolder, _T("LocalRootFolder"), _T("R189")},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(Utf8(row.generation) + Utf8(row.value));
        PutUser(_T("R20.0"), row.value, _T("C:\\of any release"));
        EXPECT_EQ(Folder(row.function, _T("R20.0")), (Found{0, ""}));
        // The machine has one of the generation ...
        kvttest::PutKey(HKEY_LOCAL_MACHINE, CString(ROOT) + _T("R00"));
        kvttest::PutKey(HKEY_LOCAL_MACHINE, CString(ROOT) + row.generation);
        EXPECT_EQ(Folder(row.function, _T("R20.0")), (Found{1, "C:\\of any release"}));
        kvttest::RemoveKey(HKEY_LOCAL_MACHINE, _T("Software\\Autodesk"));
        EXPECT_EQ(Folder(row.function, _T("R20.0")), (Found{0, ""}));
        // ... or the user works with one.
        PutText(HKEY_CURRENT_USER, _T("Software\\Autodesk\\AutoCAD"), _T("CurVer"), row.generation);
        EXPECT_EQ(Folder(row.function, _T("R20.0")), (Found{1, "C:\\of any release"}));
        EXPECT_EQ(Folder(row.function, _T("R20.1")), (Found{0, ""}));
        kvttest::RemoveKey(HKEY_CURRENT_USER, _T("Software\\Autodesk"));
    }
}

TEST_F(CadHostProfile, RoamableAndLocalFoldersAreApart) {
    m_keys.Load("acad2007-2020");
    EXPECT_EQ(Folder(GetAcadR17RootFolder, _T("R17.2")),
              (Found{1, "C:\\Users\\user\\AppData\\Roaming\\Autodesk\\AutoCAD 2009\\R17.2\\enu\\"}));
    EXPECT_EQ(Folder(GetAcadR17LocalRootFolder, _T("R17.2")),
              (Found{1, "C:\\Users\\user\\AppData\\Local\\Autodesk\\AutoCAD 2009\\R17.2\\enu\\"}));
    EXPECT_EQ(Folder(GetAcadR18RootFolder, _T("R18.0")),
              (Found{1, "C:\\Users\\user\\AppData\\Roaming\\Autodesk\\AutoCAD 2010\\R18.0\\enu"}));
    EXPECT_EQ(Folder(GetAcadR18LocalRootFolder, _T("R18.0")),
              (Found{1, "C:\\Users\\user\\AppData\\Local\\Autodesk\\AutoCAD 2010\\R18.0\\enu"}));
    EXPECT_EQ(Folder(GetAcadR16RootFolder, _T("R17.2")), (Found{0, ""}));
}

TEST_F(CadHostProfile, SupportAndTemplateFoldersOfEveryYear) {
    m_keys.Load("acad2007-2020");
    const LPCWSTR releases[] = {_T("R17.0"), _T("R17.1"), _T("R17.2"), _T("R18.0"), _T("R18.1"),
                                _T("R18.2"), _T("R19.0"), _T("R19.1"), _T("R20.0"), _T("R20.1"),
                                _T("R21.0"), _T("R22.0"), _T("R23.0"), _T("R23.1")};
    for (int year = 2007; year <= 2020; ++year) {
        CString root;
        root.Format(_T("C:\\Users\\user\\AppData\\Roaming\\Autodesk\\AutoCAD %d\\%s\\enu\\"), year,
                    releases[year - 2007]);
        EXPECT_EQ(Support(year), (Found{1, Utf8(root) + "support\\"}));
        EXPECT_EQ(Template(year), (Found{1, Utf8(root) + "template\\"}));
    }
}

TEST_F(CadHostProfile, SupportFoldersOfTheOlderYears) {
    m_keys.Load("r16");
    for (const auto& [year, release] : {std::pair(2004, "R16.0"), std::pair(2005, "R16.1"), std::pair(2006, "R16.2")}) {
        const std::string root = "C:\\Documents and Settings\\user\\Application Data\\Autodesk\\AutoCAD " +
                                 std::to_string(year) + "\\" + release + "\\chs\\";
        EXPECT_EQ(Support(year), (Found{1, root + "support\\"}));
        EXPECT_EQ(Template(year), (Found{1, root + "template\\"}));
    }
    EXPECT_EQ(Support(2000), (Found{0, ""}));
}

TEST_F(CadHostProfile, SupportFolderOf2000StandsInTheInstallFolder) {
    m_keys.Load("r15");
    EXPECT_EQ(Support(2000), (Found{1, "C:\\Program Files\\AutoCAD 2002\\support\\"}));
    EXPECT_EQ(Template(2000), (Found{1, "C:\\Program Files\\AutoCAD 2002\\template\\"}));
    EXPECT_EQ(Support(2004), (Found{0, ""}));
}

TEST_F(CadHostProfile, YearsWithoutAReleaseHaveNoFolders) {
    m_keys.Load("r15");
    m_keys.Load("acad2007-2020");
    PutUser(_T("R14.0"), _T("RoamableRootFolder"), _T("C:\\of a release without a year"));
    for (const int year : {-1, 0, 1999, 2001, 2002, 2003, 2021, 2022, 2023}) {
        EXPECT_EQ(Support(year), (Found{0, ""})) << year;
        EXPECT_EQ(Template(year), (Found{0, ""})) << year;
    }
}

TEST_F(CadHostProfile, ANewHostAloneHasItsFolders) {
    m_keys.Load("acad2020");
    EXPECT_EQ(Support(2020),
              (Found{1, "C:\\Users\\user\\AppData\\Roaming\\Autodesk\\AutoCAD 2020\\R23.1\\chs\\support\\"}));
    EXPECT_EQ(Support(2007), (Found{0, ""}));
    EXPECT_EQ(Folder(GetAcadR17RootFolder, _T("R23.1")), (Found{0, ""})) << "no R17 is there";
}

TEST_F(CadHostProfile, AMixedWorkstation) {
    m_keys.Load("mixed");
    EXPECT_EQ(Env(ACAD_2000), (Found{1, "C:\\Program Files\\AutoCAD Map 2000i\\support"}));
    EXPECT_EQ(Folder(GetAcadR17RootFolder, _T("R17.1")),
              (Found{1, "C:\\Users\\user\\AppData\\Roaming\\Autodesk\\AutoCAD 2008\\R17.1\\chs\\"}));
    EXPECT_EQ(Support(2017),
              (Found{1, "C:\\Users\\user\\AppData\\Roaming\\Autodesk\\AutoCAD 2017\\R21.0\\enu\\support\\"}))
        << "what an uninstalled host left";
    CString path;
    EXPECT_EQ(GetAcadPath(path, ACAD_2017), 0);
    EXPECT_EQ(GetAcadPath(path, ACAD_2007), 0) << "a key without products";
    EXPECT_EQ(GetAcadPath(path, ACAD_2010), 1);
    EXPECT_EQ(path, _T("C:\\Program Files\\AutoCAD 2010\\")) << "AutoCAD LT 2010 comes first and does not fit";
}
