#include "BenchRenderer.h"

#include "drawing/MapRenderer.h"
#include "drawing/RasterCanvas.h"
#include "formats/OutputFile.h"
#include "terminal/Console.h"

namespace Ambrel::Bench {

namespace {

/// The tool's renderer together with what it needs to live.
class ImageRenderer final : public BRenderer {
public:
    ImageRenderer(int width, int height, BRect const& area, EGeometryClass geometryClass)
        : canvas(output, width, height), window(area, width, height, 0, area),
          renderer(&canvas, window, Tool::DefaultStyle(geometryClass)) {}

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
    Tool::StringSink nobody;
    Tool::Console console{.out = nobody, .err = nobody};
    Tool::OutputFile output{console, "-"}; // nothing is written
    Tool::RasterCanvas canvas;
    Tool::MapWindow window;
    Tool::MapRenderer renderer;
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
