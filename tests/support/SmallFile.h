#pragma once

#include "ShapefileBuilder.h"

namespace Ambrel::Test {

/// Sound records of the layout and variant of `shapeType`, a null shape behind them, and a table
/// with a field of every type: enough to damage, to convert, or to start fuzzing from.
inline ShapefileBuilder SmallFile(std::int32_t shapeType) {
    ShapefileBuilder builder(shapeType);
    Vertices const shell = {{0, 0}, {0, 9}, {9, 9}, {9, 0}, {0, 0}};
    Vertices const hole = {{2, 2}, {4, 2}, {4, 4}, {2, 2}};
    Reals const values = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    Reals const z = shapeType / 10 == 1 ? values : Reals();
    Reals const m = shapeType > 10 ? values : Reals();
    switch (shapeType % 10) {
    case 1: builder.Point(1, 2, 3, 4).Point(5, 6); break;
    case 3: builder.Polyline({hole, {}, shell}, z, m).Polyline({{{1, 1}, {2, 2}}}); break;
    case 5: builder.Polygon({shell, hole}, z, m).Polygon({shell}).Polygon({shell, shell}); break;
    default: builder.MultiPoint({{1, 2}, {3, 4}}).MultiPoint({}); break;
    }
    builder.Null().Field("id", 'N', 2).Field("text", 'C', 5).Field("real", 'F', 5, 2);
    builder.Field("day", 'D', 8).Field("yes", 'L', 1);
    for (std::size_t i = 0; i < builder.RecordCount(); ++i) {
        builder.Row({std::to_string(i), "caf\xC3\xA9", "1.25", "20240229", "T"});
    }
    return builder;
}

} // namespace Ambrel::Test
