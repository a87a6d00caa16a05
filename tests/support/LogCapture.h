#pragma once

#include <Ambrel/BLogger.h>

#include <cstddef>
#include <iosfwd>
#include <mutex>
#include <string>
#include <vector>

namespace Ambrel::Test {

struct LogLine {
    ELogSeverity severity;
    std::string text;
    bool operator==(LogLine const&) const = default;
};

/// Lets a failing comparison print the lines.
std::ostream& operator<<(std::ostream& out, LogLine const& line);

/// Takes the lines of the process's logger while it lives. Lines less severe than `threshold` are
/// not written. Afterwards the logger prints to standard error, with the threshold it had.
class LogCapture {
public:
    explicit LogCapture(ELogSeverity threshold = LOG_DETAIL);
    LogCapture(LogCapture const&) = delete;
    LogCapture& operator=(LogCapture const&) = delete;
    ~LogCapture();

    std::vector<LogLine> Lines() const;
    /// The texts of the lines of one severity, in order.
    std::vector<std::string> TextsOf(ELogSeverity severity) const;
    /// How often the line was written.
    std::size_t Count(ELogSeverity severity, std::string const& text) const;
    void Clear();

private:
    ELogSeverity formerThreshold;
    mutable std::mutex lock;
    std::vector<LogLine> lines;
};

} // namespace Ambrel::Test
