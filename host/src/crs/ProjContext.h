#pragma once

#include <memory>
#include <proj.h>

namespace Ambrel {

struct FreeContext {
    void operator()(PJ_CONTEXT* context) const noexcept { proj_context_destroy(context); }
};
using ProjContext = std::unique_ptr<PJ_CONTEXT, FreeContext>;

/// A context of its own for every object: one is used by one thread at a time. It neither logs nor
/// reaches for the network, and opens PROJ's own files only: regular ones, by their full path. Left
/// alone, PROJ looks for the grids that its database names in the current folder too, where they
/// may be anybody's, or a pipe. Throws std::bad_alloc.
ProjContext MakeProjContext();

} // namespace Ambrel
