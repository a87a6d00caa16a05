#include "drawing/Coverage.h"

#include <algorithm>
#include <utility>

namespace Ambrel::Tool {

Coverage::Coverage(int newWidth, int newRows)
    : width(newWidth), rows(newRows), stride(static_cast<std::size_t>(newWidth) + 2),
      words((stride + 63) / 64), cells(stride * static_cast<std::size_t>(rows)),
      touched(words * static_cast<std::size_t>(rows)) {}

void Coverage::Include(double x0, double y0, double x1, double y1) noexcept {
    firstRow = std::min(firstRow, static_cast<int>(y0));
    lastRow = std::max(lastRow, std::min(static_cast<int>(y1), rows - 1));
    firstWord = std::min(firstWord, static_cast<int>(x0) / 64);
    lastWord = std::max(lastWord, (static_cast<int>(x1) + 1) / 64);
}

/// An edge's way through a row, from `x0` to `x1` (either may be the left one): what is at its
/// right is covered by `height` of the row more, and the pixels it passes by a share of that.
void Coverage::AddStep(int row, double x0, double x1, double height) noexcept {
    double const left = std::min(x0, x1);
    double const right = std::max(x0, x1);
    auto const first = static_cast<int>(left);
    auto const last = static_cast<int>(right);
    if (first == last) {
        double const behind = height * ((left + right) / 2 - first);
        Add(row, first, height - behind);
        Add(row, first + 1, behind);
        return;
    }
    double const slope = height / (right - left);
    double before = 0.0; // what rose left of the pixel, which has it whole
    double change = 0.0; // what the pixel to its left has
    for (int column = first; column <= last; ++column) {
        double const from = std::max(left, static_cast<double>(column));
        double const to = std::min(right, column + 1.0);
        double const rise = slope * (to - from);
        double const area = before + rise * (column + 1.0 - (from + to) / 2);
        Add(row, column, area - change);
        change = area;
        before += rise;
    }
    Add(row, last + 1, height - change);
}

void Coverage::AddEdge(Vertex from, Vertex to) noexcept {
    if (from.y == to.y) {
        return;
    }
    double const direction = from.y < to.y ? 1.0 : -1.0;
    if (direction < 0.0) {
        std::swap(from, to);
    }
    double const y0 = std::max(from.y - top, 0.0);
    double const y1 = std::min(to.y - top, static_cast<double>(rows));
    if (!(y0 < y1)) {
        return;
    }
    double const slope = (to.x - from.x) / (to.y - from.y);
    double const wide = width;
    double const xAtTop = from.x - (from.y - top) * slope;
    auto const xAt = [=](double y) { return std::min(std::max(xAtTop + y * slope, 0.0), wide); };
    double x = xAt(y0);
    double const xEnd = xAt(y1);
    Include(std::min(x, xEnd), y0, std::max(x, xEnd), y1);
    double y = y0;
    for (auto row = static_cast<int>(y0); y < y1; ++row) {
        double const nextY = std::min(row + 1.0, y1);
        double const nextX = nextY < y1 ? xAt(nextY) : xEnd;
        AddStep(row, x, nextX, direction * (nextY - y));
        x = nextX;
        y = nextY;
    }
}

/// `u` runs along the axis on which the line is longer, `v` along the other one.
template <bool isFlat>
void Coverage::AddCuts(double u0, double u1, double v0, double slope, double halfWidth) noexcept {
    double const mostU = isFlat ? width : rows;
    double const mostV = isFlat ? rows : width;
    double const begin = std::max(std::min(u0, u1), 0.0);
    double const end = std::min(std::max(u0, u1), mostU);
    double const v1 = v0 + (u1 - u0) * slope;
    double const low = std::max(std::min(v0, v1) - halfWidth, 0.0);
    double const high = std::min(std::max(v0, v1) + halfWidth, mostV);
    if (!(begin < end && low < high)) {
        return;
    }
    isFlat ? Include(begin, low, end, high) : Include(low, begin, high, end);
    double from = begin;
    for (auto u = static_cast<int>(begin); from < end; ++u) {
        double const to = std::min(u + 1.0, end);
        double const length = to - from;
        double const v = v0 + ((from + to) / 2 - u0) * slope;
        double const upper = std::min(std::max(v - halfWidth, 0.0), mostV);
        double const lower = std::min(std::max(v + halfWidth, 0.0), mostV);
        auto i = static_cast<int>(upper);
        for (double at = upper; at < lower; ++i) {
            double const next = std::min(i + 1.0, lower);
            double const value = length * (next - at);
            isFlat ? Add(i, u, value) : Add(u, i, value);
            at = next;
        }
        from = to;
    }
}

void Coverage::AddThinLine(Vertex const& from, Vertex const& to, double halfWidth) noexcept {
    double const dx = to.x - from.x;
    double const dy = to.y - from.y;
    if (dx == 0.0 && dy == 0.0) {
        return;
    }
    // A column or row of pixels at a time; across these, a line is as wide as an upright cut is
    // long.
    if (std::fabs(dx) >= std::fabs(dy)) {
        double const slope = dy / dx;
        AddCuts<true>(from.x, to.x, from.y - top, slope,
                      halfWidth * std::sqrt(1.0 + slope * slope));
    } else {
        double const slope = dx / dy;
        AddCuts<false>(from.y - top, to.y - top, from.x, slope,
                       halfWidth * std::sqrt(1.0 + slope * slope));
    }
}

} // namespace Ambrel::Tool
