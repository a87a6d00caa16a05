#include "source/FindingReport.h"

#include "terminal/Console.h"

#include "Ambrel/BLogger.h"

#include <utility>

namespace Ambrel::Tool {

namespace {

constexpr std::uint64_t shownOfAKind = 10;
/// Texts that are remembered to tell repeated ones: what a file as a whole can say is less.
constexpr std::size_t mostTexts = 1000;

std::string NameOf(std::uint32_t code) {
    FindingRow const* const row = FindRow(code);
    return std::string(row ? row->name : "other");
}

} // namespace

FindingReport::FindingReport(Console& theConsole, std::string_view file)
    : FindingReport(
          theConsole,
          [&theConsole, path = std::string(file)](ListedFinding const& finding) {
              PrintWarning(theConsole, path + ": " + finding.text);
          },
          theConsole.verbose) {
    BLogger::Instance()->SetThreshold(formerThreshold);
}

FindingReport::FindingReport(Console& theConsole, Printer printer, bool wantsAll)
    : console(theConsole), former(std::exchange(theConsole.report, this)),
      formerThreshold(BLogger::Instance()->GetThreshold()), print(std::move(printer)),
      showsAll(wantsAll) {
    BLogger::Instance()->SetThreshold(LOG_DETAIL);
}

FindingReport::~FindingReport() {
    BLogger::Instance()->SetThreshold(formerThreshold);
    console.report = former;
    try {
        Finish();
    } catch (...) { // NOLINT(bugprone-empty-catch): who reads has gone
    }
}

void FindingReport::SetRecord(std::optional<std::uint64_t> index) {
    record = index;
}

void FindingReport::Take(BLogEntry const& entry) {
    FindingRow const* const row = FindRow(entry.code);
    std::optional<std::uint64_t> const index = entry.record ? entry.record : record;
    if (!row) { // a line of the host's, or a kind that this tool does not know
        return entry.severity <= LOG_WARNING ? List(nullptr, index, std::string(entry.line))
                                             : void();
    }
    if (row->weight == Weight::Problem) {
        return List(row, index, FillIn(row->text, entry.values));
    }
    if (IsNew(index, row->name)) {
        Count(row->code);
    }
}

void FindingReport::Add(std::uint32_t code, std::optional<std::uint64_t> index,
                        std::vector<BLogValue> const& values) {
    FindingRow const* const row = FindRow(code);
    List(row, index, FillIn(row->text, values));
}

std::uint64_t FindingReport::CountOf(std::uint32_t code) const {
    auto const found = counts.find(code);
    return found == counts.end() ? 0 : found->second;
}

bool FindingReport::IsNew(std::optional<std::uint64_t> index, std::string_view what) {
    if (index != notedRecord) {
        ofRecord.clear();
        notedRecord = index;
    }
    std::set<std::string, std::less<>>& noted = index ? ofRecord : ofFile;
    if (noted.contains(what)) {
        return false;
    }
    if (noted.size() < mostTexts) {
        noted.emplace(what);
    }
    return true;
}

void FindingReport::List(FindingRow const* row, std::optional<std::uint64_t> index,
                         std::string const& what) {
    if (!IsNew(index, what)) {
        return;
    }
    std::uint32_t const code = row ? row->code : 0;
    problems += !row || row->weight == Weight::Problem;
    hasLoss |= row && row->isLoss;
    if (++counts[code] > shownOfAKind && !showsAll) {
        ++notShown[code];
        return;
    }
    std::string const place = index ? "record " + std::to_string(*index) + ": " : "";
    print({row ? row->name : "other", index, place + what});
}

void FindingReport::Finish() {
    for (auto const& [code, count] : std::exchange(notShown, {})) {
        print({{}, {}, "… and " + WithCommas(count) + " more of that kind (" + NameOf(code) + ")"});
    }
}

} // namespace Ambrel::Tool
