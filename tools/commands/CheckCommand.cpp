#include "commands/CheckCommand.h"
#include "commands/CompanionCheck.h"
#include "commands/ForEachFile.h"
#include "formats/GeometryWalk.h"
#include "source/Log.h"
#include "source/StreamingCollection.h"
#include "terminal/Console.h"
#include "terminal/Interrupt.h"
#include "terminal/ProgressBar.h"

#include "Ambrel/BException.h"
#include "Ambrel/BFileUtilities.h"

#include <optional>
#include <set>
#include <utility>

namespace Ambrel::Tool {

namespace {

/// The vertices that make a line or a ring, as the format's description has it.
std::uint64_t LeastVertices(EGeometryType type) {
    switch (type) {
    case GEO_POLYLINE:
    case GEO_AGGREGATE_LINEAR: return 2;
    case GEO_POLYGON:
    case GEO_DONUT:
    case GEO_AGGREGATE_AREA: return 4;
    default: return 0;
    }
}

bool HasPartOfFewVertices(BGeometry const& geometry) {
    std::uint64_t const least = LeastVertices(geometry.type);
    bool hasOne = false;
    ForEachPart(geometry, [&](BPoint const*, std::uint64_t count) { hasOne |= count < least; });
    return hasOne;
}

/// What the reader tells about one file while it is looked at.
class Findings {
public:
    Findings(Console& newConsole, BString const& newFile) : console(newConsole), file(newFile) {}

    /// The record that is being looked at; none while the file as a whole is. Prints what has been
    /// found so far: not when it is found, since what is thrown in the log is lost.
    void SetRecord(std::optional<std::uint64_t> newRecord) {
        record = newRecord;
        seenInRecord.clear();
        if (!text.empty()) {
            console.out.Write(std::exchange(text, std::string()));
        }
    }

    void TakeLogLine(ELogSeverity severity, std::string_view line) {
        if (severity <= LOG_WARNING) {
            AddProblem(line);
        } else if (line.find(" has a NULL shape") != std::string_view::npos) {
            ++nullShapes;
        } else if (line.find(" has no measures") != std::string_view::npos) {
            ++withoutMeasures;
        } else if (line.find("point coordinates are not valid") != std::string_view::npos) {
            ++withoutPosition;
        }
    }

    /// Counts what is legal to store and yet no shape.
    void TakeFeature(BFeature const& feature) {
        BGeometry const* const geometry = feature.GetGeometry().Get();
        withFewVertices += geometry && HasPartOfFewVertices(*geometry);
        withoutNumbers += geometry && !IsFinite(*geometry);
    }

    void TakeException(BException const& exception) {
        AddProblem(std::string(exception.GetClassName()) + ": " + exception.GetOperation().Ascii() +
                   ": " + exception.GetMessage().Ascii());
    }

    std::uint64_t ProblemCount() const { return problems; }
    std::string Oddities() const {
        std::string oddities;
        for (auto const& [count, what] :
             {std::pair(nullShapes, nullShapes == 1 ? " null shape" : " null shapes"),
              std::pair(withoutMeasures, " without measures"),
              std::pair(withoutPosition, " without a position"),
              std::pair(withFewVertices, " with a part of too few vertices"),
              std::pair(withoutNumbers, " with coordinates that are no numbers")}) {
            oddities += count > 0 ? ", " + std::to_string(count) + what : "";
        }
        return oddities;
    }

    /// Notes the problem, unless this record (or the file) has had the same one.
    void AddProblem(std::string_view problem) {
        std::string const what = InOurWords(problem);
        if (!(record ? seenInRecord : seenInFile).insert(what).second) {
            return;
        }
        ++problems;
        text += OneLine(std::string(file.Utf8()) + ": " + what) + "\n";
    }

private:
    /// Without the component's tag, and beginning with the record.
    std::string InOurWords(std::string_view text) const {
        for (std::string_view const tag :
             {"SHP-Reader: ", "SHP-FeatureCollection: ", "DBF-Reader: ", "DBF-File: "}) {
            if (text.starts_with(tag)) {
                text.remove_prefix(tag.size());
            }
        }
        if (!record) {
            return std::string(text);
        }
        std::string const number = std::to_string(*record);
        bool const isNamed = text.starts_with("Record " + number + " ") ||
                             text.starts_with("Record " + number + ":");
        return isNamed ? "r" + std::string(text.substr(1))
                       : "record " + number + ": " + std::string(text);
    }

