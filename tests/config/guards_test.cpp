// No exception leaves the stores: memory that runs out at any place gives the operation's own text, and the files and
// the object stay usable.

#include <functional>
#include <set>

#include "kvtfile/IniFile.h"
#include "kvtfile/XmlCfg.h"
#include "tests/config/failing_new.h"
#include "tests/config/installed.h"

using kvtfile::CFXmlCfg;
using kvtfile::CIniFile;
using kvttest::ReadBytes;
using kvttest::TestFolder;
using kvttest::Utf8;
using kvttest::WriteBytes;

namespace {

class Cfg : public CFXmlCfg {
public:
    using CFXmlCfg::SetItemByotherNodeClass;
    void ClearError() { m_strLastError.Empty(); }
};

const char DOCUMENT[] =
    "<CONFIG><CLASS key='A' text='t' extend='e'><CLASS key='B'/><DATA key='d' value='v'/></CLASS></CONFIG>";

/// Runs an operation with the first, second, ... allocation failing until none fails; returns the texts it left.
std::set<std::string> Sweep(const std::function<int(Cfg&)>& operation) {
    TestFolder folder;
    const CString path = folder.Path(_T("a.xml"));
    std::set<std::string> texts;
    for (int after = 0; after < 20000; after += 1 + after / 8) {
        WriteBytes(path, DOCUMENT);
        Cfg cfg;
        EXPECT_EQ(cfg.Open(path, 0), 1);
        cfg.ClearError();
        kvttest::FailAllocation(after);
        const int result = operation(cfg);
        const bool failed = kvttest::AllocationFailed();
        kvttest::FailAllocation(-1);
        if (!failed) {
            EXPECT_EQ(result, 1);
            return texts;
        }
        if (result == 0) {
            texts.insert(Utf8(cfg.GetLastError()));
        }
        // The file is whole: what it was, or the whole of what it was to become.
        Cfg again;
        EXPECT_EQ(again.Open(path, 0), 1) << ReadBytes(path);
        CFXmlCfg::SDataMember member;
        cfg.FindNodeByPath(_T("A.d"), 1);
    }
    ADD_FAILURE() << "allocations without end";
    return texts;
}

CFXmlCfg::SDataMember Data() {
    return {_T("k"), _T("1"), _T("2"), _T("3"), _T("4"), _T("5"), _T("6"), _T("7")};
}

}  // namespace

TEST(XmlCfgGuard, EveryOperationNamesItselfAndItsArguments) {
    using ClassArray = CArray<CFXmlCfg::SClassMember, CFXmlCfg::SClassMember>;
    using DataArray = CArray<CFXmlCfg::SDataMember, CFXmlCfg::SDataMember>;
    const struct {
        const char* text;
        std::function<int(Cfg&)> operation;
    } rows[] = {
        {"调用ReadClass函数出错\r\nstrNodePath=A.B",
         [](Cfg& cfg) {
             CFXmlCfg::SClassMember member;
             return cfg.ReadClass(_T("A.B"), member);
         }},
        {"调用ReadChildClass函数出错\r\nstrNodePath=A",
         [](Cfg& cfg) {
             ClassArray arr;
             return cfg.ReadChildClass(_T("A"), arr);
         }},
        {"调用ReadData函数出错\r\nstrNodePath=A.d",
         [](Cfg& cfg) {
             CFXmlCfg::SDataMember member;
             return cfg.ReadData(_T("A.d"), member);
         }},
        {"调用ReadChildData函数出错\r\nstrNodePath=A",
         [](Cfg& cfg) {
             DataArray arr;
             return cfg.ReadChildData(_T("A"), arr);
         }},
        {"调用WriteClass函数出错\r\nstrParentNodePath=A strKey=k strText=t strExtend=e",
         [](Cfg& cfg) {
             return cfg.WriteClass(_T("A"), {_T("k"), _T("t"), _T("e")});
         }},
        {"调用WriteRecurseClass函数出错\r\nstrNodePath=A.x strNodeTextPath=t.u strNodeExtendPath=e.f",
         [](Cfg& cfg) { return cfg.WriteRecurseClass(_T("A.x"), _T("t.u"), _T("e.f")); }},
        {"调用WriteClassText函数出错\r\nstrNodePath=A strText=n",
         [](Cfg& cfg) { return cfg.WriteClassText(_T("A"), _T("n")); }},
        {"调用WriteData函数出错\r\nstrParentNodePath=A strKey=k strText=1 strValue=2 strType=3 strDefault=4 strRange=5 "
         "strDict=6 strExtend=7",
         [](Cfg& cfg) { return cfg.WriteData(_T("A"), Data()); }},
        {"调用WriteDataValue函数出错\r\nstrNodePath=A.d strValue=n",
         [](Cfg& cfg) { return cfg.WriteDataValue(_T("A.d"), _T("n")); }},
        {"调用DeleteClass函数出错\r\nstrNodePath=A", [](Cfg& cfg) { return cfg.DeleteClass(_T("A"), 1); }},
        {"调用DeleteData函数出错\r\nstrNodePath=A.d", [](Cfg& cfg) { return cfg.DeleteData(_T("A.d")); }},
        {"调用FindXmlNodeByPath函数出错\r\nstrNodePath=A.d", [](Cfg& cfg) { return cfg.FindNodeByPath(_T("A.d"), 1); }},
    };
    for (const auto& row : rows) {
        const std::set<std::string> texts = Sweep(row.operation);
        EXPECT_EQ(texts.count(row.text), 1u) << row.text;
    }
}

