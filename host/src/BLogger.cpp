#include "Ambrel/BLogger.h"

#include "Formatter.h"

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

BLogger::Sink BLogger::SetSink(Sink newSink) {
    std::lock_guard const hold(sinkLock);
    return std::exchange(sink, std::move(newSink));
}

void BLogger::WriteLine(ELogSeverity severity, char const* format, ...) noexcept {
    if (severity > threshold.load(std::memory_order_relaxed)) {
        return;
    }
    std::va_list arguments;
    va_start(arguments, format);
    try {
        std::string line;
        FormatTo(line, format, arguments);
        // A file's name may have line ends in it.
        std::replace_if(
            line.begin(), line.end(), [](char c) { return c == '\n' || c == '\r'; }, ' ');
        std::lock_guard const hold(sinkLock);
        if (sink) {
            sink(severity, line);
        } else {
            PrintToStandardError(line);
        }
    } catch (...) { // NOLINT(bugprone-empty-catch): logging never fails the caller
    }
    va_end(arguments);
}

} // namespace Ambrel
