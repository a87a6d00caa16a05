#include "ShpReader/dbf/BDbfFile.h"

#include "Ambrel/BException.h"
#include "Ambrel/BFileUtilities.h"
#include "Ambrel/BInputFile.h"
#include "Ambrel/BLogger.h"
#include "ShpReader/Report.h"
#include "ShpReader/writing/DbfWriter.h"

#include <array>

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
    if (input || writer) {
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
        input.reset();
        writer.reset();
        throw;
    } catch (std::exception const& failure) {
        input.reset();
        writer.reset();
        throw BException("Ambrel Exception", openOperation, failure.what());
    }
}

void BDbfFile::OpenToRead(BString const& fileName, bool strict) {
    decoder = TextDecoder(options.encoding, openOperation);
    input = std::make_unique<BInputFile>(path);
    if (!input->IsOpen()) {
        BFileNotFoundException failure(openOperation, fileName);
        failure.SetReason(input->GetOpenError());
        throw failure;
    }
    ReadHeader();
    CheckSize(strict);
    ReadSchema();
}

void BDbfFile::OpenToWrite(BString const& fileName) {
    writer = std::make_unique<DbfWriter>(
        path, std::make_shared<WriteFailures>(FindingCode::TableWriteFailed));
    if (!writer->Open()) {
        throw BFileNotFoundException(openOperation, fileName);
    }
}

void BDbfFile::ReadHeader() {
    std::array<char, DbfHeader::size> bytes{};
    bool const isWhole = input->Read(0, bytes.data(), bytes.size()) == bytes.size();
    header = DbfHeader::Decode(bytes.data());
    if (!isWhole || !header.IsValid()) {
        Note(FindingCode::TableHeaderNotValid, {header.headerLength, header.recordLength});
        ThrowNotValid();
    }
}

void BDbfFile::CheckSize(bool strict) {
    fileSize = static_cast<std::int64_t>(input->GetSizeAtOpen());
    switch (MatchTableSize(header, fileSize)) {
    case DbfSizeMatch::Exact: return;
    case DbfSizeMatch::WithoutDeletionFlag: ++header.recordLength; return;
    case DbfSizeMatch::None: break;
    }
    Note(FindingCode::TableSizeMismatch);
    Note(FindingCode::TableRecordsMissing);
    if (strict) {
        ThrowNotValid();
    }
    useDefaultValues = true;
    Note(FindingCode::TableDefaultValues);
}

void BDbfFile::Note(FindingCode code, std::vector<BLogValue> values) const {
    Report({.code = code, .file = path.Ascii(), .values = std::move(values)});
}

void BDbfFile::ThrowNotValid() const {
    throw BFileContentNotValidException(
        openOperation, BString::Format("%ls is not a valid DBF file.", path.c_str()));
}

void BDbfFile::RequireMode(std::uint32_t requiredMode, char const* operation) const {
    bool const isOpen = mode == readMode ? input != nullptr : writer != nullptr;
    if (!isOpen || mode != requiredMode) {
        throw BNotOpenException(operation, BString::Format("File=%s", path.Ascii()));
    }
}

void BDbfFile::Close() {
    if (writer && mode == writeMode && writer->IsOpen()) {
        FinishTable();
    }
    features.Clear();
}

} // namespace Ambrel
