#pragma once

// Other programs, run to their end.

#include <string>
#include <vector>

namespace kvttest {

struct ProcessResult {
    int exitCode = -1;
    std::string out;  ///< what it wrote to standard output
    std::string err;  ///< and to standard error
};

/// Runs a program with these arguments (UTF-8) in the current folder, and waits for its end. A program that cannot be
/// started, or that a signal ends, is a test failure and gives exit code -1.
ProcessResult RunProcess(const std::string& program, const std::vector<std::string>& arguments);

}  // namespace kvttest
