#pragma once

#include "Ambrel/BVariant.h"
#include "ShpReader/format/DbfFormat.h"

#include <cstdint>
#include <string_view>

namespace Ambrel {

class TextCache;
class TextDecoder;

/// One field of a row, and what makes text of it.
struct FieldContent {
    std::string_view bytes;
    TextDecoder const& decoder;
    TextCache* cache; ///< the column's texts, or null
};

/// One type of fields: how a table declares it, and what its values are. All that is particular to
/// a type stands in its row of the table beside this header.
struct FieldType {
    EVariantType type;
    char letter;      ///< declares it in a table that is written
    bool isText;      ///< its width is limited to dbfMaxTextWidth
    bool hasDecimals; ///< it declares digits after the decimal point
    /// Whether the descriptor of a table that is read declares it; null for types that are only
    /// written.
    bool (*isDeclaredBy)(DbfFieldDescriptor const& descriptor);
    BVariant (*convert)(FieldContent const& content);
    /// The value where there is no row to be read.
    BVariant (*makeDefault)();
    /// Whether the field holds no value, so that `convert` has to make one up; null for types
    /// that always hold one.
    bool (*isMissing)(std::string_view bytes);
};

/// The row of values of that type; a row of its own stands for types that no table has.
FieldType const& GetFieldType(EVariantType type) noexcept;
/// The row of the fields that the descriptor declares.
FieldType const& GetFieldType(DbfFieldDescriptor const& descriptor) noexcept;

/// The letter that declares a field of values of `type` with that many decimals.
char GetFieldTypeLetter(EVariantType type, std::int32_t decimals) noexcept;
/// Whether fields of that type hold text, whose width is limited to dbfMaxTextWidth.
bool IsTextType(EVariantType type) noexcept;
/// Whether fields of that type declare digits after the decimal point.
bool HasDecimals(EVariantType type) noexcept;

} // namespace Ambrel
