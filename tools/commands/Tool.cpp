#include "commands/Tool.h"

#include "commands/Command.h"
#include "source/Log.h"
#include "terminal/Console.h"
#include "terminal/Explain.h"
#include "terminal/Temporaries.h"

#include <CLI/CLI.hpp>

#include <QString>

#include <algorithm>
#include <filesystem>
#include <map>
#include <sstream>

namespace Ambrel::Tool {

namespace {

struct CommandEntry {
    char const* name;
    char const* description;
    std::unique_ptr<Command> (*make)();
};

/// In the order of the help. The first is what a path alone means.
constexpr CommandEntry commandEntries[] = {
    {"info", "Show what is in shapefiles: type, records, extent, fields", MakeInfo},
    {"export", "Convert a shapefile to GeoJSON or CSV (geometry as WKT)", MakeExport},
    {"check", "Read everything and list what is wrong; exit code 0 sound, 1 problems, 2 unreadable",
     MakeCheck},
    {"table", "Print the rows of a shapefile's table in columns", MakeTable},
    {"select", "Print the indexes of the records whose rectangles meet a window", MakeSelect},
    {"draw",
     "Draw shapefiles over each other, in the order given; those of one folder or wildcard with "
     "areas below lines below points",
     MakeDraw},
    {"sql", "Ask shapefiles by SQL: each layer is a table, its fields are the columns", MakeSql},
    {"repair", "Write a sound copy of what can be read of a damaged shapefile", MakeRepair},
};

/// What the command line is parsed into.
struct CommandLine {
    bool verbose = false;
    std::map<std::string, std::unique_ptr<Command>> commands; ///< by their names
};

/// An option of the whole tool that may stand before the command and behind it.
void AddVerbose(CLI::App& app, CommandLine& line) {
    app.add_flag("-v,--verbose", line.verbose, "Show the whole log on standard error");
}

void AddCommands(CLI::App& app, CommandLine& line) {
    for (CommandEntry const& entry : commandEntries) {
        CLI::App* const command = app.add_subcommand(entry.name, entry.description);
        AddVerbose(*command, line);
        std::unique_ptr<Command>& made = line.commands[entry.name];
        made = entry.make();
        made->Declare(*command);
    }
}

void AddEverything(CLI::App& app, CommandLine& line) {
    app.name("ambrel-shp");
    app.set_version_flag("--version", "ambrel-shp " AMBREL_VERSION, "Print the version and exit");
    app.set_help_flag("-h,--help", "Print this help and exit");
    AddVerbose(app, line);
    app.fallthrough();
    app.require_subcommand(1);
    app.get_formatter()->column_width(34);
    AddCommands(app, line);
    app.footer("A path alone means info. Help for one command: ambrel-shp COMMAND --help\n\n"
               "Examples:\n"
               "  ambrel-shp map.shp\n"
               "  ambrel-shp info --json folder/\n"
               "  ambrel-shp export roads.shp -o roads.geojson --to-wgs84\n"
               "  ambrel-shp check \"folder/*.shp\"\n"
               "  ambrel-shp table towns.shp --fields NAME,POP --limit 20\n"
               "  ambrel-shp select towns.shp --bbox 5,45,11,48\n"
               "  ambrel-shp sql \"SELECT type, count(*) FROM roads GROUP BY 1\" roads.shp\n"
               "  ambrel-shp draw land.shp rivers.shp -o map.png --style \"rivers:color=navy\"\n\n"
               "Exit code: 0 done, 1 failed (the reason is on standard error), 2 wrong usage, 130 "
               "stopped.");
}

bool IsCommand(std::string const& word) {
    return std::any_of(std::begin(commandEntries), std::end(commandEntries),
                       [&](CommandEntry const& entry) { return entry.name == word; });
}

/// A first word that is no command means a path. One that cannot be a path is a slip of the pen.
void RefuseSlip(std::string const& word) {
    std::error_code ignored;
    bool const looksLikePath = word.empty() || word.find_first_of("./*?[") != std::string::npos;
    if (looksLikePath || std::filesystem::exists(word, ignored) ||
        std::filesystem::exists(word + ".shp", ignored) ||
        std::filesystem::exists(word + ".SHP", ignored)) {
        return;
    }
    std::vector<std::string> names;
    for (CommandEntry const& entry : commandEntries) {
        names.emplace_back(entry.name);
    }
    std::string const likely = LikelyOf(word, names);
    throw UsageException(word + ": no such command (and no such file)" +
                         (likely.empty() ? "; see --help" : "; did you mean " + likely + "?"));
}

/// "map.shp" alone means "info map.shp".
void CompleteCommand(std::vector<std::string>& arguments) {
    auto const word = std::find_if(arguments.begin(), arguments.end(), [](std::string const& text) {
        return text.empty() || text.front() != '-';
    });
    if (word != arguments.end() && !IsCommand(*word)) {
        RefuseSlip(*word);
        arguments.insert(arguments.begin(), commandEntries[0].name);
    }
}

/// File names are UTF-8 here whatever the system has.
void RefuseOtherEncodings(std::vector<std::string> const& words) {
    for (std::string const& word : words) {
        std::string const shown = QString::fromStdString(word).toStdString();
        if (shown != word) {
            throw UsageException("\"" + shown + "\" is not UTF-8; rename the file");
        }
    }
}

/// The options that stand where the words were typed: "-v", "--verbose".
std::vector<std::string> OptionsFor(CLI::App& app, std::vector<std::string> const& words) {
    std::vector<CLI::App const*> sources = {&app};
    auto const command = std::find_if(words.begin(), words.end(), IsCommand);
    if (command != words.end()) {
        sources.push_back(app.get_subcommand(*command));
    }
    std::vector<std::string> names;
    for (CLI::App const* const source : sources) {
        for (CLI::Option const* const option : source->get_options()) {
            for (std::string const& name : option->get_snames()) {
                names.push_back("-" + name);
            }
            for (std::string const& name : option->get_lnames()) {
                names.push_back("--" + name);
            }
        }
    }
    return names;
}

/// What is wrong with a command line that could not be parsed; an option that there is not, before
/// anything else.
std::string ExplainParsing(CLI::App& app, std::vector<std::string> const& words,
                           CLI::ParseError const& error) {
    std::vector<std::string> const known = OptionsFor(app, words);
    for (std::string const& word : words) {
        std::string const name = word.substr(0, word.starts_with("--") ? word.find('=') : 2);
        bool const isOption = name.size() > 1 && name[0] == '-' &&
                              std::string_view("0123456789.").find(name[1]) == std::string::npos;
        if (isOption && name != "--" &&
            std::find(known.begin(), known.end(), name) == known.end()) {
            std::string const likely = name.size() > 2 ? LikelyOf(name, known) : std::string();
            return name + ": no such option" +
                   (likely.empty() ? "; see --help" : "; did you mean " + likely + "?");
        }
    }
    bool const hasCommand = std::any_of(words.begin(), words.end(), IsCommand);
    return hasCommand ? error.what() : "there is neither a command nor a path; see --help";
}

/// CLI11 would take the path "[a,b]" for a list.
void KeepWhole(std::string& word) {
    if (word.starts_with('[') && word.ends_with(']')) {
        word.insert(0, "./");
    }
}

int RunCommand(Command& command, Console& console) {
    Log const log(console);
    return command.Run(console);
}

int ParseAndRun(std::vector<std::string>& words, Console& console) {
    CommandLine line;
    CLI::App app("Looks into shapefiles, converts, checks, searches and draws them.");
    AddEverything(app, line);
    if (words.empty()) {
        console.err.Write(app.help());
        return EXIT_USAGE;
    }
    RefuseOtherEncodings(words);
    CompleteCommand(words);
    std::for_each(words.begin(), words.end(), KeepWhole);
    std::vector<std::string> reversed(words.rbegin(), words.rend()); // as CLI11 takes them
    try {
        app.parse(reversed);
    } catch (CLI::Success const& success) { // --help and --version
        std::ostringstream out;
        app.exit(success, out, out);
        console.out.Write(out.str());
        return EXIT_OK;
    } catch (CLI::ParseError const& error) {
        throw UsageException(ExplainParsing(app, words, error));
    }
    console.verbose = line.verbose;
    return RunCommand(*line.commands.at(app.get_subcommands().front()->get_name()), console);
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
    int exitCode = EXIT_PROBLEM;
    try {
        exitCode = Run(arguments, console);
    } catch (...) { // NOLINT(bugprone-empty-catch): standard error has gone too
    }
    Temporaries::RemoveAll();
    return exitCode;
}

} // namespace Ambrel::Tool
