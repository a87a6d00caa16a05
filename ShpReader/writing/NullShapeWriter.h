#pragma once

#include "ShpReader/writing/OutputFile.h"

#include <cstdint>
#include <memory>

namespace Ambrel {

class BCoordSys;

/// The files of a shapefile of null shapes while they are written, but for the table: the main file
/// and the index, in place from their opening on, and at the end the companions.
class NullShapeWriter {
public:
    /// Opens nothing.
    NullShapeWriter(BString const& mainPath, BString const& indexPath);

    OutputFile& GetMain() noexcept { return main; }
    OutputFile& GetIndex() noexcept { return index; }
    /// The failed writes of these files and of the companions, reported once.
    WriteFailures& GetFailures() noexcept { return *failures; }

    void CountTableAsOpen() noexcept { isTableOpen = true; }
    /// Whether main file, index and table have been opened.
    bool IsOpen() const noexcept { return main.IsOpen() && index.IsOpen() && isTableOpen; }

    /// Appends record `number`, counted from 1, and its index entry.
    void WriteNullShape(std::uint32_t number);
    /// Says that a geometry is not written, the first time.
    void ReportGeometry();

    /// Writes the ".prj" file, or removes that of a former shapefile where `coordSys` is null, and
    /// the ".cpg" file.
    void WriteCompanions(BString const& coordSysPath, BCoordSys const* coordSys);
    /// Removes what their opening has emptied, and what belonged to it. A file
    /// that could not be opened is not ours to remove.
    void RemoveOutputs(BString const& coordSysPath, BString const& tablePath);

private:
    std::shared_ptr<WriteFailures> failures;
    OutputFile main;
    OutputFile index;
    bool isTableOpen = false;
    bool hasReportedGeometry = false;
};

} // namespace Ambrel
