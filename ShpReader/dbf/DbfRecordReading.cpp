#include "Ambrel/BException.h"
#include "Ambrel/BInputFile.h"
#include "ShpReader/Report.h"
#include "ShpReader/dbf/BDbfFile.h"
#include "ShpReader/dbf/DbfFieldConversion.h"

#include <algorithm>

namespace Ambrel {

namespace {

constexpr char readRecordOperation[] = "BDbfFile::ReadAttributeRecord";

/// Appends the values of a record. `caches` has an entry for each field, or is null where texts
/// are not to be shared between records.
void ConvertRecord(std::string_view record, BAttributeDefs const& schema,
                   std::vector<std::int32_t> const& offsets, TextDecoder const& decoder,
                   TextCache* caches, BAttributes& attributes) {
    attributes.Reserve(attributes.GetCount() + offsets.size());
    for (std::size_t i = 0; i < offsets.size(); ++i) {
        BAttributeDef const& field = schema.GetAt(i);
        attributes.Add(field.name,
                       ConvertField(GetFieldBytes(record, offsets[i], field.width), field.GetType(),
                                    decoder, caches ? caches + i : nullptr));
    }
}

} // namespace

std::uint32_t BDbfFile::GetAttributeRecordCount() const {
    RequireMode(readMode, "BDbfFile::GetAttributeRecordCount");
    return header.recordCount;
}

void BDbfFile::ReadAttributeRecord(std::uint32_t index, BAttributes& attributes,
                                   bool useOwnHandle) {
    RequireMode(readMode, readRecordOperation);
    if (index >= header.recordCount) {
        throw BIndexOutOfBoundsException(
            readRecordOperation, BString::Format("SHP/DBF data mismatch (Index=%u, NumRecords=%u)",
                                                 index, header.recordCount));
    }
    if (useDefaultValues) {
        attributes = defaultAttributes;
    } else if (useOwnHandle) {
        ReadWithOwnHandle(index, attributes);
    } else {
        ReadWithPrivateHandle(index, attributes);
    }
}

bool BDbfFile::IsDeleted(std::uint32_t index) const {
    char mark = ' ';
    return !useDefaultValues && index < header.recordCount &&
           input->Read(header.GetRecordPosition(index), &mark, 1) == 1 && mark == '*';
}

void BDbfFile::ReadWithOwnHandle(std::uint32_t index, BAttributes& attributes) {
    std::string_view const record = window.Fetch(*input, header, index);
    if (record.size() < header.recordLength) {
        UseDefaults(index, attributes);
        return;
    }
    textCaches.resize(fieldOffsets.size());
    ConvertRecord(record, schema, fieldOffsets, decoder, textCaches.data(), attributes);
}

void BDbfFile::ReadWithPrivateHandle(std::uint32_t index, BAttributes& attributes) const {
    BInputFile const handle(path);
    if (!handle.IsOpen()) {
        throw BFileNotFoundException(readRecordOperation, path);
    }
    std::vector<char> buffer(header.recordLength);
    std::string_view const record(
        buffer.data(), handle.Read(header.GetRecordPosition(index), buffer.data(), buffer.size()));
    if (record.size() < header.recordLength) {
        UseDefaults(index, attributes);
        return;
    }
    ConvertRecord(record, schema, fieldOffsets, decoder, nullptr, attributes);
}

void BDbfFile::UseDefaults(std::uint32_t index, BAttributes& attributes) const {
    Report({.code = FindingCode::TableRowIncomplete, .file = path.Ascii(), .record = index});
    attributes = MakeDefaultAttributes();
}

bool BDbfFile::Read(std::int32_t maxCount) {
    RequireMode(readMode, "BDbfFile::Read");
    if (schema.GetCount() == 0) {
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
    auto const fields = static_cast<std::int64_t>(std::max<std::uint64_t>(schema.GetCount(), 1));
    std::int64_t const values = std::max(valuesPerByte * fileSize, leastValues);
    return static_cast<std::uint32_t>(
        std::min<std::int64_t>({fileSize, values / fields, 0xFFFFFFFF}));
}

} // namespace Ambrel
