// The module's one exported function.

#include "ShpReader/BShpProxy.h"

namespace {

Ambrel::BShpProxy proxy;
Ambrel::BDataManagerProxy* const proxyAddress = &proxy;

} // namespace

/// The plug-in's proxy; the same on every call. It lives as long as the module is loaded.
extern "C" AMBREL_API Ambrel::BDataManagerProxy* GetDataMgrProxy() {
    return proxyAddress;
}
