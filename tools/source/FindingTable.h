#pragma once

#include "Ambrel/BLogEntry.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Ambrel::Tool {

/// What the tool finds on its own, beside the codes of the reader's catalogue (FindingCode).
/// Numbers are part of the interface: new ones are appended to their group, none is used again.
enum ToolFinding : std::uint32_t {
    // Records.
    RECORD_UNREADABLE = 1000, ///< value: the exception
    ATTRIBUTES_UNREADABLE,    ///< value: the exception
    GEOMETRY_NOT_FINITE,      ///< left out by an export
    GEOMETRY_NOT_TRANSFORMED, ///< left out by an export; value: the coordinate system
    RECORD_BOX_WRONG,         ///< the stored box is not that of the vertices
    POSITION_OUT_OF_RANGE,    ///< longitudes and latitudes that cannot be
    TEXT_NOT_IN_ENCODING,     ///< value: the field

    // The files as a whole.
    HEADER_BOX_WRONG = 1100,
    INDEX_UNREADABLE,
    INDEX_CUT,
    INDEX_REPEATS_RECORDS, ///< value: how many entries
    RECORD_BEHIND_LAST,
    LAST_RECORD_CUT,   ///< value: bytes
    ROW_COUNT_DIFFERS, ///< values: rows, records
    MAIN_FILE_UNREADABLE,
    FIELD_WITHOUT_WIDTH,    ///< value: the field
    POSITIONS_OUT_OF_RANGE, ///< of an export; value: how many records
    CRS_UNKNOWN,

    // Counted, each in its record.
    FEW_VERTICES = 1200,
    COORDINATES_NOT_FINITE,
    MISSING_VALUES,
    DELETED_ROWS,
    HIDDEN_MEASURES,
    RINGS_OPEN,
    RINGS_CROSSING,
    RINGS_WITHOUT_AREA,
    RINGS_NOT_LOOKED_AT, ///< too large to be searched for crossings
};

/// How much a finding matters to whoever checks a file.
enum class Weight {
    Note,    ///< not at all
    Oddity,  ///< legal, and counted
    Problem, ///< listed; `check` exits with 1
};

/// One row of the table of what can be found.
struct FindingRow {
    std::uint32_t code;
    std::string_view name; ///< stable, for programs: "null-shape"
    Weight weight;
    /// Whether something that the files hold or promise cannot be delivered: `export` exits with 1.
    bool isLoss;
    /// Of a problem, where "{0}" stands for a value and "{1 row|rows}" for a counted one; of an
    /// oddity, what is counted: "null shape|null shapes".
    std::string_view text;
};

/// The row for `code`, or null for one that the tool does not know, such as 0.
FindingRow const* FindRow(std::uint32_t code) noexcept;

/// The text of a problem with the values in their places.
std::string FillIn(std::string_view text, std::span<BLogValue const> values);
/// "1 null shape", "2 null shapes", by the text of an oddity.
std::string Counted(std::uint64_t count, std::string_view text);
/// "4,096".
std::string WithCommas(std::uint64_t number);

} // namespace Ambrel::Tool
