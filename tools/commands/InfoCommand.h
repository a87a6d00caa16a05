#pragma once

#include "commands/ExitCode.h"

#include <string>
#include <vector>

namespace Ambrel::Tool {

struct Console;

struct InfoOptions {
    std::vector<std::string> paths;
    bool json = false;
    std::string encoding; ///< empty: what each file states
};

/// Prints what is in the layers. Returns the exit code.
int RunInfo(Console& console, InfoOptions const& options);

} // namespace Ambrel::Tool
