#include "BenchFileWriter.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <stdexcept>
#include <string>

namespace Ambrel::Bench {

namespace {

using Test::ByteList;
using Test::Bytes;

struct Field {
    char const* name;
    char letter;
    std::uint8_t width;
    std::uint8_t decimals;
};
constexpr std::array<Field, 5> fields{{{"NAME", 'C', 20, 0},
                                       {"COUNT", 'N', 9, 0},
                                       {"MEASURE", 'N', 18, 6},
                                       {"SURVEYED", 'D', 8, 0},
                                       {"CATEGORY", 'C', 10, 0}}};
constexpr std::uint16_t rowLength = 1 + 20 + 9 + 18 + 8 + 10;
constexpr std::array<char const*, 8> syllables{"ka", "lo", "mi", "ren", "sta", "ver", "dal", "no"};
constexpr std::array<char const*, 6> categories{"primary",     "secondary", "tertiary",
                                                "residential", "service",   "unknown"};

std::ofstream OpenFile(std::filesystem::path path, char const* extension) {
    path += extension;
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    if (!file) {
        throw std::runtime_error("can not write " + path.string());
    }
    return file;
}

void Write(std::ofstream& file, Bytes const& bytes) {
    file.write(reinterpret_cast<char const*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
}

Bytes MainHeader(std::uint32_t shapeType, std::uint64_t fileSize, Extent const& extent) {
    return ByteList()
        .Big32(9994)
        .Fill(20)
        .Big32(static_cast<std::uint32_t>(fileSize / 2))
        .Little32(1000)
        .Little32(shapeType)
        .Reals({extent.xMin, extent.yMin, extent.xMax, extent.yMax, 0, 0, 0, 0});
}

Bytes TableHeader(std::uint32_t recordCount) {
    ByteList header;
    header.Byte(3).Byte(124).Byte(6).Byte(1).Little32(recordCount);
    header.Little16(32 + 32 * fields.size() + 1).Little16(rowLength).Fill(20);
    for (Field const& field : fields) {
        std::string const name = field.name;
        header.Text(name).Fill(11 - name.size()).Byte(static_cast<std::uint8_t>(field.letter));
        header.Fill(4).Byte(field.width).Byte(field.decimals).Fill(14);
    }
    return header.Byte(0x0D);
}

std::string MakeName(Random& random) {
    std::string name;
    for (std::uint32_t i = 0, count = 2 + random.Below(4); i < count; ++i) {
        name += syllables[random.Below(syllables.size())];
    }
    name[0] = static_cast<char>(name[0] - 'a' + 'A');
    return name + " " + std::to_string(random.Below(1000));
}

} // namespace

void Extent::Show(double x, double y) {
    xMin = std::min(xMin, x);
    yMin = std::min(yMin, y);
    xMax = std::max(xMax, x);
    yMax = std::max(yMax, y);
}

void Extent::Show(Extent const& other) {
    Show(other.xMin, other.yMin);
    Show(other.xMax, other.yMax);
}

BenchFileWriter::BenchFileWriter(std::filesystem::path const& path, std::uint32_t newShapeType)
    : shp(OpenFile(path, ".shp")), shx(OpenFile(path, ".shx")), dbf(OpenFile(path, ".dbf")),
      shapeType(newShapeType) {
    Write(shp, MainHeader(shapeType, 100, extent));
    Write(shx, MainHeader(shapeType, 100, extent));
    Write(dbf, TableHeader(0));
}

void BenchFileWriter::Add(Bytes const& content, Extent const& recordExtent) {
    auto const words = static_cast<std::uint32_t>((4 + content.size()) / 2);
    ++recordCount;
    Write(shp, ByteList().Big32(recordCount).Big32(words).Little32(shapeType).Append(content));
    Write(shx, ByteList().Big32(static_cast<std::uint32_t>(shpSize / 2)).Big32(words));
    shpSize += 8 + 4 + content.size();
    extent.Show(recordExtent);
    AddRow();
}

void BenchFileWriter::AddRow() {
    // One after the other: the order of evaluation in a call is the compiler's choice.
    std::string const name = MakeName(random);
    std::uint32_t const count = random.Below(100'000'000);
    double const measure = random.Between(-1e6, 1e6);
    std::uint32_t const year = 1950 + random.Below(75);
    std::uint32_t const month = 1 + random.Below(12);
    std::uint32_t const day = 1 + random.Below(28);
    char const* const category = categories[random.Below(categories.size())];
    std::array<char, rowLength + 1> row{};
    std::snprintf(row.data(), row.size(), " %-20.20s%9u%18.6f%04u%02u%02u%-10.10s", name.c_str(),
                  count, measure, year, month, day, category);
    dbf.write(row.data(), rowLength);
}

void BenchFileWriter::Finish() {
    dbf.put('\x1A');
    shp.seekp(0);
    Write(shp, MainHeader(shapeType, shpSize, extent));
    shx.seekp(0);
    Write(shx, MainHeader(shapeType, 100 + 8ULL * recordCount, extent));
    dbf.seekp(0);
    Write(dbf, TableHeader(recordCount));
    for (std::ofstream* file : {&shp, &shx, &dbf}) {
        file->close();
        if (!*file) {
            throw std::runtime_error("a file for the benchmarks could not be written");
        }
    }
}

} // namespace Ambrel::Bench
