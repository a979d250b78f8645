// kvtfile host, arx, support-path: on host registries that stand in files. Where a key gets several values their names
// sort as they are made, since Wine lists values by name.

#include "tests/support/registry.h"
#include "tests/tools/command_fixture.h"

namespace kvttest {
namespace {

class HostCommand : public CommandTest {
protected:
    HostKeys m_keys;

    /// What the command prints when it succeeds.
    std::string Output(const std::vector<std::string>& arguments) {
        const ProcessResult result = Run(arguments);
        EXPECT_EQ(result.exitCode, 0) << result.err;
        EXPECT_EQ(result.err, "");
        return result.out;
    }
};

constexpr const char* kR15General =
    "HKEY_CURRENT_USER\\Software\\Autodesk\\AutoCAD\\R15.0\\ACAD-1:804\\Profiles\\<<未命名配置>>\\General";
constexpr const char* kFolders =
    "C:\\Program Files\\AutoCAD 2002\\support;C:\\Program Files\\AutoCAD 2002\\fonts;D:\\图库;; ";

std::string Escaped(const std::string& text) {
    return Json(text).dump();
}

TEST_F(HostCommand, NothingInstalledIsNotFound) {
    const std::string err =
        "kvtfile: no CAD host is installed\n  'kvtfile reg import' takes in a registry saved elsewhere.\n";
    Expect({"host", "list"}, 1, "", err);
    Expect({"host", "list", "--json"}, 1, "{\n  \"hosts\": []\n}\n", err);
}

TEST_F(HostCommand, AutocadHostsAreListed) {
    m_keys.Load("r14");
    m_keys.LoadFile("acad2020-machine");
    m_keys.LoadFile("acad2020-user");
    const std::string out = Output({"host", "list"});
    EXPECT_EQ(out.substr(0, out.find("Civil")),
              "AutoCAD R14\n"
              "  release   R14.0\n"
              "  key       Software\\Autodesk\\AutoCAD\\R14.0\\AC14-0:409 (current)\n"
              "  folder    C:\\Program Files\\AutoCAD R14\\\n"
              "  language  English\n"
              "  profile   <<Unnamed Profile>>\n"
              "  support   C:\\Program Files\\AutoCAD R14\\support\\\n"
              "  template  C:\\Program Files\\AutoCAD R14\\template\\\n");
    const Json hosts = Json::parse(Output({"host", "list", "--json"}))["hosts"];
    ASSERT_EQ(hosts.size(), 3u);
    EXPECT_EQ(hosts[1]["product"], "Civil 3D 2020 - 简体中文");
    EXPECT_EQ(hosts[1]["current"], false);
    EXPECT_EQ(hosts[2]["family"], "AutoCAD");
    EXPECT_EQ(hosts[2]["product"], "AutoCAD 2020 - 简体中文 (Simplified Chinese)");
    EXPECT_EQ(hosts[2]["release"], "R23.1");
    EXPECT_EQ(hosts[2]["key"], "Software\\Autodesk\\AutoCAD\\R23.1\\ACAD-3001:804");
    EXPECT_EQ(hosts[2]["current"], true);
    EXPECT_EQ(hosts[2]["folder"], "C:\\Program Files\\Autodesk\\AutoCAD 2020\\");
    EXPECT_EQ(hosts[2]["language"], "简体中文 (Simplified Chinese)");
}

TEST_F(HostCommand, TheCaseOfAReleaseDoesNotMatter) {
    PutText(HKEY_LOCAL_MACHINE, _T("Software\\Autodesk\\AutoCAD\\r15.9\\P"), _T("AcadLocation"), _T("C:\\P"));
    PutText(HKEY_LOCAL_MACHINE, _T("Software\\Autodesk\\AutoCAD\\r16.9\\P"), _T("AcadLocation"), _T("C:\\Q"));
    const Json hosts = Json::parse(Output({"host", "list", "--json"}))["hosts"];
    ASSERT_EQ(hosts.size(), 2u);
    EXPECT_EQ(hosts[0]["support"], "C:\\P\\support\\");
    EXPECT_EQ(hosts[1]["support"], nullptr);
}

TEST_F(HostCommand, ZwcadAndGstarcadAreListed) {
    m_keys.Load("zwcad");
    m_keys.Load("gstarcad");
    ExpectJson({"host", "list", "--json"}, R"({"hosts":[
        {"family":"ZWCAD","product":"ZWCAD","release":"2019","key":"Software\\ZWSOFT\\ZWCAD\\2019\\en-US","current":true,
         "folder":"C:\\Program Files\\ZWSOFT\\ZWCAD 2019\\","language":"en-US","profile":"Default","support":null,"template":null},
        {"family":"ZWCAD","product":"ZWCAD","release":"2020","key":"Software\\ZWSOFT\\ZWCAD\\2020\\zh-CN","current":true,
         "folder":"C:\\Program Files\\ZWSOFT\\中望CAD 2020\\","language":"zh-CN","profile":"Default","support":null,"template":null},
        {"family":"ZWCAD","product":"ZWCAD+","release":"2014","key":"Software\\ZWSOFT\\ZWCAD+\\2014\\zh-CN","current":true,
         "folder":"C:\\Program Files\\ZWCAD+ 2014\\","language":"zh-CN","profile":"Default","support":null,"template":null},
        {"family":"GstarCAD","product":"GstarCAD","release":"B_2021","key":"Software\\GstarSoft\\GstarCAD\\B_2021\\zh-CN",
         "current":true,"folder":"D:\\浩辰CAD 2021\\","language":"zh-CN","profile":null,"support":null,"template":null},
        {"family":"GstarCAD","product":"GstarCAD","release":"R19","key":"Software\\GstarSoft\\GstarCAD\\R19\\zh-CN",
         "current":true,"folder":"C:\\Program Files\\Gstarsoft\\GstarCAD2019\\","language":"zh-CN","profile":null,
         "support":null,"template":null},
        {"family":"GstarCAD","product":"GstarCAD","release":"R20","key":"Software\\GstarSoft\\GstarCAD\\R20\\zh-CN",
         "current":true,"folder":"C:\\Program Files\\Gstarsoft\\GstarCAD2020\\","language":"zh-CN","profile":null,
         "support":null,"template":null}]})");
}

