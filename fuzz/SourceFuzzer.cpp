// The whole life of a source. An input is one byte of options, three 16-bit lengths (index, table,
// coordinate system), those files, and the main file in what is left.

#include "Checks.h"
#include "SourceLife.h"

#include <algorithm>
#include <numeric>

namespace {

using namespace Ambrel;

constexpr std::size_t prefixSize = 7;
constexpr std::uint32_t mostRecords = 24;

enum Option : std::uint8_t {
    withoutAttributes = 1,
    withAttributeZ = 2,
};

/// One input in sixteen, whatever is changed in it: PROJ takes longer than all else together.
bool HasCoordSys(std::uint8_t const* data, std::size_t size) {
    constexpr unsigned oneIn = 16;
    return std::accumulate(data, data + size, 0U) % oneIn == 0;
}

void WriteFiles(std::uint8_t const* data, std::size_t size) {
    std::filesystem::path const folder = Fuzz::Scratch().Path();
    std::uint8_t const* next = data + prefixSize;
    auto const take = [&](char const* name, std::ptrdiff_t claimed) {
        std::uint8_t const* const end = next + std::min(claimed, data + size - next);
        Test::WriteFile(folder / name, {next, end});
        next = end;
    };
    take("f.shx", data[1] | data[2] << 8);
    take("f.dbf", data[3] | data[4] << 8);
    take("f.prj", data[5] | data[6] << 8);
    take("f.shp", data + size - next);
    if (!HasCoordSys(data, size)) {
        std::filesystem::remove(folder / "f.prj");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    if (size < prefixSize) {
        return -1;
    }
    WriteFiles(data, size);
    bool const useAttributes = (data[0] & withoutAttributes) == 0;
    BString const attributeZ(data[0] & withAttributeZ ? "id" : "");
    Fuzz::LiveThrough(Fuzz::Scratch().File("f.shp"), useAttributes, attributeZ, mostRecords);
    return 0;
}
