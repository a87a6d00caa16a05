#include "TableBuilder.h"

#include "TemporaryFolder.h"

#include <stdexcept>

namespace Ambrel::Test {

TableBuilder& TableBuilder::Field(std::string const& name, char letter, std::uint8_t width,
                                  std::uint8_t decimals) {
    if (name.size() > 11) {
        throw std::invalid_argument("field name is too long: " + name);
    }
    fields.push_back({name, letter, width, decimals});
    return *this;
}

TableBuilder& TableBuilder::Row(std::vector<std::string> const& cells) {
    if (cells.size() > fields.size()) {
        throw std::invalid_argument("more cells than fields");
    }
    ByteList row;
    row.Byte(' ');
    for (std::size_t i = 0; i < fields.size(); ++i) {
        std::string const cell = i < cells.size() ? cells[i] : std::string();
        if (cell.size() > fields[i].width) {
            throw std::invalid_argument("cell is too long: " + cell);
        }
        std::size_t const padding = fields[i].width - cell.size();
        bool const isNumber = std::string("NnFf").find(fields[i].letter) != std::string::npos;
        row.Fill(isNumber ? padding : 0, ' ').Text(cell).Fill(isNumber ? 0 : padding, ' ');
    }
    return RawRow(row);
}

Bytes TableBuilder::Build() const {
    std::size_t const headerLength = 32 + 32 * fields.size() + terminator.size();
    unsigned recordLength = 1;
    ByteList descriptors;
    for (FieldDescriptor const& field : fields) {
        recordLength += field.width;
        descriptors.Text(field.name).Fill(11 - field.name.size());
        descriptors.Byte(static_cast<std::uint8_t>(field.letter)).Fill(4);
        descriptors.Byte(field.width).Byte(field.decimals).Fill(14);
    }
    ByteList file;
    file.Append({3, 121, 3, 15}).Little32(static_cast<std::uint32_t>(rows.size()));
    file.Little16(static_cast<std::uint16_t>(headerLength));
    file.Little16(static_cast<std::uint16_t>(recordLength));
    file.Fill(20).Append(descriptors).Append(terminator);
    for (Bytes const& row : rows) {
        file.Append(row);
    }
    file.Append(end);
    for (auto const& [offset, bytes] : patches) {
        file.Put(offset, bytes);
    }
    return keptSize ? file.Cut(*keptSize) : file;
}

void TableBuilder::WriteTo(std::filesystem::path const& path) const {
    WriteFile(path, Build());
}

} // namespace Ambrel::Test