TEST_F(HostCommand, DamagedInstallationsAreListedAsFarAsTheyGo) {
    m_keys.Load("damaged");
    m_keys.Load("mixed");
    EXPECT_GT(Json::parse(Output({"host", "list", "--json"}))["hosts"].size(), 2u);
}

TEST_F(HostCommand, ArxRegistersShowsAndRemoves) {
    m_keys.Load("acad2020");
    const std::string key =
        "HKEY_LOCAL_MACHINE\\Software\\Autodesk\\AutoCAD\\R23.1\\ACAD-3001:804\\Applications\\Walls";
    const std::vector<std::string> add = {"arx",       "add",     "Walls",   "--release", "2020",   "--folder",
                                          "C:\\Walls", "--group", "WALLS",   "--command", "DOOR",   "--command",
                                          " WALL ",    "--load",  "startup", "--load",    "command"};
    std::vector<std::string> dryRun = add;
    dryRun.push_back("--dry-run");
    const std::string keys = "[" + key + "]\nLoadCtrls = REG_DWORD 6\nLoader = REG_SZ \"C:\\\\Walls\\\\Walls.arx\"\n[" +
                             key + "\\Commands]\nDOOR = REG_SZ \"DOOR\"\nWALL = REG_SZ \"WALL\"\n[" + key +
                             "\\Groups]\nWALLS = REG_SZ \"WALLS\"\n";
    EXPECT_EQ(Output(dryRun), keys);
    const std::vector<std::string> status = {"arx", "status", "Walls", "--release", "2020"};
    Expect(status, 1, "", "kvtfile: " + key + ": not registered\n  'kvtfile arx add' registers an application.\n");

    const std::string spelled = "0x06: when the host starts; when one of its commands is called\n";
    EXPECT_EQ(Output(add), key + ": registered\n  loaded " + spelled);
    EXPECT_EQ(Output(status), keys + "loaded " + spelled);
    std::vector<std::string> asJson = status;
    asJson.push_back("--json");
    const Json json = Json::parse(Output(asJson));
    EXPECT_EQ(json["application"], "Walls");
    EXPECT_EQ(json["hostKey"], key);
    EXPECT_EQ(json["loadControls"], 6);
    EXPECT_EQ(json["loaded"], Json::parse(R"(["startup","command"])"));
    EXPECT_EQ(json["keys"].size(), 3u);

    const std::vector<std::string> remove = {"arx", "remove", "Walls", "--release", "2020"};
    std::vector<std::string> removeDry = remove;
    removeDry.push_back("--dry-run");
    EXPECT_EQ(Output(removeDry), key + ": would be deleted\n");
    EXPECT_EQ(Output(status), keys + "loaded " + spelled);
    EXPECT_EQ(Output(remove), key + ": deleted\n");
    Expect(remove, 1, "",
           "kvtfile: " + key +
               ": not registered; nothing was deleted\n  'kvtfile arx status' tells what is registered.\n");
}

