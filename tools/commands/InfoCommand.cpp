#include "commands/InfoCommand.h"
#include "commands/ForEachFile.h"
#include "formats/TextFormat.h"
#include "terminal/Console.h"

#include "source/DeletedRows.h"
#include "source/Encoding.h"
#include "source/FileHeader.h"

#include "Ambrel/BException.h"

#include <nlohmann/json.hpp>

#include <cmath>

namespace Ambrel::Tool {

namespace {

using Json = nlohmann::ordered_json;

std::string_view FieldTypeName(EVariantType type) {
    switch (type) {
    case VAR_INTEGER64:
    case VAR_UNSIGNED_INTEGER64:
    case VAR_UNSIGNED_INTEGER: return "integer64";
    case VAR_DOUBLE:
    case VAR_FLOAT: return "double";
    case VAR_DATE: return "date";
    case VAR_BOOLEAN: return "boolean";
    case VAR_STRING: return "string";
    default: return "integer";
    }
}

std::string_view ClassName(EGeometryClass geometryClass) {
    constexpr std::string_view names[] = {"none", "points", "lines", "areas", "multipoints"};
    return geometryClass < std::size(names) ? names[geometryClass] : names[0];
}

/// A number that JSON has no form for becomes null.
Json Number(double value) {
    return std::isfinite(value) ? Json(value) : Json(nullptr);
}

Json RangeOf(BVectorLayer const& layer, char const* minimum, char const* maximum) {
    BVariant const* const min = layer.GetMetadata().Find(BString::FromUtf8(minimum));
    BVariant const* const max = layer.GetMetadata().Find(BString::FromUtf8(maximum));
    if (!min || !max) {
        return nullptr;
    }
    return {Number(min->GetValueAsDouble(0.0)), Number(max->GetValueAsDouble(0.0))};
}

Json FieldsOf(BAttributeDefs const& schema) {
    Json fields = Json::array();
    for (std::uint64_t i = 0; i < schema.GetCount(); ++i) {
        BAttributeDef const& field = schema.GetAt(i);
        EVariantType const type = field.isDate ? VAR_DATE : field.GetType();
        fields.push_back({{"name", field.name.Utf8()},
                          {"type", FieldTypeName(type)},
                          {"width", field.width},
                          {"decimals", field.decimals}});
    }
    return fields;
}

/// Where the name is null, texts are UTF-8 where they are valid UTF-8, and Windows-1252 where not.
Json EncodingOf(BString const& file, std::string const& wanted) {
    StatedEncoding const stated = FindEncoding(file, wanted);
    bool const isKnown = !stated.name.empty() && FindCodec(stated.name);
    return {{"name", isKnown ? Json(stated.name) : Json(nullptr)},
            {"from", isKnown ? Json(stated.origin) : Json(nullptr)}};
}

Json WktOf(BCoordSys const* crs) {
    BString const text = crs ? crs->ToText() : BString();
    return text.IsEmpty() ? Json(nullptr) : Json(text.Utf8());
}

Json DescribeLayer(BString const& file, Source& source, InfoOptions const& options) {
    BVectorLayer& layer = source.Layer();
    std::int32_t const shapeType = HeaderOf(file).value_or(ShpFileHeader()).shapeType;
    BRect const extent = source.Extent();
    BCoordSys const* const crs = layer.GetCoordSys().Get();
    auto const code = crs ? crs->GetEpsgCode() : std::nullopt;
    Json description;
    description["name"] = layer.name.Utf8();
    description["path"] = WithAliases(std::string(file.Utf8()));
    description["shapeType"] = shapeType;
    description["shapeTypeName"] = ShapeTypeName(shapeType);
    description["geometryClass"] = ClassName(layer.GetSingleGeometryClass());
    description["records"] = layer.GetFeatures().GetCount();
    description["deletedRows"] = CountDeletedRows(file);
    description["extent"] = {Number(extent.xMin), Number(extent.yMin), Number(extent.xMax),
                             Number(extent.yMax)};
    description["zRange"] = RangeOf(layer, "ShpMinZCoord", "ShpMaxZCoord");
    description["measureRange"] = RangeOf(layer, "ShpMinMeasure", "ShpMaxMeasure");
    description["crs"] = crs ? Json(crs->GetName().Utf8()) : Json(nullptr);
    description["epsg"] = code ? Json(*code) : Json(nullptr);
    description["wkt"] = WktOf(crs);
    description["encoding"] = EncodingOf(file, options.encoding);
    description["fields"] = FieldsOf(layer.GetSchema());
    return description;
}

std::string NumberText(Json const& number) {
    if (!number.is_number()) {
        return "?";
    }
    std::string text;
    AppendNumber(text, number.get<double>());
    return text;
}

std::string RangeText(Json const& range) {
    return range.is_null() ? "none" : NumberText(range[0]) + " to " + NumberText(range[1]);
}

std::string ExtentText(Json const& extent) {
    // Files without geometry state such a box, among them those that are written here.
    if (extent[0] > extent[2] && extent[1] > extent[3]) {
        return "none";
    }
    return "x " + NumberText(extent[0]) + " to " + NumberText(extent[2]) + ", y " +
           NumberText(extent[1]) + " to " + NumberText(extent[3]);
}

std::string TypeText(Json const& layer) {
    std::string const name = layer["shapeTypeName"];
    std::string const geometryClass = layer["geometryClass"];
    return (name.empty() ? "unknown" : name) + " (" + layer["shapeType"].dump() + "), " +
           geometryClass;
}

std::string CrsText(Json const& layer) {
    if (layer["crs"].is_null()) {
        return "unknown";
    }
    std::string const name = layer["crs"];
    return layer["epsg"].is_null() ? name : name + " (EPSG:" + layer["epsg"].dump() + ")";
}

std::string RecordsText(Json const& layer) {
    std::uint64_t const deleted = layer["deletedRows"];
    std::string const text = layer["records"].dump();
    return deleted == 0 ? text
                        : text + ", of which " + std::to_string(deleted) + " marked as deleted";
}

std::string EncodingText(Json const& encoding) {
    if (encoding["name"].is_null()) {
        return "not stated: UTF-8 where valid, else Windows-1252";
    }
    std::string const name = encoding["name"];
    std::string const origin = encoding["from"];
    return name + " (" + origin + ")";
}

/// One line.
std::string BriefText(Json const& layer) {
    std::string const path = layer["path"];
    std::string const type = layer["shapeTypeName"];
    std::uint64_t const records = layer["records"];
    return OneLine(path + ": " + (type.empty() ? "unknown type" : type) + ", " +
                   Counted(records, "record|records") + ", " + CrsText(layer)) +
           "\n";
}

std::string FieldText(Json const& field) {
    std::string text = field["type"];
    text += "(" + field["width"].dump();
    if (field["decimals"] != 0) {
        text += "." + field["decimals"].dump();
    }
    return text + ")";
}

/// Text in a column; a character of UTF-8 counts as one, whatever its bytes.
std::string Pad(std::string text, std::size_t width) {
    std::size_t length = 0;
    for (char const c : text) {
        length += (static_cast<unsigned char>(c) & 0xC0) != 0x80;
    }
    text.append(width > length ? width - length : 0, ' ');
    return text;
}

std::string Row(std::string const& label, std::string const& value) {
    return "  " + Pad(label, 10) + OneLine(value) + "\n";
}

std::string LayerText(Json const& layer, bool colors) {
    std::string const name = OneLine(std::string(layer["name"]));
    std::string text = colors ? "\033[1m" + name + "\033[0m\n" : name + "\n";
    text += Row("file", layer["path"]);
    text += Row("type", TypeText(layer));
    text += Row("records", RecordsText(layer));
    text += Row("extent", ExtentText(layer["extent"]));
    text += Row("z", RangeText(layer["zRange"]));
    text += Row("measures", RangeText(layer["measureRange"]));
    text += Row("crs", CrsText(layer));
    text += Row("encoding", EncodingText(layer["encoding"]));
    std::string label = "fields";
    for (Json const& field : layer["fields"]) {
        text += Row(label, Pad(field["name"], 14) + FieldText(field));
        label.clear();
    }
    return text;
}

} // namespace

int RunInfo(Console& console, InfoOptions const& options) {
    Json layers = Json::array();
    bool isFirst = true;
    int const failed = ForEachFile(console, options.paths, [&](BString const& file) {
        Source source(console, file, {.encoding = options.encoding, .crs = options.crs});
        Json layer = DescribeLayer(file, source, options);
        if (options.json) {
            layers.push_back(std::move(layer));
            return;
        }
        if (options.brief) {
            return console.out.Write(BriefText(layer));
        }
        console.out.Write((isFirst ? "" : "\n") + LayerText(layer, console.colors));
        isFirst = false;
    });
    if (options.json) {
        console.out.Write(layers.dump(2, ' ', false, Json::error_handler_t::replace) + "\n");
    }
    return failed > 0 ? EXIT_PROBLEM : EXIT_OK;
}

} // namespace Ambrel::Tool
