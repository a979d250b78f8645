// CFXmlCfg: what a newer installed file brings into a working copy.

#include "kvtfile/XmlCfg.h"
#include "tests/config/installed.h"

using kvtfile::CFXmlCfg;
using kvtfile::CFXmlFile;
using kvttest::InstalledFolder;
using kvttest::ReadBytes;
using kvttest::RecordedTime;
using kvttest::TestFolder;
using kvttest::Utf8;
using kvttest::Wide;
using kvttest::WriteBytes;

namespace {

using ClassArray = CArray<CFXmlCfg::SClassMember, CFXmlCfg::SClassMember>;
using DataArray = CArray<CFXmlCfg::SDataMember, CFXmlCfg::SDataMember>;

class Cfg : public CFXmlCfg {
public:
    using CFXmlCfg::SetItemByotherNodeClass;
    std::string Error() const { return Utf8(GetLastError()); }

    /// The tree, one node a line, indented by level: classes before data items.
    std::string Tree(const CString& path = CString(), int level = 0) {
        std::string text;
        ClassArray classes;
        ReadChildClass(path, classes);
        for (INT_PTR i = 0; i < classes.GetSize(); ++i) {
            const auto& c = classes[i];
            text += std::string(static_cast<size_t>(level), ' ') + Utf8(c.strKey) + "|" + Utf8(c.strText) + "|" +
                    Utf8(c.strExtend) + "\n";
            if (!c.strKey.IsEmpty()) {
                text += Tree(path.IsEmpty() ? c.strKey : path + _T(".") + c.strKey, level + 1);
            }
        }
        DataArray items;
        ReadChildData(path, items);
        for (INT_PTR i = 0; i < items.GetSize(); ++i) {
            const auto& d = items[i];
            text += std::string(static_cast<size_t>(level), ' ') + Utf8(d.strKey) + "=" + Utf8(d.strValue) + "|" +
                    Utf8(d.strText) + "\n";
        }
        return text;
    }
};

constexpr long long T1 = 1600000000;
constexpr long long T2 = 1600000100;

std::string Document(const std::string& elements) {
    return "<CONFIG>" + elements + "</CONFIG>";
}

/// The working copy of `mine` after a newer `theirs` was merged into it.
std::string Merged(const std::string& mine, const std::string& theirs) {
    const InstalledFolder product;
    product.Install(_T("a.xml"), Document(mine), T1);
    {
        Cfg cfg;
        EXPECT_EQ(cfg.Open(product.Installed(_T("a.xml")), 0), 1);
    }
    product.Install(_T("a.xml"), Document(theirs), T2);
    Cfg cfg;
    EXPECT_EQ(cfg.Open(product.Installed(_T("a.xml")), 0), 1);
    EXPECT_EQ(ReadBytes(product.Working(_T("a.xml"))), Utf8(cfg.GetXmlFile().GetDoc()));
    EXPECT_EQ(RecordedTime(_T("Xml"), product.Installed(_T("a.xml"))), T2);
    return cfg.Tree();
}

}  // namespace

TEST(XmlCfgMerge, AMissingClassArrivesWithItsWholeSubtree) {
    EXPECT_EQ(Merged("<CLASS key='Old' text='o'/>",
                     "<CLASS key='New' text='n' extend='e'><DATA key='d' value='1'/><CLASS key='In'><DATA key='x' "
                     "value='2'/></CLASS></CLASS>"),
              "Old|o|\nNew|n|e\n In||\n  x=2|\n d=1|\n");
}

TEST(XmlCfgMerge, ClassesComeBeforeDataItems) {
    const InstalledFolder product;
    product.Install(_T("a.xml"), Document(""), T1);
    { Cfg().Open(product.Installed(_T("a.xml")), 0); }
    product.Install(_T("a.xml"), Document("<DATA key='d'/><CLASS key='A'><DATA key='e'/><CLASS key='B'/></CLASS>"), T2);
    Cfg cfg;
    ASSERT_EQ(cfg.Open(product.Installed(_T("a.xml")), 0), 1);
    const std::string text = ReadBytes(product.Working(_T("a.xml")));
    EXPECT_LT(text.find("key=\"A\""), text.find("key=\"B\""));
    EXPECT_LT(text.find("key=\"B\""), text.find("key=\"e\""));
    EXPECT_LT(text.find("key=\"e\""), text.find("key=\"d\""));
}

