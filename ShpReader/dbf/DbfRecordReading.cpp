#include "Ambrel/BException.h"
#include "ShpReader/dbf/BDbfFile.h"
#include "ShpReader/dbf/DbfTable.h"

#include <algorithm>

namespace Ambrel {

namespace {

constexpr char readRecordOperation[] = "BDbfFile::ReadAttributeRecord";

} // namespace

std::uint32_t BDbfFile::GetAttributeRecordCount() const {
    RequireMode(readMode, "BDbfFile::GetAttributeRecordCount");
    return table->GetHeader().recordCount;
}

void BDbfFile::ReadSchema() {
    RequireMode(readMode, "BDbfFile::ReadSchema");
    sharedRows.reset();
    table->ReadSchema();
    sharedRows = std::make_unique<DbfRowReader>(*table);
}

void BDbfFile::ReadAttributeRecord(std::uint32_t index, BAttributes& attributes,
                                   bool useOwnHandle) {
    RequireMode(readMode, readRecordOperation);
    std::uint32_t const count = table->GetHeader().recordCount;
    if (index >= count) {
        throw BIndexOutOfBoundsException(
            readRecordOperation,
            BString::Format("SHP/DBF data mismatch (Index=%u, NumRecords=%u)", index, count));
    }
    if (useOwnHandle) {
        sharedRows->ReadRow(index, attributes);
    } else {
        table->ReadRow(index, attributes);
    }
}

bool BDbfFile::IsDeleted(std::uint32_t index) const {
    RequireMode(readMode, "BDbfFile::IsDeleted");
    return table->IsDeleted(index);
}

bool BDbfFile::Read(std::int32_t maxCount) {
    RequireMode(readMode, "BDbfFile::Read");
    if (GetSchema().GetCount() == 0) {
        ReadSchema();
    }
    std::uint32_t const recordCount = GetAttributeRecordCount();
    std::uint32_t const wanted =
        maxCount > 0 ? std::min(static_cast<std::uint32_t>(maxCount), recordCount) : recordCount;
    std::uint32_t const count = std::min(wanted, MostRecords());
    features.Reserve(features.GetCount() + count);
    for (std::uint32_t i = 0; i < count; ++i) {
        BSharedPtr<BFeature> const feature(new BFeature);
        ReadAttributeRecord(i, feature->attributes, true);
        features.Add(feature);
    }
    return count == recordCount;
}

/// What a claimed count is held against: a record takes a byte at the least, and default values may
/// be many more than the bytes that a broken table has left.
std::uint32_t BDbfFile::MostRecords() const {
    constexpr std::int64_t valuesPerByte = 8;
    constexpr std::int64_t leastValues = 1024 * 1024;
    auto const fileSize = static_cast<std::int64_t>(table->GetInput().GetSizeAtOpen());
    auto const fields =
        static_cast<std::int64_t>(std::max<std::uint64_t>(GetSchema().GetCount(), 1));
    std::int64_t const values = std::max(valuesPerByte * fileSize, leastValues);
    return static_cast<std::uint32_t>(
        std::min<std::int64_t>({fileSize, values / fields, 0xFFFFFFFF}));
}

void BDbfFile::DbfField2Attribute(std::string_view record, BAttributeDef const& definition,
                                  std::int32_t offset, BAttribute& attribute) {
    TextDecoder const decoder;
    std::string_view const field = GetFieldBytes(record, offset, definition.width);
    attribute.SetName(definition.name);
    attribute.SetValue(GetFieldType(definition.GetType()).convert({field, decoder, nullptr}));
}

} // namespace Ambrel
