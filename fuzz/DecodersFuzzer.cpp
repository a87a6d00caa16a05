// The pure decoders alone. An input is one byte of options and a record content.

#include "Checks.h"

#include "ShpReader/format/DbfFormat.h"
#include "ShpReader/format/ShpFormat.h"

#include <algorithm>
#include <initializer_list>
#include <utility>
#include <vector>

namespace {

using namespace Ambrel;
using Fuzz::Require;
using Fuzz::Touch;

enum Option : std::uint8_t { hasZ = 1, hasMeasures = 2 };

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
    if (record.PartCount() == 0) {
        return;
    }
    // The start of a single part is no position.
    auto sum = record.PartCount() == 1 ? 0 : static_cast<std::size_t>(record.PartStart(0));
    for (std::size_t part = 0; part < record.PartCount(); ++part) {
        sum += record.PartSize(part);
    }
    Require(sum == record.PointCount(), "the parts hold every vertex");
}

void DecodeContent(RecordContent content, std::uint8_t options) {
    bool const z = options & hasZ;
    bool const m = options & hasMeasures;
    Touch(ReadBounds(content));
    Touch(PointRecord::Decode(content, z, m));
    for (VertexRecord const& record :
         {VertexRecord::OfMultiPoint(content, z, m), VertexRecord::OfParts(content, z, m)}) {
        if (record.Fault() == RecordFault::None) {
            WalkVertices(record);
            WalkParts(record);
        }
    }
    Touch(content.Holds(0, shapeTypeSize) ? ShapeTypeName(ReadShapeType(content)) : "");
}

/// What is decoded and encoded again is the same, in the ranges of bytes that the layout keeps.
template <class Layout, class Byte>
void TurnAround(std::vector<Byte> const& bytes,
                std::initializer_list<std::pair<std::size_t, std::size_t>> kept) {
    if (bytes.size() < Layout::size) {
        return;
    }
    std::vector<Byte> encoded(Layout::size);
    Layout::Decode(bytes.data()).Encode(encoded.data());
    for (auto const& [begin, end] : kept) {
        Require(std::equal(encoded.begin() + begin, encoded.begin() + end, bytes.begin() + begin),
                "what is decoded is encoded alike");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    if (size == 0) {
        return -1;
    }
    // A copy of its own size, so that a byte too far is noticed.
    std::vector<std::uint8_t> const bytes(data + 1, data + size);
    DecodeContent(RecordContent(bytes.data(), bytes.size()), data[0]);
    TurnAround<ShpFileHeader>(bytes, {{0, 4}, {24, 100}});
    TurnAround<ShpRecordHeader>(bytes, {{0, 8}});
    TurnAround<ShpIndexEntry>(bytes, {{0, 8}});
    std::vector<char> const characters(bytes.begin(), bytes.end());
    TurnAround<DbfHeader>(characters, {{0, 32}});
    TurnAround<DbfFieldDescriptor>(characters, {{11, 12}, {16, 18}}); // type; width, decimals
    return 0;
}
