// Makes the large files that the benchmarks read, the same ones on every machine:
//
//   make-bench-files FOLDER
//
// Coordinates look like degrees and lie all over the world, so that the window from 0,40 to 20,50
// holds about 0.3 % of each file.

#include "BenchFileWriter.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <exception>
#include <numbers>
#include <vector>

namespace Ambrel::Bench {

namespace {

using Test::ByteList;
using Test::Bytes;

struct Vertex {
    double x;
    double y;
};
using Ring = std::vector<Vertex>;
using Rings = std::vector<Ring>;

enum class Turning { Clockwise, CounterClockwise };

constexpr std::uint32_t pointType = 1;
constexpr std::uint32_t polylineType = 3;
constexpr std::uint32_t polygonType = 5;

/// A closed ring around a centre; its radius goes up and down by a tenth.
Ring MakeRing(Random& random, Vertex centre, double radius, std::uint32_t vertexCount,
              Turning turning) {
    Ring ring;
    ring.reserve(vertexCount);
    double const direction = turning == Turning::Clockwise ? -1 : 1;
    for (std::uint32_t i = 0; i + 1 < vertexCount; ++i) {
        double const angle = direction * 2 * std::numbers::pi * i / (vertexCount - 1);
        double const distance = radius * random.Between(0.9, 1.1);
        ring.push_back(
            {centre.x + distance * std::cos(angle), centre.y + distance * std::sin(angle)});
    }
    ring.push_back(ring.front());
    return ring;
}

void AddParts(BenchFileWriter& writer, Rings const& parts) {
    Extent extent;
    ByteList starts;
    ByteList vertices;
    std::uint32_t vertexCount = 0;
    for (Ring const& part : parts) {
        starts.Little32(vertexCount);
        vertexCount += static_cast<std::uint32_t>(part.size());
        for (Vertex const& vertex : part) {
            vertices.Real(vertex.x).Real(vertex.y);
            extent.Show(vertex.x, vertex.y);
        }
    }
    writer.Add(ByteList()
                   .Reals({extent.xMin, extent.yMin, extent.xMax, extent.yMax})
                   .Little32(static_cast<std::uint32_t>(parts.size()))
                   .Little32(vertexCount)
                   .Append(starts)
                   .Append(vertices),
               extent);
}

void MakePoints(std::filesystem::path const& path) {
    BenchFileWriter writer(path, pointType);
    Random random(1);
    for (int i = 0; i < 1'000'000; ++i) {
        double const x = random.Between(-180, 180);
        double const y = random.Between(-90, 90);
        Extent extent;
        extent.Show(x, y);
        writer.Add(ByteList().Real(x).Real(y), extent);
    }
    writer.Finish();
}

/// Lines of 20 vertices that keep to a direction, more or less.
void MakeLines(std::filesystem::path const& path) {
    BenchFileWriter writer(path, polylineType);
    Random random(2);
    for (int i = 0; i < 200'000; ++i) {
        Vertex vertex{random.Between(-179, 179), random.Between(-89, 89)};
        double direction = random.Between(0, 2 * std::numbers::pi);
        Ring line;
        for (int k = 0; k < 20; ++k) {
            line.push_back(vertex);
            direction += random.Between(-0.5, 0.5);
            vertex.x += 0.02 * std::cos(direction);
            vertex.y += 0.02 * std::sin(direction);
        }
        AddParts(writer, {line});
    }
    writer.Finish();
}

/// Polygons of 46 vertices in all: a ring; a shell with a hole; two islands; a shell with a hole
/// and an island in it.
Rings MakeMixedRings(Random& random, int kind, Vertex centre) {
    switch (kind) {
    case 0: return {MakeRing(random, centre, 0.2, 46, Turning::Clockwise)};
    case 1:
        return {MakeRing(random, centre, 0.2, 30, Turning::Clockwise),
                MakeRing(random, centre, 0.1, 16, Turning::CounterClockwise)};
    case 2:
        return {MakeRing(random, centre, 0.2, 23, Turning::Clockwise),
                MakeRing(random, {centre.x + 0.5, centre.y}, 0.2, 23, Turning::Clockwise)};
    default:
        return {MakeRing(random, centre, 0.2, 24, Turning::Clockwise),
                MakeRing(random, centre, 0.1, 12, Turning::CounterClockwise),
                MakeRing(random, centre, 0.05, 10, Turning::Clockwise)};
    }
}

void MakePolygons(std::filesystem::path const& path) {
    BenchFileWriter writer(path, polygonType);
    Random random(3);
    for (int i = 0; i < 200'000; ++i) {
        Vertex const centre{random.Between(-179, 179), random.Between(-89, 89)};
        AddParts(writer, MakeMixedRings(random, i % 4, centre));
    }
    writer.Finish();
}

/// Appends rings of five vertices on a grid around the origin.
void AppendGrid(Rings& rings, Random& random, std::uint32_t rows, std::uint32_t columns,
                double halfWidth, Turning turning) {
    double const width = 2 * halfWidth / columns;
    double const height = 2 * halfWidth / rows;
    for (std::uint32_t row = 0; row < rows; ++row) {
        for (std::uint32_t column = 0; column < columns; ++column) {
            Vertex const centre{-halfWidth + (column + 0.5) * width,
                                -halfWidth + (row + 0.5) * height};
            rings.push_back(MakeRing(random, centre, 0.3 * std::min(width, height), 5, turning));
        }
    }
}

/// One record: a shell of 100,000 vertices and 10,000 holes.
void MakeHoles(std::filesystem::path const& path) {
    BenchFileWriter writer(path, polygonType);
    Random random(4);
    Rings rings{MakeRing(random, {0, 0}, 80, 100'000, Turning::Clockwise)};
    AppendGrid(rings, random, 100, 100, 45, Turning::CounterClockwise);
    AddParts(writer, rings);
    writer.Finish();
}

/// One record: 100,000 islands.
void MakeIslands(std::filesystem::path const& path) {
    BenchFileWriter writer(path, polygonType);
    Random random(5);
    Rings rings;
    AppendGrid(rings, random, 250, 400, 80, Turning::Clockwise);
    AddParts(writer, rings);
    writer.Finish();
}

void MakeAll(std::filesystem::path const& folder) {
    std::filesystem::create_directories(folder);
    MakePoints(folder / "points");
    MakeLines(folder / "lines");
    MakePolygons(folder / "polygons");
    MakeHoles(folder / "holes");
    MakeIslands(folder / "islands");
}

} // namespace

} // namespace Ambrel::Bench

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: make-bench-files FOLDER\n");
        return 2;
    }
    try {
        Ambrel::Bench::MakeAll(argv[1]);
    } catch (std::exception const& failure) {
        std::fprintf(stderr, "make-bench-files: %s\n", failure.what());
        return 1;
    }
    return 0;
}
