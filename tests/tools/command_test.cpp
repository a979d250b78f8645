// The command as a whole: usage, help, exit codes, paths.

#include "tests/tools/command_fixture.h"

namespace kvttest {
namespace {

using Command = CommandTest;

TEST_F(Command, WithoutAVerbIsWrongUsage) {
    Expect({}, 2, "", "kvtfile: A subcommand is required\n  See: kvtfile --help\n");
    Expect({"xml"}, 2, "", "kvtfile: A subcommand is required\n  See: kvtfile xml --help\n");
}

TEST_F(Command, UnknownVerbIsWrongUsage) {
    Expect({"frob"}, 2, "", "kvtfile: There is no subcommand 'frob'\n  See: kvtfile --help\n");
    Expect({"xml", "frob", "a.xml"}, 2, "", "kvtfile: There is no subcommand 'frob'\n  See: kvtfile xml --help\n");
    Expect({"xml", "--frob"}, 2, "",
           "kvtfile: The following argument was not expected: --frob\n  See: kvtfile xml --help\n");
}

TEST_F(Command, MissingAndSuperfluousArgumentsAreWrongUsage) {
    Expect({"xml", "check"}, 2, "", "kvtfile: FILE is required\n  See: kvtfile xml check --help\n");
    Expect({"xml", "check", "a.xml", "b.xml"}, 2, "",
           "kvtfile: The following argument was not expected: b.xml\n  See: kvtfile xml check --help\n");
}

TEST_F(Command, HelpShowsExamplesOnTheCommandAndOnEveryVerb) {
    const std::vector<std::vector<std::string>> verbs = {
        {},
        {"xml"},
        {"xml", "check"},
        {"xml", "tree"},
        {"xml", "get"},
        {"xml", "set"},
        {"xml", "remove"},
        {"xml", "convert"},
        {"cfg", "open"},
        {"cfg", "list"},
        {"cfg", "get"},
        {"cfg", "set"},
        {"cfg", "set-class"},
        {"cfg", "delete"},
        {"cfg", "merge"},
        {"ini", "list"},
        {"ini", "get"},
        {"ini", "set"},
        {"ini", "delete"},
    };
    for (std::vector<std::string> verb : verbs) {
        std::string example = "  kvtfile ";
        for (const std::string& word : verb) {
            example += word + " ";
        }
        verb.push_back("--help");
        SCOPED_TRACE(example);
        const ProcessResult result = Run(verb);
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_EQ(result.err, "");
        const size_t examples = result.out.find("Examples:\n");
        ASSERT_NE(examples, std::string::npos);
        EXPECT_NE(result.out.find(example, examples), std::string::npos) << result.out;
        EXPECT_EQ(result.out.find('\r'), std::string::npos);
    }
}

TEST_F(Command, HelpOfAVerbIsTheSameOnEveryTarget) {
    Expect({"xml", "check", "--help"}, 0,
           "Tell whether a document is well formed, and where it is not\n"
           "Usage: kvtfile xml check [OPTIONS] FILE\n"
           "\n"
           "Positionals:\n"
           "  FILE TEXT REQUIRED          The XML file\n"
           "\n"
           "Options:\n"
           "  -h,--help                   Print this help message and exit\n"
           "  --json                      Print JSON\n"
           "\n"
           "Examples:\n"
           "  kvtfile xml check drawing.xml\n"
           "  kvtfile xml check --json drawing.xml\n");
}

TEST_F(Command, PrintsItsVersion) {
    const ProcessResult result = Run({"--version"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out.rfind("kvtfile ", 0), 0u) << result.out;
}

TEST_F(Command, TakesRelativeAndAbsolutePathsWithBothSeparators) {
    ASSERT_TRUE(::CreateDirectoryW(File(_T("sub")), nullptr));
    WriteBytes(File(_T("sub\\a.xml")), "<a>x</a>");
    for (const char* path : {"sub\\a.xml", "sub/a.xml", "%DIR%\\sub\\a.xml", "%DIR%/sub/a.xml", "./sub/../sub/a.xml"}) {
        Expect({"xml", "get", path, "/a"}, 0, "x\n");
    }
}

TEST_F(Command, TakesNamesAndValuesOutsideAscii) {
    Write(_T("图.xml"), "<a/>");
    Expect({"xml", "set", "图.xml", "/a", "--data", "底层 😀"}, 0, "图.xml: /a set\n");
    EXPECT_EQ(Read(_T("图.xml")), "<a>底层 😀</a>");
    Expect({"xml", "get", "图.xml", "/a"}, 0, "底层 😀\n");
}

}  // namespace
}  // namespace kvttest
