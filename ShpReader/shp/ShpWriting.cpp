// The write side: null-shape records with their index entries, and the headers around them.

#include "ShpReader/shp/BShpFile.h"

#include "Ambrel/BException.h"
#include "Ambrel/BFileUtilities.h"
#include "Ambrel/BLogger.h"
#include "ShpReader/format/ShpFormat.h"

#include <QFile>

#include <array>

namespace Ambrel {

namespace {

/// A null shape consists of its shape type alone.
constexpr std::uint32_t nullShapeLength = shapeTypeSize / shpBytesPerWord;
constexpr char const* headerOperation = "BShpFile::WriteHeader";

/// The file that names the character set of the table's text.
constexpr char const* codePageExtension = ".cpg";
constexpr char const* codePageName = "UTF-8";

} // namespace

/// A failed Open leaves the mode as it was asked for, but nothing to write to.
void BShpFile::RequireOutputs(char const* operation) const {
    if (!isMainWritten || !isIndexWritten || !isTableWritten) {
        throw BNotOpenException(operation, fileName);
    }
}

void BShpFile::Write() {
    RequireMode(writeMode, "BShpFile::Write");
}

void BShpFile::WriteFeature(BSharedPtr<BFeature> const& feature) {
    WriteNullShape();
    if (dbfFile) {
        dbfFile->WriteAttributeRecord(feature->attributes);
    }
}

void BShpFile::WriteNullShape() {
    RequireMode(writeMode, "BShpFile::WriteNullShape");
    RequireOutputs("BShpFile::WriteNullShape");
    BLogger::Instance()->WriteLine(LOG_DETAIL, "SHP-WRITER: Writing NULL shape.");
    std::uint32_t const offset = static_cast<std::uint32_t>(mainFile->pos()) / shpBytesPerWord;
    ++recordCount;

    // The shape type of a null shape is 0.
    std::array<std::uint8_t, ShpRecordHeader::size + shapeTypeSize> record{};
    ShpRecordHeader{recordCount, nullShapeLength}.Encode(record.data());
    WriteBytes(*mainFile, record.data(), record.size());

    std::array<std::uint8_t, ShpIndexEntry::size> entry{};
    ShpIndexEntry{static_cast<std::int32_t>(offset), nullShapeLength}.Encode(entry.data());
    WriteBytes(*indexFile, entry.data(), entry.size());

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
    WriteBytes(handle, bytes.data(), bytes.size());
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
        handle.seek(static_cast<qint64>(range.offset));
        WriteBytes(handle, bytes.data() + range.offset, range.size);
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

void BShpFile::WriteBytes(QFile& handle, std::uint8_t const* bytes, std::size_t count) {
    auto const size = static_cast<qint64>(count);
    if (handle.write(reinterpret_cast<char const*>(bytes), size) != size) {
        ReportFailedWrite(handle);
    }
}

/// Once for each shapefile: a full disk would give a line for every record.
void BShpFile::ReportFailedWrite(QFile const& handle) {
    if (!hasFailedWrite) {
        hasFailedWrite = true;
        BLogger::Instance()->WriteLine(LOG_FATAL, "SHP-WRITER: Writing to %s failed.",
                                       BString::FromQString(handle.fileName()).Ascii());
    }
}

void BShpFile::FinishWriting() noexcept {
    try {
        FinishFiles();
    } catch (std::exception const& failure) {
        BLogger::Instance()->WriteLine(LOG_FATAL, "SHP-WRITER: Finishing %s failed: %s",
                                       fileName.Ascii(), failure.what());
    }
}

/// Completes the header and closes the file. Where the disk is full, what could not be written
/// stays in the handle and would go where the header is completed: the handle is closed then, and
/// the header of what is stored is completed through another.
void BShpFile::FinishFile(QFile& handle) {
    if (handle.flush()) {
        FinishHeader(handle);
        handle.close();
        return;
    }
    ReportFailedWrite(handle);
    handle.close();
    QFile stored(handle.fileName());
    if (stored.open(QIODevice::ReadWrite | QIODevice::Unbuffered | QIODevice::ExistingOnly)) {
        FinishHeader(stored);
    }
}

void BShpFile::FinishFiles() {
    for (std::unique_ptr<QFile> const* const file : {&mainFile, &indexFile}) {
        if (*file && (*file)->isOpen()) {
            FinishFile(**file);
        }
    }
    if (dbfFile) {
        dbfFile->Close();
    }
    bool const isWhole = isMainWritten && isIndexWritten && isTableWritten;
    if (recordCount == 0) {
        RemoveOutputs();
    } else if (isWhole) {
        WriteCompanions();
    }
}

void BShpFile::WriteCompanions() {
    if (!coordSys) {
        BFileUtilities::Delete(prjFileName); // of a former file of that name
    } else if (!coordSys->ToFile(prjFileName)) {
        BLogger::Instance()->WriteLine(LOG_FATAL, "SHP-WRITER: Writing to %s failed.",
                                       prjFileName.Ascii());
    }
    BString const codePagePath =
        BFileUtilities::ChangeExtensionForWriting(fileName, codePageExtension);
    QFile codePage(MakeQString(codePagePath));
    if (!BFileUtilities::MayBeWritten(codePagePath) || !codePage.open(QIODevice::WriteOnly) ||
        codePage.write(codePageName) < 0 || !codePage.flush()) {
        ReportFailedWrite(codePage);
    }
}

/// Removes what opening has emptied, and what belonged to it. A file that could not be opened is
/// not ours to remove.
void BShpFile::RemoveOutputs() {
    if (isMainWritten) {
        BFileUtilities::Delete(fileName);
    }
    if (isIndexWritten) {
        BFileUtilities::Delete(indexFileName);
    }
    if (isTableWritten) {
        BFileUtilities::Delete(dbfFileName);
        BFileUtilities::Delete(prjFileName);
        BFileUtilities::Delete(
            BFileUtilities::ChangeExtensionForWriting(fileName, codePageExtension));
    }
}

} // namespace Ambrel
