#pragma once

#include "drawing/MapStyle.h"
#include "source/Source.h"

#include "Ambrel/BRect.h"

#include <optional>
#include <string>
#include <vector>

/// The commands of the tool. Each returns the process's exit code; what it throws is reported by
/// RunTool. Files that fail in a list of several are reported by the command, which goes on.
namespace Ambrel::Tool {

struct Console;

enum ExitCode : int {
    EXIT_OK = 0,
    EXIT_PROBLEM = 1,      ///< a failure, or problems found by `check`
    EXIT_USAGE = 2,        ///< wrong arguments
    EXIT_UNREADABLE = 2,   ///< `check` could not read a file
    EXIT_INTERRUPTED = 130 ///< what a shell makes of Ctrl-C
};

struct InfoOptions {
    std::vector<std::string> paths;
    bool json = false;
    std::string encoding;
};
int RunInfo(Console& console, InfoOptions const& options);

struct ExportOptions {
    std::string path;
    std::string output = "-";    ///< "-": standard output; a folder: a file in it for each layer
    std::string format;          ///< "geojson", "csv", or empty: what the output's extension says
    std::optional<BRect> window; ///< map units of the layer
    bool toWgs84 = false;
    SourceOptions source{.mode = HoldMode::Stream};
};
int RunExport(Console& console, ExportOptions const& options);

struct CheckOptions {
    std::vector<std::string> paths;
};
int RunCheck(Console& console, CheckOptions const& options);

struct SelectOptions {
    std::string path;
    BRect window;
    bool json = false;
};
int RunSelect(Console& console, SelectOptions const& options);

struct DrawOptions {
    std::vector<std::string> paths;
    std::string output;
    int width = 1600; ///< pixels
    int height = 1200;
    std::optional<BRect> window;
    std::vector<StyleRule> styles;
};
int RunDraw(Console& console, DrawOptions const& options);

} // namespace Ambrel::Tool
