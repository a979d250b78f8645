// kvtfile scan: listings in all forms, and the comparison with an earlier one.

#include "tests/tools/command_fixture.h"

namespace {

using kvttest::CommandTest;
using kvttest::Json;
using kvttest::ProcessResult;

class ScanCommand : public CommandTest {
protected:
    ScanCommand() {
        ::CreateDirectoryW(File(_T("tree")), nullptr);
        ::CreateDirectoryW(File(_T("tree\\sub")), nullptr);
        Write(_T("tree\\b.txt"), "12345");
        Write(_T("tree\\a.dwg"), std::string(1234, 'x'));
        Write(_T("tree\\sub\\图.txt"), "");
        for (const LPCWSTR name : {_T("tree\\b.txt"), _T("tree\\a.dwg"), _T("tree\\sub\\图.txt")}) {
            kvttest::SetFileSeconds(File(name), 1700000000);
        }
    }

    // The lines without the time at their start, which depends on the zone.
    std::string Lines(const std::vector<std::string>& arguments) {
        const ProcessResult result = Run(arguments);
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_EQ(result.err, "");
        std::string lines;
        for (size_t start = 0; start < result.out.size();) {
            const size_t end = result.out.find('\n', start);
            EXPECT_EQ(result.out.substr(start, 7), "2023-11") << result.out;
            lines += result.out.substr(start + 21, end - start - 20);
            start = end + 1;
        }
        return lines;
    }

    // Writes a listing to a file, as a shell would.
    void Keep(const CString& name, std::vector<std::string> arguments) {
        const ProcessResult result = Run(std::move(arguments));
        EXPECT_EQ(result.exitCode, 0) << result.err;
        Write(name, result.out);
    }
};

TEST_F(ScanCommand, ListsSizeAttributesAndPath) {
    EXPECT_EQ(Lines({"scan", "tree"}),
              "A                1,234  a.dwg\n"
              "A                    5  b.txt\n");
    EXPECT_EQ(Lines({"scan", "tree", "-r"}),
              "A                    0  sub\\图.txt\n"
              "A                1,234  a.dwg\n"
              "A                    5  b.txt\n");
    EXPECT_EQ(Lines({"scan", "tree", "--recursive", "--ext", "txt", "--sort", "size-desc"}),
              "A                    5  b.txt\n"
              "A                    0  sub\\图.txt\n");
}

TEST_F(ScanCommand, SortsAsItIsTold) {
    const struct {
        const char* order;
        const char* first;
    } rows[] = {{"size", "sub\\图.txt"}, {"size-desc", "a.dwg"}, {"path", "a.dwg"}, {"path-desc", "sub\\图.txt"}};
    for (const auto& row : rows) {
        const ProcessResult result = Run({"scan", "tree", "-r", "--json", "--sort", row.order});
        EXPECT_EQ(Json::parse(result.out)["entries"][0]["path"], row.first) << row.order;
    }
}

TEST_F(ScanCommand, CodesAreColumns) {
    EXPECT_EQ(Lines({"scan", "tree", "--ext", "txt", "--crc", "--checksum"}),
              "A                    5  D137D16E  34333266  b.txt\n");
}

TEST_F(ScanCommand, JsonHoldsEveryFact) {
    const ProcessResult result = Run({"scan", "tree", "-r", "--dirs", "--checksum", "--json"});
    EXPECT_EQ(result.exitCode, 0);
    const Json json = Json::parse(result.out);
    EXPECT_EQ(json["folder"], "%DIR%\\tree\\");
    EXPECT_EQ(json["cancelled"], false);
    EXPECT_EQ(json["unreadable"], Json::array());
    ASSERT_EQ(json["entries"].size(), 4u);
    const Json& folder = json["entries"][0];
    EXPECT_EQ(folder["path"], "sub");
    EXPECT_EQ(folder["attributes"], "D");
    EXPECT_EQ(folder["checksum"], nullptr);
    const Json& file = json["entries"][3];
    EXPECT_EQ(file["path"], "b.txt");
    EXPECT_EQ(file["size"], 5);
    EXPECT_EQ(file["checksum"], "34333266");
    EXPECT_EQ(file["modified"].get<std::string>().substr(0, 7), "2023-11");
    // With what local time is ahead of UTC.
    EXPECT_EQ(file["modified"].get<std::string>().size(), 25u);
    EXPECT_TRUE(file.contains("created") && file.contains("accessed"));
    EXPECT_FALSE(file.contains("crc"));
}

TEST_F(ScanCommand, CsvQuotesWhatItMust) {
    Write(_T("tree\\c, d.txt"), "");
    const ProcessResult result = Run({"scan", "tree", "--csv", "--ext", "txt"});
    EXPECT_EQ(result.out.substr(0, result.out.find('\n')), "path,size,modified,created,accessed,attributes");
    EXPECT_NE(result.out.find("\nb.txt,5,2023-11-"), std::string::npos) << result.out;
    EXPECT_NE(result.out.find("\n\"c, d.txt\",0,"), std::string::npos) << result.out;
}

TEST_F(ScanCommand, AnEqualTreeVerifies) {
    for (const char* form : {"--json", "--csv"}) {
        Keep(_T("before"), {"scan", "tree", "-r", "--dirs", "--crc", form});
        Expect({"scan", "tree", "-r", "--dirs", "--verify", "before"}, 0, "");
        ExpectJson({"scan", "tree", "-r", "--dirs", "--verify", "before", "--json"},
                   R"({"added":[],"removed":[],"changed":[]})");
    }
}

TEST_F(ScanCommand, DifferencesAreTold) {
    for (const char* form : {"--json", "--csv"}) {
        Write(_T("tree\\b.txt"), "12345");
        Write(_T("tree\\sub\\图.txt"), "");
        ::DeleteFileW(File(_T("tree\\new")));
        kvttest::SetFileSeconds(File(_T("tree\\b.txt")), 1700000000);
        Keep(_T("before"), {"scan", "tree", "-r", "--checksum", form});
        // Same size and time: only the content tells.
        Write(_T("tree\\b.txt"), "12346");
        kvttest::SetFileSeconds(File(_T("tree\\b.txt")), 1700000000);
        Write(_T("tree\\new"), "");
        ::DeleteFileW(File(_T("tree\\sub\\图.txt")));
        Expect({"scan", "tree", "-r", "--verify", "before"}, 1,
               "changed  b.txt: checksum 34333266 -> 34333267\n"
               "added    new\n"
               "removed  sub\\图.txt\n",
               "kvtfile: tree differs from before in 3 entries\n"
               "  Take a new listing when the changes are wanted.\n");
        const ProcessResult json = Run({"scan", "tree", "-r", "--verify", "before", "--json"});
        EXPECT_EQ(json.exitCode, 1);
        EXPECT_EQ(Json::parse(json.out), Json::parse(R"({"added":["new"],"removed":["sub\\图.txt"],"changed":[
            {"path":"b.txt","facts":{"checksum":{"before":"34333266","now":"34333267"}}}]})"));
    }
}

