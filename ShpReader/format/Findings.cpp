#include "ShpReader/format/Findings.h"

#include <algorithm>
#include <array>

namespace Ambrel {

namespace {

using enum FindingCode;

constexpr std::array catalogue = std::to_array<FindingKind>({
    {Other, "other", LOG_DETAIL, ""},

    {NullShape, "null-shape", LOG_DETAIL, "SHP-Reader: Record {record} has a NULL shape"},
    {ContentTooShort, "content-too-short", LOG_WARNING,
     "SHP-Reader: Record {record} is not valid: content is too short; geometry skipped."},
    {CountsDoNotFit, "counts-do-not-fit", LOG_WARNING,
     "SHP-Reader: Record {record} is not valid: counts do not fit the content; geometry skipped."},
    {PartsOutOfOrder, "parts-out-of-order", LOG_WARNING,
     "SHP-Reader: Record {record} is not valid: part starts are out of order; geometry skipped."},
    {ClaimedTooOften, "claimed-too-often", LOG_WARNING,
     "SHP-Reader: Record {record} is not valid: index claims more than the main file holds; "
     "geometry skipped."},
    {LengthsDiffer, "lengths-differ", LOG_WARNING,
     "SHP-Reader: Record length from index ({0}) does not match record length from main file "
     "({1}): Possible file corruption."},
    {NoZValues, "no-z-values", LOG_WARNING, "SHP-Reader: Record {record} has no Z values."},
    {NoMeasures, "no-measures", LOG_DETAIL, "SHP-Reader: Record {record} has no measures."},
    {InvalidPosition, "invalid-position", LOG_DETAIL,
     "SHP-Reader: Skip geometry; point coordinates are not valid."},
    {EmptyPart, "empty-part", LOG_WARNING,
     "SHP-Reader: Record {record}: part {0} has no vertices; part skipped."},
    {AttributeZNotANumber, "attribute-z-not-a-number", LOG_WARNING,
     "SHP-Reader: Record {record}: the value of {0} is not a number; Z unchanged."},

    {CoordSysNotLoaded, "coord-sys-not-loaded", LOG_WARNING,
     "SHP-Reader: Failed to load coordinate system"},
    {AttributeZWithoutAttributes, "attribute-z-without-attributes", LOG_WARNING,
     "SHP-Reader: USE_ATTRIBUTE_Z ({0}) needs USE_ATTRIBUTES. File={file}"},
    {IndexSalvaged, "index-salvaged", LOG_WARNING,
     "SHP-Reader: The index is missing or unusable: {0} records found in the main file. "
     "File={file}"},
    {TableMissing, "table-missing", LOG_WARNING,
     "SHP-Reader: The table is missing or unusable: features have no attributes. File={file}"},
    {TableSalvaged, "table-salvaged", LOG_WARNING,
     "DBF-Reader: The table holds {0} of {1} rows whole; the others are null. File={file}"},

    {TableHeaderNotValid, "table-header-not-valid", LOG_FATAL,
     "DBF-Reader: Header contains invalid values, header length={0}, record length={1}"},
    {TableSizeMismatch, "table-size-mismatch", LOG_WARNING,
     "DBF-Reader: DBF file is not valid.  File size does not match computed data size."},
    {TableRecordsMissing, "table-records-missing", LOG_WARNING,
     "DBF-Reader: Data records are missing or corrupt."},
    {TableDefaultValues, "table-default-values", LOG_WARNING,
     "DBF-Reader: Feature attributes contain default values."},
    {TableHeaderLengthOdd, "table-header-length-odd", LOG_WARNING,
     "DBF-File: Header length is not valid."},
    {TableRowIncomplete, "table-row-incomplete", LOG_WARNING,
     "DBF-Reader: Record {record} is missing or incomplete: default values used. File={file}"},

    {WriteFailed, "write-failed", LOG_FATAL, "SHP-WRITER: Writing to {file} failed."},
    {TableWriteFailed, "table-write-failed", LOG_FATAL, "DBF-File: Writing failed. File={file}"},
    {FinishFailed, "finish-failed", LOG_FATAL, "SHP-WRITER: Finishing {file} failed: {0}"},
    {GeometryNotWritten, "geometry-not-written", LOG_WARNING,
     "SHP-WRITER: Geometry is not written: records are null shapes. File={file}"},
});

std::string TextOf(BLogValue const& value) {
    std::string const* const text = std::get_if<std::string>(&value);
    return text ? *text : std::to_string(std::get<std::int64_t>(value));
}

/// What a placeholder's name, without its braces, stands for.
std::string FieldText(Finding const& finding, std::string_view name) {
    if (name == "file") {
        return finding.file;
    }
    if (name == "record") {
        return finding.record ? std::to_string(*finding.record) : std::string();
    }
    auto const index = static_cast<std::size_t>(name.front() - '0');
    return index < finding.values.size() ? TextOf(finding.values[index]) : std::string();
}

} // namespace

FindingKind const& KindOf(FindingCode code) noexcept {
    auto const row = std::find_if(catalogue.begin(), catalogue.end(),
                                  [&](FindingKind const& kind) { return kind.code == code; });
    return row == catalogue.end() ? catalogue.front() : *row;
}

std::string Describe(Finding const& finding) {
    std::string_view pattern = KindOf(finding.code).sentence;
    std::string sentence;
    for (std::size_t open = pattern.find('{'); open != std::string_view::npos;
         open = pattern.find('{')) {
        std::size_t const close = pattern.find('}', open);
        sentence += pattern.substr(0, open);
        sentence += FieldText(finding, pattern.substr(open + 1, close - open - 1));
        pattern.remove_prefix(close + 1);
    }
    return sentence += pattern;
}

} // namespace Ambrel