TEST(XmlCfgGuard, OpeningAndMergingLetNothingOut) {
    const kvttest::InstalledFolder product;
    const CString installed = product.Installed(_T("a.xml"));
    bool done = false;
    for (int after = 0; after < 5000 && !done; after += 1 + after / 8) {
        product.Install(_T("a.xml"), "<CONFIG><DATA key='d' value='1'/></CONFIG>", 1600000000);
        kvttest::RemoveTree(product.Working(_T("a.xml")));
        { EXPECT_EQ(Cfg().Open(installed, 0), 1); }
        product.Install(_T("a.xml"), "<CONFIG><CLASS key='A'><DATA key='n' value='2'/></CLASS></CONFIG>",
                        1600000100 + after);
        {
            Cfg cfg;
            kvttest::FailAllocation(after);
            const int opened = cfg.Open(installed, 1);
            done = !kvttest::AllocationFailed();
            kvttest::FailAllocation(-1);
            // A file that did not open is not saved; a merge that failed does not close one.
            EXPECT_EQ(cfg.Save(), opened) << after;
        }
        Cfg again;
        ASSERT_EQ(again.Open(installed, 0), 1) << ReadBytes(product.Working(_T("a.xml")));
        CFXmlCfg::SDataMember member;
        ASSERT_EQ(again.ReadData(_T("d"), member), 1);
        // What was not merged then is merged now.
        EXPECT_EQ(again.ReadData(_T("A.n"), member), 1) << after;
        EXPECT_EQ(Utf8(member.strValue), "2") << after;
    }
    EXPECT_TRUE(done);
}

TEST(XmlCfgGuard, AMergeThatRunsOutOfMemoryNeverCostsWhatTheUserSet) {
    TestFolder folder;
    WriteBytes(folder.Path(_T("a.xml")),
               "<CONFIG><CLASS key='A'><DATA key='d' value='mine'/></CLASS><DATA key='d' value='mine'/></CONFIG>");
    WriteBytes(folder.Path(_T("b.xml")),
               "<CONFIG><CLASS key='A' text='t'><DATA key='d' value='2'/></CLASS><DATA key='d' value='2'/></CONFIG>");
    bool done = false;
    for (int after = 0; after < 5000 && !done; ++after) {
        Cfg cfg;
        Cfg other;
        ASSERT_EQ(cfg.Open(folder.Path(_T("a.xml")), 0), 1);
        ASSERT_EQ(other.Open(folder.Path(_T("b.xml")), 0), 1);
        cfg.SetImmediateSave(0);
        kvttest::FailAllocation(after);
        cfg.SetItemByotherNodeClass(&other, CString(), 0);
        done = !kvttest::AllocationFailed();
        kvttest::FailAllocation(-1);
        for (const LPCWSTR path : {_T("A.d"), _T("d")}) {
            CFXmlCfg::SDataMember member;
            EXPECT_EQ(cfg.ReadData(path, member), 1) << after;
            EXPECT_EQ(Utf8(member.strValue), "mine") << after;
        }
    }
    EXPECT_TRUE(done);
}

TEST(XmlCfgGuard, ALookUpThatRunsOutOfMemoryIsNotTakenForAMissingNode) {
    const std::function<int(Cfg&)> writes[] = {
        [](Cfg& cfg) {
            return cfg.WriteClass(_T("A"), {_T("B"), _T("t"), _T("e")});
        },
        [](Cfg& cfg) {
            return cfg.WriteData(_T("A"), {_T("d"), _T("1"), _T("2"), _T("3"), _T("4"), _T("5"), _T("6"), _T("7")});
        },
        [](Cfg& cfg) { return cfg.WriteRecurseClass(_T("A.B"), _T("t.u"), _T("e.f")); },
    };
    TestFolder folder;
    const CString path = folder.Path(_T("a.xml"));
    WriteBytes(path, DOCUMENT);
    for (const auto& write : writes) {
        bool done = false;
        for (int after = 0; after < 5000 && !done; ++after) {
            Cfg cfg;
            ASSERT_EQ(cfg.Open(path, 0), 1);
            cfg.SetImmediateSave(0);
            kvttest::FailAllocation(after);
            write(cfg);
            done = !kvttest::AllocationFailed();
            kvttest::FailAllocation(-1);
            const std::string text = Utf8(cfg.GetXmlFile().GetDoc());
            EXPECT_EQ(text.find("<CLASS", text.find("<CLASS", text.find("<CLASS") + 1) + 1), std::string::npos) << text;
            EXPECT_EQ(text.find("<DATA"), text.rfind("<DATA")) << text;
        }
        EXPECT_TRUE(done);
    }
}

TEST(IniGuard, MemoryThatRunsOutWhileReadingNeverCostsTheFile) {
    TestFolder folder;
    const CString path = folder.Path(_T("a.ini"));
    std::string bytes = "[S]\r\n";
    for (int i = 0; i < 40; ++i) {
        bytes += "n" + std::to_string(i) + "=" + std::to_string(i) + "\r\n";
    }
    bytes += "\r\n";
    WriteBytes(path, bytes);
    bool done = false;
    for (int after = 0; after < 20000 && !done; after += 1 + after / 8) {
        kvttest::FailAllocation(after);
        {
            CIniFile ini(path, true);
            ini.SetValue(_T("S"), _T("n0"), _T("0"), false);
            done = !kvttest::AllocationFailed();
        }
        kvttest::FailAllocation(-1);
        ASSERT_EQ(ReadBytes(path), bytes) << after;
    }
    EXPECT_TRUE(done);
}
