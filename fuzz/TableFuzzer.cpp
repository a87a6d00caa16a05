// A table alone: the input is the file.

#include "Scratch.h"

#include "Ambrel/BException.h"
#include "ShpReader/dbf/BDbfFile.h"

#include <algorithm>
#include <cstdlib>

namespace {

using namespace Ambrel;

constexpr std::uint32_t mostRecords = 16;

template <class Action>
void Try(Action action) {
    try {
        action();
    } catch (BException const&) { // an answer like any other
    }
}

std::string TextOf(BAttributes const& attributes) {
    std::string text;
    for (std::uint64_t i = 0; i < attributes.GetCount(); ++i) {
        text += attributes.GetAt(i).GetName().Ascii();
        text += '=';
        text += attributes.GetAt(i).GetValue().GetValueAsString("?").Ascii();
        text += '\n';
    }
    return text;
}

/// Forwards, with read-ahead, and each record alone: the values are the same.
void ReadBothWays(BDbfFile& table) {
    std::uint32_t const count = std::min(table.GetAttributeRecordCount(), mostRecords);
    for (std::uint32_t i = 0; i < count; ++i) {
        BAttributes ahead;
        BAttributes alone;
        table.ReadAttributeRecord(i, ahead, true);
        table.ReadAttributeRecord(count - 1 - i, alone, false);
        alone.Clear();
        table.ReadAttributeRecord(i, alone, false);
        bool const isEqual = TextOf(ahead) == TextOf(alone);
        if (!isEqual || ahead.GetCount() != table.GetSchema().GetCount()) {
            std::abort();
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    Fuzz::Scratch const& scratch = Fuzz::Scratch::Instance();
    scratch.Write("t.dbf", data, size);
    BDbfFile table;
    Try([&] {
        table.Open(scratch.File("t.dbf"), BDbfFile::readMode, false);
        ReadBothWays(table);
        table.Read(0);
        table.ReadSchema();
        table.Close();
    });
    BDbfFile strict;
    Try([&] { strict.Open(scratch.File("t.dbf"), BDbfFile::readMode, true); });
    return 0;
}
