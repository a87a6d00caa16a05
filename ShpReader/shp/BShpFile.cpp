#include "ShpReader/shp/BShpFile.h"

#include "Ambrel/BException.h"
#include "Ambrel/BFileUtilities.h"
#include "Ambrel/BLogger.h"

#include <array>
#include <new>

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
    fileName = BFileUtilities::CompletePath(name);
    indexFileName = BFileUtilities::ChangeExtension(fileName, ".shx");
    prjFileName = BFileUtilities::ChangeExtension(fileName, ".prj");
    dbfFileName = BFileUtilities::ChangeExtension(fileName, ".dbf");
    dbfFile = BSharedPtr<BDbfFile>(new BDbfFile);
    mainFile = std::make_unique<QFile>(MakeQString(fileName));
    indexFile = std::make_unique<QFile>(MakeQString(indexFileName));
    if (mode == writeMode) {
        OpenToWrite();
    } else {
        OpenToRead();
    }
}

void BShpFile::OpenToWrite() {
    if (!mainFile->open(QIODevice::WriteOnly)) {
        throw BFileNotFoundException(openOperation, fileName);
    }
    isMainWritten = true;
    WriteHeader(*mainFile);
    if (!indexFile->open(QIODevice::WriteOnly)) {
        throw BFileNotFoundException(openOperation, indexFileName);
    }
    isIndexWritten = true;
    WriteHeader(*indexFile);
    dbfFile->Open(dbfFileName, BDbfFile::writeMode, true);
    isTableWritten = true;
    recordCount = 0;
}

void BShpFile::OpenToRead() {
    // What is read ahead is held elsewhere, so the handles need no buffers of their own.
    constexpr QIODevice::OpenMode readOnly = QIODevice::ReadOnly | QIODevice::Unbuffered;
    if (!BFileUtilities::Exists(fileName) || !mainFile->open(readOnly)) {
        throw BFileNotFoundException(openOperation, fileName);
    }
    GetHeader();
    if (!BFileUtilities::Exists(indexFileName)) {
        throw BFileNotFoundException(openOperation, indexFileName);
    }
    recordCount = ShpIndexEntry::CountIn(BFileUtilities::GetSize(indexFileName));
    if (!indexFile->open(readOnly)) {
        throw BFileNotFoundException(openOperation, indexFileName);
    }
    if (!BFileUtilities::Exists(dbfFileName)) {
        throw BFileNotFoundException(openOperation, dbfFileName);
    }
    dbfFile->Open(dbfFileName, BDbfFile::readMode, false);
    LoadCoordSys();
}

void BShpFile::GetHeader() {
    std::array<std::uint8_t, ShpFileHeader::size> bytes{};
    bool const isWhole =
        ReadAhead(*mainFile, 0, 0).Read(0, bytes.data(), bytes.size(), bytes.size()) ==
        bytes.size();
    ShpFileHeader const header = ShpFileHeader::Decode(bytes.data());
    if (!isWhole || !header.IsValid()) {
        throw BFileContentNotValidException("BShpFile::GetHeader", fileName);
    }
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
}

void BShpFile::LoadCoordSys() {
    if (!BFileUtilities::Exists(prjFileName)) {
        return;
    }
    try {
        coordSys = BSharedPtr<BCoordSys>(BCoordSys::FromFile(prjFileName));
    } catch (BException const&) {
        coordSys = BSharedPtr<BCoordSys>();
        BLogger::Instance()->WriteLine(LOG_WARNING, "SHP-Reader: Failed to load coordinate system");
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
    std::lock_guard const hold(bufferLock);
    shapeBuffer.Release();
    if (!mainFile || !indexFile || !mainFile->isOpen() || !indexFile->isOpen()) {
        return;
    }
    mainFile->seek(0);
    std::uint64_t const size = std::uint64_t{ShpIndexEntry::size} * recordCount;
    try {
        auto copy = std::make_shared<IndexCopy>();
        copy->entries.reset(new std::uint8_t[size]);
        copy->size = ReadAhead(*indexFile, 0, 0)
                         .Read(ShpIndexEntry::PositionOf(0), copy->entries.get(), size, size);
        indexBuffer = std::move(copy);
    } catch (std::bad_alloc const&) {
        indexBuffer.reset(); // Entries are read from the file when they are needed.
    }
}

void BShpFile::ReleaseBuffers() noexcept {
    std::lock_guard const hold(bufferLock);
    indexBuffer.reset();
    shapeBuffer.Release();
}

void BShpFile::Close() noexcept {
    if (mode == writeMode) {
        FinishWriting();
    } else if (dbfFile) {
        dbfFile->Close(); // Whoever else holds the table sees it emptied.
    }
    mainFile.reset();
    indexFile.reset();
    dbfFile = BSharedPtr<BDbfFile>();
    ReleaseBuffers();
    mode = closedMode;
}

} // namespace Ambrel