TEST_F(ScanCommand, OtherSizesAndTimesAreChanges) {
    Keep(_T("before"), {"scan", "tree", "--csv"});
    Write(_T("tree\\b.txt"), "123456");
    const ProcessResult result = Run({"scan", "tree", "--verify", "before"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.out.substr(0, 36), "changed  b.txt: size 5 -> 6, modifie") << result.out;
}

TEST_F(ScanCommand, WhatCouldNotBeReadThenIsNotCompared) {
    const std::string note =
        "kvtfile: before: 1 folder or file could not be read then; what is in there is not compared\n";
    Write(_T("before"),
          R"({"unreadable":["sub"],"entries":[{"path":"sub\\gone","size":1},{"path":"a.dwg","size":1234},
          {"path":"b.txt","size":5,"crc":null}]})");
    ProcessResult result = Run({"scan", "tree", "-r", "--verify", "before"});
    // Without times in the listing they differ; what is below the folder is not told.
    EXPECT_EQ(result.err.substr(0, note.size()), note);
    EXPECT_EQ(result.out.find("sub"), std::string::npos) << result.out;
    EXPECT_EQ(result.out.find("crc"), std::string::npos) << result.out;
}

TEST_F(ScanCommand, PathsThatAListingHasTwiceAreComparedInTheirOrder) {
    Keep(_T("before"), {"scan", "tree", "--csv", "--ext", "txt"});
    const std::string listing = Read(_T("before"));
    Write(_T("before"), listing + listing.substr(listing.find('\n') + 1));
    Expect({"scan", "tree", "--ext", "txt", "--verify", "before"}, 1, "removed  b.txt\n",
           "kvtfile: tree differs from before in 1 entry\n"
           "  Take a new listing when the changes are wanted.\n");
}

TEST_F(ScanCommand, WhatIsNoListingIsRefused) {
    const char* const bad[] = {"",
                               "{",
                               "{}",
                               "{\"entries\":[{\"path\":5}]}",
                               "{\"entries\":[{\"path\":\"a\",\"size\":-1}]}",
                               "{\"entries\":[{\"path\":\"a\",\"size\":1.5}]}",
                               "{\"cancelled\":true,\"entries\":[]}",
                               "name,date\nx,y\n",
                               "path,size\na\n",
                               "path,size\na,many\n",
                               "path,size\n\"a,5\n"};
    for (const char* text : bad) {
        Write(_T("before"), text);
        const ProcessResult result = Run({"scan", "tree", "--verify", "before"});
        EXPECT_EQ(result.exitCode, 3) << text;
        EXPECT_EQ(result.out, "") << text;
        EXPECT_EQ(result.err.substr(0, 17), "kvtfile: before: ") << text;
    }
    EXPECT_EQ(Run({"scan", "tree", "--verify", "none"}).exitCode, 3);
}

TEST_F(ScanCommand, FoldersThatAreNoneAreErrors) {
    EXPECT_EQ(Run({"scan", "none"}).exitCode, 3);
    EXPECT_EQ(Run({"scan", "tree\\b.txt"}).exitCode, 3);
    EXPECT_EQ(Run({"scan"}).exitCode, 2);
    EXPECT_EQ(Run({"scan", "tree", "--sort", "colour"}).exitCode, 2);
    EXPECT_EQ(Run({"scan", "tree", "--json", "--csv"}).exitCode, 2);
    EXPECT_EQ(Run({"scan", "tree", "--csv", "--verify", "before"}).exitCode, 2);
}

TEST_F(ScanCommand, AnEmptyFolderIsAnEmptyListing) {
    ::CreateDirectoryW(File(_T("empty")), nullptr);
    Expect({"scan", "empty", "-r"}, 0, "");
    Expect({"scan", "empty", "--csv"}, 0, "path,size,modified,created,accessed,attributes\n");
}

}  // namespace
