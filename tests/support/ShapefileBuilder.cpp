#include "ShapefileBuilder.h"

#include "TemporaryFolder.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace Ambrel::Test {

namespace {

constexpr std::size_t headerSize = 100;
constexpr std::size_t recordHeaderSize = 8;

void KeepFirst(Bytes& bytes, std::optional<std::size_t> size) {
    bytes.resize(std::min(bytes.size(), size.value_or(bytes.size())));
}

void RequireCount(Reals const& values, std::size_t count) {
    if (!values.empty() && values.size() != count) {
        throw std::invalid_argument("as many values as vertices are needed");
    }
}

} // namespace

void ShapefileBuilder::Range::Show(double value) {
    if (isFixed) {
        return;
    }
    min = isSet ? std::min(min, value) : value;
    max = isSet ? std::max(max, value) : value;
    isSet = true;
}

void ShapefileBuilder::Range::Fix(double newMin, double newMax) {
    isFixed = true;
    min = newMin;
    max = newMax;
}

ShapefileBuilder& ShapefileBuilder::Extent(double xMin, double yMin, double xMax, double yMax) {
    x.Fix(xMin, xMax);
    y.Fix(yMin, yMax);
    return *this;
}

ShapefileBuilder& ShapefileBuilder::ZRange(double min, double max) {
    zRange.Fix(min, max);
    return *this;
}

ShapefileBuilder& ShapefileBuilder::MRange(double min, double max) {
    mRange.Fix(min, max);
    return *this;
}

std::uint32_t ShapefileBuilder::Variant(std::uint32_t type) const {
    return type + (HasZ() ? 10 : 0) + (HasM() ? 20 : 0);
}

ShapefileBuilder& ShapefileBuilder::Null() {
    return AddRecord(ByteList().Little32(0));
}

ShapefileBuilder& ShapefileBuilder::Point(double pointX, double pointY, std::optional<double> z,
                                          std::optional<double> m) {
    ByteList content;
    content.Little32(Variant(1));
    AppendVertices(content, {{pointX, pointY}});
    if (z || HasZ()) {
        content.Real(z.value_or(0));
        zRange.Show(z.value_or(0));
    }
    if (m || HasZ() || HasM()) {
        content.Real(m.value_or(0));
    }
    if (m) {
        mRange.Show(*m);
    }
    return AddRecord(content);
}

ShapefileBuilder& ShapefileBuilder::MultiPoint(Vertices const& vertices, Reals const& z,
                                               Reals const& m) {
    ByteList content;
    content.Little32(Variant(8));
    AppendBox(content, vertices);
    content.Little32(static_cast<std::uint32_t>(vertices.size()));
    AppendVertices(content, vertices);
    AppendZAndM(content, vertices.size(), z, m);
    return AddRecord(content);
}

ShapefileBuilder& ShapefileBuilder::Polyline(Parts const& parts, Reals const& z, Reals const& m) {
    return AddParts(3, parts, z, m);
}

ShapefileBuilder& ShapefileBuilder::Polygon(Parts const& parts, Reals const& z, Reals const& m) {
    return AddParts(5, parts, z, m);
}

ShapefileBuilder& ShapefileBuilder::AddParts(std::uint32_t type, Parts const& parts, Reals const& z,
                                             Reals const& m) {
    Vertices vertices;
    ByteList starts;
    for (Vertices const& part : parts) {
        starts.Little32(static_cast<std::uint32_t>(vertices.size()));
        vertices.insert(vertices.end(), part.begin(), part.end());
    }
    ByteList content;
    content.Little32(Variant(type));
    AppendBox(content, vertices);
    content.Little32(static_cast<std::uint32_t>(parts.size()))
        .Little32(static_cast<std::uint32_t>(vertices.size()))
        .Append(starts);
    AppendVertices(content, vertices);
    AppendZAndM(content, vertices.size(), z, m);
    return AddRecord(content);
}

void ShapefileBuilder::AppendBox(ByteList& content, Vertices const& vertices) {
    Range boxX;
    Range boxY;
    for (Vertex const& vertex : vertices) {
        boxX.Show(vertex.x);
        boxY.Show(vertex.y);
    }
    content.Reals({boxX.min, boxY.min, boxX.max, boxY.max});
}

void ShapefileBuilder::AppendVertices(ByteList& content, Vertices const& vertices) {
    for (Vertex const& vertex : vertices) {
        content.Real(vertex.x).Real(vertex.y);
        x.Show(vertex.x);
        y.Show(vertex.y);
    }
}

void ShapefileBuilder::AppendZAndM(ByteList& content, std::size_t count, Reals const& z,
                                   Reals const& m) {
    RequireCount(z, count);
    RequireCount(m, count);
    if (HasZ() || !z.empty()) {
        AppendRangeAndValues(content, z.empty() ? Reals(count, 0) : z, zRange);
    }
    if (!m.empty()) {
        AppendRangeAndValues(content, m, mRange);
    }
}

void ShapefileBuilder::AppendRangeAndValues(ByteList& content, Reals const& values,
                                            Range& fileRange) {
    Range range;
    for (double value : values) {
        range.Show(value);
        fileRange.Show(value);
    }
    content.Real(range.min).Real(range.max);
    for (double value : values) {
        content.Real(value);
    }
}

ShapefileBuilder& ShapefileBuilder::Raw(Bytes const& content) {
    return AddRecord(content);
}

ShapefileBuilder& ShapefileBuilder::AddRecord(Bytes const& content) {
    Record record;
    record.junkBefore = std::exchange(junk, Bytes());
    record.content = content;
    records.push_back(std::move(record));
    return *this;
}

ShapefileBuilder& ShapefileBuilder::Junk(Bytes const& bytes) {
    junk.insert(junk.end(), bytes.begin(), bytes.end());
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

ShapefileBuilder& ShapefileBuilder::CutContent(std::size_t size) {
    KeepFirst(records.back().content, size);
    return *this;
}

ShapefileBuilder& ShapefileBuilder::IndexEntry(std::int32_t offsetWords, std::int32_t lengthWords) {
    extraEntries.push_back({offsetWords, lengthWords});
    return *this;
}

ShapefileBuilder& ShapefileBuilder::Field(std::string const& name, char letter, std::uint8_t width,
                                          std::uint8_t decimals) {
    table.Field(name, letter, width, decimals);
    hasOwnTable = true;
    return *this;
}

ShapefileBuilder& ShapefileBuilder::Row(std::vector<std::string> const& cells) {
    table.Row(cells);
    return *this;
}

ShapefileBuilder& ShapefileBuilder::Table(TableBuilder const& newTable) {
    table = newTable;
    hasOwnTable = true;
    return *this;
}

Bytes ShapefileBuilder::Header(std::size_t fileSize) const {
    return ByteList()
        .Big32(static_cast<std::uint32_t>(fileCode))
        .Fill(20)
        .Big32(static_cast<std::uint32_t>(
            fileLength.value_or(static_cast<std::int32_t>(fileSize / 2))))
        .Little32(static_cast<std::uint32_t>(version))
        .Little32(static_cast<std::uint32_t>(shapeType))
        .Reals({x.min, y.min, x.max, y.max, zRange.min, zRange.max, mRange.min, mRange.max});
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
    Bytes file = ByteList().Append(Header(headerSize + body.Size())).Append(body);
    KeepFirst(file, mainFileSize);
    return file;
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
    Bytes file = ByteList().Append(Header(headerSize + entries.Size())).Append(entries);
    KeepFirst(file, indexSize);
    return file;
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
