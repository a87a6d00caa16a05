#pragma once

#include "ByteList.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>

namespace Ambrel::Fuzz {

/// The files of a source as one fuzz input: one byte of options, three 16-bit lengths (index,
/// table, coordinate system), those files, and the main file in what is left.
struct SourceInput {
    static constexpr std::size_t prefixSize = 7;

    /// How the source is opened; bits of `options`.
    enum Option : std::uint8_t {
        withoutAttributes = 1,
        withAttributeZ = 2,
        missingAsNull = 4,
        skipDeleted = 8,
        measuresAlways = 16,
        salvage = 32,
        withEncoding = 64,
    };

    std::uint8_t options = 0;
    Test::Bytes index;
    Test::Bytes table;
    Test::Bytes coordSys;
    Test::Bytes main;

    bool Has(Option option) const noexcept { return (options & option) != 0; }

    /// Lengths that the input does not have give shorter files. REQUIRES: size >= prefixSize.
    static SourceInput Decode(std::uint8_t const* data, std::size_t size);
    Test::Bytes Encode() const;
    /// Writes f.shx, f.dbf, f.prj and f.shp; those without bytes are removed, but for the main
    /// file.
    void WriteTo(std::filesystem::path const& folder) const;
};

} // namespace Ambrel::Fuzz
