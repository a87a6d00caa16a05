// CSV (RFC 4180): one column for each attribute, then the geometry's. What is null is an empty
// field.

#include "formats/ColumnNames.h"
#include "formats/CoordinateText.h"
#include "formats/Format.h"
#include "formats/Measures.h"
#include "formats/OutputFile.h"
#include "formats/TextFormat.h"
#include "formats/WkbBytes.h"
#include "formats/WktText.h"
#include "terminal/Console.h"

#include <algorithm>
#include <cmath>

namespace Ambrel::Tool {

namespace {

constexpr char const* recordEnd = "\r\n";

void AppendHex(std::string& text, std::string_view bytes) {
    constexpr char digits[] = "0123456789ABCDEF";
    for (char const byte : bytes) {
        auto const value = static_cast<unsigned char>(byte);
        text += digits[value >> 4];
        text += digits[value & 15];
    }
}

/// The columns of the geometry, behind those of the attributes. Each field that they write has a
/// comma before it.
class GeometryColumns {
public:
    GeometryColumns(LayerDescription const& describedLayer, std::optional<int> decimals)
        : layer(describedLayer), precision(decimals) {}
    GeometryColumns(GeometryColumns const&) = delete;
    GeometryColumns& operator=(GeometryColumns const&) = delete;
    virtual ~GeometryColumns() = default;

    virtual std::vector<std::string> Names() const = 0;
    /// `geometry` may be null.
    virtual void Append(std::string& text, BFeature const& feature, BGeometry const* geometry) = 0;

protected:
    LayerDescription const& layer;
    std::optional<int> precision;
};

class NoColumns final : public GeometryColumns {
public:
    using GeometryColumns::GeometryColumns;
    std::vector<std::string> Names() const override { return {}; }
    void Append(std::string&, BFeature const&, BGeometry const*) override {}
};

class WktColumn final : public GeometryColumns {
public:
    using GeometryColumns::GeometryColumns;
    std::vector<std::string> Names() const override { return {"wkt"}; }
    void Append(std::string& text, BFeature const& feature, BGeometry const* geometry) override {
        text += ',';
        if (geometry) {
            wkt.clear();
            AppendWkt(wkt, feature, *geometry, layer.hasMeasures, precision);
            AppendCsvField(text, wkt);
        }
    }

private:
    std::string wkt; ///< kept for its room
};

class WkbColumn final : public GeometryColumns {
public:
    using GeometryColumns::GeometryColumns;
    std::vector<std::string> Names() const override { return {"wkb"}; }
    void Append(std::string& text, BFeature const& feature, BGeometry const* geometry) override {
        text += ',';
        if (geometry) {
            wkb.clear();
            AppendWkb(wkb, feature, *geometry, layer.hasMeasures);
            AppendHex(text, wkb);
        }
    }

private:
    std::string wkb; ///< kept for its room
};

class CoordinateColumns final : public GeometryColumns {
public:
    CoordinateColumns(LayerDescription const& describedLayer, std::optional<int> decimals)
        : GeometryColumns(describedLayer, decimals) {
        if (layer.geometryClass != GEO_CLASS_POINTS) {
            throw UsageException("--geometry xy: " + layer.name + " does not consist of points");
        }
    }
    std::vector<std::string> Names() const override {
        std::vector<std::string> names = {"x", "y"};
        if (layer.hasZ) {
            names.emplace_back("z");
        }
        if (layer.hasMeasures) {
            names.emplace_back("m");
        }
        return names;
    }
    void Append(std::string& text, BFeature const& feature, BGeometry const* geometry) override {
        text += ',';
        if (geometry && geometry->type == GEO_POINT) {
            CoordinateText(text, ',', precision)
                .Append(static_cast<BPointGeo const&>(*geometry).GetPoint(), layer.hasZ);
        } else {
            text += layer.hasZ ? ",," : ",";
        }
        if (layer.hasMeasures) {
            text += ',';
            AppendMeasure(text, feature);
        }
    }

private:
    void AppendMeasure(std::string& text, BFeature const& feature) const {
        std::vector<double> const measures = StoredMeasures(feature);
        if (!measures.empty() && !IsNoData(measures.front()) && std::isfinite(measures.front())) {
            CoordinateText(text, ',', precision).Append(measures.front());
        }
    }
};

template <class Columns>
std::unique_ptr<GeometryColumns> MakeColumns(LayerDescription const& layer,
                                             std::optional<int> precision) {
    return std::make_unique<Columns>(layer, precision);
}

struct GeometryForm {
    std::string_view name;
    std::unique_ptr<GeometryColumns> (*make)(LayerDescription const&, std::optional<int>);
};
constexpr GeometryForm geometryForms[] = {{"wkt", MakeColumns<WktColumn>},
                                          {"xy", MakeColumns<CoordinateColumns>},
                                          {"wkb", MakeColumns<WkbColumn>},
                                          {"none", MakeColumns<NoColumns>}};

GeometryForm const& FormCalled(std::string const& name) {
    if (name.empty()) {
        return geometryForms[0];
    }
    auto const* const form =
        std::find_if(std::begin(geometryForms), std::end(geometryForms),
                     [&](GeometryForm const& candidate) { return candidate.name == name; });
    if (form == std::end(geometryForms)) {
        throw UsageException("--geometry: " + name + " is none of wkt, xy, wkb, none");
    }
    return *form;
}

void AppendValue(std::string& text, BVariant const& value) {
    if (value.IsNull()) {
        return;
    }
    switch (value.GetType()) {
    case VAR_DOUBLE:
    case VAR_FLOAT: {
        double const number = value.GetValueAsDouble(std::nan(""));
        return std::isfinite(number) ? AppendNumber(text, number) : void();
    }
    case VAR_BOOLEAN: text += value.GetValueAsBoolean(false) ? "true" : "false"; return;
    case VAR_DATE: return AppendCsvField(text, DateText(value.GetValueAsString({}).Utf8()));
    default: return AppendCsvField(text, value.GetValueAsString({}).Utf8());
    }
}

class CsvWriter final : public FeatureWriter {
public:
    CsvWriter(Console& console, std::string const& path, FormatOptions const& formatOptions)
        : form(FormCalled(formatOptions.geometry)), options(formatOptions), output(console, path) {}

