#include "commands/DrawCommand.h"

#include "commands/ForEachFile.h"
#include "commands/RowChoice.h"
#include "drawing/LayerDrawing.h"
#include "drawing/MapRenderer.h"
#include "drawing/RasterCanvas.h"
#include "formats/OutputFile.h"
#include "source/LayerTransform.h"
#include "source/Log.h"
#include "sql/RecordFilter.h"
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
    BRect stated;                       ///< the header's extent; empty where it has none
    BSharedPtr<BCoordSys> system;       ///< empty where it is not known
    std::optional<RecordFilter> filter; ///< none: all records
    std::size_t path = 0;               ///< which of those that were named it comes from
    LayerTransform transform{};         ///< into the picture's system
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

SourceOptions OptionsOfSource(DrawOptions const& options) {
    return {.useAttributes = false, .crs = options.crs};
}

std::optional<RecordFilter> FilterOf(Console& console, BString const& file,
                                     DrawOptions const& options) {
    if (options.where.empty()) {
        return std::nullopt;
    }
    Silence const silence; // what is odd about the file has been told
    return RecordFilter(console, file, OptionsOfSource(options), options.where);
}

Drawn LookAt(Console& console, BString const& file, DrawOptions const& options) {
    Source source(console, file, OptionsOfSource(options));
    BVectorLayer& layer = source.Layer();
    // A file without records states an extent too, and it means nothing.
    bool const hasRecords = layer.GetFeatures().GetCount() > 0;
    BRect const extent = source.Extent();
    return {file,
            std::string(layer.name.Utf8()),
            layer.GetSingleGeometryClass(),
            hasRecords && IsUsable(extent) ? extent : BRect(),
            layer.GetCoordSys(),
            FilterOf(console, file, options)};
}

/// The layers in drawing order: that of the paths, and by class among the files of one path, whose
/// order by name says nothing.
Layers LookAtLayers(Console& console, DrawOptions const& options, int& failed) {
    Layers layers;
    for (Input const& input : FindInputs(console, options.paths, failed)) {
        failed += !Survives(console, input.file.Utf8(), [&] {
            layers.push_back(LookAt(console, input.file, options));
            layers.back().path = input.path;
        });
    }
    std::stable_sort(layers.begin(), layers.end(), [](Drawn const& a, Drawn const& b) {
        return std::pair(a.path, HeightOf(a)) < std::pair(b.path, HeightOf(b));
    });
    return layers;
}

/// The coordinate system of the picture: what the user asks for, else that of the first layer of
/// which it is known.
BSharedPtr<BCoordSys> SystemOf(Layers const& layers, DrawOptions const& options) {
    if (!options.toCrs.empty()) {
        return CoordSysCalled("--to-crs", options.toCrs);
    }
    auto const known = std::find_if(layers.begin(), layers.end(),
                                    [](Drawn const& layer) { return bool(layer.system); });
    return known == layers.end() ? BSharedPtr<BCoordSys>() : known->system;
}

void WarnOfUnknownSystems(Console& console, Layers const& layers, BCoordSys const& picture) {
    std::vector<std::string_view> unknown;
    for (Drawn const& layer : layers) {
        if (!layer.system) {
            unknown.push_back(layer.file.Utf8());
        }
    }
    if (unknown.empty()) {
        return;
    }
    std::string text(unknown.front());
    if (unknown.size() > 1) {
        text += " and " + Counted(unknown.size() - 1, "more layer|more layers");
    }
    console.file.clear(); // the text names it
    PrintWarning(console, text + ": the coordinate system is not known; drawn as if it were " +
                              std::string(picture.GetName().Utf8()));
}

/// Finds the ways into the picture's system. Layers from which there is none are printed, counted
/// in `failed`, and removed.
void BringTogether(Console& console, Layers& layers, DrawOptions const& options, int& failed) {
    BSharedPtr<BCoordSys> const picture = SystemOf(layers, options);
    if (!picture) {
        return;
    }
    WarnOfUnknownSystems(console, layers, *picture);
    std::erase_if(layers, [&](Drawn& layer) {
        bool const isThere = Survives(console, layer.file.Utf8(), [&] {
            layer.transform = LayerTransform(layer.system, picture);
        });
        failed += !isThere;
        return !isThere;
    });
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
    /// where it was not. What headers state of layers of other coordinate systems tells nothing.
    void Paint(Canvas& canvas, RasterCanvas* restartable) {
        BRect const stated = StatedExtent(layers);
        bool const isInPlace = std::all_of(layers.begin(), layers.end(), [](Drawn const& layer) {
            return layer.transform.IsIdentity();
        });
        bool const canTry = isInPlace && (options.window || (restartable && !stated.IsEmpty()));
        MapWindow const guessed = WindowOf(stated);
        PaintLayers(canTry ? &canvas : nullptr, guessed);
        MapWindow const window = WindowOf(extent);
        if (canTry && (extent.IsEmpty() || window.IsLike(guessed))) {
            return;
        }
        if (canTry) {
            restartable->Clear(); // the window is not given, so there is one
        }
        reports = false;
        PaintLayers(&canvas, window);
    }

    bool HasPainted() const noexcept { return hasPainted; }
    bool HasFailed() const noexcept { return hasFailed; }

private:
    MapWindow WindowOf(BRect const& map) const {
        if (options.window) {
            return MapWindow(*options.window, options.width, options.height, 0.0, map);
        }
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
        std::optional<Silence> silence(std::in_place); // what is odd about the file has been told
        Source source(console, layer.file, OptionsOfSource(options));
        if (reports) {
            silence.reset();
        }
        MapRenderer renderer(canvas, window, style);
        renderer.SetBudget(DecodingBudget::Of(layer.file));
        if (!layer.transform.IsIdentity()) {
            renderer.SetTransform(layer.transform);
        }
        std::uint64_t const leftOut = DrawRecords(
            console, layer.file, source.Layer(),
            RecordsToDraw(layer, source.Layer().GetFeatures(), window.VisibleMap(style.width)),
            renderer, reports);
        TellOfLostVertices(layer, renderer.LostVertices());
        hasFailed = hasFailed || leftOut > 0 || renderer.LostVertices() > 0;
        hasPainted = hasPainted || renderer.HasPainted();
        extent.Union(renderer.Extent());
    }

    void TellOfLostVertices(Drawn const& layer, std::uint64_t count) const {
        if (reports && count > 0) {
            PrintError(console,
                       Counted(count, "vertex has|vertices have") +
                           " no place in the picture's coordinate system, left out",
                       layer.file.Utf8());
        }
    }

    /// `visible` is in the picture's units.
    std::vector<std::uint64_t> RecordsToDraw(Drawn const& layer, BFeatureCollection& features,
                                             BRect const& visible) const {
        std::vector<std::uint64_t> records;
        if (options.window && layer.transform.IsIdentity()) {
            features.SelectFeatures(visible, BParamList(), records);
        } else {
            records.resize(features.GetCount());
            std::iota(records.begin(), records.end(), std::uint64_t{0});
        }
        if (options.records) {
            options.records->RequireWithin(features.GetCount());
            options.records->Keep(records);
        }
        if (layer.filter) {
            std::erase_if(records,
                          [&](std::uint64_t record) { return !layer.filter->Contains(record); });
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
    Layers layers = LookAtLayers(console, options, failed);
    RequireOneLayer(options.records, layers.size());
    RefuseUnknownLayers(options.styles, layers);
    BringTogether(console, layers, options, failed);
    if (layers.empty()) {
        return EXIT_PROBLEM;
    }
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
