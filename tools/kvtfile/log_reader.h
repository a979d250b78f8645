#pragma once

// A log file that others write to, read line by line as it grows.

#include <functional>
#include <string>

#include "kvtfile/types.h"

namespace kvtcommand {

/// Between two reads the file is not open, so that it may be renamed or removed. A file that is shorter than what was
/// read, or has other bytes before that place, was cut or replaced: it is read from its start.
class LogReader {
public:
    explicit LogReader(const CString& path) : m_path(path) {}

    /// Begin at the start of the file, or with the first line of its last MiB. @return 0, or the system's error.
    DWORD Open();
    DWORD OpenNearEnd();

    /// What to do with a line at the end of the file that has no line end yet.
    enum class Rest {
        Included,   ///< It is given out.
        WhenAtRest  ///< It is given out once the file has not grown since the last read.
    };

    /// Takes a line. @return Whether more are wanted.
    using Use = std::function<bool(const CString& line)>;

    /// Gives out the lines that were added, one by one. A file that is not there just now has none. A line end that
    /// comes behind what was given out, or begins the file, adds no line: messages have theirs in front.
    void Read(Rest rest, const Use& use);

    /// Whether the last read found the file cut or replaced.
    bool WasReplaced() const { return m_replaced; }

private:
    bool OpenFile(CFile& file, DWORD& error) const;
    bool IsSameFile(CFile& file);
    void Remember(const std::string& bytes);
    void BeginAnew();
    bool GiveOut(bool ended, const Use& use);

    CString m_path;
    ULONGLONG m_position = 0;
    std::string m_before;  // the bytes before the position, as far as they are compared
    std::string m_line;    // what was read of a line that has not ended, and not given out
    bool m_shown = true;   // nothing of that line is missing but what stands in m_line
    bool m_skip = false;   // the line in whose middle the reading began
    bool m_replaced = false;
};

}  // namespace kvtcommand
