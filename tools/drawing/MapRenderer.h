#pragma once

#include "drawing/Canvas.h"
#include "drawing/Clipping.h"
#include "drawing/MapWindow.h"
#include "source/DecodingBudget.h"
#include "source/LayerTransform.h"

#include "Ambrel/BRect.h"
#include "Ambrel/BRenderer.h"

#include <cstdint>
#include <exception>
#include <optional>

namespace Ambrel::Tool {

/// More is drawn of a layer than its file accounts for; see MapRenderer::SetBudget.
class BudgetSpentException final : public std::exception {
public:
    char const* what() const noexcept override { return "more than the file accounts for"; }
};

/// Puts the records of one layer on a canvas: what the picture shows of them, without the vertices
/// that cannot be told from their neighbours. What is not a number is no vertex. All operations
/// throw InterruptedException where the user has asked to stop.
class MapRenderer final : public BRenderer {
public:
    /// `target` is what to paint on; null: only looks at what there is.
    MapRenderer(Canvas* target, MapWindow const& mapWindow, LayerStyle const& layerStyle);

    /// Brings the coordinates into the map's system from now on. What has no place there is no
    /// vertex. Has to outlive the renderer.
    void SetTransform(LayerTransform const& toMap) noexcept { transform = &toMap; }
    /// Of the records that may be drawn. The one that would go beyond throws BudgetSpentException.
    void SetBudget(DecodingBudget const& bytes) noexcept { budget = bytes; }
    /// Whether to do nothing but count.
    void SetMuted(bool muted) noexcept { isMuted = muted; }

    /// How often something was drawn, a record at a time.
    std::uint64_t DrawnRecords() const noexcept { return drawnRecords; }
    /// Whether anything lies in the picture.
    bool HasPainted() const noexcept { return hasPainted; }
    /// How many vertices have no place in the map's system.
    std::uint64_t LostVertices() const noexcept { return lostVertices; }
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
    void BringIntoMap(double& x, double& y) const;
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
    int tolerance;    ///< vertices that are nearer on both axes cannot be told apart; window units
    PixelBox picture; ///< what is filled
    PixelBox reach;   ///< from where lines and dots can be seen
    LayerTransform const* transform = nullptr;
    bool isMuted = false;
    // The interface has renderers that do not change.
    mutable BRect extent;
    mutable std::optional<DecodingBudget> budget; ///< none: all may be drawn
    mutable std::uint64_t drawnRecords = 0;
    mutable std::uint64_t lostVertices = 0;
    mutable std::uint32_t conversions = 0;
    mutable bool hasPainted = false;
    mutable Path path; ///< kept, like the next, for its room
    mutable Path clipped;
};

} // namespace Ambrel::Tool
