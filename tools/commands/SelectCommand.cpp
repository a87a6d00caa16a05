#include "commands/SelectCommand.h"
#include "commands/ForEachFile.h"
#include "formats/OutputFile.h"
#include "formats/TextFormat.h"
#include "terminal/Console.h"

namespace Ambrel::Tool {

int RunSelect(Console& console, SelectOptions const& options) {
    BString const file = TheInput(console, options.paths).file;
    bool const isDone = Survives(console, file.Utf8(), [&] {
        Source source(console, file, {.useAttributes = false, .withDeleted = options.withDeleted});
        std::vector<std::uint64_t> records;
        source.Layer().GetFeatures().SelectFeatures(options.window, BParamList(), records);
        OutputFile output(console, "-");
        char const* separator = options.json ? "[" : "";
        for (std::uint64_t const record : records) {
            output.Buffer() += separator;
            AppendNumber(output.Buffer(), record);
            output.Buffer() += options.json ? "" : "\n";
            output.FlushIfFull();
            separator = options.json ? ",\n" : "";
        }
        if (options.json) {
            output.Buffer() += records.empty() ? "[]\n" : "]\n";
        }
        output.Commit();
    });
    return isDone ? EXIT_OK : EXIT_PROBLEM;
}

} // namespace Ambrel::Tool
