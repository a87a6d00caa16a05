#pragma once

#include "Ambrel/BFeature.h"
#include "ShpReader/format/DbfFormat.h"
#include "ShpReader/format/ReadOptions.h"

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

namespace Ambrel {

class DbfRowReader;
class DbfTable;
class DbfWriter;

/// The dBASE table of a shapefile: one record of attribute values for each geometry record, in the
/// same order.
///
/// Reading: Open in mode 1, then ReadAttributeRecord for any record, in any order.
/// Writing: Open in mode 2, PrepareForWriting, WriteAttributeRecord for each record, Close.
///
/// A table is used by one thread at a time, except that IsDeleted, and ReadAttributeRecord with
/// `useOwnHandle` false, may be called by several threads at once.
class BDbfFile {
public:
    static constexpr std::uint32_t readMode = 1;
    static constexpr std::uint32_t writeMode = 2;

    BDbfFile();
    BDbfFile(BDbfFile const&) = delete;
    BDbfFile& operator=(BDbfFile const&) = delete;
    /// Finishes a table that is open for writing as Close does.
    virtual ~BDbfFile();

    /// What reading does beyond the format's rules. REQUIRES: not open yet.
    void SetOptions(ReadOptions const& readOptions) { options = readOptions; }

    /// Opens a table for reading (mode 1) or empties it for writing (any other mode). When a table
    /// that is read has not the size that its header says, `strict` makes that an error; otherwise
    /// every record has default values or, with the option `salvage`, the records that the file
    /// does not hold whole have nulls. Called once for each object.
    ///
    /// Throws BFileNotFoundException when the file does not open or is no regular file,
    /// BFileContentNotValidException for a malformed header (and a wrong size when strict),
    /// BAlreadyOpenException, and, before the file is touched, BException ("ENCODING=name") for an
    /// encoding that tables cannot have; any other failure becomes a BException.
    virtual void Open(BString const& fileName, std::uint32_t newMode, bool strict);

    /// Ends a table that is open for writing: the end byte, and the record count in the header. In
    /// every mode, empties the in-memory features. A table open for reading stays open.
    virtual void Close();

    /// Appends the table's records to the in-memory features: `maxCount` of them, or all when that
    /// is not above 0; every call begins with record 0. Returns whether the end of the table was
    /// reached. No more records are read than the file has bytes, and no more values than 8 for
    /// each byte, or a million. Throws as ReadAttributeRecord does, with its own operation name.
    virtual bool Read(std::int32_t maxCount);

    /// Writes a record for each of the in-memory features. Throws BNotOpenException when the table
    /// is not open for writing, else as WriteAttributeRecord does.
    virtual void Write();

    /// Reads the field descriptors again; Open has done so already. Descriptors that the file does
    /// not hold whole are no fields. Nobody else may use the table meanwhile. Throws
    /// BNotOpenException.
    void ReadSchema();

    /// One definition for each field, in the order of the fields.
    BAttributeDefs const& GetSchema() const noexcept;

    /// The header's record count. Throws BNotOpenException when the table is not open for reading.
    std::uint32_t GetAttributeRecordCount() const;

    /// Appends the values of record `index`, one attribute for each field. With `useOwnHandle` the
    /// table's one buffer is used, and records that follow are read ahead; without, a buffer made
    /// for this call. Either reads through the open handle. What stands for a record that cannot
    /// be read replaces the list: default values, of a table that has not the size that its header
    /// says and of a record that the file does not hold whole; nulls where such a table is
    /// salvaged.
    ///
    /// Throws BNotOpenException, BIndexOutOfBoundsException.
    void ReadAttributeRecord(std::uint32_t index, BAttributes& attributes, bool useOwnHandle);

    /// Whether record `index` is marked as deleted, which changes nothing in how it is read. False
    /// for a record that is not there, and where all records have default values. Each mark is read
    /// once. Several threads may ask at once. Throws BNotOpenException, std::bad_alloc.
    bool IsDeleted(std::uint32_t index) const;

    /// Converts one field of a record: `offset` and the definition's width, in bytes, say where it
    /// stands. What lies past the end of `record` has no text.
    static void DbfField2Attribute(std::string_view record, BAttributeDef const& definition,
                                   std::int32_t offset, BAttribute& attribute);

    /// Writes the header and the field descriptors for a new table. Text fields are at most 254
    /// bytes wide; names are cut to 10 bytes and kept distinct.
    ///
    /// Throws BNotOpenException when the table is not open for writing, and
    /// BAttributeDataException, before anything is written, for what a header cannot hold (it
    /// names the field) and for a table that is prepared already.
    void PrepareForWriting(BAttributeDefs const& fields);

    /// Appends a record; value k goes into field k, and fields without a value stay blank. What is
    /// too long for its field, a number too, loses its end. Throws
    /// BAttributeDataException when the table is not prepared, there are more values than fields,
    /// or a field cannot be written; then nothing is written. A write that fails is logged, once.
    void WriteAttributeRecord(BAttributes const& attributes);

    /// Fills `record` (recordLength bytes, deletion flag included) with the text of the values.
    /// Throws BAttributeDataException.
    static void Attributes2DbfRecord(char* record, std::uint16_t recordLength,
                                     BAttributes const& attributes, BAttributeDefs const& schema);

    /// Copies the text up to its NUL, at most `width` bytes of it. Throws BAttributeDataException
    /// when the width is not above 0.
    static void CopyAttrData(char* destination, char const* text, std::int32_t width);

    /// The features that Read fills and Write writes.
    BFeatures& GetFeatures() noexcept { return features; }

    /// Records written since the table was opened.
    std::uint32_t GetRecordsWritten() const noexcept;
    /// The header, as it was read or will be written.
    DbfHeader const& GetHeader() const noexcept;

private:
    void OpenToRead(BString const& fileName, bool strict);
    void OpenToWrite(BString const& fileName);
    void LetGo() noexcept;
    void RequireMode(std::uint32_t requiredMode, char const* operation) const;
    std::uint32_t MostRecords() const;
    void FinishTable();

    BString path; ///< complete
    std::uint32_t mode = 0;
    ReadOptions options;
    BFeatures features;

    std::unique_ptr<DbfTable> table; ///< there while the table is open for reading
    /// The rows of `table` that are read through the shared buffer.
    std::unique_ptr<DbfRowReader> sharedRows;

    std::unique_ptr<DbfWriter> writer; ///< there once it has been opened for writing
    DbfHeader header;                  ///< as it is written
    BAttributeDefs schema;             ///< of what is written
    std::vector<char> recordBuffer;    ///< the record being written
};

} // namespace Ambrel
