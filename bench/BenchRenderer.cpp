#include "BenchRenderer.h"

#include <algorithm>

namespace Ambrel::Bench {

namespace {

class BlindRenderer final : public BRenderer {
public:
    BlindRenderer(int width, int height, BRect const& area)
        : left(area.xMin), top(area.yMax),
          scale(std::min(width / (area.xMax - area.xMin), height / (area.yMax - area.yMin))) {}

    bool ConvertMapToWindow(double& x, double& y) const override {
        x = (x - left) * scale;
        y = (top - y) * scale;
        return true;
    }
    bool DrawPoint(Gdiplus::PointF const&) const override { return true; }
    bool DrawPoints(Gdiplus::PointF const*, int) const override { return true; }
    bool DrawPolyline(Gdiplus::Point const*, int, int const*, int) const override { return true; }
    bool DrawPolygon(Gdiplus::Point const*, int, int const*, int) const override { return true; }

private:
    double left;
    double top;
    double scale; ///< pixels per map unit
};

} // namespace

std::unique_ptr<BRenderer> MakeBlindRenderer(int width, int height, BRect const& area) {
    return std::make_unique<BlindRenderer>(width, height, area);
}

} // namespace Ambrel::Bench
