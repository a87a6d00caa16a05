// The write side: null-shape records with their index entries, and the headers around them.

#include "ShpReader/shp/BShpFile.h"

#include "Ambrel/BException.h"
#include "Ambrel/BLogger.h"
#include "ShpReader/Report.h"
#include "ShpReader/format/ShpFormat.h"
#include "ShpReader/writing/NullShapeWriter.h"

#include <QFile>

#include <array>

namespace Ambrel {

namespace {

constexpr char const* headerOperation = "BShpFile::WriteHeader";

/// Writes at the handle's position. Returns whether all bytes were written.
bool WriteBytes(QFile& handle, std::uint8_t const* bytes, std::size_t count) {
    auto const size = static_cast<qint64>(count);
    return handle.write(reinterpret_cast<char const*>(bytes), size) == size;
}

} // namespace

/// A failed Open leaves the mode as it was asked for, but nothing to write to.
void BShpFile::RequireOutputs(char const* operation) const {
    if (!writer || !writer->IsOpen()) {
        throw BNotOpenException(operation, fileName);
    }
}

void BShpFile::Write() {
    RequireMode(writeMode, "BShpFile::Write");
}

void BShpFile::WriteFeature(BSharedPtr<BFeature> const& feature) {
    WriteNullShape();
    if (writer && feature->GetGeometry()) {
        writer->ReportGeometry();
    }
    if (dbfFile) {
        dbfFile->WriteAttributeRecord(feature->attributes);
    }
}

void BShpFile::WriteNullShape() {
    RequireMode(writeMode, "BShpFile::WriteNullShape");
    RequireOutputs("BShpFile::WriteNullShape");
    BLogger::Instance()->WriteLine(LOG_DETAIL, "SHP-WRITER: Writing NULL shape.");
    writer->WriteNullShape(++recordCount);
    extent.Union(BBox()); // A null shape has no box.
}

void BShpFile::PrepareTable(BAttributeDefs const& schema) {
    RequireMode(writeMode, "BShpFile::PrepareTable");
    RequireOutputs("BShpFile::PrepareTable");
    dbfFile->PrepareForWriting(schema);
}

ShpFileHeader BShpFile::MakeHeader() const {
    ShpFileHeader header;
    header.shapeType = static_cast<std::int32_t>(shapeType);
    if (hasZ) {
        header.zMin = zMin;
        header.zMax = zMax;
    }
    header.mMin = mMin;
    header.mMax = mMax;
    return header;
}

std::int32_t BShpFile::WriteHeader(QFile& handle) {
    RequireMode(writeMode, headerOperation);
    std::array<std::uint8_t, ShpFileHeader::size> bytes{};
    MakeHeader().Encode(bytes.data());
    if (!WriteBytes(handle, bytes.data(), bytes.size())) {
        ReportFailedWrite(handle);
    }
    return static_cast<std::int32_t>(bytes.size());
}

void BShpFile::FinishHeader(QFile& handle) {
    RequireMode(writeMode, headerOperation);
    ShpFileHeader header = MakeHeader();
    handle.flush();
    header.fileLength = static_cast<std::uint32_t>(handle.size()) / shpBytesPerWord;
    header.xMin = extent.xMin;
    header.yMin = extent.yMin;
    header.xMax = extent.xMax;
    header.yMax = extent.yMax;
    if (hasZ) {
        header.zMin = extent.zMin;
        header.zMax = extent.zMax;
    }
    std::array<std::uint8_t, ShpFileHeader::size> bytes{};
    header.Encode(bytes.data());
    auto const rewrite = [&](ShpFileHeader::Range const& range) {
        if (!handle.seek(static_cast<qint64>(range.offset)) ||
            !WriteBytes(handle, bytes.data() + range.offset, range.size)) {
            ReportFailedWrite(handle);
        }
    };
    rewrite(ShpFileHeader::lengthField);
    rewrite(ShpFileHeader::boxFields);
    if (hasZ) {
        rewrite(ShpFileHeader::zFields);
    }
    if (!handle.flush()) {
        ReportFailedWrite(handle);
    }
}

void BShpFile::ReportFailedWrite(QFile const& handle) {
    if (writer) {
        writer->GetFailures().Add(BString::FromQString(handle.fileName()));
    }
}

void BShpFile::FinishWriting() noexcept {
    try {
        FinishFiles();
    } catch (std::exception const& failure) {
        Report({.code = FindingCode::FinishFailed,
                .file = fileName.Ascii(),
                .values = {std::string(failure.what())}});
    }
}

void BShpFile::FinishFiles() {
    bool const isWhole = writer && writer->IsOpen();
    if (writer) {
        for (OutputFile* const output : {&writer->GetMain(), &writer->GetIndex()}) {
            if (output->IsOpen()) {
                output->Flush();
                FinishHeader(output->GetHandle());
                output->Close();
            }
        }
    }
    if (dbfFile) {
        dbfFile->Close();
    }
    if (writer && recordCount == 0) {
        writer->RemoveOutputs(prjFileName, dbfFileName);
    } else if (isWhole) {
        writer->WriteCompanions(prjFileName, coordSys.Get());
    }
}

} // namespace Ambrel
