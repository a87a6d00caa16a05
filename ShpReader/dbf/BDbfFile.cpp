#include "ShpReader/dbf/BDbfFile.h"

#include "Ambrel/BException.h"
#include "Ambrel/BFileUtilities.h"
#include "Ambrel/BLogger.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <array>

namespace Ambrel {

namespace {

constexpr char openOperation[] = "BDbfFile::Open";

/// A folder, a pipe or a device is not opened: reading from it might never end. A file that is to
/// be written need not be there.
bool MayBeOpened(BString const& path, QString const& filePath, bool isForReading) {
    return BFileUtilities::Exists(path) || (!isForReading && !QFileInfo::exists(filePath));
}

} // namespace

BDbfFile::BDbfFile() = default;

BDbfFile::~BDbfFile() {
    try {
        BDbfFile::Close();
    } catch (...) { // NOLINT(bugprone-empty-catch): nobody is left to be told
    }
}

void BDbfFile::Open(BString const& fileName, std::uint32_t newMode, bool strict) {
    if (file) {
        throw BAlreadyOpenException(openOperation, fileName);
    }
    try {
        BLogger::Instance()->WriteLine(LOG_PROGRESS, "DBF-File: Opening DBF file <%ls>",
                                       fileName.c_str());
        mode = newMode;
        OpenFile(fileName);
        if (mode == readMode) {
            ReadHeader();
            CheckSize(strict);
            ReadSchema();
        }
    } catch (BException const&) {
        file.reset();
        throw;
    } catch (std::exception const& failure) {
        file.reset();
        throw BException("Ambrel Exception", openOperation, failure.what());
    }
}

void BDbfFile::OpenFile(BString const& fileName) {
    path = BFileUtilities::CompletePath(fileName);
    filePath = MakeQString(path);
    bool const isForReading = mode == readMode;
    file = std::make_unique<QFile>(filePath);
    // Reads go straight into the record buffers; the small writes of records are gathered.
    QIODevice::OpenMode const flags =
        isForReading ? QIODevice::ReadOnly | QIODevice::Unbuffered : QIODevice::WriteOnly;
    if (!MayBeOpened(path, filePath, isForReading) || !file->open(flags)) {
        throw BFileNotFoundException(openOperation, fileName);
    }
}

void BDbfFile::ReadHeader() {
    std::array<char, DbfHeader::size> bytes{};
    bool const isWhole = file->read(bytes.data(), bytes.size()) == qint64{bytes.size()};
    header = DbfHeader::Decode(bytes.data());
    if (!isWhole || !header.IsValid()) {
        BLogger::Instance()->WriteLine(
            LOG_FATAL,
            "DBF-Reader: Header contains invalid values, header length=%i, record length=%i",
            static_cast<int>(header.headerLength), static_cast<int>(header.recordLength));
        ThrowNotValid();
    }
}

void BDbfFile::CheckSize(bool strict) {
    fileSize = file->size();
    switch (MatchTableSize(header, fileSize)) {
    case DbfSizeMatch::Exact: return;
    case DbfSizeMatch::WithoutDeletionFlag: ++header.recordLength; return;
    case DbfSizeMatch::None: break;
    }
    BLogger& log = *BLogger::Instance();
    log.WriteLine(LOG_WARNING, "DBF-Reader: DBF file is not valid.  File size does not match "
                               "computed data size.");
    log.WriteLine(LOG_WARNING, "DBF-Reader: Data records are missing or corrupt.");
    if (strict) {
        ThrowNotValid();
    }
    useDefaultValues = true;
    log.WriteLine(LOG_WARNING, "DBF-Reader: Feature attributes contain default values.");
}

void BDbfFile::ThrowNotValid() const {
    throw BFileContentNotValidException(
        openOperation, BString::Format("%ls is not a valid DBF file.", path.c_str()));
}

void BDbfFile::RequireMode(std::uint32_t requiredMode, char const* operation) const {
    if (!file || mode != requiredMode) {
        throw BNotOpenException(operation, BString::Format("File=%s", path.Ascii()));
    }
}

void BDbfFile::Close() {
    if (file && mode == writeMode && file->isOpen()) {
        FinishTable();
    }
    features.Clear();
}

} // namespace Ambrel
