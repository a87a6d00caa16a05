#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace Ambrel {

class BInputFile;
struct DbfHeader;

/// The records of a table that were read last, for reads through one handle.
///
/// As long as records are asked for one behind the other, each read fetches twice as many as the
/// one before, up to 256 KiB; a jump goes back to a single record, so that neither random access
/// nor a header that lies multiplies the bytes that are read.
class RecordWindow final {
public:
    /// The bytes of a record, valid until the next call; fewer than the record length, down to
    /// none, where the file ends before the record does. Throws std::bad_alloc. REQUIRES: index <
    /// header.recordCount, the same file and header in every call.
    std::string_view Fetch(BInputFile const& file, DbfHeader const& header, std::uint32_t index);

private:
    std::vector<char> buffer;
    std::uint32_t first = 0;      ///< index of the first record held
    std::uint32_t wholeCount = 0; ///< records held whole
    std::uint32_t lastCount = 1;  ///< records asked for by the last read
};

} // namespace Ambrel
