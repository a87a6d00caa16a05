#pragma once

#include "Ambrel/BAreaGeo.h"

#include <vector>

namespace Ambrel {

/// A geometry of several members. `Holder` is the BSharedPtr that holds one.
template <class Holder>
class AMBREL_API BAggregate : public BGeometry {
public:
    ~BAggregate() override;

    void Reserve(std::uint64_t count) { members.reserve(count); }
    void Add(Holder const& member) { members.push_back(member); }
    void Add(Holder&& member) { members.push_back(std::move(member)); }
    std::uint64_t GetCount() const noexcept { return members.size(); }
    /// REQUIRES: index < GetCount().
    Holder const& GetGeometryAt(std::uint64_t index) const noexcept { return members[index]; }

    BBox ComputeMBB() const override;
    void Transform(BTransform const& transform, bool reverse) override;

protected:
    using BGeometry::BGeometry;
    /// Adds copies of the members of `other`.
    void CloneMembers(BAggregate const& other);

private:
    std::vector<Holder> members;
};

// Instantiated in the host library alone, so that no table of virtual operations is left behind in
// a plug-in that is unloaded while its geometries live on.
extern template class AMBREL_API BAggregate<BSharedPtr<BPointGeo>>;
extern template class AMBREL_API BAggregate<BSharedPtr<BLinearGeo>>;
extern template class AMBREL_API BAggregate<BSharedPtr<BAreaGeo>>;

/// Several points as one geometry.
class AMBREL_API BAggregatePoint final : public BAggregate<BSharedPtr<BPointGeo>> {
public:
    BAggregatePoint() noexcept : BAggregate(GEO_AGGREGATE_POINT) {}
    ~BAggregatePoint() override;
    BSharedPtr<BGeometry> Clone() const override;
};

/// A line of several parts.
class AMBREL_API BAggregateLinear final : public BAggregate<BSharedPtr<BLinearGeo>> {
public:
    BAggregateLinear() noexcept : BAggregate(GEO_AGGREGATE_LINEAR) {}
    ~BAggregateLinear() override;
    BSharedPtr<BGeometry> Clone() const override;
};

/// An area of several parts, each with its own shell.
class AMBREL_API BAggregateArea final : public BAggregate<BSharedPtr<BAreaGeo>> {
public:
    BAggregateArea() noexcept : BAggregate(GEO_AGGREGATE_AREA) {}
    ~BAggregateArea() override;
    BSharedPtr<BGeometry> Clone() const override;
};

} // namespace Ambrel
