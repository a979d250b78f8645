// kvtfile xml check, tree, get, set, remove.

#include "tests/tools/command_fixture.h"

namespace kvttest {
namespace {

using XmlCommand = CommandTest;

constexpr const char* kDrawing =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n"
    "<drawing>\r\n"
    "  <title>Ground &amp; floor</title>\r\n"
    "  <layer name=\"Walls\" colour='7'/>\r\n"
    "  <!-- kept -->\r\n"
    "  <layer name=\"Doors\">\r\n"
    "    <style>dashed</style>\r\n"
    "  </layer>\r\n"
    "</drawing>\r\n";

std::string Replaced(std::string text, const std::string& what, const std::string& by) {
    const size_t at = text.find(what);
    EXPECT_NE(at, std::string::npos) << what;
    return at == std::string::npos ? text : text.replace(at, what.size(), by);
}

// ---- check

TEST_F(XmlCommand, CheckTellsEncodingAndSizeOfAWellFormedDocument) {
    Write(_T("a.xml"), kDrawing);
    Expect({"xml", "check", "a.xml"}, 0, "a.xml: well formed; UTF-8, 216 characters, 5 elements\n");
    ExpectJson({"xml", "check", "--json", "a.xml"}, R"({"file":"a.xml","wellFormed":true,"encoding":"UTF-8",
        "mark":false,"characters":216,"elements":5,"error":null})");
    Write(_T("b.xml"), "\xEF\xBB\xBF<a/>");
    Expect({"xml", "check", "b.xml"}, 0, "b.xml: well formed; UTF-8 with mark, 4 characters, 1 element\n");
}

TEST_F(XmlCommand, CheckNamesPlaceAndReasonOfTheFirstError) {
    Write(_T("a.xml"), "<a>\r\n  <b>é<c></b>\r\n</a>");
    const std::string message =
        "kvtfile: a.xml: line 2, column 10 (offset 14): End tag 'b' at offset 13 does not match start tag 'c' "
        "at "
        "offset 11\n"
        "  Correct the document there; 'kvtfile xml tree' shows how it was read.\n";
    Expect({"xml", "check", "a.xml"}, 3, "", message);
    const ProcessResult result = Run({"xml", "check", "a.xml", "--json"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(result.err, message);
    EXPECT_EQ(Json::parse(result.out, nullptr, false), Json::parse(R"({"file":"a.xml","wellFormed":false,
        "encoding":"UTF-8","mark":false,"characters":24,"elements":3,"error":{
        "text":"End tag 'b' at offset 13 does not match start tag 'c' at offset 11","offset":14,"line":2,"column":10}})"));
}

TEST_F(XmlCommand, CheckReportsEveryKindOfMalformedDocument) {
    const struct {
        const char* bytes;
        const char* error;
    } rows[] = {
        {"", "Empty document"},
        {"<!-- only -->", "No root element"},
        {"<a/>\n<b/>", "line 2, column 1 (offset 5): Root element has sibling"},
        {"<a>", "line 1, column 1 (offset 0): Element 'a' at offset 0 not ended"},
        {"<a>\r</b></a>", "line 2, column 1 (offset 4): No start tag for end tag 'b' at offset 4"},
        {"<a><1/></a>", "line 1, column 4 (offset 3): Incorrect tag name character at offset 3"},
        {"<a><!-x--></a>", "line 1, column 4 (offset 3): Incorrect comment tag at offset 3"},
    };
    for (const auto& row : rows) {
        Write(_T("a.xml"), row.bytes);
        Expect({"xml", "check", "a.xml"}, 3, "",
               std::string("kvtfile: a.xml: ") + row.error +
                   "\n  Correct the document there; 'kvtfile xml tree' shows how it was read.\n");
    }
}

TEST_F(XmlCommand, MissingFileIsAFileError) {
    const std::string reason = Utf8(SystemText(ERROR_FILE_NOT_FOUND));
    Expect({"xml", "check", "no.xml"}, 3, "",
           "kvtfile: no.xml: " + reason + "\n  Look at the path and at its rights.\n");
    Expect({"xml", "set", "no.xml", "/a", "--create"}, 3, "",
           "kvtfile: no.xml: " + reason + "\n  Look at the path and at its rights.\n");
    EXPECT_TRUE(Folder().Names().empty());
}

// ---- tree

TEST_F(XmlCommand, TreeIndentsElements) {
    Write(_T("a.xml"), kDrawing);
    Expect({"xml", "tree", "a.xml"}, 0, "drawing\n  title\n  layer\n  layer\n    style\n");
    Expect({"xml", "tree", "a.xml", "--depth", "2"}, 0, "drawing\n  title\n  layer\n  layer ...\n");
    Expect({"xml", "tree", "a.xml", "--depth", "1"}, 0, "drawing ...\n");
    for (const char* depth : {"0", "-1", "all"}) {
        Expect({"xml", "tree", "a.xml", "--depth", depth}, 2, "",
               "kvtfile: --depth: Value " + std::string(depth) +
                   " not in range 1 to 2147483647\n  See: kvtfile xml tree --help\n");
    }
}

TEST_F(XmlCommand, TreeShowsAttributesAndDataOnRequest) {
    Write(_T("a.xml"), kDrawing);
    Expect({"xml", "tree", "a.xml", "--attribs", "--data"}, 0,
           "drawing\n"
           "  title = \"Ground & floor\"\n"
           "  layer name=\"Walls\" colour=\"7\"\n"
           "  layer name=\"Doors\"\n"
           "    style = \"dashed\"\n");
}

TEST_F(XmlCommand, TreeCutsLongData) {
    Write(_T("a.xml"), "<a>" + std::string(61, 'x') + "</a>");
    Expect({"xml", "tree", "a.xml", "--data"}, 0, "a = \"" + std::string(60, 'x') + "\"...\n");
}

TEST_F(XmlCommand, TreeBeginsWithTheElementNamed) {
    Write(_T("a.xml"), kDrawing);
    Expect({"xml", "tree", "a.xml", "/drawing/layer[2]"}, 0, "layer\n  style\n");
    Expect({"xml", "tree", "a.xml", "/drawing/layer[2]", "--depth", "1"}, 0, "layer ...\n");
}

TEST_F(XmlCommand, TreeAsJsonIsAFlatListWithLevels) {
    Write(_T("a.xml"), kDrawing);
    ExpectJson({"xml", "tree", "a.xml", "--json"}, R"([
        {"level":0,"name":"drawing","attributes":{},"data":""},
        {"level":1,"name":"title","attributes":{},"data":"Ground & floor"},
        {"level":1,"name":"layer","attributes":{"name":"Walls","colour":"7"},"data":""},
        {"level":1,"name":"layer","attributes":{"name":"Doors"},"data":""},
        {"level":2,"name":"style","attributes":{},"data":"dashed"}])");
}

TEST_F(XmlCommand, TreeShowsHowAMalformedDocumentWasRead) {
    Write(_T("a.xml"), "<a><b></a>");
    Expect({"xml", "tree", "a.xml"}, 3, "a\n  b\n",
           "kvtfile: a.xml: line 1, column 7 (offset 6): End tag 'a' at offset 5 does not match start tag 'b' at "
           "offset 3\n  Correct the document there; 'kvtfile xml tree' shows how it was read.\n");
    Write(_T("b.xml"), "");
    const ProcessResult empty = Run({"xml", "tree", "b.xml", "--json"});
    EXPECT_EQ(empty.exitCode, 3);
    EXPECT_EQ(Json::parse(empty.out, nullptr, false), Json::array());
}

TEST_F(XmlCommand, TreeOfADeepDocumentUsesNoStack) {
    constexpr int depth = 200000;
    std::string bytes;
    for (int i = 0; i < depth; ++i) {
        bytes += "<a>";
    }
    for (int i = 0; i < depth; ++i) {
        bytes += "</a>";
    }
    Write(_T("a.xml"), bytes);
    Expect({"xml", "check", "a.xml"}, 0, "a.xml: well formed; UTF-8, 1400000 characters, 200000 elements\n");
    Expect({"xml", "tree", "a.xml", "--depth", "3"}, 0, "a\n  a\n    a ...\n");
}

// ---- get

TEST_F(XmlCommand, GetPrintsDataAttributesAndContent) {
    Write(_T("a.xml"), kDrawing);
    Expect({"xml", "get", "a.xml", "/drawing/title"}, 0, "Ground & floor\n");
    Expect({"xml", "get", "a.xml", "/drawing/title", "--data"}, 0, "Ground & floor\n");
    Expect({"xml", "get", "a.xml", "/drawing/title", "--content"}, 0, "Ground &amp; floor\n");
    Expect({"xml", "get", "a.xml", "/drawing/layer", "--attrib", "colour"}, 0, "7\n");
    Expect({"xml", "get", "a.xml", "/drawing[1]/layer[2]/style[1]"}, 0, "dashed\n");
    ExpectJson({"xml", "get", "a.xml", "/drawing/layer[2]/style", "--json"},
               R"({"file":"a.xml","path":"/drawing/layer[2]/style","name":"style","attributes":{},
                   "data":"dashed","content":"dashed"})");
}

TEST_F(XmlCommand, GetOfAnAbsentAttributeIsNotFoundAndOfAnEmptyOneIsEmpty) {
    Write(_T("a.xml"), "<a b=''/>");
    Expect({"xml", "get", "a.xml", "/a", "--attrib", "b"}, 0, "\n");
    Expect({"xml", "get", "a.xml", "/a", "--attrib", "c"}, 1, "",
           "kvtfile: a.xml: /a has no attribute 'c'\n"
           "  'kvtfile xml get --json' shows the element with its attributes.\n");
}

TEST_F(XmlCommand, GetTellsHowFarAPathLed) {
    Write(_T("a.xml"), kDrawing);
    Expect({"xml", "get", "a.xml", "/drawing/layer[3]/style"}, 1, "",
           "kvtfile: a.xml: no element /drawing/layer[3]; /drawing has 2 named 'layer'\n"
           "  'kvtfile xml tree' lists the elements.\n");
    Expect({"xml", "get", "a.xml", "/map"}, 1, "",
           "kvtfile: a.xml: no element /map; the document has 0 named 'map'\n"
           "  'kvtfile xml tree' lists the elements.\n");
}

TEST_F(XmlCommand, WhatIsNoPathIsWrongUsage) {
    Write(_T("a.xml"), kDrawing);
    const struct {
        const char* path;
        const char* reason;
    } rows[] = {
        {"drawing", "it must begin with '/'"},
        {"/", "a name is missing"},
        {"/drawing/", "a name is missing"},
        {"//drawing", "a name is missing"},
        {"/drawing/layer[0]", "'[' must be followed by a number from 1 and ']'"},
        {"/drawing/layer[2", "'[' must be followed by a number from 1 and ']'"},
        {"/drawing/layer[2]x", "'[' must be followed by a number from 1 and ']'"},
        {"/drawing/layer[99999999999]", "'[' must be followed by a number from 1 and ']'"},
    };
    for (const auto& row : rows) {
        Expect({"xml", "get", "a.xml", row.path}, 2, "",
               std::string("kvtfile: '") + row.path + "' is not an element path: " + row.reason +
                   "\n  Write it as /plan/layer[2]/style.\n");
    }
    Expect({"xml", "get", "a.xml", "/a b"}, 2, "",
           "kvtfile: \"a b\" cannot be a name in XML\n"
           "  A name begins with a letter, '_' or ':' and goes on with these, digits, '-' and '.'.\n");
}

TEST_F(XmlCommand, GetRefusesAMalformedDocument) {
    Write(_T("a.xml"), "<a>");
    Expect({"xml", "get", "a.xml", "/a"}, 3, "",
           "kvtfile: a.xml: line 1, column 1 (offset 0): Element 'a' at offset 0 not ended\n"
           "  Correct the document there; 'kvtfile xml tree' shows how it was read.\n");
}

// ---- set

TEST_F(XmlCommand, SetChangesDataAndNoOtherByte) {
    Write(_T("a.xml"), kDrawing);
    Expect({"xml", "set", "a.xml", "/drawing/layer[2]/style", "--data", "<solid>"}, 0,
           "a.xml: /drawing/layer[2]/style set\n");
    EXPECT_EQ(Read(_T("a.xml")), Replaced(kDrawing, "dashed", "&lt;solid&gt;"));
}

TEST_F(XmlCommand, SetChangesAndAddsAttributes) {
    Write(_T("a.xml"), kDrawing);
    Expect({"xml", "set", "a.xml", "/drawing/layer", "--attrib", "colour", "a\"b", "--attrib", "on", ""}, 0,
           "a.xml: /drawing/layer set\n");
    EXPECT_EQ(Read(_T("a.xml")), Replaced(kDrawing, "colour='7'/>", "colour=\"a&quot;b\" on=\"\"/>"));
}

TEST_F(XmlCommand, SetEmptiesData) {
    Write(_T("a.xml"), "<a>x</a>");
    Expect({"xml", "set", "a.xml", "/a", "--data", ""}, 0, "a.xml: /a set\n");
    EXPECT_EQ(Read(_T("a.xml")), "<a></a>");
}

TEST_F(XmlCommand, SetTakesAValueThatBeginsWithADash) {
    Write(_T("a.xml"), "<a/>");
    Expect({"xml", "set", "a.xml", "/a", "--data=-5"}, 0, "a.xml: /a set\n");
    EXPECT_EQ(Read(_T("a.xml")), "<a>-5</a>");
}

TEST_F(XmlCommand, SetAddsNoElementUnlessAsked) {
    Write(_T("a.xml"), kDrawing);
    Expect({"xml", "set", "a.xml", "/drawing/scale", "--data", "100"}, 1, "",
           "kvtfile: a.xml: no element /drawing/scale; /drawing has 0 named 'scale'\n"
           "  'kvtfile xml tree' lists the elements.\n");
    EXPECT_EQ(Read(_T("a.xml")), kDrawing);
    Expect({"xml", "set", "a.xml", "/drawing/scale/unit", "--data", "mm", "--create"}, 0,
           "a.xml: /drawing/scale/unit set\n");
    EXPECT_EQ(Read(_T("a.xml")),
              Replaced(kDrawing, "</drawing>", "<scale>\r\n<unit>mm</unit>\r\n</scale>\r\n</drawing>"));
}

TEST_F(XmlCommand, SetAddsOnlyTheNextElementOfANameAndNoSecondRoot) {
    Write(_T("a.xml"), "<a><b/></a>");
    Expect({"xml", "set", "a.xml", "/a/b[3]", "--create"}, 1, "",
           "kvtfile: a.xml: no element /a/b[3]; /a has 1 named 'b', so that it cannot be added\n"
           "  Number the new element one above the last.\n");
    Expect({"xml", "set", "a.xml", "/c", "--create"}, 1, "",
           "kvtfile: a.xml: no element /c; the document has 0 named 'c', so that it cannot be added\n"
           "  A document has one root element; begin the path with it.\n");
    EXPECT_EQ(Read(_T("a.xml")), "<a><b/></a>");
    Expect({"xml", "set", "a.xml", "/a/b[2]", "--create"}, 0, "a.xml: /a/b[2] set\n");
    Expect({"xml", "tree", "a.xml"}, 0, "a\n  b\n  b\n");
}

TEST_F(XmlCommand, SetRefusesDataWhereThereAreElements) {
    Write(_T("a.xml"), "<a><b/></a>");
    Expect({"xml", "set", "a.xml", "/a", "--data", "x"}, 1, "",
           "kvtfile: a.xml: /a has child elements and so no data\n"
           "  Remove them first with 'kvtfile xml remove', or name one of them.\n");
    EXPECT_EQ(Read(_T("a.xml")), "<a><b/></a>");
}

TEST_F(XmlCommand, SetRefusesWhatXmlCannotHold) {
    Write(_T("a.xml"), "<a/>");
    Expect({"xml", "set", "a.xml", "/a", "--data", "x\x01"}, 1, "",
           "kvtfile: the data holds U+0001, which XML cannot hold\n  Leave the character out.\n");
    Expect({"xml", "set", "a.xml", "/a", "--attrib", "k", "\xEF\xBF\xBF"}, 1, "",
           "kvtfile: the value of 'k' holds U+FFFF, which XML cannot hold\n  Leave the character out.\n");
    Expect({"xml", "set", "a.xml", "/a", "--attrib", "1k", "x"}, 2, "",
           "kvtfile: \"1k\" cannot be a name in XML\n"
           "  A name begins with a letter, '_' or ':' and goes on with these, digits, '-' and '.'.\n");
    EXPECT_EQ(Read(_T("a.xml")), "<a/>");
}

TEST_F(XmlCommand, SetRefusesWhatTheEncodingCannotHold) {
    const std::string bytes = "<?xml version=\"1.0\" encoding=\"GB2312\"?>\n<a>\xD6\xD0</a>";
    Write(_T("a.xml"), bytes);
    Expect({"xml", "set", "a.xml", "/a", "--data", "x😀"}, 1, "",
           "kvtfile: a.xml: line 2, column 5 (offset 44): the encoding GB2312 cannot hold U+1F600 '😀'; nothing "
           "was written\n  Use an encoding that holds it, UTF-8 for example.\n");
    EXPECT_EQ(Read(_T("a.xml")), bytes);
    Expect({"xml", "set", "a.xml", "/a", "--data", "文"}, 0, "a.xml: /a set\n");
    EXPECT_EQ(Read(_T("a.xml")), Replaced(bytes, "\xD6\xD0", "\xCE\xC4"));
}

TEST_F(XmlCommand, SetRefusesAFileWhoseBytesWouldNotComeBack) {
    const std::string bytes = "<a><b>\xFF</b><c/></a>";
    Write(_T("a.xml"), bytes);
    Expect({"xml", "set", "a.xml", "/a/c", "--data", "x"}, 1, "",
           "kvtfile: a.xml: byte 6 does not come back from UTF-8 text, so that saving would change more than the "
           "edit; nothing was written\n"
           "  Convert the file from its true encoding: kvtfile xml convert --from ENCODING --to UTF-8.\n");
    EXPECT_EQ(Read(_T("a.xml")), bytes);
}

TEST_F(XmlCommand, SetKeepsUtf16AndItsMark) {
    const std::string before("\xFF\xFE<\0a\0/\0>\0", 10);
    Write(_T("a.xml"), before);
    Expect({"xml", "set", "a.xml", "/a", "--data", "é"}, 0, "a.xml: /a set\n");
    EXPECT_EQ(Hex(Read(_T("a.xml"))), Hex(std::string("\xFF\xFE<\0a\0>\0\xE9\0<\0/\0a\0>\0", 18)));
}

TEST_F(XmlCommand, SetWithoutAnythingToSetIsWrongUsage) {
    Write(_T("a.xml"), "<a/>");
    Expect({"xml", "set", "a.xml", "/a"}, 2, "",
           "kvtfile: nothing to set\n  Give --attrib NAME VALUE, --data TEXT or --create.\n");
}

TEST_F(XmlCommand, SetOfAReadOnlyFileLeavesItWhole) {
    Write(_T("a.xml"), "<a/>");
    ASSERT_TRUE(::SetFileAttributesW(File(_T("a.xml")), FILE_ATTRIBUTE_READONLY));
    Expect({"xml", "set", "a.xml", "/a", "--data", "x"}, 3, "",
           "kvtfile: a.xml: " + Utf8(SystemText(ERROR_ACCESS_DENIED)) +
               "\n  The file is as it was. Look at its rights and at the room left.\n");
    EXPECT_EQ(Read(_T("a.xml")), "<a/>");
    EXPECT_EQ(Folder().Names(), std::vector<std::string>{"a.xml"});
}

// ---- remove

TEST_F(XmlCommand, RemoveTakesAnElementWithTheBlanksAfterIt) {
    Write(_T("a.xml"), kDrawing);
    Expect({"xml", "remove", "a.xml", "/drawing/layer"}, 0, "a.xml: /drawing/layer removed\n");
    EXPECT_EQ(Read(_T("a.xml")), Replaced(kDrawing, "<layer name=\"Walls\" colour='7'/>\r\n  ", ""));
}

TEST_F(XmlCommand, RemoveRefusesTheRootAndWhatIsNotThere) {
    Write(_T("a.xml"), kDrawing);
    Expect({"xml", "remove", "a.xml", "/drawing"}, 1, "",
           "kvtfile: a.xml: /drawing is the root element, which a document needs\n  Remove what is in it.\n");
    Expect({"xml", "remove", "a.xml", "/drawing/scale"}, 1, "",
           "kvtfile: a.xml: no element /drawing/scale; /drawing has 0 named 'scale'\n"
           "  'kvtfile xml tree' lists the elements.\n");
    EXPECT_EQ(Read(_T("a.xml")), kDrawing);
}

}  // namespace
}  // namespace kvttest
