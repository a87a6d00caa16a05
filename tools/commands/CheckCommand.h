#pragma once

#include "commands/ExitCode.h"
#include "source/Inputs.h"

namespace Ambrel::Tool {

struct Console;

struct CheckOptions {
    InputPaths paths;
};

/// Reads everything and lists what is wrong. Returns the exit code.
int RunCheck(Console& console, CheckOptions const& options);

} // namespace Ambrel::Tool
