// Releases, product keys and install folders of AutoCAD.

#include "kvtfile/CadHost.h"
#include "tests/support/registry.h"

using namespace kvtfile;
using kvttest::PutText;
using kvttest::Utf8;

namespace {

class CadHost : public testing::Test {
protected:
    kvttest::HostKeys m_keys;
};

constexpr WCHAR ROOT[] = _T("Software\\Autodesk\\AutoCAD\\");

struct Found {
    int result;
    std::string key;
    bool operator==(const Found&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Found& found) {
    return out << found.result << " \"" << found.key << '"';
}

Found RegKey(int release) {
    CString key = _T("stale");
    const int result = GetAcadRegKey(key, static_cast<ACADVER>(release));
    return {result, Utf8(key)};
}

Found Path(int release) {
    CString path = _T("stale");
    const int result = GetAcadPath(path, static_cast<ACADVER>(release));
    return {result, Utf8(path)};
}

struct R15 {
    int result;
    int release;
    std::string key;
    std::string location;
    bool operator==(const R15&) const = default;
};

std::ostream& operator<<(std::ostream& out, const R15& found) {
    return out << found.result << ' ' << found.release << " \"" << found.key << "\" \"" << found.location << '"';
}

R15 CurrentR15() {
    CString key = _T("stale");
    CString location = _T("stale");
    ACADVER release = static_cast<ACADVER>(99);
    const int result = GetAcadR15CurVer(key, release, location);
    return {result, release, Utf8(key), Utf8(location)};
}

// An R15 product that the user hive names.
void PutR15(LPCWSTR name) {
    PutText(HKEY_CURRENT_USER, CString(ROOT) + _T("R15.0"), _T("CurVer"), _T("P"));
    PutText(HKEY_LOCAL_MACHINE, CString(ROOT) + _T("R15.0\\P"), _T("ProductName"), name);
    PutText(HKEY_LOCAL_MACHINE, CString(ROOT) + _T("R15.0\\P"), _T("AcadLocation"), _T("C:\\P"));
}

std::string LastOf(const CStringArray& names) {
    return Utf8(names[names.GetUpperBound()]);
}

}  // namespace

TEST_F(CadHost, ReleasesBecomeYears) {
    const int years[] = {0,    2000, 2000, 2000, 2004, 2005, 2006, 2000, 2004, 2005, 2006, 2007, 2008, 2009,
                         2010, 2011, 2012, 2013, 2014, 2015, 2016, 2017, 2018, 2019, 2020, 2021, 2022};
    for (int release = 0; release <= 26; ++release) {
        SCOPED_TRACE(release);
        auto year = static_cast<zqolecad::START_ACADVER>(-5);
        EXPECT_EQ(FConvertAcadVer(static_cast<ACADVER>(release), year), years[release] != 0);
        EXPECT_EQ(year, years[release] != 0 ? years[release] : -5);
    }
}

TEST_F(CadHost, WhatIsNoReleaseHasNoYear) {
    for (const int release : {-1, 27, 1000, -2147483647 - 1, 2147483647}) {
        auto year = zqolecad::START_ACAD2010;
        EXPECT_EQ(FConvertAcadVer(static_cast<ACADVER>(release), year), 0) << release;
        EXPECT_EQ(year, zqolecad::START_ACAD2010);
    }
}

TEST_F(CadHost, KeyListReplacesTheArrayInRegistryOrder) {
    m_keys.Load("r16");
    CStringArray names;
    names.Add(_T("stale"));
    EXPECT_EQ(GetKeyListArray(_T("Software\\Autodesk\\AutoCAD"), names), 1);
    ASSERT_EQ(names.GetSize(), 3);
    EXPECT_EQ(names[0], _T("R16.0"));
    EXPECT_EQ(names[1], _T("R16.1"));
    EXPECT_EQ(names[2], _T("R16.2"));
}

TEST_F(CadHost, KeyListOfNothingIsEmpty) {
    CStringArray names;
    for (const LPCWSTR key : {_T("Software\\Autodesk"), _T("\\Software"), _T("Software\\orva\\leaf")}) {
        kvttest::PutKey(HKEY_LOCAL_MACHINE, _T("Software\\orva\\leaf"));
        names.Add(_T("stale"));
        EXPECT_EQ(GetKeyListArray(key, names), 0) << Utf8(key);
        EXPECT_EQ(names.GetSize(), 0);
    }
}

TEST_F(CadHost, KeyListLooksInTheMachineHive) {
    kvttest::PutKey(HKEY_CURRENT_USER, _T("Software\\orva\\user"));
    kvttest::PutKey(HKEY_LOCAL_MACHINE, _T("Software\\orva\\machine"));
    CStringArray names;
    EXPECT_EQ(GetKeyListArray(_T("Software\\orva\\"), names), 1);
    ASSERT_EQ(names.GetSize(), 1);
    EXPECT_EQ(names[0], _T("machine"));
}

TEST_F(CadHost, EveryReleaseIsFoundByItsProductName) {
    struct Row {
        int release;
        LPCWSTR key;
        LPCWSTR productName;
    };
    const Row rows[] = {
        {0, _T("R14.0"), _T("AutoCAD R14")},   {4, _T("R16.0"), _T("AutoCAD 2004")},
        {5, _T("R16.1"), _T("AutoCAD 2005")},  {6, _T("R16.2"), _T("AutoCAD 2006")},
        {11, _T("R17.0"), _T("AutoCAD 2007")}, {12, _T("R17.1"), _T("AutoCAD 2008")},
        {13, _T("R17.2"), _T("AutoCAD 2009")}, {14, _T("R18.0"), _T("AutoCAD 2010")},
        {15, _T("R18.1"), _T("AutoCAD 2011")}, {16, _T("R18.2"), _T("AutoCAD 2012")},
        {17, _T("R19.0"), _T("AutoCAD 2013")}, {18, _T("R19.1"), _T("AutoCAD 2014")},
        {19, _T("R20.0"), _T("AutoCAD 2015")}, {20, _T("R20.1"), _T("AutoCAD 2016")},
        {21, _T("R21.0"), _T("AutoCAD 2017")}, {22, _T("R22.0"), _T("AutoCAD 2018")},
        {23, _T("R23.0"), _T("AutoCAD 2019")}, {24, _T("R23.1"), _T("AutoCAD 2020")},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.release);
        const CString root = CString(ROOT) + row.key;
        CString name = row.productName;
        PutText(HKEY_LOCAL_MACHINE, root + _T("\\A"), _T("ProductName"), name.Left(name.GetLength() - 1));
        PutText(HKEY_LOCAL_MACHINE, root + _T("\\A"), _T("AcadLocation"), _T("C:\\A"));
        EXPECT_EQ(RegKey(row.release), (Found{1, Utf8(root + _T("\\A"))})) << "the last name could be read";
        EXPECT_EQ(Path(row.release), (Found{1, "C:\\A\\"}));
        name.MakeUpper();
        PutText(HKEY_LOCAL_MACHINE, root + _T("\\B"), _T("ProductName"), name + _T(" - and more"));
        PutText(HKEY_LOCAL_MACHINE, root + _T("\\B"), _T("AcadLocation"), _T("C:\\B\\"));
        PutText(HKEY_LOCAL_MACHINE, root + _T("\\C"), _T("ProductName"), name);
        PutText(HKEY_LOCAL_MACHINE, root + _T("\\C"), _T("AcadLocation"), _T("C:\\C"));
        EXPECT_EQ(RegKey(row.release), (Found{1, Utf8(root + _T("\\B"))}));
        EXPECT_EQ(Path(row.release), (Found{1, "C:\\B\\"}));
        kvttest::RemoveKey(HKEY_LOCAL_MACHINE, root);
    }
}

