// kvtfile log write, follow. Logs are code page 936 text; what is shown of them is UTF-8.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <deque>
#include <utility>

#include "kvtfile/LogFile.h"
#include "tools/kvtfile/log_reader.h"
#include "tools/kvtfile/report.h"
#include "tools/kvtfile/text_file.h"
#include "tools/kvtfile/verbs.h"

namespace kvtcommand {

namespace {

using kvtfile::CFLogFile;
using kvtfile::LOG;

constexpr UINT kCodePage = 936;
constexpr DWORD kPause = 50;  // milliseconds between two looks at a file

struct WriteOptions {
    std::string file;
    std::string text;
    std::string tag;
    std::string prefix;
    bool line = false;
    bool time = false;
};

struct FollowOptions {
    std::string file;
    size_t last = 10;
    size_t lines = 0;
    bool all = false;
    bool once = false;
    bool json = false;
};

// ---- write

Failure CannotWrite(const FileName& file, const std::string& reason) {
    return Failure(exitFormat, file.given + ": " + reason, kWriteAdvice);
}

/// The log's size; a log that cannot be opened for writing is a failure.
ULONGLONG SizeOf(const FileName& file) {
    CFile log;
    CFileException error;
    if (!log.Open(file.full, CFile::modeCreate | CFile::modeNoTruncate | CFile::modeWrite | CFile::shareDenyNone,
                  &error)) {
        throw CannotWrite(file, SystemText(static_cast<DWORD>(error.m_lOsError)));
    }
    return log.GetLength();
}

/// What stands behind the stamp of a message, as its bytes in a log.
std::string BehindStamp(const WriteOptions& options) {
    CString text = _T("]");
    if (!options.tag.empty()) {
        text += _T("[") + Wide(options.tag) + _T("]");
    }
    text += Wide(options.text);
    text.Replace(_T("\n"), _T("\r\n"));
    CString plain;
    for (int i = 0; i < text.GetLength(); ++i) {
        // The code page has no character of two units; each is one "?".
        const bool pair = (text[i] & 0xFC00) == 0xD800;
        plain.AppendChar(pair ? _T('?') : text[i]);
        i += pair ? 1 : 0;
    }
    return plain.ToCodePage(kCodePage);
}

/// Whether a log holds these bytes behind a size that it had; one that is shorter by now is searched whole. One that
/// may not be read is judged by its size.
bool HoldsBehind(const FileName& file, ULONGLONG size, const std::string& bytes) {
    CFile log;
    if (!log.Open(file.full, CFile::modeRead | CFile::shareDenyNone)) {
        return SizeOf(file) > size;
    }
    const ULONGLONG length = log.GetLength();
    const ULONGLONG start = length < size ? 0 : size;
    std::string added(static_cast<size_t>(length - start), '\0');
    log.Seek(static_cast<LONGLONG>(start), CFile::begin);
    added.resize(log.Read(added.data(), static_cast<UINT>(added.size())));
    return added.find(bytes) != std::string::npos;
}

/// Writes by the process's log, which keeps silent about failures: the message has to be found in what was added, also
/// when others write at the same time.
void WriteMessage(const FileName& file, const WriteOptions& options) {
    const ULONGLONG before = SizeOf(file);
    LOG::SetPrefix(Wide(options.prefix));
    LOG::SetLogFile(file.full);
    LOG::Out0(Wide(options.tag), _T("%s"), Wide(options.text).GetString());
    if (!HoldsBehind(file, before, BehindStamp(options))) {
        throw CannotWrite(file, "the message could not be written");
    }
}

/// The turn that `LOG` takes for a message, here for a line.
class Turn {
public:
    Turn() : m_event(::CreateEventW(nullptr, FALSE, TRUE, _T("VekLogWrite"))) {
        if (m_event) {
            ::WaitForSingleObject(m_event, INFINITE);
        }
    }
    ~Turn() {
        if (m_event) {
            ::SetEvent(m_event);
            ::CloseHandle(m_event);
        }
    }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

private:
    HANDLE m_event;
};

void WriteLine(const FileName& file, const WriteOptions& options) {
    const Turn turn;
    SizeOf(file);
    // Closing would end the log with an empty line.
    class Line : public CFLogFile {
    public:
        using CFLogFile::CFLogFile;
        ~Line() override { m_bOpen = 0; }
    };
    Line log(file.full);
    const CString text = Wide(options.text);
    if (!(options.time ? log.WriteTimeAndString(text) : log.WriteString(text))) {
        throw CannotWrite(file, "the line could not be written");
    }
}

void Write(const WriteOptions& options) {
    const FileName file(options.file);
    if (options.line || options.time) {
        WriteLine(file, options);
    } else {
        WriteMessage(file, options);
    }
}

// ---- follow

/// Prints lines until there have been enough.
class Printer {
public:
    explicit Printer(const FollowOptions& options) : m_json(options.json), m_left(options.lines) {}

