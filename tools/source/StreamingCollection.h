#pragma once

#include "Ambrel/BFeatureCollection.h"

#include <functional>

namespace Ambrel::Tool {

/// Features that are handed on as they are added and then let go, so that a layer of any size is
/// read in constant memory. What a reader asks of a collection works; the rest does not.
class StreamingCollection final : public BFeatureCollection {
public:
    /// Takes each feature with its position. What it throws ends the read.
    using Consumer = std::function<void(std::uint64_t index, BFeature& feature)>;

    explicit StreamingCollection(Consumer newConsumer) : consume(std::move(newConsumer)) {}

    void Add(BSharedPtr<BFeature> const& feature) override { consume(count++, *feature); }
    using BFeatureCollection::Add;
    /// How many have passed.
    std::uint64_t GetCount() const override { return count; }
    void Clear() override { count = 0; }
    void Reserve(std::uint64_t) override {}

private:
    Consumer consume;
    std::uint64_t count = 0;
};

} // namespace Ambrel::Tool
