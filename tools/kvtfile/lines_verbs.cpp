// kvtfile lines list, write. A line file is code page 936 text; empty lines, and lines that begin with "//", are left
// out when it is read.

#include <CLI/CLI.hpp>
#include <cstdio>
#include <utility>

#include "kvtfile/FileUtil.h"
#include "tools/kvtfile/report.h"
#include "tools/kvtfile/text_file.h"
#include "tools/kvtfile/verbs.h"

namespace kvtcommand {

namespace {

struct ListOptions {
    std::string file;
    bool json = false;
};

struct WriteOptions {
    std::string file;
    std::vector<std::string> lines;
    bool force = false;
};

void List(const ListOptions& options) {
    const FileName file(options.file);
    CStringArray lines;
    if (kvtfile::ReadData(file.full, lines) < 0) {
        ReadBytes(file.full, file.given);  // tells what is wrong with the file
        throw Failure(exitFormat, file.given + ": the file cannot be read", kReadAdvice);
    }
    Json list = Json::array();
    for (INT_PTR i = 0; i < lines.GetSize(); ++i) {
        if (options.json) {
            list.push_back(Utf8(lines[i]));
        } else {
            Print(Utf8(lines[i]));
        }
    }
    if (options.json) {
        PrintJson({{"file", file.given}, {"lines", list}});
    }
}

/// The lines of standard input, of either line end.
std::vector<std::string> InputLines() {
    std::vector<std::string> lines;
    std::string line;
    int c = 0;
    while ((c = std::getchar()) != EOF) {
        if (c != '\n') {
            line += static_cast<char>(c);
            continue;
        }
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        lines.push_back(std::exchange(line, std::string()));
    }
    if (!line.empty()) {
        lines.push_back(line);
    }
    return lines;
}

void Write(const WriteOptions& options) {
    const FileName file(options.file);
    if (FileExists(file.full) && !options.force) {
        throw Failure(exitRefused, file.given + ": the file exists; nothing was written", "--force replaces it.");
    }
    const Encoding encoding{_T("gbk"), 0};
    CStringArray lines;
    for (const std::string& given : options.lines.empty() ? InputLines() : options.lines) {
        const CString line = Wide(given);
        if (line.FindOneOf(_T("\r\n")) >= 0) {
            throw Failure(exitUsage, Quoted(line) + " is more than one line", "Give each line by itself.");
        }
        if (const int lost = FindLost(encoding, line); lost >= 0) {
            throw Failure(
                exitRefused,
                file.given + ": code page 936 cannot hold " + CharacterAt(line, lost) + "; nothing was written",
                "Leave the character out.");
        }
        lines.Add(line);
    }
    if (kvtfile::WriteData(file.full, lines) < 0) {
        throw Failure(exitFormat, file.given + ": the file cannot be written", kWriteAdvice);
    }
    Print(file.given + ": " + Counted(static_cast<size_t>(lines.GetSize()), "line", "lines") + " written");
}

}  // namespace

void AddLinesVerbs(CLI::App& command) {
    CLI::App* lines = command.add_subcommand("lines", "Work with line files");
    lines->require_subcommand(1);
    lines->footer("Line files are code page 936 text. Empty lines, and lines that begin with '//', are comments.");
    {
        const auto [verb, options] = AddVerb<ListOptions>(*lines, "list", "Print the lines that are no comments",
                                                          "  kvtfile lines list layers.txt\n"
                                                          "  kvtfile lines list layers.txt --json",
                                                          List);
        verb->add_option("FILE", options->file, "The line file")->required();
        verb->add_flag("--json", options->json, "Print JSON");
    }
    {
        const auto [verb, options] =
            AddVerb<WriteOptions>(*lines, "write", "Write a line file from arguments, or from standard input",
                                  "  kvtfile lines write layers.txt Walls Doors\n"
                                  "  sort names.txt | kvtfile lines write layers.txt --force",
                                  Write);
        verb->add_option("FILE", options->file, "The line file")->required();
        verb->add_option("LINE", options->lines, "The lines; none: those of standard input, in UTF-8");
        verb->add_flag("--force", options->force, "Replace a file that is there");
    }
}

}  // namespace kvtcommand
