// kvtfile reg query, add, delete, export, import.

#include "tests/tools/command_fixture.h"

namespace kvttest {
namespace {

/// Each test works under a key of its own, which is gone afterwards.
class RegCommand : public CommandTest {
protected:
    RegCommand() { DeleteKey(); }
    ~RegCommand() override { DeleteKey(); }

    static constexpr const char* kKey = "HKEY_CURRENT_USER\\Software\\kvtfile-reg-command";

    static std::string Beneath(const std::string& name) { return kKey + ("\\" + name); }

    void Add(const std::string& key, const std::vector<std::string>& words) {
        std::vector<std::string> arguments = {"reg", "add", key};
        arguments.insert(arguments.end(), words.begin(), words.end());
        const ProcessResult result = Run(arguments);
        EXPECT_EQ(result.exitCode, 0) << result.err;
    }

    /// The bytes of a registration file.
    static std::string RegFile(const std::string& ascii) {
        std::string bytes = "\xFF\xFE";
        for (const char c : "Windows Registry Editor Version 5.00\r\n\r\n" + ascii) {
            bytes += c;
            bytes += '\0';
        }
        return bytes;
    }

private:
    void DeleteKey() { Run({"reg", "delete", kKey, "--force"}); }
};

TEST_F(RegCommand, AddMakesKeysAndValues) {
    Expect({"reg", "add", kKey}, 0, std::string(kKey) + ": created\n");
    Expect({"reg", "add", kKey}, 0, std::string(kKey) + ": was there already\n");
    Expect({"reg", "add", "HKCU\\Software\\kvtfile-reg-command\\", "--value", "Width", "--type", "dword", "--data",
            "0x320"},
           0, std::string(kKey) + ": Width set\n");
    Expect({"reg", "query", kKey, "--value", "width"}, 0, "800\n");
    Expect({"reg", "add", Beneath("Deep\\Deeper"), "--default", "--data", "a\nb"}, 0,
           Beneath("Deep\\Deeper") + ": (default) set\n");
    Expect({"reg", "query", kKey, "--recursive"}, 0,
           "[" + std::string(kKey) + "]\nWidth = REG_DWORD 800\n[" + Beneath("Deep") + "]\n[" +
               Beneath("Deep\\Deeper") + "]\n(default) = REG_SZ \"a\\nb\"\n");
    Expect({"reg", "query", kKey}, 0,
           "[" + std::string(kKey) + "]\nWidth = REG_DWORD 800\n[" + Beneath("Deep") + "]\n");
}

#ifndef _WIN32
// Wine makes such a key.
TEST_F(RegCommand, AddTellsWhichKeysTheSystemMakes) {
    Expect({"reg", "add", "HKLM\\kvtfile-reg-command"}, 3, "",
           "kvtfile: HKEY_LOCAL_MACHINE\\kvtfile-reg-command: " + Utf8(SystemText(ERROR_INVALID_PARAMETER)) +
               "\n  No key can be made right below HKLM or HKU, nor more than 512 levels deep.\n");
}
#endif

TEST_F(RegCommand, EveryTypeIsWrittenAndShown) {
    const struct {
        const char* type;
        std::vector<std::string> data;
        const char* plain;
        const char* json;  // of the data
        const char* bytes;
    } rows[] = {
        {"REG_SZ", {"中"}, "中", "\"中\"", "2d4e0000"},
        {"REG_SZ", {""}, "", "\"\"", "0000"},
        {"reg_expand_sz", {"%A%"}, "%A%", "\"%A%\"", "2500410025000000"},
        {"REG_MULTI_SZ", {"a", "b"}, "a\nb", "[\"a\",\"b\"]", "61000000620000000000"},
        {"multi_sz", {}, "", "[]", "0000"},
        {"REG_DWORD", {"4294967295"}, "4294967295", "4294967295", "ffffffff"},
        {"REG_DWORD_BIG_ENDIAN", {"258"}, "258", "258", "00000102"},
        {"REG_QWORD", {"0x0102030405060708"}, "72623859790382856", "72623859790382856", "0807060504030201"},
        {"REG_BINARY", {"01, ff"}, "01ff", "null", "01ff"},
        {"REG_BINARY", {""}, "", "null", ""},
        {"REG_NONE", {"00"}, "00", "null", "00"},
    };
    for (const auto& row : rows) {
        std::vector<std::string> words = {"--value", "v", "--type", row.type};
        for (const std::string& data : row.data) {
            words.push_back("--data");
            words.push_back(data);
        }
        Add(kKey, words);
        Expect({"reg", "query", kKey, "--value", "v"}, 0, std::string(row.plain) + "\n");
        const Json json = Json::parse(Run({"reg", "query", kKey, "--value", "v", "--json"}).out);
        EXPECT_EQ(json["key"], kKey);
        EXPECT_EQ(json["name"], "v");
        EXPECT_EQ(json["data"], Json::parse(row.json));
        EXPECT_EQ(json["bytes"], row.bytes);
    }
}

TEST_F(RegCommand, QueryAsJson) {
    Add(Beneath("B"), {"--value", "n", "--data", "t"});
    Add(Beneath("A"), {});
    ExpectJson(
        {"reg", "query", kKey, "--json"},
        R"({"keys":[{"key":"HKEY_CURRENT_USER\\Software\\kvtfile-reg-command","values":[],"subkeys":["A","B"]}]})");
    ExpectJson({"reg", "query", kKey, "--json", "--recursive"}, R"({"keys":[
        {"key":"HKEY_CURRENT_USER\\Software\\kvtfile-reg-command","values":[],"subkeys":["A","B"]},
        {"key":"HKEY_CURRENT_USER\\Software\\kvtfile-reg-command\\A","values":[],"subkeys":[]},
        {"key":"HKEY_CURRENT_USER\\Software\\kvtfile-reg-command\\B",
         "values":[{"name":"n","type":"REG_SZ","data":"t","bytes":"74000000"}],"subkeys":[]}]})");
}

