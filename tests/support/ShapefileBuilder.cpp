#include "ShapefileBuilder.h"

#include "TemporaryFolder.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace Ambrel::Test {

namespace {

constexpr std::size_t headerSize = 100;
constexpr std::size_t recordHeaderSize = 8;

} // namespace

ShapefileBuilder::Range ShapefileBuilder::RangeOf(Reals const& values) {
    Range range = values.empty() ? Range() : Range(values[0], values[0]);
    for (double const value : values) {
        range = {std::min(range.first, value), std::max(range.second, value)};
    }
    return range;
}

std::uint32_t ShapefileBuilder::Variant(std::uint32_t type) const {
    return type + (HasZ() ? 10 : 0) + (HasM() ? 20 : 0);
}

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
    ByteList positions;
    for (Vertex const& vertex : vertices) {
        positions.Real(vertex.x).Real(vertex.y);
        values[0].push_back(vertex.x);
        values[1].push_back(vertex.y);
    }
    if (HasZ() && z.empty()) {
        values[2].assign(vertices.size(), 0);
    }
    auto const [xMin, xMax] = RangeOf(values[0]);
    auto const [yMin, yMax] = RangeOf(values[1]);
    ByteList content;
    content.Little32(Variant(type))
        .Reals({xMin, yMin, xMax, yMax})
        .Append(counts)
        .Append(positions);
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
    records.push_back({std::exchange(junk, ByteList()), content, {}, {}, {}, {}});
    return *this;
}

ShapefileBuilder& ShapefileBuilder::Patch(std::size_t offset, Bytes const& bytes) {
    Bytes& content = records.back().content;
    if (offset + bytes.size() > content.size()) {
        throw std::invalid_argument("the patch lies outside the record's content");
    }
    std::copy(bytes.begin(), bytes.end(), content.begin() + static_cast<std::ptrdiff_t>(offset));
    return *this;
}

ByteList ShapefileBuilder::Header(std::size_t bodySize) const {
    std::array<Range, 4> ranges;
    for (std::size_t i = 0; i < ranges.size(); ++i) {
        ranges[i] = statedRanges[i].value_or(RangeOf(shown[i]));
    }
    auto const& [x, y, z, m] = ranges;
    auto const words = static_cast<std::int32_t>((headerSize + bodySize) / 2);
    return ByteList()
        .Big32(static_cast<std::uint32_t>(fileCode))
        .Fill(20)
        .Big32(static_cast<std::uint32_t>(fileLength.value_or(words)))
        .Little32(static_cast<std::uint32_t>(version))
        .Little32(static_cast<std::uint32_t>(shapeType))
        .Reals({x.first, y.first, x.second, y.second, z.first, z.second, m.first, m.second});
}

Bytes ShapefileBuilder::MainFile() const {
    ByteList body;
    std::uint32_t nextNumber = 1;
    for (Record const& record : records) {
        std::uint32_t const words = static_cast<std::uint32_t>(record.content.size() / 2);
        body.Append(record.junkBefore)
            .Big32(record.number.value_or(nextNumber++))
            .Big32(record.contentWords.value_or(words))
            .Append(record.content);
    }
    body.Append(junk);
    return Header(body.Size()).Append(body).First(mainFileSize);
}

Bytes ShapefileBuilder::Index() const {
    ByteList entries;
    std::size_t position = headerSize;
    for (Record const& record : records) {
        position += record.junkBefore.size();
        auto const offset = static_cast<std::int32_t>(position / 2);
        auto const words = static_cast<std::int32_t>(record.content.size() / 2);
        entries.Big32(static_cast<std::uint32_t>(record.indexOffset.value_or(offset)))
            .Big32(static_cast<std::uint32_t>(record.indexWords.value_or(words)));
        position += recordHeaderSize + record.content.size();
    }
    for (Entry const& entry : extraEntries) {
        entries.Big32(static_cast<std::uint32_t>(entry.offset))
            .Big32(static_cast<std::uint32_t>(entry.length));
    }
    return Header(entries.Size()).Append(entries).First(indexSize);
}

Bytes ShapefileBuilder::TableFile() const {
    if (hasOwnTable) {
        return table.Build();
    }
    TableBuilder ids;
    ids.Field("id", 'N', 9);
    for (std::size_t i = 1; i <= records.size(); ++i) {
        ids.Row({std::to_string(i)});
    }
    return ids.Build();
}

BString ShapefileBuilder::WriteTo(std::filesystem::path const& folder,
                                  std::string const& baseName) const {
    auto const pathOf = [&](char const* extension) { return folder / (baseName + extension); };
    WriteFile(pathOf(".shp"), MainFile());
    if (hasIndex) {
        WriteFile(pathOf(".shx"), Index());
    }
    if (hasTable) {
        WriteFile(pathOf(".dbf"), TableFile());
    }
    if (prj) {
        WriteFile(pathOf(".prj"), ByteList().Text(*prj));
    }
    if (cpg) {
        WriteFile(pathOf(".cpg"), ByteList().Text(*cpg));
    }
    return BString::FromUtf8(pathOf(".shp").string());
}

} // namespace Ambrel::Test
