#include "Ambrel/BDataManager.h"

#include "Ambrel/BException.h"
#include "Ambrel/BFileUtilities.h"
#include "Ambrel/BProgress.h"
#include "Ambrel/Constants.h"

#include <algorithm>
#include <array>

namespace Ambrel {

namespace {

/// The entries of an extent in the answer to a query.
struct ExtentEntry {
    char const* key;
    double BRect::*bound;
};
constexpr std::array<ExtentEntry, 4> extentEntries = {{
    {"XMin", &BRect::xMin},
    {"YMin", &BRect::yMin},
    {"XMax", &BRect::xMax},
    {"YMax", &BRect::yMax},
}};

constexpr int defaultPageSize = 1024;

} // namespace

BDataManager::BDataManager(BString const& formatName, BParamList const& readOptions)
    : options(readOptions), format(formatName) {}

BDataManager::~BDataManager() = default;

BRect BDataManager::GetMBR() {
    if (!IsOpen() || !CanQuery(QUERY_DATA_EXTENTS)) {
        return BRect();
    }
    return ExtentsOf(QueryInfo(QUERY_DATA_EXTENTS));
}

BBox BDataManager::GetMBB() {
    BBox box(GetMBR());
    for (std::uint64_t i = 0; i < layers.GetCount(); ++i) {
        auto* const layer = dynamic_cast<BVectorLayer*>(layers.GetAt(i).Get());
        if (layer && layer->Is3d()) {
            BBox const layerBox = layer->GetFeatures().ComputeMBB();
            box.zMin = std::min(box.zMin, layerBox.zMin);
            box.zMax = std::max(box.zMax, layerBox.zMax);
        }
    }
    return box;
}

bool BDataManager::UsingDiskCache() const {
    return options.GetBoolean(OPTION_DISK_CACHE, false);
}

BString BDataManager::GetDiskCacheBaseName() {
    return options.GetString(OPTION_DISK_CACHE_BASE_NAME);
}

int BDataManager::GetDiskCachePageSize() const {
    BVariant const* const pageSize = options.Find(OPTION_DISK_CACHE_PAGE_SIZE);
    return pageSize ? pageSize->GetValueAsInteger(defaultPageSize) : defaultPageSize;
}

bool BDataManager::ReportProgress(unsigned int done, unsigned int total) {
    return !progress || progress->Report(done, total);
}

BParamList BDataManager::MakeExtentsParamList(BRect const& rectangle) const {
    BParamList answer;
    for (ExtentEntry const& entry : extentEntries) {
        answer.Add(entry.key, rectangle.*entry.bound);
    }
    return answer;
}

BRect BDataManager::ExtentsOf(BParamList const& answer) {
    BRect rectangle;
    for (ExtentEntry const& entry : extentEntries) {
        BVariant const* const value = answer.Find(entry.key);
        if (!value) {
            return BRect();
        }
        rectangle.*entry.bound = value->GetValueAsDouble(rectangle.*entry.bound);
    }
    return rectangle;
}

BDataReader::~BDataReader() = default;

std::vector<BString> BDataReader::MakeFileList(BString const& name, BString const& extension,
                                               BParamList const&) const {
    return BFileUtilities::ListFiles(name, extension);
}

BVectorDataReader::BVectorDataReader(BString const& format, BParamList const& options)
    : BDataReader(format, options) {}

BVectorDataReader::~BVectorDataReader() = default;

void BVectorDataReader::Open(BString const& fileName, BParamList const& params) {
    if (IsOpen()) {
        throw BAlreadyOpenException("BVectorDataReader::Open", fileName);
    }
    layers.Clear();
    OpenImpl(fileName, params);
}

void BVectorDataReader::Close() {
    CloseImpl();
}

void BVectorDataReader::Read() {
    ReadImpl();
}

bool BVectorDataReader::UseDirectAccessFeatureCollection() const {
    return options.GetBoolean(OPTION_DIRECT_ACCESS, false);
}

} // namespace Ambrel
