// Installed settings files: opened through their working copy, merged with newer installed ones.

#include "tests/tools/command_fixture.h"

namespace kvttest {
namespace {

class MergeCommand : public CommandTest {
protected:
    static constexpr const WCHAR* kFolder = _T("C:\\ORVASOFT\\RIVADX V11.0\\Sys");
    static constexpr const WCHAR* kInstalled = _T("C:\\ORVASOFT\\RIVADX V11.0\\Sys\\Layer.xml");
    static constexpr const WCHAR* kWorking = _T("C:\\OrvaData\\RIVADX\\Sys\\Layer.xml");
    static constexpr const char* kInstalledName = "C:\\ORVASOFT\\RIVADX V11.0\\Sys\\Layer.xml";
    static constexpr const char* kNote =
        "kvtfile: working on C:\\OrvaData\\RIVADX\\Sys\\Layer.xml, the working copy of "
        "C:\\ORVASOFT\\RIVADX V11.0\\Sys\\Layer.xml\n";
    static constexpr const char* kFirst =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n"
        "<CONFIG>\r\n"
        "<CLASS key=\"Display\" text=\"Display\" extend=\"\">\r\n"
        "<DATA key=\"Width\" text=\"\" value=\"800\" type=\"\" default=\"800\" range=\"\" dict=\"\" extend=\"\"/>\r\n"
        "</CLASS>\r\n"
        "</CONFIG>\r\n";
    // A new class with a data item, a new data item, and a blank filled.
    static constexpr const char* kSecond =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n"
        "<CONFIG>\r\n"
        "<CLASS key=\"Display\" text=\"Display\" extend=\"\">\r\n"
        "<DATA key=\"Width\" text=\"Width\" value=\"900\" type=\"\" default=\"800\" range=\"\" dict=\"\" "
        "extend=\"\"/>\r\n"
        "<DATA key=\"Height\" text=\"\" value=\"600\" type=\"\" default=\"\" range=\"\" dict=\"\" extend=\"\"/>\r\n"
        "</CLASS>\r\n"
        "<CLASS key=\"Printer\" text=\"\" extend=\"\">\r\n"
        "<DATA key=\"Copies\" text=\"\" value=\"1\" type=\"\" default=\"\" range=\"\" dict=\"\" extend=\"\"/>\r\n"
        "</CLASS>\r\n"
        "</CONFIG>\r\n";

    MergeCommand() {
        MakeFolders(kFolder);
        Install(kFirst, 1600000000);
    }
    ~MergeCommand() override {
        RemoveTree(_T("C:\\OrvaData"));
        RemoveTree(_T("C:\\ORVASOFT"));
    }

