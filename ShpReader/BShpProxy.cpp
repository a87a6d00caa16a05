#include "ShpReader/BShpProxy.h"

#include "Ambrel/Constants.h"
#include "ShpReader/BShpReader.h"

namespace Ambrel {

BShpProxy::~BShpProxy() = default;

bool BShpProxy::SupportsFormat(BString const& format) {
    return format == DS_SHP;
}

BDataReader* BShpProxy::CreateReader(BString const& /*fileName*/, BParamList const& params,
                                     BCoordSysRepository* repository, BLogger* logger) {
    auto* const reader = new BShpReader(params);
    Initialize(reader, repository, logger);
    return reader;
}

} // namespace Ambrel
