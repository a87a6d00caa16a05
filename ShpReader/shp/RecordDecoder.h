#pragma once

#include "Ambrel/BFeature.h"
#include "ShpReader/format/ShpFormat.h"
#include "ShpReader/shp/RecordFindings.h"

namespace Ambrel {

/// Makes a feature of one record content: its geometry, and its Z and measures as metadata. It
/// knows no file but for two facts from the header of its main file.
class RecordDecoder {
public:
    /// `hasZ`, `hasMeasures`: whether records of the file bring them.
    RecordDecoder(bool newHasZ, bool newHasMeasures) noexcept
        : hasZ(newHasZ), hasMeasures(newHasMeasures) {}

    /// Never returns an empty holder; content that is not valid gives a feature without geometry.
    /// What is found is added to `findings`, also before an exception. Throws
    /// BUnknownGeometryException ("BShpFile::Read") for types that cannot be decoded.
    BSharedPtr<BFeature> Decode(RecordContent content, RecordFindings& findings) const;

private:
    BSharedPtr<BFeature> MakeFeature() const;
    BSharedPtr<BFeature> ReadPoint(RecordContent content, RecordFindings& findings) const;
    BSharedPtr<BFeature> ReadVertices(ShapeLayout layout, RecordContent content,
                                      RecordFindings& findings) const;

    bool hasZ;
    bool hasMeasures;
};

} // namespace Ambrel
