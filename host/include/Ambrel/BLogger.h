#pragma once

#include "Ambrel/Config.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string_view>

namespace Ambrel {

/// How much a log line matters; less is worse.
enum ELogSeverity : std::uint32_t {
    LOG_FATAL = 1,    ///< what can not be read or written
    LOG_WARNING = 2,  ///< a problem of the data that is tolerated
    LOG_PROGRESS = 3, ///< the steps of opening, reading and closing
    LOG_DETAIL = 4,   ///< about single layers and records
};

/// Takes the diagnostics of the host and its plug-ins. May be called from any thread.
class AMBREL_API BLogger final {
public:
    /// Takes one line: UTF-8, without a line end.
    using Sink = std::function<void(ELogSeverity severity, std::string_view line)>;

    /// Prints to standard error what is a warning or worse.
    BLogger();
    BLogger(BLogger const&) = delete;
    BLogger& operator=(BLogger const&) = delete;

    /// The process's logger.
    static BLogger* Instance() noexcept;

    /// Writes one line, formatted as BString::Format does. A severity beyond the threshold costs a
    /// comparison. Never fails: a line that there is no memory for, or that the sink throws at, is
    /// lost.
    void WriteLine(ELogSeverity severity, char const* format, ...) noexcept
        __attribute__((format(printf, 3, 4)));

    /// The least severe lines that are written, LOG_WARNING at first.
    void SetThreshold(ELogSeverity newThreshold) noexcept { threshold = newThreshold; }
    ELogSeverity GetThreshold() const noexcept { return threshold; }
    /// Replaces the sink and returns the former one; an empty one stands for standard error. The
    /// sink is called under a lock, one line at a time, and must neither write lines nor replace
    /// the sink itself.
    Sink SetSink(Sink newSink);

private:
    std::atomic<ELogSeverity> threshold{LOG_WARNING};
    std::mutex sinkLock;
    Sink sink;
};

} // namespace Ambrel
