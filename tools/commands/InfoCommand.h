#pragma once

#include "commands/ExitCode.h"
#include "source/Inputs.h"

#include <string>

namespace Ambrel::Tool {

struct Console;

struct InfoOptions {
    InputPaths paths;
    bool json = false;
    bool brief = false;   ///< one line for each layer
    std::string encoding; ///< empty: what each file states
    std::string crs;      ///< states the coordinate system; empty: the ".prj" file does
};

/// Prints what is in the layers. Returns the exit code.
int RunInfo(Console& console, InfoOptions const& options);

} // namespace Ambrel::Tool
