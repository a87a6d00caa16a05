#pragma once

#include "drawing/Path.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

namespace Ambrel::Tool {

/// How much of each pixel of a band of rows a shape covers. What it costs to add an edge or a line
/// is linear in the pixels that it crosses, and to sweep, in these and the pixels that are painted:
/// a bit tells for every pixel whether anything touches it.
///
/// Areas add what changes from a pixel to the one at its right, so that a sweep sums them up, as
/// font rasterizers do; thin lines add their coverage itself.
class Coverage final {
public:
    Coverage(int width, int rows);

    int Rows() const noexcept { return rows; }
    /// The band is that from the picture's row `row` on. REQUIRES: all is swept.
    void MoveTo(int row) noexcept { top = row; }

    /// Adds an edge of an area. What lies outside the band is clipped, at its sides too.
    void AddEdge(Vertex from, Vertex to) noexcept;
    /// Adds a line of at most two pixels' width with flat ends, `halfWidth` on either side.
    void AddThinLine(Vertex const& from, Vertex const& to, double halfWidth) noexcept;

    /// Calls `paint(row, first, end, coverage)` for the runs of pixels that the area covers, with 0
    /// to 1, and is empty then. `rule` makes coverage of the sum of signed areas.
    template <class Rule, class Paint>
    void SweepArea(Rule rule, Paint paint);
    /// The same for the lines.
    template <class Paint>
    void SweepLines(Paint paint);

private:
    void Add(int row, int column, double value) noexcept {
        cells[static_cast<std::size_t>(row) * stride + column] += static_cast<float>(value);
        touched[static_cast<std::size_t>(row) * words + column / 64] |= std::uint64_t{1}
                                                                        << (column % 64);
    }
    void Include(double x0, double y0, double x1, double y1) noexcept;
    void AddStep(int row, double x0, double x1, double height) noexcept;
    template <bool isFlat>
    void AddCuts(double u0, double u1, double v0, double slope, double halfWidth) noexcept;
    /// Calls `visit(row)` and then `cell(column, value)` for what is touched, which is empty then.
    template <class BeginRow, class Cell, class EndRow>
    void Sweep(BeginRow beginRow, Cell cell, EndRow endRow);

    int width;
    int rows;
    int top = 0;
    std::size_t stride; ///< cells in a row: an area's last change is behind the last pixel
    std::size_t words;  ///< of `touched`, in a row
    std::vector<float> cells;
    std::vector<std::uint64_t> touched;
    // What is touched at all: rows, and words in them.
    int firstRow = std::numeric_limits<int>::max();
    int lastRow = -1;
    int firstWord = std::numeric_limits<int>::max();
    int lastWord = -1;
};

template <class BeginRow, class Cell, class EndRow>
void Coverage::Sweep(BeginRow beginRow, Cell cell, EndRow endRow) {
    for (int row = firstRow; row <= lastRow; ++row) {
        beginRow();
        float* const line = cells.data() + static_cast<std::size_t>(row) * stride;
        std::uint64_t* const bits = touched.data() + static_cast<std::size_t>(row) * words;
        for (int word = firstWord; word <= lastWord; ++word) {
            for (std::uint64_t left = bits[word]; left != 0; left &= left - 1) {
                int const column = word * 64 + std::countr_zero(left);
                cell(top + row, column, line[column]);
                line[column] = 0.0F;
            }
            bits[word] = 0;
        }
        endRow(top + row);
    }
    firstRow = firstWord = std::numeric_limits<int>::max();
    lastRow = lastWord = -1;
}

template <class Rule, class Paint>
void Coverage::SweepArea(Rule rule, Paint paint) {
    float sum = 0.0F;
    int begin = 0;
    auto const paintUpTo = [&](int row, int end) {
        constexpr float seen = 1.0F / 512;
        float const coverage = std::fabs(sum) < seen ? 0.0F : rule(sum);
        if (coverage > seen && begin < end) {
            paint(row, begin, end, coverage);
        }
        begin = end;
    };
    Sweep([&] { sum = 0.0F, begin = 0; },
          [&](int row, int column, float value) {
              paintUpTo(row, column);
              sum += value;
          },
          [&](int row) { paintUpTo(row, width); });
}

template <class Paint>
void Coverage::SweepLines(Paint paint) {
    Sweep([] {},
          [&](int row, int column, float value) {
              paint(row, column, column + 1, value < 1.0F ? value : 1.0F);
          },
          [](int) {});
}

} // namespace Ambrel::Tool
