#pragma once

#include "Testing.h"

namespace Ambrel::Test {

/// A line or a ring.
template <class T>
BSharedPtr<T> WithVertices(std::vector<BPoint> const& vertices, bool in3d = false) {
    BSharedPtr<T> geometry(new T);
    for (BPoint const& vertex : vertices) {
        geometry->AddPoint(vertex);
    }
    geometry->is3d = in3d;
    return geometry;
}

/// A point with the attribute "number", which it also stands at: (number, 2 * number).
BSharedPtr<BFeature> NumberedPoint(int number);
/// A line of so many vertices.
BSharedPtr<BFeature> LongLine(int number, int vertices);
/// One feature with each kind of geometry, nested and in three dimensions too, and one with none;
/// between them they have values of every type.
std::vector<BSharedPtr<BFeature>> FeaturesOfAllKinds();

/// All that a feature consists of, as text that is the same for equal features alone.
std::string Describe(BFeature const& feature);
std::vector<std::string> Describe(BFeatureCollection const& features);

/// The values of the first attribute.
std::vector<int> Numbers(BFeatureCollection const& features);

/// Moves positions by 100 to the right.
class Shift : public BTransform {
public:
    void Forward(BPoint& point) const override { point.X += 100; }
    void Reverse(BPoint& point) const override { point.X -= 100; }
};

/// Ends the operation at the report on the given feature; wants no report on odd ones.
class EndAt : public BProgress {
public:
    explicit EndAt(std::uint32_t newLast) : last(newLast) {}
    bool WantsReport(std::uint32_t done, std::uint32_t) override { return done % 2 == 0; }
    bool Report(std::uint32_t done, std::uint32_t) override { return done < last; }

private:
    std::uint32_t last;
};

} // namespace Ambrel::Test
