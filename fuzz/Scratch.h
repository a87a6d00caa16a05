#pragma once

#include "Checks.h"
#include "TemporaryFolder.h"

#include <cstdlib>

namespace Ambrel::Fuzz {

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
