#pragma once

#include "commands/ExitCode.h"
#include "source/Inputs.h"
#include "source/RecordList.h"

#include <cstdint>
#include <optional>
#include <string>

namespace Ambrel::Tool {

struct Console;

struct TableOptions {
    InputPaths paths;
    std::string fields;                 ///< names, with commas between them; empty: all
    std::optional<RecordList> records;  ///< none: all
    std::optional<std::uint64_t> limit; ///< rows
    std::string encoding;               ///< empty: what the file states
};

/// Prints the rows of a layer's table in columns. Returns the exit code.
int RunTable(Console& console, TableOptions const& options);

} // namespace Ambrel::Tool
