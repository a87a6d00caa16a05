#include "BenchHost.h"

#include <Ambrel/Ambrel.h>

#include <dlfcn.h>

namespace Ambrel::Bench {

namespace {

/// The plug-in beside this program in the build tree.
std::string PluginPath() {
    std::filesystem::path const self = std::filesystem::read_symlink("/proc/self/exe");
    return self.parent_path().parent_path() / "lib/ambrel/libShpReader.so";
}

BDataManagerProxy& LoadProxy() {
    void* const module = dlopen(PluginPath().c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!module) {
        throw std::runtime_error(dlerror());
    }
    using GetProxy = BDataManagerProxy* (*)();
    auto const getProxy = reinterpret_cast<GetProxy>(dlsym(module, "GetDataMgrProxy"));
    if (!getProxy) {
        throw std::runtime_error(dlerror());
    }
    return *getProxy();
}

BDataManagerProxy& Proxy() {
    static BDataManagerProxy& proxy = LoadProxy();
    return proxy;
}

BParamList OptionsFor(Session::Mode mode) {
    BParamList options;
    options.Add(OPTION_DIRECT_ACCESS, mode == Session::Mode::Direct);
    options.Add(OPTION_DISK_CACHE, mode == Session::Mode::Cache);
    return options;
}

} // namespace

Session::Session(Mode mode)
    : proxy(Proxy()),
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
