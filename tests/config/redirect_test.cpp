// Redirection to working copies and the merge of installed INI files, through the stores.

#include "kvtfile/DataPath.h"
#include "kvtfile/IniFile.h"
#include "kvtfile/XmlCfg.h"
#include "tests/config/installed.h"

using kvtfile::CFXmlCfg;
using kvtfile::CIniFile;
using kvttest::Exists;
using kvttest::InstalledFolder;
using kvttest::ReadBytes;
using kvttest::RecordedTime;
using kvttest::TestFolder;
using kvttest::Utf8;
using kvttest::WriteBytes;

namespace {

class Ini : public CIniFile {
public:
    using CIniFile::CIniFile;
    std::string Path() const { return Utf8(m_strPath); }
};

class Cfg : public CFXmlCfg {
public:
    using CFXmlCfg::GetWorkCopyPath;
};

constexpr long long T1 = 1600000000;
constexpr long long T2 = 1600000100;

}  // namespace

TEST(DataPath, CommonPathIsMadeAndFixed) {
    kvttest::RemoveTree(_T("C:\\OrvaData\\Common"));
    EXPECT_EQ(Utf8(kvtfile::FGetOrvaDataCommonPath()), "c:\\OrvaData\\Common\\");
    EXPECT_NE(::GetFileAttributesW(_T("C:\\OrvaData\\Common")) & FILE_ATTRIBUTE_DIRECTORY, 0u);
    EXPECT_EQ(Utf8(kvtfile::FGetOrvaDataCommonPath()), "c:\\OrvaData\\Common\\");
    EXPECT_EQ(Utf8(kvtfile::FGetOrvaDataFilePath()), "c:\\OrvaData\\");
}

TEST(IniRedirect, AnInstalledFileIsCopiedOnceAndItsTimeRecorded) {
    const InstalledFolder product;
    product.Install(_T("a.ini"), "[S]\nx=1\n", T1);
    {
        Ini ini(product.Installed(_T("a.ini")), true);
        EXPECT_EQ(ini.Path(), Utf8(product.Working(_T("a.ini"))));
        EXPECT_EQ(ini.GetValueI(_T("S"), _T("x")), 1);
        ini.SetValue(_T("S"), _T("x"), _T("5"), true);
    }
    EXPECT_EQ(ReadBytes(product.Installed(_T("a.ini"))), "[S]\nx=1\n");
    EXPECT_EQ(ReadBytes(product.Working(_T("a.ini"))), "[S]\r\nx=5\r\n\r\n");
    EXPECT_EQ(RecordedTime(_T("Ini"), product.Installed(_T("a.ini"))), T1);
}

TEST(IniRedirect, SetPathRedirectsAndReadsNothing) {
    const InstalledFolder product;
    product.Install(_T("a.ini"), "[S]\nx=1\n", T1);
    Ini ini;
    ini.SetPath(product.Installed(_T("a.ini")));
    EXPECT_EQ(ini.Path(), Utf8(product.Working(_T("a.ini"))));
    EXPECT_TRUE(Exists(product.Working(_T("a.ini"))));
    EXPECT_EQ(ini.GetNumKeys(), 0);
}

TEST(IniRedirect, AnExistingWorkingCopyIsUsedAsItIs) {
    const InstalledFolder product;
    product.Install(_T("a.ini"), "[S]\nx=1\n", T1);
    kvttest::MakeFolders(product.Working(_T("")).Left(product.Working(_T("")).GetLength() - 1));
    WriteBytes(product.Working(_T("a.ini")), "[S]\r\nx=9\r\n");
    Ini ini;
    ini.SetPath(product.Installed(_T("a.ini")));
    EXPECT_EQ(ini.Path(), Utf8(product.Working(_T("a.ini"))));
    EXPECT_EQ(ReadBytes(product.Working(_T("a.ini"))), "[S]\r\nx=9\r\n");
    EXPECT_EQ(RecordedTime(_T("Ini"), product.Installed(_T("a.ini"))), 0);
}

