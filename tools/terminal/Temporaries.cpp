#include "terminal/Temporaries.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <set>

#include <fcntl.h>

namespace Ambrel::Tool::Temporaries {

namespace {

namespace fs = std::filesystem;

struct Registry {
    std::mutex mutex;
    std::set<std::string> paths;
};

/// Never destroyed: the thread that waits for signals outlives main.
Registry& Known() {
    static auto* const registry = new Registry;
    return *registry;
}

void RemoveFromDisk(std::string const& path) noexcept {
    std::error_code ignored; // what cannot be removed has been by somebody else
    fs::remove_all(path, ignored);
}

/// REQUIRES: the registry is locked.
void RemoveKnown() noexcept {
    for (std::string const& path : Known().paths) {
        RemoveFromDisk(path);
    }
    Known().paths.clear();
}

/// The path without links and relative parts, so that it can be recognised in messages.
std::string Canonical(std::string const& path) {
    std::error_code error;
    fs::path const canonical = fs::canonical(path, error);
    return error ? path : canonical.string();
}

} // namespace

int CreateFile(std::string& path) {
    std::lock_guard const lock(Known().mutex); // no signal comes between making and remembering
    int const descriptor = ::mkostemp(path.data(), O_CLOEXEC);
    if (descriptor >= 0) {
        Known().paths.insert(path);
    }
    return descriptor;
}

std::string CreateFolder() {
    char const* const wanted = std::getenv("TMPDIR");
    std::string path =
        fs::absolute(wanted && *wanted ? wanted : "/tmp").string() + "/ambrel-shp.XXXXXX";
    std::lock_guard const lock(Known().mutex);
    if (!::mkdtemp(path.data())) {
        return {};
    }
    Known().paths.insert(path);
    std::string const canonical = Canonical(path);
    Known().paths.insert(canonical);
    return canonical;
}

bool Publish(std::string const& path, std::string const& finalName) {
    if (std::rename(path.c_str(), finalName.c_str()) != 0) {
        return false;
    }
    std::lock_guard const lock(Known().mutex);
    Known().paths.erase(path);
    return true;
}

void Remove(std::string const& path) noexcept {
    RemoveFromDisk(path);
    std::lock_guard const lock(Known().mutex);
    Known().paths.erase(path);
}

void RemoveAll() noexcept {
    std::lock_guard const lock(Known().mutex);
    RemoveKnown();
}

void RemoveAllForGood() noexcept {
    Known().mutex.lock();
    RemoveKnown();
}

} // namespace Ambrel::Tool::Temporaries
