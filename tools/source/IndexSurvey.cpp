#include "source/IndexSurvey.h"

#include "source/DecodingBudget.h"
#include "terminal/Interrupt.h"

#include "ShpReader/format/ShpFormat.h"

#include "Ambrel/BFileUtilities.h"
#include "Ambrel/BInputFile.h"

#include <algorithm>
#include <array>
#include <optional>

namespace Ambrel::Tool {

namespace {

constexpr std::uint64_t recordsPerLook = 4096; // between two looks at the user

/// The entries of an index, read in pieces.
template <class Visit>
void ForEachEntry(BInputFile const& index, std::uint64_t count, Visit&& visit) {
    std::vector<std::uint8_t> piece(recordsPerLook * ShpIndexEntry::size);
    for (std::uint64_t first = 0; first < count; first += recordsPerLook) {
        ThrowIfInterrupted();
        std::uint64_t const wanted = std::min(recordsPerLook, count - first) * ShpIndexEntry::size;
        auto const position = ShpIndexEntry::PositionOf(static_cast<std::uint32_t>(first));
        std::size_t const size = index.Read(position, piece.data(), wanted);
        for (std::size_t at = 0; at + ShpIndexEntry::size <= size; at += ShpIndexEntry::size) {
            visit(ShpIndexEntry::Decode(piece.data() + at));
        }
    }
}

/// The main file as far as the records' sizes are concerned.
class MainFile {
public:
    explicit MainFile(BString const& path) : file(path), size(file.GetSize()) {
        std::array<std::uint8_t, ShpFileHeader::size> bytes{};
        if (file.Read(0, bytes.data(), bytes.size()) == bytes.size()) {
            ShpFileHeader const header = ShpFileHeader::Decode(bytes.data());
            hasZ = header.HasZ();
            ShpFileHeader withRange = header; // measures count, whether they are delivered or not
            withRange.mMin = withRange.mMax = 1.0;
            hasMeasures = withRange.HasUsableMeasures();
        }
    }

    DecodingBudget Budget() const noexcept { return DecodingBudget(size); }

    /// Bytes of content that the entry claims and the file holds.
    std::uint64_t SizeOf(ShpIndexEntry const& entry) const noexcept {
        std::int64_t const start = entry.RecordPosition();
        auto const content =
            static_cast<std::uint64_t>(start + std::int64_t{ShpRecordHeader::size});
        return start < 0 || content >= size
                   ? 0
                   : std::min<std::uint64_t>(entry.ContentSize(), size - content);
    }

    /// Bytes of it that are decoded.
    std::uint64_t DecodedSizeOf(ShpIndexEntry const& entry) const {
        std::array<std::uint8_t, mostBytesWithCounts> start{};
        std::uint64_t const content = SizeOf(entry);
        std::int64_t const position = entry.RecordPosition() + std::int64_t{ShpRecordHeader::size};
        std::size_t const read =
            content == 0
                ? 0
                : file.Read(position, start.data(), std::min<std::uint64_t>(content, start.size()));
        return BytesToDecode(RecordContent(start.data(), read), content, hasZ, hasMeasures);
    }

private:
    BInputFile file;
    std::uint64_t size;
    bool hasZ = false;
    bool hasMeasures = false;
};

} // namespace

IndexSurvey::IndexSurvey(BString const& shapefile) {
    BInputFile const index(BFileUtilities::ChangeExtension(shapefile, BString::FromUtf8(".shx")));
    if (!index.IsOpen()) {
        return;
    }
    recordCount = ShpIndexEntry::CountIn(static_cast<std::uint32_t>(index.GetSize()));
    MainFile const main(shapefile);
    std::uint64_t claimed = 0;
    std::optional<std::int32_t> firstLength;
    ForEachEntry(index, recordCount, [&](ShpIndexEntry const& entry) {
        claimed += main.SizeOf(entry);
        firstLength = firstLength.value_or(entry.contentLength);
    });
    bool const isTight = claimed > main.Budget().Left();
    needsFetches = isTight || firstLength == 0;
    if (!isTight) {
        return;
    }
    DecodingBudget budget = main.Budget();
    ForEachEntry(index, recordCount, [&](ShpIndexEntry const& entry) {
        isRefused.push_back(!budget.Take(main.DecodedSizeOf(entry)));
    });
}

} // namespace Ambrel::Tool
