#include "ShpReader/writing/ShapefileWriter.h"

#include "Ambrel/BException.h"
#include "Ambrel/BFileUtilities.h"
#include "ShpReader/shp/MetadataKeys.h"
#include "ShpReader/writing/DbfWriter.h"
#include "ShpReader/writing/RowBuilder.h"
#include "ShpReader/writing/ShapeBuilder.h"
#include "ShpReader/writing/StagedFiles.h"

#include <array>

namespace Ambrel {

namespace {

constexpr char const* makeOperation = "ShapefileWriter::ShapefileWriter";
constexpr char const* writeOperation = "ShapefileWriter::Write";
constexpr char const* finishOperation = "ShapefileWriter::Finish";

ShapeType const& RequireType(std::int32_t code) {
    ShapeType const* const type = FindShapeType(code);
    if (!type || type->layout == ShapeLayout::Null || type->layout == ShapeLayout::MultiPatch) {
        throw BUnknownGeometryException(makeOperation, BString::Format("ShapeType=%i", code));
    }
    return *type;
}

BString DescribeRecord(std::uint32_t record, char const* reason) {
    return BString::Format("Record=%u, %s", record, reason);
}

std::vector<double> MeasuresOf(BFeature const& feature) {
    BVariant const* const measures = feature.GetMetadata().Find(MetadataKeys::measures);
    return measures ? measures->GetValueAsDoubleList({}) : std::vector<double>();
}

} // namespace

/// The files while they are written, under temporary names.
class ShapefileWriter::Files {
public:
    Files(BString const& name, std::int32_t shapeType, BAttributeDefs const& schema,
          BSharedPtr<BCoordSys> const& system, std::string const& encoding,
          ShapefileLimits const& limitsOfFiles)
        : type(RequireType(shapeType)), limits(limitsOfFiles), shapes(type),
          rows(schema, encoding, makeOperation), coordSys(system),
          path(BFileUtilities::CompletePath(name)), main(Stage(path), failures, path),
          index(Stage(Companion(".shx")), failures, Companion(".shx")),
          table(Stage(Companion(".dbf")), failures, Companion(".dbf")) {
        Open();
    }

    void Write(BFeature const& feature, BGeometry const* geometry);
    void Finish();

    RowBuilder const& GetRows() const noexcept { return rows; }
    std::uint32_t GetRecordCount() const noexcept { return recordCount; }

private:
    BString Companion(char const* extension) const {
        return BFileUtilities::ChangeExtensionForWriting(path, extension);
    }
    BString Stage(BString const& target);
    void Open();
    void BuildShape(BFeature const& feature, BGeometry const* geometry);
    void RequireRoom() const;
    void Append(std::span<char const> row);
    void FinishHeader(OutputFile& output);
    void WriteCoordSys();
    void WriteEncoding();
    void RequireWritten(char const* operation) const;

