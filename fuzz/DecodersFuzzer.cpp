// The pure decoders alone. An input is one byte of options and a record content.

#include "ShpReader/dbf/DbfFormat.h"
#include "ShpReader/shp/ShpFormat.h"

#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

using namespace Ambrel;

enum Option : std::uint8_t { hasZ = 1, hasMeasures = 2 };

template <class T>
void Touch(T const& value) {
    asm volatile("" : : "r"(&value) : "memory");
}

void Require(bool isTrue) {
    if (!isTrue) {
        std::abort();
    }
}

void WalkVertices(VertexRecord const& record) {
    for (std::size_t i = 0; i < record.PointCount(); ++i) {
        Touch(record.X(i) + record.Y(i));
        Touch(record.HasZ() ? record.Z(i) : 0.0);
        Touch(record.HasMeasures() ? record.Measure(i) : 0.0);
    }
    Touch(record.HasZ() ? record.ZRange().second : 0.0);
    Touch(record.HasMeasures() ? record.MeasureRange().second : 0.0);
}

void WalkParts(VertexRecord const& record) {
    for (std::size_t part = 0; part < record.PartCount(); ++part) {
        Touch(record.PartStart(part));
    }
    if (record.CheckPartStarts() != RecordFault::None || record.PartCount() == 0) {
        return;
    }
    std::size_t sum = 0;
    for (std::size_t part = 0; part < record.PartCount(); ++part) {
        sum += record.PartSize(part);
    }
    Require(sum + static_cast<std::size_t>(record.PartStart(0)) == record.PointCount());
}

void DecodeContent(RecordContent content, std::uint8_t options) {
    bool const z = options & hasZ;
    bool const m = options & hasMeasures;
    Touch(ReadBounds(content));
    Touch(PointRecord::Decode(content, z, m));
    VertexRecord const points = VertexRecord::OfMultiPoint(content, z, m);
    if (points.Fault() == RecordFault::None) {
        WalkVertices(points);
    }
    VertexRecord const parts = VertexRecord::OfParts(content, z, m);
    if (parts.Fault() == RecordFault::None) {
        WalkVertices(parts);
        WalkParts(parts);
    }
    Touch(content.Holds(0, shapeTypeSize) ? ShapeTypeName(ReadShapeType(content)) : "");
}

/// What is decoded and encoded again is the same.
template <class Layout, class Byte>
void TurnAround(std::vector<Byte> const& bytes) {
    if (bytes.size() < Layout::size) {
        return;
    }
    std::vector<Byte> encoded(Layout::size);
    Layout::Decode(bytes.data()).Encode(encoded.data());
    std::vector<Byte> again(Layout::size);
    Layout::Decode(encoded.data()).Encode(again.data());
    Require(encoded == again);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    if (size == 0) {
        return -1;
    }
    // A copy of its own size, so that a byte too far is noticed.
    std::vector<std::uint8_t> const bytes(data + 1, data + size);
    DecodeContent(RecordContent(bytes.data(), bytes.size()), data[0]);
    TurnAround<ShpFileHeader>(bytes);
    TurnAround<ShpRecordHeader>(bytes);
    TurnAround<ShpIndexEntry>(bytes);
    std::vector<char> const characters(bytes.begin(), bytes.end());
    TurnAround<DbfHeader>(characters);
    TurnAround<DbfFieldDescriptor>(characters);
    return 0;
}