TEST(XmlCfgMerge, BlankFieldsAreFilledAndTheUsersOwnKept) {
    EXPECT_EQ(Merged("<CLASS key='A' text='mine'/><CLASS key='B' extend='mine'/><DATA key='d' value='mine'/><DATA "
                     "key='e' text='mine'/>",
                     "<CLASS key='A' text='theirs' extend='theirs'/><CLASS key='B' text='theirs' extend='theirs'/>"
                     "<DATA key='d' value='theirs' text='theirs'/><DATA key='e' value='theirs' text='theirs'/>"),
              "A|mine|theirs\nB|theirs|mine\nd=mine|theirs\ne=theirs|mine\n");
}

TEST(XmlCfgMerge, NothingIsRemoved) {
    EXPECT_EQ(Merged("<CLASS key='A'><DATA key='d' value='1'/></CLASS><DATA key='e' value='2'/>", ""),
              "A||\n d=1|\ne=2|\n");
}

TEST(XmlCfgMerge, ItemsOfExistingClassesAreMergedToo) {
    EXPECT_EQ(
        Merged("<CLASS key='A'><CLASS key='B'><DATA key='d' value='mine'/></CLASS></CLASS>",
               "<CLASS key='A'><CLASS key='B'><DATA key='d' value='x'/><DATA key='n' value='new'/></CLASS></CLASS>"),
        "A||\n B||\n  d=mine|\n  n=new|\n");
}

TEST(XmlCfgMerge, AKeyInAnotherCaseIsTheSameItemAndNothingBeneathItIsMerged) {
    EXPECT_EQ(Merged("<CLASS key='Alpha'><DATA key='d' value='mine'/></CLASS><DATA key='Item' value=''/>",
                     "<CLASS key='ALPHA' text='t'><DATA key='n' value='new'/><CLASS key='B'/></CLASS><DATA key='ITEM' "
                     "value='v'/>"),
              "Alpha|t|\n d=mine|\nItem=v|\n");
}

TEST(XmlCfgMerge, FailuresOfWritesLeaveTheirTextAndTheMergeGoesOn) {
    const InstalledFolder product;
    product.Install(_T("a.xml"), Document("<CLASS key='Alpha'/>"), T1);
    { Cfg().Open(product.Installed(_T("a.xml")), 0); }
    product.Install(_T("a.xml"), Document("<CLASS key='ALPHA'><DATA key='n'/></CLASS><DATA key='last' value='1'/>"),
                    T2);
    Cfg cfg;
    EXPECT_EQ(cfg.Open(product.Installed(_T("a.xml")), 0), 1);
    EXPECT_EQ(cfg.Error(), "父分类不存在");
    EXPECT_EQ(cfg.Tree(), "Alpha||\nlast=1|\n");
}

TEST(XmlCfgMerge, OnlyANewerInstalledFileIsMerged) {
    const InstalledFolder product;
    const CString installed = product.Installed(_T("a.xml"));
    product.Install(_T("a.xml"), Document(""), T2);
    { Cfg().Open(installed, 0); }
    for (const long long time : {T2, T1}) {
        product.Install(_T("a.xml"), Document("<DATA key='new'/>"), time);
        Cfg cfg;
        EXPECT_EQ(cfg.Open(installed, 0), 1);
        EXPECT_EQ(cfg.Tree(), "");
        EXPECT_EQ(RecordedTime(_T("Xml"), installed), T2);
    }
    product.Install(_T("a.xml"), Document("<DATA key='new'/>"), T2 + 1);
    Cfg cfg;
    EXPECT_EQ(cfg.Open(installed, 0), 1);
    EXPECT_EQ(cfg.Tree(), "new=|\n");
}

TEST(XmlCfgMerge, AFileMarkedAsDoneIsNeverMerged) {
    const InstalledFolder product;
    const CString installed = product.Installed(_T("a.xml"));
    product.Install(_T("a.xml"), Document(""), T1);
    { Cfg().Open(installed, 0); }
    Cfg().IsNoNeedSyschro(installed);
    EXPECT_EQ(RecordedTime(_T("Xml"), installed), -1);
    product.Install(_T("a.xml"), Document("<DATA key='new'/>"), T2);
    Cfg cfg;
    EXPECT_EQ(cfg.Open(installed, 0), 1);
    EXPECT_EQ(cfg.Tree(), "");
    EXPECT_EQ(RecordedTime(_T("Xml"), installed), -1);
}

