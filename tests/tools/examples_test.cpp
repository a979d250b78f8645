// The examples do what they say.

#include "tests/tools/command_fixture.h"

namespace kvttest {
namespace {

class Examples : public CommandTest {
protected:
    /// What an example prints, given a file of the folder; line ends of either target are taken as "\n".
    std::string Output(const char* example, const char* file) {
        ProcessResult result = RunProcess(example, {file});
        EXPECT_EQ(result.exitCode, 0) << result.out;
        EXPECT_EQ(result.err, "");
        std::string text;
        for (const char unit : result.out) {
            if (unit != '\r') {
                text += unit;
            }
        }
        return text;
    }
};

TEST_F(Examples, SettingsAreWrittenAndListed) {
    EXPECT_EQ(Output(EXAMPLE_SETTINGS, "settings.xml"), "Display.Width = 1024 (default 800)\n");
    EXPECT_NE(Read(_T("settings.xml")).find("value=\"1024\""), std::string::npos);
    Expect({"cfg", "get", "settings.xml", "Display.Width"}, 0, "1024\n");
}

TEST_F(Examples, XmlIsEditedInPlace) {
    Write(_T("index.xml"),
          "<index>\n  <!-- kept -->\n  <sheet name=\"A1\">图</sheet>\n  <sheet name='A2' />\n</index>\n");
    EXPECT_EQ(Output(EXAMPLE_EDIT_XML, "index.xml"), "checked A1: 图\nchecked A2: \n");
    EXPECT_EQ(Read(_T("index.xml")),
              "<index>\n  <!-- kept -->\n  <sheet name=\"A1\" checked=\"1\">图</sheet>\n  <sheet name='A2'  "
              "checked=\"1\"/>\n</index>\n");
}

TEST_F(Examples, AnIniFileIsRead) {
    Write(_T("a.ini"), "; comment\n[Window]\nWidth=800\n[\xD3\xEF]\nName=\xD6\xD0\n");
    EXPECT_EQ(Output(EXAMPLE_READ_INI, "a.ini"), "[Window]\n  Width: 800\n[语]\n  Name: 中\ntwice the width: 1600\n");
}

}  // namespace
}  // namespace kvttest