    static void Install(const char* bytes, long long seconds) {
        WriteBytes(kInstalled, bytes);
        SetFileSeconds(kInstalled, seconds);
    }
    /// The user opens the file, changes a value, and a newer file is installed.
    void ChangeAndInstallNewer() {
        Expect({"cfg", "set", kInstalledName, "Display.Width", "1024"}, 0,
               "C:\\OrvaData\\RIVADX\\Sys\\Layer.xml: Display.Width set\n", kNote);
        Install(kSecond, 1600000100);
    }
};

TEST_F(MergeCommand, OpenMakesTheWorkingCopyOnce) {
    Expect({"cfg", "open", kInstalledName}, 0,
           "opened C:\\OrvaData\\RIVADX\\Sys\\Layer.xml\n"
           "  the working copy of C:\\ORVASOFT\\RIVADX V11.0\\Sys\\Layer.xml, made now\n");
    EXPECT_EQ(ReadBytes(kWorking), kFirst);
    Expect({"cfg", "open", kInstalledName}, 0,
           "opened C:\\OrvaData\\RIVADX\\Sys\\Layer.xml\n"
           "  the working copy of C:\\ORVASOFT\\RIVADX V11.0\\Sys\\Layer.xml\n");
    ExpectJson({"cfg", "open", kInstalledName, "--json"},
               R"({"file":"C:\\ORVASOFT\\RIVADX V11.0\\Sys\\Layer.xml","opened":"C:\\OrvaData\\RIVADX\\Sys\\Layer.xml",
                   "redirected":true,"created":false,"added":0,"filled":0})");
}

TEST_F(MergeCommand, OpenTakesForwardSlashesForBackslashes) {
    Expect({"cfg", "get", "C:/ORVASOFT/RIVADX V11.0/Sys/Layer.xml", "Display.Width"}, 0, "800\n",
           "kvtfile: working on C:\\OrvaData\\RIVADX\\Sys\\Layer.xml, the working copy of C:/ORVASOFT/RIVADX "
           "V11.0/Sys/Layer.xml\n");
}

TEST_F(MergeCommand, ChangesGoToTheWorkingCopyAlone) {
    ChangeAndInstallNewer();
    EXPECT_EQ(ReadBytes(kInstalled), kSecond);
    EXPECT_NE(ReadBytes(kWorking).find("value=\"1024\""), std::string::npos);
}

TEST_F(MergeCommand, InPlaceChangesTheInstalledFileItself) {
    Expect({"cfg", "set", kInstalledName, "Display.Width", "1024", "--in-place"}, 0,
           "C:\\ORVASOFT\\RIVADX V11.0\\Sys\\Layer.xml: Display.Width set\n");
    EXPECT_FALSE(Exists(kWorking));
    EXPECT_NE(ReadBytes(kInstalled).find("value=\"1024\""), std::string::npos);
}

TEST_F(MergeCommand, ReportShowsWhatTheNextOpeningBringsAndChangesNothing) {
    ChangeAndInstallNewer();
    const std::string working = ReadBytes(kWorking);
    Expect({"cfg", "merge", kInstalledName}, 0,
           "installed C:\\ORVASOFT\\RIVADX V11.0\\Sys\\Layer.xml\n"
           "working   C:\\OrvaData\\RIVADX\\Sys\\Layer.xml\n"
           "  added   Display.Height = \"600\"\n"
           "  added   [Printer]\n"
           "  added   Printer.Copies = \"1\"\n"
           "  filled  Display.Width text = \"Width\"\n"
           "  kept    Display.Width value = \"1024\", installed \"900\"\n"
           "would merge: 1 class and 2 data items added, 1 blank filled\n"
           "the next opening takes this in\n");
    EXPECT_EQ(ReadBytes(kWorking), working);
    Expect({"cfg", "open", kInstalledName}, 0,
           "opened C:\\OrvaData\\RIVADX\\Sys\\Layer.xml\n"
           "  the working copy of C:\\ORVASOFT\\RIVADX V11.0\\Sys\\Layer.xml\n"
           "  merged: 1 class and 2 data items added, 1 blank filled\n");
    Expect({"cfg", "list", kInstalledName, "--recursive"}, 0,
           "[Display] \"Display\"\n"
           "Display.Width = \"1024\"\n"
           "Display.Height = \"600\"\n"
           "[Printer]\n"
           "Printer.Copies = \"1\"\n",
           kNote);
}

TEST_F(MergeCommand, ReportAsJson) {
    ChangeAndInstallNewer();
    ExpectJson({"cfg", "merge", kInstalledName, "--json"},
               R"({"installed":"C:\\ORVASOFT\\RIVADX V11.0\\Sys\\Layer.xml",
        "working":"C:\\OrvaData\\RIVADX\\Sys\\Layer.xml","workingExists":true,"due":"yes","added":[
        {"kind":"data","path":"Display.Height","key":"Height","text":"","value":"600","type":"","default":"","range":"",
         "dict":"","extend":""},
        {"kind":"class","path":"Printer","key":"Printer","text":"","extend":""},
        {"kind":"data","path":"Printer.Copies","key":"Copies","text":"","value":"1","type":"","default":"","range":"",
         "dict":"","extend":""}],
        "filled":[{"kind":"data","path":"Display.Width","field":"text","value":"Width","installed":"Width"}],
        "kept":[{"kind":"data","path":"Display.Width","field":"value","value":"1024","installed":"900"}],
        "applied":false})");
}

