#include "Ambrel/Constants.h"

namespace Ambrel {

BString const DS_SHP = "SHP";
BString const QUERY_DATA_EXTENTS = "DATA_EXTENTS";
BString const CMN_ORIGINAL_FORMAT = "OriginalFormat";
BString const CMN_RECORD_NUMBER = "RecordNumber";

BString const OPTION_DIRECT_ACCESS = "USE_DIRECT_ACCESS";
BString const OPTION_DISK_CACHE = "USE_DISK_CACHE";
BString const OPTION_DISK_CACHE_BASE_NAME = "DISK_CACHE_BASE_NAME";
BString const OPTION_DISK_CACHE_PAGE_SIZE = "DISK_CACHE_PAGE_SIZE";

} // namespace Ambrel
