#include "commands/ArgumentValues.h"
#include "commands/Command.h"
#include "commands/ExportCommand.h"

#include <CLI/CLI.hpp>

namespace Ambrel::Tool {

namespace {

/// A sound copy is an export to a shapefile: the tool always reads what can be saved, and names
/// what cannot.
class RepairArguments final : public Command {
public:
    void Declare(CLI::App& app) override {
        AddPaths(app, options.paths);
        app.add_option("-o,--output", options.output, "Shapefile to write")
            ->type_name("FILE")
            ->required();
        AddEncoding(app, options.source.encoding);
    }

    int Run(Console& console) override {
        options.format = "shp";
        return RunExport(console, options);
    }

private:
    ExportOptions options;
};

} // namespace

std::unique_ptr<Command> MakeRepair() {
    return std::make_unique<RepairArguments>();
}

} // namespace Ambrel::Tool
