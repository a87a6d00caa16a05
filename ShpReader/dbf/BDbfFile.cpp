#include "ShpReader/dbf/BDbfFile.h"

#include "Ambrel/BException.h"
#include "Ambrel/BFileUtilities.h"
#include "Ambrel/BLogger.h"
#include "ShpReader/dbf/DbfTable.h"
#include "ShpReader/writing/DbfWriter.h"

namespace Ambrel {

namespace {

constexpr char openOperation[] = "BDbfFile::Open";

} // namespace

BDbfFile::BDbfFile() = default;

BDbfFile::~BDbfFile() {
    try {
        BDbfFile::Close();
    } catch (...) { // NOLINT(bugprone-empty-catch): nobody is left to be told
    }
}

void BDbfFile::Open(BString const& fileName, std::uint32_t newMode, bool strict) {
    if (table || writer) {
        throw BAlreadyOpenException(openOperation, fileName);
    }
    try {
        BLogger::Instance()->WriteLine(LOG_PROGRESS, "DBF-File: Opening DBF file <%ls>",
                                       fileName.c_str());
        mode = newMode;
        path = BFileUtilities::CompletePath(fileName);
        if (mode == readMode) {
            OpenToRead(fileName, strict);
        } else {
            OpenToWrite(fileName);
        }
    } catch (BException const&) {
        LetGo();
        throw;
    } catch (std::exception const& failure) {
        LetGo();
        throw BException("Ambrel Exception", openOperation, failure.what());
    }
}

void BDbfFile::OpenToRead(BString const& fileName, bool strict) {
    table = std::make_unique<DbfTable>(fileName, path, options, strict);
    ReadSchema();
}

void BDbfFile::OpenToWrite(BString const& fileName) {
    writer = std::make_unique<DbfWriter>(
        path, std::make_shared<WriteFailures>(FindingCode::TableWriteFailed));
    if (!writer->Open()) {
        throw BFileNotFoundException(openOperation, fileName);
    }
}

void BDbfFile::RequireMode(std::uint32_t requiredMode, char const* operation) const {
    bool const isOpen = mode == readMode ? table != nullptr : writer != nullptr;
    if (!isOpen || mode != requiredMode) {
        throw BNotOpenException(operation, BString::Format("File=%s", path.Ascii()));
    }
}

void BDbfFile::LetGo() noexcept {
    sharedRows.reset();
    table.reset();
    writer.reset();
}

BAttributeDefs const& BDbfFile::GetSchema() const noexcept {
    return table ? table->GetSchema().definitions : schema;
}

DbfHeader const& BDbfFile::GetHeader() const noexcept {
    return table ? table->GetHeader() : header;
}

void BDbfFile::Close() {
    if (writer && mode == writeMode && writer->IsOpen()) {
        FinishTable();
    }
    features.Clear();
}

} // namespace Ambrel
