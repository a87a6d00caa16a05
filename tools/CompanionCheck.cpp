#include "CompanionCheck.h"

#include "ShpReader/dbf/DbfFormat.h"
#include "ShpReader/shp/ShpFormat.h"

#include "Ambrel/BFileUtilities.h"

#include <QFile>

#include <algorithm>

namespace Ambrel::Tool {

namespace {

/// The first bytes of the file; none when it has fewer.
QByteArray HeadOf(QFile& file, std::size_t size) {
    auto const wanted = static_cast<qint64>(size);
    QByteArray const head = file.open(QIODevice::ReadOnly) ? file.read(wanted) : QByteArray();
    return head.size() == wanted ? head : QByteArray();
}

/// The rows that the table's header states.
std::uint64_t RowCount(BString const& table) {
    QFile file(MakeQString(table));
    QByteArray const head = HeadOf(file, DbfHeader::size);
    return head.isEmpty() ? 0 : DbfHeader::Decode(head.constData()).recordCount;
}

/// Bytes up to where records may stand: what the file has behind the length that its header states
/// is padding. Without records in the index the file may never have been finished, and its header
/// is not relied on.
std::int64_t EndOfMainFile(BString const& shapefile, std::uint32_t records) {
    QFile file(MakeQString(shapefile));
    QByteArray const head = HeadOf(file, ShpFileHeader::size);
    if (records == 0 || head.isEmpty()) {
        return file.size();
    }
    auto const header =
        ShpFileHeader::Decode(reinterpret_cast<std::uint8_t const*>(head.constData()));
    return std::min<std::int64_t>(file.size(), 2 * std::int64_t{header.fileLength});
}

/// Where the last of the records that the index names ends in the main file, in bytes.
std::int64_t EndOfRecords(QFile& index) {
    constexpr qint64 entriesAtOnce = 8192;
    std::int64_t end = ShpFileHeader::size;
    index.seek(ShpFileHeader::size);
    QByteArray block;
    do {
        block = index.read(entriesAtOnce * ShpIndexEntry::size);
        auto const* const bytes = reinterpret_cast<std::uint8_t const*>(block.constData());
        for (std::size_t i = 0; i < block.size() / ShpIndexEntry::size; ++i) {
            ShpIndexEntry const entry = ShpIndexEntry::Decode(bytes + i * ShpIndexEntry::size);
            auto const size = std::int64_t{ShpRecordHeader::size} + entry.ContentSize();
            end = std::max(end, entry.RecordPosition() + size);
        }
    } while (!block.isEmpty());
    return end;
}

std::string Count(std::uint64_t count, std::string const& singular, std::string const& plural) {
    return std::to_string(count) + " " + (count == 1 ? singular : plural);
}

} // namespace

std::vector<std::string> CompanionProblems(BString const& shapefile) {
    auto const companion = [&](char const* extension) {
        return BFileUtilities::ChangeExtension(shapefile, BString::FromUtf8(extension));
    };
    std::vector<std::string> problems;
    QFile index(MakeQString(companion(".shx")));
    if (!index.open(QIODevice::ReadOnly)) {
        return {"the index can not be opened"};
    }
    auto const indexSize = static_cast<std::uint32_t>(index.size());
    std::uint32_t const records = ShpIndexEntry::CountIn(indexSize);
    if (ShpIndexEntry::PositionOf(records) != indexSize) {
        problems.push_back("the index is cut");
    }
    std::int64_t const lost = EndOfMainFile(shapefile, records) - EndOfRecords(index);
    if (lost > 0) {
        problems.push_back(Count(static_cast<std::uint64_t>(lost), "byte", "bytes") +
                           " behind the last record that the index names");
    }
    std::uint64_t const rows = RowCount(companion(".dbf"));
    if (rows != records) {
        problems.push_back("the table has " + Count(rows, "row", "rows") + " for " +
                           Count(records, "record", "records"));
    }
    return problems;
}

} // namespace Ambrel::Tool
