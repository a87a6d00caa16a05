#include "source/PlugIn.h"

#include "Ambrel/BException.h"
#include "Ambrel/Constants.h"

#include <cstdlib>
#include <filesystem>

#include <dlfcn.h>

namespace Ambrel::Tool {

namespace {

namespace fs = std::filesystem;

constexpr char const* moduleName = "libShpReader.so";

fs::path FindPlugIn() {
    std::error_code error; // a place that can not be looked at is not the one
    if (char const* const wanted = std::getenv("AMBREL_PLUGIN_PATH"); wanted && *wanted) {
        fs::path const path = wanted;
        return fs::is_directory(path, error) ? path / moduleName : path;
    }
    fs::path const folder = fs::read_symlink("/proc/self/exe", error).parent_path();
    fs::path const installed = (folder / AMBREL_PLUGIN_FOLDER / moduleName).lexically_normal();
    // The build tree has no folder for the architecture.
    fs::path const built = folder.parent_path() / "lib/ambrel" / moduleName;
    return fs::exists(built, error) ? built : installed;
}

BException LoadFailure(std::string const& reason) {
    return BException(BString::FromUtf8("Ambrel Exception"),
                      BString::FromUtf8("loading the plug-in"), BString::FromUtf8(reason));
}

BDataManagerProxy& Load() {
    fs::path const path = FindPlugIn();
    void* const module = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!module) {
        throw LoadFailure(dlerror());
    }
    using Entry = BDataManagerProxy* (*)();
    auto const entry = reinterpret_cast<Entry>(dlsym(module, "GetDataMgrProxy"));
    BDataManagerProxy* const proxy = entry ? entry() : nullptr;
    if (!proxy || !proxy->SupportsFormat(DS_SHP)) {
        throw LoadFailure(path.string() + " does not serve shapefiles");
    }
    return *proxy;
}

} // namespace

BDataManagerProxy& ShapefilePlugIn() {
    static BDataManagerProxy& proxy = Load();
    return proxy;
}

} // namespace Ambrel::Tool
