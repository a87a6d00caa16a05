#include "BenchHost.h"

#include "source/PlugIn.h"

#include <Ambrel/Ambrel.h>

namespace Ambrel::Bench {

namespace {

BParamList OptionsFor(Session::Mode mode) {
    BParamList options;
    options.Add(OPTION_DIRECT_ACCESS, mode == Session::Mode::Direct);
    options.Add(OPTION_DISK_CACHE, mode == Session::Mode::Cache);
    return options;
}

} // namespace

Session::Session(Mode mode)
    : proxy(Tool::ShapefilePlugIn()),
      reader(proxy.CreateReader(BString(), OptionsFor(mode), nullptr, BLogger::Instance())) {}

Session::~Session() {
    proxy.DestroyObject(reader);
}

void Session::Open(std::string const& path, bool useAttributes) {
    BParamList params;
    params.Add("USE_ATTRIBUTES", useAttributes);
    reader->Open(BString::FromUtf8(path), params);
}

void Session::Read() {
    reader->Read();
}

BVectorLayer& Session::Layer() const {
    return static_cast<BVectorLayer&>(*reader->GetLayers().GetAt(0));
}

BFeatureCollection const& Session::Features() const {
    return Layer().GetFeatures();
}

BRect Session::Extent() {
    return reader->GetMBR();
}

} // namespace Ambrel::Bench
