#include "commands/Tool.h"

#include "commands/Commands.h"
#include "source/Log.h"
#include "terminal/Console.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <functional>
#include <sstream>

namespace Ambrel::Tool {

namespace {

constexpr char const* commandNames[] = {"info", "export", "check", "select", "draw"};
constexpr int largestSide = 20000; // pixels

std::map<std::string, HoldMode> const& Modes() {
    static std::map<std::string, HoldMode> const modes = {{"stream", HoldMode::Stream},
                                                          {"memory", HoldMode::Memory},
                                                          {"cache", HoldMode::Cache},
                                                          {"direct", HoldMode::Direct}};
    return modes;
}

/// "A<separator>B<separator>..." as `count` numbers.
template <class T>
std::vector<T> ParseNumbers(std::string const& option, std::string const& text, char separator,
                            std::size_t count) {
    std::vector<T> numbers;
    char const* position = text.data();
    char const* const end = position + text.size();
    while (numbers.size() < count) {
        T number{};
        auto const result = std::from_chars(position, end, number);
        bool const isLast = numbers.size() + 1 == count;
        bool const endsWell =
            isLast ? result.ptr == end : result.ptr != end && *result.ptr == separator;
        if (result.ec != std::errc() || !endsWell) {
            std::string problem = option;
            problem.append(": \"").append(text).append("\" is not ");
            problem.append(std::to_string(count)).append(" numbers with '");
            problem.append(1, separator).append("' between them");
            throw UsageException(problem);
        }
        numbers.push_back(number);
        position = result.ptr + (isLast ? 0 : 1);
    }
    return numbers;
}

BRect ParseWindow(std::string const& text) {
    std::vector<double> const bounds = ParseNumbers<double>("--bbox", text, ',', 4);
    bool const isFinite = std::all_of(bounds.begin(), bounds.end(),
                                      [](double bound) { return std::isfinite(bound); });
    if (!isFinite) {
        throw UsageException("--bbox: \"" + text + "\" is not finite");
    }
    if (bounds[0] > bounds[2] || bounds[1] > bounds[3]) {
        throw UsageException("--bbox: \"" + text + "\" has a minimum above its maximum");
    }
    return BRect(bounds[0], bounds[1], bounds[2], bounds[3]);
}

/// The command line before it is looked at closely.
struct Arguments {
    bool verbose = false;
    std::string window;
    std::string size;
    std::string mode = "stream";
    std::vector<std::string> styles;
    bool noAttributes = false;
    InfoOptions info;
    ExportOptions exportOptions;
    CheckOptions check;
    SelectOptions select;
    DrawOptions draw;

