#pragma once

#include "source/FindingReport.h"

#include "Ambrel/BFeature.h"
#include "Ambrel/BRect.h"

#include <optional>

namespace Ambrel::Tool {

/// What a check of features has to know of their file.
struct FeatureExpectations {
    bool measuresAreHidden = false; ///< measures are there though the header's range denies them
    bool isGeographic = false;      ///< coordinates are longitudes and latitudes in degrees
};

/// Looks at the features of one file, and reports what no reader can call wrong.
class FeatureCheck final {
public:
    FeatureCheck(FindingReport& theReport, FeatureExpectations const& theExpectations)
        : report(theReport), expectations(theExpectations) {}

    /// `storedBox`: the rectangle that the record states, where one is known.
    void Take(std::uint64_t record, BFeature const& feature, std::optional<BRect> const& storedBox);

    /// The rectangle of all vertices that have been taken, empty where there are none.
    BRect const& Extent() const noexcept { return extent; }
    /// Whether a record's coordinates could not be taken into it.
    bool IsExtentKnown() const noexcept { return isExtentKnown; }

private:
    void LookAtGeometry(std::uint64_t record, BGeometry const& geometry,
                        std::optional<BRect> const& storedBox);
    void LookAtRings(BGeometry const& geometry);
    void LookAtBoxes(std::uint64_t record, BGeometry const& geometry,
                     std::optional<BRect> const& storedBox);
    void LookAtValues(std::uint64_t record, BFeature const& feature);
    void LookAtMeasures(BFeature const& feature);
    void CountIf(bool isFound, ToolFinding code);

    FindingReport& report;
    FeatureExpectations expectations;
    BRect extent;
    bool isExtentKnown = true;
};

/// Whether two rectangles are the same but for what rounding to 32 bits makes of them.
bool IsSameBox(BRect const& stated, BRect const& real);

} // namespace Ambrel::Tool
