#pragma once

#include "Ambrel/BException.h"
#include "Ambrel/BFeatureCollection.h"
#include "Ambrel/BProgress.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

/// What the kinds of feature collections have in common.
namespace Ambrel {

/// Throws BIndexOutOfBoundsException when the index is not below the count.
inline void RequireIndexBelow(char const* operation, std::uint64_t index, std::uint64_t count) {
    if (index >= count) {
        throw BIndexOutOfBoundsException(operation,
                                         BString::Format("Index=%llu, Count=%llu",
                                                         static_cast<unsigned long long>(index),
                                                         static_cast<unsigned long long>(count)));
    }
}

/// Throws BException when the holder is empty: collections hold features.
inline void RequireFeature(char const* operation, BSharedPtr<BFeature> const& feature) {
    if (!feature) {
        throw BException(exceptionCategory, operation, "The holder has no feature");
    }
}

inline EGeometryType TypeOf(BGeometry const* geometry) noexcept {
    return geometry ? geometry->type : GEO_NONE;
}

/// Counts a geometry that was added to the collection, or is removed from it. None counts nowhere.
inline void CountGeometry(BGeometryCounts& counts, EGeometryType type, bool added) {
    if (type == GEO_NONE) {
        return;
    }
    auto const changed = [added](std::uint64_t count) {
        return added ? count + 1 : count - std::min<std::uint64_t>(count, 1);
    };
    EGeometryClass const geometryClass = BGeometry::ClassOf(type);
    counts.SetGeometryTypeCounts(type, changed(counts.GetGeometryTypeCount(type)));
    counts.SetGeometryClassCounts(geometryClass,
                                  changed(counts.GetGeometryClassCount(geometryClass)));
}

/// Tells the observer, if there is one and it wants to know. False when it ends the operation.
inline bool TellProgress(BProgress* progress, std::uint64_t done, std::uint64_t total) {
    auto const narrow = [](std::uint64_t count) {
        constexpr std::uint64_t most = std::numeric_limits<std::uint32_t>::max();
        return static_cast<std::uint32_t>(std::min(count, most));
    };
    return !progress || !progress->WantsReport(narrow(done), 0) ||
           progress->Report(narrow(done), narrow(total));
}

/// A value as it is sorted: null and absent ones, then numbers by value with those that are none
/// first, then text byte by byte, then lists, which are all alike.
class SortKey final {
public:
    /// Of the attribute at `attributeIndex`.
    SortKey(BFeature const& feature, std::uint64_t attributeIndex) {
        if (attributeIndex >= feature.attributes.GetCount()) {
            return;
        }
        BVariant const& value = feature.attributes.GetAt(attributeIndex).GetValue();
        if (value.IsNull()) {
            return;
        }
        SetValue(value);
    }

    bool operator<(SortKey const& other) const noexcept {
        if (kind != other.kind) {
            return kind < other.kind;
        }
        return kind == Kind::Number ? number < other.number : text.Utf8() < other.text.Utf8();
    }

private:
    enum class Kind : std::uint8_t { Nothing, NotANumber, Number, Text, List };

    void SetValue(BVariant const& value) {
        switch (value.GetType()) {
        case VAR_INTEGER_LIST:
        case VAR_DOUBLE_LIST:
        case VAR_STRING_LIST: kind = Kind::List; return;
        case VAR_STRING:
        case VAR_DATE:
            kind = Kind::Text;
            text = value.GetValueAsString(BString());
            return;
        case VAR_UNSIGNED_INTEGER64:
            SetNumber(static_cast<long double>(value.GetValueAsUnsignedInteger64(0)));
            return;
        case VAR_INTEGER64:
            SetNumber(static_cast<long double>(value.GetValueAsInteger64(0)));
            return;
        default: SetNumber(value.GetValueAsDouble(std::nan("")));
        }
    }

    void SetNumber(long double real) {
        kind = std::isnan(real) ? Kind::NotANumber : Kind::Number;
        number = real;
    }

    Kind kind = Kind::Nothing;
    /// Wide enough for 64-bit integers where the compiler has a longer type than double.
    long double number = 0;
    BString text;
};

} // namespace Ambrel
