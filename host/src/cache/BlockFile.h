#pragma once

#include "Ambrel/BByteStreamable.h"
#include "Ambrel/BString.h"

#include <QTemporaryFile>

#include <cstdint>
#include <memory>

struct sqlite3;
struct sqlite3_stmt;

namespace Ambrel {

/// Blocks of bytes under numbers, in an SQLite database that lives as long as this object.
///
/// Every object makes a file that was not there before, so what a crashed process left behind is
/// never opened. As nobody will ever recover the file, it has no journal and waits for no disk.
///
/// Whatever fails throws a BResourceException that names the file. Without a journal, a write that
/// failed leaves the file in a state that nobody knows: nothing is read from it any more.
class BlockFile final {
public:
    /// Makes the file: `baseName` is the path and the first part of its name. The folder must
    /// exist. Empty: a file in the folder for temporary files that loses its name at once, where
    /// the system allows that, so that nothing stays however the process ends.
    explicit BlockFile(BString const& baseName);
    BlockFile(BlockFile const&) = delete;
    BlockFile& operator=(BlockFile const&) = delete;
    /// Removes the file.
    ~BlockFile();

    /// Adds the block, or replaces the one under this number.
    void Write(std::int64_t id, BByteArray const& bytes);
    /// The bytes under a number that was written.
    BByteArray Read(std::int64_t id);
    void Remove(std::int64_t id);
    BString const& Name() const noexcept { return name; }

private:
    struct CloseDatabase {
        void operator()(sqlite3* database) const noexcept;
    };
    struct FinishStatement {
        void operator()(sqlite3_stmt* statement) const noexcept;
    };
    using Statement = std::unique_ptr<sqlite3_stmt, FinishStatement>;

    void Execute(char const* sql);
    /// Runs a statement that changes the file.
    void Change(char const* operation, sqlite3_stmt* statement);
    void RequireSound(char const* operation) const;
    Statement Prepare(char const* sql);
    [[noreturn]] void Fail(char const* operation, int code) const;

    QTemporaryFile file; ///< makes the file exclusively and removes it
    BString name;        ///< of the file, which may have lost it
    std::unique_ptr<sqlite3, CloseDatabase> database;
    Statement write;
    Statement read;
    Statement remove;
    int failure = 0; ///< what the first failed change gave; 0 for none
};

} // namespace Ambrel
