// The command line as a whole: parses it, runs one verb, and turns what ends a verb into a message and an exit code.

#include "tools/kvtfile/command.h"

#include <CLI/CLI.hpp>
#include <algorithm>

#include "tools/kvtfile/report.h"
#include "tools/kvtfile/text_file.h"
#include "tools/kvtfile/verbs.h"

namespace kvtcommand {

namespace {

constexpr const char* kFooter =
    "A path is relative, C:\\folder\\file or, off Windows, /folder/file; drives stand in the prefix there\n"
    "($KVTFILE_PREFIX, else $XDG_DATA_HOME/kvtfile, else ~/.local/share/kvtfile). A value that begins with '-'\n"
    "follows a '--' of its own or is joined to its option: --data=-5.\n"
    "\n"
    "Exit codes: 0 done, 1 not found or refused, 2 wrong usage, 3 file or format error.\n"
    "\n"
    "Examples:\n"
    "  kvtfile xml check drawing.xml\n"
    "  kvtfile cfg set 'C:\\ORVASOFT\\RIVADX V11.0\\Sys\\Layer.xml' Display.Width 1024\n"
    "  kvtfile ini get setup.ini Language Name --json";

void ReportLine(const std::string& what, const std::string& advice) {
    Note(what + (advice.empty() ? "" : "\n  " + advice));
}

/// "kvtfile xml get": what was recognised of the command line.
std::string RecognisedVerb(const CLI::App& app) {
    std::string name = app.get_name();
    for (const CLI::App* at = &app; !at->get_subcommands().empty();) {
        at = at->get_subcommands().back();
        name += " " + at->get_name();
    }
    return name;
}

/// What is wrong with a command line, by name where a subcommand was expected.
std::string UsageError(const CLI::App& app, const CLI::ParseError& error) {
    const std::vector<std::string> unknown = app.remaining(true);
    if (error.get_name() != "RequiredError" || unknown.empty()) {
        return error.what();
    }
    return unknown.front()[0] == '-' ? "The following argument was not expected: " + unknown.front()
                                     : "There is no subcommand '" + unknown.front() + "'";
}

}  // namespace

CLI::App* AddVerb(CLI::App& family, const char* name, const char* description, const char* examples) {
    CLI::App* verb = family.add_subcommand(name, description);
    verb->footer(std::string("Examples:\n") + examples);
    return verb;
}

int Run(std::vector<std::string> arguments) {
    CLI::App app(
        "Reads and changes settings, XML and INI files and the registry, and registers add-ons with CAD hosts.",
        "kvtfile");
    // An element path begins with "/" on every target.
    app.allow_windows_style_options(false);
    app.set_version_flag("--version", "kvtfile " KVTFILE_VERSION);
    app.require_subcommand(1);
    app.footer(kFooter);
    AddXmlVerbs(app);
    AddCfgVerbs(app);
    AddIniVerbs(app);
    AddRegVerbs(app);
    AddHostVerbs(app);
    AddArxVerbs(app);
    AddSupportPathVerbs(app);
    AddFileVerbs(app);
    AddLogVerbs(app);
    AddLinesVerbs(app);
    AddScanVerb(app);
    try {
        std::reverse(arguments.begin(), arguments.end());
        app.parse(std::move(arguments));
        FlushOutput();
        return exitDone;
    } catch (const CLI::Success& answer) {
        return app.exit(answer);
    } catch (const CLI::ParseError& error) {
        ReportLine(UsageError(app, error), "See: " + RecognisedVerb(app) + " --help");
        return exitUsage;
    } catch (const Failure& failure) {
        ReportLine(failure.what(), failure.Advice());
        return failure.Code();
    } catch (const std::exception& error) {
        ReportLine(error.what(), "Nothing was written.");
        return exitFormat;
    } catch (CFileException* error) {
        const std::string what = (error->m_strFileName.IsEmpty() ? "" : Utf8(error->m_strFileName) + ": ") +
                                 SystemText(static_cast<DWORD>(error->m_lOsError));
        error->Delete();
        ReportLine(what, kReadAdvice);
        return exitFormat;
    } catch (CException* error) {
        error->Delete();
        ReportLine("out of memory", "Nothing was written.");
        return exitFormat;
    }
}

}  // namespace kvtcommand
