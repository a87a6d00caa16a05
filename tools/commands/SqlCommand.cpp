#include "commands/SqlCommand.h"

#include "commands/ForEachFile.h"
#include "formats/OutputFile.h"
#include "sql/Query.h"
#include "sql/ResultPrinter.h"
#include "terminal/Console.h"

namespace Ambrel::Tool {

int RunSql(Console& console, SqlOptions const& options) {
    Query query(console);
    // A statement that names all layers cannot do without one.
    int const failed = ForEachFile(console, options.paths, [&](BString const& file) {
        SourceOptions source;
        source.encoding = options.encoding;
        query.AddLayer(file, source);
    });
    if (failed > 0) {
        return EXIT_PROBLEM;
    }
    console.file.clear();
    std::string const form = !options.form.empty() ? options.form
                             : console.isTerminal  ? "table"
                                                   : "csv";
    OutputFile output(console, "-");
    std::unique_ptr<ResultPrinter> const printer = MakeResultPrinter(form, output);
    query.Run(
        options.statement, {.source = {}, .text = options.statement},
        [&](sqlite3_stmt* statement) { printer->Begin(statement); },
        [&](sqlite3_stmt* row) { printer->Row(row); });
    printer->End();
    output.Commit();
    return query.Problems() > 0 ? EXIT_PROBLEM : EXIT_OK;
}

} // namespace Ambrel::Tool