TEST_F(RegCommand, MissingKeysAndValuesAreNotFound) {
    Expect({"reg", "query", kKey}, 1, "",
           "kvtfile: " + std::string(kKey) +
               ": there is no such key\n  'kvtfile reg query' lists the keys beneath a key.\n");
    Expect({"reg", "delete", kKey}, 1, "",
           "kvtfile: " + std::string(kKey) +
               ": there is no such key\n  'kvtfile reg query' lists the keys beneath a key.\n");
    Add(kKey, {});
    Expect({"reg", "query", kKey, "--default"}, 1, "",
           "kvtfile: " + std::string(kKey) +
               ": no value '(default)'\n  'kvtfile reg query' without --value lists the values.\n");
    Expect({"reg", "delete", kKey, "--value", "x"}, 1, "",
           "kvtfile: " + std::string(kKey) + ": no value 'x'\n  'kvtfile reg query' lists the values.\n");
}

TEST_F(RegCommand, DeleteSparesAKeyThatHoldsKeys) {
    Add(Beneath("A\\B"), {"--value", "n"});
    Expect({"reg", "delete", Beneath("A")}, 1, "",
           "kvtfile: " + Beneath("A") +
               ": the key holds 1 key; nothing was deleted\n  --force deletes it with everything beneath it.\n");
    Expect({"reg", "delete", Beneath("A\\B"), "--value", "n"}, 0, Beneath("A\\B") + ": n deleted\n");
    Expect({"reg", "delete", Beneath("A"), "--force"}, 0, Beneath("A") + ": deleted\n");
    Expect({"reg", "query", kKey}, 0, "[" + std::string(kKey) + "]\n");
    Expect({"reg", "delete", "HKCU"}, 1, "",
           "kvtfile: HKEY_CURRENT_USER: a root key cannot be deleted\n  Name a key beneath it.\n");
}

