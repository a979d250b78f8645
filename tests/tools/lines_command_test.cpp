// kvtfile lines list, write.

#include "tests/tools/command_fixture.h"

namespace kvttest {
namespace {

class LinesCommand : public CommandTest {};

TEST_F(LinesCommand, ListShowsTheLinesThatAreNoComments) {
    Write(_T("a.txt"), "\xB5\xD8\xB2\xE3\r\n\r\n// comment\r\n two\n");
    Expect({"lines", "list", "a.txt"}, 0, "地层\n two\n");
    ExpectJson({"lines", "list", "a.txt", "--json"}, R"({"file":"a.txt","lines":["地层"," two"]})");
    Write(_T("empty.txt"), "");
    Expect({"lines", "list", "empty.txt"}, 0, "");
    ExpectJson({"lines", "list", "empty.txt", "--json"}, R"({"file":"empty.txt","lines":[]})");
}

TEST_F(LinesCommand, AMissingFileIsAFileError) {
    Expect({"lines", "list", "no.txt"}, 3, "",
           "kvtfile: no.txt: " + Utf8(SystemText(ERROR_FILE_NOT_FOUND)) + "\n  Look at the path and at its rights.\n");
}

TEST_F(LinesCommand, WriteTakesItsArguments) {
    Expect({"lines", "write", "a.txt", "地层", "", "// note", "two"}, 0, "a.txt: 4 lines written\n");
    EXPECT_EQ(Read(_T("a.txt")), "\xB5\xD8\xB2\xE3\r\n\r\n// note\r\ntwo\r\n");
    Expect({"lines", "write", "a.txt", "new"}, 1, "",
           "kvtfile: a.txt: the file exists; nothing was written\n  --force replaces it.\n");
    Expect({"lines", "write", "a.txt", "new", "--force"}, 0, "a.txt: 1 line written\n");
    EXPECT_EQ(Read(_T("a.txt")), "new\r\n");
}

TEST_F(LinesCommand, WithoutLinesWriteReadsStandardInput) {
    // Which is empty here.
    Expect({"lines", "write", "a.txt"}, 0, "a.txt: 0 lines written\n");
    EXPECT_EQ(Read(_T("a.txt")), "");
}

TEST_F(LinesCommand, WriteRefusesWhatTheFileCannotHold) {
    Expect({"lines", "write", "a.txt", "a😀"}, 1, "",
           "kvtfile: a.txt: code page 936 cannot hold U+1F600 '😀'; nothing was written\n  Leave the character out.\n");
    Expect({"lines", "write", "a.txt", "a\nb"}, 2, "",
           "kvtfile: \"a\\nb\" is more than one line\n  Give each line by itself.\n");
    Expect({"lines", "write", "no/a.txt", "a"}, 3, "",
           "kvtfile: no/a.txt: the file cannot be written\n"
           "  The file is as it was. Look at its rights and at the room left.\n");
    EXPECT_TRUE(Folder().Names().empty());
}

}  // namespace
}  // namespace kvttest
