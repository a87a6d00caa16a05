#pragma once

#include "Ambrel/BDataManager.h"
#include "ShpReader/shp/BShpFile.h"

#include <vector>

namespace Ambrel {

/// Reads shapefiles into layers, one for each file that the opened name stands for.
///
/// Options of Open: "USE_ATTRIBUTES" (boolean, true when absent): whether features get the values
/// of the table; "USE_ATTRIBUTE_Z" (text): the attribute whose value replaces the Z of single-part
/// geometries; and those of ReadOptions: "ENCODING" (text), "MISSING_AS_NULL", "SKIP_DELETED",
/// "MEASURES_ALWAYS", "SALVAGE" (booleans, false when absent), "FIELDS" (a list of texts, all
/// fields when absent; the attribute of "USE_ATTRIBUTE_Z" is always among them).
class BShpReader final : public BVectorDataReader {
public:
    explicit BShpReader(BParamList const& params);
    ~BShpReader() override;

    /// True for QUERY_DATA_EXTENTS.
    bool CanQuery(BString const& query) override;
    /// The rectangle of the files' extents; see BDataManager::ExtentsOf. Throws
    /// BUnsupportedCapabilityException for any other query, BNotOpenException.
    BParamList QueryInfo(BString const& query) override;
    bool IsOpen() override { return opened; }
    void ResetStatus() override { status = STATUS_READY; }

protected:
    /// Opens every file and makes its layer. With direct access the layers have their features
    /// then; else Read fills them. Throws BException ("Ambrel Exception", "BShpReader::Open",
    /// "NAME=value") for an option of ReadOptions that makes no sense, before any file is touched:
    /// an encoding that tables cannot have, a switch that is neither true nor false, fields that
    /// are no list of texts. Throws what BShpFile::Open throws; files and layers before the failing
    /// one stay.
    void OpenImpl(BString const& fileName, BParamList const& params) override;
    void CloseImpl() override;
    /// Fills the layers. Throws BNotOpenException, BResourceException when memory runs out (status
    /// STATUS_OUT_OF_MEMORY; the files are let go), and what BShpFile::Read throws.
    void ReadImpl() override;

private:
    struct OpenOptions {
        bool useAttributes = true;
        BString attributeZName;
        ReadOptions reading;
        bool usingDiskCache = false;
        BString cacheBaseName;
        int cachePageSize = 0;
    };

    OpenOptions TakeOptions(BParamList const& params);
    void OpenFiles(BString const& fileName, BParamList const& params);
    void OpenFile(BString const& path, OpenOptions const& options);
    BSharedPtr<BVectorLayer> MakeLayer(BSharedPtr<BShpFile>& file, OpenOptions const& options);
    void ReadFiles();
    /// False when the host ended the read.
    bool ReadFile(BShpFile& file, std::uint32_t index);
    void ReportNothingToRead();
    void CancelRead();

    std::vector<BSharedPtr<BShpFile>> files; ///< file i belongs to layer i
    bool opened = false;
};

} // namespace Ambrel
