#pragma once

#include "drawing/DotSprite.h"
#include "drawing/MapStyle.h"
#include "drawing/MapWindow.h"

#include "Ambrel/BRenderer.h"

#include <QPainter>
#include <QPainterPath>
#include <QPolygonF>

namespace Ambrel::Tool {

/// Draws the records of one layer with Qt's painter, anti-aliased; areas by the even-odd rule, so
/// that holes are holes whatever their orientation.
class PainterRenderer final : public BRenderer {
public:
    /// `newImage`: the image that `newPainter` paints on, where it is one of four bytes a pixel;
    /// dots then go straight into it. Null: everything goes through the painter.
    PainterRenderer(QPainter& newPainter, QImage* newImage, MapWindow const& newWindow,
                    LayerStyle const& newStyle);

    bool ConvertMapToWindow(double& x, double& y) const override;
    bool DrawPoint(Gdiplus::PointF const& point) const override;
    bool DrawPoints(Gdiplus::PointF const* points, int count) const override;
    bool DrawPolyline(Gdiplus::Point const* points, int count, int const* partStarts,
                      int partCount) const override;
    bool DrawPolygon(Gdiplus::Point const* points, int count, int const* partStarts,
                     int partCount) const override;

private:
    void DrawDot(double x, double y) const;
    void UseShapeStyle() const;
    /// Pictures that are made of commands have one for every change of the style: none where the
    /// style is in use already.
    void UseStyleOf(bool dots) const;
    QPolygonF const& Simplify(Gdiplus::Point const* points, int count) const;

    QPainter& painter;
    QImage* image;
    MapWindow const& window;
    LayerStyle style;
    double pixel; ///< in window units
    DotSprite dot;
    mutable bool isDotStyle = false;
    mutable QPolygonF vertices; ///< kept, like the path, for its room
    mutable QPainterPath path;
};

} // namespace Ambrel::Tool
