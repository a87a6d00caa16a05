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
    std::size_t const trueHeaderLength = 32 + 32 * fields.size() + terminator.size();
    unsigned trueRecordLength = 1;
    for (FieldDescriptor const& field : fields) {
        trueRecordLength += field.width;
    }
    ByteList file;
    file.Append({version, 121, 3, 15})
        .Little32(recordCount.value_or(static_cast<std::uint32_t>(rows.size())))
        .Little16(headerLength.value_or(static_cast<std::uint16_t>(trueHeaderLength)))
        .Little16(recordLength.value_or(static_cast<std::uint16_t>(trueRecordLength)))
        .Fill(17)
        .Byte(language)
        .Fill(2);
    for (FieldDescriptor const& field : fields) {
        file.Text(field.name).Fill(11 - field.name.size());
        file.Byte(static_cast<std::uint8_t>(field.letter)).Fill(4);
        file.Byte(field.width).Byte(field.decimals).Fill(14);
    }
    file.Append(terminator);
    for (Bytes const& row : rows) {
        file.Append(row);
    }
    file.Fill(hasEndMark ? 1 : 0, 0x1A).Append(tail);
    return file.First(keptSize);
}

void TableBuilder::WriteTo(std::filesystem::path const& path) const {
    WriteFile(path, Build());
}

} // namespace Ambrel::Test
