// GeoJSON (RFC 7946): one collection, one feature a line.

#include "formats/FeatureJson.h"
#include "formats/Format.h"
#include "formats/OutputFile.h"
#include "formats/TextFormat.h"

namespace Ambrel::Tool {

namespace {

/// The member that named the coordinate system before RFC 7946; for one that is not the format's.
void AppendSystem(std::string& text, BCoordSys const* system) {
    if (!system || system->IsLongLatWgs84()) {
        return;
    }
    std::string name(system->GetIdentifier().Utf8());
    if (std::size_t const colon = name.find(':'); colon != std::string::npos) {
        name = "urn:ogc:def:crs:" + name.replace(colon, 1, "::");
    }
    text += R"(,"crs":{"type":"name","properties":{"name":)";
    AppendJsonString(text, name.empty() ? system->GetName().Utf8() : name);
    text += "}}";
}

class GeoJsonWriter final : public FeatureWriter {
public:
    GeoJsonWriter(Console& console, std::string const& path, FormatOptions const& formatOptions)
        : output(console, path), options(formatOptions) {}

    void BeginLayer(LayerDescription const& layer) override {
        features = FeatureJson(layer.schema, options.precision);
        std::string& text = output.Buffer();
        text += R"({"type":"FeatureCollection","name":)";
        AppendJsonString(text, layer.name);
        AppendSystem(text, layer.coordSys.Get());
        text += R"(,"features":[)";
    }

    void Write(std::uint64_t record, BFeature const& feature, BGeometry const* geometry) override {
        output.Buffer() += isFirst ? "\n" : ",\n";
        isFirst = false;
        features.Append(output.Buffer(), record, feature, geometry);
        output.FlushIfFull();
    }

    void EndLayer() override { output.Append("\n]}\n"); }
    void Finish() override { output.Commit(); }

private:
    OutputFile output;
    FormatOptions options;
    FeatureJson features;
    bool isFirst = true;
};

std::unique_ptr<FeatureWriter> Make(Console& console, std::string const& path,
                                    FormatOptions const& options) {
    return std::make_unique<GeoJsonWriter>(console, path, options);
}

} // namespace

Format GeoJsonFormat() {
    return {.name = "geojson", .extensions = {".geojson", ".json"}, .isWgs84 = true, .make = Make};
}

} // namespace Ambrel::Tool
