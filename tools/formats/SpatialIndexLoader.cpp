#include "formats/SpatialIndexLoader.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace Ambrel::Tool {

namespace {

constexpr std::size_t mostWaiting = std::size_t{1} << 20;
constexpr std::size_t nodeHeadSize = 4;
constexpr std::size_t cellSize = 24;

float RoundedDown(double value) {
    auto const rounded = static_cast<float>(value);
    return rounded <= value ? rounded
                            : std::nextafterf(rounded, -std::numeric_limits<float>::infinity());
}

float RoundedUp(double value) {
    auto const rounded = static_cast<float>(value);
    return rounded >= value ? rounded
                            : std::nextafterf(rounded, std::numeric_limits<float>::infinity());
}

/// Where a Hilbert curve through a square of 65536 by 65536 cells passes the cell.
std::uint32_t PlaceOnCurve(std::uint32_t x, std::uint32_t y) {
    std::uint32_t place = 0;
    for (std::uint32_t side = 1U << 15; side > 0; side /= 2) {
        std::uint32_t const right = (x & side) != 0 ? 1 : 0;
        std::uint32_t const upper = (y & side) != 0 ? 1 : 0;
        place += side * side * ((3 * right) ^ upper);
        if (upper == 0) {
            if (right == 1) {
                x = 65535 - x;
                y = 65535 - y;
            }
            std::swap(x, y);
        }
    }
    return place;
}

/// Which of 65536 steps from `least` on the middle of the two lies on.
std::uint32_t StepOf(float from, float to, double least, double perUnit) {
    double const middle = (double{from} + double{to}) / 2;
    double const step = (middle - least) * perUnit;
    return static_cast<std::uint32_t>(std::clamp(step, 0.0, 65535.0));
}

template <class T>
void AppendBigEndian(std::string& bytes, T value) {
    for (int shift = static_cast<int>(sizeof value) * 8 - 8; shift >= 0; shift -= 8) {
        bytes += static_cast<char>((value >> shift) & 0xFF);
    }
}

void AppendReal(std::string& bytes, float value) {
    std::uint32_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    AppendBigEndian(bytes, bits);
}

double StepsPerUnit(double least, double most) {
    return most > least ? 65535.0 / (most - least) : 0.0;
}

} // namespace

SpatialIndexLoader::SpatialIndexLoader(Database& targetDatabase, std::string const& indexName)
    : database(targetDatabase), name(indexName) {
    database.Execute("CREATE VIRTUAL TABLE " + QuotedName(name) +
                     " USING rtree(id, minx, maxx, miny, maxy)");
    // The root, which is there and empty, has the size that the module wants of all nodes.
    Statement root(database, "SELECT length(data) FROM " + TableOf("_node"));
    root.Step();
    nodeSize = static_cast<std::size_t>(root.Integer(0));
}

void SpatialIndexLoader::Add(std::uint32_t id, BRect const& rectangle) {
    Cell const cell{{RoundedDown(rectangle.xMin), RoundedUp(rectangle.xMax),
                     RoundedDown(rectangle.yMin), RoundedUp(rectangle.yMax)},
                    id,
                    0};
    if (!insertion) {
        waiting.push_back(cell);
        if (waiting.size() == mostWaiting) {
            Finish();
            insertion = std::make_unique<Statement>(database, "INSERT INTO " + QuotedName(name) +
                                                                  " VALUES (?, ?, ?, ?, ?)");
        }
        return;
    }
    insertion->Bind(1, std::int64_t{id});
    for (int i = 0; i < 4; ++i) {
        insertion->Bind(2 + i, double{cell.bounds[static_cast<std::size_t>(i)]});
    }
    insertion->Run();
}

void SpatialIndexLoader::Finish() {
    if (waiting.empty()) {
        return;
    }
    SortAlongCurve();
    WriteTree();
    Cells().swap(waiting);
}

