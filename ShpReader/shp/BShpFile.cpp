#include "ShpReader/shp/BShpFile.h"

#include "Ambrel/BException.h"
#include "Ambrel/BFileUtilities.h"
#include "Ambrel/BLogger.h"

#include <QFile>

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
    mainFile = std::make_unique<QFile>(MakeQString(fileName));
    indexFile = std::make_unique<QFile>(MakeQString(indexFileName));
    if (!BFileUtilities::MayBeWritten(fileName) || !mainFile->open(QIODevice::WriteOnly)) {
        throw BFileNotFoundException(openOperation, fileName);
    }
    isMainWritten = true;
    WriteHeader(*mainFile);
    if (!BFileUtilities::MayBeWritten(indexFileName) || !indexFile->open(QIODevice::WriteOnly)) {
        throw BFileNotFoundException(openOperation, indexFileName);
    }
    isIndexWritten = true;
    WriteHeader(*indexFile);
    dbfFile->Open(dbfFileName, BDbfFile::writeMode, true);
    isTableWritten = true;
    recordCount = 0;
}

void BShpFile::OpenToRead() {
    mainInput = std::make_unique<PrivateFile>(openOperation, fileName);
    GetHeader();
    indexInput = std::make_unique<PrivateFile>(openOperation, indexFileName);
    // Sizes of files are taken modulo 2^32.
    recordCount = ShpIndexEntry::CountIn(static_cast<std::uint32_t>(indexInput->GetSizeAtOpen()));
    if (!BFileUtilities::Exists(dbfFileName)) {
        throw BFileNotFoundException(openOperation, dbfFileName);
    }
    dbfFile->Open(dbfFileName, BDbfFile::readMode, false);
    LoadCoordSys();
}

void BShpFile::GetHeader() {
    std::array<std::uint8_t, ShpFileHeader::size> bytes{};
    bool const isWhole = mainInput->Read(0, bytes.data(), bytes.size()) == bytes.size();
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
    coordSys = BSharedPtr<BCoordSys>();
    if (!BFileUtilities::Exists(prjFileName)) {
        return;
    }
    try {
        coordSys = BSharedPtr<BCoordSys>(BCoordSys::FromFile(prjFileName));
    } catch (BException const&) {
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
    ReleaseShapeBuffer();
    if (!mainInput || !indexInput) {
        return;
    }
    std::lock_guard const hold(indexLock);
    std::uint64_t const size = std::uint64_t{ShpIndexEntry::size} * recordCount;
    try {
        auto copy = std::make_shared<IndexCopy>();
        copy->entries.reset(new std::uint8_t[size]);
        copy->size = indexInput->Read(ShpIndexEntry::PositionOf(0), copy->entries.get(), size);
        indexBuffer = std::move(copy);
    } catch (std::bad_alloc const&) {
        indexBuffer.reset(); // Entries are read from the file when they are needed.
    }
}

void BShpFile::ReleaseShapeBuffer() noexcept {
    std::lock_guard const hold(shapeLock);
    shapeBuffer.Release();
}

void BShpFile::ReleaseBuffers() noexcept {
    ReleaseShapeBuffer();
    std::lock_guard const hold(indexLock);
    indexBuffer.reset();
}

void BShpFile::Close() noexcept {
    if (mode == writeMode) {
        FinishWriting();
    } else if (dbfFile) {
        dbfFile->Close(); // Whoever else holds the table sees it emptied.
    }
    mainInput.reset();
    indexInput.reset();
    mainFile.reset();
    indexFile.reset();
    dbfFile = BSharedPtr<BDbfFile>();
    ReleaseBuffers();
    mode = closedMode;
}

} // namespace Ambrel
