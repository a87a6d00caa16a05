#include "cache/FeatureBlock.h"

#include "Ambrel/BFeatureCollection.h"
#include "cache/GeometryStream.h"

#include <algorithm>
#include <array>

namespace Ambrel {

namespace {

/// Stands at the start of a collection's bytes, with the version of their form.
constexpr std::uint64_t collectionMark = 0x0000'0001'4346'4241U; // "ABFC", 1

constexpr std::uint64_t featuresPerStreamBlock = 1024;

} // namespace

FeatureBlock::FeatureBlock() : bytes(headSize) {}

void FeatureBlock::Add(BFeature const& feature) {
    std::size_t const start = bytes.size();
    starts.push_back(start);
    try {
        WriteFeature(feature, bytes, texts);
    } catch (...) {
        starts.pop_back();
        bytes.resize(start);
        throw;
    }
}

void FeatureBlock::Replace(std::uint64_t index, BFeature const& feature) {
    BByteArray replacement;
    WriteFeature(feature, replacement, texts);
    std::size_t const oldSize = FeatureSize(index);
    std::size_t const kept = std::min(oldSize, replacement.size());
    auto const place = bytes.begin() + static_cast<std::ptrdiff_t>(Start(index));
    auto const placeEnd = place + static_cast<std::ptrdiff_t>(kept);
    auto const rest = replacement.begin() + static_cast<std::ptrdiff_t>(kept);
    if (oldSize > kept) {
        bytes.erase(placeEnd, place + static_cast<std::ptrdiff_t>(oldSize));
    } else {
        bytes.insert(placeEnd, rest, replacement.end());
    }
    // The room is there now; the iterators may not be.
    std::copy(replacement.begin(), rest, bytes.data() + Start(index));
    MoveStarts(index + 1, oldSize, replacement.size());
}

void FeatureBlock::Remove(std::uint64_t index) {
    std::size_t const size = FeatureSize(index);
    auto const place = bytes.begin() + static_cast<std::ptrdiff_t>(Start(index));
    bytes.erase(place, place + static_cast<std::ptrdiff_t>(size));
    starts.erase(starts.begin() + static_cast<std::ptrdiff_t>(index));
    MoveStarts(index, size, 0);
}

void FeatureBlock::MoveStarts(std::uint64_t first, std::size_t oldSize, std::size_t size) noexcept {
    for (std::uint64_t i = first; i < starts.size(); ++i) {
        starts[i] = starts[i] - oldSize + size;
    }
}

BSharedPtr<BFeature> FeatureBlock::Read(std::uint64_t index, char const* operation) const {
    ByteReader reader = ReaderOf(index, operation);
    return ReadFeature(reader, texts);
}

BSharedPtr<BGeometry> FeatureBlock::ReadGeometry(std::uint64_t index, char const* operation) const {
    ByteReader reader = ReaderOf(index, operation);
    return Ambrel::ReadGeometry(reader);
}

void FeatureBlock::Clear() noexcept {
    bytes.resize(headSize);
    if (bytes.capacity() > 4 * fullSize) {
        bytes.shrink_to_fit(); // one huge feature shall not hold its room for ever
    }
    starts.clear();
    texts.Clear();
}

std::size_t FeatureBlock::EncodedSize() const noexcept {
    return bytes.size() + texts.EncodedSize() + starts.size() * sizeof(std::uint64_t);
}

void FeatureBlock::Seal() {
    std::array<std::uint64_t, 3> const head = {FeaturesSize(), texts.EncodedSize(), Count()};
    bytes.reserve(EncodedSize());
    std::memcpy(bytes.data(), head.data(), headSize);
    texts.Write(bytes);
    AppendBytes(bytes, starts.data(), starts.size() * sizeof(std::uint64_t));
}

void FeatureBlock::Unseal() noexcept {
    std::uint64_t featuresSize = 0;
    std::memcpy(&featuresSize, bytes.data(), sizeof featuresSize);
    bytes.resize(headSize + featuresSize);
}

FeatureBlock FeatureBlock::Decode(BByteArray&& encoded, char const* operation) {
    ByteReader reader(operation, encoded.data(), encoded.size());
    auto const featuresSize = reader.Value<std::uint64_t>();
    auto const textsSize = reader.Value<std::uint64_t>();
    auto const count = reader.Value<std::uint64_t>();
    reader.Take(featuresSize);
    ByteReader texts(operation, reader.Take(textsSize), textsSize);
    if (reader.Remaining() % sizeof(std::uint64_t) != 0 ||
        reader.Remaining() / sizeof(std::uint64_t) != count) {
        reader.Fail("a block has another number of features");
    }
    FeatureBlock block;
    block.texts = TextTable::Read(texts);
    block.starts.resize(count);
    std::uint64_t last = headSize;
    for (std::uint64_t& start : block.starts) {
        start = reader.Value<std::uint64_t>();
        if (start < last || start >= headSize + featuresSize) {
            reader.Fail("the features of a block are out of order");
        }
        last = start;
    }
    block.bytes = std::move(encoded);
    block.bytes.resize(headSize + featuresSize);
    return block;
}

namespace {

/// Hands the features that are not left out to `use` block by block, and returns their number.
template <class Use>
std::uint64_t ForEachBlock(BFeatureCollection const& features, Use const& use) {
    FeatureBlock block;
    std::uint64_t held = 0;
    std::uint64_t const count = features.GetCount();
    for (std::uint64_t i = 0; i < count; ++i) {
        if (BSharedPtr<BFeature> const feature = features.GetAt(i)) {
            block.Add(*feature);
            ++held;
        }
        if (block.Count() == featuresPerStreamBlock ||
            block.FeaturesSize() >= FeatureBlock::fullSize ||
            (i + 1 == count && block.Count() > 0)) {
            use(block);
            block.Clear();
        }
    }
    return held;
}

} // namespace

void WriteCollection(BFeatureCollection const& features, BByteArray& bytes) {
    std::size_t const start = bytes.size();
    try {
        AppendValue(bytes, collectionMark);
        std::size_t const countAt = bytes.size();
        AppendValue(bytes, std::uint64_t{0});
        std::uint64_t const count = ForEachBlock(features, [&](FeatureBlock& block) {
            AppendValue(bytes, std::uint64_t{block.EncodedSize()});
            block.Encode([&](BByteArray const& encoded) {
                AppendBytes(bytes, encoded.data(), encoded.size());
            });
        });
        std::memcpy(bytes.data() + countAt, &count, sizeof count);
    } catch (...) {
        bytes.resize(start);
        throw;
    }
}

std::uint64_t SizeOfCollection(BFeatureCollection const& features) {
    std::uint64_t size = 2 * sizeof(std::uint64_t);
    ForEachBlock(features, [&](FeatureBlock const& block) {
        size += sizeof(std::uint64_t) + block.EncodedSize();
    });
    return size;
}

CollectionReader::CollectionReader(BByteArray const& source, std::uint64_t position,
                                   char const* operationName)
    : bytes(source), operation(operationName), reader(operationName, source.data(), source.size()) {
    if (position > bytes.size()) {
        reader.Fail("the position is behind the bytes");
    }
    reader.Take(position);
    if (reader.Value<std::uint64_t>() != collectionMark) {
        reader.Fail("the bytes are not those of a collection");
    }
    remaining = reader.Value<std::uint64_t>();
}

BSharedPtr<BFeature> CollectionReader::Next() {
    if (remaining == 0) {
        return BSharedPtr<BFeature>();
    }
    if (nextInBlock == block.Count()) {
        ReadBlock();
    }
    --remaining;
    return block.Read(nextInBlock++, operation);
}

void CollectionReader::ReadBlock() {
    auto const size = reader.Value<std::uint64_t>();
    std::uint8_t const* const encoded = reader.Take(size);
    block = FeatureBlock::Decode(BByteArray(encoded, encoded + size), operation);
    nextInBlock = 0;
    if (block.Count() == 0 || block.Count() > remaining) {
        reader.Fail("a block has another number of features");
    }
}

} // namespace Ambrel
