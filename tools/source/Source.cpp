#include "source/Source.h"

#include "source/Encoding.h"
#include "source/LayerTransform.h"
#include "source/Log.h"
#include "source/PlugIn.h"
#include "terminal/Console.h"

#include "Ambrel/BException.h"
#include "Ambrel/Constants.h"

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
    params.Add(BString::FromUtf8("MISSING_AS_NULL"), true);
    params.Add(BString::FromUtf8("SKIP_DELETED"), !options.withDeleted);
    params.Add(BString::FromUtf8("MEASURES_ALWAYS"), options.withMeasures);
    params.Add(BString::FromUtf8("SALVAGE"), true);
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
    if (!options.crs.empty()) {
        Layer().SetCoordSys(CoordSysCalled("--crs", options.crs));
    }
}

BVectorLayer& Source::Layer() noexcept {
    return static_cast<BVectorLayer&>(*layer);
}

void Source::ReopenDirectly() {
    Silence const silence; // opening has told what there is to tell
    options.mode = HoldMode::Direct;
    Open();
}

BRect Source::Extent() {
    return BDataManager::ExtentsOf(reader->QueryInfo(QUERY_DATA_EXTENTS));
}

} // namespace Ambrel::Tool