    Console& console;
    BString file;
    std::optional<std::uint64_t> record;
    std::set<std::string> seenInRecord;
    std::set<std::string> seenInFile;
    std::uint64_t problems = 0;
    std::uint64_t nullShapes = 0;
    std::uint64_t withoutMeasures = 0;
    std::uint64_t withoutPosition = 0;
    std::uint64_t withFewVertices = 0;
    std::uint64_t withoutNumbers = 0;
    std::string text; ///< lines that are not printed yet
};

struct Progress {
    std::uint64_t records; ///< looked at so far
    bool isComplete;
};

/// Reads the records in one go, as far as that goes: to the end, or up to and with the first one
/// that throws.
Progress ReadInOrder(Console& console, Source& source, Findings& findings) {
    std::uint64_t done = 0;
    source.Layer().SetFeaturesPtr(new StreamingCollection([&](std::uint64_t, BFeature& feature) {
        findings.TakeFeature(feature);
        findings.SetRecord(++done); // what is logged from now on is about the next one
    }));
    ProgressBar progress(console, std::string(source.Layer().name.Utf8()));
    source.Reader().SetProgress(&progress);
    findings.SetRecord(0);
    try {
        source.Reader().Read();
    } catch (StopException const&) {
        throw;
    } catch (BException const& exception) {
        findings.TakeException(exception);
        return {done + 1, false};
    }
    ThrowIfInterrupted();
    return {done, true};
}

/// Looks at the records from `first` on, each on its own, so that one that throws does not hide
/// those behind it. Returns how many there are in all.
std::uint64_t FetchOneByOne(Console& console, Source& source, std::uint64_t first,
                            Findings& findings) {
    source.ReopenDirectly();
    BFeatureCollection& features = source.Layer().GetFeatures();
    std::uint64_t const count = features.GetCount();
    ProgressBar progress(console, std::string(source.Layer().name.Utf8()));
    for (std::uint64_t i = first; i < count; ++i) {
        progress.Step(i, count);
        findings.SetRecord(i);
        try {
            BSharedPtr<BFeature> const feature = features.GetAt(i, true);
            findings.TakeFeature(*feature);
        } catch (BException const& exception) {
            findings.TakeException(exception);
        }
    }
    return count;
}

/// Returns how many records there are.
std::uint64_t CheckRecords(Console& console, BString const& file, Findings& findings) {
    Source source(console, file, {.mode = HoldMode::Stream});
    Progress const read = ReadInOrder(console, source, findings);
    return read.isComplete ? read.records : FetchOneByOne(console, source, read.records, findings);
}

/// Adds the number of problems, also where the output ends before the file does.
void CheckFile(Console& console, BString const& file, std::uint64_t& problems) {
    Findings findings(console, file);
    std::uint64_t count = 0;
    auto const look = [&] {
        Log const log(LOG_DETAIL, [&](ELogSeverity severity, std::string_view line) {
            if (console.verbose) {
                console.err.Write(OneLine(InUsersNames(std::string(line))) + "\n");
            }
            findings.TakeLogLine(severity, line);
        });
        count = CheckRecords(console, file, findings);
        findings.SetRecord(std::nullopt);
        for (std::string const& problem : CompanionProblems(file)) {
            findings.AddProblem(problem);
        }
        findings.SetRecord(std::nullopt);
    };
    try {
        look();
    } catch (StopException const&) {
        problems += findings.ProblemCount();
        throw;
    } catch (...) {
        findings.SetRecord(std::nullopt); // what is known of a file that can not be read
        throw;
    }
    std::uint64_t const found = findings.ProblemCount();
    problems += found;
    console.out.Write(OneLine(file.Utf8()) + ": " + std::to_string(count) +
                      (count == 1 ? " record, " : " records, ") +
                      (found == 0 ? "no" : std::to_string(found)) +
                      (found == 1 ? " problem" : " problems") + findings.Oddities() + "\n");
}

} // namespace

int RunCheck(Console& console, CheckOptions const& options) {
    std::uint64_t problems = 0;
    int failed = 0;
    try {
        failed = ForEachFile(console, options.paths,
                             [&](BString const& file) { CheckFile(console, file, problems); });
    } catch (PipeClosedException const&) { // nobody reads on, and what was found holds
    }
    if (failed > 0) {
        return EXIT_UNREADABLE;
    }
    return problems > 0 ? EXIT_PROBLEM : EXIT_OK;
}

} // namespace Ambrel::Tool
