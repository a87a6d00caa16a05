#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

/// The layout of a dBASE table file: every offset, width and letter stands here or in the source
/// beside it, once. Bytes in, values out; nothing here opens a file, writes a log line or keeps a
/// state.
///
/// A table is a header, the field descriptors, a terminator, the records and an end byte. Numbers
/// are little-endian; the fields of a record are text.
namespace Ambrel {

/// The first 32 bytes of a table.
struct DbfHeader {
    static constexpr std::size_t size = 32;

    std::uint8_t version = 0;
    std::array<std::uint8_t, 3> lastUpdate{}; ///< year since 1900, month, day
    std::uint32_t recordCount = 0;
    std::uint16_t headerLength = 0; ///< bytes before the first record
    /// Bytes in each record, deletion flag included. 16 bits in the file; one more than fits there
    /// when a header of 65535 turns out not to count the deletion flag.
    std::uint32_t recordLength = 0;
    std::array<std::uint8_t, 20> reserved{};

    /// REQUIRES: `size` bytes at `bytes`.
    static DbfHeader Decode(char const* bytes) noexcept;
    /// Stores `size` bytes at `bytes`. REQUIRES: recordLength < 65536.
    void Encode(char* bytes) const noexcept;

    /// The byte that tells the code page of the texts; 0 where the table does not.
    std::uint8_t GetLanguage() const noexcept { return reserved[17]; } // byte 29 of the table

    /// Whether the lengths leave room for a header and for a deletion flag in each record.
    bool IsValid() const noexcept { return headerLength >= size && recordLength != 0; }
    /// Field descriptors that the header length has room for.
    std::size_t GetFieldCount() const noexcept;
    /// Whether the header ends with its last descriptor or with the one byte of the terminator.
    bool HasRegularLength() const noexcept;
    /// Where a record starts, in bytes from the start of the file.
    std::int64_t GetRecordPosition(std::uint32_t index) const noexcept;
};

/// How a table's size in bytes agrees with its header.
enum class DbfSizeMatch {
    Exact,
    WithoutDeletionFlag, ///< the header's record length leaves the deletion flag out
    None,
};

/// Holds a file's size against the header. The expected size is a number of 32 bits and wraps.
DbfSizeMatch MatchTableSize(DbfHeader const& header, std::int64_t fileSize) noexcept;
/// The rows that a file of that size holds whole. REQUIRES: header.IsValid().
std::uint32_t CountWholeRows(DbfHeader const& header, std::int64_t fileSize) noexcept;

/// One field of a table, as its 32-byte descriptor gives it.
struct DbfFieldDescriptor {
    static constexpr std::size_t size = 32;
    static constexpr std::size_t nameSize = 11;
    /// What a name may take when a descriptor is written: the last byte of the name stays NUL.
    static constexpr std::size_t maxWrittenName = nameSize - 1;

    std::string_view name; ///< up to its first NUL, at most nameSize bytes
    char type = 0;
    std::uint8_t width = 0;    ///< bytes in a record
    std::uint8_t decimals = 0; ///< digits after the decimal point

    /// The name refers into `bytes`. REQUIRES: `size` bytes at `bytes`.
    static DbfFieldDescriptor Decode(char const* bytes) noexcept;
    /// Stores `size` bytes at `bytes`. REQUIRES: name.size() <= nameSize.
    void Encode(char* bytes) const noexcept;
};

constexpr std::uint8_t dbfVersion = 3; ///< dBASE III without a memo file
constexpr char dbfHeaderTerminator = 0x0D;
constexpr char dbfEndOfFile = 0x1A;
constexpr char dbfBlank = 0x20;
constexpr char dbfDeleted = 0x2A; ///< the deletion flag of a row that is marked as deleted
/// Where the first field starts in a record: behind the deletion flag.
constexpr std::size_t dbfDeletionFlagSize = 1;
/// A text field takes at most this many bytes when it is written.
constexpr std::int32_t dbfMaxTextWidth = 254;
constexpr std::int32_t dbfMaxFieldWidth = 255;
constexpr std::size_t dbfMaxRecordLength = 65535;
constexpr std::size_t dbfMaxFieldCount = (65535 - DbfHeader::size) / DbfFieldDescriptor::size;
constexpr std::string_view dbfNoDate = "00000000";

} // namespace Ambrel
