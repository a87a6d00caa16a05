#include "commands/ArgumentValues.h"
#include "commands/Command.h"
#include "commands/DrawCommand.h"
#include "terminal/Console.h"

#include <CLI/CLI.hpp>

#include <algorithm>

namespace Ambrel::Tool {

namespace {

constexpr int largestSide = 20000; // pixels

constexpr char const* styleHelp =
    "[LAYER:]KEY=VALUE[,KEY=VALUE...], for one layer or all; may be repeated.\n"
    "color: lines, outlines, points; fill: areas; each \"#rrggbb\", "
    "\"#aarrggbb\", a name such as steelblue, or none.\n"
    "width: pixels of lines and outlines, diameter of points";

class DrawArguments final : public Command {
public:
    void Declare(CLI::App& app) override {
        AddPaths(app, options.paths);
        app.add_option("-o,--output", options.output,
                       "Picture to write: .png, .svg or .pdf; \"-\" for a PNG on standard output")
            ->type_name("FILE")
            ->required();
        app.add_option("--size", size, "Pixels of the picture (default 1600x1200)")
            ->type_name("WxH");
        AddRecords(app, records);
        AddWhere(app, options.where);
        AddWindow(app, window,
                  "Rectangle to show, in the picture's map units (default: everything)");
        AddCrs(app, options.crs);
        app.add_option("--to-crs", options.toCrs,
                       "Coordinate system of the picture: EPSG:n or any name that PROJ knows "
                       "(default: the first layer's)")
            ->type_name("NAME");
        app.add_option("--style", styles, styleHelp)
            ->type_name("STYLE")
            ->expected(1)
            ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
            ->allow_extra_args(false);
    }

    int Run(Console& console) override {
        RefuseEmptyOutput(options.output);
        options.window = ParseOptionalWindow(window);
        if (!size.empty()) {
            TakeSize();
        }
        for (std::string const& style : styles) {
            options.styles.push_back(ParseStyle(style));
        }
        options.records = ParseRecords(records);
        RefuseUnknownSystem("--crs", options.crs);
        RefuseUnknownSystem("--to-crs", options.toCrs);
        return RunDraw(console, options);
    }

private:
    void TakeSize() {
        std::vector<int> const sides = ParseSides("--size", size);
        if (std::min(sides[0], sides[1]) < 1 || std::max(sides[0], sides[1]) > largestSide) {
            throw UsageException("--size: a side has 1 to " + std::to_string(largestSide) +
                                 " pixels");
        }
        options.width = sides[0];
        options.height = sides[1];
    }

    DrawOptions options;
    std::optional<std::string> records;
    std::string window;
    std::string size;
    std::vector<std::string> styles;
};

} // namespace

std::unique_ptr<Command> MakeDraw() {
    return std::make_unique<DrawArguments>();
}

} // namespace Ambrel::Tool
