#pragma once

#include "commands/ExitCode.h"

#include <string>
#include <vector>

namespace Ambrel::Tool {

struct Console;

struct CheckOptions {
    std::vector<std::string> paths;
};

/// Reads everything and lists what is wrong. Returns the exit code.
int RunCheck(Console& console, CheckOptions const& options);

} // namespace Ambrel::Tool