TEST(XmlCfgMerge, WithoutARecordedTimeTheNextOpenMerges) {
    TestFolder folder;
    const CString source = folder.Path(_T("source.xml"));
    const CString work = folder.Path(_T("work.xml"));
    WriteBytes(source, Document("<DATA key='d' value='theirs'/><DATA key='n' value='new'/>"));
    kvttest::SetFileSeconds(source, T1);
    WriteBytes(work, Document("<DATA key='d' value='mine'/>"));
    Cfg cfg;
    EXPECT_EQ(cfg.Open(work, source, 0), 1);
    EXPECT_EQ(cfg.Tree(), "d=mine|\nn=new|\n");
    EXPECT_EQ(RecordedTime(_T("Xml"), source), T1);
}

TEST(XmlCfgMerge, AnInstalledFileThatIsNoXmlChangesNothing) {
    const InstalledFolder product;
    const CString installed = product.Installed(_T("a.xml"));
    product.Install(_T("a.xml"), Document("<DATA key='d' value='1'/>"), T1);
    { Cfg().Open(installed, 0); }
    product.Install(_T("a.xml"), "<CONFIG><DATA key='n'/>", T2);
    Cfg cfg;
    EXPECT_EQ(cfg.Open(installed, 0), 1);
    EXPECT_EQ(cfg.Tree(), "d=1|\n");
    EXPECT_EQ(ReadBytes(product.Working(_T("a.xml"))), Document("<DATA key='d' value='1'/>"));
    EXPECT_EQ(RecordedTime(_T("Xml"), installed), T1);
}

TEST(XmlCfgMerge, ItIsSavedWithoutImmediateSaveToo) {
    const InstalledFolder product;
    const CString installed = product.Installed(_T("a.xml"));
    product.Install(_T("a.xml"), Document(""), T1);
    { Cfg().Open(installed, 0); }
    product.Install(_T("a.xml"), Document("<DATA key='n' value='1'/>"), T2);
    Cfg cfg;
    cfg.SetImmediateSave(0);
    EXPECT_EQ(cfg.Open(installed, 0), 1);
    EXPECT_NE(ReadBytes(product.Working(_T("a.xml"))).find("key=\"n\""), std::string::npos);
}

TEST(XmlCfgMerge, AMergeThatCannotBeSavedIsDoneAgainNextTime) {
    const InstalledFolder product;
    const CString installed = product.Installed(_T("a.xml"));
    product.Install(_T("a.xml"), Document(""), T1);
    { Cfg().Open(installed, 0); }
    product.Install(_T("a.xml"), Document("<DATA key='n' value='1'/>"), T2);
    ASSERT_TRUE(::SetFileAttributesW(product.Working(_T("a.xml")), FILE_ATTRIBUTE_READONLY));
    {
        Cfg cfg;
        EXPECT_EQ(cfg.Open(installed, 0), 1);
        EXPECT_EQ(cfg.Error(), "保存文件出错");
        EXPECT_EQ(cfg.Tree(), "n=1|\n");
    }
    ::SetFileAttributesW(product.Working(_T("a.xml")), FILE_ATTRIBUTE_NORMAL);
    EXPECT_EQ(ReadBytes(product.Working(_T("a.xml"))), Document(""));
    EXPECT_EQ(RecordedTime(_T("Xml"), installed), T1);
    Cfg cfg;
    EXPECT_EQ(cfg.Open(installed, 0), 1);
    EXPECT_NE(ReadBytes(product.Working(_T("a.xml"))).find("key=\"n\""), std::string::npos);
    EXPECT_EQ(RecordedTime(_T("Xml"), installed), T2);
}

TEST(XmlCfgMerge, AClassWithoutAKeyIsPassedOverWithEverythingBeneathIt) {
    EXPECT_EQ(
        Merged("",
               "<CLASS text='nameless'><DATA key='in'/><CLASS key='X'/></CLASS><CLASS key='.'><DATA key='in'/></CLASS>"
               "<CLASS key='After'/><DATA key='d' value='1'/>"),
        "After||\nd=1|\n");
    EXPECT_EQ(Merged("<CLASS key='A'/>", "<CLASS key='A'><CLASS/><CLASS key='..'/><CLASS key='B'/></CLASS>"),
              "A||\n B||\n");
}

