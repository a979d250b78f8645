#pragma once

/// @file
/// Appending records to a file that many processes share.

#include <string>

#include "io.h"

namespace kvtio {

/// A file to which records are appended one by one; between two records it is not open.
///
/// Each record is one write at the end of the file, made while the file is locked: appenders of all threads, processes
/// and users wait for one another, readers and other writers are not bound. The system drops the lock of a process that
/// ends. A record that cannot be written whole (a full disk) is taken back. Several threads may use one object.
class Appender {
public:
    explicit Appender(LPCWSTR path);

    LPCWSTR Path() const { return m_path.c_str(); }

    /// Opens the file, or creates it (its folder has to exist), and appends a record.
    /// @return 0, or the error of opening or writing.
    Error Append(const void* bytes, size_t count);

private:
    std::basic_string<WCHAR> m_path;
    std::string m_unixPath;  // off Windows: the path by text alone, for a file that is there; empty for a relative path
};

}  // namespace kvtio
