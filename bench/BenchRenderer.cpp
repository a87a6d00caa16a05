#include "BenchRenderer.h"

#include "drawing/MapStyle.h"
#include "drawing/MapWindow.h"
#include "drawing/PainterRenderer.h"

#include <QImage>
#include <QPainter>

namespace Ambrel::Bench {

namespace {

/// The tool's renderer together with what it needs to live.
class ImageRenderer final : public BRenderer {
public:
    ImageRenderer(int width, int height, BRect const& area, EGeometryClass geometryClass)
        : image(width, height, QImage::Format_ARGB32_Premultiplied), painter(&image),
          window(area, width, height, 0, area),
          renderer(painter, &image, window, Tool::DefaultStyle(geometryClass)) {
        image.fill(Qt::white);
    }

    bool ConvertMapToWindow(double& x, double& y) const override {
        return renderer.ConvertMapToWindow(x, y);
    }
    bool DrawPoint(Gdiplus::PointF const& point) const override {
        return renderer.DrawPoint(point);
    }
    bool DrawPoints(Gdiplus::PointF const* points, int count) const override {
        return renderer.DrawPoints(points, count);
    }
    bool DrawPolyline(Gdiplus::Point const* points, int count, int const* partStarts,
                      int partCount) const override {
        return renderer.DrawPolyline(points, count, partStarts, partCount);
    }
    bool DrawPolygon(Gdiplus::Point const* points, int count, int const* partStarts,
                     int partCount) const override {
        return renderer.DrawPolygon(points, count, partStarts, partCount);
    }

private:
    QImage image;
    QPainter painter;
    Tool::MapWindow window;
    Tool::PainterRenderer renderer;
};

class BlindRenderer final : public BRenderer {
public:
    BlindRenderer(int width, int height, BRect const& area)
        : window(area, width, height, 0, area) {}

    bool ConvertMapToWindow(double& x, double& y) const override {
        window.ToWindow(x, y);
        return true;
    }
    bool DrawPoint(Gdiplus::PointF const&) const override { return true; }
    bool DrawPoints(Gdiplus::PointF const*, int) const override { return true; }
    bool DrawPolyline(Gdiplus::Point const*, int, int const*, int) const override { return true; }
    bool DrawPolygon(Gdiplus::Point const*, int, int const*, int) const override { return true; }

private:
    Tool::MapWindow window;
};

} // namespace

std::unique_ptr<BRenderer> MakeImageRenderer(int width, int height, BRect const& area,
                                             EGeometryClass geometryClass) {
    return std::make_unique<ImageRenderer>(width, height, area, geometryClass);
}

std::unique_ptr<BRenderer> MakeBlindRenderer(int width, int height, BRect const& area,
                                             EGeometryClass) {
    return std::make_unique<BlindRenderer>(width, height, area);
}

} // namespace Ambrel::Bench
