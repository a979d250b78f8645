// CFXmlCfg: reading, listing, writing and deleting, with the exact texts of every failure.

#include "kvtfile/XmlCfg.h"

#include "tests/support/support.h"

using kvtfile::CFXmlCfg;
using kvtfile::CFXmlFile;
using kvttest::ReadBytes;
using kvttest::TestFolder;
using kvttest::Utf8;
using kvttest::Wide;
using kvttest::WriteBytes;

namespace {

using ClassArray = CArray<CFXmlCfg::SClassMember, CFXmlCfg::SClassMember>;
using DataArray = CArray<CFXmlCfg::SDataMember, CFXmlCfg::SDataMember>;

const char DECLARATION[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n";

/// Reaches the helpers that derived classes see.
class Cfg : public CFXmlCfg {
public:
    using CFXmlCfg::CopyClassBlank;
    using CFXmlCfg::CopyDataBlank;
    using CFXmlCfg::FindClassInArr;
    using CFXmlCfg::FindDataInArr;
    using CFXmlCfg::FindXmlChildNode;
    using CFXmlCfg::FindXmlNodeByPath;
    using CFXmlCfg::GetClassNodeTag;
    using CFXmlCfg::RecurseXmlNode;
    using CFXmlCfg::SplitString;
    CFXmlFile& Document() { return m_xmlFile; }
    std::string File() const { return Utf8(m_strFile); }
    std::string Error() const { return Utf8(GetLastError()); }
};

CFXmlCfg::SClassMember Class(const char* key, const char* text = "", const char* extend = "") {
    return {Wide(key), Wide(text), Wide(extend)};
}

CFXmlCfg::SDataMember Data(const char* key, const char* value = "") {
    CFXmlCfg::SDataMember member;
    member.strKey = Wide(key);
    member.strValue = Wide(value);
    return member;
}

std::string Text(const CFXmlCfg::SClassMember& m) {
    return Utf8(m.strKey) + "|" + Utf8(m.strText) + "|" + Utf8(m.strExtend);
}

std::string Text(const CFXmlCfg::SDataMember& m) {
    return Utf8(m.strKey) + "|" + Utf8(m.strText) + "|" + Utf8(m.strValue) + "|" + Utf8(m.strType) + "|" +
           Utf8(m.strDefault) + "|" + Utf8(m.strRange) + "|" + Utf8(m.strDict) + "|" + Utf8(m.strExtend);
}

template <typename Member>
std::vector<std::string> Texts(const CArray<Member, Member>& arr) {
    std::vector<std::string> texts;
    for (INT_PTR i = 0; i < arr.GetSize(); ++i) {
        texts.push_back(Text(arr[i]));
    }
    return texts;
}

using Rows = std::vector<std::string>;

/// A store on a file with the given elements under its root.
class XmlCfg : public testing::Test {
protected:
    void Open(const std::string& elements) {
        WriteBytes(m_path, std::string(DECLARATION) + "<CONFIG>" + elements + "</CONFIG>\r\n");
        ASSERT_EQ(m_cfg.Open(m_path, 0), 1) << m_cfg.Error();
    }

    Rows Classes(LPCWSTR path) {
        ClassArray arr;
        EXPECT_EQ(m_cfg.ReadChildClass(path, arr), 1) << m_cfg.Error();
        return Texts(arr);
    }

    Rows Items(LPCWSTR path) {
        DataArray arr;
        EXPECT_EQ(m_cfg.ReadChildData(path, arr), 1) << m_cfg.Error();
        return Texts(arr);
    }

    TestFolder m_folder;
    CString m_path = m_folder.Path(_T("settings.xml"));
    Cfg m_cfg;
};

}  // namespace

TEST_F(XmlCfg, RecordsAndConstantsStartWithTheirDefaults) {
    EXPECT_EQ(Text(CFXmlCfg::SClassMember()), "||");
    EXPECT_EQ(Text(CFXmlCfg::SDataMember()), "|||||||");
    const CFXmlCfg::SConst names = m_cfg.GetConst();
    EXPECT_EQ(Utf8(names.strRootTag), "CONFIG");
    EXPECT_EQ(Utf8(names.strClassTag), "CLASS");
    EXPECT_EQ(names.bLevelClassTag, 0);
    EXPECT_EQ(Utf8(names.strDataTag), "DATA");
    EXPECT_EQ(Utf8(names.strKeyAttr), "key");
    EXPECT_EQ(Utf8(names.strPathSign), ".");
    EXPECT_EQ(m_cfg.GetImmediateSave(), 1);
    EXPECT_EQ(m_cfg.Error(), "");
    EXPECT_EQ(m_cfg.File(), "");
    EXPECT_EQ(Utf8(m_cfg.GetXmlFile().GetDoc()), "");
}

TEST_F(XmlCfg, PathsSplitIntoTheirPieces) {
    const struct {
        LPCWSTR text;
        LPCWSTR sign;
        Rows pieces;
    } rows[] = {{_T("A.B.C"), _T("."), {"A", "B", "C"}},
                {_T("A..B"), _T("."), {"A", "B"}},
                {_T(".A.B"), _T("."), {"A", "B"}},
                {_T("A.B."), _T("."), {"A", "B"}},
                {_T(""), _T("."), {}},
                {_T("..."), _T("."), {}},
                {_T("A"), _T("."), {"A"}},
                {_T("A::B:C"), _T("::"), {"A", "B:C"}},
                {_T("A:::B"), _T("::"), {"A", ":B"}},
                {_T("A.B"), _T(""), {"A.B"}},
                {_T(""), _T(""), {}},
                {_T(" . "), _T("."), {" ", " "}}};
    for (const auto& row : rows) {
        CStringArray pieces;
        pieces.Add(_T("old"));
        EXPECT_EQ(m_cfg.SplitString(row.text, pieces, row.sign), static_cast<int>(row.pieces.size()));
        Rows got;
        for (INT_PTR i = 0; i < pieces.GetSize(); ++i) {
            got.push_back(Utf8(pieces[i]));
        }
        EXPECT_EQ(got, row.pieces) << Utf8(row.text);
    }
}

TEST_F(XmlCfg, ClassTagsByLevel) {
    EXPECT_EQ(Utf8(m_cfg.GetClassNodeTag(_T("A.B"), 0)), "CLASS");
    EXPECT_EQ(Utf8(m_cfg.GetClassNodeTag(_T(""), 5)), "CLASS");
    CFXmlCfg::SConst names;
    names.bLevelClassTag = 1;
    m_cfg.SetConst(names);
    EXPECT_EQ(Utf8(m_cfg.GetClassNodeTag(_T(""), 0)), "CLASS");
    EXPECT_EQ(Utf8(m_cfg.GetClassNodeTag(_T(".."), 0)), "CLASS");
    EXPECT_EQ(Utf8(m_cfg.GetClassNodeTag(_T(""), 1)), "CLASS_2");
    EXPECT_EQ(Utf8(m_cfg.GetClassNodeTag(_T("A"), 0)), "CLASS_2");
    EXPECT_EQ(Utf8(m_cfg.GetClassNodeTag(_T("A.B"), 0)), "CLASS_3");
    EXPECT_EQ(Utf8(m_cfg.GetClassNodeTag(_T("A.B"), -3)), "CLASS_3");
    EXPECT_EQ(Utf8(m_cfg.GetClassNodeTag(_T("A.B"), 7)), "CLASS_8");
}

TEST_F(XmlCfg, AClassIsReadByItsPath) {
    Open("<CLASS key='A' text='t' extend='e'><CLASS key='B' text='u'/></CLASS>");
    CFXmlCfg::SClassMember member;
    EXPECT_EQ(m_cfg.ReadClass(_T("A"), member), 1);
    EXPECT_EQ(Text(member), "A|t|e");
    for (const LPCWSTR path : {_T("A.B"), _T("A..B"), _T(".A.B"), _T("A.B.")}) {
        member = Class("x", "x", "x");
        EXPECT_EQ(m_cfg.ReadClass(path, member), 1);
        EXPECT_EQ(Text(member), "B|u|");
    }
    EXPECT_EQ(m_cfg.Error(), "");
}

TEST_F(XmlCfg, ADataItemIsReadByItsPath) {
    Open(
        "<CLASS key='A'><DATA key='d' text='1' value='2' type='3' default='4' range='5' dict='6' extend='7'/></CLASS>"
        "<DATA key='top' value='v'/>");
    CFXmlCfg::SDataMember member;
    EXPECT_EQ(m_cfg.ReadData(_T("A.d"), member), 1);
    EXPECT_EQ(Text(member), "d|1|2|3|4|5|6|7");
    EXPECT_EQ(m_cfg.ReadData(_T("top"), member), 1);
    EXPECT_EQ(Text(member), "top||v|||||");
}

TEST_F(XmlCfg, ReadingFailures) {
    Open("<CLASS text='no key'/><DATA value='no key'/><CLASS key='A'/>");
    CFXmlCfg::SClassMember c = Class("old", "old", "old");
    CFXmlCfg::SDataMember d = Data("old", "old");
    for (const LPCWSTR path : {_T(""), _T("."), _T("...")}) {
        EXPECT_EQ(m_cfg.ReadClass(path, c), 0);
        EXPECT_EQ(m_cfg.Error(), "节点路径不能为空");
        EXPECT_EQ(m_cfg.ReadData(path, d), 0);
        EXPECT_EQ(m_cfg.Error(), "节点路径不能为空");
    }
    EXPECT_EQ(m_cfg.ReadClass(_T("none"), c), 0);
    EXPECT_EQ(m_cfg.Error(), "无法定位分类");
    EXPECT_EQ(m_cfg.ReadClass(_T("a"), c), 0);
    EXPECT_EQ(m_cfg.Error(), "无法定位分类");
    EXPECT_EQ(m_cfg.ReadData(_T("A"), d), 0);
    EXPECT_EQ(m_cfg.Error(), "无法定位数据");
    EXPECT_EQ(m_cfg.ReadData(_T("A.none"), d), 0);
    EXPECT_EQ(m_cfg.Error(), "无法定位数据");
    EXPECT_EQ(Text(c), "old|old|old");
    EXPECT_EQ(Text(d), "old||old|||||");
    // Success leaves the last text.
    EXPECT_EQ(m_cfg.ReadClass(_T("A"), c), 1);
    EXPECT_EQ(m_cfg.Error(), "无法定位数据");
}

TEST_F(XmlCfg, ANodeWithoutAKeyIsRefusedAfterTheRecordWasReplaced) {
    Open("<CLASS text='c'/><DATA value='d'/>");
    // A text counts up to its first NUL: this piece equals the key that is not there.
    const CString path(_T(".\0"), 2);
    CFXmlCfg::SClassMember c = Class("old", "old", "old");
    EXPECT_EQ(m_cfg.ReadClass(path, c), 0);
    EXPECT_EQ(m_cfg.Error(), "得到分类主键出错");
    EXPECT_EQ(Text(c), "|c|");
    CFXmlCfg::SDataMember d = Data("old", "old");
    EXPECT_EQ(m_cfg.ReadData(path, d), 0);
    EXPECT_EQ(m_cfg.Error(), "得到数据主键出错");
    EXPECT_EQ(Text(d), "||d|||||");
}

TEST_F(XmlCfg, ChildrenAreListedInDocumentOrderThoseWithoutAKeyToo) {
    Open(
        "<CLASS key='B' text='1'/><DATA key='x' value='1'/><CLASS text='nameless'/><CLASS key='A'><DATA "
        "key='in'/></CLASS>"
        "<DATA value='nameless'/><DATA key='x' value='2'/><OTHER key='o'/>");
    EXPECT_EQ(Classes(_T("")), (Rows{"B|1|", "|nameless|", "A||"}));
    EXPECT_EQ(Classes(_T("..")), (Rows{"B|1|", "|nameless|", "A||"}));
    EXPECT_EQ(Items(_T("")), (Rows{"x||1|||||", "||nameless|||||", "x||2|||||"}));
    EXPECT_EQ(Items(_T("A")), (Rows{"in|||||||"}));
    EXPECT_EQ(Classes(_T("A")), Rows{});
    // The first of equal keys wins.
    CFXmlCfg::SDataMember member;
    EXPECT_EQ(m_cfg.ReadData(_T("x"), member), 1);
    EXPECT_EQ(Utf8(member.strValue), "1");
}

TEST_F(XmlCfg, AListIsEmptiedEvenWhenTheNodeIsMissing) {
    Open("<CLASS key='A'/>");
    ClassArray classes;
    classes.Add(Class("old"));
    EXPECT_EQ(m_cfg.ReadChildClass(_T("none"), classes), 0);
    EXPECT_EQ(m_cfg.Error(), "无法定位分类");
    EXPECT_EQ(classes.GetSize(), 0);
    DataArray items;
    items.Add(Data("old"));
    EXPECT_EQ(m_cfg.ReadChildData(_T("none"), items), 0);
    EXPECT_EQ(m_cfg.Error(), "无法定位分类");
    EXPECT_EQ(items.GetSize(), 0);
}

TEST_F(XmlCfg, AClassIsWrittenWithItsAttributesInOrder) {
    Open("");
    EXPECT_EQ(m_cfg.WriteClass(_T(""), Class("Display", "t", "e")), 1) << m_cfg.Error();
    EXPECT_EQ(m_cfg.WriteClass(_T("Display"), Class("Colors")), 1) << m_cfg.Error();
    EXPECT_EQ(ReadBytes(m_path), std::string(DECLARATION) +
                                     "<CONFIG><CLASS key=\"Display\" text=\"t\" extend=\"e\">\r\n"
                                     "<CLASS key=\"Colors\" text=\"\" extend=\"\"/>\r\n</CLASS>\r\n</CONFIG>\r\n");
}

TEST_F(XmlCfg, ADataItemIsWrittenWithItsAttributesInOrder) {
    Open("<CLASS key=\"A\"/>");
    CFXmlCfg::SDataMember member;
    member.strKey = _T("Width");
    member.strText = _T("1");
    member.strValue = _T("2");
    member.strType = _T("3");
    member.strDefault = _T("4");
    member.strRange = _T("5");
    member.strDict = _T("6");
    member.strExtend = _T("7");
    EXPECT_EQ(m_cfg.WriteData(_T("A"), member), 1) << m_cfg.Error();
    EXPECT_EQ(ReadBytes(m_path),
              std::string(DECLARATION) +
                  "<CONFIG><CLASS key=\"A\">\r\n<DATA key=\"Width\" text=\"1\" value=\"2\" type=\"3\" "
                  "default=\"4\" range=\"5\" dict=\"6\" extend=\"7\"/>\r\n</CLASS></CONFIG>\r\n");
    CFXmlCfg::SDataMember read;
    EXPECT_EQ(m_cfg.ReadData(_T("A.Width"), read), 1);
    EXPECT_EQ(Text(read), "Width|1|2|3|4|5|6|7");
}

TEST_F(XmlCfg, WritingAgainUpdatesTheOneElement) {
    Open("<CLASS other='kept' key='A' text='old' extend='old'><DATA key='d' value='old' text='kept out'/></CLASS>");
    EXPECT_EQ(m_cfg.WriteClass(_T(""), Class("A", "new", "")), 1);
    EXPECT_EQ(m_cfg.WriteData(_T("A"), Data("d", "new")), 1);
    EXPECT_EQ(Classes(_T("")), Rows{"A|new|"});
    EXPECT_EQ(Items(_T("A")), Rows{"d||new|||||"});
    EXPECT_NE(ReadBytes(m_path).find("<CLASS other='kept' key='A' text=\"new\" extend=\"\">"), std::string::npos);
}

TEST_F(XmlCfg, AClassAndADataItemMayShareAKey) {
    Open("");
    EXPECT_EQ(m_cfg.WriteClass(_T(""), Class("A", "class")), 1);
    EXPECT_EQ(m_cfg.WriteData(_T(""), Data("A", "item")), 1);
    EXPECT_EQ(Classes(_T("")), Rows{"A|class|"});
    EXPECT_EQ(Items(_T("")), Rows{"A||item|||||"});
}

TEST_F(XmlCfg, NewElementsComeLastUnderTheirParent) {
    Open("<DATA key='a'/><CLASS key='A'/><DATA key='b'/>");
    EXPECT_EQ(m_cfg.WriteClass(_T(""), Class("B")), 1);
    EXPECT_EQ(m_cfg.WriteData(_T(""), Data("c")), 1);
    EXPECT_EQ(Utf8(m_cfg.GetXmlFile().GetDoc()),
              std::string(DECLARATION) +
                  "<CONFIG><DATA key='a'/><CLASS key='A'/><DATA key='b'/><CLASS key=\"B\" text=\"\" extend=\"\"/>\r\n"
                  "<DATA key=\"c\" text=\"\" value=\"\" type=\"\" default=\"\" range=\"\" dict=\"\" "
                  "extend=\"\"/>\r\n</CONFIG>\r\n");
}

TEST_F(XmlCfg, WritingFailures) {
    Open("<DATA key='d'/>");
    const std::string before = ReadBytes(m_path);
    for (const char* key : {"", ".", ".."}) {
        EXPECT_EQ(m_cfg.WriteClass(_T(""), Class(key)), 0);
        EXPECT_EQ(m_cfg.Error(), "分类主键为空");
        EXPECT_EQ(m_cfg.WriteData(_T(""), Data(key)), 0);
        EXPECT_EQ(m_cfg.Error(), "数据主键为空");
    }
    EXPECT_EQ(m_cfg.WriteClass(_T("none"), Class("A")), 0);
    EXPECT_EQ(m_cfg.Error(), "父分类不存在");
    EXPECT_EQ(m_cfg.WriteData(_T("none"), Data("A")), 0);
    EXPECT_EQ(m_cfg.Error(), "父分类不存在");
    EXPECT_EQ(m_cfg.WriteData(_T("d"), Data("A")), 0);
    EXPECT_EQ(m_cfg.Error(), "父分类不存在");
    EXPECT_EQ(ReadBytes(m_path), before);
}

TEST_F(XmlCfg, AChainOfClassesIsMadeLevelByLevel) {
    Open("");
    EXPECT_EQ(m_cfg.WriteRecurseClass(_T("A.B.C"), _T("ta.tb.tc"), _T("ea.eb.ec")), 1) << m_cfg.Error();
    EXPECT_EQ(Classes(_T("")), Rows{"A|ta|ea"});
    EXPECT_EQ(Classes(_T("A")), Rows{"B|tb|eb"});
    EXPECT_EQ(Classes(_T("A.B")), Rows{"C|tc|ec"});
    EXPECT_EQ(m_cfg.WriteRecurseClass(_T("A.X"), _T("new.tx"), _T("new.ex")), 1) << m_cfg.Error();
    EXPECT_EQ(Classes(_T("")), Rows{"A|new|new"});
    EXPECT_EQ(Classes(_T("A")), (Rows{"B|tb|eb", "X|tx|ex"}));
    CFXmlCfg again;
    EXPECT_EQ(again.Open(m_path, 0), 1);
    CFXmlCfg::SClassMember member;
    EXPECT_EQ(again.ReadClass(_T("A.B.C"), member), 1);
    EXPECT_EQ(Text(member), "C|tc|ec");
}

TEST_F(XmlCfg, AChainAddsAfterTheLastClassOfItsLevel) {
    Open("<CLASS key='A'/><DATA key='d'/>");
    EXPECT_EQ(m_cfg.WriteRecurseClass(_T("B"), _T("t"), _T("e")), 1);
    EXPECT_EQ(Utf8(m_cfg.GetXmlFile().GetDoc()),
              std::string(DECLARATION) +
                  "<CONFIG><CLASS key='A'/><CLASS key=\"B\" text=\"t\" extend=\"e\"/>\r\n<DATA key='d'/></CONFIG>\r\n");
}

TEST_F(XmlCfg, AChainNeedsAsManyTextsAsKeys) {
    Open("");
    const std::string before = ReadBytes(m_path);
    EXPECT_EQ(m_cfg.WriteRecurseClass(_T("A.B"), _T("t"), _T("e.f")), 0);
    EXPECT_EQ(m_cfg.Error(), "参数长度不一致");
    EXPECT_EQ(m_cfg.WriteRecurseClass(_T("A.B"), _T("t.u"), _T("e")), 0);
    EXPECT_EQ(m_cfg.Error(), "参数长度不一致");
    EXPECT_EQ(m_cfg.WriteRecurseClass(_T("A.B"), _T("t..u"), _T("e.")), 0);
    EXPECT_EQ(m_cfg.Error(), "参数长度不一致");
    EXPECT_EQ(ReadBytes(m_path), before);
}

TEST_F(XmlCfg, SingleAttributesAreSet) {
    Open("<CLASS key='A' text='old' extend='kept'><DATA key='d' value='old' text='kept'/></CLASS>");
    EXPECT_EQ(m_cfg.WriteClassText(_T("A"), _T("new")), 1);
    EXPECT_EQ(m_cfg.WriteDataValue(_T("A.d"), _T("5")), 1);
    EXPECT_EQ(Classes(_T("")), Rows{"A|new|kept"});
    EXPECT_EQ(Items(_T("A")), Rows{"d|kept|5|||||"});
    CFXmlCfg again;
    EXPECT_EQ(again.Open(m_path, 0), 1);
    CFXmlCfg::SDataMember member;
    EXPECT_EQ(again.ReadData(_T("A.d"), member), 1);
    EXPECT_EQ(Utf8(member.strValue), "5");
}

TEST_F(XmlCfg, SingleAttributeFailuresHaveTheTextsOfClasses) {
    Open("<CLASS key='A'/>");
    for (const LPCWSTR path : {_T(""), _T("..")}) {
        EXPECT_EQ(m_cfg.WriteClassText(path, _T("x")), 0);
        EXPECT_EQ(m_cfg.Error(), "节点路径不能为空");
        EXPECT_EQ(m_cfg.WriteDataValue(path, _T("x")), 0);
        EXPECT_EQ(m_cfg.Error(), "节点路径不能为空");
    }
    EXPECT_EQ(m_cfg.WriteClassText(_T("B"), _T("x")), 0);
    EXPECT_EQ(m_cfg.Error(), "分类不存在");
    EXPECT_EQ(m_cfg.WriteDataValue(_T("A"), _T("x")), 0);
    EXPECT_EQ(m_cfg.Error(), "分类不存在");
}

TEST_F(XmlCfg, AClassThatHoldsAnythingIsDeletedByForceOnly) {
    Open(
        "<CLASS key='A'><DATA key='d'/></CLASS><CLASS key='B'><CLASS key='C'/></CLASS><CLASS key='E'>text<!-- c "
        "--></CLASS>");
    for (const LPCWSTR path : {_T("A"), _T("B")}) {
        EXPECT_EQ(m_cfg.DeleteClass(path, 0), 0);
        EXPECT_EQ(m_cfg.Error(), "分类下有数据");
    }
    EXPECT_EQ(m_cfg.DeleteClass(_T("E"), 0), 1);
    EXPECT_EQ(m_cfg.DeleteClass(_T("B.C"), 0), 1);
    EXPECT_EQ(m_cfg.DeleteClass(_T("B"), 0), 1);
    EXPECT_EQ(m_cfg.DeleteClass(_T("A"), 1), 1);
    EXPECT_EQ(ReadBytes(m_path), std::string(DECLARATION) + "<CONFIG></CONFIG>\r\n");
}

TEST_F(XmlCfg, ADataItemIsDeleted) {
    Open("<CLASS key='A'><DATA key='d'/><DATA key='e'/></CLASS>");
    EXPECT_EQ(m_cfg.DeleteData(_T("A.d")), 1);
    EXPECT_EQ(ReadBytes(m_path),
              std::string(DECLARATION) + "<CONFIG><CLASS key='A'><DATA key='e'/></CLASS></CONFIG>\r\n");
}

TEST_F(XmlCfg, DeletionFailures) {
    Open("<CLASS key='A'/>");
    for (const LPCWSTR path : {_T(""), _T("..")}) {
        EXPECT_EQ(m_cfg.DeleteClass(path, 1), 0);
        EXPECT_EQ(m_cfg.Error(), "节点路径不能为空");
        EXPECT_EQ(m_cfg.DeleteData(path), 0);
        EXPECT_EQ(m_cfg.Error(), "节点路径不能为空");
    }
    EXPECT_EQ(m_cfg.DeleteClass(_T("B"), 1), 0);
    EXPECT_EQ(m_cfg.Error(), "无法定位分类");
    EXPECT_EQ(m_cfg.WriteClassText(_T(""), _T("x")), 0);
    EXPECT_EQ(m_cfg.DeleteData(_T("A")), 0);
    EXPECT_EQ(m_cfg.Error(), "无法定位分类");
}

TEST_F(XmlCfg, LevelTagsAreWrittenAndNeededToFindTheClassAgain) {
    Open("");
    CFXmlCfg::SConst names;
    names.bLevelClassTag = 1;
    m_cfg.SetConst(names);
    EXPECT_EQ(m_cfg.WriteClass(_T(""), Class("A")), 1);
    EXPECT_EQ(m_cfg.WriteClass(_T("A"), Class("B")), 1);
    EXPECT_EQ(m_cfg.WriteRecurseClass(_T("A.B.C"), _T("1.2.3"), _T("1.2.3")), 1);
    EXPECT_EQ(m_cfg.WriteData(_T("A.B.C"), Data("d", "v")), 1);
    EXPECT_EQ(ReadBytes(m_path),
              std::string(DECLARATION) +
                  "<CONFIG><CLASS key=\"A\" text=\"1\" extend=\"1\">\r\n<CLASS_2 key=\"B\" text=\"2\" extend=\"2\">\r\n"
                  "<CLASS_3 key=\"C\" text=\"3\" extend=\"3\">\r\n<DATA key=\"d\" text=\"\" value=\"v\" type=\"\" "
                  "default=\"\" "
                  "range=\"\" dict=\"\" extend=\"\"/>\r\n</CLASS_3>\r\n</CLASS_2>\r\n</CLASS>\r\n</CONFIG>\r\n");
    EXPECT_EQ(Classes(_T("A.B")), Rows{"C|3|3"});
    m_cfg.SetConst(CFXmlCfg::SConst());
    CFXmlCfg::SClassMember member;
    EXPECT_EQ(m_cfg.ReadClass(_T("A"), member), 1);
    EXPECT_EQ(m_cfg.ReadClass(_T("A.B"), member), 0);
    EXPECT_EQ(m_cfg.Error(), "无法定位分类");
}

TEST_F(XmlCfg, OtherNamesAndSeparators) {
    CFXmlCfg::SConst names;
    names.strRootTag = _T("SETTINGS");
    names.strClassTag = _T("Group");
    names.strDataTag = _T("Item");
    names.strKeyAttr = _T("id");
    names.strPathSign = _T("::");
    m_cfg.SetConst(names);
    EXPECT_EQ(m_cfg.Open(m_path, 1), 1) << m_cfg.Error();
    EXPECT_EQ(m_cfg.WriteRecurseClass(_T("A.1::B"), _T("t::u"), _T("e::f")), 1) << m_cfg.Error();
    EXPECT_EQ(m_cfg.WriteData(_T("A.1::B"), Data("d", "v")), 1) << m_cfg.Error();
    EXPECT_EQ(Utf8(m_cfg.GetConst().strPathSign), "::");
    EXPECT_EQ(ReadBytes(m_path),
              std::string(DECLARATION) +
                  "<SETTINGS>\r\n<Group id=\"A.1\" text=\"t\" extend=\"e\">\r\n<Group id=\"B\" "
                  "text=\"u\" extend=\"f\">\r\n<Item id=\"d\" text=\"\" value=\"v\" type=\"\" default=\"\" "
                  "range=\"\" dict=\"\" extend=\"\"/>\r\n</Group>\r\n</Group>\r\n</SETTINGS>\r\n");
}

TEST_F(XmlCfg, AnEmptySeparatorSeparatesNothing) {
    Open("<CLASS key='A.B' text='t'/>");
    CFXmlCfg::SConst names;
    names.strPathSign = _T("");
    m_cfg.SetConst(names);
    CFXmlCfg::SClassMember member;
    EXPECT_EQ(m_cfg.ReadClass(_T("A.B"), member), 1);
    EXPECT_EQ(Text(member), "A.B|t|");
}

TEST_F(XmlCfg, AnotherRootOpensAndHoldsNothing) {
    WriteBytes(m_path, "<OTHER><CLASS key='A'/></OTHER>");
    EXPECT_EQ(m_cfg.Open(m_path, 0), 1);
    CFXmlCfg::SClassMember member;
    EXPECT_EQ(m_cfg.ReadClass(_T("A"), member), 0);
    EXPECT_EQ(m_cfg.Error(), "无法定位分类");
    ClassArray arr;
    EXPECT_EQ(m_cfg.ReadChildClass(_T(""), arr), 0);
    EXPECT_EQ(m_cfg.Error(), "无法定位分类");
    EXPECT_EQ(m_cfg.WriteClass(_T(""), Class("B")), 0);
    EXPECT_EQ(m_cfg.Error(), "父分类不存在");
}

TEST_F(XmlCfg, BeforeAnythingIsOpenEveryLookupFails) {
    CFXmlCfg::SDataMember member;
    EXPECT_EQ(m_cfg.ReadData(_T("A"), member), 0);
    EXPECT_EQ(m_cfg.Error(), "无法定位数据");
    EXPECT_EQ(m_cfg.FindNodeByPath(_T(""), 0), 0);
    EXPECT_EQ(m_cfg.Save(), 0);
}

TEST_F(XmlCfg, FindingLeavesTheCursorOnTheNodeOrTheDeepestOneFound) {
    Open("<CLASS key='A'><CLASS key='B'/><DATA key='d' text='x'/></CLASS>");
    EXPECT_EQ(m_cfg.FindNodeByPath(_T(""), 1), 1);
    EXPECT_EQ(Utf8(m_cfg.Document().GetTagName()), "CONFIG");
    EXPECT_EQ(m_cfg.FindNodeByPath(_T("A.d"), 1), 1);
    EXPECT_EQ(Utf8(m_cfg.Document().GetTagName()), "DATA");
    EXPECT_EQ(m_cfg.FindNodeByPath(_T("A.B"), 0), 1);
    EXPECT_EQ(Utf8(m_cfg.Document().GetAttrib(_T("key"))), "B");
    EXPECT_EQ(m_cfg.FindNodeByPath(_T("A.X.Y"), 0), 0);
    EXPECT_EQ(Utf8(m_cfg.Document().GetAttrib(_T("key"))), "A");
    EXPECT_EQ(m_cfg.FindNodeByPath(_T("A.B"), 1), 0);
    CFXmlFile other(_T("<CONFIG><CLASS key='Z'/></CONFIG>"));
    EXPECT_EQ(m_cfg.FindXmlNodeByPath(other, _T("Z"), 0), 1);
    EXPECT_EQ(Utf8(other.GetAttrib(_T("key"))), "Z");
}

TEST_F(XmlCfg, TheChildSearchGoesOnFromTheChildPosition) {
    CFXmlFile doc(_T("<r><DATA key='a' n='1'/><DATA key='a' n='2'/><DATA key='A' n='3'/></r>"));
    ASSERT_TRUE(doc.FindElem());
    EXPECT_EQ(m_cfg.FindXmlChildNode(doc, _T("DATA"), _T("a"), 0), 1);
    EXPECT_EQ(Utf8(doc.GetChildAttrib(_T("n"))), "1");
    EXPECT_EQ(m_cfg.FindXmlChildNode(doc, _T("DATA"), _T("a"), 99), 1);
    EXPECT_EQ(Utf8(doc.GetChildAttrib(_T("n"))), "2");
    EXPECT_EQ(m_cfg.FindXmlChildNode(doc, _T("DATA"), _T("a"), 0), 0);
}

TEST_F(XmlCfg, FreeTextsSurviveWriteSaveLoadAndRead) {
    const char* texts[] = {"\"quoted\" 'single'",
                           "<a href='x'>&amp; & &lt; </a> ]]> <!-- -->",
                           "line\r\nbreak\nlone\rtab\t",
                           "中文，标点。",
                           "emoji 😀👩‍👩‍👧 𠮷",
                           " leading and trailing ",
                           "=/?>",
                           "\xEF\xBB\xBFmark inside",
                           "\x7F \xC2\x85 \xE2\x80\xA8"};
    Open("");
    int row = 0;
    for (const char* text : texts) {
        CFXmlCfg::SDataMember member;
        member.strKey = Wide(text);
        member.strKey.Replace(_T("."), _T("_"));
        for (CString* field : {&member.strText, &member.strValue, &member.strType, &member.strDefault, &member.strRange,
                               &member.strDict, &member.strExtend}) {
            *field = Wide(text);
        }
        ASSERT_EQ(m_cfg.WriteData(_T(""), member), 1) << m_cfg.Error();
        ASSERT_EQ(m_cfg.WriteClass(_T(""), {member.strKey, Wide(text), Wide(text)}), 1) << m_cfg.Error();
        ++row;
        CFXmlCfg again;
        ASSERT_EQ(again.Open(m_path, 0), 1) << Utf8(again.GetXmlFile().GetError());
        CFXmlCfg::SDataMember read;
        ASSERT_EQ(again.ReadData(member.strKey, read), 1) << row;
        EXPECT_EQ(Text(read), Text(member));
        CFXmlCfg::SClassMember readClass;
        ASSERT_EQ(again.ReadClass(member.strKey, readClass), 1) << row;
        EXPECT_EQ(Utf8(readClass.strText), text);
    }
    EXPECT_EQ(m_cfg.WriteData(_T(""), Data("\"quoted\" 'single'", "again")), 1);
    EXPECT_EQ(Items(_T("")).size(), std::size(texts));
}

TEST_F(XmlCfg, ControlCharactersNeverSpoilTheFile) {
    Open("");
    for (int c = 1; c < 0x20; ++c) {
        const CString text = CString(_T("a")) + static_cast<WCHAR>(c) + _T("b");
        CFXmlCfg::SDataMember member;
        member.strKey.Format(_T("k%d"), c);
        member.strValue = text;
        ASSERT_EQ(m_cfg.WriteData(_T(""), member), 1) << c;
        member.strKey = text;
        ASSERT_EQ(m_cfg.WriteData(_T(""), member), 1) << c;
        CFXmlCfg again;
        ASSERT_EQ(again.Open(m_path, 0), 1) << c << ": " << Utf8(again.GetXmlFile().GetError());
        CFXmlCfg::SDataMember read;
        ASSERT_EQ(again.ReadData(text, read), 1) << c;
        EXPECT_EQ(Utf8(read.strValue), Utf8(text)) << c;
    }
}

TEST_F(XmlCfg, ATextEndsAtItsFirstNul) {
    Open("");
    CFXmlCfg::SDataMember member;
    member.strKey = CString(_T("key\0rest"), 8);
    member.strValue = CString(_T("a\0b"), 3);
    ASSERT_EQ(m_cfg.WriteData(_T(""), member), 1) << m_cfg.Error();
    CFXmlCfg again;
    ASSERT_EQ(again.Open(m_path, 0), 1) << Utf8(again.GetXmlFile().GetError());
    CFXmlCfg::SDataMember read;
    ASSERT_EQ(again.ReadData(_T("key"), read), 1);
    EXPECT_EQ(Utf8(read.strValue), "a");
}

TEST_F(XmlCfg, ALoneSurrogateIsSavedAsTheReplacementCharacter) {
    Open("");
    CFXmlCfg::SDataMember member;
    member.strKey = _T("k");
    member.strValue = CString(WCHAR{0xD83D}) + _T("x");
    ASSERT_EQ(m_cfg.WriteData(_T(""), member), 1);
    CFXmlCfg again;
    ASSERT_EQ(again.Open(m_path, 0), 1) << Utf8(again.GetXmlFile().GetError());
    CFXmlCfg::SDataMember read;
    ASSERT_EQ(again.ReadData(_T("k"), read), 1);
    EXPECT_EQ(Utf8(read.strValue), "\xEF\xBF\xBDx");
}

TEST_F(XmlCfg, KeysWithTheSeparatorCannotBeAddressed) {
    Open("");
    EXPECT_EQ(m_cfg.WriteClass(_T(""), Class("V11.0", "t")), 1);
    CFXmlCfg::SClassMember member;
    EXPECT_EQ(m_cfg.ReadClass(_T("V11.0"), member), 0);
    EXPECT_EQ(Classes(_T("")), Rows{"V11.0|t|"});
}

TEST_F(XmlCfg, BlankFieldsAreFilledAndOthersKept) {
    CFXmlCfg::SClassMember c = Class("k", "", "mine");
    EXPECT_EQ(m_cfg.CopyClassBlank(c, Class("other", "theirs", "theirs")), 1);
    EXPECT_EQ(Text(c), "k|theirs|mine");
    EXPECT_EQ(m_cfg.CopyClassBlank(c, Class("other", "theirs", "theirs")), 0);
    c = Class("", "", "");
    EXPECT_EQ(m_cfg.CopyClassBlank(c, Class("key", "", "")), 0);
    EXPECT_EQ(Text(c), "||");

    const CFXmlCfg::SDataMember full = {_T("o"), _T("1"), _T("2"), _T("3"), _T("4"), _T("5"), _T("6"), _T("7")};
    CFXmlCfg::SDataMember d = Data("k");
    EXPECT_EQ(m_cfg.CopyDataBlank(d, full), 1);
    EXPECT_EQ(Text(d), "k|1|2|3|4|5|6|7");
    EXPECT_EQ(m_cfg.CopyDataBlank(d, full), 0);
    CString CFXmlCfg::SDataMember::*const fields[] = {
        &CFXmlCfg::SDataMember::strText,    &CFXmlCfg::SDataMember::strValue, &CFXmlCfg::SDataMember::strType,
        &CFXmlCfg::SDataMember::strDefault, &CFXmlCfg::SDataMember::strRange, &CFXmlCfg::SDataMember::strDict,
        &CFXmlCfg::SDataMember::strExtend};
    for (const auto field : fields) {
        d = full;
        d.*field = _T("");
        EXPECT_EQ(m_cfg.CopyDataBlank(d, full), 1);
        EXPECT_EQ(Text(d), Text(full));
        d.*field = _T("mine");
        EXPECT_EQ(m_cfg.CopyDataBlank(d, full), 0);
    }
}

TEST_F(XmlCfg, RecordsAreFoundByKeyIgnoringCase) {
    ClassArray classes;
    classes.Add(Class("Alpha"));
    classes.Add(Class("бета"));
    classes.Add(Class("ALPHA"));
    EXPECT_EQ(m_cfg.FindClassInArr(Class("alpha"), classes), 0);
    EXPECT_EQ(m_cfg.FindClassInArr(Class("БЕТА"), classes), 1);
    EXPECT_EQ(m_cfg.FindClassInArr(Class("x"), classes), -1);
    EXPECT_EQ(m_cfg.FindClassInArr(Class(""), classes), -1);
    DataArray items;
    items.Add(Data("One"));
    EXPECT_EQ(m_cfg.FindDataInArr(Data("oNE"), items), 0);
    EXPECT_EQ(m_cfg.FindDataInArr(Data("two"), items), -1);
}

TEST_F(XmlCfg, WalkingADocumentComesBackToWhereItBegan) {
    CFXmlFile doc(_T("<r><a k='1'><b/><c><d/></c></a><e/></r>"));
    m_cfg.RecurseXmlNode(doc, _T(""), _T(""));
    EXPECT_EQ(Utf8(doc.GetTagName()), "r");
    CString deep;
    for (int i = 0; i < 100000; ++i) {
        deep += _T("<a>");
    }
    for (int i = 0; i < 100000; ++i) {
        deep += _T("</a>");
    }
    doc.SetDoc(deep);
    m_cfg.RecurseXmlNode(doc, _T(""), _T(""));
    EXPECT_EQ(Utf8(doc.GetTagName()), "a");
    CFXmlFile none;
    m_cfg.RecurseXmlNode(none, _T(""), _T(""));
}

TEST_F(XmlCfg, ArraysOfRecordsSerialiseFieldByField) {
    CMemFile file;
    {
        CArchive out(&file, CArchive::store);
        ClassArray classes;
        classes.Add(Class("k", "文", "e"));
        classes.Serialize(out);
        DataArray items;
        items.Add({_T("0"), _T("1"), _T("2"), _T("3"), _T("4"), _T("5"), _T("6"), _T("7")});
        items.Add(Data("x", "y"));
        items.Serialize(out);
        out.Close();
    }
    file.SeekToBegin();
    unsigned char head[6];
    ASSERT_EQ(file.Read(head, sizeof head), sizeof head);
    EXPECT_EQ(head[0] + head[1] * 256, 1);
    EXPECT_EQ(head[2], 0xFF);  // a wide text follows the count
    file.SeekToBegin();
    CArchive in(&file, CArchive::load);
    ClassArray classes;
    classes.Serialize(in);
    DataArray items;
    items.Serialize(in);
    EXPECT_EQ(Texts(classes), Rows{"k|文|e"});
    EXPECT_EQ(Texts(items), (Rows{"0|1|2|3|4|5|6|7", "x||y|||||"}));
}
