#pragma once

#include "Ambrel/BAttribute.h"

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace Ambrel {

/// The text that a value has in a field of a record.
class DbfFieldText final {
public:
    /// Formats the value for the field: the whole text, of which what does not fit is cut when it
    /// is copied. Does not depend on the locale. Returns false for a type that no field can have.
    bool Format(BVariant const& value, BAttributeDef const& field);

    /// Valid until the next call of Format.
    std::string_view Get() const noexcept { return text; }
    /// Whether text that is shorter than the field stands at its end.
    bool IsRightAligned() const noexcept { return isRightAligned; }

private:
    bool FormatNumber(BVariant const& value, BAttributeDef const& field);
    bool FormatListElement(BVariant const& value, BAttributeDef const& field);
    void SetInteger(std::int64_t value);
    void SetDouble(double value, BAttributeDef const& field);
    void SetText(BString const& value);

    std::array<char, 640> small; ///< takes any double with up to 255 decimals
    std::string large;
    BString held; ///< keeps the bytes of a text alive
    std::string_view text;
    bool isRightAligned = false;
};

} // namespace Ambrel