TEST_F(CadHost, WithoutAnInstallationNothingIsFound) {
    for (const int release : {0, 1, 2, 3, 4, 5, 6, 11, 14, 24}) {
        EXPECT_EQ(RegKey(release), (Found{0, ""})) << release;
        EXPECT_EQ(Path(release), (Found{0, ""})) << release;
    }
}

TEST_F(CadHost, ReleasesWithoutKeySearchTheHiveItself) {
    m_keys.Load("acad2007-2020");
    CStringArray hive;
    ASSERT_EQ(GetKeyListArray(CString(), hive), 1);
    for (const int release : {7, 8, 9, 10, 25, 26, 27, -1}) {
        EXPECT_EQ(RegKey(release), (Found{0, "\\" + LastOf(hive)})) << release;
        EXPECT_EQ(Path(release), (Found{0, ""})) << release;
    }
}

TEST_F(CadHost, InstalledReleasesOfAWorkstation) {
    m_keys.Load("acad2007-2020");
    const struct {
        int release;
        const char* key;
        const char* path;
    } rows[] = {
        {11, "R17.0\\ACAD-5001:409", "C:\\Program Files\\AutoCAD 2007\\"},
        {14, "R18.0\\ACAD-8001:409", "C:\\Program Files\\AutoCAD 2010\\"},
        {21, "R21.0\\ACAD-15001:409", "C:\\Program Files\\Autodesk\\AutoCAD 2017\\"},
        {24, "R23.1\\ACAD-18001:409", "C:\\Program Files\\Autodesk\\AutoCAD 2020\\"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(RegKey(row.release), (Found{1, std::string("Software\\Autodesk\\AutoCAD\\") + row.key}));
        EXPECT_EQ(Path(row.release), (Found{1, row.path}));
    }
    EXPECT_EQ(Path(4), (Found{0, ""}));
    EXPECT_EQ(RegKey(1), (Found{0, ""}));
}

TEST_F(CadHost, OtherProductsOfAReleaseArePassedOver) {
    m_keys.Load("acad2020");
    EXPECT_EQ(RegKey(24), (Found{1, "Software\\Autodesk\\AutoCAD\\R23.1\\ACAD-3001:804"}));
    EXPECT_EQ(Path(24), (Found{1, "C:\\Program Files\\Autodesk\\AutoCAD 2020\\"}));
}

TEST_F(CadHost, WhenNoProductFitsTheFirstOnesFolderIsTaken) {
    const CString root = CString(ROOT) + _T("R18.0");
    PutText(HKEY_LOCAL_MACHINE, root + _T("\\A"), _T("AcadLocation"), _T("C:\\first"));
    PutText(HKEY_LOCAL_MACHINE, root + _T("\\B"), _T("AcadLocation"), _T("C:\\second"));
    PutText(HKEY_LOCAL_MACHINE, root + _T("\\B"), _T("ProductName"), _T("Another"));
    EXPECT_EQ(Path(14), (Found{1, "C:\\first\\"}));
    EXPECT_EQ(RegKey(14), (Found{1, "Software\\Autodesk\\AutoCAD\\R18.0\\B"}));
    PutText(HKEY_LOCAL_MACHINE, root + _T("\\C"), _T("AcadLocation"), _T("C:\\third"));
    EXPECT_EQ(RegKey(14), (Found{0, "Software\\Autodesk\\AutoCAD\\R18.0\\C"})) << "the last one has no name";
}

TEST_F(CadHost, AFittingProductWithoutFolderGivesTheFirstOnesFolder) {
    const CString root = CString(ROOT) + _T("R18.0");
    PutText(HKEY_LOCAL_MACHINE, root + _T("\\A"), _T("AcadLocation"), _T("C:\\first"));
    PutText(HKEY_LOCAL_MACHINE, root + _T("\\B"), _T("ProductName"), _T("AutoCAD 2010"));
    PutText(HKEY_LOCAL_MACHINE, root + _T("\\C"), _T("ProductName"), _T("AutoCAD 2010"));
    PutText(HKEY_LOCAL_MACHINE, root + _T("\\C"), _T("AcadLocation"), _T("C:\\third"));
    EXPECT_EQ(Path(14), (Found{1, "C:\\first\\"}));
    kvttest::RemoveValue(HKEY_LOCAL_MACHINE, root + _T("\\A"), _T("AcadLocation"));
    EXPECT_EQ(Path(14), (Found{0, "\\"}));
}

TEST_F(CadHost, R14IsFoundByItsOwnKey) {
    m_keys.Load("r14");
    EXPECT_EQ(RegKey(0), (Found{1, "Software\\Autodesk\\AutoCAD\\R14.0\\AC14-0:409"}));
    EXPECT_EQ(Path(0), (Found{1, "C:\\Program Files\\AutoCAD R14\\"}));
    EXPECT_EQ(CurrentR15(), (R15{0, 99, "", ""}));
}

TEST_F(CadHost, TheCurrentR15ProductStandsForItsWholeFamily) {
    m_keys.Load("r15");
    const std::string key = "Software\\Autodesk\\AutoCAD\\R15.0\\ACAD-1:804";
    EXPECT_EQ(CurrentR15(), (R15{1, 3, key, "C:\\Program Files\\AutoCAD 2002"}));
    for (const int release : {1, 2, 3}) {
        EXPECT_EQ(RegKey(release), (Found{1, key})) << release;
    }
    // Install folders are looked for by product name.
    EXPECT_EQ(Path(1), (Found{1, "C:\\Program Files\\AutoCAD 2000\\"}));
    EXPECT_EQ(Path(2), (Found{1, "C:\\Program Files\\AutoCAD Map 2000i\\"}));
    EXPECT_EQ(Path(3), (Found{1, "C:\\Program Files\\AutoCAD 2002\\"}));
}

TEST_F(CadHost, R15ProductsAreToldByTwelveCharacters) {
    const struct {
        LPCWSTR name;
        int release;
    } rows[] = {
        {_T("AutoCAD 2000"), 1},   {_T("AUTOCAD 2000i"), 1}, {_T("autocad 2002 LT"), 3}, {_T("AutoCAD Map 2000"), 2},
        {_T("autocad MAP "), 2},   {_T("AutoCAD Map 5"), 2}, {_T("AutoCAD Map"), 99},    {_T("AutoDesk Map 6"), 99},
        {_T("autodesk map "), 99}, {_T("AutoCAD 2001"), 99}, {_T(" AutoCAD 2000"), 99},  {_T(""), 99},
        {_T("AutoCAD R14"), 99},
    };
    for (const auto& row : rows) {
        PutR15(row.name);
        EXPECT_EQ(CurrentR15(), (R15{1, row.release, "Software\\Autodesk\\AutoCAD\\R15.0\\P", "C:\\P"}))
            << Utf8(row.name);
    }
}

TEST_F(CadHost, R15WithoutNameOrFolderIsNotFound) {
    const CString product = CString(ROOT) + _T("R15.0\\P");
    const std::string key = Utf8(product);
    PutR15(_T("AutoCAD 2000"));
    kvttest::RemoveValue(HKEY_LOCAL_MACHINE, product, _T("AcadLocation"));
    EXPECT_EQ(CurrentR15(), (R15{0, 1, key, ""}));
    PutR15(_T("AutoCAD 2000"));
    kvttest::RemoveValue(HKEY_LOCAL_MACHINE, product, _T("ProductName"));
    EXPECT_EQ(CurrentR15(), (R15{0, 99, key, ""}));
    kvttest::RemoveKey(HKEY_LOCAL_MACHINE, product);
    EXPECT_EQ(CurrentR15(), (R15{0, 99, key, ""}));
    kvttest::RemoveValue(HKEY_CURRENT_USER, CString(ROOT) + _T("R15.0"), _T("CurVer"));
    EXPECT_EQ(CurrentR15(), (R15{0, 99, "", ""}));
}

TEST_F(CadHost, ACurrentReleaseAloneIsNoR15) {
    PutText(HKEY_CURRENT_USER, _T("Software\\Autodesk\\AutoCAD"), _T("CurVer"), _T("R23.1"));
    EXPECT_EQ(CurrentR15(), (R15{0, 99, "", ""}));
}

TEST_F(CadHost, APlaceholderR14HidesTheR15Product) {
    m_keys.Load("r14-placeholder");
    EXPECT_EQ(CurrentR15(), (R15{0, 99, "Software\\Autodesk\\AutoCAD\\R15.0\\", ""}));
    EXPECT_EQ(IsAcadR15CurVerChinese(), 1) << "the key of the release has no language";
    // The key of the release itself is what is looked at.
    const CString root = CString(ROOT) + _T("R15.0");
    PutText(HKEY_LOCAL_MACHINE, root, _T("ProductName"), _T("AutoCAD 2002"));
    PutText(HKEY_LOCAL_MACHINE, root, _T("AcadLocation"), _T("C:\\root"));
    EXPECT_EQ(CurrentR15(), (R15{1, 3, "Software\\Autodesk\\AutoCAD\\R15.0\\", "C:\\root"}));
}

TEST_F(CadHost, AnR14ThatIsInstalledOrNotCurrentHidesNothing) {
    const R15 found{1, 1, "Software\\Autodesk\\AutoCAD\\R15.0\\ACAD-1:409", "C:\\Program Files\\AutoCAD 2000"};
    m_keys.Load("r14-placeholder");
    const CString r14 = CString(ROOT) + _T("R14.0\\AC14-0:0");
    PutText(HKEY_LOCAL_MACHINE, r14, _T("ProductName"), _T("AutoCAD R14"));
    EXPECT_EQ(CurrentR15(), found);
    PutText(HKEY_LOCAL_MACHINE, r14, _T("ProductName"), _T("UNKNOWN"));
    EXPECT_EQ(CurrentR15().result, 0);
    PutText(HKEY_CURRENT_USER, _T("Software\\Autodesk\\AutoCAD"), _T("CurVer"), _T("R15.0"));
    EXPECT_EQ(CurrentR15(), found);
}

TEST_F(CadHost, APlaceholderMayHaveItsNameInTheUserHive) {
    m_keys.Load("r14-placeholder");
    const CString r14 = CString(ROOT) + _T("R14.0\\AC14-0:0");
    kvttest::RemoveKey(HKEY_LOCAL_MACHINE, r14);
    EXPECT_EQ(CurrentR15().result, 1);
    PutText(HKEY_CURRENT_USER, r14, _T("ProductName"), _T("Unknown"));
    EXPECT_EQ(CurrentR15().result, 0);
}

TEST_F(CadHost, LanguageTestIsTrueForProductsThatAreNotChinese) {
    const CString product = CString(ROOT) + _T("R15.0\\P");
    EXPECT_EQ(IsAcadR15CurVerChinese(), 0) << "no product";
    const struct {
        LPCWSTR language;
        LPCWSTR name;
        int answer;
    } rows[] = {
        {_T("English"), _T("AutoCAD 2000"), 1},
        {_T("English"), _T("中文版 AutoCAD 2000"), 0},
        {_T("English"), _T("AutoCAD 2000 中文版"), 1},
        {_T("English"), nullptr, 1},
        {_T("Chinese"), _T("AutoCAD 2000"), 0},
        {_T("CHINESE"), _T("AutoCAD 2000 中文版"), 0},
        {_T("Chinese"), nullptr, 0},
        {_T("Chinese (PRC)"), _T("AutoCAD 2000"), 1},
        {_T(""), _T("AutoCAD 2000"), 1},
        {nullptr, _T("AutoCAD 2000"), 1},
        {nullptr, _T("中文版"), 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(Utf8(row.language) + ", " + Utf8(row.name));
        PutR15(_T("x"));
        kvttest::RemoveKey(HKEY_LOCAL_MACHINE, product);
        kvttest::PutKey(HKEY_LOCAL_MACHINE, product);
        if (row.language) {
            PutText(HKEY_LOCAL_MACHINE, product, _T("Language"), row.language);
        }
        if (row.name) {
            PutText(HKEY_LOCAL_MACHINE, product, _T("ProductName"), row.name);
        }
        EXPECT_EQ(IsAcadR15CurVerChinese(), row.answer);
    }
    kvttest::RemoveKey(HKEY_LOCAL_MACHINE, product);
    EXPECT_EQ(IsAcadR15CurVerChinese(), 0) << "no entry of the product";
}

TEST_F(CadHost, NothingIsWrittenByLooking) {
    m_keys.Load("mixed");
    const std::string user = kvttest::Dump(HKEY_CURRENT_USER, _T("Software\\Autodesk"));
    const std::string machine = kvttest::Dump(HKEY_LOCAL_MACHINE, _T("Software\\Autodesk"));
    for (int release = 0; release <= 26; ++release) {
        CString text;
        RegKey(release);
        Path(release);
        GetAcadEnvPath(static_cast<ACADVER>(release), text);
    }
    CurrentR15();
    EXPECT_EQ(kvttest::Dump(HKEY_CURRENT_USER, _T("Software\\Autodesk")), user);
    EXPECT_EQ(kvttest::Dump(HKEY_LOCAL_MACHINE, _T("Software\\Autodesk")), machine);
}
