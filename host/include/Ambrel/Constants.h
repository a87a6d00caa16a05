#pragma once

#include "Ambrel/BString.h"

namespace Ambrel {

/// The name of the shapefile data-source format; also the value under CMN_ORIGINAL_FORMAT.
extern AMBREL_API BString const DS_SHP;
/// The query for the rectangle of all data of a source.
extern AMBREL_API BString const QUERY_DATA_EXTENTS;
/// Feature metadata: the format that the feature comes from.
extern AMBREL_API BString const CMN_ORIGINAL_FORMAT;
/// Feature metadata: the record that the feature comes from, counted from 0.
extern AMBREL_API BString const CMN_RECORD_NUMBER;

/// Options of readers; see BDataManager.
extern AMBREL_API BString const OPTION_DIRECT_ACCESS;
extern AMBREL_API BString const OPTION_DISK_CACHE;
extern AMBREL_API BString const OPTION_DISK_CACHE_BASE_NAME;
extern AMBREL_API BString const OPTION_DISK_CACHE_PAGE_SIZE;

} // namespace Ambrel
