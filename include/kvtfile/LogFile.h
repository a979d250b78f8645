#pragma once

/// @file
/// Logs: `CFLogFile`, a log file that one object keeps open, and `LOG`, one log for all threads and processes.
///
/// Log files are text of code page 936 with CR LF line ends; a character that the page lacks is written as "?".

#include <cstdarg>

#include "kvtfile/FileBase.h"
#include "kvtfile/export.h"
#include "kvtfile/types.h"

namespace kvtfile {

/// A log file of lines, with or without a time stamp, that is kept open from the first line to `CloseFile`.
///
/// Each line is handed to the system at once, and goes where the file ends at that moment; one that cannot be written
/// whole is taken back. While the file is open others may read it, not write: on Windows no program can, elsewhere no
/// object of this process. There, other processes that write at the same moment may write over a line: logs that
/// processes share are for `LOG`. Nothing is thrown. One object is used by one thread at a time; it is not copyable.
class KVTFILE_API CFLogFile {
public:
    /// A closed log without a path.
    CFLogFile();
    /// A closed log with a path.
    CFLogFile(CString strPath);
    /// Closes the file as `CloseFile` does.
    virtual ~CFLogFile();

    /// Sets the path alone: a file that is open stays open, and takes the lines until it is closed. @return 1.
    int SetPath(CString strPath);

    /// Opens the log, with the folders that it needs; what the file holds stays.
    /// @param strPath Another path than the current one (ignoring case) closes the file that is open, as `CloseFile`
    ///        does, and becomes the path; empty: the current path.
    /// @return 1 when the log is open, also when it was before; 0 without a path, or when the file cannot be opened.
    int OpenFile(CString strPath);

    /// Ends an open log with an empty line and closes it.
    /// @return 1 when all was written; 0 when it was not open.
    int CloseFile();

    /// Appends a text, and a line feed unless the text ends in one; opens the file when it is closed. The text counts
    /// up to its first NUL.
    /// @return 1 when written, 0 when the file cannot be opened or written.
    int WriteString(CString strText);

    /// The same with the local time, as `Time2Str` writes it, and two blanks in front.
    int WriteTimeAndString(CString strText);

    /// "2024-05-06 07:08:09"; "-1" in the place of each part when the time is not valid.
    static CString Time2Str(COleDateTime time);

protected:
    CFStdioFile m_file;
    CString m_strPath;
    int m_bOpen = 0;

private:
    int Append(const CString& strText);
};

/// The log of a process: every message opens the file, is appended and closes it again.
///
/// Writers of all threads and processes take turns by the named event "VekLogWrite", and besides by a lock on the log
/// file itself; each message is one write. A message looks so, with a line feed in front of it and none behind:
///
///     [prefix][ 5- 6 14: 3: 7_ 42][tag]text
///
/// month, day, hour, minute, second and millisecond of the local time, each padded with blanks; without the part of a
/// prefix that is not set and of a tag that is null or empty.
///
/// Failures are silent: a message that cannot be written is dropped whole. On Windows a process that is killed while
/// it writes leaves the event taken: the others wait until all of them have ended. Off Windows the system gives it
/// back.
///
/// Formats are those of `CString::FormatV` ("%s" takes a `LPCWSTR`: give a `CString` by `GetString()`); a null text
/// prints "(null)", a null format is an empty one, and one with an unknown conversion is printed as it stands.
/// All functions may be called by several threads at once.
class KVTFILE_API LOG {
public:
    /// Sets the log's path (its folder has to exist); null: none. On Windows the runtime library's character locale
    /// becomes "chs" and stays so. @return 1.
    static int SetLogFile(LPCWSTR pszPath);
    static CString GetLogFile();
    /// Sets the prefix; null or empty: the old one stays. @return 1.
    static int SetPrefix(LPCWSTR pszPrefix);

    /// Write a message, without and with a tag. @return 1, whether it was written or not.
    static int Out(LPCWSTR pszFormat, ...);
    static int Out0(LPCWSTR pszTag, LPCWSTR pszFormat, ...);
    static int OutV(LPCWSTR pszTag, LPCWSTR pszFormat, va_list args);

    /// The message, without its line feed, in place of writing it. As `SetLogFile` they switch the locale on Windows.
    static CString sOut(LPCWSTR pszFormat, ...);
    static CString sOut0(LPCWSTR pszTag, LPCWSTR pszFormat, ...);
    static CString sOutV(LPCWSTR pszTag, LPCWSTR pszFormat, va_list args);

    /// Has the desktop open the log file. @return 1 when there is a path; what came of it is not told (without a
    /// desktop or a file: nothing, and the reason is the last error).
    static int ViewLogFile();

    // To be set by the functions above.
    static CString& s_strLogFile;    ///< Path of the log; empty: none.
    static CString& s_strLogPrefix;  ///< Prefix of the messages; empty: none.
    static HANDLE s_hWriteEvent;     ///< The event "VekLogWrite"; null until the first message.
};

}  // namespace kvtfile
