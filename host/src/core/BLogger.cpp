#include "Ambrel/BLogger.h"

#include "text/Formatter.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <string>
#include <utility>

namespace Ambrel {

namespace {

void PrintToStandardError(std::string_view line) {
    std::string text(line);
    text += '\n';
    std::fwrite(text.data(), 1, text.size(), stderr);
}

} // namespace

BLogger::BLogger() = default;

BLogger* BLogger::Instance() noexcept {
    // Never destroyed: plug-ins and static objects may log until the very end.
    static BLogger* const instance = new BLogger;
    return instance;
}

BLogger::Sink BLogger::SetSink(Sink replacement) {
    std::lock_guard const hold(sinkLock);
    return std::exchange(sink, std::move(replacement));
}

BLogger::EntrySink BLogger::SetEntrySink(EntrySink replacement) {
    std::lock_guard const hold(sinkLock);
    return std::exchange(entrySink, std::move(replacement));
}

void BLogger::WriteLine(ELogSeverity severity, char const* format, ...) noexcept {
    if (!IsWritten(severity)) {
        return;
    }
    std::va_list arguments;
    va_start(arguments, format);
    try {
        std::string line;
        FormatTo(line, format, arguments);
        BLogEntry entry;
        entry.severity = severity;
        entry.line = line;
        Deliver(entry);
    } catch (...) { // NOLINT(bugprone-empty-catch): logging never fails the caller
    }
    va_end(arguments);
}

void BLogger::WriteEntry(BLogEntry const& entry) noexcept {
    if (!IsWritten(entry.severity)) {
        return;
    }
    try {
        Deliver(entry);
    } catch (...) { // NOLINT(bugprone-empty-catch): logging never fails the caller
    }
}

void BLogger::Deliver(BLogEntry const& entry) {
    // A file's name may have line ends in it.
    std::string line(entry.line);
    std::replace_if(
        line.begin(), line.end(), [](char c) { return c == '\n' || c == '\r'; }, ' ');
    std::lock_guard const hold(sinkLock);
    if (sink) {
        sink(entry.severity, line);
    } else {
        PrintToStandardError(line);
    }
    if (entrySink) {
        BLogEntry delivered = entry;
        delivered.line = line;
        entrySink(delivered);
    }
}

} // namespace Ambrel
