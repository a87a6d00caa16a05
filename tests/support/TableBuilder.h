#pragma once

#include "ByteList.h"

#include <filesystem>
#include <optional>
#include <string>
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

    TableBuilder& Version(std::uint8_t value) { return Set(version, value); }
    /// The language byte, at offset 29 of the header.
    TableBuilder& Language(std::uint8_t value) { return Set(language, value); }
    /// The values that the header states, in place of the true ones.
    TableBuilder& RecordCount(std::uint32_t value) { return Set(recordCount, value); }
    TableBuilder& HeaderLength(std::uint16_t value) { return Set(headerLength, value); }
    TableBuilder& RecordLength(std::uint16_t value) { return Set(recordLength, value); }
    /// What stands between the last descriptor and the first row, in place of one 0x0D; the header
    /// length follows it.
    TableBuilder& Terminator(Bytes const& bytes) { return Set(terminator, bytes); }
    /// Whether 0x1A ends the file, true at first.
    TableBuilder& EndMark(bool isThere) { return Set(hasEndMark, isThere); }
    /// What stands behind it all.
    TableBuilder& Tail(Bytes const& bytes) { return Set(tail, bytes); }
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
    struct FieldDescriptor {
        std::string name;
        char letter;
        std::uint8_t width;
        std::uint8_t decimals;
    };

    std::vector<FieldDescriptor> fields;
    std::vector<Bytes> rows;
    Bytes terminator{0x0D};
    Bytes tail;
    std::uint8_t version = 3;
    std::uint8_t language = 0;
    bool hasEndMark = true;
    std::optional<std::uint32_t> recordCount;
    std::optional<std::uint16_t> headerLength;
    std::optional<std::uint16_t> recordLength;
    std::optional<std::size_t> keptSize;
};

} // namespace Ambrel::Test
