#pragma once

#include "ShpReader/format/RecordContent.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>

/// The layouts of the main file (".shp") and the index (".shx") as the "ESRI Shapefile Technical
/// Description" (July 1998) has them: every offset, width and byte order stands here or in the
/// source beside it, once. Bytes in, values out: nothing here opens a file, writes a log line or
/// makes a geometry.
namespace Ambrel {

/// Lengths and offsets are in 16-bit words.
constexpr std::uint32_t shpBytesPerWord = 2;
constexpr std::size_t shpDoubleSize = 8;
constexpr std::size_t shpPointSize = 16; ///< X and Y
constexpr std::size_t shpPartStartSize = 4;
constexpr std::size_t shpRangeSize = 16; ///< minimum and maximum

/// How the records of a shape type are laid out.
enum class ShapeLayout : std::uint8_t { Null, Point, MultiPoint, Polyline, Polygon, MultiPatch };

/// One row of the table of shape types.
struct ShapeType {
    std::int32_t code;
    std::string_view name; ///< as the format's description has it
    ShapeLayout layout;
    bool hasZ;        ///< a main file of this type has Z values
    bool hasMeasures; ///< a main file of this type may have measures
};

/// The row for `code`, or null for a code that the format does not know.
ShapeType const* FindShapeType(std::int32_t code) noexcept;
/// The type's name, empty for an unknown code.
std::string_view ShapeTypeName(std::int32_t code) noexcept;

/// Measures below this stand for "no data".
constexpr double shpNoData = -1e38;

/// The first 100 bytes of the main file and of the index.
struct ShpFileHeader {
    static constexpr std::size_t size = 100;
    /// The fields that are known only when a file is complete, as (offset, size) in bytes.
    struct Range {
        std::size_t offset;
        std::size_t size;
    };
    static constexpr Range lengthField{24, 4};
    static constexpr Range boxFields{36, 32};
    static constexpr Range zFields{68, 16};
    static constexpr std::int32_t expectedFileCode = 9994;
    static constexpr std::int32_t expectedVersion = 1000;

    std::int32_t fileCode = expectedFileCode;
    std::uint32_t fileLength = 0; ///< 16-bit words, this header included
    std::int32_t version = expectedVersion;
    std::int32_t shapeType = 0;
    double xMin = 0.0;
    double yMin = 0.0;
    double xMax = 0.0;
    double yMax = 0.0;
    double zMin = 0.0;
    double zMax = 0.0;
    double mMin = 0.0;
    double mMax = 0.0;

    bool IsValid() const noexcept {
        return fileCode == expectedFileCode && version == expectedVersion;
    }
    /// Whether a file of this type has Z values.
    bool HasZ() const noexcept;
    /// Whether a file of this type may have measures.
    bool MayHaveMeasures() const noexcept;
    /// Whether it may have measures and the range in the header is one: neither
    /// bound below -1e38 (the format's "no data"), not both exactly 0. NaN counts as a bound.
    bool HasUsableMeasures() const noexcept;

    /// REQUIRES: `size` bytes at `bytes`.
    static ShpFileHeader Decode(std::uint8_t const* bytes) noexcept;
    /// Stores `size` bytes at `bytes`.
    void Encode(std::uint8_t* bytes) const noexcept;
};

/// The 8 bytes before each record content in the main file.
struct ShpRecordHeader {
    static constexpr std::size_t size = 8;

    std::uint32_t recordNumber = 0;  ///< from 1; not used when reading
    std::uint32_t contentLength = 0; ///< 16-bit words, this header excluded

    static ShpRecordHeader Decode(std::uint8_t const* bytes) noexcept;
    void Encode(std::uint8_t* bytes) const noexcept;
};

/// One of the 8-byte entries behind the index's header.
struct ShpIndexEntry {
    static constexpr std::size_t size = 8;

    std::int32_t offset = 0;        ///< of the record header, in 16-bit words
    std::int32_t contentLength = 0; ///< 16-bit words

    static ShpIndexEntry Decode(std::uint8_t const* bytes) noexcept;
    void Encode(std::uint8_t* bytes) const noexcept;

