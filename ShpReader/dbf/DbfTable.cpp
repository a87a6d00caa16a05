#include "ShpReader/dbf/DbfTable.h"

#include "Ambrel/BException.h"
#include "Ambrel/BLogger.h"
#include "ShpReader/Report.h"

#include <algorithm>
#include <array>
#include <new>

namespace Ambrel {

namespace {

constexpr char openOperation[] = "BDbfFile::Open";
constexpr std::size_t largestPiece = 256 * 1024; // bytes; more than the longest row

} // namespace

DbfTable::DbfTable(BString const& name, BString const& path, ReadOptions const& options,
                   bool strict)
    : path(path), missingAsNull(options.missingAsNull), salvage(options.salvage),
      wantedFields(options.fields), decoder(options.encoding, openOperation), input(path) {
    if (!input.IsOpen()) {
        BFileNotFoundException failure(openOperation, name);
        failure.SetReason(input.GetOpenError());
        throw failure;
    }
    ReadHeader();
    CheckSize(strict);
}

void DbfTable::ReadHeader() {
    std::array<char, DbfHeader::size> bytes{};
    bool const isWhole = input.Read(0, bytes.data(), bytes.size()) == bytes.size();
    header = DbfHeader::Decode(bytes.data());
    if (!isWhole || !header.IsValid()) {
        Note(FindingCode::TableHeaderNotValid, {header.headerLength, header.recordLength});
        ThrowNotValid();
    }
}

void DbfTable::CheckSize(bool strict) {
    auto const size = static_cast<std::int64_t>(input.GetSizeAtOpen());
    switch (MatchTableSize(header, size)) {
    case DbfSizeMatch::WithoutDeletionFlag: ++header.recordLength; [[fallthrough]];
    case DbfSizeMatch::Exact:
        heldRows = std::min(header.recordCount, CountWholeRows(header, size));
        return;
    case DbfSizeMatch::None: break;
    }
    if (salvage && !strict) {
        SalvageRows();
        return;
    }
    Note(FindingCode::TableSizeMismatch);
    Note(FindingCode::TableRecordsMissing);
    if (strict) {
        ThrowNotValid();
    }
    usesDefaults = true;
    Note(FindingCode::TableDefaultValues);
}

/// Takes the rows that lie whole in the file, also where they are more than the header says, as
/// when a writer did not come to complete it.
void DbfTable::SalvageRows() {
    auto const size = static_cast<std::int64_t>(input.GetSizeAtOpen());
    if (ReadDbfSchema(input, header, decoder, wantedFields).rowLength == header.recordLength + 1) {
        ++header.recordLength; // it leaves the deletion flag out
    }
    heldRows = CountWholeRows(header, size);
    header.recordCount = std::max(header.recordCount, heldRows);
    isSalvaged = true;
    Note(FindingCode::TableSalvaged, {heldRows, header.recordCount});
}

void DbfTable::Note(FindingCode code, std::vector<BLogValue> values) const {
    Report({.code = code, .file = path.Ascii(), .values = std::move(values)});
}

void DbfTable::ThrowNotValid() const {
    throw BFileContentNotValidException(
        openOperation, BString::Format("%ls is not a valid DBF file.", path.c_str()));
}

void DbfTable::ReadSchema() {
    BLogger::Instance()->WriteLine(LOG_PROGRESS, "DBF-File: Reading schema...");
    if (!header.HasRegularLength()) {
        Note(FindingCode::TableHeaderLengthOdd);
    }
    schema = ReadDbfSchema(input, header, decoder, wantedFields);
    if (usesDefaults) {
        substitute = MakeDefaultRow(schema);
    } else if (isSalvaged) {
        substitute = MakeNullRow(schema);
    }
}

bool DbfTable::SubstituteRow(std::uint32_t index, BAttributes& attributes) const {
    bool const isThere = index < heldRows || !(usesDefaults || isSalvaged);
    if (!isThere) {
        attributes = substitute;
    }
    return !isThere;
}

void DbfTable::ReadRow(std::uint32_t index, BAttributes& attributes) const {
    if (SubstituteRow(index, attributes)) {
        return;
    }
    std::vector<char> bytes(header.recordLength);
    std::size_t const held =
        input.Read(header.GetRecordPosition(index), bytes.data(), bytes.size());
    ConvertRow(index, {bytes.data(), held}, nullptr, attributes);
}

void DbfTable::ConvertRow(std::uint32_t index, std::string_view bytes, TextCache* caches,
                          BAttributes& attributes) const {
    if (bytes.size() < header.recordLength) {
        Report({.code = FindingCode::TableRowIncomplete, .file = path.Ascii(), .record = index});
        attributes = MakeDefaultRow(schema);
        return;
    }
    attributes.Reserve(attributes.GetCount() + schema.fields.size());
    for (std::size_t i = 0; i < schema.fields.size(); ++i) {
        auto const& [type, offset, width] = schema.fields[i];
        FieldContent const content{GetFieldBytes(bytes, offset, width), decoder,
                                   caches ? caches + i : nullptr};
        bool const isNull = missingAsNull && type->isMissing && type->isMissing(content.bytes);
        attributes.Add(schema.definitions.GetAt(i).name,
                       isNull ? BVariant() : type->convert(content));
    }
}

bool DbfTable::IsDeleted(std::uint32_t index) const {
    return index < heldRows && marks.Has(index, heldRows, input, header);
}

DbfRowReader::DbfRowReader(DbfTable const& openTable)
    : table(openTable),
      rows(openTable.GetInput(), openTable.GetInput().GetSizeAtOpen(), largestPiece),
      caches(openTable.GetSchema().fields.size()) {}

void DbfRowReader::ReadRow(std::uint32_t index, BAttributes& attributes) {
    if (table.SubstituteRow(index, attributes)) {
        return;
    }
    if (index == 0) {
        rows.Restart(table.GetInput().GetSizeAtOpen()); // a whole read begins
    }
    DbfHeader const& header = table.GetHeader();
    auto const bytes =
        rows.View(header.GetRecordPosition(index), header.recordLength, header.recordLength);
    if (!bytes) {
        throw std::bad_alloc();
    }
    table.ConvertRow(index, {reinterpret_cast<char const*>(bytes->data()), bytes->size()},
                     caches.data(), attributes);
}

} // namespace Ambrel