TEST_F(RegCommand, WrongUseIsRefused) {
    const std::string pathAdvice =
        "  A key's path is, for example, HKCU\\Software\\Demo; the root keys are HKCR, HKCU, HKLM, HKU and HKCC.\n";
    Expect({"reg", "query", "Software\\Demo"}, 2, "",
           "kvtfile: 'Software\\Demo' does not begin with a root key\n" + pathAdvice);
    for (const char* path : {"HKCU\\\\A", "HKCU\\A\\\\B", "HKCU\\A\\\\"}) {
        Expect({"reg", "query", path}, 2, "",
               "kvtfile: '" + std::string(path) + "' holds an empty name\n" + pathAdvice);
    }
    const std::string longName = "HKCU\\" + std::string(256, 'x');
    Expect({"reg", "add", longName}, 2, "",
           "kvtfile: '" + longName + "' holds a name longer than 255 characters\n" + pathAdvice);
    Expect({"reg", "add", kKey, "--data", "x"}, 2, "",
           "kvtfile: --data needs --value NAME or --default\n  See: kvtfile reg add --help\n");
    Expect({"reg", "add", kKey, "--type", "REG_DWORD"}, 2, "",
           "kvtfile: --type needs --value NAME or --default\n  See: kvtfile reg add --help\n");
    Expect({"reg", "add", kKey, "--value", "x", "--type", "REG_TEXT"}, 2, "",
           "kvtfile: there is no type 'REG_TEXT'\n  See: kvtfile reg add --help\n");
    const struct {
        const char* type;
        const char* data;
        const char* advice;
    } rows[] = {
        {"REG_DWORD", "4294967296", "Give a number in decimal, or in hexadecimal after 0x, that fits the type."},
        {"REG_DWORD", "", "Give a number in decimal, or in hexadecimal after 0x, that fits the type."},
        {"REG_DWORD", "0x", "Give a number in decimal, or in hexadecimal after 0x, that fits the type."},
        {"REG_QWORD", "18446744073709551616",
         "Give a number in decimal, or in hexadecimal after 0x, that fits the type."},
        {"REG_BINARY", "123", "Give bytes as pairs of hexadecimal digits: 01ff or 01,ff."},
        {"REG_BINARY", "xy", "Give bytes as pairs of hexadecimal digits: 01ff or 01,ff."},
    };
    for (const auto& row : rows) {
        Expect({"reg", "add", kKey, "--value", "x", "--type", row.type, "--data", row.data}, 2, "",
               "kvtfile: '" + std::string(row.data) + "' is no data of type " + row.type + "\n  " + row.advice + "\n");
    }
    EXPECT_EQ(Run({"reg", "query", kKey}).exitCode, 1);  // nothing of it was made
}

TEST_F(RegCommand, ExportAndImportGiveTheSameFile) {
    Add(Beneath("A\\B"), {"--value", "text", "--data", "c:\\\"x\""});
    Add(Beneath("A\\C]"), {"--value", "list", "--type", "REG_MULTI_SZ", "--data", "one"});
    Add(Beneath("A"), {"--default", "--type", "REG_DWORD", "--data", "7"});
    Expect({"reg", "export", Beneath("A"), "a.reg"}, 0, "a.reg: 3 keys and 3 values written\n");
    const std::string key = "[" + Beneath("A");
    const std::string expected =
        RegFile(key + "]\r\n@=dword:00000007\r\n\r\n" + key + "\\B]\r\n\"text\"=\"c:\\\\\\\"x\\\"\"\r\n\r\n" + key +
                "\\C]]\r\n\"list\"=hex(7):6f,00,6e,00,65,00,00,00,00,00\r\n\r\n");
    EXPECT_EQ(Read(_T("a.reg")), expected);
    Expect({"reg", "export", Beneath("A"), "a.reg"}, 1, "",
           "kvtfile: a.reg: the file is there already; nothing was written\n  --force puts the export in its place.\n");
    Expect({"reg", "delete", Beneath("A"), "--force"}, 0, Beneath("A") + ": deleted\n");
    Expect({"reg", "import", "a.reg", "--dry-run"}, 0,
           Beneath("A") + ": 1 value set\n" + Beneath("A\\B") + ": 1 value set\n" + Beneath("A\\C]") +
               ": 1 value set\na.reg: 3 keys to take in\n");
    EXPECT_EQ(Run({"reg", "query", Beneath("A")}).exitCode, 1);
    Expect({"reg", "import", "a.reg"}, 0, "a.reg: 3 keys taken in\n");
    Expect({"reg", "export", Beneath("A"), "a.reg", "--force"}, 0, "a.reg: 3 keys and 3 values written\n");
    EXPECT_EQ(Read(_T("a.reg")), expected);
}

