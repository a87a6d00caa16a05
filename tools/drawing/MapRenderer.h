#pragma once

#include "drawing/Canvas.h"
#include "drawing/Clipping.h"
#include "drawing/MapWindow.h"

#include "Ambrel/BRect.h"
#include "Ambrel/BRenderer.h"

#include <cstdint>
#include <exception>
#include <functional>

namespace Ambrel::Tool {

/// More is drawn of a layer than its file accounts for; see MapRenderer::SetBudget.
class BudgetSpentException final : public std::exception {
public:
    char const* what() const noexcept override { return "more than the file accounts for"; }
};

/// Puts the records of one layer on a canvas: what the picture shows of them, without the vertices
/// that can not be told from their neighbours. What is not a number is no vertex. All operations
/// throw InterruptedException where the user has asked to stop.
class MapRenderer final : public BRenderer {
public:
    /// Brings coordinates into the map's system, in place.
    using Transform = std::function<void(double& x, double& y)>;

    /// `target` is what to paint on; null: only looks at what there is.
    MapRenderer(Canvas* target, MapWindow const& mapWindow, LayerStyle const& layerStyle);

    void SetTransform(Transform toMap) { transform = std::move(toMap); }
    /// Bytes of records that may be drawn. The record that would go beyond throws
    /// BudgetSpentException, and so do all after it.
    void SetBudget(std::uint64_t bytes) noexcept { budget = bytes; }
    /// Whether to do nothing but count.
    void SetMuted(bool muted) noexcept { isMuted = muted; }

    /// How often something was drawn, a record at a time.
    std::uint64_t DrawnRecords() const noexcept { return drawnRecords; }
    /// Whether anything lies in the picture.
    bool HasPainted() const noexcept { return hasPainted; }
    /// Of all vertices so far, in map units; empty where there is none.
    BRect const& Extent() const noexcept { return extent; }

    bool ConvertMapToWindow(double& x, double& y) const override;
    bool DrawPoint(Gdiplus::PointF const& point) const override;
    bool DrawPoints(Gdiplus::PointF const* points, int count) const override;
    bool DrawPolyline(Gdiplus::Point const* points, int count, int const* partStarts,
                      int partCount) const override;
    bool DrawPolygon(Gdiplus::Point const* points, int count, int const* partStarts,
                     int partCount) const override;

private:
    /// Whether a record of so many bytes is to be painted.
    bool Admit(std::uint64_t bytes) const;
    void PaintDot(Vertex const& center) const;
    /// Adds the vertices to the path as one part, and returns where they lie.
    PixelBox Simplify(Gdiplus::Point const* points, int count, bool isRing) const;
    void PaintTinyArea(PixelBox const& box) const;

    Canvas* canvas;
    MapWindow const& window;
    LayerStyle style;
    double pixel;     ///< in window units
    int tolerance;    ///< vertices that are nearer on both axes can not be told apart; window units
    PixelBox picture; ///< what is filled
    PixelBox reach;   ///< from where lines and dots can be seen
    Transform transform;
    bool isMuted = false;
    // The interface has renderers that do not change.
    mutable BRect extent;
    mutable std::uint64_t budget = ~std::uint64_t{0};
    mutable std::uint64_t drawnRecords = 0;
    mutable std::uint32_t conversions = 0;
    mutable bool hasPainted = false;
    mutable Path path; ///< kept, like the next, for its room
    mutable Path clipped;
};

} // namespace Ambrel::Tool
