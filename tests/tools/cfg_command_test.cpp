// kvtfile cfg open, list, get, set, set-class, delete.

#include "tests/tools/command_fixture.h"

namespace kvttest {
namespace {

class CfgCommand : public CommandTest {
protected:
    static constexpr const char* kSettings =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n"
        "<CONFIG>\r\n"
        "<CLASS key=\"Display\" text=\"显示\" extend=\"\">\r\n"
        "<CLASS key=\"Colors\" text=\"\" extend=\"e\"></CLASS>\r\n"
        "<DATA key=\"Width\" text=\"Width\" value=\"800\" type=\"int\" default=\"640\" range=\"1-4096\" dict=\"d\""
        " extend=\"x\"/>\r\n"
        "</CLASS>\r\n"
        "<DATA key=\"Version\" text=\"\" value=\"a &quot;b&quot;\" type=\"\" default=\"\" range=\"\" dict=\"\""
        " extend=\"\"/>\r\n"
        "</CONFIG>\r\n";

    static std::string Replaced(const std::string& what, const std::string& by) {
        std::string text = kSettings;
        const size_t at = text.find(what);
        EXPECT_NE(at, std::string::npos) << what;
        return at == std::string::npos ? text : text.replace(at, what.size(), by);
    }
};

// ---- open

TEST_F(CfgCommand, OpenTellsWhichFileWasOpened) {
    Write(_T("s.xml"), kSettings);
    Expect({"cfg", "open", "s.xml"}, 0, "opened s.xml\n");
    ExpectJson({"cfg", "open", "s.xml", "--json"}, R"({"file":"s.xml","opened":"%DIR%\\s.xml",
        "redirected":false,"created":false,"added":0,"filled":0})");
    EXPECT_EQ(Read(_T("s.xml")), kSettings);
}

TEST_F(CfgCommand, OpenCreatesAFileWhenAsked) {
    Expect({"cfg", "open", "s.xml"}, 3, "",
           "kvtfile: s.xml: there is no such file (文件不存在)\n"
           "  Look at the path, or make a new file with 'kvtfile cfg open --create'.\n");
    Expect({"cfg", "open", "s.xml", "--create"}, 0, "opened s.xml\n  made now\n");
    EXPECT_EQ(Read(_T("s.xml")), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<CONFIG/>\r\n");
}

TEST_F(CfgCommand, OpenNamesThePlaceOfAnError) {
    Write(_T("s.xml"), "<CONFIG>\n<DATA>\n</CONFIG>");
    Expect({"cfg", "open", "s.xml"}, 3, "",
           "kvtfile: s.xml: line 3, column 1 (offset 16): End tag 'CONFIG' at offset 15 does not match start tag "
           "'DATA' at offset 9\n  Correct the document there; 'kvtfile xml tree' shows how it was read.\n");
}

TEST_F(CfgCommand, AnotherDocumentIsNoSettingsFile) {
    const char* document = "<plan><title>a</title></plan>";
    Write(_T("p.xml"), document);
    const std::string error =
        "kvtfile: p.xml: no settings file: the root element is 'plan', not 'CONFIG'\n"
        "  Name a settings file; 'kvtfile xml' works on any XML document.\n";
    Expect({"cfg", "list", "p.xml"}, 3, "", error);
    Expect({"cfg", "get", "p.xml", "A"}, 3, "", error);
    Expect({"cfg", "set", "p.xml", "A", "1", "--create"}, 3, "", error);
    Expect({"cfg", "set-class", "p.xml", "A", "--create"}, 3, "", error);
    Expect({"cfg", "delete", "p.xml", "A"}, 3, "", error);
    EXPECT_EQ(Read(_T("p.xml")), document);
}

// ---- list and get

TEST_F(CfgCommand, ListShowsClassesAndDataUnderAPath) {
    Write(_T("s.xml"), kSettings);
    Expect({"cfg", "list", "s.xml"}, 0, "[Display] \"显示\"\nVersion = \"a \\\"b\\\"\"\n");
    Expect({"cfg", "list", "s.xml", "Display"}, 0, "[Display.Colors]\nDisplay.Width = \"800\"\n");
    Expect({"cfg", "list", "s.xml", "--recursive"}, 0,
           "[Display] \"显示\"\n[Display.Colors]\nDisplay.Width = \"800\"\nVersion = \"a \\\"b\\\"\"\n");
    ExpectJson({"cfg", "list", "s.xml", "Display", "--json"}, R"({"file":"s.xml","items":[
        {"kind":"class","path":"Display.Colors","key":"Colors","text":"","extend":"e"},
        {"kind":"data","path":"Display.Width","key":"Width","text":"Width","value":"800","type":"int","default":"640",
         "range":"1-4096","dict":"d","extend":"x"}]})");
}

