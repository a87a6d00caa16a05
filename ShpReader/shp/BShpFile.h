#pragma once

#include "Ambrel/BFeature.h"
#include "Ambrel/BLayer.h"
#include "Ambrel/BRect.h"
#include "Ambrel/BSharedPtr.h"
#include "Ambrel/BString.h"
#include "ShpReader/dbf/BDbfFile.h"
#include "ShpReader/format/ReadOptions.h"
#include "ShpReader/format/RecordContent.h"

#include <cstdint>
#include <limits>
#include <memory>
#include <vector>

class QFile;

namespace Ambrel {

class BParamList;
class BProgress;
class BRenderer;
class NullShapeWriter;
class RecordStore;
struct ShpFileHeader;

/// One shapefile: the main file (".shp"), its index (".shx"), its table (".dbf") and its optional
/// coordinate system (".prj"). See the "ESRI Shapefile Technical Description" (July 1998).
///
/// Records are counted from 0 in the order of the index. Content that does not fit is a problem of
/// the data: one log line of severity 2 names the record, its feature is delivered without
/// geometry, and the records behind it are read as if nothing were wrong.
///
/// A file that is open for reading stays as it was opened, with the index that belongs to it, also
/// when another takes its place or it is removed.
///
/// Threads: ReadFeature, HasFeaturesInArea, SelectFeatures, RenderFeatures and GetFeatureMBRAt may
/// run on several threads at once. Everything else is for one thread at a time.
///
/// Every record operation throws BReadWriteMismatchException (with an empty message) in the wrong
/// mode, and BIndexOutOfBoundsException (operation, "Index=%llu, NumRecords=%u") for an index that
/// is not below the record count.
class BShpFile {
public:
    static constexpr std::uint32_t closedMode = 0;
    static constexpr std::uint32_t readMode = 1;
    static constexpr std::uint32_t writeMode = 2;
    /// What Read returns when the progress observer ended it.
    static constexpr std::int32_t readCancelled = 3;

    BShpFile();
    BShpFile(BShpFile const&) = delete;
    BShpFile& operator=(BShpFile const&) = delete;
    /// Closes the file. After writing, completes the headers; where no record was written, removes
    /// the files.
    virtual ~BShpFile();

    // Hosts call these through their slots: the order of the virtual operations, the destructor
    // first, is part of the interface.

    /// Does nothing in write mode. Throws BReadWriteMismatchException otherwise.
    virtual void Write();
    /// Appends a null-shape record, and the feature's attribute values to the table. The table must
    /// have been prepared (PrepareTable). A geometry is not written: one finding for each file says
    /// so. Throws as WriteNullShape does, and BAttributeDataException for values that cannot be
    /// written; the null-shape record stands
    /// then, so that whatever is written behind it has the row of the record before.
    virtual void WriteFeature(BSharedPtr<BFeature> const& feature);
    /// Appends a null-shape record with its index entry, and no row to the table: whoever reads
    /// such a record with its attributes gets BIndexOutOfBoundsException. A table that was never
    /// prepared cannot be read at all. Throws BReadWriteMismatchException, or
    /// BNotOpenException after a failed Open.
    virtual void WriteNullShape();

    /// What reading does beyond the format's rules. REQUIRES: not open yet.
    void SetOptions(ReadOptions const& readOptions) { options = readOptions; }

    /// Opens the file `name` and its companions: mode 1 to read, 2 to write (which empties them).
    /// `newUseAttributes`: whether features get attribute values. `newAttributeZName`: the
    /// attribute whose value replaces the Z of single-part geometries, or empty. An object that is
    /// open in the same mode stays as it is.
    ///
    /// Throws BAlreadyOpenException, BFileNotFoundException, BFileContentNotValidException, what
    /// BDbfFile::Open throws; any other failure becomes a BException. After a failure the object
    /// can only be destroyed.
    void Open(BString const& name, std::uint32_t requestedMode, bool newUseAttributes,
              BString newAttributeZName);

    /// Gives the layer what is known before any record is read: 3D flag, metadata, geometry class
    /// and schema. Then loads the index. Throws BNotOpenException.
    void SetUpLayer(BSharedPtr<BVectorLayer>& layer);
    /// Takes the index entries into memory. Where there is no memory for them, entries are read
    /// from the file when they are needed.
    void LoadIndex();
    /// Frees the index in memory and the shared record buffer. Both are made again, or done
    /// without, when they are needed.
    void ReleaseBuffers() noexcept;

    BString const& GetFileName() const noexcept { return fileName; } ///< full path of the main file
    BSharedPtr<BCoordSys> const& GetCoordSys() const noexcept { return coordSys; }
    BSharedPtr<BDbfFile> const& GetDbfFile() const noexcept { return dbfFile; }
    std::uint32_t GetRecordCount() const noexcept { return recordCount; }
    std::uint32_t GetShapeType() const noexcept { return shapeType; }
    bool HasZ() const noexcept { return hasZ; }
    bool HasMeasures() const noexcept { return hasMeasures; }
    double GetMinZ() const noexcept { return zMin; }
    double GetMaxZ() const noexcept { return zMax; }
    double GetMinMeasure() const noexcept { return mMin; }
    double GetMaxMeasure() const noexcept { return mMax; }
    /// The header's box as it stands there; in write mode, that of what was written.
    BBox const& GetExtent() const noexcept { return extent; }
    /// The extent with the header's Z range, where the file has Z.
    BBox GetMBB() const;
    /// Bytes that the shared record buffer holds.
    std::uint32_t GetShapeBufferSize() const noexcept;
    bool HasIndexInMemory() const;

    /// The observer of whole-file reads, not owned; null for none.
    void SetProgress(BProgress* newProgress) noexcept { progress = newProgress; }

