#pragma once

#include "ByteList.h"
#include "Random.h"

#include <cstdint>
#include <filesystem>
#include <fstream>

namespace Ambrel::Bench {

/// A rectangle that grows with the vertices that it is shown.
struct Extent {
    double xMin = 1e308;
    double yMin = 1e308;
    double xMax = -1e308;
    double yMax = -1e308;
    void Show(double x, double y);
    void Show(Extent const& other);
};

/// Writes a shapefile of any size, record by record, with five attributes for each. It writes the
/// layouts on its own, so that what is measured does not depend on what is measured.
class BenchFileWriter {
public:
    /// `path` is that of the files without their extension.
    BenchFileWriter(std::filesystem::path const& path, std::uint32_t newShapeType);
    /// Adds a record with the content that follows its shape type, and a row for it.
    void Add(Test::Bytes const& content, Extent const& recordExtent);
    /// Puts the headers right. Throws std::runtime_error when something was not written.
    void Finish();

private:
    void AddRow();

    std::ofstream shp;
    std::ofstream shx;
    std::ofstream dbf;
    Random random{7};
    std::uint32_t shapeType;
    std::uint32_t recordCount = 0;
    std::uint64_t shpSize = 100; ///< bytes
    Extent extent;
};

} // namespace Ambrel::Bench
