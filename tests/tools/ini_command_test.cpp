// kvtfile ini list, get, set, delete.

#include "tests/tools/command_fixture.h"

namespace kvttest {
namespace {

class IniCommand : public CommandTest {
protected:
    // 语言 = 中文 in code page 936.
    static constexpr const char* kIni =
        "[Window]\r\nWidth=800\r\nFlag\r\n\r\n[\xD3\xEF\xD1\xD4]\r\nName=\xD6\xD0\xCE\xC4\r\n\r\n";
};

TEST_F(IniCommand, ListShowsSectionsAndEntries) {
    Write(_T("a.ini"), kIni);
    Expect({"ini", "list", "a.ini"}, 0, "[Window]\nWidth=800\nFlag\n[语言]\nName=中文\n");
    Expect({"ini", "list", "a.ini", "window"}, 0, "[window]\nWidth=800\nFlag\n");
    ExpectJson({"ini", "list", "a.ini", "--json"}, R"({"file":"a.ini","sections":[
        {"name":"Window","entries":[{"name":"Width","value":"800"},{"name":"Flag","value":""}]},
        {"name":"语言","entries":[{"name":"Name","value":"中文"}]}]})");
    Expect({"ini", "list", "a.ini", "Printer"}, 1, "",
           "kvtfile: a.ini: no section [Printer]\n"
           "  'kvtfile ini list' shows the sections; --create with 'set' adds one.\n");
}

TEST_F(IniCommand, GetPrintsAValue) {
    Write(_T("a.ini"), kIni);
    Expect({"ini", "get", "a.ini", "WINDOW", "width"}, 0, "800\n");
    Expect({"ini", "get", "a.ini", "Window", "Flag"}, 0, "\n");
    Expect({"ini", "get", "a.ini", "语言", "Name"}, 0, "中文\n");
    ExpectJson({"ini", "get", "a.ini", "Window", "Width", "--json"},
               R"({"file":"a.ini","section":"Window","name":"Width","value":"800"})");
    Expect({"ini", "get", "a.ini", "Window", "Height"}, 1, "",
           "kvtfile: a.ini: no 'Height' in [Window]\n"
           "  'kvtfile ini list' shows the names; --create with 'set' adds one.\n");
}

TEST_F(IniCommand, EntriesBeforeTheFirstHeaderAreInTheSectionWithoutName) {
    Write(_T("a.ini"), "k=v\n[A]\nx=y\n");
    Expect({"ini", "get", "a.ini", "", "k"}, 0, "v\n");
    Expect({"ini", "list", "a.ini", ""}, 0, "[]\nk=v\n");
}

TEST_F(IniCommand, MissingFileIsAFileError) {
    Expect({"ini", "get", "no.ini", "A", "b"}, 3, "",
           "kvtfile: no.ini: " + Utf8(SystemText(ERROR_FILE_NOT_FOUND)) + "\n  Look at the path and at its rights.\n");
    EXPECT_TRUE(Folder().Names().empty());
}

TEST_F(IniCommand, SetChangesAValue) {
    Write(_T("a.ini"), kIni);
    Expect({"ini", "set", "a.ini", "Window", "Width", "1024"}, 0, "a.ini: [Window] Width set\n");
    std::string expected = kIni;
    EXPECT_EQ(Read(_T("a.ini")), expected.replace(expected.find("800"), 3, "1024"));
}

TEST_F(IniCommand, SetAddsOnlyWhenAsked) {
    Write(_T("a.ini"), kIni);
    Expect({"ini", "set", "a.ini", "Window", "Height", "600"}, 1, "",
           "kvtfile: a.ini: no 'Height' in [Window]\n"
           "  'kvtfile ini list' shows the names; --create with 'set' adds one.\n");
    EXPECT_EQ(Read(_T("a.ini")), kIni);
    Expect({"ini", "set", "new.ini", "Window", "Height", "600", "--create"}, 0, "new.ini: [Window] Height set\n");
    EXPECT_EQ(Read(_T("new.ini")), "[Window]\r\nHeight=600\r\n\r\n");
}

TEST_F(IniCommand, SetRefusesWhatWouldNotBeReadAgain) {
    Write(_T("a.ini"), kIni);
    const struct {
        std::vector<std::string> words;
        const char* shown;
    } rows[] = {
        {{"A", "a=b", "c"}, "\"a=b\" = \"c\" in [A]"}, {{"A", "k", "one\ntwo"}, "\"k\" = \"one\\ntwo\" in [A]"},
        {{"A", "k", "c "}, "\"k\" = \"c \" in [A]"},   {{"A", " k", "c"}, "\" k\" = \"c\" in [A]"},
        {{"A", ";k", "c"}, "\";k\" = \"c\" in [A]"},   {{"A", "[k]", ""}, "\"[k]\" = \"\" in [A]"},
        {{"A", "", ""}, "\"\" = \"\" in [A]"},         {{"[A", "k", "c"}, "\"k\" = \"c\" in [[A]"},
        {{"A]", "k", "c"}, "\"k\" = \"c\" in [A]]"},
    };
    for (const auto& row : rows) {
        std::vector<std::string> words = {"ini", "set", "a.ini", "--create"};
        words.insert(words.end(), row.words.begin(), row.words.end());
        Expect(words, 1, "",
               std::string("kvtfile: a.ini: an INI file cannot hold ") + row.shown +
                   "; nothing was written\n"
                   "  Leave out line breaks, blanks at the ends, '=' in the name, and a name that begins as a comment "
                   "or a section does.\n");
    }
    Expect({"ini", "set", "a.ini", "Window", "Width", "😀"}, 1, "",
           "kvtfile: a.ini: code page 936 cannot hold U+1F600 '😀'; nothing was written\n"
           "  Leave the character out.\n");
    EXPECT_EQ(Read(_T("a.ini")), kIni);
}

TEST_F(IniCommand, SetRefusesAFileThatIsNotCodePage936) {
    const std::string bytes = "[A]\r\nk=\x81 x\r\n";
    Write(_T("a.ini"), bytes);
    Expect({"ini", "set", "a.ini", "A", "k", "v"}, 1, "",
           "kvtfile: a.ini: byte 7 is not code page 936 text, so that saving would change more than the edit; "
           "nothing was written\n  Save the file in code page 936 first.\n");
    EXPECT_EQ(Read(_T("a.ini")), bytes);
}

TEST_F(IniCommand, DeleteRemovesAnEntryOrASection) {
    Write(_T("a.ini"), kIni);
    Expect({"ini", "delete", "a.ini", "Window", "Flag"}, 0, "a.ini: [Window] Flag deleted\n");
    Expect({"ini", "delete", "a.ini", "语言"}, 0, "a.ini: [语言] deleted\n");
    EXPECT_EQ(Read(_T("a.ini")), "[Window]\r\nWidth=800\r\n\r\n");
    Expect({"ini", "delete", "a.ini", "语言"}, 1, "",
           "kvtfile: a.ini: no section [语言]\n"
           "  'kvtfile ini list' shows the sections; --create with 'set' adds one.\n");
}

}  // namespace
}  // namespace kvttest
