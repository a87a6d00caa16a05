#pragma once

#include "Ambrel/BGeometry.h"

namespace Ambrel::Tool {

/// What is said of the edges of a ring, or of a ring that is closed.
enum class Crossings { None, Found, NotSearched };

/// Whether two edges of the ring, closed where it is open, cross each other in a point that is an
/// end of neither. The effort is bounded: rings for which it would not be near linear in their
/// vertices are not searched to the end. REQUIRES: finite coordinates.
Crossings FindCrossings(BPoints const& ring);

/// Whether the ring encloses nothing.
bool HasNoArea(BPoints const& ring);

} // namespace Ambrel::Tool
