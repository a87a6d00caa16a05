#pragma once

#include "Ambrel/BDirectAccessFeatureCollection.h"
#include "Ambrel/BSharedPtr.h"

namespace Ambrel {

class BShpFile;

/// The features of a shapefile, left in the file: every question is answered from the file at the
/// moment it is asked. The file stays open as long as a collection holds it.
///
/// Records are counted from 0 in the order of the index. An index that is not below GetCount()
/// gives BIndexOutOfBoundsException: "Index=%llu, NumRecords=%u", or from the host's GetAt and
/// GetGeometryAt "Index=%llu, Count=%llu". A file that is not open for reading gives
/// BReadWriteMismatchException, one that is gone BFileNotFoundException.
///
/// Threads: several may fetch, select and draw at once, through one collection or several of the
/// same file, while one thread at a time calls GetFeatureMBRAt, whose result is the collection's.
class AMBREL_API BShpFeatureCollection : public BDirectAccessFeatureCollection {
public:
    /// Shares the file. Sets the geometry counts: all records, in the class and type of the file's
    /// shape type, null shapes included; none for null, multipatch and unknown types.
    explicit BShpFeatureCollection(BSharedPtr<BShpFile>& newFile);
    /// Shares the file of `other`.
    BShpFeatureCollection(BShpFeatureCollection const& other);
    BShpFeatureCollection& operator=(BShpFeatureCollection const& other);
    ~BShpFeatureCollection() override;

    /// The file's records.
    std::uint64_t GetCount() const override;
    /// The stored rectangle of a record, in map units; empty where it has none. The reference stays
    /// valid while the collection lives; the next call changes what it refers to.
    BRect const& GetFeatureMBRAt(std::uint64_t index) const override;
    /// True.
    bool CanRender() const override;
    using BDirectAccessFeatureCollection::RenderFeatures;
    /// Draws the listed records in that order. Throws BUnknownGeometryException for a type that can
    /// not be drawn; what was drawn before stays drawn.
    void RenderFeatures(std::vector<std::uint64_t> const& indexes,
                        BRenderer const* renderer) const override;
    /// True.
    bool CanSelect() const override;

    /// The record as a feature; `complete`: with format, record number and attributes. Throws
    /// BUnknownGeometryException for a type that cannot be decoded.
    BSharedPtr<BFeature> const GetAtImpl(std::uint64_t index, bool complete) const override;
    /// Appends the indexes of the records whose stored rectangles meet the area, in ascending
    /// order.
    void SelectFeaturesImpl(BRect const& area, BParamList const& params,
                            std::vector<std::uint64_t>& result) const override;
    bool HasFeaturesInAreaImpl(BRect const& area, BParamList const& params) const override;
    /// The file's extent, with the Z range where it has one, as the header has them.
    BBox ComputeMBBImpl() const override;

private:
    BSharedPtr<BShpFile> file;
    mutable BRect mbr; ///< what the last GetFeatureMBRAt returned
};

} // namespace Ambrel
