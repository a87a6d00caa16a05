#pragma once

#include "commands/ExitCode.h"
#include "commands/RowChoice.h"
#include "source/Inputs.h"

#include <string>

namespace Ambrel::Tool {

struct Console;

struct TableOptions {
    InputPaths paths;
    RowOptions rows;
    std::string encoding; ///< empty: what the file states
};

/// Prints the rows of a layer's table in columns. Returns the exit code.
int RunTable(Console& console, TableOptions const& options);

} // namespace Ambrel::Tool
