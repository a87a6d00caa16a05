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

/// Option of readers (boolean): leave features in the file. See BDataManager, here and below.
extern AMBREL_API BString const OPTION_DIRECT_ACCESS;
/// Option of readers (boolean): hold features in the disk cache.
extern AMBREL_API BString const OPTION_DISK_CACHE;
/// Option of readers (text): path and first part of the name of the cache's files.
extern AMBREL_API BString const OPTION_DISK_CACHE_BASE_NAME;
/// Option of readers (integer): features in a page of the cache.
extern AMBREL_API BString const OPTION_DISK_CACHE_PAGE_SIZE;

} // namespace Ambrel
