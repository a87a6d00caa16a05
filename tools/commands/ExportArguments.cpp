#include "commands/ArgumentValues.h"
#include "commands/Command.h"
#include "commands/ExportCommand.h"
#include "terminal/Console.h"

#include <CLI/CLI.hpp>

namespace Ambrel::Tool {

namespace {

std::map<std::string, HoldMode> const& Modes() {
    static std::map<std::string, HoldMode> const modes = {{"stream", HoldMode::Stream},
                                                          {"memory", HoldMode::Memory},
                                                          {"cache", HoldMode::Cache},
                                                          {"direct", HoldMode::Direct}};
    return modes;
}

class ExportArguments final : public Command {
public:
    void Declare(CLI::App& app) override {
        AddPaths(app, options.paths);
        DeclareOutput(app);
        AddRows(app, options.rows, records);
        AddWindow(app, window);
        AddWhere(app, options.where);
        DeclareSystems(app);
        app.add_flag("--no-attributes", noAttributes, "Leave the table's values out");
        app.add_option("--z-attribute", options.source.attributeZ,
                       "Field whose value becomes Z (single points, lines and polygons)")
            ->type_name("NAME");
        AddEncoding(app, options.source.encoding);
        AddWithDeleted(app, options.source.withDeleted);
        app.add_flag("--measures", options.source.withMeasures,
                     "Write measures that the header's range hides");
        app.add_option("--mode", mode,
                       "Where features are meanwhile: stream (default), memory, cache (on disk) or "
                       "direct; the result is the same")
            ->type_name("NAME")
            ->check(CLI::IsMember(Modes()));
    }

    int Run(Console& console) override {
        RefuseEmptyOutput(options.output);
        options.window = ParseOptionalWindow(window);
        options.source.mode = Modes().at(mode);
        options.source.useAttributes = !noAttributes;
        if (noAttributes && !options.source.attributeZ.empty()) {
            throw UsageException("--z-attribute: there are none with --no-attributes");
        }
        if (noAttributes && !options.rows.fields.empty()) {
            throw UsageException("--fields: there are none with --no-attributes");
        }
        options.rows.records = ParseRecords(records);
        if (toWgs84 && !options.toCrs.empty()) {
            throw UsageException("--to-wgs84: there is a --to-crs already");
        }
        options.toCrs = toWgs84 ? "EPSG:4326" : options.toCrs;
        RefuseUnknownSystem("--crs", options.source.crs);
        RefuseUnknownSystem("--to-crs", options.toCrs == "source" ? "" : options.toCrs);
        return RunExport(console, options);
    }

private:
    void DeclareSystems(CLI::App& app) {
        AddCrs(app, options.source.crs);
        app.add_option(
               "--to-crs", options.toCrs,
               "Coordinate system to write: EPSG:n, any name that PROJ knows, or \"source\" "
               "(default: WGS 84 in GeoJSON, else the layer's own)")
            ->type_name("NAME");
        app.add_flag("--to-wgs84", toWgs84, "The same as --to-crs EPSG:4326");
    }

    void DeclareOutput(CLI::App& app) {
        app.add_option("-o,--output", options.output,
                       "File to write, \"-\" for standard output (default), or a folder that gets "
                       "a file for each layer")
            ->type_name("FILE");
        app.add_option("--format", options.format,
                       FormatNames(", ") + " (default: as FILE's extension)")
            ->type_name("NAME");
        app.add_option("--geometry", options.formatOptions.geometry,
                       "Geometry in CSV: wkt (default), xy (points alone), wkb or none")
            ->type_name("FORM");
        app.add_option("--output-encoding", options.formatOptions.encoding,
                       "Encoding of a shapefile's texts (default: the source's)")
            ->type_name("NAME");
        app.add_option("--precision", options.formatOptions.precision,
                       "Most decimals of coordinates in text formats (default: as many as it "
                       "takes)")
            ->type_name("N")
            ->check(CLI::Range(0, mostDecimals));
    }

    ExportOptions options;
    std::optional<std::string> records;
    std::string window;
    std::string mode = "stream";
    bool toWgs84 = false;
    bool noAttributes = false;
};

} // namespace

std::unique_ptr<Command> MakeExport() {
    return std::make_unique<ExportArguments>();
}

} // namespace Ambrel::Tool
