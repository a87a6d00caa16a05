#pragma once

#include <cstdint>

namespace Ambrel {

/// The types of values.
enum EVariantType : std::uint32_t {
    VAR_NONE = 0, ///< no value: null
    VAR_BYTE = 1, ///< signed 8-bit
    VAR_UNSIGNED_BYTE = 2,
    VAR_SHORT = 3,
    VAR_UNSIGNED_SHORT = 4,
    VAR_INTEGER = 5, ///< 32-bit
    VAR_UNSIGNED_INTEGER = 6,
    VAR_INTEGER64 = 7,
    VAR_UNSIGNED_INTEGER64 = 8,
    VAR_DOUBLE = 9,
    VAR_FLOAT = 10,
    VAR_STRING = 11,
    VAR_DATE = 12, ///< eight characters of text: year, month, day
    VAR_BOOLEAN = 13,
    VAR_INTEGER_LIST = 16,
    VAR_DOUBLE_LIST = 17,
    VAR_STRING_LIST = 18,
};

} // namespace Ambrel
