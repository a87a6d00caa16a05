#pragma once

#include <sys/resource.h>

#include <csignal>
#include <stdexcept>

namespace Ambrel::Test {

/// No file of the process grows beyond `bytes` while it lives: writes fail as on a full disk.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) : formerHandler(std::signal(SIGXFSZ, SIG_IGN)) {
        getrlimit(RLIMIT_FSIZE, &former);
        rlimit const limit{bytes, former.rlim_max};
        if (setrlimit(RLIMIT_FSIZE, &limit) != 0) {
            throw std::runtime_error("the size of files can not be limited");
        }
    }
    FileSizeLimit(FileSizeLimit const&) = delete;
    FileSizeLimit& operator=(FileSizeLimit const&) = delete;
    ~FileSizeLimit() {
        setrlimit(RLIMIT_FSIZE, &former);
        std::signal(SIGXFSZ, formerHandler);
    }

private:
    rlimit former{};
    void (*formerHandler)(int);
};

} // namespace Ambrel::Test