    /// @return Whether more are wanted.
    bool Show(const CString& line) {
        Print(m_json ? Json{{"line", Utf8(line)}}.dump(-1, ' ', false, Json::error_handler_t::replace) : Utf8(line));
        m_done = m_left == 1;
        m_left -= m_left > 0 ? 1 : 0;
        return !m_done;
    }

    bool IsDone() const { return m_done; }

private:
    bool m_json;
    size_t m_left;  // 0: no end
    bool m_done = false;
};

void Follow(const FollowOptions& options) {
    const FileName file(options.file);
    LogReader log(file.full);
    if (const DWORD error = options.all ? log.Open() : log.OpenNearEnd()) {
        throw Failure(exitFormat, file.given + ": " + SystemText(error), kReadAdvice);
    }
    Printer printer(options);
    const auto show = [&](const CString& line) { return printer.Show(line); };
    if (options.all) {
        log.Read(LogReader::Rest::Included, show);
    } else {
        std::deque<CString> lines;
        log.Read(LogReader::Rest::Included, [&](const CString& line) {
            lines.push_back(line);
            if (lines.size() > options.last) {
                lines.pop_front();
            }
            return true;
        });
        static_cast<void>(std::all_of(lines.begin(), lines.end(), show));
    }
    FlushOutput();
    while (!options.once && !printer.IsDone()) {
        ::Sleep(kPause);
        bool told = false;
        const auto tell = [&] {
            if (log.WasReplaced() && !std::exchange(told, true)) {
                Note(file.given + ": the file was cut or replaced; showing it from its start");
            }
        };
        log.Read(LogReader::Rest::WhenAtRest, [&](const CString& line) {
            tell();
            return printer.Show(line);
        });
        tell();
        FlushOutput();
    }
}

}  // namespace

void AddLogVerbs(CLI::App& command) {
    CLI::App* log = command.add_subcommand("log", "Write log files and follow them");
    log->require_subcommand(1);
    log->footer(
        "Logs are code page 936 text. Writers of all processes take turns, so that scripts and programs may share a "
        "log.");
    {
        const auto [verb, options] =
            AddVerb<WriteOptions>(*log, "write", "Append a message",
                                  "  kvtfile log write app.log 'started' --prefix Setup --tag Init\n"
                                  "  kvtfile log write notes.log 'a line with the time' --time",
                                  Write);
        verb->add_option("FILE", options->file, "The log; made when missing")->required();
        verb->add_option("TEXT", options->text, "The message")->required();
        CLI::Option* tag = verb->add_option("--tag", options->tag, "A tag behind the time");
        CLI::Option* prefix = verb->add_option("--prefix", options->prefix, "A prefix before the time");
        CLI::Option* line = verb->add_flag("--line", options->line, "A plain line in place of a message");
        CLI::Option* time = verb->add_flag("--time", options->time, "A line that begins with date and time");
        for (CLI::Option* plain : {line, time}) {
            plain->excludes(tag)->excludes(prefix);
        }
        line->excludes(time);
    }
    {
        const auto [verb, options] =
            AddVerb<FollowOptions>(*log, "follow", "Print the end of a log, and what is added to it, until Ctrl-C",
                                   "  kvtfile log follow app.log\n"
                                   "  kvtfile log follow app.log --all --once --json\n"
                                   "  kvtfile log follow app.log --last 0 --lines 1    # waits for the next line",
                                   Follow);
        verb->add_option("FILE", options->file, "The log")->required();
        CLI::Option* last = verb->add_option("--last", options->last, "Begin with so many lines of the last MiB (10)");
        verb->add_flag("--all", options->all, "Begin with the whole log")->excludes(last);
        verb->add_option("--lines", options->lines, "End after so many lines");
        verb->add_flag("--once", options->once, "End with what is there now");
        verb->add_flag("--json", options->json, "Print a JSON object for each line");
    }
}

}  // namespace kvtcommand
