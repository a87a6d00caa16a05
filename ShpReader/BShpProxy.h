#pragma once

#include "Ambrel/BDataManagerProxy.h"

namespace Ambrel {

/// The plug-in's proxy: serves the shapefile format, for reading.
class BShpProxy final : public BDataManagerProxy {
public:
    BShpProxy() noexcept = default;
    ~BShpProxy() override;

    bool SupportsFormat(BString const& format) override;
    /// A new BShpReader, unopened, owned by the caller. The options choose where features are held
    /// (see BDataManager); the file name is not used. May throw std::bad_alloc.
    BDataReader* CreateReader(BString const& fileName, BParamList const& params,
                              BCoordSysRepository* repository, BLogger* logger) override;
};

} // namespace Ambrel
