// The virtual tables of the host's interfaces stand here, so that none is left in a plug-in.

#include "Ambrel/BByteStreamable.h"
#include "Ambrel/BProgress.h"
#include "Ambrel/BRenderer.h"
#include "Ambrel/BTransform.h"

namespace Ambrel {

BByteStreamable::~BByteStreamable() = default;
BProgress::~BProgress() = default;
BRenderer::~BRenderer() = default;
BTransform::~BTransform() = default;

} // namespace Ambrel