TEST(XmlCfgMerge, ADataItemWithoutAKeyIsNotWritten) {
    EXPECT_EQ(Merged("", "<DATA value='nameless'/><DATA key='d' value='1'/>"), "d=1|\n");
}

TEST(XmlCfgMerge, EqualKeysInTheInstalledFileAreOneItem) {
    EXPECT_EQ(Merged("",
                     "<DATA key='d' value='1'/><DATA key='d' value='2'/><CLASS key='A' text='1'><DATA key='x' "
                     "value='1'/></CLASS>"
                     "<CLASS key='A' text='2'><DATA key='y' value='2'/></CLASS>"),
              "A|2|\n x=1|\nd=2|\n");
    EXPECT_EQ(Merged("<DATA key='d'/>", "<DATA key='d' text='t'/><DATA key='d' value='2' text='u'/>"), "d=2|t\n");
}

TEST(XmlCfgMerge, RepeatedKeysOnEveryLevelDoNotMultiplyTheWork) {
    // 2 to the power of 60 ways lead down; each node is visited once.
    std::string theirs;
    for (int level = 0; level < 60; ++level) {
        theirs += "<CLASS key='A'>";
    }
    theirs += "<DATA key='d' value='deep'/>";
    for (int level = 0; level < 60; ++level) {
        theirs += "</CLASS><CLASS key='A'/>";
    }
    const std::string tree = Merged("", theirs);
    EXPECT_NE(tree.find("d=deep"), std::string::npos);
    EXPECT_EQ(Merged("<CLASS key='A'/>", theirs).find("d=deep"), tree.find("d=deep"));
}

TEST(XmlCfgMerge, ADeepTreeIsMergedWithoutDeepStacks) {
    constexpr int DEPTH = 3000;
    std::string theirs;
    for (int level = 0; level < DEPTH; ++level) {
        theirs += "<CLASS key='k'>";
    }
    theirs += "<DATA key='d' value='deep'/>";
    for (int level = 0; level < DEPTH; ++level) {
        theirs += "</CLASS>";
    }
    const InstalledFolder product;
    product.Install(_T("a.xml"), Document(""), T1);
    { Cfg().Open(product.Installed(_T("a.xml")), 0); }
    product.Install(_T("a.xml"), Document(theirs), T2);
    Cfg cfg;
    ASSERT_EQ(cfg.Open(product.Installed(_T("a.xml")), 0), 1);
    CString path;
    for (int level = 0; level < DEPTH; ++level) {
        path += _T("k.");
    }
    CFXmlCfg::SDataMember member;
    ASSERT_EQ(cfg.ReadData(path + _T("d"), member), 1) << cfg.Error();
    EXPECT_EQ(Utf8(member.strValue), "deep");
}

TEST(XmlCfgMerge, KeysThatRunTogetherWithALongSeparatorAreNotMergedForEver) {
    // A::: and :: and : leads to A again.
    TestFolder folder;
    const CString source = folder.Path(_T("source.xml"));
    const CString work = folder.Path(_T("work.xml"));
    WriteBytes(source,
               Document("<CLASS key='A'><CLASS key=':'><CLASS key=':'/></CLASS></CLASS><CLASS key='B'><DATA key='d' "
                        "value='1'/></CLASS>"));
    WriteBytes(work, Document(""));
    Cfg cfg;
    CFXmlCfg::SConst names;
    names.strPathSign = _T("::");
    cfg.SetConst(names);
    ASSERT_EQ(cfg.Open(work, source, 0), 1) << cfg.Error();
    CFXmlCfg::SDataMember member;
    ASSERT_EQ(cfg.ReadData(_T("B::d"), member), 1) << cfg.Error();
    EXPECT_EQ(Utf8(member.strValue), "1");
}

TEST(XmlCfgMerge, OtherNamesAreMergedUnderTheStoresNames) {
    TestFolder folder;
    const CString source = folder.Path(_T("source.xml"));
    const CString work = folder.Path(_T("work.xml"));
    WriteBytes(source, "<S><G id='A'><G_2 id='B.C'><I id='d' value='1'/></G_2></G></S>");
    WriteBytes(work, "<S/>");
    Cfg cfg;
    CFXmlCfg::SConst names;
    names.strRootTag = _T("S");
    names.strClassTag = _T("G");
    names.bLevelClassTag = 1;
    names.strDataTag = _T("I");
    names.strKeyAttr = _T("id");
    names.strPathSign = _T("/");
    cfg.SetConst(names);
    ASSERT_EQ(cfg.Open(work, source, 0), 1) << cfg.Error();
    CFXmlCfg::SDataMember member;
    ASSERT_EQ(cfg.ReadData(_T("A/B.C/d"), member), 1) << cfg.Error();
    EXPECT_EQ(Utf8(member.strValue), "1");
}

