#include "Ambrel/BException.h"
#include "Ambrel/BLogger.h"
#include "ShpReader/dbf/BDbfFile.h"
#include "ShpReader/dbf/DbfFieldFormatting.h"

#include <QFile>

#include <algorithm>
#include <array>
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

void BDbfFile::WriteAttributeRecord(BAttributes const& attributes) {
    if (!isPrepared) {
        throw BAttributeDataException("BDbfFile::WriteAttributeRecord",
                                      BString::Format("Not prepared, File=%s", path.Ascii()));
    }
    Attributes2DbfRecord(recordBuffer.data(), writeRecordLength, attributes, schema);
    WriteBytes(recordBuffer.data(), recordBuffer.size());
    ++recordsWritten;
}

void BDbfFile::Write() {
    RequireMode(writeMode, "BDbfFile::Write");
    for (std::uint64_t i = 0; i < features.GetCount(); ++i) {
        WriteAttributeRecord(features.GetAt(i)->attributes);
    }
}

void BDbfFile::WriteBytes(char const* bytes, std::size_t count) {
    if (file->write(bytes, static_cast<qint64>(count)) != static_cast<qint64>(count)) {
        ReportFailedWrite();
    }
}

void BDbfFile::ReportFailedWrite() {
    if (!hasFailedWrite) {
        hasFailedWrite = true;
        BLogger::Instance()->WriteLine(LOG_FATAL, "DBF-File: Writing failed. File=%s",
                                       path.Ascii());
    }
}

void BDbfFile::FinishTable() {
    isPrepared = false; // whatever happens, no record goes behind the end byte
    WriteBytes(&dbfEndOfFile, sizeof dbfEndOfFile);
    header.recordCount = recordsWritten;
    bool const isStored = file->flush() && WriteHeader(*file) && file->flush();
    BLogger::Instance()->WriteLine(LOG_PROGRESS, "DBF-File: Closing DBF file");
    file->close();
    if (!isStored) {
        ReportFailedWrite();
        KeepWholeRecords();
    }
}

bool BDbfFile::WriteHeader(QFile& handle) const {
    std::array<char, DbfHeader::size> bytes{};
    header.Encode(bytes.data());
    return handle.seek(0) && handle.write(bytes.data(), bytes.size()) == bytes.size();
}

/// Makes a table of the records that are stored whole, after a write has failed. Through a handle
/// of its own: what could not be written stays in the other, and would go where the header is.
void BDbfFile::KeepWholeRecords() {
    QFile stored(file->fileName());
    if (header.recordLength == 0 ||
        !stored.open(QIODevice::ReadWrite | QIODevice::Unbuffered | QIODevice::ExistingOnly) ||
        stored.size() < header.headerLength) {
        return;
    }
    std::int64_t const whole = (stored.size() - header.headerLength) / header.recordLength;
    header.recordCount = static_cast<std::uint32_t>(std::min<std::int64_t>(recordsWritten, whole));
    stored.resize(header.GetRecordPosition(header.recordCount));
    WriteHeader(stored);
}

} // namespace Ambrel
