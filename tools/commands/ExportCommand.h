#pragma once

#include "commands/ExitCode.h"
#include "commands/RowChoice.h"
#include "formats/Format.h"
#include "source/Inputs.h"
#include "source/Source.h"

#include "Ambrel/BRect.h"

#include <optional>
#include <string>

namespace Ambrel::Tool {

struct Console;

struct ExportOptions {
    InputPaths paths;
    std::string output = "-"; ///< "-": standard output; a folder: a file in it for each layer
    std::string format;       ///< a name, or empty: what the output's extension says
    FormatOptions formatOptions;
    std::optional<BRect> window; ///< map units of the layer
    std::string where;           ///< an expression of SQL; empty for all records
    std::string toCrs;           ///< what OutputSystem takes
    RowOptions rows;
    SourceOptions source{.mode = HoldMode::Stream};
};

/// Converts the layers. Returns the exit code.
int RunExport(Console& console, ExportOptions const& options);

} // namespace Ambrel::Tool