TEST_F(RegCommand, TextsWithoutANulAreTakenInAsTheyAre) {
    const std::string file = RegFile("[" + std::string(kKey) +
                                     "]\r\n\"a\"=hex(1):61,00\r\n\"b\"=hex(2):61,00,62,00,63,00\r\n"
                                     "\"c\"=hex(7):61,00,62,00,63,00,64,00,65,00,66,00,67,00\r\n\"d\"=hex(1):61\r\n"
                                     "\"e\"=hex(1):61,00,62\r\n\"f\"=hex(1):\r\n\r\n");
    Write(_T("a.reg"), file);
    Expect({"reg", "import", "a.reg"}, 0, "a.reg: 1 key taken in\n");
    Expect({"reg", "export", kKey, "b.reg"}, 0, "b.reg: 1 key and 6 values written\n");
    EXPECT_EQ(Read(_T("b.reg")), file);
}

TEST_F(RegCommand, HalvesOfCharactersInNamesComeBack) {
    std::string file = RegFile("[" + Beneath("A") + "]\r\n\r\n[" + Beneath("A\\b#c") + "]\r\n\"d#\"=\"e#f\"\r\n\r\n");
    for (size_t at = file.find('#'); at != std::string::npos; at = file.find('#')) {
        file.replace(at, 2, "\x34\xD8");
    }
    Write(_T("a.reg"), file);
    Expect({"reg", "import", "a.reg"}, 0, "a.reg: 2 keys taken in\n");
    Expect({"reg", "export", Beneath("A"), "b.reg"}, 0, "b.reg: 2 keys and 1 value written\n");
    EXPECT_EQ(Read(_T("b.reg")), file);
}

TEST_F(RegCommand, AKeyWithALineBreakInItsNameIsNotExported) {
    Add(Beneath("A\\b\nc"), {});
    Expect({"reg", "export", kKey, "a.reg"}, 1, "",
           "kvtfile: the name of the key " + Json(Beneath("A\\b\nc")).dump() +
               " holds a line break, which no registration file can hold; nothing was written\n"
               "  Export the other keys one by one.\n");
    EXPECT_FALSE(Exists(File(_T("a.reg"))));
}

TEST_F(RegCommand, ImportDeletesWhatTheFileSays) {
    Add(Beneath("A\\B"), {"--value", "x"});
    Add(kKey, {"--value", "y"});
    Write(_T("a.reg"), RegFile("[-" + Beneath("A") + "]\r\n[-" + Beneath("None") + "]\r\n[" + std::string(kKey) +
                               "]\r\n\"y\"=-\r\n\"none\"=-\r\n\"z\"=\"1\"\r\n"));
    Expect({"reg", "import", "a.reg", "--dry-run"}, 0,
           Beneath("A") + ": deleted\n" + Beneath("None") + ": not there\n" + kKey +
               ": 1 value set, 2 values deleted\na.reg: 3 keys to take in\n");
    Expect({"reg", "import", "a.reg"}, 0, "a.reg: 3 keys taken in\n");
    Expect({"reg", "query", kKey}, 0, "[" + std::string(kKey) + "]\nz = REG_SZ \"1\"\n");
}

TEST_F(RegCommand, AMalformedFileChangesNothing) {
    Write(_T("a.reg"), RegFile("[" + std::string(kKey) + "]\r\n\"a\"=\"1\"\r\n\"b\"=\"c:\\temp\"\r\n"));
    Expect({"reg", "import", "a.reg"}, 3, "",
           "kvtfile: a.reg: line 5: a single '\\' stands in a quoted text; write it '\\\\'; nothing was changed\n"
           "  Correct the line.\n");
    EXPECT_EQ(Run({"reg", "query", kKey}).exitCode, 1);
    Expect({"reg", "import", "no.reg"}, 3, "",
           "kvtfile: no.reg: " + Utf8(SystemText(ERROR_FILE_NOT_FOUND)) + "\n  Look at the path and at its rights.\n");
}

}  // namespace
}  // namespace kvttest
