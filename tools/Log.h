#pragma once

#include "Ambrel/BLogger.h"

namespace Ambrel::Tool {

/// Takes the lines of the process's logger while it lives; then the former threshold and standard
/// error are back.
class Log final {
public:
    Log(ELogSeverity threshold, BLogger::Sink sink)
        : formerThreshold(BLogger::Instance()->GetThreshold()) {
        BLogger::Instance()->SetThreshold(threshold);
        BLogger::Instance()->SetSink(std::move(sink));
    }
    ~Log() {
        BLogger::Instance()->SetSink({});
        BLogger::Instance()->SetThreshold(formerThreshold);
    }
    Log(Log const&) = delete;
    Log& operator=(Log const&) = delete;

private:
    ELogSeverity formerThreshold;
};

} // namespace Ambrel::Tool
