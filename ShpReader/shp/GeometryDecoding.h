#pragma once

#include "Ambrel/BAggregate.h"
#include "ShpReader/format/ShpFormat.h"
#include "ShpReader/shp/RecordFindings.h"

/// Geometries of records that are sound: of a point's position, or of a VertexRecord without fault.
/// Flags of three dimensions are set as `is3d` says on all that they consist of, but for the
/// outermost geometry of several vertices, and what a donut consists of.
namespace Ambrel {

/// Nothing, and InvalidPosition, where a coordinate is no number or beyond ±1e30.
BSharedPtr<BGeometry> MakePoint(BPoint const& point, bool is3d, RecordFindings& findings);
BSharedPtr<BGeometry> MakeMultiPoint(VertexRecord const& record, bool is3d);
/// One part gives a BPolyline, any other number a BAggregateLinear.
BSharedPtr<BGeometry> MakePolyline(VertexRecord const& record, bool is3d);
/// One part gives a BPolygon; several give a BDonut or a BAggregateArea.
BSharedPtr<BGeometry> MakePolygon(VertexRecord const& record, bool is3d, RecordFindings& findings);

} // namespace Ambrel
