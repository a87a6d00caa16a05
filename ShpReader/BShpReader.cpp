#include "ShpReader/BShpReader.h"

#include "Ambrel/BException.h"
#include "Ambrel/BFileUtilities.h"
#include "Ambrel/BLogger.h"
#include "Ambrel/Constants.h"
#include "ShpReader/BShpFeatureCollection.h"
#include "ShpReader/dbf/TextDecoder.h"

#include <new>
#include <optional>

namespace Ambrel {

namespace {

constexpr char const* category = "Ambrel Exception";
constexpr char const* openOperation = "BShpReader::Open";
constexpr char const* readOperation = "BShpReader::Read";
constexpr char const* queryOperation = "BShpReader::QueryInfo";

struct Switch {
    char const* name;
    bool ReadOptions::*option;
};

constexpr Switch switches[] = {
    {"MISSING_AS_NULL", &ReadOptions::missingAsNull},
    {"SKIP_DELETED", &ReadOptions::skipDeleted},
    {"MEASURES_ALWAYS", &ReadOptions::measuresAlways},
    {"SALVAGE", &ReadOptions::salvage},
};

BException RefuseOption(char const* name, BVariant const& value) {
    return {category, openOperation,
            BString::Format("%s=%s", name, value.GetValueAsString("").Ascii())};
}

/// The value of a switch. What is neither true nor false makes no sense.
bool ParseSwitch(char const* name, BVariant const& value) {
    bool const isSet = value.GetValueAsBoolean(false);
    if (isSet != value.GetValueAsBoolean(true)) {
        throw RefuseOption(name, value);
    }
    return isSet;
}

/// The names of the wanted fields, and of the one that gives Z; none where all are wanted.
std::optional<std::vector<std::string>> ParseFields(BParamList const& params,
                                                    BString const& attributeZName) {
    BVariant const* const value = params.Find("FIELDS");
    if (!value) {
        return std::nullopt;
    }
    if (value->GetType() != VAR_STRING_LIST) {
        throw RefuseOption("FIELDS", *value);
    }
    std::vector<std::string> names;
    for (BString const& name : value->GetValueAsStringList({})) {
        names.emplace_back(name.Utf8());
    }
    if (!attributeZName.IsEmpty()) {
        names.emplace_back(attributeZName.Utf8());
    }
    return names;
}

ReadOptions ParseReadOptions(BParamList const& params) {
    ReadOptions options;
    options.encoding = params.GetString("ENCODING").Utf8();
    static_cast<void>(TextDecoder(options.encoding, openOperation)); // refuses what is not known
    for (auto const& [name, option] : switches) {
        if (BVariant const* const value = params.Find(name)) {
            options.*option = ParseSwitch(name, *value);
        }
    }
    return options;
}

/// A companion stands for its main file, any other name for itself.
BString MainFileOf(BString const& name) {
    QString const text = MakeQString(name);
    for (char const* const extension : {".shx", ".dbf", ".prj", ".cpg"}) {
        if (text.endsWith(QLatin1String(extension), Qt::CaseInsensitive) &&
            BFileUtilities::Exists(name)) {
            return BFileUtilities::ChangeExtension(name, ".shp");
        }
    }
    return name;
}

} // namespace

BShpReader::BShpReader(BParamList const& params) : BVectorDataReader(DS_SHP, params) {
    ResetStatus();
}

BShpReader::~BShpReader() {
    if (opened) {
        Close();
    }
}

void BShpReader::OpenImpl(BString const& fileName, BParamList const& params) {
    BLogger::Instance()->WriteLine(LOG_PROGRESS, "SHP-Reader: Opening %s...", fileName.Ascii());
    readResult = READ_OK;
    try {
        OpenFiles(fileName, params);
    } catch (BException const&) {
        throw;
    } catch (std::exception const& failure) {
        throw BException(category, openOperation, failure.what());
    }
}

void BShpReader::OpenFiles(BString const& fileName, BParamList const& params) {
    std::vector<BString> const paths = MakeFileList(MainFileOf(fileName), L".shp", params);
    // A failed Open leaves its files behind, and the host may have cleared their layers since.
    if (files.size() > layers.GetCount()) {
        files.resize(layers.GetCount());
    }
    layers.Reserve(paths.size());
    files.reserve(paths.size());
    OpenOptions const options = TakeOptions(params);
    for (BString const& path : paths) {
        OpenFile(path, options);
    }
    opened = true;
    BLogger::Instance()->WriteLine(LOG_PROGRESS, "SHP-Reader: Open() succeeded");
}

BShpReader::OpenOptions BShpReader::TakeOptions(BParamList const& params) {
    OpenOptions options;
    options.usingDiskCache = UsingDiskCache();
    options.cacheBaseName = GetDiskCacheBaseName();
    options.cachePageSize = GetDiskCachePageSize();
    if (params.HasProperty("USE_ATTRIBUTE_Z")) {
        options.attributeZName = params.GetString("USE_ATTRIBUTE_Z");
    }
    if (params.HasProperty("USE_ATTRIBUTES")) {
        options.useAttributes = params.GetBoolean("USE_ATTRIBUTES", false);
    }
    options.reading = ParseReadOptions(params);
    options.reading.fields = ParseFields(params, options.attributeZName);
    return options;
}

void BShpReader::OpenFile(BString const& path, OpenOptions const& options) {
    BSharedPtr<BShpFile> file(new BShpFile);
    file->SetOptions(options.reading);
    file->Open(path, BShpFile::readMode, options.useAttributes, options.attributeZName);
    BSharedPtr<BVectorLayer> layer = MakeLayer(file, options);
    layer->name = BFileUtilities::GetBasename(file->GetFileName());
    layer->SetCoordSys(file->GetCoordSys());
    file->SetUpLayer(layer);
    layers.Add(layer);
    files.push_back(file);
    BLogger::Instance()->WriteLine(LOG_DETAIL, "SHP-Reader: Added layer: %s", layer->name.Ascii());
}

BSharedPtr<BVectorLayer> BShpReader::MakeLayer(BSharedPtr<BShpFile>& file,
                                               OpenOptions const& options) {
    BLogger& logger = *BLogger::Instance();
    if (UseDirectAccessFeatureCollection()) {
        logger.WriteLine(LOG_DETAIL, "SHP-Reader: Using direct access features");
        BSharedPtr<BVectorLayer> layer(new BVectorLayer);
        layer->SetFeaturesPtr(new BShpFeatureCollection(file));
        return layer;
    }
    if (options.usingDiskCache) {
        logger.WriteLine(LOG_DETAIL, "SHP-Reader: Features in disk cache");
        return BSharedPtr<BVectorLayer>(
            new BVectorLayer(options.cacheBaseName, options.cachePageSize));
    }
    logger.WriteLine(LOG_DETAIL, "SHP-Reader: Features in memory");
    return BSharedPtr<BVectorLayer>(new BVectorLayer);
}

void BShpReader::ReadImpl() {
    BLogger::Instance()->WriteLine(LOG_PROGRESS, "SHP-Reader: Reading file...");
    if (!IsOpen()) {
        throw BNotOpenException(readOperation, "Must call Open() before calling Read()");
    }
    readResult = READ_OK;
    try {
        if (UseDirectAccessFeatureCollection()) {
            ReportNothingToRead();
        } else {
            ReadFiles();
        }
    } catch (BException const&) {
        throw;
    } catch (std::exception const& failure) {
        throw BException(category, readOperation, failure.what());
    }
    BLogger::Instance()->WriteLine(LOG_PROGRESS, "SHP-Reader: File read successfully...");
}

void BShpReader::ReportNothingToRead() {
    if (!ReportProgress(1, 1)) {
        CancelRead();
    }
}

void BShpReader::CancelRead() {
    layers.Clear();
    readResult = READ_CANCELLED;
}

void BShpReader::ReadFiles() {
    // After a cancelled read there are files without layers, and so nothing to fill.
    for (std::uint32_t index = 0; index < files.size() && index < layers.GetCount(); ++index) {
        BSharedPtr<BShpFile> const file = files[index];
        try {
            if (!ReadFile(*file, index)) {
                CancelRead();
                return;
            }
        } catch (std::bad_alloc const& failure) {
            SetStatus(STATUS_OUT_OF_MEMORY);
            files.clear();
            throw BResourceException(readOperation, failure.what());
        }
        bool const isStillOurs = index < files.size() && files[index].Get() == file.Get();
        if (!isStillOurs) { // the observer has closed the reader
            return;
        }
    }
}

bool BShpReader::ReadFile(BShpFile& file, std::uint32_t index) {
    file.SetProgress(progress);
    BSharedPtr<BLayer> const held = layers.GetAt(index);
    BSharedPtr<BVectorLayer> const layer(held, static_cast<BVectorLayer*>(held.Get()));
    layer->GetFeatures().Clear();
    layer->GetFeatures().Reserve(file.GetRecordCount());
    return file.Read(layer) != BShpFile::readCancelled;
}

void BShpReader::CloseImpl() {
    BLogger::Instance()->WriteLine(LOG_PROGRESS, "SHP-Reader: Closing...");
    files.clear();
    opened = false;
}

bool BShpReader::CanQuery(BString const& query) {
    return query == QUERY_DATA_EXTENTS;
}

BParamList BShpReader::QueryInfo(BString const& query) {
    if (!CanQuery(query)) {
        throw BUnsupportedCapabilityException(queryOperation,
                                              BString::Format("Query=%s", query.Ascii()));
    }
    if (!IsOpen()) {
        throw BNotOpenException(queryOperation, query);
    }
    BRect extents;
    for (BSharedPtr<BShpFile> const& file : files) {
        extents.Union(static_cast<BRect const&>(file->GetExtent()));
    }
    return MakeExtentsParamList(extents);
}

} // namespace Ambrel
