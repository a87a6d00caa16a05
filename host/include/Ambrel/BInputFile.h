#pragma once

#include "Ambrel/BString.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>

class QFile;

namespace Ambrel {

/// A regular file that is open for reading by position. It has no buffer: each read is one system
/// call.
class AMBREL_API BInputFile {
public:
    /// Opens the file. A folder, a pipe or a device is not opened, and does not block, even where
    /// it has taken a file's place a moment ago; IsOpen tells.
    explicit BInputFile(BString const& path);
    BInputFile(BInputFile const&) = delete;
    BInputFile& operator=(BInputFile const&) = delete;
    ~BInputFile();

    bool IsOpen() const noexcept;
    /// Why the file did not open, as errno has it; 0 when it is open. What is no regular file is
    /// ENOENT.
    int GetOpenError() const noexcept { return openError; }
    /// Bytes, when the file was opened.
    std::uint64_t GetSizeAtOpen() const noexcept { return sizeAtOpen; }
    /// Bytes, now; 0 when the file is not open.
    std::uint64_t GetSize() const;
    /// Copies up to `count` bytes from `position` (bytes) on, and returns how many there were: none
    /// where the position is negative or the read fails.
    std::size_t Read(std::int64_t position, void* destination, std::size_t count) const;

private:
    std::uint64_t sizeAtOpen = 0;
    int openError = 0;
    std::unique_ptr<QFile> file; ///< where the system has no reads by position
    mutable std::mutex lock;     ///< of `file`, whose position all threads share
    int descriptor = -1;
};

} // namespace Ambrel