TEST_F(HostCommand, ArxDryRunTellsWhatIsWrittenInEveryLayout) {
    m_keys.Load("mixed");
    m_keys.Load("r15");
    m_keys.Load("r14");
    for (const char* release : {"R14", "2000"}) {
        for (const bool module : {false, true}) {
            for (const bool names : {false, true}) {
                std::vector<std::string> add = {"arx", "add", "墙", "--release", release, "--folder", "C:\\Walls\\"};
                if (module) {
                    add.insert(add.end(), {"--module", "walls18"});
                }
                if (names) {
                    add.insert(add.end(), {"--group", "G", "--command", "a", "--command", "b"});
                }
                std::vector<std::string> dryRun = add;
                dryRun.push_back("--dry-run");
                const std::string foreseen = Output(dryRun);
                Output(add);
                const std::string status = Output({"arx", "status", "墙", "--release", release});
                EXPECT_EQ(status, foreseen + "loaded 0x00: not by itself\n");
                Output({"arx", "remove", "墙", "--release", release});
            }
        }
    }
}

TEST_F(HostCommand, ArxTellsOfARegistrationThatIsNotWhole) {
    m_keys.Load("acad2020");
    const std::string key =
        "HKEY_LOCAL_MACHINE\\Software\\Autodesk\\AutoCAD\\R23.1\\ACAD-3001:804\\Applications\\Walls";
    Expect({"arx", "add", "Walls", "--release", "2020", "--folder", "C:\\", "--command", std::string(16384, 'x')}, 1,
           "",
           "kvtfile: " + key +
               ": the registration could not be written, or not all of it\n  'kvtfile arx status' tells what is "
               "registered. Writing the machine's keys needs the right to do so.\n");
    // Names that differ in case alone are one.
    const std::vector<std::string> add = {"arx",  "add",       "Walls", "--release", "2020", "--folder",
                                          "C:\\", "--command", "Wall",  "--command", "WALL"};
    std::vector<std::string> dryRun = add;
    dryRun.push_back("--dry-run");
    const std::string foreseen = Output(dryRun);
    Output(add);
    EXPECT_EQ(Output({"arx", "status", "Walls", "--release", "2020"}), foreseen + "loaded 0x00: not by itself\n");
}

TEST_F(HostCommand, ArxGroupKeepsItsBlanks) {
    m_keys.Load("acad2020");
    std::vector<std::string> add = {"arx", "add", "Walls", "--release", "2020", "--folder", "C:\\W", "--group", " G "};
    Output(add);
    const std::string status = Output({"arx", "status", "Walls", "--release", "2020"});
    EXPECT_NE(status.find("\\Groups]\n G  = REG_SZ \" G \"\n"), std::string::npos) << status;
    add.push_back("--dry-run");
    EXPECT_EQ(Output(add) + "loaded 0x00: not by itself\n", status);
}

