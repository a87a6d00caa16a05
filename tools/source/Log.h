#pragma once

#include "Ambrel/BLogger.h"

namespace Ambrel::Tool {

struct Console;

/// Takes what the process's logger tells while a command runs, and gives it to the console's report
/// of findings; where there is none, warnings are printed. The whole log is shown where the user
/// wants it.
class Log final {
public:
    explicit Log(Console& console);
    ~Log();
    Log(Log const&) = delete;
    Log& operator=(Log const&) = delete;

private:
    ELogSeverity formerThreshold;
    BLogger::Sink formerSink;
    BLogger::EntrySink formerEntrySink;
};

/// Keeps what has been said before from being said again while it lives.
class Silence final {
public:
    Silence() noexcept;
    ~Silence();
    Silence(Silence const&) = delete;
    Silence& operator=(Silence const&) = delete;
};

} // namespace Ambrel::Tool
