#include "commands/TableCommand.h"

#include "commands/ForEachFile.h"
#include "commands/TablePage.h"
#include "formats/OutputFile.h"
#include "source/FieldList.h"
#include "terminal/Console.h"
#include "terminal/Explain.h"
#include "terminal/Interrupt.h"
#include "terminal/TextWidth.h"

#include "Ambrel/BException.h"

#include <functional>
#include <utility>

namespace Ambrel::Tool {

namespace {

constexpr std::size_t sampleSize = 256; ///< rows that decide how wide columns are

/// The rows of one layer on their way to standard output.
class TableListing {
public:
    TableListing(Console& newConsole, BString const& newFile, TableOptions const& newOptions)
        : console(newConsole), file(newFile), options(newOptions),
          source(console, file, {.encoding = options.encoding}),
          fields(options.rows.fields, source.Layer().GetSchema()),
          page(fields.Schema(), TerminalWidth(), console.colors), output(console, "-") {}

    /// Returns how many rows could not be read.
    std::uint64_t Print() {
        ForEachRecord([&](std::uint64_t record) { Take(record); });
        Release();
        output.Commit();
        if (std::string const rest = page.HiddenColumns(); !rest.empty()) {
            PrintWarning(console, rest + "; see --fields");
        }
        return problems;
    }

private:
    /// Calls `action(record)` for the records that are asked for, as many as are.
    void ForEachRecord(std::function<void(std::uint64_t)> const& action) {
        std::uint64_t const count = source.Layer().GetFeatures().GetCount();
        if (!options.rows.records) {
            return ForEachIn({0, count}, action);
        }
        options.rows.records->RequireWithin(count);
        for (auto const& [first, last] : options.rows.records->Ranges()) {
            ForEachIn({first, last + 1}, action);
        }
    }

    void ForEachIn(std::pair<std::uint64_t, std::uint64_t> bounds,
                   std::function<void(std::uint64_t)> const& action) const {
        for (std::uint64_t record = bounds.first; record < bounds.second && !IsDone(); ++record) {
            ThrowIfInterrupted();
            action(record);
        }
    }

    bool IsDone() const { return options.rows.limit && rowCount >= *options.rows.limit; }

    void Take(std::uint64_t record) {
        try {
            BSharedPtr<BFeature> const feature = source.Layer().GetFeatures().GetAt(record, true);
            if (feature) {
                fields.Choose(feature->attributes);
                Add(page.RowOf(record, feature->attributes));
            }
        } catch (StopException const&) {
            throw;
        } catch (BException const& error) {
            ++problems;
            PrintError(console,
                       "record " + std::to_string(record) + ": " + Explain(error, file.Utf8()),
                       file.Utf8());
        }
    }

    /// The first rows wait until all of them have said how wide their columns are.
    void Add(TablePage::Row row) {
        ++rowCount;
        page.Measure(row);
        waiting.push_back(std::move(row));
        if (isReleased || waiting.size() == sampleSize) {
            Release();
        }
    }

    void Release() {
        if (!std::exchange(isReleased, true)) {
            output.Append(page.Heading());
        }
        for (TablePage::Row const& row : waiting) {
            output.Append(page.Line(row));
        }
        waiting.clear();
    }

    Console& console;
    BString file;
    TableOptions const& options;
    Source source;
    FieldList fields;
    TablePage page;
    OutputFile output;
    std::vector<TablePage::Row> waiting;
    bool isReleased = false;
    std::uint64_t rowCount = 0;
    std::uint64_t problems = 0;
};

} // namespace

int RunTable(Console& console, TableOptions const& options) {
    int failed = 0;
    std::vector<Input> const inputs = FindInputs(console, options.paths, failed);
    RequireOneLayer(options.rows.records, inputs.size());
    std::uint64_t problems = 0;
    for (Input const& input : inputs) {
        failed += !Survives(console, input.file.Utf8(), [&] {
            if (inputs.size() > 1) {
                console.out.Write((&input == &inputs.front() ? "" : "\n") + OneLine(input.name) +
                                  "\n");
            }
            problems += TableListing(console, input.file, options).Print();
        });
    }
    return failed > 0 || problems > 0 ? EXIT_PROBLEM : EXIT_OK;
}

} // namespace Ambrel::Tool
