#include "commands/CompanionCheck.h"

#include "source/FindingReport.h"

#include "ShpReader/format/DbfFormat.h"
#include "ShpReader/format/Findings.h"
#include "ShpReader/format/ShpFormat.h"

#include "Ambrel/BFileUtilities.h"
#include "Ambrel/BInputFile.h"

#include <QFile>

#include <algorithm>
#include <array>
#include <vector>

namespace Ambrel::Tool {

namespace {

/// The rows that the table's header states.
std::int64_t RowCount(BString const& table) {
    std::array<char, DbfHeader::size> bytes{};
    BInputFile const file(table);
    bool const isWhole = file.IsOpen() && file.Read(0, bytes.data(), bytes.size()) == bytes.size();
    return isWhole ? DbfHeader::Decode(bytes.data()).recordCount : 0;
}

/// What the index says of the main file.
struct IndexedRecords {
    std::int64_t end = ShpFileHeader::size; ///< of the last record, in bytes
    std::int64_t lastStart = 0;             ///< of the same record
    std::vector<std::int32_t> offsets;      ///< as the entries have them, sorted
};

IndexedRecords ReadIndex(QFile& index) {
    constexpr qint64 entriesAtOnce = 8192;
    IndexedRecords records;
    index.seek(ShpFileHeader::size);
    QByteArray block;
    do {
        block = index.read(entriesAtOnce * ShpIndexEntry::size);
        auto const* const bytes = reinterpret_cast<std::uint8_t const*>(block.constData());
        for (std::size_t i = 0; i < block.size() / ShpIndexEntry::size; ++i) {
            ShpIndexEntry const entry = ShpIndexEntry::Decode(bytes + i * ShpIndexEntry::size);
            std::int64_t const start = entry.RecordPosition();
            std::int64_t const end =
                start + std::int64_t{ShpRecordHeader::size} + entry.ContentSize();
            if (end > records.end) {
                records.end = end;
                records.lastStart = start;
            }
            records.offsets.push_back(entry.offset);
        }
    } while (!block.isEmpty());
    std::sort(records.offsets.begin(), records.offsets.end());
    return records;
}

/// Whether the bytes at the position are a record, and not what else a file may end with.
bool HasRecordAt(QFile& mainFile, std::int64_t position) {
    std::array<char, ShpRecordHeader::size + shapeTypeSize> bytes{};
    if (!mainFile.seek(position) ||
        mainFile.read(bytes.data(), bytes.size()) < qint64{bytes.size()}) {
        return false;
    }
    auto const* const start = reinterpret_cast<std::uint8_t const*>(bytes.data());
    RecordContent const content(start + ShpRecordHeader::size, shapeTypeSize);
    std::int64_t const size =
        std::int64_t{shpBytesPerWord} * ShpRecordHeader::Decode(start).contentLength;
    return size >= std::int64_t{shapeTypeSize} && FindShapeType(ReadShapeType(content)) &&
           position + std::int64_t{ShpRecordHeader::size} + size <= mainFile.size();
}

/// How many of the sorted offsets are the same as the one before.
std::int64_t RepeatedIn(std::vector<std::int32_t> const& offsets) {
    std::int64_t repeated = 0;
    for (std::size_t i = 1; i < offsets.size(); ++i) {
        repeated += offsets[i] == offsets[i - 1];
    }
    return repeated;
}

} // namespace

void CheckCompanions(BString const& shapefile, FindingReport& report) {
    auto const companion = [&](char const* extension) {
        return BFileUtilities::ChangeExtension(shapefile, BString::FromUtf8(extension));
    };
    auto const has = [&](FindingCode code) {
        return report.CountOf(static_cast<std::uint32_t>(code)) > 0;
    };
    if (has(FindingCode::IndexSalvaged)) { // what there is of an index is not what was read
        return;
    }
    auto const add = [&](ToolFinding code, std::vector<std::int64_t> const& values) {
        report.Add(code, {}, {values.begin(), values.end()});
    };
    QFile index(MakeQString(companion(".shx")));
    if (!index.open(QIODevice::ReadOnly)) {
        return add(INDEX_UNREADABLE, {});
    }
    auto const indexSize = static_cast<std::uint32_t>(index.size());
    std::uint32_t const records = ShpIndexEntry::CountIn(indexSize);
    if (ShpIndexEntry::PositionOf(records) != indexSize) {
        add(INDEX_CUT, {});
    }
    IndexedRecords const indexed = ReadIndex(index);
    QFile mainFile(MakeQString(shapefile));
    if (!mainFile.open(QIODevice::ReadOnly)) {
        return add(MAIN_FILE_UNREADABLE, {});
    }
    if (std::int64_t const repeated = RepeatedIn(indexed.offsets); repeated > 0) {
        add(INDEX_REPEATS_RECORDS, {repeated});
    }
    if (HasRecordAt(mainFile, indexed.end)) {
        add(RECORD_BEHIND_LAST, {});
    }
    if (indexed.lastStart < mainFile.size() && mainFile.size() < indexed.end) {
        add(LAST_RECORD_CUT, {indexed.end - mainFile.size()});
    }
    std::int64_t const rows = RowCount(companion(".dbf"));
    bool const isTold = has(FindingCode::TableMissing) || has(FindingCode::TableSalvaged);
    if (rows != records && !isTold) {
        add(ROW_COUNT_DIFFERS, {rows, records});
    }
}

} // namespace Ambrel::Tool
