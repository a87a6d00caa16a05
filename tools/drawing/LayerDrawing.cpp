#include "drawing/LayerDrawing.h"

#include "drawing/MapRenderer.h"
#include "source/Log.h"
#include "terminal/Console.h"
#include "terminal/Explain.h"
#include "terminal/ProgressBar.h"

#include "Ambrel/BException.h"
#include "Ambrel/BLayer.h"

#include <algorithm>

namespace Ambrel::Tool {

namespace {

constexpr std::size_t recordsAtOnce = 4096; ///< between two looks at the user
constexpr std::uint64_t mostNamed = 10;     ///< of records that are left out

using Records = std::vector<std::uint64_t>;

class LayerDrawing {
public:
    LayerDrawing(Console& toolConsole, BString const& shapefile, BVectorLayer& vectorLayer,
                 MapRenderer& mapRenderer, bool toReport)
        : console(toolConsole), file(shapefile), layer(vectorLayer), renderer(mapRenderer),
          reports(toReport) {}

    std::uint64_t Run(Records const& records) {
        ProgressBar progress(console, std::string(layer.name.Utf8()));
        for (std::size_t begin = 0; begin < records.size() && !isSpent; begin += recordsAtOnce) {
            progress.Step(begin, records.size());
            std::size_t const end = std::min(begin + recordsAtOnce, records.size());
            DrawBatch(records, begin, end);
        }
        TellTheRest();
        return leftOut;
    }

private:
    void DrawBatch(Records const& records, std::size_t begin, std::size_t end) {
        std::uint64_t const drawnBefore = renderer.DrawnRecords();
        std::string problem =
            Draw({records.begin() + Offset(begin), records.begin() + Offset(end)});
        if (problem.empty()) {
            return;
        }
        std::size_t at = FindFailure(records, begin, renderer.DrawnRecords() - drawnBefore);
        while (!isSpent) {
            LeaveOut(records[at], problem);
            do {
                if (++at == end) {
                    return;
                }
                problem = Draw({records[at]});
            } while (problem.empty());
        }
        std::for_each(records.begin() + Offset(at), records.end(),
                      [&](std::uint64_t record) { LeaveOut(record, problem); });
    }

    static std::ptrdiff_t Offset(std::size_t index) { return static_cast<std::ptrdiff_t>(index); }

    /// Returns why not all could be drawn, or nothing.
    std::string Draw(Records const& records) {
        try {
            layer.GetFeatures().RenderFeatures(records, &renderer);
            return {};
        } catch (StopException const&) {
            throw;
        } catch (BResourceException const&) {
            throw;
        } catch (BudgetSpentException const& error) {
            isSpent = true;
            return error.what();
        } catch (BException const& error) {
            return Explain(error, {});
        }
    }

    /// The position of the record that ended a batch after so many had been drawn. The batch does
    /// not tell, so it is gone through again, without painting.
    std::size_t FindFailure(Records const& records, std::size_t begin, std::uint64_t drawn) {
        Silence const silence;
        renderer.SetMuted(true);
        std::uint64_t const drawnBefore = renderer.DrawnRecords();
        bool const wasSpent = isSpent;
        std::size_t at = begin;
        while (at + 1 < records.size() && Draw({records[at]}).empty() &&
               renderer.DrawnRecords() - drawnBefore <= drawn) {
            ++at;
        }
        isSpent = wasSpent;
        renderer.SetMuted(false);
        return at;
    }

    void LeaveOut(std::uint64_t record, std::string const& problem) {
        if (++leftOut <= mostNamed || console.verbose) {
            Print("record " + std::to_string(record) + " is left out: " + problem);
        }
    }

    void TellTheRest() {
        if (leftOut > mostNamed && !console.verbose) {
            Print("… and " + std::to_string(leftOut - mostNamed) + " more records are left out");
        }
    }

    void Print(std::string const& text) {
        if (reports) {
            PrintError(console, text, file.Utf8());
        }
    }

    Console& console;
    BString file;
    BVectorLayer& layer;
    MapRenderer& renderer;
    bool reports;
    bool isSpent = false;
    std::uint64_t leftOut = 0;
};

} // namespace

std::uint64_t DrawRecords(Console& console, BString const& file, BVectorLayer& layer,
                          std::vector<std::uint64_t> const& records, MapRenderer& renderer,
                          bool reports) {
    return LayerDrawing(console, file, layer, renderer, reports).Run(records);
}

} // namespace Ambrel::Tool
