#include "commands/CheckCommand.h"

#include "commands/CheckOutput.h"
#include "commands/CompanionCheck.h"
#include "commands/FeatureCheck.h"
#include "commands/FeaturePassage.h"
#include "commands/ForEachFile.h"
#include "source/FileHeader.h"
#include "source/FindingReport.h"
#include "source/Log.h"
#include "terminal/Console.h"
#include "terminal/Explain.h"

#include "ShpReader/format/Findings.h"

#include <algorithm>

namespace Ambrel::Tool {

namespace {

/// The rectangles that the records of a file state.
class StoredBoxes {
public:
    StoredBoxes(Console& console, BString const& file)
        : source(console, file, {.useAttributes = false}) {}

    /// None where there is none, or none that differs from the vertices by its nature.
    std::optional<BRect> Of(std::uint64_t record, BFeature const& feature) {
        BGeometry const* const geometry = feature.GetGeometry().Get();
        if (!geometry || geometry->type == GEO_POINT) {
            return std::nullopt;
        }
        Silence const silence; // the record has been read before
        try {
            return source.Layer().GetFeatures().GetFeatureMBRAt(record);
        } catch (BException const&) {
            return std::nullopt;
        }
    }

private:
    Source source;
};

std::unique_ptr<StoredBoxes> OpenBoxes(Console& console, BString const& file) {
    Silence const silence; // opening has told what there is to tell
    return std::make_unique<StoredBoxes>(console, file);
}

/// Whether the header denies measures that the records may have. What cannot be read will be told
/// by who opens it.
bool HidesMeasures(BString const& file) {
    std::optional<ShpFileHeader> const header = HeaderOf(file);
    ShapeType const* const type = header ? FindShapeType(header->shapeType) : nullptr;
    return type && type->hasMeasures && !header->HasUsableMeasures();
}

/// Whether something that the header's box covers has not been read.
bool IsExtentPartial(FindingReport const& report, PassageCounts const& counts) {
    constexpr std::uint32_t withLoss[] = {static_cast<std::uint32_t>(FindingCode::InvalidPosition),
                                          INDEX_UNREADABLE,
                                          INDEX_CUT,
                                          INDEX_REPEATS_RECORDS,
                                          RECORD_BEHIND_LAST,
                                          LAST_RECORD_CUT};
    return report.HasLoss() || counts.deleted > 0 ||
           std::any_of(std::begin(withLoss), std::end(withLoss),
                       [&](std::uint32_t code) { return report.CountOf(code) > 0; });
}

/// Looks at one file: at its records, and at how its parts agree.
PassageCounts LookAt(Console& console, BString const& file, CheckOptions const& options,
                     CheckOutput& output) {
    FindingReport& report = *console.report;
    bool const measuresAreHidden = HidesMeasures(file);
    Source source(console, file,
                  {.mode = HoldMode::Stream,
                   .encoding = options.encoding,
                   .withMeasures = measuresAreHidden,
                   .crs = options.crs});
    BSharedPtr<BCoordSys> const crs = source.Layer().GetCoordSys();
    FeatureCheck check(report, {.measuresAreHidden = measuresAreHidden,
                                .isGeographic = crs && crs->IsGeographic()});
    std::unique_ptr<StoredBoxes> const boxes = OpenBoxes(console, file);
    PassageCounts const counts =
        PassFeatures(console, file, source, [&](std::uint64_t record, BFeature& feature) {
            check.Take(record, feature, boxes->Of(record, feature));
            output.Flush(); // not where it is found, since what is thrown in the log is lost
        });
    if (measuresAreHidden) { // the header has not promised any
        report.Forget(static_cast<std::uint32_t>(FindingCode::NoMeasures));
    }
    if (counts.deleted > 0) {
        report.Count(DELETED_ROWS, counts.deleted);
    }
    CheckCompanions(file, report);
    if (check.IsExtentKnown() && !check.Extent().IsEmpty() && !IsExtentPartial(report, counts) &&
        !IsSameBox(source.Extent(), check.Extent())) {
        report.Add(HEADER_BOX_WRONG);
    }
    return counts;
}

/// Counts what is found of all files.
class Check {
public:
    Check(Console& theConsole, CheckOptions const& theOptions)
        : console(theConsole), options(theOptions), output(CheckOutput::Make(console, options)) {}

    /// What is known of a file is told, too, where it cannot be read or the output ends.
    void LookAtFile(BString const& file) {
        output->Begin(file.Utf8());
        FindingReport report(
            console, [&](ListedFinding const& finding) { output->List(finding); }, options.all);
        PassageCounts counts;
        try {
            counts = LookAt(console, file, options, *output);
            report.Finish();
        } catch (StopException const&) {
            problems += report.ProblemCount();
            throw;
        } catch (std::exception const& error) {
            report.Finish();
            output->Fail(Explain(error, console.file));
            throw;
        }
        problems += report.ProblemCount();
        output->End(counts.records, report);
    }

    int Run() {
        int failed = 0;
        try {
            failed =
                ForEachFile(console, options.paths, [&](BString const& file) { LookAtFile(file); });
            output->Finish();
        } catch (PipeClosedException const&) { // nobody reads on, and what was found holds
        }
        if (failed > 0) {
            return EXIT_UNREADABLE;
        }
        return problems > 0 ? EXIT_PROBLEM : EXIT_OK;
    }

private:
    Console& console;
    CheckOptions const& options;
    std::unique_ptr<CheckOutput> output;
    std::uint64_t problems = 0;
};

} // namespace

int RunCheck(Console& console, CheckOptions const& options) {
    return Check(console, options).Run();
}

} // namespace Ambrel::Tool
