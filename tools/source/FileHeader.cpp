#include "source/FileHeader.h"

#include "Ambrel/BInputFile.h"

#include <array>

namespace Ambrel::Tool {

std::optional<ShpFileHeader> HeaderOf(BString const& shapefile) {
    std::array<std::uint8_t, ShpFileHeader::size> bytes{};
    BInputFile const file(shapefile);
    if (file.Read(0, bytes.data(), bytes.size()) != bytes.size()) {
        return std::nullopt;
    }
    return ShpFileHeader::Decode(bytes.data());
}

} // namespace Ambrel::Tool
