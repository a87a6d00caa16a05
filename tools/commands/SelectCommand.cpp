#include "commands/SelectCommand.h"
#include "commands/ForEachFile.h"
#include "formats/OutputFile.h"
#include "formats/TextFormat.h"
#include "sql/RecordFilter.h"
#include "terminal/Console.h"

namespace Ambrel::Tool {

namespace {

std::vector<std::uint64_t> Selected(Console& console, BString const& file,
                                    SelectOptions const& options) {
    SourceOptions const sourceOptions{.useAttributes = false, .withDeleted = options.withDeleted};
    std::vector<std::uint64_t> records;
    if (options.where.empty()) {
        Source source(console, file, sourceOptions);
        source.Layer().GetFeatures().SelectFeatures(*options.window, BParamList(), records);
        return records;
    }
    RecordFilter const filter(console, file, sourceOptions, options.where);
    if (!options.window) {
        return filter.Records();
    }
    Source source(console, file, sourceOptions);
    source.Layer().GetFeatures().SelectFeatures(*options.window, BParamList(), records);
    std::erase_if(records, [&](std::uint64_t record) { return !filter.Contains(record); });
    return records;
}

} // namespace

int RunSelect(Console& console, SelectOptions const& options) {
    BString const file = TheInput(console, options.paths).file;
    bool const isDone = Survives(console, file.Utf8(), [&] {
        std::vector<std::uint64_t> const records = Selected(console, file, options);
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
