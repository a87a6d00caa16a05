#include "commands/DrawCommand.h"
#include "commands/ForEachFile.h"
#include "drawing/PainterRenderer.h"
#include "drawing/Picture.h"
#include "formats/OutputFile.h"
#include "source/Log.h"
#include "terminal/Console.h"
#include "terminal/ProgressBar.h"

#include "Ambrel/BException.h"

#include <algorithm>
#include <cmath>

namespace Ambrel::Tool {

namespace {

constexpr double margin = 10.0;             ///< around the map, in pixels
constexpr std::size_t recordsAtOnce = 4096; ///< between two looks at the user

/// What is known of a layer before it is drawn. The layers are opened one after the other: a folder
/// may have more of them than a process may have open files.
struct Drawn {
    BString file;
    std::string name;
    EGeometryClass geometryClass;
    BRect extent;         ///< empty where the layer has none
    std::size_t path = 0; ///< which of those that were named it comes from
};
using Layers = std::vector<Drawn>;

/// Areas at the bottom, then lines, then points.
int HeightOf(Drawn const& layer) {
    switch (layer.geometryClass) {
    case GEO_CLASS_AREAS: return 0;
    case GEO_CLASS_LINES: return 1;
    default: return 2;
    }
}

bool IsUsable(BRect const& rectangle) {
    return std::isfinite(rectangle.xMin) && std::isfinite(rectangle.xMax) &&
           std::isfinite(rectangle.yMin) && std::isfinite(rectangle.yMax) &&
           rectangle.xMin <= rectangle.xMax && rectangle.yMin <= rectangle.yMax;
}

std::unique_ptr<Source> OpenLayer(Console& console, BString const& file) {
    return std::make_unique<Source>(console, file, SourceOptions{.useAttributes = false});
}

std::unique_ptr<Source> OpenAgain(Console& console, BString const& file) {
    Silence const silence; // what is odd about the file has been told
    return OpenLayer(console, file);
}

Drawn LookAt(Console& console, BString const& file) {
    std::unique_ptr<Source> const source = OpenLayer(console, file);
    BVectorLayer& layer = source->Layer();
    // A file without records states an extent too, and it means nothing.
    bool const hasRecords = layer.GetFeatures().GetCount() > 0;
    BRect const extent = source->Extent();
    return {file, std::string(layer.name.Utf8()), layer.GetSingleGeometryClass(),
            hasRecords && IsUsable(extent) ? extent : BRect()};
}

/// The layers in drawing order: that of the paths, and by class among the files of one path, whose
/// order by name says nothing.
Layers LookAtLayers(Console& console, InputPaths const& paths, int& failed) {
    Layers layers;
    for (Input const& input : FindInputs(console, paths, failed)) {
        failed += !Survives(console, input.file.Utf8(), [&] {
            layers.push_back(LookAt(console, input.file));
            layers.back().path = input.path;
        });
    }
    std::stable_sort(layers.begin(), layers.end(), [](Drawn const& a, Drawn const& b) {
        return std::pair(a.path, HeightOf(a)) < std::pair(b.path, HeightOf(b));
    });
    return layers;
}

BRect ExtentOf(Layers const& layers) {
    BRect extent;
    for (Drawn const& layer : layers) {
        extent.Union(layer.extent);
    }
    return extent;
}

BRect WhatToShow(DrawOptions const& options, BRect const& extent) {
    if (!options.window && extent.IsEmpty()) {
        throw BDataManagerException(BString::FromUtf8("draw"),
                                    BString::FromUtf8("nothing to draw; see --bbox"));
    }
    return options.window ? *options.window : extent;
}

LayerStyle StyleOf(Drawn const& layer, std::vector<StyleRule> const& rules) {
    LayerStyle style = DefaultStyle(layer.geometryClass);
    for (StyleRule const& rule : rules) {
        Apply(rule, layer.name, style);
    }
    return style;
}

void RefuseUnknownLayers(std::vector<StyleRule> const& rules, Layers const& layers) {
    for (StyleRule const& rule : rules) {
        bool const isKnown = rule.layer.empty() ||
                             std::any_of(layers.begin(), layers.end(), [&](Drawn const& drawn) {
                                 return drawn.name == rule.layer;
                             });
        if (!isKnown) {
            throw UsageException("--style: there is no layer " + rule.layer);
        }
    }
}

void DrawLayer(Console& console, BVectorLayer& layer, PainterRenderer const& renderer,
               BRect const& area) {
    std::vector<std::uint64_t> records;
    layer.GetFeatures().SelectFeatures(area, BParamList(), records);
    ProgressBar progress(console, std::string(layer.name.Utf8()));
    for (std::size_t first = 0; first < records.size(); first += recordsAtOnce) {
        progress.Step(first, records.size());
        auto const begin = records.begin() + static_cast<std::ptrdiff_t>(first);
        auto const end =
            begin + static_cast<std::ptrdiff_t>(std::min(recordsAtOnce, records.size() - first));
        layer.GetFeatures().RenderFeatures({begin, end}, &renderer);
    }
}

} // namespace

int RunDraw(Console& console, DrawOptions const& options) {
    std::unique_ptr<Picture> const picture =
        Picture::Make(options.output, options.width, options.height);
    int failed = 0;
    Layers const layers = LookAtLayers(console, options.paths, failed);
    if (layers.empty()) {
        return EXIT_PROBLEM;
    }
    RefuseUnknownLayers(options.styles, layers);
    BRect const extent = ExtentOf(layers);
    MapWindow const window(WhatToShow(options, extent), options.width, options.height,
                           options.window ? 0.0 : margin, extent);
    OutputFile output(console, options.output);
    QPainter painter(&picture->Device());
    for (Drawn const& layer : layers) {
        LayerStyle const style = StyleOf(layer, options.styles);
        PainterRenderer const renderer(painter, picture->Image(), window, style);
        failed += !Survives(console, layer.file.Utf8(), [&] {
            std::unique_ptr<Source> const source = OpenAgain(console, layer.file);
            DrawLayer(console, source->Layer(), renderer, window.VisibleMap(style.width));
        });
    }
    painter.end();
    picture->WriteTo(output);
    output.Commit();
    return failed > 0 ? EXIT_PROBLEM : EXIT_OK;
}

} // namespace Ambrel::Tool
