#pragma once

#include "Ambrel/BString.h"
#include "ShpReader/format/Findings.h"

#include <QFile>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace Ambrel {

/// The failed writes of files that belong together: the first one is reported, all others are its
/// consequence.
class WriteFailures {
public:
    /// `reportedAs`: the finding that names the file.
    explicit WriteFailures(FindingCode reportedAs) noexcept : code(reportedAs) {}

    void Add(BString const& path) noexcept;
    bool HasAny() const noexcept { return hasAny; }
    /// The file of the first one. REQUIRES: HasAny().
    BString const& GetFirstPath() const noexcept { return firstPath; }

private:
    FindingCode code;
    BString firstPath;
    bool hasAny = false;
};

/// A file that is written from its start on, in large pieces. What is stored is always a beginning
/// of what was appended: nothing goes behind a write that has failed.
class OutputFile {
public:
    /// Opens nothing. The failures hear of every write that fails, by the name `reportedPath`;
    /// where that is empty, by the file's own.
    OutputFile(BString const& pathOfFile, std::shared_ptr<WriteFailures> failuresOfGroup,
               BString const& reportedPath = {});
    OutputFile(OutputFile const&) = delete;
    OutputFile& operator=(OutputFile const&) = delete;
    /// Closes the file. What was appended since the last flush is lost.
    ~OutputFile() = default;

    /// Opens the file and empties it. Returns false where that is not possible, and for what is no
    /// regular file.
    bool Open();
    bool IsOpen() const noexcept { return handle.isOpen(); }
    /// Whether opening has succeeded; stays so when the file is closed.
    bool HasBeenOpened() const noexcept { return hasBeenOpened; }
    BString const& GetPath() const noexcept { return path; }

    void Append(void const* bytes, std::size_t count);
    /// Hands what was appended to the system. Returns whether all of it is stored.
    bool Flush();
    /// Bytes that the file has, with those that are not stored yet.
    std::int64_t GetSize() const {
        return handle.pos() + static_cast<std::int64_t>(pending.size());
    }
    /// Replaces bytes that are stored. REQUIRES: everything is flushed; nothing is appended
    /// afterwards.
    void Replace(std::int64_t position, void const* bytes, std::size_t count);
    /// Cuts the file, likewise.
    void Truncate(std::int64_t size);
    void Close();

    bool HasFailed() const noexcept { return hasFailed; }
    /// The open file, which has no buffer of its own.
    QFile& GetHandle() noexcept { return handle; }

private:
    void Store(char const* bytes, std::size_t count);
    void Fail() noexcept;

    BString path;
    BString reportedAs;
    std::shared_ptr<WriteFailures> failures;
    QFile handle;
    std::vector<char> pending;
    bool hasBeenOpened = false;
    bool hasFailed = false;
};

} // namespace Ambrel
