#include "commands/ExportCommand.h"
#include "commands/ExportTargets.h"
#include "commands/FeaturePassage.h"
#include "commands/ForEachFile.h"
#include "commands/OutputSystem.h"
#include "formats/Format.h"
#include "formats/GeometryWalk.h"
#include "formats/OutputFile.h"
#include "source/FieldList.h"
#include "source/FindingReport.h"
#include "sql/RecordFilter.h"
#include "terminal/Console.h"

#include <filesystem>
#include <map>
#include <memory>
#include <optional>

namespace Ambrel::Tool {

namespace {

bool LiesIn(BRect const& window, BFeature const& feature) {
    BRect const rectangle = feature.ComputeMBR();
    return rectangle.xMax >= rectangle.xMin && rectangle.yMax >= rectangle.yMin &&
           window.Meets(rectangle);
}

/// Hands the features of one layer to a writer, those alone and in that shape that were asked for.
class Export {
public:
    Export(Console& theConsole, ExportOptions const& theOptions, FeatureWriter& theWriter,
           FieldList const& fieldList, OutputSystem& theSystem)
        : console(theConsole), options(theOptions), writer(theWriter), fields(fieldList),
          rows(options.rows), system(theSystem) {}

    /// Brings the geometry into the system of the output.
    void Take(std::uint64_t record, BFeature& feature) {
        if (rows.IsAskedFor(record) && (!options.window || LiesIn(*options.window, feature))) {
            rows.Take();
            fields.Choose(feature.attributes);
            writer.Write(record, feature, WritableGeometry(record, feature));
        }
    }

    /// After the last record. Throws UsageException where one is asked for that there is not.
    void RequireAllRecords() const { rows.RequireAll(); }

private:
    /// Null where there is none, or none that JSON has numbers for.
    BGeometry const* WritableGeometry(std::uint64_t record, BFeature& feature) const {
        BGeometry* const geometry = feature.GetGeometry().Get();
        if (!geometry) {
            return nullptr;
        }
        if (!IsFinite(*geometry)) {
            console.report->Add(GEOMETRY_NOT_FINITE, record);
            return nullptr;
        }
        return system.Bring(record, *geometry);
    }

    Console& console;
    ExportOptions const& options;
    FeatureWriter& writer;
    FieldList const& fields;
    RowChoice rows;
    OutputSystem& system;
};

/// The fields that are written. Those that are not are reported.
FieldList FieldsOf(FindingReport& report, std::string const& wanted, BAttributeDefs const& schema) {
    for (std::uint64_t i = 0; wanted.empty() && i < schema.GetCount(); ++i) {
        if (schema.GetAt(i).width == 0) {
            report.Add(FIELD_WITHOUT_WIDTH, {}, {std::string(schema.GetAt(i).name.Utf8())});
        }
    }
    return FieldList(wanted, schema);
}

void RequireField(BAttributeDefs const& schema, std::string const& name) {
    for (std::uint64_t i = 0; i < schema.GetCount(); ++i) {
        if (schema.GetAt(i).name.Utf8() == name) {
            return;
        }
    }
    throw BDataManagerException(BString::FromUtf8("--z-attribute"),
                                BString::FromUtf8("there is no field " + name));
}

/// A shapefile that is read is not written over.
void RefuseSource(BString const& source, std::string const& output) {
    std::error_code error; // what is not there is not the source
    if (ExtensionOf(output) == ".shp" &&
        std::filesystem::equivalent(std::string(source.Utf8()), output, error)) {
        throw UsageException("--output: " + output + " is what is read");
    }
}

/// The outputs that are being written, by their paths. One that several layers go to is finished
/// after the last of them.
class Outputs {
public:
    Outputs(Console& theConsole, ExportOptions const& theOptions,
            std::vector<ExportTarget> const& targets)
        : console(theConsole), options(theOptions) {
        for (ExportTarget const& target : targets) {
            ++open[target.path].layersToCome;
        }
    }

    /// Throws OutputException where a layer before has failed halfway: the output is whole or not.
    FeatureWriter& WriterOf(std::string const& path, FormatOptions const& formatOptions) {
        Output& output = open[path];
        if (output.isLost) {
            throw OutputException(path, "another layer of it has failed");
        }
        if (!output.writer) {
            output.writer = FormatFor(options.format, path).make(console, path, formatOptions);
        }
        output.isWriting = true;
        return *output.writer;
    }

