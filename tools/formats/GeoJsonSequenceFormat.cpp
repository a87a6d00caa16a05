// GeoJSON text sequences: features one by one, each a text of its own. ".geojsons" has the record
// separator before each (RFC 8142); anything else has lines alone.

#include "formats/FeatureJson.h"
#include "formats/Format.h"
#include "formats/OutputFile.h"

namespace Ambrel::Tool {

namespace {

constexpr char recordSeparator = '\x1E';
constexpr std::string_view extensionOfSequences = ".geojsons";

class GeoJsonSequenceWriter final : public FeatureWriter {
public:
    GeoJsonSequenceWriter(Console& console, std::string const& path,
                          FormatOptions const& formatOptions)
        : output(console, path), options(formatOptions),
          hasSeparators(ExtensionOf(path) == extensionOfSequences) {}

    void BeginLayer(LayerDescription const& layer) override {
        features = FeatureJson(layer.schema, options.precision);
    }

    void Write(std::uint64_t record, BFeature const& feature, BGeometry const* geometry) override {
        std::string& text = output.Buffer();
        if (hasSeparators) {
            text += recordSeparator;
        }
        features.Append(text, record, feature, geometry);
        text += '\n';
        output.FlushIfFull();
    }

    void EndLayer() override {}
    void Finish() override { output.Commit(); }

private:
    OutputFile output;
    FormatOptions options;
    bool hasSeparators;
    FeatureJson features;
};

std::unique_ptr<FeatureWriter> Make(Console& console, std::string const& path,
                                    FormatOptions const& options) {
    return std::make_unique<GeoJsonSequenceWriter>(console, path, options);
}

} // namespace

Format GeoJsonSequenceFormat() {
    return {.name = "geojsonseq",
            .extensions = {".geojsonl", ".ndjson", extensionOfSequences},
            .isWgs84 = true,
            .make = Make};
}

} // namespace Ambrel::Tool
