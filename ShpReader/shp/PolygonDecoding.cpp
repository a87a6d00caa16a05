// Polygon records: rings, and how they become shells and holes.

#include "ShpReader/shp/GeometryDecoding.h"

#include "ShpReader/shp/Vertices.h"

#include <array>
#include <cstddef>
#include <memory_resource>
#include <span>
#include <vector>

namespace Ambrel {

namespace {

using Ring = BSharedPtr<BPolygon>;

/// A shell, and behind it the holes that were accepted into it. Never empty.
using RingGroup = std::span<Ring const>;

/// The rings of a record in their order, and where among them each group starts.
class RingGroups {
public:
    RingGroups() = default;
    RingGroups(RingGroups const&) = delete;
    RingGroups& operator=(RingGroups const&) = delete;

    std::size_t Count() const noexcept { return starts.size(); }
    RingGroup operator[](std::size_t group) const noexcept {
        std::size_t const end = group + 1 < starts.size() ? starts[group + 1] : rings.size();
        return RingGroup(rings).subspan(starts[group], end - starts[group]);
    }
    /// The shell that was started last. REQUIRES: there is a group.
    BPolygon const& LastShell() const noexcept { return *rings[starts.back()]; }
    void StartGroup(Ring&& shell) {
        starts.push_back(rings.size());
        rings.push_back(std::move(shell));
    }
    void AddHole(Ring&& hole) { rings.push_back(std::move(hole)); }

private:
    /// Most records have few rings, which find room here.
    std::array<std::byte, 1024> fewRings;
    std::pmr::monotonic_buffer_resource memory{fewRings.data(), fewRings.size()};
    std::pmr::vector<Ring> rings{&memory};
    std::pmr::vector<std::size_t> starts{&memory};
};

/// A ring whose last vertex repeats its first.
Ring ReadRing(VertexRecord const& record, std::size_t first, std::size_t count, bool is3d) {
    Ring ring(new BPolygon);
    bool const isOpen = !(ReadVertex(record, first) == ReadVertex(record, first + count - 1));
    BPoints points = ReadVertices(record, first, count, isOpen ? 1 : 0);
    if (isOpen) {
        points.Add(BPoint(points.GetAt(0)));
    }
    ring->SetPoints(std::move(points));
    ring->is3d = is3d;
    return ring;
}

/// Sorts the rings of a record into groups, one after the other. The format says that shells run
/// clockwise and holes the other way, but not which hole belongs to which shell. Here a ring
/// becomes a hole only of the shell that was started last, and only while the ring just before it
/// was that shell or one of its holes; any other ring that is not clockwise is turned and starts a
/// group that takes no holes.
class RingSorter {
public:
    explicit RingSorter(RingGroups& newGroups) noexcept : groups(newGroups) {}

    void Add(Ring&& ring) {
        if (ring->GetOrientation() == ORIENTATION_CLOCKWISE) {
            groups.StartGroup(std::move(ring));
            takesHoles = true;
        } else if (takesHoles && groups.LastShell().Contains(ring->GetPoints())) {
            groups.AddHole(std::move(ring));
        } else {
            if (takesHoles) {
                groups.LastShell().DropIndex(); // It is asked for no more holes.
            }
            ring->SetOrientation(ORIENTATION_CLOCKWISE);
            groups.StartGroup(std::move(ring));
            takesHoles = false;
        }
    }

private:
    RingGroups& groups;
    bool takesHoles = false; ///< the shell that was started last: it was clockwise in the file
};

void ReadRings(VertexRecord const& record, bool is3d, RingGroups& groups,
               RecordFindings& findings) {
    RingSorter sorter(groups);
    std::size_t next = 0;
    for (std::size_t part = 0; part < record.PartCount(); ++part) {
        std::size_t const size = record.PartSize(part);
        if (size == 0) {
            findings.Add(FindingCode::EmptyPart, part);
            continue;
        }
        sorter.Add(ReadRing(record, next, size, is3d));
        next += size;
    }
}

/// The polygons of a donut are as a host makes them: their 3D flag is not set. The rings of the
/// group serve as these, since nobody else holds them.
BSharedPtr<BAreaGeo> MakeDonut(RingGroup group) {
    auto* const donut = new BDonut;
    BSharedPtr<BAreaGeo> area(donut);
    donut->ReserveHoles(group.size() - 1);
    for (Ring const& ring : group) {
        ring->is3d = 0;
        if (&ring == &group.front()) {
            ring->DropIndex(); // It is asked for no more holes.
            donut->SetShell(ring);
        } else {
            donut->AddHole(ring);
        }
    }
    return area;
}

BSharedPtr<BGeometry> MakeAggregateArea(RingGroups const& groups) {
    auto* const members = new BAggregateArea;
    BSharedPtr<BGeometry> geometry(members);
    members->Reserve(groups.Count());
    for (std::size_t i = 0; i < groups.Count(); ++i) {
        RingGroup const group = groups[i];
        members->Add(group.size() == 1 ? BSharedPtr<BAreaGeo>(group.front()) : MakeDonut(group));
    }
    return geometry;
}

/// The points exactly as they are stored: a single ring is neither closed nor turned.
BSharedPtr<BGeometry> MakeSinglePolygon(VertexRecord const& record) {
    auto* const polygon = new BPolygon;
    BSharedPtr<BGeometry> geometry(polygon);
    polygon->SetPoints(ReadVertices(record, 0, record.PointCount()));
    return geometry;
}

BSharedPtr<BGeometry> MakeFromRings(VertexRecord const& record, bool is3d,
                                    RecordFindings& findings) {
    RingGroups groups;
    ReadRings(record, is3d, groups, findings);
    return groups.Count() == 1 ? BSharedPtr<BGeometry>(MakeDonut(groups[0]))
                               : MakeAggregateArea(groups);
}

} // namespace

BSharedPtr<BGeometry> MakePolygon(VertexRecord const& record, bool is3d, RecordFindings& findings) {
    return record.PartCount() == 1 ? MakeSinglePolygon(record)
                                   : MakeFromRings(record, is3d, findings);
}

} // namespace Ambrel
