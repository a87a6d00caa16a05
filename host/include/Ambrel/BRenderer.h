#pragma once

#include "Ambrel/BRect.h"
#include "Ambrel/Gdiplus.h"

namespace Ambrel {

/// Draws in window coordinates. The results tell whether something was drawn.
/// The order of the virtual functions is part of the interface.
class AMBREL_API BRenderer {
public:
    BRenderer() noexcept = default;
    BRenderer(BRenderer const&) noexcept = default;
    BRenderer& operator=(BRenderer const&) noexcept = default;
    virtual ~BRenderer();

    /// Converts map coordinates to window coordinates in place.
    virtual bool ConvertMapToWindow(double& x, double& y) const = 0;
    virtual bool DrawPoint(Gdiplus::PointF const& point) const = 0;
    virtual bool DrawPoints(Gdiplus::PointF const* points, int count) const = 0;
    /// Lines, part by part: part i runs from vertex partStarts[i] to the one before the next
    /// part's.
    virtual bool DrawPolyline(Gdiplus::Point const* points, int count, int const* partStarts,
                              int partCount) const = 0;
    /// Rings, part by part, as DrawPolyline has them.
    virtual bool DrawPolygon(Gdiplus::Point const* points, int count, int const* partStarts,
                             int partCount) const = 0;
};

/// What a collection draws when the host asks it for a window's worth of features.
struct BRenderingParams {
    BRenderer const* renderer = nullptr;
    BRect area; ///< map units; features outside need not be drawn
};

} // namespace Ambrel
