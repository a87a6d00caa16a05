#pragma once

#include "source/FindingTable.h"

#include "Ambrel/BLogEntry.h"

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>

namespace Ambrel::Tool {

struct Console;

/// A problem that is to be shown.
struct ListedFinding {
    std::string_view name;               ///< of the table's row, or "other"
    std::optional<std::uint64_t> record; ///< none: the file as a whole
    std::string text;                    ///< "record 7: its bytes end too early; …"
};

/// Counts what is found in one file, and shows the first ten problems of each kind. While it lives
/// it is the console's, and gets what the reader tells; one that is made inside another's life
/// takes its place meanwhile.
class FindingReport final {
public:
    using Printer = std::function<void(ListedFinding const& finding)>;

    /// Prints warnings that name the file.
    FindingReport(Console& theConsole, std::string_view file);
    /// Prints by `printer`: ten of a kind, or all. What is about details is asked of the reader
    /// too.
    FindingReport(Console& theConsole, Printer printer, bool wantsAll);
    /// Says how many are not shown, as far as that can be said.
    ~FindingReport();
    FindingReport(FindingReport const&) = delete;
    FindingReport& operator=(FindingReport const&) = delete;

    /// The record that findings without one belong to from now on; none: the file as a whole.
    void SetRecord(std::optional<std::uint64_t> index);
    /// Takes a line of the log. A problem is noted once for each record.
    void Take(BLogEntry const& entry);
    /// Takes what the tool has found.
    void Add(std::uint32_t code, std::optional<std::uint64_t> index = {},
             std::vector<BLogValue> const& values = {});
    /// Counts what is legal.
    void Count(std::uint32_t code, std::uint64_t times = 1) { counts[code] += times; }
    /// Takes back what has been counted.
    void Forget(std::uint32_t code) { counts.erase(code); }
    /// Shows how many of each kind have not been shown.
    void Finish();

    std::uint64_t ProblemCount() const noexcept { return problems; }
    std::uint64_t CountOf(std::uint32_t code) const;
    /// Whether something could not be delivered.
    bool HasLoss() const noexcept { return hasLoss; }
    /// By their codes.
    std::map<std::uint32_t, std::uint64_t> const& Counts() const noexcept { return counts; }

private:
    bool IsNew(std::optional<std::uint64_t> index, std::string_view what);
    void List(FindingRow const* row, std::optional<std::uint64_t> index, std::string const& what);

    Console& console;
    FindingReport* former;
    ELogSeverity formerThreshold;
    Printer print;
    bool showsAll;
    std::optional<std::uint64_t> record;
    std::uint64_t problems = 0;
    bool hasLoss = false;
    std::map<std::uint32_t, std::uint64_t> counts;
    std::map<std::uint32_t, std::uint64_t> notShown;
    std::set<std::string, std::less<>> ofFile; ///< texts that have been noted
    std::set<std::string, std::less<>> ofRecord;
    std::optional<std::uint64_t> notedRecord; ///< that `ofRecord` is about
};

} // namespace Ambrel::Tool
