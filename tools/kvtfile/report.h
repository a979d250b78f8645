#pragma once

// What every verb shares: exit codes, failures, output in UTF-8.

#include <exception>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "kvtfile/types.h"

namespace kvtcommand {

/// Fields keep the order in which they were set.
using Json = nlohmann::ordered_json;

enum ExitCode {
    exitDone = 0,
    exitRefused = 1,  ///< not found, or refused to keep something whole
    exitUsage = 2,    ///< the command line is wrong
    exitFormat = 3    ///< a file cannot be read or written, or is not what it should be
};

/// Ends a verb: thrown wherever it cannot go on, printed by `Run` on standard error.
class Failure : public std::exception {
public:
    /// @param what   what went wrong and where
    /// @param advice what to do about it
    Failure(ExitCode code, std::string what, std::string advice)
        : m_code(code), m_what(std::move(what)), m_advice(std::move(advice)) {}

    ExitCode Code() const { return m_code; }
    const char* what() const noexcept override { return m_what.c_str(); }
    const std::string& Advice() const { return m_advice; }

private:
    ExitCode m_code;
    std::string m_what;
    std::string m_advice;
};

/// Advice about a file that cannot be read or written.
inline constexpr const char* kReadAdvice = "Look at the path and at its rights.";
inline constexpr const char* kWriteAdvice = "The file is as it was. Look at its rights and at the room left.";

/// The text as UTF-8; lone surrogates come out as U+FFFD.
std::string Utf8(const CString& text);
/// The text of UTF-8 bytes; anything else is a failure.
CString Wide(std::string_view utf8);

/// Writes a line to standard output.
void Print(std::string_view line);
/// Writes a JSON value and a line end to standard output.
void PrintJson(const Json& value);
/// Writes a remark to standard error.
void Note(std::string_view line);
/// Sees to it that all output has left the process; a failure when it cannot.
void FlushOutput();

/// The text between double quotes, with quotes, backslashes and control characters escaped as in JSON.
std::string Quoted(const CString& text);
/// "1,234,567".
std::string WithSeparators(unsigned long long number);
/// "1 class", "2 classes".
std::string Counted(size_t count, std::string_view one, std::string_view many);

}  // namespace kvtcommand
