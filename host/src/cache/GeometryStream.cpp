#include "cache/GeometryStream.h"

#include "Ambrel/BAggregate.h"

#include <algorithm>
#include <cstring>
#include <type_traits>

namespace Ambrel {

namespace {

/// How deep donuts and aggregates may stand in one another.
constexpr int maxDepth = 32;

static_assert(std::is_trivially_copyable_v<BPoint> && sizeof(BPoint) == 3 * sizeof(double),
              "vertices are copied as they lie in memory");

void WriteGeometry(BGeometry const* geometry, BByteArray& bytes, int depth);

void WritePoints(BPoints const& points, BByteArray& bytes) {
    AppendCount(bytes, points.GetCount());
    AppendBytes(bytes, points.begin(), points.GetCount() * sizeof(BPoint));
}

template <class Aggregate>
void WriteMembers(Aggregate const& aggregate, BByteArray& bytes, int depth) {
    AppendCount(bytes, aggregate.GetCount());
    for (std::uint64_t i = 0; i < aggregate.GetCount(); ++i) {
        WriteGeometry(aggregate.GetGeometryAt(i).Get(), bytes, depth + 1);
    }
}

void WriteDonut(BDonut const& donut, BByteArray& bytes, int depth) {
    WriteGeometry(donut.GetShell().Get(), bytes, depth + 1);
    AppendCount(bytes, donut.GetHoleCount());
    for (std::uint64_t i = 0; i < donut.GetHoleCount(); ++i) {
        WriteGeometry(donut.GetHoleAt(i).Get(), bytes, depth + 1);
    }
}

[[noreturn]] void RefuseGeometry(EGeometryType type, int depth) {
    throw BUnknownGeometryException(
        "FeatureStream::WriteGeometry",
        BString::Format("Type=%u, Depth=%d", static_cast<unsigned>(type), depth));
}

/// The type, or a zero for none; the 3D flag; the vertices or the members.
void WriteGeometry(BGeometry const* geometry, BByteArray& bytes, int depth) {
    if (!geometry) {
        bytes.push_back(GEO_NONE);
        return;
    }
    if (depth > maxDepth) {
        RefuseGeometry(geometry->type, depth);
    }
    bytes.push_back(static_cast<std::uint8_t>(geometry->type));
    bytes.push_back(geometry->is3d);
    switch (geometry->type) {
    case GEO_POINT:
        AppendBytes(bytes, &static_cast<BPointGeo const*>(geometry)->GetPoint(), sizeof(BPoint));
        break;
    case GEO_POLYLINE:
        WritePoints(static_cast<BPolyline const*>(geometry)->GetPoints(), bytes);
        break;
    case GEO_POLYGON:
        WritePoints(static_cast<BPolygon const*>(geometry)->GetPoints(), bytes);
        break;
    case GEO_DONUT: WriteDonut(*static_cast<BDonut const*>(geometry), bytes, depth); break;
    case GEO_AGGREGATE_POINT:
        WriteMembers(*static_cast<BAggregatePoint const*>(geometry), bytes, depth);
        break;
    case GEO_AGGREGATE_LINEAR:
        WriteMembers(*static_cast<BAggregateLinear const*>(geometry), bytes, depth);
        break;
    case GEO_AGGREGATE_AREA:
        WriteMembers(*static_cast<BAggregateArea const*>(geometry), bytes, depth);
        break;
    default: RefuseGeometry(geometry->type, depth);
    }
}

BSharedPtr<BGeometry> ReadGeometry(ByteReader& reader, int depth);

BPoint ReadPoint(ByteReader& reader) {
    BPoint point;
    std::memcpy(&point, reader.Take(sizeof point), sizeof point);
    return point;
}

BPoints ReadPoints(ByteReader& reader) {
    std::size_t const count = reader.Count(sizeof(BPoint));
    std::uint8_t const* const bytes = reader.Take(count * sizeof(BPoint));
    BPoints points;
    points.Reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        BPoint point;
        std::memcpy(&point, bytes + i * sizeof point, sizeof point);
        points.Add(point);
    }
    return points;
}

/// A member, which must be of the kind that its owner holds; an empty holder stays one.
template <class T>
BSharedPtr<T> ReadMember(ByteReader& reader, int depth) {
    BSharedPtr<BGeometry> const member = ReadGeometry(reader, depth + 1);
    if (!member) {
        return BSharedPtr<T>();
    }
    T* const cast = dynamic_cast<T*>(member.Get());
    if (!cast) {
        reader.Fail("a geometry has a member of the wrong kind");
    }
    return BSharedPtr<T>(member, cast);
}

template <class Aggregate, class Member>
BSharedPtr<BGeometry> ReadMembers(ByteReader& reader, int depth) {
    BSharedPtr<Aggregate> const aggregate(new Aggregate);
    std::size_t const count = reader.Count(1);
    // A member may be empty and take one byte; room is made for those that are not.
    aggregate->Reserve(std::min(count, reader.Remaining() / 3));
    for (std::size_t i = 0; i < count; ++i) {
        aggregate->Add(ReadMember<Member>(reader, depth));
    }
    return aggregate;
}

BSharedPtr<BGeometry> ReadDonut(ByteReader& reader, int depth) {
    BSharedPtr<BDonut> const donut(new BDonut);
    donut->SetShell(ReadMember<BAreaGeo>(reader, depth));
    std::size_t const count = reader.Count(1);
    donut->ReserveHoles(std::min(count, reader.Remaining() / 3));
    for (std::size_t i = 0; i < count; ++i) {
        donut->AddHole(ReadMember<BAreaGeo>(reader, depth));
    }
    return donut;
}

template <class T>
BSharedPtr<BGeometry> ReadVertices(ByteReader& reader) {
    BSharedPtr<T> const geometry(new T);
    geometry->SetPoints(ReadPoints(reader));
    return geometry;
}

BSharedPtr<BGeometry> ReadBody(ByteReader& reader, std::uint8_t type, int depth) {
    switch (type) {
    case GEO_POINT: return BSharedPtr<BGeometry>(new BPointGeo(ReadPoint(reader)));
    case GEO_POLYLINE: return ReadVertices<BPolyline>(reader);
    case GEO_POLYGON: return ReadVertices<BPolygon>(reader);
    case GEO_DONUT: return ReadDonut(reader, depth);
    case GEO_AGGREGATE_POINT: return ReadMembers<BAggregatePoint, BPointGeo>(reader, depth);
    case GEO_AGGREGATE_LINEAR: return ReadMembers<BAggregateLinear, BLinearGeo>(reader, depth);
    case GEO_AGGREGATE_AREA: return ReadMembers<BAggregateArea, BAreaGeo>(reader, depth);
    default: reader.Fail("a geometry is of no known kind");
    }
}

BSharedPtr<BGeometry> ReadGeometry(ByteReader& reader, int depth) {
    std::uint8_t const type = reader.Value<std::uint8_t>();
    if (type == GEO_NONE) {
        return BSharedPtr<BGeometry>();
    }
    if (depth > maxDepth) {
        reader.Fail("geometries are nested too deep");
    }
    std::uint8_t const is3d = reader.Value<std::uint8_t>();
    BSharedPtr<BGeometry> geometry = ReadBody(reader, type, depth);
    geometry->is3d = is3d;
    return geometry;
}
} // namespace

void WriteGeometry(BGeometry const* geometry, BByteArray& bytes) {
    WriteGeometry(geometry, bytes, 0);
}

BSharedPtr<BGeometry> ReadGeometry(ByteReader& reader) {
    return ReadGeometry(reader, 0);
}

} // namespace Ambrel
