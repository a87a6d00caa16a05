#pragma once

#include "terminal/Console.h"

#include <memory>
#include <optional>

namespace Ambrel::Tool {

/// A result on its way to a file or to standard output, in large pieces. A file appears under its
/// name when it is complete and not before: until Commit it is a temporary beside it, which an
/// unfinished OutputFile takes away again.
class OutputFile final {
public:
    /// `newPath` "-": standard output. What exists and is no regular file (a device, a pipe), or is
    /// open in this process ("/dev/stdout"), is written directly. Throws OutputException, and
    /// UsageException where a part of a shapefile would be replaced.
    OutputFile(Console& console, std::string newPath);
    ~OutputFile();
    OutputFile(OutputFile const&) = delete;
    OutputFile& operator=(OutputFile const&) = delete;

    /// The text that waits to be written. Append to it, then call FlushIfFull.
    std::string& Buffer() noexcept { return buffer; }
    void FlushIfFull() {
        if (buffer.size() >= pieceSize) {
            Flush();
        }
    }
    /// Adds bytes. Throws as TextSink::Write does.
    void Append(std::string_view bytes);
    /// The file that stands for the result until Commit, for what is written by other means than
    /// Append; empty where the result goes straight to its target.
    std::string const& TemporaryPath() const noexcept { return temporaryPath; }
    /// Writes what waits and lets the file appear under its name.
    void Commit();

private:
    static constexpr std::size_t pieceSize = std::size_t{1} << 18; // bytes

    void OpenTemporary();
    void Flush();
    void Discard() noexcept;

    std::string path;
    std::string temporaryPath; ///< empty when there is none
    int descriptor = -1;       ///< -1: standard output
    std::optional<FileSink> fileSink;
    TextSink* sink;
    std::string buffer;
};

/// The extension of a file to write, with its dot, in lower case.
std::string ExtensionOf(std::string const& path);

} // namespace Ambrel::Tool
