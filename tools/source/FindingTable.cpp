#include "source/FindingTable.h"

#include "ShpReader/format/Findings.h"

#include <algorithm>
#include <array>

namespace Ambrel::Tool {

namespace {

using enum Weight;

/// A row for a code of the reader's catalogue, which has its name.
FindingRow Read(FindingCode code, Weight weight, bool isLoss, std::string_view text) {
    return {static_cast<std::uint32_t>(code), KindOf(code).name, weight, isLoss, text};
}

constexpr bool lost = true;
constexpr bool kept = false;

std::array const rows = std::to_array<FindingRow>({
    Read(FindingCode::NullShape, Oddity, kept, "null shape|null shapes"),
    Read(FindingCode::ContentTooShort, Problem, lost,
         "its bytes end too early; its geometry is left out"),
    Read(FindingCode::CountsDoNotFit, Problem, lost,
         "it counts more vertices than it has bytes for; its geometry is left out"),
    Read(FindingCode::PartsOutOfOrder, Problem, lost,
         "its parts are out of order; its geometry is left out"),
    Read(FindingCode::ClaimedTooOften, Problem, lost,
         "the index names the same bytes too often; its geometry is left out"),
    Read(FindingCode::LengthsDiffer, Problem, kept,
         "its length is {0} in the index and {1} in the main file"),
    Read(FindingCode::NoZValues, Problem, lost, "its Z values are missing"),
    Read(FindingCode::NoMeasures, Oddity, kept, "without measures|without measures"),
    Read(FindingCode::InvalidPosition, Oddity, kept, "without a position|without a position"),
    Read(FindingCode::EmptyPart, Problem, kept, "part {0} has no vertices and is left out"),
    Read(FindingCode::AttributeZNotANumber, Problem, lost,
         "the value of {0} is not a number; Z stays as it was"),

    Read(FindingCode::CoordSysNotLoaded, Problem, kept,
         "the coordinate system in the .prj file is not understood"),
    Read(FindingCode::AttributeZWithoutAttributes, Problem, lost,
         "Z from {0} needs the table's values"),
    Read(FindingCode::IndexSalvaged, Problem, kept,
         "the index is missing or unusable; {0 record was|records were} found in the main file"),
    Read(FindingCode::TableMissing, Problem, kept,
         "the table is missing or unusable; there are no attributes"),
    Read(FindingCode::TableSalvaged, Problem, kept,
         "the table holds {0} of the {1 row|rows} that it states; the others have no values"),

    Read(FindingCode::TableHeaderNotValid, Problem, lost,
         "the table's header cannot be right: it has {0 byte|bytes}, and a row {1}"),
    Read(FindingCode::TableSizeMismatch, Problem, kept,
         "the table's size does not fit what its header states"),
    Read(FindingCode::TableRecordsMissing, Problem, kept,
         "the table's rows are missing or damaged"),
    Read(FindingCode::TableDefaultValues, Problem, lost,
         "the attributes hold default values in place of the table's"),
    Read(FindingCode::TableHeaderLengthOdd, Problem, kept,
         "the length of the table's header is not one that its fields give"),
    Read(FindingCode::TableRowIncomplete, Problem, lost,
         "its table row is missing or cut; its attributes hold default values"),

    {RECORD_UNREADABLE, "record-unreadable", Problem, lost, "it is left out: {0}"},
    {ATTRIBUTES_UNREADABLE, "attributes-unreadable", Problem, lost, "it has no attributes: {0}"},
    {GEOMETRY_NOT_FINITE, "geometry-not-finite", Problem, kept,
     "its coordinates are no numbers; its geometry is left out"},
    {GEOMETRY_NOT_TRANSFORMED, "geometry-not-transformed", Problem, lost,
     "it has no position in {0}; its geometry is left out"},
    {RECORD_BOX_WRONG, "record-box-wrong", Problem, kept,
     "the box that it states is not that of its vertices"},
    {POSITION_OUT_OF_RANGE, "position-out-of-range", Problem, kept,
     "it is said to be in longitudes and latitudes, and has coordinates that cannot be such"},
    {TEXT_NOT_IN_ENCODING, "text-not-in-encoding", Problem, kept,
     "the text of {0} is not in the table's encoding"},

    {HEADER_BOX_WRONG, "header-box-wrong", Problem, kept,
     "the box that the header states is not that of the vertices"},
    {INDEX_UNREADABLE, "index-unreadable", Problem, kept, "the index cannot be opened"},
    {INDEX_CUT, "index-cut", Problem, kept, "the index is cut"},
    {INDEX_REPEATS_RECORDS, "index-repeats-records", Problem, kept,
     "{0 index entry names|index entries name} a record that another one names"},
    {RECORD_BEHIND_LAST, "record-behind-last", Problem, kept,
     "there is a record behind the last one that the index names"},
    {LAST_RECORD_CUT, "last-record-cut", Problem, kept,
     "{0 byte|bytes} of the last record are missing"},
    {ROW_COUNT_DIFFERS, "row-count-differs", Problem, kept,
     "the table has {0 row|rows} for {1 record|records}"},
    {MAIN_FILE_UNREADABLE, "main-file-unreadable", Problem, lost, "the main file cannot be opened"},
    {FIELD_WITHOUT_WIDTH, "field-without-width", Problem, kept,
     "the field {0} has a width of 0 and is left out"},
    {POSITIONS_OUT_OF_RANGE, "positions-out-of-range", Problem, lost,
     "{0 record has|records have} longitudes and latitudes that cannot be such; is the .prj file "
     "wrong? See --crs"},
    {CRS_UNKNOWN, "crs-unknown", Note, kept,
     "the coordinate system is not known, so the coordinates stay as they are; see --crs"},

    {FEW_VERTICES, "few-vertices", Oddity, kept,
     "with a part of too few vertices|with a part of too few vertices"},
    {COORDINATES_NOT_FINITE, "coordinates-not-finite", Oddity, kept,
     "with coordinates that are no numbers|with coordinates that are no numbers"},
    {MISSING_VALUES, "missing-values", Oddity, kept, "missing value|missing values"},
    {DELETED_ROWS, "deleted-rows", Oddity, kept, "deleted row|deleted rows"},
    {HIDDEN_MEASURES, "hidden-measures", Oddity, kept,
     "with measures that the header hides|with measures that the header hides"},
    {RINGS_OPEN, "rings-open", Oddity, kept, "with an open ring|with an open ring"},
    {RINGS_CROSSING, "rings-crossing", Oddity, kept,
     "with a ring that crosses itself|with a ring that crosses itself"},
    {RINGS_WITHOUT_AREA, "rings-without-area", Oddity, kept,
     "with a ring without area|with a ring without area"},
    {RINGS_NOT_LOOKED_AT, "rings-not-looked-at", Oddity, kept,
     "too large to be searched for crossings|too large to be searched for crossings"},
});

std::string TextOf(BLogValue const& value) {
    std::string const* const text = std::get_if<std::string>(&value);
    return text ? *text : std::to_string(std::get<std::int64_t>(value));
}

/// What stands for a placeholder: "0", or "0 row|rows".
std::string FillIn(std::string_view placeholder, std::span<BLogValue const> values, int digit) {
    auto const index = static_cast<std::size_t>(digit);
    if (index >= values.size()) {
        return "?";
    }
    std::int64_t const* const number = std::get_if<std::int64_t>(&values[index]);
    return number && placeholder.size() > 2
               ? Counted(static_cast<std::uint64_t>(*number), placeholder.substr(2))
               : TextOf(values[index]);
}

} // namespace

FindingRow const* FindRow(std::uint32_t code) noexcept {
    auto const row =
        std::find_if(rows.begin(), rows.end(), [=](FindingRow const& r) { return r.code == code; });
    return row == rows.end() ? nullptr : &*row;
}

std::string FillIn(std::string_view text, std::span<BLogValue const> values) {
    std::string filled;
    for (std::size_t open = text.find('{'); open != std::string_view::npos; open = text.find('{')) {
        std::size_t const close = text.find('}', open);
        filled += text.substr(0, open);
        filled += FillIn(text.substr(open + 1, close - open - 1), values, text[open + 1] - '0');
        text.remove_prefix(close + 1);
    }
    return filled += text;
}

std::string Counted(std::uint64_t count, std::string_view text) {
    std::size_t const bar = text.find('|');
    std::string_view const word = count == 1 ? text.substr(0, bar) : text.substr(bar + 1);
    return WithCommas(count) + " " + std::string(word);
}

std::string WithCommas(std::uint64_t number) {
    std::string text = std::to_string(number);
    for (std::size_t place = text.size(); place > 3; place -= 3) {
        text.insert(place - 3, 1, ',');
    }
    return text;
}

} // namespace Ambrel::Tool
