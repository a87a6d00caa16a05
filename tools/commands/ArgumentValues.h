#pragma once

#include "Ambrel/BRect.h"

#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
}

/// What the options of several commands have in common.
namespace Ambrel::Tool {

constexpr char const* windowHelp = "Rectangle in the layer's own map units";

/// Paths of shapefiles, at least one.
void AddPaths(CLI::App& app, std::vector<std::string>& paths);
/// The path of one shapefile.
void AddPath(CLI::App& app, std::string& path);
/// "--encoding".
void AddEncoding(CLI::App& app, std::string& encoding);
/// "--bbox", as text for ParseWindow.
void AddWindow(CLI::App& app, std::string& window, char const* help = windowHelp);

/// "XMIN,YMIN,XMAX,YMAX" of "--bbox". Throws UsageException.
BRect ParseWindow(std::string const& text);
/// The same; none for an empty text.
std::optional<BRect> ParseOptionalWindow(std::string const& text);
/// "WxH" as two numbers. Throws UsageException that begins with the option.
std::vector<int> ParseSides(std::string const& option, std::string const& text);
/// Throws UsageException where "--output" got an empty path.
void RefuseEmptyOutput(std::string const& output);

} // namespace Ambrel::Tool