    /// Where entry `index` stands in the index file, in bytes.
    static std::int64_t PositionOf(std::uint32_t index) noexcept {
        return static_cast<std::int64_t>(ShpFileHeader::size) + std::int64_t{size} * index;
    }
    /// The entries in an index file of `fileSize` bytes; a partial last one does not count.
    static std::uint32_t CountIn(std::uint32_t fileSize) noexcept;
    /// Where the record header stands in the main file, in bytes; negative for a negative offset.
    std::int64_t RecordPosition() const noexcept { return std::int64_t{shpBytesPerWord} * offset; }
    /// Bytes of record content; a negative length stands for what its 32 bits, doubled, say.
    std::uint32_t ContentSize() const noexcept {
        return shpBytesPerWord * static_cast<std::uint32_t>(contentLength);
    }
};

/// The shape type at the start of a record content, which must hold it.
constexpr std::size_t shapeTypeSize = 4;
std::int32_t ReadShapeType(RecordContent content) noexcept;

/// A record's stored rectangle in map units: the point of a point record, the box of the others.
struct RecordBounds {
    double xMin;
    double yMin;
    double xMax;
    double yMax;
};
/// Nothing for null, multipatch and unknown types, and where the bytes are not there.
std::optional<RecordBounds> ReadBounds(RecordContent content) noexcept;
/// The bytes at the start of a content that ReadBounds looks at, at the most.
constexpr std::uint32_t mostBytesWithBounds = 36;

/// The bytes at the start of a content that tell how much of it there is to decode.
constexpr std::uint32_t mostBytesWithCounts = 44;
/// How many bytes of a content of `size` bytes there are to decode, by what stands in its `start`:
/// those that its type and counts take, no more than `size`. Where vertices are missing, that is
/// the start alone.
std::uint64_t BytesToDecode(RecordContent start, std::uint64_t size, bool fileHasZ,
                            bool fileHasMeasures) noexcept;

/// The fields of a point record.
struct PointRecord {
    RecordFault fault = RecordFault::None; ///< set: the other members mean nothing
    double x = 0.0;
    double y = 0.0;
    std::optional<double> z;       ///< missing in a file without Z, and where its bytes are
    std::optional<double> measure; ///< likewise; in a file with Z every point has room for one

    static PointRecord Decode(RecordContent content, bool fileHasZ, bool fileHasMeasures) noexcept;
};

/// Where the blocks of a record of several vertices stand, by its counts: offsets in the content,
/// in bytes. They follow each other: part starts, points, then where the file has them the Z range
/// and values and the measure range and values.
struct VertexBlocks {
    std::uint64_t partCount = 0;
    std::uint64_t pointCount = 0;
    std::uint64_t partStarts = 0;
    std::uint64_t points = 0;
    std::uint64_t pointsEnd = 0;
    std::uint64_t blockSize = 0; ///< of the Z block, and of the measures

    /// Nothing for a layout without vertices, and where the counts are negative or not there.
    static std::optional<VertexBlocks> Locate(RecordContent content, ShapeLayout layout) noexcept;
};

/// Whether a content of `size` bytes is as long as its type and counts make it: with or without Z
/// values and measures. Never for a multipatch.
bool HasExactSize(RecordContent start, std::uint64_t size) noexcept;

/// A record of several vertices, found to hold what its counts promise: a multipoint, or the parts
/// of a polyline or polygon. It looks into the content, which must outlive it.
class VertexRecord {
public:
    /// Locates the blocks. What the file's header promises and the content does not hold whole, Z
    /// values or measures, is left out.
    static VertexRecord OfMultiPoint(RecordContent content, bool fileHasZ,
                                     bool fileHasMeasures) noexcept;
    /// Several part starts must never decrease, from 0 up, and none may lie behind the last vertex.
    /// The start of a single part is no position and may be anything: it has all vertices.
    static VertexRecord OfParts(RecordContent content, bool fileHasZ,
                                bool fileHasMeasures) noexcept;

    /// Anything but None: no other operation may be called.
    RecordFault Fault() const noexcept { return fault; }

    std::size_t PartCount() const noexcept { return blocks.partCount; }
    std::size_t PointCount() const noexcept { return blocks.pointCount; }
    bool HasZ() const noexcept { return zBlock != 0; }
    bool HasMeasures() const noexcept { return measureBlock != 0; }

    /// The index of the first vertex of `part`, as stored.
    std::int32_t PartStart(std::size_t part) const noexcept {
        return content.ReadI32(blocks.partStarts + shpPartStartSize * part);
    }
    /// The vertices of `part`: all of a single one; else the next part's start, or the end, minus
    /// its own start.
    std::size_t PartSize(std::size_t part) const noexcept;

    double X(std::size_t vertex) const noexcept {
        return content.ReadDouble(blocks.points + shpPointSize * vertex);
    }
    double Y(std::size_t vertex) const noexcept {
        return content.ReadDouble(blocks.points + shpPointSize * vertex + shpDoubleSize);
    }
    /// REQUIRES, for the Z operations: HasZ(). Ranges are (minimum, maximum), as stored.
    double Z(std::size_t vertex) const noexcept {
        return content.ReadDouble(zBlock + shpRangeSize + shpDoubleSize * vertex);
    }
    std::pair<double, double> ZRange() const noexcept { return Range(zBlock); }
    /// REQUIRES, for the measure operations: HasMeasures().
    double Measure(std::size_t vertex) const noexcept {
        return content.ReadDouble(measureBlock + shpRangeSize + shpDoubleSize * vertex);
    }
    std::pair<double, double> MeasureRange() const noexcept { return Range(measureBlock); }

private:
    VertexRecord(RecordContent newContent, ShapeLayout layout, bool fileHasZ,
                 bool fileHasMeasures) noexcept;
    RecordFault CheckPartStarts() const noexcept;
    std::pair<double, double> Range(std::size_t block) const noexcept {
        return {content.ReadDouble(block), content.ReadDouble(block + shpDoubleSize)};
    }

    RecordContent content;
    RecordFault fault = RecordFault::None;
    VertexBlocks blocks;
    std::size_t zBlock = 0; ///< 0: not there
    std::size_t measureBlock = 0;
};

} // namespace Ambrel
