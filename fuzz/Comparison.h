#pragma once

#include "SourceInput.h"

#include "Ambrel/BString.h"

namespace Ambrel::Fuzz {

/// Reads the source in memory, through the disk cache and record by record, and aborts where they
/// differ: features, attributes, metadata, what is thrown. Only what a whole read leaves out
/// because the index claims too much may be missing there.
void CompareModes(BString const& path, SourceInput const& input);

/// Overwrites the bytes of one record that no other record shares, and aborts where another record
/// is no longer what it was. The files in `folder` are those of `input`.
void CompareNeighbours(std::filesystem::path const& folder, SourceInput const& input);

} // namespace Ambrel::Fuzz
