// The whole life of a source; see SourceInput for what an input holds.

#include "Checks.h"
#include "Comparison.h"
#include "SourceInput.h"
#include "SourceLife.h"
#include "StructuredMutation.h"

#include <algorithm>
#include <numeric>
#include <random>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

namespace {

using namespace Ambrel;
using Fuzz::SourceInput;

constexpr std::uint32_t mostRecords = 24;

/// One input in sixteen, whatever is changed in it: PROJ takes longer than all else together.
bool HasCoordSys(std::uint8_t const* data, std::size_t size) {
    constexpr unsigned oneIn = 16;
    return std::accumulate(data, data + size, 0U) % oneIn == 0;
}

} // namespace

/// Damages fields where the input has them, and bytes now and then.
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t maxSize, unsigned seed) {
    std::mt19937 random(seed);
    if (size < SourceInput::prefixSize || random() % 4 == 0) {
        return LLVMFuzzerMutate(data, size, maxSize);
    }
    SourceInput input = SourceInput::Decode(data, size);
    for (unsigned step = random() % 3 + 1; step > 0; --step) {
        Fuzz::DamageField(input, random);
    }
    if (random() % 4 == 0) {
        input.options = static_cast<std::uint8_t>(random());
    }
    Test::Bytes const bytes = input.Encode();
    std::size_t const kept = std::min(bytes.size(), maxSize);
    std::copy_n(bytes.begin(), kept, data);
    return kept;
}

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    if (size < SourceInput::prefixSize) {
        return -1;
    }
    SourceInput input = SourceInput::Decode(data, size);
    if (!HasCoordSys(data, size)) {
        input.coordSys.clear();
    }
    input.WriteTo(Fuzz::Scratch().Path());
    BString const path = Fuzz::Scratch().File("f.shp");
    bool const useAttributes = !input.Has(SourceInput::withoutAttributes);
    BString const attributeZ(input.Has(SourceInput::withAttributeZ) ? "id" : "");
    switch (size % 3) {
    case 0: Fuzz::LiveThrough(path, useAttributes, attributeZ, mostRecords); break;
    case 1: Fuzz::CompareModes(path, input); break;
    default: Fuzz::CompareNeighbours(Fuzz::Scratch().Path(), input);
    }
    return 0;
}
