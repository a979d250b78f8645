// CFFileSyncRegister: the rules by which paths are redirected, and the files in which a register keeps its lists.

#include "config/syncregister.h"

#include "kvtfile/IniFile.h"
#include "tests/config/installed.h"

using kvtfile::CFFileSyncRegister;
using kvtfile::CIniFile;
using kvttest::Exists;
using kvttest::InstalledFolder;
using kvttest::ReadBytes;
using kvttest::RemoveTree;
using kvttest::TestFolder;
using kvttest::Utf8;
using kvttest::WriteBytes;

namespace {

const LPCWSTR COMMON = _T("C:\\OrvaData\\Common\\");

class Register : public CFFileSyncRegister {
public:
    using CFFileSyncRegister::BuildWorkCopyPath;
    using CFFileSyncRegister::CFFileSyncRegister;
    /// As at the start of a process.
    static void ForgetThatAListWasLoaded() { s_bFilterLoaded = false; }

    std::string FilterFile() const { return Utf8(m_strFilterFile); }
    std::string TimeFile() const { return Utf8(m_strTimeFile); }
    std::vector<std::string> Filter() const {
        std::vector<std::string> names;
        for (INT_PTR i = 0; i < m_arrFilter.GetSize(); ++i) {
            names.push_back(Utf8(m_arrFilter[i]));
        }
        return names;
    }
    const auto& Products() const { return m_mapProduct; }
    const auto& Associations() const { return m_mapAssociation; }
    int Kind() const { return m_nKind; }
};

using Names = std::vector<std::string>;

std::string WorkCopy(LPCWSTR path) {
    return Utf8(Register::BuildWorkCopyPath(path));
}

/// No lists in the common folder, and none loaded.
class SyncRegister : public testing::Test {
protected:
    SyncRegister() { Forget(); }
    ~SyncRegister() override { Forget(); }

private:
    static void Forget() {
        RemoveTree(_T("C:\\OrvaData\\Common"));
        Register::ForgetThatAListWasLoaded();
    }
};

}  // namespace

TEST_F(SyncRegister, IniKindHasItsFilesAndNames) {
    const Register r(0);
    EXPECT_EQ(r.Kind(), 0);
    EXPECT_EQ(r.FilterFile(), "c:\\OrvaData\\Common\\FilterFile_Ini.ini");
    EXPECT_EQ(r.TimeFile(), "c:\\OrvaData\\Common\\TBListFile_Ini.ini");
    EXPECT_EQ(r.Filter(), (Names{"Start.ini", "setup.ini", "wb_FilterFile_Ini.ini", "wb_TBListFile_Ini.ini"}));
}

TEST_F(SyncRegister, XmlKindHasItsFilesAndNames) {
    const Register r(2);
    EXPECT_EQ(r.Kind(), 2);
    EXPECT_EQ(r.FilterFile(), "c:\\OrvaData\\Common\\FilterFile_Xml.ini");
    EXPECT_EQ(r.TimeFile(), "c:\\OrvaData\\Common\\TBListFile_Xml.ini");
    EXPECT_EQ(r.Filter(), (Names{"wb_FilterFile_Xml.ini", "wb_TBListFile_Xml.ini"}));
}

TEST_F(SyncRegister, TextKindHasTheNamesOfTheXmlKind) {
    const Register r(1);
    EXPECT_EQ(r.Kind(), 1);
    EXPECT_EQ(r.FilterFile(), "c:\\OrvaData\\Common\\FilterFile_Txt.ini");
    EXPECT_EQ(r.TimeFile(), "c:\\OrvaData\\Common\\TBListFile_Txt.ini");
    EXPECT_EQ(r.Filter(), (Names{"wb_FilterFile_Xml.ini", "wb_TBListFile_Xml.ini"}));
}

TEST_F(SyncRegister, OtherKindsHaveNoFilesAndWriteNothing) {
    TestFolder folder;
    WriteBytes(folder.Path(_T("a.xml")), "x");
    for (const int kind : {-1, 3, 100}) {
        Register r(kind);
        EXPECT_EQ(r.FilterFile(), "");
        EXPECT_EQ(r.TimeFile(), "");
        EXPECT_EQ(r.Filter(), Names{});
        EXPECT_EQ(r.Products().size(), 7u);
        r.RecordSyncTime(folder.Path(_T("a.xml")), 0);
        EXPECT_EQ(r.NeedSynchronize(folder.Path(_T("a.xml"))), 0);
        r.AddFilterFile(_T("b.xml"));
        EXPECT_EQ(r.Filter(), Names{"b.xml"});
    }
    EXPECT_FALSE(Exists(_T("C:\\OrvaData\\Common")));
}