TEST_F(CfgCommand, ListOfAMissingClassIsNotFound) {
    Write(_T("s.xml"), kSettings);
    Expect({"cfg", "list", "s.xml", "Printer"}, 1, "",
           "kvtfile: s.xml: no class 'Printer' (无法定位分类)\n"
           "  'kvtfile cfg list --recursive' lists what there is.\n");
}

TEST_F(CfgCommand, ListEntersOnlyTheFirstOfEqualKeys) {
    std::string bytes = "<CONFIG>";
    for (int i = 0; i < 40; ++i) {
        bytes += "<CLASS key='A'>";
    }
    for (int i = 0; i < 40; ++i) {
        bytes += "</CLASS><CLASS key='A'/><CLASS/>";
    }
    Write(_T("s.xml"), bytes + "</CONFIG>");
    const ProcessResult result = Run({"cfg", "list", "s.xml", "--recursive", "--json"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    const Json listed = Json::parse(result.out, nullptr, false);
    ASSERT_TRUE(listed.contains("items"));
    EXPECT_EQ(listed["items"].size(), 120u);
}

TEST_F(CfgCommand, GetPrintsAFieldOfADataItemOrAClass) {
    Write(_T("s.xml"), kSettings);
    Expect({"cfg", "get", "s.xml", "Display.Width"}, 0, "800\n");
    Expect({"cfg", "get", "s.xml", "Version"}, 0, "a \"b\"\n");
    Expect({"cfg", "get", "s.xml", "Display.Width", "--field", "range"}, 0, "1-4096\n");
    Expect({"cfg", "get", "s.xml", "Display", "--class"}, 0, "显示\n");
    Expect({"cfg", "get", "s.xml", "Display.Colors", "--class", "--field", "extend"}, 0, "e\n");
    ExpectJson({"cfg", "get", "s.xml", "Display", "--class", "--json"},
               R"({"file":"s.xml","kind":"class","path":"Display","key":"Display","text":"显示","extend":""})");
}

TEST_F(CfgCommand, GetOfWhatIsNotThereIsNotFound) {
    Write(_T("s.xml"), kSettings);
    Expect({"cfg", "get", "s.xml", "Display.Height"}, 1, "",
           "kvtfile: s.xml: no data item 'Display.Height' (无法定位数据)\n"
           "  'kvtfile cfg list --recursive' lists what there is.\n");
    Expect({"cfg", "get", "s.xml", "Display.Width", "--class"}, 1, "",
           "kvtfile: s.xml: no class 'Display.Width' (无法定位分类)\n"
           "  'kvtfile cfg list --recursive' lists what there is.\n");
    Expect({"cfg", "get", "s.xml", "Display", "--class", "--field", "range"}, 2, "",
           "kvtfile: a class has no field 'range'\n  A class has text and extend.\n");
}

// ---- set and set-class

TEST_F(CfgCommand, SetChangesTheFieldsGivenAndNoOtherByte) {
    Write(_T("s.xml"), kSettings);
    Expect({"cfg", "set", "s.xml", "Display.Width", "1024"}, 0, "s.xml: Display.Width set\n");
    EXPECT_EQ(Read(_T("s.xml")), Replaced("value=\"800\"", "value=\"1024\""));
    Write(_T("s.xml"), kSettings);
    Expect({"cfg", "set", "s.xml", "Display.Width", "--range", "", "--extend", "<中>"}, 0,
           "s.xml: Display.Width set\n");
    EXPECT_EQ(Read(_T("s.xml")),
              Replaced("range=\"1-4096\" dict=\"d\" extend=\"x\"", "range=\"\" dict=\"d\" extend=\"&lt;中&gt;\""));
}

TEST_F(CfgCommand, SetAddsAnItemWithItsClassesOnlyWhenAsked) {
    Write(_T("s.xml"), "<CONFIG/>");
    Expect({"cfg", "set", "s.xml", "A.B.C", "1"}, 1, "",
           "kvtfile: s.xml: no data item 'A.B.C'\n  Look at the path, or add --create to make the item.\n");
    EXPECT_EQ(Read(_T("s.xml")), "<CONFIG/>");
    Expect({"cfg", "set", "s.xml", "A.B.C", "1", "--type", "int", "--create"}, 0, "s.xml: A.B.C set\n");
    Expect({"cfg", "list", "s.xml", "--recursive"}, 0, "[A]\n[A.B]\nA.B.C = \"1\"\n");
    Expect({"cfg", "get", "s.xml", "A.B.C", "--field", "type"}, 0, "int\n");
}

TEST_F(CfgCommand, SetKeepsEveryCharacterThatXmlCanHold) {
    Write(_T("s.xml"), "<CONFIG/>");
    const std::string value = "a'\"<&>\n\t中😀";
    Expect({"cfg", "set", "s.xml", "K", value, "--create"}, 0, "s.xml: K set\n");
    Expect({"cfg", "get", "s.xml", "K"}, 0, value + "\n");
    Expect({"cfg", "set", "s.xml", "K", "\x02"}, 1, "",
           "kvtfile: the value holds U+0002, which XML cannot hold\n  Leave the character out.\n");
    Expect({"cfg", "get", "s.xml", "K"}, 0, value + "\n");
}

TEST_F(CfgCommand, SetWithoutAnythingToSetIsWrongUsage) {
    Write(_T("s.xml"), kSettings);
    Expect({"cfg", "set", "s.xml", "Display.Width"}, 2, "",
           "kvtfile: nothing to set\n  Give a VALUE, a field such as --text, or --create.\n");
    Expect({"cfg", "set", "s.xml", "..", "1"}, 2, "", "kvtfile: the path is empty\n  Write it as Class.Class.Item.\n");
}

TEST_F(CfgCommand, SetRefusesWhatTheFilesEncodingCannotHold) {
    const std::string bytes =
        "<?xml version=\"1.0\" encoding=\"GB2312\"?>\r\n<CONFIG><DATA key=\"K\" value=\"\xD6\xD0\"/></CONFIG>";
    Write(_T("s.xml"), bytes);
    const ProcessResult refused = Run({"cfg", "set", "s.xml", "K", "😀"});
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_NE(refused.err.find("the encoding GB2312 cannot hold U+1F600 '😀'; nothing was written"), std::string::npos)
        << refused.err;
    EXPECT_EQ(Read(_T("s.xml")), bytes);
}

TEST_F(CfgCommand, SetClassChangesAndAddsClasses) {
    Write(_T("s.xml"), kSettings);
    Expect({"cfg", "set-class", "s.xml", "Display.Colors", "--text", "Colours"}, 0, "s.xml: [Display.Colors] set\n");
    EXPECT_EQ(Read(_T("s.xml")), Replaced("key=\"Colors\" text=\"\"", "key=\"Colors\" text=\"Colours\""));
    Expect({"cfg", "set-class", "s.xml", "Display.Colors"}, 2, "",
           "kvtfile: nothing to set\n  Give --text, --extend or --create.\n");
    Expect({"cfg", "set-class", "s.xml", "Printer.Tray", "--text", "Trays"}, 1, "",
           "kvtfile: s.xml: no class 'Printer'\n  Add --create to add what is missing.\n");
    Expect({"cfg", "set-class", "s.xml", "Printer.Tray", "--text", "Trays", "--create"}, 0,
           "s.xml: [Printer.Tray] set\n");
    Expect({"cfg", "list", "s.xml", "Printer"}, 0, "[Printer.Tray] \"Trays\"\n");
}

// ---- delete

TEST_F(CfgCommand, DeleteRemovesADataItem) {
    Write(_T("s.xml"), kSettings);
    Expect({"cfg", "delete", "s.xml", "Version"}, 0, "s.xml: Version deleted\n");
    Expect({"cfg", "delete", "s.xml", "Version"}, 1, "",
           "kvtfile: s.xml: no data item 'Version' (无法定位数据)\n"
           "  'kvtfile cfg list --recursive' lists what there is.\n");
    Expect({"cfg", "list", "s.xml"}, 0, "[Display] \"显示\"\n");
}

TEST_F(CfgCommand, DeleteOfAClassThatHoldsSomethingMustBeForced) {
    Write(_T("s.xml"), kSettings);
    Expect({"cfg", "delete", "s.xml", "Display", "--class"}, 1, "",
           "kvtfile: s.xml: class 'Display' is not empty (分类下有数据)\n"
           "  Add --force to delete it with everything in it.\n");
    EXPECT_EQ(Read(_T("s.xml")), kSettings);
    Expect({"cfg", "delete", "s.xml", "Display", "--class", "--force"}, 0, "s.xml: [Display] deleted\n");
    Expect({"cfg", "list", "s.xml", "--recursive"}, 0, "Version = \"a \\\"b\\\"\"\n");
}

}  // namespace
}  // namespace kvttest
