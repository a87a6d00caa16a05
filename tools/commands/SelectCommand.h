#pragma once

#include "commands/ExitCode.h"
#include "source/Inputs.h"

#include "Ambrel/BRect.h"

#include <optional>
#include <string>

namespace Ambrel::Tool {

struct Console;

struct SelectOptions {
    InputPaths paths;
    std::optional<BRect> window; ///< map units of the layer; none for all records
    std::string where;           ///< an expression of SQL; empty for all records
    bool withDeleted = false;    ///< also records whose table rows are marked as deleted
    bool json = false;
};

/// Prints the indexes of the records whose rectangles meet the window and for which the
/// expression is true. Returns the exit code.
int RunSelect(Console& console, SelectOptions const& options);

} // namespace Ambrel::Tool
