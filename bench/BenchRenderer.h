#pragma once

#include <Ambrel/BRenderer.h>

#include <memory>

namespace Ambrel::Bench {

/// Makes a renderer for an image of this size in pixels that shows the area, in map units.
using RendererMaker = std::unique_ptr<BRenderer> (*)(int width, int height, BRect const& area);

/// One that converts coordinates and paints nothing.
std::unique_ptr<BRenderer> MakeBlindRenderer(int width, int height, BRect const& area);

#ifdef AMBREL_BENCH_HAS_RENDERER
/// The command-line tool's.
std::unique_ptr<BRenderer> MakeImageRenderer(int width, int height, BRect const& area);
#endif

} // namespace Ambrel::Bench
