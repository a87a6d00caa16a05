#include "source/Log.h"

#include "source/FindingReport.h"
#include "terminal/Console.h"

#include <atomic>

namespace Ambrel::Tool {

namespace {

std::atomic<int> silences = 0;

void Print(Console& console, BLogEntry const& entry) {
    FindingRow const* const row = FindRow(entry.code);
    std::string const record =
        entry.record ? "record " + std::to_string(*entry.record) + ": " : std::string();
    PrintWarning(console,
                 row ? std::string(entry.file) + ": " + record + FillIn(row->text, entry.values)
                     : std::string(entry.line));
}

void Take(Console& console, BLogEntry const& entry) {
    if (silences > 0) {
        return;
    }
    if (console.verbose && entry.severity > LOG_WARNING) {
        console.err.Write(OneLine(InUsersNames(std::string(entry.line))) + "\n");
    }
    if (console.report) {
        console.report->Take(entry);
    } else if (entry.severity <= LOG_WARNING) {
        Print(console, entry);
    }
}

} // namespace

Log::Log(Console& console)
    : formerThreshold(BLogger::Instance()->GetThreshold()),
      formerSink(BLogger::Instance()->SetSink([](ELogSeverity, std::string_view) {})),
      formerEntrySink(BLogger::Instance()->SetEntrySink(
          [&console](BLogEntry const& entry) { Take(console, entry); })) {
    BLogger::Instance()->SetThreshold(console.verbose ? LOG_DETAIL : LOG_WARNING);
}

Log::~Log() {
    BLogger::Instance()->SetThreshold(formerThreshold);
    BLogger::Instance()->SetEntrySink(std::move(formerEntrySink));
    BLogger::Instance()->SetSink(std::move(formerSink));
}

Silence::Silence() noexcept {
    ++silences;
}

Silence::~Silence() {
    --silences;
}

} // namespace Ambrel::Tool
