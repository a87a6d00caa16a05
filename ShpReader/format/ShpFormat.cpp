#include "ShpReader/format/ShpFormat.h"

#include <algorithm>
#include <array>

namespace Ambrel {

namespace {

constexpr std::array<ShapeType, 14> shapeTypes = {{
    {0, "Null Shape", ShapeLayout::Null, false, false},
    {1, "Point", ShapeLayout::Point, false, false},
    {3, "PolyLine", ShapeLayout::Polyline, false, false},
    {5, "Polygon", ShapeLayout::Polygon, false, false},
    {8, "MultiPoint", ShapeLayout::MultiPoint, false, false},
    {11, "PointZ", ShapeLayout::Point, true, true},
    {13, "PolyLineZ", ShapeLayout::Polyline, true, true},
    {15, "PolygonZ", ShapeLayout::Polygon, true, true},
    {18, "MultiPointZ", ShapeLayout::MultiPoint, true, true},
    {21, "PointM", ShapeLayout::Point, false, true},
    {23, "PolyLineM", ShapeLayout::Polyline, false, true},
    {25, "PolygonM", ShapeLayout::Polygon, false, true},
    {28, "MultiPointM", ShapeLayout::MultiPoint, false, true},
    {31, "MultiPatch", ShapeLayout::MultiPatch, false, false},
}};

/// The rows by code: every record is looked up.
constexpr auto shapeTypeRows = [] {
    std::array<ShapeType const*, shapeTypes.back().code + 1> rows{};
    for (ShapeType const& type : shapeTypes) {
        rows[static_cast<std::size_t>(type.code)] = &type;
    }
    return rows;
}();

/// Offsets in the file header, in bytes. The integers of the first three are big-endian, little and
/// little; the rest are little-endian doubles.
namespace HeaderOffset {
constexpr std::size_t fileCode = 0;
constexpr std::size_t fileLength = ShpFileHeader::lengthField.offset; ///< big-endian
constexpr std::size_t version = 28;
constexpr std::size_t shapeType = 32;
constexpr std::size_t xMin = ShpFileHeader::boxFields.offset;
constexpr std::size_t yMin = xMin + 8;
constexpr std::size_t xMax = xMin + 16;
constexpr std::size_t yMax = xMin + 24;
constexpr std::size_t zMin = ShpFileHeader::zFields.offset;
constexpr std::size_t zMax = zMin + 8;
constexpr std::size_t mMin = 84;
constexpr std::size_t mMax = 92;
} // namespace HeaderOffset

/// Offsets in a record content, in bytes; everything is little-endian.
namespace ContentOffset {
constexpr std::size_t shapeType = 0;
constexpr std::size_t pointX = 4;
constexpr std::size_t pointY = 12;
constexpr std::size_t pointZ = 20;
constexpr std::size_t pointMeasure = 20; ///< in a file without Z
constexpr std::size_t pointMeasureBehindZ = 28;
constexpr std::size_t boxXMin = 4;
constexpr std::size_t boxYMin = 12;
constexpr std::size_t boxXMax = 20;
constexpr std::size_t boxYMax = 28;
constexpr std::size_t partCount = 36;
} // namespace ContentOffset

/// The counts behind the box of a record of several vertices, each of four bytes: that of the parts
/// where there are any, then that of the points.
struct CountFields {
    bool hasParts;
    std::size_t end; ///< bytes
};

/// Null for a layout that is not decoded into vertices.
CountFields const* FindCountFields(ShapeLayout layout) noexcept {
    static constexpr CountFields ofMultiPoint{false, 40};
    static constexpr CountFields ofParts{true, mostBytesWithCounts};
    switch (layout) {
    case ShapeLayout::MultiPoint: return &ofMultiPoint;
    case ShapeLayout::Polyline:
    case ShapeLayout::Polygon: return &ofParts;
    case ShapeLayout::Null:
    case ShapeLayout::Point:
    case ShapeLayout::MultiPatch: break;
    }
    return nullptr;
}

static_assert(mostBytesWithBounds == ContentOffset::boxYMax + shpDoubleSize);

double LoadDouble(std::uint8_t const* bytes) noexcept {
    return RecordContent(bytes, shpDoubleSize).ReadDouble(0);
}

} // namespace

ShapeType const* FindShapeType(std::int32_t code) noexcept {
    auto const index = static_cast<std::uint32_t>(code);
    return index < shapeTypeRows.size() ? shapeTypeRows[index] : nullptr;
}

std::string_view ShapeTypeName(std::int32_t code) noexcept {
    ShapeType const* const type = FindShapeType(code);
    return type ? type->name : std::string_view();
}

bool ShpFileHeader::HasZ() const noexcept {
    ShapeType const* const type = FindShapeType(shapeType);
    return type && type->hasZ;
}

bool ShpFileHeader::MayHaveMeasures() const noexcept {
    ShapeType const* const type = FindShapeType(shapeType);
    return type && type->hasMeasures;
}

bool ShpFileHeader::HasUsableMeasures() const noexcept {
    bool const isNoData = mMin < shpNoData || mMax < shpNoData;
    bool const isUnset = mMin == 0.0 && mMax == 0.0;
    return MayHaveMeasures() && !isNoData && !isUnset;
}

ShpFileHeader ShpFileHeader::Decode(std::uint8_t const* bytes) noexcept {
    ShpFileHeader header;
    header.fileCode = POSH_ReadI32FromBig(bytes + HeaderOffset::fileCode);
    header.fileLength = POSH_ReadU32FromBig(bytes + HeaderOffset::fileLength);
    header.version = POSH_ReadI32FromLittle(bytes + HeaderOffset::version);
    header.shapeType = POSH_ReadI32FromLittle(bytes + HeaderOffset::shapeType);
    header.xMin = LoadDouble(bytes + HeaderOffset::xMin);
    header.yMin = LoadDouble(bytes + HeaderOffset::yMin);
    header.xMax = LoadDouble(bytes + HeaderOffset::xMax);
    header.yMax = LoadDouble(bytes + HeaderOffset::yMax);
    header.zMin = LoadDouble(bytes + HeaderOffset::zMin);
    header.zMax = LoadDouble(bytes + HeaderOffset::zMax);
    header.mMin = LoadDouble(bytes + HeaderOffset::mMin);
    header.mMax = LoadDouble(bytes + HeaderOffset::mMax);
    return header;
}

void ShpFileHeader::Encode(std::uint8_t* bytes) const noexcept {
    std::memset(bytes, 0, size);
    POSH_WriteI32ToBig(bytes + HeaderOffset::fileCode, fileCode);
    POSH_WriteU32ToBig(bytes + HeaderOffset::fileLength, fileLength);
    POSH_WriteI32ToLittle(bytes + HeaderOffset::version, version);
    POSH_WriteI32ToLittle(bytes + HeaderOffset::shapeType, shapeType);
    WriteDoubleToLittle(bytes + HeaderOffset::xMin, xMin);
    WriteDoubleToLittle(bytes + HeaderOffset::yMin, yMin);
    WriteDoubleToLittle(bytes + HeaderOffset::xMax, xMax);
    WriteDoubleToLittle(bytes + HeaderOffset::yMax, yMax);
    WriteDoubleToLittle(bytes + HeaderOffset::zMin, zMin);
    WriteDoubleToLittle(bytes + HeaderOffset::zMax, zMax);
    WriteDoubleToLittle(bytes + HeaderOffset::mMin, mMin);
    WriteDoubleToLittle(bytes + HeaderOffset::mMax, mMax);
}

ShpRecordHeader ShpRecordHeader::Decode(std::uint8_t const* bytes) noexcept {
    return {POSH_ReadU32FromBig(bytes), POSH_ReadU32FromBig(bytes + 4)};
}

void ShpRecordHeader::Encode(std::uint8_t* bytes) const noexcept {
    POSH_WriteU32ToBig(bytes, recordNumber);
    POSH_WriteU32ToBig(bytes + 4, contentLength);
}

ShpIndexEntry ShpIndexEntry::Decode(std::uint8_t const* bytes) noexcept {
    return {POSH_ReadI32FromBig(bytes), POSH_ReadI32FromBig(bytes + 4)};
}

void ShpIndexEntry::Encode(std::uint8_t* bytes) const noexcept {
    POSH_WriteI32ToBig(bytes, offset);
    POSH_WriteI32ToBig(bytes + 4, contentLength);
}

std::uint32_t ShpIndexEntry::CountIn(std::uint32_t fileSize) noexcept {
    return fileSize < ShpFileHeader::size
               ? 0
               : static_cast<std::uint32_t>((fileSize - ShpFileHeader::size) / size);
}

std::int32_t ReadShapeType(RecordContent content) noexcept {
    return content.ReadI32(ContentOffset::shapeType);
}

std::optional<RecordBounds> ReadBounds(RecordContent content) noexcept {
    if (!content.Holds(0, shapeTypeSize)) {
        return std::nullopt;
    }
    ShapeType const* const type = FindShapeType(ReadShapeType(content));
    if (!type || type->layout == ShapeLayout::Null || type->layout == ShapeLayout::MultiPatch) {
        return std::nullopt;
    }
    if (type->layout == ShapeLayout::Point) {
        if (!content.Holds(ContentOffset::pointX, shpPointSize)) {
            return std::nullopt;
        }
        double const x = content.ReadDouble(ContentOffset::pointX);
        double const y = content.ReadDouble(ContentOffset::pointY);
        return RecordBounds{x, y, x, y};
    }
    if (!content.Holds(ContentOffset::boxXMin, 4 * shpDoubleSize)) {
        return std::nullopt;
    }
    return RecordBounds{
        content.ReadDouble(ContentOffset::boxXMin), content.ReadDouble(ContentOffset::boxYMin),
        content.ReadDouble(ContentOffset::boxXMax), content.ReadDouble(ContentOffset::boxYMax)};
}

std::uint64_t BytesToDecode(RecordContent start, std::uint64_t size, bool fileHasZ,
                            bool fileHasMeasures) noexcept {
    std::uint64_t const startSize = std::min<std::uint64_t>(size, mostBytesWithCounts);
    ShapeType const* const type =
        start.Holds(0, shapeTypeSize) ? FindShapeType(ReadShapeType(start)) : nullptr;
    std::optional<VertexBlocks> const blocks =
        type ? VertexBlocks::Locate(start, type->layout) : std::nullopt;
    if (!blocks || blocks->pointsEnd > size) {
        return startSize; // which holds every point
    }
    std::uint64_t const blockCount = (fileHasZ ? 1U : 0U) + (fileHasMeasures ? 1U : 0U);
    return std::min(size, blocks->pointsEnd + blockCount * blocks->blockSize);
}

PointRecord PointRecord::Decode(RecordContent content, bool fileHasZ,
                                bool fileHasMeasures) noexcept {
    PointRecord record;
    if (!content.Holds(ContentOffset::pointX, shpPointSize)) {
        record.fault = content.WhyShort();
        return record;
    }
    record.x = content.ReadDouble(ContentOffset::pointX);
    record.y = content.ReadDouble(ContentOffset::pointY);
    if (fileHasZ && content.Holds(ContentOffset::pointZ, shpDoubleSize)) {
        record.z = content.ReadDouble(ContentOffset::pointZ);
    }
    std::size_t const measure =
        fileHasZ ? ContentOffset::pointMeasureBehindZ : ContentOffset::pointMeasure;
    if ((fileHasZ || fileHasMeasures) && content.Holds(measure, shpDoubleSize)) {
        record.measure = content.ReadDouble(measure);
    }
    return record;
}

std::optional<VertexBlocks> VertexBlocks::Locate(RecordContent content,
                                                 ShapeLayout layout) noexcept {
    CountFields const* const fields = FindCountFields(layout);
    if (!fields || !content.Holds(0, fields->end)) {
        return std::nullopt;
    }
    std::int32_t const parts = fields->hasParts ? content.ReadI32(ContentOffset::partCount) : 0;
    std::int32_t const vertices = content.ReadI32(fields->end - sizeof parts);
    if (parts < 0 || vertices < 0) {
        return std::nullopt;
    }
    // Both are of 31 bits, so no sum comes near the end of 64.
    VertexBlocks blocks;
    blocks.partCount = static_cast<std::uint64_t>(parts);
    blocks.pointCount = static_cast<std::uint64_t>(vertices);
    blocks.partStarts = fields->end;
    blocks.points = fields->end + shpPartStartSize * blocks.partCount;
    blocks.pointsEnd = blocks.points + shpPointSize * blocks.pointCount;
    blocks.blockSize = shpRangeSize + shpDoubleSize * blocks.pointCount;
    return blocks;
}

bool HasExactSize(RecordContent start, std::uint64_t size) noexcept {
    ShapeType const* const type =
        start.Holds(0, shapeTypeSize) ? FindShapeType(ReadShapeType(start)) : nullptr;
    if (!type || type->layout == ShapeLayout::MultiPatch) {
        return false;
    }
    std::uint64_t least = shapeTypeSize;
    std::uint64_t block = 0; // of Z values, and of measures
    if (type->layout == ShapeLayout::Point) {
        least = shapeTypeSize + shpPointSize;
        block = shpDoubleSize;
    } else if (auto const blocks = VertexBlocks::Locate(start, type->layout)) {
        least = blocks->pointsEnd;
        block = blocks->blockSize;
    } else if (type->layout != ShapeLayout::Null) {
        return false;
    }
    return size == least || size == least + block || size == least + 2 * block;
}

VertexRecord VertexRecord::OfMultiPoint(RecordContent content, bool fileHasZ,
                                        bool fileHasMeasures) noexcept {
    return {content, ShapeLayout::MultiPoint, fileHasZ, fileHasMeasures};
}

VertexRecord VertexRecord::OfParts(RecordContent content, bool fileHasZ,
                                   bool fileHasMeasures) noexcept {
    VertexRecord record(content, ShapeLayout::Polyline, fileHasZ, fileHasMeasures);
    if (record.fault == RecordFault::None && record.PartCount() > 1) {
        record.fault = record.CheckPartStarts();
    }
    return record;
}

VertexRecord::VertexRecord(RecordContent newContent, ShapeLayout layout, bool fileHasZ,
                           bool fileHasMeasures) noexcept
    : content(newContent) {
    if (!content.Holds(0, FindCountFields(layout)->end)) {
        fault = content.WhyShort();
        return;
    }
    std::optional<VertexBlocks> const located = VertexBlocks::Locate(content, layout);
    if (!located || !content.Holds(0, located->pointsEnd)) {
        fault = RecordFault::CountsDoNotFit;
        return;
    }
    blocks = *located;
    if (fileHasZ && content.Holds(blocks.pointsEnd, blocks.blockSize)) {
        zBlock = blocks.pointsEnd;
    }
    std::uint64_t const measuresAt = blocks.pointsEnd + (fileHasZ ? blocks.blockSize : 0);
    if (fileHasMeasures && content.Holds(measuresAt, blocks.blockSize)) {
        measureBlock = measuresAt;
    }
}

RecordFault VertexRecord::CheckPartStarts() const noexcept {
    std::int64_t previous = 0;
    for (std::size_t part = 0; part < PartCount(); ++part) {
        std::int64_t const start = PartStart(part);
        if (start < previous || start > static_cast<std::int64_t>(PointCount())) {
            return RecordFault::PartsOutOfOrder;
        }
        previous = start;
    }
    return RecordFault::None;
}

std::size_t VertexRecord::PartSize(std::size_t part) const noexcept {
    if (PartCount() == 1) {
        return PointCount();
    }
    std::size_t const end =
        part + 1 < PartCount() ? static_cast<std::size_t>(PartStart(part + 1)) : PointCount();
    return end - static_cast<std::size_t>(PartStart(part));
}

} // namespace Ambrel
