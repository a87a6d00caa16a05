#include "ShpReader/Report.h"

#include "Ambrel/BLogger.h"

namespace Ambrel {

bool IsReported(FindingCode code) noexcept {
    return BLogger::Instance()->IsWritten(KindOf(code).severity);
}

void Report(Finding const& finding) noexcept {
    if (!IsReported(finding.code)) {
        return;
    }
    try {
        std::string const sentence = Describe(finding);
        BLogEntry entry;
        entry.severity = KindOf(finding.code).severity;
        entry.code = static_cast<std::uint32_t>(finding.code);
        entry.file = finding.file;
        entry.record = finding.record;
        entry.values = finding.values;
        entry.line = sentence;
        BLogger::Instance()->WriteEntry(entry);
    } catch (
        std::exception const&) { // NOLINT(bugprone-empty-catch): logging never fails the caller
    }
}

void Report(FindingCode code, BString const& file, std::optional<std::uint32_t> record,
            std::initializer_list<BLogValue> values) noexcept {
    if (!IsReported(code)) {
        return;
    }
    try {
        Report({code, std::string(file.Utf8()), record, values});
    } catch (std::exception const&) { // NOLINT(bugprone-empty-catch): as above
    }
}

} // namespace Ambrel
