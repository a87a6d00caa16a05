#include "ShpReader/writing/NullShapeWriter.h"

#include "Ambrel/BCoordSys.h"
#include "Ambrel/BFileUtilities.h"
#include "ShpReader/Report.h"
#include "ShpReader/format/ShpFormat.h"

#include <array>
#include <string_view>

namespace Ambrel {

namespace {

/// A null shape consists of its shape type alone.
constexpr std::uint32_t nullShapeLength = shapeTypeSize / shpBytesPerWord;

/// The file that names the character set of the table's text.
constexpr char const* codePageExtension = ".cpg";
constexpr std::string_view codePageName = "UTF-8";

} // namespace

NullShapeWriter::NullShapeWriter(BString const& mainPath, BString const& indexPath)
    : failures(std::make_shared<WriteFailures>(FindingCode::WriteFailed)), main(mainPath, failures),
      index(indexPath, failures) {}

void NullShapeWriter::WriteNullShape(std::uint32_t number) {
    std::uint32_t const offset = static_cast<std::uint32_t>(main.GetSize()) / shpBytesPerWord;

    // The shape type of a null shape is 0.
    std::array<std::uint8_t, ShpRecordHeader::size + shapeTypeSize> record{};
    ShpRecordHeader{number, nullShapeLength}.Encode(record.data());
    main.Append(record.data(), record.size());

    std::array<std::uint8_t, ShpIndexEntry::size> entry{};
    ShpIndexEntry{static_cast<std::int32_t>(offset), nullShapeLength}.Encode(entry.data());
    index.Append(entry.data(), entry.size());
}

void NullShapeWriter::ReportGeometry() {
    if (!hasReportedGeometry) {
        hasReportedGeometry = true;
        Report({.code = FindingCode::GeometryNotWritten, .file = main.GetPath().Ascii()});
    }
}

void NullShapeWriter::WriteCompanions(BString const& coordSysPath, BCoordSys const* coordSys) {
    if (!coordSys) {
        BFileUtilities::Delete(coordSysPath); // of a former file of that name
    } else if (!coordSys->ToFile(coordSysPath)) {
        WriteFailures(FindingCode::WriteFailed).Add(coordSysPath);
    }
    OutputFile codePage(
        BFileUtilities::ChangeExtensionForWriting(main.GetPath(), codePageExtension), failures);
    if (!codePage.Open()) {
        failures->Add(codePage.GetPath());
        return;
    }
    codePage.Append(codePageName.data(), codePageName.size());
    codePage.Flush();
}

void NullShapeWriter::RemoveOutputs(BString const& coordSysPath, BString const& tablePath) {
    for (OutputFile* const output : {&main, &index}) {
        if (output->HasBeenOpened()) {
            BFileUtilities::Delete(output->GetPath());
        }
    }
    if (isTableOpen) {
        BFileUtilities::Delete(tablePath);
        BFileUtilities::Delete(coordSysPath);
        BFileUtilities::Delete(
            BFileUtilities::ChangeExtensionForWriting(main.GetPath(), codePageExtension));
    }
}

} // namespace Ambrel