    /// Reads every record that is not left out, in order, and adds its feature to the layer's
    /// collection. Returns 0, or
    /// readCancelled when the observer ended it; the features before that stay in the layer. Throws
    /// what decoding throws, such as BUnknownGeometryException for a type that cannot be decoded.
    std::int32_t Read(BSharedPtr<BVectorLayer> const& layer);
    /// Decodes one record content. `complete`: add format, record number, attributes and attribute
    /// Z. `useOwnHandle`: see BDbfFile::ReadAttributeRecord. Never returns an empty holder. Throws
    /// BUnknownGeometryException ("BShpFile::Read") and what the table throws.
    BSharedPtr<BFeature> Read(std::uint32_t index, RecordContent content, bool complete,
                              bool useOwnHandle);

    /// Reads one record as a feature; an empty holder for one that is left out (an option).
    /// `complete`: with format, record number, attributes and
    /// attribute Z. Throws BResourceException or std::bad_alloc where memory ends, and as Read
    /// does. Any failure but a wrong index lets go of the index in memory, and of the shared record
    /// buffer.
    BSharedPtr<BFeature> ReadFeature(std::uint64_t index, bool complete);
    /// The stored rectangle of a record: a point's position, the box of the other types; empty for
    /// null, multipatch and unknown types and where the content is too short for it.
    BRect GetFeatureMBRAt(std::uint64_t index);
    static BRect GetRecordMBR(RecordContent content);

    /// Whether the stored rectangle of any record meets the area. Stored rectangles with a minimum
    /// above the maximum, or a bound that is not a number, meet nothing. `params` is not consulted.
    bool HasFeaturesInArea(BRect const& area, BParamList const& params) const;
    /// Appends the indexes of all such records, in ascending order.
    void SelectFeatures(BRect const& area, BParamList const& params,
                        std::vector<std::uint64_t>& result) const;

    /// Draws the listed records, in that order. Throws BUnknownGeometryException ("BShpFile::Read")
    /// for a type that cannot be drawn; what was drawn before stays drawn.
    void RenderFeatures(std::vector<std::uint64_t> const& indexes, BRenderer const* renderer) const;

    /// Prepares the table that is being written for values of this schema: once, before the first
    /// WriteFeature. Throws BReadWriteMismatchException, BNotOpenException after a failed Open,
    /// and what BDbfFile::PrepareForWriting throws.
    void PrepareTable(BAttributeDefs const& schema);
    /// The coordinate system to write beside the file. REQUIRES: write mode.
    void SetCoordSys(BSharedPtr<BCoordSys> const& system) { coordSys = system; }
    /// Writes the header as it is known at open; returns its size in bytes. Throws
    /// BReadWriteMismatchException.
    std::int32_t WriteHeader(QFile& handle);
    /// Completes the header with the length of the handle's file and the extent. Throws
    /// BReadWriteMismatchException ("BShpFile::WriteHeader").
    void FinishHeader(QFile& handle);

private:
    // Opening.
    void OpenAll(BString const& name);
    void OpenToRead();
    void OpenToWrite();
    void GetHeader();
    void OpenIndex();
    void OpenTable();
    void DoWithoutTable();
    void LoadCoordSys();
    void Close() noexcept;
    void FillLayer(BVectorLayer& layer);

    // Record access.
    void RequireMode(std::uint32_t requiredMode, char const* operation) const;
    void RequireIndex(std::uint64_t index, char const* operation) const;
    /// The records, for an operation that cannot do without. A failed Open may have left none:
    /// BFileNotFoundException.
    RecordStore& RequireRecords(char const* operation) const;
    BSharedPtr<BFeature> FetchFeature(std::uint32_t index, bool complete);
    /// Whether the record's row is marked as deleted, where such records are to be left out.
    bool IsLeftOut(std::uint32_t index) const;

    // Layer reading.
    bool ReadAllRecords(BVectorLayer& layer);
    bool WantsToGoOn(std::uint32_t index) const;

    // Area selection: calls visit(index) for the records that meet the area until it returns false.
    template <class Visit>
    void VisitRecordsInArea(char const* operation, BRect const& area, Visit visit) const;

    // Decoding.
    BSharedPtr<BFeature> Decode(std::uint32_t index, RecordContent content) const;
    void Complete(std::uint32_t index, BFeature& feature, bool useOwnHandle);
    void ApplyAttributeZ(std::uint32_t index, BFeature& feature) const;

    // Writing.
    void RequireOutputs(char const* operation) const;
    ShpFileHeader MakeHeader() const;
    void ReportFailedWrite(QFile const& handle);
    void FinishWriting() noexcept;
    void FinishFiles();

    std::unique_ptr<RecordStore> records;    ///< there while the file is open for reading
    std::unique_ptr<NullShapeWriter> writer; ///< there while the file is open for writing
    BString fileName;
    BString indexFileName;
    BSharedPtr<BDbfFile> dbfFile;
    BString prjFileName;
    BString dbfFileName;
    BSharedPtr<BCoordSys> coordSys;
    BBox extent;
    std::uint32_t recordCount = 0;
    std::uint32_t shapeType = 0;
    bool hasZ = false;
    bool hasMeasures = false;
    double zMin = std::numeric_limits<double>::max();
    double zMax = std::numeric_limits<double>::lowest();
    double mMin = std::numeric_limits<double>::max();
    double mMax = std::numeric_limits<double>::lowest();
    std::uint32_t mode = closedMode;
    BProgress* progress = nullptr;
    ReadOptions options;
    bool readsMeasures = false;  ///< from records, also where the header's range is not usable
    bool isTableMissing = false; ///< and done without
    bool useAttributes = true;
    bool hasAttributeZName = false;
    BString attributeZName;
};

} // namespace Ambrel