TEST_F(HostCommand, ArxRefusesWrongUse) {
    Expect({"arx", "status", "Walls", "--release", "2020"}, 1, "",
           "kvtfile: the release 2020 is not installed\n  'kvtfile host list' lists the installed hosts.\n");
    Expect({"arx", "status", "Walls", "--release", "1999"}, 2, "",
           "kvtfile: there is no release '1999'\n  The AutoCAD release: R14, 2000, Map2000, 2002, Map6, 2004 to 2022, "
           "Map2004 to Map2006\n");
    Expect({"arx", "add", "A", "--release", "2020", "--folder", "C:\\", "--command", " "}, 2, "",
           "kvtfile: ' ' is no command name\n  Give a name, or leave --command out.\n");
    Expect({"arx", "remove", "A\\B", "--release", "2020"}, 2, "",
           "kvtfile: 'A\\B' is no application name\n  Give a name of at most 255 characters, without backslashes.\n");
    for (const std::string& name : {std::string(), std::string(" "), std::string(" \t"), std::string(256, 'x')}) {
        for (const char* verb : {"remove", "status"}) {
            Expect({"arx", verb, name, "--release", "2020"}, 2, "",
                   "kvtfile: '" + name +
                       "' is no application name\n  Give a name of at most 255 characters, without backslashes.\n");
        }
        Expect({"arx", "add", name, "--release", "2020", "--folder", "C:\\"}, 2, "",
               "kvtfile: '" + name +
                   "' is no application name\n  Give a name of at most 255 characters, without backslashes.\n");
    }
    m_keys.Load("r15");
    Expect({"arx", "add", "A", "--release", "2000", "--folder", "C:\\", "--maker-key", "\\Software\\M"}, 2, "",
           "kvtfile: 'HKEY_LOCAL_MACHINE\\\\Software\\M\\A' holds an empty name\n"
           "  A key's path is, for example, HKCU\\Software\\Demo; the root keys are HKCR, HKCU, HKLM, HKU and HKCC.\n");
    Expect({"arx", "add", "A", "--release", "2020", "--folder", ""}, 2, "",
           "kvtfile: '' is no folder\n  Give the folder of the module files.\n");
    Expect({"arx", "add", "A", "--release", "2020", "--folder", "C:\\", "--module", ""}, 2, "",
           "kvtfile: '' is no module name\n  Give the file's name without .arx.\n");
    Expect(
        {"arx", "add", "A", "--release", "2020", "--folder", "C:\\", "--load", "always"}, 2, "",
        "kvtfile: there is no load control 'always'\n  Give proxy, startup, command, request, never or transparent.\n");
}

TEST_F(HostCommand, SupportPathIsListedAndChanged) {
    m_keys.Load("r15");
    Expect({"support-path", "list"}, 0,
           "C:\\Program Files\\AutoCAD 2002\\support\nC:\\Program Files\\AutoCAD 2002\\fonts\nD:\\图库\n");
    ExpectJson(
        {"support-path", "list", "--json", "--release", "2002"},
        R"({"folders":["C:\\Program Files\\AutoCAD 2002\\support","C:\\Program Files\\AutoCAD 2002\\fonts","D:\\图库"]})");
    const std::string general = kR15General;
    const std::string added = "d:\\墙\\support;" + std::string(kFolders);
    Expect({"support-path", "add", "D:\\墙\\Support", "--dry-run"}, 0,
           "[" + general + "]\nACAD = REG_SZ " + Escaped(added) + "\n");
    Expect({"reg", "query", general, "--value", "ACAD"}, 0, std::string(kFolders) + "\n");
    Expect({"support-path", "add", "D:\\墙\\Support"}, 0, general + ": D:\\墙\\Support added\n");
    Expect({"reg", "query", general, "--value", "ACAD"}, 0, added + "\n");
    Expect({"support-path", "add", "d:\\墙\\support"}, 0, general + ": d:\\墙\\support was there already\n");
    Expect({"support-path", "remove", "D:\\墙\\Support", "--dry-run"}, 0,
           "[" + general + "]\nACAD = REG_SZ " + Escaped(kFolders) + "\n");
    Expect({"support-path", "remove", "D:\\墙\\Support"}, 0, general + ": D:\\墙\\Support removed\n");
    Expect({"reg", "query", general, "--value", "ACAD"}, 0, std::string(kFolders) + "\n");
    Expect({"support-path", "remove", "D:\\墙\\Support"}, 1, "",
           "kvtfile: " + general +
               ": the search path does not hold D:\\墙\\Support\n"
               "  'kvtfile support-path list' lists its folders; they compare in lower case.\n");
}

