#include "commands/ArgumentValues.h"
#include "commands/Command.h"
#include "commands/SelectCommand.h"
#include "terminal/Console.h"

#include <CLI/CLI.hpp>

namespace Ambrel::Tool {

namespace {

class SelectArguments final : public Command {
public:
    void Declare(CLI::App& app) override {
        AddPaths(app, options.paths);
        AddWindow(app, window);
        AddWhere(app, options.where);
        AddWithDeleted(app, options.withDeleted);
        app.add_flag("--json", options.json, "Print a JSON array");
    }

    int Run(Console& console) override {
        options.window = ParseOptionalWindow(window);
        if (!options.window && options.where.empty()) {
            throw UsageException("--bbox or --where is required");
        }
        return RunSelect(console, options);
    }

private:
    SelectOptions options;
    std::string window;
};

} // namespace

std::unique_ptr<Command> MakeSelect() {
    return std::make_unique<SelectArguments>();
}

} // namespace Ambrel::Tool
