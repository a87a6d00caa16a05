#include "ShpReader/shp/BShpFile.h"

#include "Ambrel/BException.h"
#include "Ambrel/BFileUtilities.h"
#include "ShpReader/Report.h"
#include "ShpReader/shp/RecordStore.h"
#include "ShpReader/writing/NullShapeWriter.h"

namespace Ambrel {

namespace {

constexpr char const* openOperation = "BShpFile::Open";

} // namespace

BShpFile::BShpFile() = default;

BShpFile::~BShpFile() {
    Close();
}

void BShpFile::Open(BString const& name, std::uint32_t requestedMode, bool newUseAttributes,
                    BString newAttributeZName) {
    if (mode != closedMode) {
        if (mode == requestedMode) {
            return;
        }
        throw BAlreadyOpenException(openOperation, name);
    }
    mode = requestedMode;
    useAttributes = newUseAttributes;
    hasAttributeZName = !newAttributeZName.IsEmpty();
    attributeZName = std::move(newAttributeZName);
    try {
        OpenAll(name);
    } catch (BException const&) {
        throw;
    } catch (std::exception const& failure) {
        throw BException("Ambrel Exception", openOperation, failure.what());
    }
}

void BShpFile::OpenAll(BString const& name) {
    auto const changeExtension = mode == writeMode ? BFileUtilities::ChangeExtensionForWriting
                                                   : BFileUtilities::ChangeExtension;
    fileName = BFileUtilities::CompletePath(name);
    indexFileName = changeExtension(fileName, ".shx");
    prjFileName = changeExtension(fileName, ".prj");
    dbfFileName = changeExtension(fileName, ".dbf");
    dbfFile = BSharedPtr<BDbfFile>(new BDbfFile);
    dbfFile->SetOptions(options);
    if (mode == writeMode) {
        OpenToWrite();
    } else {
        OpenToRead();
    }
}

void BShpFile::OpenToWrite() {
    if (fileName == indexFileName || fileName == dbfFileName || fileName == prjFileName) {
        throw BFileNotFoundException(openOperation, fileName); // it would be two files at once
    }
    writer = std::make_unique<NullShapeWriter>(fileName, indexFileName);
    for (OutputFile* const output : {&writer->GetMain(), &writer->GetIndex()}) {
        if (!output->Open()) {
            throw BFileNotFoundException(openOperation, output->GetPath());
        }
        WriteHeader(output->GetHandle());
    }
    dbfFile->Open(dbfFileName, BDbfFile::writeMode, true);
    writer->CountTableAsOpen();
    recordCount = 0;
}

void BShpFile::OpenToRead() {
    records = std::make_unique<RecordStore>(openOperation, fileName);
    GetHeader();
    OpenIndex();
    OpenTable();
    LoadCoordSys();
    if (hasAttributeZName && !useAttributes && !isTableMissing) {
        Report(FindingCode::AttributeZWithoutAttributes, fileName, {},
               {std::string(attributeZName.Utf8())});
    }
}

void BShpFile::OpenIndex() {
    bool isMade = false;
    if (options.salvage) {
        isMade = records->OpenOrMakeIndex(indexFileName);
    } else {
        records->OpenIndex(openOperation, indexFileName);
    }
    recordCount = records->GetRecordCount();
    if (isMade) {
        Report(FindingCode::IndexSalvaged, indexFileName, {}, {std::int64_t{recordCount}});
    }
}

void BShpFile::OpenTable() {
    try {
        if (!BFileUtilities::Exists(dbfFileName)) {
            BFileNotFoundException failure(openOperation, dbfFileName);
            failure.SetReason(BInputFile(dbfFileName).GetOpenError());
            throw failure;
        }
        dbfFile->Open(dbfFileName, BDbfFile::readMode, false);
    } catch (BFileNotFoundException const&) {
        DoWithoutTable();
    } catch (BFileContentNotValidException const&) {
        DoWithoutTable();
    }
}

/// REQUIRES: an exception is being handled, which passes on where nothing is to be salvaged.
void BShpFile::DoWithoutTable() {
    if (!options.salvage) {
        throw;
    }
    dbfFile = BSharedPtr<BDbfFile>(new BDbfFile);
    isTableMissing = true;
    useAttributes = false;
    hasAttributeZName = false;
    Report(FindingCode::TableMissing, dbfFileName);
}

void BShpFile::GetHeader() {
    std::optional<ShpFileHeader> const read = records->ReadHeader();
    if (!read) {
        throw BFileContentNotValidException("BShpFile::GetHeader", fileName);
    }
    ShpFileHeader const& header = *read;
    extent = BBox(BRect(header.xMin, header.yMin, header.xMax, header.yMax));
    shapeType = static_cast<std::uint32_t>(header.shapeType);
    hasZ = header.HasZ();
    if (hasZ) {
        zMin = header.zMin;
        zMax = header.zMax;
    }
    hasMeasures = header.HasUsableMeasures();
    if (hasMeasures) {
        mMin = header.mMin;
        mMax = header.mMax;
    }
    readsMeasures = hasMeasures || (options.measuresAlways && header.MayHaveMeasures());
}

void BShpFile::LoadCoordSys() {
    coordSys = BSharedPtr<BCoordSys>();
    if (!BFileUtilities::Exists(prjFileName)) {
        return;
    }
    try {
        coordSys = BSharedPtr<BCoordSys>(BCoordSys::FromFile(prjFileName));
    } catch (BException const&) {
        Report(FindingCode::CoordSysNotLoaded, prjFileName);
    }
}

BBox BShpFile::GetMBB() const {
    BBox box = extent;
    if (hasZ) {
        box.zMin = zMin;
        box.zMax = zMax;
    }
    return box;
}

void BShpFile::LoadIndex() {
    if (records) {
        records->LoadIndex();
    }
}

void BShpFile::ReleaseBuffers() noexcept {
    if (records) {
        records->ReleaseBuffers();
    }
}

std::uint32_t BShpFile::GetShapeBufferSize() const noexcept {
    return records ? records->GetSharedBuffer().capacity : 0;
}

bool BShpFile::HasIndexInMemory() const {
    return records && records->HoldIndex();
}

void BShpFile::Close() noexcept {
    if (mode == writeMode) {
        FinishWriting();
    } else if (dbfFile) {
        dbfFile->Close(); // Whoever else holds the table sees it emptied.
    }
    records.reset();
    writer.reset();
    dbfFile = BSharedPtr<BDbfFile>();
    mode = closedMode;
}

} // namespace Ambrel
