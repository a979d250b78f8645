// CFXmlCfg and its file: opening, creating, saving, refusals, and the life of the associations.

#include "kvtfile/XmlCfg.h"
#include "tests/config/installed.h"

using kvtfile::CFXmlCfg;
using kvtfile::CFXmlFile;
using kvttest::Exists;
using kvttest::InstalledFolder;
using kvttest::ReadBytes;
using kvttest::TestFolder;
using kvttest::Utf8;
using kvttest::Wide;
using kvttest::WriteBytes;

namespace {

class Cfg : public CFXmlCfg {
public:
    using CFXmlCfg::CFXmlCfg;
    CFXmlFile& Document() { return m_xmlFile; }
    std::string File() const { return Utf8(m_strFile); }
    std::string Error() const { return Utf8(GetLastError()); }
};

CFXmlCfg::SDataMember Data(const char* key, const char* value) {
    CFXmlCfg::SDataMember member;
    member.strKey = Wide(key);
    member.strValue = Wide(value);
    return member;
}

std::string Value(CFXmlCfg& cfg, LPCWSTR path) {
    CFXmlCfg::SDataMember member;
    return cfg.ReadData(path, member) ? Utf8(member.strValue) : "failed: " + Utf8(cfg.GetLastError());
}

const char EMPTY[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<CONFIG/>\r\n";

constexpr long long T1 = 1600000000;

}  // namespace

TEST(XmlCfgOpen, AMissingFileIsCreatedOnlyWhenAsked) {
    TestFolder folder;
    const CString path = folder.Path(_T("a.xml"));
    Cfg cfg;
    EXPECT_EQ(cfg.Open(path, 0), 0);
    EXPECT_EQ(cfg.Error(), "文件不存在");
    EXPECT_FALSE(Exists(path));
    EXPECT_EQ(cfg.Open(path, 1), 1);
    EXPECT_EQ(ReadBytes(path), EMPTY);
    EXPECT_EQ(cfg.File(), Utf8(path));
    EXPECT_EQ(Utf8(cfg.GetXmlFile().GetDoc()), EMPTY);
    EXPECT_EQ(cfg.Error(), "文件不存在");
    EXPECT_EQ(cfg.WriteData(_T(""), Data("k", "v")), 1);
}

TEST(XmlCfgOpen, AnExistingFileIsNotCreatedAgain) {
    TestFolder folder;
    WriteBytes(folder.Path(_T("a.xml")), "<CONFIG><DATA key='k' value='v'/></CONFIG>");
    Cfg cfg;
    EXPECT_EQ(cfg.Open(folder.Path(_T("a.xml")), 1), 1);
    EXPECT_EQ(Value(cfg, _T("k")), "v");
    EXPECT_EQ(ReadBytes(folder.Path(_T("a.xml"))), "<CONFIG><DATA key='k' value='v'/></CONFIG>");
}

TEST(XmlCfgOpen, AnyNameButABareXmlPasses) {
    TestFolder folder;
    Cfg cfg;
    for (const LPCWSTR name : {_T("xml"), _T("XML"), _T("xMl")}) {
        EXPECT_EQ(cfg.Open(name, 0), 0);
        EXPECT_EQ(cfg.Error(), "无效的文件名称");
    }
    for (const LPCWSTR name : {_T(""), _T("ml"), _T("txt"), _T(".xml"), _T("axml")}) {
        EXPECT_EQ(cfg.Open(name, 0), 0);
        EXPECT_EQ(cfg.Error(), "文件不存在") << Utf8(name);
    }
    WriteBytes(folder.Path(_T("a.txt")), "<CONFIG/>");
    EXPECT_EQ(cfg.Open(folder.Path(_T("a.txt")), 0), 1);
}

TEST(XmlCfgOpen, AFileThatIsNoXmlIsRefused) {
    TestFolder folder;
    Cfg cfg;
    const char* const texts[] = {"", "plain", "<CONFIG>", "<CONFIG/><CONFIG/>", "<CONFIG><A></B></CONFIG>", "<!-- -->"};
    for (const char* text : texts) {
        WriteBytes(folder.Path(_T("a.xml")), text);
        EXPECT_EQ(cfg.Open(folder.Path(_T("a.xml")), 1), 0) << text;
        EXPECT_EQ(cfg.Error(), "打开文件失败") << text;
        EXPECT_EQ(cfg.File(), "");
        EXPECT_FALSE(cfg.GetXmlFile().GetError().IsEmpty());
        EXPECT_EQ(cfg.Save(), 0);
        cfg.WriteData(_T(""), Data("k", "v"));
        EXPECT_EQ(ReadBytes(folder.Path(_T("a.xml"))), text);
    }
}

TEST(XmlCfgOpen, AFolderIsRefused) {
    TestFolder folder;
    Cfg cfg;
    EXPECT_EQ(cfg.Open(folder.Path(), 1), 0);
    EXPECT_EQ(cfg.Error(), "打开文件失败");
}

TEST(XmlCfgOpen, AFileThatCannotBeCreatedFails) {
    TestFolder folder;
    Cfg cfg;
    EXPECT_EQ(cfg.Open(folder.Path(_T("none\\a.xml")), 1), 0);
    EXPECT_EQ(cfg.Error(), "打开文件失败");
    EXPECT_EQ(folder.Names(), std::vector<std::string>{});
}

TEST(XmlCfgOpen, AfterAFailedLoadNothingIsWrittenOverTheFileThatWasOpenBefore) {
    TestFolder folder;
    WriteBytes(folder.Path(_T("good.xml")), "<CONFIG><DATA key='good' value='1'/></CONFIG>");
    WriteBytes(folder.Path(_T("bad.xml")), "<CONFIG><DATA key='bad' value='1'/>");
    Cfg cfg;
    ASSERT_EQ(cfg.Open(folder.Path(_T("good.xml")), 0), 1);
    EXPECT_EQ(cfg.Open(folder.Path(_T("bad.xml")), 0), 0);
    cfg.WriteData(_T(""), Data("k", "v"));
    EXPECT_EQ(cfg.Save(), 0);
    EXPECT_EQ(ReadBytes(folder.Path(_T("good.xml"))), "<CONFIG><DATA key='good' value='1'/></CONFIG>");
    EXPECT_EQ(ReadBytes(folder.Path(_T("bad.xml"))), "<CONFIG><DATA key='bad' value='1'/>");
}

TEST(XmlCfgOpen, ARefusedNameOrMissingFileLeavesTheOpenFileAsItIs) {
    TestFolder folder;
    WriteBytes(folder.Path(_T("good.xml")), "<CONFIG><DATA key='good' value='1'/></CONFIG>");
    Cfg cfg;
    ASSERT_EQ(cfg.Open(folder.Path(_T("good.xml")), 0), 1);
    EXPECT_EQ(cfg.Open(folder.Path(_T("none.xml")), 0), 0);
    EXPECT_EQ(cfg.Open(_T("xml"), 1), 0);
    EXPECT_EQ(Value(cfg, _T("good")), "1");
    EXPECT_EQ(cfg.WriteDataValue(_T("good"), _T("2")), 1);
    EXPECT_EQ(ReadBytes(folder.Path(_T("good.xml"))), "<CONFIG><DATA key='good' value=\"2\"/></CONFIG>");
}

TEST(XmlCfgOpen, MarksOfOneFileDoNotReachTheNext) {
    TestFolder folder;
    const std::u16string wide = u"<CONFIG><DATA key='k' value='1'/></CONFIG>";
    std::string bytes = "\xFE\xFF";
    for (const char16_t unit : wide) {
        bytes += static_cast<char>(unit >> 8);
        bytes += static_cast<char>(unit & 0xFF);
    }
    WriteBytes(folder.Path(_T("be.xml")), bytes);
    WriteBytes(folder.Path(_T("plain.xml")), "<CONFIG><DATA key='k' value='2'/></CONFIG>");
    Cfg cfg;
    ASSERT_EQ(cfg.Open(folder.Path(_T("be.xml")), 0), 1) << Utf8(cfg.GetXmlFile().GetError());
    EXPECT_EQ(Value(cfg, _T("k")), "1");
    EXPECT_EQ(cfg.WriteDataValue(_T("k"), _T("3")), 1);
    EXPECT_EQ(ReadBytes(folder.Path(_T("be.xml"))).substr(0, 4), std::string("\xFE\xFF\0<", 4));
    ASSERT_EQ(cfg.Open(folder.Path(_T("plain.xml")), 0), 1) << Utf8(cfg.GetXmlFile().GetError());
    EXPECT_EQ(Value(cfg, _T("k")), "2");
}

TEST(XmlCfgOpen, NamesGoOnToMatchWithoutRegardToCaseWhereTheDocumentIsSetSo) {
    TestFolder folder;
    WriteBytes(folder.Path(_T("a.xml")), "<config><data KEY='k' value='1'/></config>");
    Cfg cfg;
    cfg.Document().SetDocFlags(CFXmlFile::docIgnoreCase);
    ASSERT_EQ(cfg.Open(folder.Path(_T("a.xml")), 0), 1);
    EXPECT_EQ(Value(cfg, _T("k")), "1");
}

TEST(XmlCfgOpen, ADeclaredCodePageIsKept) {
    TestFolder folder;
    const std::string head = "<?xml version=\"1.0\" encoding=\"GB2312\"?>\r\n";
    WriteBytes(folder.Path(_T("a.xml")), head + "<CONFIG><DATA key='\xD6\xD0' value='\xCE\xC4'/></CONFIG>");
    Cfg cfg;
    ASSERT_EQ(cfg.Open(folder.Path(_T("a.xml")), 0), 1);
    EXPECT_EQ(Value(cfg, _T("中")), "文");
    EXPECT_EQ(cfg.WriteDataValue(_T("中"), _T("国")), 1);
    EXPECT_EQ(ReadBytes(folder.Path(_T("a.xml"))), head + "<CONFIG><DATA key='\xD6\xD0' value=\"\xB9\xFA\"/></CONFIG>");
}

TEST(XmlCfgSave, WithoutImmediateSaveTheFileWaitsForSave) {
    TestFolder folder;
    const CString path = folder.Path(_T("a.xml"));
    Cfg cfg;
    ASSERT_EQ(cfg.Open(path, 1), 1);
    cfg.SetImmediateSave(0);
    EXPECT_EQ(cfg.GetImmediateSave(), 0);
    EXPECT_EQ(cfg.WriteData(_T(""), Data("k", "v")), 1);
    EXPECT_EQ(cfg.WriteClass(_T(""), {_T("A"), _T(""), _T("")}), 1);
    EXPECT_EQ(cfg.WriteClassText(_T("A"), _T("t")), 1);
    EXPECT_EQ(cfg.WriteDataValue(_T("k"), _T("w")), 1);
    EXPECT_EQ(cfg.WriteRecurseClass(_T("B"), _T("t"), _T("e")), 1);
    EXPECT_EQ(cfg.DeleteClass(_T("A"), 0), 1);
    EXPECT_EQ(cfg.DeleteData(_T("k")), 1);
    EXPECT_EQ(ReadBytes(path), EMPTY);
    EXPECT_EQ(cfg.Save(), 1);
    Cfg again;
    ASSERT_EQ(again.Open(path, 0), 1);
    CFXmlCfg::SClassMember member;
    EXPECT_EQ(again.ReadClass(_T("B"), member), 1);
    EXPECT_EQ(again.ReadClass(_T("A"), member), 0);
}

TEST(XmlCfgSave, EveryChangeReachesTheFileAtOnce) {
    TestFolder folder;
    const CString path = folder.Path(_T("a.xml"));
    Cfg cfg;
    ASSERT_EQ(cfg.Open(path, 1), 1);
    std::string before = ReadBytes(path);
    const auto changed = [&] {
        const std::string now = ReadBytes(path);
        const bool differs = now != before;
        before = now;
        return differs && now == Utf8(cfg.GetXmlFile().GetDoc());
    };
    EXPECT_EQ(cfg.WriteClass(_T(""), {_T("A"), _T(""), _T("")}), 1);
    EXPECT_TRUE(changed());
    EXPECT_EQ(cfg.WriteData(_T("A"), Data("k", "v")), 1);
    EXPECT_TRUE(changed());
    EXPECT_EQ(cfg.WriteClassText(_T("A"), _T("t")), 1);
    EXPECT_TRUE(changed());
    EXPECT_EQ(cfg.WriteDataValue(_T("A.k"), _T("w")), 1);
    EXPECT_TRUE(changed());
    EXPECT_EQ(cfg.WriteRecurseClass(_T("B.C"), _T("t.u"), _T("e.f")), 1);
    EXPECT_TRUE(changed());
    EXPECT_EQ(cfg.DeleteData(_T("A.k")), 1);
    EXPECT_TRUE(changed());
    EXPECT_EQ(cfg.DeleteClass(_T("A"), 0), 1);
    EXPECT_TRUE(changed());
}

TEST(XmlCfgSave, AReadOnlyFileIsRefusedAndWhole) {
    TestFolder folder;
    const CString path = folder.Path(_T("a.xml"));
    const std::string text = "<CONFIG><CLASS key='A'/><DATA key='k' value='v'/></CONFIG>";
    WriteBytes(path, text);
    Cfg cfg;
    ASSERT_EQ(cfg.Open(path, 0), 1);
    ASSERT_TRUE(::SetFileAttributesW(path, FILE_ATTRIBUTE_READONLY));
    EXPECT_EQ(cfg.WriteDataValue(_T("k"), _T("w")), 0);
    EXPECT_EQ(cfg.Error(), "保存文件出错");
    EXPECT_EQ(Utf8(cfg.GetXmlFile().GetError()), Utf8(kvttest::SystemText(ERROR_ACCESS_DENIED)));
    CFXmlCfg::SClassMember none;
    cfg.ReadClass(_T("x"), none);
    EXPECT_EQ(cfg.WriteClass(_T(""), {_T("B"), _T(""), _T("")}), 0);
    EXPECT_EQ(cfg.Error(), "保存文件出错");
    cfg.ReadClass(_T("x"), none);
    EXPECT_EQ(cfg.WriteData(_T(""), Data("l", "m")), 0);
    EXPECT_EQ(cfg.Error(), "保存文件出错");
    cfg.ReadClass(_T("x"), none);
    EXPECT_EQ(cfg.WriteClassText(_T("A"), _T("t")), 0);
    EXPECT_EQ(cfg.Error(), "保存文件出错");
    cfg.ReadClass(_T("x"), none);
    EXPECT_EQ(cfg.WriteRecurseClass(_T("A.B"), _T("t.u"), _T("e.f")), 0);
    EXPECT_EQ(cfg.Error(), "保存文件出错");
    cfg.ReadClass(_T("x"), none);
    EXPECT_EQ(cfg.DeleteData(_T("k")), 0);
    EXPECT_EQ(cfg.Error(), "保存文件出错");
    cfg.ReadClass(_T("x"), none);
    EXPECT_EQ(cfg.DeleteClass(_T("A"), 1), 0);
    EXPECT_EQ(cfg.Error(), "保存文件出错");
    EXPECT_EQ(cfg.Save(), 0);
    ::SetFileAttributesW(path, FILE_ATTRIBUTE_NORMAL);
    EXPECT_EQ(ReadBytes(path), text);
    EXPECT_EQ(folder.Names(), std::vector<std::string>{"a.xml"});
    EXPECT_EQ(cfg.Save(), 1);
    EXPECT_NE(ReadBytes(path), text);
}

TEST(XmlCfgCopy, ACopyHasADocumentOfItsOwn) {
    TestFolder folder;
    Cfg cfg;
    ASSERT_EQ(cfg.Open(folder.Path(_T("a.xml")), 1), 1);
    ASSERT_EQ(cfg.WriteData(_T(""), Data("k", "1")), 1);
    CFXmlCfg::SConst names;
    names.strPathSign = _T("/");
    cfg.SetConst(names);
    cfg.SetImmediateSave(0);
    cfg.FindNodeByPath(_T("none"), 0);
    Cfg copy(cfg);
    EXPECT_EQ(copy.File(), cfg.File());
    EXPECT_EQ(Utf8(copy.GetConst().strPathSign), "/");
    EXPECT_EQ(copy.GetImmediateSave(), 0);
    EXPECT_EQ(copy.WriteDataValue(_T("k"), _T("2")), 1);
    EXPECT_EQ(Value(cfg, _T("k")), "1");
    EXPECT_EQ(Value(copy, _T("k")), "2");
    cfg = copy;
    EXPECT_EQ(Value(cfg, _T("k")), "2");
    CFXmlFile document = cfg.GetXmlFile();
    EXPECT_TRUE(document.SetDoc(_T("<other/>")));
    EXPECT_EQ(Value(cfg, _T("k")), "2");
}

TEST(XmlCfgRedirect, AnInstalledFileIsOpenedThroughItsWorkingCopy) {
    const InstalledFolder product;
    product.Install(_T("a.xml"), "<CONFIG><DATA key='k' value='1'/></CONFIG>", T1);
    Cfg cfg;
    ASSERT_EQ(cfg.Open(product.Installed(_T("a.xml")), 0), 1);
    EXPECT_EQ(cfg.File(), Utf8(product.Working(_T("a.xml"))));
    EXPECT_EQ(cfg.WriteDataValue(_T("k"), _T("2")), 1);
    EXPECT_EQ(ReadBytes(product.Installed(_T("a.xml"))), "<CONFIG><DATA key='k' value='1'/></CONFIG>");
    EXPECT_EQ(ReadBytes(product.Working(_T("a.xml"))), "<CONFIG><DATA key='k' value=\"2\"/></CONFIG>");
    EXPECT_EQ(kvttest::RecordedTime(_T("Xml"), product.Installed(_T("a.xml"))), T1);
}

TEST(XmlCfgRedirect, AMissingInstalledFileIsCreatedWhereItWasNamed) {
    const InstalledFolder product;
    Cfg cfg;
    ASSERT_EQ(cfg.Open(product.Installed(_T("new.xml")), 1), 1);
    EXPECT_EQ(cfg.File(), Utf8(product.Installed(_T("new.xml"))));
    EXPECT_FALSE(Exists(product.Working(_T("new.xml"))));
}

TEST(XmlCfgRedirect, AFilteredNameIsOpenedInPlace) {
    const InstalledFolder product;
    CString name;
    name.Format(_T("Filtered%u.xml"), static_cast<unsigned>(::GetCurrentProcessId()));
    product.Install(name, "<CONFIG/>", T1);
    Cfg cfg;
    cfg.AddFilterFile(name);
    ASSERT_EQ(cfg.Open(product.Installed(name), 0), 1);
    EXPECT_EQ(cfg.File(), Utf8(product.Installed(name)));
}

TEST(XmlCfgRedirect, AnExplicitWorkingCopyIsMadeAndOpened) {
    TestFolder folder;
    const CString source = folder.Path(_T("source.xml"));
    const CString work = folder.Path(_T("deep\\er\\work.xml"));
    WriteBytes(source, "<CONFIG><DATA key='k' value='1'/></CONFIG>");
    Cfg cfg;
    ASSERT_EQ(cfg.Open(work, source, 0), 1) << cfg.Error();
    EXPECT_EQ(cfg.File(), Utf8(work));
    EXPECT_EQ(cfg.WriteDataValue(_T("k"), _T("2")), 1);
    EXPECT_EQ(ReadBytes(source), "<CONFIG><DATA key='k' value='1'/></CONFIG>");
    Cfg again;
    ASSERT_EQ(again.Open(work, source, 0), 1);
    EXPECT_EQ(Value(again, _T("k")), "2");
}

TEST(XmlCfgRedirect, WithoutAWorkingCopyTheFileItselfIsOpened) {
    TestFolder folder;
    const CString source = folder.Path(_T("source.xml"));
    WriteBytes(source, "<CONFIG/>");
    Cfg cfg;
    ASSERT_EQ(cfg.Open(_T(""), source, 0), 1);
    EXPECT_EQ(cfg.File(), Utf8(source));
    // Neither copy nor source: created where the source is named.
    ASSERT_EQ(cfg.Open(folder.Path(_T("work.xml")), folder.Path(_T("none.xml")), 1), 1);
    EXPECT_EQ(cfg.File(), Utf8(folder.Path(_T("none.xml"))));
    EXPECT_FALSE(Exists(folder.Path(_T("work.xml"))));
    EXPECT_EQ(cfg.Open(folder.Path(_T("work.xml")), folder.Path(_T("gone.xml")), 0), 0);
    EXPECT_EQ(cfg.Error(), "文件不存在");
}
