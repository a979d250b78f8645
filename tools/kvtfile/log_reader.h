#pragma once

// A log file that others write to, read line by line as it grows.

#include <string>
#include <vector>

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

    /// The lines that were added. A file that is not there just now has none.
    std::vector<CString> Read(Rest rest);

    /// Whether the last read found the file cut or replaced.
    bool WasReplaced() const { return m_replaced; }

private:
    bool OpenFile(CFile& file, DWORD& error) const;
    bool IsSameFile(CFile& file);
    void Remember(const std::string& bytes);

    CString m_path;
    ULONGLONG m_position = 0;
    std::string m_before;  // the bytes before the position, as far as they are compared
    std::string m_line;    // a line that has not ended
    bool m_skip = false;   // the line in whose middle the reading began
    bool m_replaced = false;
};

}  // namespace kvtcommand
