// Which records meet an area, by their stored rectangles.

#include "ShpReader/shp/BShpFile.h"

#include "ShpReader/shp/RecordAccess.h"

namespace Ambrel {

namespace {

/// Rectangles that are not empty and have no bound that is not a number.
bool IsCandidate(BRect const& rectangle) noexcept {
    return rectangle.xMax >= rectangle.xMin && rectangle.yMax >= rectangle.yMin;
}

} // namespace

template <class Visit>
void BShpFile::VisitRecordsInArea(char const* operation, BRect const& area, Visit visit) const {
    RequireMode(readMode, "BShpFile::ReadFeature");
    RecordAccess access(RequireRecords(operation), {}, RecordAccess::scanPiece);
    for (std::uint32_t index = 0; index < recordCount; ++index) {
        BRect const rectangle = GetRecordMBR(access.ReadRecord(index));
        if (IsCandidate(rectangle) && area.Meets(rectangle) && !IsLeftOut(index) && !visit(index)) {
            return;
        }
    }
}

bool BShpFile::HasFeaturesInArea(BRect const& area, BParamList const& /*params*/) const {
    bool found = false;
    VisitRecordsInArea("BShpFile::HasFeaturesInArea", area, [&](std::uint32_t) {
        found = true;
        return false;
    });
    return found;
}

void BShpFile::SelectFeatures(BRect const& area, BParamList const& /*params*/,
                              std::vector<std::uint64_t>& result) const {
    VisitRecordsInArea("BShpFile::SelectFeatures", area, [&](std::uint32_t index) {
        result.push_back(index);
        return true;
    });
}

} // namespace Ambrel
