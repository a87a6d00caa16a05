#include "commands/CheckOutput.h"

#include "commands/CheckCommand.h"
#include "terminal/Console.h"

#include <nlohmann/json.hpp>

#include <utility>

namespace Ambrel::Tool {

namespace {

/// A line for each problem and one for each file, and one for all of several.
class CheckText final : public CheckOutput {
public:
    CheckText(Console& theConsole, CheckOptions const& theOptions)
        : console(theConsole), options(theOptions) {}

    void Begin(std::string_view theFile) override { file = InUsersNames(std::string(theFile)); }

    void List(ListedFinding const& finding) override {
        text += OneLine(file + ": " + finding.text) + "\n";
    }

    void Flush() override {
        if (!text.empty()) {
            console.out.Write(std::exchange(text, std::string()));
        }
    }

    void Fail(std::string const&) override {
        ++files;
        ++filesUnreadable;
        Flush();
    }

    void End(std::uint64_t count, FindingReport const& report) override {
        ++files;
        records += count;
        problems += report.ProblemCount();
        filesWithProblems += report.ProblemCount() > 0;
        if (!options.quiet || report.ProblemCount() > 0) {
            text += OneLine(file) + ": " + Counted(count, "record|records") + ", " +
                    ProblemText(report.ProblemCount()) + Oddities(report) + "\n";
        }
        Flush();
    }

    void Finish() override {
        if (files < 2 || options.quiet) {
            return;
        }
        text += Counted(files, "file|files") + ", " + Counted(records, "record|records") + ", " +
                ProblemText(problems);
        text += problems > 0 ? " in " + Counted(filesWithProblems, "file|files") : "";
        text += filesUnreadable > 0 ? ", " + WithCommas(filesUnreadable) + " unreadable" : "";
        text += "\n";
        Flush();
    }

private:
    static std::string ProblemText(std::uint64_t count) {
        return count == 0 ? "no problems" : Counted(count, "problem|problems");
    }

    static std::string Oddities(FindingReport const& report) {
        std::string oddities;
        for (auto const& [code, count] : report.Counts()) {
            FindingRow const* const row = FindRow(code);
            if (row && row->weight == Weight::Oddity) {
                oddities += ", " + Counted(count, row->text);
            }
        }
        return oddities;
    }

    Console& console;
    CheckOptions const& options;
    std::string file;
    std::string text; ///< that is not printed yet
    std::uint64_t files = 0;
    std::uint64_t filesWithProblems = 0;
    std::uint64_t filesUnreadable = 0;
    std::uint64_t records = 0;
    std::uint64_t problems = 0;
};

/// An object with an array of files, written as they are done.
class CheckJson final : public CheckOutput {
public:
    CheckJson(Console& theConsole, CheckOptions const& theOptions)
        : console(theConsole), options(theOptions) {}

    void Begin(std::string_view file) override {
        current = {{"path", InUsersNames(std::string(file))}};
    }

    void List(ListedFinding const& finding) override {
        if (finding.name.empty()) { // how many are not listed: the counts tell
            return;
        }
        listed.push_back({{"finding", finding.name},
                          {"record", finding.record ? Json(*finding.record) : Json(nullptr)},
                          {"text", finding.text}});
    }

    void Flush() override {}

    void Fail(std::string const& reason) override {
        ++unreadable;
        current["error"] = reason;
        current["listed"] = std::exchange(listed, Json::array());
        Write();
    }

    void End(std::uint64_t count, FindingReport const& report) override {
        records += count;
        problems += report.ProblemCount();
        Json counts = Json::object();
        for (auto const& [code, times] : report.Counts()) {
            FindingRow const* const row = FindRow(code);
            counts[std::string(row ? row->name : "other")] = times;
        }
        current["records"] = count;
        current["problems"] = report.ProblemCount();
        current["counts"] = std::move(counts);
        current["listed"] = std::exchange(listed, Json::array());
        if (!options.quiet || report.ProblemCount() > 0) {
            Write();
        }
    }

    void Finish() override {
        Json const total = {
            {"records", records}, {"problems", problems}, {"unreadable", unreadable}};
        console.out.Write((isFirst ? "{\"files\":[" : "") + std::string("\n],\"total\":") +
                          total.dump() + "}\n");
    }

private:
    using Json = nlohmann::ordered_json;

    void Write() {
        console.out.Write((isFirst ? "{\"files\":[\n" : ",\n") +
                          current.dump(-1, ' ', false, Json::error_handler_t::replace));
        isFirst = false;
    }

    Console& console;
    CheckOptions const& options;
    bool isFirst = true;
    Json current;
    Json listed = Json::array();
    std::uint64_t records = 0;
    std::uint64_t problems = 0;
    std::uint64_t unreadable = 0;
};

} // namespace

std::unique_ptr<CheckOutput> CheckOutput::Make(Console& console, CheckOptions const& options) {
    if (options.json) {
        return std::make_unique<CheckJson>(console, options);
    }
    return std::make_unique<CheckText>(console, options);
}

} // namespace Ambrel::Tool
