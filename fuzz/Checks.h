#pragma once

#include "TemporaryFolder.h"

#include "Ambrel/BAttribute.h"
#include "Ambrel/BException.h"
#include "Ambrel/BLogger.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

namespace Ambrel::Fuzz {

/// Makes the compiler and the sanitizers believe that the value matters.
template <class T>
void Touch(T const& value) {
    asm volatile("" : : "r"(&value) : "memory");
}

/// Ends the process where a promise is broken.
inline void Require(bool isTrue, char const* promise) {
    if (!isTrue) {
        std::fprintf(stderr, "Broken promise: %s\n", promise);
        std::abort();
    }
}

/// Takes an answer or an exception of that family, which gives false.
template <class Family = BException, class Action>
bool Try(Action action) {
    try {
        action();
        return true;
    } catch (Family const& failure) {
        Touch(std::string_view(failure.what()).size());
        return false;
    }
}

/// Names and values, as text.
inline std::string TextOf(BAttributes const& attributes) {
    std::string text;
    for (std::uint64_t i = 0; i < attributes.GetCount(); ++i) {
        BAttribute const& attribute = attributes.GetAt(i);
        text += std::string(" ") + attribute.GetName().Ascii() + '=';
        text += attribute.GetValue().GetValueAsString("?").Ascii();
    }
    return text;
}

/// While it lives every line is formatted, and none is kept.
class SilentLog {
public:
    SilentLog() {
        BLogger::Instance()->SetSink([](ELogSeverity, std::string_view) {});
        BLogger::Instance()->SetThreshold(LOG_DETAIL);
    }
    ~SilentLog() {
        BLogger::Instance()->SetThreshold(LOG_WARNING);
        BLogger::Instance()->SetSink({});
    }
};

/// A folder in memory, one for each process, that every execution uses again. It goes with the
/// process when that ends by itself. The first call silences the logger.
inline Test::TemporaryFolder const& Scratch() {
    static SilentLog const silence;
    static Test::TemporaryFolder const folder = [] {
        std::error_code failure;
        if (std::filesystem::is_directory("/dev/shm", failure)) {
            ::setenv("TMPDIR", "/dev/shm", 1);
        }
        return Test::TemporaryFolder();
    }();
    return folder;
}

} // namespace Ambrel::Fuzz
