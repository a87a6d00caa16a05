#pragma once

#include "commands/ExitCode.h"
#include "source/Inputs.h"

namespace Ambrel::Tool {

struct Console;

struct CheckOptions {
    InputPaths paths;
    std::string encoding;
    std::string crs;    ///< states the coordinate system; empty: the files' own
    bool all = false;   ///< list every problem, not the first ten of each kind
    bool quiet = false; ///< print nothing of sound files, and no total
    bool json = false;
};

/// Reads everything and lists what is wrong. Returns the exit code.
int RunCheck(Console& console, CheckOptions const& options);

} // namespace Ambrel::Tool
