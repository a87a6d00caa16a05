#include "Commands.h"
#include "Console.h"
#include "ForEachFile.h"
#include "Log.h"
#include "ProgressBar.h"

#include "Ambrel/BException.h"

#include <optional>
#include <set>

namespace Ambrel::Tool {

namespace {

/// What the reader tells about one file while it is looked at.
class Findings {
public:
    Findings(Console& newConsole, BString const& newFile) : console(newConsole), file(newFile) {}

    /// The record that is being looked at; none while the file as a whole is.
    void SetRecord(std::optional<std::uint64_t> newRecord) { record = newRecord; }

    void TakeLogLine(ELogSeverity severity, std::string_view line) {
        if (severity <= LOG_WARNING) {
            AddProblem(line);
        } else if (line.find(" has a NULL shape") != std::string_view::npos) {
            ++nullShapes;
        } else if (line.find(" has no measures") != std::string_view::npos) {
            ++withoutMeasures;
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
            text += ", " + std::to_string(nullShapes) + " null shapes";
        }
        if (withoutMeasures > 0) {
            text += ", " + std::to_string(withoutMeasures) + " without measures";
        }
        return text;
    }

private:
    /// Prints the problem, unless this record (or the file) has had the same one.
    void AddProblem(std::string_view text) {
        if (record != lastRecord) {
            seen.clear();
            lastRecord = record;
        }
        std::string const what(WithoutPrefixes(text));
        if (!seen.insert(what).second) {
            return;
        }
        ++problems;
        std::string const where = record ? "record " + std::to_string(*record) + ": " : "";
        console.out.Write(std::string(file.Utf8()) + ": " + where + what + "\n");
    }

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
    std::optional<std::uint64_t> lastRecord;
    std::set<std::string> seen; ///< what the last record's problems were
    std::uint64_t problems = 0;
    std::uint64_t nullShapes = 0;
    std::uint64_t withoutMeasures = 0;
};

/// Looks at every record on its own, so that one that throws does not hide those behind it.
/// Returns how many there are.
std::uint64_t CheckRecords(Console& console, BString const& file, Findings& findings) {
    Source source(console, file, {});
    BFeatureCollection& features = source.Layer().GetFeatures();
    std::uint64_t const count = features.GetCount();
    ProgressBar progress(console, std::string(source.Layer().name.Utf8()));
    for (std::uint64_t i = 0; i < count; ++i) {
        progress.Step(i, count);
        findings.SetRecord(i);
        try {
            features.GetAt(i, true);
        } catch (BException const& exception) {
            findings.TakeException(exception);
        }
    }
    findings.SetRecord(std::nullopt);
    return count;
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
    }
    std::uint64_t const problems = findings.ProblemCount();
    console.out.Write(std::string(file.Utf8()) + ": " + std::to_string(count) + " records, " +
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
