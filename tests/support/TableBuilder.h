#pragma once

#include "TemporaryFolder.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Ambrel::Test {

/// Makes the bytes of a dBASE table, sound unless it is told otherwise:
/// `TableBuilder().Field("name", 'C', 10).Row({"Oslo"}).WriteTo(folder / "towns.dbf")`.
///
/// It writes the layout on its own, so that it is a witness to what the product reads. Names and
/// cells that do not fit are std::length_error.
class TableBuilder {
public:
    TableBuilder& Field(std::string const& name, char letter, std::uint8_t width,
                        std::uint8_t decimals = 0) {
        descriptors.Text(name).Fill(11 - name.size());
        descriptors.Byte(static_cast<std::uint8_t>(letter)).Fill(4);
        descriptors.Byte(width).Byte(decimals).Fill(14);
        columns.emplace_back(letter, width);
        return *this;
    }
    /// A row of cells, padded with blanks: numbers ('N', 'F') to the left, all else to the right.
    /// Cells that are left out are blank.
    TableBuilder& Row(std::vector<std::string> cells) {
        cells.resize(columns.size());
        ByteList row;
        row.Byte(' ');
        for (std::size_t i = 0; i < columns.size(); ++i) {
            auto const& [letter, width] = columns[i];
            std::size_t const padding = width - cells[i].size();
            bool const isNumber = std::string("NnFf").find(letter) != std::string::npos;
            row.Fill(isNumber ? padding : 0, ' ').Text(cells[i]).Fill(isNumber ? 0 : padding, ' ');
        }
        return RawRow(row);
    }
    /// A row as it stands in the file, deletion flag included.
    TableBuilder& RawRow(Bytes const& bytes) {
        rows.Append(bytes);
        ++rowCount;
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

    Bytes Build() const {
        std::size_t const headerLength = 32 + descriptors.Size() + terminator.size();
        unsigned recordLength = 1;
        for (auto const& [letter, width] : columns) {
            recordLength += width;
        }
        ByteList file;
        file.Append({3, 121, 3, 15}).Little32(rowCount);
        file.Little16(static_cast<std::uint16_t>(headerLength));
        file.Little16(static_cast<std::uint16_t>(recordLength));
        file.Fill(20).Append(descriptors).Append(terminator).Append(rows).Append(end);
        for (auto const& [offset, bytes] : patches) {
            file.Put(offset, bytes);
        }
        return keptSize ? file.Cut(*keptSize) : file;
    }
    void WriteTo(std::filesystem::path const& path) const { WriteFile(path, Build()); }

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

    ByteList descriptors;
    std::vector<std::pair<char, std::uint8_t>> columns;
    ByteList rows;
    std::uint32_t rowCount = 0;
    Bytes terminator{0x0D};
    Bytes end{0x1A};
    std::vector<std::pair<std::size_t, Bytes>> patches;
    std::optional<std::size_t> keptSize;
};

} // namespace Ambrel::Test
