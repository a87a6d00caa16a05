#pragma once

#include "Ambrel/BSharedPtr.h"
#include "Ambrel/BString.h"

#include <cstdint>

namespace Ambrel {
class BShpFile;
}

namespace Ambrel::Fuzz {

/// What became of a source that was lived through.
struct LifeReport {
    bool isOpened = false;
    bool isRead = false; ///< to its last record
    std::uint32_t recordCount = 0;
};

/// Does with a shapefile all that a host can do: opens it, fetches, measures, selects and draws its
/// records, reads it whole, through the file and through a reader, asks for its extent and closes.
/// Every value that is delivered is looked at. `mostRecords`: how many of them are fetched singly.
///
/// Only exceptions of the host's family are taken as answers; others leave. Aborts where a promise
/// is broken: a part start outside its vertices, fewer features than records.
LifeReport LiveThrough(BString const& path, bool useAttributes, BString const& attributeZ,
                       std::uint32_t mostRecords);

/// The part of such a life that goes through the direct-access collection of an open file.
void AskDirectly(BSharedPtr<BShpFile>& file, std::uint32_t mostRecords);
/// The whole-file read; false when it ends with an exception of the host's family.
bool ReadWhole(BSharedPtr<BShpFile> const& file);

} // namespace Ambrel::Fuzz
