// Damaged installations: values that are missing, of other types, without their ends, and names that lead nowhere.

#include "kvtfile/AutoLoadArx.h"
#include "kvtfile/CadHost.h"
#include "kvtfile/SupportPath.h"
#include "tests/support/registry.h"

using namespace kvtfile;
using kvttest::Utf8;

namespace {

class CadHostDamaged : public testing::Test {
protected:
    CadHostDamaged() { m_keys.Load("damaged"); }

    kvttest::HostKeys m_keys;
};

std::string RegKey(ACADVER release) {
    CString key = _T("stale");
    const int result = GetAcadRegKey(key, release);
    return std::to_string(result) + " " + Utf8(key);
}

std::string Path(ACADVER release) {
    CString path = _T("stale");
    const int result = GetAcadPath(path, release);
    return std::to_string(result) + " " + Utf8(path);
}

std::string Env(LPCWSTR release) {
    CString env = _T("stale");
    const int result = GetAcadEnvPath(CString(release), env);
    return std::to_string(result) + " " + Utf8(env);
}

std::string Support(zqolecad::START_ACADVER year) {
    CString path = _T("stale");
    const int result = GetAcadSupportPath(year, path);
    return std::to_string(result) + " " + Utf8(path);
}

}  // namespace

TEST_F(CadHostDamaged, AnR15ProductWithoutNameIsNotFound) {
    EXPECT_EQ(RegKey(ACAD_2000), "0 Software\\Autodesk\\AutoCAD\\R15.0\\ACAD-1:409");
    EXPECT_EQ(Path(ACAD_2000), "1 C:\\Program Files\\AutoCAD 2000\\") << "the first one's";
    EXPECT_EQ(IsAcadR15CurVerChinese(), 1);
}

TEST_F(CadHostDamaged, TextsWithoutTheirEndAreRead) {
    EXPECT_EQ(RegKey(ACAD_2004), "1 Software\\Autodesk\\AutoCAD\\R16.0\\ACAD-201:409");
    EXPECT_EQ(Path(ACAD_2004), "1 C:\\ACAD2004\\");
    EXPECT_EQ(RegKey(ACAD_2005), "1 Software\\Autodesk\\AutoCAD\\R16.1\\ACAD-301:409");
    EXPECT_EQ(Path(ACAD_2005), "1 C:\\ACAD2005\\") << "half a character is left out";
}

TEST_F(CadHostDamaged, EmptyValuesAreEmptyTexts) {
    EXPECT_EQ(RegKey(ACAD_2006), "1 Software\\Autodesk\\AutoCAD\\R16.2\\ACAD-4001:409");
    EXPECT_EQ(Path(ACAD_2006), "1 \\");
}

TEST_F(CadHostDamaged, TypesAreNotLookedAt) {
    EXPECT_EQ(RegKey(ACAD_2007), "1 Software\\Autodesk\\AutoCAD\\R17.0\\ACAD-5001:409");
    EXPECT_EQ(Path(ACAD_2007), "1 CC\\") << "a number read as text";
}

TEST_F(CadHostDamaged, NoProductFits) {
    EXPECT_EQ(RegKey(ACAD_2008), "0 Software\\Autodesk\\AutoCAD\\R17.1\\ACAD-6001:409");
    EXPECT_EQ(Path(ACAD_2008), "0 \\");
    EXPECT_EQ(RegKey(ACAD_2009), "1 Software\\Autodesk\\AutoCAD\\R17.2\\ACAD-7001:409");
    EXPECT_EQ(Path(ACAD_2009), "1 C:\\First\\");
    EXPECT_EQ(RegKey(ACAD_2013), "0 ");
    EXPECT_EQ(Path(ACAD_2013), "0 ");
}

TEST_F(CadHostDamaged, NamesThatLeadToThemselvesEnd) {
    EXPECT_EQ(Env(_T("R18.0")), "1 C:\\a") << "a list of texts ends at its first NUL";
    EXPECT_EQ(Support(zqolecad::START_ACAD2010), "1 \\support\\") << "an empty folder";
    CString out;
    EXPECT_EQ(GetAcadR18RootFolder(_T("R18.0\\R18.0\\Profiles\\.."), out), 0);
}

TEST_F(CadHostDamaged, ACurrentProductThatIsNotThereHasNothing) {
    EXPECT_EQ(Env(_T("R18.1")), "0 ");
    EXPECT_EQ(Support(zqolecad::START_ACAD2011), "0 ");
}

TEST_F(CadHostDamaged, ACurrentProductWithoutNameIsTheReleaseItself) {
    EXPECT_EQ(Support(zqolecad::START_ACAD2012), "1 C:\\Beside\\support\\");
}

TEST_F(CadHostDamaged, DotsInANameAreOrdinaryCharacters) {
    EXPECT_EQ(Support(zqolecad::START_ACAD2014), "0 ");
}

TEST_F(CadHostDamaged, LongFoldersAreCut) {
    const CString folder(_T('f'), 2000);
    kvttest::PutText(HKEY_LOCAL_MACHINE, _T("Software\\Autodesk\\AutoCAD\\R18.0\\P"), _T("AcadLocation"), folder);
    EXPECT_EQ(Path(ACAD_2010), "1 " + std::string(1023, 'f') + "\\");
}

TEST_F(CadHostDamaged, VeryLongNamesAreRefused) {
    CString out;
    const CString longName(_T('n'), 100000);
    EXPECT_EQ(GetAcadR18RootFolder(longName, out), 0);
    EXPECT_EQ(GetAcadEnvPath(longName, out), 0);
    EXPECT_EQ(GetZWcadPath(out, longName, longName), 0);
    EXPECT_EQ(GetGScadPath(out, longName), 0);
    CStringArray names;
    EXPECT_EQ(GetKeyListArray(longName, names), 0);
}

TEST_F(CadHostDamaged, SupportPathOfADamagedHostIsLeftAlone) {
    const std::string before = kvttest::Dump(HKEY_CURRENT_USER, _T("Software\\Autodesk"));
    EXPECT_EQ(AddAppSupportPathToAcad(_T("C:\\new")), 0);
    EXPECT_EQ(RemoveAppSupportPathFromAcad(_T("C:\\new")), 0);
    EXPECT_EQ(kvttest::Dump(HKEY_CURRENT_USER, _T("Software\\Autodesk")), before);
}