    std::optional<BRect> Window() const {
        return window.empty() ? std::nullopt : std::optional(ParseWindow(window));
    }
};

constexpr char const* pathHelp = "Shapefile (with or without .shp), folder, or wildcard";
constexpr char const* windowHelp = "Rectangle in the layer's own map units";
constexpr char const* encodingHelp =
    "Encoding of the table's text: UTF-8, 1252, ISO-8859-2, 850, Big5 ... "
    "(default: the .cpg file, else what the table states, else UTF-8 or Windows-1252)";

/// An option of the whole tool that may stand before the command and behind it.
void AddVerbose(CLI::App& app, Arguments& arguments) {
    app.add_flag("-v,--verbose", arguments.verbose, "Show the whole log on standard error");
}

CLI::App* AddCommand(CLI::App& app, Arguments& arguments, std::string const& name,
                     std::string const& description) {
    CLI::App* const command = app.add_subcommand(name, description);
    AddVerbose(*command, arguments);
    return command;
}

void AddInfo(CLI::App& app, Arguments& arguments) {
    CLI::App* const command = AddCommand(
        app, arguments, "info", "Show what is in shapefiles: type, records, extent, fields");
    command->add_option("PATH", arguments.info.paths, pathHelp)->required();
    command->add_flag("--json", arguments.info.json, "Print a JSON array, one object a layer");
    command->add_option("--encoding", arguments.info.encoding, encodingHelp)->type_name("NAME");
}

void AddExport(CLI::App& app, Arguments& arguments) {
    ExportOptions& options = arguments.exportOptions;
    CLI::App* const command = AddCommand(app, arguments, "export",
                                         "Convert a shapefile to GeoJSON or CSV (geometry as WKT)");
    command->add_option("PATH", options.path, pathHelp)->required();
    command
        ->add_option("-o,--output", options.output,
                     "File to write, \"-\" for standard output (default), or a folder that gets a "
                     "file for each layer")
        ->type_name("FILE");
    command->add_option("--format", options.format, "geojson or csv (default: as FILE's extension)")
        ->type_name("NAME")
        ->check(CLI::IsMember({"geojson", "csv"}));
    command->add_option("--bbox", arguments.window, windowHelp)->type_name("XMIN,YMIN,XMAX,YMAX");
    command->add_flag("--to-wgs84", options.toWgs84,
                      "Transform to longitude and latitude (needs a .prj file)");
    command->add_flag("--no-attributes", arguments.noAttributes, "Leave the table's values out");
    command
        ->add_option("--z-attribute", options.source.attributeZ,
                     "Field whose value becomes Z (single points, lines and polygons)")
        ->type_name("NAME");
    command->add_option("--encoding", options.source.encoding, encodingHelp)->type_name("NAME");
    command
        ->add_option("--mode", arguments.mode,
                     "Where features are meanwhile: stream (default), memory, cache (on disk) or "
                     "direct; the result is the same")
        ->type_name("NAME")
        ->check(CLI::IsMember(Modes()));
}

void AddCheck(CLI::App& app, Arguments& arguments) {
    CLI::App* const command =
        AddCommand(app, arguments, "check",
                   "Read everything and list what is wrong; exit code 0 sound, 1 problems, 2 "
                   "unreadable");
    command->add_option("PATH", arguments.check.paths, pathHelp)->required();
}

void AddSelect(CLI::App& app, Arguments& arguments) {
    CLI::App* const command =
        AddCommand(app, arguments, "select",
                   "Print the indexes of the records whose rectangles meet a window");
    command->add_option("PATH", arguments.select.path, pathHelp)->required();
    command->add_option("--bbox", arguments.window, windowHelp)
        ->type_name("XMIN,YMIN,XMAX,YMAX")
        ->required();
    command->add_flag("--json", arguments.select.json, "Print a JSON array");
}

void AddDraw(CLI::App& app, Arguments& arguments) {
    CLI::App* const command =
        AddCommand(app, arguments, "draw",
                   "Draw shapefiles over each other, in the order given; those of one folder or "
                   "wildcard with areas below lines below points");
    command->add_option("PATH", arguments.draw.paths, pathHelp)->required();
    command
        ->add_option("-o,--output", arguments.draw.output,
                     "Picture to write: .png, .svg or .pdf; \"-\" for a PNG on standard output")
        ->type_name("FILE")
        ->required();
    command->add_option("--size", arguments.size, "Pixels of the picture (default 1600x1200)")
        ->type_name("WxH");
    command->add_option("--bbox", arguments.window, "Rectangle to show (default: everything)")
        ->type_name("XMIN,YMIN,XMAX,YMAX");
    command
        ->add_option("--style", arguments.styles,
                     "[LAYER:]KEY=VALUE[,KEY=VALUE...], for one layer or all; may be repeated.\n"
                     "color: lines, outlines, points; fill: areas; each \"#rrggbb\", "
                     "\"#aarrggbb\", a name such as steelblue, or none.\n"
                     "width: pixels of lines and outlines, diameter of points")
        ->type_name("STYLE")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->allow_extra_args(false);
}

void AddEverything(CLI::App& app, Arguments& arguments) {
    app.name("ambrel-shp");
    app.set_version_flag("--version", "ambrel-shp " AMBREL_VERSION, "Print the version and exit");
    app.set_help_flag("-h,--help", "Print this help and exit");
    AddVerbose(app, arguments);
    app.fallthrough();
    app.require_subcommand(1);
    app.get_formatter()->column_width(34);
    AddInfo(app, arguments);
    AddExport(app, arguments);
    AddCheck(app, arguments);
    AddSelect(app, arguments);
    AddDraw(app, arguments);
    app.footer("A path alone means info. Help for one command: ambrel-shp COMMAND --help\n\n"
               "Examples:\n"
               "  ambrel-shp map.shp\n"
               "  ambrel-shp info --json folder/\n"
               "  ambrel-shp export roads.shp -o roads.geojson --to-wgs84\n"
               "  ambrel-shp check \"folder/*.shp\"\n"
               "  ambrel-shp select towns.shp --bbox 5,45,11,48\n"
               "  ambrel-shp draw land.shp rivers.shp -o map.png --style \"rivers:color=navy\"\n\n"
               "Exit code: 0 done, 1 failed (the reason is on standard error), 2 wrong usage, 130 "
               "stopped.");
}

/// "map.shp" alone means "info map.shp".
void CompleteCommand(std::vector<std::string>& arguments) {
    auto const word = std::find_if(arguments.begin(), arguments.end(), [](std::string const& text) {
        return text.empty() || text.front() != '-';
    });
    bool const isCommand = word != arguments.end() &&
                           std::find(std::begin(commandNames), std::end(commandNames), *word) !=
                               std::end(commandNames);
    if (word != arguments.end() && !isCommand) {
        arguments.insert(arguments.begin(), commandNames[0]);
    }
}

/// CLI11 would take the path "[a,b]" for a list.
void KeepWhole(std::string& word) {
    if (word.starts_with('[') && word.ends_with(']')) {
        word.insert(0, "./");
    }
}

void RefuseEmpty(std::string const& output) {
    if (output.empty()) { // what a shell makes of a variable that is not set
        throw UsageException("--output: the path is empty");
    }
}

int RunExportCommand(Console& console, Arguments& arguments) {
    RefuseEmpty(arguments.exportOptions.output);
    arguments.exportOptions.window = arguments.Window();
    arguments.exportOptions.source.mode = Modes().at(arguments.mode);
    arguments.exportOptions.source.useAttributes = !arguments.noAttributes;
    if (arguments.noAttributes && !arguments.exportOptions.source.attributeZ.empty()) {
        throw UsageException("--z-attribute: there are none with --no-attributes");
    }
    return RunExport(console, arguments.exportOptions);
}

int RunSelectCommand(Console& console, Arguments& arguments) {
    arguments.select.window = ParseWindow(arguments.window);
    return RunSelect(console, arguments.select);
}

int RunDrawCommand(Console& console, Arguments& arguments) {
    DrawOptions& options = arguments.draw;
    RefuseEmpty(options.output);
    options.window = arguments.Window();
    if (!arguments.size.empty()) {
        std::vector<int> const sides = ParseNumbers<int>("--size", arguments.size, 'x', 2);
        if (std::min(sides[0], sides[1]) < 1 || std::max(sides[0], sides[1]) > largestSide) {
            throw UsageException("--size: a side has 1 to " + std::to_string(largestSide) +
                                 " pixels");
        }
        options.width = sides[0];
        options.height = sides[1];
    }
    for (std::string const& style : arguments.styles) {
        options.styles.push_back(ParseStyle(style));
    }
    return RunDraw(console, options);
}

int RunCommand(std::string const& name, Console& console, Arguments& arguments) {
    std::map<std::string, std::function<int()>> const commands = {
        {"info", [&] { return RunInfo(console, arguments.info); }},
        {"export", [&] { return RunExportCommand(console, arguments); }},
        {"check", [&] { return RunCheck(console, arguments.check); }},
        {"select", [&] { return RunSelectCommand(console, arguments); }},
        {"draw", [&] { return RunDrawCommand(console, arguments); }},
    };
    console.verbose = arguments.verbose;
    Log const log(arguments.verbose ? LOG_DETAIL : LOG_WARNING,
                  [&](ELogSeverity severity, std::string_view line) {
                      if (severity <= LOG_WARNING) {
                          PrintWarning(console, line);
                      } else {
                          console.err.Write(std::string(line) + "\n");
                      }
                  });
    return commands.at(name)();
}

int ParseAndRun(std::vector<std::string>& words, Console& console) {
    Arguments arguments;
    CLI::App app("Looks into shapefiles, converts, checks, searches and draws them.");
    AddEverything(app, arguments);
    if (words.empty()) {
        console.err.Write(app.help());
        return EXIT_USAGE;
    }
    CompleteCommand(words);
    std::for_each(words.begin(), words.end(), KeepWhole);
    std::reverse(words.begin(), words.end()); // CLI11 takes them from the end
    try {
        app.parse(words);
    } catch (CLI::Success const& success) { // --help and --version
        std::ostringstream out;
        app.exit(success, out, out);
        console.out.Write(out.str());
        return EXIT_OK;
    } catch (CLI::ParseError const& error) {
        throw UsageException(error.what());
    }
    return RunCommand(app.get_subcommands().front()->get_name(), console, arguments);
}

int Run(std::vector<std::string>& words, Console& console) {
    try {
        return ParseAndRun(words, console);
    } catch (UsageException const& error) {
        PrintError(console, error, {});
        return EXIT_USAGE;
    } catch (PipeClosedException const&) {
        return EXIT_OK;
    } catch (InterruptedException const&) {
        console.err.Write("ambrel-shp: stopped\n");
        return EXIT_INTERRUPTED;
    } catch (std::exception const& error) {
        PrintError(console, error, {});
        return EXIT_PROBLEM;
    }
}

} // namespace

int RunTool(std::vector<std::string> arguments, Console& console) noexcept {
    try {
        return Run(arguments, console);
    } catch (...) { // standard error has gone too
        return EXIT_PROBLEM;
    }
}

} // namespace Ambrel::Tool
