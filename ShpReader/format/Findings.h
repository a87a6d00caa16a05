#pragma once

#include "Ambrel/BLogEntry.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The catalogue of all that can be found wrong or odd in a shapefile. A finding is a value; the
/// sentence in the log is made from it, here and nowhere else.
namespace Ambrel {

/// Numbers are part of the interface: new ones are appended, none is used again.
enum class FindingCode : std::uint32_t {
    Other = 0, ///< a log line that is no finding

    // Records of the main file.
    NullShape = 1,
    ContentTooShort = 2,
    CountsDoNotFit = 3,
    PartsOutOfOrder = 4,
    ClaimedTooOften = 5,
    LengthsDiffer = 6, ///< values: words by the index, words by the record header
    NoZValues = 7,
    NoMeasures = 8,
    InvalidPosition = 9,
    EmptyPart = 10,            ///< value: part
    AttributeZNotANumber = 11, ///< value: attribute

    // The file as a whole.
    CoordSysNotLoaded = 20,
    AttributeZWithoutAttributes = 21, ///< value: attribute
    IndexSalvaged = 22,               ///< value: records found
    TableMissing = 23,
    TableSalvaged = 24, ///< values: rows that lie whole in the file, rows by the header

    // The table.
    TableHeaderNotValid = 40, ///< values: header length, record length
    TableSizeMismatch = 41,
    TableRecordsMissing = 42,
    TableDefaultValues = 43,
    TableHeaderLengthOdd = 44,
    TableRowIncomplete = 45,

    // Writing.
    WriteFailed = 60,
    TableWriteFailed = 61,
    FinishFailed = 62, ///< value: reason
    GeometryNotWritten = 63,
};

/// One row of the catalogue.
struct FindingKind {
    FindingCode code;
    std::string_view name; ///< stable, for programs: "null-shape"
    ELogSeverity severity;
    /// Where "{file}", "{record}", "{0}", "{1}" stand, the finding's fields are put.
    std::string_view sentence;
};

/// The row for `code`; that of Other for a number that the catalogue does not have.
FindingKind const& KindOf(FindingCode code) noexcept;

/// Something that was found wrong or odd.
struct Finding {
    FindingCode code = FindingCode::Other;
    std::string file{};                    ///< full path, UTF-8
    std::optional<std::uint32_t> record{}; ///< counted from 0; none: the file as a whole
    std::vector<BLogValue> values{};       ///< as the code says
};

/// The finding as the log has it.
std::string Describe(Finding const& finding);

} // namespace Ambrel
