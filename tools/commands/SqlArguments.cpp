#include "commands/ArgumentValues.h"
#include "commands/Command.h"
#include "commands/SqlCommand.h"

#include <CLI/CLI.hpp>

namespace Ambrel::Tool {

namespace {

class SqlArguments final : public Command {
public:
    void Declare(CLI::App& app) override {
        app.add_option("SQL", options.statement, "One SELECT statement")->required();
        AddPaths(app, options.paths);
        app.add_option("--format", options.form,
                       "csv, json or table (default: a table on a terminal, else csv)")
            ->type_name("NAME")
            ->check(CLI::IsMember({"csv", "json", "table"}));
        AddEncoding(app, options.encoding);
    }

    int Run(Console& console) override { return RunSql(console, options); }

private:
    SqlOptions options;
};

} // namespace

std::unique_ptr<Command> MakeSql() {
    return std::make_unique<SqlArguments>();
}

} // namespace Ambrel::Tool
