#pragma once

#include "Ambrel/BInputFile.h"
#include "Ambrel/BReadAhead.h"
#include "ShpReader/dbf/DbfFieldConversion.h"
#include "ShpReader/dbf/DbfSchema.h"
#include "ShpReader/dbf/DeletionMarks.h"
#include "ShpReader/dbf/TextDecoder.h"
#include "ShpReader/format/Findings.h"
#include "ShpReader/format/ReadOptions.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Ambrel {

/// A table that is open for reading: its handle, what its header and its descriptors say, how its
/// texts are decoded. It stays as it was opened, but for a schema that is read again; several
/// threads may read rows of it at once.
class DbfTable final {
public:
    /// Opens the table at `path`, which the caller called `name`, but for its schema. Throws, and
    /// reports, what BDbfFile::Open does.
    DbfTable(BString const& name, BString const& path, ReadOptions const& options, bool strict);

    /// Reads the field descriptors, again too. REQUIRES: nobody else uses the table.
    void ReadSchema();

    BInputFile const& GetInput() const noexcept { return input; }
    DbfHeader const& GetHeader() const noexcept { return header; }
    DbfSchema const& GetSchema() const noexcept { return schema; }

    /// Appends the values of the row, which is read into a buffer of this call's own.
    /// REQUIRES: index < GetHeader().recordCount.
    void ReadRow(std::uint32_t index, BAttributes& attributes) const;
    /// Where there is no row `index` to be read, sets the list to the values that stand for it, and
    /// returns true.
    bool SubstituteRow(std::uint32_t index, BAttributes& attributes) const;
    /// Appends the values of row `index`, of which these are the bytes; where they are not all,
    /// reports that, and sets the list to default values. `caches`: one for each field, or null.
    void ConvertRow(std::uint32_t index, std::string_view bytes, TextCache* caches,
                    BAttributes& attributes) const;

    /// Whether the row bears the mark of deletion: false for a row that the file does not hold, and
    /// in default-values mode. Throws std::bad_alloc.
    bool IsDeleted(std::uint32_t index) const;

private:
    void ReadHeader();
    void CheckSize(bool strict);
    void SalvageRows();
    /// Reports a finding about the table as a whole.
    void Note(FindingCode code, std::vector<BLogValue> values = {}) const;
    [[noreturn]] void ThrowNotValid() const;

    BString path;
    bool missingAsNull;
    bool salvage;
    std::optional<std::vector<std::string>> wantedFields; ///< none: all
    TextDecoder decoder;
    BInputFile input;
    DbfHeader header;
    DbfSchema schema;
    /// Rows that are read: all of them where the file's size is what the header says.
    std::uint32_t heldRows = 0;
    bool usesDefaults = false; ///< the size does not fit, and no row is read
    bool isSalvaged = false;   ///< the size does not fit, and the rows that are there are read
    BAttributes substitute;    ///< what stands for the rows that are not read
    mutable DeletionMarks marks;
};

/// Reads the rows of a table through one buffer, ahead where they are asked for one behind the
/// other, and shares the texts that come again. For one thread at a time.
class DbfRowReader final {
public:
    /// REQUIRES: the table outlives this, and keeps its schema.
    explicit DbfRowReader(DbfTable const& openTable);

    /// As DbfTable::ReadRow.
    void ReadRow(std::uint32_t index, BAttributes& attributes);

private:
    DbfTable const& table;
    BReadAhead rows;
    std::vector<TextCache> caches; ///< for each field
};

} // namespace Ambrel
