#include "Ambrel/BException.h"
#include "ShpReader/dbf/BDbfFile.h"
#include "ShpReader/dbf/DbfFieldFormatting.h"
#include "ShpReader/dbf/DbfFieldTypes.h"
#include "ShpReader/writing/DbfTableStart.h"
#include "ShpReader/writing/DbfWriter.h"

#include <algorithm>
#include <cstring>
#include <span>

namespace Ambrel {

namespace {

constexpr char buildOperation[] = "BDbfFile::Attributes2DbfRecord";

/// Bytes that a field takes in a record.
std::int32_t GetWrittenWidth(BAttributeDef const& field) {
    return IsTextType(field.GetType()) ? std::min(field.width, dbfMaxTextWidth) : field.width;
}

/// Bytes of the field that text may cover.
std::size_t GetCopyLength(BAttributeDef const& field, std::size_t writtenWidth) {
    return field.GetType() == VAR_DATE ? std::min(writtenWidth, dbfNoDate.size()) : writtenWidth;
}

void RequireWidth(std::int32_t width) {
    if (width <= 0) {
        throw BAttributeDataException("BDbfFile::CopyAttrData",
                                      BString::Format("Writing data, Width=%i", width));
    }
}

/// Copies the text into the field's place, which is blank; what does not fit is cut at its end.
void PlaceText(std::span<char> place, DbfFieldText const& text) {
    std::string_view const bytes = text.Get().substr(0, place.size());
    std::size_t const indent = text.IsRightAligned() ? place.size() - bytes.size() : 0;
    std::copy(bytes.begin(), bytes.end(), place.begin() + static_cast<std::ptrdiff_t>(indent));
}

} // namespace

void BDbfFile::Attributes2DbfRecord(char* record, std::uint16_t recordLength,
                                    BAttributes const& attributes, BAttributeDefs const& schema) {
    if (attributes.GetCount() > schema.GetCount()) {
        throw BAttributeDataException(
            buildOperation, BString::Format("Attributes=%llu, Fields=%llu",
                                            static_cast<unsigned long long>(attributes.GetCount()),
                                            static_cast<unsigned long long>(schema.GetCount())));
    }
    std::memset(record, dbfBlank, recordLength);
    std::span<char> rest(record, recordLength);
    rest = rest.subspan(std::min(dbfDeletionFlagSize, rest.size()));
    DbfFieldText text;
    for (std::uint64_t i = 0; i < attributes.GetCount(); ++i) {
        BAttributeDef const& field = schema.GetAt(i);
        if (!text.Format(attributes.GetAt(i).GetValue(), field)) {
            throw BAttributeDataException(
                buildOperation, BString::Format("Type=%i", static_cast<int>(field.GetType())));
        }
        std::int32_t const width = GetWrittenWidth(field);
        // A date's length is its own, so that its field may have no width at all.
        if (field.GetType() != VAR_DATE || width < 0) {
            RequireWidth(width);
        }
        auto const size = static_cast<std::size_t>(width);
        if (size > rest.size()) {
            throw BAttributeDataException(
                buildOperation, BString::Format("Field=%s, beyond the record", field.name.Ascii()));
        }
        PlaceText(rest.first(GetCopyLength(field, size)), text);
        rest = rest.subspan(size);
    }
}

void BDbfFile::CopyAttrData(char* destination, char const* text, std::int32_t width) {
    RequireWidth(width);
    for (std::int32_t i = 0; i < width && text[i] != '\0'; ++i) {
        destination[i] = text[i];
    }
}

void BDbfFile::PrepareForWriting(BAttributeDefs const& fields) {
    constexpr char operation[] = "BDbfFile::PrepareForWriting";
    RequireMode(writeMode, operation);
    if (writer->IsPrepared() || !writer->IsOpen()) {
        throw BAttributeDataException(
            operation,
            BString::Format("%s, File=%s", writer->IsPrepared() ? "Prepared already" : "Closed",
                            path.Ascii()));
    }
    schema = LimitDbfSchema(fields, operation);
    writer->Prepare(schema);
    header = writer->GetHeader();
    recordBuffer.resize(header.recordLength);
}

void BDbfFile::WriteAttributeRecord(BAttributes const& attributes) {
    if (!writer || !writer->IsPrepared()) {
        throw BAttributeDataException("BDbfFile::WriteAttributeRecord",
                                      BString::Format("Not prepared, File=%s", path.Ascii()));
    }
    Attributes2DbfRecord(recordBuffer.data(), static_cast<std::uint16_t>(recordBuffer.size()),
                         attributes, schema);
    writer->WriteRow(recordBuffer);
}

void BDbfFile::Write() {
    RequireMode(writeMode, "BDbfFile::Write");
    for (std::uint64_t i = 0; i < features.GetCount(); ++i) {
        WriteAttributeRecord(features.GetAt(i)->attributes);
    }
}

std::uint32_t BDbfFile::GetRecordsWritten() const noexcept {
    return writer ? writer->GetRowCount() : 0;
}

void BDbfFile::FinishTable() {
    writer->Finish();
    header = writer->GetHeader();
}

} // namespace Ambrel