TEST_F(SyncRegister, ProductTable) {
    const Register r(2);
    const struct {
        LPCWSTR code;
        double lowest;
    } rows[] = {{_T("RIVADK"), 1},  {_T("RIVADX"), 1},  {_T("RIVADZ"), 1},  {_T("MOSAD"), 1},
                {_T("ORVAQL"), 11}, {_T("ORVAQM"), 11}, {_T("ORVAKET"), 11}};
    EXPECT_EQ(r.Products().size(), std::size(rows));
    for (const auto& row : rows) {
        EXPECT_EQ(r.IsProductExcluded(row.code, row.lowest), 0) << Utf8(row.code);
        EXPECT_EQ(r.IsProductExcluded(row.code, row.lowest + 7.5), 0) << Utf8(row.code);
        EXPECT_EQ(r.IsProductExcluded(row.code, row.lowest - 0.1), 1) << Utf8(row.code);
    }
    EXPECT_EQ(r.IsProductExcluded(_T("RIVAD"), 99), 1);
    EXPECT_EQ(r.IsProductExcluded(_T("rivadx"), 99), 1);
    EXPECT_EQ(r.IsProductExcluded(_T(""), 99), 1);
}

TEST_F(SyncRegister, WorkingCopyPath) {
    EXPECT_EQ(WorkCopy(_T("D:\\ORVASOFT\\RIVADX V11.0\\Sys\\Layer.xml")), "C:\\OrvaData\\RIVADX\\Sys\\Layer.xml");
    EXPECT_EQ(WorkCopy(_T("D:\\orvasoft\\RIVADX v11.0\\Layer.xml")), "C:\\OrvaData\\RIVADX\\Layer.xml");
    EXPECT_EQ(WorkCopy(_T("D:\\My OrvaSoft\\MOSAD V2\\a\\b\\c.xml")), "C:\\OrvaData\\MOSAD\\a\\b\\c.xml");
    // One character after the marker, whatever it is.
    EXPECT_EQ(WorkCopy(_T("D:\\ORVASOFT-RIVADX V1\\a.xml")), "C:\\OrvaData\\RIVADX\\a.xml");
    // The first " V" ends the product code.
    EXPECT_EQ(WorkCopy(_T("D:\\ORVASOFT\\A V B V1\\a.xml")), "C:\\OrvaData\\A\\a.xml");
    EXPECT_EQ(WorkCopy(_T("D:\\ORVASOFT\\RIVADX V1\\")), "C:\\OrvaData\\RIVADX\\");
}

TEST_F(SyncRegister, PathsWithoutAWorkingCopy) {
    EXPECT_EQ(WorkCopy(_T("")), "");
    EXPECT_EQ(WorkCopy(_T("D:\\a")), "");
    EXPECT_EQ(WorkCopy(_T("D:\\SOFT\\RIVADX V11.0\\a.xml")), "");
    EXPECT_EQ(WorkCopy(_T("D:\\ORVASOFT\\RIVADX\\a.xml")), "");
    EXPECT_EQ(WorkCopy(_T("D:\\ORVASOFT\\RIVADX V11.0")), "");
    EXPECT_EQ(WorkCopy(_T("D:\\ORVASOFT")), "");
    EXPECT_EQ(WorkCopy(_T("D:\\ RIVADX V1\\ORVASOFT")), "");
}

