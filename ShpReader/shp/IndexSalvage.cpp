#include "ShpReader/shp/IndexSalvage.h"

#include "Ambrel/BReadAhead.h"

#include <array>
#include <limits>
#include <vector>

namespace Ambrel {

namespace {

constexpr std::size_t piece = 256 * 1024;
/// Record headers stand at even positions, and no record takes fewer bytes.
constexpr std::uint64_t step = shpBytesPerWord;
constexpr std::uint64_t leastRecordSize = ShpRecordHeader::size + shapeTypeSize;

/// What may be a record.
struct Candidate {
    std::uint64_t end; ///< of its content, in bytes of the main file
    std::uint32_t number;
    std::int32_t type;
    bool isExact; ///< its length is what its type and counts take
};

class MainFileWalk {
public:
    explicit MainFileWalk(BInputFile const& main)
        : size(main.GetSizeAtOpen()), bytes(main, size, piece, storage) {
        std::array<std::uint8_t, ShpFileHeader::size> header{};
        main.Read(0, header.data(), header.size());
        fileType = ShpFileHeader::Decode(header.data()).shapeType;
    }

    std::vector<ShpIndexEntry> Walk() {
        std::uint64_t position = ShpFileHeader::size;
        while (IsPlace(position)) {
            std::optional<Candidate> candidate = LookAt(position);
            if (!candidate || !(candidate->isExact || IsFollowed(*candidate))) {
                candidate = FindNext(position);
            }
            if (!candidate) {
                break;
            }
            Add(position, *candidate);
            position = candidate->end;
        }
        return std::move(entries);
    }

private:
    /// Whether a record may stand there that an index entry can name.
    bool IsPlace(std::uint64_t position) const noexcept {
        constexpr std::uint64_t mostWords = std::numeric_limits<std::int32_t>::max();
        return position + leastRecordSize <= size && position / shpBytesPerWord <= mostWords;
    }

    std::optional<Candidate> LookAt(std::uint64_t position) {
        auto const held =
            bytes.View(static_cast<std::int64_t>(position), storage.size() / 2, storage.size());
        if (!held || held->size() < leastRecordSize) {
            return std::nullopt;
        }
        ShpRecordHeader const header = ShpRecordHeader::Decode(held->data());
        RecordContent const start(held->subspan(ShpRecordHeader::size));
        std::uint64_t const length = std::uint64_t{shpBytesPerWord} * header.contentLength;
        std::int32_t const type = ReadShapeType(start);
        if (!FindShapeType(type) || length < shapeTypeSize) {
            return std::nullopt;
        }
        return Candidate{position + ShpRecordHeader::size + length, header.recordNumber, type,
                         HasExactSize(start, length)};
    }

    bool IsOfThisFile(Candidate const& candidate) const noexcept {
        return candidate.end <= size && (candidate.type == fileType || candidate.type == 0);
    }

    /// Whether another record follows, or the end.
    bool IsFollowed(Candidate const& candidate) {
        if (!IsPlace(candidate.end)) {
            return candidate.end <= size;
        }
        std::optional<Candidate> const next = LookAt(candidate.end);
        return next && IsOfThisFile(*next);
    }

    /// How many records were lost between the last one and this, if its number says so.
    std::optional<std::uint32_t> CountLost(Candidate const& candidate,
                                           std::uint64_t skippedBytes) const noexcept {
        std::uint32_t const lost = candidate.number - lastNumber - 1;
        return lost <= skippedBytes / leastRecordSize ? std::optional(lost) : std::nullopt;
    }

    /// The next record behind `position`, which moves there.
    std::optional<Candidate> FindNext(std::uint64_t& position) {
        for (std::uint64_t place = position + step; IsPlace(place); place += step) {
            std::optional<Candidate> const candidate = LookAt(place);
            if (!candidate || !candidate->isExact || !IsOfThisFile(*candidate)) {
                continue;
            }
            std::optional<std::uint32_t> const lost = CountLost(*candidate, place - position);
            if (lost || (candidate->type != 0 && IsFollowed(*candidate))) {
                constexpr ShpIndexEntry nowhere{-1, shapeTypeSize / shpBytesPerWord};
                entries.insert(entries.end(), lost.value_or(0), nowhere);
                position = place;
                return candidate;
            }
        }
        return std::nullopt;
    }

    void Add(std::uint64_t position, Candidate const& candidate) {
        std::uint64_t const length = candidate.end - position - ShpRecordHeader::size;
        entries.push_back({static_cast<std::int32_t>(position / shpBytesPerWord),
                           static_cast<std::int32_t>(length / shpBytesPerWord)});
        lastNumber = candidate.number;
    }

    std::uint64_t size;
    std::array<std::uint8_t, 2 * (ShpRecordHeader::size + mostBytesWithCounts)> storage{};
    BReadAhead bytes;
    std::int32_t fileType = 0;
    std::vector<ShpIndexEntry> entries;
    std::uint32_t lastNumber = 0;
};

/// Whether the entry points at a record whose length agrees, by its header or by its counts.
bool IsUsable(ShpIndexEntry const& entry, BInputFile const& main) {
    std::int64_t const position = entry.RecordPosition();
    std::array<std::uint8_t, ShpRecordHeader::size + mostBytesWithCounts> bytes{};
    if (position < std::int64_t{ShpFileHeader::size} || entry.contentLength <= 0) {
        return false;
    }
    std::size_t const held = main.Read(position, bytes.data(), bytes.size());
    if (held < ShpRecordHeader::size) {
        return false;
    }
    RecordContent const start(bytes.data() + ShpRecordHeader::size, held - ShpRecordHeader::size);
    return ShpRecordHeader::Decode(bytes.data()).contentLength ==
               static_cast<std::uint32_t>(entry.contentLength) ||
           HasExactSize(start, entry.ContentSize());
}

} // namespace

bool HasUsableEntry(BInputFile const& main, BInputFile const& index) {
    BReadAhead entries(index, index.GetSizeAtOpen(), piece);
    std::uint32_t const count =
        ShpIndexEntry::CountIn(static_cast<std::uint32_t>(index.GetSizeAtOpen()));
    for (std::uint32_t i = 0; i < count; ++i) {
        std::array<std::uint8_t, ShpIndexEntry::size> bytes{};
        entries.Read(ShpIndexEntry::PositionOf(i), bytes.data(), bytes.size(), bytes.size());
        if (IsUsable(ShpIndexEntry::Decode(bytes.data()), main)) {
            return true;
        }
    }
    return false;
}

std::shared_ptr<IndexCopy const> MakeIndex(BInputFile const& main) {
    std::vector<ShpIndexEntry> const entries = MainFileWalk(main).Walk();
    auto copy = std::make_shared<IndexCopy>();
    copy->size = ShpIndexEntry::size * entries.size();
    copy->entries.reset(new std::uint8_t[copy->size]);
    std::uint8_t* place = copy->entries.get();
    for (ShpIndexEntry const& entry : entries) {
        entry.Encode(place);
        place += ShpIndexEntry::size;
    }
    return copy;
}

} // namespace Ambrel
