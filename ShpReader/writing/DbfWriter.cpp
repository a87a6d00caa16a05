#include "ShpReader/writing/DbfWriter.h"

#include "Ambrel/BLogger.h"
#include "ShpReader/writing/DbfTableStart.h"

#include <algorithm>
#include <array>

namespace Ambrel {

void DbfWriter::Prepare(BAttributeDefs const& fields) {
    std::vector<std::string> names;
    for (std::uint64_t i = 0; i < fields.GetCount(); ++i) {
        names.emplace_back(fields.GetAt(i).name.Utf8());
    }
    Prepare(fields, names);
}

void DbfWriter::Prepare(BAttributeDefs const& fields, std::span<std::string const> names) {
    header = MakeDbfHeader(fields);
    std::vector<char> const start = EncodeDbfTableStart(header, fields, names);
    output.Append(start.data(), start.size());
    isPrepared = true;
}

void DbfWriter::WriteRow(std::span<char const> row) {
    output.Append(row.data(), row.size());
    ++rowCount;
}

void DbfWriter::Finish() {
    isPrepared = false; // whatever happens, no row goes behind the end byte
    output.Append(&dbfEndOfFile, sizeof dbfEndOfFile);
    header.recordCount = rowCount;
    if (output.Flush()) {
        WriteHeader();
    }
    if (output.HasFailed()) {
        KeepWholeRows();
    }
    BLogger::Instance()->WriteLine(LOG_PROGRESS, "DBF-File: Closing DBF file");
    output.Close();
}

void DbfWriter::WriteHeader() {
    std::array<char, DbfHeader::size> bytes{};
    header.Encode(bytes.data());
    output.Replace(0, bytes.data(), bytes.size());
}

/// Makes a table of the rows that are stored whole, after a write has failed.
void DbfWriter::KeepWholeRows() {
    std::int64_t const stored = output.GetHandle().size();
    if (header.recordLength == 0 || stored < header.headerLength) {
        return;
    }
    std::int64_t const whole = (stored - header.headerLength) / header.recordLength;
    header.recordCount = static_cast<std::uint32_t>(std::min<std::int64_t>(rowCount, whole));
    output.Truncate(header.GetRecordPosition(header.recordCount));
    WriteHeader();
}

} // namespace Ambrel