    void BeginLayer(LayerDescription const& layer) override {
        geometryColumns = form.make(layer, options.precision);
        std::vector<std::string> const geometryNames = geometryColumns->Names();
        std::vector<std::string> names =
            ColumnNames(layer.schema, {geometryNames.begin(), geometryNames.end()});
        columns = names.size();
        names.insert(names.end(), geometryNames.begin(), geometryNames.end());
        if (names.empty()) {
            throw UsageException("--geometry none: " + layer.name +
                                 " has no columns without its geometry");
        }
        std::string& text = output.Buffer();
        for (std::string const& name : names) {
            AppendCsvField(text, name);
            text += ',';
        }
        text.pop_back();
        text += recordEnd;
    }

    void Write(std::uint64_t, BFeature const& feature, BGeometry const* geometry) override {
        std::string& text = output.Buffer();
        std::size_t const start = text.size();
        for (std::uint64_t i = 0; i < columns; ++i) {
            text += ',';
            if (i < feature.attributes.GetCount()) {
                AppendValue(text, feature.attributes.GetAt(i).GetValue());
            }
        }
        geometryColumns->Append(text, feature, geometry);
        text.erase(start, 1);
        if (text.size() == start) { // an empty line would be no record
            text += R"("")";
        }
        text += recordEnd;
        output.FlushIfFull();
    }

    void EndLayer() override {}
    void Finish() override { output.Commit(); }

private:
    GeometryForm const& form;
    FormatOptions options;
    OutputFile output;
    std::unique_ptr<GeometryColumns> geometryColumns;
    std::uint64_t columns = 0; ///< of attributes
};

std::unique_ptr<FeatureWriter> Make(Console& console, std::string const& path,
                                    FormatOptions const& options) {
    return std::make_unique<CsvWriter>(console, path, options);
}

} // namespace

Format CsvFormat() {
    return {.name = "csv",
            .extensions = {".csv"},
            .holdsNulls = false,
            .hasGeometryForms = true,
            .make = Make};
}

} // namespace Ambrel::Tool