TEST_F(SyncRegister, OnlyKnownProductsOfTheirVersionAreRedirected) {
    const InstalledFolder product;
    Register r(2);
    const struct {
        const char* path;
        bool redirected;
    } rows[] = {
        {"C:\\ORVASOFT\\RIVADX V1.0\\KvtRows\\a.xml", true},
        {"C:\\ORVASOFT\\RIVADX V0.5\\KvtRows\\a.xml", false},
        {"C:\\ORVASOFT\\ORVAQL V11.0\\KvtRows\\a.xml", true},
        {"C:\\ORVASOFT\\ORVAQL V10.0\\KvtRows\\a.xml", false},
        {"C:\\ORVASOFT\\ORVAKET V12\\KvtRows\\a.xml", true},
        {"C:\\ORVASOFT\\MOSAD Vx\\KvtRows\\a.xml", false},
        {"C:\\ORVASOFT\\UNKNOWN V99\\KvtRows\\a.xml", false},
        {"C:\\ORVASOFT\\rivadx V11.0\\KvtRows\\b.xml", false},
        {"C:\\ORVASOFT\\RIVADK V2\\wb_FilterFile_Xml.ini", false},
    };
    for (const auto& row : rows) {
        const CString installed = kvttest::Wide(row.path);
        kvttest::MakeFolders(installed.Left(installed.ReverseFind(_T('\\'))));
        WriteBytes(installed, "<a/>");
        CString path = installed;
        EXPECT_EQ(r.RedirectToWorkCopy(path), row.redirected ? 1 : 0) << row.path;
        EXPECT_EQ(path.CompareNoCase(installed) != 0, row.redirected) << row.path;
        if (row.redirected) {
            EXPECT_EQ(ReadBytes(path), "<a/>") << row.path;
            CString from;
            EXPECT_EQ(r.GetAssociation(path, from), 1);
            EXPECT_EQ(Utf8(from), row.path);
        }
    }
    for (const LPCWSTR code : {_T("RIVADX"), _T("ORVAQL"), _T("ORVAKET"), _T("MOSAD"), _T("UNKNOWN"), _T("RIVADK")}) {
        RemoveTree(CString(_T("C:\\OrvaData\\")) + code + _T("\\KvtRows"));
    }
    for (const LPCWSTR folder :
         {_T("RIVADX V1.0"), _T("RIVADX V0.5"), _T("ORVAQL V11.0"), _T("ORVAQL V10.0"), _T("ORVAKET V12"),
          _T("MOSAD Vx"), _T("UNKNOWN V99"), _T("RIVADX V11.0\\KvtRows"), _T("RIVADK V2")}) {
        RemoveTree(CString(_T("C:\\ORVASOFT\\")) + folder);
    }
}

TEST_F(SyncRegister, AMissingInstalledFileIsNotRedirected) {
    const InstalledFolder product;
    Register r(2);
    CString path = product.Installed(_T("none.xml"));
    EXPECT_EQ(r.RedirectToWorkCopy(path), 0);
    EXPECT_EQ(Utf8(path), Utf8(product.Installed(_T("none.xml"))));
    EXPECT_TRUE(r.Associations().empty());
}

TEST_F(SyncRegister, WorkCopyIsMadeWithItsFolders) {
    TestFolder folder;
    Register r(2);
    WriteBytes(folder.Path(_T("a.xml")), "text");
    kvttest::SetFileSeconds(folder.Path(_T("a.xml")), 1500000000);
    const CString working = folder.Path(_T("x\\y\\z\\b.xml"));
    EXPECT_EQ(r.MakeWorkCopy(folder.Path(_T("a.xml")), working), 1);
    EXPECT_EQ(ReadBytes(working), "text");
    EXPECT_EQ(kvttest::RecordedTime(_T("Xml"), folder.Path(_T("a.xml"))), 1500000000);
}

TEST_F(SyncRegister, AnExistingWorkCopyNeedsNoInstalledFileAndRecordsNothing) {
    TestFolder folder;
    Register r(2);
    WriteBytes(folder.Path(_T("b.xml")), "mine");
    EXPECT_EQ(r.MakeWorkCopy(_T(""), folder.Path(_T("b.xml"))), 1);
    EXPECT_EQ(r.MakeWorkCopy(folder.Path(_T("none.xml")), folder.Path(_T("b.xml"))), 1);
    EXPECT_EQ(ReadBytes(folder.Path(_T("b.xml"))), "mine");
    EXPECT_FALSE(Exists(CString(COMMON) + _T("TBListFile_Xml.ini")));
}

TEST_F(SyncRegister, WorkCopyFailures) {
    TestFolder folder;
    Register r(2);
    WriteBytes(folder.Path(_T("a.xml")), "text");
    WriteBytes(folder.Path(_T("file")), "");
    EXPECT_EQ(r.MakeWorkCopy(_T(""), folder.Path(_T("w.xml"))), 0);
    EXPECT_EQ(r.MakeWorkCopy(folder.Path(_T("none.xml")), folder.Path(_T("w.xml"))), 0);
    EXPECT_EQ(r.MakeWorkCopy(folder.Path(_T("none.xml")), folder.Path(_T("new\\w.xml"))), 0);
    EXPECT_FALSE(Exists(folder.Path(_T("new"))));
    // A file where a folder is needed.
    EXPECT_EQ(r.MakeWorkCopy(folder.Path(_T("a.xml")), folder.Path(_T("file\\sub\\w.xml"))), 0);
    EXPECT_EQ(r.MakeWorkCopy(folder.Path(_T("a.xml")), _T("")), 0);
}