TEST(XmlRedirect, TheWorkingCopyIsNamedWithoutBeingMade) {
    const InstalledFolder product;
    product.Install(_T("a.xml"), "<CONFIG/>", T1);
    EXPECT_EQ(Utf8(Cfg::GetWorkCopyPath(product.Installed(_T("a.xml")))), Utf8(product.Working(_T("a.xml"))));
    EXPECT_FALSE(Exists(product.Working(_T("a.xml"))));
    EXPECT_EQ(RecordedTime(_T("Xml"), product.Installed(_T("a.xml"))), 0);
    EXPECT_EQ(Utf8(Cfg::GetWorkCopyPath(_T("C:\\Other\\a.xml"))), "C:\\Other\\a.xml");
    EXPECT_EQ(Utf8(Cfg::GetWorkCopyPath(CString())), "");
}

TEST(IniRedirect, SetupIniIsNeverRedirected) {
    const InstalledFolder product;
    for (const LPCWSTR name :
         {_T("setup.ini"), _T("START.INI"), _T("wb_FilterFile_Ini.ini"), _T("wb_TBListFile_Ini.ini")}) {
        product.Install(name, "x=1\n", T1);
        EXPECT_EQ(Ini(product.Installed(name), false).Path(), Utf8(product.Installed(name)));
    }
    product.Install(_T("wb_FilterFile_Xml.ini"), "x=1\n", T1);
    EXPECT_EQ(Ini(product.Installed(_T("wb_FilterFile_Xml.ini")), false).Path(),
              Utf8(product.Working(_T("wb_FilterFile_Xml.ini"))));
}

TEST(IniRedirect, AFilteredNameIsNotRedirectedInThisRun) {
    const InstalledFolder product;
    CString name;
    name.Format(_T("Filtered%u.ini"), static_cast<unsigned>(::GetCurrentProcessId()));
    product.Install(name, "x=1\n", T1);
    CIniFile().AddFilterFile(name);
    EXPECT_EQ(Ini(product.Installed(name), false).Path(), Utf8(product.Installed(name)));
    // The list keeps it as a value of nameless entries, and the last one wins.
    EXPECT_EQ(ReadBytes(_T("C:\\OrvaData\\Common\\FilterFile_Ini.ini")), "[]\r\n=" + Utf8(name) + "\r\n\r\n");
    // The other register has a list of its own.
    CFXmlCfg cfg;
    EXPECT_EQ(cfg.Open(product.Installed(name), 0), 0);
    EXPECT_TRUE(Exists(product.Working(name)));
}

TEST(IniMerge, ANewerInstalledFileAddsWhatIsMissing) {
    const InstalledFolder product;
    product.Install(_T("a.ini"), "[S]\nx=1\ny=\n", T1);
    {
        CIniFile ini(product.Installed(_T("a.ini")), true);
        ini.SetValue(_T("S"), _T("x"), _T("mine"), true);
    }
    product.Install(_T("a.ini"), "loose=1\n[S]\nX=2\ny=3\nz=4\n=5\n[New]\nn=6\n", T2);
    {
        CIniFile ini(product.Installed(_T("a.ini")), false);
        EXPECT_EQ(Utf8(ini.GetValue(_T("S"), _T("x"))), "mine");
    }
    // Written at once, without auto-save: the section and the name that are empty bring nothing.
    EXPECT_EQ(ReadBytes(product.Working(_T("a.ini"))), "[S]\r\nx=mine\r\ny\r\nz=4\r\n\r\n[New]\r\nn=6\r\n\r\n");
    EXPECT_EQ(RecordedTime(_T("Ini"), product.Installed(_T("a.ini"))), T2);
}

