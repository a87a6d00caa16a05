#include "commands/DrawCommand.h"

#include "commands/ForEachFile.h"
#include "commands/RowChoice.h"
#include "drawing/LayerDrawing.h"
#include "drawing/MapRenderer.h"
#include "drawing/RasterCanvas.h"
#include "formats/OutputFile.h"
#include "source/Log.h"
#include "terminal/Console.h"

#include "Ambrel/BException.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace Ambrel::Tool {

namespace {

constexpr double margin = 10.0; ///< around the map, in pixels

/// What is known of a layer before it is drawn. The layers are opened one after the other: a folder
/// may have more of them than a process may have open files.
struct Drawn {
    BString file;
    std::string name;
    EGeometryClass geometryClass;
    BRect stated;         ///< the header's extent; empty where it has none
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

BRect StatedExtent(Layers const& layers) {
    BRect extent;
    for (Drawn const& layer : layers) {
        extent.Union(layer.stated);
    }
    return extent;
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

/// One map of all layers: where it is decided what it shows.
class Map {
public:
    Map(Console& toolConsole, DrawOptions const& drawOptions, Layers const& allLayers)
        : console(toolConsole), options(drawOptions), layers(allLayers) {}

    /// A header may state an extent that is not the data's. So a picture of everything goes by the
    /// data: what is painted by the headers' word, which is right nearly always, is painted again
    /// where it was not.
    void Paint(Canvas& canvas, RasterCanvas* restartable) {
        BRect const stated = StatedExtent(layers);
        if (options.window) {
            PaintLayers(&canvas,
                        MapWindow(*options.window, options.width, options.height, 0.0, stated));
            return;
        }
        bool const canTry = restartable && !stated.IsEmpty();
        MapWindow const guessed = WindowOf(stated);
        PaintLayers(canTry ? &canvas : nullptr, guessed);
        MapWindow const window = WindowOf(extent);
        if (canTry && (extent.IsEmpty() || window.IsLike(guessed))) {
            return;
        }
        if (canTry) {
            restartable->Clear();
        }
        reports = false;
        PaintLayers(&canvas, window);
    }

    bool HasPainted() const noexcept { return hasPainted; }
    bool HasFailed() const noexcept { return hasFailed; }

private:
    MapWindow WindowOf(BRect const& map) const {
        BRect const shown = map.IsEmpty() ? BRect(0.0, 0.0, 1.0, 1.0) : map;
        return MapWindow(shown, options.width, options.height, margin, map);
    }

    void PaintLayers(Canvas* canvas, MapWindow const& window) {
        extent = BRect();
        hasPainted = false;
        for (Drawn const& layer : layers) {
            bool const isDone =
                Survives(console, layer.file.Utf8(), [&] { PaintLayer(canvas, window, layer); });
            hasFailed = hasFailed || !isDone;
        }
    }

    void PaintLayer(Canvas* canvas, MapWindow const& window, Drawn const& layer) {
        LayerStyle const style = StyleOf(layer, options.styles);
        std::unique_ptr<Source> const source = OpenAgain(console, layer.file);
        MapRenderer renderer(canvas, window, style);
        renderer.SetBudget(DecodingBudget(layer.file));
        std::optional<Silence> silence;
        if (!reports) {
            silence.emplace();
        }
        std::uint64_t const leftOut =
            DrawRecords(console, layer.file, source->Layer(),
                        RecordsToDraw(source->Layer(), window, style), renderer, reports);
        hasFailed = hasFailed || leftOut > 0;
        hasPainted = hasPainted || renderer.HasPainted();
        extent.Union(renderer.Extent());
    }

    std::vector<std::uint64_t> RecordsToDraw(BVectorLayer& layer, MapWindow const& window,
                                             LayerStyle const& style) const {
        std::vector<std::uint64_t> records;
        if (options.window) {
            layer.GetFeatures().SelectFeatures(window.VisibleMap(style.width), BParamList(),
                                               records);
        } else {
            records.resize(layer.GetFeatures().GetCount());
            std::iota(records.begin(), records.end(), std::uint64_t{0});
        }
        if (options.records) {
            options.records->RequireWithin(layer.GetFeatures().GetCount());
            options.records->Keep(records);
        }
        return records;
    }

    Console& console;
    DrawOptions const& options;
    Layers const& layers;
    BRect extent; ///< of the data that was painted last
    bool reports = true;
    bool hasPainted = false;
    bool hasFailed = false;
};

} // namespace

int RunDraw(Console& console, DrawOptions const& options) {
    PictureFormat const format = PictureFormatOf(options.output);
    int failed = 0;
    Layers const layers = LookAtLayers(console, options.paths, failed);
    if (layers.empty()) {
        return EXIT_PROBLEM;
    }
    RequireOneLayer(options.records, layers.size());
    RefuseUnknownLayers(options.styles, layers);
    OutputFile output(console, options.output);
    std::unique_ptr<Canvas> const canvas =
        MakeCanvas(format, output, options.width, options.height);
    Map map(console, options, layers);
    map.Paint(*canvas, dynamic_cast<RasterCanvas*>(canvas.get()));
    canvas->Finish();
    output.Commit();
    if (!map.HasPainted()) {
        PrintError(console, "nothing of the data lies in the picture", {});
    }
    return failed > 0 || map.HasFailed() || !map.HasPainted() ? EXIT_PROBLEM : EXIT_OK;
}

} // namespace Ambrel::Tool
