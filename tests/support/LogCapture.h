#pragma once

#include <Ambrel/BLogger.h>

#include <algorithm>
#include <cstddef>
#include <mutex>
#include <ostream>
#include <string>
#include <vector>

namespace Ambrel::Test {

struct LogLine {
    ELogSeverity severity;
    std::string text;
    bool operator==(LogLine const&) const = default;
};
using LogLines = std::vector<LogLine>;

/// Lets a failing comparison print the lines.
inline std::ostream& operator<<(std::ostream& out, LogLine const& line) {
    return out << static_cast<int>(line.severity) << ": " << line.text;
}

/// Takes the lines of the process's logger while it lives. Lines less severe than `threshold` are
/// not written. Afterwards the logger prints to standard error, with the threshold it had.
class LogCapture {
public:
    explicit LogCapture(ELogSeverity threshold = LOG_DETAIL)
        : formerThreshold(BLogger::Instance()->GetThreshold()) {
        BLogger::Instance()->SetSink([this](ELogSeverity severity, std::string_view text) {
            std::lock_guard<std::mutex> const guard(lock);
            lines.push_back({severity, std::string(text)});
        });
        BLogger::Instance()->SetThreshold(threshold);
    }
    LogCapture(LogCapture const&) = delete;
    LogCapture& operator=(LogCapture const&) = delete;
    ~LogCapture() {
        BLogger::Instance()->SetThreshold(formerThreshold);
        BLogger::Instance()->SetSink({});
    }

    LogLines Lines() const {
        std::lock_guard<std::mutex> const guard(lock);
        return lines;
    }
    /// The texts of the lines of one severity, in order.
    std::vector<std::string> TextsOf(ELogSeverity severity) const {
        std::vector<std::string> texts;
        for (LogLine const& line : Lines()) {
            if (line.severity == severity) {
                texts.push_back(line.text);
            }
        }
        return texts;
    }
    /// How often the line was written.
    std::ptrdiff_t Count(ELogSeverity severity, std::string const& text) const {
        LogLines const all = Lines();
        return std::count(all.begin(), all.end(), LogLine{severity, text});
    }

private:
    ELogSeverity formerThreshold;
    mutable std::mutex lock;
    LogLines lines;
};

} // namespace Ambrel::Test
