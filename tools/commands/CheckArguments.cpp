#include "commands/ArgumentValues.h"
#include "commands/CheckCommand.h"
#include "commands/Command.h"

#include <CLI/CLI.hpp>

namespace Ambrel::Tool {

namespace {

class CheckArguments final : public Command {
public:
    void Declare(CLI::App& app) override { AddPaths(app, options.paths); }

    int Run(Console& console) override { return RunCheck(console, options); }

private:
    CheckOptions options;
};

} // namespace

std::unique_ptr<Command> MakeCheck() {
    return std::make_unique<CheckArguments>();
}

} // namespace Ambrel::Tool
