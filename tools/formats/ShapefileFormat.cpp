// Shapefiles: one layer, its Z and measures kept, in place as a whole. Written by the plug-in's own
// writer, whose library the tool links for this.

#include "formats/Format.h"
#include "formats/OutputFile.h"
#include "terminal/Console.h"

#include "Ambrel/BException.h"
#include "ShpReader/writing/ShapefileWriter.h"
#include "ShpReader/writing/TextEncoder.h"

namespace Ambrel::Tool {

namespace {

/// By the layer's class; a layer without any kind of geometry becomes one of points.
std::int32_t ShapeTypeOf(LayerDescription const& layer) {
    constexpr std::int32_t withZ = 10;
    constexpr std::int32_t withMeasures = 20;
    std::int32_t const variant = layer.hasZ ? withZ : layer.hasMeasures ? withMeasures : 0;
    switch (layer.geometryClass) {
    case GEO_CLASS_LINES: return 3 + variant;
    case GEO_CLASS_AREAS: return 5 + variant;
    case GEO_CLASS_MULTIPOINTS: return 8 + variant;
    case GEO_CLASS_NONE:
    case GEO_CLASS_POINTS: break;
    }
    return 1 + variant;
}

constexpr char const* recordField = "record";

/// A table has at least one field: without any, that of the record's number.
BAttributeDefs SchemaOf(LayerDescription const& layer) {
    BAttributeDefs schema = layer.schema;
    if (schema.GetCount() == 0) {
        BAttributeDef field;
        field.name = BString::FromUtf8(recordField);
        field.SetType(VAR_INTEGER64);
        schema.Add(field);
    }
    return schema;
}

class ShapefileLayerWriter final : public FeatureWriter {
public:
    ShapefileLayerWriter(Console& console, std::string const& outputPath,
                         FormatOptions const& formatOptions)
        : console(console), path(outputPath), options(formatOptions) {}

    void BeginLayer(LayerDescription const& layer) override {
        hasFields = layer.schema.GetCount() > 0;
        BAttributeDefs const schema = SchemaOf(layer);
        Pass([&] {
            writer = std::make_unique<ShapefileWriter>(BString::FromUtf8(path), ShapeTypeOf(layer),
                                                       schema, layer.coordSys,
                                                       BString::FromUtf8(options.encoding));
        });
        WarnOfNames(schema);
    }

    void Write(std::uint64_t record, BFeature const& feature, BGeometry const* geometry) override {
        if (hasFields) {
            Pass([&] { writer->Write(feature, geometry); }, record);
            return;
        }
        BFeature numbered;
        numbered.GetMetadata() = feature.GetMetadata();
        numbered.attributes.Add(BString::FromUtf8(recordField),
                                BVariant(static_cast<std::int64_t>(record)));
        Pass([&] { writer->Write(numbered, geometry); }, record);
    }

    void EndLayer() override {}

    void Finish() override {
        Pass([&] { writer->Finish(); });
        if (std::uint64_t const count = writer->GetReplacedLetterCount()) {
            PrintWarning(console, path + ": " + std::to_string(count) +
                                      " letters are not in the encoding and became \"?\"");
        }
    }

    std::uint64_t GetProblemCount() const override { return writer->GetReplacedLetterCount(); }

private:
    /// What the library throws, as what was to be written.
    template <class Action>
    void Pass(Action action, std::optional<std::uint64_t> record = {}) const {
        try {
            action();
        } catch (BException const& failure) {
            std::string const source =
                record ? "record " + std::to_string(*record) + " cannot be written: " : "";
            throw OutputException(path, source + failure.what());
        }
    }

    void WarnOfNames(BAttributeDefs const& schema) const {
        std::vector<BString> const names = writer->GetFieldNames();
        for (std::uint64_t i = 0; i < schema.GetCount(); ++i) {
            if (!(names[i] == schema.GetAt(i).name)) {
                PrintWarning(console, path + ": the field " + schema.GetAt(i).name.Ascii() +
                                          " is called " + names[i].Ascii());
            }
        }
    }

    Console& console;
    std::string path;
    FormatOptions options;
    std::unique_ptr<ShapefileWriter> writer;
    bool hasFields = true;
};

void RequireEncoding(std::string const& name) {
    try {
        TextEncoder(name, "--output-encoding");
    } catch (BException const&) {
        throw UsageException("--output-encoding: " + name +
                             " is no encoding that a table can have");
    }
}

std::unique_ptr<FeatureWriter> Make(Console& console, std::string const& path,
                                    FormatOptions const& options) {
    if (ExtensionOf(path) != ".shp") {
        throw UsageException("--output: the name of a shapefile ends with .shp");
    }
    RequireEncoding(options.encoding);
    return std::make_unique<ShapefileLayerWriter>(console, path, options);
}

} // namespace

Format ShapefileFormat() {
    return {
        .name = "shp", .extensions = {".shp"}, .isText = false, .hasEncoding = true, .make = Make};
}

} // namespace Ambrel::Tool
