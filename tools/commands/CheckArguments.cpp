#include "commands/ArgumentValues.h"
#include "commands/CheckCommand.h"
#include "commands/Command.h"

#include <CLI/CLI.hpp>

namespace Ambrel::Tool {

namespace {

class CheckArguments final : public Command {
public:
    void Declare(CLI::App& app) override {
        AddPaths(app, options.paths);
        app.add_flag("--all", options.all, "List every problem, not the first ten of each kind");
        app.add_flag("--quiet", options.quiet, "Print only what is wrong");
        app.add_flag("--json", options.json, "Print a JSON object, with an array of the files");
        AddEncoding(app, options.encoding);
        AddCrs(app, options.crs);
    }

    int Run(Console& console) override {
        RefuseUnknownSystem("--crs", options.crs);
        return RunCheck(console, options);
    }

private:
    CheckOptions options;
};

} // namespace

std::unique_ptr<Command> MakeCheck() {
    return std::make_unique<CheckArguments>();
}

} // namespace Ambrel::Tool
