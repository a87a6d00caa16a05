#pragma once

#include "commands/ExitCode.h"
#include "drawing/MapStyle.h"
#include "source/Inputs.h"
#include "source/RecordList.h"

#include "Ambrel/BRect.h"

#include <optional>
#include <string>
#include <vector>

namespace Ambrel::Tool {

struct Console;

struct DrawOptions {
    InputPaths paths;
    std::string output;
    int width = 1600; ///< pixels
    int height = 1200;
    std::optional<BRect> window;       ///< in the picture's system; none: everything
    std::optional<RecordList> records; ///< none: all
    std::string where;                 ///< an expression of SQL; empty: all records
    std::string crs;                   ///< states the system of the layers; empty: they do
    std::string toCrs;                 ///< the picture's system; empty: the first layer's
    std::vector<StyleRule> styles;
};

/// Draws the layers over each other. Returns the exit code.
int RunDraw(Console& console, DrawOptions const& options);

} // namespace Ambrel::Tool
