#pragma once

#include "Ambrel/BLogEntry.h"
#include "Ambrel/Config.h"

#include <atomic>
#include <functional>
#include <mutex>
#include <string_view>

namespace Ambrel {

/// Takes the diagnostics of the host and its plug-ins. May be called from any thread.
class AMBREL_API BLogger final {
public:
    /// Takes one line: UTF-8, without a line end.
    using Sink = std::function<void(ELogSeverity severity, std::string_view line)>;
    /// Takes one line with its fields.
    using EntrySink = std::function<void(BLogEntry const& entry)>;

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

    /// Writes one entry: its line goes to the sink as WriteLine's does, the whole to the entry
    /// sink. Never fails.
    void WriteEntry(BLogEntry const& entry) noexcept;
    /// Whether lines of that severity are written; what is costly to say need not be made
    /// otherwise.
    bool IsWritten(ELogSeverity severity) const noexcept {
        return severity <= threshold.load(std::memory_order_relaxed);
    }

    /// The least severe lines that are written, LOG_WARNING at first.
    void SetThreshold(ELogSeverity severity) noexcept { threshold = severity; }
    ELogSeverity GetThreshold() const noexcept { return threshold; }
    /// Replaces the sink and returns the former one; an empty one stands for standard error. The
    /// sink is called under a lock, one line at a time, and must neither write lines nor replace
    /// the sink itself.
    Sink SetSink(Sink replacement);
    /// Replaces the entry sink, none at first, and returns the former one. It gets every line that
    /// the sink gets, right after it and under the same lock; lines of WriteLine have code 0.
    EntrySink SetEntrySink(EntrySink replacement);

private:
    std::atomic<ELogSeverity> threshold{LOG_WARNING};
    void Deliver(BLogEntry const& entry);

    std::mutex sinkLock;
    Sink sink;
    EntrySink entrySink;
};

} // namespace Ambrel
