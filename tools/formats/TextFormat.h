#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace Ambrel::Tool {

/// Appends the fewest digits that read back to the same double; with an exponent only below 1e-5
/// and from 1e15 on. REQUIRES: it is finite.
void AppendNumber(std::string& text, double value);
/// The same with at most `decimals` digits after the decimal point, rounded, without zeros at their
/// end.
void AppendRounded(std::string& text, double value, int decimals);
void AppendNumber(std::string& text, std::int64_t value);
void AppendNumber(std::string& text, std::uint64_t value);

/// Appends the text as a JSON string, quotes included. The text is valid UTF-8.
void AppendJsonString(std::string& text, std::string_view value);

/// Appends the text as one field of a CSV record (RFC 4180), in quotes where it needs them.
void AppendCsvField(std::string& text, std::string_view value);

/// Eight digits of a date that the calendar has ("20210315") as "2021-03-15"; any other text as it
/// is.
std::string DateText(std::string_view value);

} // namespace Ambrel::Tool
