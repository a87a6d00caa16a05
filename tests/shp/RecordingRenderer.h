#pragma once

#include "Ambrel/BRenderer.h"

#include <functional>
#include <sstream>
#include <string>
#include <vector>

namespace Ambrel::Test {

/// Notes what it is told to draw, one text for each call; map coordinates are scaled by `scale`.
class RecordingRenderer final : public BRenderer {
public:
    explicit RecordingRenderer(double newScale = 1) : scale(newScale) {}

    bool ConvertMapToWindow(double& x, double& y) const override {
        x *= scale;
        y *= scale;
        return true;
    }
    bool DrawPoint(Gdiplus::PointF const& point) const override { return Note("point", &point, 1); }
    bool DrawPoints(Gdiplus::PointF const* points, int count) const override {
        return Note("points", points, count);
    }
    bool DrawPolyline(Gdiplus::Point const* points, int count, int const* starts,
                      int partCount) const override {
        return Note("line", points, count, starts, partCount);
    }
    bool DrawPolygon(Gdiplus::Point const* points, int count, int const* starts,
                     int partCount) const override {
        return Note("polygon", points, count, starts, partCount);
    }

    mutable std::vector<std::string> calls;
    std::function<void()> whenCalled = [] {};

private:
    template <class Point>
    bool Note(char const* what, Point const* points, int count, int const* starts = nullptr,
              int partCount = 0) const {
        std::ostringstream text;
        text << what;
        for (int i = 0; i < count; ++i) {
            text << ' ' << points[i].X << ',' << points[i].Y;
        }
        text << (starts ? " from" : "");
        for (int i = 0; i < partCount; ++i) {
            text << ' ' << starts[i];
        }
        calls.push_back(text.str());
        whenCalled();
        return true;
    }

    double scale;
};

} // namespace Ambrel::Test
