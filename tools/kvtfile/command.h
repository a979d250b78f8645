#pragma once

// The command `kvtfile`, apart from how a process starts on each target.

#include <string>
#include <vector>

namespace kvtcommand {

/// Runs the command with its arguments (UTF-8, without the program's name) and returns the process's exit code.
int Run(std::vector<std::string> arguments);

}  // namespace kvtcommand
