#pragma once

#include "ByteList.h"
#include "TableBuilder.h"

#include <Ambrel/BString.h>

#include <array>
#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace Ambrel::Test {

struct Vertex {
    double x;
    double y;
};
using Vertices = std::vector<Vertex>;
using Parts = std::vector<Vertices>;
using Reals = std::vector<double>;

/// Makes a shapefile, sound unless it is told otherwise:
///
///     ShapefileBuilder(5).Polygon({{{0, 0}, {0, 9}, {9, 9}, {0, 0}}}).Null().WriteTo(folder,
///     "lakes");
///
/// A record takes the file's variant of its type: Point() gives a PointZ (11) in a file of type 15.
/// Ranges in the header follow from the vertices, index entries from the records. Without a field,
/// the table has a numeric field "id" and a row for each record, counted from 1.
///
/// It writes the layouts on its own, so that it is a witness to what the product reads.
class ShapefileBuilder {
public:
    explicit ShapefileBuilder(std::int32_t shapeType) : shapeType(shapeType) {}

    /// What the headers of the main file and of the index state, in place of what follows from the
    /// records.
    ShapefileBuilder& PatchHeader(std::size_t offset, Bytes const& bytes) {
        return After(headerPatches.emplace_back(offset, bytes));
    }
    ShapefileBuilder& Version(std::uint32_t value) {
        return PatchHeader(28, ByteList().Little32(value));
    }
    ShapefileBuilder& Extent(double xMin, double yMin, double xMax, double yMax) {
        return PatchHeader(36, ByteList().Reals({xMin, yMin, xMax, yMax}));
    }
    ShapefileBuilder& ZRange(double min, double max) {
        return PatchHeader(68, ByteList().Reals({min, max}));
    }
    ShapefileBuilder& MRange(double min, double max) {
        return PatchHeader(84, ByteList().Reals({min, max}));
    }

    ShapefileBuilder& Null() { return Raw(ByteList().Little32(0)); }
    /// In a file with Z, Z values that are not given are 0, and so is a point's measure where its
    /// type has one. Other records have measures only if they are given.
    ShapefileBuilder& Point(double x, double y, std::optional<double> z = {},
                            std::optional<double> m = {});
    ShapefileBuilder& MultiPoint(Vertices const& vertices, Reals const& z = {},
                                 Reals const& m = {});
    ShapefileBuilder& Polyline(Parts const& parts, Reals const& z = {}, Reals const& m = {}) {
        return AddParts(3, parts, z, m);
    }
    ShapefileBuilder& Polygon(Parts const& parts, Reals const& z = {}, Reals const& m = {}) {
        return AddParts(5, parts, z, m);
    }
    /// A record with this content, its shape type included.
    ShapefileBuilder& Raw(Bytes const& content);
    /// Bytes behind the last record.
    ShapefileBuilder& Junk(Bytes const& bytes) { return After(records.Append(bytes)); }

    /// The last record in place of what follows from its content. Lengths and offsets are given
    /// in 16-bit words.
    ShapefileBuilder& RecordNumber(std::uint32_t value) {
        return PutMain(0, ByteList().Big32(value));
    }
    ShapefileBuilder& ContentLength(std::uint32_t words) {
        return PutMain(4, ByteList().Big32(words));
    }
    ShapefileBuilder& IndexOffset(std::uint32_t words) {
        return After(entries.Put(entries.Size() - 8, ByteList().Big32(words)));
    }
    ShapefileBuilder& IndexLength(std::uint32_t words) {
        return After(entries.Put(entries.Size() - 4, ByteList().Big32(words)));
    }
    /// Puts bytes over those at an offset of the record's content.
    ShapefileBuilder& Patch(std::size_t offset, Bytes const& bytes) {
        return PutMain(8 + offset, bytes);
    }
    /// Keeps the first `size` bytes of the record's content; its lengths follow.
    ShapefileBuilder& CutContent(std::size_t size);
    /// An index entry behind those of the records so far.
    ShapefileBuilder& IndexEntry(std::uint32_t offsetWords, std::uint32_t lengthWords) {
        return After(entries.Big32(offsetWords).Big32(lengthWords));
    }

    ShapefileBuilder& Field(std::string const& name, char letter, std::uint8_t width,
                            std::uint8_t decimals = 0) {
        return After(OwnTable().Field(name, letter, width, decimals));
    }
    ShapefileBuilder& Row(std::vector<std::string> const& cells) {
        return After(OwnTable().Row(cells));
    }
    /// The whole table, where it needs more than fields and rows.
    ShapefileBuilder& Table(TableBuilder const& newTable) { return After(table = newTable); }
    /// A file beside the others, by its extension: File(".prj", "EPSG:4326").
    ShapefileBuilder& File(std::string const& extension, std::string const& text) {
        return After(companions[extension] = ByteList().Text(text));
    }
    ShapefileBuilder& Without(std::string const& extension) {
        return After(missing.insert(extension));
    }
    /// Keeps the first `size` bytes of that file.
    ShapefileBuilder& Cut(std::string const& extension, std::size_t size) {
        return After(sizes[extension] = size);
    }

    std::size_t RecordCount() const { return positions.size(); }
    /// Where a record's header stands in the main file, and how many bytes it is to the next one.
    std::pair<std::size_t, std::size_t> PlaceOf(std::size_t record) const;
    /// The files by their extensions.
    std::map<std::string, Bytes> Files() const;
    /// Writes the files into the folder and returns the full path of the ".shp" file.
    BString WriteTo(std::filesystem::path const& folder, std::string const& baseName) const;

private:
    /// The builder, after what made the argument.
    template <class Done>
    ShapefileBuilder& After(Done const&) {
        return *this;
    }
    bool HasZ() const { return shapeType > 10 && shapeType < 20; }
    bool HasM() const { return shapeType > 20 && shapeType < 30; }
    std::uint32_t Variant(std::uint32_t type) const {
        return type + (HasZ() ? 10 : 0) + (HasM() ? 20 : 0);
    }
    ShapefileBuilder& AddParts(std::uint32_t type, Parts const& parts, Reals const& z,
                               Reals const& m);
    /// A record of any type but a point's; `counts` stands between its box and its vertices.
    ShapefileBuilder& AddShape(std::uint32_t type, ByteList const& counts, Vertices const& vertices,
                               Reals const& z, Reals const& m);
    ShapefileBuilder& PutMain(std::size_t offset, Bytes const& bytes) {
        return After(records.Put(positions.back() + offset, bytes));
    }
    TableBuilder& OwnTable() { return table ? *table : table.emplace(); }
    TableBuilder NumberedRows() const;
    /// A header and what stands behind it.
    Bytes WithHeader(ByteList const& body) const;

    std::int32_t shapeType;
    /// Of all records' X, Y, Z and measures.
    std::array<Reals, 4> shown;
    /// What stands behind the headers of the main file and of the index.
    ByteList records;
    ByteList entries;
    /// Where the records start in theirs.
    std::vector<std::size_t> positions;
    std::vector<std::pair<std::size_t, Bytes>> headerPatches;
    std::optional<TableBuilder> table;
    std::map<std::string, Bytes> companions;
    std::map<std::string, std::size_t> sizes;
    std::set<std::string> missing;
};

/// Sound records of the layout and variant of `shapeType`, a null shape behind them, and a table
/// with a field of every type: enough to damage, to convert, or to start fuzzing from.
ShapefileBuilder SmallFile(std::int32_t shapeType);

} // namespace Ambrel::Test
