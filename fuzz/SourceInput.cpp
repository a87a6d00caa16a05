#include "SourceInput.h"

#include "TemporaryFolder.h"

#include <algorithm>

namespace Ambrel::Fuzz {

namespace {

void WriteOrRemove(std::filesystem::path const& path, Test::Bytes const& bytes) {
    if (bytes.empty()) {
        std::filesystem::remove(path);
    } else {
        Test::WriteFile(path, bytes);
    }
}

} // namespace

SourceInput SourceInput::Decode(std::uint8_t const* data, std::size_t size) {
    std::uint8_t const* const end = data + size;
    std::uint8_t const* next = data + prefixSize;
    auto const take = [&](std::ptrdiff_t length) {
        std::uint8_t const* const first = next;
        next += std::min(length, end - next);
        return Test::Bytes(first, next);
    };
    SourceInput input;
    input.options = data[0];
    input.index = take(data[1] | data[2] << 8);
    input.table = take(data[3] | data[4] << 8);
    input.coordSys = take(data[5] | data[6] << 8);
    input.main = take(end - next);
    return input;
}

Test::Bytes SourceInput::Encode() const {
    Test::ByteList bytes;
    bytes.Byte(options);
    for (Test::Bytes const* const file : {&index, &table, &coordSys}) {
        bytes.Little16(static_cast<std::uint16_t>(file->size()));
    }
    return bytes.Append(index).Append(table).Append(coordSys).Append(main);
}

void SourceInput::WriteTo(std::filesystem::path const& folder) const {
    WriteOrRemove(folder / "f.shx", index);
    WriteOrRemove(folder / "f.dbf", table);
    WriteOrRemove(folder / "f.prj", coordSys);
    Test::WriteFile(folder / "f.shp", main);
}

} // namespace Ambrel::Fuzz