TEST_F(HostCommand, SupportPathTellsWhatIsNotTakenOut) {
    m_keys.Load("r15");
    const std::string general = kR15General;
    const std::string where = " without a ';' behind it";
    Output({"reg", "add", general, "--value", "ACAD", "--data", "c:\\x;d:\\b"});
    for (const bool dryRun : {true, false}) {
        std::vector<std::string> remove = {"support-path", "remove", "D:\\b"};
        if (dryRun) {
            remove.push_back("--dry-run");
        }
        Expect(remove, 1, "",
               "kvtfile: " + general + ": D:\\b stands at the end," + where +
                   "; nothing was changed\n"
                   "  Only a folder with a ';' behind it is taken out; 'kvtfile reg add' sets the value ACAD.\n");
    }
    Expect({"reg", "query", general, "--value", "ACAD"}, 0, "c:\\x;d:\\b\n");
    Output({"reg", "add", general, "--value", "ACAD", "--data", "d:\\b;c:\\x;d:\\b"});
    Expect({"support-path", "remove", "D:\\b"}, 0,
           general + ": D:\\b removed, but for the one at the end" + where + "\n");
    Expect({"reg", "query", general, "--value", "ACAD"}, 0, "c:\\x;d:\\b\n");
}

TEST_F(HostCommand, SupportPathRefusesWhatCannotBeWrittenInADryRunToo) {
    m_keys.Load("r15");
    const std::string general = kR15General;
    const std::string profiles = general.substr(0, general.find("\\<<"));
    Output({"reg", "add", general, "--value", "ACAD", "--type", "REG_BINARY", "--data", "61006200"});
    const auto refused = [this](const std::string& err) {
        for (const char* verb : {"add", "remove"}) {
            Expect({"support-path", verb, "D:\\b"}, 1, "", err);
            Expect({"support-path", verb, "D:\\b", "--dry-run"}, 1, "", err);
        }
    };
    refused("kvtfile: " + general +
            ": the search path is no text, but of type REG_BINARY\n"
            "  'kvtfile reg query' shows the value ACAD; 'kvtfile reg add' sets it.\n");
    Output({"reg", "add", profiles, "--default", "--data", "gone"});
    refused("kvtfile: " + profiles + "\\gone\\General: the current profile has no settings\n  Start the host once.\n");
    Output({"reg", "add", profiles, "--default", "--data", ""});
    refused("kvtfile: " + profiles + ": no current profile\n  Start the host once.\n");
}

TEST_F(HostCommand, SupportPathNeedsAHostAndAFolder) {
    Expect({"support-path", "list"}, 1, "",
           "kvtfile: the release 2000 is not installed, or has no current profile\n"
           "  'kvtfile host list' lists the installed hosts.\n");
    Expect({"support-path", "add", "C:\\A"}, 1, "",
           "kvtfile: no AutoCAD of the releases 2000 to 2002 is installed\n"
           "  'kvtfile host list' lists the installed hosts.\n");
    for (const char* folder : {"", "C:\\A;C:\\B"}) {
        Expect({"support-path", "remove", folder}, 2, "",
               "kvtfile: '" + std::string(folder) + "' is no folder\n  Give one folder; ';' parts folders.\n");
    }
}

TEST_F(HostCommand, SampleRegistriesComeBackByteForByte) {
    for (const char* name : {"acad2007-2020", "acad2020", "damaged", "gstarcad", "mixed", "r14", "r14-placeholder",
                             "r15", "r16", "zwcad"}) {
        for (const char* half : {"-machine", "-user"}) {
            const std::string source = KVTFILE_TEST_DATA "/registry/" + (name + std::string(half)) + ".reg";
            const std::string vendor = std::string(name) == "gstarcad" ? "GstarSoft"
                                       : std::string(name) == "zwcad"  ? "ZWSOFT"
                                                                       : "Autodesk";
            const std::string root = half == std::string("-machine") ? "HKEY_LOCAL_MACHINE\\SOFTWARE\\" + vendor
                                                                     : "HKEY_CURRENT_USER\\Software\\" + vendor;
            SCOPED_TRACE(source);
            const HostKeys empty;
            Output({"reg", "import", source});
            Output({"reg", "export", root, "out.reg", "--force"});
            EXPECT_EQ(Read(_T("out.reg")), ReadBytes(Wide(source)));
        }
    }
}

}  // namespace
}  // namespace kvttest
