#include "commands/ArgumentValues.h"
#include "commands/Command.h"
#include "commands/TableCommand.h"

#include <CLI/CLI.hpp>

namespace Ambrel::Tool {

namespace {

class TableArguments final : public Command {
public:
    void Declare(CLI::App& app) override {
        AddPaths(app, options.paths);
        AddRows(app, options.rows, records);
        AddEncoding(app, options.encoding);
    }

    int Run(Console& console) override {
        options.rows.records = ParseRecords(records);
        return RunTable(console, options);
    }

private:
    TableOptions options;
    std::optional<std::string> records;
};

} // namespace

std::unique_ptr<Command> MakeTable() {
    return std::make_unique<TableArguments>();
}

} // namespace Ambrel::Tool
