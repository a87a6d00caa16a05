#include "LogCapture.h"

#include <algorithm>
#include <ostream>

namespace Ambrel::Test {

std::ostream& operator<<(std::ostream& out, LogLine const& line) {
    return out << static_cast<int>(line.severity) << ": " << line.text;
}

LogCapture::LogCapture(ELogSeverity threshold)
    : formerThreshold(BLogger::Instance()->GetThreshold()) {
    BLogger::Instance()->SetSink([this](ELogSeverity severity, std::string_view text) {
        std::lock_guard<std::mutex> const guard(lock);
        lines.push_back({severity, std::string(text)});
    });
    BLogger::Instance()->SetThreshold(threshold);
}

LogCapture::~LogCapture() {
    BLogger::Instance()->SetThreshold(formerThreshold);
    BLogger::Instance()->SetSink({});
}

std::vector<LogLine> LogCapture::Lines() const {
    std::lock_guard<std::mutex> const guard(lock);
    return lines;
}

std::vector<std::string> LogCapture::TextsOf(ELogSeverity severity) const {
    std::vector<std::string> texts;
    for (LogLine& line : Lines()) {
        if (line.severity == severity) {
            texts.push_back(std::move(line.text));
        }
    }
    return texts;
}

std::size_t LogCapture::Count(ELogSeverity severity, std::string const& text) const {
    std::vector<LogLine> const all = Lines();
    return static_cast<std::size_t>(std::count(all.begin(), all.end(), LogLine{severity, text}));
}

void LogCapture::Clear() {
    std::lock_guard<std::mutex> const guard(lock);
    lines.clear();
}

} // namespace Ambrel::Test
