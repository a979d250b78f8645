// Paths of a run are replaced before and after it, so that expectations hold in every folder.

#include "tests/tools/command_fixture.h"

namespace kvttest {

namespace {

void ReplaceAll(std::string& text, const std::string& what, const std::string& by) {
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + by.size())) {
        text.replace(at, what.size(), by);
    }
}

constexpr const char* kFolder = "%DIR%";

}  // namespace

CommandTest::CommandTest() {
    WCHAR folder[MAX_PATH + 1];
    ::GetCurrentDirectoryW(MAX_PATH, folder);
    m_before = folder;
    EXPECT_TRUE(::SetCurrentDirectoryW(m_folder.Path())) << ::GetLastError();
}

CommandTest::~CommandTest() {
    ::SetCurrentDirectoryW(m_before);
}

ProcessResult CommandTest::Run(std::vector<std::string> arguments) {
    const std::string folder = Utf8(m_folder.Path());
    for (std::string& argument : arguments) {
        ReplaceAll(argument, kFolder, folder);
    }
    ProcessResult result = RunProcess(KVTFILE_COMMAND, arguments);
    std::string escaped = folder;
    ReplaceAll(escaped, "\\", "\\\\");
    for (std::string* text : {&result.out, &result.err}) {
        ReplaceAll(*text, escaped, kFolder);
        ReplaceAll(*text, folder, kFolder);
    }
    return result;
}

void CommandTest::Expect(const std::vector<std::string>& arguments, int exitCode, const std::string& out,
                         const std::string& err) {
    const ProcessResult result = Run(arguments);
    SCOPED_TRACE(testing::PrintToString(arguments));
    EXPECT_EQ(result.exitCode, exitCode);
    EXPECT_EQ(result.out, out);
    EXPECT_EQ(result.err, err);
}

void CommandTest::ExpectJson(const std::vector<std::string>& arguments, const std::string& json) {
    const ProcessResult result = Run(arguments);
    SCOPED_TRACE(testing::PrintToString(arguments));
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(Json::parse(result.out, nullptr, false), Json::parse(json));
}

}  // namespace kvttest
