#include "Commands.h"
#include "Console.h"
#include "ForEachFile.h"
#include "Interrupt.h"
#include "Log.h"
#include "ProgressBar.h"
#include "StreamingCollection.h"

#include "Ambrel/BException.h"
#include "Ambrel/BFileUtilities.h"

#include <optional>
#include <set>

namespace Ambrel::Tool {

namespace {

/// What the reader tells about one file while it is looked at.
class Findings {
public:
    Findings(Console& newConsole, BString const& newFile) : console(newConsole), file(newFile) {}

    /// The record that is being looked at; none while the file as a whole is.
    void SetRecord(std::optional<std::uint64_t> newRecord) {
        record = newRecord;
        seenInRecord.clear();
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

    void TakeException(BException const& exception) {
        AddProblem(std::string(exception.GetClassName()) + ": " + exception.GetOperation().Ascii() +
                   ": " + exception.GetMessage().Ascii());
    }

    std::uint64_t ProblemCount() const { return problems; }
    std::string Oddities() const {
        std::string text;
        if (nullShapes > 0) {
            text += ", " + std::to_string(nullShapes) +
                    (nullShapes == 1 ? " null shape" : " null shapes");
        }
        if (withoutMeasures > 0) {
            text += ", " + std::to_string(withoutMeasures) + " without measures";
        }
        if (withoutPosition > 0) {
            text += ", " + std::to_string(withoutPosition) + " without a position";
        }
        return text;
    }

    /// Prints the problem, unless this record (or the file) has had the same one.
    void AddProblem(std::string_view text) {
        std::string const what(WithoutPrefixes(text));
        if (!(record ? seenInRecord : seenInFile).insert(what).second) {
            return;
        }
        ++problems;
        std::string const where = record ? "record " + std::to_string(*record) + ": " : "";
        console.out.Write(std::string(file.Utf8()) + ": " + where + what + "\n");
    }

private:
    /// Without the component's tag, and without the record that our own line names already.
    std::string_view WithoutPrefixes(std::string_view text) const {
        for (std::string_view const tag :
             {"SHP-Reader: ", "SHP-FeatureCollection: ", "DBF-Reader: ", "DBF-File: "}) {
            if (text.starts_with(tag)) {
                text.remove_prefix(tag.size());
            }
        }
        std::string const named = record ? "Record " + std::to_string(*record) + " " : "";
        if (text.starts_with(named)) {
            text.remove_prefix(named.size());
        }
        return text;
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
};

struct Progress {
    std::uint64_t records; ///< looked at so far
    bool isComplete;
};

/// Reads the records in one go, as far as that goes: to the end, or up to and with the first one
/// that throws.
Progress ReadInOrder(Console& console, BString const& file, Findings& findings) {
    Source source(console, file, {.mode = HoldMode::Stream});
    std::uint64_t done = 0;
    source.Layer().SetFeaturesPtr(new StreamingCollection([&](std::uint64_t, BFeature&) {
        findings.SetRecord(++done); // what is logged from now on is about the next one
    }));
    ProgressBar progress(console, std::string(source.Layer().name.Utf8()));
    source.Reader().SetProgress(&progress);
    findings.SetRecord(0);
    try {
        source.Reader().Read();
    } catch (BException const& exception) {
        findings.TakeException(exception);
        return {done + 1, false};
    }
    ThrowIfInterrupted();
    return {done, true};
}

/// Looks at the records from `first` on, each on its own, so that one that throws does not hide
/// those behind it. Returns how many there are in all.
std::uint64_t FetchOneByOne(Console& console, BString const& file, std::uint64_t first,
                            Findings& findings) {
    findings.SetRecord(std::nullopt);
    Source source(console, file, {.mode = HoldMode::Direct});
    BFeatureCollection& features = source.Layer().GetFeatures();
    std::uint64_t const count = features.GetCount();
    ProgressBar progress(console, std::string(source.Layer().name.Utf8()));
    for (std::uint64_t i = first; i < count; ++i) {
        progress.Step(i, count);
        findings.SetRecord(i);
        try {
            features.GetAt(i, true);
        } catch (BException const& exception) {
            findings.TakeException(exception);
        }
    }
    return count;
}

/// Returns how many records there are.
std::uint64_t CheckRecords(Console& console, BString const& file, Findings& findings) {
    Progress const read = ReadInOrder(console, file, findings);
    return read.isComplete ? read.records : FetchOneByOne(console, file, read.records, findings);
}

/// The reader takes as many records as the index has whole entries for, and says nothing more.
void CheckIndexSize(BString const& file, std::uint64_t recordCount, Findings& findings) {
    constexpr std::uint32_t headerSize = 100;
    constexpr std::uint32_t entrySize = 8;
    std::uint32_t const size =
        BFileUtilities::GetSize(BFileUtilities::ChangeExtension(file, BString::FromUtf8(".shx")));
    findings.SetRecord(std::nullopt);
    if (size < headerSize || (size - headerSize) % entrySize != 0) {
        findings.AddProblem("the index is cut");
    } else if (recordCount == 0 && BFileUtilities::GetSize(file) > headerSize) {
        findings.AddProblem("the index has no entries for the records of the file");
    }
}

/// Returns the number of problems.
std::uint64_t CheckFile(Console& console, BString const& file) {
    Findings findings(console, file);
    std::uint64_t count = 0;
    {
        Log const log(LOG_DETAIL, [&](ELogSeverity severity, std::string_view line) {
            if (console.verbose) {
                console.err.Write(std::string(line) + "\n");
            }
            findings.TakeLogLine(severity, line);
        });
        count = CheckRecords(console, file, findings);
        CheckIndexSize(file, count, findings);
    }
    std::uint64_t const problems = findings.ProblemCount();
    console.out.Write(std::string(file.Utf8()) + ": " + std::to_string(count) +
                      (count == 1 ? " record, " : " records, ") +
                      (problems == 0 ? "no" : std::to_string(problems)) +
                      (problems == 1 ? " problem" : " problems") + findings.Oddities() + "\n");
    return problems;
}

} // namespace

int RunCheck(Console& console, CheckOptions const& options) {
    std::uint64_t problems = 0;
    int const failed = ForEachFile(
        console, options.paths, [&](BString const& file) { problems += CheckFile(console, file); });
    if (failed > 0) {
        return EXIT_UNREADABLE;
    }
    return problems > 0 ? EXIT_PROBLEM : EXIT_OK;
}

} // namespace Ambrel::Tool