TEST_F(SyncRegister, AssociationsIgnoreCaseAndKeepTheInstalledPath) {
    Register r(2);
    CString from = _T("before");
    EXPECT_EQ(r.GetAssociation(_T("C:\\w\\é.xml"), from), 0);
    EXPECT_EQ(Utf8(from), "before");
    r.RemoveAssociation(_T("C:\\w\\é.xml"));
    r.SetAssociation(_T("C:\\w\\é.xml"), _T("D:\\Installed.xml"));
    EXPECT_EQ(r.GetAssociation(_T("c:\\W\\É.XML"), from), 1);
    EXPECT_EQ(Utf8(from), "D:\\Installed.xml");
    r.SetAssociation(_T("C:\\W\\É.xml"), _T(""));
    EXPECT_EQ(r.Associations().size(), 1u);
    EXPECT_EQ(Utf8(r.Associations().begin()->first), "C:\\W\\É.XML");
    EXPECT_EQ(r.GetAssociation(_T("C:\\w\\é.xml"), from), 1);
    EXPECT_EQ(Utf8(from), "");
    r.RemoveAssociation(_T("c:\\w\\É.xml"));
    EXPECT_TRUE(r.Associations().empty());
}

TEST_F(SyncRegister, FilterNamesIgnoreCaseAndFolders) {
    Register r(0);
    EXPECT_EQ(r.FindFilterFile(_T("SETUP.INI")), 1);
    EXPECT_EQ(r.FindFilterFile(_T("other.ini")), -1);
    EXPECT_EQ(r.IsFilterFile(_T("D:\\a\\Setup.ini")), 1);
    EXPECT_EQ(r.IsFilterFile(_T("start.INI")), 1);
    EXPECT_EQ(r.IsFilterFile(_T("D:\\setup.ini\\a.ini")), 0);
    EXPECT_EQ(r.IsFilterFile(_T("D:\\a\\")), 0);
}

TEST_F(SyncRegister, TheFilterFileIsLoadedBeforeTheFirstSearch) {
    kvtfile::CIniFile seed;
    Register r(2);
    WriteBytes(CString(COMMON) + _T("FilterFile_Xml.ini"),
               "bare.xml\r\nWB_tblistfile_xml.ini\r\n=equal.xml\r\nname=value.xml\r\n");
    EXPECT_EQ(r.FindFilterFile(_T("BARE.xml")), 2);
    EXPECT_EQ(r.Filter(),
              (Names{"wb_FilterFile_Xml.ini", "wb_TBListFile_Xml.ini", "bare.xml", "=equal.xml", "name=value.xml"}));
}

TEST_F(SyncRegister, AMissingFilterFileIsMade) {
    Register r(2);
    EXPECT_EQ(r.FindFilterFile(_T("a.xml")), -1);
    EXPECT_EQ(ReadBytes(CString(COMMON) + _T("FilterFile_Xml.ini")), "");
}

TEST_F(SyncRegister, OnlyTheFirstRegisterOfTheModuleLoadsItsFilterFile) {
    Register xml(2);
    Register ini(0);
    WriteBytes(CString(COMMON) + _T("FilterFile_Xml.ini"), "a.xml\r\n");
    WriteBytes(CString(COMMON) + _T("FilterFile_Ini.ini"), "a.ini\r\n");
    EXPECT_EQ(ini.FindFilterFile(_T("a.ini")), 4);
    EXPECT_EQ(xml.FindFilterFile(_T("a.xml")), -1);
    Register later(0);
    EXPECT_EQ(later.FindFilterFile(_T("a.ini")), -1);
}

TEST_F(SyncRegister, AddedNamesActInThisRunAndAreKeptAsValuesWithoutName) {
    const CString file = CString(COMMON) + _T("FilterFile_Xml.ini");
    {
        Register r(2);
        r.AddFilterFile(_T("one.xml"));
        r.AddFilterFile(_T("two.xml"));
        r.AddFilterFile(_T("TWO.xml"));
        EXPECT_EQ(r.Filter(), (Names{"wb_FilterFile_Xml.ini", "wb_TBListFile_Xml.ini", "one.xml", "two.xml"}));
        EXPECT_EQ(r.IsFilterFile(_T("D:\\x\\One.XML")), 1);
        EXPECT_EQ(ReadBytes(file), "[]\r\n=two.xml\r\n\r\n");
        r.AddFilterFile(_T("wb_filterfile_xml.ini"));
        EXPECT_EQ(ReadBytes(file), "[]\r\n=two.xml\r\n\r\n");
    }
    Register::ForgetThatAListWasLoaded();
    Register next(2);
    EXPECT_EQ(next.FindFilterFile(_T("two.xml")), -1);
    EXPECT_EQ(next.FindFilterFile(_T("=two.xml")), 2);
}

