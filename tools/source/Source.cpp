#include "source/Source.h"

#include "formats/OutputFile.h"
#include "source/Encoding.h"
#include "source/Log.h"
#include "source/PlugIn.h"
#include "terminal/Console.h"

#include "Ambrel/BException.h"
#include "Ambrel/BFileUtilities.h"
#include "Ambrel/Constants.h"

#include <algorithm>

namespace Ambrel::Tool {

namespace {

BParamList OptionsOfReader(HoldMode mode) {
    BParamList options;
    options.Add(OPTION_DIRECT_ACCESS, mode == HoldMode::Direct);
    options.Add(OPTION_DISK_CACHE, mode == HoldMode::Cache);
    return options;
}

BParamList OptionsOfOpen(SourceOptions const& options) {
    BParamList params;
    params.Add(BString::FromUtf8("USE_ATTRIBUTES"), options.useAttributes);
    if (!options.attributeZ.empty()) {
        params.SetValue(BString::FromUtf8("USE_ATTRIBUTE_Z"),
                        BString::FromUtf8(options.attributeZ));
    }
    if (!options.encoding.empty()) {
        params.SetValue(BString::FromUtf8("ENCODING"), BString::FromUtf8(options.encoding));
    }
    return params;
}

} // namespace

void Source::Destroy::operator()(BDataReader* reader) const {
    ShapefilePlugIn().DestroyObject(reader);
}

Source::Source(Console& console, BString const& newPath, SourceOptions const& newOptions)
    : path(newPath), options(newOptions) {
    if (options.useAttributes || !options.encoding.empty()) {
        options.encoding = ChooseEncoding(console, path, options.encoding);
    }
    Open();
}

void Source::Open() {
    reader.reset(ShapefilePlugIn().CreateReader(BString(), OptionsOfReader(options.mode), nullptr,
                                                BLogger::Instance()));
    reader->Open(path, OptionsOfOpen(options));
    layer = reader->GetLayers().GetAt(0);
}

void Source::ReopenDirectly() {
    Silence const silence; // opening has told what there is to tell
    options.mode = HoldMode::Direct;
    Open();
}

BRect Source::Extent() {
    return BDataManager::ExtentsOf(reader->QueryInfo(QUERY_DATA_EXTENTS));
}

std::vector<BString> FilesOf(std::string const& path) {
    std::vector<BString> files =
        BFileUtilities::ListFiles(BString::FromUtf8(path), BString::FromUtf8(".shp"));
    if (files.empty()) {
        throw BFileNotFoundException(BString::FromUtf8("BFileUtilities::ListFiles"),
                                     BString::FromUtf8("no shapefile in " + path));
    }
    return files;
}

namespace {

/// The shapefile that a file beside it ("roads.dbf", "roads.sbn", "roads.shp.xml") belongs to; any
/// other path as it is.
std::string ShapefileOf(std::string const& path) {
    constexpr std::string_view description = ".shp.xml";
    if (path.ends_with(description)) {
        std::string const shapefile = path.substr(0, path.size() - 4);
        return BFileUtilities::Exists(BString::FromUtf8(shapefile)) ? shapefile : path;
    }
    std::string const extension = ExtensionOf(path);
    bool const isPart = extension == ".shx" || extension == ".dbf" || extension == ".prj";
    BString const file = BString::FromUtf8(path);
    BString const main = BFileUtilities::ChangeExtension(file, BString::FromUtf8(".shp"));
    bool const isCompanion = isPart || (extension != ".shp" && BFileUtilities::Exists(file));
    return isCompanion && BFileUtilities::Exists(main) ? std::string(main.Utf8()) : path;
}

} // namespace

std::vector<std::string> ShapefilesAmong(std::vector<std::string> const& paths) {
    std::vector<std::string> shapefiles;
    for (std::string path : paths) {
        if (path.empty()) { // what a shell makes of a variable that is not set
            throw UsageException("a path is empty");
        }
        path = ShapefileOf(path);
        if (std::find(shapefiles.begin(), shapefiles.end(), path) == shapefiles.end()) {
            shapefiles.push_back(path);
        }
    }
    return shapefiles;
}

BString TheFileOf(std::string const& path, std::string const& advice) {
    std::vector<BString> const files = FilesOf(ShapefilesAmong({path}).front());
    if (files.size() > 1) {
        throw UsageException(path + " stands for " + std::to_string(files.size()) +
                             " shapefiles; " + advice);
    }
    return files.front();
}

} // namespace Ambrel::Tool
