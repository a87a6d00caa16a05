// The whole life of a source. An input is one byte of options, three 16-bit lengths (index, table,
// coordinate system), those files, and the main file in what is left.

#include "Scratch.h"
#include "SourceLife.h"

#include <algorithm>
#include <array>
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
    Fuzz::Scratch const& scratch = Fuzz::Scratch::Instance();
    std::size_t rest = size - prefixSize;
    std::uint8_t const* next = data + prefixSize;
    std::array<char const*, 3> const names = {"f.shx", "f.dbf", "f.prj"};
    for (std::size_t i = 0; i < names.size(); ++i) {
        std::size_t const claimed = data[1 + 2 * i] | data[2 + 2 * i] << 8;
        std::size_t const taken = std::min(claimed, rest);
        bool const isCoordSys = i == 2;
        if (isCoordSys && !HasCoordSys(data, size)) {
            scratch.Remove(names[i]);
        } else {
            scratch.Write(names[i], next, taken);
        }
        next += taken;
        rest -= taken;
    }
    scratch.Write("f.shp", next, rest);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    if (size < prefixSize) {
        return -1;
    }
    WriteFiles(data, size);
    bool const useAttributes = (data[0] & withoutAttributes) == 0;
    BString const attributeZ(data[0] & withAttributeZ ? "id" : "");
    Fuzz::LiveThrough(Fuzz::Scratch::Instance().File("f.shp"), useAttributes, attributeZ,
                      mostRecords);
    return 0;
}