TEST_F(MergeCommand, ApplyBringsItInAtOnceAndOnlyOnce) {
    ChangeAndInstallNewer();
    const ProcessResult applied = Run({"cfg", "merge", kInstalledName, "--apply"});
    EXPECT_EQ(applied.exitCode, 0) << applied.err;
    EXPECT_NE(applied.out.find("merged: 1 class and 2 data items added, 1 blank filled\n"), std::string::npos)
        << applied.out;
    Expect({"cfg", "get", kInstalledName, "Printer.Copies"}, 0, "1\n", kNote);
    Expect({"cfg", "get", kInstalledName, "Display.Width"}, 0, "1024\n", kNote);
    Expect({"cfg", "merge", kInstalledName}, 0,
           "installed C:\\ORVASOFT\\RIVADX V11.0\\Sys\\Layer.xml\n"
           "working   C:\\OrvaData\\RIVADX\\Sys\\Layer.xml\n"
           "  kept    Display.Width value = \"1024\", installed \"900\"\n"
           "would merge: 0 classes and 0 data items added, 0 blanks filled\n");
}

TEST_F(MergeCommand, ReportSaysWhenOpeningWouldTakeNothingIn) {
    ChangeAndInstallNewer();
    SetFileSeconds(kInstalled, 1500000000);
    const ProcessResult older = Run({"cfg", "merge", kInstalledName});
    EXPECT_EQ(older.exitCode, 0);
    EXPECT_NE(older.out.find("would merge: 1 class and 2 data items added, 1 blank filled\nthe installed file is not "
                             "newer than at its last merge, so that opening takes nothing in\n"),
              std::string::npos)
        << older.out;
    const ProcessResult applied = Run({"cfg", "merge", kInstalledName, "--apply"});
    EXPECT_EQ(applied.exitCode, 0) << applied.err;
    Expect({"cfg", "get", kInstalledName, "Printer.Copies"}, 0, "1\n", kNote);
}

TEST_F(MergeCommand, ReportBeforeTheFirstOpeningMakesNoCopy) {
    Expect({"cfg", "merge", kInstalledName}, 0,
           "installed C:\\ORVASOFT\\RIVADX V11.0\\Sys\\Layer.xml\n"
           "working   C:\\OrvaData\\RIVADX\\Sys\\Layer.xml\n"
           "not there yet; the next opening makes it\n");
    EXPECT_FALSE(Exists(kWorking));
}

TEST_F(MergeCommand, RefusesAFileWithoutWorkingCopy) {
    Write(_T("s.xml"), kFirst);
    Expect({"cfg", "merge", "s.xml"}, 1, "",
           "kvtfile: s.xml: this file has no working copy\n"
           "  Name the installed file, in its versioned product folder.\n");
}

TEST_F(MergeCommand, IniFilesAreRedirectedAndMergedToo) {
    const CString installed = CString(kFolder) + _T("\\app.ini");
    WriteBytes(installed, "[A]\r\nk=1\r\n");
    SetFileSeconds(installed, 1600000000);
    const std::string name = Utf8(installed);
    const std::string note =
        "kvtfile: working on C:\\OrvaData\\RIVADX\\Sys\\app.ini, the working copy of " + name + "\n";
    Expect({"ini", "set", name, "A", "k", "2"}, 0, "C:\\OrvaData\\RIVADX\\Sys\\app.ini: [A] k set\n", note);
    WriteBytes(installed, "[A]\r\nk=3\r\nn=4\r\n");
    SetFileSeconds(installed, 1600000100);
    Expect({"ini", "list", name}, 0, "[A]\nk=2\nn=4\n", note);
    Expect({"ini", "list", name, "--in-place"}, 0, "[A]\nk=3\nn=4\n");
}

}  // namespace
}  // namespace kvttest
