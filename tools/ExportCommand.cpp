#include "Commands.h"
#include "Console.h"
#include "CsvWriter.h"
#include "ForEachFile.h"
#include "GeoJsonWriter.h"
#include "GeometryWalk.h"
#include "OutputFile.h"
#include "ProgressBar.h"
#include "StreamingCollection.h"

#include "Ambrel/BFileUtilities.h"
#include "Ambrel/Constants.h"

#include <filesystem>
#include <set>

namespace Ambrel::Tool {

namespace {

namespace fs = std::filesystem;

bool IsCsv(ExportOptions const& options) {
    return options.format.empty() ? ExtensionOf(options.output) == ".csv" : options.format == "csv";
}

std::unique_ptr<BTransform> TransformOf(BVectorLayer const& layer) {
    if (!layer.GetCoordSys()) {
        throw BDataManagerException(BString::FromUtf8("--to-wgs84"),
                                    BString::FromUtf8("the coordinate system is not known"));
    }
    return layer.GetCoordSys()->MakeTransformToWgs84();
}

bool LiesIn(BRect const& window, BFeature const& feature) {
    BRect const rectangle = feature.ComputeMBR();
    return rectangle.xMax >= rectangle.xMin && rectangle.yMax >= rectangle.yMin &&
           window.Meets(rectangle);
}

/// Hands the features of one layer to a writer, those alone and in that shape that were asked for.
class Export {
public:
    Export(Console& newConsole, BString const& newFile, ExportOptions const& newOptions,
           FeatureWriter& newWriter, std::unique_ptr<BTransform> newTransform)
        : console(newConsole), file(newFile), options(newOptions), writer(newWriter),
          transform(std::move(newTransform)) {}

    /// Changes the geometry where a transformation was asked for.
    void Take(std::uint64_t index, BFeature& feature) const {
        if (options.window && !LiesIn(*options.window, feature)) {
            return;
        }
        BVariant const* const number = feature.GetMetadata().Find(CMN_RECORD_NUMBER);
        std::uint64_t const record = number ? number->GetValueAsUnsignedInteger64(index) : index;
        writer.Write(record, feature, WritableGeometry(record, feature));
    }

private:
    /// Null where there is none, or none that JSON has numbers for.
    BGeometry const* WritableGeometry(std::uint64_t record, BFeature& feature) const {
        BGeometry* const geometry = feature.GetGeometry().Get();
        if (!geometry || !IsFinite(*geometry)) {
            return nullptr;
        }
        if (!transform || Transforms(*geometry)) {
            return geometry;
        }
        PrintWarning(console, std::string(file.Utf8()) + ": record " + std::to_string(record) +
                                  " has no position in WGS 84; its geometry is left out");
        return nullptr;
    }

    bool Transforms(BGeometry& geometry) const {
        try {
            geometry.Transform(*transform, false);
        } catch (BException const&) { // the position lies outside the coordinate system
            return false;
        }
        return IsFinite(geometry);
    }

    Console& console;
    BString file;
    ExportOptions const& options;
    FeatureWriter& writer;
    std::unique_ptr<BTransform> transform;
};

void ReadLayer(Source& source, ProgressBar& progress) {
    source.Reader().SetProgress(&progress);
    source.Reader().Read();
    if (source.Reader().GetReadResult() == READ_CANCELLED) {
        throw InterruptedException();
    }
}

void TakeAll(BFeatureCollection& features, Export const& task, ProgressBar& progress) {
    std::uint64_t const count = features.GetCount();
    for (std::uint64_t i = 0; i < count; ++i) {
        progress.Step(i, count);
        BSharedPtr<BFeature> const feature = features.GetAt(i, true);
        task.Take(i, *feature);
    }
}

void RunMode(Console& console, BString const& file, Source& source, Export const& task,
             HoldMode mode) {
    ProgressBar progress(console, std::string(BFileUtilities::GetBasename(file).Utf8()));
    switch (mode) {
    case HoldMode::Stream:
        source.Layer().SetFeaturesPtr(new StreamingCollection(
            [&](std::uint64_t index, BFeature& feature) { task.Take(index, feature); }));
        return ReadLayer(source, progress);
    case HoldMode::Memory:
    case HoldMode::Cache:
        ReadLayer(source, progress);
        return TakeAll(source.Layer().GetFeatures(), task, progress);
    case HoldMode::Direct: return TakeAll(source.Layer().GetFeatures(), task, progress);
    }
}

std::unique_ptr<FeatureWriter> MakeWriter(OutputFile& output, ExportOptions const& options) {
    if (IsCsv(options)) {
        return std::make_unique<CsvWriter>(output, options.source.useAttributes);
    }
    return std::make_unique<GeoJsonWriter>(output);
}

void ExportFile(Console& console, BString const& file, std::string const& outputPath,
                ExportOptions const& options) {
    Source source(console, file, options.source);
    std::unique_ptr<BTransform> transform = options.toWgs84 ? TransformOf(source.Layer()) : nullptr;
    OutputFile output(console, outputPath);
    std::unique_ptr<FeatureWriter> const writer = MakeWriter(output, options);
    Export const task(console, file, options, *writer, std::move(transform));
    writer->Begin(source.Layer().name, source.Layer().GetSchema());
    RunMode(console, file, source, task, options.source.mode);
    writer->End();
    output.Commit();
}

/// What is written is no shapefile, and must not take the place of a part of one.
void RefuseShapefile(std::string const& output) {
    for (char const* const part : {".shp", ".shx", ".dbf", ".prj", ".cpg"}) {
        if (ExtensionOf(output) == part) {
            throw UsageException("--output: " + output +
                                 " would be taken for a part of a shapefile");
        }
    }
}

/// One file for each layer, named after it.
int ExportToFolder(Console& console, ExportOptions const& options) {
    char const* const extension = IsCsv(options) ? ".csv" : ".geojson";
    std::set<std::string> written;
    int const failed = ForEachFile(console, {options.path}, [&](BString const& file) {
        std::string const name(BFileUtilities::GetBasename(file).Utf8());
        std::string const path = (fs::path(options.output) / (name + extension)).string();
        if (!written.insert(path).second) {
            throw BDataManagerException(BString::FromUtf8("export"),
                                        BString::FromUtf8(path + " has another file's layer"));
        }
        ExportFile(console, file, path, options);
    });
    return failed > 0 ? EXIT_PROBLEM : EXIT_OK;
}

} // namespace

int RunExport(Console& console, ExportOptions const& options) {
    std::error_code error; // what can not be looked at is no folder, and opening it will tell
    if (fs::is_directory(options.output, error)) {
        return ExportToFolder(console, options);
    }
    RefuseShapefile(options.output);
    BString const file = TheFileOf(options.path);
    bool const isDone =
        Survives(console, file.Utf8(), [&] { ExportFile(console, file, options.output, options); });
    return isDone ? EXIT_OK : EXIT_PROBLEM;
}

} // namespace Ambrel::Tool
