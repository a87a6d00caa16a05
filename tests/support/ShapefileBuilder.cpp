#include "ShapefileBuilder.h"

#include "TemporaryFolder.h"

#include <algorithm>
#include <stdexcept>

namespace Ambrel::Test {

namespace {

constexpr std::size_t headerSize = 100;
constexpr std::size_t recordHeaderSize = 8;

std::uint32_t Words(std::size_t bytes) {
    return static_cast<std::uint32_t>(bytes / 2);
}

/// Lowest and highest, 0 to 0 of nothing.
std::pair<double, double> RangeOf(Reals const& values) {
    if (values.empty()) {
        return {0, 0};
    }
    auto const [lowest, highest] = std::minmax_element(values.begin(), values.end());
    return {*lowest, *highest};
}

} // namespace

ShapefileBuilder& ShapefileBuilder::Point(double x, double y, std::optional<double> z,
                                          std::optional<double> m) {
    ByteList content;
    content.Little32(Variant(1)).Real(x).Real(y);
    shown[0].push_back(x);
    shown[1].push_back(y);
    if (z || HasZ()) {
        content.Real(z.value_or(0));
        shown[2].push_back(z.value_or(0));
    }
    if (m || HasZ() || HasM()) {
        content.Real(m.value_or(0));
    }
    if (m) {
        shown[3].push_back(*m);
    }
    return Raw(content);
}

ShapefileBuilder& ShapefileBuilder::MultiPoint(Vertices const& vertices, Reals const& z,
                                               Reals const& m) {
    auto const count = static_cast<std::uint32_t>(vertices.size());
    return AddShape(8, ByteList().Little32(count), vertices, z, m);
}

ShapefileBuilder& ShapefileBuilder::AddParts(std::uint32_t type, Parts const& parts, Reals const& z,
                                             Reals const& m) {
    Vertices vertices;
    ByteList starts;
    for (Vertices const& part : parts) {
        starts.Little32(static_cast<std::uint32_t>(vertices.size()));
        vertices.insert(vertices.end(), part.begin(), part.end());
    }
    ByteList counts;
    counts.Little32(static_cast<std::uint32_t>(parts.size()))
        .Little32(static_cast<std::uint32_t>(vertices.size()))
        .Append(starts);
    return AddShape(type, counts, vertices, z, m);
}

ShapefileBuilder& ShapefileBuilder::AddShape(std::uint32_t type, ByteList const& counts,
                                             Vertices const& vertices, Reals const& z,
                                             Reals const& m) {
    std::array<Reals, 4> values{Reals(), Reals(), z, m};
    ByteList xy;
    for (Vertex const& vertex : vertices) {
        xy.Real(vertex.x).Real(vertex.y);
        values[0].push_back(vertex.x);
        values[1].push_back(vertex.y);
    }
    if (HasZ() && z.empty()) {
        values[2].assign(vertices.size(), 0);
    }
    auto const [xMin, xMax] = RangeOf(values[0]);
    auto const [yMin, yMax] = RangeOf(values[1]);
    ByteList content;
    content.Little32(Variant(type)).Reals({xMin, yMin, xMax, yMax}).Append(counts).Append(xy);
    for (std::size_t i : {2U, 3U}) {
        if (!values[i].empty() && values[i].size() != vertices.size()) {
            throw std::invalid_argument("as many values as vertices are needed");
        }
        if (!values[i].empty() || (i == 2 && HasZ())) {
            auto const [min, max] = RangeOf(values[i]);
            content.Reals({min, max}).Reals(values[i]);
        }
    }
    for (std::size_t i = 0; i < shown.size(); ++i) {
        shown[i].insert(shown[i].end(), values[i].begin(), values[i].end());
    }
    return Raw(content);
}

ShapefileBuilder& ShapefileBuilder::Raw(Bytes const& content) {
    positions.push_back(records.Size());
    entries.Big32(Words(headerSize + records.Size())).Big32(Words(content.size()));
    records.Big32(static_cast<std::uint32_t>(positions.size())).Big32(Words(content.size()));
    return After(records.Append(content));
}

ShapefileBuilder& ShapefileBuilder::CutContent(std::size_t size) {
    records.Cut(positions.back() + recordHeaderSize + size);
    return ContentLength(Words(size)).IndexLength(Words(size));
}

std::pair<std::size_t, std::size_t> ShapefileBuilder::PlaceOf(std::size_t record) const {
    std::size_t const end = record + 1 < positions.size() ? positions[record + 1] : records.Size();
    return {headerSize + positions[record], end - positions[record]};
}

Bytes ShapefileBuilder::WithHeader(ByteList const& body) const {
    auto const [xMin, xMax] = RangeOf(shown[0]);
    auto const [yMin, yMax] = RangeOf(shown[1]);
    auto const [zMin, zMax] = RangeOf(shown[2]);
    auto const [mMin, mMax] = RangeOf(shown[3]);
    ByteList file;
    file.Big32(9994).Fill(20).Big32(Words(headerSize + body.Size()));
    file.Little32(1000).Little32(static_cast<std::uint32_t>(shapeType));
    file.Reals({xMin, yMin, xMax, yMax, zMin, zMax, mMin, mMax});
    for (auto const& [offset, bytes] : headerPatches) {
        file.Put(offset, bytes);
    }
    return file.Append(body);
}

TableBuilder ShapefileBuilder::NumberedRows() const {
    TableBuilder ids;
    ids.Field("id", 'N', 9);
    for (std::size_t i = 1; i <= positions.size(); ++i) {
        ids.Row({std::to_string(i)});
    }
    return ids;
}

std::map<std::string, Bytes> ShapefileBuilder::Files() const {
    std::map<std::string, Bytes> files = companions;
    files[".shp"] = WithHeader(records);
    files[".shx"] = WithHeader(entries);
    files[".dbf"] = table.value_or(NumberedRows()).Build();
    for (auto const& [extension, size] : sizes) {
        files[extension].resize(size);
    }
    for (std::string const& extension : missing) {
        files.erase(extension);
    }
    return files;
}

BString ShapefileBuilder::WriteTo(std::filesystem::path const& folder,
                                  std::string const& baseName) const {
    for (auto const& [extension, bytes] : Files()) {
        WriteFile(folder / (baseName + extension), bytes);
    }
    return BString::FromUtf8((folder / (baseName + ".shp")).string());
}

ShapefileBuilder SmallFile(std::int32_t shapeType) {
    ShapefileBuilder builder(shapeType);
    Vertices const shell = {{0, 0}, {0, 9}, {9, 9}, {9, 0}, {0, 0}};
    Vertices const hole = {{2, 2}, {4, 2}, {4, 4}, {2, 2}};
    Reals const values = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    Reals const z = shapeType / 10 == 1 ? values : Reals();
    Reals const m = shapeType > 10 ? values : Reals();
    switch (shapeType % 10) {
    case 1: builder.Point(1, 2, 3, 4).Point(5, 6); break;
    case 3: builder.Polyline({hole, {}, shell}, z, m).Polyline({{{1, 1}, {2, 2}}}); break;
    case 5: builder.Polygon({shell, hole}, z, m).Polygon({shell}).Polygon({shell, shell}); break;
    default: builder.MultiPoint({{1, 2}, {3, 4}}).MultiPoint({}); break;
    }
    builder.Null().Field("id", 'N', 2).Field("text", 'C', 5).Field("real", 'F', 5, 2);
    builder.Field("day", 'D', 8).Field("yes", 'L', 1);
    for (std::size_t i = 0; i < builder.RecordCount(); ++i) {
        builder.Row({std::to_string(i), "caf\xC3\xA9", "1.25", "20240229", "T"});
    }
    return builder;
}

} // namespace Ambrel::Test
