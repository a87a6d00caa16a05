#pragma once

#include "ByteList.h"
#include "TableBuilder.h"

#include <Ambrel/BString.h>

#include <array>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <type_traits>
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

    /// The main file's header in place of what follows from the records.
    ShapefileBuilder& FileCode(std::int32_t value) { return Set(fileCode, value); }
    ShapefileBuilder& Version(std::int32_t value) { return Set(version, value); }
    ShapefileBuilder& FileLength(std::int32_t words) { return Set(fileLength, words); }
    ShapefileBuilder& Extent(double xMin, double yMin, double xMax, double yMax) {
        return Set(statedRanges[0], Range(xMin, xMax)).Set(statedRanges[1], Range(yMin, yMax));
    }
    ShapefileBuilder& ZRange(double min, double max) {
        return Set(statedRanges[2], Range(min, max));
    }
    ShapefileBuilder& MRange(double min, double max) {
        return Set(statedRanges[3], Range(min, max));
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
    /// Bytes between the last record and the next.
    ShapefileBuilder& Junk(Bytes const& bytes) {
        junk.Append(bytes);
        return *this;
    }

    /// The last record in place of what follows from its content. Lengths and offsets are given
    /// in 16-bit words.
    ShapefileBuilder& RecordNumber(std::uint32_t value) {
        return Set(records.back().number, value);
    }
    ShapefileBuilder& ContentLength(std::uint32_t words) {
        return Set(records.back().contentWords, words);
    }
    ShapefileBuilder& IndexOffset(std::int32_t words) {
        return Set(records.back().indexOffset, words);
    }
    ShapefileBuilder& IndexLength(std::int32_t words) {
        return Set(records.back().indexWords, words);
    }
    /// Puts bytes over those at an offset of the record's content.
    ShapefileBuilder& Patch(std::size_t offset, Bytes const& bytes);
    /// Keeps the first `size` bytes of the record's content; its lengths follow.
    ShapefileBuilder& CutContent(std::size_t size) {
        return Set(records.back().content, ByteList().Append(records.back().content).First(size));
    }

    /// An index entry behind those of the records.
    ShapefileBuilder& IndexEntry(std::int32_t offsetWords, std::int32_t lengthWords) {
        extraEntries.push_back({offsetWords, lengthWords});
        return *this;
    }
    /// Keeps the first `size` bytes of the file; nothing else follows.
    ShapefileBuilder& CutMainFile(std::size_t size) { return Set(mainFileSize, size); }
    ShapefileBuilder& CutIndex(std::size_t size) { return Set(indexSize, size); }

    ShapefileBuilder& Field(std::string const& name, char letter, std::uint8_t width,
                            std::uint8_t decimals = 0) {
        table.Field(name, letter, width, decimals);
        return Set(hasOwnTable, true);
    }
    ShapefileBuilder& Row(std::vector<std::string> const& cells) {
        table.Row(cells);
        return *this;
    }
    /// The whole table, where it needs more than fields and rows.
    ShapefileBuilder& Table(TableBuilder const& newTable) {
        return Set(table, newTable).Set(hasOwnTable, true);
    }
    ShapefileBuilder& Prj(std::string const& text) { return Set(prj, text); }
    ShapefileBuilder& Cpg(std::string const& text) { return Set(cpg, text); }
    ShapefileBuilder& WithoutIndex() { return Set(hasIndex, false); }
    ShapefileBuilder& WithoutTable() { return Set(hasTable, false); }

    std::size_t RecordCount() const { return records.size(); }
    /// The content of a record, as it stands behind the record's header.
    Bytes const& ContentAt(std::size_t index) const { return records[index].content; }
    Bytes MainFile() const;
    Bytes Index() const;
    Bytes TableFile() const;
    /// Writes the files into the folder and returns the full path of the ".shp" file.
    BString WriteTo(std::filesystem::path const& folder, std::string const& baseName) const;

private:
    template <class Member>
    ShapefileBuilder& Set(Member& member, std::type_identity_t<Member> const& value) {
        member = value;
        return *this;
    }
    /// Lowest and highest, 0 to 0 of nothing.
    using Range = std::pair<double, double>;
    struct Entry {
        std::int32_t offset;
        std::int32_t length;
    };
    struct Record {
        Bytes junkBefore;
        Bytes content;
        std::optional<std::uint32_t> number;
        std::optional<std::uint32_t> contentWords;
        std::optional<std::int32_t> indexOffset;
        std::optional<std::int32_t> indexWords;
    };

    bool HasZ() const { return shapeType > 10 && shapeType < 20; }
    bool HasM() const { return shapeType > 20 && shapeType < 30; }
    std::uint32_t Variant(std::uint32_t type) const;
    ShapefileBuilder& AddParts(std::uint32_t type, Parts const& parts, Reals const& z,
                               Reals const& m);
    /// A record of any type but a point's; `counts` stands between its box and its vertices.
    ShapefileBuilder& AddShape(std::uint32_t type, ByteList const& counts, Vertices const& vertices,
                               Reals const& z, Reals const& m);
    static Range RangeOf(Reals const& values);
    ByteList Header(std::size_t bodySize) const;

    std::int32_t shapeType;
    std::int32_t fileCode = 9994;
    std::int32_t version = 1000;
    std::optional<std::int32_t> fileLength;
    /// Of all records' X, Y, Z and measures, and what the header states in place of their ranges.
    std::array<Reals, 4> shown;
    std::array<std::optional<Range>, 4> statedRanges;
    std::vector<Record> records;
    ByteList junk;
    std::vector<Entry> extraEntries;
    std::optional<std::size_t> mainFileSize;
    std::optional<std::size_t> indexSize;
    TableBuilder table;
    bool hasOwnTable = false;
    bool hasIndex = true;
    bool hasTable = true;
    std::optional<std::string> prj;
    std::optional<std::string> cpg;
};

} // namespace Ambrel::Test
