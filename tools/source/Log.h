#pragma once

#include "Ambrel/BLogger.h"

namespace Ambrel::Tool {

/// Takes the lines of the process's logger while it lives.
class Log final {
public:
    Log(ELogSeverity threshold, BLogger::Sink sink)
        : formerThreshold(BLogger::Instance()->GetThreshold()),
          formerSink(BLogger::Instance()->SetSink(std::move(sink))) {
        BLogger::Instance()->SetThreshold(threshold);
    }
    ~Log() {
        BLogger::Instance()->SetThreshold(formerThreshold);
        BLogger::Instance()->SetSink(std::move(formerSink));
    }
    Log(Log const&) = delete;
    Log& operator=(Log const&) = delete;

private:
    ELogSeverity formerThreshold;
    BLogger::Sink formerSink;
};

/// Keeps what has been said before from being said again while it lives.
class Silence final {
public:
    Silence() : log(LOG_FATAL, [](ELogSeverity, std::string_view) {}) {}

private:
    Log log;
};

} // namespace Ambrel::Tool
