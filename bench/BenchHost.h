#pragma once

#include <Ambrel/BDataManager.h>

#include <string>

namespace Ambrel {
class BDataManagerProxy;
}

namespace Ambrel::Bench {

/// One reader of the plug-in, which is loaded at run time as any host does.
class Session {
public:
    enum class Mode { Memory, Cache, Direct };

    explicit Session(Mode mode);
    Session(Session const&) = delete;
    Session& operator=(Session const&) = delete;
    ~Session();

    void Open(std::string const& path, bool useAttributes);
    void Read();
    /// The first layer, and its features.
    BVectorLayer& Layer() const;
    BFeatureCollection const& Features() const;
    BRect Extent();

private:
    BDataManagerProxy& proxy;
    BDataReader* reader;
};

} // namespace Ambrel::Bench