void SpatialIndexLoader::SortAlongCurve() {
    BRect extent;
    for (Cell const& cell : waiting) {
        extent.Union(BRect(cell.bounds[0], cell.bounds[2], cell.bounds[1], cell.bounds[3]));
    }
    double const perX = StepsPerUnit(extent.xMin, extent.xMax);
    double const perY = StepsPerUnit(extent.yMin, extent.yMax);
    for (Cell& cell : waiting) {
        cell.place = PlaceOnCurve(StepOf(cell.bounds[0], cell.bounds[1], extent.xMin, perX),
                                  StepOf(cell.bounds[2], cell.bounds[3], extent.yMin, perY));
    }
    std::sort(waiting.begin(), waiting.end(),
              [](Cell const& left, Cell const& right) { return left.place < right.place; });
}

void SpatialIndexLoader::WriteTree() {
    nodeInsertion = std::make_unique<Statement>(database, "REPLACE INTO " + TableOf("_node") +
                                                              " VALUES (?, ?)");
    std::size_t const mostCells = (nodeSize - nodeHeadSize) / cellSize;
    Cells level;
    std::uint32_t depth = 0;
    Cells* below = &waiting;
    for (; below->size() > mostCells; ++depth) {
        Cells above = WriteLevel(*below, depth);
        level = std::move(above);
        below = &level;
    }
    WriteNode(1, below->data(), below->size(), depth);
    for (Cell& cell : *below) {
        cell.place = 1;
    }
    WriteOwners(depth == 0 ? "_rowid" : "_parent", *below);
    nodeInsertion.reset();
}

/// Packs the cells into nodes, and returns the cells of these nodes for the level above.
SpatialIndexLoader::Cells SpatialIndexLoader::WriteLevel(Cells& cells, std::uint32_t depth) {
    std::size_t const mostCells = (nodeSize - nodeHeadSize) / cellSize;
    std::size_t const count = (cells.size() + mostCells - 1) / mostCells;
    Cells above;
    for (std::size_t node = 0; node < count; ++node) {
        // As even as can be: a last node of one cell would be a poor one.
        std::size_t const first = cells.size() * node / count;
        std::size_t const last = cells.size() * (node + 1) / count;
        Cell& own = above.emplace_back(cells[first]);
        own.id = ++nodes;
        for (std::size_t i = first; i < last; ++i) {
            auto const& bounds = cells[i].bounds;
            own.bounds = {std::min(own.bounds[0], bounds[0]), std::max(own.bounds[1], bounds[1]),
                          std::min(own.bounds[2], bounds[2]), std::max(own.bounds[3], bounds[3])};
            cells[i].place = own.id;
        }
        WriteNode(own.id, &cells[first], last - first, 0);
    }
    std::sort(cells.begin(), cells.end(),
              [](Cell const& left, Cell const& right) { return left.id < right.id; });
    WriteOwners(depth == 0 ? "_rowid" : "_parent", cells);
    return above;
}

/// `depth`: of the root; 0 elsewhere.
void SpatialIndexLoader::WriteNode(std::uint32_t number, Cell const* cells, std::size_t count,
                                   std::uint32_t depth) {
    std::string bytes;
    bytes.reserve(nodeSize);
    AppendBigEndian(bytes, static_cast<std::uint16_t>(depth));
    AppendBigEndian(bytes, static_cast<std::uint16_t>(count));
    for (std::size_t i = 0; i < count; ++i) {
        AppendBigEndian(bytes, std::uint64_t{cells[i].id});
        for (float const bound : cells[i].bounds) {
            AppendReal(bytes, bound);
        }
    }
    bytes.resize(nodeSize);
    nodeInsertion->Bind(1, std::int64_t{number}).BindBlob(2, bytes).Run();
}

/// The node of each cell, in the order of their ids.
void SpatialIndexLoader::WriteOwners(char const* table, Cells const& cells) {
    Statement owners(database, "INSERT INTO " + TableOf(table) + " VALUES (?, ?)");
    for (Cell const& cell : cells) {
        owners.Bind(1, std::int64_t{cell.id}).Bind(2, std::int64_t{cell.place}).Run();
    }
}

} // namespace Ambrel::Tool
