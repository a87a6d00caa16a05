// A table alone: the input is the file.

#include "Checks.h"

#include "ShpReader/dbf/BDbfFile.h"

#include <algorithm>

namespace {

using namespace Ambrel;

constexpr std::uint32_t mostRecords = 16;

BAttributes Read(BDbfFile& table, std::uint32_t index, bool isSequential) {
    BAttributes attributes;
    table.ReadAttributeRecord(index, attributes, isSequential);
    return attributes;
}

/// Forwards, with read-ahead, and each record alone: the values are the same.
void ReadBothWays(BDbfFile& table) {
    std::uint32_t const count = std::min(table.GetAttributeRecordCount(), mostRecords);
    for (std::uint32_t i = 0; i < count; ++i) {
        BAttributes const ahead = Read(table, i, true);
        Read(table, count - 1 - i, false);
        Fuzz::Require(ahead.GetCount() == table.GetSchema().GetCount(), "every field is there");
        Fuzz::Require(Fuzz::TextOf(ahead) == Fuzz::TextOf(Read(table, i, false)),
                      "the way to a record does not change it");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    BString const path = Fuzz::Scratch().File("t.dbf");
    Test::WriteFile(path.Ascii(), {data, data + size});
    BDbfFile table;
    Fuzz::Try([&] {
        table.Open(path, BDbfFile::readMode, false);
        ReadBothWays(table);
        table.Read(0);
        table.ReadSchema();
        table.Close();
    });
    BDbfFile strict;
    Fuzz::Try([&] { strict.Open(path, BDbfFile::readMode, true); });
    return 0;
}