TEST(IniMerge, OnlyANewerFileIsMerged) {
    const InstalledFolder product;
    product.Install(_T("a.ini"), "[S]\nx=1\n", T2);
    { CIniFile ini(product.Installed(_T("a.ini")), false); }
    for (const long long time : {T2, T1}) {
        product.Install(_T("a.ini"), "[S]\nx=1\nnew=2\n", time);
        CIniFile ini(product.Installed(_T("a.ini")), false);
        EXPECT_FALSE(ini.IsHaveValueName(_T("S"), _T("new")));
    }
    product.Install(_T("a.ini"), "[S]\nx=1\nnew=2\n", T2 + 1);
    CIniFile ini(product.Installed(_T("a.ini")), false);
    EXPECT_TRUE(ini.IsHaveValueName(_T("S"), _T("new")));
}

TEST(IniMerge, AFileMarkedAsDoneIsNeverMerged) {
    const InstalledFolder product;
    product.Install(_T("a.ini"), "[S]\nx=1\n", T1);
    { CIniFile ini(product.Installed(_T("a.ini")), false); }
    CIniFile().IsNoNeedSyschro(product.Installed(_T("a.ini")));
    EXPECT_EQ(RecordedTime(_T("Ini"), product.Installed(_T("a.ini"))), -1);
    product.Install(_T("a.ini"), "[S]\nx=1\nnew=2\n", T2);
    CIniFile ini(product.Installed(_T("a.ini")), false);
    EXPECT_FALSE(ini.IsHaveValueName(_T("S"), _T("new")));
}

TEST(IniMerge, MarkingAMissingFileWritesNothing) {
    const InstalledFolder product;
    CIniFile().IsNoNeedSyschro(product.Installed(_T("none.ini")));
    CFXmlCfg().IsNoNeedSyschro(product.Installed(_T("none.xml")));
    EXPECT_EQ(RecordedTime(_T("Ini"), product.Installed(_T("none.ini"))), 0);
    EXPECT_EQ(RecordedTime(_T("Xml"), product.Installed(_T("none.xml"))), 0);
}

TEST(IniMerge, AWorkingCopyWithoutARecordedTimeIsMerged) {
    const InstalledFolder product;
    product.Install(_T("a.ini"), "[S]\nx=1\nnew=2\n", T1);
    TestFolder folder;
    WriteBytes(folder.Path(_T("work.ini")), "[S]\nx=5\n");
    { CIniFile ini(folder.Path(_T("work.ini")), product.Installed(_T("a.ini")), false); }
    EXPECT_EQ(ReadBytes(folder.Path(_T("work.ini"))), "[S]\r\nx=5\r\nnew=2\r\n\r\n");
    EXPECT_EQ(RecordedTime(_T("Ini"), product.Installed(_T("a.ini"))), T1);
}

TEST(IniMerge, AMergeThatCannotBeWrittenIsDoneAgainNextTime) {
    const InstalledFolder product;
    product.Install(_T("a.ini"), "[S]\nx=1\n", T1);
    { CIniFile ini(product.Installed(_T("a.ini")), false); }
    product.Install(_T("a.ini"), "[S]\nx=1\nnew=2\n", T2);
    ASSERT_TRUE(::SetFileAttributesW(product.Working(_T("a.ini")), FILE_ATTRIBUTE_READONLY));
    {
        CIniFile ini(product.Installed(_T("a.ini")), false);
        EXPECT_TRUE(ini.IsHaveValueName(_T("S"), _T("new")));
    }
    ::SetFileAttributesW(product.Working(_T("a.ini")), FILE_ATTRIBUTE_NORMAL);
    EXPECT_EQ(ReadBytes(product.Working(_T("a.ini"))), "[S]\nx=1\n");
    EXPECT_EQ(RecordedTime(_T("Ini"), product.Installed(_T("a.ini"))), T1);
    { CIniFile ini(product.Installed(_T("a.ini")), false); }
    EXPECT_EQ(ReadBytes(product.Working(_T("a.ini"))), "[S]\r\nx=1\r\nnew=2\r\n\r\n");
}
