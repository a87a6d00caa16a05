#pragma once

#include "ShpSupport.h"
#include "SourceLife.h"

#include <string>

namespace Ambrel::Test {

inline constexpr std::uint32_t allRecords = 1000000;

/// Formats every line, and keeps none.
class SilentLog {
public:
    SilentLog() {
        BLogger::Instance()->SetSink([](ELogSeverity, std::string_view) {});
        BLogger::Instance()->SetThreshold(LOG_DETAIL);
    }
    ~SilentLog() {
        BLogger::Instance()->SetThreshold(LOG_WARNING);
        BLogger::Instance()->SetSink({});
    }
};

/// Records of the layout of `shapeType`, sound, with a table of values.
inline ShapefileBuilder SmallFile(std::int32_t shapeType) {
    ShapefileBuilder builder(shapeType);
    Vertices const shell = {{0, 0}, {0, 9}, {9, 9}, {9, 0}, {0, 0}};
    Vertices const hole = {{2, 2}, {4, 2}, {4, 4}, {2, 2}};
    Reals const values = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    Reals const z = shapeType / 10 == 1 ? values : Reals();
    Reals const m = shapeType > 10 ? values : Reals();
    switch (shapeType % 10) {
    case 1: builder.Point(1, 2, 3, 4).Point(5, 6).Point(7, 8); break;
    case 3: builder.Polyline({hole, shell}, z, m).Polyline({{{1, 1}, {2, 2}}}); break;
    case 5: builder.Polygon({shell, hole}, z, m).Polygon({shell}); break;
    default: builder.MultiPoint({{1, 2}, {3, 4}}).MultiPoint({{5, 6}}); break;
    }
    builder.Null().Field("id", 'N', 2).Field("text", 'C', 3).Field("real", 'F', 5, 2);
    for (std::size_t i = 0; i < builder.RecordCount(); ++i) {
        builder.Row({std::to_string(i), "abc", "1.25"});
    }
    return builder;
}

} // namespace Ambrel::Test
