#pragma once

#include "commands/ExitCode.h"
#include "source/Inputs.h"

#include "Ambrel/BRect.h"

#include <string>

namespace Ambrel::Tool {

struct Console;

struct SelectOptions {
    InputPaths paths;
    BRect window;             ///< map units of the layer
    bool withDeleted = false; ///< also records whose table rows are marked as deleted
    bool json = false;
};

/// Prints the indexes of the records whose rectangles meet the window. Returns the exit code.
int RunSelect(Console& console, SelectOptions const& options);

} // namespace Ambrel::Tool