TEST_F(SyncRegister, BareNamesOfTheFilterFileSurviveAnAddition) {
    Register r(2);
    const CString file = CString(COMMON) + _T("FilterFile_Xml.ini");
    WriteBytes(file, "bare.xml\r\n");
    r.AddFilterFile(_T("new.xml"));
    EXPECT_EQ(ReadBytes(file), "[]\r\nbare.xml\r\n=new.xml\r\n\r\n");
}

TEST_F(SyncRegister, TimesAreRecordedUnderThePathAsGiven) {
    TestFolder folder;
    Register r(2);
    const CString path = folder.Path(_T("a.xml"));
    WriteBytes(path, "x");
    kvttest::SetFileSeconds(path, 1234567890);
    r.RecordSyncTime(path, 0);
    EXPECT_EQ(ReadBytes(CString(COMMON) + _T("TBListFile_Xml.ini")), "[" + Utf8(path) + "]\r\ntime=1234567890\r\n\r\n");
    r.RecordSyncTime(path, 1);
    EXPECT_EQ(ReadBytes(CString(COMMON) + _T("TBListFile_Xml.ini")), "[" + Utf8(path) + "]\r\ntime=-1\r\n\r\n");
    EXPECT_EQ(r.NeedSynchronize(path), 0);
}

TEST_F(SyncRegister, TimesAreCutTo32Bits) {
    TestFolder folder;
    Register r(2);
    const CString path = folder.Path(_T("a.xml"));
    WriteBytes(path, "x");
    kvttest::SetFileSeconds(path, 0x80000010LL);
    r.RecordSyncTime(path, 0);
    EXPECT_EQ(kvttest::RecordedTime(_T("Xml"), path), -2147483632);
    EXPECT_EQ(r.NeedSynchronize(path), 0);
}

TEST_F(SyncRegister, AFileNewerThanRecordedIsToBeMerged) {
    TestFolder folder;
    Register r(2);
    const CString path = folder.Path(_T("a.xml"));
    WriteBytes(path, "x");
    kvttest::SetFileSeconds(path, 1000000000);
    const struct {
        int recorded;
        int need;
    } rows[] = {{0, 1}, {999999999, 1}, {1000000000, 0}, {1000000001, 0}, {-1, 0}, {-5, 0}, {1, 1}};
    EXPECT_EQ(r.NeedSynchronize(path), 1);
    for (const auto& row : rows) {
        CIniFile(CString(COMMON) + _T("TBListFile_Xml.ini"), true).SetValueI(path, _T("time"), row.recorded, true);
        EXPECT_EQ(r.NeedSynchronize(path), row.need) << row.recorded;
    }
    EXPECT_EQ(r.NeedSynchronize(folder.Path(_T("none.xml"))), 0);
}

TEST_F(SyncRegister, AMissingFileHasNoTime) {
    TestFolder folder;
    Register r(2);
    r.RecordSyncTime(folder.Path(_T("none.xml")), 0);
    r.RecordSyncTime(folder.Path(_T("none.xml")), 1);
    EXPECT_FALSE(Exists(CString(COMMON) + _T("TBListFile_Xml.ini")));
}

TEST_F(SyncRegister, EnsureFileExists) {
    TestFolder folder;
    WriteBytes(folder.Path(_T("a")), "text");
    EXPECT_EQ(Register::EnsureFileExists(folder.Path(_T("a"))), 1);
    EXPECT_EQ(ReadBytes(folder.Path(_T("a"))), "text");
    EXPECT_EQ(Register::EnsureFileExists(folder.Path(_T("b"))), 1);
    EXPECT_EQ(ReadBytes(folder.Path(_T("b"))), "");
    EXPECT_EQ(Register::EnsureFileExists(folder.Path(_T("none\\c"))), 0);
    EXPECT_EQ(Register::EnsureFileExists(_T("")), 0);
}

TEST_F(SyncRegister, AListThatCannotBeReadIsNotOverwritten) {
    TestFolder folder;
    Register r(2);
    const CString list = CString(COMMON) + _T("TBListFile_Xml.ini");
    WriteBytes(list, "[other]\r\ntime=5\r\n");
    WriteBytes(folder.Path(_T("a.xml")), "x");
    const HANDLE held = ::CreateFileW(list, GENERIC_READ, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    ASSERT_NE(held, INVALID_HANDLE_VALUE);
    r.RecordSyncTime(folder.Path(_T("a.xml")), 0);
    ::CloseHandle(held);
    EXPECT_EQ(ReadBytes(list), "[other]\r\ntime=5\r\n");
}
