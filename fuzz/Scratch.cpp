#include "Scratch.h"

#include "Ambrel/BLogger.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>

namespace Ambrel::Fuzz {

Scratch const& Scratch::Instance() {
    static Scratch const scratch;
    return scratch;
}

Scratch::Scratch() {
    std::error_code failure;
    bool const hasMemory = std::filesystem::is_directory("/dev/shm", failure);
    folder =
        (hasMemory ? std::string("/dev/shm") : std::filesystem::temp_directory_path().string()) +
        "/ambrel-fuzz-XXXXXX";
    if (!mkdtemp(folder.data())) {
        std::abort();
    }
    folder += '/';
    // Lines are formatted, so that what they are made of is fuzzed too.
    BLogger::Instance()->SetThreshold(LOG_DETAIL);
    BLogger::Instance()->SetSink([](ELogSeverity, std::string_view) {});
}

Scratch::~Scratch() {
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
}

void Scratch::Write(std::string const& name, std::uint8_t const* bytes, std::size_t size) const {
    std::FILE* const file = std::fopen(Path(name).c_str(), "wb");
    if (!file || std::fwrite(bytes, 1, size, file) != size || std::fclose(file) != 0) {
        std::abort();
    }
}

void Scratch::Remove(std::string const& name) const {
    std::remove(Path(name).c_str());
}

} // namespace Ambrel::Fuzz
