#include "commands/ArgumentValues.h"

#include "source/LayerTransform.h"
#include "terminal/Console.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <charconv>
#include <cmath>

namespace Ambrel::Tool {

namespace {

constexpr char const* pathHelp =
    "Shapefile (with or without .shp), folder, wildcard, or archive (.zip, .shz)";
constexpr char const* encodingHelp =
    "Encoding of the table's text: UTF-8, 1252, ISO-8859-2, 850, Big5 ... "
    "(default: the .cpg file, else what the table states, else UTF-8 or Windows-1252)";

/// "A<separator>B<separator>..." as `count` numbers.
template <class T>
std::vector<T> ParseNumbers(std::string const& option, std::string const& text, char separator,
                            std::size_t count) {
    std::vector<T> numbers;
    char const* position = text.data();
    char const* const end = position + text.size();
    while (numbers.size() < count) {
        T number{};
        auto const result = std::from_chars(position, end, number);
        bool const isLast = numbers.size() + 1 == count;
        bool const endsWell =
            isLast ? result.ptr == end : result.ptr != end && *result.ptr == separator;
        if (result.ec != std::errc() || !endsWell) {
            std::string problem = option;
            problem.append(": \"").append(text).append("\" is not ");
            problem.append(std::to_string(count)).append(" numbers with '");
            problem.append(1, separator).append("' between them");
            throw UsageException(problem);
        }
        numbers.push_back(number);
        position = result.ptr + (isLast ? 0 : 1);
    }
    return numbers;
}

} // namespace

void AddPaths(CLI::App& app, InputPaths& paths) {
    app.add_option("PATH", paths.named, pathHelp)->required();
    app.add_flag("-r,--recursive", paths.recursive, "Take the folders below a folder, too");
    app.add_option_function<std::uint64_t>(
           "--unpack-limit",
           [&paths](std::uint64_t mebibytes) { paths.unpackLimit = mebibytes << 20; },
           "MiB that an archive may unpack to (default: 100 times its size, 1024 at least)")
        ->type_name("N")
        ->check(CLI::Range(1, 1 << 30));
}

void AddEncoding(CLI::App& app, std::string& encoding) {
    app.add_option("--encoding", encoding, encodingHelp)->type_name("NAME");
}

void AddCrs(CLI::App& app, std::string& crs) {
    app.add_option(
           "--crs", crs,
           "State the coordinate system, where there is no .prj file or a wrong one: EPSG:n "
           "or any name that PROJ knows")
        ->type_name("NAME");
}

void RefuseUnknownSystem(std::string const& option, std::string const& name) {
    if (!name.empty()) {
        CoordSysCalled(option, name);
    }
}

void AddWithDeleted(CLI::App& app, bool& withDeleted) {
    app.add_flag("--with-deleted", withDeleted,
                 "Keep the records whose table rows are marked as deleted");
}

void AddRecords(CLI::App& app, std::optional<std::string>& records) {
    app.add_option("--records", records,
                   "Only these records, counted from 0; \"-\" reads them from standard input, as "
                   "select prints them")
        ->type_name("18,40-43");
}

void AddWhere(CLI::App& app, std::string& where) {
    app.add_option("--where", where,
                   "Only records for which this expression of SQL is true, such as \"pop > 1000 "
                   "AND name LIKE 'A%'\"")
        ->type_name("EXPRESSION");
}

void AddRows(CLI::App& app, RowOptions& rows, std::optional<std::string>& records) {
    app.add_option("--fields", rows.fields, "Only these fields, in this order (default: all)")
        ->type_name("A,B,...");
    AddRecords(app, records);
    app.add_option("--limit", rows.limit, "Only the first N of what would be there otherwise")
        ->type_name("N")
        ->check(CLI::NonNegativeNumber);
}

void AddWindow(CLI::App& app, std::string& window, char const* help) {
    app.add_option("--bbox", window, help)->type_name("XMIN,YMIN,XMAX,YMAX");
}

BRect ParseWindow(std::string const& text) {
    std::vector<double> const bounds = ParseNumbers<double>("--bbox", text, ',', 4);
    bool const isFinite = std::all_of(bounds.begin(), bounds.end(),
                                      [](double bound) { return std::isfinite(bound); });
    if (!isFinite) {
        throw UsageException("--bbox: \"" + text + "\" is not finite");
    }
    if (bounds[0] > bounds[2] || bounds[1] > bounds[3]) {
        throw UsageException("--bbox: \"" + text + "\" has a minimum above its maximum");
    }
    return BRect(bounds[0], bounds[1], bounds[2], bounds[3]);
}

std::optional<BRect> ParseOptionalWindow(std::string const& text) {
    return text.empty() ? std::nullopt : std::optional(ParseWindow(text));
}

std::optional<RecordList> ParseRecords(std::optional<std::string> const& text) {
    return text ? std::optional(RecordList::FromOption(*text)) : std::nullopt;
}

std::vector<int> ParseSides(std::string const& option, std::string const& text) {
    return ParseNumbers<int>(option, text, 'x', 2);
}

void RefuseEmptyOutput(std::string const& output) {
    if (output.empty()) { // what a shell makes of a variable that is not set
        throw UsageException("--output: the path is empty");
    }
}

} // namespace Ambrel::Tool
