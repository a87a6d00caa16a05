#pragma once

#include "ShpReader/shp/RecordStore.h"

/// What stands in for an index that is missing or unusable.
namespace Ambrel {

/// Whether any entry of the index points at a record of the main file whose length agrees, by the
/// record's header or by its counts.
bool HasUsableEntry(BInputFile const& main, BInputFile const& index);

/// An index made by walking through the main file, record by record. Where what follows a record is
/// none, the walk goes on at the next place that is one without doubt; records that were lost on
/// the way, by their numbers, get entries that name no bytes, so that the rows of the table still
/// belong to the records behind them.
std::shared_ptr<IndexCopy const> MakeIndex(BInputFile const& main);

} // namespace Ambrel
