#pragma once

#include "cache/FeatureStream.h"

#include <cstdint>
#include <vector>

namespace Ambrel {

class BFeatureCollection;

/// A page's worth of features, held as the bytes that go to the disk or into a stream: a head, the
/// features one after the other, the texts that they share, and where each feature starts.
class FeatureBlock final {
public:
    /// A block of this many bytes is full, however few features it has.
    static constexpr std::size_t fullSize = std::size_t{1} << 20;

    FeatureBlock();

    /// Appends the feature. If that fails, the block stays as it was.
    void Add(BFeature const& feature);
    /// REQUIRES, also below: index < Count().
    void Replace(std::uint64_t index, BFeature const& feature);
    void Remove(std::uint64_t index);
    /// A new object at every call.
    BSharedPtr<BFeature> Read(std::uint64_t index, char const* operation) const;
    BSharedPtr<BGeometry> ReadGeometry(std::uint64_t index, char const* operation) const;

    std::uint64_t Count() const noexcept { return starts.size(); }
    /// The size in bytes of all features, and of one.
    std::size_t FeaturesSize() const noexcept { return bytes.size() - headSize; }
    std::size_t FeatureSize(std::uint64_t index) const noexcept {
        return End(index) - Start(index);
    }
    /// Removes the features and keeps the room of a block.
    void Clear() noexcept;

    /// The size in bytes of the whole block.
    std::size_t EncodedSize() const noexcept;
    /// Calls `use` with the bytes of the whole block.
    template <class Use>
    void Encode(Use const& use) {
        Seal();
        try {
            use(static_cast<BByteArray const&>(bytes));
        } catch (...) {
            Unseal();
            throw;
        }
        Unseal();
    }
    /// The block whose bytes these are. Throws BFileContentNotValidException with the operation.
    static FeatureBlock Decode(BByteArray&& encoded, char const* operation);

private:
    static constexpr std::size_t headSize = 3 * sizeof(std::uint64_t);

    std::size_t Start(std::uint64_t index) const noexcept { return starts[index]; }
    std::size_t End(std::uint64_t index) const noexcept {
        return index + 1 < starts.size() ? starts[index + 1] : bytes.size();
    }
    ByteReader ReaderOf(std::uint64_t index, char const* operation) const noexcept {
        return ByteReader(operation, bytes.data() + Start(index), FeatureSize(index));
    }
    void MoveStarts(std::uint64_t first, std::size_t oldSize, std::size_t size) noexcept;
    void Seal();
    void Unseal() noexcept;

    BByteArray bytes; ///< the head and the features
    std::vector<std::uint64_t> starts;
    TextTable texts;
};

/// What ToByteArray of every kind of collection appends, and its size in bytes. The features are
/// asked for one by one; a block of them is held.
void WriteCollection(BFeatureCollection const& features, BByteArray& bytes);
std::uint64_t SizeOfCollection(BFeatureCollection const& features);

/// Takes the features of a collection one by one from the bytes that WriteCollection has written.
/// Throws BFileContentNotValidException with the operation.
class CollectionReader final {
public:
    CollectionReader(BByteArray const& source, std::uint64_t position, char const* operationName);

    /// The next feature; an empty holder after the last one.
    BSharedPtr<BFeature> Next();
    /// Behind the last byte of the block that Next read from.
    std::uint64_t Position() const noexcept { return bytes.size() - reader.Remaining(); }

private:
    void ReadBlock();

    BByteArray const& bytes;
    char const* operation;
    ByteReader reader;
    std::uint64_t remaining = 0; ///< features that are not read yet
    FeatureBlock block;
    std::uint64_t nextInBlock = 0;
};

} // namespace Ambrel
