#pragma once

#include "Ambrel/BAttribute.h"
#include "ShpReader/format/DbfFormat.h"
#include "ShpReader/writing/OutputFile.h"

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <utility>

namespace Ambrel {

/// The writing of a table: its start, its rows, its end. A failed write is reported once; the table
/// then keeps the rows that are stored whole.
class DbfWriter {
public:
    /// See OutputFile.
    DbfWriter(BString const& path, std::shared_ptr<WriteFailures> failures,
              BString const& reportedPath = {})
        : output(path, std::move(failures), reportedPath) {}

    /// Opens the file and empties it. Returns whether that was possible.
    bool Open() { return output.Open(); }
    bool IsOpen() const noexcept { return output.IsOpen(); }

    /// Writes the header and the field descriptors. `names`: the fields' names in the table's
    /// encoding. REQUIRES: `fields` comes from LimitDbfSchema; the table is open and not prepared.
    void Prepare(BAttributeDefs const& fields, std::span<std::string const> names);
    /// With the names as UTF-8.
    void Prepare(BAttributeDefs const& fields);
    /// From Prepare to Finish.
    bool IsPrepared() const noexcept { return isPrepared; }
    /// Appends a row. REQUIRES: IsPrepared(); GetHeader().recordLength bytes.
    void WriteRow(std::span<char const> row);
    /// Writes the end byte and the header with the number of rows, and closes the file.
    void Finish();

    std::uint32_t GetRowCount() const noexcept { return rowCount; }
    DbfHeader const& GetHeader() const noexcept { return header; }

private:
    void KeepWholeRows();
    void WriteHeader();

    OutputFile output;
    DbfHeader header;
    std::uint32_t rowCount = 0;
    bool isPrepared = false;
};

} // namespace Ambrel