    /// The layer has been written, or could not be. False where the output, finished by now, lacks
    /// something.
    bool EndLayer(std::string const& path, bool isDone) {
        Output& output = open[path];
        if (output.isWriting && !isDone) {
            output.writer.reset();
            output.isLost = true;
        }
        output.isWriting = false;
        if (--output.layersToCome > 0 || !output.writer) {
            return true;
        }
        output.writer->Finish();
        bool const isWhole = output.writer->GetProblemCount() == 0;
        output.writer.reset();
        return isWhole;
    }

private:
    struct Output {
        std::unique_ptr<FeatureWriter> writer; ///< made for the first layer that opens
        int layersToCome = 0;
        bool isWriting = false; ///< a layer has begun
        bool isLost = false;
    };

    Console& console;
    ExportOptions const& options;
    std::map<std::string, Output> open;
};

/// The records that --where leaves; none where all stay.
std::optional<RecordFilter> FilterOf(Console& console, BString const& file,
                                     ExportOptions const& options) {
    return options.where.empty() ? std::nullopt
                                 : std::optional<RecordFilter>(std::in_place, console, file,
                                                               options.source, options.where);
}

/// False where a record could not be exported whole.
bool ExportFile(Console& console, BString const& file, std::string const& outputPath,
                ExportOptions const& options, Outputs& outputs) {
    RefuseSource(file, outputPath);
    Source source(console, file, options.source);
    if (!options.source.attributeZ.empty()) {
        RequireField(source.Layer().GetSchema(), options.source.attributeZ);
    }
    Format const& format = FormatFor(options.format, outputPath);
    OutputSystem system(*console.report, source.Layer(), format, options.toCrs);
    LayerDescription layer = DescribeLayer(source.Layer());
    layer.coordSys = system.System();
    FieldList const fields = FieldsOf(*console.report, options.rows.fields, layer.schema);
    layer.schema = options.source.useAttributes ? fields.Schema() : BAttributeDefs();
    FormatOptions formatOptions = options.formatOptions;
    if (formatOptions.encoding.empty()) {
        formatOptions.encoding = source.Encoding();
    }
    layer.hasMeasures = layer.hasMeasures || options.source.withMeasures;
    std::optional<RecordFilter> const filter = FilterOf(console, file, options);
    FeatureWriter& writer = outputs.WriterOf(outputPath, formatOptions);
    Export task(console, options, writer, fields, system);
    writer.BeginLayer(layer);
    PassageCounts counts;
    try {
        counts = PassFeatures(console, file, source, [&](std::uint64_t record, BFeature& feature) {
            if (!filter || filter->Contains(record)) {
                task.Take(record, feature);
            }
        });
        task.RequireAllRecords();
    } catch (EnoughException const&) { // NOLINT(bugprone-empty-catch): the rest is not wanted
    }
    writer.EndLayer();
    system.Finish();
    if (counts.deleted > 0) {
        PrintWarning(console, std::string(file.Utf8()) + ": " +
                                  Counted(counts.deleted, "deleted row is|deleted rows are") +
                                  " left out; --with-deleted keeps them");
    }
    return !console.report->HasLoss();
}

} // namespace

int RunExport(Console& console, ExportOptions const& options) {
    int failed = 0;
    std::vector<Input> const inputs = FindInputs(console, options.paths, failed);
    RequireOneLayer(options.rows.records, inputs.size());
    bool isWhole = true;
    std::vector<ExportTarget> const targets = PlanExport(inputs, options);
    Outputs outputs(console, options, targets);
    for (ExportTarget const& target : targets) {
        std::string_view const name = target.input.file.Utf8();
        bool const isDone = Survives(console, name, [&] {
            MakeFolderOf(target);
            isWhole =
                ExportFile(console, target.input.file, target.path, options, outputs) && isWhole;
        });
        bool const isFinished = Survives(
            console, name, [&] { isWhole = outputs.EndLayer(target.path, isDone) && isWhole; });
        failed += isDone && isFinished ? 0 : 1;
    }
    return failed > 0 || !isWhole ? EXIT_PROBLEM : EXIT_OK;
}

} // namespace Ambrel::Tool
