#include "Ambrel/BAggregate.h"

#include "geometry/VertexBox.h"

#include <type_traits>

namespace Ambrel {

template <class Holder>
BAggregate<Holder>::~BAggregate() = default;

template <class Holder>
BBox BAggregate<Holder>::ComputeMBB() const {
    BBox box;
    for (Holder const& member : members) {
        if (member) {
            box.Union(BoxOfPart(*member, is3d));
        }
    }
    return box;
}

template <class Holder>
void BAggregate<Holder>::Transform(BTransform const& transform, bool reverse) {
    for (Holder const& member : members) {
        if (member) {
            member->Transform(transform, reverse);
        }
    }
}

template <class Holder>
void BAggregate<Holder>::CloneMembers(BAggregate const& other) {
    using Member = std::remove_pointer_t<decltype(std::declval<Holder>().Get())>;
    members.reserve(members.size() + other.members.size());
    for (Holder const& member : other.members) {
        if (!member) {
            members.push_back(Holder());
            continue;
        }
        BSharedPtr<BGeometry> const copy = member->Clone();
        members.push_back(Holder(copy, static_cast<Member*>(copy.Get())));
    }
}

template class BAggregate<BSharedPtr<BPointGeo>>;
template class BAggregate<BSharedPtr<BLinearGeo>>;
template class BAggregate<BSharedPtr<BAreaGeo>>;

BAggregatePoint::~BAggregatePoint() = default;
BAggregateLinear::~BAggregateLinear() = default;
BAggregateArea::~BAggregateArea() = default;

BSharedPtr<BGeometry> BAggregatePoint::Clone() const {
    BSharedPtr<BAggregatePoint> const copy(new BAggregatePoint);
    copy->is3d = is3d;
    copy->CloneMembers(*this);
    return copy;
}

BSharedPtr<BGeometry> BAggregateLinear::Clone() const {
    BSharedPtr<BAggregateLinear> const copy(new BAggregateLinear);
    copy->is3d = is3d;
    copy->CloneMembers(*this);
    return copy;
}

BSharedPtr<BGeometry> BAggregateArea::Clone() const {
    BSharedPtr<BAggregateArea> const copy(new BAggregateArea);
    copy->is3d = is3d;
    copy->CloneMembers(*this);
    return copy;
}

} // namespace Ambrel
