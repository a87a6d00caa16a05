#pragma once

#include "ByteList.h"

#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Ambrel::Test {

/// Makes the bytes of a dBASE table, sound unless it is told otherwise:
/// `TableBuilder().Field("name", 'C', 10).Row({"Oslo"}).WriteTo(folder / "towns.dbf")`.
///
/// It writes the layout on its own, so that it is a witness to what the product reads.
class TableBuilder {
public:
    TableBuilder& Field(std::string const& name, char letter, std::uint8_t width,
                        std::uint8_t decimals = 0);
    /// A row of cells, padded with blanks: numbers ('N', 'F') to the left, all else to the right.
    /// Cells that are left out are blank; std::invalid_argument for one that does not fit.
    TableBuilder& Row(std::vector<std::string> const& cells);
    /// A row as it stands in the file, deletion flag included.
    TableBuilder& RawRow(Bytes const& bytes) {
        rows.push_back(bytes);
        return *this;
    }

    /// What the header states, in place of what is true.
    TableBuilder& RecordCount(std::uint32_t value) { return Patch(4, ByteList().Little32(value)); }
    TableBuilder& HeaderLength(std::uint16_t value) { return Patch(8, ByteList().Little16(value)); }
    TableBuilder& RecordLength(std::uint16_t value) {
        return Patch(10, ByteList().Little16(value));
    }
    TableBuilder& Language(std::uint8_t value) { return Patch(29, {value}); }
    /// What stands between the last descriptor and the first row, in place of one 0x0D; the header
    /// length follows it.
    TableBuilder& Terminator(Bytes const& bytes) { return Set(terminator, bytes); }
    /// What stands behind the rows, in place of one 0x1A.
    TableBuilder& End(Bytes const& bytes) { return Set(end, bytes); }
    /// Keeps the first `size` bytes of the file.
    TableBuilder& Cut(std::size_t size) { return Set(keptSize, size); }

    Bytes Build() const;
    void WriteTo(std::filesystem::path const& path) const;

private:
    template <class Member, class Value>
    TableBuilder& Set(Member& member, Value const& value) {
        member = value;
        return *this;
    }
    TableBuilder& Patch(std::size_t offset, Bytes const& bytes) {
        patches.emplace_back(offset, bytes);
        return *this;
    }
    struct FieldDescriptor {
        std::string name;
        char letter;
        std::uint8_t width;
        std::uint8_t decimals;
    };

    std::vector<FieldDescriptor> fields;
    std::vector<Bytes> rows;
    Bytes terminator{0x0D};
    Bytes end{0x1A};
    std::vector<std::pair<std::size_t, Bytes>> patches;
    std::optional<std::size_t> keptSize;
};

} // namespace Ambrel::Test