    ShapeType const& type;
    ShapefileLimits limits;
    ShapeBuilder shapes;
    RowBuilder rows;
    BSharedPtr<BCoordSys> coordSys;
    StagedFiles
        staged; ///< before the files, which are closed before the temporary ones are removed
    std::shared_ptr<WriteFailures> failures =
        std::make_shared<WriteFailures>(FindingCode::WriteFailed);
    BString path;
    OutputFile main;
    OutputFile index;
    DbfWriter table;
    ShapeExtent extent;
    ShapeExtent shapeExtent;           ///< of the record being written
    std::vector<std::uint8_t> content; ///< likewise
    std::uint32_t recordCount = 0;
    bool isFinished = false;
};

BString ShapefileWriter::Files::Stage(BString const& target) {
    if (!BFileUtilities::MayBeWritten(target)) {
        throw BFileNotFoundException(makeOperation, target);
    }
    return staged.Add(target);
}

void ShapefileWriter::Files::Open() {
    for (char const* const extension : {".shx", ".dbf", ".prj", ".cpg"}) {
        if (Companion(extension) == path) {
            throw BFileNotFoundException(makeOperation, path); // it would be two files at once
        }
    }
    if (!main.Open() || !index.Open() || !table.Open()) {
        throw BFileNotFoundException(makeOperation, path);
    }
    // The headers are completed in the end.
    std::array<std::uint8_t, ShpFileHeader::size> const header{};
    main.Append(header.data(), header.size());
    index.Append(header.data(), header.size());
    table.Prepare(rows.GetFields(), rows.GetEncodedNames());
}

void ShapefileWriter::Files::Write(BFeature const& feature, BGeometry const* geometry) {
    if (isFinished) {
        throw BNotOpenException(writeOperation, path);
    }
    BuildShape(feature, geometry);
    std::span<char const> const row = rows.Build(feature.attributes, recordCount, writeOperation);
    RequireRoom();
    Append(row);
    RequireWritten(writeOperation);
}

void ShapefileWriter::Files::BuildShape(BFeature const& feature, BGeometry const* geometry) {
    bool const isKnown =
        shapes.Build(geometry, type.hasMeasures ? MeasuresOf(feature) : std::vector<double>());
    if (!isKnown) {
        throw BUnknownGeometryException(
            writeOperation, DescribeRecord(recordCount, "the geometry is of another kind"));
    }
    Shape const shape = shapes.GetShape();
    shapeExtent = ShapeExtent();
    shapeExtent.Add(shape.vertices);
    EncodeShape(type, shape, shapeExtent, content);
}

void ShapefileWriter::Files::RequireRoom() const {
    auto const added = static_cast<std::int64_t>(ShpRecordHeader::size + content.size());
    if (main.GetSize() + added > limits.mainFile) {
        throw BResourceException(writeOperation,
                                 DescribeRecord(recordCount, "the main file would be too large"));
    }
    DbfHeader const& header = table.GetHeader();
    std::int64_t const end = header.GetRecordPosition(recordCount + 1);
    if (end + static_cast<std::int64_t>(sizeof dbfEndOfFile) > limits.table) {
        throw BResourceException(writeOperation,
                                 DescribeRecord(recordCount, "the table would be too large"));
    }
}

void ShapefileWriter::Files::Append(std::span<char const> row) {
    auto const words = static_cast<std::uint32_t>(content.size() / shpBytesPerWord);
    auto const offset = static_cast<std::int32_t>(main.GetSize() / shpBytesPerWord);
    std::array<std::uint8_t, ShpRecordHeader::size> header{};
    ShpRecordHeader{++recordCount, words}.Encode(header.data());
    main.Append(header.data(), header.size());
    main.Append(content.data(), content.size());
    std::array<std::uint8_t, ShpIndexEntry::size> entry{};
    ShpIndexEntry{offset, static_cast<std::int32_t>(words)}.Encode(entry.data());
    index.Append(entry.data(), entry.size());
    table.WriteRow(row);
    extent.Add(shapeExtent);
}

void ShapefileWriter::Files::RequireWritten(char const* operation) const {
    if (failures->HasAny()) {
        throw BResourceException(operation, failures->GetFirstPath());
    }
}

void ShapefileWriter::Files::Finish() {
    if (isFinished) {
        throw BNotOpenException(finishOperation, path);
    }
    isFinished = true;
    FinishHeader(main);
    FinishHeader(index);
    table.Finish();
    WriteCoordSys();
    WriteEncoding();
    RequireWritten(finishOperation);
    BString const failed = staged.PutInPlace();
    if (!failed.IsEmpty()) {
        throw BResourceException(finishOperation, failed);
    }
}

void ShapefileWriter::Files::FinishHeader(OutputFile& output) {
    if (output.Flush()) {
        ShpFileHeader header = MakeFileHeader(type, extent);
        header.fileLength = static_cast<std::uint32_t>(output.GetSize() / shpBytesPerWord);
        std::array<std::uint8_t, ShpFileHeader::size> bytes{};
        header.Encode(bytes.data());
        output.Replace(0, bytes.data(), bytes.size());
    }
    output.Close();
}

/// A ".prj" file of what stood there before goes.
void ShapefileWriter::Files::WriteCoordSys() {
    BString const target = Companion(".prj");
    if (!coordSys) {
        staged.AddRemoval(target);
        return;
    }
    BString const temporary = Stage(target);
    if (!coordSys->ToFile(temporary)) {
        failures->Add(target);
    }
}

void ShapefileWriter::Files::WriteEncoding() {
    std::string const name = rows.GetEncoder().GetName();
    BString const target = Companion(".cpg");
    OutputFile output(Stage(target), failures, target);
    if (!output.Open()) {
        failures->Add(target);
        return;
    }
    output.Append(name.data(), name.size());
    output.Flush();
    output.Close();
}

ShapefileWriter::ShapefileWriter(BString const& name, std::int32_t shapeType,
                                 BAttributeDefs const& schema,
                                 BSharedPtr<BCoordSys> const& coordSys, BString const& encoding,
                                 ShapefileLimits const& limits)
    : files(std::make_unique<Files>(name, shapeType, schema, coordSys, std::string(encoding.Utf8()),
                                    limits)) {}

ShapefileWriter::~ShapefileWriter() = default;

void ShapefileWriter::Write(BFeature const& feature) {
    files->Write(feature, feature.GetGeometry().Get());
}

void ShapefileWriter::Write(BFeature const& feature, BGeometry const* geometry) {
    files->Write(feature, geometry);
}

void ShapefileWriter::Finish() {
    files->Finish();
}

std::vector<BString> ShapefileWriter::GetFieldNames() const {
    BAttributeDefs const& fields = files->GetRows().GetFields();
    std::vector<BString> names;
    for (std::uint64_t i = 0; i < fields.GetCount(); ++i) {
        names.push_back(fields.GetAt(i).name);
    }
    return names;
}

std::uint32_t ShapefileWriter::GetRecordCount() const noexcept {
    return files->GetRecordCount();
}

std::uint64_t ShapefileWriter::GetReplacedLetterCount() const noexcept {
    return files->GetRows().GetEncoder().GetReplacedCount();
}

} // namespace Ambrel
