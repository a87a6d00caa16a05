#include "source/PlugIn.h"

#include "Ambrel/BException.h"
#include "Ambrel/BLogger.h"
#include "Ambrel/Constants.h"

#include <cstdlib>
#include <filesystem>

#include <dlfcn.h>

namespace Ambrel::Tool {

namespace {

namespace fs = std::filesystem;

constexpr char const* moduleName = "libShpReader.so";

BException LoadFailure(std::string const& reason) {
    return BException(BString::FromUtf8("Ambrel Exception"), BString::FromUtf8("ShapefilePlugIn"),
                      BString::FromUtf8("the plug-in cannot be loaded: " + reason));
}

/// Beside the host library, where both have been built or installed. That is where the loader has
/// found it, so it needs no /proc, and never is the current folder.
fs::path FolderOfPlugIns() {
    Dl_info host = {};
    fs::path path;
    if (dladdr(reinterpret_cast<void const*>(&BLogger::Instance), &host) != 0) {
        path = fs::path(host.dli_fname).parent_path();
    }
    if (!path.is_absolute()) {
        throw LoadFailure("it is not known where it was installed; see AMBREL_PLUGIN_PATH");
    }
    return path.lexically_normal() / "ambrel";
}

fs::path FindPlugIn() {
    std::error_code error; // a place that cannot be looked at is not the one
    if (char const* const wanted = std::getenv("AMBREL_PLUGIN_PATH"); wanted && *wanted) {
        fs::path const path = fs::absolute(wanted); // the loader searches for a mere name
        return fs::is_directory(path, error) ? path / moduleName : path;
    }
    return FolderOfPlugIns() / moduleName;
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