TEST(XmlCfgMerge, ASubtreeOfAnotherStoreCanBeMerged) {
    TestFolder folder;
    WriteBytes(folder.Path(_T("a.xml")), Document("<CLASS key='A'><DATA key='d' value='mine'/></CLASS>"));
    WriteBytes(folder.Path(_T("b.xml")),
               Document("<CLASS key='A'><DATA key='d' value='x'/><DATA key='n' value='1'/></CLASS><DATA key='out'/>"));
    Cfg a;
    Cfg b;
    ASSERT_EQ(a.Open(folder.Path(_T("a.xml")), 0), 1);
    ASSERT_EQ(b.Open(folder.Path(_T("b.xml")), 0), 1);
    a.SetItemByotherNodeClass(nullptr, _T("A"), 0);
    a.SetItemByotherNodeClass(&b, _T("A"), 0);
    EXPECT_EQ(a.Tree(), "A||\n d=mine|\n n=1|\n");
    a.SetItemByotherNodeClass(&b, _T("A"), 1);
    EXPECT_EQ(a.Tree(), "A||\n d=x|\n n=1|\n");
}

TEST(XmlCfgStory, AnInstalledFileIsRedirectedChangedAndTakesInWhatANewerOneBrings) {
    const CString folder = _T("C:\\ORVASOFT\\RIVADX V11.0\\Sys");
    const CString installed = folder + _T("\\StoryLayer.xml");
    const CString working = _T("C:\\OrvaData\\RIVADX\\Sys\\StoryLayer.xml");
    kvttest::MakeFolders(folder);
    WriteBytes(installed,
               "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n"
               "<CONFIG><CLASS key=\"Display\" text=\"显示\"><DATA key=\"Width\" text=\"\" "
               "value=\"800\"/></CLASS></CONFIG>\r\n");
    kvttest::SetFileSeconds(installed, T1);
    const std::string first = ReadBytes(installed);
    {
        CFXmlCfg cfg;
        ASSERT_EQ(cfg.Open(installed, 0), 1) << Utf8(cfg.GetLastError());
        EXPECT_EQ(ReadBytes(working), first);
        EXPECT_EQ(cfg.WriteDataValue(_T("Display.Width"), _T("1024")), 1);
    }
    EXPECT_EQ(ReadBytes(installed), first);
    EXPECT_NE(ReadBytes(working).find("value=\"1024\""), std::string::npos);

    WriteBytes(installed,
               "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n"
               "<CONFIG><CLASS key=\"Display\" text=\"Display\"><DATA key=\"Width\" text=\"宽度\" value=\"640\"/>"
               "<DATA key=\"Height\" value=\"480\"/></CLASS><CLASS key=\"Print\"><DATA key=\"Copies\" "
               "value=\"1\"/></CLASS></CONFIG>\r\n");
    kvttest::SetFileSeconds(installed, T2);
    const std::string second = ReadBytes(installed);
    CFXmlCfg cfg;
    ASSERT_EQ(cfg.Open(installed, 0), 1) << Utf8(cfg.GetLastError());
    EXPECT_EQ(ReadBytes(installed), second);
    EXPECT_EQ(ReadBytes(working),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n"
              "<CONFIG><CLASS key=\"Display\" text=\"显示\"><DATA key=\"Width\" text=\"宽度\" value=\"1024\" type=\"\" "
              "default=\"\" range=\"\" "
              "dict=\"\" extend=\"\"/><DATA key=\"Height\" text=\"\" value=\"480\" type=\"\" default=\"\" range=\"\" "
              "dict=\"\" "
              "extend=\"\"/>\r\n</CLASS><CLASS key=\"Print\" text=\"\" extend=\"\">\r\n<DATA key=\"Copies\" text=\"\" "
              "value=\"1\" type=\"\" "
              "default=\"\" range=\"\" dict=\"\" extend=\"\"/>\r\n</CLASS>\r\n</CONFIG>\r\n");
    kvttest::RemoveTree(installed);
    kvttest::RemoveTree(working);
}
