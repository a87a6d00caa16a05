#include "commands/ArgumentValues.h"
#include "commands/Command.h"
#include "commands/InfoCommand.h"

#include <CLI/CLI.hpp>

namespace Ambrel::Tool {

namespace {

class InfoArguments final : public Command {
public:
    void Declare(CLI::App& app) override {
        AddPaths(app, options.paths);
        app.add_flag("--json", options.json, "Print a JSON array, one object a layer");
        app.add_flag("--brief", options.brief, "Print one line for each layer");
        AddEncoding(app, options.encoding);
        AddCrs(app, options.crs);
    }

    int Run(Console& console) override {
        RefuseUnknownSystem("--crs", options.crs);
        return RunInfo(console, options);
    }

private:
    InfoOptions options;
};

} // namespace

std::unique_ptr<Command> MakeInfo() {
    return std::make_unique<InfoArguments>();
}

} // namespace Ambrel::Tool
