#pragma once

#include "commands/ExitCode.h"
#include "source/Inputs.h"

#include <string>

namespace Ambrel::Tool {

struct Console;

struct SqlOptions {
    std::string statement;
    InputPaths paths;
    std::string form;     ///< "csv", "json" or "table"; empty: a table on a terminal, else CSV
    std::string encoding; ///< empty: what each file states
};

/// Runs the statement over the layers and prints its rows. Returns the exit code.
int RunSql(Console& console, SqlOptions const& options);

} // namespace Ambrel::Tool
